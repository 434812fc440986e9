// MRG map files: the module's private record and what its files offer to each other. They are only read.
//
// A map is two files: a header of text and, beside it, the raster. The name of the header tells which of two forms it
// has, and the name of the raster: the header's with its fifth character from the end replaced. The raster is strips
// of 256 pixels width; a strip is its bit planes one after the other, each `ysize` rows of 32 bytes, the first pixel
// in the top bit. A value is a bit of each plane, that of the first plane the lowest. Tiles of 256 by 256 cut the
// strips; they are the core's way to lines.
#pragma once

#include "raster/CORE/module.h"

constexpr size_t MRG_MOST_HEADER = 459;
constexpr int32_t MRG_TILE = 256;
constexpr size_t MRG_ROW_BYTES = MRG_TILE / 8;
constexpr size_t MRG_TILE_PIXELS = size_t{MRG_TILE} * MRG_TILE;
constexpr size_t MRG_PLANE_BYTES = MRG_ROW_BYTES * MRG_TILE; // of a tile
constexpr int32_t MRG_MOST_PLANES = 8;

// A place in the header's text. Width 0: the form does not have it.
struct mrg_place {
    uint16_t at, width;
};

// Where a form of the header has what.
struct mrg_form {
    size_t header_size;
    mrg_place strips, row_blocks, planes, colors, percent;
    mrg_place scale, name, projection, numbers[2], coordinates[4], hemisphere;
    mrg_place matrix[4]; // entries 12 to 15 in the first form, 3 and 7 in the second
    bool hundredths;     // coordinates have two digits more
};

// The module's record, in CFILE's `spec`.
struct mrg_spec {
    const mrg_form* form;
    char header[MRG_MOST_HEADER];
    int32_t color_count;   // of the records behind the header
    uint8_t* plane_buffer; // owned: the planes of a tile, and behind them room for its values
};

inline mrg_spec* mrg_spec_of(const CFILE* c) {
    return static_cast<mrg_spec*>(c->spec);
}

// ---- mrginfo.cpp ---------------------------------------------------------------------------------------------------

extern const mrg_form MRG_FORMS[2];

int mrg_get_hdr_data(CFILE* c, int32_t field, void* value);
int mrg_get_vlt(CFILE* c, rzl_vlt_entry* entries);

// ---- mrggetti.cpp --------------------------------------------------------------------------------------------------

// The bytes of the raster up to the end of the first row of tiles in the last strip: with fewer there is no line.
int64_t mrg_least_bytes(const CFILE* c);

int mrg_getline(CFILE* c, int channels, read_planes buffers);
int mrg_get_tile(CFILE* c, int channels, read_planes buffers, uint32_t* size_word);
int mrg_get_tile_rows(CFILE* c, int channels, read_planes planes, size_t pitch, uint32_t rows);
