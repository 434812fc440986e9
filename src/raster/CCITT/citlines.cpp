// A line as the positions of its changes, and its way from and to runs and bits.
#include <algorithm>

#include "raster/CCITT/citbits.h"
#include "support/memory.h"

namespace {

constexpr size_t FIRST_ROOM = 256;
constexpr size_t WORD_PIXELS = 64;

// The words that a run takes with those that split it.
size_t words_of_run(uint32_t run) {
    return run <= CIT_LONGEST_RUN ? 1 : 1 + (run - 1) / CIT_LONGEST_RUN * 2;
}

} // namespace

bool cit_changes_need(cit_changes* line, size_t count) {
    if (line->room >= count + CIT_GUARDS) return true;
    size_t room = std::max(line->room * 2, count + CIT_GUARDS + FIRST_ROOM);
    if (room > SIZE_MAX / sizeof(int32_t)) return false;
    auto* at = static_cast<int32_t*>(mem_realloc(line->at, room * sizeof(int32_t)));
    if (at == nullptr) return false;
    line->at = at;
    line->room = room;
    return true;
}

bool cit_changes_white(cit_changes* line, uint32_t width) {
    if (!cit_changes_need(line, 0)) return false;
    cit_end_changes(line, 0, width);
    return true;
}

void cit_changes_free(cit_changes* line) {
    mem_free(line->at);
    *line = {};
}

size_t cit_max_runs(uint32_t width) {
    return size_t{width} + 3;
}

bool cit_need_runs(uint16_t** runs, size_t* room, size_t count) {
    if (count <= *room) return true;
    auto* grown = static_cast<uint16_t*>(mem_realloc(*runs, count * 2 * sizeof(uint16_t)));
    if (grown == nullptr) return false;
    *runs = grown;
    *room = count * 2;
    return true;
}

size_t cit_runs_of_changes(const cit_changes* line, uint32_t width) {
    if (width <= CIT_LONGEST_RUN) return (line->count + 1) | 1;
    size_t words = 0;
    int32_t last = 0;
    for (size_t i = 0; i <= line->count; ++i) {
        words += words_of_run(static_cast<uint32_t>(line->at[i] - last));
        last = line->at[i];
    }
    return words | 1;
}

size_t cit_changes_to_runs(const cit_changes* line, uint32_t width, uint16_t* runs) {
    uint16_t* out = runs;
    int32_t last = 0;
    if (width <= CIT_LONGEST_RUN) {
        for (size_t i = 0; i <= line->count; ++i) {
            *out++ = static_cast<uint16_t>(line->at[i] - last);
            last = line->at[i];
        }
    } else {
        for (size_t i = 0; i <= line->count; ++i) {
            out = cit_put_run(out, static_cast<uint32_t>(line->at[i] - last));
            last = line->at[i];
        }
    }
    if ((out - runs) % 2 == 0) *out++ = 0;
    return static_cast<size_t>(out - runs);
}

bool cit_changes_from_runs(cit_changes* line, uint32_t width, const uint16_t* runs) {
    if (!cit_changes_need(line, 0)) return false;
    size_t count = 0;
    uint32_t at = 0;
    size_t color = 0;
    for (size_t i = 0; at < width; ++i) {
        if (runs[i] == 0) continue;
        if ((i & 1) != color) {
            if (count + CIT_GUARDS >= line->room && !cit_changes_need(line, count + 1)) return false;
            line->at[count++] = static_cast<int32_t>(at);
            color = i & 1;
        }
        at += runs[i];
    }
    cit_end_changes(line, count, width);
    return true;
}

void cit_changes_to_bits(const cit_changes* line, uint32_t width, uint8_t* words) {
    cit_bit_writer w = cit_bits_begin(words);
    for (size_t i = 0; i < line->count; i += 2)
        cit_bits_black(&w, static_cast<uint32_t>(line->at[i]), static_cast<uint32_t>(line->at[i + 1]));
    cit_bits_end(&w, width);
}

bool cit_changes_from_bits(cit_changes* line, uint32_t width, const uint8_t* words) {
    if (!cit_changes_need(line, WORD_PIXELS)) return false;
    cit_bit_reader r = cit_bits_open(words, width);
    size_t count = 0;
    uint64_t edges = 0;
    while (cit_bits_edges(&r, &edges)) {
        if (count + WORD_PIXELS + CIT_GUARDS > line->room && !cit_changes_need(line, count + WORD_PIXELS)) return false;
        while (edges != 0)
            line->at[count++] = static_cast<int32_t>(r.base + cit_bits_next(&edges));
    }
    cit_end_changes(line, count, width);
    return true;
}
