// Zooms and origins. All that is a position is computed in 64 bits or double precision: at a zoom of -8192 a viewport
// spans millions of image pixels.
#include "view/view.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace {

constexpr double FIT_SHARE[] = {4, 5};    // of the viewport, at most, that a fitted picture takes up: four fifths
constexpr double SEEN_SIDE = 32.0;        // screen pixels of a picture that stay in sight
constexpr double BOX_FACTOR_MAX = 4096.0; // of the zoom to a box
constexpr double BOX_FACTOR_MIN = 1.0 / 4096.0;
constexpr double WHOLE_PIXEL = 0.984375;    // makes an end of a 64th of a screen pixel or more take the whole of it
constexpr double ORIGIN_LIMIT = 0x20000000; // far outside of any picture, and room for a viewport at any zoom

// Truncated toward zero, and kept within what sums and differences can take.
int32_t whole(double value) {
    return static_cast<int32_t>(std::clamp(value, -ORIGIN_LIMIT, ORIGIN_LIMIT));
}

// At a negative zoom origins are multiples of it, so that sampling stays on the same image pixels.
int32_t on_grid(int32_t origin, int32_t zoom) {
    return zoom < 0 ? origin - origin % -zoom : origin;
}

void set_origin(view* v, double x, double y) {
    v->origin_x = on_grid(whole(x), v->zoom);
    v->origin_y = on_grid(whole(y), v->zoom);
}

// The origin that brings an image point to the middle.
void center_on(view* v, int32_t ix, int32_t iy) {
    int32_t left, top, right, bottom;
    view_to_image(v, v->x1, v->y1, &left, &top);
    view_to_image(v, v->x2, v->y2, &right, &bottom);
    const int32_t half_x = (left - right) / 2;
    const int32_t half_y = (top - bottom) / 2;
    set_origin(v, static_cast<double>(ix) + half_x, static_cast<double>(iy) + half_y);
}

int32_t stepped(int32_t zoom, int direction) {
    if (zoom == 0) return direction > 0 ? 2 : -2;
    const int32_t next = (zoom > 0) == (direction > 0) ? zoom * 2 : zoom / 2;
    return next == 1 || next == -1 ? 0 : next;
}

double scale_of(int32_t zoom) {
    if (zoom == 0) return 1.0;
    return zoom > 0 ? zoom : 1.0 / -zoom;
}

// 2, 4, 8 ... while the factor is 2 or more.
int32_t zoom_in_by(double factor) {
    int32_t zoom = 1;
    while (factor >= 2.0 && zoom < VIEW_ZOOM_MAX) {
        zoom *= 2;
        factor *= 0.5;
    }
    return zoom;
}

// -2, -4, -8 ... until the factor has come to the limit, or, when that isn't enough yet, above it.
int32_t zoom_out_by(double factor, double limit, bool limit_is_enough) {
    int32_t zoom = -1;
    while ((factor < limit || (factor == limit && !limit_is_enough)) && zoom > -VIEW_ZOOM_MAX) {
        zoom *= 2;
        factor *= 2.0;
    }
    return zoom;
}

double sides_factor(const view* v, double width, double height, double times) {
    return std::min((v->x2 - v->x1 + 1) * times / width, (v->y2 - v->y1 + 1) * times / height);
}

// Centres on the middle of two sums of image coordinates.
void center_between(view* v, double sum_x, double sum_y) {
    const double s = view_scale(v);
    set_origin(v, ((v->x1 - v->x2) / s + sum_x) * 0.5, ((v->y1 - v->y2) / s + sum_y) * 0.5);
}

void sort_apart(int32_t* low, int32_t* high) {
    if (*low > *high) std::swap(*low, *high);
    if (*low == *high) ++*high;
}

// The origin, moved as little as it takes for `seen` image pixels of a picture to lie in a viewport of `shown` ones, or
// all of the picture or viewport where that is less.
double origin_in_sight(int32_t origin, double shown, int32_t size, double seen) {
    const double kept = std::min({std::max(seen, 1.0), shown, static_cast<double>(size)});
    return std::clamp<double>(origin, std::ceil(kept - shown),
                              std::max(std::floor(size - kept), std::ceil(kept - shown)));
}

// First and last window pixel, along one axis, of image pixels `from` to `end` - 1; `from` is moved to the sampled
// pixel.
struct span {
    int64_t from, first, last;
};

span span_of(int32_t zoom, int32_t corner, int32_t origin, int32_t from, int32_t end) {
    span s = {on_grid(std::max({from, origin, 0}), zoom), 0, 0};
    const double scale = scale_of(zoom);
    s.first = corner + static_cast<int64_t>(static_cast<double>(s.from - origin) * scale);
    s.last = corner + static_cast<int64_t>((static_cast<double>(end) - origin) * scale + WHOLE_PIXEL) - 1;
    return s;
}

// Widens a part to the left or up to the beginning of an image pixel.
int32_t pixel_start(int32_t zoom, int32_t corner, int32_t at) {
    return zoom > 0 ? at - (at - corner) % zoom : at;
}

} // namespace

double view_scale(const view* v) {
    return scale_of(v->zoom);
}

void view_to_image(const view* v, int x, int y, int32_t* ix, int32_t* iy) {
    const double s = view_scale(v);
    *ix = whole((x - v->x1) / s + v->origin_x);
    *iy = whole((y - v->y1) / s + v->origin_y);
}

