// Sizes of lines and conversion of samples: what stored values become in the caller's planes, and bilevel words.
#include <cstring>

#include "raster/CORE/cfile.h"

size_t line_bytes(const CFILE* c, int64_t pixels) {
    auto n = static_cast<size_t>(pixels > 0 ? pixels : 0);
    if (format_is_bilevel(c->format)) return (n + 15) / 16 * 2;
    switch (c->format) {
    case RZL_FORMAT_INT16: return n * 2;
    case RZL_FORMAT_INT32:
    case RZL_FORMAT_REAL32: return n * 4;
    case RZL_FORMAT_INT64:
    case RZL_FORMAT_REAL64: return n * 8;
    case RZL_FORMAT_128: return n * 16;
    case RZL_FORMAT_BYTE_PAIRS: return has_flag(c, FLAG_16_BIT) ? n * 2 : n;
    // Values of more than 8 bits are delivered as 16-bit samples, so their line must have the room.
    case RZL_FORMAT_PACKED_RUNS: return has_flag(c, FLAG_16_BIT) || c->bits > 8 ? n * 2 : n;
    default: return n;
    }
}

int interleave_step(const CFILE* c) {
    if (has_flag(c, FLAG_FOUR_BYTE_PIXELS)) return 4;
    return c->samples > 1 ? c->samples : 1;
}

namespace {

// Bits to shift up a value of `bits` bits to fill a byte.
int shift_to_byte(int64_t bits) {
    return bits >= 1 && bits < 8 ? static_cast<int>(8 - bits) : 0;
}

void look_up(const CFILE* c, uint8_t* red, uint8_t* green, uint8_t* blue, int64_t count) {
    int shift = has_flag(c, FLAG_RAW_SAMPLES) ? 0 : shift_to_byte(c->vlt_bits);
    for (int64_t i = 0; i < count; ++i) {
        const uint8_t* entry = c->color_table + size_t{red[i]} * 3;
        red[i] = static_cast<uint8_t>(entry[0] << shift);
        if (green != nullptr) green[i] = static_cast<uint8_t>(entry[1] << shift);
        if (blue != nullptr) blue[i] = static_cast<uint8_t>(entry[2] << shift);
    }
}

} // namespace

void rzl_apply_color_table(CFILE* c, uint8_t* red, uint8_t* green, uint8_t* blue, int64_t count) {
    if (count <= 0) return;
    if (c->color_table != nullptr) {
        look_up(c, red, green, blue, count);
        return;
    }
    rzl_widen_samples(c, red, count);
    auto bytes = static_cast<size_t>(count);
    if (green != nullptr) std::memcpy(green, red, bytes);
    if (blue != nullptr) std::memcpy(blue, red, bytes);
}

void rzl_widen_samples(CFILE* c, uint8_t* buffer, int64_t count) {
    if (has_flag(c, FLAG_RAW_SAMPLES) || c->color_table != nullptr) return;
    int shift = shift_to_byte(c->bits);
    if (shift == 0) return;
    for (int64_t i = 0; i < count; ++i)
        buffer[i] = static_cast<uint8_t>(buffer[i] << shift);
}

// Pixel i of a word stands in bit 15 - i, and the word's low byte comes first.
void rzl_pack_bits(uint8_t* out, const uint8_t* in, int32_t count, int threshold) {
    for (int32_t first = 0; first < count; first += 16) {
        int32_t pixels = count - first < 16 ? count - first : 16;
        unsigned word = 0;
        for (int32_t i = 0; i < pixels; ++i)
            if (in[first + i] >= threshold) word |= 0x8000u >> i;
        out[0] = static_cast<uint8_t>(word);
        out[1] = static_cast<uint8_t>(word >> 8);
        out += 2;
        if (count - first <= 16) break;
    }
}

void rzl_unpack_bits(const uint8_t* in, uint8_t* out, int32_t count, uint8_t zero, uint8_t one) {
    for (int32_t i = 0; i < count; ++i) {
        size_t at = static_cast<size_t>(i) / 16 * 2 + ((i & 8) != 0 ? 0 : 1);
        out[i] = (in[at] & (0x80 >> (i & 7))) != 0 ? one : zero;
    }
}
