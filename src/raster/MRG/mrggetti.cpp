// MRG map files: bit planes of tiles into values.
#include <algorithm>
#include <array>
#include <cstring>

#include "raster/MRG/mrg.h"

namespace {

constexpr char SOURCE[] = "MRG/mrggetti";

// The eight bits of a byte, each in a byte of its own, the first pixel's in the lowest.
constexpr std::array<uint64_t, 256> spread_bits() {
    std::array<uint64_t, 256> spread = {};
    for (size_t byte = 0; byte < 256; ++byte)
        for (size_t bit = 0; bit < 8; ++bit)
            spread[byte] |= uint64_t{byte >> (7 - bit) & 1} << (8 * bit);
    return spread;
}
constexpr std::array<uint64_t, 256> SPREAD = spread_bits();

// Rows of `Planes` bit planes, MRG_PLANE_BYTES apart, into values.
template <int Planes> void join_rows(const uint8_t* planes, uint32_t rows, uint8_t* out, size_t pitch) {
    for (uint32_t y = 0; y < rows; ++y, planes += MRG_ROW_BYTES, out += pitch) {
        for (size_t i = 0; i < MRG_ROW_BYTES; ++i) {
            uint64_t values = SPREAD[planes[i]];
            for (size_t p = 1; p < Planes; ++p)
                values |= SPREAD[planes[p * MRG_PLANE_BYTES + i]] << p;
            store_u64le(out + i * 8, values);
        }
    }
}

using join_call = void (*)(const uint8_t* planes, uint32_t rows, uint8_t* out, size_t pitch);
constexpr join_call JOINS[MRG_MOST_PLANES] = {join_rows<1>, join_rows<2>, join_rows<3>, join_rows<4>,
                                              join_rows<5>, join_rows<6>, join_rows<7>, join_rows<8>};

int64_t strip_plane_bytes(const CFILE* c) {
    return int64_t{c->ysize} * static_cast<int64_t>(MRG_ROW_BYTES);
}

// Rows that the file has of a row of tiles.
uint32_t rows_of(const CFILE* c, int64_t tile_row) {
    return static_cast<uint32_t>(std::clamp<int64_t>(c->ysize - tile_row * MRG_TILE, 0, MRG_TILE));
}

// The first `rows` rows of a tile into values.
bool read_rows(CFILE* c, int64_t tile, uint32_t rows, uint8_t* out, size_t pitch) {
    const mrg_spec* spec = mrg_spec_of(c);
    int64_t column = tile % c->tile->tiles_across;
    int64_t row = tile / c->tile->tiles_across;
    int64_t plane_bytes = strip_plane_bytes(c);
    int64_t place = column * plane_bytes * c->bits + row * static_cast<int64_t>(MRG_PLANE_BYTES);
    size_t part = rows * MRG_ROW_BYTES;
    for (int32_t p = 0; p < c->bits; ++p) {
        uint8_t* plane = spec->plane_buffer + static_cast<size_t>(p) * MRG_PLANE_BYTES;
        bool read = io_seek(c, place + p * plane_bytes) && io_read(c, plane, part) == part;
        if (!read) return fails(c, RZL_READ_FAILED, SOURCE, nullptr);
    }
    JOINS[c->bits - 1](spec->plane_buffer, rows, out, pitch);
    return true;
}

} // namespace

int64_t mrg_least_bytes(const CFILE* c) {
    int64_t plane_bytes = strip_plane_bytes(c);
    int64_t first = static_cast<int64_t>(rows_of(c, 0) * MRG_ROW_BYTES);
    return (int64_t{c->tile->tiles_across} - 1) * plane_bytes * c->bits + (c->bits - 1) * plane_bytes + first;
}

int mrg_get_tile_rows(CFILE* c, int channels, read_planes planes, size_t pitch, uint32_t rows) {
    rzl_gettile_check(c);
    if (c->status != 0) return 0;
    if (channels != 1) return fails(c, RZL_UNSUPPORTED, SOURCE, "gettile");
    if (planes[0] != nullptr && !read_rows(c, c->line, rows, planes[0], pitch)) return 0;
    ++c->line;
    return MRG_TILE;
}

// Rows that the last row of tiles does not have are 0. The result is the size of a plane's part of the tile.
int mrg_get_tile(CFILE* c, int channels, read_planes buffers, uint32_t*) {
    rzl_gettile_check(c);
    if (c->status != 0) return 0;
    if (channels != 1 && channels != 3) return fails(c, RZL_UNSUPPORTED, SOURCE, "gettile");
    const mrg_spec* spec = mrg_spec_of(c);
    uint8_t* spare = spec->plane_buffer + static_cast<size_t>(c->bits) * MRG_PLANE_BYTES;
    uint8_t* values = values_target(channels, buffers, spare);
    uint32_t rows = rows_of(c, c->line / int64_t{c->tile->tiles_across});
    if (values != nullptr) {
        std::memset(values, 0, MRG_TILE_PIXELS);
        if (!read_rows(c, c->line, rows, values, MRG_TILE)) return 0;
        if (channels == 3) rzl_apply_color_table(c, values, buffers[1], buffers[2], int64_t{MRG_TILE_PIXELS});
    }
    ++c->line;
    return static_cast<int>(rows * MRG_ROW_BYTES);
}

// Values without colours are shades.
int mrg_getline(CFILE* c, int channels, read_planes buffers) {
    int pixels = rzl_getline_generic(c, channels, buffers);
    bool values = pixels > 0 && channels == 1 && buffers[0] != nullptr && !has_flag(c, FLAG_INTERLEAVED);
    if (values) rzl_widen_samples(c, buffers[0], pixels);
    return pixels;
}
