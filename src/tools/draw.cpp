// Lines, dots and areas on numbered windows.
#include "tools/draw.h"

#include <cmath>
#include <cstdlib>

#include "tools/windata.h"

namespace {

canvas_pen pen_of(const window_attributes& a) {
    return {.color = a.foreground,
            .dotted = a.line_style != 0xFFFF,
            .opaque_gaps = a.blend != 0xFFFF,
            .gap_color = a.background,
            .last_point = false};
}

void set_current(window_record* w, int x, int y) {
    w->attributes.current_x = window_short(x);
    w->attributes.current_y = window_short(y);
}

const canvas_pattern* pattern_of(const window_attributes& a) {
    return a.patterned ? &a.pattern : nullptr;
}

// As many lines side by side as the weight asks for: along y, or along x where the line is steep.
void draw_weighted(canvas* dc, const window_attributes& a, canvas_point from, canvas_point to) {
    const canvas_pen pen = pen_of(a);
    const int weight = std::max(int{a.weight}, 0);
    const bool steep = std::abs(to.y - from.y) > std::abs(to.x - from.x);
    for (int i = 0; i <= weight; ++i) {
        const int shift = i - weight / 2;
        const int dx = steep ? shift : 0;
        const int dy = steep ? 0 : shift;
        canvas_line(dc, {from.x + dx, from.y + dy}, {to.x + dx, to.y + dy}, &pen);
    }
}

int whole(double v) {
    if (std::isnan(v)) return 0;
    return static_cast<int>(std::clamp(v, double{-WINDOW_FAR}, double{WINDOW_FAR}));
}

// One point of a list, whose form is `type`.
canvas_point point_at(const void* points, int index, int type) {
    const auto i = static_cast<size_t>(index) * 2;
    switch (type) {
    case 0: {
        const auto* p = static_cast<const double*>(points) + i;
        return {whole(p[0]), whole(p[1])};
    }
    case 2: {
        const auto* p = static_cast<const float*>(points) + i;
        return {whole(double{p[0]}), whole(double{p[1]})};
    }
    case 4: {
        const auto* p = static_cast<const int32_t*>(points) + i;
        return {p[0], p[1]};
    }
    default: {
        const auto* p = static_cast<const int16_t*>(points) + i;
        return {p[0], p[1]};
    }
    }
}

} // namespace

int move(int window, int x, int y) {
    window_record* w = window_find(window);
    if (w == nullptr) return -1;
    set_current(w, x, y);
    return 0;
}

int draw(int window, int x, int y) {
    window_record* w = nullptr;
    const window_use use = window_for_drawing(window, &w);
    if (use != window_use::draw) return window_unused(use);
    const canvas_point from = {w->attributes.current_x, w->attributes.current_y};
    set_current(w, x, y);
    draw_weighted(w->dc, w->attributes, from, {w->attributes.current_x, w->attributes.current_y});
    return 0;
}

int pnt(int window, int x, int y) {
    window_record* w = nullptr;
    const window_use use = window_for_drawing(window, &w);
    if (use != window_use::draw) return window_unused(use);
    set_current(w, x, y);
    const int weight = std::max(int{w->attributes.weight}, 0);
    const int left = w->attributes.current_x - weight / 2;
    const int top = w->attributes.current_y - weight / 2;
    canvas_fill(w->dc, {left, top, left + weight + 1, top + weight + 1}, w->attributes.foreground);
    return 0;
}

int rectf(int window, int x1, int y1, int x2, int y2) {
    window_record* w = nullptr;
    const window_use use = window_for_drawing(window, &w);
    if (use != window_use::draw) return window_unused(use);
    const window_attributes& a = w->attributes;
    const canvas_box box = window_box(x1, y1, x2, y2);
    if (!a.patterned) {
        canvas_fill(w->dc, box, a.foreground);
        return 0;
    }
    if (x1 > x2 || y1 > y2) return -1;
    canvas_fill_pattern(w->dc, box, a.foreground, &a.pattern);
    return 0;
}

int polyf(int window, const void* points, int count, int type) {
    window_record* w = window_find(window);
    const bool known = type == 0 || type == 2 || type == 4 || type == 6;
    if (w == nullptr || count < 1 || !known) return -1;
    const canvas_point first = point_at(points, 0, type);
    move(window, first.x, first.y);
    for (int i = 1; i < count; ++i) {
        const canvas_point p = point_at(points, i, type);
        draw(window, p.x, p.y);
    }
    return 0;
}

int polygon4(int window, int y1, int y2, int xa, int xb, int xc, int xd) {
    window_record* w = nullptr;
    const window_use use = window_for_drawing(window, &w);
    if (use != window_use::draw) return window_unused(use);
    const canvas_point points[4] = {{xa, y1}, {xb, y2}, {xd, y2}, {xc, y1}};
    canvas_polygon(w->dc, points, 4, w->attributes.foreground, pattern_of(w->attributes));
    return 0;
}
