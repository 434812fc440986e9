// TIFF: the module's records, and what its files offer to each other.
//
// A file is a chain of directories (IFDs), each a list of 12-byte entries (tag, type, count, value or offset of the
// value) that describes one image. An image is stored in strips of whole lines or in tiles; a file keeps the place and
// the size of each in two arrays. Every offset in the file counts from the handle's base offset.
//
// Words kept apart: a segment is a strip or a tile, counted within one plane; an entry of the strip arrays is a segment
// of one plane (the planes of an image with planar configuration 2 follow each other in the arrays); a row is the
// packed bytes of a line as the file has them, before coding and with the predictor undone; a line is what the caller
// gets. All samples of chunky data stand in one plane. A sparse segment is one that the file does not have because all
// of it is 0.
//
// What happens when. Opening walks the chain and keeps the values of every directory, but none of the arrays. Making an
// image active (tif_activate) judges it and loads its arrays. Reading decodes a segment once and hands out its rows
// (tifstrip). Writing gathers the rows of a segment and stores it behind everything else in the file (tifsave); the
// directory of a new file stands in front of its data, all later ones behind theirs (tifwrthd). Nothing that is in use
// is overwritten except by values of the same size, and a pointer to something new is written last, so that an update
// that fails leaves the file as it was.
#pragma once

#include "raster/CORE/module.h"
#include "support/bytes.h"

enum class cit_coding : uint8_t;
struct cit_reader;
struct cit_writer;
struct tif_lzw_table;

constexpr uint16_t TIF_LITTLE = 0x4949; // byte order words
constexpr uint16_t TIF_BIG = 0x4D4D;
constexpr uint16_t TIF_VERSION = 42;
constexpr size_t TIF_ENTRY_SIZE = 12;
constexpr uint32_t TIF_FIRST_OFFSET = 8; // behind the file header; a smaller offset is no place of anything
constexpr uint32_t TIF_NOT_GIVEN = 0xFFFFFFFF;
constexpr int TIF_MAX_SAMPLES = 4;
constexpr int TIF_MAX_BITS = 32;
constexpr size_t TIF_MAP_ENTRIES = 256;

// Tags.
enum tif_tags : uint16_t {
    TIF_TAG_SUBFILE = 254,
    TIF_TAG_WIDTH = 256,
    TIF_TAG_LENGTH = 257,
    TIF_TAG_BITS = 258,
    TIF_TAG_COMPRESSION = 259,
    TIF_TAG_PHOTOMETRIC = 262,
    TIF_TAG_FILL_ORDER = 266,
    TIF_TAG_STRIP_OFFSETS = 273,
    TIF_TAG_ORIENTATION = 274,
    TIF_TAG_SAMPLES = 277,
    TIF_TAG_ROWS = 278,
    TIF_TAG_STRIP_COUNTS = 279,
    TIF_TAG_MIN = 280,
    TIF_TAG_MAX = 281,
    TIF_TAG_X_RESOLUTION = 282,
    TIF_TAG_Y_RESOLUTION = 283,
    TIF_TAG_PLANAR = 284,
    TIF_TAG_GRAY_CURVE = 291,
    TIF_TAG_FAX_OPTIONS = 292,
    TIF_TAG_UNIT = 296,
    TIF_TAG_COLOUR_CURVE = 301,
    TIF_TAG_PREDICTOR = 317,
    TIF_TAG_COLOUR_MAP = 320,
    TIF_TAG_TILE_WIDTH = 322,
    TIF_TAG_TILE_LENGTH = 323,
    TIF_TAG_TILE_OFFSETS = 324,
    TIF_TAG_TILE_COUNTS = 325,
    TIF_TAG_SMIN = 340,
    TIF_TAG_SMAX = 341,
    TIF_TAG_PACKETS = 33918,
    TIF_TAG_REGISTERS = 33919,
};

