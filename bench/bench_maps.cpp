// Map formats that are only read: MRG, ADRG and ASRP sets of 16 megapixels, made by hand, read line by line, beside a
// copy of the image file; and a sparse ADRG image of 20 gigabytes: how long its opening takes, and a tile anywhere in
// it.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "raster/rzl.h"

namespace {

constexpr int SIDE = 4096;
constexpr size_t PIXELS = size_t{SIDE} * SIDE;
constexpr int TILE = 128;
constexpr size_t TILE_PIXELS = size_t{TILE} * TILE;
constexpr int TILES = SIDE / TILE;

[[noreturn]] void stop(const char* what) {
    std::fprintf(stderr, "bench_maps: %s\n", what);
    std::exit(1);
}

// Areas of a few values, as on a scanned map.
uint8_t value_at(size_t x, size_t y) {
    return static_cast<uint8_t>(((x / 29 + y / 17) % 5 + (x + y) / 120 % 3) % 8);
}

std::string number(size_t value, int width) {
    char text[24];
    std::snprintf(text, sizeof text, "%0*zu", width, value);
    return text;
}

std::string record(const char* mark, const char* sizes, const std::string& fields) {
    const std::string directory = "0010000060000000\x1E";
    const size_t base = 24 + directory.size();
    return number((base + fields.size()) % 100000, 5) + mark + "06" + number(base, 5) + "   " + sizes + directory +
           fields;
}

std::string image_head(const char* id, size_t size) {
    std::string head = record("2L   ", "3404", "geo") + record(" D   ", "9903", std::string(id) + "\x1E");
    head.resize(size, ' ');
    return head;
}

void put(std::string* text, size_t at, const std::string& more) {
    if (text->size() < at + more.size()) text->resize(at + more.size(), ' ');
    text->replace(at, more.size(), more);
}

void write(const std::string& name, const std::string& bytes) {
    if (!std::ofstream(name, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size())).flush())
        stop("a file can't be written");
}

// ---- the sets; each gives the file to open, and the one that holds the pixels

struct made_set {
    std::string open, pixels;
};

made_set make_mrg(const std::string& directory) {
    constexpr size_t PLANES = 3;
    std::string head(459, ' ');
    put(&head, 442, number(SIDE / 256, 6) + number(SIDE / 32, 7) + "3000");
    std::string raster(PIXELS / 8 * PLANES, '\0');
    for (size_t y = 0; y < SIDE; ++y)
        for (size_t x = 0; x < SIDE; ++x)
            for (size_t p = 0; p < PLANES; ++p)
                if ((value_at(x, y) >> p & 1) != 0)
                    raster[((x / 256 * PLANES + p) * SIDE + y) * 32 + x % 256 / 8] |= static_cast<char>(0x80 >> x % 8);
    write(directory + "/ah.mrg", head);
    write(directory + "/ar.mrg", raster);
    return {directory + "/ah.mrg", directory + "/ar.mrg"};
}

std::string adrg_description(size_t down, size_t across, bool mapped) {
    std::string image = "ADRGABCDEF01\x1E";
    put(&image, 256, number(down, 3) + number(across, 3));
    put(&image, 291, mapped ? "Y" : "N");
    for (size_t i = 1; mapped && i <= down * across; ++i)
        put(&image, 334 + i * 5, number(i, 5));
    return record("2L   ", "3403", "ADRG") + record(" D   ", "9903", "DSS01\x1E") +
           record(" D   ", "9903", "OVV01\x1E") + record(" D   ", "9903", "GIN01\x1E" + image);
}

made_set make_adrg(const std::string& directory) {
    std::string image = image_head("IMG01", 2048);
    for (size_t tile = 0; tile < TILES * TILES; ++tile)
        for (size_t p = 0; p < 3; ++p)
            for (size_t i = 0; i < TILE_PIXELS; ++i)
                image +=
                    static_cast<char>(value_at(tile % TILES * TILE + i % TILE, tile / TILES * TILE + i / TILE) + p);
    write(directory + "/ABCDEF01.GEN", adrg_description(TILES, TILES, false));
    write(directory + "/ABCDEF01.IMG", image);
    return {directory + "/ABCDEF01.IMG", directory + "/ABCDEF01.IMG"};
}

made_set make_asrp(const std::string& directory) {
    std::string image = image_head("IMG02", 8192);
    std::string map;
    for (size_t tile = 0; tile < TILES * TILES; ++tile) {
        map += number(image.size() - 4095, 10) + "\x1F";
        for (size_t i = 0; i < TILE_PIXELS;) {
            auto at = [tile](size_t n) {
                return value_at(tile % TILES * TILE + n % TILE, tile / TILES * TILE + n / TILE);
            };
            size_t count = 1;
            while (count < 255 && i + count < TILE_PIXELS && at(i + count) == at(i))
                ++count;
            image += {static_cast<char>(count), static_cast<char>(at(i))};
            i += count;
        }
    }
    std::string text = "GIN01\x1E"
                       "ASRPSHEET012" +
                       std::string(40, '0') + "00025000000001N" + std::string(20, '0') + std::string(24, '0') +
                       number(TILES, 3) + number(TILES, 3) +
                       "128128"
                       "111"
                       "80"
                       "ABCDEF01.IMG"
                       "Y"
                       "0000000000" +
                       map;
    write(directory + "/ABCDEF01.GEN",
          record("2L   ", "44 3", "") + record(" D   ", "44 3", "") + record(" D   ", "44 3", text));
    write(directory + "/ABCDEF01.IMG", image);
    return {directory + "/ABCDEF01.IMG", directory + "/ABCDEF01.IMG"};
}

