// The sink that gathers run lines, one behind the other.
#include <algorithm>
#include <cstring>

#include "raster/CCITT/ccitt.h"
#include "support/memory.h"

namespace {

// Up to here a sink grows at once to what all lines will take if they are like those so far.
constexpr size_t GUESS_LIMIT = size_t{1} << 20;

// The new capacity, in words, so that `needed` fit: what the lines so far make of the whole, but not more than four
// times what there is, since a height that a file tells need not be true.
size_t grown_capacity(const cit_sink* sink, size_t needed, uint32_t line) {
    size_t capacity = sink->capacity;
    size_t most = std::max(capacity * 4, GUESS_LIMIT);
    while (capacity < needed) {
        size_t guess = capacity / line * sink->height + capacity % line * sink->height / line;
        capacity = std::min(guess, most);
        capacity += std::min<size_t>(sink->width, GUESS_LIMIT) + 2;
        most *= 2;
    }
    return capacity;
}

uint32_t grow(cit_sink* sink, size_t needed, uint32_t line) {
    if (!sink->may_grow) return CIT_NO_MEMORY;
    size_t capacity = grown_capacity(sink, needed, line);
    auto* runs = static_cast<uint16_t*>(mem_realloc(sink->runs, capacity * sizeof(uint16_t)));
    if (runs == nullptr) return CIT_BUFFER_FULL;
    sink->runs = runs;
    sink->capacity = capacity;
    return CIT_OK;
}

} // namespace

uint32_t cit_sink_line(cit_sink* sink, const uint16_t* runs, size_t count, uint32_t line) {
    if (line == 0 || line > sink->height || sink->fill > UINT32_MAX) return CIT_NO_MEMORY;
    size_t needed = sink->fill + count + 1;
    if (needed > sink->capacity) {
        uint32_t result = grow(sink, needed, line);
        if (!cit_succeeded(result)) return result;
    }
    sink->offsets[line - 1] = static_cast<uint32_t>(sink->fill);
    uint16_t* out = sink->runs + sink->fill;
    if (count > 0 && runs[count - 1] == 0) --count;
    std::memcpy(out, runs, count * sizeof(uint16_t));
    if (count % 2 == 0) out[count++] = 0;
    sink->fill += count;
    return CIT_OK;
}
