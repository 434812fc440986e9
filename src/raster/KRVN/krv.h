// The native format: file layout, the module's private record, and what its files offer to each other.
//
// A file is a chain of images. Each is a header of 1024 bytes (768 when a byte colour table follows it at once), an
// optional colour table, packets, reserved room, and the pixel data. Everything is little-endian, and a header is kept
// as the bytes that stand in the file: it is read and written through the offsets below, never through a structure.
//
// Words kept apart: `words` are 16-bit words of the file; the data start is the first byte behind header, colour table
// and packets of the active image; the first line is the data start, or, with an overview active, where the overview's
// lines begin.
#pragma once

#include "raster/CORE/module.h"

constexpr size_t KRV_HEADER_SIZE = 1024;
constexpr size_t KRV_SHORT_HEADER_SIZE = 768; // a byte colour table follows at once
constexpr size_t KRV_OLD_HEADER_SIZE = 512;
constexpr size_t KRV_BYTE_VLT_SIZE = 768;
constexpr size_t KRV_CODE_BUFFER_SIZE = 65530;
constexpr uint16_t KRV_TYPE = 0x0908;
constexpr int KRV_PLAIN_WORDS = 510; // words_to_follow of a plain header of 1024 bytes
constexpr int KRV_OLD_WORDS = 254;   // and of the old header of 512 bytes
constexpr int KRV_MAX_WORDS = 32767; // words_to_follow is a signed 16-bit value

// Offsets of header fields. u16, i16, u32 and doubles, little-endian.
constexpr size_t KRV_AT_TYPE = 0;               // u16
constexpr size_t KRV_AT_WORDS_TO_FOLLOW = 2;    // i16: words before the pixel data, less 2
constexpr size_t KRV_AT_DATA_TYPE = 4;          // u16
constexpr size_t KRV_AT_APPLICATION_TYPE = 6;   // u16
constexpr size_t KRV_AT_VIEW_ORIGIN = 8;        // 3 doubles
constexpr size_t KRV_AT_VIEW_EXTENT = 32;       // 3 doubles
constexpr size_t KRV_AT_MATRIX = 56;            // 16 doubles
constexpr size_t KRV_AT_PIXELS_PER_LINE = 184;  // u32
constexpr size_t KRV_AT_LINES = 188;            // u32
constexpr size_t KRV_AT_RESOLUTION = 192;       // i16
constexpr size_t KRV_AT_SCAN_ORIENTATION = 194; // i8
constexpr size_t KRV_AT_SCANNABLE = 195;        // bit 0
constexpr size_t KRV_AT_ROTATION = 196;         // double
constexpr size_t KRV_AT_SKEW = 204;             // double
constexpr size_t KRV_AT_TYPE_MODIFIER = 212;    // u16
constexpr size_t KRV_AT_NAME_1 = 214;           // 66 characters, and so are the next two
constexpr size_t KRV_AT_NAME_2 = 280;
constexpr size_t KRV_AT_NAME_3 = 346;
constexpr size_t KRV_AT_DESCRIPTION = 412;   // 80 characters
constexpr size_t KRV_AT_MINIMUM = 492;       // 8 bytes
constexpr size_t KRV_AT_MAXIMUM = 500;       // 8 bytes
constexpr size_t KRV_AT_VERSION = 511;       // u8
constexpr size_t KRV_AT_ASPECT_RATIO = 520;  // double
constexpr size_t KRV_AT_NEXT_IMAGE = 528;    // u32: file offset of the next header, 0 in the last
constexpr size_t KRV_AT_VLT_TYPE = 532;      // u16
constexpr size_t KRV_AT_VLT_ENTRIES = 536;   // u32
constexpr size_t KRV_AT_PACKET_OFFSET = 540; // u32, from the image's start
constexpr size_t KRV_AT_PACKET_WORDS = 544;  // u32, padding not counted
constexpr size_t KRV_AT_APP_VALUES = 768;    // 3 u32
constexpr size_t KRV_AT_COMMENT = 780;       // 200 characters

