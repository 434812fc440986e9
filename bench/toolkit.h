// What the benchmarks of forms start with: the toolkit on a headless screen.
//
// A program calls toolkit_is_ready in each benchmark and ends with `return toolkit_run(count, arguments);`.
#pragma once

#include <benchmark/benchmark.h>

#include "forms/forms.h"
#include "platform/window/desk.h"
#include "surface/paths.h"
#include "tools/process.h"

// Starts the toolkit at the first call, and then what the program needs besides. False, with the benchmark skipped for
// that reason, when one of them fails.
inline bool toolkit_is_ready(benchmark::State& state, bool (*prepare)() = nullptr,
                             const char* reason = "the toolkit doesn't start") {
    static const bool is_ready = [prepare] {
        const host_screen screen = {1280, 1024, 24, 1};
        return host_start_with(&host_headless, &screen, "bench") && Enter_tools() == 0 && FI_enter() == FI_SUCCESS &&
               (prepare == nullptr || prepare());
    }();
    if (!is_ready) state.SkipWithError(reason);
    return is_ready;
}

inline void ignore_notification(int /*form_label*/, int /*label*/, double /*value*/, FI_form* /*form*/) {}

// All of main.
inline int toolkit_run(int count, char** arguments) {
    product_root_init();
    set_program_paths(arguments[0]);
    benchmark::Initialize(&count, arguments);
    benchmark::RunSpecifiedBenchmarks();
    FI_leave();
    tools_leave();
    return 0;
}
