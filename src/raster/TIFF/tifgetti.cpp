// TIFF: reading tiles, which are segments like strips.
#include <algorithm>
#include <cstring>

#include "raster/CCITT/ccitt.h"
#include "raster/CORE/lines.h"
#include "raster/TIFF/tiff.h"
#include "support/memory.h"

namespace {

constexpr const char* SOURCE = "TIFF/tifgetti";

// The tile that comes next, -1 with the status set.
int64_t next_tile(CFILE* c) {
    rzl_gettile_check(c);
    return c->status == 0 ? c->line : -1;
}

bool tile_row(CFILE* c, uint32_t tile, uint32_t row, int channels, uint8_t* const* lines) {
    const tif_image* image = tif_image_of(c);
    if (image->samples_per_pixel == 1) return lines[0] == nullptr || tif_band_line(c, tile, row, lines[0]);
    if (!has_flag(c, FLAG_INTERLEAVED)) return tif_colour_planes(c, tile, row, channels, lines);
    return lines[0] == nullptr || tif_colour_pixels(c, tile, row, lines[0], static_cast<size_t>(interleave_step(c)));
}

bool tile_is_readable(CFILE* c) {
    const tif_image* image = tif_image_of(c);
    if (image->samples_per_pixel != 1 && !tif_colour_is_readable(c)) return false;
    bool planes = tif_shape_of(image).planes > 1;
    if (!planes || image->compression == TIF_PLAIN || image->compression == TIF_PACKBITS) return true;
    return tif_refuse(c, RZL_UNSUP_TIFF, SOURCE, "tiff compression type") == 0;
}

// Rows that the file has not got leave the buffers as they are from there on: zero in those of the core.
void end_quietly(CFILE* c) {
    c->status = 0;
    set_flag(c, FLAG_DAMAGED, true);
}

// ---- run-coded tiles

// The runs of a tile's row, `pixels` of it, behind each other in the caller's buffer.
struct run_room {
    uint16_t* runs;
    size_t room, used; // entries
};

bool put_runs(CFILE* c, uint32_t tile, uint32_t row, uint32_t pixels, uint8_t* words, uint16_t* scratch,
              run_room* out) {
    if (!tif_fetch_bits(c, tile, row, words)) return false;
    size_t count = cit_bits_to_runs(pixels, words, scratch);
    if (count % 2 == 0) scratch[count++] = 0;
    if (count <= out->room - std::min(out->used, out->room))
        std::memcpy(out->runs + out->used, scratch, count * sizeof *scratch);
    out->used += count;
    return true;
}

int put_tile_runs(CFILE* c, uint32_t tile, run_room* out) {
    const tif_image* image = tif_image_of(c);
    uint32_t column = tile % image->tiles_across;
    uint32_t band = tile / image->tiles_across;
    uint32_t pixels = std::min(image->tile_width, image->image_width - column * image->tile_width);
    uint32_t rows = std::min(image->tile_length, image->image_length - band * image->tile_length);
    mem_guard<uint8_t> words(static_cast<uint8_t*>(mem_alloc(line_bytes(c, image->tile_width))));
    mem_guard<uint16_t> scratch(mem_new_array<uint16_t>(cit_max_runs(image->tile_width) + 1));
    if (!words || !scratch) {
        fail(c, RZL_NO_MEMORY, SOURCE, "can't malloc tif rle line temp buf");
        return 0;
    }
    for (uint32_t row = 0; row < rows; ++row) {
        if (put_runs(c, tile, row, pixels, words.get(), scratch.get(), out)) continue;
        if (c->status == RZL_NO_MEMORY) return 0;
        end_quietly(c);
        break;
    }
    return 1;
}

} // namespace

// The planes keep the distance of full tile lines.
int tif_get_tile(CFILE* c, int channels, read_planes buffers, uint32_t*) {
    int64_t tile = next_tile(c);
    if (tile < 0 || !tile_is_readable(c)) return 0;
    const tif_image* image = tif_image_of(c);
    int used = std::min(channels, TIF_MAX_SAMPLES);
    bool together = has_flag(c, FLAG_INTERLEAVED) && image->samples_per_pixel > 1;
    size_t pitch = line_bytes(c, image->tile_width) * (together ? samples_together(c) : 1);
    uint8_t* lines[TIF_MAX_SAMPLES] = {};
    for (uint32_t row = 0; row < image->tile_length && used > 0; ++row) {
        for (int i = 0; i < used; ++i)
            lines[i] = buffers[i] != nullptr ? buffers[i] + row * pitch : nullptr;
        if (tile_row(c, static_cast<uint32_t>(tile), row, used, lines)) continue;
        if (c->status == RZL_NO_MEMORY) return 0;
        end_quietly(c);
        break;
    }
    ++c->line;
    return 1;
}

int tif_get_rle_tile(CFILE* c, int channels, read_planes buffers, uint32_t*) {
    int64_t tile = next_tile(c);
    if (tile < 0) return 0;
    if (!tif_is_bilevel(tif_image_of(c))) {
        fail(c, RZL_UNSUP_TIFF, SOURCE, "tiff rle is for binary only");
        return 0;
    }
    size_t room = channels > 0 && buffers[0] != nullptr ? static_cast<size_t>(c->rle_size) / sizeof(uint16_t) : 0;
    run_room out = {room > 0 ? reinterpret_cast<uint16_t*>(buffers[0]) : nullptr, room, 0};
    if (put_tile_runs(c, static_cast<uint32_t>(tile), &out) == 0) return 0;
    c->rle_size = static_cast<int32_t>(std::min<size_t>(out.used * sizeof(uint16_t), INT32_MAX));
    if (out.used > room) {
        fail(c, RZL_RLE_BUFFER_SMALL, SOURCE, nullptr);
        return 0;
    }
    ++c->line;
    return 1;
}
