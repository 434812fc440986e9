// Pictures of the mouse's cursors at any size, for a host whose desktop gives only small ones. Drawn from outlines, so
// that large ones are as smooth as small ones: a black body with a white rim, seen on any ground.
#pragma once

#include "platform/window/host.h"

#include <cstdint>

constexpr int CURSOR_SIDE = 24; // of a picture, in units

struct cursor_picture {
    int side;         // pixels
    int hot_x, hot_y; // the pixel that points
    uint32_t* pixels; // rows of 0xAARRGGBB from the top; owned, for mem_free()
};

// Draws a shape (not `none`) with so many pixels to a unit. False without memory.
bool cursor_draw(host_cursor shape, int unit, cursor_picture* picture);
