// Resampling of one line in x: bytes, and the bits of bilevel lines.
#pragma once

#include <cstddef>
#include <cstdint>

// Weights count in 1/2048 of a source pixel or line.
constexpr int64_t SQUETCH_UNIT = 2048;

// `in_pixels` bytes to `out_pixels`: replicated or interpolated (filter) when there are more of them, dropped or
// averaged (filter) when fewer. Both counts are positive.
void squetch_bytes(const uint8_t* in, int32_t in_pixels, uint8_t* out, int32_t out_pixels, bool filter);

// The same on bilevel lines: replicated; or the bit at each place, or (filter) set where more than half of the box is.
void rzl_squetch_bits(const uint8_t* in, int32_t in_pixels, uint8_t* out, int32_t out_pixels, bool filter);

// Bit `pixel` of a bilevel line: words low byte first, the first pixel in bit 15.
inline bool bilevel_bit(const uint8_t* line, int64_t pixel) {
    auto at = static_cast<size_t>(pixel >> 4) * 2 + ((pixel & 8) != 0 ? 0 : 1);
    return (line[at] & (0x80 >> (pixel & 7))) != 0;
}
inline void set_bilevel_bit(uint8_t* line, int64_t pixel) {
    auto at = static_cast<size_t>(pixel >> 4) * 2 + ((pixel & 8) != 0 ? 0 : 1);
    line[at] = static_cast<uint8_t>(line[at] | (0x80 >> (pixel & 7)));
}
