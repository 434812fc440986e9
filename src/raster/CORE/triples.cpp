// Pixels of three bytes, sixteen at a time: see triples.h.
#include "raster/CORE/triples.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace {

constexpr size_t AT_ONCE = 16;

#if defined(__x86_64__)

// Mask that picks, for byte i, byte from[i] of a vector, and zero where that is outside of it. `shift` is what the
// vector's first byte counts as.
struct shuffle_masks {
    alignas(16) int8_t mask[3][3][AT_ONCE];
};

// Byte i of plane s is byte 3i + s of the 48; vector v holds bytes 16v to 16v + 15.
constexpr shuffle_masks split_masks() {
    shuffle_masks m = {};
    for (int s = 0; s < 3; ++s)
        for (int v = 0; v < 3; ++v)
            for (int i = 0; i < 16; ++i) {
                int at = 3 * i + s - 16 * v;
                m.mask[s][v][i] = static_cast<int8_t>(at >= 0 && at < 16 ? at : -1);
            }
    return m;
}

// Byte 16v + i of the 48 is byte (16v + i) / 3 of plane (16v + i) % 3.
constexpr shuffle_masks merge_masks() {
    shuffle_masks m = {};
    for (int v = 0; v < 3; ++v)
        for (int s = 0; s < 3; ++s)
            for (int i = 0; i < 16; ++i) {
                int at = 16 * v + i;
                m.mask[v][s][i] = static_cast<int8_t>(at % 3 == s ? at / 3 : -1);
            }
    return m;
}

constexpr shuffle_masks SPLIT = split_masks();
constexpr shuffle_masks MERGE = merge_masks();

__attribute__((target("ssse3"))) __m128i load(const void* p) {
    return _mm_loadu_si128(static_cast<const __m128i*>(p));
}

// One vector of three, each shuffled by its mask.
__attribute__((target("ssse3"))) __m128i gather(const __m128i* from, const int8_t mask[3][AT_ONCE]) {
    __m128i a = _mm_shuffle_epi8(from[0], load(mask[0]));
    __m128i b = _mm_shuffle_epi8(from[1], load(mask[1]));
    return _mm_or_si128(_mm_or_si128(a, b), _mm_shuffle_epi8(from[2], load(mask[2])));
}

// Both give the pixels done, a multiple of sixteen.
__attribute__((target("ssse3"))) size_t split_fast(const uint8_t* in, uint8_t* const* planes, size_t pixels) {
    size_t done = 0;
    for (; done + AT_ONCE <= pixels; done += AT_ONCE) {
        const uint8_t* at = in + done * 3;
        __m128i from[3] = {load(at), load(at + 16), load(at + 32)};
        for (int s = 0; s < 3; ++s)
            _mm_storeu_si128(reinterpret_cast<__m128i*>(planes[s] + done), gather(from, SPLIT.mask[s]));
    }
    return done;
}

__attribute__((target("ssse3"))) size_t merge_fast(uint8_t* out, const uint8_t* const* planes, size_t pixels) {
    size_t done = 0;
    for (; done + AT_ONCE <= pixels; done += AT_ONCE) {
        __m128i from[3] = {load(planes[0] + done), load(planes[1] + done), load(planes[2] + done)};
        for (size_t v = 0; v < 3; ++v)
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out + done * 3 + v * 16), gather(from, MERGE.mask[v]));
    }
    return done;
}

bool can_shuffle() {
    return __builtin_cpu_supports("ssse3") != 0;
}

#else

size_t split_fast(const uint8_t*, uint8_t* const*, size_t) {
    return 0;
}
size_t merge_fast(uint8_t*, const uint8_t* const*, size_t) {
    return 0;
}
bool can_shuffle() {
    return false;
}

#endif

} // namespace

size_t split_triples(const uint8_t* pixels, uint8_t* const* planes, size_t count) {
    return can_shuffle() ? split_fast(pixels, planes, count) : 0;
}

size_t join_triples(uint8_t* pixels, const uint8_t* const* planes, size_t count) {
    return can_shuffle() ? merge_fast(pixels, planes, count) : 0;
}
