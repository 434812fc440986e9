// A raster file in memory, as three byte planes, and its loader: the application's one reader of raster files. The open
// picture and every pattern come through here.
#pragma once

#include <cstddef>
#include <cstdint>

struct raster_image {
    char* name;            // owned: the path from which it was loaded
    int32_t width, height; // of the stored picture, pixels and rows
    uint8_t* red;          // owned planes: row y, from the top, starts at y x width
    uint8_t* green;
    uint8_t* blue;
};

// Some pixels of a picture: of columns x1 to x2 - 1 and rows y1 to y2 - 1 every `step`-th, beginning with the first.
struct pixel_grid {
    int32_t x1, y1, x2, y2, step;
};

constexpr int32_t LOAD_IMAGE_LIMIT = 8192; // the limit on width and height of a whole picture

// Writes the path under which load_image() opens `path`: along the pattern search path, then its last component in the
// current directory, then that among the product's images. False, with the path as it is, when none of them exists.
bool find_raster_file(const char* path, char* found, size_t size);

// Loads the file, or its top left corner of at most max_width x max_height pixels; a file stored bottom-up comes whole.
// The path is looked for as find_raster_file() tells. Null after a message on failure: no memory, a file that can't be
// opened, or a line that can't be read.
raster_image* load_image(const char* path, int32_t max_width, int32_t max_height);

// The same for a path that find_raster_file() has given for `path`, which is the name in messages.
raster_image* load_found_image(const char* path, const char* found, int32_t max_width, int32_t max_height);

// Releases an image; null does nothing.
void raster_image_free(raster_image* image);
