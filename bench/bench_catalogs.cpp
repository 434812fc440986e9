// Documents and maps: a scanned page of 5000 x 7000 in CALS beside the fax codec alone on the same code, and as runs of
// VRLC; lines and blocks of NITF beside a plain copy of the file; and a sparse NITF file of 20 GB, which is opened, and
// of which single blocks are read. Items are pixels.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "raster/CCITT/ccitt.h"
#include "raster/rzl.h"

namespace {

constexpr int32_t WIDTH = 5000;
constexpr int32_t LINES = 7000;
constexpr size_t PITCH = (WIDTH + 15) / 16 * 2;
constexpr int32_t TILE = 1024;
constexpr int64_t HUGE_SIDE = 143360; // 140 blocks of 1024: 20 GB

using bytes = std::vector<uint8_t>;

[[noreturn]] void stop(const char* what) {
    std::fprintf(stderr, "bench_catalogs: %s\n", what);
    std::exit(1);
}

// Letters of stems and bars, in lines of text, as a byte a pixel.
const bytes& page() {
    static const bytes pixels = [] {
        bytes made(size_t{WIDTH} * LINES);
        std::mt19937 random(1);
        for (int32_t top = 200; top + 280 < LINES; top += 95)
            for (int32_t left = 300; left + 340 < WIDTH; left += 42) {
                const auto letter = random() % 19;
                for (int32_t y = 0; y < 60; ++y)
                    for (int32_t x = 0; x < 40; ++x) {
                        bool stem = (letter & 1) != 0 && x >= 4 && x < 10;
                        bool bar = (letter & 2) != 0 && y >= 23 && y < 29 && x < 32;
                        bool slant = (letter & 4) != 0 && x >= y / 2 && x < y / 2 + 7;
                        if (stem || bar || slant)
                            made[static_cast<size_t>(top + y) * WIDTH + static_cast<size_t>(left + x)] = 1;
                    }
            }
        return made;
    }();
    return pixels;
}

const bytes& page_bits() {
    static const bytes lines = [] {
        bytes made(PITCH * LINES);
        for (size_t y = 0; y < LINES; ++y)
            rzl_pack_bits(&made[y * PITCH], &page()[y * WIDTH], WIDTH, 1);
        return made;
    }();
    return lines;
}

std::string name_of(const char* what) {
    const char* directory = std::getenv("TMPDIR");
    return std::string(directory != nullptr ? directory : "/tmp") + "/bench_catalogs." + what;
}

// The page in a standard, its lines of bits or of bytes. The file's name.
std::string write_page(int32_t standard, int32_t format, int32_t tile = 0) {
    std::string name = name_of(rzl_standard_name(standard)) + std::to_string(format) + "." + std::to_string(tile);
    CFILE* c = rzl_open_w(name.c_str());
    if (c == nullptr) stop("a file can't be made");
    const int32_t fields[][2] = {{RZL_FIELD_STANDARD, standard},
                                 {RZL_FIELD_FORMAT, format},
                                 {RZL_FIELD_XSIZE, WIDTH},
                                 {RZL_FIELD_YSIZE, LINES},
                                 {RZL_FIELD_TILE_WIDTH, tile}};
    for (const auto& field : fields)
        if (rzl_set_hdr_data(c, field[0], &field[1]) != 0) stop("a field can't be set");
    bool is_byte = format == RZL_FORMAT_BYTE || format == RZL_FORMAT_BYTE_RUNS;
    for (size_t y = 0; y < LINES; ++y)
        if (rzl_putline(c, is_byte ? &page()[y * WIDTH] : &page_bits()[y * PITCH]) != 0)
            stop("a line can't be written");
    if (rzl_finish(c) != 0) stop("a file can't be finished");
    return name;
}

void count_pixels(benchmark::State& state) {
    state.SetItemsProcessed(state.iterations() * int64_t{WIDTH} * LINES);
}

void read_lines(const std::string& name) {
    CFILE* c = rzl_open_r(name.c_str());
    if (c == nullptr) stop("a file can't be opened");
    bytes line(WIDTH + 16);
    for (int32_t y = 0; y < LINES; ++y)
        if (rzl_getline(c, line.data()) != 0) stop("a line can't be read");
    rzl_close(c);
}

void lines(benchmark::State& state, int32_t standard, int32_t format, int32_t tile) {
    std::string name = write_page(standard, format, tile);
    while (state.KeepRunning())
        read_lines(name);
    count_pixels(state);
    std::remove(name.c_str());
}

void writing(benchmark::State& state, int32_t standard, int32_t format, int32_t tile) {
    std::string name;
    while (state.KeepRunning())
        name = write_page(standard, format, tile);
    count_pixels(state);
    std::remove(name.c_str());
}

// The code of the CALS file, in memory, line by line.
void codec(benchmark::State& state) {
    std::string name = write_page(RZL_STANDARD_CALS, RZL_FORMAT_GROUP4);
    std::ifstream in(name, std::ios::binary);
    bytes file((std::istreambuf_iterator<char>(in)), {});
    constexpr size_t HEADER = 2048;
    bytes line(PITCH);
    while (state.KeepRunning()) {
        bytes code(file.begin() + HEADER, file.end());
        cit_reverse_bytes(code.data(), code.size());
        cit_reader* reader = cit_reader_new(cit_coding::g4, WIDTH, LINES, code.data(), code.size(), 0);
        for (uint32_t y = 0; y < LINES; ++y)
            if (cit_reader_bits(reader, y, line.data()) != CIT_OK) stop("damaged code");
        cit_reader_free(reader);
    }
    count_pixels(state);
    std::remove(name.c_str());
}

void blocks(benchmark::State& state) {
    std::string name = write_page(RZL_STANDARD_NITF, RZL_FORMAT_BYTE, TILE);
    bytes block(size_t{TILE} * TILE);
    void* planes[1] = {block.data()};
    while (state.KeepRunning()) {
        CFILE* c = rzl_open_r(name.c_str());
        int32_t count = 0;
        while (rzl_gettile(c, 1, planes, nullptr) == 0)
            ++count;
        rzl_close(c);
        if (count != 5 * 7) stop("blocks are missing");
    }
    count_pixels(state);
    std::remove(name.c_str());
}

// The file into memory, a block after the other.
void copy(benchmark::State& state, int32_t tile) {
    std::string name = write_page(RZL_STANDARD_NITF, RZL_FORMAT_BYTE, tile);
    std::string to = name_of("copy");
    bytes block(1 << 18);
    while (state.KeepRunning()) {
        std::FILE* in = std::fopen(name.c_str(), "rb");
        std::FILE* out = std::fopen(to.c_str(), "wb");
        for (size_t size = 1; size > 0;) {
            size = std::fread(block.data(), 1, block.size(), in);
            if (std::fwrite(block.data(), 1, size, out) != size) stop("copy");
        }
        std::fclose(in);
        std::fclose(out);
    }
    count_pixels(state);
    std::remove(name.c_str());
    std::remove(to.c_str());
}

// A small file of blocks whose texts are made to tell of a huge one, with a hole behind them. All nines of a length
// mean all that the file has.
std::string make_huge() {
    std::string name = name_of("huge.ntf");
    CFILE* c = rzl_open_w(name.c_str());
    const int32_t fields[][2] = {{RZL_FIELD_STANDARD, RZL_STANDARD_NITF},
                                 {RZL_FIELD_FORMAT, RZL_FORMAT_BYTE},
                                 {RZL_FIELD_XSIZE, 2048},
                                 {RZL_FIELD_YSIZE, 2048},
                                 {RZL_FIELD_TILE_WIDTH, TILE}};
    for (const auto& field : fields)
        if (c == nullptr || rzl_set_hdr_data(c, field[0], &field[1]) != 0) stop("a field can't be set");
    if (rzl_write_header(c) != 0) stop("a header can't be written");
    rzl_close(c);
    std::ifstream in(name, std::ios::binary);
    std::string file((std::istreambuf_iterator<char>(in)), {});
    file.replace(file.find("0004194304"), 10, "9999999999");
    const std::string side = "00" + std::to_string(HUGE_SIDE);
    file.replace(file.find("0000204800002048"), 16, side + side);
    file.replace(file.find("0002000210241024"), 8, "01400140");
    std::ofstream(name, std::ios::binary) << file.substr(0, file.size() - 2048 * 2048);
    std::filesystem::resize_file(name, static_cast<uintmax_t>(HUGE_SIDE * HUGE_SIDE + 4096));
    return name;
}

void huge_open(benchmark::State& state) {
    std::string name = make_huge();
    while (state.KeepRunning()) {
        CFILE* c = rzl_open_r(name.c_str());
        if (c == nullptr) stop("the huge file can't be opened");
        rzl_close(c);
    }
    std::remove(name.c_str());
}

void huge_block(benchmark::State& state) {
    std::string name = make_huge();
    CFILE* c = rzl_open_r(name.c_str());
    bytes block(size_t{TILE} * TILE);
    void* planes[1] = {block.data()};
    std::mt19937 random(3);
    while (state.KeepRunning())
        if (rzl_seek(c, static_cast<int32_t>(random() % (140 * 140))) != 0 || rzl_gettile(c, 1, planes, nullptr) != 0)
            stop("a block can't be read");
    rzl_close(c);
    std::remove(name.c_str());
}

#define BENCH(function, ...) BENCHMARK_CAPTURE(function, __VA_ARGS__)->Unit(benchmark::kMillisecond)
BENCHMARK(codec)->Unit(benchmark::kMillisecond);
BENCH(lines, cals, RZL_STANDARD_CALS, RZL_FORMAT_GROUP4, 0);
BENCH(writing, cals, RZL_STANDARD_CALS, RZL_FORMAT_GROUP4, 0);
BENCH(lines, cals_tiles, RZL_STANDARD_CALS, RZL_FORMAT_GROUP4, 512);
BENCH(lines, vrlc_bits, RZL_STANDARD_VRLC, RZL_FORMAT_BILEVEL_RUNS, 0);
BENCH(writing, vrlc_bits, RZL_STANDARD_VRLC, RZL_FORMAT_BILEVEL_RUNS, 0);
BENCH(lines, vrlc_bytes, RZL_STANDARD_VRLC, RZL_FORMAT_BYTE_RUNS, 0);
BENCH(writing, vrlc_bytes, RZL_STANDARD_VRLC, RZL_FORMAT_BYTE_RUNS, 0);
BENCH(copy, nitf, 0);
BENCH(lines, nitf, RZL_STANDARD_NITF, RZL_FORMAT_BYTE, 0);
BENCH(writing, nitf, RZL_STANDARD_NITF, RZL_FORMAT_BYTE, 0);
BENCH(lines, nitf_blocks, RZL_STANDARD_NITF, RZL_FORMAT_BYTE, TILE);
BENCHMARK(blocks)->Unit(benchmark::kMillisecond);
BENCHMARK(huge_open)->Unit(benchmark::kMillisecond);
BENCHMARK(huge_block)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
