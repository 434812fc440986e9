// Colours: the logical palette and its slots, the standard colours, and four pipelines that show pictures of red, green
// and blue bytes in whatever planes the screen has.
//
// A slot is a number of the palette; a pixel of a palette screen is a slot. On screens of 15 planes and more the
// palette is a table of colours to draw with, and windows may draw in true colours besides.
//
// Everything but the row writers (rgb_rect and so on) and the palette is tables and arithmetic, without a display.
#pragma once

#include <cstddef>
#include <cstdint>

// ---- the palette ---------------------------------------------------------------------------------------------------

extern int32_t screen_planes;   // depth of the screen, at most 24; 0 before palette_setup()
extern int32_t max_color_index; // highest slot: (1 << screen_planes) - 1, at most 255. It holds white

struct color_entry {
    uint16_t slot;
    uint16_t red, green, blue; // 65535 is full; the screen shows the high byte
};

constexpr int STANDARD_COLORS = 16;
constexpr int DITHER_SLOT = 16; // on 4 planes: first of the 16 slots of the dither
constexpr int CUBE_SLOT = 20;   // on 8 planes: first of the 216 slots of the colour cube

// Makes the palette with the standard colours, and window 0. For Enter_tools(), when the desk has started. -1 when the
// palette can't be made, after a message; the program is stopped through exit_program().
int palette_setup();
// Forgets the palette and all that RGB_init() has made.
void palette_end();

// Writes entries to the palette. Entries with a slot above max_color_index are left out, and make the result -1; so
// does a missing palette. Nothing is written then. The screen doesn't count.
int Load_colors(int screen, const color_entry* entries, int count);
// Reads `count` slots from `first` on, slot numbers included. -1 when there is no palette, or a slot lies above
// max_color_index; its entry gets its number and black.
int Read_colors(int screen, color_entry* entries, int count, int first);
// The standard colours from slot 1 on, and how many: 14, those of the forms. The table isn't the caller's.
int Inq_standard_colors(const color_entry** table, int* count);

// ---- true colour windows -------------------------------------------------------------------------------------------

// COLOR_MODE_PALETTE or COLOR_MODE_TRUE (windows.h). -1 for a window that doesn't exist, another mode, and true colour
// on fewer than 15 planes.
int Set_window_color_mode(int window, int mode);
// 0 and 2 in `value` on the first call for mode 2 on 15 planes or more; -1, with `value` unchanged, otherwise and
// always after that.
int Request_color_mode(int mode, int32_t* value);
int RGB_enable_window(int window); // true colours, if rgb_window_ready; otherwise nothing changes

// ---- pipelines -----------------------------------------------------------------------------------------------------

extern int32_t rgb_depth;       // the pipeline in force: 0 none, 4, 8, 15, 24
extern int32_t rgb_window_mode; // COLOR_MODE_TRUE, once it has been granted
extern bool rgb_window_ready;

// Sets up the pipeline for the smaller of `planes` and the screen's. 4, 8, or 24 for 15 and more; 0, with a message for
// fewer than 4 planes, when there is none, or no memory. It may be called again for another pipeline.
int RGB_init(int screen, int planes);

// The gamma with which the next RGB_init() makes the pipelines of 8 planes and more show pictures that are linear in
// light; 2.05 at the start. What is no number above 0 is left out.
void RGB_set_gamma(double gamma);

// The dithered pixel at a place, and the pixel without dither: a slot, or red | green << 8 | blue << 16. 0 before
// RGB_init().
extern uint32_t (*rgb_dither_pixel)(int x, int y, uint8_t red, uint8_t green, uint8_t blue);
extern uint32_t (*rgb_plain_pixel)(uint8_t red, uint8_t green, uint8_t blue);
// The way back. Does nothing before RGB_init().
extern void (*rgb_pixel_color)(uint32_t pixel, uint8_t* red, uint8_t* green, uint8_t* blue);

// Show bytes in a window, dithered by the place of each pixel in the window. Both columns come first, then the rows;
// both ends belong to the rectangle; one turned round draws nothing. Nothing is drawn on a window that doesn't exist,
// isn't displayed or is collapsed, and before RGB_init().
//
// rgb_rect: a rectangle from three planes, `stride` bytes from row to row. rgb_line: one row. rgb_fill: one row into
// each row of the rectangle.
extern void (*rgb_rect)(int window, int x1, int x2, int y1, int y2, const uint8_t* red, const uint8_t* green,
                        const uint8_t* blue, ptrdiff_t stride);
extern void (*rgb_line)(int window, int x1, int x2, int y, const uint8_t* red, const uint8_t* green,
                        const uint8_t* blue);
extern void (*rgb_fill)(int window, int x1, int x2, int y1, int y2, const uint8_t* red, const uint8_t* green,
                        const uint8_t* blue);
