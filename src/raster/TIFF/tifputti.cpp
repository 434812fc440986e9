// TIFF: writing tiles. A tile is stored whole, whatever part of it lies inside the image.
#include <algorithm>
#include <cstring>

#include "raster/CORE/lines.h"
#include "raster/TIFF/tiff.h"
#include "support/checked.h"
#include "support/memory.h"

namespace {

constexpr const char* SOURCE = "TIFF/tifputti";

// The byte of a colour that a plane without data is filled with.
uint8_t colour_byte(uint32_t colour, int plane) {
    return plane < 3 ? static_cast<uint8_t>(colour >> (16 - 8 * plane)) : uint8_t{0};
}

// The planes of a tile as the caller gave them, and a line to stand for the planes that were not given.
struct tile_source {
    const uint8_t* planes[TIF_MAX_SAMPLES];
    uint8_t* fill; // owned: a line for each plane; null when all are given
    size_t pitch;  // bytes from line to line
    size_t step;   // bytes a pixel of interleaved data, 0 for planes
    int count;
};

bool take_source(CFILE* c, int channels, write_planes buffers, const uint32_t* colour, tile_source* source) {
    const tif_image* image = tif_image_of(c);
    bool together = has_flag(c, FLAG_INTERLEAVED) && image->samples_per_pixel > 1;
    source->count = together ? 1 : image->samples_per_pixel;
    source->step = together ? static_cast<size_t>(interleave_step(c)) : 0;
    source->pitch = line_bytes(c, image->tile_width) * (together ? samples_together(c) : 1);
    bool missing = false;
    for (int i = 0; i < source->count; ++i) {
        source->planes[i] = i < channels ? buffers[i] : nullptr;
        missing = missing || source->planes[i] == nullptr;
    }
    if (!missing) return true;
    if (colour == nullptr || channels <= 0) return tif_refuse(c, RZL_NO_OUTPUT_BUFFER, SOURCE, nullptr) == 0;
    source->fill = static_cast<uint8_t*>(mem_alloc(source->pitch * static_cast<size_t>(source->count)));
    if (source->fill == nullptr) return tif_refuse(c, RZL_NO_MEMORY, SOURCE, nullptr) == 0;
    for (int i = 0; i < source->count; ++i)
        std::memset(source->fill + static_cast<size_t>(i) * source->pitch, colour_byte(*colour, i), source->pitch);
    return true;
}

void take_lines(const tile_source& source, uint32_t row, const uint8_t** lines) {
    for (int i = 0; i < source.count; ++i) {
        size_t at = row * source.pitch;
        lines[i] =
            source.planes[i] != nullptr ? source.planes[i] + at : source.fill + static_cast<size_t>(i) * source.pitch;
    }
}

bool put_fax_tile(CFILE* c, uint32_t tile, const tile_source& source) {
    tif_image* image = tif_image_of(c);
    const uint8_t* lines[TIF_MAX_SAMPLES] = {};
    // A tile that is put again is coded anew; it takes its place in the arrays when it is stored.
    if (tif_is_stored(image, tile))
        return tif_refuse(c, RZL_MODIFY_COMPRESSED, SOURCE, "Cannot modify compressed data") == 0;
    for (uint32_t row = 0; row < image->tile_length; ++row) {
        take_lines(source, row, lines);
        if (!tif_save_fax_line(c, tile, row, lines[0], nullptr, 0)) return false;
    }
    return true;
}

bool put_tile_rows(CFILE* c, uint32_t tile, const tile_source& source) {
    const tif_image* image = tif_image_of(c);
    tif_shape shape = tif_shape_of(image);
    tif_gathering* out = &tif_spec_of(c)->out;
    auto row_bytes = static_cast<size_t>(tif_row_bytes(image, 0));
    auto planes = static_cast<size_t>(shape.planes);
    size_t plane = 0;
    size_t all = 0;
    bool fits = checked_mul(row_bytes, size_t{shape.rows}, &plane) && checked_mul(plane, planes, &all);
    if (!fits) return tif_refuse(c, RZL_NO_MEMORY, SOURCE, nullptr) == 0;
    size_t line = row_bytes * planes + size_t{shape.width} * image->samples_per_pixel;
    if (!tif_need_room(c, &out->rows, &out->rows_room, all)) return false;
    if (!tif_need_room(c, &out->row, &out->row_room, line)) return false;
    const uint8_t* lines[TIF_MAX_SAMPLES] = {};
    for (uint32_t row = 0; row < shape.rows; ++row) {
        take_lines(source, row, lines);
        bool direct = planes == 1 && tif_bits(image) == 8;
        uint8_t* to = direct ? out->rows + row * row_bytes : out->row;
        tif_make_rows(c, image, shape.width, source.count, lines, source.step, to);
        for (size_t p = 0; !direct && p < planes; ++p)
            std::memcpy(out->rows + p * plane + row * row_bytes, out->row + p * row_bytes, row_bytes);
    }
    tif_spec_of(c)->in.segment = -1;
    return tif_save_segment(c, tile, out->rows, plane, shape.rows);
}

} // namespace

int tif_put_tile(CFILE* c, int channels, write_planes buffers, uint32_t* colour) {
    if (rzl_puttile_check(c) != 0) return 0;
    const tif_image* image = tif_image_of(c);
    if (image->strip_offsets == nullptr && tif_write_header(c) != 0) return 0;
    if (tif_shape_of(image).planes > 1 && image->compression == TIF_LZW) {
        fail(c, RZL_UNSUP_TIFF, SOURCE, "tiff compression type");
        return 0;
    }
    for (uint16_t bits : image->bits_per_sample) {
        if (bits == tif_bits(image)) continue;
        fail(c, RZL_UNSUP_TIFF, SOURCE, "Tiff bits/sample");
        return 0;
    }
    set_flag(c, FLAG_MODULE, true);
    auto tile = static_cast<uint32_t>(c->line);
    tile_source source = {};
    bool put = take_source(c, channels, buffers, colour, &source);
    if (put) put = tif_is_fax(image->compression) ? put_fax_tile(c, tile, source) : put_tile_rows(c, tile, source);
    mem_free(source.fill);
    if (put) ++c->line;
    return put ? 1 : 0;
}
