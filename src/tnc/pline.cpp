// The store of packed lines: chunks that grow with what has come, so that a small file takes little, and a large one
// few.
#include "tnc/pline.h"

#include <cstring>

#include "platform/pages.h"
#include "support/checked.h"

namespace {

constexpr size_t FIRST_CHUNK = size_t{1} << 16;
constexpr size_t LAST_CHUNK = size_t{1} << 26;

// From this size on a partly used large page at the end of a chunk is small beside the chunk.
constexpr size_t LARGE_PAGES_FROM = size_t{1} << 23;

// Gaps of more than a part in eight of the codes are closed.
constexpr size_t GAPS_ALLOWED = 8;

bool add_chunk(pline_store* store, size_t at_least, int64_t bytes_to_come) {
    size_t size = FIRST_CHUNK;
    for (const pline_chunk* c = store->chunks; c != nullptr && size < LAST_CHUNK; c = c->next)
        size *= 2;
    size_t hint = static_cast<size_t>(clamped<int64_t>(bytes_to_come, 0, LAST_CHUNK));
    hint += hint / GAPS_ALLOWED;
    if (size < hint) size = hint;
    if (size < at_least) size = at_least;
    bool large = size >= LARGE_PAGES_FROM;
    size_t alignment = large ? LARGE_PAGE : alignof(pline);
    size = (size + alignment - 1) & ~(alignment - 1);
    auto* chunk = static_cast<pline_chunk*>(mem_alloc(sizeof(pline_chunk) + alignment + size));
    if (chunk == nullptr) return false;
    chunk->next = store->chunks;
    store->chunks = chunk;
    auto first = reinterpret_cast<uintptr_t>(chunk + 1);
    store->next = reinterpret_cast<uint8_t*>(chunk + 1) + (alignment - first % alignment) % alignment;
    store->end = store->next + size;
    if (large) pages_prefer_large(store->next, size);
    store->codes = 0;
    store->gaps = 0;
    return true;
}

pline* add_record(pline_store* store, uint8_t* code, uint32_t length) {
    store->end -= sizeof(pline);
    auto* line = reinterpret_cast<pline*>(store->end);
    *line = {nullptr, length & PLINE_LENGTH_MAX, 1, code};
    store->codes += length;
    store->next = code + length;
    return line;
}

} // namespace

bool pline_store_reserve(pline_store* store, size_t bytes, int64_t bytes_to_come) {
    // As much again for records is enough for long lines; short ones come back sooner.
    size_t needed = 2 * bytes + sizeof(pline);
    if (static_cast<size_t>(store->end - store->next) >= needed) return true;
    return add_chunk(store, needed, bytes_to_come);
}

pline* pline_store_new(pline_store* store, uint32_t length, int64_t bytes_to_come) {
    size_t needed = sizeof(pline) + length;
    if (static_cast<size_t>(store->end - store->next) < needed && !add_chunk(store, needed, bytes_to_come))
        return nullptr;
    return add_record(store, store->next, length);
}

pline* pline_store_keep(pline_store* store, uint8_t* code, uint32_t length) {
    auto gap = static_cast<size_t>(code - store->next);
    if (store->gaps + gap > (store->codes + length) / GAPS_ALLOWED) {
        std::memmove(store->next, code, length);
        code = store->next;
    } else {
        store->gaps += gap;
    }
    return add_record(store, code, length);
}

void pline_store_free(pline_chunk* chunks) {
    while (chunks != nullptr) {
        pline_chunk* next = chunks->next;
        mem_free(chunks);
        chunks = next;
    }
}
