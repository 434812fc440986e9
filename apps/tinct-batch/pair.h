// A rendered pair opened for looking at: its .tnc data and the size of its raster, without the picture's planes.
#pragma once

#include <cstdint>

#include "platform/files.h"
#include "tnc/tnc.h"

struct pair {
    tnc_image* image; // owned
    char raster[FILES_PATH_SIZE];
    int32_t width, height; // of the raster
};

// Finds the companion and its size, and judges both by name and the raster by its lines. False after a message.
bool pair_check(const char* tnc_path, pair* p);

// The same, and reads the .tnc file. False after a message. A .tnc file that ends early is opened as far as it goes,
// after a message.
bool pair_open(const char* tnc_path, pair* p);
void pair_close(pair* p);
