// Writing BMP files: the headers, raw lines on their way into the file, the run coding, and the file at its close.
#include <algorithm>
#include <cstring>

#include "raster/BMP/bmp.h"
#include "raster/CORE/runs.h"
#include "support/checked.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "BMP/bmpputli";
constexpr uint32_t START_SIZE = BMP_FILE_HEADER_SIZE + BMP_INFO_HEADER_SIZE;
constexpr int64_t AT_FILE_SIZE = 2;
constexpr int64_t AT_DATA_OFFSET = 10;
constexpr size_t BLOCK_BYTES = 0x40000; // of raw lines that go to the file together: what its stream does not gather

// ---- headers -------------------------------------------------------------------------------------------------------

bool write_headers(CFILE* c, const bmp_spec* spec) {
    uint8_t h[START_SIZE] = {'B', 'M'};
    store_u32le(h + AT_DATA_OFFSET, START_SIZE); // this and the file's size are put right at the close
    uint8_t* info = h + BMP_FILE_HEADER_SIZE;
    store_u32le(info, BMP_INFO_HEADER_SIZE);
    store_u32le(info + 4, static_cast<uint32_t>(c->xsize));
    store_u32le(info + 8, static_cast<uint32_t>(c->ysize));
    store_u16le(info + 12, 1);
    store_u16le(info + 14, static_cast<uint16_t>(spec->bit_count));
    store_u32le(info + 16, spec->compression);
    store_u32le(info + 24, static_cast<uint32_t>(spec->across));
    store_u32le(info + 28, static_cast<uint32_t>(spec->down));
    return put_all(c, h, sizeof h, SOURCE);
}

void fill_table(const CFILE* c, const bmp_spec* spec, uint8_t* table) {
    auto count = static_cast<size_t>(spec->colour_count);
    store_colors(c->vlt, entries_given(c, spec->announced, count), BMP_COLOR_LAYOUT, table);
    for (size_t i = 0; i < count && c->vlt == nullptr; ++i)
        std::memset(table + i * 4, static_cast<int>(spec->bit_count == 1 ? i * 255 : i), 3);
}

// Kept for reading back, too.
bool keep_colors(CFILE* c, const uint8_t* table, size_t count) {
    if (!is_readable(c) || count == 0) return true;
    uint8_t* colors = new_color_table(c, BMP_COLORS, 8, SOURCE);
    if (colors == nullptr) return false;
    load_colors(table, count, BMP_COLOR_LAYOUT, colors);
    return true;
}

bool write_colors(CFILE* c, const bmp_spec* spec) {
    uint8_t table[BMP_COLORS * 4] = {};
    fill_table(c, spec, table);
    return keep_colors(c, table, static_cast<size_t>(spec->colour_count)) &&
           put_all(c, table, static_cast<size_t>(spec->colour_count) * 4, SOURCE);
}

// ---- memory --------------------------------------------------------------------------------------------------------

// Room for a coded line: at worst each pixel is a code of its own, and short literals have two bytes more.
size_t coded_line_room(const CFILE* c) {
    return static_cast<size_t>(c->xsize) * 2 + 16;
}

bool allocate_block(CFILE* c, bmp_spec* spec) {
    auto wanted = static_cast<int64_t>((BLOCK_BYTES + spec->row_bytes - 1) / spec->row_bytes);
    spec->block = {};
    spec->block.count = std::min(wanted, int64_t{c->ysize});
    spec->block.rows = mem_new_array<uint8_t>(spec->row_bytes * static_cast<size_t>(spec->block.count));
    spec->block.came = static_cast<uint8_t*>(mem_alloc_zeroed(static_cast<size_t>(c->ysize)));
    return spec->block.rows != nullptr && spec->block.came != nullptr;
}

bool allocate_codes(CFILE* c, bmp_spec* spec) {
    spec->room = coded_line_room(c);
    spec->codes = mem_new_array<uint8_t>(spec->room);
    spec->places = mem_new_array<size_t>(static_cast<size_t>(c->ysize) + 1);
    return spec->codes != nullptr && spec->places != nullptr;
}

// False for an image whose file would be larger than its header can tell.
bool allocate_lines(CFILE* c, bmp_spec* spec) {
    uint64_t row = bmp_row_bytes(c->xsize, spec->bit_count);
    uint64_t all = 0;
    bool fits =
        checked_mul(row, static_cast<uint64_t>(c->ysize), &all) && all <= UINT32_MAX - START_SIZE - BMP_COLORS * 4;
    if (!fits) return fails(c, RZL_BAD_IMAGE_SIZE, SOURCE, "Wrt_hdr");
    spec->row_bytes = static_cast<size_t>(row);
    spec->row = mem_new_array<uint8_t>(spec->row_bytes + static_cast<size_t>(c->xsize));
    bool there = spec->row != nullptr && (bmp_is_coded(spec) ? allocate_codes(c, spec) : allocate_block(c, spec));
    return there || fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
}

