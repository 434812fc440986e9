// Patterns in memory: a raster file that surfaces carry is decoded once, however many passes need it.
//
// A pattern is known by the path under which it is found, and by the size and time of the file there: one that has
// changed is loaded anew. What nobody uses at the moment stays, the oldest uses going first, while all of them together
// take no more than PATTERN_CACHE_LIMIT bytes, or are the one that was used last.
#pragma once

#include <cstddef>

#include "surface/raster_image.h"

constexpr size_t PATTERN_CACHE_LIMIT = size_t{64} << 20;

// The pattern of that file name, whole but for what lies beyond LOAD_IMAGE_LIMIT, or null after a message of
// load_image(). To be given back.
const raster_image* pattern_take(const char* file);
void pattern_give_back(const raster_image* pattern); // null does nothing

// The same, only to be looked at now, if it is in memory; null otherwise, without a message: what a surface carries may
// have gone for others that were used since.
const raster_image* pattern_look_up(const char* file);

// Bytes of planes that are held now.
size_t pattern_cache_bytes();

// Releases all that isn't in use. For the end of a program.
void pattern_cache_clear();
