// Who is seen where: visible regions, what a change uncovers, what waits to be painted, and moves of pixels.
//
// A change works in this order: the new visible regions; pixels that move along; then frames and background of what
// came to light, and notes for paint messages. Moving first matters: it reads pixels that drawing would overwrite.
#include "platform/window/deskdata.h"
#include "support/invariant.h"

namespace {

struct region {
    pixman_region32_t r;
    region() { pixman_region32_init(&r); }
    ~region() { pixman_region32_fini(&r); }
    region(const region&) = delete;
    region& operator=(const region&) = delete;
};

void add_box(pixman_region32_t* to, canvas_box box) {
    if (!box_is_empty(box))
        pixman_region32_union_rect(to, to, box.x1, box.y1, unsigned(box.x2 - box.x1), unsigned(box.y2 - box.y1));
}

void see_window(desk_window* w, pixman_region32_t* rest) {
    if (!w->shown) {
        pixman_region32_clear(&w->seen);
        return;
    }
    region mine;
    region_meet_box(&w->seen, rest, box_meet(w->outer, desk_limit_of(w)));
    pixman_region32_copy(&mine.r, &w->seen);
    pixman_region32_subtract(rest, rest, &mine.r);
}

void set_canvas(desk_window* w) {
    region drawn;
    region_meet_box(&drawn.r, &w->seen, w->client);
    canvas_set_visible(&w->surface, w->client, &drawn.r);
}

void see_all() {
    region rest;
    add_box(&rest.r, bitmap_box(&screen.frame));
    for (int i = desk.count - 1; i >= 0; --i)
        see_window(desk.order[i], &rest.r);
    pixman_region32_copy(&desk.main.seen, &rest.r);
    for (int i = 0; i < desk.count; ++i)
        set_canvas(desk.order[i]);
    set_canvas(&desk.main);
}

bool same_size(canvas_box a, canvas_box b) {
    return a.x2 - a.x1 == b.x2 - b.x1 && a.y2 - a.y1 == b.y2 - b.y1;
}

// Whether its old pixels, moved along, are still right.
bool keeps_pixels(const desk_window* w) {
    return w->before_shown && w->shown && same_size(w->before_outer, w->outer) &&
           same_size(w->before_client, w->client);
}

void remember(desk_window* w) {
    pixman_region32_copy(&w->before, &w->seen);
    w->before_outer = w->outer;
    w->before_client = w->client;
    w->before_shown = w->shown;
}

// The way of those that move. The first one's: others that move otherwise, as icons that are arranged anew, are drawn
// again.
struct change_move {
    int dx, dy;
};

bool is_unmoved(const desk_window* w) {
    return box_same(w->before_outer, w->outer);
}

change_move find_move() {
    for (int i = 0; i < desk.count; ++i) {
        const desk_window* w = desk.order[i];
        if (keeps_pixels(w) && !is_unmoved(w))
            return {w->outer.x1 - w->before_outer.x1, w->outer.y1 - w->before_outer.y1};
    }
    return {0, 0};
}

// What of the window is right already, at its new place: all that was seen of it before, if its pixels keep. The frame
// buffer may have become smaller since.
void find_kept(desk_window* w, change_move move, pixman_region32_t* kept) {
    const int dx = w->outer.x1 - w->before_outer.x1;
    const int dy = w->outer.y1 - w->before_outer.y1;
    pixman_region32_clear(kept);
    if (!keeps_pixels(w) || (!is_unmoved(w) && (dx != move.dx || dy != move.dy))) return;
    region_meet_box(kept, &w->before, bitmap_box(&screen.frame));
    pixman_region32_translate(kept, dx, dy);
    pixman_region32_intersect(kept, kept, &w->seen);
}

void move_pixels(change_move move) {
    region moving;
    for (int i = 0; i < desk.count; ++i) {
        desk_window* w = desk.order[i];
        if (is_unmoved(w)) continue;
        region kept;
        find_kept(w, move, &kept.r);
        pixman_region32_union(&moving.r, &moving.r, &kept.r);
    }
    screen_move_region(&moving.r, move.dx, move.dy);
}

// Client area that came to light: must be painted.
void ask_for(desk_window* w, pixman_region32_t* exposed) {
    region client;
    region_meet_box(&client.r, exposed, w->client);
    if (pixman_region32_not_empty(&client.r) == 0) return;
    pixman_region32_translate(&client.r, -w->client.x1, -w->client.y1);
    pixman_region32_union(&w->update, &w->update, &client.r);
    w->paint_given = w->paint_told = false;
}

void expose(desk_window* w, change_move move, const pixman_region32_t* valid) {
    region exposed;
    region kept;
    find_kept(w, move, &kept.r);
    pixman_region32_subtract(&exposed.r, &w->seen, &kept.r);
    if (valid != nullptr) pixman_region32_subtract(&exposed.r, &exposed.r, const_cast<pixman_region32_t*>(valid));
    if (pixman_region32_not_empty(&exposed.r) == 0) return;
    if (w == &desk.main)
        desk_draw_main(&exposed.r);
    else {
        desk_draw_frame(w, &exposed.r);
        ask_for(w, &exposed.r);
    }
}

// Empty ones are alike wherever they lie.
bool same_region(const pixman_region32_t* a, const pixman_region32_t* b) {
    auto* first = const_cast<pixman_region32_t*>(a);
    auto* second = const_cast<pixman_region32_t*>(b);
    const bool any = pixman_region32_not_empty(first) != 0 || pixman_region32_not_empty(second) != 0;
    return !any || pixman_region32_equal(first, second) != 0;
}

void tell_change(desk_window* w) {
    const bool icon = w != &desk.main && w->state == host_state::minimised;
    if (icon || box_is_empty(w->before_client)) return;
    if (w->client.x1 != w->before_client.x1 || w->client.y1 != w->before_client.y1) {
        const desk_message message = desk_new_message(desk_kind::moved, w);
        desk_queue(&message, nullptr);
    }
    if (same_size(w->client, w->before_client)) return;
    desk_message message = desk_new_message(desk_kind::sized, w);
    message.state = desk_state(w);
    message.x = w->client.x2 - w->client.x1;
    message.y = w->client.y2 - w->client.y1;
    desk_queue(&message, nullptr);
}

} // namespace