// Makes room for one more coded line.
bool need_line(CFILE* c, bmp_spec* spec) {
    size_t wanted = spec->fill + coded_line_room(c);
    if (wanted <= spec->room) return true;
    size_t room = std::max(wanted, spec->room * 2);
    auto* codes = static_cast<uint8_t*>(mem_realloc(spec->codes, room));
    if (codes == nullptr) return fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
    spec->codes = codes;
    spec->room = room;
    return true;
}

// ---- run coding ----------------------------------------------------------------------------------------------------

// Pixels of a line of 4 bits two to a byte, the first in the high bits.
void pack_nibbles(const uint8_t* values, size_t count, uint8_t* out) {
    for (size_t i = 0; i + 2 <= count; i += 2)
        out[i / 2] = static_cast<uint8_t>(values[i] << 4 | (values[i + 1] & 15));
    if (count % 2 != 0) out[count / 2] = static_cast<uint8_t>(values[count - 1] << 4);
}

// What a run repeats: `step` pixels, 1 of 8 bits or 2 of 4 bits that take turns.
uint8_t run_value(const uint8_t* values, size_t step, size_t count) {
    if (step == 1) return values[0];
    uint8_t packed = 0;
    pack_nibbles(values, std::min<size_t>(count, 2), &packed);
    return packed;
}

// Pixels from `at` on that are the same as `step` before, with those `step`; and pixels up to where such a run begins.
size_t run_at(const uint8_t* values, size_t at, size_t width, size_t step) {
    size_t first = std::min(step, width - at);
    size_t more = width - at - first;
    return first + equal_stretch<1>(&values, at, step, std::min(more, BMP_RUN_MOST - first));
}
size_t literal_at(const uint8_t* values, size_t at, size_t width, size_t step) {
    size_t pairs = width - at > step ? width - at - step : 0;
    size_t count = unequal_stretch<1>(&values, at, step, std::min(pairs, BMP_RUN_MOST));
    return count == pairs ? std::min(width - at, BMP_RUN_MOST) : count;
}

uint8_t* put_literal(const uint8_t* values, size_t count, size_t step, uint8_t* out) {
    *out++ = 0;
    *out++ = static_cast<uint8_t>(count);
    size_t stored = step == 1 ? count : (count + 1) / 2;
    if (step == 1) {
        std::memcpy(out, values, count);
    } else {
        pack_nibbles(values, count, out);
    }
    if (stored % 2 != 0) out[stored++] = 0;
    return out + stored;
}

// One or two pixels that are no run of their own.
uint8_t* put_few(const uint8_t* values, size_t count, size_t step, uint8_t* out) {
    for (size_t i = 0; i < count; i += step) {
        *out++ = static_cast<uint8_t>(std::min(step, count - i));
        *out++ = run_value(values + i, step, count - i);
    }
    return out;
}

// A line of values as codes with the code of its end. The bytes written to `out`.
size_t encode_line(const uint8_t* values, size_t width, size_t step, uint8_t* out) {
    const uint8_t* start = out;
    for (size_t at = 0; at < width;) {
        size_t count = run_at(values, at, width, step);
        if (count > step) {
            *out++ = static_cast<uint8_t>(count);
            *out++ = run_value(values + at, step, count);
        } else {
            count = literal_at(values, at, width, step);
            bool few = count < static_cast<size_t>(BMP_LEAST_LITERAL);
            out = few ? put_few(values + at, count, step, out) : put_literal(values + at, count, step, out);
        }
        at += count;
    }
    *out++ = 0;
    *out++ = BMP_END_OF_LINE;
    return static_cast<size_t>(out - start);
}

// A line of 4 bits is told by the low bits of its values.
const uint8_t* low_bits(const bmp_spec* spec, const uint8_t* values, size_t width) {
    if (spec->bit_count == 8) return values;
    uint8_t* low = spec->row + spec->row_bytes;
    for (size_t i = 0; i < width; ++i)
        low[i] = values[i] & 15;
    return low;
}

bool put_coded(CFILE* c, bmp_spec* spec, const uint8_t* values) {
    if (c->mode == MODE_UPDATE || c->line != spec->lines_put)
        return fails(c, RZL_MODIFY_COMPRESSED, SOURCE, "Cannot modify compressed or scan format data");
    if (!need_line(c, spec)) return false;
    auto width = static_cast<size_t>(c->xsize);
    spec->places[spec->lines_put++] = spec->fill;
    size_t step = spec->bit_count == 8 ? 1 : 2;
    spec->fill += encode_line(low_bits(spec, values, width), width, step, spec->codes + spec->fill);
    spec->places[spec->lines_put] = spec->fill;
    return true;
}

