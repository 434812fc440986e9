// Masks of one bit a pixel on numbered windows: bitmaps, and text through the fonts.
#include <array>
#include <cstring>

#include "support/bytes.h"
#include "support/checked.h"
#include "support/memory.h"
#include "tools/draw.h"
#include "tools/font.h"
#include "tools/windata.h"

namespace {

constexpr size_t SPARE = 100; // bytes that the buffer grows by beyond the need

uint8_t* buffer = nullptr; // kept between calls
size_t buffer_room = 0;    // bytes

bool make_room(size_t bytes) {
    if (bytes <= buffer_room) return true;
    auto* grown = static_cast<uint8_t*>(mem_realloc(buffer, bytes + SPARE));
    if (grown == nullptr) return false;
    buffer = grown;
    buffer_room = bytes + SPARE;
    return true;
}

// A byte with bit 0 leftmost and set bits painted -> one with the high bit leftmost and clear bits painted.
constexpr std::array<uint8_t, 256> mask_bytes() {
    std::array<uint8_t, 256> table = {};
    for (unsigned i = 0; i < 256; ++i)
        table[i] = reversed_bits(~i);
    return table;
}
constexpr std::array<uint8_t, 256> MASK_BYTES = mask_bytes();

size_t mask_stride(int width) {
    return (static_cast<size_t>(width) + 15) / 16 * 2;
}

// Converts the bitmap's rows into the buffer. What stands behind the width isn't painted in any case.
void convert(const uint8_t* bits, size_t source_stride, size_t stride, int height) {
    for (int y = 0; y < height; ++y) {
        uint8_t* row = buffer + static_cast<size_t>(y) * stride;
        row[stride - 1] = 0xFF;
        for (size_t i = 0; i < source_stride; ++i)
            row[i] = MASK_BYTES[bits[i]];
        bits += source_stride;
    }
}

} // namespace

void masks_free() {
    mem_free(buffer);
    buffer = nullptr;
    buffer_room = 0;
}

int drawbitmap(int window, int x1, int y1, int x2, int y2, const uint8_t* bits) {
    window_record* w = nullptr;
    const window_use use = window_for_drawing(window, &w);
    if (use != window_use::draw) return window_unused(use);
    if (x1 > x2 || y1 > y2) return -1;
    const canvas_box box = window_box(x1, y1, x2, y2);
    const int width = box.x2 - box.x1;
    const int height = box.y2 - box.y1;
    const size_t stride = mask_stride(width);
    size_t bytes = 0;
    if (!checked_mul(stride, height, &bytes) || !make_room(bytes)) return -1;
    convert(bits, (static_cast<size_t>(width) + 7) / 8, stride, height);
    canvas_mask(w->dc, box.x1, box.y1, width, height, buffer, stride, w->attributes.foreground);
    return 0;
}

int draw_mask(int window, int x, int y, int width, int height, const uint8_t* bits) {
    window_record* w = nullptr;
    const window_use use = window_for_drawing(window, &w);
    if (use != window_use::draw) return window_unused(use);
    if (width > 0) canvas_mask(w->dc, x, y, width, height, bits, mask_stride(width), w->attributes.foreground);
    return 0;
}

int drawsymbols(int window, int font, int x, int y, const char* text, int length) {
    text_mask mask;
    if (window_find(window) == nullptr || font_compose(font, text, length, &mask) != 0) return -1;
    if (mask.width == 0) return 0;
    return draw_mask(window, x, y, mask.width, mask.height, mask.bits);
}
