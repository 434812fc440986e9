// Fax coding of a bilevel page of text, 5000 x 7000: group 4 decoding to bit lines and encoding from them, and group 3,
// each beside libtiff doing the same on a strip in memory. Items are pixels.
#include <benchmark/benchmark.h>
#include <tiffio.h>

#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include "raster/CCITT/ccitt.h"

namespace {

constexpr uint32_t WIDTH = 5000;
constexpr uint32_t LINES = 7000;
constexpr size_t PITCH = (WIDTH + 15) / 16 * 2;
constexpr size_t ROW = (WIDTH + 7) / 8;

using bytes = std::vector<uint8_t>;

// A letter of strokes: bars, slanted ones and rings, 40 by 60.
bool letter_pixel(uint32_t letter, uint32_t x, uint32_t y) {
    int dx = static_cast<int>(x) - 18;
    int dy = static_cast<int>(y) - 26;
    bool ring = dx * dx * 2 + dy * dy < 620 && dx * dx * 2 + dy * dy > 330;
    bool stem = x >= 4 && x < 10 && y < 52;
    bool bar = y >= 23 && y < 29 && x >= 4 && x < 32;
    bool slant = x >= y / 2 && x < y / 2 + 7 && y < 52;
    return ((letter & 1) != 0 && ring) || ((letter & 2) != 0 && stem) || ((letter & 4) != 0 && bar) ||
           ((letter & 8) != 0 && slant);
}

// Rows as files have them: most significant bit first.
const bytes& page() {
    static const bytes rows = [] {
        bytes made(ROW * LINES);
        std::mt19937 random(1);
        for (uint32_t top = 200; top + 280 < LINES; top += 95)
            for (uint32_t left = 300; left + 340 < WIDTH; left += 42) {
                auto letter = static_cast<uint32_t>(random() % 19);
                for (uint32_t y = 0; y < 60; ++y)
                    for (uint32_t x = 0; x < 40; ++x) {
                        size_t at = (top + y) * ROW + (left + x) / 8;
                        if (letter_pixel(letter, x, y))
                            made[at] = static_cast<uint8_t>(made[at] | 0x80 >> (left + x) % 8);
                    }
            }
        return made;
    }();
    return rows;
}

const bytes& bit_lines() {
    static const bytes lines = [] {
        bytes made(PITCH * LINES);
        for (size_t y = 0; y < LINES; ++y)
            for (size_t i = 0; i < ROW; ++i)
                made[y * PITCH + (i ^ 1)] = page()[y * ROW + i];
        return made;
    }();
    return lines;
}

bytes encoded(cit_coding coding) {
    cit_writer* w = cit_writer_new(coding, WIDTH, 4);
    for (size_t y = 0; y < LINES; ++y)
        if (cit_writer_bits(w, &bit_lines()[y * PITCH]) != CIT_OK) abort();
    uint8_t* data = nullptr;
    size_t size = 0;
    if (cit_writer_finish(w, &data, &size) != CIT_OK) abort();
    bytes result(data, data + size);
    cit_writer_free(w);
    return result;
}

void count_pixels(benchmark::State& state) {
    state.SetItemsProcessed(state.iterations() * int64_t{WIDTH} * LINES);
}

void decode(benchmark::State& state, cit_coding coding) {
    bytes coded = encoded(coding);
    bytes line(PITCH);
    for (auto _ : state) {
        cit_reader* r = cit_reader_new(coding, WIDTH, LINES, coded.data(), coded.size(), 0);
        for (uint32_t y = 0; y < LINES; ++y) {
            if (cit_reader_bits(r, y, line.data()) != CIT_OK) abort();
            benchmark::DoNotOptimize(line.data());
        }
        cit_reader_free(r);
    }
    count_pixels(state);
}

void encode(benchmark::State& state, cit_coding coding) {
    (void)bit_lines();
    for (auto _ : state)
        benchmark::DoNotOptimize(encoded(coding));
    count_pixels(state);
}

// ---- a file of libtiff in memory

struct memory_file {
    bytes data;
    size_t at;
};

memory_file* of(thandle_t handle) {
    return static_cast<memory_file*>(handle);
}
tmsize_t file_read(thandle_t handle, void* out, tmsize_t count) {
    memory_file* f = of(handle);
    auto bytes_read = std::min(static_cast<size_t>(count), f->data.size() - std::min(f->at, f->data.size()));
    std::memcpy(out, f->data.data() + f->at, bytes_read);
    f->at += bytes_read;
    return static_cast<tmsize_t>(bytes_read);
}
tmsize_t file_write(thandle_t handle, void* in, tmsize_t count) {
    memory_file* f = of(handle);
    auto size = static_cast<size_t>(count);
    if (f->data.size() < f->at + size) f->data.resize(f->at + size);
    std::memcpy(f->data.data() + f->at, in, size);
    f->at += size;
    return count;
}
toff_t file_seek(thandle_t handle, toff_t offset, int whence) {
    memory_file* f = of(handle);
    f->at = static_cast<size_t>(offset) + (whence == SEEK_CUR ? f->at : whence == SEEK_END ? f->data.size() : 0);
    return f->at;
}
int file_close(thandle_t) {
    return 0;
}
toff_t file_size(thandle_t handle) {
    return of(handle)->data.size();
}

TIFF* open_tiff(memory_file* f, const char* mode) {
    f->at = 0;
    return TIFFClientOpen("memory", mode, f, file_read, file_write, file_seek, file_close, file_size, nullptr, nullptr);
}

void write_tiff(memory_file* f, int compression, int options) {
    f->data.clear();
    TIFF* t = open_tiff(f, "wm");
    TIFFSetField(t, TIFFTAG_IMAGEWIDTH, WIDTH);
    TIFFSetField(t, TIFFTAG_IMAGELENGTH, LINES);
    TIFFSetField(t, TIFFTAG_BITSPERSAMPLE, 1);
    TIFFSetField(t, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(t, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
    TIFFSetField(t, TIFFTAG_ROWSPERSTRIP, LINES);
    TIFFSetField(t, TIFFTAG_COMPRESSION, compression);
    if (compression == COMPRESSION_CCITTFAX3) TIFFSetField(t, TIFFTAG_GROUP3OPTIONS, options);
    bytes row(ROW);
    for (uint32_t y = 0; y < LINES; ++y) {
        std::memcpy(row.data(), &page()[y * ROW], ROW);
        if (TIFFWriteScanline(t, row.data(), y, 0) != 1) abort();
    }
    TIFFClose(t);
}

void decode_libtiff(benchmark::State& state, int compression, int options) {
    memory_file f = {};
    write_tiff(&f, compression, options);
    bytes row(ROW);
    for (auto _ : state) {
        TIFF* t = open_tiff(&f, "rm");
        for (uint32_t y = 0; y < LINES; ++y) {
            if (TIFFReadScanline(t, row.data(), y, 0) != 1) abort();
            benchmark::DoNotOptimize(row.data());
        }
        TIFFClose(t);
    }
    count_pixels(state);
}

void encode_libtiff(benchmark::State& state, int compression, int options) {
    (void)page();
    memory_file f = {};
    for (auto _ : state)
        write_tiff(&f, compression, options);
    count_pixels(state);
}

BENCHMARK_CAPTURE(decode, g4, cit_coding::g4)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(decode_libtiff, g4, COMPRESSION_CCITTFAX4, 0)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(encode, g4, cit_coding::g4)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(encode_libtiff, g4, COMPRESSION_CCITTFAX4, 0)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(decode, g3_1d, cit_coding::g3_1d)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(decode_libtiff, g3_1d, COMPRESSION_CCITTFAX3, 0)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(encode, g3_1d, cit_coding::g3_1d)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(encode_libtiff, g3_1d, COMPRESSION_CCITTFAX3, 0)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(decode, g3_2d, cit_coding::g3_2d)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(decode_libtiff, g3_2d, COMPRESSION_CCITTFAX3, GROUP3OPT_2DENCODING)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
