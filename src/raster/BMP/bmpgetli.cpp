// Reading lines of BMP files.
#include <algorithm>
#include <cstring>

#include "raster/BMP/bmp.h"

namespace {

constexpr char SOURCE[] = "BMP/bmpgetli";

// ---- raw lines -----------------------------------------------------------------------------------------------------

// The raw line that is asked for, where it lies or in `row`; null when it is not there.
const uint8_t* read_row(CFILE* c, bmp_spec* spec) {
    if (spec->block.rows != nullptr) return bmp_read_back(c);
    int64_t place = spec->data_offset + c->line * static_cast<int64_t>(spec->row_bytes);
    if (spec->file_line != c->line && !io_seek(c, place)) return nullptr;
    spec->file_line = -1;
    const uint8_t* row = io_take(c, spec->row_bytes, spec->row);
    if (row != nullptr && c->mode == MODE_READ) spec->file_line = c->line + 1;
    return row;
}

void unpack_nibbles(const uint8_t* row, size_t width, uint8_t* values) {
    for (size_t i = 0; i + 2 <= width; i += 2) {
        values[i] = row[i / 2] >> 4;
        values[i + 1] = row[i / 2] & 15;
    }
    if (width % 2 != 0) values[width - 1] = row[width / 2] >> 4;
}

// Values of a line of up to 8 bits, a byte each.
void unpack_values(const CFILE* c, const uint8_t* row, uint8_t* values) {
    auto width = static_cast<size_t>(c->xsize);
    switch (bmp_spec_of(c)->bit_count) {
    case 1:
        for (size_t i = 0; i < width; ++i)
            values[i] = row[i / 8] >> (7 - i % 8) & 1;
        break;
    case 4: unpack_nibbles(row, width, values); break;
    default: std::memcpy(values, row, width);
    }
}

template <size_t Step> void unpack_field(const uint8_t* row, size_t width, const bmp_bit_field* f, uint8_t* plane) {
    for (size_t i = 0; i < width; ++i) {
        uint32_t pixel = Step == 2 ? load_u16le(row + i * 2) : load_u32le(row + i * 4);
        plane[i] = f->bytes[(pixel & f->mask) >> f->shift];
    }
}

void unpack_colors(const CFILE* c, const uint8_t* row, read_planes buffers) {
    const bmp_spec* spec = bmp_spec_of(c);
    auto width = static_cast<size_t>(c->xsize);
    if (spec->bit_count == 24 || (spec->bit_count == 32 && spec->compression == BMP_RAW)) {
        uint8_t* const stored[3] = {buffers[2], buffers[1], buffers[0]};
        split_pixels(row, width, spec->bit_count == 24 ? 3 : 4, stored, 3);
        return;
    }
    auto* unpack = spec->bit_count == 16 ? unpack_field<2> : unpack_field<4>;
    for (size_t p = 0; p < 3; ++p)
        if (buffers[p] != nullptr) unpack(row, width, &spec->fields[p], buffers[p]);
}

// ---- run-coded lines -----------------------------------------------------------------------------------------------

// A line being decoded.
struct decoder {
    CFILE* c;
    bmp_spec* spec;
    uint8_t* out;
    size_t x, width;
    size_t limit; // pixels that a line may have codes for; those behind the width are dropped
    bool at_end;  // of the line
};

// Pixels of so many that come next which the line has room for.
size_t visible(const decoder* d, size_t count) {
    return d->x < d->width ? std::min(count, d->width - d->x) : 0;
}

void end_line(decoder* d) {
    size_t rest = visible(d, d->width);
    if (rest > 0) std::memset(d->out + d->x, 0, rest);
    d->x = d->limit;
    d->at_end = true;
}

bool put_run(decoder* d, size_t length, uint8_t value) {
    if (length > d->limit - d->x) return false;
    size_t count = visible(d, length);
    uint8_t* out = d->out + d->x;
    if (d->spec->bit_count == 8) {
        std::memset(out, value, count);
    } else {
        const uint8_t turns[2] = {static_cast<uint8_t>(value >> 4), static_cast<uint8_t>(value & 15)};
        for (size_t i = 0; i < count; ++i)
            out[i] = turns[i % 2];
    }
    d->x += length;
    return true;
}

// Pixels as they are, filled up to 16 bits.
bool put_literal(decoder* d, size_t length) {
    uint8_t spare[BMP_RUN_MOST + 1];
    bool bytes = d->spec->bit_count == 8;
    size_t stored = ((bytes ? length : (length + 1) / 2) + 1) / 2 * 2;
    if (length > d->limit - d->x) return false;
    size_t count = visible(d, length);
    const uint8_t* pixels = io_take(d->c, stored, spare);
    if (pixels == nullptr) return false;
    if (bytes) {
        std::memcpy(d->out + d->x, pixels, count);
    } else {
        unpack_nibbles(pixels, count, d->out + d->x);
    }
    d->x += length;
    return true;
}

// A step to the right and down: what is passed over is 0, and a line further down goes on where it leads to.
bool step(decoder* d) {
    uint8_t spare[2];
    const uint8_t* by = d->spec->extended ? io_take(d->c, 2, spare) : nullptr;
    if (by == nullptr || d->x > d->width || by[0] > d->width - d->x) return false;
    size_t across = by[0];
    int32_t down = by[1];
    if (down == 0) {
        if (across > 0) std::memset(d->out + d->x, 0, across);
        d->x += across;
        return true;
    }
    d->spec->lines_below = down;
    d->spec->start_x = static_cast<int32_t>(d->x + across);
    end_line(d);
    return true;
}

bool take_escape(decoder* d, int code) {
    switch (code) {
    case BMP_END_OF_LINE: end_line(d); return true;
    case BMP_END_OF_IMAGE:
        d->spec->ended = true;
        end_line(d);
        return true;
    case BMP_DELTA: return step(d);
    default: return put_literal(d, static_cast<size_t>(code));
    }
}

// Behind a full line its end is still to come. Anything else there is dropped, and so is a file's end: the line is
// whole.
void take_end(decoder* d) {
    uint8_t spare[2];
    const uint8_t* code = io_take(d->c, 2, spare);
    if (code == nullptr || code[0] != 0) return;
    if (code[1] == BMP_END_OF_IMAGE) d->spec->ended = true;
    if (code[1] == BMP_DELTA) (void)step(d);
}

// Where decoding goes on in this line. False: it is one that is passed over.
bool begin_line(decoder* d) {
    bmp_spec* spec = d->spec;
    if (!has_flag(d->c, FLAG_LINE_CARRIES)) {
        spec->ended = false;
        spec->lines_below = spec->start_x = 0;
    }
    bool passes = spec->ended || (spec->lines_below > 0 && --spec->lines_below > 0);
    if (!passes) d->x = static_cast<size_t>(spec->start_x);
    spec->start_x = passes ? spec->start_x : 0;
    std::memset(d->out, 0, passes ? d->width : d->x);
    return !passes;
}

// Some programs code the bytes that fill up a raw line, too, which is taken from files of today's programs.
size_t codes_limit(const CFILE* c, const bmp_spec* spec) {
    if (!spec->extended) return static_cast<size_t>(c->xsize);
    return spec->row_bytes * (spec->bit_count == 8 ? 1 : 2);
}

bool decode_line(CFILE* c, bmp_spec* spec, uint8_t* out) {
    auto width = static_cast<size_t>(c->xsize);
    decoder d = {c, spec, out, 0, width, codes_limit(c, spec), false};
    if (begin_line(&d)) {
        while (!d.at_end && d.x < d.limit) {
            uint8_t spare[2];
            const uint8_t* code = io_take(c, 2, spare);
            if (code == nullptr && d.x >= d.width) break; // the line is whole
            if (code == nullptr) return false;
            bool good = code[0] != 0 ? put_run(&d, code[0], code[1]) : take_escape(&d, code[1]);
            if (!good) return false;
        }
        if (!d.at_end) take_end(&d);
    }
    set_flag(c, FLAG_LINE_CARRIES, spec->ended || spec->lines_below > 0);
    return true;
}

// ---- delivery ------------------------------------------------------------------------------------------------------

// Lines of one plane.
bool deliver_plane(CFILE* c, bmp_spec* spec, int channels, read_planes buffers) {
    uint8_t* spare = spec->row + spec->row_bytes;
    uint8_t* values = values_target(channels, buffers, spare);
    if (bmp_is_coded(spec)) {
        if (!decode_line(c, spec, values != nullptr ? values : spare)) return false;
    } else {
        const uint8_t* row = read_row(c, spec);
        if (row == nullptr) return false;
        if (values == nullptr) return true;
        if (spec->bit_count == 1 && channels == 1) {
            bits_to_words(row, static_cast<uint32_t>(c->xsize), 0, values);
            return true;
        }
        unpack_values(c, row, values);
    }
    rzl_spread_values(c, channels, buffers, values);
    return true;
}

bool deliver_colors(CFILE* c, bmp_spec* spec, int channels, read_planes buffers) {
    const uint8_t* row = read_row(c, spec);
    if (row == nullptr) return false;
    if (channels == 3) unpack_colors(c, row, buffers);
    return true;
}

bool channels_fit(CFILE* c, int channels, read_planes buffers) {
    bool wanted = std::any_of(buffers, buffers + channels, [](const uint8_t* plane) { return plane != nullptr; });
    if (!wanted) return true;
    if (channels == 1 && c->samples == 3) return fails(c, RZL_NOT_STANDARD, SOURCE, "getline");
    return channels == 1 || channels == 3 || fails(c, RZL_UNSUP_BMP, SOURCE, "getline");
}

} // namespace

int bmp_get_line(CFILE* c, int channels, read_planes buffers) {
    bmp_spec* spec = bmp_spec_of(c);
    if (!channels_fit(c, channels, buffers)) return 0;
    if (spec->row == nullptr) return fails(c, RZL_READ_FAILED, SOURCE, "getline"); // a new file without its header
    // Coded lines of a new file are not in the file before its close, and lines of no order that it has never are.
    bool held = bmp_is_begun(spec) && (bmp_is_coded(spec) || !bmp_is_ordered(spec));
    if (held) return fails(c, RZL_UNSUP_BMP, SOURCE, "getline");
    bool there =
        c->samples == 3 ? deliver_colors(c, spec, channels, buffers) : deliver_plane(c, spec, channels, buffers);
    if (!there) return fails(c, RZL_READ_FAILED, SOURCE, "getline");
    ++c->line;
    return c->xsize;
}
