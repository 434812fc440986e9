// The whole program on the host in memory: from the start until it waits for the user, and from an input until all that
// comes of it is shown. Times are those of the wall clock between two waits; the host's own clock costs nothing. Beside
// the mean stand the least of them and the mean of the processor's time, which tell more on a machine that has other
// work: least_ms and processor_ms.
//
// The picture is the sample scene "still" of 4000 by 3000 pixels. It is rendered once, which takes minutes, and kept in
// the build directory, in "pairs". TINCT_BENCH_PAIR=FILE.tnc names another.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "core/open_image.h"
#include "desktop/commands.h"
#include "desktop/main.h"
#include "desktop/picture.h"
#include "desktop/program.h"
#include "desktop/selection.h"
#include "forms/forms.h"
#include "platform/window/host.h"
#include "raster/rzl.h"
#include "surface/reevaluate.h"
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
constexpr int DRAG_STEPS = 60, CLICKS = 20, APPLIES = 10;

fs::path programs;  // where this one stands
fs::path directory; // of files that are made here

// Seconds by the clock on the wall, and that the processor worked.
struct passed {
    double wall, processor;
};

passed now() {
    timespec processor = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &processor);
    const auto wall = std::chrono::steady_clock::now().time_since_epoch();
    return {std::chrono::duration<double>(wall).count(),
            static_cast<double>(processor.tv_sec) + static_cast<double>(processor.tv_nsec) * 1e-9};
}

// A session: actions, each taken when the program waits, and how long each kept it busy. The first time is that of the
// start.
struct session {
    std::vector<std::function<void()>> actions;
    std::vector<passed> times;
    size_t next;
    passed since;
};

