// Glyphs of an outline font at one bit a pixel, brought to the grid by the font's own instructions.
#pragma once

#include <string>

#include "fontfile.h"

struct outline_font; // an open font file

outline_font* outline_open(const std::string& path); // null, with a message on standard error, when it can't be
void outline_close(outline_font* font);

// The glyph of a Unicode character, with an em of so many pixels across and down. `y_offset` counts from the base line,
// so that what stands above it is negative. False when the font has no such glyph.
bool outline_glyph(outline_font* font, unsigned long character, int em_x, int em_y, drawn_glyph* glyph);
