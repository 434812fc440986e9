// HRF files: reading tiles and lines.
#include <algorithm>
#include <cstring>

#include "raster/CCITT/ccitt.h"
#include "raster/CORE/lines.h"
#include "raster/HRF/hrf.h"
#include "raster/PNM/pnmmisc.h"
#include "raster/TIFF/tiff.h"
#include "support/checked.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "hrf/hrfget";

// The data of a tile's record where they lie, or in `data`. Null with the status set.
const uint8_t* read_record(CFILE* c, int64_t tile, size_t* size) {
    const hrf_spec* spec = hrf_spec_of(c);
    uint8_t head[HRF_RECORD_HEAD];
    uint32_t place = spec->tile_offsets[tile];
    bool read = place != 0 && io_seek(c, place) && io_read(c, head, sizeof head) == sizeof head;
    size_t length = read ? hrf_u16(head, spec->big) : 0;
    const uint8_t* data = nullptr;
    if (length >= HRF_RECORD_HEAD && head[2] == HRF_TILE_RECORD) {
        *size = length - HRF_RECORD_HEAD;
        data = *size > 0 ? io_take(c, *size, spec->data) : spec->data;
    }
    if (data == nullptr) fail(c, RZL_READ_FAILED, SOURCE, nullptr);
    return data;
}

// The first `rows` rows of a tile, one behind the other as they were before coding; null when the data are damaged or
// too few.
const uint8_t* decoded(const CFILE* c, const uint8_t* data, size_t size, uint32_t rows) {
    const hrf_spec* spec = hrf_spec_of(c);
    size_t row_bytes = hrf_row_bytes(c);
    size_t bytes = row_bytes * rows;
    if (!spec->compressed) return size >= bytes ? data : nullptr;
    if (spec->depth != 1) {
        bool sound = true;
        size_t made = tif_lzw_decode(data, size, spec->tile, bytes, &sound);
        return made == bytes ? spec->tile : nullptr;
    }
    const uint8_t* end = data + size;
    for (uint32_t y = 0; y < rows; ++y)
        if (!hrf_decode_row(&data, end, spec->tile + y * row_bytes, row_bytes)) return nullptr;
    return spec->tile;
}

// Rows into the caller's planes.
void deliver(const CFILE* c, const uint8_t* from, uint32_t rows, read_planes planes, size_t pitch) {
    const hrf_spec* spec = hrf_spec_of(c);
    size_t row_bytes = hrf_row_bytes(c);
    uint32_t width = c->tile->width;
    bool joined = pitch == row_bytes; // the rows are one long one
    if (spec->depth != 24 && joined) {
        row_bytes *= rows;
        width *= rows;
        rows = 1;
    }
    for (uint32_t y = 0; y < rows; ++y, from += row_bytes) {
        size_t at = y * pitch;
        if (spec->depth == 1) {
            bits_to_words(from, width, 0, planes[0] + at);
        } else if (spec->depth == 8) {
            std::memcpy(planes[0] + at, from, row_bytes);
        } else {
            uint8_t* three[3] = {};
            for (size_t p = 0; p < 3; ++p)
                three[p] = planes[p] != nullptr ? planes[p] + at : nullptr;
            split_pixels(from, width, 3, three, 3);
        }
    }
}

// The first `rows` rows of the tile that comes next.
bool read_rows(CFILE* c, int channels, read_planes planes, size_t pitch, uint32_t rows) {
    rzl_gettile_check(c);
    if (c->status != 0) return false;
    const hrf_spec* spec = hrf_spec_of(c);
    if (spec->tile_offsets == nullptr) return fails(c, RZL_READ_FAILED, SOURCE, nullptr);
    if (is_wanted(channels, planes)) {
        if (channels != c->samples) return fails(c, RZL_UNSUP_IR, SOURCE, "HRF");
        size_t size = 0;
        const uint8_t* data = read_record(c, c->line, &size);
        if (data == nullptr) return false;
        const uint8_t* pixels = decoded(c, data, size, rows);
        if (pixels == nullptr) return fails(c, RZL_READ_FAILED, SOURCE, nullptr);
        deliver(c, pixels, rows, planes, pitch);
    }
    ++c->line;
    return true;
}

// ---- runs

// Runs of a bilevel row behind those that `out` has; an odd count. False without room.
bool add_runs(uint32_t width, const uint8_t* words, uint16_t* scratch, size_t room, uint16_t* out, size_t* used) {
    size_t count = cit_bits_to_runs(width, words, scratch);
    if (count % 2 == 0) scratch[count++] = 0;
    bool fits = out != nullptr && *used + count <= room;
    if (fits) std::memcpy(out + *used, scratch, count * sizeof *scratch);
    *used += count;
    return fits;
}

// Tells the size used, or needed. The runs, 0 when they did not fit.
int end_runs(CFILE* c, size_t used, bool fit) {
    c->rle_size = static_cast<int32_t>(std::min<size_t>(used * sizeof(uint16_t), INT32_MAX));
    return fit ? static_cast<int>(std::min<size_t>(used, INT32_MAX)) : 0;
}

size_t run_room(const CFILE* c, int channels, read_planes buffers) {
    bool given = channels > 0 && buffers[0] != nullptr;
    return given ? static_cast<size_t>(std::max(c->rle_size, 0)) / sizeof(uint16_t) : 0;
}

// ---- lines of a file with offsets

