// Writing JFIF files.
#include <algorithm>
#include <cstring>

#include "raster/JFIF/jfif.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "jfif/jfifput";

// What gives a line of pixels: the plane itself, or the planes together in `row`. Planes not given are black.
const uint8_t* pixels_of(const CFILE* c, const jfif_spec* spec, write_planes planes) {
    auto width = static_cast<size_t>(c->xsize);
    auto components = static_cast<size_t>(spec->components);
    if (components == 1 && planes[0] != nullptr) return planes[0];
    bool complete = std::all_of(planes, planes + components, [](const uint8_t* plane) { return plane != nullptr; });
    if (!complete) std::memset(spec->row, 0, width * components);
    join_pixels(spec->row, width, components, planes, components);
    return spec->row;
}

int put_row(const CFILE* c, jfif_spec* spec, const uint8_t* pixels) {
    if (!jfif_write_row(spec->coder, pixels)) return 0;
    ++spec->lines_put;
    return c->xsize;
}

} // namespace

// A file that was opened has its header and keeps it, and so does one whose header is written.
int jfif_write_header(CFILE* c) {
    jfif_spec* spec = jfif_spec_of(c);
    if (!is_writable(c)) return refuse(c, RZL_NEEDS_WRITE, SOURCE, "Wrt_hdr");
    if (has_flag(c, FLAG_HEADER_EXISTS)) return 0;
    jfif_apply_format(c);
    if (spec->components == 4) return refuse(c, RZL_UNSUP_JFIF, SOURCE, "JFIF interpretation");
    bool fits = c->xsize >= 1 && c->xsize <= JFIF_MOST_PIXELS && c->ysize >= 1 && c->ysize <= JFIF_MOST_PIXELS;
    if (!fits) return refuse(c, RZL_BAD_IMAGE_SIZE, SOURCE, "Wrt_hdr");
    mem_free(spec->row);
    spec->row = mem_new_array<uint8_t>(static_cast<size_t>(c->xsize) * static_cast<size_t>(spec->components));
    if (spec->row == nullptr) return refuse(c, RZL_NO_MEMORY, SOURCE, nullptr);
    jfif_coder_free(spec->coder);
    spec->coder = jfif_coder_new(c);
    bool started = spec->coder != nullptr && jfif_start_writing(spec->coder, c->xsize, c->ysize, spec->components);
    if (!started) return 1;
    spec->lines_put = 0;
    c->line = 0;
    set_flag(c, FLAG_HEADER_EXISTS, true);
    return 0;
}

int jfif_put_line(CFILE* c, int channels, write_planes buffers) {
    jfif_spec* spec = jfif_spec_of(c);
    if (c->mode != MODE_WRITE)
        return fails(c, RZL_MODIFY_COMPRESSED, SOURCE, "Cannot modify compressed or scan format data");
    if (channels != spec->components) return fails(c, RZL_UNSUP_JFIF, SOURCE, "JFIF");
    return spec->lines_put >= c->ysize ? c->xsize : put_row(c, spec, pixels_of(c, spec, buffers));
}

int jfif_put_pixels(CFILE* c, const uint8_t* buffer) {
    jfif_spec* spec = jfif_spec_of(c);
    bool as_it_is = c->mode == MODE_WRITE && c->samples == 3 && !has_flag(c, FLAG_FOUR_BYTE_PIXELS);
    if (!as_it_is) return rzl_putinlv_default(c, buffer);
    if (putline_error_check(c) != 0) return 0;
    return spec->lines_put >= c->ysize ? c->xsize : put_row(c, spec, buffer);
}

void jfif_close(CFILE* c) {
    jfif_spec* spec = jfif_spec_of(c);
    bool is_new = spec != nullptr && c->mode == MODE_WRITE && has_flag(c, FLAG_HEADER_EXISTS);
    if (!is_new) return;
    std::memset(spec->row, 0, static_cast<size_t>(c->xsize) * static_cast<size_t>(spec->components));
    for (; spec->lines_put < c->ysize; ++spec->lines_put)
        if (!jfif_write_row(spec->coder, spec->row)) return;
    (void)jfif_finish_writing(spec->coder);
}
