// Reading interleaved lines of a native file.
//
// The colour and four-channel formats are decoded straight into the caller's buffer, one sample after the other with
// the distance of a pixel. Everything else goes by way of planes.
#include "raster/KRVN/krvcode.h"

namespace {

constexpr char SOURCE[] = "KRVN/krvgetin";

// Whether the stored pixels are what the buffer wants, in the order of the file.
bool decodes_in_place(const CFILE* c) {
    if (has_flag(c, FLAG_SCANNABLE | FLAG_TILED | FLAG_SQUETCH)) return false;
    bool several = format_is_color(c->format) || format_is_four(c->format);
    int planes = format_is_four(c->format) ? 4 : 3;
    return several && c->samples == planes && krv_decoder_of(c) != nullptr;
}

} // namespace

int krv_getinlv(CFILE* c, uint8_t* buffer) {
    if (!decodes_in_place(c)) return rzl_getinlv_default(c, buffer);
    rzl_getline_check(c);
    if (c->status != 0) return 0;
    uint8_t* planes[4] = {buffer, buffer + 1, buffer + 2, buffer + 3};
    krv_line l = krv_new_line(c, format_is_four(c->format) ? 4 : 3, planes);
    l.step = static_cast<size_t>(interleave_step(c));
    krv_source s;
    krv_source_begin(&s, c, KRV_NO_LIMIT);
    krv_decoder_of(c)(&l, &s);
    int64_t padding = krv_fixed_line_size(c) - int64_t{c->xsize} * l.plane_count;
    bool whole = l.whole && (padding <= 0 || krv_source_take(&s, nullptr, 1) == 1);
    krv_source_end(&s);
    ++c->line;
    if (!whole) {
        fail(c, RZL_READ_FAILED, SOURCE, "Getinlv");
        return 0;
    }
    if (c->line_offsets != nullptr && c->line < c->line_offset_count)
        c->line_offsets[c->line] = static_cast<uint64_t>(io_tell(c));
    return c->xsize;
}
