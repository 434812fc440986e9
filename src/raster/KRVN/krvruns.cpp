// Decoders of everything but byte runs, and the state of a line that is being decoded.
#include <algorithm>
#include <bit>
#include <cstring>

#include "raster/CORE/triples.h"
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

// ---- byte runs ------------------------------------------------------------------------------------------------------
//
// Byte runs: formats 27, 29 and 67, one coded plane after the other.
//
// A control byte of 128 or more repeats the byte behind it 256 - c times; one under 128 is a count of bytes that stand
// as they are. Both directions work on whole words where they can: these formats carry most of the system's pictures.

namespace {

constexpr size_t REPEAT_LIMIT = 128;
constexpr size_t LITERAL_LIMIT = 127;

// A token is moved in blocks of 16 bytes where its plane has room for the last of them; TOKEN_ROOM is what that reads
// at most.
constexpr size_t BLOCK = 16;
constexpr int64_t TOKEN_ROOM = 144;

uint64_t load_word(const uint8_t* p) {
    return load_u64le(p);
}

// The lowest bit set in each byte that is zero; bytes above the first zero one may be marked wrongly.
uint64_t zero_bytes(uint64_t x) {
    return (x - 0x0101010101010101u) & ~x & 0x8080808080808080u;
}

size_t first_marked(uint64_t marks) {
    return static_cast<size_t>(std::countr_zero(marks)) / 8;
}

void fill(uint8_t* out, uint8_t value, size_t count, bool in_blocks) {
    if (!in_blocks && count % BLOCK != 0) {
        std::memset(out, value, count);
        return;
    }
    for (size_t k = 0; k < count; k += BLOCK)
        std::memset(out + k, value, BLOCK);
}

void copy(uint8_t* out, const uint8_t* in, size_t count, bool in_blocks) {
    if (!in_blocks && count % BLOCK != 0) {
        std::memcpy(out, in, count);
        return;
    }
    for (size_t k = 0; k < count; k += BLOCK)
        std::memcpy(out + k, in + k, BLOCK);
}

// Tokens that the source has whole, up to one that does not fit into the line. Gives the pixel reached.
int64_t decode_ahead(uint8_t* out, const krv_line* l, krv_source* s) {
    const uint8_t* next = s->next;
    int64_t pixel = l->pixel;
    int64_t pixels = l->pixels;
    while (pixel < pixels && s->end - next >= TOKEN_ROOM) {
        size_t control = *next;
        bool repeat = control >= REPEAT_LIMIT;
        size_t count = repeat ? 256 - control : control;
        auto left = static_cast<size_t>(pixels - pixel);
        if (count > left) break;
        bool blocks = left - count + static_cast<size_t>(l->slack) >= BLOCK - 1;
        if (repeat) {
            fill(out + pixel, next[1], count, blocks);
            next += 2;
        } else {
            copy(out + pixel, next + 1, count, blocks);
            next += 1 + count;
        }
        pixel += static_cast<int64_t>(count);
    }
    s->next = next;
    return pixel;
}

void put_repeat(krv_line* l, uint8_t value, size_t count) {
    uint8_t* plane = l->planes[l->plane];
    if (plane == nullptr) return;
    uint8_t* out = plane + static_cast<size_t>(l->pixel) * l->step;
    if (l->step == 1) {
        std::memset(out, value, count);
        return;
    }
    for (size_t i = 0; i < count; ++i)
        out[i * l->step] = value;
}

bool put_literals(krv_line* l, krv_source* s, size_t count) {
    uint8_t* plane = l->planes[l->plane];
    if (plane == nullptr || l->step == 1)
        return krv_source_take(s, plane != nullptr ? plane + l->pixel : nullptr, count) == count;
    uint8_t bytes[LITERAL_LIMIT];
    if (krv_source_take(s, bytes, count) != count) return false;
    uint8_t* out = plane + static_cast<size_t>(l->pixel) * l->step;
    for (size_t i = 0; i < count; ++i)
        out[i * l->step] = bytes[i];
    return true;
}

// One token, with nothing assumed. False at the end of the source, and for a token that has to be dropped.
bool decode_token(krv_line* l, krv_source* s) {
    if (!krv_source_has(s)) return false;
    size_t control = *s->next++;
    bool repeat = control >= REPEAT_LIMIT;
    size_t count = repeat ? 256 - control : control;
    l->broken = static_cast<int64_t>(count) > l->pixels - l->pixel || (repeat && !krv_source_has(s));
    if (l->broken) return false;
    if (repeat) {
        put_repeat(l, *s->next++, count);
    } else if (!put_literals(l, s, count)) {
        l->broken = true;
        return false;
    }
    l->pixel += static_cast<int64_t>(count);
    return true;
}

// Where literals that begin at `p` end: before a byte that equals the one before it and the one after it.
const uint8_t* end_of_literals(const uint8_t* p, const uint8_t* end) {
    const uint8_t* limit = static_cast<size_t>(end - p) > LITERAL_LIMIT ? p + LITERAL_LIMIT : end;
    const uint8_t* q = p + 1;
    for (; q + 9 <= end && q < limit; q += 8) {
        uint64_t here = load_word(q);
        uint64_t marks = zero_bytes((here ^ load_word(q - 1)) | (here ^ load_word(q + 1)));
        if (marks != 0) return std::min(q + first_marked(marks), limit);
    }
    if (end - p < 10) {
        for (; q < limit; ++q)
            if (q + 1 < end && q[0] == q[1] && q[0] == q[-1]) return q;
    } else if (q < limit) {
        // The last eight places that have a byte on either side; nothing was found in those before q.
        const uint8_t* last = end - 9;
        uint64_t here = load_word(last);
        uint64_t marks = zero_bytes((here ^ load_word(last - 1)) | (here ^ load_word(last + 1)));
        if (marks != 0) return std::min(last + first_marked(marks), limit);
    }
    return limit;
}

uint8_t* write_repeats(uint8_t* out, uint8_t value, size_t count) {
    for (; count >= REPEAT_LIMIT; count -= REPEAT_LIMIT) {
        *out++ = 0x80;
        *out++ = value;
    }
    if (count > 0) {
        *out++ = static_cast<uint8_t>(256 - count);
        *out++ = value;
    }
    return out;
}

// A run of any length: as many repeats at a time as the code buffer has room for.
void code_repeats(krv_output* o, uint8_t value, uint64_t count) {
    constexpr uint64_t AT_ONCE = REPEAT_LIMIT * 1024;
    while (count > 0) {
        if (o->used > KRV_CODE_BUFFER_SIZE - 2 * (AT_ONCE / REPEAT_LIMIT) - 2) krv_output_piece(o, 0);
        auto now = static_cast<size_t>(std::min(count, AT_ONCE));
        o->used = static_cast<size_t>(write_repeats(o->code + o->used, value, now) - o->code);
        count -= now;
    }
}

} // namespace

