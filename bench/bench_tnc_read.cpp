// Reading .tnc files: packed lines against only reading the file in blocks, raw samples at growing sizes (the time a
// sample must not grow), decoding a run, and asking which pens stand at a pixel.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "platform/files.h"
#include "tnc/penline.h"
#include "tnc/tnc.h"

namespace {

constexpr int COLUMNS = 2000;
constexpr int SHORT_COLUMNS = 100;
constexpr int PENS = PEN_COUNT;

std::string bench_path(const char* what) {
    return std::string("/tmp/tinct-bench-") + what + ".tnc";
}

void put(std::vector<uint8_t>* to, std::initializer_list<int> values) {
    for (int value : values)
        to->push_back(static_cast<uint8_t>(value));
}

void put_u16(std::vector<uint8_t>* to, int value) {
    put(to, {value & 255, value >> 8 & 255});
}

void write_file(const std::string& path, const std::vector<uint8_t>& content) {
    FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr) std::abort();
    std::fwrite(content.data(), 1, content.size(), file);
    std::fclose(file);
}

std::vector<uint8_t> file_start(int pens) {
    std::vector<uint8_t> content;
    put(&content, {250, 3});
    for (int pen = 0; pen < pens; ++pen)
        put(&content, {249, pen, 0});
    return content;
}

// Raw samples of one pen with u,v: a grey slope and a curved texture.
std::string raw_file(int64_t samples, int columns = COLUMNS) {
    std::vector<uint8_t> content = file_start(1);
    for (int64_t i = 0; i < samples; ++i) {
        auto x = static_cast<int>(i % columns);
        auto y = static_cast<int>(i / columns);
        int shade = (x / 3 + y) & 255;
        put(&content, {0, shade, shade, shade});
        put_u16(&content, 20 * x + y);
        put_u16(&content, x * x / 200 + y);
        put(&content, {x == columns - 1 ? 253 : 251});
    }
    std::string path = bench_path("raw");
    write_file(path, content);
    return path;
}

// The image of the raw file written as packed lines, the same for each of `pens` pens.
std::string packed_file(const tnc_image* image, int pens) {
    std::vector<uint8_t> content = file_start(pens);
    for (int32_t y = 0; y < image->line_count; ++y) {
        for (int pen = 0; pen < pens; ++pen) {
            const pline* line = image->pens[0]->lines[y];
            put(&content, {241, pen});
            put_u16(&content, y);
            put_u16(&content, static_cast<int>(line->length));
            content.insert(content.end(), line->code, line->code + line->length);
        }
    }
    put(&content, {255});
    std::string path = bench_path("packed");
    write_file(path, content);
    return path;
}

int32_t lines_of(int64_t samples, int columns = COLUMNS) {
    return static_cast<int32_t>((samples + columns - 1) / columns);
}

// Lines of `columns` columns, about three bytes each.
std::string packed_file_of(int columns) {
    tnc_image* image = tnc_read(raw_file(1000000, columns).c_str(), lines_of(1000000, columns));
    std::string path = packed_file(image, 60);
    tnc_free(image);
    return path;
}

void read_file_in_blocks(benchmark::State& state) {
    auto columns = static_cast<int>(state.range(0));
    std::string path = packed_file_of(columns);
    std::vector<char> buffer(1 << 16);
    while (state.KeepRunning()) {
        auto file = files_open(path.c_str(), FILES_READ);
        while (files_read(file, buffer.data(), buffer.size()) > 0)
            benchmark::ClobberMemory();
        files_close(file);
    }
    state.SetBytesProcessed(state.iterations() * files_size_of(path.c_str()));
}

// The release of the image is not part of the time.
void tnc_read_of_packed_lines(benchmark::State& state) {
    auto columns = static_cast<int>(state.range(0));
    std::string path = packed_file_of(columns);
    while (state.KeepRunning()) {
        tnc_image* image = tnc_read(path.c_str(), lines_of(1000000, columns));
        state.PauseTiming();
        if (image == nullptr || !image->complete) state.SkipWithError("not read");
        tnc_free(image);
        state.ResumeTiming();
    }
    state.SetBytesProcessed(state.iterations() * files_size_of(path.c_str()));
}

void tnc_read_of_raw_samples(benchmark::State& state) {
    int64_t samples = state.range(0);
    std::string path = raw_file(samples);
    while (state.KeepRunning()) {
        tnc_image* image = tnc_read(path.c_str(), lines_of(samples));
        state.PauseTiming();
        tnc_free(image);
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * samples);
    files_remove(path.c_str());
}

void decode_lines(benchmark::State& state) {
    tnc_image* image = tnc_read(raw_file(1000000).c_str(), lines_of(1000000));
    int64_t samples = 0;
    penline_run run;
    while (state.KeepRunning()) {
        for (int32_t y = 0; y < image->line_count; ++y) {
            penline_position at = penline_begin(image->pens[0]->lines[y]);
            while (penline_next_run(&at, &run)) {
                samples += run.count;
                benchmark::DoNotOptimize(run);
            }
        }
    }
    state.SetItemsProcessed(samples);
    tnc_free(image);
}

// A picture in which each of 240 pens covers every pixel.
void pens_at_a_pixel(benchmark::State& state) {
    tnc_image* image = tnc_read(raw_file(40000).c_str(), 20);
    std::string path = packed_file(image, PENS);
    tnc_free(image);
    image = tnc_read(path.c_str(), 20);
    int32_t pens[PENS_AT_PIXEL_MAX];
    int32_t column = static_cast<int32_t>(state.range(0));
    int found = 0;
    while (state.KeepRunning()) {
        found = pens_at_pixel(image, column, 7, pens, PENS_AT_PIXEL_MAX);
        benchmark::DoNotOptimize(pens);
    }
    state.counters["pens"] = found;
    tnc_free(image);
}

BENCHMARK(read_file_in_blocks)->Arg(COLUMNS)->Arg(SHORT_COLUMNS)->Unit(benchmark::kMillisecond);
BENCHMARK(tnc_read_of_packed_lines)->Arg(COLUMNS)->Arg(SHORT_COLUMNS)->Unit(benchmark::kMillisecond);
BENCHMARK(tnc_read_of_raw_samples)->Arg(1000000)->Arg(10000000)->Unit(benchmark::kMillisecond);
BENCHMARK(decode_lines);
// Within the lines, and past their end, where all 240 pens are walked to no avail.
BENCHMARK(pens_at_a_pixel)->Arg(COLUMNS - 1)->Arg(COLUMNS + 5)->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    files_remove(bench_path("raw").c_str());
    files_remove(bench_path("packed").c_str());
    return 0;
}
