// NITF files of version 2.00: the module's private record and what its files offer to each other.
//
// The file: a header of texts of fixed widths, numbers among them as digits, and then for each image a subheader of
// such texts and its pixels. The header tells the length of each subheader and of each image. An image is one stream of
// bits, most significant first, line behind line without gaps; or it is cut into blocks, each of which is such a stream
// that begins with a byte. Blocks are stored whole, also where they reach over the image's edge.
//
// Only plain pixels are read and written. Files with others open, and answer their fields.
#pragma once

#include "raster/CORE/module.h"

constexpr int64_t NITF_MOST_SIDE = 99999999;    // of an image, in pixels: eight digits
constexpr int32_t NITF_MOST_BLOCKS = 9999;      // across or down, and pixels of a side: four digits
constexpr int64_t NITF_MOST_IMAGE = 9999999999; // bytes: ten digits; an image that ends the file may have more
constexpr int32_t NITF_MOST_IMAGES = 999;
constexpr size_t NITF_MOST_BANDS = 9;
constexpr size_t NITF_MOST_COMMENTS = 9;
constexpr int32_t NITF_TABLE = 256; // entries that pixels are looked up in

// Where an image stands in the file.
struct nitf_place {
    int64_t head, data, end; // of subheader and pixels; pixels reach up to `end`, at most
};

// How an image's pixels are packed.
struct nitf_layout {
    int32_t stored, actual; // bits of a sample
    int32_t bands;
    int32_t blocks_across, blocks_down;
    int32_t block_width, block_height; // pixels of a block, or of the one that an image without blocks is
    bool left;                         // a sample stands in the upper ones of its bits
    char mode;
};

// The module's record, in CFILE's `spec`.
struct nitf_spec {
    rzl_nitf_header header; // images owned, and their tables
    nitf_place* places;     // owned: as many as there are images
    nitf_layout layout;     // of the active image
    int64_t length_at;      // of a new file: where the message length stands
    int64_t header_length;
    int32_t images_begun; // of a new file: whose subheaders are written
    uint8_t* row;         // owned: a line as the file has it
    size_t row_bytes;
};

inline nitf_spec* nitf_spec_of(const CFILE* c) {
    return static_cast<nitf_spec*>(c->spec);
}
inline rzl_nitf_image* nitf_image_of(const CFILE* c) {
    return &nitf_spec_of(c)->header.images[c->active_image];
}
inline const nitf_place& nitf_place_of(const CFILE* c) {
    return nitf_spec_of(c)->places[c->active_image];
}

// Whether an image is cut into blocks.
inline bool nitf_is_tiled(const nitf_layout& layout) {
    return layout.blocks_across >= 2 || layout.blocks_down >= 2;
}

// Bytes of a band of a block, or of one of the image.
inline int64_t nitf_block_bytes(const nitf_layout& layout) {
    return (int64_t{layout.block_width} * layout.block_height * layout.stored + 7) / 8;
}

// ---- nitftext.cpp: the texts ---------------------------------------------------------------------------------------

// A text of a header: the words that a failure to read it is reported with, its width in the file, its place in the
// record, and what it is in a new file: null for blanks.
struct nitf_text {
    const char* word;
    uint16_t width;
    uint16_t at;
    const char* initial;
};

// Parts of a header, in the order of the file. What stands between them is there or not, or there several times.
struct nitf_texts {
    const nitf_text* first;
    const nitf_text* last;
    const nitf_text* begin() const { return first; }
    const nitf_text* end() const { return last; }
};
extern const nitf_texts NITF_HEADER_TEXTS; // up to "MessageSecurityDowngrade."
extern const nitf_texts NITF_MORE_TEXTS;   // from there to "NumberOfImages."
extern const nitf_texts NITF_IMAGE_TEXTS;  // up to "ImageSecurityDowngrade."
extern const nitf_texts NITF_PIXEL_TEXTS;  // from there to "ImageCoordinateSystem."
extern const nitf_texts NITF_BAND_TEXTS;   // a band
extern const nitf_texts NITF_BLOCK_TEXTS;  // from "ImageSyncCode." to "ImageMagnification."
extern const nitf_text NITF_EVENT_TEXT, NITF_IMAGE_EVENT_TEXT, NITF_LOCATION_TEXT, NITF_RATE_TEXT;
constexpr const char* NITF_HAS_EVENT = "999998"; // of a downgrade

// Further parts of a file, with a count and two lengths for each. What is read is their count.
struct nitf_part {
    const char* count_word;
    const char* head_word; // length of the subheader
    const char* data_word;
    uint16_t at; // of the count in the record
    uint16_t head_width, data_width;
};
constexpr size_t NITF_PARTS = 5;
extern const nitf_part NITF_PART_TABLE[NITF_PARTS];

// Makes the texts of a record what they are in a new file.
void nitf_set_initial(rzl_nitf_header* header);
void nitf_set_initial_image(rzl_nitf_image* image);

// The number in a text, 0 for none. False: there is none, or it is below 0.
bool nitf_number(const char* text, int64_t* number);
inline int32_t nitf_small(const char* text) {
    int64_t number = 0;
    (void)nitf_number(text, &number);
    return static_cast<int32_t>(number < INT32_MAX ? number : INT32_MAX);
}

// A number of so many digits into a text.
void nitf_put_number(char* text, size_t width, int64_t number);

// ---- nitfopen.cpp --------------------------------------------------------------------------------------------------

// Gives the record so many images, all as in a new file. False without memory, with the status.
bool nitf_make_images(CFILE* c, int32_t count);

// Takes size, layout, blocks and colours of the image of that number into the handle. 0, or 1 with the status and the
// handle as it was.
int nitf_activate(CFILE* c, int32_t number);

// ---- nitfinfo.cpp --------------------------------------------------------------------------------------------------

int nitf_get_format(CFILE* c);
int nitf_get_hdr_data(CFILE* c, int32_t field, void* value);
int nitf_set_hdr_data(CFILE* c, int32_t field, const void* value);
int nitf_set_number_of_images(CFILE* c, int32_t count);

// ---- nitgetli.cpp --------------------------------------------------------------------------------------------------

int nitf_get_line(CFILE* c, int channels, read_planes buffers);
int nitf_get_tile(CFILE* c, int channels, read_planes buffers, uint32_t* size_word);

// ---- nitputli.cpp --------------------------------------------------------------------------------------------------

int nitf_write_header(CFILE* c);
int nitf_put_line(CFILE* c, int channels, write_planes buffers);
int nitf_put_tile(CFILE* c, int channels, write_planes buffers, uint32_t* size_word);
int nitf_begin_image(CFILE* c, int32_t image); // Set Active Image of a new file
void nitf_close(CFILE* c);
