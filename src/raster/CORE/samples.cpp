// Sizes of lines, and samples on their way between the file and the caller: see samples.h.
#include "raster/CORE/samples.h"

#include <algorithm>
#include <cstring>

#include "raster/CORE/cfile.h"
#include "raster/CORE/squetch.h"
#include "raster/CORE/triples.h"
#include "support/bytes.h"
#include "support/memory.h"

size_t line_bytes(const CFILE* c, int64_t pixels) {
    auto n = static_cast<size_t>(pixels > 0 ? pixels : 0);
    if (format_is_bilevel(c->format)) return (n + 15) / 16 * 2;
    switch (c->format) {
    case RZL_FORMAT_INT16: return n * 2;
    case RZL_FORMAT_INT32:
    case RZL_FORMAT_REAL32: return n * 4;
    case RZL_FORMAT_INT64:
    case RZL_FORMAT_REAL64: return n * 8;
    case RZL_FORMAT_128: return n * 16;
    case RZL_FORMAT_BYTE_PAIRS: return has_flag(c, FLAG_16_BIT) ? n * 2 : n;
    // Values of more than 8 bits are delivered as 16-bit samples, so their line must have the room.
    case RZL_FORMAT_PACKED_RUNS: return has_flag(c, FLAG_16_BIT) || c->bits > 8 ? n * 2 : n;
    default: return n;
    }
}

int interleave_step(const CFILE* c) {
    if (has_flag(c, FLAG_FOUR_BYTE_PIXELS)) return 4;
    return c->samples > 1 ? c->samples : 1;
}

namespace {

bool is_whole_bytes(int bits) {
    return bits % 8 == 0;
}

// ---- whole bytes in the file's order

uint32_t load_bytes(const uint8_t* p, int bytes, bool big) {
    uint32_t value = 0;
    for (int i = 0; i < bytes; ++i)
        value = value << 8 | p[big ? i : bytes - 1 - i];
    return value;
}
void store_bytes(uint8_t* p, int bytes, bool big, uint32_t value) {
    for (int i = 0; i < bytes; ++i, value >>= 8)
        p[big ? bytes - 1 - i : i] = static_cast<uint8_t>(value);
}

// ---- values of a line

uint32_t load_line_value(const uint8_t* line, int bits, size_t i) {
    if (bits <= 8) return line[i];
    if (bits <= 16) {
        uint16_t value;
        std::memcpy(&value, line + i * 2, sizeof value);
        return value;
    }
    uint32_t value;
    std::memcpy(&value, line + i * 4, sizeof value);
    return value;
}
void store_line_value(uint8_t* line, int bits, size_t i, uint32_t value) {
    if (bits <= 8) {
        line[i] = static_cast<uint8_t>(value);
    } else if (bits <= 16) {
        auto narrow = static_cast<uint16_t>(value);
        std::memcpy(line + i * 2, &narrow, sizeof narrow);
    } else {
        std::memcpy(line + i * 4, &value, sizeof value);
    }
}

// 16 and 32 bits differ between row and line by their byte order at most.
template <typename Word> void copy_words(const uint8_t* from, uint8_t* to, size_t count, bool swap) {
    if (!swap) {
        std::memcpy(to, from, count * sizeof(Word));
        return;
    }
    for (size_t i = 0; i < count; ++i) {
        Word word;
        std::memcpy(&word, from + i * sizeof word, sizeof word);
        if constexpr (sizeof word == 2) word = __builtin_bswap16(word);
        if constexpr (sizeof word == 4) word = __builtin_bswap32(word);
        std::memcpy(to + i * sizeof word, &word, sizeof word);
    }
}

bool copy_whole(const uint8_t* from, int bits, bool big, size_t count, uint8_t* to) {
    constexpr bool machine_is_big = __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__;
    bool swap = big != machine_is_big;
    if (bits == 8) std::memcpy(to, from, count);
    if (bits == 16) copy_words<uint16_t>(from, to, count, swap);
    if (bits == 32) copy_words<uint32_t>(from, to, count, swap);
    return bits == 8 || bits == 16 || bits == 32;
}

// ---- bilevel rows

// The first pixel of a word is in its top bit, and its low byte comes first: bytes of the row change places in pairs.
void swap_pairs(const uint8_t* from, size_t pairs, uint8_t invert, uint8_t* to) {
    size_t bytes = pairs * 2;
    uint64_t flips = invert * 0x0101010101010101u;
    size_t i = 0;
    for (; i + 8 <= bytes; i += 8) {
        uint64_t v;
        std::memcpy(&v, from + i, sizeof v);
        v = (v & 0x00FF00FF00FF00FFu) << 8 | (v >> 8 & 0x00FF00FF00FF00FFu);
        v ^= flips;
        std::memcpy(to + i, &v, sizeof v);
    }
    for (; i < bytes; i += 2) {
        uint8_t first = from[i];
        to[i] = static_cast<uint8_t>(from[i + 1] ^ invert);
        to[i + 1] = static_cast<uint8_t>(first ^ invert);
    }
}

} // namespace