size_t krv_run_length(const uint8_t* p, const uint8_t* end) {
    const uint8_t* q = p + 1;
    uint64_t all = 0x0101010101010101u * *p;
    for (; q + 8 <= end; q += 8) {
        uint64_t difference = load_word(q) ^ all;
        if (difference != 0) return static_cast<size_t>(q - p) + first_marked(difference);
    }
    if (end - p >= 8) {
        // The last eight bytes; those before q are equal.
        uint64_t difference = load_word(end - 8) ^ all;
        size_t same = difference != 0 ? first_marked(difference) : 8;
        return static_cast<size_t>(end - p) - 8 + same;
    }
    while (q < end && *q == *p)
        ++q;
    return static_cast<size_t>(q - p);
}

void krv_decode_planes(krv_line* l, krv_source* s) {
    while (!l->whole) {
        uint8_t* plane = l->planes[l->plane];
        if (plane != nullptr && l->step == 1) l->pixel = decode_ahead(plane, l, s);
        if (l->pixel < l->pixels) {
            if (!decode_token(l, s)) return;
            continue;
        }
        ++l->plane;
        l->pixel = 0;
        l->whole = l->plane == l->plane_count;
    }
}

void krv_code_bytes(krv_output* o, const uint8_t* plane, int64_t pixels) {
    if (plane == nullptr) {
        code_repeats(o, 0, static_cast<uint64_t>(pixels));
        return;
    }
    const uint8_t* p = plane;
    const uint8_t* end = plane + pixels;
    while (p < end) {
        if (o->used > KRV_CODE_BUFFER_SIZE - LITERAL_LIMIT - 3) krv_output_piece(o, 0);
        if (p + 1 < end && p[0] == p[1]) {
            size_t run = krv_run_length(p, end);
            code_repeats(o, *p, run);
            p += run;
            continue;
        }
        // A last byte by itself is a literal like any other.
        const uint8_t* stop = end_of_literals(p, end);
        auto count = static_cast<size_t>(stop - p);
        uint8_t* out = o->code + o->used;
        out[0] = static_cast<uint8_t>(count);
        std::memcpy(out + 1, p, count);
        o->used += count + 1;
        p = stop;
    }
}

// ---- what mixes the formats -----------------------------------------------------------------------------------------
//
// Pixels whose samples stand together, into planes and back.
//
// Three samples a pixel are what counts for speed. Where the processor can shuffle bytes, sixteen pixels are moved at a
// time; the plain loops are what the result is, and serve the rest of the line and every other processor.

namespace {

void split_one(const uint8_t* in, uint8_t* plane, size_t samples, size_t step, size_t pixels) {
    for (size_t i = 0; i < pixels; ++i)
        plane[i * step] = in[i * samples];
}

void merge_one(uint8_t* out, const uint8_t* plane, size_t samples, size_t pixels) {
    for (size_t i = 0; i < pixels; ++i)
        out[i * samples] = plane != nullptr ? plane[i] : uint8_t{0};
}

// Planes that are the samples of one interleaved buffer.
bool stand_together(uint8_t* const* planes, size_t samples) {
    for (size_t s = 0; s < samples; ++s)
        if (planes[s] == nullptr || planes[s] != planes[0] + s) return false;
    return true;
}

} // namespace

void krv_split(const uint8_t* in, uint8_t* const* planes, int samples, size_t step, size_t pixels) {
    bool all_three = samples == 3 && step == 1 && planes[0] != nullptr && planes[1] != nullptr && planes[2] != nullptr;
    size_t done = all_three ? split_triples(in, planes, pixels) : 0;
    auto n = static_cast<size_t>(samples);
    if (step == n && stand_together(planes, n)) {
        std::memcpy(planes[0], in, pixels * n);
        return;
    }
    for (size_t s = 0; s < n; ++s)
        if (planes[s] != nullptr) split_one(in + done * n + s, planes[s] + done * step, n, step, pixels - done);
}

void krv_merge(uint8_t* out, const uint8_t* const* planes, int samples, size_t pixels) {
    bool all_three = samples == 3 && planes[0] != nullptr && planes[1] != nullptr && planes[2] != nullptr;
    size_t done = all_three ? join_triples(out, planes, pixels) : 0;
    auto n = static_cast<size_t>(samples);
    for (size_t s = 0; s < n; ++s)
        merge_one(out + done * n + s, planes[s] != nullptr ? planes[s] + done : nullptr, n, pixels - done);
}
