// Numbers that look random but depend only on what is asked: hashes, smooth noise, and the points at which a pixel's
// light rays are aimed. The picture is the same on every run and with any number of threads.
#pragma once

#include <cmath>
#include <cstdint>

#include "vec.h"

inline uint32_t hash32(uint32_t x) {
    x ^= x >> 16;
    x *= 0x7FEB352Du;
    x ^= x >> 15;
    x *= 0x846CA68Bu;
    return x ^ x >> 16;
}

// 0 <= result < 1
inline double hash01(uint32_t x) {
    return hash32(x) * (1.0 / 4294967296.0);
}

inline double fraction(double x) {
    return x - std::floor(x);
}

// Smooth noise of about -1 to 1, with features of size 1.
double noise3(vec3 p);

// Sum of `octaves` noises, each of half the size and strength of the one before.
double layered_noise3(vec3 p, int octaves);

// A sequence of points in the unit square that fills it evenly, however many are taken.
struct point2 {
    double a, b;
};

inline point2 even_point(uint32_t index, uint32_t scramble) {
    // multiples of the inverses of the plastic number and its square, shifted as a whole by the scramble
    return {fraction(0.5 + 0.7548776662466927 * index + hash01(scramble)),
            fraction(0.5 + 0.5698402909980532 * index + hash01(scramble + 0x9E3779B9u))};
}
