// Smooth gradient noise on the integer lattice.
#include "noise.h"

namespace {

uint32_t lattice_hash(int32_t x, int32_t y, int32_t z) {
    return hash32(static_cast<uint32_t>(x) * 0x8DA6B343u ^ static_cast<uint32_t>(y) * 0xD8163841u ^
                  static_cast<uint32_t>(z) * 0xCB1AB31Fu);
}

// The gradient at a lattice point, one of twelve, times the offset from it.
double corner(int32_t ix, int32_t iy, int32_t iz, vec3 d) {
    switch (lattice_hash(ix, iy, iz) % 12) {
    case 0: return d.x + d.y;
    case 1: return d.x - d.y;
    case 2: return -d.x + d.y;
    case 3: return -d.x - d.y;
    case 4: return d.x + d.z;
    case 5: return d.x - d.z;
    case 6: return -d.x + d.z;
    case 7: return -d.x - d.z;
    case 8: return d.y + d.z;
    case 9: return d.y - d.z;
    case 10: return -d.y + d.z;
    default: return -d.y - d.z;
    }
}

double fade(double t) {
    return t * t * t * (t * (t * 6 - 15) + 10);
}

} // namespace

double noise3(vec3 p) {
    double fx = std::floor(p.x), fy = std::floor(p.y), fz = std::floor(p.z);
    auto x = static_cast<int32_t>(fx), y = static_cast<int32_t>(fy), z = static_cast<int32_t>(fz);
    vec3 d = {p.x - fx, p.y - fy, p.z - fz};
    double u = fade(d.x), v = fade(d.y), w = fade(d.z);
    double plane[2];
    for (int32_t k = 0; k < 2; k++) {
        double row[2];
        for (int32_t j = 0; j < 2; j++) {
            vec3 e = d - vec3{0, static_cast<double>(j), static_cast<double>(k)};
            row[j] = mix(corner(x, y + j, z + k, e), corner(x + 1, y + j, z + k, e - vec3{1, 0, 0}), u);
        }
        plane[k] = mix(row[0], row[1], v);
    }
    return mix(plane[0], plane[1], w);
}

double layered_noise3(vec3 p, int octaves) {
    double sum = 0, strength = 1;
    for (int i = 0; i < octaves; i++) {
        sum += strength * noise3(p);
        p = p * 2.03 + vec3{17.1, 9.2, 4.7};
        strength *= 0.5;
    }
    return sum;
}

point2 even_point(int x, int y, uint32_t number, uint32_t set) {
    // each quarter has its own order of the pixels, or the points of a pixel would lie in a line
    uint32_t quarter = number & 3, order = hash32(set * 64 + number);
    uint32_t cell_a = (static_cast<uint32_t>(x) + order) & 3, cell_b = (static_cast<uint32_t>(y) + (order >> 8)) & 3;
    if (order & 0x10000) cell_a ^= cell_b & 1 ? 3u : 0u;
    uint32_t jitter = hash32(static_cast<uint32_t>(x) * 0x1F123BB5u ^ static_cast<uint32_t>(y) * 0x5F356495u) ^ order;
    return {((quarter & 1) * 4 + cell_a + hash01(jitter)) / 8, ((quarter >> 1) * 4 + cell_b + hash01(jitter + 1)) / 8};
}
