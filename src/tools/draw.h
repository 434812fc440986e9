// Drawing on numbered windows: attributes, lines and areas, masks, blocks of pixels, text.
//
// Coordinates start at the window's top left client pixel; rectangles are inclusive in both corners. Results are 0, or
// -1 for a window that doesn't exist and where it is said. On a window that isn't displayed or is collapsed nothing is
// drawn, with result 0. All drawing is limited to the clip box and to what of the window can be seen.
#pragma once

#include <cstdint>

struct canvas;

// ---- attributes ----------------------------------------------------------------------------------------------------

// Slots above max_color_index (and below 0) are brought down to it.
int fgcolor(int window, int slot);
int bgcolor(int window, int slot);
// The foreground: in palette mode a slot, at most 32 or max_color_index, if that is above 16; in true colour red |
// green << 8 | blue << 16. -1 unless screen is 0.
int rgbcolor(int window, int screen, uint32_t value);
int clipbox(int window, int x1, int y1, int x2, int y2); // cut to the client area
int weight(int window, int lines);                       // as many more than one, side by side; 0: one pixel wide
int linestyle(int window, uint32_t pattern);             // 0xFFFF: solid; any other: dotted
int blendline(int window, uint32_t value);               // 0xFFFF: gaps of a dotted line are left alone, else they take
                                                         // the background
// 8 rows of which the low 8 bits count; the first row is the lowest, bit 0 the leftmost. All eight 0xFFFFFFFF: none.
int fillpattern(int window, const uint32_t* rows);
int pushattributes(int window); // -1 without memory
int popattributes(int window);  // -1 when nothing is pushed
int flushbuffer(int window);    // does nothing: drawing is immediate

// ---- lines and areas -----------------------------------------------------------------------------------------------

int move(int window, int x, int y); // sets the current point
// A line from the current point, which then is the end. The end's own pixel is left out, so that lines that go on from
// each other set no pixel twice.
int draw(int window, int x, int y);
int pnt(int window, int x, int y); // moves, and draws a dot of weight + 1 pixels on each side from x - weight / 2
// Filled; with a pattern, each bit of a pixel that the foreground has set takes the pattern's. -1 for a rectangle
// turned round when there is a pattern.
int rectf(int window, int x1, int y1, int x2, int y2);
// Moves to the first point and draws to the others. Types of points, each a pair: 0 double, 2 float (both cut to whole
// numbers), 4 int32_t, 6 int16_t. -1 for another type or a count below 1.
int polyf(int window, const void* points, int count, int type);
// The area between (xa, y1), (xb, y2), (xd, y2), (xc, y1), with the pattern or the foreground.
int polygon4(int window, int y1, int y2, int xa, int xb, int xc, int xd);

// ---- masks and text ------------------------------------------------------------------------------------------------

// Paints set bits in the foreground. Rows are padded to bytes; bit 0 is leftmost. -1 for a rectangle turned round and
// without memory.
int drawbitmap(int window, int x1, int y1, int x2, int y2, const uint8_t* bits);
// Paints zero bits in the foreground. Rows are padded to 16 bits; the high bit of a byte is leftmost.
int draw_mask(int window, int x, int y, int width, int height, const uint8_t* bits);
// Draws `length` bytes of a text in the foreground, its top left corner at x, y. -1 for a font that isn't loaded
// (font.h) and without memory.
int drawsymbols(int window, int font, int x, int y, const char* text, int length);

// ---- blocks of pixels ----------------------------------------------------------------------------------------------

// Copies a rectangle inside the window. What has to come from where nothing could be seen is asked for by a refresh.
int blockmove(int window, int x1, int y1, int x2, int y2, int to_x, int to_y);

// Pixels as the screen has them, rows padded to 16 bits. -1 for a rectangle turned round, or one of 2 GB.
int blocksize(int window, int x1, int y1, int x2, int y2, int* bytes);
int getblock(int window, int x1, int y1, int x2, int y2, void* buffer);
int putblock(int window, int x1, int y1, int x2, int y2, const void* buffer);

// A byte, the slot, for each pixel in palette mode; red, green, blue and 0 in true colour. -1 for a rectangle turned
// round, one of 2 GB, and a screen other than 0.
int pixelblock_size(int window, int x1, int y1, int x2, int y2, int screen, int* bytes);
int getpixelblock(int window, int x1, int y1, int x2, int y2, int screen, uint8_t* buffer);
int putpixelblock(int window, int x1, int y1, int x2, int y2, int screen, const uint8_t* buffer);

// A copy of a rectangle, for free_area(); null when nothing was copied. -1 without memory.
using saved_area = canvas*;
int save_area(int window, int x1, int y1, int x2, int y2, saved_area* area);
int restore_area(int window, int x, int y, saved_area area); // the area stays; -1 for null
int free_area(saved_area area);                              // -1 for null
