// TIFF: positions. Every row is found by its number, so that seeking is a matter of the line counter; what waits to be
// stored of another strip is stored first.
#include "raster/CORE/lines.h"
#include "raster/TIFF/tiff.h"
#include "support/memory.h"

namespace {

constexpr const char* SOURCE = "TIFF/tifpos";

// Where the file stands when nothing has been read: the first strip, or the end.
void stand_at_start(CFILE* c) {
    tif_spec* spec = tif_spec_of(c);
    const tif_image* image = spec->image;
    if (!is_readable(c)) return;
    spec->at_end = false;
    bool stored = tif_is_stored(image, 0);
    bool stands = stored ? io_seek(c, c->base_offset + image->strip_offsets[0]) : c->io.file_seek(c->file, 0, 2) == 0;
    if (!stands) fail(c, RZL_READ_FAILED, SOURCE, nullptr);
}

} // namespace

int tif_seek(CFILE* c, int32_t line) {
    const tif_image* image = tif_image_of(c);
    if (has_flag(c, FLAG_SQUETCH) && c->squetch != nullptr) {
        squetch_record* squetch = c->squetch;
        if (line < 0 || line >= squetch->out_ysize) return tif_refuse(c, RZL_PAST_END, SOURCE, "tiff squetch");
        double ratio = static_cast<double>(c->ysize) / squetch->out_ysize;
        c->line = static_cast<int32_t>(ratio * line);
        squetch->out_line = line;
        squetch->carry = 0;
        return 0;
    }
    if (has_flag(c, FLAG_TILED)) {
        c->line = line;
        return 0;
    }
    if (line < 0 || line >= c->ysize) return tif_refuse(c, RZL_PAST_END, SOURCE, "tiff seek");
    const tif_gathering* out = &tif_spec_of(c)->out;
    bool leaves = out->waiting && out->segment != int64_t{line} / image->rows_per_strip;
    if (leaves && !tif_flush_segment(c)) return 1;
    c->line = line;
    return 0;
}

void tif_rewind(CFILE* c) {
    stand_at_start(c);
    c->line = 0;
    if (has_flag(c, FLAG_SQUETCH) && c->squetch != nullptr) c->squetch->out_line = 0;
}

// Lines of plain and PackBits data can be told in advance; the others are found by their strip.
int tif_randomize(CFILE* c) {
    const tif_image* image = tif_image_of(c);
    bool useful = !tif_is_tiled(image) && image->compression != TIF_LZW && !tif_is_fax(image->compression);
    if (!useful || c->line_offsets != nullptr || c->ysize <= 0) return 0;
    auto count = static_cast<size_t>(c->ysize);
    // No longer than the file is: a height can be anything.
    if (static_cast<int64_t>(count) > io_size(c)) return 0;
    c->line_offsets = mem_new_array<uint64_t>(count);
    if (c->line_offsets == nullptr) return tif_refuse(c, RZL_NO_MEMORY, SOURCE, nullptr);
    for (size_t i = 0; i < count; ++i)
        c->line_offsets[i] = LINE_OFFSET_UNKNOWN;
    if (tif_is_stored(image, 0)) c->line_offsets[0] = image->strip_offsets[0];
    c->line_offset_count = c->ysize;
    return 0;
}
