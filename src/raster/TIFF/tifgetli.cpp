// TIFF: lines of one sample a pixel, and the line slots for reading.
#include <cstring>

#include "raster/CORE/lines.h"
#include "raster/CORE/tilesetup.h"
#include "raster/TIFF/tiff.h"

namespace {

constexpr const char* SOURCE = "TIFF/tifgetli";

// Samples of 2 to 7 bits are shifted up to fill their byte, unless they are indexes of a colour table or wanted as
// they are.
bool is_widened(const CFILE* c, const tif_image* image) {
    return tif_bits(image) < 8 && c->color_table == nullptr && !has_flag(c, FLAG_RAW_SAMPLES);
}

uint8_t* first_buffer(int channels, read_planes buffers) {
    for (int i = 0; buffers != nullptr && i < channels; ++i)
        if (buffers[i] != nullptr) return buffers[i];
    return nullptr;
}

// The values in the first of three buffers, turned into colours in all of them.
void spread_line(CFILE* c, int channels, read_planes buffers) {
    bool three = channels == 3 && buffers[0] != nullptr && buffers[1] != nullptr && buffers[2] != nullptr;
    const tif_image* image = tif_image_of(c);
    if (!three || tif_bits(image) > 8 || tif_is_bilevel(image)) return;
    if (c->color_table != nullptr) {
        flag_guard colours(c, FLAG_RAW_SAMPLES, false);
        rzl_apply_color_table(c, buffers[0], buffers[1], buffers[2], c->xsize);
        return;
    }
    for (int i = 1; i < 3; ++i)
        std::memcpy(buffers[i], buffers[0], static_cast<size_t>(c->xsize));
}

bool get_line(CFILE* c, int channels, read_planes buffers) {
    const tif_image* image = tif_image_of(c);
    auto line = static_cast<uint32_t>(c->line);
    uint32_t strip = line / image->rows_per_strip;
    uint32_t row = line % image->rows_per_strip;
    if (image->samples_per_pixel != 1) {
        return tif_colour_is_readable(c) && tif_colour_planes(c, strip, row, channels, buffers);
    }
    if (!tif_band_line(c, strip, row, first_buffer(channels, buffers))) return false;
    spread_line(c, channels, buffers);
    return true;
}

// Grey samples of less than a byte in several buffers: the core would shift them up once more.
bool is_narrow_grey(const CFILE* c) {
    const tif_image* image = tif_image_of(c);
    return image->samples_per_pixel == 1 && tif_bits(image) > 1 && is_widened(c, image);
}

int get_narrow_line(CFILE* c, int channels, read_planes buffers) {
    uint8_t* first = first_buffer(channels, buffers);
    int pixels = rzl_getline_generic(c, first != nullptr ? 1 : 0, &first);
    for (int i = 0; pixels > 0 && i < channels; ++i) {
        bool other = buffers[i] != nullptr && buffers[i] != first;
        if (other) std::memcpy(buffers[i], first, static_cast<size_t>(pixels));
    }
    return pixels;
}

} // namespace

bool tif_band_line(CFILE* c, uint32_t segment, uint32_t row, uint8_t* line) {
    const tif_image* image = tif_image_of(c);
    uint32_t width = tif_shape_of(image).width;
    if (tif_is_bilevel(image)) return tif_fetch_bits(c, segment, row, line);
    int bits = tif_bits(image);
    bool direct = bits == 8 || (bits == 16 && tif_spec_of(c)->order == TIF_LITTLE);
    const uint8_t* bytes = tif_fetch_row(c, segment, row, 0, direct ? line : nullptr);
    if (bytes == nullptr) return false;
    if (bits < 8) {
        tif_unpack_bytes(bytes, bits, tif_spec_of(c)->order, width, is_widened(c, image), line);
    } else if (bytes != line) {
        tif_unpack_samples(bytes, bits, tif_spec_of(c)->order, width, line);
    }
    return true;
}

int tif_get_line(CFILE* c, int channels, read_planes buffers) {
    const tif_image* image = tif_image_of(c);
    bool wanted = first_buffer(channels, buffers) != nullptr;
    if (c->line < 0 || static_cast<uint32_t>(c->line) >= image->image_length) {
        fail(c, RZL_PAST_END, SOURCE, "getline");
        return 0;
    }
    bool got = !wanted || get_line(c, channels, buffers);
    ++c->line;
    return got ? c->xsize : 0;
}

// The row of tiles in hand is made anew when it is to hold other values.
int tif_getline(CFILE* c, int channels, read_planes buffers) {
    tif_spec* spec = tif_spec_of(c);
    bool raw = has_flag(c, FLAG_RAW_SAMPLES);
    if (raw != spec->raw_row && has_flag(c, FLAG_TILED) && !c->tile->row_dirty) drop_tile_row(c);
    spec->raw_row = raw;
    bool tiles = has_flag(c, FLAG_TILED) && !has_flag(c, FLAG_SQUETCH) && is_readable(c);
    if (tiles && !tif_fill_tile_row(c)) return 0;
    return is_narrow_grey(c) ? get_narrow_line(c, channels, buffers) : rzl_getline_generic(c, channels, buffers);
}

// Strips go straight into the buffer; tiles are buffered in interleaved rows.
int tif_get_interleaved_line(CFILE* c, uint8_t* buffer) {
    const tif_image* image = tif_image_of(c);
    bool colour = image->samples_per_pixel >= 3;
    if (!colour || has_flag(c, FLAG_SQUETCH)) return rzl_getinlv_default(c, buffer);
    rzl_getline_check(c);
    if (c->status != 0 || !tif_colour_is_readable(c)) return 0;
    if (has_flag(c, FLAG_TILED)) return tif_getline(c, 1, &buffer);
    auto line = static_cast<uint32_t>(c->line);
    uint32_t strip = line / image->rows_per_strip;
    auto step = static_cast<size_t>(interleave_step(c));
    if (!tif_colour_pixels(c, strip, line % image->rows_per_strip, buffer, step)) return 0;
    ++c->line;
    return c->xsize;
}
