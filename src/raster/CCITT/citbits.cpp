// Runs into bits and bits into runs.
#include <algorithm>

#include "raster/CCITT/citbits.h"

namespace {

// Bytes of the 16-bit words from `base` to the end of the line.
size_t bytes_left(uint32_t base, uint32_t width) {
    return (size_t{width} + 15) / 16 * 2 - base / 8;
}

} // namespace

void cit_bits_end(cit_bit_writer* w, uint32_t width) {
    uint32_t last = width & ~63u;
    if (w->base < last) cit_bits_advance(w, last, 0);
    uint8_t bytes[8];
    store_u64le(bytes, cit_swap_words(w->word));
    std::memcpy(w->words + w->base / 8, bytes, bytes_left(w->base, width));
}

bool cit_bits_last_edges(cit_bit_reader* r, uint64_t* edges) {
    uint32_t left = r->width - r->next;
    if (left == 0) return false;
    uint8_t bytes[8] = {};
    std::memcpy(bytes, r->words + r->next / 8, bytes_left(r->next, r->width));
    uint64_t word = cit_swap_words(load_u64le(bytes));
    *edges = (word ^ (word >> 1 | r->last)) & ~(~uint64_t{0} >> left);
    r->base = r->next;
    r->next = r->width;
    return true;
}

bool cit_runs_fit(uint32_t width, const uint16_t* runs, size_t count) {
    uint64_t sum = 0;
    for (size_t i = 0; i < count && sum < width; ++i)
        sum += runs[i];
    return sum == width;
}

void cit_runs_to_bits(uint32_t width, const uint16_t* runs, uint8_t* words) {
    cit_bit_writer w = cit_bits_begin(words);
    uint32_t x = 0;
    while (x < width) {
        x += *runs++;
        if (x >= width) break;
        uint32_t black = std::min<uint32_t>(*runs++, width - x);
        if (black != 0) cit_bits_black(&w, x, x + black);
        x += black;
    }
    cit_bits_end(&w, width);
}

size_t cit_bits_to_runs(uint32_t width, const uint8_t* words, uint16_t* runs) {
    cit_bit_reader r = cit_bits_open(words, width);
    uint16_t* out = runs;
    uint32_t last = 0;
    uint64_t edges = 0;
    while (cit_bits_edges(&r, &edges)) {
        while (edges != 0) {
            uint32_t at = r.base + cit_bits_next(&edges);
            out = cit_put_run(out, at - last);
            last = at;
        }
    }
    return static_cast<size_t>(cit_put_run(out, width - last) - runs);
}

size_t cit_runs_to_bytes(uint32_t width, const uint16_t* runs, uint8_t* bytes) {
    size_t count = (size_t{width} + 7) / 8;
    std::memset(bytes, 0, count);
    uint32_t x = 0;
    for (bool black = false; x < width; black = !black) {
        uint32_t end = x + std::min<uint32_t>(*runs++, width - x);
        while (black && x < end) {
            if (x % 8 == 0 && end - x >= 8) {
                std::memset(bytes + x / 8, 0xFF, (end - x) / 8);
                x += (end - x) / 8 * 8;
            } else {
                bytes[x / 8] = static_cast<uint8_t>(bytes[x / 8] | 1u << x % 8);
                ++x;
            }
        }
        x = end;
    }
    return count;
}

void cit_reverse_bytes(uint8_t* bytes, size_t count) {
    size_t i = 0;
    for (; i + 8 <= count; i += 8) {
        uint64_t v;
        std::memcpy(&v, bytes + i, sizeof v);
        v = (v >> 1 & 0x5555555555555555) | (v & 0x5555555555555555) << 1;
        v = (v >> 2 & 0x3333333333333333) | (v & 0x3333333333333333) << 2;
        v = (v >> 4 & 0x0F0F0F0F0F0F0F0F) | (v & 0x0F0F0F0F0F0F0F0F) << 4;
        std::memcpy(bytes + i, &v, sizeof v);
    }
    for (; i < count; ++i)
        bytes[i] = reversed_bits(bytes[i]);
}
