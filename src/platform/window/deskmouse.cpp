// The mouse: what lies under the pointer, whom its messages go to, and drags of windows.
#include "platform/window/deskdata.h"

#include <algorithm>
#include <cstdlib>

namespace {

constexpr int SLACK = 3;   // pixels that a pressed pointer may move before it drags; as all here, at factor 1
constexpr int CORNER = 16; // pixels of a frame's side that size in both directions
constexpr int LEAST_CLIENT_WIDTH = 90;  // of a window that is sized: room for the boxes of a caption,
constexpr int LEAST_CLIENT_HEIGHT = 16; // and some pixels of client area

bool has_frame(const desk_window* w) {
    return (w->style & (DESK_CAPTION | DESK_NARROW_CAPTION | DESK_THICK_FRAME | DESK_DIALOG_FRAME)) != 0;
}

uint8_t edges_at(const desk_window* w, int x, int y) {
    const canvas_box b = w->outer;
    const int frame_x = desk.metrics.frame_width;
    const int frame_y = desk.metrics.frame_height;
    const int corner = scaled(CORNER);
    const bool left = x < b.x1 + frame_x;
    const bool right = x >= b.x2 - frame_x;
    const bool top = y < b.y1 + frame_y;
    const bool bottom = y >= b.y2 - frame_y;
    unsigned edges = 0;
    if (left || ((top || bottom) && x < b.x1 + corner)) edges |= EDGE_LEFT;
    if (right || ((top || bottom) && x >= b.x2 - corner)) edges |= EDGE_RIGHT;
    if (top || ((left || right) && y < b.y1 + corner)) edges |= EDGE_TOP;
    if (bottom || ((left || right) && y >= b.y2 - corner)) edges |= EDGE_BOTTOM;
    return uint8_t(edges);
}

host_cursor cursor_of(uint8_t edges) {
    switch (edges) {
    case EDGE_LEFT:
    case EDGE_RIGHT: return host_cursor::size_we;
    case EDGE_TOP:
    case EDGE_BOTTOM: return host_cursor::size_ns;
    case EDGE_LEFT | EDGE_TOP:
    case EDGE_RIGHT | EDGE_BOTTOM: return host_cursor::size_nwse;
    default: return host_cursor::size_nesw;
    }
}

int bar_at(int x, int y) {
    for (int bar = 0; bar < 2; ++bar)
        if (box_has(desk_bar_box(bar), x, y)) return bar;
    return -1;
}

// ---- messages

void send_mouse(desk_kind kind, desk_window* w, const host_event* event) {
    desk_message message = desk_new_message(kind, w);
    // screen -> client coordinates
    message.x = event->x - w->client.x1;
    message.y = event->y - w->client.y1;
    message.button = event->button;
    message.down = event->down;
    message.modifiers = event->modifiers;
    message.value = uint32_t(event->wheel);
    message.value2 = uint32_t(event->across);
    message.time = event->time;
    desk_queue(&message, nullptr);
}

bool is_blocked(const desk_window* w) {
    return desk.modal != nullptr && w != desk.modal;
}

// The window whose client area is under the pointer, or the capturing one; null when it is none or blocked.
desk_window* mouse_target() {
    if (desk.capture != nullptr) return is_blocked(desk.capture) ? nullptr : desk.capture;
    desk_window* w = desk_window_at(desk.pointer.x, desk.pointer.y);
    uint8_t edges = 0;
    if (w == nullptr || is_blocked(w) || desk_hit(w, desk.pointer.x, desk.pointer.y, &edges) != PART_CLIENT)
        return nullptr;
    return w;
}

// ---- drags

// The pointer, kept where the window can still be taken hold of.
canvas_point limited_pointer() {
    const canvas_box limit = desk_limit_of(desk.drag.window);
    return {std::clamp(desk.pointer.x, limit.x1, std::max(limit.x1, limit.x2 - 1)),
            std::clamp(desk.pointer.y, limit.y1, std::max(limit.y1, limit.y2 - 1))};
}

canvas_box sized_outline() {
    const desk_window* w = desk.drag.window;
    const canvas_point to = limited_pointer();
    const int dx = to.x - desk.drag.start.x;
    const int dy = to.y - desk.drag.start.y;
    const canvas_box least = desk_outer_of(w->style, {0, 0, scaled(LEAST_CLIENT_WIDTH), scaled(LEAST_CLIENT_HEIGHT)});
    const int width = least.x2 - least.x1;
    const int height = least.y2 - least.y1;
    canvas_box b = w->outer;
    if ((desk.drag.edges & EDGE_LEFT) != 0) b.x1 = std::min(b.x1 + dx, b.x2 - width);
    if ((desk.drag.edges & EDGE_RIGHT) != 0) b.x2 = std::max(b.x2 + dx, b.x1 + width);
    if ((desk.drag.edges & EDGE_TOP) != 0) b.y1 = std::min(b.y1 + dy, b.y2 - height);
    if ((desk.drag.edges & EDGE_BOTTOM) != 0) b.y2 = std::max(b.y2 + dy, b.y1 + height);
    return b;
}

void drag_to_pointer(const host_event* event) {
    desk_drag* drag = &desk.drag;
    const canvas_point to = limited_pointer();
    const int dx = to.x - drag->start.x;
    const int dy = to.y - drag->start.y;
    if (drag->kind == drag_kind::pending_move && (std::abs(dx) > scaled(SLACK) || std::abs(dy) > scaled(SLACK)))
        drag->kind = drag->window->state == host_state::minimised ? drag_kind::icon : drag_kind::move;
    switch (drag->kind) {
    case drag_kind::move:
    case drag_kind::icon: drag->outline = box_moved(drag->window->outer, dx, dy); break;
    case drag_kind::size: drag->outline = sized_outline(); break;
    case drag_kind::bar: desk_bar_drag(event); break;
    case drag_kind::box: {
        const bool inside = box_has(desk_box_of(drag->window, drag->box), desk.pointer.x, desk.pointer.y);
        if (inside == drag->box_inside) break;
        drag->box_inside = inside;
        desk_redraw_frame(drag->window);
        break;
    }
    default: break;
    }
}

void press_box_done(desk_window* w, desk_part box) {
    const bool maximised = w->state == host_state::maximised;
    if (box == PART_MINIMISE_BOX)
        desk_set_state(w, host_state::minimised);
    else if (box == PART_MAXIMISE_BOX)
        desk_set_state(w, maximised ? host_state::restored : host_state::maximised);
}

void finish_drag() {
    const desk_drag drag = desk.drag;
    if (drag.kind == drag_kind::bar) {
        desk_bar_release();
        return;
    }
    desk.drag = {};
    switch (drag.kind) {
    case drag_kind::move:
    case drag_kind::size: desk_place(drag.window, drag.outline); break;
    case drag_kind::icon: desk_set_icon_place(drag.window, drag.outline.x1, drag.outline.y1); break;
    case drag_kind::box:
        desk_redraw_frame(drag.window);
        if (drag.box_inside) press_box_done(drag.window, drag.box);
        break;
    case drag_kind::pending_move:
        if (drag.window->state == host_state::minimised)
            desk_open_menu(drag.window, {drag.window->outer.x1, drag.window->outer.y1}, true);
        break;
    default: break;
    }
    desk_update_cursor();
}

void start_drag(drag_kind kind, desk_window* w) {
    desk.drag = {};
    desk.drag.kind = kind;
    desk.drag.window = w;
    desk.drag.start = desk.pointer;
    desk.drag.outline = w->outer;
}

// ---- presses

// Notes a left press; true when it makes a double click with the one before.
bool note_press(desk_window* w, desk_part part, const host_event* event) {
    const bool is_second = desk.pressed_window == w && desk.pressed_part == part &&
                           event->time - desk.pressed_time < DESK_DOUBLE_CLICK &&
                           std::abs(event->x - desk.pressed_at.x) <= scaled(SLACK) &&
                           std::abs(event->y - desk.pressed_at.y) <= scaled(SLACK);
    desk.pressed_window = is_second ? nullptr : w;
    desk.pressed_part = part;
    desk.pressed_at = {event->x, event->y};
    desk.pressed_time = event->time;
    return is_second;
}

void press_caption(desk_window* w, bool is_double) {
    if (is_double && (w->style & DESK_MAXIMISE_BOX) != 0)
        press_box_done(w, PART_MAXIMISE_BOX);
    else if (w->state == host_state::restored)
        start_drag(drag_kind::pending_move, w);
}

// A left press on anything but a client area.
void press_part(desk_window* w, desk_part part, uint8_t edges, bool is_double) {
    switch (part) {
    case PART_CAPTION: press_caption(w, is_double); break;
    case PART_ICON: start_drag(drag_kind::pending_move, w); break;
    case PART_MENU_BOX: {
        const canvas_box box = desk_box_of(w, PART_MENU_BOX);
        desk_open_menu(w, {box.x1, box.y2 + 1}, false);
        break;
    }
    case PART_MINIMISE_BOX:
    case PART_MAXIMISE_BOX:
        start_drag(drag_kind::box, w);
        desk.drag.box = part;
        desk.drag.box_inside = true;
        desk_redraw_frame(w);
        break;
    case PART_FRAME:
        start_drag(drag_kind::size, w);
        desk.drag.edges = edges;
        break;
    default: break;
    }
}

void press(desk_window* w, const host_event* event) {
    uint8_t edges = 0;
    const desk_part part = desk_hit(w, event->x, event->y, &edges);
    if (part == PART_BAR) {
        if (event->button == HOST_LEFT) desk_bar_press(bar_at(event->x, event->y), event);
        return;
    }
    if (w != &desk.main && (has_frame(w) || part == PART_ICON)) desk_activate(w);
    if (part == PART_CLIENT) {
        desk.press_window[event->button % 3] = w;
        send_mouse(desk_kind::button, w, event);
        return;
    }
    if (event->button == HOST_LEFT) press_part(w, part, edges, note_press(w, part, event));
}

// A release goes to the client area under the pointer; outside of any, to where the button was pressed, so that no
// program waits for it in vain.
void release(desk_window* w, const host_event* event) {
    desk_window* pressed = desk.press_window[event->button % 3];
    desk.press_window[event->button % 3] = nullptr;
    uint8_t edges = 0;
    if (!is_blocked(w) && desk_hit(w, event->x, event->y, &edges) == PART_CLIENT)
        send_mouse(desk_kind::button, w, event);
    else if (pressed != nullptr && !is_blocked(pressed))
        send_mouse(desk_kind::button, pressed, event);
}

} // namespace

