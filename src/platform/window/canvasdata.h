// The inside of a canvas, and the walk over the parts of a box that can be drawn on. For the files of this directory
// only.
//
// Canvas coordinates become bitmap coordinates by adding the origin; from then on only bitmap coordinates are used.
#pragma once

#include "platform/window/screen.h"

struct canvas {
    canvas_bitmap* bitmap; // the frame buffer, or `own`
    canvas_bitmap own;
    int origin_x, origin_y; // of the canvas's pixel 0, 0 in the bitmap
    int width, height;
    bool clipped;
    canvas_box clip;            // canvas coordinates
    pixman_region32_t visible;  // bitmap coordinates
    pixman_region32_t drawable; // visible, within the clip box
};

// A canvas on the frame buffer, at first with nothing visible.
void canvas_init_on_screen(canvas* c);
void canvas_fini(canvas* c);
// Where it stands and what of it can be seen (bitmap coordinates).
void canvas_set_visible(canvas* c, canvas_box area, const pixman_region32_t* visible);

inline bool box_is_empty(canvas_box b) {
    return b.x1 >= b.x2 || b.y1 >= b.y2;
}

inline bool box_same(canvas_box a, canvas_box b) {
    return a.x1 == b.x1 && a.y1 == b.y1 && a.x2 == b.x2 && a.y2 == b.y2;
}

inline canvas_box box_meet(canvas_box a, canvas_box b) {
    return {a.x1 > b.x1 ? a.x1 : b.x1, a.y1 > b.y1 ? a.y1 : b.y1, a.x2 < b.x2 ? a.x2 : b.x2, a.y2 < b.y2 ? a.y2 : b.y2};
}

inline canvas_box box_join(canvas_box a, canvas_box b) {
    if (box_is_empty(a)) return b;
    if (box_is_empty(b)) return a;
    return {a.x1 < b.x1 ? a.x1 : b.x1, a.y1 < b.y1 ? a.y1 : b.y1, a.x2 > b.x2 ? a.x2 : b.x2, a.y2 > b.y2 ? a.y2 : b.y2};
}

inline canvas_box box_moved(canvas_box b, int dx, int dy) {
    return {b.x1 + dx, b.y1 + dy, b.x2 + dx, b.y2 + dy};
}

inline bool box_has(canvas_box b, int x, int y) {
    return x >= b.x1 && x < b.x2 && y >= b.y1 && y < b.y2;
}

// What of a region lies in a box, which may be empty.
inline void region_meet_box(pixman_region32_t* to, const pixman_region32_t* from, canvas_box box) {
    if (box_is_empty(box))
        pixman_region32_clear(to);
    else
        pixman_region32_intersect_rect(to, const_cast<pixman_region32_t*>(from), box.x1, box.y1,
                                       unsigned(box.x2 - box.x1), unsigned(box.y2 - box.y1));
}

inline canvas_box bitmap_box(const canvas_bitmap* b) {
    return {0, 0, b->width, b->height};
}

inline uint8_t* bitmap_at(const canvas_bitmap* b, int x, int y) {
    return b->pixels + size_t(y) * b->stride + size_t(x) * size_t(b->pixel_bytes);
}

// Canvas coordinates into bitmap coordinates, limited to what the canvas can hold: sums can't overflow after it.
inline canvas_box canvas_to_bitmap(const canvas* c, canvas_box box) {
    return box_moved(box_meet(box, {0, 0, c->width, c->height}), c->origin_x, c->origin_y);
}

// Calls f(part) for each part of the box (canvas coordinates) that can be drawn on, the part in bitmap coordinates, and
// notes the change.
template <typename F> void canvas_each_part(canvas* c, canvas_box box, F f) {
    const canvas_box wanted = canvas_to_bitmap(c, box);
    if (box_is_empty(wanted)) return;
    int count = 0;
    const pixman_box32_t* parts = pixman_region32_rectangles(&c->drawable, &count);
    canvas_box changed = {0, 0, 0, 0};
    for (int i = 0; i < count; ++i) {
        if (parts[i].y1 >= wanted.y2) break; // they come from the top down
        const canvas_box part = box_meet(wanted, {parts[i].x1, parts[i].y1, parts[i].x2, parts[i].y2});
        if (box_is_empty(part)) continue;
        f(part);
        changed = box_join(changed, part);
    }
    if (c->bitmap == &screen.frame && !box_is_empty(changed)) screen_mark(changed);
}

// Calls f with a null pointer of the bitmap's pixel type, so that inner loops are made once for each size of a pixel.
template <typename F> void with_pixel_type(const canvas_bitmap* b, F f) {
    switch (b->pixel_bytes) {
    case 1: f(static_cast<uint8_t*>(nullptr)); break;
    case 2: f(static_cast<uint16_t*>(nullptr)); break;
    default: f(static_cast<uint32_t*>(nullptr)); break;
    }
}