constexpr size_t KRV_NAME_SIZE = 66;
constexpr size_t KRV_DESCRIPTION_SIZE = 80;
constexpr size_t KRV_COMMENT_SIZE = 200;
constexpr int KRV_APPLICATION_9 = 9; // its app_values and comment are valid

constexpr size_t KRV_VLT_ENTRY_SIZE = 8;

// Packets: a head of type (u16), subtype (u16) and the words that follow (u32), then those words.
constexpr size_t KRV_PACKET_HEAD_SIZE = 8;
constexpr uint32_t KRV_PACKET_HEAD_WORDS = 4;

// Overview directory: a packet of 32-bit words. Five words, n entries of four (ysize, xsize, info, zero), n entries of
// three (offset from the data start, two sizes).
constexpr size_t KRV_OVERVIEW_COUNT_AT = 16;
constexpr size_t KRV_OVERVIEW_ENTRIES_AT = 20;
constexpr size_t KRV_OVERVIEW_ENTRY_SIZE = 16;
constexpr size_t KRV_OVERVIEW_EXTENT_SIZE = 12;
constexpr uint32_t KRV_OVERVIEW_TILED = 1u << 16; // in `info`; its low half is field 201

// The tile packet, at the first line of a tiled image or overview: a packet head, values, and an entry a tile, row by
// row: where the tile stands from the data start, its bytes, and those once more. A tile that does not stand anywhere
// (0 or less as a signed number) has one colour, which is the third number: red, green and blue from the top, or the
// low byte of an image without colours.
constexpr size_t KRV_TILE_OVERVIEWS_AT = 16; // u16: 3 when the file has overviews, else 1
constexpr size_t KRV_TILE_DATA_TYPE_AT = 18; // u16: what the header's data_type of 65 stands for
constexpr size_t KRV_TILE_SIZE_AT = 120;     // u32: pixels of a side
constexpr size_t KRV_TILE_TABLE_AT = 128;
constexpr size_t KRV_TILE_ENTRY_SIZE = 12;

// A line header of a scannable file, as values.
struct krv_line_header {
    uint16_t mark;            // 0x5900
    uint16_t words_to_follow; // words behind this one: a piece has two fewer data words
    uint16_t line_number;     // with FLAG_LINES_FROM_ZERO as it stands in the file; otherwise one has been taken off
    uint16_t pixel_offset;    // pixel of the line at which the piece begins
};

struct krv_coded_row; // krvgetti.cpp

// The module's record, in CFILE's `spec`.
struct krv_spec {
    int32_t xsize, ysize;     // of the base image: what the header will get
    int32_t data_type;        // data format code of the active image or overview
    int32_t reserved_words;   // field 401: room behind the packets, a multiple of 256
    const void* app_packet;   // the application's packets, borrowed; owned with FLAG_PACKET_OWNED
    uint8_t* overview_packet; // owned: the overview directory, head included; null when there is none
    uint8_t* jpeg_packet;     // owned: the JPEG packet, head included
    uint8_t* other_packet;    // owned: a further library packet
    uint8_t* code_buffer;     // owned: KRV_CODE_BUFFER_SIZE bytes of run-coding output, made at first use
    uint8_t packet_head[KRV_PACKET_HEAD_SIZE]; // the last packet head read
    krv_line_header line_header;               // of the piece that comes next, read ahead
    bool lines_ended;                          // scannable: no further piece could be read; every later line is zero
    bool lines_cut;                            // and the data goes on with something that is no piece
    int64_t overview_at;      // where the directory stands in the file, from the image's start; 0: not in the file
    uint16_t stored_vlt_type; // of the colour table as it stands in the file, which the header may be ahead of
    uint32_t stored_vlt_entries;
    uint32_t stored_words; // packet_words as the file has them, which the header in memory may be ahead of
    int64_t link_from;     // file offset of the header that is to be linked to this image when it is written; or -1
    int32_t base_tile;     // side of the base image's tiles; 0 without tiles
    int64_t tile_begin;    // of the tile that is being read, file offsets;
    int64_t tile_end;      // 0: none is
    krv_coded_row* row;    // owned: the coding of a row of tiles whose lines are read in order, made at first use
    uint8_t* gather;       // owned: room in which the coding of tiles gathers, made at first use
    uint8_t header[KRV_HEADER_SIZE];
};

