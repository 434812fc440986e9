// TIFF: the line slots for writing, and lines made into rows.
#include <algorithm>
#include <cstring>

#include "raster/CORE/lines.h"
#include "raster/TIFF/tiff.h"
#include "support/memory.h"

namespace {

constexpr const char* SOURCE = "TIFF/tifputli";

bool is_narrowed(const CFILE* c, const tif_image* image) {
    return (image->flags & TIF_HAS_MAP) == 0 && !has_flag(c, FLAG_RAW_SAMPLES);
}

void make_band_row(const CFILE* c, const tif_image* image, uint32_t width, const uint8_t* line, uint8_t* row) {
    int bits = tif_bits(image);
    uint16_t order = tif_spec_of(c)->order;
    if (bits == 1) {
        tif_words_to_row(line, width, row);
    } else if (bits < 8) {
        tif_pack_bytes(line, bits, order, width, is_narrowed(c, image), row);
    } else {
        tif_pack_samples(line, bits, order, width, row);
    }
}

void join3(const uint8_t* red, const uint8_t* green, const uint8_t* blue, size_t count, uint8_t* pixels) {
    for (size_t i = 0; i < count; ++i) {
        pixels[3 * i] = red[i];
        pixels[3 * i + 1] = green[i];
        pixels[3 * i + 2] = blue[i];
    }
}

// Bytes of a colour, plane by plane, into pixels. A plane that is not given is zero.
void join_planes(int channels, write_planes planes, size_t count, size_t samples, uint8_t* pixels) {
    bool all = samples == 3 && channels >= 3 && planes[0] != nullptr && planes[1] != nullptr && planes[2] != nullptr;
    if (all) return join3(planes[0], planes[1], planes[2], count, pixels);
    for (size_t s = 0; s < samples; ++s) {
        const uint8_t* plane = static_cast<int>(s) < channels ? planes[s] : nullptr;
        for (size_t i = 0; i < count; ++i)
            pixels[i * samples + s] = plane != nullptr ? plane[i] : uint8_t{0};
    }
}

void close_pixels(const uint8_t* from, size_t count, size_t step, size_t samples, uint8_t* pixels) {
    if (step == samples) {
        std::memcpy(pixels, from, count * samples);
        return;
    }
    for (size_t i = 0; i < count; ++i)
        std::memcpy(pixels + i * samples, from + i * step, samples);
}

void take_plane(const uint8_t* from, size_t count, size_t step, uint8_t* plane) {
    for (size_t i = 0; i < count; ++i)
        plane[i] = from[i * step];
}

// The tests at the head of a put. False with the status set.
bool can_put(CFILE* c) {
    if (!is_writable(c)) return tif_fails(c, RZL_NEEDS_WRITE, SOURCE, "tif_putline");
    bool due = !has_flag(c, FLAG_HEADER_EXISTS) || tif_image_of(c)->strip_offsets == nullptr;
    if (due && tif_write_header(c) != 0) return false;
    if (c->line < 0 || c->line >= c->ysize) return tif_fails(c, RZL_PAST_END, SOURCE, "tif_putline");
    return tif_samples_can_be_put(c);
}

// Lines of coded tiles that the file has already.
bool tiles_are_fixed(const CFILE* c) {
    const tif_image* image = tif_image_of(c);
    if (image->compression == TIF_PLAIN || image->tile_length == 0) return false;
    return tif_is_stored(image, static_cast<uint32_t>(c->line) / image->tile_length * image->tiles_across);
}

// Null: none is.
const uint8_t* first_given(int channels, write_planes planes) {
    for (int i = 0; planes != nullptr && i < channels; ++i)
        if (planes[i] != nullptr) return planes[i];
    return nullptr;
}

// A line into its strip: planes, or interleaved with `step` bytes a pixel.
int put_strip_line(CFILE* c, int channels, write_planes planes, size_t step) {
    const tif_image* image = tif_image_of(c);
    auto line = static_cast<uint32_t>(c->line);
    uint32_t strip = line / image->rows_per_strip;
    uint32_t row = line % image->rows_per_strip;
    const uint8_t* given = first_given(channels, planes);
    if (given == nullptr) {
        fail(c, RZL_NO_OUTPUT_BUFFER, SOURCE, "tif_putline");
        return 0;
    }
    if (tif_is_fax(image->compression)) {
        return tif_save_fax_line(c, strip, row, given, nullptr, 0) ? c->xsize : 0;
    }
    if (tif_is_plain_row(image, step)) return tif_save_rows(c, strip, row, given) ? c->xsize : 0;
    uint8_t* place = tif_row_place(c, strip, row);
    if (place != nullptr) {
        tif_make_rows(c, image, image->image_width, channels, planes, step, place);
        return tif_end_row(c, strip, row) ? c->xsize : 0;
    }
    if (c->status != 0) return 0;
    tif_gathering* out = &tif_spec_of(c)->out;
    uint64_t bytes = tif_row_bytes(image, 0) * static_cast<uint64_t>(tif_shape_of(image).planes);
    // Behind the rows a line of bytes has room on its way to them.
    bytes += uint64_t{image->image_width} * image->samples_per_pixel;
    if (!tif_need_room(c, &out->row, &out->row_room, bytes)) return 0;
    tif_make_rows(c, image, image->image_width, channels, planes, step, out->row);
    return tif_save_rows(c, strip, row, out->row) ? c->xsize : 0;
}

int put_tiled_line(CFILE* c, int channels, write_planes buffers) {
    if (!tiles_are_fixed(c)) return tif_putline_to_tiles(c, channels, buffers);
    fail(c, RZL_MODIFY_COMPRESSED, SOURCE, "Cannot modify compressed data");
    return 0;
}

} // namespace

