// The shape of a tiled file's tiles, as fields 100 and 104 set it.
#pragma once

#include <cstdint>

struct CFILE;

// A tile's size as it stands, to go back to when the module refuses a change.
struct tile_shape {
    bool tiled;
    uint32_t width, height;
};

tile_shape tile_shape_of(const CFILE* c);
void restore_tile_shape(CFILE* c, const tile_shape& shape);

// Fields 100 (`is_width`) and 104 of an active overview: a width makes square tiles, a height changes the height alone,
// and 0 makes the overview untiled. 0 on success.
int setup_overview_tiles(CFILE* c, bool is_width, int32_t value);

// Frees the buffered row of tiles, to be made anew.
void drop_tile_row(CFILE* c);
