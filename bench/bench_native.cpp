// Native files through the public calls: put and get of the formats that pictures are kept in, as lines of plain and of
// tiled files, and as tiles, against copying the same bytes.
//
// The program also serves bench/peers/native.sh, which compares whole programs:
//   bench_native make KIND FILE.rgb FILE.ppm   a picture of 4000 x 3000, KIND photo or rendered, in both formats
//   bench_native copy FORMAT IN.rgb OUT.rgb    line by line into another data format
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "raster/rzl.h"

namespace {

constexpr int32_t WIDTH = 4000;
constexpr int32_t HEIGHT = 3000;
constexpr size_t LINE = WIDTH;

using bytes = std::vector<uint8_t>;

struct picture {
    bytes planes[3];
    const uint8_t* line(int plane, int32_t y) const { return &planes[plane][static_cast<size_t>(y) * LINE]; }
};

uint32_t next_random(uint32_t* state) {
    *state = *state * 1664525u + 1013904223u;
    return *state >> 16;
}

// Smooth shades with the noise of a sensor: few equal neighbours.
uint8_t photo_value(int plane, int32_t x, int32_t y, uint32_t* state) {
    double shade = 128 + 70 * std::sin(x * 0.003 + plane) * std::cos(y * 0.004) + 20 * std::sin(x * 0.05);
    return static_cast<uint8_t>(shade + static_cast<double>(next_random(state) % 9));
}

// A plain background, plain surfaces and a few shaded ones: long runs and short ones.
uint8_t rendered_value(int plane, int32_t x, int32_t y) {
    int32_t column = x / 500;
    int32_t row = y / 375;
    int32_t dx = x % 500 - 250;
    int32_t dy = y % 375 - 187;
    if (dx * dx + dy * dy > 160 * 160) return static_cast<uint8_t>(40 + plane * 20);
    if ((column + row) % 3 != 0) return static_cast<uint8_t>(60 + column * 20 + plane * 11);
    return static_cast<uint8_t>(200 - (dx * dx + dy * dy) / 200 + plane * 10);
}

picture make_picture(bool photo) {
    picture p;
    uint32_t state = 1;
    for (int plane = 0; plane < 3; ++plane) {
        p.planes[plane].resize(LINE * HEIGHT);
        uint8_t* out = p.planes[plane].data();
        for (int32_t y = 0; y < HEIGHT; ++y)
            for (int32_t x = 0; x < WIDTH; ++x)
                *out++ = photo ? photo_value(plane, x, y, &state) : rendered_value(plane, x, y);
    }
    return p;
}

const picture& picture_of(bool photo) {
    static picture made[2] = {make_picture(false), make_picture(true)};
    return made[photo ? 1 : 0];
}

[[noreturn]] void stop(const char* what) {
    std::fprintf(stderr, "bench_native: %s\n", what);
    std::exit(1);
}

CFILE* create(const char* name, int32_t format, int32_t width, int32_t height, int32_t tile = 0) {
    CFILE* c = rzl_open_w(name);
    if (c == nullptr) stop("a file can't be made");
    int32_t standard = RZL_STANDARD_KRVN;
    bool set = rzl_set_hdr_data(c, RZL_FIELD_STANDARD, &standard) == 0 &&
               rzl_set_hdr_data(c, RZL_FIELD_FORMAT, &format) == 0 &&
               rzl_set_hdr_data(c, RZL_FIELD_TILE_WIDTH, &tile) == 0 &&
               rzl_set_hdr_data(c, RZL_FIELD_XSIZE, &width) == 0 && rzl_set_hdr_data(c, RZL_FIELD_YSIZE, &height) == 0;
    if (!set) stop("a header field can't be set");
    return c;
}

bool has_planes(int64_t format) {
    return format == RZL_FORMAT_PLANE_RUNS || format == RZL_FORMAT_RGB;
}

void write_picture(const char* name, int64_t format, const picture& p, int64_t tile = 0) {
    CFILE* c = create(name, static_cast<int32_t>(format), WIDTH, HEIGHT, static_cast<int32_t>(tile));
    bool planes = has_planes(format);
    for (int32_t y = 0; y < HEIGHT; ++y) {
        int result = planes ? rzl_putline3(c, p.line(0, y), p.line(1, y), p.line(2, y)) : rzl_putline(c, p.line(0, y));
        if (result != 0) stop("a line can't be written");
    }
    if (rzl_finish(c) != 0) stop("a file can't be finished");
}

void read_picture(const char* name, bytes* line) {
    CFILE* c = rzl_open_r(name);
    if (c == nullptr) stop("a file can't be opened");
    int32_t format = 0;
    rzl_get_hdr_data(c, RZL_FIELD_FORMAT, &format);
    bool planes = has_planes(format);
    for (int32_t y = 0; y < HEIGHT; ++y) {
        int result =
            planes ? rzl_getline3(c, line[0].data(), line[1].data(), line[2].data()) : rzl_getline(c, line[0].data());
        if (result != 0) stop("a line can't be read");
    }
    rzl_close(c);
}

// The picture cut into tiles, row by row: each has its planes one behind the other, with full lines at the right edge
// too.
bytes tiles_of(const picture& p, int32_t side) {
    bytes out;
    auto edge = static_cast<size_t>(side);
    for (int32_t top = 0; top < HEIGHT; top += side)
        for (size_t left = 0; left < LINE; left += edge)
            for (int plane = 0; plane < 3; ++plane)
                for (int32_t y = top; y < top + side; ++y) {
                    size_t at = out.size();
                    out.resize(at + edge);
                    if (y < HEIGHT) std::memcpy(&out[at], p.line(plane, y) + left, std::min(edge, LINE - left));
                }
    return out;
}

size_t tile_count(int32_t side) {
    return static_cast<size_t>((WIDTH + side - 1) / side) * static_cast<size_t>((HEIGHT + side - 1) / side);
}

void write_tiles(const char* name, int64_t format, const bytes& tiles, int32_t side) {
    CFILE* c = create(name, static_cast<int32_t>(format), WIDTH, HEIGHT, side);
    size_t plane = static_cast<size_t>(side) * static_cast<size_t>(side);
    for (size_t i = 0; i < tile_count(side); ++i) {
        const uint8_t* tile = &tiles[i * plane * 3];
        const void* planes[3] = {tile, tile + plane, tile + 2 * plane};
        if (rzl_puttile(c, has_planes(format) ? 3 : 1, planes) != 0) stop("a tile can't be written");
    }
    if (rzl_finish(c) != 0) stop("a file can't be finished");
}

void read_tiles(const char* name, int64_t format, int32_t side, bytes* room) {
    CFILE* c = rzl_open_r(name);
    if (c == nullptr) stop("a file can't be opened");
    size_t plane = static_cast<size_t>(side) * static_cast<size_t>(side);
    room->resize(plane * 3);
    void* planes[3] = {room->data(), room->data() + plane, room->data() + 2 * plane};
    for (size_t i = 0; i < tile_count(side); ++i)
        if (rzl_gettile(c, has_planes(format) ? 3 : 1, planes, nullptr) != 0) stop("a tile can't be read");
    rzl_close(c);
}

std::string temporary_name() {
    const char* directory = std::getenv("TMPDIR");
    return std::string(directory != nullptr ? directory : "/tmp") + "/bench_native.rgb";
}

void set_rate(benchmark::State& state) {
    int64_t planes = has_planes(state.range(0)) ? 3 : 1;
    state.SetBytesProcessed(state.iterations() * planes * WIDTH * HEIGHT);
}

void put_lines(benchmark::State& state) {
    const picture& p = picture_of(state.range(1) != 0);
    std::string name = temporary_name();
    while (state.KeepRunning())
        write_picture(name.c_str(), state.range(0), p, state.range(2));
    set_rate(state);
    std::remove(name.c_str());
}

void get_lines(benchmark::State& state) {
    std::string name = temporary_name();
    write_picture(name.c_str(), state.range(0), picture_of(state.range(1) != 0), state.range(2));
    bytes line[3] = {bytes(LINE), bytes(LINE), bytes(LINE)};
    while (state.KeepRunning()) {
        read_picture(name.c_str(), line);
        benchmark::DoNotOptimize(line[0].data());
    }
    set_rate(state);
    std::remove(name.c_str());
}

void put_tiles(benchmark::State& state) {
    auto side = static_cast<int32_t>(state.range(2));
    bytes tiles = tiles_of(picture_of(state.range(1) != 0), side);
    std::string name = temporary_name();
    while (state.KeepRunning())
        write_tiles(name.c_str(), state.range(0), tiles, side);
    set_rate(state);
    std::remove(name.c_str());
}

void get_tiles(benchmark::State& state) {
    auto side = static_cast<int32_t>(state.range(2));
    std::string name = temporary_name();
    write_picture(name.c_str(), state.range(0), picture_of(state.range(1) != 0), side);
    bytes room;
    while (state.KeepRunning()) {
        read_tiles(name.c_str(), state.range(0), side, &room);
        benchmark::DoNotOptimize(room.data());
    }
    set_rate(state);
    std::remove(name.c_str());
}

// What can't be undercut: the bytes of the picture from one place in memory to another, and to a file.
void floor_memory(benchmark::State& state) {
    const picture& p = picture_of(true);
    bytes line(LINE * 3);
    while (state.KeepRunning())
        for (int32_t y = 0; y < HEIGHT; ++y) {
            for (int plane = 0; plane < 3; ++plane)
                std::memcpy(line.data() + static_cast<size_t>(plane) * LINE, p.line(plane, y), LINE);
            benchmark::DoNotOptimize(line.data());
        }
    state.SetBytesProcessed(state.iterations() * 3 * WIDTH * HEIGHT);
}

void floor_file(benchmark::State& state) {
    const picture& p = picture_of(true);
    std::string name = temporary_name();
    while (state.KeepRunning()) {
        std::ofstream out(name, std::ios::binary);
        for (int32_t y = 0; y < HEIGHT; ++y)
            for (int plane = 0; plane < 3; ++plane)
                out.write(reinterpret_cast<const char*>(p.line(plane, y)), WIDTH);
    }
    state.SetBytesProcessed(state.iterations() * 3 * WIDTH * HEIGHT);
    std::remove(name.c_str());
}

void all_formats(benchmark::internal::Benchmark* b, std::initializer_list<int64_t> tiles) {
    b->ArgNames({"format", "photo", "tile"})->Unit(benchmark::kMillisecond);
    for (int64_t format : {RZL_FORMAT_PLANE_RUNS, RZL_FORMAT_RGB, RZL_FORMAT_BYTE_RUNS, RZL_FORMAT_BYTE})
        for (int64_t photo : {0, 1})
            for (int64_t tile : tiles)
                b->Args({format, photo, tile});
}
void with_lines(benchmark::internal::Benchmark* b) {
    all_formats(b, {0, 256});
}
void in_tiles(benchmark::internal::Benchmark* b) {
    all_formats(b, {256});
}

BENCHMARK(put_lines)->Apply(with_lines);
BENCHMARK(put_tiles)->Apply(in_tiles);
BENCHMARK(get_lines)->Apply(with_lines);
BENCHMARK(get_tiles)->Apply(in_tiles);
BENCHMARK(floor_memory)->Unit(benchmark::kMillisecond);
BENCHMARK(floor_file)->Unit(benchmark::kMillisecond);

// ---- for the comparison of whole programs

int make_files(const char* kind, const char* native, const char* portable) {
    picture p = make_picture(std::strcmp(kind, "photo") == 0);
    write_picture(native, RZL_FORMAT_RGB, p);
    std::ofstream out(portable, std::ios::binary);
    out << "P6\n" << WIDTH << " " << HEIGHT << "\n255\n";
    bytes line(LINE * 3);
    for (int32_t y = 0; y < HEIGHT; ++y) {
        for (size_t i = 0; i < LINE * 3; ++i)
            line[i] = p.line(static_cast<int>(i % 3), y)[i / 3];
        out.write(reinterpret_cast<const char*>(line.data()), static_cast<std::streamsize>(line.size()));
    }
    return out.good() ? 0 : 1;
}

int copy_file(int32_t format, const char* from, const char* to) {
    CFILE* in = rzl_open_r(from);
    if (in == nullptr) stop("a file can't be opened");
    int32_t width = 0;
    int32_t height = 0;
    rzl_get_hdr_data(in, RZL_FIELD_XSIZE, &width);
    rzl_get_hdr_data(in, RZL_FIELD_YSIZE, &height);
    CFILE* out = create(to, format, width, height);
    bytes line[3];
    for (bytes& plane : line)
        plane.resize(static_cast<size_t>(width));
    for (int32_t y = 0; y < height; ++y) {
        bool moved = rzl_getline3(in, line[0].data(), line[1].data(), line[2].data()) == 0 &&
                     rzl_putline3(out, line[0].data(), line[1].data(), line[2].data()) == 0;
        if (!moved) stop("a line can't be copied");
    }
    rzl_close(in);
    return rzl_finish(out) == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 5 && std::strcmp(argv[1], "make") == 0) return make_files(argv[2], argv[3], argv[4]);
    if (argc == 5 && std::strcmp(argv[1], "copy") == 0) {
        auto format = static_cast<int32_t>(std::strtol(argv[2], nullptr, 10));
        return copy_file(format, argv[3], argv[4]);
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
