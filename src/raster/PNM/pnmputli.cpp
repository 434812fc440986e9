// Writing PNM files: the header, and lines of text or raw ones.
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "raster/PNM/pnm.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "PNM/pnmputli";

// ---- header --------------------------------------------------------------------------------------------------------

bool write_words(CFILE* c, pnm_spec* spec) {
    char text[64];
    int size = pnm_is_bits(spec) ? std::snprintf(text, sizeof text, "P%1d %d %d\n", spec->kind, c->xsize, c->ysize)
                                 : std::snprintf(text, sizeof text, "P%1d %d %d %d\n", spec->kind, c->xsize, c->ysize,
                                                 spec->max_value);
    spec->data_offset = size;
    return put_all(c, text, static_cast<size_t>(size), SOURCE);
}

// ---- samples -------------------------------------------------------------------------------------------------------

// Planes of a line, with what is not given as zeros, which are the first `width` bytes of `row`.
void complete(const CFILE* c, write_planes buffers, const uint8_t** planes) {
    pnm_spec* spec = pnm_spec_of(c);
    for (size_t s = 0; s < pnm_samples(spec); ++s)
        planes[s] = buffers[s];
    size_t bytes = pnm_is_bits(spec) ? line_bytes(c, c->xsize) : static_cast<size_t>(c->xsize);
    bool missing = std::any_of(planes, planes + pnm_samples(spec), [](const uint8_t* p) { return p == nullptr; });
    if (!missing) return;
    uint8_t* zeros = spec->row + pnm_line_bytes(c);
    std::memset(zeros, 0, bytes);
    for (size_t s = 0; s < pnm_samples(spec); ++s)
        if (planes[s] == nullptr) planes[s] = zeros;
}

// A number as text takes four characters, with blanks before it.
struct number_table {
    char text[256][4];
};
constexpr number_table make_numbers() {
    number_table t = {};
    for (int v = 0; v < 256; ++v) {
        t.text[v][0] = ' ';
        t.text[v][1] = v < 100 ? ' ' : static_cast<char>('0' + v / 100);
        t.text[v][2] = v < 10 ? ' ' : static_cast<char>('0' + v / 10 % 10);
        t.text[v][3] = static_cast<char>('0' + v % 10);
    }
    return t;
}
constexpr number_table NUMBERS = make_numbers();

// `pixels` of them to a line of text.
void store_numbers(const uint8_t* const* planes, size_t samples, size_t pixels, size_t width, int max, uint8_t* out) {
    for (size_t i = 0; i < width; ++i) {
        for (size_t s = 0; s < samples; ++s, out += 4)
            std::memcpy(out, NUMBERS.text[std::min<int>(planes[s][i], max)], 4);
        if (i % pixels == pixels - 1 || i + 1 == width) *out++ = '\n';
    }
}

// The digits of a byte of the line, in which a set bit is white, with a blank behind each.
void store_digits(unsigned bits, size_t count, uint8_t* out) {
    for (size_t i = 0; i < count; ++i) {
        *out++ = (bits & 0x80u >> i) != 0 ? '0' : '1';
        *out++ = ' ';
    }
}

// Four bytes of the line to a line of text.
void store_bits(const uint8_t* words, size_t width, uint8_t* out) {
    for (size_t x = 0; x < width; x += 8) {
        size_t count = std::min<size_t>(width - x, 8);
        store_digits(words[(x / 8) ^ 1], count, out);
        out += count * 2;
        if (x / 8 % 4 == 3 && count == 8) out[-1] = '\n';
    }
    *out = '\n';
}

