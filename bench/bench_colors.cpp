// Colour reduction of a photograph-like picture of 16 megapixels: the whole, the error diffusion alone, and the working
// memory. The program also serves bench/peers/colors.sh, which compares whole programs:
//   bench_colors make FILE.ppm             the picture
//   bench_colors reduce FILE.ppm OUT.ppm   the picture in 256 colours, and the seconds that the reduction took
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "output/impack.h"
#include "output/mkvlt.h"
#include "support/memory.h"

namespace {

constexpr int32_t WIDTH = 4896;
constexpr int32_t HEIGHT = 3264;

using plane = std::vector<uint8_t>;

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

// Soft shades of several scales and hues, edges, and the noise of a sensor.
picture make_picture() {
    picture p = {WIDTH, HEIGHT, {}};
    for (plane& c : p.channels)
        c.resize(size_t{WIDTH} * HEIGHT);
    uint32_t state = 1;
    for (int32_t y = 0; y < HEIGHT; ++y) {
        double row = std::cos(y * 0.0021) + 0.4 * std::sin(y * 0.013);
        for (int32_t x = 0; x < WIDTH; ++x) {
            double shade = 120 + 60 * std::sin(x * 0.0013 + row) + 30 * std::sin(x * 0.011 + y * 0.004);
            double patch = (x / 612 + y / 544) % 3 == 0 ? 25 : 0;
            const double hue[3] = {patch, 20 * std::sin(x * 0.0007 + y * 0.0011), -patch + 15 * row};
            for (int c = 0; c < 3; ++c) {
                double noise = static_cast<double>(next_random(&state) % 7 + next_random(&state) % 7) - 6;
                p.channels[c][static_cast<size_t>(y) * WIDTH + static_cast<size_t>(x)] =
                    static_cast<uint8_t>(std::clamp(shade + hue[c] + noise, 0.0, 255.0));
            }
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

void whole_reduction(benchmark::State& state) {
    picture p = make_picture();
    int64_t colors = distinct_colors(p);
    malloc_trim(0); // what an earlier run has freed is not to hide what this one takes
    reset_peak();
    long before = peak_kilobytes();
    while (state.KeepRunning()) {
        Impack* pack = pack_of(&p);
        if (reduce(pack, static_cast<int32_t>(state.range(0))) != IMP_OK) stop("not reduced");
        imp_free(&pack);
    }
    long working = peak_kilobytes() - before - static_cast<long>(p.channels[0].size() / 1024);
    state.counters["colors"] = static_cast<double>(colors);
    state.counters["bytes_a_color"] = static_cast<double>(working) * 1024 / static_cast<double>(colors);
    state.SetItemsProcessed(state.iterations() * int64_t{WIDTH} * HEIGHT);
}

// The mapping with a table that stands: the inverse table and the diffusion.
void diffusion_alone(benchmark::State& state) {
    picture p = make_picture();
    Impack* pack = pack_of(&p);
    if (imp_make_vlt(pack, 0, 256, 0.0, 0, 0, nullptr, 0, 0, nullptr) != IMP_OK) stop("not reduced");
    imp_progress none = {};
    while (state.KeepRunning()) {
        if (imp_map_colors(pack, 0, &none) != IMP_OK) stop("not mapped");
    }
    imp_free(&pack);
    state.SetItemsProcessed(state.iterations() * int64_t{WIDTH} * HEIGHT);
}

BENCHMARK(whole_reduction)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(diffusion_alone)->Unit(benchmark::kMillisecond);

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
    if (reduce(pack, 0) != IMP_OK) stop("not reduced");
    std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    for (size_t i = 0; i < p.channels[0].size(); ++i) {
        const rzl_vlt_entry& e = pack->vlt[pack->index_plane[i]];
        p.channels[0][i] = static_cast<uint8_t>(e.red >> 8);
        p.channels[1][i] = static_cast<uint8_t>(e.green >> 8);
        p.channels[2][i] = static_cast<uint8_t>(e.blue >> 8);
    }
    imp_free(&pack);
    write_ppm(to, p);
    std::printf("%.3f\n", taken.count());
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::strcmp(argv[1], "make") == 0) {
        write_ppm(argv[2], make_picture());
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
