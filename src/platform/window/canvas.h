// Drawing: rectangles, lines, polygons, masks and pixel transfers into the screen or into memory, at every depth.
//
// A canvas is a place to draw on: a window's client area (given by the desk) or a bitmap in memory. Coordinates start
// at the canvas's own top left pixel. All drawing is limited to the clip box and, on a window, to what of it can be
// seen; what is covered is lost. Boxes are half open: x2 and y2 are the first column and row outside. A box that is
// empty or turned round draws nothing. No call fails but where it says so.
//
// Pixels. On a screen of 4 or 8 planes a pixel is a byte, the slot of the palette. On 15 and 16 planes it is a 16-bit
// word with 5-5-5 or 5-6-5 bits of red, green, blue from the top down, on 24 planes a 32-bit word 0x00RRGGBB.
#pragma once

#include <cstddef>
#include <cstdint>

struct canvas;

struct canvas_box {
    int x1, y1, x2, y2;
};

struct canvas_point {
    int x, y;
};

struct canvas_rgb {
    uint8_t red, green, blue;
};

// Pixels in memory. Rows run from the top, `stride` bytes apart.
struct canvas_bitmap {
    int width, height;
    int planes;      // 4, 8, 15, 16, 24
    int pixel_bytes; // 1, 1, 2, 2, 4
    size_t stride;
    uint8_t* pixels;
};

// ---- colours -----------------------------------------------------------------------------------------------------

// A colour as the layers above keep it: CANVAS_SLOT | slot, or red | green << 8 | blue << 16. It becomes a pixel at the
// moment of drawing. A true colour on a palette screen becomes the nearest slot.
using canvas_color = uint32_t;
constexpr canvas_color CANVAS_SLOT = 0x1000000;
constexpr canvas_color canvas_rgb_color(canvas_rgb c) {
    return uint32_t{c.red} | uint32_t{c.green} << 8 | uint32_t{c.blue} << 16;
}

// ---- the logical palette: one for the process ----------------------------------------------------------------------

constexpr int CANVAS_PALETTE_SIZE = 256;

// All that a screen of 4 planes can show.
constexpr canvas_rgb CANVAS_CLASSIC[16] = {
    {0, 0, 0},     {128, 0, 0},     {0, 128, 0},     {128, 128, 0},   {0, 0, 128}, {128, 0, 128},
    {0, 128, 128}, {192, 192, 192}, {128, 128, 128}, {255, 0, 0},     {0, 255, 0}, {255, 255, 0},
    {0, 0, 255},   {255, 0, 255},   {0, 255, 255},   {255, 255, 255},
};

int canvas_planes(); // of the screen: 4, 8, 15, 16 or 24

// Makes `count` slots from `first` on the given colours, and shows the change. On palette screens pixels that are
// already drawn change with it; on the others they stay. False when a slot lies outside.
bool canvas_set_palette(int first, const canvas_rgb* colors, int count);
canvas_rgb canvas_palette(int slot); // black outside

// The colour that the screen can really show nearest to this one: on 4 planes one of its sixteen, elsewhere the colour
// itself.
canvas_rgb canvas_device_color(canvas_rgb color);

// Green of a screen of 16 planes, from a byte. It has a bit more than red and blue, which isn't used: with it greys
// would turn greenish or reddish from step to step.
constexpr unsigned canvas_green_bits_6(unsigned green) {
    return green >> 3 << 1 | green >> 7;
}

// The pixel of a colour, as it stands in memory, and the ways back. A pixel of a true-colour screen gives the lowest
// slot of that colour, or else the nearest.
uint32_t canvas_pixel(canvas_color color);
canvas_rgb canvas_pixel_rgb(uint32_t pixel);
int canvas_pixel_slot(uint32_t pixel);

// ---- canvases ------------------------------------------------------------------------------------------------------

// A bitmap in memory that has the screen's depth, black. Null when there is no memory or a side is below 1.
canvas* canvas_create(int width, int height);
void canvas_destroy(canvas* c); // one of canvas_create(); null does nothing

int canvas_width(const canvas* c);
int canvas_height(const canvas* c);

// Limits drawing to a box. On a window it stays through moves and resizes until it is changed.
void canvas_set_clip(canvas* c, canvas_box box);
void canvas_clear_clip(canvas* c);

