// The codec of bilevel fax coding: lines of modified Huffman code (line-aligned form), group 3 one- and
// two-dimensional, and group 4.
//
// Forms of a line.
//   Coded    a stream of bits, the first one in bit 0 of the first byte (fill order 2). Data of fill order 1, where the
//            first bit is bit 7, goes through cit_reverse_bytes() before decoding and after encoding.
//   Runs     16-bit unsigned run lengths, native order. The first is white and may be 0, the colours alternate, and
//            they add up to the width. Stored lines have an odd count: one that ends on black gets a white run of 0. A
//            run over 32767 stands as 32767, 0, the rest; any run of 0 in the middle joins its neighbours.
//   Bits     16-bit words, low byte first, the leftmost pixel in bit 15 of the first word; a set bit is black. There is
//            room for (width + 15) / 16 words, two bytes each. What is behind the last pixel is written as 0 and never
//            looked at.
//   Changes  pixel positions at which the colour changes, the form that the coders work on; see cit_changes.
//
// Layers. What most callers want are the two records at the end: a cit_reader, which gives any line of coded data in
// memory as bits or runs and needs memory for a line or two, and a cit_writer, which takes lines and gives the coded
// bytes. Under them are the decoders of whole images into a sink, the decoder of one line from a place in the stream,
// and the encoders. The file layer, which reads and writes the image of a CFILE, is in citfile.h.
//
// Nothing here reports or sets a status: results are the four below, and the caller says what they mean for its file.
// No data, however damaged, makes a call read or write out of bounds, run longer than in proportion to data and lines,
// or take memory out of proportion to them.
#pragma once

#include <cstddef>
#include <cstdint>

constexpr uint32_t CIT_OK = 1;                  // the only one with bit 0 set
constexpr uint32_t CIT_NO_MEMORY = 0x2660104;   // no memory, or a sink that is full and may not grow
constexpr uint32_t CIT_BUFFER_FULL = 0x2660464; // no room for the output
constexpr uint32_t CIT_BAD_DATA = 0x2660514;    // damaged or missing code, or runs that don't fit the width
constexpr uint32_t CIT_MAX_WIDTH = 0x7FFFFF00;  // pixels; wider lines are refused as bad data

inline bool cit_succeeded(uint32_t result) {
    return (result & 1) != 0;
}

// ---- a line as changes: citline.cpp ---------------------------------------------------------------------------------

// The positions at which a line changes colour, from the left: the first is where white ends (0 for a line that starts
// black). They never decrease; two equal ones are a run of 0. Every position is below or at the width, and behind the
// last one stand CIT_GUARDS entries of the width, so that a walk can pass the end without a test.
struct cit_changes {
    int32_t* at;  // owned
    size_t count; // positions below the width, without the guards
    size_t room;  // entries that `at` has
};
constexpr size_t CIT_GUARDS = 4;

// An all-white line of that width. False: no memory. Release with cit_changes_free(), also after a failure.
bool cit_changes_white(cit_changes* line, uint32_t width);
void cit_changes_free(cit_changes* line);

// Makes room for `count` positions and the guards. False: no memory, and the line is as it was.
bool cit_changes_need(cit_changes* line, size_t count);

// The runs that cit_changes_to_runs() makes of the line; and the most that any line of the width can have.
size_t cit_runs_of_changes(const cit_changes* line, uint32_t width);
size_t cit_max_runs(uint32_t width);

// Makes `*runs` a block for `count` words, of which `*room` tells how many it has, with as much again for longer lines.
// False: no memory, and the block is as it was.
bool cit_need_runs(uint16_t** runs, size_t* room, size_t count);

// Into runs: an odd count, which is the result. `runs` has room for cit_runs_of_changes().
size_t cit_changes_to_runs(const cit_changes* line, uint32_t width, uint16_t* runs);

// From runs that add up to the width (cit_runs_fit()). False: no memory.
bool cit_changes_from_runs(cit_changes* line, uint32_t width, const uint16_t* runs);

void cit_changes_to_bits(const cit_changes* line, uint32_t width, uint8_t* words);
bool cit_changes_from_bits(cit_changes* line, uint32_t width, const uint8_t* words); // false: no memory

// ---- runs and bits: citline.cpp -------------------------------------------------------------------------------------

// Whether the runs, `count` at most, add up to exactly the width. Runs that come from a caller of the library or a file
// are tested with this before they are handed to a call that takes no count.
bool cit_runs_fit(uint32_t width, const uint16_t* runs, size_t count);

