// What a file can hold of what its header claims. Sizes of a header are numbers that a file can fill as it likes, so
// reading ends where the file's bytes can't stand for a further line, and whoever takes memory by them asks here first.
#include <algorithm>

#include "raster/CORE/module.h"
#include "support/checked.h"

namespace {

// Lines in a byte: those of one pixel are densest in LZW, where a byte of a whole table stands for 1400 at most.
constexpr int64_t CODED_LINES = 1400;

// A line that is left out is read all the same, and costs at least as much as one of so many pixels.
constexpr int64_t LEFT_OUT_LEAST = 64;

// A line of group 3 or 4 that is as the one before takes a bit, however long it is: only its width is bounded, by what
// a sheet of 10 metres has at 600 points an inch, as a mean of all lines.
constexpr int64_t FAX_LINES = 8; // in a byte
constexpr int64_t FAX_PIXELS = FAX_LINES << 18;

bool is_fax(const CFILE* c) {
    return (c->format == RZL_FORMAT_GROUP3 || c->format == RZL_FORMAT_GROUP4) && !has_flag(c, FLAG_TILED);
}

pixel_density density_of(const CFILE* c) {
    if (is_fax(c)) return {FAX_PIXELS, FAX_LINES, 0};
    if (c->module != nullptr && c->module->density != nullptr && !has_flag(c, FLAG_TILED)) return c->module->density(c);
    return {CODED_PIXELS, CODED_LINES, LEFT_OUT_PIXELS};
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
    const pixel_density most = density_of(c);
    const int64_t width = std::max(c->xsize, 1);
    int64_t pixels = 0, lines = 0;
    if (!checked_mul(bytes, most.pixels, &pixels)) pixels = INT64_MAX;
    if (!checked_mul(bytes, most.lines, &lines)) lines = INT64_MAX;
    lines = std::min({lines, pixels / width, int64_t{INT32_MAX}});
    // A part of a line is worth reading, unless no page is as wide.
    if (width <= LEFT_OUT_PIXELS) ++lines;
    return lines + most.left_out / std::max(width, LEFT_OUT_LEAST);
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
