// The store of packed lines: chunks that grow with what has come, so that a small file takes little, and a large one
// few.
#include "tnc/pline.h"

#include "platform/pages.h"
#include "support/checked.h"

namespace {

constexpr size_t FIRST_CHUNK = size_t{1} << 16;
constexpr size_t LAST_CHUNK = size_t{1} << 26;

// From this size on a partly used large page at the end of a chunk is small beside the chunk.
constexpr size_t LARGE_PAGES_FROM = size_t{1} << 23;

bool add_chunk(pline_store* store, size_t at_least, int64_t bytes_to_come) {
    size_t size = FIRST_CHUNK;
    for (const pline_chunk* c = store->chunks; c != nullptr && size < LAST_CHUNK; c = c->next)
        size *= 2;
    size_t hint = static_cast<size_t>(clamped<int64_t>(bytes_to_come, 0, LAST_CHUNK));
    if (size < hint) size = hint;
    if (size < at_least) size = at_least;
    auto* chunk = static_cast<pline_chunk*>(mem_alloc(sizeof(pline_chunk) + size));
    if (chunk == nullptr) return false;
    if (size >= LARGE_PAGES_FROM) pages_prefer_large(chunk, sizeof(pline_chunk) + size);
    chunk->next = store->chunks;
    store->chunks = chunk;
    store->next = reinterpret_cast<uint8_t*>(chunk + 1);
    store->end = store->next + size;
    return true;
}

} // namespace

pline* pline_store_new(pline_store* store, uint32_t length, int64_t bytes_to_come) {
    size_t bytes = offsetof(pline, code) + length;
    bytes = (bytes + alignof(pline) - 1) & ~(alignof(pline) - 1);
    if (static_cast<size_t>(store->end - store->next) < bytes && !add_chunk(store, bytes, bytes_to_come))
        return nullptr;
    auto* line = reinterpret_cast<pline*>(store->next);
    store->next += bytes;
    line->next = nullptr;
    line->length = length & PLINE_LENGTH_MAX;
    line->in_store = 1;
    return line;
}

void pline_store_free(pline_chunk* chunks) {
    while (chunks != nullptr) {
        pline_chunk* next = chunks->next;
        mem_free(chunks);
        chunks = next;
    }
}
