// USGS files: reading lines. Lines of three bands lie far apart, so that as many of each band are read together as are
// asked for in a row.
#include <algorithm>
#include <cstring>

#include "raster/PNM/pnmmisc.h"
#include "raster/USGS/usgs.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "USGS/usggetli";
constexpr int BANDS = 3;
constexpr size_t BLOCK_BYTES = 1 << 19; // of a band

int64_t place_of(const CFILE* c, int band, int32_t line) {
    return (USGS_RECORDS + int64_t{band} * c->ysize + line) * c->xsize;
}

bool get_one_band(CFILE* c, usgs_spec* spec, int channels, read_planes buffers) {
    auto width = static_cast<size_t>(c->xsize);
    uint8_t* plane = channels > 0 ? buffers[0] : nullptr;
    if (!is_wanted(channels, buffers)) return true;
    if (plane == nullptr) plane = channels > 1 && buffers[1] != nullptr ? buffers[1] : buffers[2];
    bool stands = c->mode == MODE_READ && spec->file_line == c->line;
    spec->file_line = -1;
    if (!stands && !io_seek(c, place_of(c, 0, c->line))) return false;
    if (io_read(c, plane, width) != width) return false;
    spec->file_line = c->line + 1;
    // A shade is the same in all three.
    for (int i = 0; i < channels && i < BANDS; ++i)
        if (buffers[i] != nullptr && buffers[i] != plane) std::memcpy(buffers[i], plane, width);
    return true;
}

// Room for so many lines of each band, or for one. False without memory.
bool need_block(CFILE* c, usgs_spec* spec, size_t lines) {
    if (lines <= spec->block_room) return true;
    auto* block = mem_new_array<uint8_t>(lines * static_cast<size_t>(c->xsize) * BANDS);
    if (block == nullptr) return spec->block != nullptr || fails(c, RZL_NO_MEMORY, SOURCE, "getline");
    mem_free(spec->block);
    spec->block = block;
    spec->block_room = lines;
    return true;
}

// Lines from the next one on, into the block: twice as many as before where one follows the other. A file that ends in
// one of the bands has as many as that has.
bool fill_block(CFILE* c, usgs_spec* spec) {
    auto width = static_cast<size_t>(c->xsize);
    bool goes_on = spec->count > 0 && c->line == spec->first + spec->count;
    size_t lines = goes_on ? static_cast<size_t>(spec->count) * 2 : 1;
    lines = std::min({lines, std::max<size_t>(BLOCK_BYTES / width, 1), static_cast<size_t>(c->ysize - c->line)});
    spec->count = 0;
    if (!need_block(c, spec, lines)) return false;
    lines = std::min(lines, spec->block_room);
    size_t there = lines;
    for (int band = 0; band < BANDS; ++band) {
        uint8_t* to = spec->block + static_cast<size_t>(band) * spec->block_room * width;
        bool stands = io_seek(c, place_of(c, band, c->line));
        there = std::min(there, stands ? io_read(c, to, lines * width) / width : 0);
    }
    spec->first = c->line;
    spec->count = static_cast<int32_t>(there);
    return there > 0;
}

bool get_three_bands(CFILE* c, usgs_spec* spec, int channels, read_planes buffers) {
    auto width = static_cast<size_t>(c->xsize);
    if (!is_wanted(channels, buffers)) return true;
    bool inside = c->line >= spec->first && c->line < spec->first + spec->count;
    if (!inside && !fill_block(c, spec)) return false;
    auto line = static_cast<size_t>(c->line - spec->first);
    for (int band = 0; band < channels && band < BANDS; ++band) {
        size_t at = (static_cast<size_t>(band) * spec->block_room + line) * width;
        if (buffers[band] != nullptr) std::memcpy(buffers[band], spec->block + at, width);
    }
    return true;
}

} // namespace

int usgs_get_line(CFILE* c, int channels, read_planes buffers) {
    usgs_spec* spec = usgs_spec_of(c);
    bool one = spec->band_code == USGS_ONE_BAND;
    bool known = spec->gap_code == 0 && (one || spec->band_code == USGS_THREE_BANDS);
    if (!known) return fails(c, RZL_UNSUPPORTED, SOURCE, "getline");
    bool read = one ? get_one_band(c, spec, channels, buffers) : get_three_bands(c, spec, channels, buffers);
    if (!read) return c->status != 0 ? 0 : fails(c, RZL_READ_FAILED, SOURCE, nullptr);
    ++c->line;
    return c->xsize;
}

int usgs_get_rle_line(CFILE* c, int channels, read_planes buffers) {
    usgs_spec_of(c)->file_line = -1;
    return rzl_get_line_as_runs(c, channels, buffers, RZL_UNSUPPORTED, SOURCE);
}