inline krv_spec* krv_spec_of(const CFILE* c) {
    return static_cast<krv_spec*>(c->spec);
}

// ---- header values --------------------------------------------------------------------------------------------------

inline int krv_words_to_follow(const uint8_t* header) {
    return static_cast<int16_t>(load_u16le(header + KRV_AT_WORDS_TO_FOLLOW));
}
inline uint32_t krv_next_image(const CFILE* c) {
    return load_u32le(krv_spec_of(c)->header + KRV_AT_NEXT_IMAGE);
}

// Lines may be written to the last image of a file only.
inline bool krv_is_last_image(const CFILE* c) {
    return krv_next_image(c) == 0;
}

// File offset of the first byte behind header, colour table and packets of the active image.
inline int64_t krv_data_start(const CFILE* c) {
    return c->base_offset + int64_t{krv_words_to_follow(krv_spec_of(c)->header)} * 2 + 4;
}

// File offset of line 0 of what is active: the data start, or where the active overview's lines begin.
int64_t krv_first_line(const CFILE* c); // krvpos.cpp

// What the header's fields of less than 32 bits hold.
constexpr field_limit KRV_LIMITS[] = {
    {RZL_FIELD_RESOLUTION, INT16_MIN, INT16_MAX}, {RZL_FIELD_ORIENTATION, INT8_MIN, INT8_MAX},
    {RZL_FIELD_APPLICATION, 0, UINT16_MAX},       {RZL_FIELD_VERSION, 0, UINT8_MAX},
    {RZL_FIELD_TYPE_MODIFIER, 0, UINT16_MAX},     {RZL_FIELD_OVERVIEW_VALUE, INT16_MIN, UINT16_MAX},
    {RZL_FIELD_VLT_TYPE, 0, RZL_VLT_ENTRIES},     {RZL_FIELD_VLT_ENTRIES, 0, INT32_MAX},
    {RZL_FIELD_PACKET_ROOM, 0, KRV_MAX_WORDS},    {RZL_FIELD_STRIP_LINES, 0, INT32_MAX},
};

// Whether the file's data can have tiles of that side; 0 stands for none.
bool krv_is_tile_size(const CFILE* c, int32_t side); // krvinfo.cpp

// Status RZL_BAD_FIELD_ID with the module's words; gives 1.
int krv_refuse(CFILE* c); // krvinfo.cpp

// ---- open, create, close: krvopen.cpp -------------------------------------------------------------------------------

// Opens a file with the text header. 0, or 1 with the status set.
int krv_open_text(CFILE* c, const char* name);

// The record's header to its state at creation: all zero but type, words_to_follow, data_type 2, sizes, orientation 4
// and version 3.
void krv_init_spec(CFILE* c);

// Rewrites directories of the active image that have changed. False: the status is set.
bool krv_flush_directories(CFILE* c);

// Tests the header and puts the old forms into today's. False: no header of this format.
bool krv_check_header(const CFILE* c, uint8_t* header);

// Makes a header that has been read from `base` the active image's: checks it, reads colour table and packets,
// activates the base image and rewinds. False: the status is set and the handle is as it was.
bool krv_load_image(CFILE* c, int64_t base, const uint8_t* header);

// Reads a header at an offset of the file: at least `minimum` bytes must be there, and those behind the file's end are
// zero. False on a shorter read.
bool krv_read_header(CFILE* c, int64_t offset, size_t minimum, uint8_t* header);

// Whether a number is a data type that headers have.
bool krv_is_data_type(int code);

// Whether a line of that many pixels can come out of `bytes` bytes of file, the size of the file from the image's
// start. A line of an uncompressed format is not larger than the file, and one of a run-coded format not longer than
// the greatest expansion of its coding. Pieces of a scannable file may be missing, so there any line of up to 64 KiB
// passes.
bool krv_line_fits(int32_t data_type, uint32_t xsize, bool scannable, int64_t bytes);

