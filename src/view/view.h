// A view: a picture shown in a rectangle of a window, at a zoom that is a power of two. The picture has one, and so has
// each pattern of the palette. Here are the record and its arithmetic; viewdraw.h draws.
//
// Window coordinates are pixels of the window's client area, image coordinates pixels of the picture. Rectangles of the
// window are inclusive in both corners.
#pragma once

#include <cstdint>

#include "surface/raster_image.h"

struct view;

constexpr int NO_WINDOW = -1; // in place of a window's number

// What a view's clicks and requests do. Every slot is mandatory.
struct view_ops {
    void (*pick)(view* v, int x, int y);              // a click of the default tool, window coordinates
    raster_image* (*get_image)(view* v);              // the image to draw, or null after a message
    void (*image_done)(view* v, raster_image* image); // a tool has drawn it: redraw on top, or release it
};

struct view {
    const view_ops* ops;
    int32_t cell;               // a pattern's view: the number of its cell
    int32_t window;             // number of the window
    uint32_t plane_mask;        // planes that block reads and writes of this view touch
    int32_t x1, y1, x2, y2;     // viewport
    int32_t origin_x, origin_y; // image coordinates shown at the viewport's top left corner; may lie outside the image
    int32_t zoom;               // 0: one to one; n: n screen pixels an image pixel; -n: one for n image pixels
};

constexpr int32_t VIEW_ZOOM_MAX = 8192;      // size of the greatest zoom, in either sign
constexpr int32_t VIEW_ZOOM_STEP_MAX = 4096; // a zoom beyond it takes no further step

// Screen pixels per image pixel.
double view_scale(const view* v);

// Window to image coordinates, truncated toward zero.
void view_to_image(const view* v, int x, int y, int32_t* ix, int32_t* iy);

// ---- changing what is shown: these set zoom and origin, and draw nothing ------------------------------------------

// The largest zoom at which each side of the image takes up four fifths of the viewport's at most, or 0 for any between
// 1 and 2; centred.
void view_fit(const raster_image* image, view* v);

// Brings the window's point to the middle of the viewport.
void view_center(view* v, int x, int y);

// One step in (direction 1) or out (-1), and the point to the middle. At a zoom beyond VIEW_ZOOM_STEP_MAX nothing
// changes.
void view_zoom(view* v, int x, int y, int direction);

// A point of the image, as exact as it can be told.
struct view_point {
    double x, y;
};
view_point view_point_at(const view* v, int x, int y);

// Puts the image's point at x, y, as nearly as whole origins allow.
void view_place(view* v, int x, int y, view_point point);

// A step as view_zoom()'s, but the image's point comes to stand at x, y, as view_place() has it: with the point that
// was there, it stays; with that from before some steps, the way back leads to where they began. It goes no further
// than VIEW_ZOOM_STEP_MAX, so that a step back is always possible.
void view_zoom_at(view* v, int x, int y, view_point point, int direction);

// Moves the origin until a part of the image is seen that can be pointed at, if it isn't. False when there is none at
// this zoom.
bool view_keep_in_sight(const raster_image* image, view* v);

// The zoom at which the box between two points fills the viewport best, its centre in the middle.
void view_zoom_box(view* v, int x1, int y1, int x2, int y2);

// ---- what an area of the image covers in the window ---------------------------------------------------------------

struct view_area {
    int32_t column, row;    // image coordinates of the first pixel to draw
    int32_t x1, y1, x2, y2; // the window's pixels to draw, inside of the viewport
};

// Columns ix1 to ix2 - 1 and rows iy1 to iy2 - 1 of an image of the given size. False when nothing of them is seen.
// At a negative zoom the area begins at the sampled pixel at or before its corner.
bool view_area_of(const view* v, int32_t width, int32_t height, int32_t ix1, int32_t iy1, int32_t ix2, int32_t iy2,
                  view_area* area);

// The pixels of an image of the given size that the view shows. False when it shows none.
bool view_seen(const view* v, int32_t width, int32_t height, pixel_grid* grid);

// The part of a view that shows a rectangle of the window, as a view of its own, widened to the left and up to whole
// image pixels. False when nothing of the rectangle lies in the viewport.
bool view_part(const view* v, int x1, int y1, int x2, int y2, view* part);