// Runs that add up to `width` pixels into bits. Writes all (width + 15) / 16 words.
void cit_runs_to_bits(uint32_t width, const uint16_t* runs, uint8_t* words);

// Bits into runs. The number of runs, which may be even: it is the caller who adds a 0 where an odd count is needed.
// `runs` has room for cit_max_runs(width).
size_t cit_bits_to_runs(uint32_t width, const uint8_t* words, uint16_t* runs);

// Runs that add up to `width` pixels into bits of bytes, the leftmost pixel in bit 0. Writes (width + 7) / 8 bytes, and
// gives that number.
size_t cit_runs_to_bytes(uint32_t width, const uint16_t* runs, uint8_t* bytes);

// Reverses the order of the bits in each byte.
void cit_reverse_bytes(uint8_t* bytes, size_t count);

// ---- decoding of whole images: citread.cpp --------------------------------------------------------------------------

struct cit_params {
    uint32_t width;      // pixels, 1 or more
    uint32_t lines;      // in: lines at most; out: lines handed to the sink
    const uint8_t* data; // coded, bit 0 first
    size_t bytes;        // of data; nothing is read behind them
    size_t words;        // out: 16-bit words consumed, rounded up
    int32_t k;           // cit_decode_g3: 0 or more with a tag bit behind each end-of-line code, negative without
};

// Where decoded run lines go.
struct cit_sink {
    uint16_t* runs;    // owned by the caller; moved by mem_realloc() when it may grow; null with a capacity of 0
    uint32_t* offsets; // height entries: where in `runs` each line begins
    uint32_t width;
    uint32_t height;
    size_t fill;     // words used
    size_t capacity; // words that `runs` has
    bool may_grow;
};

// Takes line number `line`, counted from 1. CIT_OK; CIT_NO_MEMORY when it doesn't fit and the runs may not grow, or
// when the line is beyond the height; CIT_BUFFER_FULL when growing failed.
using cit_sink_call = uint32_t (*)(cit_sink* sink, const uint16_t* runs, size_t count, uint32_t line);
uint32_t cit_sink_line(cit_sink* sink, const uint16_t* runs, size_t count, uint32_t line);

// Decode all lines. CIT_OK when the codes that end the image were found (always, for cit_decode_1d, when all lines were
// there); CIT_BAD_DATA for damaged or missing code; or what the sink gave, when it refused a line. In every case the
// lines in front are in the sink, and `lines` and `words` tell how far the decoder came.
//
// cit_decode_g3 goes on behind damage at the next end-of-line code: the damaged line is given as far as it went, white
// from there, and the result is CIT_BAD_DATA in the end. A one-dimensional line may lack its end-of-line code. Fill
// before any code is passed over.
uint32_t cit_decode_g4(cit_params* params, cit_sink* sink, cit_sink_call sink_line);
uint32_t cit_decode_g3(cit_params* params, cit_sink* sink, cit_sink_call sink_line);
uint32_t cit_decode_1d(cit_params* params, cit_sink* sink, cit_sink_call sink_line);

// Decodes one group 4 line from the bit `*place` of the data into `current`, against `reference`, and moves *place
// behind it. CIT_OK: *ended tells whether it was the end of the block instead of a line, and `current` is then
// white. CIT_BAD_DATA, with the line in part and white from there; CIT_NO_MEMORY.
uint32_t cit_decode_g4_line(const cit_params* params, const cit_changes* reference, cit_changes* current,
                            uint64_t* place, bool* ended);

// ---- encoding: citwrite.cpp -----------------------------------------------------------------------------------------

struct cit_encoder; // one state serves any number of images, one after the other

cit_encoder* cit_encoder_new(); // null: no memory
void cit_encoder_free(cit_encoder* state);

// Bytes that the buffer must have free before a line is coded, and before the end is, so that there is always room.
size_t cit_line_bound(uint32_t width, uint32_t minimum);

// Begin an image. Its height need not be known: nothing depends on it. `buffer` is borrowed, `size` in bytes; output is
// whole 16-bit words, low byte first, bit 0 first. K of start_g3:
//   0 or more  the first line and every K-th after it one-dimensional, the others two-dimensional (0: only the first);
//              13-bit end-of-line codes with a tag bit; six of them at the end
//   -1         all lines one-dimensional; 12-bit end-of-line codes; six of them at the end
//   -2         all lines one-dimensional, no codes between them or at the end
// `minimum` other than 0 pads each line: with K -2 to a whole byte, else to a whole word, and to that many words.
// K -2 with a minimum of 1 is the line-aligned form. False: no memory.
bool cit_encoder_start_g4(cit_encoder* state, uint32_t width, uint32_t height, uint8_t* buffer, size_t size);
bool cit_encoder_start_g3(cit_encoder* state, uint32_t width, uint32_t height, uint8_t* buffer, size_t size, int32_t k,
                          uint32_t minimum);