// The same for `ysize` lines of data.
bool krv_lines_fit(int32_t data_type, uint32_t xsize, uint32_t ysize, int64_t bytes);

// The module's answer for the active image.
pixel_density krv_density(const CFILE* c);

// ---- colour tables: krvvlt.cpp --------------------------------------------------------------------------------------

// The colour table of the image with that header at `base`, as an owned block in *table; null when it has none or it
// had to be dropped (then *dropped is set). vlt_entries of the header becomes 256 with a byte table. False: no memory.
bool krv_read_color_table(CFILE* c, int64_t base, uint8_t* header, uint8_t** table, bool* dropped);
int krv_get_vlt(CFILE* c, rzl_vlt_entry* entries);

// ---- packets: krvvlt.cpp --------------------------------------------------------------------------------------------

// Reads the library's packets of the active image, whose colour table has been read.
void krv_read_packets(CFILE* c);
void krv_free_packets(CFILE* c);

// Words of the packets that the library holds, heads included; and of the application's.
uint32_t krv_library_words(const krv_spec* spec);
uint32_t krv_app_words(const krv_spec* spec);

// Words of a held packet, head included; 0 for null.
uint32_t krv_packet_total(const uint8_t* packet);

// Brings the application's packets of the file into memory, so that the library's can change. 0 on success.
int krv_save_packets(CFILE* c);
int krv_get_packet(CFILE* c, void* buffer);
int krv_put_packet(CFILE* c, const void* buffer);
void krv_drop_app_packet(CFILE* c); // frees it when it is the library's

// ---- header fields: krvinfo.cpp -------------------------------------------------------------------------------------

int krv_get_hdr_data(CFILE* c, int32_t field, void* value);
int krv_set_hdr_data(CFILE* c, int32_t field, const void* value);
int krv_get_format(CFILE* c);

// Stores application type and version, and converts the doubles of fields 27 to 30 when they move into or out of the
// old form, which is that of application types 1 and 2 with version 2.
void krv_set_application(uint8_t* header, int type, int version);

// One double at `at` (fields 27 to 30), in whichever form the header has.
double krv_load_double(const uint8_t* header, size_t at);
void krv_store_double(uint8_t* header, size_t at, double value);

// The old 64-bit form: sign, 8 bits of exponent, 55 of fraction, its four 16-bit words most significant first. A value
// below its range becomes 0, one above (or no number) the greatest it has.
void krv_store_d_float(uint8_t* p, double value);
double krv_load_d_float(const uint8_t* p);

// ---- writing the header: krvwrthd.cpp -------------------------------------------------------------------------------

int krv_write_header(CFILE* c);

// ---- copying: krvinit.cpp -------------------------------------------------------------------------------------------

int krv_copydata(CFILE* from, CFILE* to);
int krv_init_std_hdr(CFILE* from, CFILE* to);
int krv_init_ov(CFILE* from, CFILE* to);

// ---- overviews: krvov.cpp -------------------------------------------------------------------------------------------

struct krv_overview {
    uint32_t ysize, xsize, info;     // lines, pixels, KRV_OVERVIEW_TILED and field 201
    uint32_t offset, size_1, size_2; // from the data start, 0: no data yet; bytes, twice
};

int32_t krv_overview_count(const krv_spec* spec);
krv_overview krv_load_overview(const krv_spec* spec, int32_t index);
void krv_store_overview(krv_spec* spec, int32_t index, const krv_overview& entry);

// Adds the bytes of a line that was written to the active overview's two size words. Nothing when none is active.
void krv_add_overview_bytes(CFILE* c, uint32_t bytes);

// Whether a directory packet of that size in bytes holds what it claims.
bool krv_overview_packet_is_whole(const uint8_t* packet, size_t bytes);

int krv_set_overview_count(CFILE* c, int32_t count);
int krv_set_active_overview(CFILE* c, int32_t overview);

// Sets what a handle derives from the record's data_type: format, samples, bits, compression class, row padding. False:
// no memory for the CCITT record.
bool krv_apply_data_type(CFILE* c);
bool krv_need_ccitt(CFILE* c, int32_t data_type); // creates the record when the format needs one
void krv_detect_line_padding(CFILE* c);

