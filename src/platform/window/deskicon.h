// The desk's picture of a window: that of minimised windows, and the main window's own on the user's desktop.
#pragma once

#include "platform/window/canvas.h"

constexpr int ICON_WIDTH = 28; // at factor 1
constexpr int ICON_ROWS = 27;

// The colour of a pixel of the picture that is `factor` times as large.
canvas_color icon_pixel(int x, int y, int factor);
