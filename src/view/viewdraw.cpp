// How a view is drawn at each kind of zoom, an image row at a time.
//
// One to one, the display takes a rectangle straight from the planes. Zoomed in, an image row is built once, each pixel
// repeated, and shown in each row of a block of screen rows. Zoomed out, a row takes every n-th pixel. A row of the
// screen is worked through in pieces, so that a viewport may be as wide as it likes.
//
// A highlight is laid into the bytes of a row before it is shown: full bytes come out as white at every depth.
#include "view/viewdraw.h"

#include <algorithm>
#include <cstring>

#include "tools/colors.h"
#include "tools/draw.h"

namespace {

constexpr int CHANNELS = 3;
constexpr int BLACK_SLOT = 0;
constexpr uint8_t WHITE = 255;
constexpr uint8_t BLACK = 0;

// Columns of the screen that are built at once. A zoom is a power of two, so that one of them divides the other.
constexpr int PIECE = 2048;

// Under the white line of a highlight lies a black one from this zoom on, as high as a block of screen rows divided by
// it: white alone would not be seen on a bright surface.
constexpr int SHADOW_PART = 4;

// A piece of a row of the screen, channel by channel.
struct screen_piece {
    uint8_t bytes[CHANNELS][PIECE];
};

struct planes {
    const uint8_t* at[CHANNELS];
};

planes planes_at(const raster_image* image, int32_t column, int32_t row) {
    const size_t offset = static_cast<size_t>(row) * static_cast<size_t>(image->width) + static_cast<size_t>(column);
    return {{image->red + offset, image->green + offset, image->blue + offset}};
}

// ---- the highlight ------------------------------------------------------------------------------------------------

// Window columns first to end - 1.
struct window_span {
    int64_t first, end;
};

window_span span_in_window(const view* v, row_span span) {
    const double s = view_scale(v);
    const double origin = v->origin_x;
    return {v->x1 + static_cast<int64_t>((span.first - origin) * s),
            v->x1 + static_cast<int64_t>((span.end - origin) * s)};
}

// Sets the bytes of all spans in the piece that begins at window column `x`.
void cover(screen_piece* piece, const view* v, covered_columns covered, int x, int width, uint8_t value) {
    for (int i = 0; i < covered.count; ++i) {
        const window_span span = span_in_window(v, covered.spans[i]);
        const int64_t first = std::max<int64_t>(span.first - x, 0);
        const int64_t end = std::min<int64_t>(span.end - x, width);
        if (first >= width) return;
        for (int c = 0; first < end && c < CHANNELS; ++c)
            std::memset(piece->bytes[c] + first, value, static_cast<size_t>(end - first));
    }
}

void show(const view* v, const screen_piece* piece, int x, int width, int y1, int y2) {
    if (y1 > y2) return;
    rgb_fill(v->window, x, x + width - 1, y1, y2, piece->bytes[0], piece->bytes[1], piece->bytes[2]);
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

// The block of screen rows y1 to y2 that an image row takes: the white line of a highlight on top, its shadow below.
void draw_block(screen_piece* piece, const view* v, covered_columns covered, int x, int width, int y1, int y2) {
    if (covered.count == 0) {
        show(v, piece, x, width, y1, y2);
        return;
    }
    const int shadow = std::min(v->zoom / SHADOW_PART, y2 - y1);
    show(v, piece, x, width, y1 + 1 + shadow, y2);
    if (shadow > 0) {
        cover(piece, v, covered, x, width, BLACK);
        show(v, piece, x, width, y1 + 1, y1 + shadow);
    }
    cover(piece, v, covered, x, width, WHITE);
    show(v, piece, x, width, y1, y1);
}

void draw_zoomed_in(const raster_image* image, const view* v, const view_area* area, covered_columns covered) {
    screen_piece piece;
    int32_t row = area->row;
    for (int y = area->y1; y <= area->y2; y += v->zoom, ++row) {
        const planes from = planes_at(image, area->column, row);
        const int last = std::min(y + v->zoom - 1, area->y2);
        for (int x = area->x1; x <= area->x2; x += PIECE) {
            const int width = std::min(PIECE, area->x2 - x + 1);
            for (int c = 0; c < CHANNELS; ++c)
                repeat(from.at[c] + (x - area->x1) / v->zoom, std::min(v->zoom, PIECE), width, piece.bytes[c]);
            draw_block(&piece, v, covered, x, width, y, last);
        }
    }
}

// ---- zoomed out ---------------------------------------------------------------------------------------------------

template <int Step> void sample_few(const uint8_t* __restrict from, int count, uint8_t* __restrict to) {
    for (int i = 0; i < count; ++i)
        to[i] = from[i * Step];
}

// Every `step`-th byte.
void sample(const uint8_t* from, int step, int count, uint8_t* to) {
    switch (step) {
    case 1: std::memcpy(to, from, static_cast<size_t>(count)); break;
    case 2: sample_few<2>(from, count, to); break;
    case 4: sample_few<4>(from, count, to); break;
    default:
        for (int i = 0; i < count; ++i)
            to[i] = from[static_cast<size_t>(i) * static_cast<size_t>(step)];
        break;
    }
}

// One to one with a highlight, and all zooms below.
void draw_sampled(const raster_image* image, const view* v, const view_area* area, covered_columns covered) {
    screen_piece piece;
    const int step = v->zoom < 0 ? -v->zoom : 1;
    int32_t row = area->row;
    for (int y = area->y1; y <= area->y2; ++y, row += step) {
        const planes from = planes_at(image, area->column, row);
        for (int x = area->x1; x <= area->x2; x += PIECE) {
            const int width = std::min(PIECE, area->x2 - x + 1);
            const size_t offset = static_cast<size_t>(x - area->x1) * static_cast<size_t>(step);
            for (int c = 0; c < CHANNELS; ++c)
                sample(from.at[c] + offset, step, width, piece.bytes[c]);
            cover(&piece, v, covered, x, width, WHITE);
            show(v, &piece, x, width, y, y);
        }
    }
}

// ---- one to one ---------------------------------------------------------------------------------------------------

void draw_plain(const raster_image* image, const view* v, const view_area* area) {
    const planes from = planes_at(image, area->column, area->row);
    rgb_rect(v->window, area->x1, area->x2, area->y1, area->y2, from.at[0], from.at[1], from.at[2], image->width);
}

void draw(const raster_image* image, const view* v, const view_area* area, covered_columns covered) {
    if (v->zoom > 0)
        draw_zoomed_in(image, v, area, covered);
    else if (v->zoom == 0 && covered.count == 0)
        draw_plain(image, v, area);
    else
        draw_sampled(image, v, area, covered);
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
        draw(image, v, &area, NOT_COVERED);
}

void view_draw_row(const raster_image* image, const view* v, int32_t row, int32_t ix1, int32_t ix2,
                   covered_columns covered) {
    view_area area;
    const int32_t step = v->zoom < 0 ? -v->zoom : 1; // one row of an image is too little to be seen at all zooms
    if (view_area_of(v, image->width, image->height, ix1, row, ix2, row + step, &area)) draw(image, v, &area, covered);
}

void view_draw(const raster_image* image, const view* v) {
    view_area area;
    if (image == nullptr || !view_area_of(v, image->width, image->height, 0, 0, image->width, image->height, &area)) {
        fill_black(v->window, v->x1, v->y1, v->x2, v->y2);
        return;
    }
    draw(image, v, &area, NOT_COVERED);
    fill_black(v->window, v->x1, v->y1, area.x1 - 1, v->y2);
    fill_black(v->window, area.x1, v->y1, area.x2, area.y1 - 1);
    fill_black(v->window, area.x2 + 1, v->y1, v->x2, v->y2);
    fill_black(v->window, area.x1, area.y2 + 1, area.x2, v->y2);
}
