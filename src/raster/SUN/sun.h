// Sun raster files: the module's private record and what its files offer to each other.
//
// The file: eight 32-bit words of header, big-endian, or all little-endian when the first one is; the colour map, red,
// green and blue plane one after the other; the lines, filled up to 16 bits. Pixels are bits, the first in the top bit,
// bytes, or red, green and blue, with a byte more where they have 32 bits. The run coding is one stream of bytes, of
// which a line may end inside of a run: 128, a count less 1 and a value; 128 and 0 for a byte of 128; any other byte is
// itself. Bits that are run-coded are black where they are set.
#pragma once

#include "raster/CORE/module.h"

constexpr size_t SUN_HEADER_SIZE = 32;
constexpr uint32_t SUN_MAGIC = 0x59A66A95;

// Types of files.
constexpr uint32_t SUN_OLD = 0;
constexpr uint32_t SUN_STANDARD = 1;
constexpr uint32_t SUN_CODED = 2;
constexpr uint32_t SUN_RGB = 3;
constexpr uint32_t SUN_MOST_TYPE = 5; // 4 and 5 are other formats in this one's clothes

// Types of colour maps.
constexpr uint32_t SUN_NO_MAP = 0;
constexpr uint32_t SUN_MAP_PLANES = 1; // three planes; any other type has one
constexpr size_t SUN_COLORS = 256;

constexpr uint8_t SUN_ESCAPE = 128;
constexpr size_t SUN_RUN_MOST = 256;
constexpr size_t SUN_LEAST_RUN = 3;

// The module's record, in CFILE's `spec`.
struct sun_spec {
    uint32_t type, depth, map_type; // words of the header
    uint32_t entries;               // of the map: bytes of a plane
    int32_t pixel_bits;             // 1, 8, 24 or 32, which for some types is not the depth
    uint8_t* map;                   // owned: the planes of the map, or null
    int64_t data_offset;            // of the first line
    uint32_t pending_count;         // pixels of a run that the next lines have
    uint8_t pending_value;
    int32_t file_line; // raw lines: the line that the file stands at, -1 when it is not known
    int32_t lines_put; // coded ones that have come
    uint64_t written;  // bytes of coded lines
    uint8_t* row;      // owned: a line as the file has it, and behind it room for a plane or the coder
};

inline sun_spec* sun_spec_of(const CFILE* c) {
    return static_cast<sun_spec*>(c->spec);
}
inline bool sun_is_coded(const sun_spec* spec) {
    return spec->type == SUN_CODED;
}
inline size_t sun_map_planes(const sun_spec* spec) {
    return spec->map_type == SUN_MAP_PLANES ? 3 : 1;
}
inline size_t sun_map_bytes(const sun_spec* spec) {
    return spec->map_type == SUN_NO_MAP ? 0 : spec->entries * sun_map_planes(spec);
}

// Bytes of a line in the file, before it is coded.
inline size_t sun_row_bytes(const CFILE* c) {
    size_t bytes = (static_cast<size_t>(c->xsize) * static_cast<size_t>(sun_spec_of(c)->pixel_bits) + 7) / 8;
    return bytes + bytes % 2;
}

// ---- sunopen.cpp ---------------------------------------------------------------------------------------------------

// Pixel size of the record, and samples, bits and data format of the handle, by type and depth. False for those that
// there are not.
bool sun_take_depth(CFILE* c);

// The record's map as the handle's `color_table`, where pixels are looked up in one. False without memory, with the
// status set.
bool sun_keep_colors(CFILE* c);

// Makes `row` for lines of the handle. False with the status: no memory, or, while reading, fewer bytes in the file
// than a line takes.
bool sun_need_row(CFILE* c, bool reading);

// Brings the file to the raw line that comes next. False when it can't be.
bool sun_go_to_line(CFILE* c);

// ---- sunrle.cpp: the run coding ------------------------------------------------------------------------------------

// Decodes `bytes` bytes from the file's position, the first ones out of the pending run. False at the end of the file.
bool sun_decode(CFILE* c, sun_spec* spec, uint8_t* out, size_t bytes);

// Codes `bytes` bytes. The bytes written to `out`, at most two for each.
size_t sun_encode(const uint8_t* in, size_t bytes, uint8_t* out);

// ---- sungetli.cpp --------------------------------------------------------------------------------------------------

int sun_get_line(CFILE* c, int channels, read_planes buffers);

// ---- sunputli.cpp --------------------------------------------------------------------------------------------------

// Writes the header, and the application's colours, or else the record's. 0 on success.
int sun_write_header(CFILE* c);

// A line of one plane, or of three where pixels have 24 or 32 bits. Coded lines come in their order, or the status is
// RZL_MODIFY_COMPRESSED. The width, 0 on failure.
int sun_putline(CFILE* c, int channels, write_planes buffers);
int sun_put_line(CFILE* c, int channels, write_planes buffers);
int sun_put_rle_line(CFILE* c, int channels, write_planes buffers);

// Tells the length of coded lines in the header, where the file can be sought.
void sun_close(CFILE* c);
