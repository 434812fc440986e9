// Reading lines of PNG files.
#include <cstring>

#include "raster/PNG/pngfile.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "PNG/pngget";
constexpr char WORD[] = "PNG";

// ---- the coder's rows

// A file that changes under the reader is none that it can go on with.
bool begin(CFILE* c) {
    png_spec* spec = png_spec_of(c);
    bool at_start = spec->at_start;
    spec->at_start = false;
    if (at_start) return true;
    png_shape now = {};
    if (!png_read_shape(spec->coder, &now)) return false;
    const png_shape& before = spec->shape;
    bool same = now.width == before.width && now.height == before.height && now.bits == before.bits &&
                now.channels == before.channels && now.interlaced == before.interlaced;
    return same || fails(c, RZL_READ_FAILED, SOURCE, WORD);
}

bool read_next(CFILE* c, uint8_t* row) {
    return png_read_one(png_spec_of(c)->coder, row);
}

bool read_all(CFILE* c, uint8_t* image) {
    png_spec* spec = png_spec_of(c);
    return png_read_whole(spec->coder, image, &spec->shape);
}

bool can_be(CFILE* c) {
    return png_size_is_credible(c, &png_spec_of(c)->shape, true);
}

constexpr onward_decoder DECODER = {begin, read_next, read_all, can_be};

// ---- rows into planes

// Samples with an alpha behind them, over the background.
void lay_plane(const uint8_t* row, size_t width, size_t step, size_t sample, uint8_t back, uint8_t* plane) {
    const uint8_t* alpha = row + step - 1;
    for (size_t i = 0; i < width; ++i) {
        unsigned share = alpha[i * step];
        plane[i] = png_over(row[i * step + sample], share, back);
    }
}

void deliver_colors(const png_shape* shape, const uint8_t* row, read_planes planes) {
    auto step = static_cast<size_t>(shape->channels);
    if (step == 3 || !shape->on_background) {
        split_pixels(row, shape->width, step, planes, 3);
        return;
    }
    for (size_t p = 0; p < 3; ++p)
        if (planes[p] != nullptr) lay_plane(row, shape->width, step, p, shape->background[p], planes[p]);
}

void take_values(const png_shape* shape, const uint8_t* row, uint8_t* values) {
    if (shape->channels == 1) {
        unpack_bytes(row, shape->bits, true, shape->width, false, values);
    } else if (shape->on_background) {
        lay_plane(row, shape->width, 2, 0, shape->background[0], values);
    } else {
        split_pixels(row, shape->width, 2, &values, 1);
    }
}

// Bits as planes of colours: those of the table, or black and white.
void deliver_values(CFILE* c, const png_spec* spec, const uint8_t* row, int channels, read_planes buffers) {
    const png_shape* shape = &spec->shape;
    uint8_t* values = values_target(channels, buffers, spec->row);
    if (shape->bits == 1 && channels == 1) {
        bits_to_words(row, shape->width, 0, values);
        return;
    }
    take_values(shape, row, values);
    if (shape->bits == 1) {
        rzl_spread_bits(c, buffers, values, shape->width);
    } else {
        rzl_spread_values(c, channels, buffers, values);
    }
}

} // namespace

int png_get_line(CFILE* c, int channels, read_planes buffers) {
    png_spec* spec = png_spec_of(c);
    bool wanted = is_wanted(channels, buffers);
    bool fits = !wanted || channels == 3 || (channels == 1 && c->samples == 1);
    if (!fits) return fails(c, RZL_UNSUPPORTED, SOURCE, WORD);
    if (spec->coder == nullptr) return fails(c, RZL_READ_FAILED, SOURCE, WORD);
    if (wanted && spec->row == nullptr) spec->row = mem_new_array<uint8_t>(spec->shape.width);
    if (wanted && spec->row == nullptr) return fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
    const uint8_t* row = wanted ? onward_row(c, &spec->lines, &DECODER, c->line) : nullptr;
    if (wanted && row == nullptr) return 0;
    if (wanted && c->samples == 3) {
        deliver_colors(&spec->shape, row, buffers);
    } else if (wanted) {
        deliver_values(c, spec, row, channels, buffers);
    }
    ++c->line;
    return c->xsize;
}

// Rows with alpha go by way of the planes.
int png_get_pixels(CFILE* c, uint8_t* buffer) {
    png_spec* spec = png_spec_of(c);
    bool rows = spec->coder != nullptr && spec->shape.channels == 3;
    return rows ? onward_get_pixels(c, &spec->lines, &DECODER, buffer) : rzl_getinlv_default(c, buffer);
}