struct set_row {
    const char* name;
    made_set (*make)(const std::string& directory);
    bool colors;
};
constexpr set_row SETS[] = {{"mrg", make_mrg, false}, {"adrg", make_adrg, true}, {"asrp_runs", make_asrp, false}};

std::string own_directory(const char* name) {
    std::string path = std::filesystem::temp_directory_path().string() + "/bench_maps_" + name;
    std::filesystem::create_directories(path);
    return path;
}

// ---- benchmarks

CFILE* open_set(const std::string& name) {
    CFILE* c = rzl_open_r(name.c_str());
    if (c == nullptr) stop("a set can't be opened");
    return c;
}

void set_read(benchmark::State& state, const set_row* row) {
    const std::string directory = own_directory(row->name);
    const made_set set = row->make(directory);
    std::vector<uint8_t> planes[3] = {std::vector<uint8_t>(SIDE), std::vector<uint8_t>(SIDE),
                                      std::vector<uint8_t>(SIDE)};
    while (state.KeepRunning()) {
        CFILE* c = open_set(set.open);
        const int32_t raw = 1;
        rzl_set_hdr_data(c, RZL_FIELD_RAW_SAMPLES, &raw);
        for (int y = 0; y < SIDE; ++y) {
            int result = row->colors ? rzl_getline3(c, planes[0].data(), planes[1].data(), planes[2].data())
                                     : rzl_getline(c, planes[0].data());
            if (result != 0 || planes[0][77] != value_at(77, static_cast<size_t>(y))) stop("a line can't be read");
        }
        rzl_close(c);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(PIXELS));
    std::filesystem::remove_all(directory);
}

void set_copy(benchmark::State& state, const set_row* row) {
    const std::string directory = own_directory(row->name);
    const made_set set = row->make(directory);
    std::vector<char> block(1 << 18);
    while (state.KeepRunning()) {
        std::FILE* in = std::fopen(set.pixels.c_str(), "rb");
        std::FILE* out = std::fopen((directory + "/copy").c_str(), "wb");
        if (in == nullptr || out == nullptr) stop("copy");
        for (size_t size = 1; size > 0;) {
            size = std::fread(block.data(), 1, block.size(), in);
            if (std::fwrite(block.data(), 1, size, out) != size) stop("copy");
        }
        std::fclose(in);
        std::fclose(out);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(PIXELS));
    std::filesystem::remove_all(directory);
}

// 640 by 640 tiles of three planes: 20 gigabytes, of which the disk has a head and nothing else.
std::string make_sparse(const std::string& directory) {
    constexpr size_t ACROSS = 640;
    write(directory + "/ABCDEF01.GEN", adrg_description(ACROSS, ACROSS, false));
    std::string image = directory + "/ABCDEF01.IMG";
    write(image, image_head("IMG01", 2048));
    std::filesystem::resize_file(image, 2048 + ACROSS * ACROSS * TILE_PIXELS * 3);
    return image;
}

void sparse_open(benchmark::State& state) {
    const std::string directory = own_directory("sparse");
    const std::string image = make_sparse(directory);
    while (state.KeepRunning())
        rzl_close(open_set(image));
    std::filesystem::remove_all(directory);
}

void sparse_tile(benchmark::State& state) {
    const std::string directory = own_directory("sparse");
    CFILE* c = open_set(make_sparse(directory));
    std::vector<uint8_t> planes[3] = {std::vector<uint8_t>(TILE_PIXELS), std::vector<uint8_t>(TILE_PIXELS),
                                      std::vector<uint8_t>(TILE_PIXELS)};
    void* three[3] = {planes[0].data(), planes[1].data(), planes[2].data()};
    uint32_t at = 1;
    while (state.KeepRunning()) {
        at = at * 1664525u + 1013904223u;
        bool read =
            rzl_seek(c, static_cast<int32_t>(at % (640u * 640u))) == 0 && rzl_gettile(c, 3, three, nullptr) == 0;
        if (!read) stop("a tile can't be read");
    }
    rzl_close(c);
    std::filesystem::remove_all(directory);
}

} // namespace

int main(int argc, char** argv) {
    for (const set_row& row : SETS) {
        const std::string name = row.name;
        benchmark::RegisterBenchmark((name + "/read").c_str(), set_read, &row)->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark((name + "/copy").c_str(), set_copy, &row)->Unit(benchmark::kMillisecond);
    }
    benchmark::RegisterBenchmark("adrg_20_gigabytes/open", sparse_open)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("adrg_20_gigabytes/tile", sparse_tile)->Unit(benchmark::kMillisecond);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
