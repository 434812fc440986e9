// Making and releasing packed lines. A line is a block of its own, or, when it comes packed out of a file, stands with
// others in the chunks of a store: that is denser, and many times faster for a file of millions of them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "support/memory.h"
#include "tnc/tnc.h"

constexpr uint32_t PLINE_LENGTH_MAX = INT32_MAX;

// A line with room for `length` bytes of code (at most PLINE_LENGTH_MAX), which the caller fills, and no successor.
// Null without memory.
inline pline* pline_new(uint32_t length) {
    size_t bytes = offsetof(pline, code) + length;
    auto* line = static_cast<pline*>(mem_alloc(bytes < sizeof(pline) ? sizeof(pline) : bytes));
    if (line == nullptr) return nullptr;
    line->next = nullptr;
    line->length = length & PLINE_LENGTH_MAX;
    line->in_store = 0;
    return line;
}

// Releases a line and all behind it; null does nothing. Those in a store are given back with the store.
inline void pline_free_chain(pline* chain) {
    while (chain != nullptr) {
        pline* next = chain->next;
        if (chain->in_store == 0) mem_free(chain);
        chain = next;
    }
}

struct pline_chunk {
    pline_chunk* next;
};

// Where the next line of a store goes. The chunks belong to whoever releases them with pline_store_free().
struct pline_store {
    pline_chunk* chunks; // newest first
    uint8_t* next;       // free bytes of the newest chunk
    uint8_t* end;
};

// As pline_new(), in a store. `bytes_to_come` is what the file still holds, 0 when that can't be told: memory for as
// much is taken in one piece, and used as lines come.
pline* pline_store_new(pline_store* store, uint32_t length, int64_t bytes_to_come);

// Releases the chunks of a store and all lines in them; null does nothing.
void pline_store_free(pline_chunk* chunks);