desk_part desk_hit(const desk_window* w, int x, int y, uint8_t* edges) {
    *edges = 0;
    if (w == &desk.main) return bar_at(x, y) >= 0 ? PART_BAR : (box_has(w->client, x, y) ? PART_CLIENT : PART_NONE);
    if (w->state == host_state::minimised) return PART_ICON;
    if (box_has(w->client, x, y)) return PART_CLIENT;
    for (const desk_part part : {PART_MENU_BOX, PART_MINIMISE_BOX, PART_MAXIMISE_BOX})
        if (box_has(desk_box_of(w, part), x, y)) return part;
    if (box_has(desk_caption_of(w), x, y)) return PART_CAPTION;
    if ((w->style & DESK_THICK_FRAME) == 0 || w->state != host_state::restored) return PART_NONE;
    *edges = edges_at(w, x, y);
    return *edges == 0 ? PART_NONE : PART_FRAME;
}

desk_window* desk_window_at(int x, int y) {
    for (int i = desk.count - 1; i >= 0; --i) {
        desk_window* w = desk.order[i];
        if (w->shown && box_has(box_meet(w->outer, desk_limit_of(w)), x, y)) return w;
    }
    return desk_main();
}

bool desk_in_client(const desk_window* w, int x, int y) {
    return desk_window_at(x, y) == w && box_has(w->client, x, y);
}

