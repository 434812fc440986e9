// GIF files through the public calls against giflib: a photograph-like picture of 16 megapixels in 256 colours, written
// line by line to a file and read back. Copying the pixels, and the coded bytes to a file, is the floor.
//
// The program also serves bench/peers/gif.sh, which compares whole programs:
//   bench_gif make FILE.ppm       the picture
//   bench_gif write FILE.gif      the picture, coded here
//   bench_gif read FILE.gif       all lines of a file
#include <benchmark/benchmark.h>
#include <gif_lib.h>

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

constexpr int32_t WIDTH = 4096;
constexpr int32_t HEIGHT = 4096;
constexpr size_t LINE = WIDTH;
constexpr int COLORS = 256;

using bytes = std::vector<uint8_t>;

[[noreturn]] void stop(const char* what) {
    std::fprintf(stderr, "bench_gif: %s\n", what);
    std::exit(1);
}

// ---- the picture: shades with the noise of a sensor, diffused onto a cube of 6 x 7 x 6 colours

constexpr int STEPS[3] = {6, 7, 6};

uint32_t next_random(uint32_t* state) {
    *state = *state * 1664525u + 1013904223u;
    return *state >> 16;
}

int photo_value(int plane, int32_t x, int32_t y, uint32_t* state) {
    double shade = 128 + 70 * std::sin(x * 0.003 + plane) * std::cos(y * 0.004) + 20 * std::sin(x * 0.05);
    return static_cast<int>(shade + static_cast<double>(next_random(state) % 9));
}

int level_of(int value, int steps) {
    return std::clamp((value * (steps - 1) + 127) / 255, 0, steps - 1);
}

bytes make_picture() {
    bytes picture(LINE * HEIGHT);
    std::vector<int> errors[2] = {std::vector<int>((LINE + 2) * 3), std::vector<int>((LINE + 2) * 3)};
    uint32_t state = 1;
    for (int32_t y = 0; y < HEIGHT; ++y) {
        std::vector<int>& here = errors[y % 2];
        std::vector<int>& below = errors[1 - y % 2];
        std::fill(below.begin(), below.end(), 0);
        for (int32_t x = 0; x < WIDTH; ++x) {
            int index = 0;
            for (int plane = 0; plane < 3; ++plane) {
                size_t at = (static_cast<size_t>(x) + 1) * 3 + static_cast<size_t>(plane);
                int value = photo_value(plane, x, y, &state) + here[at] / 16;
                int level = level_of(value, STEPS[plane]);
                int error = value - level * 255 / (STEPS[plane] - 1);
                here[at + 3] += error * 7;
                below[at - 3] += error * 3;
                below[at] += error * 5;
                below[at + 3] += error;
                index = index * STEPS[plane] + level;
            }
            picture[static_cast<size_t>(y) * LINE + static_cast<size_t>(x)] = static_cast<uint8_t>(index);
        }
    }
    return picture;
}

const bytes& picture_lines() {
    static bytes made = make_picture();
    return made;
}

uint8_t color_of(int index, int plane) {
    int levels[3] = {index / 42, index / 6 % 7, index % 6};
    return static_cast<uint8_t>(std::min(levels[plane] * 255 / (STEPS[plane] - 1), 255));
}

// ---- this library

void write_here(const char* name, const bytes& picture) {
    CFILE* c = rzl_open_w(name);
    if (c == nullptr) stop("a file can't be made");
    const int32_t fields[][2] = {{RZL_FIELD_STANDARD, RZL_STANDARD_GIF},
                                 {RZL_FIELD_FORMAT, RZL_FORMAT_BYTE_RUNS},
                                 {RZL_FIELD_XSIZE, WIDTH},
                                 {RZL_FIELD_YSIZE, HEIGHT},
                                 {RZL_FIELD_VLT_TYPE, 2},
                                 {RZL_FIELD_VLT_ENTRIES, COLORS}};
    for (const auto& field : fields)
        if (rzl_set_hdr_data(c, field[0], &field[1]) != 0) stop("a header field can't be set");
    rzl_vlt_entry table[COLORS];
    for (int i = 0; i < COLORS; ++i)
        table[i] = {static_cast<uint16_t>(i), static_cast<uint16_t>(color_of(i, 0) << 8),
                    static_cast<uint16_t>(color_of(i, 1) << 8), static_cast<uint16_t>(color_of(i, 2) << 8)};
    rzl_put_vlt(c, table);
    for (int32_t y = 0; y < HEIGHT; ++y)
        if (rzl_putline(c, &picture[static_cast<size_t>(y) * LINE]) != 0) stop("a line can't be written");
    if (rzl_finish(c) != 0) stop("a file can't be finished");
}

void read_here(const char* name, uint8_t* out) {
    CFILE* c = rzl_open_r(name);
    if (c == nullptr) stop("a file can't be opened");
    for (int32_t y = 0; y < HEIGHT; ++y)
        if (rzl_getline(c, out + static_cast<size_t>(y) * LINE) != 0) stop("a line can't be read");
    rzl_close(c);
}

// ---- giflib

