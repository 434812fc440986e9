// Writing PNG files.
#include <cstring>

#include "raster/PNG/pngfile.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "PNG/pngput";

// Depth, channels and palette that follow from the data format and the application's table.
void settle_shape(CFILE* c, png_spec* spec) {
    png_shape* shape = &spec->shape;
    bool is_color = format_is_color(c->format);
    bool bilevel = format_is_bilevel(c->format);
    c->format = is_color ? RZL_FORMAT_RGB : (bilevel ? RZL_FORMAT_BILEVEL : RZL_FORMAT_BYTE);
    (void)format_layout(c->format, &c->samples, &c->bits);
    shape->width = static_cast<uint32_t>(c->xsize);
    shape->height = static_cast<uint32_t>(c->ysize);
    shape->channels = c->samples;
    shape->bits = c->bits;
    size_t given = is_color ? 0 : entries_given(c, spec->announced, bilevel ? 2 : PNG_COLORS);
    shape->indexed = given > 0;
    // A pixel may stand for an entry that is not given, which a file without it would make invalid.
    shape->color_count = shape->indexed ? (bilevel ? 2 : static_cast<int>(PNG_COLORS)) : 0;
    std::memset(shape->colors, 0, sizeof shape->colors);
    store_colors(c->vlt, given, {.step = 3, .blue_first = false}, shape->colors);
}

// A row as the file has it: the plane itself, or what it makes in `row`. Planes not given are 0.
const uint8_t* row_of(const png_spec* spec, write_planes planes) {
    const png_shape* shape = &spec->shape;
    size_t width = shape->width;
    if (shape->channels == 3) {
        bool complete = planes[0] != nullptr && planes[1] != nullptr && planes[2] != nullptr;
        if (!complete) std::memset(spec->row, 0, png_row_bytes(shape));
        join_pixels(spec->row, width, 3, planes, 3);
        return spec->row;
    }
    if (planes[0] == nullptr) {
        std::memset(spec->row, 0, png_row_bytes(shape));
        return spec->row;
    }
    if (shape->bits == 8) return planes[0];
    words_to_bits(planes[0], shape->width, 0, spec->row);
    return spec->row;
}

bool is_next(CFILE* c, const png_spec* spec) {
    bool next = c->mode == MODE_WRITE && c->line == spec->lines_put;
    return next || fails(c, RZL_MODIFY_COMPRESSED, SOURCE, "Cannot modify compressed or scan format data");
}

int put_row(const CFILE* c, png_spec* spec, const uint8_t* row) {
    if (!png_write_one(spec->coder, row)) return 0;
    ++spec->lines_put;
    return c->xsize;
}

} // namespace

// A file that was opened has its header and keeps it, and so does one whose header is written.
int png_write_header(CFILE* c) {
    png_spec* spec = png_spec_of(c);
    if (!is_writable(c)) return refuse(c, RZL_NEEDS_WRITE, SOURCE, "Wrt_hdr");
    if (has_flag(c, FLAG_HEADER_EXISTS)) return 0;
    if (c->xsize < 1 || c->ysize < 1) return refuse(c, RZL_BAD_IMAGE_SIZE, SOURCE, "Wrt_hdr");
    settle_shape(c, spec);
    mem_free(spec->row);
    spec->row = mem_new_array<uint8_t>(png_row_bytes(&spec->shape) + 1);
    if (spec->row == nullptr) return refuse(c, RZL_NO_MEMORY, SOURCE, nullptr);
    png_coder_free(spec->coder);
    spec->coder = png_coder_new(c);
    if (spec->coder == nullptr || !png_start_writing(spec->coder, &spec->shape, spec->level)) return 1;
    spec->lines_put = 0;
    c->line = 0;
    set_flag(c, FLAG_HEADER_EXISTS, true);
    return 0;
}

int png_put_line(CFILE* c, int channels, write_planes buffers) {
    png_spec* spec = png_spec_of(c);
    if (!is_next(c, spec)) return 0;
    if (channels != spec->shape.channels) return fails(c, RZL_UNSUPPORTED, SOURCE, "PNG");
    return put_row(c, spec, row_of(spec, buffers));
}

int png_put_pixels(CFILE* c, const uint8_t* buffer) {
    png_spec* spec = png_spec_of(c);
    bool as_it_is = c->mode == MODE_WRITE && c->samples == 3 && !has_flag(c, FLAG_FOUR_BYTE_PIXELS);
    if (!as_it_is) return rzl_putinlv_default(c, buffer);
    if (putline_error_check(c) != 0 || !is_next(c, spec)) return 0;
    return put_row(c, spec, buffer);
}

void png_close(CFILE* c) {
    png_spec* spec = png_spec_of(c);
    bool is_new = spec != nullptr && c->mode == MODE_WRITE && has_flag(c, FLAG_HEADER_EXISTS);
    if (!is_new) return;
    std::memset(spec->row, 0, png_row_bytes(&spec->shape));
    for (; spec->lines_put < c->ysize; ++spec->lines_put)
        if (!png_write_one(spec->coder, spec->row)) return;
    (void)png_finish_writing(spec->coder);
}
