// Targa files: the module's private record and what its files offer to each other.
//
// The file: 18 bytes of header, an identification of up to 255 bytes, a colour map, and the lines one behind the other.
// Run-coded pixels are packets: a byte of which bit 7 says whether one pixel follows, to be repeated, or several, and
// the other bits give their count less 1. Packets may run on from a line into the next; the ones written here do not.
// Colours are stored blue first. A file of version 2 ends in 26 bytes that tell where an extension area stands.
//
// There is no mark at the start, so the header has to make sense for a file to be one.
#pragma once

#include "raster/CORE/module.h"

constexpr size_t TGA_HEADER_SIZE = 18;
constexpr size_t TGA_FOOTER_SIZE = 26;
constexpr int32_t TGA_MOST_PIXELS = 65535;    // of a line, and lines: sizes are 16-bit numbers
constexpr int32_t TGA_USUAL_PIXELS = 10000;   // more is no Targa file, unless the library is told to take it
constexpr int32_t TGA_MOST_MAP_LENGTH = 4096; // colours
constexpr size_t TGA_MOST_ID = 255;
constexpr int32_t TGA_PACKET_MOST = 128; // pixels
constexpr uint8_t TGA_RUN = 0x80;        // of a packet's first byte
constexpr size_t TGA_ROW_SLACK = 8;      // bytes behind a row that the decoder may overwrite

// Kinds of images, header byte 2. A run-coded one has TGA_CODED added.
constexpr uint8_t TGA_MAPPED = 1;
constexpr uint8_t TGA_COLOR = 2;
constexpr uint8_t TGA_GREY = 3;
constexpr uint8_t TGA_CODED = 8;

// The descriptor, header byte 17.
constexpr uint8_t TGA_ATTRIBUTE_BITS = 0x0F;
constexpr uint8_t TGA_RIGHT_TO_LEFT = 0x10;
constexpr uint8_t TGA_TOP_DOWN = 0x20;
constexpr uint8_t TGA_ORDER_BITS = TGA_RIGHT_TO_LEFT | TGA_TOP_DOWN;

constexpr int32_t TGA_CODING_UNSET = 255; // of `compressed`: the data format decides

// Pixels as a file has them into the planes of a call; null planes are left out.
using tga_unpack = void (*)(const CFILE* c, const uint8_t* row, uint8_t* const* planes);

// The module's record, in CFILE's `spec`.
struct tga_spec {
    uint8_t image_type;
    bool has_map;
    int32_t compressed; // field 501: 0, 1 or TGA_CODING_UNSET
    int32_t map_first, map_length, map_bits;
    int32_t x_origin, y_origin;
    int32_t pixel_bits;
    uint8_t descriptor;
    int32_t id_length;
    char image_id[TGA_MOST_ID + 1];
    int32_t version;     // 2 for a file that says so, when the library was asked for it; else 0
    double aspect_ratio; // 0: not told
    int64_t data_offset; // of the first line
    tga_unpack unpack;   // null: lines of this depth are refused
    int32_t file_line;   // raw lines: the line that the file stands at, -1 when it is not known
    int32_t lines_put;   // run-coded lines of a new file
    int32_t pending;     // pixels of a packet that the next line begins with
    bool pending_run;    // they are the pixel below, repeated
    uint8_t pixel[4];
    uint8_t* row; // owned: a line as the file has it, and room for the coder
};

inline tga_spec* tga_spec_of(const CFILE* c) {
    return static_cast<tga_spec*>(c->spec);
}

// Bytes of a pixel in the file, and the bits of it that are colour.
inline size_t tga_step(const tga_spec* spec) {
    return static_cast<size_t>(spec->pixel_bits + 7) / 8;
}
inline int32_t tga_depth(const tga_spec* spec) {
    return spec->pixel_bits - (spec->descriptor & TGA_ATTRIBUTE_BITS);
}
inline bool tga_is_coded(const tga_spec* spec) {
    return (spec->image_type & TGA_CODED) != 0;
}

// The line that the file stands at behind the one at hand. Where reads and writes can follow each other, each is
// sought.
inline int32_t tga_next_file_line(const CFILE* c) {
    return c->mode == MODE_READ || c->mode == MODE_WRITE ? c->line + 1 : -1;
}

// ---- tgaopen.cpp ---------------------------------------------------------------------------------------------------

// Takes a colour map as the file has it into the handle's `color_table`: `length` entries of `bits` from index `first`
// on. False without memory, with the status set.
bool tga_keep_map(CFILE* c, const uint8_t* map);

// Data format and samples that follow from the kind of image. 0, or 1 with RZL_UNSUP_TGA for a kind that there is not,
// or one whose colour map is missing or one too many.
int tga_take_image_type(CFILE* c);

// ---- tgagetli.cpp --------------------------------------------------------------------------------------------------

// What turns the file's pixels into lines, by depth; null for a depth that lines are not read in.
tga_unpack tga_unpack_of(const tga_spec* spec);

int tga_get_line(CFILE* c, int channels, read_planes buffers);

// ---- tgaputli.cpp --------------------------------------------------------------------------------------------------

// Writes header, identification and colour map. Samples of a new file are whole bytes: pixels of 8 or 24 bits. The map
// is taken from the application's table, which has field 601 + field 6 entries. 0 on success.
int tga_write_header(CFILE* c);

// A line of one channel, or of three when the file has colours. Run-coded lines come in their order, or the status is
// RZL_MODIFY_COMPRESSED. The width, 0 on failure.
int tga_put_line(CFILE* c, int channels, write_planes buffers);
