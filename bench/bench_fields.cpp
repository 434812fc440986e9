// Fields of many rows: typing into one, scrolling one, and the memory of their rows. items_per_second are keys, steps
// and rows.
#include <malloc.h>

#include <string>

#include "forms/fields.h"
#include "forms/scroll.h"
#include "toolkit.h"
#include "tools/events.h"

namespace {

// A form with a field of that many rows, of which 20 are seen.
FI_form* make_field(int rows, int mode) {
    FI_form* form = nullptr;
    FIf_new(1, "", ignore_notification, &form);
    FIf_set_size(form, 600, 500);
    FIg_new(form, FI_FIELD, 11);
    const FI_standard_variables variables = {20,        20,      420, 380, 0, 0, 15, "", "", "",
                                             "mono821", nullptr, 2,   6,   0, 0, 0,  0,  0};
    FIg_set_standard_variables(form, 11, &variables);
    FIg_activate(form, 11);
    FIfld_set_attr(form, 11, 0, 0x5); // a scroll bar
    FIfld_set_mode(form, 11, 0, mode);
    FIfld_set_max_num_chars(form, 11, 0, 40);
    for (int row = 0; row < rows; ++row)
        FIfld_set_text(form, 11, row, 0, "a row of text", 0);
    FIf_display(form);
    return form;
}

constexpr int KEYS = 200; // in one entry
int keys_left = 0;

// The user's hand: types and takes back, and then leaves by Tab.
bool type_keys(void* /*user*/) {
    if (keys_left < 0) return false;
    if (keys_left == 0)
        headless_key(host_key::tab, 0, 0);
    else if (keys_left % 2 == 0)
        headless_type("x");
    else
        headless_key(host_key::backspace, 0, 0);
    --keys_left;
    return true;
}

void type_in_field(benchmark::State& state) {
    if (!toolkit_is_ready(state)) return;
    FI_form* form = make_field(static_cast<int>(state.range(0)), FI_INSERT);
    Enable_events(KEYBOARD_EVENT | USER_EVENT);
    headless_on_idle(type_keys, nullptr);
    for ([[maybe_unused]] auto _ : state) {
        keys_left = KEYS;
        FIg_start_seq(form, 11);
        uint32_t event = 0;
        if (Wait_for_next(USER_EVENT, &event) != 0 || FI_process_event(event) == 0 || keys_left >= 0)
            state.SkipWithError("nothing was typed");
    }
    headless_on_idle(nullptr, nullptr);
    Disable_events(KEYBOARD_EVENT | USER_EVENT);
    state.SetItemsProcessed(state.iterations() * KEYS);
    FIf_delete(form);
}

// Row by row down and up again, each step shown. `share` is the part of the time that 60 steps a second take.
void scroll_list(benchmark::State& state) {
    if (!toolkit_is_ready(state)) return;
    FI_form* form = make_field(static_cast<int>(state.range(0)), FI_SINGLE_SELECT);
    auto* f = fi_as<fi_field>(fi_find_gadget(form, 11));
    int step = FI_SCROLL_UNIT_FORWARD;
    for ([[maybe_unused]] auto _ : state) {
        const int before = f->top_row;
        fi_field_bar_moved(fi_gadget_of(f), f->scroll_bar, step);
        desk_flush();
        if (f->top_row == before) step = FI_SCROLL_UNIT_FORWARD + FI_SCROLL_UNIT_BACK - step;
    }
    state.SetItemsProcessed(state.iterations());
    state.counters["share"] =
        benchmark::Counter(static_cast<double>(state.iterations()) / 60.0,
                           benchmark::Counter::Flags(benchmark::Counter::kIsRate | benchmark::Counter::kInvert));
    FIf_delete(form);
}

// What rows of that many characters take, with all that the allocator adds.
void fill_rows(benchmark::State& state) {
    if (!toolkit_is_ready(state)) return;
    constexpr int ROWS = 10000;
    const std::string text(static_cast<size_t>(state.range(0)), 'x');
    FI_form* form = make_field(1, FI_INSERT);
    FIfld_set_max_num_chars(form, 11, 0, 0);
    const size_t before = mallinfo2().uordblks;
    for ([[maybe_unused]] auto _ : state)
        for (int row = 0; row < ROWS; ++row)
            FIfld_set_text(form, 11, row, 0, text.c_str(), 0);
    state.SetItemsProcessed(state.iterations() * ROWS);
    state.counters["bytes_a_row"] = static_cast<double>(mallinfo2().uordblks - before) / ROWS;
    FIf_delete(form);
}

} // namespace

BENCHMARK(type_in_field)->Arg(10)->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK(scroll_list)->Arg(10)->Arg(10000)->Unit(benchmark::kMicrosecond);
BENCHMARK(fill_rows)->Arg(20)->Arg(200)->Arg(2000)->Iterations(1)->Unit(benchmark::kMillisecond);

int main(int count, char** arguments) {
    return toolkit_run(count, arguments);
}
