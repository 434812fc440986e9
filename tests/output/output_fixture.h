// What the tests of the output pipeline share: a picture of three planes, a pack around it, and the log of its
// progress.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "output/impack.h"

using plane = std::vector<uint8_t>;

struct picture {
    int32_t width, height;
    plane channels[3];
};

// Puts the picture's planes, which stay the picture's (imp_planes_shared), into a pack.
inline Impack* fill_pack(Impack* pack, picture* p) {
    imp_planes_shared = 1;
    pack->xsize = p->width;
    pack->ysize = p->height;
    pack->pixels = int64_t{p->width} * p->height;
    pack->red_plane = p->channels[0].data();
    pack->green_plane = p->channels[1].data();
    pack->blue_plane = p->channels[2].data();
    return pack;
}

inline Impack* pack_of(picture* p) {
    Impack* pack = nullptr;
    EXPECT_EQ(imp_alloc(&pack), IMP_OK);
    return fill_pack(pack, p);
}

// What keep_message() was given as a log function: level and text together.
inline std::vector<std::string> kept_messages;
inline void keep_message(int level, const char* text) {
    kept_messages.push_back(std::to_string(level) + text);
}

// Stop arguments: stop_at_look() as a stop function stops at the look numbered `stop_at` (from 0). An event that may
// stop the work (2) and one that may not (1) are pending from begin_looks() on.
inline int looks, stop_at;
inline int stop_at_look(uint32_t events) {
    EXPECT_EQ(events, 2U);
    return looks++ == stop_at ? 1 : 0;
}
inline void begin_looks(int stop) {
    looks = 0;
    stop_at = stop;
    imp_error = IMP_OK;
    imp_set_pending_events([]() -> uint32_t { return 3; });
}