void write_giflib(const char* name, const bytes& picture) {
    GifColorType colors[COLORS];
    for (int i = 0; i < COLORS; ++i)
        colors[i] = {color_of(i, 0), color_of(i, 1), color_of(i, 2)};
    int error = 0;
    ColorMapObject* map = GifMakeMapObject(COLORS, colors);
    GifFileType* gif = EGifOpenFileName(name, false, &error);
    if (map == nullptr || gif == nullptr) stop("giflib can't make a file");
    bool good = EGifPutScreenDesc(gif, WIDTH, HEIGHT, 8, 0, map) == GIF_OK &&
                EGifPutImageDesc(gif, 0, 0, WIDTH, HEIGHT, false, nullptr) == GIF_OK;
    bytes line(LINE);
    for (int32_t y = 0; good && y < HEIGHT; ++y) {
        std::memcpy(line.data(), &picture[static_cast<size_t>(y) * LINE], LINE); // it changes the line
        good = EGifPutLine(gif, line.data(), WIDTH) == GIF_OK;
    }
    if (!good || EGifCloseFile(gif, &error) != GIF_OK) stop("giflib can't write");
    GifFreeMapObject(map);
}

void read_giflib(const char* name, uint8_t* out) {
    int error = 0;
    GifFileType* gif = DGifOpenFileName(name, &error);
    if (gif == nullptr) stop("giflib can't open");
    GifRecordType record = UNDEFINED_RECORD_TYPE;
    bool good = DGifGetRecordType(gif, &record) == GIF_OK && record == IMAGE_DESC_RECORD_TYPE &&
                DGifGetImageDesc(gif) == GIF_OK;
    for (int32_t y = 0; good && y < HEIGHT; ++y)
        good = DGifGetLine(gif, out + static_cast<size_t>(y) * LINE, WIDTH) == GIF_OK;
    if (!good) stop("giflib can't read");
    DGifCloseFile(gif, &error);
}

// ---- benchmarks

std::string temporary_name() {
    const char* directory = std::getenv("TMPDIR");
    return std::string(directory != nullptr ? directory : "/tmp") + "/bench_gif.gif";
}

void set_rate(benchmark::State& state) {
    state.SetItemsProcessed(state.iterations() * WIDTH * HEIGHT);
}

void gif_write(benchmark::State& state, void (*write)(const char*, const bytes&)) {
    const bytes& picture = picture_lines();
    std::string name = temporary_name();
    while (state.KeepRunning())
        write(name.c_str(), picture);
    set_rate(state);
    std::remove(name.c_str());
}

// Both read the file that was written here.
void gif_read(benchmark::State& state, void (*read)(const char*, uint8_t*)) {
    const bytes& picture = picture_lines();
    std::string name = temporary_name();
    write_here(name.c_str(), picture);
    bytes out(picture.size());
    while (state.KeepRunning())
        read(name.c_str(), out.data());
    if (out != picture) state.SkipWithError("other pixels were read");
    set_rate(state);
    std::remove(name.c_str());
}

// What can't be undercut: the pixels from one place in memory to another, and a file of the coded size.
void floor_copy(benchmark::State& state) {
    const bytes& picture = picture_lines();
    std::string name = temporary_name();
    write_here(name.c_str(), picture);
    std::ifstream in(name, std::ios::binary | std::ios::ate);
    bytes coded(static_cast<size_t>(in.tellg()));
    bytes out(picture.size());
    while (state.KeepRunning()) {
        std::memcpy(out.data(), picture.data(), picture.size());
        benchmark::DoNotOptimize(out.data());
        std::FILE* file = std::fopen(name.c_str(), "wb");
        if (file == nullptr || std::fwrite(coded.data(), 1, coded.size(), file) != coded.size()) stop("floor");
        std::fclose(file);
    }
    set_rate(state);
    std::remove(name.c_str());
}

// ---- for the script

int make_file(const char* name) {
    const bytes& picture = picture_lines();
    std::ofstream out(name, std::ios::binary);
    out << "P6\n" << WIDTH << ' ' << HEIGHT << "\n255\n";
    bytes line(LINE * 3);
    for (int32_t y = 0; y < HEIGHT; ++y) {
        for (size_t x = 0; x < LINE; ++x)
            for (int plane = 0; plane < 3; ++plane)
                line[x * 3 + static_cast<size_t>(plane)] = color_of(picture[static_cast<size_t>(y) * LINE + x], plane);
        out.write(reinterpret_cast<const char*>(line.data()), static_cast<std::streamsize>(line.size()));
    }
    return out.flush() ? 0 : 1;
}

int serve(const std::string& command, const char* name) {
    if (command == "make") return make_file(name);
    if (command == "write") write_here(name, picture_lines());
    if (command == "read") {
        bytes out(LINE * HEIGHT);
        read_here(name, out.data());
    }
    return 0;
}

} // namespace

BENCHMARK_CAPTURE(gif_write, here, write_here)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(gif_write, giflib, write_giflib)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(gif_read, here, read_here)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(gif_read, giflib, read_giflib)->Unit(benchmark::kMillisecond);
BENCHMARK(floor_copy)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
    if (argc == 3 && argv[1][0] != '-') return serve(argv[1], argv[2]);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
