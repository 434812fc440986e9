// The text of PNM files: blanks, comments and numbers.
#include <algorithm>

#if defined(__x86_64__)
#include <emmintrin.h>
#endif

#include "raster/PNM/pnm.h"

namespace {

// A number may have any count of digits; past `most` it counts as that.
bool take_number(text_reader* t, uint32_t most, uint32_t* value) {
    int ch = pnm_skip_blanks(t);
    if (ch < 0 || !is_digit(ch)) return false;
    uint64_t number = 0;
    for (; ch >= 0 && is_digit(ch); ch = text_peek(t)) {
        number = std::min<uint64_t>(number * 10 + static_cast<unsigned>(ch - '0'), most);
        ++t->next;
    }
    *value = static_cast<uint32_t>(number);
    return true;
}

// ---- many numbers --------------------------------------------------------------------------------------------------

// Characters that are looked at together, and how far behind the first digit of a number it is read.
constexpr size_t LOOKED_AT = 64;
constexpr size_t MOST_DIGITS = 4;

// What stands at a place: a bit a character, the first lowest.
struct kinds {
    uint64_t digits, blanks;
};

#if defined(__x86_64__)
kinds kinds_at(const uint8_t* text) {
    kinds k = {};
    for (size_t i = 0; i < LOOKED_AT; i += 16) {
        __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + i));
        __m128i digit = _mm_sub_epi8(v, _mm_set1_epi8('0'));
        __m128i control = _mm_sub_epi8(v, _mm_set1_epi8('\t'));
        digit = _mm_cmpeq_epi8(_mm_min_epu8(digit, _mm_set1_epi8(9)), digit);
        control = _mm_cmpeq_epi8(_mm_min_epu8(control, _mm_set1_epi8('\r' - '\t')), control);
        __m128i blank = _mm_or_si128(control, _mm_cmpeq_epi8(v, _mm_set1_epi8(' ')));
        k.digits |= uint64_t{static_cast<uint32_t>(_mm_movemask_epi8(digit))} << i;
        k.blanks |= uint64_t{static_cast<uint32_t>(_mm_movemask_epi8(blank))} << i;
    }
    return k;
}
#else
kinds kinds_at(const uint8_t* text) {
    kinds k = {};
    for (size_t i = 0; i < LOOKED_AT; ++i) {
        k.digits |= uint64_t{is_digit(text[i])} << i;
        k.blanks |= uint64_t{is_blank(text[i])} << i;
    }
    return k;
}
#endif

// The number of one to four digits: neighbours are added, tens to ones, then hundreds.
uint32_t number_at(const uint8_t* text, int count) {
    uint32_t v = (load_u32le(text) ^ 0x30303030u) << (32 - 8 * count); // on top, and zeros before the first
    v = (v * (10 * 0x100 + 1)) >> 8 & 0x00FF00FFu;
    return (v * (100 * 0x10000 + 1)) >> 16;
}

template <size_t Step> void store_sample(uint8_t* row, uint32_t value) {
    if constexpr (Step == 1) {
        *row = static_cast<uint8_t>(std::min(value, 255u));
    } else {
        store_u16be(row, static_cast<uint16_t>(std::min(value, static_cast<uint32_t>(PNM_MOST_VALUE))));
    }
}

// Numbers of characters that are at hand, up to anything that is no usual text: a comment, a long number, or a number
// that may go on behind them. How many were taken.
template <size_t Step> [[gnu::always_inline]] inline size_t take_plain(text_reader* t, size_t count, uint8_t* row) {
    size_t done = 0;
    while (done < count && static_cast<size_t>(t->end - t->next) >= LOOKED_AT + MOST_DIGITS) {
        kinds k = kinds_at(t->next);
        uint64_t starts = k.digits & ~(k.digits << 1);
        uint64_t ends = k.blanks & k.digits << 1; // the blank behind each
        uint64_t others = ~(k.digits | k.blanks);
        ends &= (others & (0 - others)) - 1; // what stands in front of the first of them
        int last = 0;
        for (; ends != 0 && done < count; ++done) {
            int start = __builtin_ctzll(starts);
            int end = __builtin_ctzll(ends);
            if (end - start > static_cast<int>(MOST_DIGITS)) break;
            store_sample<Step>(row + done * Step, number_at(t->next + start, end - start));
            starts &= starts - 1;
            ends &= ends - 1;
            last = end;
        }
        t->next += last;
        if (last == 0) break;
    }
    return done;
}

#if defined(__x86_64__)
// Newer processors pick bits and shift by any count in one step.
template <size_t Step>
__attribute__((target("bmi,bmi2"))) size_t take_fast(text_reader* t, size_t count, uint8_t* row) {
    return take_plain<Step>(t, count, row);
}
template <size_t Step> size_t take_at_hand(text_reader* t, size_t count, uint8_t* row) {
    bool fast = __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2");
    return fast ? take_fast<Step>(t, count, row) : take_plain<Step>(t, count, row);
}
#else
template <size_t Step> size_t take_at_hand(text_reader* t, size_t count, uint8_t* row) {
    return take_plain<Step>(t, count, row);
}
#endif

template <size_t Step> size_t take_numbers(text_reader* t, size_t count, uint8_t* row) {
    for (size_t done = 0; done < count; ++done) {
        done += take_at_hand<Step>(t, count - done, row + done * Step);
        if (done == count) break;
        uint32_t value = 0;
        if (!take_number(t, PNM_MOST_VALUE, &value)) return done;
        store_sample<Step>(row + done * Step, value);
    }
    return count;
}

} // namespace

int pnm_skip_blanks(text_reader* t) {
    for (int ch = text_peek(t); ch >= 0; ch = text_peek(t)) {
        if (ch == '#') {
            while (ch >= 0 && ch != '\n' && ch != '\r') {
                ++t->next;
                ch = text_peek(t);
            }
        } else if (!is_blank(ch)) {
            return ch;
        } else {
            ++t->next;
        }
    }
    return -1;
}

bool pnm_next_number(CFILE* c, uint32_t most, uint32_t* value) {
    text_reader t = text_begin(c);
    bool good = take_number(&t, most, value);
    text_end(&t);
    return good;
}

size_t pnm_take_numbers(text_reader* t, size_t step, size_t count, uint8_t* row) {
    return step == 1 ? take_numbers<1>(t, count, row) : take_numbers<2>(t, count, row);
}
