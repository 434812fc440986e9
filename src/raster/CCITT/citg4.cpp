// Group 4 images of a file, and their blocks of lines as runs.
#include <algorithm>
#include <cstring>

#include "raster/CCITT/citstate.h"
#include "support/checked.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "CIT/citg4";

int refuse(CFILE* c, uint32_t status, const char* detail) {
    fail(c, status, SOURCE, detail);
    return 0;
}

// The buffer has taken `done` of `count` lines: a size to try, as large as all of them need if they are like those.
int64_t size_to_try(int64_t size, int64_t done, int64_t count, size_t words) {
    int64_t next =
        done > 0 ? size / done * count + size % done * count / done : static_cast<int64_t>(words) * 2 * count;
    return clamped<int64_t>(std::max(next, size + static_cast<int64_t>(words) * 2), 0, INT32_MAX);
}

// Lines from `first` on. The words used, or 0 with the status set.
size_t take_lines(CFILE* c, int64_t first, int64_t count, uint16_t* runs, size_t room) {
    size_t used = 0;
    for (int64_t i = 0; i < count; ++i) {
        size_t words = 0;
        auto number = static_cast<uint32_t>(first + i);
        uint32_t result = cit_reader_runs(c->ccitt->coder->reader, number, runs + used, room - used, &words);
        if (result == CIT_NO_MEMORY) {
            refuse(c, RZL_NO_MEMORY, "get strip");
            return 0;
        }
        if (result == CIT_BUFFER_FULL) {
            c->rle_size = static_cast<int32_t>(size_to_try(c->rle_size, i, count, words));
            refuse(c, RZL_RLE_BUFFER_SMALL, "get strip");
            return 0;
        }
        if (result == CIT_BAD_DATA) set_flag(c, FLAG_DAMAGED, true);
        used += words;
    }
    return used;
}

} // namespace

int cit_g4_load(CFILE* c, cit_extent extent) {
    return cit_file_load(c, cit_coding::g4, extent);
}

cit_get_result cit_g4_get_line(CFILE* c, cit_extent extent, uint8_t* bits) {
    return cit_file_get_line(c, cit_coding::g4, extent, bits);
}

int cit_g4_put_line(CFILE* c, const uint8_t* bits, size_t* written) {
    return cit_file_put_line(c, cit_coding::g4, bits, written);
}

int cit_g4_get_strip(CFILE* c, cit_extent extent, uint8_t* runs) {
    int64_t block = c->ccitt->strip_lines > 0 ? c->ccitt->strip_lines : c->ysize;
    int64_t first = block * c->line;
    if (first >= c->ysize) return refuse(c, RZL_PAST_END, "get strip");
    if (cit_g4_load(c, extent) != 0) return 0;
    auto room = static_cast<size_t>(std::max(c->rle_size, 0)) / 2;
    // The caller's buffer need not stand where words can.
    mem_guard<uint16_t> lines(mem_new_array<uint16_t>(room));
    if (!lines) return refuse(c, RZL_NO_MEMORY, "get strip");
    size_t used = take_lines(c, first, std::min(block, c->ysize - first), lines.get(), room);
    if (used == 0) return 0;
    std::memcpy(runs, lines.get(), used * 2);
    c->rle_size = static_cast<int32_t>(used * 2);
    return c->rle_size;
}
