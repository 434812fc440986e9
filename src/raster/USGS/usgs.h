// USGS files: the module's private record and what its files offer to each other.
//
// The file is lines of bytes, all of one length. The first four are header records: text of 400 characters and blanks
// behind. One band of lines follows, or three bands one after the other.
#pragma once

#include "raster/CORE/module.h"

constexpr int64_t USGS_RECORDS = 4;
constexpr size_t USGS_RECORD_SIZE = 400;
constexpr int32_t USGS_ONE_BAND = 1; // band codes
constexpr int32_t USGS_THREE_BANDS = 5;

// A place in a header record.
struct usgs_place {
    size_t record, at, width;
};

// The module's record, in CFILE's `spec`.
struct usgs_spec {
    char records[USGS_RECORDS][USGS_RECORD_SIZE];
    int32_t band_code, interleave_code, gap_code;
    int32_t file_line; // one band: the line that the file stands at, -1 when it is not known
    uint8_t* block;    // owned: lines of three bands that were read together
    size_t block_room; // lines of a band that it has room for
    int32_t first;     // line in the block, and how many of each band
    int32_t count;
};

inline usgs_spec* usgs_spec_of(const CFILE* c) {
    return static_cast<usgs_spec*>(c->spec);
}

// ---- usginfo.cpp

bool usgs_integer(const usgs_spec* spec, usgs_place place, int64_t* value);

// Puts a number's text at its place, right-aligned.
void usgs_put_integer(usgs_spec* spec, usgs_place place, int64_t value);

// Samples, bits and data format of the handle, by the band code.
void usgs_take_format(CFILE* c);

int usgs_get_hdr_data(CFILE* c, int32_t field, void* value);
int usgs_set_hdr_data(CFILE* c, int32_t field, const void* value);
int usgs_set_stat(CFILE* c, const rzl_stat* stat);

// ---- usggetli.cpp

int usgs_get_line(CFILE* c, int channels, read_planes buffers);
int usgs_get_rle_line(CFILE* c, int channels, read_planes buffers);

// ---- usgputli.cpp

int usgs_write_header(CFILE* c);
int usgs_put_line(CFILE* c, int channels, write_planes buffers);
