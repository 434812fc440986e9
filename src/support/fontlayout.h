// The layout of font and symbol files, for those who read and write them: the display layer, the raster library, and
// the programs that make such files. A file, little-endian:
//
//      0  "FONT"
//      4  its size less 8
//      8  the place of the bitmap area less 8
//     12  256 bytes: the glyph number of each character code, from 1 up, or 0
//    268  glyph table, 8 bytes a glyph: place in the bitmap area (2 bytes), width, height, x, y, advance, depth
//   then  bitmap area: rows padded to bytes, the leftmost pixel in bit 0
//
// In symbol files a code is the number of a picture.
#pragma once

#include "support/bytes.h"

constexpr char FONT_MAGIC[] = "FONT";
constexpr size_t FONT_MAGIC_SIZE = 4;
constexpr size_t FONT_AT_TOTAL = 4;
constexpr size_t FONT_AT_BITMAPS = 8;
constexpr size_t FONT_AT_INDEX = 12;
constexpr size_t FONT_CODES = 256;
constexpr size_t FONT_AT_TABLE = FONT_AT_INDEX + FONT_CODES; // also the size of the header
constexpr size_t FONT_ENTRY_SIZE = 8;
constexpr uint32_t FONT_PLACES_FROM = 8;   // what the size and the place in the header count from
constexpr size_t FONT_MOST_PLACE = 0xFFFF; // of a glyph in the bitmap area

// An entry of the glyph table.
struct font_entry {
    uint16_t place; // of the glyph's rows in the bitmap area
    uint8_t width;  // pixels
    uint8_t height;
    int8_t x_offset;  // of the rows from the pen
    uint8_t y_offset; // of the first row from the top of the line
    uint8_t advance;  // of the pen: the width of the glyph's cell
    uint8_t depth;    // least height of a line with the glyph: the height of its cell
};

inline font_entry load_font_entry(const uint8_t* p) {
    return {load_u16le(p), p[2], p[3], static_cast<int8_t>(p[4]), p[5], p[6], p[7]};
}
inline void store_font_entry(uint8_t* p, const font_entry& e) {
    store_u16le(p, e.place);
    p[2] = e.width;
    p[3] = e.height;
    p[4] = static_cast<uint8_t>(e.x_offset);
    p[5] = e.y_offset;
    p[6] = e.advance;
    p[7] = e.depth;
}

// Bytes of a row, and of all rows of a glyph.
constexpr size_t font_row_bytes(uint8_t width) {
    return (size_t{width} + 7) / 8;
}
constexpr size_t font_glyph_bytes(uint8_t width, uint8_t height) {
    return font_row_bytes(width) * height;
}

// Entries between the header and the bitmap area, whose place the header tells; 0 also for a place inside the header.
constexpr size_t font_entries_before(uint32_t bitmaps) {
    constexpr uint32_t HEADER = FONT_AT_TABLE - FONT_PLACES_FROM;
    return bitmaps > HEADER ? (bitmaps - HEADER) / FONT_ENTRY_SIZE : 0;
}
