// Windows of the desk: start and end, creation, place, order, state.
#include "platform/window/deskdata.h"
#include "support/memory.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

desk_data desk;

namespace {

constexpr int OUTLINE = 3; // thickness of the outline of a window that is moved or sized

void init_window(desk_window* w) {
    canvas_init_on_screen(&w->surface);
    pixman_region32_init(&w->seen);
    pixman_region32_init(&w->update);
    pixman_region32_init(&w->before);
    w->cursor = host_cursor::arrow;
}

void fini_window(desk_window* w) {
    canvas_fini(&w->surface);
    pixman_region32_fini(&w->seen);
    pixman_region32_fini(&w->update);
    pixman_region32_fini(&w->before);
    screen_free_bitmap(&w->under);
    mem_free(w->title);
    w->title = nullptr;
}

desk_metrics metrics_of(int width, int height) {
    const int factor = height > DESK_USUAL_LINES ? 2 : 1;
    return {.screen_width = width,
            .screen_height = height,
            .planes = screen.frame.planes,
            .factor = factor,
            .frame_width = 4 * factor,
            .frame_height = 4 * factor,
            .dialog_frame = 3 * factor,
            .caption_height = 20 * factor,
            .narrow_caption_height = 11 * factor,
            .border = factor,
            .icon_width = 96 * factor,
            .icon_height = 52 * factor,
            .scroll_bar = 16 * factor};
}

// ---- order

int index_of(const desk_window* w) {
    for (int i = 0; i < desk.count; ++i)
        if (desk.order[i] == w) return i;
    return -1;
}

void take_out(desk_window* w) {
    const int at = index_of(w);
    if (at < 0) return;
    std::copy(desk.order + at + 1, desk.order + desk.count, desk.order + at);
    --desk.count;
}

// There is room.
void insert_at(int at, desk_window* w) {
    std::copy_backward(desk.order + at, desk.order + desk.count, desk.order + desk.count + 1);
    desk.order[at] = w;
    ++desk.count;
}

// To the bottom of its layer.
void put_below(desk_window* w) {
    int at = 0;
    while (at < desk.count && desk.order[at]->layer < w->layer)
        ++at;
    insert_at(at, w);
}

// On top of its layer.
void put_in(desk_window* w) {
    int at = desk.count;
    while (at > 0 && desk.order[at - 1]->layer > w->layer)
        --at;
    insert_at(at, w);
}

bool make_room() {
    if (desk.count < desk.room) return true;
    const int room = desk.room * 2 + 16;
    void* grown = mem_realloc(desk.order, size_t(room) * sizeof(void*));
    if (grown == nullptr) return false;
    desk.order = static_cast<desk_window**>(grown);
    desk.room = room;
    return true;
}

desk_layer layer_of(uint32_t style) {
    if ((style & DESK_SAVE_UNDER) != 0) return LAYER_MODAL;
    if ((style & DESK_TOPMOST) != 0) return LAYER_TOPMOST;
    return (style & DESK_POPUP) != 0 ? LAYER_POPUP : LAYER_CHILD;
}

canvas_box widened(canvas_box b, int x, int y) {
    return {b.x1 - x, b.y1 - y, b.x2 + x, b.y2 + y};
}

canvas_box sane(canvas_box b) {
    b.x2 = std::max(b.x1, b.x2);
    b.y2 = std::max(b.y1, b.y2);
    return b;
}

int frame_of(uint32_t style) {
    if ((style & DESK_THICK_FRAME) != 0) return desk.metrics.frame_width;
    return (style & DESK_DIALOG_FRAME) != 0 ? desk.metrics.dialog_frame : 0;
}

int caption_of(uint32_t style) {
    if ((style & DESK_CAPTION) != 0) return desk.metrics.caption_height - 1;
    return (style & DESK_NARROW_CAPTION) != 0 ? desk.metrics.narrow_caption_height : 0;
}

// Pixels under a window that puts them back. Without memory it is as any other window.
void save_under(desk_window* w) {
    w->under_box = box_meet(w->outer, bitmap_box(&screen.frame));
    if ((w->style & DESK_SAVE_UNDER) == 0 || box_is_empty(w->under_box)) return;
    w->under =
        screen_new_bitmap(w->under_box.x2 - w->under_box.x1, w->under_box.y2 - w->under_box.y1, screen.frame.planes);
    if (w->under.pixels == nullptr) return;
    bitmap_copy(&w->under, 0, 0, &screen.frame, w->under_box);
}

// Puts them back; `valid` becomes what is right now.
void restore_under(desk_window* w, pixman_region32_t* valid) {
    pixman_region32_init(valid);
    if (w->under.pixels == nullptr) return;
    region_meet_box(valid, &w->seen, box_meet(w->under_box, bitmap_box(&screen.frame)));
    int count = 0;
    const pixman_box32_t* parts = pixman_region32_rectangles(valid, &count);
    for (int i = 0; i < count; ++i) {
        const canvas_box part = {parts[i].x1, parts[i].y1, parts[i].x2, parts[i].y2};
        bitmap_copy(&screen.frame, part.x1, part.y1, &w->under, box_moved(part, -w->under_box.x1, -w->under_box.y1));
        screen_mark(part);
    }
    screen_free_bitmap(&w->under);
}

canvas_box icon_box(canvas_point at) {
    return {at.x, at.y, at.x + desk.metrics.icon_width, at.y + desk.metrics.icon_height};
}

// A free place for an icon, from the left along the bottom edge, then in rows above.
bool place_is_free(const desk_window* except, canvas_box place) {
    for (int i = 0; i < desk.count; ++i) {
        const desk_window* w = desk.order[i];
        if (w == except || w->state != host_state::minimised || !w->icon_taken) continue;
        if (!box_is_empty(box_meet(place, icon_box(w->icon)))) return false;
    }
    return true;
}

canvas_point free_icon_place(const desk_window* w) {
    const int width = desk.metrics.icon_width;
    const int height = desk.metrics.icon_height;
    const canvas_box area = desk.main.client;
    for (int y = area.y2 - height; y >= area.y1; y -= height)
        for (int x = area.x1; x + width <= area.x2; x += width)
            if (place_is_free(w, icon_box({x, y}))) return {x, y};
    return {area.x1, std::max(area.y2 - height, area.y1)};
}

void take_icon_place(desk_window* w) {
    if (w->icon_taken) return;
    w->icon = free_icon_place(w);
    w->icon_taken = true;
}

void tell_state(desk_window* w) {
    desk_message message = desk_new_message(desk_kind::state_changed, w);
    message.state = w->state;
    desk_queue(&message, nullptr);
}

// All windows away, without messages.
void destroy_all() {
    while (desk.count > 0) {
        desk_window* w = desk.order[desk.count - 1];
        desk_forget(w);
        --desk.count;
        fini_window(w);
        mem_free(w);
    }
    mem_free(desk.order);
    desk.order = nullptr;
    desk.room = 0;
    desk.active = nullptr;
}

void destroy_main() {
    destroy_all();
    desk_clear_messages();
    desk.main_alive = false;
    desk.quit_waits = true;
}

void set_text(char** place, const char* text) {
    mem_free(*place);
    *place = text == nullptr ? nullptr : mem_copy_text(text);
}

} // namespace

