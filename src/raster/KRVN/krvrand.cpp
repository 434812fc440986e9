// Native files: the table of line places that makes seeking cheap in formats whose lines vary in size.
//
// The table has an entry for each line that the file can hold, which is what the header claims or, if that is less,
// what fits into the file's bytes. A line past it is found by reading on from the last one known.
#include "raster/KRVN/krv.h"
#include "raster/KRVN/krvlines.h"
#include "support/memory.h"

namespace {

constexpr const char* SOURCE = "KRVN/krvrand";
constexpr int64_t SMALLEST_CODED_LINE = 2; // bytes of a run-coded line

// Entries worth having, for lines of at least `size` bytes.
int32_t entries_for(CFILE* c, int64_t size) {
    int64_t bytes = io_size(c) - krv_first_line(c);
    int64_t held = bytes > 0 ? bytes / size + 1 : 1;
    return held < c->ysize ? static_cast<int32_t>(held) : c->ysize;
}

// Lines that all have one size get their places at once. The others have theirs when they are visited.
void fill_table(CFILE* c, int64_t line_size) {
    int64_t first = krv_first_line(c);
    for (int32_t i = 0; i < c->line_offset_count; ++i) {
        c->line_offsets[i] = line_size > 0 ? static_cast<uint64_t>(first + line_size * i) : LINE_OFFSET_UNKNOWN;
    }
    int64_t taken = has_flag(c, FLAG_SCANNABLE) ? int64_t{KRV_LINE_HEADER_SIZE} : 0;
    c->line_offsets[0] = static_cast<uint64_t>(first + taken);
}

} // namespace

int krv_randomize(CFILE* c) {
    bool has_places = has_flag(c, FLAG_TILED) || c->compression == CLASS_CCITT || c->line_offsets != nullptr;
    if (has_places || !is_readable(c) || c->ysize <= 0) return 0;
    int64_t line_size = has_flag(c, FLAG_SCANNABLE) ? 0 : krv_fixed_line_size(c);
    int64_t least = has_flag(c, FLAG_SCANNABLE) ? int64_t{KRV_LINE_HEADER_SIZE} : SMALLEST_CODED_LINE;
    int32_t entries = entries_for(c, line_size > 0 ? line_size : least);
    c->line_offsets = mem_new_array<uint64_t>(static_cast<size_t>(entries));
    if (c->line_offsets == nullptr) {
        fail(c, RZL_NO_MEMORY, SOURCE, "line offsets");
        return 1;
    }
    c->line_offset_count = entries;
    fill_table(c, line_size);
    krv_rewind(c);
    return 0;
}
