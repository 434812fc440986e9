// GIF files: the module's private record and what its files offer to each other.
//
// A file is held whole: reading decodes the first image at the first line that is asked for, writing gathers all lines
// and codes them when the last one has come. Pixels are bytes that a colour table of up to 256 colours gives meaning.
//
// The file: 13 bytes of header (mark, screen size, a byte of which bit 7 says that a table follows and bits 0 to 2 give
// its size), the table, extensions, and for each image a descriptor of 10 bytes, a table of its own when bit 7 of the
// descriptor's last byte is set, the code size, and the coded data as blocks of a length byte and that many bytes; an
// empty block ends them. 0x3B ends the file.
#pragma once

#include "raster/CORE/module.h"

constexpr size_t GIF_HEADER_SIZE = 13;
constexpr size_t GIF_DESCRIPTOR_SIZE = 10;
constexpr size_t GIF_COLORS = 256;
constexpr size_t GIF_TABLE_SIZE = GIF_COLORS * 3;
constexpr int32_t GIF_MOST_PIXELS = 65535; // of a line, and lines: sizes are 16-bit numbers
constexpr size_t GIF_BLOCK_MOST = 255;     // data bytes of a block

// Offsets, and bits of the packed bytes there.
constexpr size_t GIF_AT_SCREEN_WIDTH = 6;       // u16, and so is the height behind it
constexpr size_t GIF_AT_SCREEN_PACKED = 10;     // in the header
constexpr size_t GIF_AT_IMAGE_WIDTH = 5;        // in the descriptor: u16, and so is the height behind it
constexpr size_t GIF_AT_IMAGE_PACKED = 9;       // in the descriptor
constexpr uint8_t GIF_PACKED_TABLE = 0x80;      // a table follows
constexpr uint8_t GIF_PACKED_INTERLACED = 0x40; // descriptor only
constexpr uint8_t GIF_PACKED_SIZE = 0x07;       // the table has 2 to this + 1 colours

constexpr uint8_t GIF_EXTENSION = 0x21;
constexpr uint8_t GIF_SEPARATOR = 0x2C; // begins an image descriptor
constexpr uint8_t GIF_TRAILER = 0x3B;

// Codes have up to 12 bits.
constexpr int GIF_MOST_WIDTH = 12;
constexpr uint32_t GIF_CODES = 1u << GIF_MOST_WIDTH;

// Bytes behind the coded data and behind the pixels that the decoder may read, or write, in passing.
constexpr size_t GIF_DATA_SLACK = 8;
constexpr size_t GIF_PIXEL_SLACK = 32;

// What became of the image on writing.
enum class gif_output { none, begun, whole };

// The module's record, in CFILE's `spec`.
struct gif_spec {
    int32_t width, height;  // from the image descriptor
    int32_t colour_count;   // of the table in force
    bool has_table;         // that table stands in the file; otherwise it is grey
    bool interlaced;        // the file holds the lines in four passes
    int32_t lines_gathered; // on writing: different lines that have come
    uint8_t* pixels;        // owned: a byte a pixel, line by line in file order
    uint8_t* line_came;     // owned, on writing: a byte a line, not 0 when it has been put
    int64_t data_size;      // from the first data byte to the end of the file
    int64_t data_offset;    // of the code size byte
    bool must_decode;       // until the image has been decoded
    bool takes_bits;        // lines that are put are bilevel ones
    gif_output output;
    int32_t vlt_announced; // field 6: entries of the application's table
    uint8_t header[GIF_HEADER_SIZE];
    uint8_t descriptor[GIF_DESCRIPTOR_SIZE];
    uint8_t colour_table[GIF_TABLE_SIZE]; // red, green, blue
};

inline gif_spec* gif_spec_of(const CFILE* c) {
    return static_cast<gif_spec*>(c->spec);
}

// ---- gifopen.cpp: reading ------------------------------------------------------------------------------------------

// Fills entries from `first` on with grey: entry i is i, i, i.
void gif_grey_table(gif_spec* spec, size_t first);

// Where line `line` of an interlaced file with `height` lines stands among the lines of the file, counted from 0.
int32_t gif_interlaced_place(int32_t line, int32_t height);

// Frees the pixels, on either way.
void gif_free_specs(CFILE* c);

// ---- gifputli.cpp: writing -----------------------------------------------------------------------------------------

// Fixes size and colours of the file. Nothing is written yet. 0 on success.
int gif_write_header(CFILE* c);

// A line of one channel: pixels, or a bilevel line when the file's samples have 1 bit; a null one is all 0. When all
// lines have come, the file is written. The width, 0 on failure.
int gif_putline(CFILE* c, int channels, write_planes buffers);

// Finishes a file being written. An image whose lines have not all come leaves no file that could be read, and the
// status RZL_WRITE_FAILED.
void gif_close(CFILE* c);

// ---- lzw_dcmp.cpp: the decoder -------------------------------------------------------------------------------------

// What a run of the decoder came to.
struct gif_decoded {
    size_t pixels; // written
    bool damaged;  // a code that can't occur was met
};

// Decodes `size` bytes of `data`, behind which GIF_DATA_SLACK more can be read, into `pixels`, at most `limit` of them;
// behind those GIF_PIXEL_SLACK bytes more may be overwritten. `code_size` is 1 to 8.
gif_decoded gif_lzw_decode(const uint8_t* data, size_t size, uint8_t* pixels, int code_size, size_t limit);

// The most pixels that `size` bytes of coded data can stand for.
uint64_t gif_lzw_most_pixels(uint64_t size, int code_size);
