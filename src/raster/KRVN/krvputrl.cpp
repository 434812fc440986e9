// Writing lines given in the file's own coding, formats 9, 10, 25 and 26. On a scannable file the line header is added.
//
// A line that does not decode to exactly its pixels is refused: written, it would make the rest of the file unreadable.
#include "raster/KRVN/krvcode.h"

namespace {

constexpr char SOURCE[] = "KRVN/krvputrl";

// Data bytes that one line header can count.
constexpr int32_t PIECE_LIMIT = (65535 - 2) * 2;

bool takes_coded_lines(const CFILE* c) {
    bool format = c->format == RZL_FORMAT_BILEVEL_RUNS || c->format == RZL_FORMAT_BYTE_PAIRS ||
                  c->format == RZL_FORMAT_COLOR_RUNS || c->format == RZL_FORMAT_PACKED_RUNS;
    return format && krv_decoder_of(c) != nullptr;
}

bool is_a_line(const CFILE* c, const uint8_t* coding) {
    krv_line l = krv_new_line(c, 0, nullptr);
    krv_source s;
    krv_source_over(&s, coding, static_cast<size_t>(c->rle_size));
    krv_decoder_of(c)(&l, &s);
    return l.whole && krv_source_left(&s) == 0;
}

int write_coding(CFILE* c, const uint8_t* coding) {
    krv_output o = {};
    o.c = c;
    auto bytes = static_cast<size_t>(c->rle_size);
    if (has_flag(c, FLAG_SCANNABLE)) krv_output_header(&o, bytes, 0);
    krv_output_bytes(&o, coding, bytes);
    krv_add_overview_bytes(c, static_cast<uint32_t>(o.written));
    if (!o.failed) return c->xsize;
    fail(c, RZL_WRITE_FAILED, SOURCE, "rzl_put_rle_line");
    return 0;
}

} // namespace

int krv_putrleline(CFILE* c, int channels, write_planes buffers) {
    if (!krv_is_last_image(c)) {
        fail(c, RZL_NO_SUCH_IMAGE, SOURCE, "not last multi-image");
        return 0;
    }
    if (!is_writable(c)) {
        fail(c, RZL_NEEDS_WRITE, SOURCE, "rzl_put_rle_line");
        return 0;
    }
    if (c->line >= c->ysize) {
        fail(c, RZL_PAST_END, SOURCE, "rzl_put_rle_line");
        return 0;
    }
    if (!rzl_append_check(c) || putline_error_check(c) != 0) return 0;
    if (has_flag(c, FLAG_TILED)) {
        fail(c, RZL_ONLY_UNTILED, SOURCE, "rzl_put_rle_line");
        return 0;
    }
    bool given = channels > 0 && buffers[0] != nullptr && c->rle_size >= 0;
    bool counts = !has_flag(c, FLAG_SCANNABLE) || c->rle_size <= PIECE_LIMIT;
    if (!given || !counts || !takes_coded_lines(c) || !is_a_line(c, buffers[0])) {
        krv_refuse_format(c, SOURCE);
        return 0;
    }
    return write_coding(c, buffers[0]);
}
