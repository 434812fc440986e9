// Writes a .tnc file from rows of samples: raw, as packed lines, inside a compressed stream, or both.
//
// The records: the opening bytes and the header that names the companion; the pens; then per row the samples with the
// columns between them, or one record for each packed line; and the end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "compress.h"
#include "picture.h"
#include "tnc/builder.h"

enum class tnc_packing { none, plines, stream, both };

struct tnc_writer {
    tnc_packing packing;
    std::vector<uint8_t> file; // the whole file so far
    std::vector<bool> has_uv;  // by pen
    bool in_stream;
    compressor stream;
    pen_builder* builder; // packs the rows
    int32_t x, y;         // where a reader stands
};

// Begins a file for pens 0 to pens.size() - 1 with the companion's name. False without memory.
bool tnc_begin(tnc_writer* w, tnc_packing packing, const std::vector<pen_info>& pens, const char* companion);

// Adds the samples of row y, in rising x; rows come in rising y.
void tnc_add_row(tnc_writer* w, int32_t y, const pen_sample* samples, size_t count);

// Ends the file; `file` is whole then.
void tnc_end(tnc_writer* w);