void desk_begin_change() {
    for (int i = 0; i < desk.count; ++i)
        remember(desk.order[i]);
    remember(&desk.main);
}

void desk_end_change(const pixman_region32_t* valid) {
    see_all();
    const change_move move = find_move();
    move_pixels(move);
    for (int i = 0; i < desk.count; ++i) {
        desk_window* w = desk.order[i];
        if (!w->shown || w->state == host_state::minimised) pixman_region32_clear(&w->update);
        expose(w, move, valid);
        tell_change(w);
    }
    expose(&desk.main, move, valid);
    tell_change(&desk.main);
    desk_check();
    desk_update_cursor();
}

void desk_check() {
    if (!INVARIANTS_CHECKED) return;
    region rest;
    region common;
    add_box(&rest.r, bitmap_box(&screen.frame));
    for (int i = desk.count - 1; i >= 0; --i) {
        desk_window* w = desk.order[i];
        invariant(i == 0 || desk.order[i - 1]->layer <= w->layer, "windows are ordered by layer");
        region_meet_box(&common.r, &rest.r, w->shown ? box_meet(w->outer, desk_limit_of(w)) : canvas_box{0, 0, 0, 0});
        invariant(same_region(&common.r, &w->seen), "a window is seen where no other is above it");
        pixman_region32_subtract(&rest.r, &rest.r, &w->seen);
        region_meet_box(&common.r, &w->seen, w->client);
        invariant(same_region(&common.r, &w->surface.visible), "a canvas draws on what is seen of it");
        const bool unseen = !w->shown || w->state == host_state::minimised;
        invariant(!unseen || pixman_region32_not_empty(&w->update) == 0, "nothing waits that can't be painted");
    }
    invariant(same_region(&rest.r, &desk.main.seen), "the main window is seen where no other is");
}