// ---- drawing -------------------------------------------------------------------------------------------------------

// An 8 by 8 pattern, from the canvas's top left pixel on. Row 0 is the top; bit 7 of a row is the leftmost pixel.
struct canvas_pattern {
    uint8_t rows[8];
};

void canvas_fill(canvas* c, canvas_box box, canvas_color color);

// The same through a pattern, bit by bit of a pixel: (color & p) | (~color & old), where p is all ones at a set bit of
// the pattern and 0 at a clear one. The bits that the colour has take the pattern's value; the others stay.
void canvas_fill_pattern(canvas* c, canvas_box box, canvas_color color, const canvas_pattern* pattern);

// A filled polygon without outline; even-odd where it crosses itself. A pixel belongs to it when its centre does; edges
// run through the points' top left corners, so that shapes with a common edge neither overlap nor leave gaps. With a
// pattern (null: none) set bits take the colour and clear bits black. False without memory.
bool canvas_polygon(canvas* c, const canvas_point* points, int count, canvas_color color,
                    const canvas_pattern* pattern);

// How a line is drawn. A dotted line is three pixels on, three off, from its start; its gaps are left alone, or take
// the gap colour when they are opaque.
struct canvas_pen {
    canvas_color color;
    bool dotted;
    bool opaque_gaps;
    canvas_color gap_color;
    bool last_point; // draw the end point too
};

// A line one pixel wide.
void canvas_line(canvas* c, canvas_point from, canvas_point to, const canvas_pen* pen);

void canvas_set_pixel(canvas* c, int x, int y, canvas_color color);
// The pixel as it stands in memory; 0 outside of the bitmap or screen.
uint32_t canvas_get_pixel(const canvas* c, int x, int y);

// Paints the colour where the mask has a zero bit. Rows are `stride` bytes apart; bit 7 of a byte is the leftmost
// pixel.
void canvas_mask(canvas* c, int x, int y, int width, int height, const uint8_t* bits, size_t stride,
                 canvas_color color);

// ---- transfers -----------------------------------------------------------------------------------------------------

// Copies a box of one canvas to `to`, `x`, `y` of another (or the same: overlaps are minded). From a window it copies
// what the screen shows there; pixels from outside of the screen or bitmap are left alone. To move pixels inside a
// window use desk_copy(), which also asks for what could not be copied.
void canvas_copy(canvas* to, int x, int y, const canvas* from, canvas_box box);

// Writes rows of pixels, top row first, `stride` bytes apart; a negative stride goes upwards from `rows`, a stride of 0
// repeats one row.
// - native: pixels as they stand in memory (canvas_pixel_bytes() bytes each)
// - slots: a byte each, through the table `slots` of 256 (null: as they stand)
// - bgr: three bytes each
// - rgb0: four bytes each, the last one not used
int canvas_pixel_bytes();
void canvas_put_native(canvas* c, canvas_box box, const void* rows, ptrdiff_t stride);
void canvas_put_slots(canvas* c, canvas_box box, const uint8_t* rows, ptrdiff_t stride, const uint16_t* slots);
void canvas_put_bgr(canvas* c, canvas_box box, const uint8_t* rows, ptrdiff_t stride);
void canvas_put_rgb0(canvas* c, canvas_box box, const uint8_t* rows, ptrdiff_t stride);

// Reads rows of pixels in the same forms. From a window it reads what the screen shows there. Pixels outside of the
// bitmap or screen come as 0.
void canvas_get_native(const canvas* c, canvas_box box, void* rows, ptrdiff_t stride);
void canvas_get_slots(const canvas* c, canvas_box box, uint8_t* rows, ptrdiff_t stride);
void canvas_get_rgb0(const canvas* c, canvas_box box, uint8_t* rows, ptrdiff_t stride);

// The fastest way: calls `write` for each part of the box that can be drawn on, with the place of its first pixel. The
// function writes all pixels of the part, as they stand in memory.
using canvas_writer = void (*)(void* user, canvas_box part, uint8_t* pixels, size_t stride);
void canvas_write_parts(canvas* c, canvas_box box, canvas_writer write, void* user);
