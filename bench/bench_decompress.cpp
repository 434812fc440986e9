// The compressed stream: bytes a second by decompress_getc(), and, whole program against whole program on the same
// stream, the time of this program decoding a file to nowhere against `uncompress -c`.
//
// Run with --decode FILE it only decodes that file and writes it to standard output: that is the program measured.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "platform/files.h"
#include "tnc/decompress.h"

namespace {

constexpr int LINES = 3000;
constexpr int COLUMNS = 4000;

std::string plain_path() {
    return "/tmp/tinct-bench-stream." + std::to_string(sizeof(void*)) + ".plain";
}

std::string stream_path() {
    return plain_path() + ".Z";
}

// Raw samples of a lit, textured surface, in records of eight bytes: about 100 million bytes.
bool make_stream() {
    FILE* file = std::fopen(plain_path().c_str(), "wb");
    if (file == nullptr) return false;
    std::vector<unsigned char> line(COLUMNS * 9);
    for (int y = 0; y < LINES; ++y) {
        for (int x = 0; x < COLUMNS; ++x) {
            int u = static_cast<int>(30000 + 8000 * std::sin(x * 0.002 + y * 0.001));
            int v = 13 * y + x / 3;
            int shade = static_cast<int>(128 + 100 * std::sin(x * 0.01) * std::cos(y * 0.02));
            unsigned char* to = &line[static_cast<size_t>(x) * 9];
            for (int byte : {7, shade, shade, shade, u & 255, u >> 8 & 255, v & 255, v >> 8 & 255, 251}) {
                *to++ = static_cast<unsigned char>(byte);
            }
        }
        std::fwrite(line.data(), 1, line.size(), file);
    }
    std::fclose(file);
    std::string command = "compress -c " + plain_path() + " > " + stream_path();
    return std::system(command.c_str()) == 0;
}

void decompress_getc_of_a_stream(benchmark::State& state) {
    int64_t bytes = 0;
    while (state.KeepRunning()) {
        file_reader* file = reader_open(stream_path().c_str());
        decompress_context* context = decompress_open(file);
        unsigned sum = 0;
        for (int byte = decompress_getc(context); byte >= 0; byte = decompress_getc(context)) {
            sum += static_cast<unsigned>(byte);
            ++bytes;
        }
        benchmark::DoNotOptimize(sum);
        decompress_close(context);
        reader_close(file);
    }
    state.SetBytesProcessed(bytes);
}

void run_command(benchmark::State& state, const std::string& command) {
    while (state.KeepRunning()) {
        if (std::system(command.c_str()) != 0) state.SkipWithError("the command failed");
    }
    state.SetBytesProcessed(state.iterations() * files_size_of(plain_path().c_str()));
}

void program_of_ours(benchmark::State& state) {
    char directory[FILES_PATH_SIZE];
    if (!files_program_directory(directory, sizeof directory)) return state.SkipWithError("no program directory");
    run_command(state, std::string(directory) + "/bench_decompress --decode " + stream_path() + " > /dev/null");
}

// Where another package provides the plain name, the tool that belongs to compress goes by a second one.
void program_uncompress(benchmark::State& state) {
    const char* tool = files_exists("/usr/bin/uncompress.real") ? "uncompress.real" : "uncompress";
    run_command(state, std::string(tool) + " -c " + stream_path() + " > /dev/null");
}

BENCHMARK(decompress_getc_of_a_stream)->Unit(benchmark::kMillisecond);
BENCHMARK(program_of_ours)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(7);
BENCHMARK(program_uncompress)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(7);

// Byte by byte through decompress_getc(), as the reader of records takes them.
int decode(const char* path) {
    file_reader* file = reader_open(path);
    decompress_context* context = decompress_open(file);
    if (context == nullptr) return 1;
    std::vector<unsigned char> out(1 << 16);
    size_t count = 0;
    for (int byte = decompress_getc(context); byte >= 0; byte = decompress_getc(context)) {
        out[count++] = static_cast<unsigned char>(byte);
        if (count < out.size()) continue;
        std::fwrite(out.data(), 1, count, stdout);
        count = 0;
    }
    std::fwrite(out.data(), 1, count, stdout);
    decompress_close(context);
    reader_close(file);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::strcmp(argv[1], "--decode") == 0) return decode(argv[2]);
    benchmark::Initialize(&argc, argv);
    if (!make_stream()) return 1;
    benchmark::RunSpecifiedBenchmarks();
    files_remove(plain_path().c_str());
    files_remove(stream_path().c_str());
    return 0;
}