// Types of values, and their size in bytes (0: no type that is known here).
enum tif_types : uint16_t { TIF_BYTE = 1, TIF_ASCII = 2, TIF_SHORT = 3, TIF_LONG = 4, TIF_RATIONAL = 5 };
constexpr uint32_t tif_type_size(uint16_t type) {
    constexpr uint32_t SIZES[] = {0, 1, 1, 2, 4, 8};
    return type < 6 ? SIZES[type] : 0;
}
// Bytes of so many values; of a type that is not known here a byte each.
constexpr uint64_t tif_value_bytes(uint16_t type, uint32_t count) {
    return uint64_t{count} * (tif_type_size(type) != 0 ? tif_type_size(type) : 1);
}

// Values of tag 259.
enum tif_codings : uint16_t {
    TIF_PLAIN = 1,
    TIF_FAX_1D = 2, // lines on byte boundaries
    TIF_FAX_G3 = 3,
    TIF_FAX_G4 = 4,
    TIF_LZW = 5,
    TIF_DEFLATE = 8,
    TIF_PACKBITS = 32773,
    TIF_OLD_DEFLATE = 32946, // the same by its first number
};
constexpr bool tif_is_fax(uint16_t compression) {
    return compression == TIF_FAX_1D || compression == TIF_FAX_G3 || compression == TIF_FAX_G4;
}

constexpr bool tif_is_deflate(uint16_t compression) {
    return compression == TIF_DEFLATE || compression == TIF_OLD_DEFLATE;
}
// Codings of a whole segment, which a predictor can stand in front of.
constexpr bool tif_is_whole(uint16_t compression) {
    return compression == TIF_LZW || tif_is_deflate(compression);
}

// How a coding can expand: bytes of rows that a byte of it stands for at most.
constexpr uint64_t tif_expansion(uint16_t compression) {
    if (tif_is_fax(compression)) return 65536;
    if (compression == TIF_LZW) return 1400;
    if (tif_is_deflate(compression)) return 1032;
    return compression == TIF_PACKBITS ? 64 : 1;
}

// Bytes of the rows of a segment that is not stored and reads as 0: more is no blank part of a picture, but a claim.
constexpr uint64_t TIF_MOST_SPARSE = 1 << 24;

// Tag 274 of each of the library's orientation codes.
constexpr uint16_t TIF_ORIENTATIONS[] = {5, 6, 8, 7, 1, 2, 4, 3};

// Values of tag 262.
enum tif_photometrics : uint16_t { TIF_WHITE_ZERO = 0, TIF_BLACK_ZERO = 1, TIF_RGB = 2, TIF_PALETTE = 3, TIF_CMYK = 5 };

// Bits of an image's `flags`.
enum tif_flags : uint32_t {
    TIF_COPIED = 0x0001,         // made like another record
    TIF_HAS_MAP = 0x0008,        // there is a colour map
    TIF_TILED = 0x0010,          // stored in tiles, not in strips
    TIF_HAS_TRANSFORM = 0x0020,  // `transform` holds something to be written
    TIF_IFD_DUE = 0x0100,        // the directory has still to be written
    TIF_IN_FILE = 0x0200,        // a directory is in the file
    TIF_OUT_OF_DATE = 0x0800,    // and has to be built again
    TIF_ARRAYS_CHANGED = 0x4000, // the strip arrays changed since they were last written
    TIF_PACKETS_NEW = 0x8000,    // packets or transform were given since the directory was read or written
};

// A tag of the application: values in the order of bytes of this machine.
struct tif_user_tag {
    uint16_t tag, type;
    uint32_t count;
    uint8_t* data; // owned
};

