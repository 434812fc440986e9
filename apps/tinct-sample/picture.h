// A scene's picture, row by row: the samples of its pens, and the pixels in which every surface stands at half of its
// shade.
#pragma once

#include <cstddef>
#include <cstdint>

#include "scene.h"

// One pen at one column. A pen that is seen straight and in a reflection has two, one after the other.
struct pen_sample {
    int32_t x;
    uint8_t pen;
    uint8_t red, green, blue; // shade
    uint16_t u, v;            // 0 for a pen without them
};

// Takes a finished row: `pixels` are width red, green, blue triples; the samples stand in rising x. False stops.
using row_action = bool (*)(void* user, int32_t y, const uint8_t* pixels, const pen_sample* samples, size_t count);

// Renders the rows from the top down. The result depends on the scene, the size and the seed alone. False when the
// action stopped it.
bool picture_render(const scene& s, int32_t width, int32_t height, uint32_t seed, row_action action, void* user);