// Moves `pixels` bits behind the first `drop` to the front of a line of words.
void shift_bits(const uint8_t* words, uint32_t drop, uint32_t pixels, uint8_t* out) {
    auto byte_at = [words](size_t i) { return words[i ^ 1]; };
    uint32_t shift = drop % 8;
    size_t first = drop / 8;
    size_t bytes = (size_t{pixels} + 7) / 8;
    size_t all = (size_t{drop} + pixels + 7) / 8;
    std::memset(out, 0, (bytes + 1) / 2 * 2);
    for (size_t i = 0; i < bytes; ++i) {
        unsigned two = static_cast<unsigned>(byte_at(first + i)) << 8;
        if (first + i + 1 < all) two |= byte_at(first + i + 1);
        out[i ^ 1] = static_cast<uint8_t>(two << shift >> 8);
    }
    if (pixels % 8 != 0) {
        size_t last = (bytes - 1) ^ 1;
        out[last] = static_cast<uint8_t>(out[last] & 0xFF00u >> pixels % 8);
    }
}

// Until the end of a scope, the handle's image begins where its first tile does.
struct whole_tiles {
    CFILE* c;
    int32_t xsize, ysize, line;
    bool tiled;
    explicit whole_tiles(CFILE* handle)
        : c(handle), xsize(handle->xsize), ysize(handle->ysize), line(handle->line), tiled(has_flag(c, FLAG_TILED)) {
        const hrf_spec* spec = hrf_spec_of(c);
        c->xsize += spec->offset_x;
        c->ysize += spec->offset_y;
        c->line += spec->offset_y;
        set_flag(c, FLAG_TILED, true);
    }
    ~whole_tiles() {
        c->xsize = xsize;
        c->ysize = ysize;
        c->line = line;
        set_flag(c, FLAG_TILED, tiled);
    }
    whole_tiles(const whole_tiles&) = delete;
    whole_tiles& operator=(const whole_tiles&) = delete;
};

// Makes room for `planes` lines of whole tiles, `bytes` each.
bool need_lines(CFILE* c, size_t bytes, size_t planes) {
    hrf_spec* spec = hrf_spec_of(c);
    if (spec->lines == nullptr) spec->lines = mem_new_array<uint8_t>(bytes * planes);
    return spec->lines != nullptr || fails(c, RZL_NO_MEMORY, SOURCE, "getline");
}

} // namespace

int hrf_get_tile_rows(CFILE* c, int channels, read_planes planes, size_t pitch, uint32_t rows) {
    return read_rows(c, channels, planes, pitch, rows) ? 1 : 0;
}

int hrf_get_tile(CFILE* c, int channels, read_planes buffers, uint32_t*) {
    size_t pitch = c->tile != nullptr ? line_bytes(c, c->tile->width) : 0;
    uint32_t rows = c->tile != nullptr ? c->tile->height : 0;
    if (!read_rows(c, channels, buffers, pitch, rows)) return 0;
    int64_t pixels = int64_t{c->tile->width} * c->tile->height;
    return static_cast<int>(std::min<int64_t>(pixels, INT32_MAX));
}

int hrf_get_rle_tile(CFILE* c, int channels, read_planes buffers, uint32_t*) {
    if (hrf_spec_of(c)->depth != 1) return fails(c, RZL_UNSUP_KRVN, SOURCE, "HRF");
    if (c->tile == nullptr) return fails(c, RZL_ONLY_TILED, SOURCE, "get tiles");
    uint32_t width = c->tile->width;
    size_t pitch = line_bytes(c, width);
    mem_guard<uint8_t> words(mem_new_array<uint8_t>(pitch * c->tile->height));
    mem_guard<uint16_t> scratch(mem_new_array<uint16_t>(cit_max_runs(width) + 1));
    if (!words || !scratch) return fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
    uint8_t* plane = words.get();
    if (!read_rows(c, 1, &plane, pitch, c->tile->height)) return 0;
    size_t room = run_room(c, channels, buffers);
    size_t used = 0;
    bool fit = true;
    auto* out = reinterpret_cast<uint16_t*>(channels > 0 ? buffers[0] : nullptr);
    for (uint32_t y = 0; y < c->tile->height; ++y)
        fit = add_runs(width, plane + y * pitch, scratch.get(), room, out, &used) && fit;
    if (fit) return end_runs(c, used, true);
    --c->line;
    (void)end_runs(c, used, false);
    return fails(c, RZL_RLE_BUFFER_SMALL, SOURCE, nullptr);
}

int hrf_get_rle_line(CFILE* c, int channels, read_planes buffers) {
    if (hrf_spec_of(c)->depth != 1) return fails(c, RZL_UNSUP_KRVN, SOURCE, "HRF");
    return rzl_get_line_as_runs(c, channels, buffers, RZL_UNSUP_KRVN, SOURCE);
}

int hrf_get_line_offset(CFILE* c, int channels, read_planes buffers) {
    const hrf_spec* spec = hrf_spec_of(c);
    if (spec->tile_offsets == nullptr || c->tile == nullptr) return fails(c, RZL_READ_FAILED, SOURCE, "getline");
    size_t bytes = line_bytes(c, int64_t{c->xsize} + spec->offset_x);
    if (!need_lines(c, bytes, 3)) return 0;
    uint8_t* lines[3] = {spec->lines, spec->lines + bytes, spec->lines + 2 * bytes};
    {
        whole_tiles shape(c);
        // A table's colours, if there were one, would be made of the values that go out below.
        if (rzl_getline_from_tiles(c, c->samples, lines) <= 0) return 0;
    }
    auto width = static_cast<size_t>(c->xsize);
    for (int i = 0; i < channels && i < 3; ++i) {
        const uint8_t* line = c->samples == 3 ? lines[i] : lines[0];
        if (buffers[i] == nullptr || (spec->depth == 1 && i > 0)) continue;
        if (spec->depth == 1) {
            shift_bits(line, static_cast<uint32_t>(spec->offset_x), static_cast<uint32_t>(c->xsize), buffers[i]);
        } else {
            std::memcpy(buffers[i], line + spec->offset_x, width);
        }
    }
    ++c->line;
    return c->xsize;
}
