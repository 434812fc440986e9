// HRF files: the module's private record and what its files offer to each other.
//
// The file: a header at fixed places, a directory of two sections, the management record, the header of one layer, the
// tile records, and behind them the table of where each tile is. Tiles are the only unit of storage: they are stored
// whole, in any order, and may lie anywhere. Numbers have the low byte first unless the header's flag says otherwise;
// the bytes of pixels never change their order.
#pragma once

#include "raster/CORE/module.h"

constexpr char HRF_MAGIC[] = "CADC/KR RST";
constexpr size_t HRF_MAGIC_BYTES = 16;

// Places of the file header.
constexpr size_t HRF_HEADER_SIZE = 512;
constexpr size_t HRF_AT_VERSION = 16;
constexpr size_t HRF_AT_REVISION = 18;
constexpr size_t HRF_AT_DATE = 20;
constexpr size_t HRF_DATE_BYTES = 8;
constexpr size_t HRF_AT_ORDER = 33;
constexpr size_t HRF_AT_TABLE_FORM = 35;
constexpr size_t HRF_AT_DIRECTORY = 256; // start and end of it, a word of 0; then the same of the sections
constexpr size_t HRF_AT_LAYER = 280;
constexpr size_t HRF_AT_LAYER_COUNT = 292;

// Where a new file has what.
constexpr size_t HRF_DIRECTORY = 1024;
constexpr size_t HRF_DIRECTORY_END = 1152;
constexpr size_t HRF_SECTIONS = 2048;
constexpr size_t HRF_ONES = 2288; // 64 bytes of 255
constexpr size_t HRF_LAYER = 2368;
constexpr size_t HRF_LAYER_HEAD = 24;
constexpr size_t HRF_LAYER_RECORD = 114;
constexpr size_t HRF_FIRST_TILE = HRF_LAYER + HRF_LAYER_HEAD + HRF_LAYER_RECORD;
constexpr size_t HRF_AT_TABLE_OFFSET = 96; // of the layer record

// The first bytes of a tile record, and of the tile table and its end: a 16-bit length, a type and a byte of 0.
constexpr size_t HRF_RECORD_HEAD = 4;
constexpr uint8_t HRF_TILE_RECORD = 5;
constexpr uint8_t HRF_TABLE_RECORD = 4;
constexpr uint8_t HRF_END_RECORD = 2;
constexpr size_t HRF_MOST_DATA = 65535 - HRF_RECORD_HEAD; // of a tile record

constexpr uint16_t HRF_DOTS_AN_INCH = 32; // a unit of density

// The module's record, in CFILE's `spec`.
struct hrf_spec {
    bool big;           // numbers have the high byte first
    uint8_t table_form; // 1: four bytes behind each offset of the table, else two
    char version[2];    // digits
    char date[HRF_DATE_BYTES + 1];
    bool compressed;
    int32_t depth; // 1, 8 or 24 bits a pixel
    uint16_t density_x, density_y, unit_x, unit_y;
    uint32_t table_offset;
    int32_t offset_x, offset_y;   // pixels and lines of the first tiles that are left out of the image
    uint32_t* tile_offsets;       // owned: an entry a tile, 0 for one that is not there
    int64_t table_field_position; // where the file has table_offset
    int64_t end;                  // of the file: where the next tile is written
    bool changed;                 // tiles were written that the file's table does not have
    uint8_t* data;                // owned: HRF_MOST_DATA bytes of a tile record
    uint8_t* tile;                // owned: a decoded tile, or one to be coded
    uint8_t* coded;               // owned, of a file that is written: room for any tile's coding
    uint8_t* lines;               // owned: lines of a file with offsets, from the first tile on
    struct tif_lzw_table* lzw;    // owned: the encoder's table
};

inline hrf_spec* hrf_spec_of(const CFILE* c) {
    return static_cast<hrf_spec*>(c->spec);
}
inline uint16_t hrf_u16(const uint8_t* p, bool big) {
    return big ? load_u16be(p) : load_u16le(p);
}
inline uint32_t hrf_u32(const uint8_t* p, bool big) {
    return big ? load_u32be(p) : load_u32le(p);
}

// Bytes of a row of a tile, and of a whole one, as the file has them before coding.
size_t hrf_row_bytes(const CFILE* c);
size_t hrf_tile_bytes(const CFILE* c);

// ---- hrfinfo.cpp ---------------------------------------------------------------------------------------------------

int hrf_get_hdr_data(CFILE* c, int32_t field, void* value);
int hrf_set_hdr_data(CFILE* c, int32_t field, const void* value);

// Depth and coding of a data format. 0, or 1 with RZL_UNSUP_IR.
int hrf_set_format(CFILE* c, int32_t format);

// Samples, bits, data format and coding class of the handle, by depth and coding of the record.
void hrf_take_format(CFILE* c);

// ---- hrfget.cpp ----------------------------------------------------------------------------------------------------

int hrf_get_tile(CFILE* c, int channels, read_planes buffers, uint32_t* size_word);
int hrf_get_tile_rows(CFILE* c, int channels, read_planes planes, size_t pitch, uint32_t rows);
int hrf_get_rle_tile(CFILE* c, int channels, read_planes buffers, uint32_t* size_word);
int hrf_get_rle_line(CFILE* c, int channels, read_planes buffers);

// A line of a file with offsets, whose image begins inside of its first tiles.
int hrf_get_line_offset(CFILE* c, int channels, read_planes buffers);

// ---- hrfput.cpp ----------------------------------------------------------------------------------------------------

// Makes the buffers that writing needs. False without memory, with the status set.
bool hrf_need_writing(CFILE* c);
int hrf_write_header(CFILE* c);
int hrf_put_tile(CFILE* c, int channels, write_planes buffers, uint32_t* size_word);
int hrf_put_line(CFILE* c, int channels, write_planes buffers);
void hrf_close(CFILE* c);

// ---- hrfcode.cpp: coded data of tiles -------------------------------------------------------------------------------

// Decodes a bilevel row of `bytes` bytes; *next moves behind its codes. False when they are damaged or end before.
bool hrf_decode_row(const uint8_t** next, const uint8_t* end, uint8_t* row, size_t bytes);

// Codes a bilevel row. The bytes written to `out`, hrf_row_bound(bytes) at most.
size_t hrf_encode_row(const uint8_t* row, size_t bytes, uint8_t* out);
constexpr size_t hrf_row_bound(size_t bytes) {
    return bytes * 2 + 2;
}

// LZW codes of 9 bits only, for data that the coder would make longer than that: a ninth more than `bytes`, and some.
size_t hrf_encode_plainly(const uint8_t* data, size_t bytes, uint8_t* out);
