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

// A point of the unit square.
struct point2 {
    double a, b;
};

// Points that fill the square evenly: over any 4x4 pixels, the points 0 to 3 of all of them (and 4 to 7, and so on)
// take one cell each of an 8x8 grid; those of one pixel lie in different quarters. `set` numbers independent sets.
point2 even_point(int x, int y, uint32_t number, uint32_t set);
