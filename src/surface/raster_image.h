// A raster file in memory, as three byte planes, and its loader: the application's one reader of raster files. The open
// picture and every pattern come through here.
#pragma once

#include <cstdint>

struct raster_image {
    char* name;            // owned: the path from which it was loaded
    int32_t width, height; // of the stored picture, pixels and rows
    uint8_t* red;          // owned planes: row y, from the top, starts at y x width
    uint8_t* green;
    uint8_t* blue;
};

constexpr int32_t LOAD_IMAGE_LIMIT = 8192; // the limit on width and height of a whole picture

// Loads the file, or its top left corner of at most max_width x max_height pixels; a file stored bottom-up comes whole.
// The path is looked for along the pattern search path, in the current directory and among the product's images. Null
// after a message on failure: no memory, a file that can't be opened, or a line that can't be read.
raster_image* load_image(const char* path, int32_t max_width, int32_t max_height);

// Releases an image; null does nothing.
void raster_image_free(raster_image* image);
