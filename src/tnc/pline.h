// Making and releasing packed lines and chains of them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "support/memory.h"
#include "tnc/tnc.h"

// A line with room for `length` bytes of code, which the caller fills, and no successor. Null without memory.
inline pline* pline_new(uint32_t length) {
    size_t bytes = offsetof(pline, code) + length;
    auto* line = static_cast<pline*>(mem_alloc(bytes < sizeof(pline) ? sizeof(pline) : bytes));
    if (line == nullptr) return nullptr;
    line->next = nullptr;
    line->length = length;
    return line;
}

// Releases a line and all behind it; null does nothing.
inline void pline_free_chain(pline* chain) {
    while (chain != nullptr) {
        pline* next = chain->next;
        mem_free(chain);
        chain = next;
    }
}
