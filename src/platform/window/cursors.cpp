// Cursors as outlines, filled by coverage.
#include "platform/window/cursors.h"

#include "support/memory.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace {

constexpr int SAMPLES = 4; // in each direction of a pixel
constexpr double RIM = 1;  // thickness of the rim, units
constexpr double MARGIN = 1.5;

struct vec {
    double x, y;
};

// A shape is one or more outlines, one behind the other; the first point of each comes again at its end.
struct shape_outline {
    const vec* points;
    int count;
    vec hot;
};

constexpr vec ARROW[] = {{0, 0}, {0, 16}, {3.7, 12.5}, {6.2, 18.3}, {8.6, 17.3}, {6.1, 11.6}, {11.3, 11.6}, {0, 0}};
constexpr vec BUSY[] = {{0, 0},
                        {14, 0},
                        {14, 2.2},
                        {12.4, 2.2},
                        {12.4, 6},
                        {8.4, 10.2},
                        {12.4, 14.4},
                        {12.4, 18.2},
                        {14, 18.2},
                        {14, 20.4},
                        {0, 20.4},
                        {0, 18.2},
                        {1.6, 18.2},
                        {1.6, 14.4},
                        {5.6, 10.2},
                        {1.6, 6},
                        {1.6, 2.2},
                        {0, 2.2},
                        {0, 0},
                        // the empty part of the upper glass, and of the lower one: holes
                        {3.2, 2.2},
                        {10.8, 2.2},
                        {10.8, 4.2},
                        {3.2, 4.2},
                        {3.2, 2.2},
                        {7, 11},
                        {10.6, 14.8},
                        {10.2, 16.6},
                        {7, 14.6},
                        {3.8, 16.6},
                        {3.4, 14.8},
                        {7, 11}};
constexpr vec ACROSS[] = {{0, 5.5},   {5.5, 0},    {5.5, 4.2}, {15.5, 4.2}, {15.5, 0}, {21, 5.5},
                          {15.5, 11}, {15.5, 6.8}, {5.5, 6.8}, {5.5, 11},   {0, 5.5}};
constexpr vec ALL_WAYS[] = {{10.5, 0},  {14.3, 4},   {11.7, 4},    {11.7, 9.3}, {17, 9.3},  {17, 6.7},  {21, 10.5},
                            {17, 14.3}, {17, 11.7},  {11.7, 11.7}, {11.7, 17},  {14.3, 17}, {10.5, 21}, {6.7, 17},
                            {9.3, 17},  {9.3, 11.7}, {4, 11.7},    {4, 14.3},   {0, 10.5},  {4, 6.7},   {4, 9.3},
                            {9.3, 9.3}, {9.3, 4},    {6.7, 4},     {10.5, 0}};

shape_outline outline_of(host_cursor shape) {
    switch (shape) {
    case host_cursor::busy: return {BUSY, int(std::size(BUSY)), {7, 10.2}};
    case host_cursor::size_we:
    case host_cursor::size_ns:
    case host_cursor::size_nwse:
    case host_cursor::size_nesw: return {ACROSS, int(std::size(ACROSS)), {10.5, 5.5}};
    case host_cursor::move: return {ALL_WAYS, int(std::size(ALL_WAYS)), {10.5, 10.5}};
    default: return {ARROW, int(std::size(ARROW)), {0, 0}};
    }
}

// How far an arrow from left to right is turned about its middle.
double turn_of(host_cursor shape) {
    switch (shape) {
    case host_cursor::size_ns: return M_PI / 2;
    case host_cursor::size_nwse: return M_PI / 4;
    case host_cursor::size_nesw: return -M_PI / 4;
    default: return 0;
    }
}

// Calls f(a, b) for each edge of the outlines.
template <typename F> void each_edge(const shape_outline& o, F f) {
    int first = 0;
    for (int i = 1; i < o.count; ++i) {
        f(o.points[i - 1], o.points[i]);
        const bool closed = o.points[i].x == o.points[first].x && o.points[i].y == o.points[first].y;
        if (closed) first = ++i;
    }
}

double distance_to(vec a, vec b, vec p) {
    const vec along = {b.x - a.x, b.y - a.y};
    const double length = along.x * along.x + along.y * along.y;
    const double t = std::clamp(((p.x - a.x) * along.x + (p.y - a.y) * along.y) / length, 0.0, 1.0);
    return std::hypot(p.x - a.x - t * along.x, p.y - a.y - t * along.y);
}

// 2 within the body, 1 within the rim, 0 outside.
int part_at(const shape_outline& o, vec p) {
    bool inside = false;
    double nearest = 1e9;
    each_edge(o, [&](vec a, vec b) {
        nearest = std::min(nearest, distance_to(a, b, p));
        if ((a.y > p.y) == (b.y > p.y)) return;
        if (p.x < a.x + (p.y - a.y) * (b.x - a.x) / (b.y - a.y)) inside = !inside;
    });
    if (inside) return 2;
    return nearest <= RIM ? 1 : 0;
}

uint32_t mixed(int body, int rim) {
    constexpr int all = SAMPLES * SAMPLES;
    const int seen = body + rim;
    if (seen == 0) return 0;
    const auto alpha = uint32_t(seen * 255 / all);
    const auto grey = uint32_t(rim * 255 / seen);
    return alpha << 24 | grey << 16 | grey << 8 | grey;
}

} // namespace

bool cursor_draw(host_cursor shape, int unit, cursor_picture* picture) {
    const shape_outline o = outline_of(shape);
    const double turn = turn_of(shape);
    const bool turned = o.points == ACROSS;
    // The pointing place: at the margin for an arrow, in the middle for a turned one.
    const vec hot = turned ? vec{CURSOR_SIDE / 2.0, CURSOR_SIDE / 2.0} : vec{o.hot.x + MARGIN, o.hot.y + MARGIN};
    picture->side = CURSOR_SIDE * unit;
    picture->hot_x = int(hot.x * unit);
    picture->hot_y = int(hot.y * unit);
    picture->pixels = mem_new_array<uint32_t>(size_t(picture->side) * size_t(picture->side));
    if (picture->pixels == nullptr) return false;
    for (int i = 0; i < picture->side * picture->side; ++i) {
        int found[3] = {0, 0, 0};
        const int column = i % picture->side;
        const int row = i / picture->side;
        for (int sample = 0; sample < SAMPLES * SAMPLES; ++sample) {
            const int down = sample / SAMPLES;
            // pixels -> units about the pointing place -> the outline's own
            const double x = (column + (sample % SAMPLES + 0.5) / SAMPLES) / unit - hot.x;
            const double y = (row + (down + 0.5) / SAMPLES) / unit - hot.y;
            const vec p = {o.hot.x + x * std::cos(turn) + y * std::sin(turn),
                           o.hot.y - x * std::sin(turn) + y * std::cos(turn)};
            ++found[part_at(o, p)];
        }
        picture->pixels[i] = mixed(found[2], found[1]);
    }
    return true;
}
