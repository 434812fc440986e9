// Sweeps over failures: an operation is run once for every allocation, or every transfer, in it, with that one failing,
// until a run meets no failure.
#pragma once

#include <functional>
#include <vector>

#include <gtest/gtest.h>

#include "platform/files.h"
#include "support/memory.h"

// What fails: one allocation, or all from it on; one read or write that comes back short, or all from it on; nothing
// moved any more from one transfer on, which to a reader is the end of the file.
enum class failing { allocation, allocations_onward, transfer, transfers_onward, no_more_bytes };

inline constexpr failing MEMORY_FAILURES[] = {failing::allocation, failing::allocations_onward};
inline constexpr failing TRANSFER_FAILURES[] = {failing::transfer, failing::transfers_onward, failing::no_more_bytes};
inline constexpr failing ALL_FAILURES[] = {failing::allocation, failing::allocations_onward, failing::transfer,
                                           failing::transfers_onward, failing::no_more_bytes};

inline bool is_memory_failure(failing what) {
    return what == failing::allocation || what == failing::allocations_onward;
}

// Plans that the failure comes after `count` allocations, or transfers, that succeed.
inline void plan_failure(failing what, long count) {
    switch (what) {
    case failing::allocation: mem_fail_after(count, mem_fail::once); break;
    case failing::allocations_onward: mem_fail_after(count, mem_fail::onward); break;
    case failing::transfer: files_fail_after(count, files_fail::once); break;
    case failing::transfers_onward: files_fail_after(count, files_fail::onward); break;
    case failing::no_more_bytes: files_fail_after(count, files_fail::nothing); break;
    }
}

// Takes the plan back. Whether it struck.
inline bool end_failure(failing what) {
    return is_memory_failure(what) ? mem_fail_stop() : files_fail_stop();
}

// Runs `run` with each failure of each of `ways` planned, and after each run, with the plan taken back, `check`, which
// learns whether the failure struck and releases what the run left. Memory held afterwards is a leak. The sweep ends
// at the first expectation that fails, and says where.
template <typename Ways>
void sweep_failures(const Ways& ways, const std::function<void()>& run, const std::function<void(bool hit)>& check) {
    for (const failing way : ways) {
        bool hit = true;
        long n = 0;
        for (; hit; ++n) {
            ASSERT_LT(n, 5000) << "no run without a failure";
            const long live = mem_live();
            plan_failure(way, n);
            run();
            hit = end_failure(way);
            check(hit);
            EXPECT_EQ(mem_live(), live) << "memory is still held";
            if (testing::Test::HasFailure()) {
                FAIL() << "failure " << n << " of way " << static_cast<int>(way);
            }
        }
        EXPECT_GT(n, 1) << "way " << static_cast<int>(way) << " met nothing that could fail";
    }
}
