// Arrays that grow.
#pragma once

#include <cstddef>

#include "support/checked.h"
#include "support/memory.h"

// Gives an owned array (null: none yet) room for `count` items; new ones aren't set. False, with the array as it was,
// without memory.
template <typename T> bool fi_resize(T** array, size_t count) {
    struct item {
        T value;
    };
    size_t bytes = 0;
    if (!checked_mul(count, sizeof(item), &bytes)) return false;
    auto* resized = static_cast<T*>(mem_realloc(*array, bytes));
    if (resized == nullptr) return false;
    *array = resized;
    return true;
}
template <typename T> bool fi_resize(T** array, int count) {
    return fi_resize(array, static_cast<size_t>(count));
}