// ---- raw lines -----------------------------------------------------------------------------------------------------

void pack_row(const CFILE* c, const bmp_spec* spec, int channels, write_planes buffers, uint8_t* row) {
    auto width = static_cast<size_t>(c->xsize);
    const uint8_t* line = buffers[0];
    bool complete = line != nullptr && (channels == 1 || (buffers[1] != nullptr && buffers[2] != nullptr));
    size_t used = (width * static_cast<size_t>(spec->bit_count) + 7) / 8;
    std::memset(row + (complete ? used : 0), 0, spec->row_bytes - (complete ? used : 0)); // planes not given are 0
    if (spec->bit_count == 24) {
        const uint8_t* const stored[3] = {buffers[2], buffers[1], buffers[0]};
        join_pixels(row, width, 3, stored, 3);
    } else if (line == nullptr) {
        return;
    } else if (spec->bit_count == 1) {
        words_to_bits(line, static_cast<uint32_t>(width), 0, row);
    } else if (spec->bit_count == 4) {
        pack_nibbles(line, width, row);
    } else {
        std::memcpy(row, line, width);
    }
}

// The rows of the block go to their place in the file, and it is empty.
bool write_block(CFILE* c, bmp_spec* spec) {
    bmp_block* b = &spec->block;
    if (b->from == b->to) return true;
    auto row = static_cast<int64_t>(spec->row_bytes);
    if (!io_seek(c, spec->data_offset + b->from * row)) return fails(c, RZL_WRITE_FAILED, SOURCE, nullptr);
    if (!put_all(c, b->rows + (b->from - b->at) * row, static_cast<size_t>((b->to - b->from) * row), SOURCE))
        return false;
    b->from = b->to;
    return true;
}

// Room for a row in the block, which goes to the file first when the row does not go on from those in it. Null when
// that fails.
uint8_t* place_in_block(CFILE* c, bmp_spec* spec, int64_t row) {
    bmp_block* b = &spec->block;
    bool joins = b->from != b->to && row >= b->from - 1 && row <= b->to;
    if (!joins || row < b->at || row >= b->at + b->count) {
        if (!write_block(c, spec)) return nullptr;
        b->at = spec->orientation == RZL_TOP_DOWN ? row - b->count + 1 : row;
        b->from = b->to = row;
    }
    b->from = std::min(b->from, row);
    b->to = std::max(b->to, row + 1);
    b->came[row] = 1;
    return b->rows + (row - b->at) * static_cast<int64_t>(spec->row_bytes);
}

bool put_raw(CFILE* c, bmp_spec* spec, int channels, write_planes buffers) {
    if (spec->block.rows != nullptr) {
        if (!bmp_is_ordered(spec)) return true; // the close refuses them
        uint8_t* place = place_in_block(c, spec, bmp_file_row(c));
        if (place != nullptr) pack_row(c, spec, channels, buffers, place);
        return place != nullptr;
    }
    pack_row(c, spec, channels, buffers, spec->row);
    int64_t place = spec->data_offset + c->line * static_cast<int64_t>(spec->row_bytes);
    if (!io_seek(c, place)) return fails(c, RZL_WRITE_FAILED, SOURCE, nullptr);
    return put_all(c, spec->row, spec->row_bytes, SOURCE);
}

// ---- the close -----------------------------------------------------------------------------------------------------

bool write_coded(CFILE* c, const bmp_spec* spec) {
    if (spec->orientation == RZL_BOTTOM_UP) return put_all(c, spec->codes, spec->fill, SOURCE);
    for (int32_t line = spec->lines_put - 1; line >= 0; --line)
        if (!put_all(c, spec->codes + spec->places[line], spec->places[line + 1] - spec->places[line], SOURCE))
            return false;
    return true;
}

// What waits, and zeros for the lines that have not come.
bool write_rest(CFILE* c, bmp_spec* spec) {
    bmp_block* b = &spec->block;
    if (!write_block(c, spec)) return false;
    std::memset(b->rows, 0, spec->row_bytes * static_cast<size_t>(b->count));
    for (int64_t row = 0; row < c->ysize; ++row) {
        if (b->came[row] != 0) continue;
        b->at = b->from = row;
        while (row + 1 < c->ysize && row - b->from + 1 < b->count && b->came[row + 1] == 0)
            ++row;
        b->to = row + 1;
        if (!write_block(c, spec)) return false;
    }
    return true;
}

bool put_number(CFILE* c, int64_t place, uint32_t number) {
    uint8_t bytes[4];
    store_u32le(bytes, number);
    if (!io_seek(c, place)) return fails(c, RZL_WRITE_FAILED, SOURCE, nullptr);
    return put_all(c, bytes, sizeof bytes, SOURCE);
}

