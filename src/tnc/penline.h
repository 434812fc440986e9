// The byte code of a packed line, and the one decoder of it.
//
// A line is a sequence of items that begins at column 0 and ends with a zero byte.
//
//   skip item   1ccccccc            c columns on; c 0: the next byte plus 1
//   pixel run   0cccgsuu            c pixels; c 0: the next byte plus 1
//                 uu  1 no u,v; 2 delta-coded u,v; 3 literal u,v; 0 is an error, read as no u,v and told by the reader
//                     of the file, once
//                 s   the shade stands once, ahead of the pixels
//                 g   a shade is one byte, for red, green and blue alike
//
// A run goes on with: the count byte; the one shade; for delta coding the high bytes of u, v of the first and the
// second pixel; then per pixel its shade, and u low, u high, v low, v high (literal) or two bytes (delta): the low
// bytes of u and v for the first two pixels, the signed second differences of u and v from the third on. u and v are
// 16-bit and wrap.
//
// Code may come from a damaged file, so the decoder never reads past `length`: an item that isn't whole ends the line.
//
// Samples come a run at a time, in arrays, so that a caller's loop over them is a plain one: the re-evaluation of
// pixels is limited by it.
#pragma once

#include <cstdint>

#include "tnc/tnc.h"

constexpr uint8_t PENLINE_SKIP = 0x80;
constexpr uint8_t PENLINE_COUNT = 0x70;
constexpr int PENLINE_COUNT_SHIFT = 4;
constexpr uint8_t PENLINE_GREY = 0x08;
constexpr uint8_t PENLINE_CONSTANT = 0x04;
constexpr uint8_t PENLINE_UV = 0x03;
constexpr uint8_t PENLINE_UV_NONE = 1;
constexpr uint8_t PENLINE_UV_DELTA = 2;
constexpr uint8_t PENLINE_UV_LITERAL = 3;

constexpr int PENLINE_RUN_MAX = 256;

// The samples of one run, decoded. Sample i stands at column x + i.
struct penline_run {
    int32_t x;           // first column
    int32_t count;       // 1 to PENLINE_RUN_MAX
    bool constant_shade; // all samples have the shade of sample 0 (all are stored nevertheless)
    uint8_t red[PENLINE_RUN_MAX];
    uint8_t green[PENLINE_RUN_MAX];
    uint8_t blue[PENLINE_RUN_MAX];
    uint16_t u[PENLINE_RUN_MAX]; // 0 for a run without u,v
    uint16_t v[PENLINE_RUN_MAX];
};

// A place in a packed line.
struct penline_position {
    const uint8_t* next;
    const uint8_t* end;
    int32_t x;
};

// What a packed line holds, told without decoding a pixel.
struct penline_content {
    int64_t samples;
    int64_t without_uv_code; // runs whose header has no u,v code
    bool ends_in_item;       // the last item is not whole
    bool has_end;            // a zero byte stands behind the last item
};

penline_content penline_examine(const pline* line);

inline penline_position penline_begin(const pline* line) {
    return {line->code, line->code + line->length, 0};
}

// Decodes the next pixel run into `run`, passing over skip items. False at the end of the line.
// `run` may be reused from call to call.
bool penline_next_run(penline_position* at, penline_run* run);

// The same without u and v, which keep what they held: half of the work, for a pass that places no pattern.
bool penline_next_shades(penline_position* at, penline_run* run);

// The same without decoding: the run's first column and count only.
bool penline_skip_run(penline_position* at, int32_t* x, int32_t* count);

// Passes over what ends at or before column x, so that a next run reaches beyond it.
void penline_skip_to(penline_position* at, int32_t x);
