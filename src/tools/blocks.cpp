// Blocks of pixels of numbered windows, in the screen's own form, as slots or true colours, and as areas kept aside.
#include "support/checked.h"
#include "tools/draw.h"
#include "tools/windata.h"

namespace {

struct block {
    canvas_box box;
    int row_bytes;
    int bytes; // of all rows
};

// False for a rectangle turned round and one that is too large. `align` is what rows are padded to.
bool measure(int x1, int y1, int x2, int y2, int pixel_bytes, int align, block* b) {
    if (x1 > x2 || y1 > y2) return false;
    b->box = window_box(x1, y1, x2, y2);
    return checked_mul(b->box.x2 - b->box.x1, pixel_bytes, &b->row_bytes) &&
           checked_add(b->row_bytes, align - 1, &b->row_bytes) && (b->row_bytes -= b->row_bytes % align) > 0 &&
           checked_mul(b->row_bytes, b->box.y2 - b->box.y1, &b->bytes);
}

bool measure_native(int x1, int y1, int x2, int y2, block* b) {
    return measure(x1, y1, x2, y2, canvas_pixel_bytes(), 2, b);
}

bool is_true_color(const window_record* w) {
    return w->attributes.color_mode == COLOR_MODE_TRUE;
}

bool measure_pixels(const window_record* w, int x1, int y1, int x2, int y2, block* b) {
    return measure(x1, y1, x2, y2, is_true_color(w) ? 4 : 1, 1, b);
}

// The window and the rectangle of a pixel transfer. `none` for what can't be done.
window_use use_pixels(int window, int x1, int y1, int x2, int y2, int screen, window_record** w, block* b) {
    const window_use use = window_for_drawing(window, w);
    const bool good = use != window_use::none && screen == 0 && measure_pixels(*w, x1, y1, x2, y2, b);
    return good ? use : window_use::none;
}

} // namespace

int blockmove(int window, int x1, int y1, int x2, int y2, int to_x, int to_y) {
    window_record* w = nullptr;
    const window_use use = window_for_drawing(window, &w);
    if (use != window_use::draw) return window_unused(use);
    desk_copy(w->handle, window_box(x1, y1, x2, y2), window_limited(to_x), window_limited(to_y));
    return 0;
}

int blocksize(int window, int x1, int y1, int x2, int y2, int* bytes) {
    block b = {};
    if (window_find(window) == nullptr || !measure_native(x1, y1, x2, y2, &b)) return -1;
    *bytes = b.bytes;
    return 0;
}

int getblock(int window, int x1, int y1, int x2, int y2, void* buffer) {
    window_record* w = nullptr;
    const window_use use = window_for_drawing(window, &w);
    block b = {};
    if (use == window_use::none || !measure_native(x1, y1, x2, y2, &b)) return -1;
    if (use == window_use::draw) canvas_get_native(w->dc, b.box, buffer, b.row_bytes);
    return 0;
}

int putblock(int window, int x1, int y1, int x2, int y2, const void* buffer) {
    window_record* w = nullptr;
    const window_use use = window_for_drawing(window, &w);
    block b = {};
    if (use == window_use::none || !measure_native(x1, y1, x2, y2, &b)) return -1;
    if (use == window_use::draw) canvas_put_native(w->dc, b.box, buffer, b.row_bytes);
    return 0;
}

int pixelblock_size(int window, int x1, int y1, int x2, int y2, int screen, int* bytes) {
    const window_record* w = window_find(window);
    block b = {};
    if (w == nullptr || screen != 0 || !measure_pixels(w, x1, y1, x2, y2, &b)) return -1;
    *bytes = b.bytes;
    return 0;
}

int getpixelblock(int window, int x1, int y1, int x2, int y2, int screen, uint8_t* buffer) {
    window_record* w = nullptr;
    block b = {};
    const window_use use = use_pixels(window, x1, y1, x2, y2, screen, &w, &b);
    if (use != window_use::draw) return window_unused(use);
    if (is_true_color(w))
        canvas_get_rgb0(w->dc, b.box, buffer, b.row_bytes);
    else
        canvas_get_slots(w->dc, b.box, buffer, b.row_bytes);
    return 0;
}

int putpixelblock(int window, int x1, int y1, int x2, int y2, int screen, const uint8_t* buffer) {
    window_record* w = nullptr;
    block b = {};
    const window_use use = use_pixels(window, x1, y1, x2, y2, screen, &w, &b);
    if (use != window_use::draw) return window_unused(use);
    if (is_true_color(w))
        canvas_put_rgb0(w->dc, b.box, buffer, b.row_bytes);
    else
        canvas_put_slots(w->dc, b.box, buffer, b.row_bytes, nullptr);
    return 0;
}

int save_area(int window, int x1, int y1, int x2, int y2, saved_area* area) {
    *area = nullptr;
    window_record* w = nullptr;
    const window_use use = window_for_drawing(window, &w);
    if (use != window_use::draw) return window_unused(use);
    if (x1 > x2 || y1 > y2) return 0;
    const canvas_box box = window_box(x1, y1, x2, y2);
    *area = canvas_create(box.x2 - box.x1, box.y2 - box.y1);
    if (*area == nullptr) return -1;
    canvas_copy(*area, 0, 0, w->dc, box);
    return 0;
}

int restore_area(int window, int x, int y, saved_area area) {
    window_record* w = nullptr;
    const window_use use = window_for_drawing(window, &w);
    if (use == window_use::none || area == nullptr) return -1;
    if (use == window_use::draw)
        canvas_copy(w->dc, window_limited(x), window_limited(y), area, {0, 0, canvas_width(area), canvas_height(area)});
    return 0;
}

int free_area(saved_area area) {
    if (area == nullptr) return -1;
    canvas_destroy(area);
    return 0;
}
