// Colour reduction of two pictures of 16 megapixels: the whole, the error diffusion alone, and the working memory. One
// has soft shades and a million colours, as a photograph, the other is a rendered scene with coarse grain and seven
// million. The program also serves bench/peers/colors.sh, which compares whole programs:
//   bench_colors make soft|grain FILE.ppm    the picture
//   bench_colors reduce FILE.ppm OUT.ppm     a picture in 256 colours, and the seconds of wall and
//                                            processor time that the reduction took
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include "output/impack.h"
#include "output/mkvlt.h"
#include "support/memory.h"

namespace {

using plane = std::vector<uint8_t>;

constexpr uint32_t GRAIN = 64; // levels

struct picture {
    int32_t width, height;
    plane channels[3];
};

[[noreturn]] void stop(const char* what) {
    std::fprintf(stderr, "bench_colors: %s\n", what);
    std::exit(1);
}

uint32_t next_random(uint32_t* state) {
    *state = *state * 1664525u + 1013904223u;
    return *state >> 16;
}

picture blank(int32_t width, int32_t height) {
    picture p = {width, height, {}};
    for (plane& c : p.channels)
        c.resize(static_cast<size_t>(width) * static_cast<size_t>(height));
    return p;
}

// A value with noise of up to `amount` above and below, most of it small.
uint8_t with_noise(double value, uint32_t amount, uint32_t* state) {
    uint32_t noise = next_random(state) % (amount + 1) + next_random(state) % (amount + 1);
    return static_cast<uint8_t>(std::clamp(value + static_cast<double>(noise) - amount, 0.0, 255.0));
}

// Soft shades of several scales and hues, edges, and the noise of a sensor.
picture make_soft_picture() {
    picture p = blank(4896, 3264);
    uint32_t state = 1;
    size_t at = 0;
    for (int32_t y = 0; y < p.height; ++y) {
        double row = std::cos(y * 0.0021) + 0.4 * std::sin(y * 0.013);
        for (int32_t x = 0; x < p.width; ++x, ++at) {
            double shade = 120 + 60 * std::sin(x * 0.0013 + row) + 30 * std::sin(x * 0.011 + y * 0.004);
            double patch = (x / 612 + y / 544) % 3 == 0 ? 25 : 0;
            const double hue[3] = {patch, 20 * std::sin(x * 0.0007 + y * 0.0011), -patch + 15 * row};
            for (int c = 0; c < 3; ++c)
                p.channels[c][at] = with_noise(shade + hue[c], 6, &state);
        }
    }
    return p;
}

struct ball {
    double x, y, radius; // in widths of the picture
    double color[3];
};

constexpr ball BALLS[] = {
    {0.18, 0.62, 0.15, {0.95, 0.15, 0.10}}, {0.47, 0.70, 0.19, {0.15, 0.75, 0.25}},
    {0.79, 0.60, 0.17, {0.15, 0.30, 0.95}}, {0.33, 0.33, 0.10, {0.95, 0.85, 0.15}},
    {0.62, 0.30, 0.12, {0.80, 0.20, 0.85}}, {0.88, 0.25, 0.08, {0.10, 0.85, 0.90}},
};

// The colour of the scene at a point: balls in the light from above left, with highlights, before a board of squares.
void shade_scene(double x, double y, double color[3]) {
    bool square = (static_cast<int>(x * 10) + static_cast<int>(y * 10)) % 2 != 0;
    const double board[3] = {0.3 + 0.5 * x, 0.3 + 0.5 * y, 0.8 - 0.5 * x};
    for (int c = 0; c < 3; ++c)
        color[c] = square ? board[c] : 0.6 * board[c] + 0.1;
    for (const ball& b : BALLS) {
        double dx = (x - b.x) / b.radius;
        double dy = (y - b.y) / b.radius;
        double depth = 1 - dx * dx - dy * dy;
        if (depth <= 0) continue;
        double light = std::max(0.0, -0.5 * dx - 0.6 * dy + 0.62 * std::sqrt(depth));
        double shine = std::pow(light, 40) * 0.8;
        for (int c = 0; c < 3; ++c)
            color[c] = b.color[c] * (0.25 + 0.75 * light) + shine;
    }
}

picture make_grain_picture() {
    picture p = blank(4096, 4096);
    uint32_t state = 1;
    size_t at = 0;
    for (int32_t y = 0; y < p.height; ++y) {
        for (int32_t x = 0; x < p.width; ++x, ++at) {
            double color[3];
            shade_scene(static_cast<double>(x) / p.width, static_cast<double>(y) / p.height, color);
            for (int c = 0; c < 3; ++c)
                p.channels[c][at] = with_noise(255 * color[c], GRAIN, &state);
        }
    }
    return p;
}

Impack* pack_of(picture* p) {
    imp_planes_shared = 1;
    Impack* pack = nullptr;
    if (imp_alloc(&pack) != IMP_OK) stop("no memory");
    pack->xsize = p->width;
    pack->ysize = p->height;
    pack->pixels = int64_t{p->width} * p->height;
    pack->red_plane = p->channels[0].data();
    pack->green_plane = p->channels[1].data();
    pack->blue_plane = p->channels[2].data();
    return pack;
}

int reduce(Impack* pack, int32_t dither) {
    return imp_make_vlt(pack, dither, 256, 1.0, 0, 0, nullptr, 0, 0, nullptr);
}

// Peak memory of the process since the last reset, in kilobytes.
long peak_kilobytes() {
    long value = 0;
    char line[256];
    FILE* status = std::fopen("/proc/self/status", "r");
    while (status != nullptr && std::fgets(line, sizeof line, status) != nullptr) {
        if (std::strncmp(line, "VmHWM:", 6) == 0) value = std::strtol(line + 6, nullptr, 10);
    }
    if (status != nullptr) std::fclose(status);
    return value;
}

void reset_peak() {
    FILE* refs = std::fopen("/proc/self/clear_refs", "w");
    if (refs == nullptr) return;
    std::fputs("5", refs);
    std::fclose(refs);
}

int64_t distinct_colors(const picture& p) {
    std::vector<bool> met(size_t{1} << 24);
    for (size_t i = 0; i < p.channels[0].size(); ++i)
        met[size_t{p.channels[0][i]} << 16 | size_t{p.channels[1][i]} << 8 | p.channels[2][i]] = true;
    return std::count(met.begin(), met.end(), true);
}

using picture_maker = picture (*)();

void whole_reduction(benchmark::State& state, picture_maker make, int32_t dither) {
    picture p = make();
    int64_t colors = distinct_colors(p);
    malloc_trim(0); // what an earlier run has freed is not to hide what this one takes
    reset_peak();
    long before = peak_kilobytes();
    while (state.KeepRunning()) {
        Impack* pack = pack_of(&p);
        if (reduce(pack, dither) != IMP_OK) stop("not reduced");
        imp_free(&pack);
    }
    long working = peak_kilobytes() - before - static_cast<long>(p.channels[0].size() / 1024);
    state.counters["colors"] = static_cast<double>(colors);
    state.counters["bytes_a_color"] = static_cast<double>(working) * 1024 / static_cast<double>(colors);
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(p.channels[0].size()));
}

