// PNG files: the module's private record and what its files offer to each other.
//
// A file is chunks around one stream of deflated rows. All of its coding is libpng's, which pngcode.cpp hides: it reads
// and writes through the handle's file, a row of pixels at a time, and its errors come out as false with the handle's
// status. Nothing else here calls it.
//
// What lines are made of. Bits are bilevel lines, with two colours where the file has a palette; fewer than 8 bits of
// grey become 8, so that white is white, and more are rounded to 8; indices into a palette stay what they are. Pixels
// that are not opaque lie on the background that the file tells of; without one they are taken as they are.
//
// Rows of an interlaced file can be had only all together; of any other they are decoded as they are asked for.
#pragma once

#include "raster/CORE/module.h"
#include "raster/CORE/onward.h"

constexpr size_t PNG_COLORS = 256;
constexpr int32_t PNG_MOST_LEVEL = 9;
constexpr int32_t PNG_USUAL_LEVEL = -1; // zlib's own choice

struct png_coder; // owns libpng's records

// What a file says of itself, or a new one is to say. Rows are `channels` samples of `bits` bits a pixel.
struct png_shape {
    uint32_t width, height;
    int stored_bits; // of a pixel in the file
    int bits;        // of a sample: 1, 2, 4 or 8; fewer than 8 of one channel only
    int channels;    // 1 grey or index, 2 grey with alpha, 3 colours, 4 with alpha
    bool indexed, interlaced;
    bool on_background;    // alpha is a share over `background`; otherwise it says nothing
    uint8_t background[3]; // of one channel the first
    int color_count;
    uint8_t colors[PNG_COLORS * 3];
    uint32_t across, down; // pixels a metre, 0: not told
};

// The module's record, in CFILE's `spec`.
struct png_spec {
    png_coder* coder; // owned; null on a new file without its header
    png_shape shape;
    bool at_start; // the coder has read up to the rows and no more
    onward_lines lines;
    int32_t announced; // field 6 of a new file: entries of the application's table; -1: not told
    int32_t level;     // of compression, of a new file
    int32_t lines_put; // of a new file
    uint8_t* row;      // owned: a line of values, or a row of a new file
};

inline png_spec* png_spec_of(const CFILE* c) {
    return static_cast<png_spec*>(c->spec);
}
inline size_t png_row_bytes(const png_shape* shape) {
    return (static_cast<size_t>(shape->width) * static_cast<size_t>(shape->bits * shape->channels) + 7) / 8;
}

// A sample over another; `share` is how much of it is seen.
inline uint8_t png_over(unsigned front, unsigned share, unsigned back) {
    return static_cast<uint8_t>((front * share + back * (255 - share) + 127) / 255);
}

// Whether a file of this size can hold a row of the shape, or all of them: asked before memory is taken by it.
bool png_size_is_credible(CFILE* c, const png_shape* shape, bool all);

// ---- pngcode.cpp: libpng. Functions that give bool or a pointer leave the status of false or null in the handle.

// A coder for the handle's file. It is freed by png_coder_free(), in any state; null is nothing.
png_coder* png_coder_new(CFILE* c);
void png_coder_free(png_coder* coder);

// Reads up to the rows, from the start of the file.
bool png_read_shape(png_coder* coder, png_shape* shape);
bool png_read_one(png_coder* coder, uint8_t* row);

// All rows of an interlaced file.
bool png_read_whole(png_coder* coder, uint8_t* image, const png_shape* shape);

bool png_start_writing(png_coder* coder, const png_shape* shape, int level);
bool png_write_one(png_coder* coder, const uint8_t* row);
bool png_finish_writing(png_coder* coder);

// ---- pngget.cpp, pngput.cpp ----------------------------------------------------------------------------------------

// A line of one channel, or of three. The width, 0 on failure.
int png_get_line(CFILE* c, int channels, read_planes buffers);

int png_get_pixels(CFILE* c, uint8_t* buffer);

// Writes what stands before the rows. 0 on success.
int png_write_header(CFILE* c);

// A line of one channel, or of three in a file of colours; lines come in order, or the status is RZL_MODIFY_COMPRESSED.
int png_put_line(CFILE* c, int channels, write_planes buffers);

int png_put_pixels(CFILE* c, const uint8_t* buffer);

// Finishes a new file: lines that have not come are 0.
void png_close(CFILE* c);
