// ADRG map sets: the module's private record and what its files offer to each other. They are only read.
//
// The image file is blocks of 128 by 128 pixels, three planes or one behind each other. A description file beside it
// tells how many tiles there are and which block each has.
#pragma once

#include "raster/ADRG/mapset.h"

constexpr int32_t ADRG_TILE = 128;
constexpr size_t ADRG_PLANE_BYTES = size_t{ADRG_TILE} * ADRG_TILE;

// The module's record, in CFILE's `spec`.
struct adrg_spec {
    int32_t kind; // of the data: 27 three bands, 2 one band
    int32_t tiles_across, tiles_down;
    int32_t* tile_map; // owned, an entry a tile: the block from 1, 0 for a tile without data
    uint8_t* plane;    // owned: room for a plane of a tile
    rzl_map_info map;
};

inline adrg_spec* adrg_spec_of(const CFILE* c) {
    return static_cast<adrg_spec*>(c->spec);
}

// ---- adrinfo.cpp

int adrg_get_hdr_data(CFILE* c, int32_t field, void* value);

// Answers that both kinds of sets have in common: zeros but for the tiles, the order of lines and the version.
void set_give_field(const CFILE* c, int32_t field, void* value);

// ---- adrgetti.cpp

int adrg_get_tile(CFILE* c, int channels, read_planes buffers, uint32_t* size_word);
int adrg_get_tile_rows(CFILE* c, int channels, read_planes planes, size_t pitch, uint32_t rows);
