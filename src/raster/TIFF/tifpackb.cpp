// PackBits: a control byte, then either so many bytes as they are, or one byte that is repeated.
//
// The packer's pieces are 64 bytes long at most. (A literal run takes in a last single byte behind it, and can so have
// 65.) Other writers use 128; the unpacker takes all.
#include <algorithm>
#include <cstring>

#include "raster/TIFF/tiff.h"

namespace {

constexpr size_t PIECE = 64;

uint8_t* put_run(uint8_t* out, uint8_t value, size_t count) {
    for (; count >= PIECE; count -= PIECE) {
        *out++ = 0xC1;
        *out++ = value;
    }
    if (count == 0) return out;
    *out++ = static_cast<uint8_t>(1 - static_cast<int>(count));
    *out++ = value;
    return out;
}

// Where the literal run that begins at `p` ends: at its full length, or in front of three equal bytes.
const uint8_t* literal_end(const uint8_t* p, const uint8_t* end) {
    const uint8_t* limit = p + std::min<size_t>(PIECE, static_cast<size_t>(end - p) - 1);
    ++p;
    const uint8_t* triples = std::min(limit, end - 2); // no three bytes begin behind this
    while (p < triples && !(p[0] == p[1] && p[0] == p[2]))
        ++p;
    if (p == triples) p = limit;
    return p + 1 == end ? end : p;
}

// Pieces are short: moved in steps of fixed size, which may go up to a step beyond.
constexpr size_t STEP = 32;

void copy_steps(uint8_t* to, const uint8_t* from, size_t count) {
    for (size_t i = 0; i < count; i += STEP)
        std::memcpy(to + i, from + i, STEP);
}

void fill_steps(uint8_t* to, uint8_t value, size_t count) {
    uint64_t pattern = value * 0x0101010101010101u;
    uint64_t patterns[STEP / sizeof pattern];
    for (uint64_t& p : patterns)
        p = pattern;
    for (size_t i = 0; i < count; i += STEP)
        std::memcpy(to + i, patterns, STEP);
}

} // namespace

size_t tif_run_length(const uint8_t* first, const uint8_t* end) {
    const uint8_t* p = first + 1;
    uint64_t pattern = *first * 0x0101010101010101u;
    while (end - p >= 8) {
        uint64_t word;
        std::memcpy(&word, p, sizeof word);
        if (word != pattern)
            return static_cast<size_t>(p - first) + static_cast<size_t>(__builtin_ctzll(word ^ pattern)) / 8;
        p += 8;
    }
    while (p != end && *p == *first)
        ++p;
    return static_cast<size_t>(p - first);
}

size_t tif_packbits_pack(const uint8_t* source, uint8_t* target, size_t length) {
    const uint8_t* p = source;
    const uint8_t* end = source + length;
    uint8_t* out = target;
    while (p != end) {
        if (p + 1 == end) {
            *out++ = 0;
            *out++ = *p++;
        } else if (p[0] == p[1]) {
            size_t count = tif_run_length(p, end);
            out = put_run(out, *p, count);
            p += count;
        } else {
            const uint8_t* stop = literal_end(p, end);
            auto count = static_cast<size_t>(stop - p);
            *out++ = static_cast<uint8_t>(count - 1);
            std::memcpy(out, p, count);
            out += count;
            p = stop;
        }
    }
    return static_cast<size_t>(out - target);
}

size_t tif_packbits_unpack(const uint8_t* source, size_t size, uint8_t* target, size_t length, size_t room,
                           size_t* filled) {
    const uint8_t* p = source;
    const uint8_t* end = source + size;
    size_t at = 0;
    while (at < length && p != end) {
        int control = *p < 128 ? *p : *p - 256;
        ++p;
        if (control >= 0) {
            auto wanted = static_cast<size_t>(control) + 1;
            bool steps = wanted <= length - at && wanted + STEP <= room - at;
            if (steps && wanted + STEP <= static_cast<size_t>(end - p)) {
                copy_steps(target + at, p, wanted);
                p += wanted;
                at += wanted;
                continue;
            }
            auto there = std::min(wanted, static_cast<size_t>(end - p));
            auto count = std::min(there, length - at);
            std::memcpy(target + at, p, count);
            p += there;
            at += count;
        } else if (control != -128 && p != end) {
            auto count = static_cast<size_t>(1 - control);
            if (count <= length - at && count + STEP <= room - at) {
                fill_steps(target + at, *p++, count);
                at += count;
                continue;
            }
            count = std::min(count, length - at);
            std::memset(target + at, *p++, count);
            at += count;
        }
    }
    *filled = at;
    return static_cast<size_t>(p - source);
}
