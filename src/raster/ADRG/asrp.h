// ASRP and USRP map sets: the module's private record and what its files offer to each other. They are only read.
//
// A description file (.GEN of images, .SOU of legends) has a record an image: sizes, the coding of tiles and where each
// of them is. Another (.QAL) has the colours. In the image file tiles are plain, or runs: pairs of a count and a value,
// or counts of 4 bits and values of 8, two of each in three bytes.
#pragma once

#include "raster/ADRG/mapset.h"

// The module's record, in CFILE's `spec`.
struct asrp_spec {
    bool usrp;
    int32_t row_blocks, column_blocks; // tiles down and across
    int32_t tile_width, tile_height;
    int32_t run_bits;   // of a run's count: 0, 4 or 8
    int32_t value_bits; // 8: tiles are plain
    char image_name[12];
    int32_t color_count;
    int64_t* tile_map;   // owned, an entry a tile: a place in the image file, or the number of a plain tile; 0: no data
    bool plain;          // tiles are
    int64_t first_plain; // where the plain tile of entry 0 would be
    uint8_t* tile;       // owned: a decoded tile
    rzl_map_info map;
};

inline asrp_spec* asrp_spec_of(const CFILE* c) {
    return static_cast<asrp_spec*>(c->spec);
}
inline size_t asrp_tile_pixels(const asrp_spec* spec) {
    return static_cast<size_t>(spec->tile_width) * static_cast<size_t>(spec->tile_height);
}

// Bytes behind a tile that the decoder may overwrite.
constexpr size_t ASRP_TILE_SLACK = 16;

// ---- asrscan.cpp: what the description files say

// The set's kind, and the record of the image of that name, in the file that the handle has. 0, or 1 with the status.
int asrp_read_description(CFILE* c, const set_name& name);

// The colours. 0, or 1 with the status.
int asrp_read_colors(CFILE* c);

// ---- asrinfo.cpp

int asrp_get_hdr_data(CFILE* c, int32_t field, void* value);
int asrp_get_vlt(CFILE* c, rzl_vlt_entry* entries);

// ---- asrgetti.cpp

// Whether tiles are plain, and where they begin, as the size of the image file shows it. False: neither coding is
// known.
bool asrp_settle_coding(CFILE* c);

int asrp_get_tile(CFILE* c, int channels, read_planes buffers, uint32_t* size_word);
int asrp_get_tile_rows(CFILE* c, int channels, read_planes planes, size_t pitch, uint32_t rows);
