// The memory seam: every allocation whose failure has a named outcome goes through here.
//
// The calls are those of the C library with one addition: a test can make the n-th allocation from now fail, once or
// from then on, and so run an operation once for each n and see that it gives its named outcome, leaks nothing, and
// works the next time. Safe to call from several threads; the failure hook is for tests of one thread.
#pragma once

#include <cstddef>

// `bytes` of uninitialised memory, or null. 0 bytes give a valid pointer that must be freed too.
void* mem_alloc(size_t bytes);

// The same, filled with zero bytes.
void* mem_alloc_zeroed(size_t bytes);

// Room for `count` items of `size` bytes, or null, also when the product does not fit a size_t.
void* mem_alloc_array(size_t count, size_t size);

// Changes the size of `block` (null: a new one). On failure null is returned and `block` stays as it was.
void* mem_realloc(void* block, size_t bytes);

// Releases a block of the calls above; null does nothing.
void mem_free(void* block);

// An owned copy of a zero-ended text, or null.
char* mem_copy_text(const char* text);

// Blocks given out and not yet freed. For tests that look for leaks.
long mem_live();

// How a planned failure goes on: that one allocation, or all from it on.
enum class mem_fail { once, onward };

// Lets `count` more allocations succeed and makes the next one fail.
void mem_fail_after(long count, mem_fail mode);

// Takes the plan back. Returns whether an allocation was failed by it.
bool mem_fail_stop();

// A typed block, zero-filled, for plain records. Freed with mem_free().
template <typename T> T* mem_new() {
    return static_cast<T*>(mem_alloc_zeroed(sizeof(T)));
}

// A typed array, not filled.
template <typename T> T* mem_new_array(size_t count) {
    return static_cast<T*>(mem_alloc_array(count, sizeof(T)));
}

// Frees a block at the end of a scope, unless it is handed on with keep().
template <typename T> struct mem_guard {
    T* block;
    explicit mem_guard(T* owned) : block(owned) {}
    ~mem_guard() { mem_free(block); }
    mem_guard(const mem_guard&) = delete;
    mem_guard& operator=(const mem_guard&) = delete;
    T* get() const { return block; }
    T* operator->() const { return block; }
    T& operator[](size_t index) const { return block[index]; }
    explicit operator bool() const { return block != nullptr; }
    T* keep() {
        T* kept = block;
        block = nullptr;
        return kept;
    }
};
