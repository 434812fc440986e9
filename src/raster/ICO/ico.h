// ICO files (icons): the module's private record and what its files offer to each other.
//
// The file: six bytes with the count of images, a directory entry for each, and the images, each at the place that its
// entry tells: an information header of 40 bytes, whose height counts two maps, the colours as blue, green, red and a
// zero, the pixels, and the mask of one bit a pixel, set where the icon is seen through; rows from the bottom up. This
// library's rows have no bytes to fill them; those of most other programs fill 32 bits, which the size that the
// entry tells makes known.
//
// All images are held in memory. A new file is written at its close.
#pragma once

#include "raster/CORE/module.h"

constexpr size_t ICO_HEAD_SIZE = 6;
constexpr size_t ICO_ENTRY_SIZE = 16;
constexpr uint32_t ICO_INFO_SIZE = 40;
constexpr int32_t ICO_MOST_SIDE = 64;
constexpr size_t ICO_MOST_COLORS = 16;
constexpr int32_t ICO_MOST_IMAGES = 65535;

// Bytes of the largest mask, field 630.
constexpr size_t ICO_MASK_BYTES = 512;

// One image. Its rows have no filling bytes in memory.
struct ico_image {
    int32_t width, height;
    int32_t bits;                        // 1, 3 or 4; 0: an image that can't be read, or has not been made yet
    uint8_t colors[ICO_MOST_COLORS * 4]; // as the file has them
    uint8_t* pixels;                     // owned: rows from the bottom, and behind them those of the mask
    int64_t place;                       // of the pixels in an existing file
    bool padded;                         // rows there fill 32 bits
};

// The module's record, in CFILE's `spec`.
struct ico_spec {
    int32_t count;
    ico_image* images; // owned
    int32_t announced; // field 6 of a new image: entries of the application's table; -1: not told
    bool written;      // an image has been given its header: there is a file to be written
};

inline ico_spec* ico_spec_of(const CFILE* c) {
    return static_cast<ico_spec*>(c->spec);
}
inline ico_image* ico_active(const CFILE* c) {
    return &ico_spec_of(c)->images[c->active_image];
}

// Bytes of a row of so many bits in memory, and in a file that fills 32 bits.
inline size_t ico_row_bytes(int32_t width, int32_t bits) {
    return static_cast<size_t>(width * bits + 7) / 8;
}
inline size_t ico_padded_bytes(int32_t width, int32_t bits) {
    return static_cast<size_t>(width * bits + 31) / 32 * 4;
}
inline size_t ico_colors(int32_t bits) {
    return size_t{1} << bits;
}
inline uint8_t* ico_mask(const ico_image* image) {
    return image->pixels + ico_row_bytes(image->width, image->bits) * static_cast<size_t>(image->height);
}
inline size_t ico_pixel_bytes(const ico_image* image) {
    return ico_row_bytes(image->width, image->bits) * static_cast<size_t>(image->height);
}
inline size_t ico_mask_bytes(const ico_image* image) {
    return ico_row_bytes(image->width, 1) * static_cast<size_t>(image->height);
}

// ---- icoopen.cpp ---------------------------------------------------------------------------------------------------

// The active image's colours as the handle's `color_table`. False without memory, with the status set.
bool ico_keep_colors(CFILE* c);

// ---- icoread.cpp ---------------------------------------------------------------------------------------------------

// Whether the first entry is that of an icon of few colours, or has an image where it tells.
bool ico_probe(const file_probe* p);

// Reads all images into the record. 0, or 1 with the status set.
int ico_read_images(CFILE* c);

int ico_get_line(CFILE* c, int channels, read_planes buffers);

// ---- icowrite.cpp --------------------------------------------------------------------------------------------------

// Gives the active image its size, depth and colours: the application's, or else black and white, or grey. 0 on
// success.
int ico_write_header(CFILE* c);

// A line of one plane: bits, or values of which the low four bits count. The width, 0 on failure.
int ico_put_line(CFILE* c, int channels, write_planes buffers);

// Takes (xsize x ysize + 7) / 8 bytes as the mask. 0 on success.
int ico_set_mask(CFILE* c, const uint8_t* bits);

// Writes a new file.
void ico_close(CFILE* c);
