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