// Code the next line. CIT_OK; CIT_BAD_DATA for runs that don't add up to the width; CIT_BUFFER_FULL without room;
// CIT_NO_MEMORY. cit_encode_g4_line takes runs that cit_runs_fit() has passed, or that come from cit_bits_to_runs().
// The runs are not looked at again after the call. cit_encode_1d codes the runs alone, with nothing around them.
uint32_t cit_encode_g4_line(cit_encoder* state, const uint16_t* runs);
uint32_t cit_encode_g3_line(cit_encoder* state, const uint16_t* runs, size_t count);
uint32_t cit_encode_1d(cit_encoder* state, const uint16_t* runs, size_t count);

// The same from bits.
uint32_t cit_encode_g4_bits(cit_encoder* state, const uint8_t* words);
uint32_t cit_encode_g3_bits(cit_encoder* state, const uint8_t* words);

// Bytes put into the buffer so far; and a new buffer, which has those bytes already.
size_t cit_encoder_bytes(const cit_encoder* state);
void cit_encoder_move(cit_encoder* state, uint8_t* buffer, size_t size);

// End the image: the codes of the end, and the output filled up to whole words (g4: to an even number of them). *words
// is the length of the output. CIT_OK or CIT_BUFFER_FULL.
uint32_t cit_encoder_finish_g4(cit_encoder* state, size_t* words);
uint32_t cit_encoder_finish_g3(cit_encoder* state, size_t* words);

// ---- lines of coded data in memory: citread.cpp ---------------------------------------------------------------------

enum class cit_coding : uint8_t {
    aligned, // modified Huffman, no end-of-line codes, each line from a byte boundary (TIFF compression 2)
    g3_1d,   // group 3, one-dimensional (TIFF compression 3, tag 292 bit 0 clear)
    g3_2d,   // group 3 with tag bits (tag 292 bit 0 set)
    g4,      // group 4 (TIFF compression 4)
};

struct cit_reader;

// A reader of `lines` lines in `data`, which is borrowed until the reader is freed. `block_lines`: lines between the
// places that the reader can come back to, 0 for a suitable number. Going forward decodes every line once and keeps
// one; going back decodes the block and keeps its runs. Null: no memory.
cit_reader* cit_reader_new(cit_coding coding, uint32_t width, uint32_t lines, const uint8_t* data, size_t bytes,
                           uint32_t block_lines);
void cit_reader_free(cit_reader* reader);

// Line `line`, counted from 0, in any order. CIT_OK; CIT_BAD_DATA when the line is damaged or missing: what was decoded
// of it is delivered, white from there, and the caller logs it once and goes on (a line at or beyond `lines` is white
// as well); CIT_NO_MEMORY: nothing is delivered. Missing codes at the end of the image are no damage.
//
// runs: *count is the number of words, odd; CIT_BUFFER_FULL with the number needed in *count when it is over `room`
// words.
uint32_t cit_reader_bits(cit_reader* reader, uint32_t line, uint8_t* words);
uint32_t cit_reader_runs(cit_reader* reader, uint32_t line, uint16_t* runs, size_t room, size_t* count);

// Whether any line so far was damaged or missing; and whether the last line has been read and the codes that end the
// image were not behind it.
bool cit_reader_damaged(const cit_reader* reader);
bool cit_reader_unended(const cit_reader* reader);

// ---- coded bytes of lines: citwrite.cpp -----------------------------------------------------------------------------

struct cit_writer;

// A writer of strips of that width. `k` counts for g3_2d alone: every k-th line is one-dimensional. Null: no memory.
cit_writer* cit_writer_new(cit_coding coding, uint32_t width, int32_t k);
void cit_writer_free(cit_writer* writer);

// The next line. The first call after cit_writer_new() or cit_writer_finish() begins a strip. `runs`, `count` at most,
// must add up to the width, else CIT_BAD_DATA and nothing was coded. CIT_OK, CIT_NO_MEMORY.
uint32_t cit_writer_bits(cit_writer* writer, const uint8_t* words);
uint32_t cit_writer_runs(cit_writer* writer, const uint16_t* runs, size_t count);

// Ends the strip. *data is the writer's own and valid until its next call; the caller may change the bytes, as for the
// other fill order. CIT_OK, CIT_NO_MEMORY.
uint32_t cit_writer_finish(cit_writer* writer, uint8_t** data, size_t* bytes);
