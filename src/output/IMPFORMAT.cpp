// Which pairs of standard and data format the pipeline writes.
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
    case RZL_STANDARD_PCX: return plane || plane_runs || color || color_runs ? 1 : 0;
    case RZL_STANDARD_GIF: return plane_runs ? 1 : 0;
    case RZL_STANDARD_BMP: return plane || plane_runs || color ? 1 : 0;
    default: return 0;
    }
}