void unpack_samples(const uint8_t* row, int bits, bool big, size_t count, uint8_t* line) {
    if (copy_whole(row, bits, big, count, line)) return;
    if (is_whole_bytes(bits)) {
        auto bytes = static_cast<size_t>(bits / 8);
        for (size_t i = 0; i < count; ++i)
            store_line_value(line, bits, i, load_bytes(row + i * bytes, bits / 8, big));
        return;
    }
    sample_reader in = {row, 0, 0};
    for (size_t i = 0; i < count; ++i)
        store_line_value(line, bits, i, next_sample(&in, bits));
}

void pack_samples(const uint8_t* line, int bits, bool big, size_t count, uint8_t* row) {
    if (copy_whole(line, bits, big, count, row)) return;
    if (is_whole_bytes(bits)) {
        auto bytes = static_cast<size_t>(bits / 8);
        for (size_t i = 0; i < count; ++i)
            store_bytes(row + i * bytes, bits / 8, big, load_line_value(line, bits, i));
        return;
    }
    sample_writer out = {row, 0, 0};
    for (size_t i = 0; i < count; ++i)
        put_sample(&out, bits, load_line_value(line, bits, i));
    end_samples(&out);
}

void unpack_bytes(const uint8_t* row, int bits, bool big, size_t count, bool widen, uint8_t* out) {
    if (bits == 8) {
        std::memcpy(out, row, count);
    } else if (bits > 8 && is_whole_bytes(bits)) {
        auto bytes = static_cast<size_t>(bits / 8);
        size_t top = big ? 0 : bytes - 1;
        for (size_t i = 0; i < count; ++i)
            out[i] = row[i * bytes + top];
    } else {
        int up = widen && bits < 8 ? 8 - bits : 0;
        int down = bits > 8 ? bits - 8 : 0;
        sample_reader in = {row, 0, 0};
        for (size_t i = 0; i < count; ++i)
            out[i] = static_cast<uint8_t>(next_sample(&in, bits) >> down << up);
    }
}

void pack_bytes(const uint8_t* in, int bits, bool big, size_t count, bool widen, uint8_t* row) {
    if (bits == 8) {
        std::memcpy(row, in, count);
    } else if (bits > 8 && is_whole_bytes(bits)) {
        auto bytes = static_cast<size_t>(bits / 8);
        // The byte repeated is the same shade of more bits.
        for (size_t i = 0; i < count; ++i)
            store_bytes(row + i * bytes, bits / 8, big, in[i] * 0x01010101u);
    } else {
        int down = widen && bits < 8 ? 8 - bits : 0;
        sample_writer out = {row, 0, 0};
        for (size_t i = 0; i < count; ++i) {
            uint32_t value = in[i];
            put_sample(&out, bits,
                       bits > 8 ? value << (bits - 8) | value >> (16 - bits > 0 ? 16 - bits : 0) : value >> down);
        }
        end_samples(&out);
    }
}

void bits_to_words(const uint8_t* row, uint32_t width, uint8_t invert, uint8_t* words) {
    size_t bytes = (size_t{width} + 7) / 8;
    uint8_t odd = bytes % 2 != 0 ? row[bytes - 1] : uint8_t{0};
    swap_pairs(row, bytes / 2, invert, words);
    if (bytes % 2 != 0) {
        words[bytes] = static_cast<uint8_t>(odd ^ invert);
        words[bytes - 1] = 0;
    }
    if (width % 8 != 0) {
        size_t last = (bytes - 1) ^ 1;
        words[last] = static_cast<uint8_t>(words[last] & 0xFF00u >> (width % 8));
    }
}

void words_to_bits(const uint8_t* words, uint32_t width, uint8_t invert, uint8_t* row) {
    size_t bytes = (size_t{width} + 7) / 8;
    uint8_t odd = bytes % 2 != 0 ? words[bytes] : uint8_t{0};
    swap_pairs(words, bytes / 2, invert, row);
    if (bytes % 2 != 0) row[bytes - 1] = static_cast<uint8_t>(odd ^ invert);
    if (width % 8 != 0) row[bytes - 1] = static_cast<uint8_t>(row[bytes - 1] & 0xFF00u >> (width % 8));
}

// ---- pixels

