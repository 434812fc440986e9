// TIFF: CCITT lines on their way into the file. A strip is coded line by line as the lines come.
#include <algorithm>
#include <cstring>

#include "raster/CCITT/ccitt.h"
#include "raster/TIFF/tiff.h"
#include "support/memory.h"

namespace {

constexpr const char* SOURCE = "TIFF/tifputbi";

bool refuse(CFILE* c, uint32_t status, const char* detail, int line = __builtin_LINE()) {
    fail(c, status, SOURCE, detail, line);
    return false;
}

bool take_result(CFILE* c, uint32_t result) {
    if (cit_succeeded(result)) return true;
    if (result == CIT_NO_MEMORY) return refuse(c, RZL_NO_MEMORY, nullptr);
    return refuse(c, RZL_WRITE_FAILED, "compression errors");
}

bool need_writer(CFILE* c) {
    tif_gathering* out = &tif_spec_of(c)->out;
    const tif_image* image = tif_image_of(c);
    if (out->fax != nullptr) return true;
    out->fax = cit_writer_new(tif_fax_coding(image), tif_shape_of(image).width, 4);
    return out->fax != nullptr || refuse(c, RZL_NO_MEMORY, nullptr);
}

// White lines up to `row`.
bool put_white(CFILE* c, uint32_t row) {
    tif_gathering* out = &tif_spec_of(c)->out;
    if (out->next_row >= row) return true;
    size_t bytes = (size_t{tif_shape_of(tif_image_of(c)).width} + 15) / 16 * 2;
    mem_guard<uint8_t> white(static_cast<uint8_t*>(mem_alloc_zeroed(bytes)));
    if (!white) return refuse(c, RZL_NO_MEMORY, nullptr);
    for (; out->next_row < row; ++out->next_row)
        if (!take_result(c, cit_writer_bits(out->fax, white.get()))) return false;
    return true;
}

// A strip that failed begins anew.
void drop_writer(tif_gathering* out) {
    cit_writer_free(out->fax);
    out->fax = nullptr;
    out->waiting = false;
}

} // namespace

bool tif_end_fax(CFILE* c, uint32_t segment, uint32_t rows) {
    tif_gathering* out = &tif_spec_of(c)->out;
    uint8_t* data = nullptr;
    size_t bytes = 0;
    bool ended = put_white(c, rows) && take_result(c, cit_writer_finish(out->fax, &data, &bytes));
    if (ended) {
        if (tif_image_of(c)->fill_order != 2) cit_reverse_bytes(data, bytes);
        ended = tif_store_coded(c, segment, data, bytes);
    }
    if (!ended) drop_writer(out);
    return ended;
}

bool tif_save_fax_line(CFILE* c, uint32_t segment, uint32_t row, const uint8_t* bits, const uint16_t* runs,
                       size_t count) {
    tif_gathering* out = &tif_spec_of(c)->out;
    if (!tif_begin_put(c, segment)) return false;
    if (row < out->next_row) return refuse(c, RZL_MODIFY_COMPRESSED, "Cannot modify compressed data");
    if (!need_writer(c) || !put_white(c, row)) {
        drop_writer(out);
        return false;
    }
    uint32_t result = bits != nullptr ? cit_writer_bits(out->fax, bits) : cit_writer_runs(out->fax, runs, count);
    if (!take_result(c, result)) {
        // Nothing was coded of a line whose runs are no line.
        if (result != CIT_BAD_DATA) drop_writer(out);
        return false;
    }
    out->next_row = row + 1;
    return row + 1 != tif_rows_of(tif_image_of(c), segment) || tif_flush_segment(c);
}
