// The shape of a tiled file's tiles. A tile record exists exactly when the file is tiled, and its width and height are
// never 0, so that what divides by them need not ask.
#include "raster/CORE/tilesetup.h"

#include "raster/CORE/cfile.h"
#include "support/checked.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "CORE/info";

// Bytes of the largest pixel, four channels of 128 bits. A tile whose bytes no buffer size could hold is refused at
// once, and the sizes computed from it later can't overflow.
constexpr int64_t MAX_PIXEL_BYTES = 64;

bool is_possible_tile(int32_t width, int32_t height) {
    int64_t pixels = int64_t{width} * height;
    int64_t bytes = 0;
    return width > 0 && height > 0 && checked_mul(pixels, MAX_PIXEL_BYTES, &bytes);
}

uint32_t tiles_over(int32_t pixels, uint32_t tile) {
    if (pixels <= 0) return 0;
    return static_cast<uint32_t>((int64_t{pixels} + tile - 1) / tile);
}

int store_shape(CFILE* c, int32_t width, int32_t height) {
    if (!is_possible_tile(width, height)) return refuse(c, RZL_BAD_TILE_SIZE, SOURCE, "rzl_set_hdr_data");
    if (c->tile == nullptr) c->tile = mem_new<tile_record>();
    if (c->tile == nullptr) {
        fail(c, RZL_NO_MEMORY, SOURCE, "tile record");
        set_flag(c, FLAG_TILED, false);
        return 1;
    }
    set_flag(c, FLAG_TILED, true);
    c->tile->width = static_cast<uint32_t>(width);
    c->tile->height = static_cast<uint32_t>(height);
    count_tiles(c);
    drop_tile_row(c);
    return 0;
}

} // namespace

void drop_tile_row(CFILE* c) {
    if (c->tile == nullptr) return;
    mem_free(c->tile->row_buffer);
    c->tile->row_buffer = nullptr;
    c->tile->first_line = 0;
}

void count_tiles(CFILE* c) {
    tile_record* tile = c->tile;
    if (tile == nullptr || tile->width == 0 || tile->height == 0) return;
    tile->tiles_across = tiles_over(c->xsize, tile->width);
    tile->tiles_down = tiles_over(c->ysize, tile->height);
}

// A tile is square unless both sides are given.
int rzl_setup_tiles(CFILE* c, int32_t width, int32_t height) {
    if (width < 0 || height < 0) return refuse(c, RZL_BAD_TILE_SIZE, SOURCE, "rzl_set_hdr_data");
    if (height == 0) height = width;
    if (width == 0) width = height;
    if (width == 0) {
        free_tile_record(c);
        return 0;
    }
    return store_shape(c, width, height);
}

// A height on an overview without tiles has no width to go with it: its tiles are square.
int setup_overview_tiles(CFILE* c, bool is_width, int32_t value) {
    if (value == 0) {
        free_tile_record(c);
        return 0;
    }
    bool keeps_width = !is_width && c->tile != nullptr && c->tile->width != 0;
    return store_shape(c, keeps_width ? static_cast<int32_t>(c->tile->width) : value, value);
}

tile_shape tile_shape_of(const CFILE* c) {
    if (!has_flag(c, FLAG_TILED) || c->tile == nullptr) return {false, 0, 0};
    return {true, c->tile->width, c->tile->height};
}

void restore_tile_shape(CFILE* c, const tile_shape& shape) {
    uint32_t status = c->status;
    if (shape.tiled) {
        (void)store_shape(c, static_cast<int32_t>(shape.width), static_cast<int32_t>(shape.height));
    } else {
        free_tile_record(c);
    }
    c->status = status;
}
