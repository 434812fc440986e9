// Writing lines of 16-bit samples: the formats that hold such, and those whose values can be as wide.
#include "raster/CORE/lines.h"
#include "raster/KRVN/krvcode.h"

namespace {

constexpr char SOURCE[] = "KRVN/krvput16";

bool can_be_16_bits(CFILE* c, int channels) {
    bool samples =
        c->format == RZL_FORMAT_INT16 || c->format == RZL_FORMAT_BYTE_PAIRS || c->format == RZL_FORMAT_PACKED_RUNS;
    if (samples && channels == 1) return true;
    fail(c, RZL_UNSUP_KRVN, SOURCE, "16 bits");
    return false;
}

} // namespace

int krv_putline16(CFILE* c, int channels, write_planes buffers) {
    if (!can_be_16_bits(c, channels)) return 0;
    flag_guard wide(c, FLAG_16_BIT, true);
    return krv_putline(c, channels, buffers);
}

int krv_put_line16(CFILE* c, int channels, write_planes buffers) {
    if (!can_be_16_bits(c, channels)) return 0;
    flag_guard wide(c, FLAG_16_BIT, true);
    return krv_put_line(c, channels, buffers);
}
