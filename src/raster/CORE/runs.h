// Stretches of a line that run codes are made of: how far equal samples go on, and how far each differs from the next.
// Eight samples are looked at together.
#pragma once

#include <cstddef>
#include <cstdint>

#include "support/bytes.h"

// Bit 7 of each byte of `v` that is zero, exact up to and with the lowest such byte.
constexpr uint64_t lowest_zero_byte(uint64_t v) {
    return (v - 0x0101010101010101u) & ~v & 0x8080808080808080u;
}

// Differences of eight samples in each of `planes` lines with the samples `step` behind them: a byte is zero where they
// are equal in all.
template <size_t Planes> uint64_t differences(const uint8_t* const* lines, size_t at, size_t step) {
    uint64_t d = 0;
    for (size_t p = 0; p < Planes; ++p)
        d |= load_u64le(lines[p] + at) ^ load_u64le(lines[p] + at + step);
    return d;
}

template <size_t Planes> bool are_equal(const uint8_t* const* lines, size_t a, size_t b) {
    for (size_t p = 0; p < Planes; ++p)
        if (lines[p][a] != lines[p][b]) return false;
    return true;
}

// Samples from `at` on, at most `limit`, of which each is equal to the one `step` behind it in all lines. The lines
// have `limit` + `step` samples from `at` on.
template <size_t Planes> size_t equal_stretch(const uint8_t* const* lines, size_t at, size_t step, size_t limit) {
    size_t n = 0;
    for (; n + 8 <= limit; n += 8) {
        uint64_t d = differences<Planes>(lines, at + n, step);
        if (d != 0) return n + static_cast<size_t>(__builtin_ctzll(d)) / 8;
    }
    while (n < limit && are_equal<Planes>(lines, at + n, at + n + step))
        ++n;
    return n;
}

// The same for samples that differ from the one `step` behind them.
template <size_t Planes> size_t unequal_stretch(const uint8_t* const* lines, size_t at, size_t step, size_t limit) {
    size_t n = 0;
    for (; n + 8 <= limit; n += 8) {
        uint64_t zeros = lowest_zero_byte(differences<Planes>(lines, at + n, step));
        if (zeros != 0) return n + static_cast<size_t>(__builtin_ctzll(zeros)) / 8;
    }
    while (n < limit && !are_equal<Planes>(lines, at + n, at + n + step))
        ++n;
    return n;
}
