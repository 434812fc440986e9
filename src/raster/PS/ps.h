// PostScript files: the module's private record and what its files offer to each other.
//
// The module only writes: one page with the image as shades of grey, two hexadecimal digits a pixel, which the page's
// program reads from behind itself. The image is turned by 90 degrees and fits into the page's margins of half an inch;
// the program's numbers are points, 72 to the inch.
#pragma once

#include "raster/CORE/module.h"

constexpr int32_t PS_PAGE_SHORT = 540; // points between the margins, which the image's height runs along
constexpr int32_t PS_PAGE_LONG = 720;
constexpr int32_t PS_MIDDLE_X = 306; // of the page
constexpr int32_t PS_MIDDLE_Y = 396;
constexpr size_t PS_COLORS = 256;
constexpr size_t PS_LINE_PIXELS = 40; // to a line of text

// The module's record, in CFILE's `spec`.
struct ps_spec {
    uint8_t colors[PS_COLORS][3]; // red, green and blue of each value
    char grey_hex[PS_COLORS][2];  // digits of each value's shade
    int32_t color_count;          // entries of the application's table
    uint8_t* text;                // owned: the text of a line, and behind it room for a line of values
};

inline ps_spec* ps_spec_of(const CFILE* c) {
    return static_cast<ps_spec*>(c->spec);
}

// Characters of a line: a line feed before every 40 pixels, and one at the end.
inline size_t ps_text_bytes(const CFILE* c) {
    auto width = static_cast<size_t>(c->xsize);
    return width * 2 + (width + PS_LINE_PIXELS - 1) / PS_LINE_PIXELS + 1;
}

// ---- psline.cpp ----------------------------------------------------------------------------------------------------

// Digits of each value from `colors`.
void ps_make_digits(ps_spec* spec);

// A line of one plane: values, or bits, which are black and white; or of three planes. Lines come in their order. The
// width, 0 on failure.
int ps_put_line(CFILE* c, int channels, write_planes buffers);
