// CALS files: the module's private record and what its files offer to each other.
//
// The file: a header of 16 records of 128 characters, each a key, a colon and a value, and one bilevel image. In a file
// of type 1 all that follows is one group 4 code. In a file of type 2 an interchange of binary elements follows, which
// describes the image and holds it, tiled or not; it may also begin the file, without the header of text.
//
// An element is a byte that tells its kind, its length, and so many bytes. A length below 128 is one byte; otherwise
// the byte is 128 and the count of the bytes that follow with the length, the highest first. A count of 0 is the
// indefinite form: elements follow, up to one of kind and length 0. The interchange is, in this order:
//
//     A0        the document's profile
//     A7        optional: classes
//     A2        the layout's root: object kind 0, and the names of its pages
//     A2        a page: object kind 2, its name, its size in units of a 1200th of an inch when it is not the usual one
//     A2        a frame: object kind 3
//     A2        a block: object kind 4: names for people, and how the pixels are meant
//     A3        the content: its attributes in a set, and then the code, or the bits, in one string, or in one for each
//               tile that has any
//
// Tiles are 512 by 512 pixels and stored whole. A table tells the kind of each.
#pragma once

#include "raster/CORE/module.h"

constexpr size_t CALS_RECORD = 128; // bytes
constexpr size_t CALS_RECORDS = 16;
constexpr size_t CALS_HEADER = CALS_RECORD * CALS_RECORDS;
constexpr int32_t CALS_TILE = 512;
constexpr size_t CALS_TILE_ROW = CALS_TILE / 8; // bytes
constexpr size_t CALS_TILE_BYTES = CALS_TILE_ROW * CALS_TILE;
constexpr int32_t CALS_MOST_PIXELS = 0x7FFFFF00; // of a line, which the codec can take
constexpr int32_t CALS_USUAL_DENSITY = 300;      // dots an inch, where none is told

// Units of a page, and the size of one whose size is not told.
constexpr int32_t CALS_UNITS_AN_INCH = 1200;
constexpr int32_t CALS_PAGE_WIDTH = 9240;
constexpr int32_t CALS_PAGE_HEIGHT = 13200;

// Kinds of tiles. Those that are not named are code like CALS_TILE_CODED.
constexpr uint8_t CALS_TILE_WHITE = 0;  // nothing is stored
constexpr uint8_t CALS_TILE_BLACK = 1;  // nothing is stored
constexpr uint8_t CALS_TILE_NATIVE = 2; // code with its first bit in bit 0
constexpr uint8_t CALS_TILE_PLAIN = 5;
constexpr uint8_t CALS_TILE_CODED = 6;

// The texts of the header.
enum cals_text : uint8_t {
    CALS_SOURCE_ID,
    CALS_DESTINATION_ID,
    CALS_CLASS,
    CALS_NOTES,
    CALS_TEXT_FILE_ID,
    CALS_FIGURE_ID,
    CALS_SOURCE_GRAPHICS,
    CALS_VERSION,
    CALS_DATA_FILE_ID,
    CALS_MODULE_ID,
    CALS_ITEM_ID,
    CALS_FORMAT_ID,
    CALS_TEXTS
};

// The module's record, in CFILE's `spec`.
struct cals_spec {
    double aspect;
    int32_t orientation;        // field 9: path of the pixels and of the lines, by the table of rotations; -1: not told
    int32_t density;            // dots an inch, 0: not told
    int32_t type;               // 1 or 2; 0: not told
    int32_t clip[2], offset[2]; // fields 27 and 28
    int32_t tile_size;          // 0 or CALS_TILE
    int32_t level;              // tenths: 32 or 33
    char variant;               // 'A', 'B', or ' ' without a header of text
    char texts[CALS_TEXTS][CALS_RECORD];
    char reference[CALS_RECORD], user_name[CALS_RECORD], comment[CALS_RECORD];

