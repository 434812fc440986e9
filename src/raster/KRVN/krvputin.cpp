// Writing interleaved lines of a native file. The coders take planes, so the buffer is taken apart; the groups of
// formats 28 and 69 then go together again in the code buffer, which costs less than the write.
#include "raster/KRVN/krvlines.h"

int krv_putinlv(CFILE* c, const uint8_t* buffer) {
    bool together = has_flag(c, FLAG_TILED) && has_flag(c, FLAG_INTERLEAVED) && c->samples > 1 && c->bits <= 8;
    if (!together) return rzl_putinlv_default(c, buffer);
    // The lines of a tiled file wait in their row, in the layout in which they came.
    return krv_putline(c, 1, &buffer);
}