void store_raw(const uint8_t* const* planes, size_t samples, size_t width, const pnm_spec* spec, uint8_t* row) {
    size_t step = pnm_step(spec);
    if (samples == 3 && step == 1) {
        join_pixels(row, width, 3, planes, 3);
    } else if (step == 1) {
        std::memcpy(row, planes[0], width);
    } else {
        for (size_t i = 0; i < width; ++i)
            for (size_t s = 0; s < samples; ++s, row += 2)
                store_u16be(row, planes[s][i]);
        return;
    }
    auto max = static_cast<uint8_t>(spec->max_value);
    for (size_t i = 0; i < width * samples && max != 255; ++i)
        row[i] = std::min(row[i], max);
}

// ---- lines ---------------------------------------------------------------------------------------------------------

bool store_line(CFILE* c, const uint8_t* const* planes) {
    pnm_spec* spec = pnm_spec_of(c);
    auto width = static_cast<size_t>(c->xsize);
    int most = std::min(spec->max_value, 255);
    switch (spec->kind) {
    case PNM_TEXT_BITS: store_bits(planes[0], width, spec->row); break;
    case PNM_TEXT_GREY: store_numbers(planes, 1, 16, width, most, spec->row); break;
    case PNM_TEXT_COLOR: store_numbers(planes, 3, 6, width, most, spec->row); break;
    case PNM_RAW_BITS: words_to_bits(planes[0], static_cast<uint32_t>(c->xsize), 0xFF, spec->row); break;
    default: store_raw(planes, pnm_samples(spec), width, spec, spec->row);
    }
    if (!pnm_go_to_line(c)) return fails(c, RZL_WRITE_FAILED, SOURCE, nullptr);
    return put_all(c, spec->row, static_cast<size_t>(pnm_line_bytes(c)), SOURCE);
}

} // namespace

// A file that was opened has its header and keeps it, and so does one whose header is written.
int pnm_write_header(CFILE* c) {
    pnm_spec* spec = pnm_spec_of(c);
    if (!is_writable(c)) return refuse(c, RZL_NEEDS_WRITE, SOURCE, "Wrt_hdr");
    if (has_flag(c, FLAG_HEADER_EXISTS)) return 0;
    if (spec->kind == 0) return refuse(c, RZL_WRITE_FAILED, SOURCE, "Wrt_hdr");
    if (c->xsize < 1 || c->ysize < 1) return refuse(c, RZL_BAD_IMAGE_SIZE, SOURCE, "Wrt_hdr");
    pnm_take_kind(c);
    bool at_start = io_tell(c) == 0 || io_seek(c, 0); // a pipe can't be sought, and need not be
    if (!at_start) return refuse(c, RZL_WRITE_FAILED, SOURCE, nullptr);
    if (!write_words(c, spec)) return 1;
    pnm_make_scale(spec);
    spec->file_line = 0;
    c->line = 0;
    set_flag(c, FLAG_HEADER_EXISTS, true);
    return 0;
}

int pnm_putline(CFILE* c, int channels, write_planes buffers) {
    if (pnm_spec_of(c)->kind == 0) return fails(c, RZL_NOT_STANDARD, SOURCE, "Invalid file format for pnm");
    bool given = is_wanted(channels, buffers);
    if (!given) return fails(c, RZL_NO_OUTPUT_BUFFER, SOURCE, "Putline");
    return putline_error_check(c) == 0 ? pnm_put_line(c, channels, buffers) : 0;
}

int pnm_put_line(CFILE* c, int channels, write_planes buffers) {
    const pnm_spec* spec = pnm_spec_of(c);
    if (c->line >= c->ysize) return fails(c, RZL_PAST_END, SOURCE, "PNM putline");
    if (channels != static_cast<int>(pnm_samples(spec)))
        return fails(c, RZL_NOT_STANDARD, SOURCE, "Invalid file format for pnm");
    // Lines of another program's text are of any length.
    if (!pnm_has_places(c))
        return fails(c, RZL_MODIFY_COMPRESSED, SOURCE, "Cannot modify compressed or scan format data");
    if (!pnm_need_row(c, false)) return 0;
    const uint8_t* planes[3] = {};
    complete(c, buffers, planes);
    return store_line(c, planes) ? c->xsize : 0;
}
