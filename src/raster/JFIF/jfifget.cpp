// Reading lines of JFIF files.
#include <cstring>

#include "raster/JFIF/jfif.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "jfif/jfifget";
constexpr char WORD[] = "JFIF";

// ---- the coder's lines

// A file that changes under the reader is none that it can go on with.
bool begin(CFILE* c) {
    jfif_spec* spec = jfif_spec_of(c);
    bool at_start = spec->at_start;
    spec->at_start = false;
    if (at_start) return jfif_start_reading(spec->coder);
    jfif_header header = {};
    if (!jfif_read_header(spec->coder, &header)) return false;
    bool same = static_cast<int32_t>(header.width) == spec->across &&
                static_cast<int32_t>(header.height) == spec->down && header.components == spec->components;
    return same ? jfif_start_reading(spec->coder) : fails(c, RZL_READ_FAILED, SOURCE, WORD);
}

bool read_next(CFILE* c, uint8_t* row) {
    return jfif_read_row(jfif_spec_of(c)->coder, row);
}

bool can_be(CFILE* c) {
    return jfif_size_is_credible(jfif_spec_of(c)->coder);
}

constexpr onward_decoder DECODER = {begin, read_next, nullptr, can_be};

// A column of the coded image, all of which is kept.
const uint8_t* find_column(CFILE* c, jfif_spec* spec) {
    if (onward_row(c, &spec->lines, &DECODER, spec->down - 1) == nullptr) return nullptr;
    auto step = static_cast<size_t>(spec->components);
    const uint8_t* from = spec->lines.image + static_cast<size_t>(c->line) * step;
    uint8_t* out = spec->row;
    for (int32_t y = 0; y < spec->down; ++y, from += spec->lines.row_bytes, out += step)
        std::memcpy(out, from, step);
    return spec->row;
}

const uint8_t* find_row(CFILE* c, jfif_spec* spec) {
    if (spec->row == nullptr)
        spec->row = mem_new_array<uint8_t>(static_cast<size_t>(c->xsize) * static_cast<size_t>(spec->components));
    if (spec->row == nullptr) {
        fail(c, RZL_NO_MEMORY, SOURCE, nullptr);
        return nullptr;
    }
    return spec->sideways ? find_column(c, spec) : onward_row(c, &spec->lines, &DECODER, c->line);
}

// ---- pixels into planes

// Inks as they are stored by the programs that make such files, 255 for none. What each lets through is a share of
// what black lets through.
void mix_inks(const uint8_t* row, size_t width, read_planes planes) {
    for (size_t p = 0; p < 3; ++p)
        for (size_t i = 0; planes[p] != nullptr && i < width; ++i)
            planes[p][i] = static_cast<uint8_t>((row[i * 4 + p] * row[i * 4 + 3] + 127) / 255);
}

void deliver(CFILE* c, const jfif_spec* spec, const uint8_t* row, int channels, read_planes buffers) {
    auto width = static_cast<size_t>(c->xsize);
    if (spec->components == 4) {
        mix_inks(row, width, buffers);
    } else if (spec->components == 3) {
        split_pixels(row, width, 3, buffers, 3);
    } else {
        uint8_t* values = values_target(channels, buffers, spec->row);
        if (values != row) std::memcpy(values, row, width);
        rzl_spread_values(c, channels, buffers, values);
    }
}

bool channels_fit(CFILE* c, const jfif_spec* spec, int channels) {
    if (channels != 1 && channels != 3) return false;
    if (spec->colors == jfif_colors::cmyk && c->samples == 4) return false;
    return channels == 3 || c->samples == 1;
}

} // namespace

// The number of the line goes up for a call that does not fit, too.
int jfif_get_line(CFILE* c, int channels, read_planes buffers) {
    jfif_spec* spec = jfif_spec_of(c);
    bool wanted = is_wanted(channels, buffers);
    if (wanted && !channels_fit(c, spec, channels)) {
        ++c->line;
        return fails(c, RZL_UNSUP_JFIF, SOURCE, WORD);
    }
    if (spec->coder == nullptr) return fails(c, RZL_READ_FAILED, SOURCE, WORD);
    const uint8_t* row = wanted ? find_row(c, spec) : nullptr;
    if (wanted && row == nullptr) return 0;
    if (wanted) deliver(c, spec, row, channels, buffers);
    ++c->line;
    return c->xsize;
}

// Columns and inks go by way of the planes.
int jfif_get_pixels(CFILE* c, uint8_t* buffer) {
    jfif_spec* spec = jfif_spec_of(c);
    bool rows = spec->coder != nullptr && spec->components == 3 && !spec->sideways;
    return rows ? onward_get_pixels(c, &spec->lines, &DECODER, buffer) : rzl_getinlv_default(c, buffer);
}
