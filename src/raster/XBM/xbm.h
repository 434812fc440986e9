// XBM files (X bitmaps): the module's private record and what its files offer to each other.
//
// The file is text of C: lines that define sizes and the hot spot under a name, "#define NAME_width 16", and an array
// of bytes as hexadecimal numbers, in which a byte's first pixel is bit 0. Lines of the image begin with a byte of
// their own, and have no relation to the lines of the text.
#pragma once

#include "raster/CORE/module.h"

constexpr size_t XBM_PROBE_BYTES = 4096; // in which the sizes are looked for
constexpr size_t XBM_NAME_SIZE = 32;
constexpr size_t XBM_BYTE_TEXT = 6;  // characters of a byte that is written
constexpr size_t XBM_LINE_BYTES = 8; // bytes to a line of text

// The module's record, in CFILE's `spec`.
struct xbm_spec {
    int32_t x_hot, y_hot;
    char name[XBM_NAME_SIZE]; // letters, digits and '_'
    int64_t data_offset;      // of the first byte of the array
    int32_t file_line;        // of a new file: the line that it stands at, -1 when it is not known
    uint8_t* row;             // owned, of a new file: the text of a line
};

inline xbm_spec* xbm_spec_of(const CFILE* c) {
    return static_cast<xbm_spec*>(c->spec);
}

// Whether lines are found by their number: those of a new file.
inline bool xbm_has_places(const CFILE* c) {
    return c->mode == MODE_WRITE || c->mode == MODE_WRITE_READ;
}

// Characters of a line that is written.
inline size_t xbm_text_bytes(const CFILE* c) {
    size_t bytes = (static_cast<size_t>(c->xsize) + 7) / 8;
    return bytes * XBM_BYTE_TEXT + (bytes - 1) / XBM_LINE_BYTES + 1;
}

// ---- xbmopen.cpp ---------------------------------------------------------------------------------------------------

// Brings a new file to the line that comes next. False when it can't be.
bool xbm_go_to_line(CFILE* c);

// ---- xbmline.cpp ---------------------------------------------------------------------------------------------------

int xbm_get_line(CFILE* c, int channels, read_planes buffers);
int xbm_write_header(CFILE* c);

// A bilevel line. The width, 0 on failure.
int xbm_put_line(CFILE* c, int channels, write_planes buffers);