// One image: a record per directory.
struct tif_image {
    uint32_t ifd_offset;   // of the directory, from the base offset; 0 while it is not in the file
    uint32_t next_ifd_pos; // of its pointer to the next one
    uint32_t next_ifd;     // what stands there
    uint32_t image_width, image_length;
    uint32_t subfile_type; // bit 0: reduced, bit 2: a mask of another image
    uint32_t min_sample[TIF_MAX_SAMPLES], max_sample[TIF_MAX_SAMPLES];
    uint16_t samples_per_pixel, bits_per_sample[TIF_MAX_SAMPLES];
    uint16_t compression, predictor, photometric, planar_config, resolution_unit, orientation;
    uint16_t fill_order;     // tag 266; of CCITT data: 2, bit 0 of a byte comes first. Otherwise it is kept, no more
    uint32_t fax_options;    // tag 292; bit 0: two-dimensional group 3
    uint32_t rows_per_strip; // TIF_NOT_GIVEN or 0: to be chosen
    uint32_t given_strips;   // entries that the directory tells of; used where rows_per_strip is missing
    uint32_t tile_width, tile_length, tiles_across, tiles_down; // 0 when untiled
    uint32_t x_resolution[2], y_resolution[2];                  // numerator, denominator
    uint32_t packet_words, packet_offset;                       // tag 33918, in 16-bit words, and its place in the file
    const void* packet_data;                                    // borrowed: packets that the application gave
    uint32_t flags;                                             // tif_flags
    uint32_t strip_count;        // entries of the two arrays; those of a damaged file can be fewer than its segments
    uint32_t* strip_offsets;     // owned; null until the image is active
    uint32_t* strip_byte_counts; // owned
    uint32_t entry_count;        // entries of `entries`
    uint8_t* entries;            // owned: the entries as they stand in the file
    uint32_t user_tag_count;     //
    tif_user_tag* user_tags;     // owned
    double transform[16];        // 4 by 4, row by row
    double aspect;               // y over x resolution for a resolution that is set; 0: not given
    uint32_t flag_registers[16]; // tag 33919
    uint16_t* colour_map;        // owned: 3 planes of 2^bits entries; null without one
    int32_t colour_map_count;    // entries of a plane; -1: a map was asked for and has no entries yet
    tif_image *next, *previous;  // the chain
};

// Where the rows of a PackBits segment begin, as far as they are known.
struct packed_rows {
    uint64_t bytes;   // of the plane's code
    uint32_t* starts; // owned
    uint32_t known, room;
};

// The segment that reading has at hand.
struct tif_reading {
    int64_t segment;                      // -1: none
    uint32_t planes_decoded;              // a bit each
    uint8_t* coded;                       // owned: bytes of a segment as they stand in the file
    size_t coded_room;                    //
    uint8_t* decoded;                     // owned: a block a plane
    size_t decoded_room;                  // bytes of all blocks
    size_t plane_bytes;                   // of one block
    size_t plane_filled[TIF_MAX_SAMPLES]; // bytes of each block that are decoded
    packed_rows packed[TIF_MAX_SAMPLES];  // of PackBits data, a plane each
    uint8_t* row;                         // owned: room for a row
    size_t row_room;                      //
    cit_reader* fax;                      // owned: of the segment, for CCITT data; borrows `coded`
};

// The segment that writing gathers.
struct tif_gathering {
    int64_t segment;          // -1: none
    bool waiting;             // rows were put, and the file does not have all of it yet
    uint32_t next_row;        // behind the last row that was put
    uint8_t* rows;            // owned: a block a plane, rows in their places
    size_t rows_room;         //
    size_t plane_bytes;       // of one block
    uint8_t* row;             // owned: room for a row, and for a line on its way to it
    size_t row_room;          //
    uint8_t* coded;           // owned
    size_t coded_room;        //
    tif_lzw_table* lzw_table; // owned: the LZW encoder's table
    cit_writer* fax;          // owned: CCITT data is coded line by line
};

// The module's record, in CFILE's `spec`.
struct tif_spec {
    tif_image* first;   // owned, with the chain: the main image
    tif_image* image;   // the active one
    uint16_t order;     // byte order of the file
    uint32_t first_ifd; // the pointer in the file header
    bool extended;      // the file was opened with rzl_set_extended()
    bool begun;         // the file header is in the file
    int64_t end;        // of the file, from its start: where the next append goes
    bool at_end;        // the file stands there
    bool raw_row;       // samples in the buffered row of tiles are as stored
    bool row_stands;    // the file has tiles of the row that is gathered, and lines of it change in their places
    uint32_t row_begin; // the first line that was gathered of the buffered row of tiles; 0 unless row_stands
    uint32_t row_lines; // behind the last one
    bool told;          // damaged fax data was logged for this image
    tif_reading in;
    tif_gathering out;
};

