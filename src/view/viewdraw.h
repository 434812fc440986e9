// Drawing of views: from a picture's planes to the row writers of the display, in whole rows or blocks.
#pragma once

#include "view/view.h"

// Draws the image and fills the rest of the viewport with black. A null image leaves black alone.
void view_draw(const raster_image* image, const view* v);

// Draws columns ix1 to ix2 - 1 and rows iy1 to iy2 - 1 of the image, as far as they are seen.
void view_draw_area(const raster_image* image, const view* v, int32_t ix1, int32_t iy1, int32_t ix2, int32_t iy2);

// Fills a rectangle of a window with black.
void fill_black(int window, int x1, int y1, int x2, int y2);
