// What fuzz targets of whole programs share: running a command in this process, and holding what it took against the
// bytes that it was given.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <initializer_list>
#include <string>
#include <vector>

#include <fcntl.h>
#include <time.h>
#include <unistd.h>

#include "raster/CORE/module.h"
#include "scratch.h"

// Of the checker of memory, where there is one.
extern "C" {
__attribute__((weak)) int __sanitizer_install_malloc_and_free_hooks(void (*on_malloc)(const volatile void*, size_t),
                                                                    void (*on_free)(const volatile void*));
__attribute__((weak)) size_t __sanitizer_get_allocated_size(const volatile void* block);
}

inline std::atomic<int64_t> held_bytes{0};
inline std::atomic<int64_t> peak_bytes{0};

inline void count_memory() {
    if (__sanitizer_install_malloc_and_free_hooks == nullptr || __sanitizer_get_allocated_size == nullptr) return;
    __sanitizer_install_malloc_and_free_hooks(
        [](const volatile void*, size_t size) {
            const int64_t held = held_bytes += static_cast<int64_t>(size);
            if (held > peak_bytes) peak_bytes = held;
        },
        [](const volatile void* block) {
            if (block != nullptr) held_bytes -= static_cast<int64_t>(__sanitizer_get_allocated_size(block));
        });
}

// Standard output goes nowhere. What is said on standard error, libFuzzer is asked to close (fuzz/run).
inline void commands_begin() {
    static const bool done = [] {
        const int nothing = open("/dev/null", O_WRONLY | O_CLOEXEC);
        if (nothing < 0 || dup2(nothing, 1) != 1) abort();
        count_memory();
        return true;
    }();
    (void)done;
    stop_set_action([](void*, int) {}, nullptr);
}

inline double processor_seconds() {
    timespec now = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

// A byte of a file stands at most for eight lines of 60000 pixels, and no command keeps more of them than three planes;
// from some hundred bytes on nothing is that dense. A line may be wider, since one bit of a fax code can be all of it:
// what a command keeps is then counted in lines. A native file may leave out a page that it does not have a byte of,
// which is a picture all the same. An instrumented program takes some tens of times as long as another: for a pixel
// whose colour has to be found among those of a table, half a microsecond.
constexpr double SECONDS_ALWAYS = 5.0 + 0.5e-6 * LEFT_OUT_PIXELS;
constexpr double SECONDS_A_BYTE = 1e-3;
constexpr int64_t BYTES_ALWAYS = int64_t{128} << 20;
constexpr int64_t BYTES_A_BYTE = int64_t{128} << 10;
constexpr int64_t BYTES_A_PIXEL = 8; // of a line: four planes, the row made of them, tiles of 16 lines of bits

// Runs a command on `size` bytes of input, whose lines have `width` pixels. A run that costs more than they can stand
// for is a finding.
inline void run_bounded(int (*program)(int, char**), std::initializer_list<std::string> words, size_t size,
                        int64_t width = 0) {
    std::vector<std::string> kept(words);
    std::vector<char*> arguments;
    for (std::string& word : kept)
        arguments.push_back(word.data());
    peak_bytes = held_bytes.load();
    const int64_t before = held_bytes;
    const double start = processor_seconds();
    program(static_cast<int>(arguments.size()), arguments.data());
    const double seconds = processor_seconds() - start;
    const int64_t bytes = peak_bytes - before;
    if (seconds > SECONDS_ALWAYS + SECONDS_A_BYTE * static_cast<double>(size)) abort();
    if (bytes > BYTES_ALWAYS + BYTES_A_BYTE * static_cast<int64_t>(size) + BYTES_A_PIXEL * width) abort();
}
