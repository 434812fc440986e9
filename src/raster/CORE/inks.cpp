// Four channels that are inks: which files have them, and the colours that they make.
#include "raster/rzl.h"

namespace {

// Of what the black lets through each ink leaves a share.
void mix_ink(uint8_t* plane, const uint8_t* black, int32_t count) {
    for (int32_t i = 0; i < count; ++i)
        plane[i] = static_cast<uint8_t>(((255 - plane[i]) * (255 - black[i]) + 127) / 255);
}

} // namespace

// Only TIFF tells what four channels are.
int rzl_has_inks(CFILE* c) {
    constexpr int32_t SEPARATED = 5;
    int32_t standard = -1;
    int32_t samples = 0;
    int32_t photometric = -1;
    bool told = rzl_get_hdr_data(c, RZL_FIELD_STANDARD, &standard) == 0 && standard == RZL_STANDARD_TIFF &&
                rzl_get_hdr_data(c, RZL_FIELD_SAMPLES, &samples) == 0 &&
                rzl_get_hdr_data(c, RZL_FIELD_PHOTOMETRIC, &photometric) == 0;
    return told && samples == 4 && photometric == SEPARATED ? 1 : 0;
}

void rzl_mix_inks(uint8_t* cyan, uint8_t* magenta, uint8_t* yellow, const uint8_t* black, int32_t count) {
    mix_ink(cyan, black, count);
    mix_ink(magenta, black, count);
    mix_ink(yellow, black, count);
}
