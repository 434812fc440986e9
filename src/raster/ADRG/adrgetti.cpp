// ADRG map sets: reading tiles.
#include <cstring>

#include "raster/ADRG/adrg.h"

namespace {

constexpr char SOURCE[] = "ADRE/adrgetti";

// Where the blocks begin.
constexpr int64_t DATA_THREE = 2048;
constexpr int64_t DATA_ONE = 512;

bool can_read(CFILE* c, int channels) {
    rzl_gettile_check(c);
    if (c->status != 0) return false;
    return channels == 1 || channels == 3 || fails(c, RZL_UNSUPPORTED, SOURCE, "Adre gettile");
}

// The first `rows` rows of the tile that comes next, which has data.
bool read_rows(CFILE* c, int channels, read_planes planes, size_t pitch, uint32_t rows) {
    const adrg_spec* spec = adrg_spec_of(c);
    bool colors = spec->kind == RZL_FORMAT_PLANE_RUNS;
    int64_t block = spec->tile_map[c->line] - 1;
    int64_t plane_bytes = ADRG_PLANE_BYTES;
    int64_t place = colors ? DATA_THREE + block * plane_bytes * 3 : DATA_ONE + block * plane_bytes;
    size_t part = size_t{rows} * ADRG_TILE;
    for (int i = 0; i < (colors ? channels : 1); ++i, place += plane_bytes) {
        if (planes[i] == nullptr) continue;
        const uint8_t* plane = io_seek(c, place) ? io_take(c, part, spec->plane) : nullptr;
        if (plane == nullptr) return fails(c, RZL_READ_FAILED, SOURCE, nullptr);
        set_copy_rows(c, plane, rows, planes[i], pitch);
    }
    return true;
}

} // namespace

int adrg_get_tile_rows(CFILE* c, int channels, read_planes planes, size_t pitch, uint32_t rows) {
    if (!can_read(c, channels)) return 0;
    if (adrg_spec_of(c)->tile_map[c->line] < 1) {
        set_give_empty(c, channels, planes, pitch, rows, nullptr);
    } else if (!read_rows(c, channels, planes, pitch, rows)) {
        return 0;
    }
    ++c->line;
    return ADRG_TILE * ADRG_TILE;
}

int adrg_get_tile(CFILE* c, int channels, read_planes buffers, uint32_t* size_word) {
    if (!can_read(c, channels)) return 0;
    bool empty = adrg_spec_of(c)->tile_map[c->line] < 1;
    if (empty && size_word != nullptr) {
        set_give_empty(c, channels, buffers, ADRG_TILE, ADRG_TILE, size_word);
        ++c->line;
        return ADRG_TILE * ADRG_TILE;
    }
    int pixels = adrg_get_tile_rows(c, channels, buffers, ADRG_TILE, ADRG_TILE);
    bool spread = pixels > 0 && channels == 3 && c->samples == 1 && buffers[0] != nullptr;
    if (spread) rzl_apply_color_table(c, buffers[0], buffers[1], buffers[2], pixels);
    return pixels;
}