inline tif_spec* tif_spec_of(const CFILE* c) {
    return static_cast<tif_spec*>(c->spec);
}
inline tif_image* tif_image_of(const CFILE* c) {
    return tif_spec_of(c)->image;
}

// ---- values in the file's byte order

inline bool tif_is_big(const CFILE* c) {
    return tif_spec_of(c)->order == TIF_BIG;
}

inline uint16_t tif_u16(const tif_spec* spec, const uint8_t* p) {
    return spec->order == TIF_BIG ? load_u16be(p) : load_u16le(p);
}
inline uint32_t tif_u32(const tif_spec* spec, const uint8_t* p) {
    return spec->order == TIF_BIG ? load_u32be(p) : load_u32le(p);
}

// `count` values of that type between a place in the file's order and the machine's: types of 2, 4 and 8 bytes.
void tif_copy_values(const tif_spec* spec, uint16_t type, uint8_t* to, const uint8_t* from, size_t count);

// ---- geometry of the active image, or of any record

struct tif_shape {
    uint32_t width; // pixels of a segment's line
    uint32_t rows;  // of a full segment
    int planes;     // 1 for chunky data
    int together;   // samples of a pixel in one plane
};
tif_shape tif_shape_of(const tif_image* image);
uint32_t tif_segments(const tif_image* image);                              // of one plane
uint32_t tif_entry_of(const tif_image* image, uint32_t segment, int plane); // in the strip arrays
uint32_t tif_rows_of(const tif_image* image, uint32_t segment);             // rows of that segment
uint64_t tif_row_bytes(const tif_image* image, int plane);                  // packed bytes of a row
// Whether a segment is one that its writer left out, because all of it is 0: it has neither place nor size.
bool tif_is_sparse(const tif_image* image, uint32_t segment, int plane);
void tif_count_tiles(tif_image* image); // across and down, from the sizes
inline bool tif_is_tiled(const tif_image* image) {
    return (image->flags & TIF_TILED) != 0;
}
// Neither an overview nor a mask; and an overview that is no mask.
inline bool tif_is_picture(const tif_image* image) {
    return (image->subfile_type & 5) == 0;
}
inline bool tif_is_overview(const tif_image* image) {
    return (image->subfile_type & 5) == 1;
}
inline uint16_t tif_bits(const tif_image* image) {
    return image->bits_per_sample[0];
}
inline bool tif_is_bilevel(const tif_image* image) {
    return image->samples_per_pixel == 1 && tif_bits(image) == 1;
}
// Whether an entry of the strip arrays has a place in the file.
inline bool tif_is_stored(const tif_image* image, uint32_t entry) {
    return entry < image->strip_count && image->strip_offsets[entry] >= TIF_FIRST_OFFSET;
}

// Functions that give bool or a pointer leave the reason of false or null in the handle's status.

// ---- tifopen: directories as they are read, records
tif_image* tif_new_image(); // defaults of a new file; null without memory, with no status
void tif_free_image(tif_image* image);
void tif_drop_segments(CFILE* c); // forgets what reading and writing have at hand; nothing is written
const uint8_t* tif_find_entry(const tif_spec* spec, const tif_image* image, uint16_t tag); // the last one, or null
// Up to `limit` unsigned values of an entry of type 3 or 4 (a type 1 is taken as well) into `out`. The number read, -1
// for a failure of the file, with no status; values that the entry does not have are not touched.
int64_t tif_read_numbers(CFILE* c, const uint8_t* entry, uint32_t* out, uint32_t limit);
bool tif_read_at(CFILE* c, int64_t offset, void* out, size_t bytes);       // from the base offset; sets no status
bool tif_load_arrays(CFILE* c, tif_image* image);                          // when they are not loaded yet
uint32_t tif_judge(CFILE* c, const tif_image* image, const char** detail); // the status; 0: it can be read

