// Reading lines of Sun raster files.
#include <algorithm>
#include <cstring>

#include "raster/SUN/sun.h"

namespace {

constexpr char SOURCE[] = "SUN/sungetli";

// The line that comes next as the file has it, where it lies or in `row`; null when it is not there.
const uint8_t* read_row(CFILE* c, sun_spec* spec) {
    size_t bytes = sun_row_bytes(c);
    if (sun_is_coded(spec)) {
        if (!has_flag(c, FLAG_LINE_CARRIES)) spec->pending_count = 0;
        if (!sun_decode(c, spec, spec->row, bytes)) return nullptr;
        set_flag(c, FLAG_LINE_CARRIES, spec->pending_count > 0);
        return spec->row;
    }
    const uint8_t* row = sun_go_to_line(c) ? io_take(c, bytes, spec->row) : nullptr;
    if (row == nullptr) spec->file_line = -1;
    return row;
}

void deliver_values(CFILE* c, const sun_spec* spec, const uint8_t* row, int channels, read_planes buffers) {
    if (spec->pixel_bits == 1) {
        uint8_t invert = sun_is_coded(spec) ? 0xFF : 0;
        if (buffers[0] != nullptr) bits_to_words(row, static_cast<uint32_t>(c->xsize), invert, buffers[0]);
        return;
    }
    uint8_t* values = values_target(channels, buffers, spec->row + sun_row_bytes(c));
    std::memcpy(values, row, static_cast<size_t>(c->xsize));
    rzl_spread_values(c, channels, buffers, values);
}

} // namespace

int sun_get_line(CFILE* c, int channels, read_planes buffers) {
    sun_spec* spec = sun_spec_of(c);
    bool wanted = is_wanted(channels, buffers);
    if (wanted && channels != 1 && channels != 3) return fails(c, RZL_NOT_STANDARD_2, SOURCE, "getline");
    if (!has_flag(c, FLAG_HEADER_EXISTS)) return fails(c, RZL_READ_FAILED, SOURCE, "getline"); // a new file
    if (!sun_need_row(c, true)) return 0;
    const uint8_t* row = read_row(c, spec);
    if (row == nullptr) return fails(c, RZL_READ_FAILED, SOURCE, "getline");
    auto width = static_cast<size_t>(c->xsize);
    if (wanted && spec->pixel_bits >= 24) {
        size_t step = static_cast<size_t>(spec->pixel_bits) / 8;
        split_pixels(row, width, step, buffers, static_cast<size_t>(channels));
    } else if (wanted) {
        deliver_values(c, spec, row, channels, buffers);
    }
    ++c->line;
    return c->xsize;
}
