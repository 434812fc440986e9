// Trimming glyphs and writing files of them.
#include "fontfile.h"

#include <algorithm>
#include <cstdio>

#include "platform/files.h"
#include "support/fontlayout.h"

namespace {

bool is_blank(const std::string& row) {
    return row.find('#') == std::string::npos;
}

bool fits(const drawn_glyph& glyph) {
    auto byte = [](int value) { return value >= 0 && value <= 255; };
    bool sizes = byte(glyph.code) && byte(glyph_width(glyph)) && byte(glyph_height(glyph)) && byte(glyph.y_offset) &&
                 byte(glyph.advance) && byte(glyph.depth) && glyph.x_offset >= -128 && glyph.x_offset <= 127;
    if (!sizes) std::fprintf(stderr, "glyph %d does not fit the format\n", glyph.code);
    return sizes;
}

// Each row padded to a whole byte, the leftmost pixel in bit 0.
void append_bitmap(std::vector<uint8_t>* area, const drawn_glyph& glyph) {
    for (const std::string& row : glyph.rows) {
        size_t at = area->size();
        area->resize(at + (row.size() + 7) / 8);
        for (size_t x = 0; x < row.size(); ++x)
            if (row[x] == '#') (*area)[at + x / 8] |= static_cast<uint8_t>(1U << x % 8);
    }
}

font_entry entry_of(const drawn_glyph& glyph, size_t place) {
    auto byte = [](int value) { return static_cast<uint8_t>(value); };
    return {static_cast<uint16_t>(place),
            byte(glyph_width(glyph)),
            byte(glyph_height(glyph)),
            static_cast<int8_t>(glyph.x_offset),
            byte(glyph.y_offset),
            byte(glyph.advance),
            byte(glyph.depth)};
}

} // namespace

void glyph_trim(drawn_glyph* glyph) {
    auto& rows = glyph->rows;
    while (!rows.empty() && is_blank(rows.back()))
        rows.pop_back();
    while (!rows.empty() && is_blank(rows.front())) {
        rows.erase(rows.begin());
        ++glyph->y_offset;
    }
    size_t first = std::string::npos;
    size_t last = 0;
    for (const std::string& row : rows) {
        if (is_blank(row)) continue;
        first = std::min(first, row.find('#'));
        last = std::max(last, row.rfind('#'));
    }
    if (rows.empty()) return;
    for (std::string& row : rows)
        row = row.substr(first, last - first + 1);
    glyph->x_offset += static_cast<int>(first);
}

std::vector<uint8_t> font_bytes(const std::vector<drawn_glyph>& glyphs) {
    std::vector<uint8_t> file(FONT_AT_TABLE + FONT_ENTRY_SIZE * glyphs.size());
    std::vector<uint8_t> area;
    std::copy_n(FONT_MAGIC, FONT_MAGIC_SIZE, file.begin());
    for (size_t n = 0; n < glyphs.size(); ++n) {
        if (!fits(glyphs[n])) return {};
        uint8_t* slot = &file[FONT_AT_INDEX + static_cast<size_t>(glyphs[n].code)];
        if (*slot != 0 || n >= 255 || area.size() > FONT_MOST_PLACE) {
            std::fprintf(stderr, "glyph %d: given twice, or one too many\n", glyphs[n].code);
            return {};
        }
        *slot = static_cast<uint8_t>(n + 1);
        store_font_entry(&file[FONT_AT_TABLE + FONT_ENTRY_SIZE * n], entry_of(glyphs[n], area.size()));
        append_bitmap(&area, glyphs[n]);
    }
    store_u32le(&file[FONT_AT_BITMAPS], static_cast<uint32_t>(file.size() - FONT_PLACES_FROM));
    file.insert(file.end(), area.begin(), area.end());
    store_u32le(&file[FONT_AT_TOTAL], static_cast<uint32_t>(file.size() - FONT_PLACES_FROM));
    return file;
}

bool write_bytes(const std::string& path, const std::vector<uint8_t>& bytes) {
    bool good = files_replace_whole(path.c_str(), bytes.data(), bytes.size());
    if (!good) std::fprintf(stderr, "%s: can't be written\n", path.c_str());
    return good;
}
