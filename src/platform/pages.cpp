// Advice about memory: see pages.h.
#include "platform/pages.h"

#include <cstdint>

#include <sys/mman.h>
#include <unistd.h>

void pages_prefer_large(void* block, size_t bytes) {
#ifdef MADV_HUGEPAGE
    auto page = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
    auto first = reinterpret_cast<uintptr_t>(block);
    uintptr_t from = (first + page - 1) / page * page;
    uintptr_t to = (first + bytes) / page * page;
    if (from < to) madvise(reinterpret_cast<void*>(from), to - from, MADV_HUGEPAGE);
#else
    (void)block;
    (void)bytes;
#endif
}