// ---- tifmulti: the active image, overviews, further images
bool tif_activate(CFILE* c, tif_image* image);         // all that the handle derives from it; line 0
bool tif_take_kind(CFILE* c, const tif_image* image);  // samples, bits, format and coding
bool tif_take_image(CFILE* c, const tif_image* image); // the handle's sizes, layout and tables
uint32_t tif_overview_count(const tif_spec* spec);
tif_image* tif_next_overview(tif_image* image); // behind that record; null: none
int tif_set_overview_count(CFILE* c, int32_t count);
int tif_set_active_overview(CFILE* c, int32_t overview);
int tif_get_number_of_images(CFILE* c);
int tif_set_number_of_images(CFILE* c, int32_t count);
int tif_set_active_image(CFILE* c, int32_t number);

// ---- tifinfo: fields, user tags, packets, the colour map
int tif_get_hdr_data(CFILE* c, int32_t field, void* value);
int tif_set_hdr_data(CFILE* c, int32_t field, const void* value);
int tif_get_stat(CFILE* c, rzl_stat* stat);
int tif_set_stat(CFILE* c, const rzl_stat* stat);
// Adds a tag with a copy of its values. False: no memory, or values that no file holds; no status.
bool tif_keep_user_tag(tif_image* image, uint16_t tag, uint16_t type, uint32_t count, const void* data);
int tif_get_packet(CFILE* c, void* buffer);
int tif_put_packet(CFILE* c, const void* buffer);
bool tif_find_transform(CFILE* c, tif_image* image); // looks through the packets; false: damaged, with no status
bool tif_make_packets(CFILE* c, tif_image* image, uint8_t** packets, uint32_t* count); // for tag 33918, owned
int tif_get_vlt(CFILE* c, rzl_vlt_entry* entries);
bool tif_take_vlt(CFILE* c, tif_image* image); // the application's table into the map
bool tif_need_map(tif_image* image);           // a neutral map when there is none; false: no memory, with no status
bool tif_make_color_table(CFILE* c, const tif_image* image); // false: no memory, with no status

// ---- tifwrthd: data formats, plans, directories as they are written
int tif_get_format(CFILE* c);
int tif_set_format(CFILE* c, int32_t format);
int tif_format_of(const tif_image* image);
void tif_compression_class(const tif_image* image, bool opened, uint32_t* kind, uint32_t* variant);
// Another height of the active image, whose lines may be stored in part: fewer lines always, more where the strip that
// they go on in can take them.
bool tif_change_height(CFILE* c, tif_image* image, uint32_t height);
bool tif_need_entry(CFILE* c, tif_image* image, uint32_t entry); // room for it in the arrays
int tif_write_header(CFILE* c);
int tif_finish_image(CFILE* c);    // brings the file up to date with the active image
bool tif_is_managed(uint16_t tag); // one that says how the image is stored
bool tif_update_flag_registers(CFILE* c, tif_image* image);
bool tif_write_at(CFILE* c, int64_t offset, const void* bytes, size_t count); // from the base offset
// At the end of the file, at an even place; a streamed strip that is not complete is ended before. tif_extend() goes on
// where the last of them ended.
bool tif_append(CFILE* c, const void* bytes, size_t count, uint32_t* offset);
bool tif_extend(CFILE* c, const void* bytes, size_t count);

// ---- tifinit: copies
bool tif_copy_settings(const tif_image* from, tif_image* to); // false: no memory, with no status
int tif_copydata(CFILE* from, CFILE* to);
int tif_init_std_hdr(CFILE* from, CFILE* to);
int tif_init_ov(CFILE* from, CFILE* to);