bool desk_start(const char* title) {
    if (desk.started) return true;
    const bool own_host = host_name()[0] == 0;
    if (own_host && !host_start(title)) return false;
    const host_screen* size = host_screen_size();
    if (!screen_start(size->width, size->height, size->planes)) {
        fprintf(stderr, "no memory for a screen of %dx%dx%d\n", size->width, size->height, size->planes);
        if (own_host) host_stop();
        return false;
    }
    desk = {};
    desk.started = desk.main_alive = true;
    desk.metrics = metrics_of(size->width, size->height);
    host_pointer(&desk.pointer.x, &desk.pointer.y);
    desk.shown_cursor = host_cursor::arrow;
    desk.main_state = host_state::maximised;
    init_window(&desk.main);
    desk.main.shown = true;
    desk.main.state = host_state::restored;
    screen.palette_changed = desk_palette_changed;
    screen.outline = scaled(OUTLINE);
    host_set_cursor(host_cursor::arrow, desk.metrics.factor);
    desk_set_icon();
    desk_begin_change();
    desk_layout_main();
    desk_end_change(nullptr);
    return true;
}

void desk_stop() {
    if (!desk.started) return;
    destroy_all();
    desk_clear_messages();
    fini_window(&desk.main);
    desk = {};
    screen_stop();
    host_stop();
}

desk_window* desk_main() {
    return desk.started && desk.main_alive ? &desk.main : nullptr;
}
const desk_metrics* desk_sizes() {
    return &desk.metrics;
}

