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
    return c->status == 0 && tif_settle_lines(c) ? c->line : -1;
}

bool tile_row(CFILE* c, uint32_t tile, uint32_t row, int channels, uint8_t* const* lines) {
    const tif_image* image = tif_image_of(c);
    if (image->samples_per_pixel == 1) return lines[0] == nullptr || tif_band_line(c, tile, row, lines[0]);
    if (!has_flag(c, FLAG_INTERLEAVED)) return tif_colour_planes(c, tile, row, channels, lines);
    return lines[0] == nullptr || tif_colour_pixels(c, tile, row, lines[0], static_cast<size_t>(interleave_step(c)));
}

// Makes words of rows where they stand. Rows of whole words, one behind the other, are one long row.
void rows_to_words(uint8_t* rows, uint32_t count, uint32_t width, size_t pitch) {
    bool joined = width % 16 == 0 && pitch == width / 8 && uint64_t{width} * count <= UINT32_MAX;
    if (joined) return bits_to_words(rows, width * count, 0, rows);
    for (uint32_t row = 0; row < count; ++row)
        bits_to_words(rows + row * pitch, width, 0, rows + row * pitch);
}

// Rows that only have to be moved, of a tile that is plain or decoded whole. How many were; the others go one by one.
uint32_t move_rows(CFILE* c, uint32_t tile, uint32_t rows, uint8_t* plane, size_t pitch) {
    const tif_image* image = tif_image_of(c);
    bool bilevel = tif_is_bilevel(image);
    int step = has_flag(c, FLAG_INTERLEAVED) ? interleave_step(c) : 1;
    bool moved = tif_bits(image) == 8 && tif_shape_of(image).planes == 1 && step == image->samples_per_pixel;
    if (plane == nullptr || (!bilevel && !moved)) return 0;
    uint32_t done = tif_move_rows(c, tile, rows, plane, pitch);
    if (bilevel) rows_to_words(plane, done, image->tile_width, pitch);
    if (done > 0 || c->status != 0) return done;
    size_t bytes = 0;
    const uint8_t* block = tif_fetch_block(c, tile, &bytes);
    if (block == nullptr) return 0;
    auto row_bytes = static_cast<size_t>(tif_row_bytes(image, 0));
    rows = static_cast<uint32_t>(std::min<size_t>(rows, bytes / row_bytes));
    for (uint32_t row = 0; row < rows; ++row) {
        if (bilevel) {
            bits_to_words(block + row * row_bytes, image->tile_width, 0, plane + row * pitch);
        } else {
            std::memcpy(plane + row * pitch, block + row * row_bytes, row_bytes);
        }
    }
    return rows;
}

// Rows that the file does not have are no failure of a tile.
void end_quietly(CFILE* c) {
    c->status = 0;
    set_flag(c, FLAG_DAMAGED, true);
}

bool tile_is_readable(CFILE* c) {
    const tif_image* image = tif_image_of(c);
    if (image->samples_per_pixel != 1 && !tif_colour_is_readable(c)) return false;
    bool planes = tif_shape_of(image).planes > 1;
    if (!planes || image->compression == TIF_PLAIN || image->compression == TIF_PACKBITS) return true;
    return fails(c, RZL_UNSUP_TIFF, SOURCE, "tiff compression type");
}

// The first `rows` rows of a tile into planes of `pitch` bytes a line. Rows that the file does not have become 0 and
// are no failure.
bool tile_rows(CFILE* c, uint32_t tile, uint32_t rows, int channels, uint8_t* const* planes, size_t pitch) {
    size_t bytes = tif_tile_pitch(c);
    uint8_t* lines[TIF_MAX_SAMPLES] = {};
    uint32_t first = channels > 0 ? move_rows(c, tile, rows, planes[0], pitch) : 0;
    bool ended = c->status != 0;
    if (c->status == RZL_NO_MEMORY) return false;
    for (uint32_t row = first; row < rows; ++row) {
        for (int i = 0; i < channels; ++i)
            lines[i] = planes[i] != nullptr ? planes[i] + row * pitch : nullptr;
        if (!ended && tile_row(c, tile, row, channels, lines)) continue;
        if (c->status == RZL_NO_MEMORY) return false;
        ended = true;
        end_quietly(c);
        for (int i = 0; i < channels; ++i)
            if (lines[i] != nullptr) std::memset(lines[i], 0, bytes);
    }
    return true;
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

bool tif_is_together(const CFILE* c) {
    return has_flag(c, FLAG_INTERLEAVED) && tif_image_of(c)->samples_per_pixel > 1;
}

size_t tif_tile_pitch(const CFILE* c) {
    return line_bytes(c, tif_image_of(c)->tile_width) * (tif_is_together(c) ? samples_together(c) : 1);
}

int tif_get_tile_rows(CFILE* c, int channels, read_planes planes, size_t pitch, uint32_t rows) {
    int64_t tile = next_tile(c);
    if (tile < 0 || !tile_is_readable(c)) return 0;
    int used = std::min(channels, TIF_MAX_SAMPLES);
    if (used > 0 && !tile_rows(c, static_cast<uint32_t>(tile), rows, used, planes, pitch)) return 0;
    ++c->line;
    return 1;
}

// The planes keep the distance of full tile lines.
int tif_get_tile(CFILE* c, int channels, read_planes buffers, uint32_t*) {
    const tif_image* image = tif_image_of(c);
    return tif_get_tile_rows(c, channels, buffers, tif_is_tiled(image) ? tif_tile_pitch(c) : 0, image->tile_length);
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
