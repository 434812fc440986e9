// Reading of font and symbol files: support/fontlayout.h.
//
// A glyph number has 8 bits and a place 16, so no glyph can lie beyond the first 255 entries and GREATEST_AREA bytes.
// No more than that is read, whatever the file says about itself.
#include "tools/fontread.h"

#include <algorithm>
#include <cstring>

#include "support/fontlayout.h"
#include "support/memory.h"
#include "tools/toolfile.h"

namespace {

constexpr size_t GREATEST_COUNT = 255;
constexpr size_t GREATEST_AREA = FONT_MOST_PLACE + font_glyph_bytes(255, 255);

struct font_header {
    bool is_font;
    uint32_t total;   // size of the file less 8
    uint32_t bitmaps; // place of the bitmap area less 8
    uint8_t index[256];
};

bool read_whole(tools_stream stream, void* buffer, size_t bytes) {
    return tools_fread(buffer, 1, bytes, stream) == bytes;
}

bool read_at(tools_stream stream, int64_t place, void* buffer, size_t bytes) {
    return tools_fseek(stream, place, FILES_FROM_START) == 0 && read_whole(stream, buffer, bytes);
}

// False when the file is too short for a header, or has no room between it and the bitmaps.
bool read_header(tools_stream stream, font_header* header) {
    uint8_t bytes[FONT_AT_TABLE];
    if (!read_whole(stream, bytes, sizeof bytes)) return false;
    header->is_font = std::memcmp(bytes, FONT_MAGIC, FONT_MAGIC_SIZE) == 0;
    header->total = load_u32le(bytes + FONT_AT_TOTAL);
    header->bitmaps = load_u32le(bytes + FONT_AT_BITMAPS);
    std::copy_n(bytes + FONT_AT_INDEX, sizeof header->index, header->index);
    return header->bitmaps >= FONT_AT_TABLE - FONT_PLACES_FROM;
}

size_t glyph_count(const font_header& header) {
    return std::min(font_entries_before(header.bitmaps), GREATEST_COUNT);
}

// False when a character of the font leads to a glyph that isn't in the table or not in the bitmap area.
bool decode_glyphs(bitmap_font* font, const uint8_t* table, size_t count, size_t area) {
    for (uint8_t number : font->index) {
        if (number == 0) continue;
        if (number > count) return false;
        font_entry e = load_font_entry(table + (size_t{number} - 1) * FONT_ENTRY_SIZE);
        if (e.place + font_glyph_bytes(e.width, e.height) > area) return false;
        font->glyphs[number - 1] = {
            font->bitmaps + e.place, e.width, e.height, e.x_offset, e.y_offset, e.advance, e.depth};
    }
    return true;
}

void find_largest(bitmap_font* font) {
    for (uint8_t number : font->index) {
        if (number == 0) continue;
        const font_glyph& glyph = font->glyphs[number - 1];
        font->width = std::max({font->width, int{glyph.advance}, int{glyph.width}});
        font->height = std::max({font->height, int{glyph.depth}, int{glyph.height}});
    }
}

// Fills the font from an open file; false leaves what has been allocated to font_free().
bool fill(bitmap_font* font, tools_stream stream) {
    font_header header;
    if (!read_header(stream, &header) || !header.is_font || header.total < header.bitmaps) return false;
    size_t count = glyph_count(header);
    size_t area = std::min(size_t{header.total - header.bitmaps}, GREATEST_AREA);
    uint8_t table[GREATEST_COUNT * FONT_ENTRY_SIZE];
    if (!read_whole(stream, table, count * FONT_ENTRY_SIZE)) return false;
    std::copy_n(header.index, sizeof header.index, font->index);
    font->glyphs = mem_new_array<font_glyph>(count);
    font->bitmaps = mem_new_array<uint8_t>(area);
    if (font->glyphs == nullptr || font->bitmaps == nullptr) return false;
    if (!read_at(stream, int64_t{header.bitmaps} + FONT_PLACES_FROM, font->bitmaps, area)) return false;
    std::transform(font->bitmaps, font->bitmaps + area, font->bitmaps, reversed_bits);
    if (!decode_glyphs(font, table, count, area)) return false;
    find_largest(font);
    return true;
}

// Reads the symbol's entry and bitmap; false leaves `bits` to the caller.
bool fill_symbol(symbol_bitmap* symbol, tools_stream stream, uint8_t number) {
    font_header header;
    if (!read_header(stream, &header)) return false;
    size_t glyph = header.index[number];
    if (glyph == 0 || glyph > glyph_count(header)) return false;
    uint8_t entry[FONT_ENTRY_SIZE];
    if (!read_at(stream, static_cast<int64_t>(FONT_AT_TABLE + (glyph - 1) * FONT_ENTRY_SIZE), entry, sizeof entry))
        return false;
    *symbol = {entry[2], entry[3], entry[4], entry[5], entry[6], entry[7], nullptr};
    size_t bytes = font_glyph_bytes(symbol->width, symbol->height);
    symbol->bits = static_cast<uint8_t*>(mem_alloc_zeroed(bytes + bytes % 2 + 1));
    int64_t place = int64_t{header.bitmaps} + FONT_PLACES_FROM + load_u16le(entry);
    return symbol->bits != nullptr && read_at(stream, place, symbol->bits, bytes);
}

} // namespace

bitmap_font* font_read(const char* path) {
    tools_stream stream = tools_fopen(path, "rb");
    if (stream == TOOLS_NO_STREAM) return nullptr;
    auto* font = mem_new<bitmap_font>();
    bool good = font != nullptr && fill(font, stream);
    tools_fclose(stream);
    if (good) font->path = mem_copy_text(path);
    if (good && font->path != nullptr) return font;
    font_free(font);
    return nullptr;
}

void font_free(bitmap_font* font) {
    if (font == nullptr) return;
    mem_free(font->path);
    mem_free(font->glyphs);
    mem_free(font->bitmaps);
    mem_free(font);
}

int symbol_read(const char* path, uint8_t number, symbol_bitmap* symbol) {
    *symbol = {};
    tools_stream stream = tools_fopen(path, "rb");
    if (stream == TOOLS_NO_STREAM) return -1;
    bool good = fill_symbol(symbol, stream, number);
    tools_fclose(stream);
    if (good) return 0;
    mem_free(symbol->bits);
    *symbol = {};
    return -1;
}