canvas_box desk_outer_of(uint32_t style, canvas_box client) {
    const int frame = frame_of(style);
    canvas_box outer = widened(client, frame, frame);
    outer.y1 -= caption_of(style);
    return outer;
}

canvas_box desk_client_of(uint32_t style, canvas_box outer) {
    const int frame = frame_of(style);
    canvas_box client = widened(outer, -frame, -frame);
    client.y1 += caption_of(style);
    return sane(client);
}

void desk_layout(desk_window* w) {
    w->client = {0, 0, 0, 0};
    switch (w->state) {
    case host_state::minimised:
        take_icon_place(w);
        w->outer = icon_box(w->icon);
        break;
    case host_state::maximised:
        // The frame lies outside of what can be seen.
        w->outer = widened(desk_limit_of(w), frame_of(w->style), frame_of(w->style));
        w->client = desk_client_of(w->style, w->outer);
        break;
    case host_state::restored:
        w->outer = w->placed;
        w->client = desk_client_of(w->style, w->outer);
        break;
    }
}

void desk_layout_main() {
    desk.main.outer = bitmap_box(&screen.frame);
    desk.main.client = desk.main.outer;
    if (desk_bar_is_shown(DESK_VERTICAL)) desk.main.client.x2 -= desk.metrics.scroll_bar;
    if (desk_bar_is_shown(DESK_HORIZONTAL)) desk.main.client.y2 -= desk.metrics.scroll_bar;
    desk.main.client = sane(desk.main.client);
    desk_arrange_icons();
    for (int i = 0; i < desk.count; ++i)
        desk_layout(desk.order[i]);
}

// The next icon to find a place for: nearest to the bottom, then to the left, as they stood before.
static desk_window* next_icon_to_arrange() {
    desk_window* best = nullptr;
    for (int i = 0; i < desk.count; ++i) {
        desk_window* w = desk.order[i];
        if (w->state != host_state::minimised || w->icon_taken) continue;
        if (best == nullptr || w->icon.y > best->icon.y || (w->icon.y == best->icon.y && w->icon.x < best->icon.x))
            best = w;
    }
    return best;
}

void desk_arrange_icons() {
    for (int i = 0; i < desk.count; ++i)
        if (!desk.order[i]->icon_placed) desk.order[i]->icon_taken = false;
    while (desk_window* w = next_icon_to_arrange())
        take_icon_place(w);
}

void desk_resize_main(int width, int height) {
    desk_begin_change();
    desk_clear_bars();
    if (screen_resize(width, height)) { // without memory all stays as large as it was
        for (int i = 0; i < desk.count; ++i)
            desk.order[i]->placed = desk_client_of(desk.order[i]->style, desk.order[i]->placed);
        desk.metrics = metrics_of(width, height);
        screen.outline = scaled(OUTLINE);
        for (int i = 0; i < desk.count; ++i)
            desk.order[i]->placed = desk_outer_of(desk.order[i]->style, desk.order[i]->placed);
    }
    desk_layout_main();
    desk_end_change(nullptr);
}

desk_window* desk_create(uint32_t style, int number, const char* title, canvas_box outer) {
    if (desk_main() == nullptr || !make_room()) return nullptr;
    mem_guard<desk_window> w(mem_new<desk_window>());
    if (!w) return nullptr;
    if (title != nullptr && (w->title = mem_copy_text(title)) == nullptr) return nullptr;
    init_window(w.get());
    w->style = style;
    w->number = number;
    w->layer = layer_of(style);
    w->placed = sane(outer);
    put_in(w.get());
    desk_begin_change();
    desk_layout(w.get());
    desk_end_change(nullptr);
    return w.keep();
}

void desk_destroy(desk_window* w) {
    if (w == nullptr || desk_main() == nullptr) return;
    if (w == &desk.main) {
        destroy_main();
        return;
    }
    desk_hide(w);
    take_out(w);
    desk_drop_messages(w);
    desk_forget(w);
    if (desk.active == w) desk_pick_active();
    if (desk.modal == w) desk.modal = nullptr;
    fini_window(w);
    mem_free(w);
}

void desk_close_by_user(desk_window* w) {
    const int number = w->number;
    desk_destroy(w);
    desk_message message = desk_new_message(desk_kind::destroyed, nullptr);
    message.number = number;
    desk_queue(&message, nullptr);
}

void desk_show(desk_window* w) {
    if (w->shown || w == &desk.main) return;
    save_under(w);
    desk_begin_change();
    w->shown = true;
    desk_end_change(nullptr);
}

