// The data formats that the pipeline writes, and the requests that it can meet. What a standard can hold the raster
// library tells.
#include "output/impack.h"

namespace {

// Whether the standard has pictures of that depth, plain or coded.
bool has_depth(int32_t standard, int32_t depth) {
    return imp_format_ok(standard, imp_format_code(depth, 0)) != 0 ||
           imp_format_ok(standard, imp_format_code(depth, 1)) != 0;
}

} // namespace

int imp_format_ok(int32_t standard, int32_t format) {
    bool plain = format == RZL_FORMAT_BYTE || format == RZL_FORMAT_RGB;
    bool coded = format == RZL_FORMAT_BYTE_RUNS || format == RZL_FORMAT_PLANE_RUNS;
    if (plain && rzl_standard_is_coded(standard) != 0) return 0;
    return plain || coded ? rzl_standard_takes(standard, format) : 0;
}

int32_t imp_most_colors(int32_t standard) {
    int32_t most = rzl_standard_colors(standard);
    return most > 0 ? most : IMP_COLORS_MAX;
}

int imp_standard_ok(int32_t standard) {
    return has_depth(standard, 8) || has_depth(standard, 24) ? 1 : 0;
}

int imp_format_code(int32_t depth, int32_t compressed) {
    if (depth == 8) return compressed != 0 ? RZL_FORMAT_BYTE_RUNS : RZL_FORMAT_BYTE;
    return compressed != 0 ? RZL_FORMAT_PLANE_RUNS : RZL_FORMAT_RGB;
}

int imp_format_is_8_bit(int32_t format) {
    switch (format) {
    case RZL_FORMAT_BYTE:
    case RZL_FORMAT_BYTE_PAIRS:
    case RZL_FORMAT_BYTE_RUNS:
    case RZL_FORMAT_JPEG_GREY: return 1;
    default: return 0;
    }
}

int imp_normalise(int32_t standard, int32_t* format, int32_t* compressed, int32_t* depth, int32_t* gray,
                  int32_t* colors) {
    if (imp_format_is_8_bit(*format) != 0) *depth = 8;
    if (*depth != 8) *depth = 24;
    if (imp_standard_ok(standard) == 0) return -1;
    if (!has_depth(standard, *depth)) *depth = 32 - *depth;
    if (*depth == 8 && rzl_standard_has_table(standard) == 0) *gray = 1;
    if (imp_format_ok(standard, imp_format_code(*depth, *compressed)) == 0) *compressed = *compressed == 0 ? 1 : 0;
    if (*depth == 24) {
        *colors = 0;
        *gray = 0;
    } else if (*colors < 2 || *colors > imp_most_colors(standard)) {
        *colors = imp_most_colors(standard);
    }
    *format = imp_format_code(*depth, *compressed);
    return 0;
}
