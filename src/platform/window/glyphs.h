// Text of the platform's own: captions, icons' titles and message boxes. Latin-1, one bit a pixel, three faces in two
// sizes each.
#pragma once

#include "platform/window/canvas.h"

#include <cstdint>

constexpr int GLYPH_COUNT = 191; // characters 32 to 126 and 160 to 255
constexpr int GLYPH_ROWS = 28;

// Rows from the top of the line; bit 31 is the leftmost pixel.
struct glyph {
    uint8_t advance; // pixels to the next glyph
    uint32_t rows[GLYPH_ROWS];
};

struct glyph_face {
    const glyph* glyphs;
    int height; // of a line in pixels
};

enum class glyph_style : uint8_t { normal, bold, small };
constexpr int GLYPH_FACES = 3;

extern const glyph_face glyphs_usual[GLYPH_FACES]; // by style
extern const glyph_face glyphs_double[GLYPH_FACES];

// The face in the size for a desk that is drawn so many times as large.
const glyph_face* glyphs_face(glyph_style style, int factor);

// Width of the first `length` characters. Other characters than the face's count as a blank.
int glyphs_width(const glyph_face* face, const char* text, int length);

// How many characters of the text fit into `width` pixels.
int glyphs_that_fit(const glyph_face* face, const char* text, int width);

// Draws them with the top left corner of the line at x, y.
void glyphs_draw(canvas* c, const glyph_face* face, int x, int y, const char* text, int length, canvas_color color);

// Draws the text in a box, upright in its middle, cut with "..." when it is too wide; centred or from the left.
void glyphs_draw_in(canvas* c, const glyph_face* face, canvas_box box, const char* text, bool centred,
                    canvas_color color);
