// Bilevel lines by 64 pixels at a time: writing black runs from left to right, and finding the places where the colour
// changes. In a word of the code here the leftmost pixel is the top bit; in memory four 16-bit words stand for it, low
// byte first.
#pragma once

#include <cstddef>
#include <cstdint>

#include "raster/CCITT/citcode.h"

// The 64 pixels of a word as they lie in memory, and back.
inline uint64_t cit_swap_words(uint64_t word) {
    word = word << 32 | word >> 32;
    return (word & 0x0000FFFF0000FFFF) << 16 | (word >> 16 & 0x0000FFFF0000FFFF);
}

// ---- runs

constexpr uint32_t CIT_LONGEST_RUN = 65535;

// A run, cut where it is longer than a word can tell.
inline uint16_t* cit_put_run(uint16_t* out, uint32_t run) {
    for (; run > CIT_LONGEST_RUN; run -= CIT_LONGEST_RUN) {
        *out++ = CIT_LONGEST_RUN;
        *out++ = 0;
    }
    *out++ = static_cast<uint16_t>(run);
    return out;
}

// ---- writing

struct cit_bit_writer {
    uint8_t* words;
    uint64_t word; // pixels of the word at hand
    uint32_t base; // first pixel of it, a multiple of 64
};

inline cit_bit_writer cit_bits_begin(uint8_t* words) {
    return {words, 0, 0};
}

// Finishes the words in front of the one with pixel `x`, a multiple of 64: white ones, behind the one at hand.
inline void cit_bits_advance(cit_bit_writer* w, uint32_t x, uint64_t filling) {
    store_u64le(w->words + w->base / 8, cit_swap_words(w->word));
    for (w->base += 64; w->base < x; w->base += 64)
        store_u64le(w->words + w->base / 8, filling);
    w->word = 0;
}

// A black run from `begin` up to `end`, neither to the left of the one before, and `end` not to the right of the line.
inline void cit_bits_black(cit_bit_writer* w, uint32_t begin, uint32_t end) {
    if (begin - w->base >= 64) cit_bits_advance(w, begin & ~63u, 0);
    uint64_t from_begin = ~uint64_t{0} >> (begin & 63);
    if (end - w->base < 64) {
        w->word |= from_begin & ~(~uint64_t{0} >> (end & 63));
        return;
    }
    w->word |= from_begin;
    cit_bits_advance(w, end & ~63u, ~uint64_t{0});
    w->word = ~(~uint64_t{0} >> (end & 63));
}

// Writes what is left of a line of `width` pixels.
void cit_bits_end(cit_bit_writer* w, uint32_t width);

// ---- reading

struct cit_bit_reader {
    const uint8_t* words;
    uint32_t width;
    uint32_t base; // first pixel of the word last looked at
    uint32_t next; // first pixel of the word that comes next
    uint64_t last; // the pixel to the left of that word, in the top bit
};

inline cit_bit_reader cit_bits_open(const uint8_t* words, uint32_t width) {
    return {words, width, 0, 0, 0};
}

// The last word of a line, with its end as a change of no pixel: what is behind it has its colour.
bool cit_bits_last_edges(cit_bit_reader* r, uint64_t* edges);

// The pixels of the next word that differ from their left neighbour, the leftmost in the top bit. False: no word left.
inline bool cit_bits_edges(cit_bit_reader* r, uint64_t* edges) {
    uint32_t left = r->width - r->next;
    if (left < 64) return cit_bits_last_edges(r, edges);
    uint64_t word = cit_swap_words(load_u64le(r->words + r->next / 8));
    *edges = word ^ (word >> 1 | r->last);
    r->last = word << 63;
    r->base = r->next;
    r->next += 64;
    return true;
}

// Takes the leftmost edge: its pixel in the word.
inline uint32_t cit_bits_next(uint64_t* edges) {
    auto at = static_cast<uint32_t>(__builtin_clzll(*edges));
    *edges &= ~(uint64_t{1} << (63 - at));
    return at;
}
