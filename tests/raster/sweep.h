// Runs an operation once for every allocation, read or write in it, with that one failing.
#pragma once

#include <gtest/gtest.h>

#include <functional>

#include "platform/files.h"
#include "raster/rzl.h"
#include "support/memory.h"

// Runs `restore_and_run`, which gives the status it ends with, with the n-th allocation, or the n-th transfer, failing,
// until a run meets no failure.
inline void sweep(bool memory, bool onward, const std::function<uint32_t()>& restore_and_run,
                  const std::function<void(bool)>& check) {
    int hits = 0;
    for (long n = 0; n < 500; ++n) {
        long live = mem_live();
        if (memory) {
            mem_fail_after(n, onward ? mem_fail::onward : mem_fail::once);
        } else {
            files_fail_after(n, onward ? files_fail::onward : files_fail::once);
        }
        uint32_t status = restore_and_run();
        bool hit = memory ? mem_fail_stop() : files_fail_stop();
        EXPECT_EQ(mem_live(), live) << n;
        if (memory) {
            EXPECT_TRUE(status == 0 || status == RZL_NO_MEMORY || status == RZL_CANNOT_OPEN)
                << n << " " << rzl_status_name(status);
        }
        EXPECT_TRUE(hit || status == 0) << n << " " << rzl_status_name(status);
        check(status == 0);
        if (!hit) {
            EXPECT_GT(hits, 0) << "the sweep meets what it is for";
            return;
        }
        ++hits;
    }
    ADD_FAILURE() << "no run without a failure";
}
