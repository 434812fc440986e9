// Samples of a row: unpacking to the caller's line, packing from it, and differences between neighbours.
//
// A row packs its samples most significant bit first, without gaps. Samples of 16, 24 and 32 bits stand in the file's
// byte order instead. A line has a byte for samples of up to 8 bits, a 16-bit word for up to 16, a 32-bit word above.
#include <cstring>

#include "raster/TIFF/tiff.h"

namespace {

bool is_whole_bytes(int bits) {
    return bits % 8 == 0;
}

// ---- any number of bits, as a stream

struct sample_reader {
    const uint8_t* next;
    uint64_t bits;
    int count;
};

uint32_t next_sample(sample_reader* r, int bits) {
    while (r->count < bits) {
        r->bits = r->bits << 8 | *r->next++;
        r->count += 8;
    }
    r->count -= bits;
    return static_cast<uint32_t>(r->bits >> r->count & ((uint64_t{1} << bits) - 1));
}

struct sample_writer {
    uint8_t* next;
    uint64_t bits;
    int count;
};

void put_sample(sample_writer* w, int bits, uint32_t value) {
    w->bits = w->bits << bits | (value & ((uint64_t{1} << bits) - 1));
    w->count += bits;
    while (w->count >= 8) {
        w->count -= 8;
        *w->next++ = static_cast<uint8_t>(w->bits >> w->count);
    }
}

void end_samples(sample_writer* w) {
    if (w->count > 0) *w->next++ = static_cast<uint8_t>(w->bits << (8 - w->count));
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

bool copy_whole(const uint8_t* from, int bits, uint16_t order, size_t count, uint8_t* to) {
    constexpr bool machine_is_big = __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__;
    bool swap = (order == TIF_BIG) != machine_is_big;
    if (bits == 8) std::memcpy(to, from, count);
    if (bits == 16) copy_words<uint16_t>(from, to, count, swap);
    if (bits == 32) copy_words<uint32_t>(from, to, count, swap);
    return bits == 8 || bits == 16 || bits == 32;
}

// ---- differences

template <typename Word> Word load_word(const uint8_t* p, bool big) {
    if constexpr (sizeof(Word) == 1) return *p;
    if constexpr (sizeof(Word) == 2) return big ? load_u16be(p) : load_u16le(p);
    if constexpr (sizeof(Word) == 4) return big ? load_u32be(p) : load_u32le(p);
}
template <typename Word> void store_word(uint8_t* p, bool big, Word v) {
    if constexpr (sizeof(Word) == 1) *p = v;
    if constexpr (sizeof(Word) == 2) big ? store_u16be(p, v) : store_u16le(p, v);
    if constexpr (sizeof(Word) == 4) big ? store_u32be(p, v) : store_u32le(p, v);
}

template <typename Word> void make_word_differences(uint8_t* row, size_t count, size_t step, bool big) {
    for (size_t i = count; i-- > step;) {
        uint8_t* p = row + i * sizeof(Word);
        store_word<Word>(p, big,
                         static_cast<Word>(load_word<Word>(p, big) - load_word<Word>(p - step * sizeof(Word), big)));
    }
}

template <typename Word> void undo_word_differences(uint8_t* row, size_t count, size_t step, bool big) {
    for (size_t i = step; i < count; ++i) {
        uint8_t* p = row + i * sizeof(Word);
        store_word<Word>(p, big,
                         static_cast<Word>(load_word<Word>(p, big) + load_word<Word>(p - step * sizeof(Word), big)));
    }
}

// The sums of each place of a pixel stay in registers.
template <size_t Step> void undo_byte_differences(uint8_t* row, size_t count) {
    uint8_t sums[Step] = {};
    for (size_t i = 0; i + Step <= count; i += Step) {
        for (size_t s = 0; s < Step; ++s)
            row[i + s] = sums[s] = static_cast<uint8_t>(sums[s] + row[i + s]);
    }
}

// Samples that are no whole words: through the bits. Differences are taken on the way, from the first sample on, so
// that the row can be written over itself.
void change_packed(uint8_t* row, int bits, size_t count, size_t step, bool undo) {
    uint32_t before[TIF_MAX_SAMPLES] = {};
    sample_reader in = {row, 0, 0};
    sample_writer out = {row, 0, 0};
    for (size_t i = 0; i < count; ++i) {
        uint32_t value = next_sample(&in, bits);
        uint32_t& last = before[i % step];
        uint32_t changed = undo ? last + value : value - last;
        last = undo ? changed : value;
        put_sample(&out, bits, changed);
    }
    end_samples(&out);
}

// The first pixel of a word is in its top bit, and its low byte comes first: bytes of the row change places in pairs.
void swap_pairs(const uint8_t* from, size_t pairs, uint8_t* to) {
    size_t bytes = pairs * 2;
    size_t i = 0;
    for (; i + 8 <= bytes; i += 8) {
        uint64_t v;
        std::memcpy(&v, from + i, sizeof v);
        v = (v & 0x00FF00FF00FF00FFu) << 8 | (v >> 8 & 0x00FF00FF00FF00FFu);
        std::memcpy(to + i, &v, sizeof v);
    }
    for (; i < bytes; i += 2) {
        uint8_t first = from[i];
        to[i] = from[i + 1];
        to[i + 1] = first;
    }
}

} // namespace

void tif_copy_values(const tif_spec* spec, uint16_t type, uint8_t* to, const uint8_t* from, size_t count) {
    int bits = type == TIF_SHORT ? 16 : type == TIF_LONG || type == TIF_RATIONAL ? 32 : 8;
    if (type == TIF_RATIONAL) count *= 2;
    (void)copy_whole(from, bits, spec->order, count, to);
}

void tif_unpack_samples(const uint8_t* row, int bits, uint16_t order, size_t count, uint8_t* line) {
    if (copy_whole(row, bits, order, count, line)) return;
    if (is_whole_bytes(bits)) {
        auto bytes = static_cast<size_t>(bits / 8);
        for (size_t i = 0; i < count; ++i)
            store_line_value(line, bits, i, load_bytes(row + i * bytes, bits / 8, order == TIF_BIG));
        return;
    }
    sample_reader in = {row, 0, 0};
    for (size_t i = 0; i < count; ++i)
        store_line_value(line, bits, i, next_sample(&in, bits));
}

void tif_pack_samples(const uint8_t* line, int bits, uint16_t order, size_t count, uint8_t* row) {
    if (copy_whole(line, bits, order, count, row)) return;
    if (is_whole_bytes(bits)) {
        auto bytes = static_cast<size_t>(bits / 8);
        for (size_t i = 0; i < count; ++i)
            store_bytes(row + i * bytes, bits / 8, order == TIF_BIG, load_line_value(line, bits, i));
        return;
    }
    sample_writer out = {row, 0, 0};
    for (size_t i = 0; i < count; ++i)
        put_sample(&out, bits, load_line_value(line, bits, i));
    end_samples(&out);
}

void tif_unpack_bytes(const uint8_t* row, int bits, uint16_t order, size_t count, bool widen, uint8_t* out) {
    if (bits == 8) {
        std::memcpy(out, row, count);
    } else if (bits > 8 && is_whole_bytes(bits)) {
        auto bytes = static_cast<size_t>(bits / 8);
        size_t top = order == TIF_BIG ? 0 : bytes - 1;
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

void tif_pack_bytes(const uint8_t* in, int bits, uint16_t order, size_t count, bool widen, uint8_t* row) {
    if (bits == 8) {
        std::memcpy(row, in, count);
    } else if (bits > 8 && is_whole_bytes(bits)) {
        auto bytes = static_cast<size_t>(bits / 8);
        // The byte repeated is the same shade of more bits.
        for (size_t i = 0; i < count; ++i)
            store_bytes(row + i * bytes, bits / 8, order == TIF_BIG, in[i] * 0x01010101u);
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

void tif_row_to_words(const uint8_t* row, uint32_t width, uint8_t* words) {
    size_t bytes = (size_t{width} + 7) / 8;
    swap_pairs(row, bytes / 2, words);
    if (bytes % 2 != 0) {
        words[bytes] = row[bytes - 1];
        words[bytes - 1] = 0;
    }
    if (width % 8 != 0) {
        size_t last = (bytes - 1) ^ 1;
        words[last] = static_cast<uint8_t>(words[last] & 0xFF00u >> (width % 8));
    }
}

void tif_words_to_row(const uint8_t* words, uint32_t width, uint8_t* row) {
    size_t bytes = (size_t{width} + 7) / 8;
    swap_pairs(words, bytes / 2, row);
    if (bytes % 2 != 0) row[bytes - 1] = words[bytes];
    if (width % 8 != 0) row[bytes - 1] = static_cast<uint8_t>(row[bytes - 1] & 0xFF00u >> (width % 8));
}

void tif_make_differences(uint8_t* row, int bits, uint16_t order, size_t count, size_t step) {
    switch (bits) {
    case 8: return make_word_differences<uint8_t>(row, count, step, false);
    case 16: return make_word_differences<uint16_t>(row, count, step, order == TIF_BIG);
    case 32: return make_word_differences<uint32_t>(row, count, step, order == TIF_BIG);
    default: return change_packed(row, bits, count, step, false);
    }
}

void tif_undo_differences(uint8_t* row, int bits, uint16_t order, size_t count, size_t step) {
    switch (bits) {
    case 8:
        if (step == 1) return undo_byte_differences<1>(row, count);
        if (step == 3) return undo_byte_differences<3>(row, count);
        if (step == 4) return undo_byte_differences<4>(row, count);
        return undo_word_differences<uint8_t>(row, count, step, false);
    case 16: return undo_word_differences<uint16_t>(row, count, step, order == TIF_BIG);
    case 32: return undo_word_differences<uint32_t>(row, count, step, order == TIF_BIG);
    default: return change_packed(row, bits, count, step, true);
    }
}
