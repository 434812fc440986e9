// Reading lines of Targa files. A line is brought together as the file's pixels, out of packets where it is run-coded,
// and turned into planes by a function that was chosen once.
#include <algorithm>
#include <cstring>

#include "raster/TARGA/tga.h"

namespace {

constexpr char SOURCE[] = "TARGA/tgagetli";

// ---- pixels into planes --------------------------------------------------------------------------------------------

void unpack_bytes_apart(const CFILE* c, const uint8_t* row, uint8_t* const* planes) {
    split_pixels(row, static_cast<size_t>(c->xsize), tga_step(tga_spec_of(c)), planes, 1);
}

void unpack_triples(const CFILE* c, const uint8_t* row, uint8_t* const* planes) {
    uint8_t* const stored[3] = {planes[2], planes[1], planes[0]};
    split_pixels(row, static_cast<size_t>(c->xsize), tga_step(tga_spec_of(c)), stored, 3);
}

// 5 bits each, red in bits 10 to 14.
void unpack_words(const CFILE* c, const uint8_t* row, uint8_t* const* planes) {
    auto width = static_cast<size_t>(c->xsize);
    int up = has_flag(c, FLAG_RAW_SAMPLES) ? 0 : 3;
    for (int p = 0; p < 3; ++p) {
        uint8_t* out = planes[p];
        int down = 10 - p * 5;
        for (size_t i = 0; out != nullptr && i < width; ++i)
            out[i] = static_cast<uint8_t>((load_u16le(row + i * 2) >> down & 31) << up);
    }
}

// ---- run-coded rows ------------------------------------------------------------------------------------------------

// `count` pixels of `step` bytes that are all the packet's. Bytes behind them, up to TGA_ROW_SLACK, may change.
void fill_pixels(uint8_t* out, const uint8_t* pixel, size_t step, size_t count) {
    if (step == 1) {
        std::memset(out, pixel[0], count);
        return;
    }
    uint32_t word;
    std::memcpy(&word, pixel, sizeof word);
    for (size_t i = 0; i < count; ++i)
        std::memcpy(out + i * step, &word, sizeof word);
}

// The head of the packet that comes next, with the pixel of a run.
bool begin_packet(CFILE* c, tga_spec* spec, size_t step) {
    int head = io_getc(c);
    if (head < 0) return false;
    spec->pending_run = (head & TGA_RUN) != 0;
    if (spec->pending_run) {
        uint8_t spare[4];
        const uint8_t* pixel = io_take(c, step, spare);
        if (pixel == nullptr) return false;
        std::memcpy(spec->pixel, pixel, step);
    }
    spec->pending = (head & (TGA_RUN - 1)) + 1;
    return true;
}

// A row out of packets, of which the last may go on in the next row.
bool decode_row(CFILE* c, tga_spec* spec, uint8_t* out) {
    size_t step = tga_step(spec);
    uint8_t spare[TGA_PACKET_MOST * 4];
    if (!has_flag(c, FLAG_LINE_CARRIES)) spec->pending = 0;
    for (int32_t left = c->xsize; left > 0;) {
        if (spec->pending == 0 && !begin_packet(c, spec, step)) return false;
        int32_t count = std::min(spec->pending, left);
        size_t bytes = static_cast<size_t>(count) * step;
        if (spec->pending_run) {
            fill_pixels(out, spec->pixel, step, static_cast<size_t>(count));
        } else {
            const uint8_t* pixels = io_take(c, bytes, spare);
            if (pixels == nullptr) return false;
            std::memcpy(out, pixels, bytes);
        }
        out += bytes;
        left -= count;
        spec->pending -= count;
    }
    set_flag(c, FLAG_LINE_CARRIES, spec->pending > 0);
    return true;
}

// ---- rows ----------------------------------------------------------------------------------------------------------

// The line that is asked for as the file has it, where it lies or in `room`; null when it is not there.
const uint8_t* read_row(CFILE* c, tga_spec* spec, uint8_t* room) {
    if (tga_is_coded(spec)) return decode_row(c, spec, room) ? room : nullptr;
    size_t bytes = static_cast<size_t>(c->xsize) * tga_step(spec);
    int64_t place = spec->data_offset + c->line * static_cast<int64_t>(bytes);
    if (spec->file_line != c->line && !io_seek(c, place)) return nullptr;
    spec->file_line = -1;
    const uint8_t* row = io_take(c, bytes, room);
    if (row != nullptr) spec->file_line = tga_next_file_line(c);
    return row;
}

// False, with the status: the call does not fit the file. A line that is passed over fits any.
bool channels_fit(CFILE* c, const tga_spec* spec, int channels, bool wanted) {
    if (wanted && channels != 1 && channels != 3) return fails(c, RZL_UNSUP_TGA, SOURCE, "getline");
    if (spec->unpack == nullptr) return fails(c, RZL_UNSUP_TGA, SOURCE, "depth");
    return !wanted || channels != 1 || c->samples == 1 || fails(c, RZL_NOT_STANDARD, SOURCE, "getline");
}

} // namespace

tga_unpack tga_unpack_of(const tga_spec* spec) {
    bool is_color = (spec->image_type & ~TGA_CODED) == TGA_COLOR;
    int32_t depth = tga_depth(spec);
    size_t step = tga_step(spec);
    if (!is_color) return depth == 8 ? unpack_bytes_apart : nullptr;
    if (step == 2) return depth == 15 || depth == 16 ? unpack_words : nullptr;
    return step >= 3 && (depth == 24 || depth == 32) ? unpack_triples : nullptr;
}

int tga_get_line(CFILE* c, int channels, read_planes buffers) {
    tga_spec* spec = tga_spec_of(c);
    bool wanted = is_wanted(channels, buffers);
    if (!channels_fit(c, spec, channels, wanted)) return 0;
    if (spec->row == nullptr) return fails(c, RZL_READ_FAILED, SOURCE, "getline"); // a new file without its header
    // Bytes of one plane need no row in between.
    bool direct = c->samples == 1 && tga_step(spec) == 1;
    uint8_t* values = c->samples == 1 ? values_target(channels, buffers, spec->row) : nullptr;
    uint8_t* room = direct && values != nullptr ? values : spec->row;
    const uint8_t* row = read_row(c, spec, room);
    if (row == nullptr) return fails(c, RZL_READ_FAILED, SOURCE, "getline");
    if (c->samples == 1 && wanted) {
        if (row != values) spec->unpack(c, row, &values);
        rzl_spread_values(c, channels, buffers, values);
    } else if (wanted) {
        spec->unpack(c, row, buffers);
    }
    ++c->line;
    return c->xsize;
}
