// A text as one mask: all its glyphs are composed in one buffer, so that the display draws it in one operation.
#include <algorithm>
#include <climits>
#include <cstring>

#include "support/checked.h"
#include "support/memory.h"
#include "tools/font.h"
#include "tools/fontread.h"

namespace {

// The buffer grows by this much more than is needed. One byte of it is needed always: see draw_glyph().
constexpr size_t SPARE = 100;

uint8_t* buffer = nullptr; // kept between calls
size_t buffer_room = 0;    // bytes

struct extent {
    int64_t width; // pixels
    int height;
};

// Where a glyph's rows begin. Nothing stands left of the text's own edge.
int64_t left_of(const font_glyph& glyph, int64_t pen) {
    return std::max<int64_t>(0, pen + glyph.x_offset);
}

extent measure(const bitmap_font& font, const char* text, int length) {
    extent box = {0, 0};
    int64_t pen = 0;
    for (int i = 0; i < length; ++i) {
        const font_glyph* glyph = font_glyph_of(font, text[i]);
        if (glyph == nullptr) continue;
        box.width = std::max(box.width, left_of(*glyph, pen) + glyph->width);
        box.height = std::max({box.height, int{glyph->depth}, glyph->height + glyph->y_offset});
        pen += glyph->advance;
    }
    box.width = std::max(box.width, pen);
    return box;
}

bool make_room(size_t bytes) {
    size_t room = 0;
    if (!checked_add(bytes, SPARE, &room)) return false;
    if (room <= buffer_room) return true;
    auto* grown = static_cast<uint8_t*>(mem_realloc(buffer, room));
    if (grown == nullptr) return false;
    buffer = grown;
    buffer_room = room;
    return true;
}

// Clears the bits of the mask where the glyph has its own set. Each byte of it goes into two bytes of the mask; the
// second may lie behind the row, where it changes nothing since no set bit of a glyph is beyond its width.
void draw_glyph(const font_glyph& glyph, size_t left, size_t row_bytes) {
    const size_t bytes = (size_t{glyph.width} + 7) / 8;
    const unsigned shift = left % 8;
    const unsigned last = 0xFFU << (bytes * 8 - glyph.width) & 0xFFU; // bits of a row's last byte that count
    const uint8_t* from = glyph.rows;
    uint8_t* row = buffer + glyph.y_offset * row_bytes + left / 8;
    for (int y = glyph.height; y > 0; --y, row += row_bytes) {
        for (size_t i = 0; i < bytes; ++i) {
            unsigned bits = *from++;
            if (i + 1 == bytes) bits &= last;
            bits = bits << 8 >> shift;
            row[i] = static_cast<uint8_t>(row[i] & ~(bits >> 8));
            row[i + 1] = static_cast<uint8_t>(row[i + 1] & ~bits);
        }
    }
}

} // namespace

int font_compose(int font, const char* text, int length, text_mask* mask) {
    *mask = {};
    const bitmap_font* found = font_at(font);
    if (found == nullptr) return -1;
    extent box = measure(*found, text, length);
    if (box.width == 0 || box.height == 0) return 0;
    if (box.width > INT_MAX - 15) return -1;
    size_t row_bytes = (static_cast<size_t>(box.width) + 15) / 16 * 2;
    size_t bytes = 0;
    if (!checked_mul(row_bytes, box.height, &bytes) || !make_room(bytes)) return -1;
    std::memset(buffer, 0xFF, bytes + 1);
    int64_t pen = 0;
    for (int i = 0; i < length; ++i) {
        const font_glyph* glyph = font_glyph_of(*found, text[i]);
        if (glyph == nullptr) continue;
        draw_glyph(*glyph, static_cast<size_t>(left_of(*glyph, pen)), row_bytes);
        pen += glyph->advance;
    }
    *mask = {static_cast<int>(box.width), box.height, row_bytes, buffer};
    return 0;
}

void font_mask_free() {
    mem_free(buffer);
    buffer = nullptr;
    buffer_room = 0;
}
