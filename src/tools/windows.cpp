// The table of numbered windows: creation, deletion, start and end.
#include <cstring>

#include "support/memory.h"
#include "tools/colors.h"
#include "tools/windata.h"

window_record* window_table[WINDOW_MASK + 1];
int screen_width;
int screen_height;
desk_window* topmost_window;

namespace {

window_record records[WINDOW_COUNT]; // one for each number

int first_free() {
    for (int i = 0; i < WINDOW_COUNT; ++i)
        if (window_table[i] == nullptr) return i;
    return -1;
}

} // namespace

uint32_t window_style(int flags, int level) {
    uint32_t style = 0;
    if ((flags & WINDOW_FRAME) != 0)
        style |= DESK_THICK_FRAME;
    else if ((flags & WINDOW_DIALOG_FRAME) != 0)
        style |= DESK_DIALOG_FRAME;
    if ((flags & WINDOW_CAPTION) != 0)
        style |= DESK_CAPTION;
    else if ((flags & WINDOW_NARROW_CAPTION) != 0)
        style |= DESK_NARROW_CAPTION;
    if ((style & (DESK_CAPTION | DESK_NARROW_CAPTION)) != 0) {
        style |= DESK_MINIMISE_BOX;
        if ((flags & WINDOW_DIALOG_FRAME) == 0) style |= DESK_MAXIMISE_BOX;
    }
    if (level == WINDOW_TOP_LEVEL) return style | DESK_POPUP | DESK_TOPMOST;
    return (flags & WINDOW_FREE) != 0 ? style | DESK_POPUP : style;
}

int window_of_handle(const desk_window* handle) {
    if (handle == nullptr) return -1;
    for (int i = 0; i < WINDOW_COUNT; ++i)
        if (window_table[i] != nullptr && window_table[i]->handle == handle) return i;
    return -1;
}

void window_init_record(window_record* w, int width, int height, int level) {
    *w = {};
    w->cursor_visible = 1;
    w->cursor = host_cursor::arrow;
    w->level = window_short(level);
    w->paint_flags = PAINT_ALWAYS;
    window_attributes& a = w->attributes;
    a.clip_x2 = window_short(width - 1);
    a.clip_y2 = window_short(height - 1);
    a.line_style = 0xFFFF;
    a.blend = 0xFFFF;
    a.foreground = CANVAS_SLOT | static_cast<uint32_t>(max_color_index);
    a.background = CANVAS_SLOT;
}

void window_take_handle(window_record* w, desk_window* handle) {
    w->handle = handle;
    w->dc = desk_canvas(handle);
    window_note_place(w);
}

void window_free_saved_attributes(window_record* w) {
    while (w->saved_attributes != nullptr) {
        window_attributes* block = w->saved_attributes;
        w->saved_attributes = block->next;
        mem_free(block);
    }
}

void window_free_record(window_record* w) {
    window_free_saved_attributes(w);
    canvas_destroy(w->sr_bitmap);
    w->sr_bitmap = nullptr;
    w->handle = nullptr;
    w->dc = nullptr;
}

bool windows_make_0() {
    if (desk_main() == nullptr || window_table[0] != nullptr) return false;
    window_init_record(&records[0], screen_width + 1, screen_height + 1, 0);
    window_take_handle(&records[0], desk_main());
    records[0].displayed = 1;
    window_table[0] = &records[0];
    desk_set_number(desk_main(), 0);
    return true;
}

int Create_win_flags(int flags, int level, const char* title, int x1, int y1, int x2, int y2, int* window) {
    const int number = first_free();
    if (number < 0 || desk_main() == nullptr) return -1;
    if (number == 0) { // that one stands for the main window
        *window = 0;
        return windows_make_0() ? 0 : -1;
    }
    window_record* w = &records[number];
    canvas_box client = window_box(x1, y1, x2, y2);
    window_init_record(w, client.x2 - client.x1, client.y2 - client.y1, level);
    w->create_flags = static_cast<uint8_t>(flags);
    if (title != nullptr) strncpy(w->title, title, WINDOW_TITLE_SIZE - 1);
    if ((flags & WINDOW_FREE) == 0) // logical -> screen coordinates
        client = window_moved_box(client, -scroll_x, -scroll_y);
    if (level == WINDOW_TOP_LEVEL) client = window_moved_in(client);
    const uint32_t style = window_style(flags, level);
    desk_window* handle = desk_create(style, number, w->title, desk_outer_of(style, client));
    if (handle == nullptr) return -1;
    window_take_handle(w, handle);
    window_table[number] = w;
    if (level == WINDOW_TOP_LEVEL) topmost_window = handle;
    *window = number;
    return 0;
}

int Create_win(int /*screen*/, const char* title, int x1, int y1, int x2, int y2, int* window) {
    return Create_win_flags(WINDOW_FRAME | WINDOW_CAPTION, 0, title, x1, y1, x2, y2, window);
}

int Create_win_no_border(int /*screen*/, int x1, int y1, int x2, int y2, int* window) {
    return Create_win_flags(0, 0, nullptr, x1, y1, x2, y2, window);
}

int Create_win_frame(int /*screen*/, int x1, int y1, int x2, int y2, int* window) {
    return Create_win_flags(WINDOW_FRAME, 0, nullptr, x1, y1, x2, y2, window);
}

int Create_level_window(int /*screen*/, int level, int x1, int y1, int x2, int y2, int* window) {
    return Create_win_flags(0, level, nullptr, x1, y1, x2, y2, window);
}

namespace {

void release_number(int number) {
    window_record* w = window_table[number];
    if (topmost_window == w->handle) topmost_window = nullptr;
    window_free_record(w);
    window_table[number] = nullptr;
}

} // namespace

int Delete_win(int window) {
    const int number = window & WINDOW_MASK;
    if (number == 0 || window_table[number] == nullptr) return -1;
    desk_destroy(window_table[number]->handle);
    release_number(number);
    return 0;
}

bool window_was_destroyed(int window) {
    const int number = window & WINDOW_MASK;
    if (number == 0 || window_table[number] == nullptr) return false;
    release_number(number);
    return true;
}

void windows_clear() {
    save_restore_clear();
    for (int i = 0; i < WINDOW_COUNT; ++i)
        if (window_table[i] != nullptr) release_number(i);
    topmost_window = nullptr;
    main_window_reset_scroll();
    masks_free();
}

void windows_destroy() {
    save_restore_clear();
    for (int i = 1; i < WINDOW_COUNT; ++i)
        if (window_table[i] != nullptr && desk_main() != nullptr) desk_destroy(window_table[i]->handle);
    windows_clear();
}