// Where the active target's data, which begin at `first`, end: the next data behind them, or the end of the image.
// *aligned: up to 7 bytes of filling may stand in front of it.
int64_t krv_target_end(CFILE* c, int64_t first, bool* aligned);

// ---- tiles: krvgetti.cpp, krvputti.cpp ------------------------------------------------------------------------------
//
// A tile is coded by itself, as an image of its size would be: its lines as Put_line gives them, those at the right and
// bottom edges cut to what lies inside of the image.

// What a tile packet that stands at file offset `at` says of tiles for so many pixels: side, data type, and the bytes
// of the packet up to the end of its table. The status for a packet that can't be used, 0 for a good one.
struct krv_tile_facts {
    int32_t side, data_type;
    size_t bytes;
};
uint32_t krv_judge_tiles(CFILE* c, int64_t at, uint32_t xsize, uint32_t ysize, krv_tile_facts* facts);

// Makes the handle that of a tiled target, whose packet stands at its first line. 0, or 1 with the status set.
int krv_load_tiles(CFILE* c);

// A new packet in memory and in the file at the target's first line, where the file then stands behind it. False with
// the status set.
bool krv_begin_tiles(CFILE* c);

// Writes lines that wait for the rest of their row, and the packet when it has changed. False with the status set.
bool krv_finish_tiles(CFILE* c);

// Before a line is put into a tiled target: it has its packet, and the row of the line is what the file has of it.
bool krv_prepare_tile_row(CFILE* c);

bool krv_note_tile(CFILE* c, int64_t begin, int64_t end); // of the module

// The entry of a tile in the packet, or null where it has none.
uint8_t* krv_tile_entry(const CFILE* c, int64_t tile);

// Field 103: of each tile its bytes in the file; the top bit and the colour of one without data.
void krv_give_tile_directory(const CFILE* c, void* words);

int krv_get_tile(CFILE* c, int channels, read_planes buffers, uint32_t* color);
int krv_get_tile16(CFILE* c, int channels, read_planes buffers, uint32_t* color);
int krv_get_tile_rows(CFILE* c, int channels, read_planes planes, size_t pitch, uint32_t rows);

// Lines that come in order, from the first of a row of tiles on, are decoded out of the coding of its tiles to where
// they are wanted. In any other order they come by way of row_buffer.
int krv_get_tile_line(CFILE* c, int channels, read_planes buffers);
void krv_free_coded_row(krv_spec* spec);
int krv_get_rle_tile(CFILE* c, int channels, read_planes buffers, uint32_t* color);
int krv_put_tile(CFILE* c, int channels, write_planes buffers, uint32_t* color);
int64_t krv_put_tile_rows(CFILE* c, int channels, write_planes planes, size_t pitch, int64_t columns);
int krv_put_tile16(CFILE* c, int channels, write_planes buffers, uint32_t* color);
int krv_put_rle_tile(CFILE* c, int channels, write_planes buffers, uint32_t* color);

// ---- CCITT data: krvputli.cpp ---------------------------------------------------------------------------------------

// Whether the active target has lines of group 3 or group 4; those of a scannable file are refused.
bool krv_is_coded(const CFILE* c);

// The line slots and the strip slot for such a target.
int krv_get_coded_line(CFILE* c, int channels, read_planes buffers);
int krv_put_coded_line(CFILE* c, int channels, write_planes buffers);
int krv_get_coded_strip(CFILE* c, int channels, read_planes buffers);

// Writes lines that have come of an image without its last. False: the status is set.
bool krv_finish_coded(CFILE* c);

// Formats 3, 10 and 26 in one channel have 16-bit samples; for others the status is set.
bool krv_can_be_16_bits(CFILE* c, int channels, const char* source); // krvgetli.cpp

// ---- several images: krvmulti.cpp -----------------------------------------------------------------------------------

int krv_get_number_of_images(CFILE* c);
int krv_set_number_of_images(CFILE* c, int32_t count);
int krv_set_active_image(CFILE* c, int32_t image);

