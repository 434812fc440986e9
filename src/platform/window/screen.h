// The one frame buffer of the process: its pixels, its palette, and what of it has changed since it was last shown. For
// the files of this directory only.
#pragma once

#include "platform/window/canvas.h"

#include <cstdint>
#include <pixman.h>

struct screen_data {
    canvas_bitmap frame;
    canvas_rgb palette[CANVAS_PALETTE_SIZE];
    uint32_t slot_pixels[CANVAS_PALETTE_SIZE]; // each slot's pixel at this depth
    void (*palette_changed)();                 // told after each change; null: nobody
    int outline;                               // thickness of outlines, pixels
};
extern screen_data screen;

// Takes a black frame buffer with the starting palette. False without memory or at another depth than 4, 8, 15, 16, 24.
bool screen_start(int width, int height, int planes);
void screen_stop();
// Changes the size; pixels that are in both stay, new ones are black. False, with the old one kept, without memory.
bool screen_resize(int width, int height);

// Notes a box (frame coordinates) as changed.
void screen_mark(canvas_box box);
// Hands what has changed to the host. `overlay` boxes are shown as a dotted outline, without getting into the frame.
void screen_flush(const canvas_box* overlay, int count);
bool screen_is_changed();

// Copies the pixels of `to` (frame coordinates) from where they were before a move by dx, dy, in an order that minds
// overlaps, and notes the change. The sources must lie in the frame buffer.
void screen_move_region(const pixman_region32_t* to, int dx, int dy);

// A bitmap's pixels; pixels null without memory. Released with screen_free_bitmap().
canvas_bitmap screen_new_bitmap(int width, int height, int planes);
void screen_free_bitmap(canvas_bitmap* bitmap);
// Copies a box that lies in `from` to a place where it lies in `to`, another bitmap of the same depth.
void bitmap_copy(const canvas_bitmap* to, int to_x, int to_y, const canvas_bitmap* from, canvas_box box);