// ---- tifgetli: rows of segments as they are read, lines
int tif_getline(CFILE* c, int channels, read_planes buffers);
int tif_getline_from_tiles(CFILE* c, int channels, read_planes buffers);
int tif_get_line(CFILE* c, int channels, read_planes buffers);
int tif_get_interleaved_line(CFILE* c, uint8_t* buffer);
int tif_seek(CFILE* c, int32_t line);
void tif_rewind(CFILE* c);
int tif_randomize(CFILE* c);
bool tif_need_room(CFILE* c, uint8_t** block, size_t* room, uint64_t bytes);
// The rows of a segment's first plane as far as they are there, when they are decoded together; null otherwise, with
// the status set if that is a failure.
const uint8_t* tif_fetch_block(CFILE* c, uint32_t segment, size_t* bytes);
// Moves the first `rows` rows of a segment's first plane, as they are stored, to `to`, `pitch` bytes from row to row,
// if that can be done for all of them together. How many were; the others are to be fetched one by one.
uint32_t tif_move_rows(CFILE* c, uint32_t segment, uint32_t rows, uint8_t* to, size_t pitch);
// The row of a bilevel image as a line of words.
bool tif_fetch_bits(CFILE* c, uint32_t segment, uint32_t row, uint8_t* words);
// The row of CCITT data as runs; see cit_reader_runs(). A line that is damaged is logged once.
uint32_t tif_fetch_runs(CFILE* c, uint32_t segment, uint32_t row, uint16_t* runs, size_t room, size_t* count);
cit_coding tif_fax_coding(const tif_image* image);
// A row of one sample a pixel, as the caller gets it.
bool tif_band_line(CFILE* c, uint32_t segment, uint32_t row, uint8_t* line);
// Rows of colour as bytes into planes (null: not wanted), or into one interleaved line of `step` bytes a pixel.
bool tif_colour_planes(CFILE* c, uint32_t segment, uint32_t row, int channels, uint8_t* const* planes);
bool tif_colour_pixels(CFILE* c, uint32_t segment, uint32_t row, uint8_t* pixels, size_t step);
bool tif_colour_is_readable(CFILE* c);

// ---- tifrle: lines as runs
int tif_get_rle_line(CFILE* c, int channels, read_planes buffers);
int tif_put_rle_line(CFILE* c, int channels, write_planes buffers);

// ---- tifgetti: tiles as they are read
int tif_get_tile(CFILE* c, int channels, read_planes buffers, uint32_t* size_word);
int tif_get_tile_rows(CFILE* c, int channels, read_planes planes, size_t pitch, uint32_t rows);
int tif_get_rle_tile(CFILE* c, int channels, read_planes buffers, uint32_t* size_word);
// Whether a call's one buffer takes all samples of a pixel, and the bytes of a tile's line in a plane of such a call.
bool tif_is_together(const CFILE* c);
size_t tif_tile_pitch(const CFILE* c);

// ---- tifputli: lines, rows of segments as they are written
int tif_putline(CFILE* c, int channels, write_planes buffers);
int tif_put_line(CFILE* c, int channels, write_planes buffers);
int tif_put_interleaved_line(CFILE* c, const uint8_t* buffer);
bool tif_need_header(CFILE* c);        // writes it when it is not written
bool tif_samples_can_be_put(CFILE* c); // for lines and tiles
// A line in `planes` (bytes of a colour, or one line of a band), or interleaved with `step` bytes a pixel when that is
// not 0, as rows: one for each plane of the image, one behind the other.
void tif_make_rows(const CFILE* c, const tif_image* image, uint32_t width, int channels, write_planes planes,
                   size_t step, uint8_t* rows);
// Whether a caller's line, `step` bytes a pixel (0: a byte for one sample), is the row as a plain image's file has it.
bool tif_is_plain_row(const tif_image* image, size_t step);
// Codes and stores `row_count` rows of each plane of a segment; the planes stand `plane_bytes` apart, and are changed.
bool tif_save_segment(CFILE* c, uint32_t segment, uint8_t* rows, size_t plane_bytes, uint32_t row_count);
// A CCITT line: bits, or runs when `bits` is null.
bool tif_save_fax_line(CFILE* c, uint32_t segment, uint32_t row, const uint8_t* bits, const uint16_t* runs,
                       size_t count);
bool tif_store_coded(CFILE* c, uint32_t entry, const uint8_t* bytes, size_t count);
// `count` rows of each plane of a plain segment that is stored, from `row` on, in their places. The planes stand
// `plane_bytes` apart in `rows`.
bool tif_replace_rows(CFILE* c, uint32_t segment, uint32_t row, uint32_t count, const uint8_t* rows,
                      size_t plane_bytes);
