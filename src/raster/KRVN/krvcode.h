// Coding of lines inside the native module: where coded bytes come from and go to, the state of a line that is being
// decoded, the decoders and the coders.
//
// A decoder takes bytes from a source until its line is whole, or the source has nothing more, or the bytes make no
// sense. It can be called again with another source to go on, which is how the pieces of a scannable line are read.
// Nothing is written outside the line whatever the bytes are: a run that would pass the end of the line is dropped and
// marks the line as broken.
#pragma once

#include <cstddef>
#include <cstdint>

#include "raster/KRVN/krv.h"

// ---- coded bytes coming in: krvcoder.cpp ----------------------------------------------------------------------------

// Bytes from the file position on. They are taken out of the file's own window where it has one, else by way of
// `block`; krv_source_end() gives back to the file what was not used.
struct krv_source {
    CFILE* c;             // null: a block of memory, with nothing behind it
    const uint8_t* start; // first byte at hand
    const uint8_t* next;  // next byte to take
    const uint8_t* end;   // one past the last at hand
    uint64_t beyond;      // bytes that may be taken after those at hand
    bool from_window;     // the bytes at hand are the file's, and it has not been told of those taken
    bool cut;             // the file ended before `beyond` did
    uint8_t block[4096];
};

constexpr uint64_t KRV_NO_LIMIT = ~uint64_t{0};

inline void krv_source_begin(krv_source* s, CFILE* c, uint64_t limit) {
    s->c = c;
    s->start = s->next = s->end = nullptr;
    s->beyond = limit;
    s->from_window = s->cut = false;
}
inline void krv_source_over(krv_source* s, const void* block, size_t bytes) {
    krv_source_begin(s, nullptr, 0);
    s->start = s->next = static_cast<const uint8_t*>(block);
    s->end = s->start + bytes;
}
void krv_source_end(krv_source* s);

// Brings the next bytes when none is at hand. False when there are none.
bool krv_source_fill(krv_source* s);

inline bool krv_source_has(krv_source* s) {
    return s->next != s->end || krv_source_fill(s);
}

// Takes `bytes` bytes into `out` (null: nowhere). The bytes taken, fewer at the end of the source.
uint64_t krv_source_take(krv_source* s, uint8_t* out, uint64_t bytes);

// A 16-bit word. False when no whole word is left.
bool krv_source_word(krv_source* s, uint16_t* word);

// Bytes that the source may still give.
uint64_t krv_source_left(const krv_source* s);

// ---- a line being decoded -------------------------------------------------------------------------------------------

struct krv_line {
    uint8_t* planes[4]; // null for one that is not wanted
    int plane_count;    // of the format
    int64_t pixels;     // of a plane; for format 1 its words
    size_t element;     // bytes of a pixel in a plane
    size_t step;        // bytes from pixel to pixel in the planes; more than `element` when they are interleaved
    int64_t slack;      // bytes behind each plane that may be overwritten, since they are yet to be decoded
    int bits;           // of a value, for packed runs
    int plane;          // where decoding stands
    int64_t pixel;
    bool whole;  // every pixel has been delivered and the coding of the line is at its end
    bool broken; // a run was dropped or cut
};

using krv_decoder = void (*)(krv_line* l, krv_source* s);

// The decoder of the handle's format and layout; null when there is none.
krv_decoder krv_decoder_of(const CFILE* c);

// An undecoded line of the handle into those planes.
krv_line krv_new_line(const CFILE* c, int channels, read_planes buffers);

void krv_decode_raw(krv_line* l, krv_source* s);    // 1 to 8: elements as they stand
void krv_decode_groups(krv_line* l, krv_source* s); // 28, 69: the samples of a pixel together
void krv_decode_bits(krv_line* l, krv_source* s);   // 9: bilevel runs; the line must be zero before
void krv_decode_pairs(krv_line* l, krv_source* s);  // 10, and 26 of 16 bits: value and count
void krv_decode_packed(krv_line* l, krv_source* s); // 26 of up to 8 bits
void krv_decode_colors(krv_line* l, krv_source* s); // 25
void krv_decode_planes(krv_line* l, krv_source* s); // 27, 29, 67: byte runs, plane after plane

// Whether values of the handle's format are 16 bits wide where they could be 8.
bool krv_values_are_wide(const CFILE* c);

// Sets status RZL_NOT_STANDARD for a format that has no coding here.
void krv_refuse_format(CFILE* c, const char* source);

// ---- coded bytes going out: krvcoder.cpp ----------------------------------------------------------------------------

// Output of a line, or of many lines that gather in larger room and go out together. On a scannable file what is
// gathered goes out as pieces, each behind a line header.
struct krv_output {
    CFILE* c;
    uint8_t* code;       // KRV_CODE_BUFFER_SIZE bytes: the module's code buffer, or where `gather` goes on
    uint8_t* gather;     // null: lines go to the file one by one
    size_t used;         // bytes gathered in it
    int64_t piece_pixel; // pixel at which the piece that is being gathered begins
    uint64_t written;    // bytes that went to the file, or into `gather`
    bool failed;
};

// False without memory for the code buffer, with the status set.
bool krv_output_begin(krv_output* o, CFILE* c);

// The same for many lines of a file that is not scannable. krv_output_end() writes the last of them, and must be
// called.
bool krv_output_begin_gathering(krv_output* o, CFILE* c);
void krv_output_end(krv_output* o);

// Writes what has been gathered, as a piece when the file is scannable; the next piece begins at `next_pixel`.
void krv_output_piece(krv_output* o, int64_t next_pixel);

// Writes bytes as they are.
void krv_output_bytes(krv_output* o, const void* bytes, size_t count);

// Writes a line header for `data_bytes` bytes that follow, at `pixel`.
void krv_output_header(krv_output* o, size_t data_bytes, int64_t pixel);

// Data bytes that one line header can count.
constexpr size_t KRV_PIECE_LIMIT = size_t{65535 - 2} * 2;

// Whether the format has a coder for the layout of the file.
bool krv_can_code(const CFILE* c); // krvputli.cpp

// Whether lines can be given in the coding of the file.
bool krv_takes_coded_lines(const CFILE* c); // krvputli.cpp

inline void krv_output_word(krv_output* o, unsigned word) {
    store_u16le(o->code + o->used, static_cast<uint16_t>(word));
    o->used += 2;
}

// ---- coders: krvcoder.cpp, krvruns.cpp ------------------------------------------------------------------------------

// Each writes one line of `pixels` pixels; a null plane stands for zeros. Failures are noted in the output.
void krv_code_line(krv_output* o, const uint8_t* const* planes, const krv_line& l); // by the format: krvputli.cpp
void krv_code_bits(krv_output* o, const uint8_t* line, int64_t pixels);
void krv_code_pairs(krv_output* o, const uint8_t* line, int64_t pixels, bool wide);
void krv_code_packed(krv_output* o, const uint8_t* line, int64_t pixels, int bits);
void krv_code_colors(krv_output* o, const uint8_t* const* planes, int64_t pixels);
void krv_code_bytes(krv_output* o, const uint8_t* plane, int64_t pixels);

// Length of the run of equal bytes at `p`, up to `end`.
size_t krv_run_length(const uint8_t* p, const uint8_t* end);

// The samples of `pixels` pixels that stand together, into planes and back. A null plane is passed over, or stands for
// zeros. `step`: bytes from pixel to pixel in the planes.
void krv_split(const uint8_t* in, uint8_t* const* planes, int samples, size_t step, size_t pixels);
void krv_merge(uint8_t* out, const uint8_t* const* planes, int samples, size_t pixels);
