// Samples of a row: differences between neighbours, and values of tags.
#include <cstring>

#include "raster/TIFF/tiff.h"

namespace {

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

} // namespace

void tif_copy_values(const tif_spec* spec, uint16_t type, uint8_t* to, const uint8_t* from, size_t count) {
    int bits = type == TIF_SHORT ? 16 : type == TIF_LONG || type == TIF_RATIONAL ? 32 : 8;
    if (type == TIF_RATIONAL) count *= 2;
    unpack_samples(from, bits, spec->order == TIF_BIG, count, to);
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
