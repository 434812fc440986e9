// What the files of the codec share: the code tables, the stream of bits, and the decoding of one line.
//
// The stream is a 64-bit buffer whose bit 0 comes next. It is refilled by whole words, and behind the end of the data
// by zeros, which no code begins with more than a few of: so a decoder needs no test for the end within a line, and
// asks cit_stream_overrun() behind it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "raster/CCITT/ccitt.h"
#include "support/bytes.h"

// ---- code tables: cittable.cpp --------------------------------------------------------------------------------------

constexpr int CIT_LOOK_BITS = 13; // the longest code
constexpr uint32_t CIT_LOOK_MASK = (1u << CIT_LOOK_BITS) - 1;

// Run codes by the next 13 bits of the stream: bits 0 to 3 the code's length, the rest its run; 0 for no code. A run of
// 64 or more is a make-up code, and more of the run follows.
struct cit_decode_table {
    uint16_t entries[1 << CIT_LOOK_BITS];
};
extern const cit_decode_table CIT_WHITE_DECODE, CIT_BLACK_DECODE;

struct cit_code {
    uint16_t bits; // the first bit in bit 0
    uint16_t length;
};
struct cit_encode_table {
    cit_code terminating[64]; // runs 0 to 63
    cit_code make_up[41];     // runs of that times 64; entry 0 is not used
};
extern const cit_encode_table CIT_ENCODE[2]; // white, black

constexpr int32_t CIT_LONGEST_MAKE_UP = 2560;
constexpr uint32_t CIT_END_OF_LINE = 0x800; // eleven 0 bits and a 1
constexpr uint32_t CIT_END_OF_LINE_BITS = 12;

// ---- the stream -----------------------------------------------------------------------------------------------------

struct cit_stream {
    uint64_t buffer;     // bit 0 comes next; above `count` bits of data that will be counted later
    uint32_t count;      // valid bits
    const uint8_t* next; // the byte that refills
    const uint8_t* data;
    const uint8_t* end;
    uint64_t zeros; // bits made up behind the end
};

void cit_stream_refill_end(cit_stream* s); // within 8 bytes of the end

// At least 56 valid bits.
inline void cit_stream_refill(cit_stream* s) {
    if (s->end - s->next < 8) {
        cit_stream_refill_end(s);
        return;
    }
    s->buffer |= load_u64le(s->next) << s->count;
    s->next += (63 - s->count) >> 3;
    s->count |= 56;
}

// Takes bits that are valid.
inline void cit_stream_skip(cit_stream* s, uint32_t bits) {
    s->buffer >>= bits;
    s->count -= bits;
}

// Bits taken so far, from the beginning of the data.
inline uint64_t cit_stream_place(const cit_stream* s) {
    return static_cast<uint64_t>(s->next - s->data) * 8 + s->zeros - s->count;
}
inline uint64_t cit_stream_size(const cit_stream* s) {
    return static_cast<uint64_t>(s->end - s->data) * 8;
}
inline bool cit_stream_ended(const cit_stream* s) {
    return cit_stream_place(s) >= cit_stream_size(s);
}
inline bool cit_stream_overrun(const cit_stream* s) {
    return cit_stream_place(s) > cit_stream_size(s);
}

// Begins at a bit of the data; behind its end all bits are zero.
void cit_stream_begin(cit_stream* s, const uint8_t* data, size_t bytes, uint64_t place);

// Skips zeros and the 1 bit behind them. False: the data ended first.
bool cit_stream_pass_zeros(cit_stream* s);

// Skips to the next end-of-line code, which stays in the stream. False: there is none.
bool cit_stream_find_end_of_line(cit_stream* s);

// Whether an end-of-line code comes next, fill included. The stream has been refilled.
inline bool cit_stream_at_end_of_line(const cit_stream* s) {
    return (s->buffer & 0x7FF) == 0;
}

// ---- one line -------------------------------------------------------------------------------------------------------

// Ends a line behind its first `count` positions, for which there is room with the guards.
inline void cit_end_changes(cit_changes* line, size_t count, uint32_t width) {
    line->count = count;
    for (size_t i = 0; i < CIT_GUARDS; ++i)
        line->at[count + i] = static_cast<int32_t>(width);
}

enum class cit_line {
    whole,   // a line
    damaged, // the line in part, white behind it; it has ended at an end-of-line code, and the next line can be tried
    lost,    // the line in part, white behind it; nothing more can be decoded
    ended,   // no line: the codes that end the image
    stuck,   // the same as lost, before bits that are no mode code; from cit_decode_2d_runs alone
    no_room, // no memory
};

// Decode the runs of a line, without any code around them. whole, lost or no_room; two-dimensional ones also stuck.
// The data has at least one bit left. cit_decode_1d_runs: a run that would pass the width is cut to it, and *cut set.
cit_line cit_decode_1d_runs(cit_stream* s, cit_changes* line, uint32_t width, bool* cut);
cit_line cit_decode_2d_runs(cit_stream* s, const cit_changes* reference, cit_changes* line, uint32_t width);

// Decode the next line of data of the coding, with all that belongs to it. *clean is cleared where the line could be
// decoded but codes that belong there were missing.
cit_line cit_next_line(cit_stream* s, cit_coding coding, const cit_changes* reference, cit_changes* line,
                       uint32_t width, bool* clean);

// Whether the codes that end an image of the coding come next, behind its last line; takes them. Line-aligned data has
// none: true.
bool cit_take_end(cit_stream* s, cit_coding coding);

// ---- runs and bits --------------------------------------------------------------------------------------------------
//
// Bilevel lines by 64 pixels at a time: writing black runs from left to right, and finding the places where the colour
// changes. In a word of the code here the leftmost pixel is the top bit; in memory four 16-bit words stand for it, low
// byte first.

// The 64 pixels of a word as they lie in memory, and back.
inline uint64_t cit_swap_words(uint64_t word) {
    word = word << 32 | word >> 32;
    return (word & 0x0000FFFF0000FFFF) << 16 | (word >> 16 & 0x0000FFFF0000FFFF);
}

// ---- runs

constexpr uint32_t CIT_LONGEST_RUN = 32767;

// A run, cut where it is longer than the run lines of the library have them.
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
