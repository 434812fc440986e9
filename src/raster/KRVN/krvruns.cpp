// Decoders of everything but byte runs, and the state of a line that is being decoded.
#include <algorithm>
#include <bit>
#include <cstring>

#include "raster/KRVN/krvcode.h"

// Samples of more than one byte go between file and caller as they stand.
static_assert(std::endian::native == std::endian::little);

namespace {

// Sets bits first to end - 1 of a bilevel line.
void set_bits(uint8_t* line, int64_t first, int64_t end) {
    for (; first < end && (first & 15) != 0; ++first) {
        auto at = static_cast<size_t>(first >> 4) * 2 + ((first & 8) != 0 ? 0 : 1);
        line[at] = static_cast<uint8_t>(line[at] | (0x80 >> (first & 7)));
    }
    int64_t words = first < end ? (end - first) / 16 : 0;
    std::memset(line + first / 8, 0xFF, static_cast<size_t>(words) * 2);
    for (first += words * 16; first < end; ++first) {
        auto at = static_cast<size_t>(first >> 4) * 2 + ((first & 8) != 0 ? 0 : 1);
        line[at] = static_cast<uint8_t>(line[at] | (0x80 >> (first & 7)));
    }
}

// Puts `count` equal values at the current pixel. False, with the line broken, when they don't fit.
bool put_values(krv_line* l, unsigned value, int64_t count) {
    if (count > l->pixels - l->pixel) {
        l->broken = true;
        return false;
    }
    uint8_t* out = l->planes[0];
    if (out != nullptr && l->element == 1) {
        std::memset(out + l->pixel, static_cast<int>(value & 0xFF), static_cast<size_t>(count));
    } else if (out != nullptr) {
        auto sample = static_cast<uint16_t>(value);
        for (int64_t i = l->pixel; i < l->pixel + count; ++i)
            std::memcpy(out + i * 2, &sample, 2);
    }
    l->pixel += count;
    l->whole = l->pixel == l->pixels;
    return true;
}

bool put_color(krv_line* l, const uint8_t group[4]) {
    int64_t count = group[3];
    if (count > l->pixels - l->pixel) {
        l->broken = true;
        return false;
    }
    // In the file blue comes first.
    for (int i = 0; i < 3; ++i) {
        uint8_t* out = l->planes[i];
        for (int64_t x = l->pixel; out != nullptr && x < l->pixel + count; ++x)
            out[static_cast<size_t>(x) * l->step] = group[2 - i];
    }
    l->pixel += count;
    l->whole = l->pixel == l->pixels;
    return true;
}

// A word of the coding. Bytes that make no whole word break the line.
bool next_word(krv_line* l, krv_source* s, uint16_t* word) {
    if (!krv_source_has(s)) return false;
    if (krv_source_word(s, word)) return true;
    l->broken = true;
    return false;
}

// The second word of a pair, which has to be there.
bool count_word(krv_line* l, krv_source* s, uint16_t* word) {
    l->broken = !krv_source_word(s, word);
    return !l->broken;
}

size_t element_of(const CFILE* c) {
    switch (c->format) {
    case RZL_FORMAT_BILEVEL:
    case RZL_FORMAT_INT16: return 2;
    case RZL_FORMAT_INT32:
    case RZL_FORMAT_REAL32: return 4;
    case RZL_FORMAT_INT64:
    case RZL_FORMAT_REAL64: return 8;
    case RZL_FORMAT_128: return 16;
    default: return krv_values_are_wide(c) ? 2 : 1;
    }
}

} // namespace

bool krv_values_are_wide(const CFILE* c) {
    if (c->format == RZL_FORMAT_BYTE_PAIRS) return has_flag(c, FLAG_16_BIT);
    return c->format == RZL_FORMAT_PACKED_RUNS && (has_flag(c, FLAG_16_BIT) || c->bits == 16);
}

krv_line krv_new_line(const CFILE* c, int channels, read_planes buffers) {
    krv_line l = {};
    l.plane_count = format_is_color(c->format) ? 3 : (format_is_four(c->format) ? 4 : 1);
    for (int i = 0; i < l.plane_count && i < channels; ++i)
        l.planes[i] = buffers[i];
    // A bilevel line without runs is so many words.
    l.pixels = c->format == RZL_FORMAT_BILEVEL ? (int64_t{c->xsize} + 15) / 16 : c->xsize;
    l.element = element_of(c);
    l.step = l.element;
    l.bits = c->bits;
    return l;
}

