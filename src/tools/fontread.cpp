// Reading of font and symbol files. A file, little-endian:
//
//      0  "FONT"
//      4  its size less 8
//      8  the place of the bitmap area less 8
//     12  256 bytes: the glyph number of each character code, from 1 up, or 0
//    268  glyph table, 8 bytes a glyph: place in the bitmap area (2 bytes), width, height, x, y, advance, depth
//   then  bitmap area: rows padded to bytes, the leftmost pixel in bit 0
//
// A glyph number has 8 bits and a place 16, so no glyph can lie beyond the first 255 entries and GREATEST_AREA bytes.
// No more than that is read, whatever the file says about itself.
#include "tools/fontread.h"

#include <algorithm>
#include <cstring>

#include "support/bytes.h"
#include "support/memory.h"
#include "tools/toolfile.h"

namespace {

constexpr size_t INDEX_AT = 12;
constexpr size_t TABLE_AT = 268;
constexpr size_t ENTRY_SIZE = 8;
constexpr uint32_t PLACES_FROM = 8; // what sizes and places in the header count from
constexpr size_t GREATEST_COUNT = 255;
constexpr size_t GREATEST_AREA = 0xFFFF + size_t{32} * 255;

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
    uint8_t bytes[TABLE_AT];
    if (!read_whole(stream, bytes, sizeof bytes)) return false;
    header->is_font = std::memcmp(bytes, "FONT", 4) == 0;
    header->total = load_u32le(bytes + 4);
    header->bitmaps = load_u32le(bytes + 8);
    std::copy_n(bytes + INDEX_AT, sizeof header->index, header->index);
    return header->bitmaps >= TABLE_AT - PLACES_FROM;
}

size_t glyph_count(const font_header& header) {
    return std::min((header.bitmaps - (TABLE_AT - PLACES_FROM)) / ENTRY_SIZE, GREATEST_COUNT);
}

size_t bitmap_bytes(uint8_t width, uint8_t height) {
    return (size_t{width} + 7) / 8 * height;
}

// False when a character of the font leads to a glyph that isn't in the table or not in the bitmap area.
bool decode_glyphs(bitmap_font* font, const uint8_t* table, size_t count, size_t area) {
    for (uint8_t number : font->index) {
        if (number == 0) continue;
        if (number > count) return false;
        const uint8_t* entry = table + (size_t{number} - 1) * ENTRY_SIZE;
        size_t place = load_u16le(entry);
        if (place + bitmap_bytes(entry[2], entry[3]) > area) return false;
        font->glyphs[number - 1] = {
            font->bitmaps + place, entry[2], entry[3], static_cast<int8_t>(entry[4]), entry[5], entry[6], entry[7]};
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
    uint8_t table[GREATEST_COUNT * ENTRY_SIZE];
    if (!read_whole(stream, table, count * ENTRY_SIZE)) return false;
    std::copy_n(header.index, sizeof header.index, font->index);
    font->glyphs = mem_new_array<font_glyph>(count);
    font->bitmaps = mem_new_array<uint8_t>(area);
    if (font->glyphs == nullptr || font->bitmaps == nullptr) return false;
    if (!read_at(stream, int64_t{header.bitmaps} + PLACES_FROM, font->bitmaps, area)) return false;
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
    uint8_t entry[ENTRY_SIZE];
    if (!read_at(stream, static_cast<int64_t>(TABLE_AT + (glyph - 1) * ENTRY_SIZE), entry, sizeof entry)) return false;
    *symbol = {entry[2], entry[3], entry[4], entry[5], entry[6], entry[7], nullptr};
    size_t bytes = bitmap_bytes(symbol->width, symbol->height);
    symbol->bits = static_cast<uint8_t*>(mem_alloc_zeroed(bytes + bytes % 2 + 1));
    int64_t place = int64_t{header.bitmaps} + PLACES_FROM + load_u16le(entry);
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
