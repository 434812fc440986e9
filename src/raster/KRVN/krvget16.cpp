// Reading lines of 16-bit samples: the formats that hold such, and those whose values can be as wide.
#include "raster/CORE/lines.h"
#include "raster/KRVN/krvcode.h"

namespace {

constexpr char SOURCE[] = "KRVN/krvget16";

// Whether a line of 16-bit samples makes sense for the format and the call.
bool can_be_16_bits(CFILE* c, int channels) {
    bool samples =
        c->format == RZL_FORMAT_INT16 || c->format == RZL_FORMAT_BYTE_PAIRS || c->format == RZL_FORMAT_PACKED_RUNS;
    if (samples && channels == 1 && !has_flag(c, FLAG_SQUETCH)) return true;
    fail(c, RZL_UNSUP_KRVN, SOURCE, "16 bits");
    return false;
}

} // namespace

int krv_getline16(CFILE* c, int channels, read_planes buffers) {
    if (!can_be_16_bits(c, channels)) return 0;
    flag_guard wide(c, FLAG_16_BIT, true);
    return krv_getline(c, channels, buffers);
}

int krv_get_line16(CFILE* c, int channels, read_planes buffers) {
    if (!can_be_16_bits(c, channels)) return 0;
    flag_guard wide(c, FLAG_16_BIT, true);
    return krv_get_line(c, channels, buffers);
}