// ---- positions: krvpos.cpp ------------------------------------------------------------------------------------------

// An entry of `line_offsets` is where the file stands when the line comes next. In a scannable file that is behind the
// line's first header, which has been read ahead.
int krv_seek(CFILE* c, int32_t line);
void krv_rewind(CFILE* c);
int64_t krv_get_image_offset(CFILE* c);
int krv_randomize(CFILE* c);

// ---- lines: krvgetli.cpp, krvputli.cpp ------------------------------------------------------------------------------
//
// An ordinary file holds its lines one behind the other. A scannable file cuts each line into pieces, and before each
// piece stands a line header of four words: mark, words that follow, line number, pixel offset. The reader of such a
// file holds the header of the next piece in `line_header` of the module's record, already taken from the file.

// First word of every line header.
constexpr uint16_t KRV_LINE_MARK = 0x5900;

// Line number of the held header once the file has no further piece; `lines_ended` of the record tells it for certain.
constexpr uint16_t KRV_NO_MORE_LINES = 65535;

// Bytes of a line header in the file.
constexpr size_t KRV_LINE_HEADER_SIZE = 8;

// ---- slots ----------------------------------------------------------------------------------------------------------

// Getline and Putline: 1, 3 or 4 channels (any other number: RZL_UNSUP_KRVN), then the generic bodies. Putline refuses
// an image that is not the last of its file with RZL_NO_SUCH_IMAGE.
int krv_getline(CFILE* c, int channels, read_planes buffers);
int krv_putline(CFILE* c, int channels, write_planes buffers);

// Get_line and Put_line: decode the next line into, or code it from, planes. Get_line moves `line` on by one, also when
// it fails; Put_line leaves `line` alone. Pixels, 0 on failure.
int krv_get_line(CFILE* c, int channels, read_planes buffers);
int krv_put_line(CFILE* c, int channels, write_planes buffers);

// The same with native 16-bit samples in one channel. For data formats 3, 10 and 26; others: RZL_UNSUP_KRVN.
int krv_getline16(CFILE* c, int channels, read_planes buffers);
int krv_get_line16(CFILE* c, int channels, read_planes buffers);
int krv_putline16(CFILE* c, int channels, write_planes buffers);
int krv_put_line16(CFILE* c, int channels, write_planes buffers);

// Interleaved lines.
int krv_getinlv(CFILE* c, uint8_t* buffer);
int krv_putinlv(CFILE* c, const uint8_t* buffer);

// Lines in their stored coding. `rle_size` of the handle is the size of the buffer on entry and the size used, or
// needed, on return. Bytes, 0 on failure.
int krv_getrleline(CFILE* c, int channels, read_planes buffers);
int krv_getrlestrip(CFILE* c, int channels, read_planes buffers);
int krv_putrleline(CFILE* c, int channels, write_planes buffers);

// ---- for positioning ------------------------------------------------------------------------------------------------

// Moves forward to `target`, a line at or behind the current one, without delivering anything: afterwards `line` is
// `target`. Offsets of the lines passed go into `line_offsets` when that exists. 1 on success, 0 with the status set.
int krv_skip_line(CFILE* c, int32_t target);

// Takes the line header at the file position into `line_header`. `first`: it is the first of the image, and decides
// whether the file counts its lines from 0. With no whole header left the held line number becomes
// KRV_NO_MORE_LINES and the result is false; that is no failure of the caller's operation.
bool krv_read_line_header(CFILE* c, bool first);

// Where the data of what is being read end: of the tile, or of the active target. *aligned: see krv_target_end().
int64_t krv_data_end(CFILE* c, bool* aligned); // krvpos.cpp

// Bytes of one stored line where all lines of the format have one size in an ordinary file (1 to 8, 28 with its pad
// byte, 69); 0 where they have not.
int64_t krv_fixed_line_size(const CFILE* c);

// The module's code buffer, KRV_CODE_BUFFER_SIZE bytes, made at first use. Null without memory, with the status set.
uint8_t* krv_code_buffer(CFILE* c);
