// The run coding of PCX files. Bytes of a picture without runs go eight at a time, in both directions.
#include <algorithm>
#include <cstring>

#include "raster/CORE/runs.h"
#include "raster/PCX/pcx.h"

namespace {

constexpr size_t WORD = 8;
constexpr uint64_t TOP_BITS = 0x8080808080808080u;

// Whether one of eight bytes has both top bits set, and so can't stand for itself.
constexpr bool has_counts(uint64_t bytes) {
    return (bytes & bytes << 1 & TOP_BITS) != 0;
}

void fill(uint8_t* out, uint8_t value, size_t count) {
    uint64_t word = value * 0x0101010101010101u;
    for (size_t i = 0; i < count; i += WORD)
        std::memcpy(out + i, &word, WORD);
}
static_assert(PCX_ROW_SLACK >= WORD);

// What the file's bytes at hand give. The bytes decoded; stops where a code may be cut.
size_t decode_ahead(io_ahead* a, uint8_t* out, size_t bytes) {
    const uint8_t* next = a->next;
    size_t done = 0;
    while (done < bytes && a->end - next >= 2) {
        if (a->end - next >= static_cast<ptrdiff_t>(WORD) && bytes - done >= WORD) {
            uint64_t word = load_u64le(next);
            if (!has_counts(word)) {
                std::memcpy(out + done, next, WORD);
                next += WORD;
                done += WORD;
                continue;
            }
        }
        uint8_t code = *next++;
        if (code < PCX_RUN) {
            out[done++] = code;
            continue;
        }
        size_t count = std::min<size_t>(code & PCX_RUN_MOST, bytes - done);
        fill(out + done, *next++, count);
        done += count;
    }
    a->next = next;
    return done;
}

// One code, wherever the file's bytes are. False at the end of the file.
bool decode_code(CFILE* c, uint8_t* out, size_t bytes, size_t* done) {
    int code = io_getc(c);
    int value = code >= PCX_RUN ? io_getc(c) : code;
    if (value < 0) return false;
    size_t count = code >= PCX_RUN ? static_cast<size_t>(code) & PCX_RUN_MOST : 1;
    count = std::min(count, bytes - *done);
    std::memset(out + *done, value, count);
    *done += count;
    return true;
}

// Bit 7 of each byte of `v` that is zero.
constexpr uint64_t zero_bytes(uint64_t v) {
    return ~(((v & ~TOP_BITS) + ~TOP_BITS) | v) & TOP_BITS;
}

// Codes singles that stand for themselves and pairs, eight bytes at a time up to where there is anything else, and as
// long as a byte follows: a pair is its count and its value, so its first byte alone changes. The bytes coded, into as
// many; no pair begins at the last.
size_t put_pairs(const uint8_t* in, size_t count, uint8_t* out) {
    constexpr uint64_t PAIRS = (PCX_RUN | 2) * 0x0101010101010101u;
    uint64_t begun = 0; // a pair at the byte in front
    size_t done = 0;
    for (; done + WORD < count; done += WORD) {
        uint64_t word = load_u64le(in + done);
        uint64_t first = zero_bytes(word ^ load_u64le(in + done + 1)); // equal to the byte behind
        uint64_t second = first << 8 | begun;
        uint64_t counted = word & word << 1 & TOP_BITS & ~first & ~second;
        if ((counted | (first & second)) != 0) break; // a single with a count of its own, or a longer run
        uint64_t replaced = (first >> 7) * 0xFF;
        store_u64le(out + done, (word & ~replaced) | (PAIRS & replaced));
        begun = first >> 56;
    }
    return begun != 0 ? done - 1 : done;
}

// Bytes that no equal one follows, each with a count of 1 where it can't stand for itself. Without a branch on their
// values, which in a photograph are any.
uint8_t* put_singles(const uint8_t* in, size_t count, uint8_t* out) {
    for (size_t i = 0; i < count; ++i) {
        size_t counted = in[i] >= PCX_RUN ? 1 : 0;
        out[0] = PCX_RUN | 1;
        out[counted] = in[i];
        out += 1 + counted;
    }
    return out;
}

uint8_t* put_run(uint8_t value, size_t count, uint8_t* out) {
    if (count == 1) return put_singles(&value, 1, out);
    *out++ = static_cast<uint8_t>(PCX_RUN | count);
    *out++ = value;
    return out;
}

} // namespace

bool pcx_decode(CFILE* c, uint8_t* out, size_t bytes) {
    size_t done = 0;
    while (done < bytes) {
        done += decode_ahead(&c->ahead, out + done, bytes - done);
        if (done < bytes && !decode_code(c, out, bytes, &done)) return false;
    }
    return true;
}

size_t pcx_encode(const uint8_t* in, size_t bytes, size_t all, uint8_t* out) {
    const uint8_t* start = out;
    for (size_t at = 0; at < bytes;) {
        if (at + WORD < bytes) {
            size_t coded = put_pairs(in + at, bytes - at, out);
            out += coded;
            at += coded;
            if (bytes - at <= WORD) continue;
            uint64_t equal = lowest_zero_byte(load_u64le(in + at) ^ load_u64le(in + at + 1));
            size_t singles = equal != 0 ? static_cast<size_t>(__builtin_ctzll(equal)) / 8 : WORD;
            out = put_singles(in + at, singles, out);
            at += singles;
            if (singles == WORD) continue;
        }
        size_t most = std::min(bytes - at, PCX_RUN_MOST);
        size_t count = 1 + equal_stretch<1>(&in, at, 1, most - 1);
        out = put_run(in[at], count, out);
        at += count;
    }
    std::memset(out, 0, all - bytes);
    return static_cast<size_t>(out - start) + (all - bytes);
}