bool write_lines(CFILE* c, bmp_spec* spec) {
    if (!bmp_is_ordered(spec)) return fails(c, RZL_UNSUP_BMP, SOURCE, "orientation");
    // A coded image can outgrow the numbers of its header.
    uint64_t bytes = bmp_is_coded(spec) ? spec->fill : uint64_t{spec->row_bytes} * static_cast<uint64_t>(c->ysize);
    uint64_t size = static_cast<uint64_t>(spec->data_offset) + bytes;
    if (size > UINT32_MAX) return fails(c, RZL_BAD_IMAGE_SIZE, SOURCE, "Bmp close");
    if (!io_seek(c, spec->data_offset)) return fails(c, RZL_WRITE_FAILED, SOURCE, nullptr);
    bool written = bmp_is_coded(spec) ? write_coded(c, spec) : write_rest(c, spec);
    return written && put_number(c, AT_FILE_SIZE, static_cast<uint32_t>(size)) &&
           put_number(c, AT_DATA_OFFSET, static_cast<uint32_t>(spec->data_offset));
}

} // namespace

void bmp_drop_lines(bmp_spec* spec) {
    mem_free(spec->row);
    mem_free(spec->codes);
    mem_free(spec->places);
    mem_free(spec->block.rows);
    mem_free(spec->block.came);
    spec->block = {};
    spec->row = spec->codes = nullptr;
    spec->places = nullptr;
}

// A file that was opened has its header and keeps it, and so does one whose header is written.
int bmp_write_header(CFILE* c) {
    bmp_spec* spec = bmp_spec_of(c);
    if (!is_writable(c)) return refuse(c, RZL_NEEDS_WRITE, SOURCE, "Wrt_hdr");
    if (has_flag(c, FLAG_HEADER_EXISTS)) return 0;
    if (c->xsize < 1 || c->ysize < 1) return refuse(c, RZL_BAD_IMAGE_SIZE, SOURCE, "Wrt_hdr");
    if (bmp_settle_format(c) != 0) return 1;
    if (spec->aspect_ratio > 0) {
        double down = std::min(spec->across * spec->aspect_ratio + 0.5, 65535.0);
        spec->down = static_cast<int32_t>(down);
    }
    bool at_start = io_tell(c) == 0 || io_seek(c, 0);
    if (!at_start) return refuse(c, RZL_WRITE_FAILED, SOURCE, nullptr);
    if (!allocate_lines(c, spec) || !write_headers(c, spec) || !write_colors(c, spec)) {
        bmp_drop_lines(spec);
        return 1;
    }
    spec->data_offset = int64_t{START_SIZE} + spec->colour_count * int64_t{4};
    spec->fill = 0;
    spec->lines_put = 0;
    if (bmp_is_coded(spec)) spec->places[0] = 0;
    c->line = 0;
    set_flag(c, FLAG_HEADER_EXISTS, true);
    return 0;
}

const uint8_t* bmp_read_back(CFILE* c) {
    bmp_spec* spec = bmp_spec_of(c);
    const bmp_block* b = &spec->block;
    int64_t row = bmp_file_row(c);
    auto bytes = static_cast<int64_t>(spec->row_bytes);
    if (row >= b->from && row < b->to) return b->rows + (row - b->at) * bytes;
    if (b->came[row] == 0) {
        std::memset(spec->row, 0, spec->row_bytes);
        return spec->row;
    }
    return io_seek(c, spec->data_offset + row * bytes) ? io_take(c, spec->row_bytes, spec->row) : nullptr;
}

int bmp_put_line(CFILE* c, int channels, write_planes buffers) {
    bmp_spec* spec = bmp_spec_of(c);
    if (channels != 1 && channels != 3) return fails(c, RZL_UNSUP_KRVN, SOURCE, "putline");
    bool writable = spec->header_size != BMP_CORE_HEADER_SIZE && spec->bit_count != 16 && spec->bit_count != 32;
    bool fits = writable && (channels == 3) == (spec->bit_count == 24);
    if (!fits) return fails(c, RZL_UNSUP_BMP, SOURCE, "putline");
    if (!bmp_is_coded(spec)) return put_raw(c, spec, channels, buffers) ? c->xsize : 0;
    const uint8_t* values = buffers[0];
    if (values == nullptr) { // a line that is not given is 0
        std::memset(spec->row + spec->row_bytes, 0, static_cast<size_t>(c->xsize));
        values = spec->row + spec->row_bytes;
    }
    return put_coded(c, spec, values) ? c->xsize : 0;
}

void bmp_close(CFILE* c) {
    bmp_spec* spec = bmp_spec_of(c);
    if (spec == nullptr || !bmp_is_begun(spec)) return;
    (void)write_lines(c, spec);
    bmp_drop_lines(spec);
}
