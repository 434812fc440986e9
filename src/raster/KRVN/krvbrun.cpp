// Byte runs: formats 27, 29 and 67, one coded plane after the other.
//
// A control byte of 128 or more repeats the byte behind it 256 - c times; one under 128 is a count of bytes that stand
// as they are. Both directions work on whole words where they can: these formats carry most of the system's pictures.
#include <algorithm>
#include <bit>
#include <cstring>

#include "raster/KRVN/krvcode.h"

namespace {

constexpr size_t REPEAT_LIMIT = 128;
constexpr size_t LITERAL_LIMIT = 127;

// A token is moved in blocks of 16 bytes, so it may write up to 15 bytes behind its end.
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

void fill_ahead(uint8_t* out, uint8_t value, size_t count) {
    for (size_t k = 0; k < count; k += 16)
        std::memset(out + k, value, 16);
}

void copy_ahead(uint8_t* out, const uint8_t* in, size_t count) {
    for (size_t k = 0; k < count; k += 16)
        std::memcpy(out + k, in + k, 16);
}

// Tokens for which there is room on both sides. Gives the pixel reached.
int64_t decode_ahead(uint8_t* out, int64_t pixel, int64_t pixels, krv_source* s) {
    const uint8_t* next = s->next;
    while (pixels - pixel >= TOKEN_ROOM && s->end - next >= TOKEN_ROOM) {
        size_t control = *next++;
        if (control >= REPEAT_LIMIT) {
            size_t count = 256 - control;
            fill_ahead(out + pixel, *next++, count);
            pixel += static_cast<int64_t>(count);
        } else {
            copy_ahead(out + pixel, next, control);
            next += control;
            pixel += static_cast<int64_t>(control);
        }
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
    for (; q < limit; ++q)
        if (q + 1 < end && q[0] == q[1] && q[0] == q[-1]) return q;
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
    while (q < end && *q == *p)
        ++q;
    return static_cast<size_t>(q - p);
}

void krv_decode_planes(krv_line* l, krv_source* s) {
    while (!l->whole) {
        uint8_t* plane = l->planes[l->plane];
        if (plane != nullptr && l->step == 1) l->pixel = decode_ahead(plane, l->pixel, l->pixels, s);
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
