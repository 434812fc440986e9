// The whole program on the host in memory: from the start until it waits for the user, and from an input until all that
// comes of it is shown. Times are those of the wall clock between two waits; the host's own clock costs nothing.
//
// The picture is the sample scene "still" of 4000 by 3000 pixels, rendered into a temporary directory, or
// TINCT_BENCH_PAIR=FILE.tnc.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "core/open_image.h"
#include "desktop/main.h"
#include "desktop/picture.h"
#include "desktop/program.h"
#include "forms/forms.h"
#include "platform/window/host.h"
#include "raster/rzl.h"
#include "tools/events.h"
#include "tools/process.h"
#include "tools/windows.h"
#include "view/highlight.h"

namespace {

namespace fs = std::filesystem;

constexpr int MAIN_FORM = 1, PATTERN_FORM = 2; // and gadgets of theirs
constexpr int OPEN_IMAGE = 155, BARS_OR_CELLS = 200, LIVE = 201, BARS = 100;
constexpr int CELLS = 10;
constexpr int32_t PATTERN_SIDE = 2000;
constexpr int MANY_FILES = 20000;
constexpr int DRAG_STEPS = 60;

fs::path programs;  // where this one stands
fs::path directory; // of files that are made here

// A session: actions, each taken when the program waits, and how long each kept it busy, in seconds. The first time is
// that of the start.
struct session {
    std::vector<std::function<void()>> actions;
    std::vector<double> times;
    size_t next;
    std::chrono::steady_clock::time_point since;
};

bool next_action(void* user) {
    auto* s = static_cast<session*>(user);
    const auto now = std::chrono::steady_clock::now();
    s->times.push_back(std::chrono::duration<double>(now - s->since).count());
    headless_advance(300); // clicks wait for a second one
    if (s->next < s->actions.size()) {
        s->since = std::chrono::steady_clock::now();
        s->actions[s->next++]();
        return true;
    }
    image_mark_unchanged();
    quit_requested = true;
    Post_user_data(0);
    return true;
}

void run(session* s, std::vector<std::string> words) {
    const host_screen size = {1600, 1100, 24, 0};
    forms_wanted = true;
    words.insert(words.begin(), "tinct");
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    s->since = std::chrono::steady_clock::now();
    if (!host_start_with(&host_headless, &size, "bench")) std::exit(1);
    headless_on_idle(next_action, s);
    if (tinct_main(static_cast<int>(words.size()), arguments.data(), nullptr) != 0) std::exit(1);
    tools_leave();
}

// The middle of a gadget, or a point of it, on the screen.
canvas_point place_of(int form_label, int gadget, int right = -1, int down = -1) {
    for (int window = 0; window < WINDOW_COUNT; ++window) {
        FI_form* form = nullptr;
        if (FI_get_form_by_window(window, &form) != FI_SUCCESS || static_cast<int>(form->label) != form_label) continue;
        int x = 0, y = 0, width = 0, height = 0, x1 = 0, y1 = 0, x2 = 0, y2 = 0;
        FIg_get_location(form, gadget, &x, &y);
        FIg_get_size(form, gadget, &width, &height);
        Inq_win_region(window, &x1, &y1, &x2, &y2);
        return {x1 + x + (right < 0 ? width / 2 : right), y1 + y + (down < 0 ? height / 2 : down)};
    }
    std::fprintf(stderr, "form %d is not shown\n", form_label);
    std::exit(1);
}

// A press, and two waits in which it becomes a click. The place of its three times among all.
size_t press(session* s, int form_label, int gadget) {
    s->actions.emplace_back([=] {
        const canvas_point p = place_of(form_label, gadget);
        headless_click(p.x, p.y, HOST_LEFT);
    });
    const size_t at = s->actions.size();
    s->actions.emplace_back([] {});
    s->actions.emplace_back([] {});
    return at;
}

double press_time(const session* s, size_t at) {
    return s->times[at] + s->times[at + 1] + s->times[at + 2];
}

const std::string& pair() {
    static std::string path;
    if (!path.empty()) return path;
    const char* given = std::getenv("TINCT_BENCH_PAIR");
    path = given != nullptr ? fs::absolute(given).string() : (directory / "still.tnc").string();
    const std::string command =
        (programs / "tinct-sample").string() + " still " + directory.string() + " --size 4000x3000 >/dev/null";
    if (given == nullptr && std::system(command.c_str()) != 0) std::exit(1); // NOLINT(cert-env33-c)
    return path;
}

// ---- start ---------------------------------------------------------------------------------------------------------

void bm_start(benchmark::State& state) {
    const std::vector<std::string> words =
        state.range(0) != 0 ? std::vector<std::string>{"-f", pair()} : std::vector<std::string>{};
    for (auto _ : state) {
        session s = {};
        run(&s, words);
        state.SetIterationTime(s.times[0]);
    }
}
BENCHMARK(bm_start)->ArgName("picture")->Arg(0)->Arg(1)->Iterations(5)->UseManualTime()->Unit(benchmark::kMillisecond);

// ---- pattern cells -------------------------------------------------------------------------------------------------

void write_raster(const std::string& path, int seed) {
    CFILE* file = rzl_open_w(path.c_str());
    int32_t values[] = {RZL_STANDARD_KRVN, RZL_FORMAT_RGB, PATTERN_SIDE};
    rzl_set_hdr_data(file, RZL_FIELD_STANDARD, &values[0]);
    rzl_set_hdr_data(file, RZL_FIELD_FORMAT, &values[1]);
    rzl_set_hdr_data(file, RZL_FIELD_XSIZE, &values[2]);
    rzl_set_hdr_data(file, RZL_FIELD_YSIZE, &values[2]);
    std::vector<uint8_t> line(PATTERN_SIDE);
    for (int32_t y = 0; y < PATTERN_SIDE; ++y) {
        for (int32_t x = 0; x < PATTERN_SIDE; ++x)
            line[static_cast<size_t>(x)] = static_cast<uint8_t>((x * y >> 4) + seed * 25);
        rzl_putline3(file, line.data(), line.data(), line.data());
    }
    rzl_close(file);
}

std::string palette_of_patterns() {
    const fs::path path = directory / "cells.tnp";
    if (fs::exists(path)) return path.string();
    std::ofstream out(path);
    for (int i = 0; i < CELLS; ++i) {
        const std::string raster = (directory / ("cell" + std::to_string(i) + ".rgb")).string();
        write_raster(raster, i);
        out << "P" << i << " {pattern = \"" << raster << "\";}\n";
    }
    return path.string();
}

// A page of ten rasters of four megapixels: the first time (0), and again (1) after the bars were shown.
void bm_cells(benchmark::State& state) {
    const std::string palette = palette_of_patterns();
    for (auto _ : state) {
        session s = {};
        const size_t first = press(&s, PATTERN_FORM, BARS_OR_CELLS);
        press(&s, PATTERN_FORM, BARS_OR_CELLS);
        const size_t again = press(&s, PATTERN_FORM, BARS_OR_CELLS);
        run(&s, {"-p", palette});
        state.SetIterationTime(press_time(&s, state.range(0) == 0 ? first : again));
    }
}
BENCHMARK(bm_cells)->ArgName("again")->Arg(0)->Arg(1)->Iterations(5)->UseManualTime()->Unit(benchmark::kMillisecond);

// ---- picker --------------------------------------------------------------------------------------------------------

void bm_picker(benchmark::State& state) {
    const fs::path many = directory / "many";
    const fs::path before = fs::current_path();
    if (fs::create_directories(many))
        for (int i = 0; i < MANY_FILES; ++i)
            std::ofstream(many / ("frame" + std::to_string(i * 7919 % MANY_FILES) + ".tnc"));
    fs::current_path(many);
    for (auto _ : state) {
        session s = {};
        const size_t opened = press(&s, MAIN_FORM, OPEN_IMAGE);
        run(&s, {});
        state.SetIterationTime(press_time(&s, opened));
    }
    fs::current_path(before);
}
BENCHMARK(bm_picker)->Iterations(5)->UseManualTime()->Unit(benchmark::kMillisecond);

// ---- a dragged colour bar ------------------------------------------------------------------------------------------

int largest_pen() {
    int64_t most = 0;
    int pen = 0;
    for (int p = 0; p < PEN_COUNT; ++p) {
        pen_summary summary = {};
        if (!pen_summarise(open_image.tnc, p, &summary) || summary.samples <= most) continue;
        most = summary.samples;
        pen = p;
    }
    return pen;
}

// One step of a drag of the green bar: the bars alone (0), or live on the largest surface (1).
void bm_drag(benchmark::State& state) {
    const std::string& picture = pair();
    session s = {};
    if (state.range(0) != 0) press(&s, PATTERN_FORM, LIVE);
    s.actions.emplace_back([] { set_pen(largest_pen()); });
    s.actions.emplace_back([] {
        const canvas_point p = place_of(PATTERN_FORM, BARS, 60, 70);
        headless_pointer(p.x, p.y);
        headless_button(HOST_LEFT, true, 0);
    });
    s.actions.emplace_back([] {});
    s.actions.emplace_back([] {});
    const size_t first = s.actions.size() + 1;
    for (int i = 1; i <= DRAG_STEPS; ++i)
        s.actions.emplace_back([i] {
            const canvas_point p = place_of(PATTERN_FORM, BARS, 60 + i, 70);
            headless_pointer(p.x, p.y);
        });
    s.actions.emplace_back([] { headless_button(HOST_LEFT, false, 0); });
    s.actions.emplace_back([] {});
    run(&s, {"-f", picture});
    size_t at = first;
    for (auto _ : state)
        state.SetIterationTime(s.times[at++]);
}
BENCHMARK(bm_drag)
    ->ArgName("live")
    ->Arg(0)
    ->Arg(1)
    ->Iterations(DRAG_STEPS)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
    programs = fs::canonical("/proc/self/exe").parent_path();
    char name[] = "/tmp/bench_session.XXXXXX";
    if (mkdtemp(name) == nullptr) return 1;
    directory = name;
    setenv("VANTORAMA", (programs / "../data").c_str(), 1);
    setenv("XDG_STATE_HOME", name, 1);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    fs::remove_all(directory);
    return 0;
}
