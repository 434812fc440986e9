// What the tests of the output pipeline share: a picture of three planes, and a pack around it.
#pragma once

#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "output/impack.h"

using plane = std::vector<uint8_t>;

struct picture {
    int32_t width, height;
    plane channels[3];
};

// A pack around the picture's planes, which stay the picture's (imp_planes_shared).
inline Impack* pack_of(picture* p) {
    Impack* pack = nullptr;
    EXPECT_EQ(imp_alloc(&pack), IMP_OK);
    imp_planes_shared = 1;
    pack->xsize = p->width;
    pack->ysize = p->height;
    pack->pixels = int64_t{p->width} * p->height;
    pack->red_plane = p->channels[0].data();
    pack->green_plane = p->channels[1].data();
    pack->blue_plane = p->channels[2].data();
    return pack;
}
