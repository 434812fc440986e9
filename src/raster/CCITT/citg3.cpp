// Group 3 images of a file: one-dimensional lines.
#include "raster/CCITT/citstate.h"

int cit_g3_load(CFILE* c, cit_extent extent) {
    return cit_file_load(c, cit_coding::g3_1d, extent);
}

cit_get_result cit_g3_get_line(CFILE* c, cit_extent extent, uint8_t* bits) {
    int32_t block = c->ccitt->strip_lines;
    if (block <= 0 || c->line < block) return cit_file_get_line(c, cit_coding::g3_1d, extent, bits);
    fail(c, RZL_UNSUPPORTED, "CIT/citg3", "get line");
    return CIT_GET_FAILED;
}

int cit_g3_put_line(CFILE* c, const uint8_t* bits, size_t* written) {
    return cit_file_put_line(c, cit_coding::g3_1d, bits, written);
}
