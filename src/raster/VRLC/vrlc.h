// VRLC files, run-coded images of one plane: the module's private record and what its files offer to each other.
//
// The file: height and width as two words, the lines one behind the other, the data header, the data record, for bytes
// also a histogram and a translation table, and a directory of 344 bytes, which ends the file and says where each of
// these stands. Words are of 16 bits. Those of the directory have their low byte first; all others have the order that
// the two letters at the start of the data header tell: "MM" high byte first, "II" low byte first.
//
//     bilevel lines   a count, and as many pairs of words: the first pixel of a run of ones, and the first behind it
//     lines of bytes  chunks, in turn of runs and of bytes as they are, until two are empty in a row. Each begins with
//                     the bytes that it has. A run is a word, its length in the high byte and the value in the low one.
//                     Bytes as they are fill up a word. Values go through the translation table.
#pragma once

#include "raster/CORE/module.h"

constexpr int64_t IR_DIRECTORY = 344; // bytes
constexpr size_t IR_FIRST_LINE = 4;   // of the image's offset
constexpr size_t IR_HEAD = 8;         // of the data header
constexpr size_t IR_RECORD_BITS = 200;
constexpr size_t IR_RECORD_BYTES = 256;
constexpr size_t IR_HISTOGRAM = 1028;
constexpr size_t IR_TRANSLATION = 258;
constexpr int32_t IR_MOST = 0xFFFF; // pixels of a line, and lines
constexpr size_t IR_LEAST_RUN = 8;  // pixels that make a run
constexpr size_t IR_MOST_RUN = 255;

// Subtypes of an image.
constexpr uint16_t IR_BITS = 2;
constexpr uint16_t IR_BYTES = 262;

// Places in the data record: the density, and the code of the order of lines.
constexpr size_t IR_AT_DENSITY = 24;
constexpr size_t IR_AT_ORDER_BITS = 44;
constexpr size_t IR_AT_ORDER_BYTES = 52;

// The module's record, in CFILE's `spec`.
struct ir_spec {
    uint16_t subtype;
    int32_t version;
    bool big;            // words have their high byte first
    double density;      // dots an inch
    int32_t orientation; // of the status record
    int64_t end;         // no line reaches past it
    uint8_t translation[256];
    uint32_t histogram[256];
    int32_t lines_put;
    uint8_t* room; // owned: of a coded line
    size_t room_bytes;
};

inline ir_spec* ir_spec_of(const CFILE* c) {
    return static_cast<ir_spec*>(c->spec);
}
inline uint16_t ir_load(const ir_spec* spec, const uint8_t* p) {
    return spec->big ? load_u16be(p) : load_u16le(p);
}

// Makes room for `bytes` of a coded line. False without memory, with the status.
bool ir_need_room(CFILE* c, size_t bytes);

// ---- irgetli.cpp ---------------------------------------------------------------------------------------------------

int ir_get_line(CFILE* c, int channels, read_planes buffers);
int ir_get_rle_line(CFILE* c, int channels, read_planes buffers);

// ---- irputli.cpp ---------------------------------------------------------------------------------------------------

int ir_write_header(CFILE* c);
int ir_put_line(CFILE* c, int channels, write_planes buffers);
void ir_close(CFILE* c);
