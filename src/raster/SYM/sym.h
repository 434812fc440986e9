// SYM files (symbols): the module's private record and what its files offer to each other.
//
// support/fontlayout.h says what the file is like: one of the display layer's fonts or symbol files, whose glyphs are
// images of one bit. An image is as large as the glyph's cell, in which the glyph's own rows stand at an offset. A new
// file is gathered in memory and written at its close.
#pragma once

#include "raster/CORE/module.h"
#include "support/fontlayout.h"

constexpr int32_t SYM_MOST_IMAGES = 256;
constexpr int32_t SYM_MOST_SIDE = 255;

struct sym_image {
    font_entry entry;
    uint8_t* rows; // owned, of a new file: as they go into the file; null without a header
};

// The module's record, in CFILE's `spec`.
struct sym_spec {
    uint32_t bitmaps; // place of the bitmap area less FONT_PLACES_FROM
    int32_t count;
    sym_image* images; // owned
    bool written;      // an image has been given its header: there is a file to be written
};

inline sym_spec* sym_spec_of(const CFILE* c) {
    return static_cast<sym_spec*>(c->spec);
}
inline sym_image* sym_active(const CFILE* c) {
    return &sym_spec_of(c)->images[c->active_image];
}
inline bool sym_is_new(const CFILE* c) {
    return c->mode == MODE_WRITE || c->mode == MODE_WRITE_READ;
}

// ---- symline.cpp ---------------------------------------------------------------------------------------------------

// A line of the cell. Rows outside of the glyph are clear.
int sym_get_line(CFILE* c, int channels, read_planes buffers);

int sym_write_header(CFILE* c);

// A line of the active image: of a new one, or in the place of one whose cell is its glyph. The width, 0 on failure.
int sym_put_line(CFILE* c, int channels, write_planes buffers);

// Writes a new file.
void sym_close(CFILE* c);
