// PCX files: the module's private record and what its files offer to each other.
//
// The file: 128 bytes of header with a palette of 16 colours, the lines, and, where pixels have 8 bits, behind all the
// byte 12 and a palette of 256 colours. A line is its planes one after the other, of `bytes_per_line` bytes each,
// samples packed most significant bit first. In the run coding a byte with both top bits set holds a count in the
// others, and the byte behind it is repeated; any other byte is itself.
#pragma once

#include "raster/CORE/module.h"

constexpr size_t PCX_HEADER_SIZE = 128;
constexpr size_t PCX_AT_PALETTE = 16;
constexpr size_t PCX_AT_PLANES = 65;
constexpr uint8_t PCX_MANUFACTURER = 10;
constexpr uint8_t PCX_VERSION = 5; // the one with 256 colours
constexpr uint8_t PCX_RUN_CODED = 1;
constexpr uint8_t PCX_PALETTE_MARK = 12;
constexpr size_t PCX_SHORT_COLORS = 16;
constexpr size_t PCX_LONG_COLORS = 256;
constexpr size_t PCX_LONG_BYTES = PCX_LONG_COLORS * 3;
constexpr size_t PCX_TRAILER_SIZE = PCX_LONG_BYTES + 1;

constexpr uint8_t PCX_RUN = 0xC0; // both bits set: a count follows in the others
constexpr size_t PCX_RUN_MOST = 63;
constexpr size_t PCX_ROW_SLACK = 64; // bytes behind a row that the decoder may overwrite

// Field 6 tells 0, 16 or 256.
enum class pcx_palette : uint8_t { none, colors_16, colors_256 };

// The module's record, in CFILE's `spec`.
struct pcx_spec {
    uint8_t version, encoding;
    int32_t bits, planes;
    bool indexed;           // bits of an index stand in planes of their own
    int32_t bytes_per_line; // of one plane
    int32_t across, down;   // dots an inch, 0: not told
    double aspect_ratio;    // field 26 of a new file, 0: not told
    pcx_palette palette_kind;
    int32_t announced; // field 6 of a new file: entries of the application's table; -1: not told
    uint8_t palette[PCX_LONG_BYTES];
    int32_t file_line; // raw lines: the line that the file stands at, -1 when it is not known
    int32_t lines_put;
    uint8_t* row; // owned: the planes of a line, and behind them room for a line of values, or for the coder
};

inline pcx_spec* pcx_spec_of(const CFILE* c) {
    return static_cast<pcx_spec*>(c->spec);
}
inline bool pcx_is_coded(const pcx_spec* spec) {
    return spec->encoding == PCX_RUN_CODED;
}
inline size_t pcx_row_bytes(const pcx_spec* spec) {
    return static_cast<size_t>(spec->planes) * static_cast<size_t>(spec->bytes_per_line);
}

// ---- pcxopen.cpp ---------------------------------------------------------------------------------------------------

// The colours of the record as the handle's `color_table`. False without memory, with the status set.
bool pcx_keep_colors(CFILE* c);

// ---- pcxrle.cpp: the run coding ------------------------------------------------------------------------------------

// Decodes `bytes` bytes from the file's position; PCX_ROW_SLACK more may be overwritten. A run that goes on behind them
// is cut. False at the end of the file.
bool pcx_decode(CFILE* c, uint8_t* out, size_t bytes);

// Codes `bytes` bytes, and behind them bytes of 0 up to `all`. The bytes written to `out`, at most two for each.
size_t pcx_encode(const uint8_t* in, size_t bytes, size_t all, uint8_t* out);

// ---- pcxgetli.cpp --------------------------------------------------------------------------------------------------

int pcx_get_line(CFILE* c, int channels, read_planes buffers);

// A bilevel line as 16-bit lengths of runs, which begin and end with one of clear bits.
int pcx_get_rle_line(CFILE* c, int channels, read_planes buffers);

// ---- pcxputli.cpp --------------------------------------------------------------------------------------------------

// Writes the header. A new file is run-coded: one bit with 16 colours, or bytes with 256 colours, or three planes. 0 on
// success.
int pcx_write_header(CFILE* c);

// A line of one channel, or of three in a file of three planes; lines come in order, or the status is
// RZL_MODIFY_COMPRESSED. The width, 0 on failure.
int pcx_put_line(CFILE* c, int channels, write_planes buffers);
int pcx_put_rle_line(CFILE* c, int channels, write_planes buffers);

// Appends the long palette to a new file that has one.
void pcx_close(CFILE* c);
