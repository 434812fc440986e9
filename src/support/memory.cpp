#include "support/memory.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

namespace {

std::atomic<long> live_blocks{0};

// The failure plan. `armed` alone is looked at on the ordinary path.
std::atomic<bool> armed{false};
long allocations_left = 0;
bool fails_onward = false;
bool has_failed = false;

bool planned_to_fail() {
    if (!armed.load(std::memory_order_relaxed)) return false;
    if (allocations_left > 0) {
        --allocations_left;
        return false;
    }
    if (has_failed && !fails_onward) return false;
    has_failed = true;
    return true;
}

void* counted(void* block) {
    if (block != nullptr) live_blocks.fetch_add(1, std::memory_order_relaxed);
    return block;
}

} // namespace

void* mem_alloc(size_t bytes) {
    if (planned_to_fail()) return nullptr;
    return counted(std::malloc(bytes > 0 ? bytes : 1));
}

void* mem_alloc_zeroed(size_t bytes) {
    if (planned_to_fail()) return nullptr;
    return counted(std::calloc(bytes > 0 ? bytes : 1, 1));
}

void* mem_alloc_array(size_t count, size_t size) {
    size_t bytes = 0;
    if (__builtin_mul_overflow(count, size, &bytes)) return nullptr;
    return mem_alloc(bytes);
}

void* mem_realloc(void* block, size_t bytes) {
    if (block == nullptr) return mem_alloc(bytes);
    if (planned_to_fail()) return nullptr;
    return std::realloc(block, bytes > 0 ? bytes : 1);
}

void mem_free(void* block) {
    if (block == nullptr) return;
    live_blocks.fetch_sub(1, std::memory_order_relaxed);
    std::free(block);
}

char* mem_copy_text(const char* text) {
    size_t size = std::strlen(text) + 1;
    char* copy = static_cast<char*>(mem_alloc(size));
    if (copy != nullptr) std::memcpy(copy, text, size);
    return copy;
}

long mem_live() {
    return live_blocks.load(std::memory_order_relaxed);
}

void mem_fail_after(long count, mem_fail mode) {
    allocations_left = count;
    fails_onward = mode == mem_fail::onward;
    has_failed = false;
    armed.store(true, std::memory_order_relaxed);
}

bool mem_fail_stop() {
    armed.store(false, std::memory_order_relaxed);
    return has_failed;
}
