// make-patterns DIRECTORY: makes the pattern rasters of the product, each a tile that repeats without a seam, as native
// raster files. A pattern is a function of a place in the tile, 0 to 1 in both directions, that gives the colour as it
// looks on a screen; what is stored is linear in light, as the pictures are that patterns are laid into.
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "noise.h"
#include "raster/rzl.h"

namespace {

constexpr int32_t SIDE = 256;
constexpr int SUPER = 3; // sub-pixels in each direction, so that edges are soft
constexpr double SCREEN_GAMMA = 2.2;
constexpr double PI = 3.14159265358979323846;

double fraction(double value) {
    return value - std::floor(value);
}
double wave(double turns) {
    return 0.5 + 0.5 * std::sin(2.0 * PI * turns);
}

// Long fibres along x with slow bends, and pores.
double grain(double x, double y, int rings, uint32_t seed) {
    double bend = fractal(x, y, 2, 3, 3, seed) - 0.5;
    double ring = wave(y * rings + bend * 3.0);
    double fibre = fractal(x, y, 4, 64, 3, seed + 9);
    return 0.55 * ring + 0.45 * fibre;
}

rgb oak(double x, double y) {
    double pores = smooth_step(0.62, 0.80, noise(x, y, 12, 128, 5)) * 0.25;
    return mix({0.80, 0.62, 0.40}, {0.58, 0.39, 0.20}, grain(x, y, 7, 11)) * (1.0 - pores);
}

rgb walnut(double x, double y) {
    double dark = fractal(x, y, 3, 10, 4, 21);
    return mix({0.52, 0.35, 0.24}, {0.30, 0.19, 0.13}, 0.6 * grain(x, y, 5, 31) + 0.4 * dark);
}

rgb brick(double x, double y) {
    constexpr int rows = 8;
    constexpr int across = 4;
    int row = static_cast<int>(y * rows);
    double along = x * across + (row % 2 == 0 ? 0.0 : 0.5);
    int column = static_cast<int>(std::floor(along)) % across;
    double rough = (fractal(x, y, 24, 24, 3, 3) - 0.5) * 0.05;
    double edge_x = std::min(fraction(along), 1.0 - fraction(along)) * 2.0;
    double edge_y = std::min(fraction(y * rows), 1.0 - fraction(y * rows));
    double inside = smooth_step(0.07, 0.12, std::min(edge_x, edge_y) + rough);
    double tone = hash01(column, row, 8);
    rgb clay = mix({0.72, 0.32, 0.22}, {0.52, 0.20, 0.15}, tone) * (0.82 + 0.36 * fractal(x, y, 16, 16, 4, 14));
    rgb mortar = rgb{0.78, 0.75, 0.70} * (0.85 + 0.2 * fractal(x, y, 40, 40, 2, 6));
    return mix(mortar, clay, inside);
}

rgb linen(double x, double y) {
    constexpr int threads = 42;
    double thick_x = 0.7 + 0.6 * noise(x, y, threads, 5, 2);
    double thick_y = 0.7 + 0.6 * noise(x, y, 5, threads, 3);
    double warp = std::pow(std::sin(PI * fraction(x * threads)), 0.6) * thick_x;
    double weft = std::pow(std::sin(PI * fraction(y * threads)), 0.6) * thick_y;
    bool over = (static_cast<int>(x * threads) + static_cast<int>(y * threads)) % 2 == 0;
    double height = over ? warp : weft * 0.92;
    return mix({0.62, 0.56, 0.46}, {0.93, 0.89, 0.80}, smooth_step(0.1, 1.1, height));
}

// The colour of a thread of the sett, at a place along it.
rgb tartan_thread(double place) {
    double at = fraction(place * 2.0);
    at = at < 0.5 ? at * 2.0 : 2.0 - at * 2.0; // the sett runs back and forth
    if (at < 0.34) return {0.62, 0.07, 0.09};
    if (at < 0.40) return {0.04, 0.05, 0.06};
    if (at < 0.62) return {0.07, 0.25, 0.16};
    if (at < 0.66) return {0.90, 0.82, 0.42};
    if (at < 0.90) return {0.08, 0.12, 0.32};
    return {0.92, 0.90, 0.86};
}

rgb tartan(double x, double y) {
    constexpr int threads = 128;
    int diagonal = static_cast<int>(x * threads) + static_cast<int>(y * threads);
    rgb color = diagonal % 4 < 2 ? tartan_thread(x) : tartan_thread(y);
    return color * (0.88 + 0.16 * noise(x, y, threads, threads, 4));
}

rgb marble(double x, double y) {
    double turbulence = fractal(x, y, 3, 3, 6, 41);
    double vein = std::fabs(fractal(x + 0.13 * turbulence, y + 0.17 * turbulence, 3, 3, 5, 17) - 0.5);
    double fine = std::fabs(fractal(x + 0.2 * turbulence, y - 0.1 * turbulence, 7, 7, 4, 23) - 0.5);
    double dark = 0.75 * (1.0 - smooth_step(0.0, 0.075, vein)) + 0.3 * (1.0 - smooth_step(0.0, 0.03, fine));
    rgb ground = mix({0.95, 0.94, 0.92}, {0.84, 0.83, 0.83}, turbulence);
    return mix(ground, {0.34, 0.35, 0.38}, dark > 1.0 ? 1.0 : dark);
}

rgb checks(double x, double y) {
    bool dark = (static_cast<int>(x * 4) + static_cast<int>(y * 4)) % 2 == 0;
    return dark ? rgb{0.10, 0.10, 0.12} : rgb{0.94, 0.93, 0.90};
}

rgb tiles(double x, double y) {
    constexpr int count = 4;
    double fx = fraction(x * count);
    double fy = fraction(y * count);
    double edge = std::min(std::min(fx, 1.0 - fx), std::min(fy, 1.0 - fy));
    double tone = hash01(static_cast<int>(x * count), static_cast<int>(y * count), 19);
    rgb glaze = mix({0.20, 0.45, 0.52}, {0.34, 0.60, 0.64}, tone) * (0.9 + 0.2 * fractal(x, y, 10, 10, 4, 33));
    double bevel = 1.0 + 0.22 * (1.0 - smooth_step(0.03, 0.09, fy)) - 0.22 * smooth_step(0.91, 0.97, fy);
    return mix({0.86, 0.85, 0.81}, glaze * bevel, smooth_step(0.018, 0.035, edge));
}

rgb leather(double x, double y) {
    double bend_x = x + 0.02 * (fractal(x, y, 6, 6, 2, 51) - 0.5);
    double bend_y = y + 0.02 * (fractal(x, y, 6, 6, 2, 52) - 0.5);
    cell_distance c = cells(bend_x, bend_y, 26, 26, 53);
    double crease = smooth_step(0.02, 0.30, c.second - c.nearest);
    double tone = 0.80 + 0.25 * fractal(x, y, 5, 5, 4, 54) + 0.08 * (c.number - 0.5);
    return mix({0.36, 0.20, 0.13}, {0.60, 0.34, 0.20}, 0.25 + 0.75 * crease) * tone;
}

rgb terrazzo(double x, double y) {
    static constexpr rgb chips[] = {{0.80, 0.42, 0.33}, {0.30, 0.36, 0.40}, {0.93, 0.90, 0.84},
                                    {0.55, 0.62, 0.52}, {0.83, 0.68, 0.42}, {0.14, 0.15, 0.17}};
    rgb color = rgb{0.86, 0.84, 0.80} * (0.95 + 0.1 * fractal(x, y, 60, 60, 2, 61));
    for (int size : {34, 19, 11}) {
        cell_distance c = cells(x, y, size, size, static_cast<uint32_t>(size));
        double reach = 0.16 + 0.16 * hash01(static_cast<int>(c.number * 1e6), size, 5);
        double rough = (noise(x, y, size * 6, size * 6, 63) - 0.5) * 0.12;
        double inside = 1.0 - smooth_step(reach - 0.03, reach, c.nearest + rough);
        bool drawn = c.number > 0.35;
        rgb chip = chips[static_cast<int>(c.number * 997.0) % 6] * (0.9 + 0.2 * noise(x, y, 90, 90, 64));
        if (drawn) color = mix(color, chip, inside);
    }
    return color;
}

rgb parquet(double x, double y) {
    constexpr int blocks = 2;
    constexpr int staves = 4;
    int bx = static_cast<int>(x * blocks);
    int by = static_cast<int>(y * blocks);
    double fx = fraction(x * blocks);
    double fy = fraction(y * blocks);
    bool turned = (bx + by) % 2 == 1;
    double along = turned ? fy : fx;
    double across = turned ? fx : fy;
    int stave = static_cast<int>(across * staves);
    double edge = std::min(fraction(across * staves), 1.0 - fraction(across * staves)) / staves;
    edge = std::min(edge, std::min(along, 1.0 - along));
    double tone = hash01(bx * staves + stave, by * 7 + (turned ? 3 : 0), 71);
    auto seed = static_cast<uint32_t>(100 + (by * blocks + bx) * staves + stave);
    double fibre = fractal(along * 0.5, across, 4, 48, 3, seed);
    rgb wood = mix({0.78, 0.56, 0.33}, {0.55, 0.34, 0.17}, 0.5 * tone + 0.5 * fibre);
    return mix(wood * 0.35, wood, smooth_step(0.002, 0.009, edge));
}

rgb stripes(double x, double y) {
    double at = fraction(x * 4.0);
    rgb color = at < 0.5 ? rgb{0.93, 0.91, 0.85} : rgb{0.16, 0.28, 0.45};
    if (std::fabs(at - 0.25) < 0.02) color = {0.70, 0.22, 0.20};
    return color * (0.93 + 0.1 * noise(x, y, 128, 128, 81));
}

struct pattern {
    const char* name;
    rgb (*color)(double x, double y);
};
constexpr pattern PATTERNS[] = {
    {"oak", oak},         {"walnut", walnut},     {"brick", brick},     {"linen", linen},
    {"tartan", tartan},   {"marble", marble},     {"checks", checks},   {"tiles", tiles},
    {"leather", leather}, {"terrazzo", terrazzo}, {"parquet", parquet}, {"stripes", stripes},
};

uint8_t byte_of(double value) {
    double scaled = value * 255.0 + 0.5;
    return static_cast<uint8_t>(scaled < 0.0 ? 0.0 : (scaled > 255.0 ? 255.0 : scaled));
}

rgb as_light(rgb look) {
    auto light = [](double channel) { return std::pow(channel < 0.0 ? 0.0 : channel, SCREEN_GAMMA); };
    return {light(look.red), light(look.green), light(look.blue)};
}

rgb pixel(const pattern& p, int32_t px, int32_t py) {
    rgb sum = {0.0, 0.0, 0.0};
    for (int i = 0; i < SUPER * SUPER; ++i) {
        int column = i % SUPER;
        int row = i / SUPER;
        double x = (px + (column + 0.5) / SUPER) / SIDE;
        double y = (py + (row + 0.5) / SUPER) / SIDE;
        rgb c = as_light(p.color(x, y));
        sum = {sum.red + c.red, sum.green + c.green, sum.blue + c.blue};
    }
    return sum * (1.0 / (SUPER * SUPER));
}

bool write_lines(const pattern& p, CFILE* file) {
    std::vector<uint8_t> red(SIDE), green(SIDE), blue(SIDE);
    for (int32_t y = 0; y < SIDE; ++y) {
        for (int32_t x = 0; x < SIDE; ++x) {
            rgb c = pixel(p, x, y);
            auto at = static_cast<size_t>(x);
            red[at] = byte_of(c.red);
            green[at] = byte_of(c.green);
            blue[at] = byte_of(c.blue);
        }
        if (rzl_putline3(file, red.data(), green.data(), blue.data()) != 0) return false;
    }
    return true;
}

bool write_pattern(const pattern& p, const std::string& path) {
    CFILE* file = rzl_open_w(path.c_str());
    if (file == nullptr) return false;
    const int32_t fields[][2] = {{RZL_FIELD_STANDARD, RZL_STANDARD_KRVN},
                                 {RZL_FIELD_FORMAT, RZL_FORMAT_RGB},
                                 {RZL_FIELD_XSIZE, SIDE},
                                 {RZL_FIELD_YSIZE, SIDE}};
    bool good = true;
    for (const auto& field : fields)
        good = good && rzl_set_hdr_data(file, field[0], &field[1]) == 0;
    good = good && write_lines(p, file);
    return rzl_finish(file) == 0 && good;
}

} // namespace

int main(int count, char** arguments) {
    if (count != 2) {
        std::fprintf(stderr, "usage: make-patterns DIRECTORY\n");
        return 2;
    }
    for (const pattern& p : PATTERNS) {
        std::string path = std::string(arguments[1]) + "/" + p.name + ".rgb";
        if (write_pattern(p, path)) continue;
        std::fprintf(stderr, "make-patterns: %s could not be written\n", path.c_str());
        return 1;
    }
    return 0;
}
