// What a file can hold of what its header claims. Sizes of a header are numbers that a file can fill as it likes, so
// whoever takes memory or loops by them asks here first.
#include <algorithm>

#include "raster/CORE/cfile.h"

namespace {

// The most pixels that a stored byte of a run-coded native file stands for: 128 in a control byte and a value.
constexpr int64_t BYTE_RUN_PIXELS = 64;

// For everything else: no coding packs more into a byte, and what a file may leave out (lines of a scannable file,
// strips of a TIFF file) is believed as far as this too.
constexpr int64_t MOST_PIXELS = 70000;

// A line of group 3 or 4 that is as the one before takes a bit, however long it is.
constexpr int64_t FAX_LINES = 8; // in a byte

bool is_fax(int32_t format) {
    return format == RZL_FORMAT_GROUP3 || format == RZL_FORMAT_GROUP4;
}

// The most pixels that a stored byte stands for. Other standards report the nearest data format, so that only native
// files are held to theirs.
int64_t pixels_in_byte(const CFILE* c) {
    if (c->standard != RZL_STANDARD_KRVN || has_flag(c, FLAG_SCANNABLE | FLAG_TILED)) return MOST_PIXELS;
    switch (c->format) {
    case RZL_FORMAT_BYTE:
    case RZL_FORMAT_RGB:
    case RZL_FORMAT_FOUR: return 1;
    case RZL_FORMAT_BYTE_RUNS:
    case RZL_FORMAT_PLANE_RUNS:
    case RZL_FORMAT_FOUR_PLANE_RUNS: return BYTE_RUN_PIXELS;
    default: return MOST_PIXELS;
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
    if (is_fax(c->format) && !has_flag(c, FLAG_TILED)) return bytes * FAX_LINES;
    int64_t pixels = 0;
    if (__builtin_mul_overflow(bytes, pixels_in_byte(c), &pixels)) return INT32_MAX;
    return pixels / std::max(c->xsize, 1) + 1; // a part of a line is worth reading
}

} // namespace

int32_t rzl_lines_held(CFILE* c) {
    if (!handle_enter(c, "rzl_lines_held")) return 0;
    int64_t lines = std::max(c->ysize, 0);
    int64_t bytes = pixel_bytes(c);
    if (bytes >= 0) lines = std::min(lines, lines_in(c, bytes));
    return handle_leave(c, static_cast<int32_t>(lines));
}
