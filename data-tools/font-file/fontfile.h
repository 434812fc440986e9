// What the makers of font and symbol files share: a glyph as rows of pixels, and the writing of a file of them.
// support/fontlayout.h says what the file is like.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct drawn_glyph {
    int code = 0;                  // character code or symbol number, 0 to 255
    int x_offset = 0;              // of the bitmap from the pen
    int y_offset = 0;              // of its first row from the top of the line
    int advance = 0;               // of the pen
    int depth = 0;                 // least height of a line that holds the glyph
    std::vector<std::string> rows; // from the top, one character a pixel, '#' where it is set; all of one length
};

inline int glyph_height(const drawn_glyph& glyph) {
    return static_cast<int>(glyph.rows.size());
}
inline int glyph_width(const drawn_glyph& glyph) {
    return glyph.rows.empty() ? 0 : static_cast<int>(glyph.rows.front().size());
}

// Takes empty rows and columns off the edges; the offsets follow, so that the glyph looks the same.
void glyph_trim(drawn_glyph* glyph);

// The bytes of a file with these glyphs. Empty, with a message on standard error, when one doesn't fit the format:
// a code given twice, a size above 255, a bitmap area above 65535 bytes.
std::vector<uint8_t> font_bytes(const std::vector<drawn_glyph>& glyphs);

// Writes the bytes; false, with a message on standard error, when that fails.
bool write_bytes(const std::string& path, const std::vector<uint8_t>& bytes);
