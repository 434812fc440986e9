// Making and releasing packed lines. A line is a block of its own, or, when it comes packed out of a file, stands with
// others in the chunks of a store: that is denser, and many times faster for a file of millions of them.
//
// In a chunk the codes grow from the bottom and the records of lines from the top. A file can be read straight into a
// chunk, ahead of the codes that stand there: pline_store_keep() then makes a line of bytes that lie there already, so
// that the code of a packed line is moved once, by the operating system.
#pragma once

#include <cstddef>
#include <cstdint>

#include "support/memory.h"
#include "tnc/tnc.h"

constexpr uint32_t PLINE_LENGTH_MAX = INT32_MAX;

// A line with room for `length` bytes of code (at most PLINE_LENGTH_MAX), which the caller fills, and no successor.
// Null without memory.
inline pline* pline_new(uint32_t length) {
    auto* line = static_cast<pline*>(mem_alloc(sizeof(pline) + length));
    if (line == nullptr) return nullptr;
    *line = {nullptr, length & PLINE_LENGTH_MAX, 0, reinterpret_cast<uint8_t*>(line + 1)};
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
    uint8_t* next;       // the free bytes of the newest chunk
    uint8_t* end;        // aligned for a line
    size_t codes;        // bytes of code in the newest chunk
    size_t gaps;         // bytes between them that hold nothing
};

// As pline_new(), in a store. `bytes_to_come` is what the file still holds, 0 when that can't be told: memory for as
// much is taken in one piece, and used as lines come.
pline* pline_store_new(pline_store* store, uint32_t length, int64_t bytes_to_come);

// Sees to it that `bytes` (and records of lines for them) have room from `store->next` on. False without memory.
bool pline_store_reserve(pline_store* store, size_t bytes, int64_t bytes_to_come);

// Whether one more line can be made while bytes up to `used` stand ahead of the codes.
inline bool pline_store_has_record(const pline_store* store, const uint8_t* used) {
    return static_cast<size_t>(store->end - used) >= sizeof(pline);
}

// A line of the `length` bytes at `code`, which stand in the free bytes of the store, where pline_store_has_record()
// has told that there is room for its record. They stay where they are, or are moved down when gaps grow too many.
pline* pline_store_keep(pline_store* store, uint8_t* code, uint32_t length);

// Releases the chunks of a store and all lines in them; null does nothing.
void pline_store_free(pline_chunk* chunks);
