// Native files: where lines are, and moving to one of them.
#include <algorithm>

#include "raster/KRVN/krv.h"

namespace {
constexpr char SOURCE[] = "KRVN/krvpos";

int read_failed(CFILE* c) {
    return refuse(c, RZL_READ_FAILED, SOURCE, "Krvn seek");
}

// Takes the file to a line whose place is known. In a scannable file that place is behind the line's first header,
// which is taken again. At the end of the file there is none: the bytes in front of it are the last piece's.
int go_to_known(CFILE* c, int32_t line) {
    krv_spec* spec = krv_spec_of(c);
    auto at = static_cast<int64_t>(c->line_offsets[line]);
    c->line = line;
    if (!has_flag(c, FLAG_SCANNABLE)) return io_seek(c, at) ? 0 : read_failed(c);
    if (line == 0) {
        krv_rewind(c);
        return 0;
    }
    if (at >= io_size(c)) {
        spec->lines_ended = true;
        spec->line_header.line_number = KRV_NO_MORE_LINES;
        return io_seek(c, at) ? 0 : read_failed(c);
    }
    if (!io_seek(c, at - int64_t{KRV_LINE_HEADER_SIZE})) return read_failed(c);
    krv_read_line_header(c, false);
    return 0;
}

// Starts at the nearest line before the target whose place is known, unless the file already stands between the two.
int start_before(CFILE* c, int32_t line) {
    bool behind = c->line > line;
    if (c->line_offsets != nullptr) {
        int32_t known = rzl_known_line(c, line);
        if (known >= 0 && (behind || known > c->line)) return go_to_known(c, known);
    }
    if (behind) krv_rewind(c);
    return 0;
}

int seek_by_reading(CFILE* c, int32_t line) {
    if (c->line_offsets != nullptr && rzl_known_line(c, line) == line) return go_to_known(c, line);
    if (start_before(c, line) != 0) return 1;
    return krv_skip_line(c, line) != 0 ? 0 : 1;
}

int seek_line(CFILE* c, int32_t line) {
    if (line < 0 || line >= c->ysize) return refuse(c, RZL_PAST_END, SOURCE, "Krvn seek");
    if (line == 0) {
        krv_rewind(c);
        return c->status == 0 ? 0 : 1;
    }
    int64_t size = has_flag(c, FLAG_SCANNABLE) ? 0 : krv_fixed_line_size(c);
    if (size == 0) return seek_by_reading(c, line);
    if (!io_seek(c, krv_first_line(c) + size * line)) return read_failed(c);
    c->line = line;
    return 0;
}

// CCITT data: the coder finds its own place, by strips where they are set.
int seek_coded(CFILE* c, int32_t line) {
    int32_t strip_lines = c->ccitt != nullptr ? c->ccitt->strip_lines : 0;
    if (strip_lines > 0 && (line < 0 || line >= c->ysize / strip_lines + 1))
        return refuse(c, RZL_PAST_END, SOURCE, "Krvn Seek");
    if (line == 0) krv_rewind(c);
    c->line = line;
    return 0;
}

} // namespace

int64_t krv_first_line(const CFILE* c) {
    int64_t start = krv_data_start(c);
    if (c->active_overview < 0) return start;
    return start + krv_load_overview(krv_spec_of(c), c->active_overview).offset;
}

int64_t krv_data_end(CFILE* c, bool* aligned) {
    const krv_spec* spec = krv_spec_of(c);
    *aligned = false;
    return spec->tile_end != 0 ? spec->tile_end : krv_target_end(c, krv_first_line(c), aligned);
}

int64_t krv_get_image_offset(CFILE* c) {
    c->io.file_flush(c->file);
    return krv_data_start(c);
}

void krv_rewind(CFILE* c) {
    krv_spec* spec = krv_spec_of(c);
    c->line = 0;
    spec->lines_ended = false;
    if (has_flag(c, FLAG_TILED)) return;
    int64_t at = krv_first_line(c);
    if (!io_seek(c, at)) {
        // A file being created through a pipe stands where it is: it can only go forward.
        if (is_readable(c)) fail(c, RZL_READ_FAILED, SOURCE, "rewind");
        return;
    }
    if (!has_flag(c, FLAG_SCANNABLE) || !is_readable(c)) return;
    if (!krv_read_line_header(c, true)) io_seek(c, at); // no line yet: the first may be written here
}

int krv_seek(CFILE* c, int32_t line) {
    if (c->compression == CLASS_CCITT && !has_flag(c, FLAG_TILED)) return seek_coded(c, line);
    if (!rzl_seek_squetched(c, &line, SOURCE, "Krvn seek")) return 1;
    if (has_flag(c, FLAG_TILED)) {
        c->line = line;
        return 0;
    }
    return seek_line(c, line);
}

// The places of lines, which make seeking cheap in formats whose lines vary in size. Lines that all have one size get
// theirs at once.
int krv_randomize(CFILE* c) {
    bool has_places = has_flag(c, FLAG_TILED) || c->compression == CLASS_CCITT || c->line_offsets != nullptr;
    if (has_places || !is_readable(c) || c->ysize <= 0) return 0;
    constexpr int64_t SMALLEST_CODED_LINE = 2;
    bool scannable = has_flag(c, FLAG_SCANNABLE);
    int64_t taken = scannable ? int64_t{KRV_LINE_HEADER_SIZE} : 0;
    int64_t size = scannable ? 0 : krv_fixed_line_size(c);
    int64_t first = krv_first_line(c);
    if (rzl_record_lines(c, first + taken, size > 0 ? size : std::max(taken, SMALLEST_CODED_LINE)) != 0) return 1;
    for (int32_t i = 0; size > 0 && i < c->line_offset_count; ++i)
        c->line_offsets[i] = static_cast<uint64_t>(first + size * i);
    krv_rewind(c);
    return 0;
}
