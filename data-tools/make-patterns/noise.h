// Noise that repeats, for patterns that can be laid side by side. All places are 0 to 1 over the tile.
#pragma once

#include <cstdint>

struct rgb {
    double red, green, blue; // 0 to 1
};

inline rgb operator*(rgb c, double f) {
    return {c.red * f, c.green * f, c.blue * f};
}
inline rgb mix(rgb a, rgb b, double t) {
    return {a.red + (b.red - a.red) * t, a.green + (b.green - a.green) * t, a.blue + (b.blue - a.blue) * t};
}

// A number from 0 to 1 for a lattice point; the same for the same point and seed.
double hash01(int x, int y, uint32_t seed);

// Smooth noise, 0 to 1, with `across` by `down` lattice cells in the tile.
double noise(double x, double y, int across, int down, uint32_t seed);

// The sum of `octaves` of noise, each twice as fine and half as strong; 0 to 1.
double fractal(double x, double y, int across, int down, int octaves, uint32_t seed);

// Distances to the nearest and the second nearest of points scattered one to a cell, in cells; and the nearest's
// number, 0 to 1.
struct cell_distance {
    double nearest, second;
    double number;
};
cell_distance cells(double x, double y, int across, int down, uint32_t seed);

// 0 below `low`, 1 above `high`, smooth in between.
double smooth_step(double low, double high, double value);
