// TIFF lines and tiles through the public calls against libtiff, the same picture in the same layout: reading and
// writing in every coding, in strips by lines and in tiles. Tiles of one sample go through the tile calls of both;
// those of colours come as lines here, and libtiff's are laid into rows. Names: what/coding/layout/program.
#include <benchmark/benchmark.h>
#include <tiffio.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "raster/rzl.h"

namespace {

constexpr int32_t ROWS = 64; // of a strip
constexpr int32_t TILE = 256;

using bytes = std::vector<uint8_t>;

[[noreturn]] void stop(const char* what) {
    std::fprintf(stderr, "bench_tiff: %s\n", what);
    std::exit(1);
}

// A picture as both programs take it: rows as they stand in the file.
struct picture {
    int32_t width, height, samples, bits;
    bytes rows;
    bytes words; // of bilevel rows: the same in the order of words
    size_t row_bytes() const { return (static_cast<size_t>(width) * static_cast<size_t>(samples * bits) + 7) / 8; }
    const uint8_t* row(int32_t y) const { return &rows[static_cast<size_t>(y) * row_bytes()]; }
};

uint32_t next_random(uint32_t* state) {
    *state = *state * 1664525u + 1013904223u;
    return *state >> 16;
}

// A photograph below a rendered half: smooth shades with noise, then plain surfaces.
picture make_shades(int32_t width, int32_t height, int32_t samples) {
    picture p{width, height, samples, 8, {}, {}};
    uint32_t state = 1;
    for (int32_t y = 0; y < height; ++y)
        for (int32_t x = 0; x < width; ++x)
            for (int32_t s = 0; s < samples; ++s) {
                double shade = 128 + 70 * std::sin(x * 0.003 + s) * std::cos(y * 0.004) + next_random(&state) % 5;
                bool plain = y < height / 2 && (x / 200 + y / 150) % 3 != 0;
                p.rows.push_back(plain ? static_cast<uint8_t>(60 + x / 200 * 9 + s * 11) : static_cast<uint8_t>(shade));
            }
    return p;
}

// A page with lines of text-like strokes.
picture make_page(int32_t width, int32_t height) {
    picture p{width, height, 1, 1, {}, {}};
    p.rows.resize(p.row_bytes() * static_cast<size_t>(height));
    uint32_t state = 7;
    for (int32_t top = 200; top + 60 < height - 200; top += 100)
        for (int32_t x = 300; x < width - 300;) {
            int32_t pen = 4 + static_cast<int32_t>(next_random(&state) % 14);
            int32_t slant = static_cast<int32_t>(next_random(&state) % 3) - 1;
            for (int32_t y = top; y < top + 60; ++y)
                for (int32_t i = 0; i < pen; ++i) {
                    int32_t at = x + i + (y - top) / 4 * slant;
                    p.rows[static_cast<size_t>(y) * p.row_bytes() + static_cast<size_t>(at / 8)] |=
                        static_cast<uint8_t>(0x80 >> at % 8);
                }
            x += pen + 5 + static_cast<int32_t>(next_random(&state) % 30);
        }
    size_t words = (static_cast<size_t>(width) + 15) / 16 * 2;
    p.words.resize(words * static_cast<size_t>(height));
    for (int32_t y = 0; y < height; ++y)
        for (size_t i = 0; i < p.row_bytes(); ++i)
            p.words[static_cast<size_t>(y) * words + (i ^ 1)] = p.row(y)[i];
    return p;
}

const picture& colour() {
    static picture p = make_shades(3000, 2000, 3);
    return p;
}
const picture& grey() {
    static picture p = make_shades(5000, 4000, 1);
    return p;
}
const picture& page() {
    static picture p = make_page(5000, 7000);
    return p;
}

// ---- libtiff

void set_up(TIFF* t, const picture& p, int coding, bool tiled) {
    TIFFSetField(t, TIFFTAG_IMAGEWIDTH, p.width);
    TIFFSetField(t, TIFFTAG_IMAGELENGTH, p.height);
    TIFFSetField(t, TIFFTAG_SAMPLESPERPIXEL, p.samples);
    TIFFSetField(t, TIFFTAG_BITSPERSAMPLE, p.bits);
    TIFFSetField(t, TIFFTAG_PHOTOMETRIC, p.samples == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
    TIFFSetField(t, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(t, TIFFTAG_COMPRESSION, coding);
    if (tiled) {
        TIFFSetField(t, TIFFTAG_TILEWIDTH, TILE);
        TIFFSetField(t, TIFFTAG_TILELENGTH, TILE);
    } else {
        TIFFSetField(t, TIFFTAG_ROWSPERSTRIP, ROWS);
    }
}

size_t tile_row_bytes(const picture& p) {
    return static_cast<size_t>(TILE * p.samples * p.bits) / 8;
}

// Calls put(tile, column, row) for each tile of rows that stand `pitch` bytes apart.
template <typename Put> void for_each_tile(const picture& p, const bytes& rows, size_t pitch, Put put) {
    size_t across = tile_row_bytes(p);
    bytes tile(across * TILE);
    for (int32_t y = 0; y < p.height; y += TILE)
        for (size_t x = 0; x < p.row_bytes(); x += across) {
            for (int32_t i = 0; i < TILE && y + i < p.height; ++i)
                std::memcpy(&tile[static_cast<size_t>(i) * across], &rows[static_cast<size_t>(y + i) * pitch] + x,
                            std::min(across, pitch - x));
            put(tile.data(), static_cast<uint32_t>(x / across * TILE), static_cast<uint32_t>(y));
        }
}

void write_peer_tiles(TIFF* t, const picture& p) {
    for_each_tile(p, p.rows, p.row_bytes(), [&](uint8_t* tile, uint32_t column, uint32_t row) {
        if (TIFFWriteTile(t, tile, column, row, 0, 0) < 0) stop("libtiff writes no tile");
    });
}

void write_peer(const std::string& name, const picture& p, int coding, bool tiled) {
    TIFF* t = TIFFOpen(name.c_str(), "w");
    if (t == nullptr) stop("libtiff makes no file");
    set_up(t, p, coding, tiled);
    if (tiled) write_peer_tiles(t, p);
    for (int32_t y = 0; !tiled && y < p.height; ++y)
        if (TIFFWriteScanline(t, const_cast<uint8_t*>(p.row(y)), static_cast<uint32_t>(y), 0) < 0)
            stop("libtiff writes no line");
    TIFFClose(t);
}

// Tiles of colours go into rows, as a program that wants lines has to do.
void read_peer_tiles(TIFF* t, const picture& p) {
    size_t pitch = tile_row_bytes(p);
    bytes tile(pitch * TILE);
    bytes rows(p.row_bytes() * TILE);
    for (int32_t y = 0; y < p.height; y += TILE) {
        for (size_t x = 0; x < p.row_bytes(); x += pitch) {
            auto column = static_cast<uint32_t>(x / pitch * TILE);
            if (TIFFReadTile(t, tile.data(), column, static_cast<uint32_t>(y), 0, 0) < 0) stop("libtiff reads no tile");
            for (size_t i = 0; p.samples > 1 && i < TILE; ++i)
                std::memcpy(&rows[i * p.row_bytes() + x], &tile[i * pitch], std::min(pitch, p.row_bytes() - x));
        }
        benchmark::DoNotOptimize(rows.data());
        benchmark::DoNotOptimize(tile.data());
    }
}

void read_peer(const std::string& name, const picture& p, bool tiled) {
    TIFF* t = TIFFOpen(name.c_str(), "r");
    if (t == nullptr) stop("libtiff opens no file");
    bytes line(p.row_bytes());
    if (tiled) read_peer_tiles(t, p);
    for (int32_t y = 0; !tiled && y < p.height; ++y) {
        if (TIFFReadScanline(t, line.data(), static_cast<uint32_t>(y), 0) < 0) stop("libtiff reads no line");
        benchmark::DoNotOptimize(line.data());
    }
    TIFFClose(t);
}

// ---- rzl

void set_field(CFILE* c, int32_t field, int32_t value) {
    if (rzl_set_hdr_data(c, field, &value) != 0) stop("a field is refused");
}

size_t word_pitch(const picture& p) {
    return (static_cast<size_t>(p.width) + 15) / 16 * 2;
}

void put_tiles(CFILE* c, const picture& p) {
    const bytes& rows = p.bits == 1 ? p.words : p.rows;
    for_each_tile(p, rows, p.bits == 1 ? word_pitch(p) : p.row_bytes(), [&](uint8_t* tile, uint32_t, uint32_t) {
        const void* planes[1] = {tile};
        if (rzl_puttile(c, 1, planes) != 0) stop("a tile is refused");
    });
}

void put_rows(CFILE* c, const picture& p) {
    for (int32_t y = 0; y < p.height; ++y) {
        size_t words = word_pitch(p);
        int failed = p.samples == 3 ? rzl_putline_interleaved(c, p.row(y))
                     : p.bits == 1  ? rzl_putline(c, &p.words[static_cast<size_t>(y) * words])
                                    : rzl_putline(c, p.row(y));
        if (failed != 0) stop("a line is refused");
    }
}

void write_own(const std::string& name, const picture& p, int coding, bool tiled) {
    CFILE* c = rzl_open_w(name.c_str());
    if (c == nullptr) stop("no file can be made");
    set_field(c, RZL_FIELD_STANDARD, RZL_STANDARD_TIFF);
    set_field(c, RZL_FIELD_FORMAT,
              p.samples == 3 ? RZL_FORMAT_RGB
              : p.bits == 1  ? RZL_FORMAT_BILEVEL
                             : RZL_FORMAT_BYTE);
    set_field(c, RZL_FIELD_XSIZE, p.width);
    set_field(c, RZL_FIELD_YSIZE, p.height);
    set_field(c, RZL_FIELD_COMPRESSION, coding);
    set_field(c, tiled ? RZL_FIELD_TILE_WIDTH : RZL_FIELD_STRIP_ROWS, tiled ? TILE : ROWS);
    if (tiled && p.samples == 1) {
        put_tiles(c, p);
    } else {
        put_rows(c, p);
    }
    if (rzl_finish(c) != 0) stop("a file can't be finished");
}

void get_tiles(CFILE* c, const picture& p) {
    bytes tile(tile_row_bytes(p) * TILE);
    void* planes[1] = {tile.data()};
    size_t across = (p.row_bytes() + tile_row_bytes(p) - 1) / tile_row_bytes(p);
    for (size_t i = 0; i < across * static_cast<size_t>((p.height + TILE - 1) / TILE); ++i) {
        if (rzl_gettile(c, 1, planes, nullptr) != 0) stop("a tile can't be read");
        benchmark::DoNotOptimize(tile.data());
    }
}

void read_own(const std::string& name, const picture& p, bool tiled) {
    CFILE* c = rzl_open_r(name.c_str());
    if (c == nullptr) stop("a file can't be opened");
    bool by_tiles = tiled && p.samples == 1;
    if (by_tiles) get_tiles(c, p);
    bytes line(p.row_bytes() + 2);
    for (int32_t y = 0; !by_tiles && y < p.height; ++y) {
        int failed = p.samples == 3 ? rzl_getline_interleaved(c, line.data()) : rzl_getline(c, line.data());
        if (failed != 0) stop("a line can't be read");
        benchmark::DoNotOptimize(line.data());
    }
    rzl_close(c);
}

// ---- the cases

struct coding_case {
    const char* name;
    int coding;
    const picture& (*made)();
};
const coding_case CASES[] = {
    {"plain-grey", 1, grey},         {"plain-rgb", 1, colour},       {"packbits-grey", 32773, grey},
    {"packbits-rgb", 32773, colour}, {"packbits-bits", 32773, page}, {"lzw-grey", 5, grey},
    {"lzw-rgb", 5, colour},          {"lzw-bits", 5, page},          {"group4", 4, page},
};

std::string file_name() {
    const char* directory = std::getenv("TMPDIR");
    return std::string(directory != nullptr ? directory : "/tmp") + "/bench_tiff_" + std::to_string(getpid()) + ".tif";
}

void run_case(benchmark::State& state, const coding_case& c, bool own, bool reads, bool tiled) {
    const picture& p = c.made();
    std::string name = file_name();
    if (reads) write_peer(name, p, c.coding, tiled);
    for (auto _ : state) {
        if (reads) {
            own ? read_own(name, p, tiled) : read_peer(name, p, tiled);
        } else {
            own ? write_own(name, p, c.coding, tiled) : write_peer(name, p, c.coding, tiled);
        }
    }
    std::remove(name.c_str());
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(p.rows.size()));
}

void register_cases() {
    for (const coding_case& c : CASES)
        for (bool tiled : {false, true})
            for (bool reads : {true, false})
                for (bool own : {false, true}) {
                    std::string name = std::string(reads ? "read/" : "write/") + c.name +
                                       (tiled ? "/tiles/" : "/strips/") + (own ? "rzl" : "libtiff");
                    benchmark::RegisterBenchmark(name.c_str(), [&c, own, reads, tiled](benchmark::State& state) {
                        run_case(state, c, own, reads, tiled);
                    })->Unit(benchmark::kMillisecond);
                }
}

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    register_cases();
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
