// The forms toolkit: loading and drawing a form of 200 gadgets, pressing one of them, drawing an area again, and
// dragging. items_per_second are gadgets, and of a drag the places of the pointer that the gadget has followed.
#include <cstdio>
#include <cstdlib>

#include "forms/env.h"
#include "forms/formshow.h"
#include "forms/ops.h"
#include "forms/press.h"
#include "toolkit.h"
#include "tools/events.h"

namespace {

constexpr int GADGETS = 200;
constexpr const char* FILE_NAME = "/tmp/tinct-bench-form";

// A panel of buttons, toggles, check marks and texts, as a file.
bool make_file() {
    FILE* file = std::fopen("/tmp/tinct-bench-form.json", "w");
    if (file == nullptr) return false;
    static constexpr const char* types[] = {"FI_BUTTON", "FI_TOGGLE", "FI_CHECKLIST", "FI_TEXT"};
    std::fprintf(file, "{\"x2\": 1100, \"y2\": 900, \"members\": [");
    for (int i = 0; i < GADGETS; ++i)
        std::fprintf(file,
                     "%s{\"type\": \"%s\", \"label\": %d, \"x1\": %d, \"y1\": %d, \"x2\": %d, \"y2\": %d, \"text\": "
                     "\"Gadget %d\", \"attr_mask\": 256, \"font_name\": \"dutch801\", \"bodysize\": 15, "
                     "\"off_color\": 2, \"on_color\": 6}",
                     i == 0 ? "" : ",", types[i % 4], 11 + i, 20 + i % 10 * 108, 20 + i / 10 * 42, 120 + i % 10 * 108,
                     52 + i / 10 * 42, i);
    std::fprintf(file, "]}");
    std::fclose(file);
    char command[4200];
    std::snprintf(command, sizeof command, "%s/frmc %s.json %s.frm", program_dir, FILE_NAME, FILE_NAME);
    return std::system(command) == 0;
}

bool ready(benchmark::State& state) {
    return toolkit_is_ready(state, make_file, "the toolkit doesn't start, or frmc isn't built");
}

FI_form* load() {
    FI_form* form = nullptr;
    FIf_new(1, "/tmp/tinct-bench-form.frm", ignore_notification, &form);
    return form;
}

void load_and_draw(benchmark::State& state) {
    if (!ready(state)) return;
    for ([[maybe_unused]] auto _ : state) {
        FI_form* form = load();
        FIf_display(form);
        FIf_delete(form);
    }
    state.SetItemsProcessed(state.iterations() * GADGETS);
}

void draw(benchmark::State& state) {
    if (!ready(state)) return;
    FI_form* form = load();
    FIf_display(form);
    for ([[maybe_unused]] auto _ : state)
        fi_draw_form(form);
    state.SetItemsProcessed(state.iterations() * GADGETS);
    FIf_delete(form);
}

void press_button(benchmark::State& state) {
    if (!ready(state)) return;
    FI_form* form = load();
    FIf_display(form);
    for ([[maybe_unused]] auto _ : state)
        fi_form_button(form, 30, 30, 1, TRANS_CLICK, 0);
    state.SetItemsProcessed(state.iterations());
    FIf_delete(form);
}

void redraw_area(benchmark::State& state) {
    if (!ready(state)) return;
    FI_form* form = load();
    FIf_display(form);
    for ([[maybe_unused]] auto _ : state)
        fi_redraw_area(form, 30, 30, 60, 60);
    state.SetItemsProcessed(state.iterations());
    FIf_delete(form);
}

// ---- dragging

constexpr int MOVES = 200; // in one drag
int moves_left = 0;

// The user's hand: moves the pointer to and fro, and then releases the button.
bool move_mouse(void* /*user*/) {
    if (moves_left < 0) return false;
    if (moves_left == 0)
        headless_button(HOST_LEFT, false, 0);
    else
        headless_pointer(100 + moves_left * 37 % 500, 100 + moves_left * 53 % 90);
    --moves_left;
    return true;
}

void drag(benchmark::State& state, int type) {
    if (!ready(state)) return;
    FI_form* form = nullptr;
    FIf_new(1, "", ignore_notification, &form);
    FIf_set_size(form, 1100, 900);
    FIg_new(form, type, 11);
    const FI_standard_variables variables = {20,         20,      660, 220, 0, 0, 15, "", "", "",
                                             "dutch801", nullptr, 2,   2,   0, 0, 0,  0,  0};
    FIg_set_standard_variables(form, 11, &variables);
    FIg_set_orientation(form, 11, 1);
    FIg_set_display(form, 11, FI_SHOW_LOW | FI_SHOW_VALUE | FI_SHOW_HIGH);
    FIg_set_digits(form, 11, 6, 1);
    FIg_set_high_value(form, 11, 1000);
    FIg_set_continuous_routine(form, 11, ignore_notification);
    FIg_activate(form, 11);
    FIf_display(form);
    Enable_events(BUTTON_EVENT);
    headless_on_idle(move_mouse, nullptr);
    for ([[maybe_unused]] auto _ : state) {
        FIg_set_value(form, 11, 0);
        headless_advance(1000);
        headless_pointer(form->x1 + 28, form->y1 + 100); // on the thumb
        headless_button(HOST_LEFT, true, 0);
        headless_advance(300); // until it is known to be no click
        uint32_t pending = 0;
        fi_graphic.Inq_events(&pending);
        moves_left = MOVES;
        if (FI_process_event(BUTTON_EVENT) == 0 || moves_left >= 0) state.SkipWithError("nothing was dragged");
    }
    state.SetItemsProcessed(state.iterations() * MOVES);
    headless_on_idle(nullptr, nullptr);
    FIf_delete(form);
}

} // namespace

BENCHMARK_CAPTURE(drag, slider, FI_SLIDER)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(drag, dial, FI_DIAL)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(drag, scroll_bar, FI_SCROLL)->Unit(benchmark::kMillisecond);
BENCHMARK(load_and_draw)->Unit(benchmark::kMillisecond);
BENCHMARK(draw)->Unit(benchmark::kMillisecond);
BENCHMARK(press_button)->Unit(benchmark::kMicrosecond);
BENCHMARK(redraw_area)->Unit(benchmark::kMicrosecond);

int main(int count, char** arguments) {
    return toolkit_run(count, arguments);
}