void desk_redraw_frame(desk_window* w) {
    if (w == &desk.main) { // its client area may have been drawn on
        region bars;
        pixman_region32_copy(&bars.r, &w->seen);
        pixman_region32_subtract(&bars.r, &bars.r, &w->surface.visible);
        desk_draw_main(&bars.r);
    } else if (w->shown)
        desk_draw_frame(w, &w->seen);
}

void desk_invalidate(desk_window* w, const canvas_box* box) {
    if (w == &desk.main || !w->shown) return;
    const canvas_box all = {0, 0, w->client.x2 - w->client.x1, w->client.y2 - w->client.y1};
    add_box(&w->update, box == nullptr ? all : box_meet(*box, all));
    w->paint_given = w->paint_told = false;
}

void desk_validate(desk_window* w, const canvas_box* box) {
    if (box == nullptr) {
        pixman_region32_clear(&w->update);
        return;
    }
    region gone;
    add_box(&gone.r, *box);
    pixman_region32_subtract(&w->update, &w->update, &gone.r);
}

// In client coordinates.
static void find_waiting(desk_window* w, pixman_region32_t* waiting) {
    pixman_region32_copy(waiting, &w->surface.visible);
    // screen -> client coordinates
    pixman_region32_translate(waiting, -w->client.x1, -w->client.y1);
    pixman_region32_intersect(waiting, waiting, &w->update);
}

void desk_fill_waiting(desk_window* w, canvas_color color) {
    region waiting;
    canvas c;
    find_waiting(w, &waiting.r);
    pixman_region32_translate(&waiting.r, w->client.x1, w->client.y1);
    canvas_init_on_screen(&c);
    canvas_set_visible(&c, bitmap_box(&screen.frame), &waiting.r);
    canvas_fill(&c, bitmap_box(&screen.frame), color);
    canvas_fini(&c);
}

bool desk_paint_box(desk_window* w, canvas_box* box, bool take) {
    region waiting;
    find_waiting(w, &waiting.r);
    const pixman_box32_t* around = pixman_region32_extents(&waiting.r);
    *box = {around->x1, around->y1, around->x2, around->y2};
    const bool any = pixman_region32_not_empty(&waiting.r) != 0;
    if (take) pixman_region32_subtract(&w->update, &w->update, &waiting.r);
    return any;
}

void desk_copy(desk_window* w, canvas_box from, int to_x, int to_y) {
    constexpr int64_t FAR = 1 << 16; // nothing moved that far is seen
    const int64_t far_x = int64_t{to_x} - from.x1;
    const int64_t far_y = int64_t{to_y} - from.y1;
    if (far_x < -FAR || far_x > FAR || far_y < -FAR || far_y > FAR) return;
    const int dx = int(far_x);
    const int dy = int(far_y);
    const canvas_box limit = {0, 0, w->surface.width, w->surface.height};
    const canvas_box target = box_meet(box_moved(box_meet(from, limit), dx, dy), limit);
    region wanted;
    region sure;
    region_meet_box(&wanted.r, &w->surface.drawable, canvas_to_bitmap(&w->surface, target));
    // Pixels are right whose source is seen and does not wait to be painted itself.
    pixman_region32_copy(&sure.r, &w->update);
    pixman_region32_translate(&sure.r, w->client.x1, w->client.y1);
    pixman_region32_subtract(&sure.r, &w->surface.visible, &sure.r);
    pixman_region32_translate(&sure.r, dx, dy);
    pixman_region32_intersect(&sure.r, &sure.r, &wanted.r);
    screen_move_region(&sure.r, dx, dy);
    pixman_region32_subtract(&wanted.r, &wanted.r, &sure.r);
    if (w != &desk.main) ask_for(w, &wanted.r);
}

void desk_scroll(int dx, int dy) {
    if (dx == 0 && dy == 0) return;
    desk_begin_change();
    for (int i = 0; i < desk.count; ++i) {
        desk_window* w = desk.order[i];
        if (w->layer != LAYER_CHILD) continue;
        w->placed = box_moved(w->placed, dx, dy);
        if (w->icon_taken) w->icon = {w->icon.x + dx, w->icon.y + dy};
        desk_layout(w);
    }
    desk_end_change(nullptr);
}