krv_decoder krv_decoder_of(const CFILE* c) {
    switch (c->format) {
    case RZL_FORMAT_BILEVEL:
    case RZL_FORMAT_BYTE:
    case RZL_FORMAT_INT16:
    case RZL_FORMAT_INT32:
    case RZL_FORMAT_REAL32:
    case RZL_FORMAT_INT64:
    case RZL_FORMAT_REAL64:
    case RZL_FORMAT_128: return krv_decode_raw;
    case RZL_FORMAT_BILEVEL_RUNS: return krv_decode_bits;
    case RZL_FORMAT_BYTE_PAIRS: return krv_decode_pairs;
    case RZL_FORMAT_COLOR_RUNS: return krv_decode_colors;
    case RZL_FORMAT_PACKED_RUNS:
        if (krv_values_are_wide(c)) return krv_decode_pairs;
        // A word has no room for the count beside a value of 9 to 15 bits that anything writes so.
        return c->bits >= 1 && c->bits <= 8 ? krv_decode_packed : nullptr;
    case RZL_FORMAT_PLANE_RUNS:
    case RZL_FORMAT_BYTE_RUNS:
    case RZL_FORMAT_FOUR_PLANE_RUNS: return krv_decode_planes;
    case RZL_FORMAT_RGB: return krv_decode_groups;
    case RZL_FORMAT_FOUR: return has_flag(c, FLAG_SCANNABLE) ? nullptr : krv_decode_groups;
    default: return nullptr;
    }
}

void krv_refuse_format(CFILE* c, const char* source) {
    fail(c, RZL_NOT_STANDARD, source, "data format");
}

void krv_decode_raw(krv_line* l, krv_source* s) {
    auto wanted = static_cast<uint64_t>(l->pixels - l->pixel) * l->element;
    // Whole elements only: what is over stays in the source, and shows there.
    uint64_t there = krv_source_left(s);
    uint64_t bytes = std::min(wanted, there - there % l->element);
    uint8_t* out = l->planes[0];
    uint8_t* at = out != nullptr ? out + static_cast<size_t>(l->pixel) * l->element : nullptr;
    uint64_t taken = krv_source_take(s, at, bytes);
    l->pixel += static_cast<int64_t>(taken / l->element);
    l->whole = l->pixel == l->pixels;
}

void krv_decode_groups(krv_line* l, krv_source* s) {
    auto size = static_cast<size_t>(l->plane_count);
    while (l->pixel < l->pixels && krv_source_left(s) >= size && krv_source_has(s)) {
        auto at_hand = static_cast<size_t>(s->end - s->next) / size;
        auto pixels = std::min(at_hand, static_cast<size_t>(l->pixels - l->pixel));
        uint8_t* planes[4] = {};
        for (size_t i = 0; i < size; ++i)
            if (l->planes[i] != nullptr) planes[i] = l->planes[i] + static_cast<size_t>(l->pixel) * l->step;
        if (pixels > 0) {
            krv_split(s->next, planes, l->plane_count, l->step, pixels);
            s->next += pixels * size;
        } else {
            // A pixel that lies across two windows.
            uint8_t group[4];
            if (krv_source_take(s, group, size) != size) break;
            krv_split(group, planes, l->plane_count, l->step, 1);
            pixels = 1;
        }
        l->pixel += static_cast<int64_t>(pixels);
    }
    l->whole = l->pixel == l->pixels;
}

void krv_decode_bits(krv_line* l, krv_source* s) {
    uint16_t run = 0;
    for (bool on = false; !l->whole; on = !on) {
        if (!next_word(l, s, &run)) return;
        if (run > l->pixels - l->pixel) {
            l->broken = true;
            return;
        }
        if (on && l->planes[0] != nullptr) set_bits(l->planes[0], l->pixel, l->pixel + run);
        l->pixel += run;
        // An off run closes the line, be it empty.
        l->whole = !on && l->pixel == l->pixels;
    }
}

void krv_decode_pairs(krv_line* l, krv_source* s) {
    uint16_t value = 0;
    uint16_t count = 0;
    while (!l->whole && next_word(l, s, &value))
        if (!count_word(l, s, &count) || !put_values(l, value, count)) return;
}

void krv_decode_packed(krv_line* l, krv_source* s) {
    unsigned mask = (1u << l->bits) - 1;
    uint16_t word = 0;
    while (!l->whole && next_word(l, s, &word)) {
        auto count = static_cast<uint16_t>(word >> l->bits);
        if (count == 0 && !count_word(l, s, &count)) return;
        if (!put_values(l, word & mask, count)) return;
    }
}

void krv_decode_colors(krv_line* l, krv_source* s) {
    uint8_t group[4];
    while (!l->whole && krv_source_has(s)) {
        l->broken = krv_source_take(s, group, 4) != 4;
        if (l->broken || !put_color(l, group)) return;
    }
}