void view_fit(const raster_image* image, view* v) {
    // An image without pixels is shown as one of a single pixel.
    const int32_t width = std::max(image->width, 1);
    const int32_t height = std::max(image->height, 1);
    // Whole numbers up to the one division: a picture that takes up the share exactly gives exactly 1.
    const double factor = sides_factor(v, FIT_SHARE[1] * width, FIT_SHARE[1] * height, FIT_SHARE[0]);
    v->zoom = 0;
    if (factor >= 2.0) v->zoom = zoom_in_by(factor);
    if (factor < 1.0) v->zoom = zoom_out_by(factor, 1.0, true);
    center_between(v, width, height);
}

void view_center(view* v, int x, int y) {
    int32_t ix, iy;
    view_to_image(v, x, y, &ix, &iy);
    center_on(v, ix, iy);
}

void view_zoom(view* v, int x, int y, int direction) {
    if (std::abs(v->zoom) > VIEW_ZOOM_STEP_MAX) return;
    int32_t ix, iy;
    view_to_image(v, x, y, &ix, &iy);
    v->zoom = stepped(v->zoom, direction);
    center_on(v, ix, iy);
}

view_point view_point_at(const view* v, int x, int y) {
    const double s = view_scale(v);
    return {(x - v->x1) / s + v->origin_x, (y - v->y1) / s + v->origin_y};
}

void view_place(view* v, int x, int y, view_point point) {
    const double s = view_scale(v);
    set_origin(v, std::round(point.x - (x - v->x1) / s), std::round(point.y - (y - v->y1) / s));
}

void view_zoom_at(view* v, int x, int y, view_point point, int direction) {
    const int32_t next = stepped(v->zoom, direction);
    if (std::abs(next) > VIEW_ZOOM_STEP_MAX) return;
    v->zoom = next;
    view_place(v, x, y, point);
}

bool view_keep_in_sight(const raster_image* image, view* v) {
    const double s = view_scale(v);
    const double x = origin_in_sight(v->origin_x, (v->x2 - v->x1 + 1) / s, image->width, SEEN_SIDE / s);
    const double y = origin_in_sight(v->origin_y, (v->y2 - v->y1 + 1) / s, image->height, SEEN_SIDE / s);
    set_origin(v, x, y);
    view_area area;
    return view_area_of(v, image->width, image->height, 0, 0, image->width, image->height, &area);
}

void view_zoom_box(view* v, int x1, int y1, int x2, int y2) {
    int32_t first_x, first_y, second_x, second_y;
    view_to_image(v, x1, y1, &first_x, &first_y);
    view_to_image(v, x2, y2, &second_x, &second_y);
    sort_apart(&first_x, &second_x);
    sort_apart(&first_y, &second_y);
    const double factor = sides_factor(v, second_x - first_x, second_y - first_y, 1.0);
    v->zoom = 0;
    if (factor >= 2.0) v->zoom = zoom_in_by(std::min(factor, BOX_FACTOR_MAX));
    if (factor <= 0.5) v->zoom = zoom_out_by(std::max(factor, BOX_FACTOR_MIN), 0.5, false);
    center_between(v, static_cast<double>(first_x) + second_x, static_cast<double>(first_y) + second_y);
}

bool view_area_of(const view* v, int32_t width, int32_t height, int32_t ix1, int32_t iy1, int32_t ix2, int32_t iy2,
                  view_area* area) {
    ix2 = std::min(ix2, width);
    iy2 = std::min(iy2, height);
    const span across = span_of(v->zoom, v->x1, v->origin_x, ix1, ix2);
    const span down = span_of(v->zoom, v->y1, v->origin_y, iy1, iy2);
    if (across.from >= ix2 || down.from >= iy2) return false;
    const int64_t right = std::min<int64_t>(across.last, v->x2);
    const int64_t bottom = std::min<int64_t>(down.last, v->y2);
    if (across.first > right || down.first > bottom) return false;
    *area = {static_cast<int32_t>(across.from), static_cast<int32_t>(down.from), static_cast<int32_t>(across.first),
             static_cast<int32_t>(down.first),  static_cast<int32_t>(right),     static_cast<int32_t>(bottom)};
    return true;
}

bool view_seen(const view* v, int32_t width, int32_t height, pixel_grid* grid) {
    view_area area;
    if (!view_area_of(v, width, height, 0, 0, width, height, &area)) return false;
    const int32_t step = v->zoom < 0 ? -v->zoom : 1;
    const int32_t times = std::max(v->zoom, 1);
    const int64_t columns =
        int64_t{(area.x2 - area.x1) / times + 1} * step; // of the image, up to the next one on the grid
    const int64_t rows = int64_t{(area.y2 - area.y1) / times + 1} * step;
    *grid = {area.column, area.row, static_cast<int32_t>(std::min<int64_t>(width, area.column + columns)),
             static_cast<int32_t>(std::min<int64_t>(height, area.row + rows)), step};
    return true;
}

bool view_part(const view* v, int x1, int y1, int x2, int y2, view* part) {
    *part = *v;
    part->x1 = std::max(x1, v->x1);
    part->y1 = std::max(y1, v->y1);
    part->x2 = std::min(x2, v->x2);
    part->y2 = std::min(y2, v->y2);
    if (part->x1 > part->x2 || part->y1 > part->y2) return false;
    part->x1 = pixel_start(v->zoom, v->x1, part->x1);
    part->y1 = pixel_start(v->zoom, v->y1, part->y1);
    view_to_image(v, part->x1, part->y1, &part->origin_x, &part->origin_y);
    return true;
}
