// The sweep of tests of the raster library: a status for every failure, and nothing but these when memory fails.
#pragma once

#include "common/failures.h"
#include "raster/rzl.h"

// Runs `run`, which gives the status it ends with, once for every allocation and every transfer in it, with that one
// failing and with all from it on. `check` learns whether that run succeeded.
inline void sweep(
    const std::function<uint32_t()>& run, const std::function<void(bool)>& check = [](bool) {}) {
    for (const failing way :
         {failing::allocation, failing::allocations_onward, failing::transfer, failing::transfers_onward}) {
        uint32_t status = 0;
        sweep_failures(
            std::vector<failing>{way}, [&] { status = run(); },
            [&](bool hit) {
                if (is_memory_failure(way)) {
                    EXPECT_TRUE(status == 0 || status == RZL_NO_MEMORY || status == RZL_CANNOT_OPEN)
                        << rzl_status_name(status);
                }
                EXPECT_TRUE(hit || status == 0) << rzl_status_name(status);
                check(status == 0);
            });
    }
}
