// Reducing a colour source to one plane of indices and a colour table, for a target that holds no more.
#pragma once

#include "output/impack.h"
#include "source.h"

constexpr int32_t REDUCED_COLORS = 256;

// Reads all lines of a source of three channels, in the order of the file, and picks a table for them with error
// diffusion. EXIT_DONE with the pack, which imp_free() releases, or EXIT_FAILED after a message.
int reduce_source(const raster_source* source, const char* path, Impack** reduced);
