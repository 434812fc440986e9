// Drawing of views: from a picture's planes to the row writers of the display, in whole rows or blocks.
#pragma once

#include "tnc/spans.h"
#include "view/view.h"

// Columns of an image row that a highlight covers: as row_spans() gives them.
struct covered_columns {
    const row_span* spans;
    int count;
};
constexpr covered_columns NOT_COVERED = {nullptr, 0};

// Draws the image and fills the rest of the viewport with black. A null image leaves black alone.
void view_draw(const raster_image* image, const view* v);

// Draws columns ix1 to ix2 - 1 and rows iy1 to iy2 - 1 of the image, as far as they are seen.
void view_draw_area(const raster_image* image, const view* v, int32_t ix1, int32_t iy1, int32_t ix2, int32_t iy2);

// Draws columns ix1 to ix2 - 1 of one row of the image, at a negative zoom a sampled one, as far as they are seen, with
// a highlight on it: white in the topmost of the screen rows that the image row takes, and from zoom 4 on black below
// it, a quarter of the block high.
void view_draw_row(const raster_image* image, const view* v, int32_t row, int32_t ix1, int32_t ix2,
                   covered_columns covered);

// Fills a rectangle of a window with black.
void fill_black(int window, int x1, int y1, int x2, int y2);