bool next_action(void* user) {
    auto* s = static_cast<session*>(user);
    const passed at = now();
    s->times.push_back({at.wall - s->since.wall, at.processor - s->since.processor});
    headless_advance(300); // clicks wait for a second one
    if (s->next < s->actions.size()) {
        s->since = now();
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
    s->since = now();
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

passed press_time(const session* s, size_t at) {
    passed sum = {0, 0};
    for (size_t i = at; i < at + 3; ++i)
        sum = {sum.wall + s->times[i].wall, sum.processor + s->times[i].processor};
    return sum;
}

// One iteration's time, and what is told beside the mean.
void set_time(benchmark::State& state, passed time) {
    state.SetIterationTime(time.wall);
    benchmark::Counter& least = state.counters["least_ms"];
    if (least.value == 0 || time.wall * 1e3 < least.value) least = time.wall * 1e3;
    benchmark::Counter& processor = state.counters["processor_ms"];
    processor.flags = benchmark::Counter::kAvgIterations;
    processor.value += time.processor * 1e3;
}

// Runs one of the programs that stand beside this one.
void run_program(const std::string& command) {
    std::string whole = "'";
    whole += programs.string() + "'/" + command + " >/dev/null 2>&1";
    if (std::system(whole.c_str()) != 0) std::exit(1); // NOLINT(cert-env33-c)
}

const std::string& pair() {
    static std::string path;
    if (!path.empty()) return path;
    const char* given = std::getenv("TINCT_BENCH_PAIR");
    const fs::path kept = programs / "../pairs";
    path = given != nullptr ? fs::absolute(given).string() : (kept / "still.tnc").string();
    if (given != nullptr || (fs::exists(kept / "still.tnc") && fs::exists(kept / "still.rgb"))) return path;
    std::fprintf(stderr, "rendering %s\n", path.c_str());
    run_program("tinct-sample still \"" + kept.string() + "\" --size 4000x3000");
    return path;
}

// ---- start ---------------------------------------------------------------------------------------------------------

void bm_start(benchmark::State& state) {
    const std::vector<std::string> words =
        state.range(0) != 0 ? std::vector<std::string>{"-f", pair()} : std::vector<std::string>{};
    for (auto _ : state) {
        session s = {};
        run(&s, words);
        set_time(state, s.times[0]);
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

// Ten rasters of four megapixels, in the native format or by turns in those that are stored otherwise.
std::string palette_of_patterns(bool mixed = false) {
    constexpr const char* OTHERS[] = {"bmp", "jpg", "png", "tif", "gif"};
    const std::string name = mixed ? "mixed" : "cells";
    const fs::path path = directory / (name + ".tnp");
    if (fs::exists(path)) return path.string();
    std::ofstream out(path);
    for (int i = 0; i < CELLS; ++i) {
        std::string raster = (directory / (name + std::to_string(i))).string();
        write_raster(raster + ".rgb", i);
        if (mixed) run_program("rzl convert " + raster + ".rgb " + raster + "." + OTHERS[i % 5]);
        raster += mixed ? std::string(".") + OTHERS[i % 5] : ".rgb";
        out << "P" << i << " {pattern = \"" << raster << "\";}\n";
    }
    return path.string();
}

// A page of them, native (0) or mixed (1): the first time (0), and again (1) after the bars were shown.
void bm_cells(benchmark::State& state) {
    const std::string palette = palette_of_patterns(state.range(0) != 0);
    for (auto _ : state) {
        session s = {};
        const size_t first = press(&s, PATTERN_FORM, BARS_OR_CELLS);
        press(&s, PATTERN_FORM, BARS_OR_CELLS);
        const size_t again = press(&s, PATTERN_FORM, BARS_OR_CELLS);
        run(&s, {"-p", palette});
        set_time(state, press_time(&s, state.range(1) == 0 ? first : again));
    }
}
BENCHMARK(bm_cells)
    ->ArgNames({"mixed", "again"})
    ->ArgsProduct({{0, 1}, {0, 1}})
    ->Iterations(5)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

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
        set_time(state, press_time(&s, opened));
    }
    fs::current_path(before);
}
BENCHMARK(bm_picker)->Iterations(5)->UseManualTime()->Unit(benchmark::kMillisecond);

// ---- the picture ---------------------------------------------------------------------------------------------------

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

// The middle of the picture at a zoom.
void look_at(int32_t zoom) {
    picture_view.zoom = zoom;
    const raster_image* p = open_image.picture;
    view_place(&picture_view, picture_view.x2 / 2, picture_view.y2 / 2, {p->width / 2.0, p->height / 2.0});
    picture_draw();
}

// A press on the middle of the picture, and on a place beside it, by turns.
void bm_click(benchmark::State& state) {
    const std::string picture = pair();
    session s = {};
    const auto zoom = static_cast<int32_t>(state.range(0));
    s.actions.emplace_back([zoom] { look_at(zoom); });
    const size_t first = s.actions.size() + 1;
    for (int i = 0; i < CLICKS; ++i) {
        s.actions.emplace_back([i] {
            const int x = picture_view.x2 / 2 + (i % 2 == 0 ? -200 : 200);
            const int y = picture_view.y2 / 2 + (i % 4 < 2 ? -200 : 200);
            headless_click(x + Win_frame_width(), y + Win_frame_height(), HOST_LEFT);
        });
        s.actions.emplace_back([] {}); // the release
        s.actions.emplace_back([] {});
    }
    run(&s, {"-f", picture});
    size_t at = first;
    for (auto _ : state) {
        set_time(state, press_time(&s, at));
        at += 3;
    }
}
BENCHMARK(bm_click)->ArgName("zoom")->Arg(-4)->Arg(0)->Arg(4)->Iterations(CLICKS)->UseManualTime()->Unit(
    benchmark::kMillisecond);

// What is applied to the largest surface, by the command, beside a pass over its samples alone, and the undo of it. All
// take turns, and are told as ratios of the processor's time. With a colour (0), or a pattern (1).
void bm_apply(benchmark::State& state) {
    const std::string picture = pair();
    const bool with_pattern = state.range(0) != 0;
    session s = {};
    int pen = 0;
    s.actions.emplace_back([&pen] {
        pen = largest_pen();
        set_pen(pen);
    });
    const size_t first = s.actions.size() + 1;
    for (int i = 0; i < APPLIES; ++i) {
        s.actions.emplace_back([with_pattern] {
            if (with_pattern)
                pattern_select(0);
            else
                color_select(0.5, 0.2, 0.9);
            apply_selection();
        });
        s.actions.emplace_back([] { undo_command(); });
        s.actions.emplace_back([] {
            redo_command(); // what the pass takes back
        });
        s.actions.emplace_back([&pen] {
            reevaluate_pen(open_image.picture, open_image.tnc, {nullptr, nullptr}, open_image.appliques[pen], nullptr,
                           pen);
        });
        s.actions.emplace_back([] { image_undo(); });
    }
    run(&s, {"-f", picture, "-p", palette_of_patterns()});
    double sums[4] = {};
    size_t at = first;
    for (auto _ : state) {
        set_time(state, s.times[at]);
        for (size_t i = 0; i < 4; ++i)
            sums[i] += s.times[at + i].processor;
        at += 5;
    }
    state.counters["to_pass"] = sums[0] / sums[3];
    state.counters["undo_to_apply"] = sums[1] / sums[0];
    state.counters["redo_to_apply"] = sums[2] / sums[0];
}
BENCHMARK(bm_apply)->ArgName("pattern")->Arg(0)->Arg(1)->Iterations(APPLIES)->UseManualTime()->Unit(
    benchmark::kMillisecond);

// One step of a drag of the green bar: the bars alone (0), or live on the largest surface (1), at a zoom. How long the
// press and the release took, before and behind it, is told in milliseconds of the processor.
void bm_drag(benchmark::State& state) {
    const std::string& picture = pair();
    session s = {};
    if (state.range(0) != 0) press(&s, PATTERN_FORM, LIVE);
    const auto zoom = static_cast<int32_t>(state.range(1));
    s.actions.emplace_back([zoom] {
        look_at(zoom);
        set_pen(largest_pen());
    });
    const size_t pressed = s.actions.size() + 1;
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
    const size_t released = s.actions.size() + 1;
    s.actions.emplace_back([] { headless_button(HOST_LEFT, false, 0); });
    s.actions.emplace_back([] {});
    s.actions.emplace_back([] {});
    run(&s, {"-f", picture});
    size_t at = first;
    for (auto _ : state)
        set_time(state, s.times[at++]);
    state.counters["press_ms"] = press_time(&s, pressed).processor * 1e3;
    state.counters["release_ms"] = press_time(&s, released).processor * 1e3;
}
BENCHMARK(bm_drag)
    ->ArgNames({"live", "zoom"})
    ->Args({0, -8})
    ->Args({1, -8})
    ->Args({1, -4})
    ->Args({1, -2})
    ->Args({1, 0})
    ->Args({1, 4})
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
