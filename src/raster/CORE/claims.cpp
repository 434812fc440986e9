// What a file can hold of what its header claims. Sizes of a header are numbers that a file can fill as it likes, so
// reading ends where the file's bytes can't stand for a further line, and whoever takes memory by them asks here first.
#include <algorithm>

#include "raster/CORE/cfile.h"
#include "support/checked.h"

namespace {

// The most pixels that a stored byte of a run-coded native file stands for: 128 in a control byte and a value.
constexpr int64_t BYTE_RUN_PIXELS = 64;

// For every other coding: none packs more into a byte.
constexpr int64_t CODED_PIXELS = 16384;

// Pixels that a file may leave out, as lines of a scannable file, tiles of one colour, or strips without data: a page
// at 600 points an inch.
constexpr int64_t LEFT_OUT_PIXELS = 40'000'000;

// A line that is left out is read all the same, and costs at least as much as one of so many pixels.
constexpr int64_t LEFT_OUT_LEAST = 64;

// A line of group 3 or 4 that is as the one before takes a bit, however long it is: only its width is bounded, by what
// a sheet of 10 metres has at 600 points an inch, as a mean of all lines.
constexpr int64_t FAX_LINES = 8; // in a byte
constexpr int64_t FAX_PIXELS = FAX_LINES << 18;

bool is_fax(int32_t format) {
    return format == RZL_FORMAT_GROUP3 || format == RZL_FORMAT_GROUP4;
}

// The most pixels that a stored byte stands for, and those that stand for themselves. Other standards report the
// nearest data format, so that only native files are held to theirs.
struct expansion {
    int64_t in_byte, left_out;
};

expansion expansion_of(const CFILE* c) {
    if (c->standard != RZL_STANDARD_KRVN || has_flag(c, FLAG_TILED)) return {CODED_PIXELS, LEFT_OUT_PIXELS};
    const int64_t left_out = has_flag(c, FLAG_SCANNABLE) ? LEFT_OUT_PIXELS : 0;
    switch (c->format) {
    case RZL_FORMAT_BYTE:
    case RZL_FORMAT_RGB:
    case RZL_FORMAT_FOUR: return {1, left_out};
    case RZL_FORMAT_BYTE_RUNS:
    case RZL_FORMAT_PLANE_RUNS:
    case RZL_FORMAT_FOUR_PLANE_RUNS: return {BYTE_RUN_PIXELS, left_out};
    default: return {CODED_PIXELS, left_out};
    }
}

// The bytes of the file that can be pixels, -1 when that can't be told.
int64_t pixel_bytes(CFILE* c) {
    int64_t bytes = c->mode == MODE_READ ? io_size(c) : -1;
    if (bytes < 0 || c->standard != RZL_STANDARD_KRVN) return bytes;
    int64_t start = c->slots.Get_Image_Offset(c);
    c->status = 0; // the form with a header of text does not tell; all of the file counts then
    return std::max(bytes - start, int64_t{0});
}

// The lines that `bytes` can be at most.
int64_t lines_in(const CFILE* c, int64_t bytes) {
    const bool fax = is_fax(c->format) && !has_flag(c, FLAG_TILED);
    const expansion e = fax ? expansion{FAX_PIXELS, LEFT_OUT_PIXELS} : expansion_of(c);
    const int64_t width = std::max(c->xsize, 1);
    int64_t pixels = 0;
    if (!checked_mul(bytes, e.in_byte, &pixels)) pixels = INT64_MAX / 2;
    int64_t lines = pixels / width + e.left_out / std::max(width, LEFT_OUT_LEAST);
    // A part of a line is worth reading, unless no page is as wide.
    if (width <= LEFT_OUT_PIXELS) ++lines;
    return fax ? std::min(lines, bytes * FAX_LINES) : lines;
}

} // namespace

int32_t rzl_lines_there(CFILE* c) {
    if (held_is_known(c)) return c->held.lines;
    int64_t lines = std::max(c->ysize, 0);
    int64_t bytes = pixel_bytes(c);
    if (bytes >= 0) lines = std::min(lines, lines_in(c, bytes));
    bool lasts = c->mode == MODE_READ;
    c->held = {lasts, c->xsize, c->ysize, c->active_image, c->active_overview, static_cast<int32_t>(lines)};
    return c->held.lines;
}

bool rzl_judge_line(CFILE* c, int32_t line, const char* source, const char* detail) {
    if (c->mode != MODE_READ || line < rzl_lines_there(c)) return true;
    set_flag(c, FLAG_DAMAGED, true);
    return fails(c, RZL_READ_FAILED, source, detail);
}

int32_t rzl_lines_held(CFILE* c) {
    if (!handle_enter(c, "rzl_lines_held")) return 0;
    return handle_leave(c, rzl_lines_there(c));
}