// The mapping with a table that stands: the inverse table and the diffusion.
void diffusion_alone(benchmark::State& state, picture_maker make) {
    picture p = make();
    Impack* pack = pack_of(&p);
    if (imp_make_vlt(pack, 0, 256, 0.0, 0, 0, nullptr, 0, 0, nullptr) != IMP_OK) stop("not reduced");
    imp_progress none = {};
    while (state.KeepRunning()) {
        if (imp_map_colors(pack, 0, &none) != IMP_OK) stop("not mapped");
    }
    imp_free(&pack);
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(p.channels[0].size()));
}

BENCHMARK_CAPTURE(whole_reduction, soft_diffused, make_soft_picture, 0)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(whole_reduction, soft_nearest, make_soft_picture, 1)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(whole_reduction, grain_diffused, make_grain_picture, 0)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(whole_reduction, grain_nearest, make_grain_picture, 1)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(diffusion_alone, soft, make_soft_picture)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(diffusion_alone, grain, make_grain_picture)->Unit(benchmark::kMillisecond);

// ---- for bench/peers/colors.sh -------------------------------------------------------------------------------------

void write_ppm(const char* path, const picture& p) {
    FILE* out = std::fopen(path, "wb");
    if (out == nullptr) stop("no output");
    std::fprintf(out, "P6\n%d %d\n255\n", p.width, p.height);
    plane line(static_cast<size_t>(p.width) * 3);
    for (size_t i = 0; i < p.channels[0].size();) {
        for (size_t x = 0; x < static_cast<size_t>(p.width); ++x, ++i) {
            for (size_t c = 0; c < 3; ++c)
                line[x * 3 + c] = p.channels[c][i];
        }
        std::fwrite(line.data(), 1, line.size(), out);
    }
    if (std::fclose(out) != 0) stop("no output");
}

picture read_ppm(const char* path) {
    FILE* in = std::fopen(path, "rb");
    picture p = {};
    if (in == nullptr || std::fscanf(in, "P6 %d %d 255", &p.width, &p.height) != 2) stop("no PPM"); // NOLINT
    std::fgetc(in);
    plane pixels(size_t{3} * static_cast<size_t>(p.width) * static_cast<size_t>(p.height));
    if (std::fread(pixels.data(), 1, pixels.size(), in) != pixels.size()) stop("cut PPM");
    std::fclose(in);
    for (size_t i = 0; i < pixels.size(); ++i)
        p.channels[i % 3].push_back(pixels[i]);
    return p;
}

void reduce_file(const char* from, const char* to) {
    picture p = read_ppm(from);
    Impack* pack = pack_of(&p);
    auto start = std::chrono::steady_clock::now();
    std::clock_t start_processor = std::clock();
    if (reduce(pack, 0) != IMP_OK) stop("not reduced");
    auto processor = static_cast<double>(std::clock() - start_processor) / CLOCKS_PER_SEC;
    std::chrono::duration<double> wall = std::chrono::steady_clock::now() - start;
    for (size_t i = 0; i < p.channels[0].size(); ++i) {
        const rzl_vlt_entry& e = pack->vlt[pack->index_plane[i]];
        p.channels[0][i] = static_cast<uint8_t>(e.red >> 8);
        p.channels[1][i] = static_cast<uint8_t>(e.green >> 8);
        p.channels[2][i] = static_cast<uint8_t>(e.blue >> 8);
    }
    imp_free(&pack);
    write_ppm(to, p);
    std::printf("%.3f %.3f\n", wall.count(), processor);
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 4 && std::strcmp(argv[1], "make") == 0) {
        bool grain = std::strcmp(argv[2], "grain") == 0;
        write_ppm(argv[3], grain ? make_grain_picture() : make_soft_picture());
        return 0;
    }
    if (argc == 4 && std::strcmp(argv[1], "reduce") == 0) {
        reduce_file(argv[2], argv[3]);
        return 0;
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
