#include "noise.h"

#include <cmath>

namespace {

int wrapped(int value, int count) {
    int rest = value % count;
    return rest < 0 ? rest + count : rest;
}

} // namespace

double hash01(int x, int y, uint32_t seed) {
    uint32_t h = static_cast<uint32_t>(x) * 0x9E3779B1u ^ static_cast<uint32_t>(y) * 0x85EBCA77u ^ seed * 0xC2B2AE3Du;
    h ^= h >> 15;
    h *= 0x2C1B3C6Du;
    h ^= h >> 12;
    h *= 0x297A2D39u;
    h ^= h >> 15;
    return h / 4294967295.0;
}

double smooth_step(double low, double high, double value) {
    double t = (value - low) / (high - low);
    t = t < 0.0 ? 0.0 : (t > 1.0 ? 1.0 : t);
    return t * t * (3.0 - 2.0 * t);
}

double noise(double x, double y, int across, int down, uint32_t seed) {
    double cx = x * across;
    double cy = y * down;
    int ix = static_cast<int>(std::floor(cx));
    int iy = static_cast<int>(std::floor(cy));
    double tx = smooth_step(0.0, 1.0, cx - ix);
    double ty = smooth_step(0.0, 1.0, cy - iy);
    auto at = [&](int dx, int dy) { return hash01(wrapped(ix + dx, across), wrapped(iy + dy, down), seed); };
    double top = at(0, 0) + (at(1, 0) - at(0, 0)) * tx;
    double bottom = at(0, 1) + (at(1, 1) - at(0, 1)) * tx;
    return top + (bottom - top) * ty;
}

double fractal(double x, double y, int across, int down, int octaves, uint32_t seed) {
    double sum = 0.0;
    double strength = 0.5;
    double total = 0.0;
    for (int i = 0; i < octaves; ++i) {
        sum += noise(x, y, across << i, down << i, seed + static_cast<uint32_t>(i)) * strength;
        total += strength;
        strength *= 0.5;
    }
    return sum / total;
}

cell_distance cells(double x, double y, int across, int down, uint32_t seed) {
    double cx = x * across;
    double cy = y * down;
    int ix = static_cast<int>(std::floor(cx));
    int iy = static_cast<int>(std::floor(cy));
    cell_distance result = {9.0, 9.0, 0.0};
    for (int dy = -2; dy <= 2; ++dy) {
        for (int dx = -2; dx <= 2; ++dx) {
            int wx = wrapped(ix + dx, across);
            int wy = wrapped(iy + dy, down);
            double px = ix + dx + hash01(wx, wy, seed);
            double py = iy + dy + hash01(wx, wy, seed + 77);
            double distance = std::hypot(cx - px, cy - py);
            if (distance < result.nearest) {
                result.second = result.nearest;
                result.nearest = distance;
                result.number = hash01(wx, wy, seed + 154);
            } else if (distance < result.second) {
                result.second = distance;
            }
        }
    }
    return result;
}