namespace {

// A step that the compiler knows; 0: as told.
template <size_t Step> void split_plane(const uint8_t* pixels, size_t count, size_t step, uint8_t* plane) {
    for (size_t i = 0; i < count; ++i)
        plane[i] = pixels[i * (Step != 0 ? Step : step)];
}
template <size_t Step> void join_plane(uint8_t* pixels, size_t count, size_t step, const uint8_t* plane) {
    for (size_t i = 0; i < count; ++i)
        pixels[i * (Step != 0 ? Step : step)] = plane[i];
}

template <typename Plane> bool are_triples(Plane* const* planes, size_t step, size_t samples) {
    return step == 3 && samples == 3 && planes[0] != nullptr && planes[1] != nullptr && planes[2] != nullptr;
}

} // namespace

void split_pixels(const uint8_t* pixels, size_t count, size_t step, uint8_t* const* planes, size_t samples) {
    auto* split = step == 3 ? split_plane<3> : step == 4 ? split_plane<4> : split_plane<0>;
    size_t done = are_triples(planes, step, samples) ? split_triples(pixels, planes, count) : 0;
    pixels += done * step;
    for (size_t s = 0; s < samples; ++s) {
        if (planes[s] != nullptr) split(pixels + s, count - done, step, planes[s] + done);
    }
}

void join_pixels(uint8_t* pixels, size_t count, size_t step, const uint8_t* const* planes, size_t samples) {
    auto* join = step == 3 ? join_plane<3> : step == 4 ? join_plane<4> : join_plane<0>;
    size_t done = are_triples(planes, step, samples) ? join_triples(pixels, planes, count) : 0;
    pixels += done * step;
    for (size_t s = 0; s < samples; ++s) {
        if (planes[s] != nullptr) join(pixels + s, count - done, step, planes[s] + done);
    }
}

// ---- values

namespace {

// Bits to shift up a value of `bits` bits to fill a byte.
int shift_to_byte(int64_t bits) {
    return bits >= 1 && bits < 8 ? static_cast<int>(8 - bits) : 0;
}

void look_up(const CFILE* c, uint8_t* red, uint8_t* green, uint8_t* blue, int64_t count) {
    int shift = has_flag(c, FLAG_RAW_SAMPLES) ? 0 : shift_to_byte(c->vlt_bits);
    for (int64_t i = 0; i < count; ++i) {
        const uint8_t* entry = c->color_table + size_t{red[i]} * 3;
        red[i] = static_cast<uint8_t>(entry[0] << shift);
        if (green != nullptr) green[i] = static_cast<uint8_t>(entry[1] << shift);
        if (blue != nullptr) blue[i] = static_cast<uint8_t>(entry[2] << shift);
    }
}

} // namespace

void rzl_apply_color_table(CFILE* c, uint8_t* red, uint8_t* green, uint8_t* blue, int64_t count) {
    if (count <= 0) return;
    if (c->color_table != nullptr) {
        look_up(c, red, green, blue, count);
        return;
    }
    rzl_widen_samples(c, red, count);
    auto bytes = static_cast<size_t>(count);
    if (green != nullptr) std::memcpy(green, red, bytes);
    if (blue != nullptr) std::memcpy(blue, red, bytes);
}

uint8_t* values_target(int channels, uint8_t* const* buffers, uint8_t* spare) {
    if (channels > 0 && buffers[0] != nullptr) return buffers[0];
    for (int i = 1; i < channels; ++i)
        if (buffers[i] != nullptr) return spare;
    return nullptr;
}

namespace {

// Three planes of which some are not wanted, the first among them that are, take the stored values.
void spread_colors(CFILE* c, uint8_t* const* buffers, uint8_t* values, int64_t count) {
    bool all = buffers[0] != nullptr && buffers[1] != nullptr && buffers[2] != nullptr;
    if (all || values != buffers[0]) rzl_apply_color_table(c, values, buffers[1], buffers[2], count);
}

} // namespace

void rzl_spread_values(CFILE* c, int channels, uint8_t* const* buffers, uint8_t* values) {
    if (values == nullptr) return;
    if (channels == 3) {
        spread_colors(c, buffers, values, c->xsize);
    } else {
        rzl_widen_samples(c, values, c->xsize);
    }
}

void rzl_spread_bits(CFILE* c, uint8_t* const* buffers, uint8_t* values, int64_t count) {
    if (values == nullptr || count <= 0) return;
    if (c->color_table != nullptr) {
        spread_colors(c, buffers, values, count);
        return;
    }
    if (!has_flag(c, FLAG_RAW_SAMPLES))
        for (int64_t i = 0; i < count; ++i)
            values[i] = values[i] != 0 ? 255 : 0;
    for (int i = 0; i < 3; ++i)
        if (buffers[i] != nullptr && buffers[i] != values) std::memcpy(buffers[i], values, static_cast<size_t>(count));
}

bool bits_have_colors(const CFILE* c) {
    return format_is_bilevel(c->format) && c->color_table != nullptr && !has_flag(c, FLAG_RAW_SAMPLES);
}

