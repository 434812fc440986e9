// Composing texts from bitmap fonts, which is all of the drawing of a text but one mask operation. items_per_second
// are glyphs.
#include <cstdlib>
#include <cstring>

#include <benchmark/benchmark.h>

#include "tools/font.h"

namespace {

void compose(benchmark::State& state, const char* file, const char* text) {
    int id = -1;
    if (Load_symbol_file(file, &id) != 0) {
        state.SkipWithError("run this in the directory of the sources");
        return;
    }
    int length = static_cast<int>(std::strlen(text));
    text_mask mask;
    for ([[maybe_unused]] auto _ : state) {
        font_compose(id, text, length, &mask);
        benchmark::DoNotOptimize(mask.bits);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * length);
}

constexpr const char* LINE = "The following pattern cannot be found: do you wish to modify the pattern search path?";

} // namespace

BENCHMARK_CAPTURE(compose, small_line, "data/fonts/dutch801.18", LINE);
BENCHMARK_CAPTURE(compose, large_line, "data/fonts/mono821b.29", LINE);
BENCHMARK_CAPTURE(compose, one_letter, "data/fonts/mono821.18", "x");

BENCHMARK_MAIN();
