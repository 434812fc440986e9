// Different handles in different threads, each writing and reading native files of its own. Run it under
// ThreadSanitizer to see more than wrong pixels.
#include <atomic>
#include <thread>

#include "raster/core_fixture.h"

namespace {

class Threads : public CoreTest {};

TEST_F(Threads, DifferentHandlesDoNotDisturbEachOther) {
    constexpr int THREADS = 4;
    constexpr int ROUNDS = 6;
    std::atomic<int> failures{0};
    auto work = [&](int number) {
        const int32_t formats[] = {RZL_FORMAT_BYTE, RZL_FORMAT_BYTE_RUNS};
        std::string name = path("thread" + std::to_string(number));
        for (int round = 0; round < ROUNDS; ++round) {
            int seed = number * 31 + round;
            uint32_t status = 0;
            if (write_picture(name.c_str(), formats[round % 2], 300, 40, seed) != 0) ++failures;
            if (!has_picture(name.c_str(), 300, 40, seed, &status)) ++failures;
            // Failures of one thread are not those of another's handle.
            if (rzl_open_r((name + ".missing").c_str()) != nullptr) ++failures;
        }
    };
    std::vector<std::thread> threads;
    threads.reserve(THREADS);
    for (int i = 0; i < THREADS; ++i)
        threads.emplace_back(work, i);
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(failures.load(), 0);
}

// One handle from several threads: each call is whole, so every line is read exactly once.
TEST_F(Threads, OneHandleGivesEachLineOnce) {
    constexpr int HEIGHT = 200;
    std::string name = path("shared");
    ASSERT_EQ(write_picture(name.c_str(), RZL_FORMAT_BYTE, 60, HEIGHT, 9), 0u);
    CFILE* c = opened(rzl_open_r(name.c_str()));
    std::atomic<int> sum{0};
    auto work = [&] {
        uint8_t line[60];
        for (int i = 0; i < HEIGHT / 2; ++i) {
            if (rzl_getline(c, line) == 0) sum += line[0];
        }
    };
    std::thread other(work);
    work();
    other.join();
    rzl_close(c);
    int expected = 0;
    for (int y = 0; y < HEIGHT; ++y)
        expected += pixel_of(9, y, 0);
    EXPECT_EQ(sum.load(), expected);
}

} // namespace
