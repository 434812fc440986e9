// How a view is drawn at each kind of zoom.
//
// One to one, the display takes a rectangle straight from the planes. Zoomed in, an image row is built once, each pixel
// repeated, and shown in each row of a block of screen rows. Zoomed out, a row takes every n-th pixel.
#include "view/viewdraw.h"

#include <algorithm>
#include <cstring>

#include "tools/colors.h"
#include "tools/draw.h"

namespace {

constexpr int CHANNELS = 3;
constexpr int BLACK_SLOT = 0;

// A row of the screen, in three line buffers.
struct screen_row {
    uint8_t bytes[CHANNELS][VIEW_LINE_MAX];
};

struct planes {
    const uint8_t* at[CHANNELS];
};

planes planes_at(const raster_image* image, int32_t column, int32_t row) {
    const size_t offset = static_cast<size_t>(row) * static_cast<size_t>(image->width) + static_cast<size_t>(column);
    return {{image->red + offset, image->green + offset, image->blue + offset}};
}

// ---- zoomed in ----------------------------------------------------------------------------------------------------

template <int Times> void repeat_few(const uint8_t* from, int count, uint8_t* to) {
    int done = 0;
    for (; done + Times <= count; done += Times, ++from)
        for (int i = 0; i < Times; ++i)
            to[done + i] = *from;
    for (; done < count; ++done)
        to[done] = *from;
}

void repeat_many(const uint8_t* from, int times, int count, uint8_t* to) {
    for (int done = 0; done < count; done += times, ++from)
        std::memset(to + done, *from, static_cast<size_t>(std::min(times, count - done)));
}

// `count` bytes, each of the source's `times` times.
void repeat(const uint8_t* from, int times, int count, uint8_t* to) {
    switch (times) {
    case 2: repeat_few<2>(from, count, to); break;
    case 4: repeat_few<4>(from, count, to); break;
    case 8: repeat_few<8>(from, count, to); break;
    default: repeat_many(from, times, count, to); break;
    }
}

void draw_zoomed_in(const raster_image* image, const view* v, const view_area* area) {
    screen_row line;
    const int width = area->x2 - area->x1 + 1;
    int32_t row = area->row;
    for (int y = area->y1; y <= area->y2; y += v->zoom, ++row) {
        const planes from = planes_at(image, area->column, row);
        for (int c = 0; c < CHANNELS; ++c)
            repeat(from.at[c], v->zoom, width, line.bytes[c]);
        const int last = std::min(y + v->zoom - 1, area->y2);
        rgb_fill(v->window, area->x1, area->x2, y, last, line.bytes[0], line.bytes[1], line.bytes[2]);
    }
}

// ---- zoomed out ---------------------------------------------------------------------------------------------------

void draw_zoomed_out(const raster_image* image, const view* v, const view_area* area) {
    screen_row line;
    const int width = area->x2 - area->x1 + 1;
    const int32_t step = -v->zoom;
    int32_t row = area->row;
    for (int y = area->y1; y <= area->y2; ++y, row += step) {
        const planes from = planes_at(image, area->column, row);
        for (int c = 0; c < CHANNELS; ++c)
            for (int x = 0; x < width; ++x)
                line.bytes[c][x] = from.at[c][static_cast<size_t>(x) * static_cast<size_t>(step)];
        rgb_line(v->window, area->x1, area->x2, y, line.bytes[0], line.bytes[1], line.bytes[2]);
    }
}

// ---- one to one ---------------------------------------------------------------------------------------------------

void draw_plain(const raster_image* image, const view* v, const view_area* area) {
    const planes from = planes_at(image, area->column, area->row);
    rgb_rect(v->window, area->x1, area->x2, area->y1, area->y2, from.at[0], from.at[1], from.at[2], image->width);
}

void draw(const raster_image* image, const view* v, const view_area* area) {
    if (v->zoom == 0)
        draw_plain(image, v, area);
    else if (v->zoom > 0)
        draw_zoomed_in(image, v, area);
    else
        draw_zoomed_out(image, v, area);
}

} // namespace

void fill_black(int window, int x1, int y1, int x2, int y2) {
    if (x1 > x2 || y1 > y2) return;
    fgcolor(window, BLACK_SLOT);
    rectf(window, x1, y1, x2, y2);
}

void view_draw_area(const raster_image* image, const view* v, int32_t ix1, int32_t iy1, int32_t ix2, int32_t iy2) {
    view_area area;
    if (image != nullptr && view_area_of(v, image->width, image->height, ix1, iy1, ix2, iy2, &area))
        draw(image, v, &area);
}

void view_draw(const raster_image* image, const view* v) {
    view_area area;
    if (image == nullptr || !view_area_of(v, image->width, image->height, 0, 0, image->width, image->height, &area)) {
        fill_black(v->window, v->x1, v->y1, v->x2, v->y2);
        return;
    }
    draw(image, v, &area);
    fill_black(v->window, v->x1, v->y1, area.x1 - 1, v->y2);
    fill_black(v->window, area.x1, v->y1, area.x2, area.y1 - 1);
    fill_black(v->window, area.x2 + 1, v->y1, v->x2, v->y2);
    fill_black(v->window, area.x1, area.y2 + 1, area.x2, v->y2);
}