bool tif_is_plain_row(const tif_image* image, size_t step) {
    bool bytes = image->compression == TIF_PLAIN && tif_bits(image) == 8;
    return bytes && tif_shape_of(image).planes == 1 && image->samples_per_pixel == std::max<size_t>(step, 1);
}

void tif_make_rows(const CFILE* c, const tif_image* image, uint32_t width, int channels, write_planes planes,
                   size_t step, uint8_t* rows) {
    size_t samples = image->samples_per_pixel;
    if (samples == 1) return make_band_row(c, image, width, first_given(channels, planes), rows);
    tif_shape shape = tif_shape_of(image);
    int bits = tif_bits(image);
    uint16_t order = tif_spec_of(c)->order;
    auto row_bytes = static_cast<size_t>(tif_row_bytes(image, 0));
    uint8_t* line = bits == 8 ? rows : rows + row_bytes * static_cast<size_t>(shape.planes);
    bool narrowed = !has_flag(c, FLAG_RAW_SAMPLES);
    if (shape.planes == 1) {
        step != 0 ? close_pixels(planes[0], width, step, samples, line)
                  : join_planes(channels, planes, width, samples, line);
        if (bits != 8) tif_pack_bytes(line, bits, order, width * samples, narrowed, rows);
        return;
    }
    for (size_t s = 0; s < samples; ++s) {
        const uint8_t* plane = step != 0 ? nullptr : static_cast<int>(s) < channels ? planes[s] : nullptr;
        uint8_t* to = bits == 8 ? rows + s * row_bytes : line;
        if (step != 0) {
            take_plane(planes[0] + s, width, step, to);
        } else if (plane != nullptr) {
            std::memcpy(to, plane, width);
        } else {
            std::memset(to, 0, width);
        }
        if (bits != 8) tif_pack_bytes(to, bits, order, width, narrowed, rows + s * row_bytes);
    }
}

int tif_put_line(CFILE* c, int channels, write_planes buffers) {
    return put_strip_line(c, channels, buffers, 0);
}

int tif_putline(CFILE* c, int channels, write_planes buffers) {
    if (!can_put(c)) return 0;
    return has_flag(c, FLAG_TILED) ? put_tiled_line(c, channels, buffers) : c->slots.Put_line(c, channels, buffers);
}

int tif_put_interleaved_line(CFILE* c, const uint8_t* buffer) {
    if (tif_image_of(c)->samples_per_pixel < 3) return rzl_putinlv_default(c, buffer);
    if (!can_put(c)) return 0;
    if (!has_flag(c, FLAG_TILED)) return put_strip_line(c, 1, &buffer, static_cast<size_t>(interleave_step(c)));
    return put_tiled_line(c, 1, &buffer);
}
