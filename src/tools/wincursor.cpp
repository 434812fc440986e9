// The cursor of numbered windows, and where the mouse is.
#include "tools/windata.h"

namespace {

int set_cursor(int window, host_cursor cursor) {
    window_record* w = window_find(window);
    if (w == nullptr) return -1;
    w->cursor = cursor;
    window_set_cursor(window);
    return 0;
}

int set_visible(int window, bool visible) {
    window_record* w = window_find(window);
    if (w == nullptr) return -1;
    w->cursor_visible = visible ? 1 : 0;
    window_set_cursor(window);
    return 0;
}

int set_all(host_cursor cursor) {
    for (int i = 0; i < WINDOW_COUNT; ++i)
        set_cursor(i, cursor);
    return 0;
}

// Where the pointer is in a platform window's client area.
void pointer_in(const desk_window* handle, int* x, int* y, int* inside) {
    const canvas_point p = desk_pointer();
    const canvas_box client = desk_client(handle);
    *x = p.x - client.x1;
    *y = p.y - client.y1;
    *inside = desk_in_client(handle, p.x, p.y) ? 1 : 0;
}

} // namespace

void window_set_cursor(int window) {
    const window_record* w = window_find(window);
    if (w != nullptr) desk_set_cursor(w->handle, w->cursor_visible != 0 ? w->cursor : host_cursor::none);
}

int hidecursor(int window) {
    return set_visible(window, false);
}

int showcursor(int window) {
    return set_visible(window, true);
}

int defaultcursor(int window) {
    return set_cursor(window, host_cursor::arrow);
}

int busycursor(int window) {
    return set_cursor(window, host_cursor::busy);
}

int all_busycursor() {
    return set_all(host_cursor::busy);
}

int all_defaultcursor() {
    return set_all(host_cursor::arrow);
}

int Warp_cursor(int x, int y) {
    if (desk_main() == nullptr) return -1;
    desk_warp(window_limited(x) - scroll_x, window_limited(y) - scroll_y);
    return 0;
}

int Mouse_position(int window, int* x, int* y, int* inside) {
    const window_record* w = window_find(window);
    if (w == nullptr) return -1;
    pointer_in(w->handle, x, y, inside);
    return 0;
}

int Mouse_win_position(int* window, int* x, int* y, int* inside) {
    if (window_find(0) == nullptr) return -1;
    const canvas_point p = desk_pointer();
    const int found = window_of_handle(desk_window_at(p.x, p.y));
    *window = std::max(found, 0);
    pointer_in(window_find(*window)->handle, x, y, inside);
    return 0;
}