void desk_hide(desk_window* w) {
    if (!w->shown || w == &desk.main) return;
    desk_forget(w);
    pixman_region32_t valid;
    restore_under(w, &valid);
    desk_begin_change();
    w->shown = false;
    desk_end_change(&valid);
    pixman_region32_fini(&valid);
    if (desk.active == w) desk_pick_active();
}

bool desk_is_shown(const desk_window* w) {
    return w->shown;
}

void desk_raise(desk_window* w) {
    const int at = index_of(w);
    if (at < 0 || at + 1 == desk.count || desk.order[at + 1]->layer > w->layer) return;
    desk_begin_change();
    take_out(w);
    put_in(w);
    desk_end_change(nullptr);
}

void desk_activate(desk_window* w) {
    desk_raise(w);
    desk_make_active(w == &desk.main ? nullptr : w);
}

void desk_make_active(desk_window* w) {
    if (w != nullptr) w->used = ++desk.uses;
    if (desk.active == w) return;
    desk_window* before = desk.active;
    desk.active = w;
    if (before != nullptr) desk_redraw_frame(before);
    if (w == nullptr) return;
    desk_redraw_frame(w);
    const desk_message message = desk_new_message(desk_kind::activated, w);
    desk_queue(&message, nullptr);
}

desk_window* desk_active() {
    return desk.active;
}

// Of those that nobody has used yet, the highest.
void desk_pick_active() {
    desk_window* best = nullptr;
    desk.active = nullptr;
    for (int i = desk.count - 1; i >= 0; --i) {
        desk_window* w = desk.order[i];
        const bool has_caption = (w->style & (DESK_CAPTION | DESK_NARROW_CAPTION)) != 0;
        if (!w->shown || !has_caption || w->state == host_state::minimised) continue;
        if (best == nullptr || w->used > best->used) best = w;
    }
    if (best != nullptr) desk_activate(best);
}

void desk_place(desk_window* w, canvas_box outer) {
    if (w == &desk.main) return;
    const bool again = w->shown && w->under.pixels != nullptr;
    const bool active = desk.active == w;
    if (again) desk_hide(w);
    desk_begin_change();
    w->placed = sane(outer);
    desk_layout(w);
    desk_end_change(nullptr);
    if (again) desk_show(w);
    if (again && active) desk_activate(w);
}

void desk_set_state(desk_window* w, host_state state) {
    if (w == &desk.main) {
        host_set_state(state);
        return;
    }
    if (w->state == state) return;
    desk_begin_change();
    const bool was_icon = w->state == host_state::minimised;
    w->state = state;
    if (state == host_state::minimised) {
        // Windows cover icons, not the other way round.
        take_out(w);
        put_below(w);
    }
    if (was_icon && !w->icon_placed) w->icon_taken = false;
    desk_layout(w);
    desk_end_change(nullptr);
    if (state == host_state::minimised) desk_forget(w);
    tell_state(w);
    if (state == host_state::minimised && desk.active == w) {
        desk_pick_active();
        desk_redraw_frame(w);
    }
}

host_state desk_state(const desk_window* w) {
    return w == &desk.main ? desk.main_state : w->state;
}

void desk_set_icon_place(desk_window* w, int x, int y) {
    desk_begin_change();
    w->icon_placed = w->icon_taken = x != -1 || y != -1;
    w->icon = {x, y};
    desk_layout(w);
    desk_end_change(nullptr);
}

canvas_point desk_icon_place(const desk_window* w) {
    return w->icon_taken ? w->icon : free_icon_place(w);
}

void desk_set_title(desk_window* w, const char* title) {
    if (w == &desk.main) {
        host_set_title(title == nullptr ? "" : title);
        return;
    }
    set_text(&w->title, title);
    desk_redraw_frame(w);
}

void desk_set_number(desk_window* w, int number) {
    w->number = number;
}
int desk_number(const desk_window* w) {
    return w->number;
}
canvas_box desk_outer(const desk_window* w) {
    return w->outer;
}
canvas_box desk_client(const desk_window* w) {
    return w->client;
}
canvas* desk_canvas(desk_window* w) {
    return &w->surface;
}

void desk_flush() {
    desk.flushed_at = host_now();
    const bool outlined =
        desk.drag.kind == drag_kind::move || desk.drag.kind == drag_kind::size || desk.drag.kind == drag_kind::icon;
    screen_flush(&desk.drag.outline, outlined && !box_is_empty(desk.drag.outline) ? 1 : 0);
}
