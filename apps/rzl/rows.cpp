#include "rows.h"

#include <algorithm>

#include "common/raster.h"

namespace {

constexpr size_t BLOCK_BYTES = size_t{16} << 20;

uint8_t* line_at(const source_rows* rows, int32_t line) {
    return rows->block.get() + static_cast<size_t>(line - rows->first) * rows->bytes;
}

// Reads one line to its place in the block.
bool read_line(source_rows* rows, int32_t line) {
    if (!rows->read(rows->context, line_at(rows, line))) {
        raster_line_failed(rows->source->file, rows->path, line);
        rows->failed = true;
        return false;
    }
    // Behind a line that was made up there is nothing.
    if (rzl_is_line_damaged(rows->source->file) != 0) rows->sound = line + 1;
    return true;
}

// Reads the lines that end with `line`.
bool read_block(source_rows* rows, int32_t line) {
    rows->end = line + 1;
    rows->first = rows->turned ? std::max(rows->end - rows->most, 0) : line;
    rows->sound = rows->first;
    if (rows->turned && rzl_seek(rows->source->file, rows->first) != 0) {
        raster_line_failed(rows->source->file, rows->path, rows->first);
        rows->failed = true;
        return false;
    }
    for (int32_t i = rows->first; i < rows->end; ++i)
        if (!read_line(rows, i)) return false;
    return true;
}

} // namespace

bool rows_begin(source_rows* rows) {
    const size_t fit = BLOCK_BYTES / std::max<size_t>(rows->bytes, 1);
    const auto height = static_cast<size_t>(std::max(rows->source->height, 1));
    rows->most = rows->turned ? static_cast<int32_t>(std::clamp<size_t>(fit, 1, height)) : 1;
    rows->block.block =
        static_cast<uint8_t*>(mem_alloc_array(std::max<size_t>(rows->bytes, 1), static_cast<size_t>(rows->most)));
    if (!rows->block) {
        program_fail("There is no memory for a line of %d pixels.", rows->source->width);
        return false;
    }
    // Remembered line offsets only make seeking quick; a format without them finds its lines all the same.
    if (rows->turned) rzl_randomize(rows->source->file);
    return true;
}

uint8_t* rows_next(source_rows* rows) {
    if (rows->failed || rows->done >= rows->source->height) return nullptr;
    const int32_t line = rows->turned ? rows->source->height - 1 - rows->done : rows->done;
    if ((line < rows->first || line >= rows->end) && !read_block(rows, line)) return nullptr;
    if (line < rows->sound) return nullptr;
    ++rows->done;
    return line_at(rows, line);
}