// `count` plain tiles that stand behind each other in `bytes`, `tile_bytes` each.
bool tif_store_tiles(CFILE* c, uint32_t first, uint32_t count, const uint8_t* bytes, size_t tile_bytes);
bool tif_flush_segment(CFILE* c);                // stores what waits
void tif_cut_segment(CFILE* c, uint32_t height); // drops the gathered rows of a strip behind that height
bool tif_is_streaming(const CFILE* c);           // a strip is in the file in part, and its next row goes to the end

// ---- tifputti: tiles as they are written
int tif_put_tile(CFILE* c, int channels, write_planes buffers, uint32_t* colour);
int tif_putline_to_tiles(CFILE* c, int channels, write_planes buffers);
bool tif_flush_tile_row(CFILE* c); // stores the lines that were gathered of a row of tiles
// Stores gathered lines of plain tiles, so that who reads the file finds them; those that follow go to their places.
bool tif_settle_lines(CFILE* c);
// The same for an image that is to be less high: the gathered lines that it will still have. Called with the old
// height in the record.
bool tif_cut_tile_row(CFILE* c, uint32_t height);

// ---- coders
// How many bytes from `first` on are equal, up to `end`, which is behind it.
size_t tif_run_length(const uint8_t* first, const uint8_t* end);
// PackBits. The room of `target` for packing is length + length / 64 + 2. Unpacking fills `length` bytes or less when
// the source ends; *filled tells; a run that goes on behind them is cut. The `room` of the target, `length` or more, is
// what may be written on the way: of the bytes behind *filled any may change. The bytes written, and consumed.
size_t tif_packbits_pack(const uint8_t* source, uint8_t* target, size_t length);
size_t tif_packbits_unpack(const uint8_t* source, size_t size, uint8_t* target, size_t length, size_t room,
                           size_t* filled);

// LZW. Encoding needs room for tif_lzw_bound(length) bytes, and a table that is zeroed before its first use.
// Decoding writes `limit` bytes at most, less when the codes end, and may leave anything in the TIF_LZW_SLACK bytes
// behind them. The bytes written; *sound is false when an impossible code ended it.
constexpr size_t TIF_LZW_CODES = 4096;
struct tif_lzw_table {
    uint16_t longer[256][TIF_LZW_CODES]; // by byte: the code of each code's string with the byte behind it; 0: none
    uint32_t used[TIF_LZW_CODES];        // the entries in use, counted from the first; none between two calls
    uint16_t codes[TIF_LZW_CODES];       // that are to be put out
    uint16_t runs[TIF_LZW_CODES];        // codes of run_byte repeated, from two of it on
    uint32_t run_count;                  // of those that are known
    uint32_t run_byte;
};
constexpr size_t TIF_LZW_SLACK = 16;
constexpr size_t tif_lzw_bound(size_t length) {
    return length + length / 2 + length / 1024 + 16;
}
size_t tif_lzw_encode(const uint8_t* source, uint8_t* target, size_t length, tif_lzw_table* table);
size_t tif_lzw_decode(const uint8_t* source, size_t size, uint8_t* target, size_t limit, bool* sound);

// Deflate, through zlib. Decoding fills `limit` bytes at most, less when the code ends or is damaged; *filled tells.
// Encoding needs room for tif_zip_bound(length) bytes. False without memory, with no status.
bool tif_zip_decode(const uint8_t* source, size_t size, uint8_t* target, size_t limit, size_t* filled);
size_t tif_zip_bound(size_t length);
bool tif_zip_encode(const uint8_t* source, size_t length, uint8_t* target, size_t room, size_t* coded);

// ---- differences of samples
// Predictor 2: each sample as the difference to the one `step` samples before it.
void tif_make_differences(uint8_t* row, int bits, bool big, size_t count, size_t step);
void tif_undo_differences(uint8_t* row, int bits, bool big, size_t count, size_t step);
