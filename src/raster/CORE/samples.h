// Samples of a line on their way between the file and the caller's planes: packed bits, bilevel words, interleaved
// pixels, widening and colour tables. Every format uses these; a layout that one has alone stands in its directory.
//
// Words kept apart: a row is a line as a file stores it, bits packed most significant first; a line is what the caller
// has: a byte a sample of up to 8 bits, a native 16-bit word up to 16, a 32-bit word above, and for bilevel formats
// 16-bit words, low byte first, with the first pixel in bit 15.
#pragma once

#include <cstddef>
#include <cstdint>

#include "raster/rzl.h"

// ---- packed samples -------------------------------------------------------------------------------------------------

// `count` samples of `bits` (1 to 32) of a row, without gaps, most significant bit first; samples of 16, 24 and 32 bits
// are whole bytes with the low byte first unless `big`. Reads (count x bits + 7) / 8 bytes.
void unpack_samples(const uint8_t* row, int bits, bool big, size_t count, uint8_t* line);
void pack_samples(const uint8_t* line, int bits, bool big, size_t count, uint8_t* row);

// Single samples one after the other, of up to 32 bits.
struct sample_reader {
    const uint8_t* next;
    uint64_t bits;
    int count; // valid low bits of `bits`
};
inline uint32_t next_sample(sample_reader* r, int bits) {
    while (r->count < bits) {
        r->bits = r->bits << 8 | *r->next++;
        r->count += 8;
    }
    r->count -= bits;
    return static_cast<uint32_t>(r->bits >> r->count & ((uint64_t{1} << bits) - 1));
}

struct sample_writer {
    uint8_t* next;
    uint64_t bits;
    int count; // bits that are no whole byte yet
};
inline void put_sample(sample_writer* w, int bits, uint32_t value) {
    w->bits = w->bits << bits | (value & ((uint64_t{1} << bits) - 1));
    w->count += bits;
    while (w->count >= 8) {
        w->count -= 8;
        *w->next++ = static_cast<uint8_t>(w->bits >> w->count);
    }
}
inline void end_samples(sample_writer* w) {
    if (w->count > 0) *w->next++ = static_cast<uint8_t>(w->bits << (8 - w->count));
}

// The same with a byte a sample on the caller's side. Samples of more than 8 bits give their top byte, and get a byte
// that is repeated to fill them; `widen` shifts samples of fewer bits to the top of the byte, and back.
void unpack_bytes(const uint8_t* row, int bits, bool big, size_t count, bool widen, uint8_t* out);
void pack_bytes(const uint8_t* in, int bits, bool big, size_t count, bool widen, uint8_t* row);

// ---- bilevel lines --------------------------------------------------------------------------------------------------

// A bilevel row, one bit a pixel and the first pixel in the top bit, as words, and back. `invert` is 0, or 0xFF for a
// file that means the opposite. Bits behind the last pixel become 0. A line has ((width + 15) / 16) x 2 bytes, a row
// (width + 7) / 8. The two may be the same memory when it has room for the longer.
void bits_to_words(const uint8_t* row, uint32_t width, uint8_t invert, uint8_t* words);
void words_to_bits(const uint8_t* words, uint32_t width, uint8_t invert, uint8_t* row);

// One byte a pixel to bilevel words, and back, are rzl_pack_bits() and rzl_unpack_bits() of the public header.

// ---- pixels ---------------------------------------------------------------------------------------------------------

// Pixels of `step` bytes, of which the first `samples` are given, into planes and back; null planes are left out. An
// order of samples other than that of the planes is an order of the planes: {blue, green, red} for a file that stores
// so. Bytes of a pixel that belong to no plane stay as they are.
void split_pixels(const uint8_t* pixels, size_t count, size_t step, uint8_t* const* planes, size_t samples);
void join_pixels(uint8_t* pixels, size_t count, size_t step, const uint8_t* const* planes, size_t samples);

// ---- values ---------------------------------------------------------------------------------------------------------

// Turns `count` stored values in `red` into real colours in the three planes (green and blue may be null), by the
// colour table or by widening.
void rzl_apply_color_table(CFILE* c, uint8_t* red, uint8_t* green, uint8_t* blue, int64_t count);

// A line of an image of one plane, for a module whose line calls have one channel or three: where to put the stored
// values (the first of the caller's planes, or, when only others are wanted, `spare`; null when none is), and what has
// to be done to them then: real colours in three planes, widened values in one.
uint8_t* values_target(int channels, uint8_t* const* buffers, uint8_t* spare);
void rzl_spread_values(CFILE* c, int channels, uint8_t* const* buffers, uint8_t* values);

// The same for three planes of a bilevel image of `count` pixels, whose values are 0 and 1, a byte each: without a
// colour table they are black and white, unless stored values are asked for.
void rzl_spread_bits(CFILE* c, uint8_t* const* buffers, uint8_t* values, int64_t count);

// Bits of a line as values of a byte each where they stand, which has room for `count` bytes.
void rzl_bits_to_values(uint8_t* line, int64_t count);

// Real colours of a bilevel line of `count` pixels in `red`, which becomes bytes where it stands: all three planes have
// room for `count` of them. There must be a colour table.
void rzl_apply_color_table_to_bits(CFILE* c, uint8_t* red, uint8_t* green, uint8_t* blue, int64_t count);

// Whether three planes of the handle's lines are such bits: a bilevel image with a colour table, unless stored values
// are asked for.
bool bits_have_colors(const CFILE* c);

// Shifts values of fewer than 8 bits up to 8, where nothing else gives them meaning.
void rzl_widen_samples(CFILE* c, uint8_t* buffer, int64_t count);

// ---- lines and colours of a format's files -----------------------------------------------------------------------

// Whether a line call wants any pixels at all.
bool is_wanted(int channels, const uint8_t* const* planes);

// Writes all of `bytes` at the file's position. False with RZL_WRITE_FAILED.
bool put_all(CFILE* c, const void* bytes, size_t size, const char* source, int line = __builtin_LINE());

// A new colour table for the handle in the place of the one it has: `colors` triples, but 256 at least, all zero.
// Null without memory, with the status set.
uint8_t* new_color_table(CFILE* c, size_t colors, uint32_t vlt_bits, const char* source, int line = __builtin_LINE());

// How a file has its colours: bytes from one to the next, and whether blue comes first.
struct color_layout {
    size_t step;
    bool blue_first;
};

// `count` colours of a file as red, green, blue triples.
void load_colors(const uint8_t* colors, size_t count, color_layout layout, uint8_t* triples);

// The application's colours as a file has them. Bytes behind the third of a colour stay as they are.
void store_colors(const rzl_vlt_entry* entries, size_t count, color_layout layout, uint8_t* colors);

// Triples of which `bits` (1 to 8; others: 8) count as entries whose slots are their places.
void give_vlt(const uint8_t* triples, size_t count, uint32_t bits, rzl_vlt_entry* entries);

// Entries of the application's table that may be read: those that it has announced (-1: none were), `most` at the most,
// and 0 without a table.
size_t entries_given(const CFILE* c, int32_t announced, size_t most);
