// TIFF: lines of three or four samples a pixel, as planes of bytes and as interleaved pixels. Samples of other than
// 8 bits become bytes: narrow ones are shifted up, of wide ones the top byte is given.
#include <cstring>

#include "raster/TIFF/tiff.h"
#include "support/memory.h"

namespace {

constexpr const char* SOURCE = "TIFF/tifrgb";

bool widens(const CFILE* c) {
    return !has_flag(c, FLAG_RAW_SAMPLES);
}

// A row of a plane as bytes, `samples` of them. A row of 8-bit samples is given where it is. Null: no row.
const uint8_t* byte_row(CFILE* c, uint32_t segment, uint32_t row, int plane, size_t samples, uint8_t* into) {
    const tif_image* image = tif_image_of(c);
    int bits = image->bits_per_sample[plane];
    const uint8_t* packed = tif_fetch_row(c, segment, row, plane, bits == 8 ? into : nullptr);
    if (packed == nullptr || bits == 8) return packed;
    tif_gathering* out = &tif_spec_of(c)->out;
    if (into == nullptr) {
        if (!tif_need_room(c, &out->row, &out->row_room, samples)) return nullptr;
        into = out->row;
    }
    tif_unpack_bytes(packed, bits, tif_spec_of(c)->order, samples, widens(c), into);
    return into;
}

void split3(const uint8_t* pixels, size_t count, uint8_t* const* planes) {
    uint8_t* red = planes[0];
    uint8_t* green = planes[1];
    uint8_t* blue = planes[2];
    for (size_t i = 0; i < count; ++i) {
        red[i] = pixels[3 * i];
        green[i] = pixels[3 * i + 1];
        blue[i] = pixels[3 * i + 2];
    }
}

void split_sample(const uint8_t* pixels, size_t count, size_t step, uint8_t* plane) {
    for (size_t i = 0; i < count; ++i)
        plane[i] = pixels[i * step];
}

bool all_given(int channels, uint8_t* const* planes) {
    return channels >= 3 && planes[0] != nullptr && planes[1] != nullptr && planes[2] != nullptr;
}

// The fourth sample of red, green, blue is none of the picture: a plane for it is cleared.
bool drops_sample(const tif_image* image, int sample) {
    return sample == 3 && image->photometric == TIF_RGB;
}

bool split_pixels(CFILE* c, uint32_t segment, uint32_t row, int channels, uint8_t* const* planes) {
    const tif_image* image = tif_image_of(c);
    size_t width = tif_shape_of(image).width;
    size_t step = image->samples_per_pixel;
    const uint8_t* pixels = byte_row(c, segment, row, 0, width * step, nullptr);
    if (pixels == nullptr) return false;
    int first = 0;
    if (step == 3 && all_given(channels, planes)) {
        split3(pixels, width, planes);
        first = 3;
    }
    for (int s = first; s < channels && s < static_cast<int>(step); ++s) {
        if (planes[s] == nullptr) continue;
        if (drops_sample(image, s)) {
            std::memset(planes[s], 0, width);
        } else {
            split_sample(pixels + s, width, step, planes[s]);
        }
    }
    return true;
}

bool copy_planes(CFILE* c, uint32_t segment, uint32_t row, int channels, uint8_t* const* planes) {
    const tif_image* image = tif_image_of(c);
    size_t width = tif_shape_of(image).width;
    for (int s = 0; s < channels && s < image->samples_per_pixel; ++s) {
        if (planes[s] == nullptr) continue;
        if (drops_sample(image, s)) {
            std::memset(planes[s], 0, width);
        } else if (byte_row(c, segment, row, s, width, planes[s]) == nullptr) {
            return false;
        }
    }
    return true;
}

void spread_pixels(const uint8_t* from, size_t count, size_t samples, uint8_t* pixels, size_t step) {
    for (size_t i = 0; i < count; ++i)
        for (size_t s = 0; s < samples; ++s)
            pixels[i * step + s] = from[i * samples + s];
}

} // namespace

bool tif_colour_is_readable(CFILE* c) {
    const tif_image* image = tif_image_of(c);
    if (image->samples_per_pixel != 3 && image->samples_per_pixel != 4) {
        return tif_fails(c, RZL_UNSUP_TIFF, SOURCE, "Tiff samp/pix");
    }
    bool colour = image->photometric == TIF_RGB || image->photometric == TIF_CMYK;
    return colour || tif_fails(c, RZL_UNSUP_TIFF, SOURCE, "Tiff RGB/CMYK");
}

bool tif_colour_planes(CFILE* c, uint32_t segment, uint32_t row, int channels, uint8_t* const* planes) {
    bool apart = tif_shape_of(tif_image_of(c)).planes > 1;
    return apart ? copy_planes(c, segment, row, channels, planes) : split_pixels(c, segment, row, channels, planes);
}

bool tif_colour_pixels(CFILE* c, uint32_t segment, uint32_t row, uint8_t* pixels, size_t step) {
    const tif_image* image = tif_image_of(c);
    tif_shape shape = tif_shape_of(image);
    size_t samples = image->samples_per_pixel;
    if (shape.planes == 1 && step == samples) {
        return byte_row(c, segment, row, 0, shape.width * samples, pixels) != nullptr;
    }
    for (int plane = 0; plane < shape.planes; ++plane) {
        const uint8_t* from = byte_row(c, segment, row, plane, shape.width * size_t(shape.together), nullptr);
        if (from == nullptr) return false;
        spread_pixels(from, shape.width, static_cast<size_t>(shape.together), pixels + plane, step);
    }
    return true;
}
