// BMP files: the module's private record and what its files offer to each other.
//
// The file: 14 bytes of file header, an information header that begins with its own size, the colour table (blue,
// green, red, and behind all headers but the oldest a zero), and the lines, from the bottom up unless the height is
// negative. Lines fill whole 32-bit words. Run-coded ones are codes of two bytes: a count and a value (of 4-bit pixels
// two, which take turns), or 0 and 0 for the end of the line, 1 for the end of the image, 2 for a step to the right and
// down, or the count of pixels that follow as they are, filled up to 16 bits.
//
// The lines of a new file may come from the top. Raw ones go to their places in the file, many at a time; coded ones
// are gathered in memory and written at its close.
#pragma once

#include "raster/CORE/module.h"

constexpr size_t BMP_FILE_HEADER_SIZE = 14;
constexpr uint32_t BMP_CORE_HEADER_SIZE = 12; // sizes of 16 bits, and 3 bytes a colour
constexpr uint32_t BMP_INFO_HEADER_SIZE = 40;
constexpr uint32_t BMP_LEAST_LATER_SIZE = 52; // with masks behind the 40 bytes
constexpr uint32_t BMP_MOST_HEADER_SIZE = 124;
constexpr size_t BMP_COLORS = 256;
constexpr color_layout BMP_COLOR_LAYOUT = {.step = 4, .blue_first = true}; // of all headers but the oldest

// Compression in the header, field 501.
constexpr uint32_t BMP_RAW = 0;
constexpr uint32_t BMP_RLE8 = 1;
constexpr uint32_t BMP_RLE4 = 2;
constexpr uint32_t BMP_BIT_FIELDS = 3;
constexpr uint32_t BMP_ALPHA_BIT_FIELDS = 6;

// Codes behind a zero byte.
constexpr int BMP_END_OF_LINE = 0;
constexpr int BMP_END_OF_IMAGE = 1;
constexpr int BMP_DELTA = 2;
constexpr int BMP_LEAST_LITERAL = 3;
constexpr size_t BMP_RUN_MOST = 255;

// Where the bits of a colour stand in a pixel, and the byte that they stand for.
struct bmp_bit_field {
    uint32_t mask; // at most 8 bits
    int shift;
    uint8_t bytes[256];
};

// Raw lines on their way into a new file, by their rows: their numbers in the file.
struct bmp_block {
    uint8_t* rows;    // owned: room for `count` rows that go out together
    uint8_t* came;    // owned: for each row of the file, 1 when its line has come
    int64_t count;    // of the rows that there is room for
    int64_t at;       // the row that the room begins with; may lie before the file's first
    int64_t from, to; // the rows in it, up to the one before `to`; the same: none
};

// The module's record, in CFILE's `spec`.
struct bmp_spec {
    uint32_t header_size;
    bool extended; // the file was opened with rzl_set_extended()
    int32_t bit_count;
    uint32_t compression;
    int64_t data_offset;
    int32_t colour_count;
    int32_t announced;            // field 6 of a new file: entries of the application's table; -1: not told
    int32_t orientation;          // field 9
    int32_t across, down;         // pixels a metre, 0: not told
    double aspect_ratio;          // field 26 of a new file, 0: not told
    size_t row_bytes;             // of a raw line
    int32_t file_line;            // raw lines: the line that the file stands at, -1 when it is not known
    uint8_t* row;                 // owned: a line as the file has it, and behind it room for its values
    bmp_bit_field* fields;        // owned: red, green, blue of pixels with bit fields
    bool ended;                   // run-coded: the image's end has come, all that follows is 0
    int32_t lines_below, start_x; // a step of the run code: lines from here to where it goes on, and the column there
    bmp_block block;              // of a new file with raw lines
    uint8_t* codes;               // owned, of a new file with coded lines: these as they came
    size_t room, fill;            // of the codes
    size_t* places;               // owned: of the lines in the codes; one more for the end
    int32_t lines_put;            // coded lines that have come
};

inline bmp_spec* bmp_spec_of(const CFILE* c) {
    return static_cast<bmp_spec*>(c->spec);
}
inline bool bmp_is_coded(const bmp_spec* spec) {
    return spec->compression == BMP_RLE8 || spec->compression == BMP_RLE4;
}

// Whether a new file has its header, and waits for its close.
inline bool bmp_is_begun(const bmp_spec* spec) {
    return spec->codes != nullptr || spec->block.rows != nullptr;
}
// Whether the lines come in an order that a file can tell.
inline bool bmp_is_ordered(const bmp_spec* spec) {
    return spec->orientation == RZL_TOP_DOWN || spec->orientation == RZL_BOTTOM_UP;
}
// The row of a new file that the line at hand is.
inline int64_t bmp_file_row(const CFILE* c) {
    return bmp_spec_of(c)->orientation == RZL_TOP_DOWN ? int64_t{c->ysize} - 1 - c->line : c->line;
}

// Bytes of a raw line of so many pixels. A product that no file holds is still right: 64 bits hold it.
inline uint64_t bmp_row_bytes(int32_t width, int32_t bit_count) {
    return (static_cast<uint64_t>(width) * static_cast<uint64_t>(bit_count) + 31) / 32 * 4;
}

// ---- bmphead.cpp: headers of existing files ------------------------------------------------------------------------

int bmp_open(CFILE* c, const char* name);

// ---- bmpinfo.cpp: header fields ------------------------------------------------------------------------------------

int bmp_get_hdr_data(CFILE* c, int32_t field, void* value);
int bmp_set_hdr_data(CFILE* c, int32_t field, const void* value);
int bmp_get_format(CFILE* c);

// Bit count and compression that data format and bits of a new file make. 0, or 1 with RZL_UNSUP_BMP.
int bmp_settle_format(CFILE* c);

// ---- bmpgetli.cpp --------------------------------------------------------------------------------------------------

int bmp_get_line(CFILE* c, int channels, read_planes buffers);

// ---- bmpputli.cpp --------------------------------------------------------------------------------------------------

// Writes the headers and the colour table: the first `announced` entries of the application's, or grey; of a bilevel
// file black and white. 0 on success.
int bmp_write_header(CFILE* c);

// A line of one channel, or of three in a file of 24 bits. Raw lines may come in any order, run-coded ones in theirs. A
// file that was opened takes raw lines in place. The width, 0 on failure.
int bmp_put_line(CFILE* c, int channels, write_planes buffers);

// The raw line at hand of a new file that is also read, as the file has it: zeros when it has not come. Null when it
// can't be read.
const uint8_t* bmp_read_back(CFILE* c);

// Frees what holds lines.
void bmp_drop_lines(bmp_spec* spec);

// Finishes a new file. Its lines must have been put from the top or from the bottom, field 9 being RZL_TOP_DOWN or
// RZL_BOTTOM_UP; otherwise nothing of them is written, and the status is RZL_UNSUP_BMP.
void bmp_close(CFILE* c);