// From the last pixel on, so that a byte is written behind all bits that are still to be read; the first word, whose
// pixels stand in front of none, is taken out before.
void rzl_bits_to_values(uint8_t* line, int64_t count) {
    if (count <= 0) return;
    uint8_t first[2] = {line[0], line[1]};
    for (int64_t i = count - 1; i >= 0; --i)
        line[i] = bilevel_bit(i < 16 ? first : line, i) ? 1 : 0;
}

void rzl_apply_color_table_to_bits(CFILE* c, uint8_t* red, uint8_t* green, uint8_t* blue, int64_t count) {
    rzl_bits_to_values(red, count);
    look_up(c, red, green, blue, count);
}

void rzl_widen_samples(CFILE* c, uint8_t* buffer, int64_t count) {
    if (has_flag(c, FLAG_RAW_SAMPLES) || c->color_table != nullptr) return;
    int shift = shift_to_byte(c->bits);
    if (shift == 0) return;
    for (int64_t i = 0; i < count; ++i)
        buffer[i] = static_cast<uint8_t>(buffer[i] << shift);
}

// Pixel i of a word stands in bit 15 - i, and the word's low byte comes first.
void rzl_pack_bits(uint8_t* out, const uint8_t* in, int32_t count, int threshold) {
    for (int32_t first = 0; first < count; first += 16) {
        int32_t pixels = count - first < 16 ? count - first : 16;
        unsigned word = 0;
        for (int32_t i = 0; i < pixels; ++i)
            if (in[first + i] >= threshold) word |= 0x8000u >> i;
        out[0] = static_cast<uint8_t>(word);
        out[1] = static_cast<uint8_t>(word >> 8);
        out += 2;
        if (count - first <= 16) break;
    }
}

void rzl_unpack_bits(const uint8_t* in, uint8_t* out, int32_t count, uint8_t zero, uint8_t one) {
    for (int32_t i = 0; i < count; ++i) {
        size_t at = static_cast<size_t>(i) / 16 * 2 + ((i & 8) != 0 ? 0 : 1);
        out[i] = (in[at] & (0x80 >> (i & 7))) != 0 ? one : zero;
    }
}

// ---- lines and colours

bool is_wanted(int channels, const uint8_t* const* planes) {
    return std::any_of(planes, planes + channels, [](const uint8_t* plane) { return plane != nullptr; });
}

bool put_all(CFILE* c, const void* bytes, size_t size, const char* source, int line) {
    return io_write(c, bytes, size) == size || fails(c, RZL_WRITE_FAILED, source, nullptr, line);
}

uint8_t* new_color_table(CFILE* c, size_t colors, uint32_t vlt_bits, const char* source, int line) {
    constexpr size_t LEAST = 256;
    mem_free(c->color_table);
    c->color_table = static_cast<uint8_t*>(mem_alloc_zeroed(std::max(colors, LEAST) * 3));
    if (c->color_table == nullptr) {
        fail(c, RZL_NO_MEMORY, source, nullptr, line);
    } else {
        c->vlt_bits = vlt_bits;
    }
    return c->color_table;
}

void load_colors(const uint8_t* colors, size_t count, color_layout layout, uint8_t* triples) {
    size_t first = layout.blue_first ? 2 : 0;
    for (size_t i = 0; i < count; ++i, colors += layout.step, triples += 3) {
        triples[0] = colors[first];
        triples[1] = colors[1];
        triples[2] = colors[2 - first];
    }
}

void store_colors(const rzl_vlt_entry* entries, size_t count, color_layout layout, uint8_t* colors) {
    size_t first = layout.blue_first ? 2 : 0;
    for (size_t i = 0; i < count; ++i, colors += layout.step) {
        colors[first] = static_cast<uint8_t>(entries[i].red >> 8);
        colors[1] = static_cast<uint8_t>(entries[i].green >> 8);
        colors[2 - first] = static_cast<uint8_t>(entries[i].blue >> 8);
    }
}

void give_vlt(const uint8_t* triples, size_t count, uint32_t bits, rzl_vlt_entry* entries) {
    uint32_t shift = 16 - (bits >= 1 && bits <= 8 ? bits : 8);
    for (size_t i = 0; i < count; ++i, triples += 3)
        entries[i] = {static_cast<uint16_t>(i), static_cast<uint16_t>(triples[0] << shift),
                      static_cast<uint16_t>(triples[1] << shift), static_cast<uint16_t>(triples[2] << shift)};
}

size_t entries_given(const CFILE* c, int32_t announced, size_t most) {
    if (c->vlt == nullptr) return 0;
    return announced >= 0 ? std::min(static_cast<size_t>(announced), most) : most;
}
