// The sweep of tests of the raster library: a status for every failure, and nothing but these when memory fails.
#pragma once

#include "common/failures.h"
#include "raster/rzl.h"

// Runs `restore_and_run`, which gives the status it ends with, with the n-th allocation, or the n-th transfer, failing.
// `check` learns whether that run succeeded.
inline void sweep(bool memory, bool onward, const std::function<uint32_t()>& restore_and_run,
                  const std::function<void(bool)>& check) {
    const failing way = memory ? (onward ? failing::allocations_onward : failing::allocation)
                               : (onward ? failing::transfers_onward : failing::transfer);
    uint32_t status = 0;
    sweep_failures(
        std::vector<failing>{way}, [&] { status = restore_and_run(); },
        [&](bool hit) {
            if (memory) {
                EXPECT_TRUE(status == 0 || status == RZL_NO_MEMORY || status == RZL_CANNOT_OPEN)
                    << rzl_status_name(status);
            }
            EXPECT_TRUE(hit || status == 0) << rzl_status_name(status);
            check(status == 0);
        });
}
