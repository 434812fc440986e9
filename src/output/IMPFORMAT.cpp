// The data formats that the pipeline writes, and the requests that it can meet.
#include "output/impack.h"

int imp_format_ok(int32_t standard, int32_t format) {
    bool plane = format == RZL_FORMAT_BYTE;
    bool plane_runs = format == RZL_FORMAT_BYTE_RUNS;
    bool color = format == RZL_FORMAT_RGB;
    bool color_runs = format == RZL_FORMAT_PLANE_RUNS;
    switch (standard) {
    case RZL_STANDARD_KRVN:
    case RZL_STANDARD_TIFF:
    case RZL_STANDARD_TARGA:
    case RZL_STANDARD_PCX:
    case RZL_STANDARD_JFIF:
    case RZL_STANDARD_PNG: return plane || plane_runs || color || color_runs ? 1 : 0;
    case RZL_STANDARD_GIF: return plane_runs ? 1 : 0;
    case RZL_STANDARD_BMP: return plane || plane_runs || color ? 1 : 0;
    default: return 0;
    }
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
    switch (standard) {
    case RZL_STANDARD_KRVN:
    case RZL_STANDARD_TIFF:
    case RZL_STANDARD_TARGA:
    case RZL_STANDARD_PCX:
    case RZL_STANDARD_PNG: break;
    case RZL_STANDARD_JFIF: // has no colour table
        if (*depth == 8) *gray = 1;
        *compressed = 1;
        break;
    case RZL_STANDARD_GIF:
        *depth = 8;
        *compressed = 1;
        break;
    case RZL_STANDARD_BMP:
        if (*depth == 24) *compressed = 0;
        break;
    default: return -1;
    }
    if (*depth == 24) {
        *colors = 0;
        *gray = 0;
    } else if (*colors < 2 || *colors > 256) {
        *colors = 256;
    }
    *format = imp_format_code(*depth, *compressed);
    return 0;
}
