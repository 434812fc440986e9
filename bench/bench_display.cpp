// The display layer: pictures through the pipelines against a plain copy of the same bytes, text (items are glyphs),
// and a screen full of overlapping windows drawn anew. All on the host in memory, with nothing shown.
#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "tools/colors.h"
#include "tools/draw.h"
#include "tools/events.h"
#include "tools/font.h"
#include "tools/process.h"
#include "tools/windows.h"

namespace {

constexpr int WIDTH = 1600, HEIGHT = 1200;
constexpr size_t PIXELS = size_t{WIDTH} * HEIGHT;

bool start(int planes) {
    const host_screen size = {WIDTH, HEIGHT, planes, 0};
    return host_start_with(&host_headless, &size, "bench") && Enter_tools() == 0;
}

int open(int x1, int y1, int x2, int y2) {
    int window = -1;
    if (Create_win_no_border(0, x1, y1, x2, y2, &window) == 0) Display_win(window);
    return window;
}

// Three planes, as a picture has them: neighbours differ little.
std::vector<uint8_t> make_planes() {
    std::vector<uint8_t> bytes(3 * PIXELS);
    std::mt19937 random(1);
    for (size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<uint8_t>(i / 9 % 256 + random() % 16);
    return bytes;
}

double seconds_now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

double copy_seconds(const std::vector<uint8_t>& from, std::vector<uint8_t>* to) {
    const double start = seconds_now();
    memcpy(to->data(), from.data(), from.size());
    benchmark::DoNotOptimize(to->data());
    benchmark::ClobberMemory();
    return seconds_now() - start;
}

// Arguments: the screen's planes and the pipeline's. of_copy: the speed as a part of that of a plain copy of the
// planes, best against best; they take turns, so that both find the caches alike.
void rgb_rect_picture(benchmark::State& state) {
    const std::vector<uint8_t> planes = make_planes();
    if (!start(static_cast<int>(state.range(0))) || RGB_init(0, static_cast<int>(state.range(1))) == 0) {
        state.SkipWithError("no such screen");
        return;
    }
    const int window = open(0, 0, WIDTH - 1, HEIGHT - 1);
    std::vector<uint8_t> to(planes.size());
    double best = 1e9;
    double best_copy = 1e9;
    for (auto _ : state) {
        state.PauseTiming();
        best_copy = std::min(best_copy, copy_seconds(planes, &to));
        state.ResumeTiming();
        const double start = seconds_now();
        rgb_rect(window, 0, WIDTH - 1, 0, HEIGHT - 1, planes.data(), planes.data() + PIXELS, planes.data() + 2 * PIXELS,
                 WIDTH);
        benchmark::ClobberMemory();
        best = std::min(best, seconds_now() - start);
    }
    state.counters["of_copy"] = best_copy / best;
    tools_leave();
}
BENCHMARK(rgb_rect_picture)
    ->Args({24, 24})
    ->Args({24, 15})
    ->Args({15, 15})
    ->Args({16, 16})
    ->Args({8, 8})
    ->Args({4, 4})
    ->Unit(benchmark::kMillisecond);

constexpr const char* TEXT = "The quick brown fox jumps over the lazy dog, 0123456789 times.";

int load_font() {
    int font = -1;
    Load_symbol_file("data/fonts/swiss742b.18", &font);
    return font;
}

void drawsymbols_text(benchmark::State& state) {
    const int font = start(static_cast<int>(state.range(0))) ? load_font() : -1;
    if (font < 0) {
        state.SkipWithError("run this in the directory of the sources");
        return;
    }
    const int window = open(0, 0, WIDTH - 1, HEIGHT - 1);
    const int length = static_cast<int>(strlen(TEXT));
    int y = 0;
    for (auto _ : state) {
        drawsymbols(window, font, 10, y, TEXT, length);
        y = (y + 20) % (HEIGHT - 20);
    }
    state.SetItemsProcessed(state.iterations() * length);
    tools_leave();
}
BENCHMARK(drawsymbols_text)->Arg(8)->Arg(24);

void draw_form(int window, int font, int width, int height) {
    fgcolor(window, 5);
    rectf(window, 0, 0, width - 1, height - 1);
    for (int y = 4; y + 24 < height; y += 28) {
        fgcolor(window, 7);
        move(window, 4, y + 24);
        draw(window, 4, y);
        draw(window, width - 5, y);
        fgcolor(window, 2);
        draw(window, width - 5, y + 24);
        draw(window, 4, y + 24);
        fgcolor(window, 0);
        drawsymbols(window, font, 12, y + 3, TEXT, 40);
    }
}

// Every window of the screen has to be drawn: frames, captions, refresh events, and the windows' own drawing.
void redraw_ten_windows(benchmark::State& state) {
    const int font = start(static_cast<int>(state.range(0))) ? load_font() : -1;
    if (font < 0) {
        state.SkipWithError("run this in the directory of the sources");
        return;
    }
    constexpr int width = 640, height = 480;
    int windows[10];
    for (int i = 0; i < 10; ++i) {
        const int x = 20 + i * 90, y = 40 + i * 65;
        Create_win(0, "A window of the ten", x, y, x + width - 1, y + height - 1, &windows[i]);
        Display_win(windows[i]);
    }
    Enable_events(REFRESH_EVENT);
    long drawn = 0;
    for (auto _ : state) {
        const int cover = open(0, 0, WIDTH - 1, HEIGHT - 1);
        Delete_win(cover);
        uint32_t pending = 0;
        Inq_events(&pending);
        int w, screen, x1, y1, x2, y2, ax1, ay1, ax2, ay2, mask;
        while (Get_refresh_data(&w, &screen, &x1, &y1, &x2, &y2, &ax1, &ay1, &ax2, &ay2, &mask) == 0) {
            draw_form(w, font, width, height);
            ++drawn;
        }
        desk_flush();
    }
    if (drawn != state.iterations() * 10) state.SkipWithError("not all windows were drawn");
    tools_leave();
}
BENCHMARK(redraw_ten_windows)->Arg(8)->Arg(24)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