bool desk_button_is_held(int button) {
    return desk.held[button];
}

bool desk_space_is_held() {
    return desk.space_held;
}

canvas_point desk_pointer() {
    return desk.pointer;
}

void desk_warp(int x, int y) {
    desk.pointer = {x, y};
    host_warp(x, y);
    desk_update_cursor();
}

void desk_set_capture(desk_window* w) {
    desk.capture = w;
}
desk_window* desk_capture() {
    return desk.capture;
}

void desk_set_cursor(desk_window* w, host_cursor shape) {
    w->cursor = shape;
    desk_update_cursor();
}

bool desk_is_dragging() {
    return desk.drag.kind != drag_kind::none && desk.drag.kind != drag_kind::box &&
           desk.drag.kind != drag_kind::pending_move;
}

void desk_update_cursor() {
    host_cursor shape = host_cursor::arrow;
    const desk_window* w = desk.main_alive ? desk_window_at(desk.pointer.x, desk.pointer.y) : nullptr;
    uint8_t edges = 0;
    if (desk.drag.kind == drag_kind::size)
        shape = cursor_of(desk.drag.edges);
    else if (desk.drag.kind == drag_kind::none && w != nullptr && !is_blocked(w)) {
        const desk_part part = desk_hit(w, desk.pointer.x, desk.pointer.y, &edges);
        if (part == PART_FRAME) shape = cursor_of(edges);
        if (part == PART_CLIENT) shape = w->cursor;
    }
    if (shape == desk.shown_cursor) return;
    desk.shown_cursor = shape;
    host_set_cursor(shape, desk.metrics.factor);
}

