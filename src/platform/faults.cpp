// Planned failures of transfers: see files_fail_after(). Threads other than the test's own never run with a plan.
#include "platform/faults.h"

#include <atomic>

#include "platform/files.h"

namespace {

std::atomic<bool> armed{false}; // the only thing looked at on the ordinary path
long transfers_left = 0;
files_fail mode = files_fail::once;
bool has_failed = false;

} // namespace

size_t transfer_limit(size_t bytes) {
    if (!armed.load(std::memory_order_relaxed) || bytes == 0) return bytes;
    if (transfers_left > 0) {
        --transfers_left;
        return bytes;
    }
    if (has_failed && mode == files_fail::once) return bytes;
    has_failed = true;
    return mode == files_fail::nothing ? 0 : bytes / 2;
}

void files_fail_after(long count, files_fail how) {
    transfers_left = count;
    mode = how;
    has_failed = false;
    armed.store(true, std::memory_order_relaxed);
}

bool files_fail_stop() {
    armed.store(false, std::memory_order_relaxed);
    return has_failed;
}