    int64_t data_offset; // of code or bits; of the first tile
    int64_t file_size;   // between the two, which are handed on for each line: side by side they go through memory
    int64_t data_end;    // of code or bits: past what the element says, or INT64_MAX
    bool height_of_page; // no more lines than the page has; how many there are the content tells
    bool closed;         // all that a new file holds has been written

    uint8_t* kinds; // owned: of the tiles, as many as `kind_count`; null: all are `usual_kind`
    int64_t kind_count;
    uint8_t usual_kind;
    int64_t* places;           // owned: of the tiles' elements
    int64_t places_room;       // tiles that the file can hold
    int64_t places_known;      // entries that are filled; tile 0 is at data_offset
    struct cit_writer* writer; // owned: of the lines of a new file
    int32_t lines_put, tiles_put;
    uint8_t* row; // owned: a line of bits
};

inline cals_spec* cals_spec_of(const CFILE* c) {
    return static_cast<cals_spec*>(c->spec);
}
inline bool cals_is_coded(const CFILE* c) {
    return c->format == RZL_FORMAT_GROUP4;
}
inline size_t cals_row_bytes(const CFILE* c) {
    return (static_cast<size_t>(c->xsize) + 15) / 16 * 2;
}

// Direction of the pixels of a line, and of the lines from there, in degrees counted against the clock.
struct cals_rotation {
    int32_t path, turn;
};
constexpr cals_rotation CALS_ROTATIONS[8] = {{270, 90}, {270, 270}, {90, 270}, {90, 90},
                                             {0, 270},  {180, 90},  {0, 90},   {180, 270}};
// The place of a pair in the table, -1 when there is none.
int32_t cals_orientation_of(int64_t path, int64_t turn);

// ---- calsopen.cpp: the header of text ------------------------------------------------------------------------------

// Clears all texts to what an absent one is in the variant.
void cals_clear_texts(cals_spec* spec);

// Characters of a record that its value can have; 0 when the variant has no such record.
size_t cals_text_room(const cals_spec* spec, cals_text text);

// ---- calsoda.cpp: reading the interchange --------------------------------------------------------------------------

// Reads the interchange at the file's position up to its content, into the record and the handle. 0, or 1 with the
// status: RZL_NOT_STANDARD_2 for anything that is not as it should be.
int cals_read_oda(CFILE* c);

// Reads the head of a string of content at the file's position, past the heads of sequences around it; the file then
// stands at its first byte. -1 when there is none; at most the bytes that the file has.
int64_t cals_content_length(CFILE* c);

// ---- calsodaw.cpp: writing it --------------------------------------------------------------------------------------

// Writes the interchange up to the content's attributes. False with the status.
bool cals_write_oda(CFILE* c);

// Writes the head of a string of so many bytes. False with the status.
bool cals_write_content_head(CFILE* c, uint64_t bytes);

// ---- calsinfo.cpp --------------------------------------------------------------------------------------------------

int cals_get_hdr_data(CFILE* c, int32_t field, void* value);
int cals_set_hdr_data(CFILE* c, int32_t field, const void* value);

// ---- calgetli.cpp --------------------------------------------------------------------------------------------------

int cals_get_line(CFILE* c, int channels, read_planes buffers);
int cals_get_rle_line(CFILE* c, int channels, read_planes buffers);
int cals_get_tile(CFILE* c, int channels, read_planes buffers, uint32_t* size_word);
int cals_get_rle_tile(CFILE* c, int channels, read_planes buffers, uint32_t* size_word);

// Counts the lines that the content holds, where nothing tells, and makes them the image's. 0, or 1 with the status.
int cals_count_lines(CFILE* c);

// ---- calputli.cpp --------------------------------------------------------------------------------------------------

int cals_write_header(CFILE* c);
int cals_put_line(CFILE* c, int channels, write_planes buffers);
int cals_put_rle_line(CFILE* c, int channels, write_planes buffers);
int cals_put_tile(CFILE* c, int channels, write_planes buffers, uint32_t* size_word);
void cals_close(CFILE* c);