void desk_pointer_event(const host_event* event) {
    desk.pointer = {event->x, event->y};
    if (desk_menu_is_open()) {
        desk_menu_event(event);
        return;
    }
    if (desk.drag.kind != drag_kind::none)
        drag_to_pointer(event);
    else if (desk_window* w = mouse_target(); w != nullptr)
        send_mouse(desk_kind::mouse_move, w, event);
    desk_update_cursor();
}

void desk_button_event(const host_event* event) {
    desk.pointer = {event->x, event->y};
    if (desk_menu_is_open()) {
        desk_menu_event(event);
        return;
    }
    if (desk.drag.kind != drag_kind::none) {
        if (event->button != HOST_LEFT || event->down) return;
        drag_to_pointer(event);
        finish_drag();
        return;
    }
    if (desk.capture != nullptr) {
        if (!is_blocked(desk.capture)) send_mouse(desk_kind::button, desk.capture, event);
        return;
    }
    desk_window* w = desk_window_at(event->x, event->y);
    if (!event->down)
        release(w, event);
    else if (is_blocked(w))
        host_beep();
    else
        press(w, event);
    desk_update_cursor();
}

void desk_wheel_event(const host_event* event) {
    desk.pointer = {event->x, event->y};
    if (desk_menu_is_open() || desk.drag.kind != drag_kind::none) return;
    if (desk_window* w = mouse_target(); w != nullptr) send_mouse(desk_kind::wheel, w, event);
}

bool desk_cancel_drag() {
    if (desk.drag.kind == drag_kind::none) return false;
    if (desk.drag.kind == drag_kind::bar) {
        desk_bar_release();
        return true;
    }
    desk_window* w = desk.drag.window;
    desk.drag = {};
    desk_redraw_frame(w);
    desk_update_cursor();
    return true;
}

void desk_forget(desk_window* w) {
    if (desk.drag.window == w) desk.drag = {};
    if (desk.capture == w) desk.capture = nullptr;
    if (desk.pressed_window == w) desk.pressed_window = nullptr;
    for (desk_window*& pressed : desk.press_window)
        if (pressed == w) pressed = nullptr;
    if (desk_menu_owner() == w) desk_close_menu();
}
