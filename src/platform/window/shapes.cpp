// Lines and polygons.
#include "platform/window/canvasdata.h"
#include "support/checked.h"
#include "support/memory.h"

#include <algorithm>
#include <cstdlib>
#include <type_traits>

namespace {

constexpr int FAR = 1 << 24; // coordinates are limited to this, so that products fit 64 bits
constexpr int DOT = 3;       // pixels on, then as many off

// A line along its longer axis: at step k of `steps` the major coordinate is start + k * sign, and the minor one
// is start + minor_sign * floor((2 * k * rise + steps) / (2 * steps)).
struct line_walk {
    int x, y;
    int x_sign, y_sign;
    bool steep; // y is the longer axis
    int64_t steps, rise;
};

line_walk walk_of(canvas_point from, canvas_point to) {
    const int dx = to.x - from.x;
    const int dy = to.y - from.y;
    line_walk w = {from.x,       from.y,      dx < 0 ? -1 : 1, dy < 0 ? -1 : 1, std::abs(dy) > std::abs(dx),
                   std::abs(dx), std::abs(dy)};
    if (w.steep) std::swap(w.steps, w.rise);
    return w;
}

// The steps whose major coordinate lies in the part.
void steps_in(const line_walk& w, canvas_box part, int64_t* first, int64_t* last) {
    const int64_t start = w.steep ? w.y : w.x;
    const int64_t low = w.steep ? part.y1 : part.x1;
    const int64_t high = (w.steep ? part.y2 : part.x2) - 1;
    const bool up = (w.steep ? w.y_sign : w.x_sign) > 0;
    *first = std::max<int64_t>(0, up ? low - start : start - high);
    *last = std::min(*last, up ? high - start : start - low);
}

void line_part(const canvas_bitmap* b, const line_walk& w, canvas_box part, int64_t last, const canvas_pen* pen) {
    const uint32_t on = canvas_pixel(pen->color);
    const uint32_t off = pen->opaque_gaps ? canvas_pixel(pen->gap_color) : 0;
    int64_t first = 0;
    steps_in(w, part, &first, &last);
    with_pixel_type(b, [&](auto* type) {
        using pixel_type = std::remove_pointer_t<decltype(type)>;
        for (int64_t k = first; k <= last; ++k) {
            const int64_t minor = w.steps == 0 ? 0 : (2 * k * w.rise + w.steps) / (2 * w.steps);
            const int x = w.x + w.x_sign * int(w.steep ? minor : k);
            const int y = w.y + w.y_sign * int(w.steep ? k : minor);
            if (!box_has(part, x, y)) continue;
            const bool gap = pen->dotted && k / DOT % 2 != 0;
            if (gap && !pen->opaque_gaps) continue;
            *reinterpret_cast<pixel_type*>(bitmap_at(b, x, y)) = pixel_type(gap ? off : on);
        }
    });
}

canvas_point limited(canvas_point p) {
    return {clamped(p.x, -FAR, FAR), clamped(p.y, -FAR, FAR)};
}

// Where an edge crosses the middle of row y: the first column whose centre lies right of it. False when it doesn't.
bool edge_crosses(canvas_point a, canvas_point b, int y, int* column) {
    if (a.y > b.y) std::swap(a, b);
    if (y < a.y || y >= b.y) return false;
    // x + 1/2 >= a.x + (y + 1/2 - a.y) * (b.x - a.x) / (b.y - a.y), times 2 * (b.y - a.y)
    const int64_t rise = int64_t{b.y} - a.y;
    const int64_t top = (2 * (int64_t{y} - a.y) + 1) * (int64_t{b.x} - a.x) - rise;
    const int64_t whole = top / (2 * rise);
    *column = a.x + int(whole + (top % (2 * rise) > 0 ? 1 : 0));
    return true;
}

int row_crossings(const canvas_point* points, int count, int y, int* columns) {
    int found = 0;
    for (int i = 0; i < count; ++i)
        if (edge_crosses(limited(points[i]), limited(points[i + 1 == count ? 0 : i + 1]), y, &columns[found])) ++found;
    std::sort(columns, columns + found);
    return found;
}

// A span with a pattern: set bits take the colour, clear bits black.
void pattern_span(canvas* c, int x1, int x2, int y, canvas_color color, const canvas_pattern* pattern) {
    const unsigned bits = pattern->rows[y & 7];
    for (int x = x1; x < x2; ++x)
        canvas_set_pixel(c, x, y, (bits >> (7 - (x & 7)) & 1) != 0 ? color : 0);
}

} // namespace

void canvas_line(canvas* c, canvas_point from, canvas_point to, const canvas_pen* pen) {
    from = limited(from);
    to = limited(to);
    const canvas_box around = {std::min(from.x, to.x), std::min(from.y, to.y), std::max(from.x, to.x) + 1,
                               std::max(from.y, to.y) + 1};
    line_walk w = walk_of(from, to);
    const int64_t last = pen->last_point ? w.steps : w.steps - 1;
    if (last < 0) return;
    // canvas -> bitmap coordinates
    w.x += c->origin_x;
    w.y += c->origin_y;
    canvas_each_part(c, around, [&](canvas_box part) { line_part(c->bitmap, w, part, last, pen); });
}

bool canvas_polygon(canvas* c, const canvas_point* points, int count, canvas_color color,
                    const canvas_pattern* pattern) {
    if (count < 3) return true;
    mem_guard<int> columns(mem_new_array<int>(size_t(count)));
    if (!columns) return false;
    int top = FAR;
    int bottom = -FAR;
    for (int i = 0; i < count; ++i) {
        top = std::min(top, limited(points[i]).y);
        bottom = std::max(bottom, limited(points[i]).y);
    }
    for (int y = std::max(top, 0); y < std::min(bottom, c->height); ++y) {
        const int found = row_crossings(points, count, y, columns.get());
        for (int i = 0; i + 1 < found; i += 2) {
            const int x1 = std::max(columns[size_t(i)], 0);
            const int x2 = std::min(columns[size_t(i) + 1], c->width);
            if (pattern == nullptr)
                canvas_fill(c, {x1, y, x2, y + 1}, color);
            else
                pattern_span(c, x1, x2, y, color, pattern);
        }
    }
    return true;
}
