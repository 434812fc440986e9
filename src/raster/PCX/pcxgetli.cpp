// Reading lines of PCX files.
#include <algorithm>
#include <cstring>

#include "raster/CCITT/ccitt.h"
#include "raster/PCX/pcx.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "PCX/pcxgetli";

// The planes of the line that is asked for, where they lie or in `row`; null when they are not there.
const uint8_t* read_row(CFILE* c, pcx_spec* spec) {
    size_t bytes = pcx_row_bytes(spec);
    if (pcx_is_coded(spec)) return pcx_decode(c, spec->row, bytes) ? spec->row : nullptr;
    int64_t place = static_cast<int64_t>(PCX_HEADER_SIZE) + c->line * static_cast<int64_t>(bytes);
    if (spec->file_line != c->line && !io_seek(c, place)) return nullptr;
    spec->file_line = -1;
    const uint8_t* row = io_take(c, bytes, spec->row);
    if (row != nullptr && c->mode == MODE_READ) spec->file_line = c->line + 1;
    return row;
}

// Indices whose bits stand in planes of their own, the lowest in the first.
void join_planes(const pcx_spec* spec, const uint8_t* row, size_t width, uint8_t* values) {
    std::memset(values, 0, width);
    for (int32_t plane = 0; plane < spec->planes; ++plane, row += spec->bytes_per_line)
        for (size_t i = 0; i < width; ++i)
            values[i] = static_cast<uint8_t>(values[i] | (row[i / 8] >> (7 - i % 8) & 1) << plane);
}

void deliver_values(CFILE* c, const pcx_spec* spec, const uint8_t* row, int channels, read_planes buffers) {
    auto width = static_cast<size_t>(c->xsize);
    uint8_t* values = values_target(channels, buffers, spec->row + pcx_row_bytes(spec) + PCX_ROW_SLACK);
    if (values == nullptr) return;
    if (format_is_bilevel(c->format) && channels == 1) {
        bits_to_words(row, static_cast<uint32_t>(c->xsize), 0, values);
        return;
    }
    if (spec->indexed) {
        join_planes(spec, row, width, values);
    } else {
        unpack_bytes(row, spec->bits, true, width, false, values);
    }
    if (format_is_bilevel(c->format)) {
        rzl_spread_bits(c, buffers, values, c->xsize);
    } else {
        rzl_spread_values(c, channels, buffers, values);
    }
}

void deliver_colors(const CFILE* c, const pcx_spec* spec, const uint8_t* row, int channels, read_planes buffers) {
    bool widen = !has_flag(c, FLAG_RAW_SAMPLES);
    for (int p = 0; p < channels; ++p, row += spec->bytes_per_line)
        if (buffers[p] != nullptr)
            unpack_bytes(row, spec->bits, true, static_cast<size_t>(c->xsize), widen, buffers[p]);
}

// False, with the status, when there is no such line of runs.
bool has_rle_line(CFILE* c) {
    rzl_getline_check(c);
    if (c->status != 0) return false;
    if (has_flag(c, FLAG_SQUETCH)) return fails(c, RZL_UNSUP_PCX, SOURCE, "No squetch for RLE lines");
    return format_is_bilevel(c->format) || fails(c, RZL_UNSUP_PCX, SOURCE, "PCX");
}

// The runs with none longer than 32767: what is more stands behind a run of 0.
size_t split_runs(const uint16_t* runs, size_t count, uint16_t* out) {
    constexpr uint16_t RUN_MOST = 32767;
    size_t made = 0;
    for (size_t i = 0; i < count; ++i) {
        uint16_t left = runs[i];
        for (; left > RUN_MOST; left = static_cast<uint16_t>(left - RUN_MOST)) {
            out[made++] = RUN_MOST;
            out[made++] = 0;
        }
        out[made++] = left;
    }
    if (made % 2 == 0) out[made++] = 0; // the last is one of clear bits
    return made;
}

} // namespace

int pcx_get_line(CFILE* c, int channels, read_planes buffers) {
    pcx_spec* spec = pcx_spec_of(c);
    bool wanted = is_wanted(channels, buffers);
    if (wanted && channels != 1 && channels != 3) return fails(c, RZL_UNSUP_PCX, SOURCE, "getline");
    if (spec->row == nullptr) return fails(c, RZL_READ_FAILED, SOURCE, "getline"); // a new file without its header
    const uint8_t* row = read_row(c, spec);
    if (row == nullptr) return fails(c, RZL_READ_FAILED, SOURCE, nullptr);
    if (wanted && c->samples == 3) {
        deliver_colors(c, spec, row, channels, buffers);
    } else if (wanted) {
        deliver_values(c, spec, row, channels, buffers);
    }
    ++c->line;
    return c->xsize;
}

// A buffer that is too small leaves the line to be read again.
int pcx_get_rle_line(CFILE* c, int channels, read_planes buffers) {
    constexpr size_t MORE_ROOM = 128; // what is asked for beyond the need
    if (!has_rle_line(c)) return 0;
    auto width = static_cast<uint32_t>(c->xsize);
    mem_guard<uint8_t> words(static_cast<uint8_t*>(mem_alloc(line_bytes(c, c->xsize))));
    // A line has at most 65536 pixels, so two of its runs are split at most, once or twice.
    constexpr size_t MOST_SPLITS = 4;
    size_t most = cit_max_runs(width);
    mem_guard<uint16_t> counted(mem_new_array<uint16_t>(most));
    mem_guard<uint16_t> runs(mem_new_array<uint16_t>(most + 2 * MOST_SPLITS + 1));
    if (!words || !counted || !runs) return fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
    int64_t start = io_tell(c);
    uint8_t* plane = words.get();
    if (pcx_get_line(c, 1, &plane) <= 0) return 0;
    size_t count = split_runs(counted.get(), cit_bits_to_runs(width, words.get(), counted.get()), runs.get());
    size_t bytes = count * sizeof(uint16_t);
    bool fits = channels > 0 && buffers[0] != nullptr && bytes <= static_cast<size_t>(std::max(c->rle_size, 0));
    c->rle_size = static_cast<int32_t>(fits ? bytes : bytes + MORE_ROOM);
    if (fits) {
        std::memcpy(buffers[0], runs.get(), bytes);
        rzl_note_line(c);
        return static_cast<int>(count);
    }
    --c->line;
    pcx_spec_of(c)->file_line = -1;
    if (!io_seek(c, start)) return fails(c, RZL_READ_FAILED, SOURCE, nullptr);
    return fails(c, RZL_RLE_BUFFER_SMALL, SOURCE, nullptr);
}
