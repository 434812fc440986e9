// What the files of the numbered windows share.
#pragma once

#include <algorithm>

#include "tools/windows.h"

// Coordinates are limited to this before anything is added to them. No screen is larger.
constexpr int WINDOW_FAR = 1 << 28;

inline int window_limited(int v) {
    return std::clamp(v, -WINDOW_FAR, WINDOW_FAR);
}

inline int16_t window_short(int v) {
    return static_cast<int16_t>(std::clamp(v, int{INT16_MIN}, int{INT16_MAX}));
}

// Inclusive corners -> a half open box.
inline canvas_box window_box(int x1, int y1, int x2, int y2) {
    return {window_limited(x1), window_limited(y1), window_limited(x2) + 1, window_limited(y2) + 1};
}

inline canvas_box window_moved_box(canvas_box b, int dx, int dy) {
    return {b.x1 + dx, b.y1 + dy, b.x2 + dx, b.y2 + dy};
}

// What a drawing operation does with a window: `none` gives -1, `hidden` 0 without drawing.
enum class window_use { none, hidden, draw };

inline window_use window_for_drawing(int window, window_record** record) {
    *record = window_find(window);
    if (*record == nullptr) return window_use::none;
    return (*record)->displayed != 0 && (*record)->collapsed == 0 ? window_use::draw : window_use::hidden;
}

// The result of an operation that doesn't draw.
inline int window_unused(window_use use) {
    return use == window_use::none ? -1 : 0;
}

// The platform's style for creation flags and a level.
uint32_t window_style(int flags, int level);
// Start values of everything but the platform's window; `width` and `height` of the client area.
void window_init_record(window_record* w, int width, int height, int level);
// Takes the platform's window into the record.
void window_take_handle(window_record* w, desk_window* handle);
// Releases what the record owns, but not the platform's window.
void window_free_record(window_record* w);
void window_free_saved_attributes(window_record* w);
// Notes where the window stands, unless it is an icon or maximised.
void window_note_place(window_record* w);
void window_apply_clip(window_record* w);

// A client area (screen coordinates) moved left and up so that it ends inside of what is shown, and then right and down
// so that it begins there.
canvas_box window_moved_in(canvas_box client);
// Moves the pop-ups that aren't all seen any more, since the main window has become smaller.
void window_move_popups_in();
void save_restore_move_in();

// No mode and no areas. For the end.
void save_restore_clear();
void main_window_reset_scroll();
void masks_free();
