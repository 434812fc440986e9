#include "surface/colorbars.h"

#include <algorithm>
#include <cmath>

#include "support/checked.h"

namespace {

constexpr double THIRD = 0.3333333333333333;
constexpr double RAMP_SCALE = 2139095040.0; // 255 at bit 23
constexpr int RAMP_SHIFT = 23;
constexpr int BAR_FRAME_LEFT = 2, BAR_FRAME_RIGHT = 3; // pixels of a bar that are its frame's
constexpr int KNOB_TRAVEL_LESS = 7;                    // columns that the frame and the knob take

// Full brightness for a pixel of at most two channels.
void saturate(uint8_t* a, uint8_t* b, uint8_t* c) {
    if (*a != 0 && *b != 0 && *c != 0) return;
    const int most = std::max({*a, *b, *c});
    if (most == 0) return;
    for (uint8_t* channel : {a, b, c})
        *channel = static_cast<uint8_t>(*channel * 255 / most);
}

void fill_line(double first, double last, int count, uint8_t* line) {
    auto running = static_cast<int64_t>(first * RAMP_SCALE);
    const int64_t step = static_cast<int64_t>((last - first) * RAMP_SCALE) / count;
    for (int i = 0; i < count; ++i, running += step)
        line[i] = static_cast<uint8_t>(clamped<int64_t>(running >> RAMP_SHIFT, 0, 255));
}

// The columns between which the pointer moves a number.
void span_of(const bar_layout* l, int bar, int* first, int* last) {
    *first = bar_left(l, bar) + BAR_FRAME_LEFT;
    *last = bar_left(l, bar) + l->bar_width - BAR_FRAME_RIGHT;
}

double* number_of(bar_color* c, int bar) {
    double* const numbers[] = {&c->red, &c->green, &c->blue, &c->hue, &c->whiteness, &c->value};
    return numbers[bar];
}

// Stores a number that has changed by more than can't be seen.
bool take_number(bar_state* s, const bar_color* c, int bar) {
    double* shown = number_of(&s->shown, bar);
    const double wanted = bar_color_get(c, bar);
    if (std::fabs(wanted - *shown) <= BAR_TOLERANCE) return false;
    *shown = wanted;
    return true;
}

// A ramp that depends on a number that changed is drawn now, or owed.
bool draws_ramp(bool changed, bool live, bool* due) {
    const bool wanted = changed || *due;
    *due = wanted && !live;
    return wanted && live;
}

} // namespace

void rgb_to_hsv(bar_color* c) {
    const double most = std::max({c->red, c->green, c->blue});
    const double least = std::min({c->red, c->green, c->blue});
    if (most <= 0.0) {
        c->hue = c->whiteness = c->value = 0.0;
        return;
    }
    double r = c->red - least;
    double g = c->green - least;
    double b = c->blue - least;
    const double sum = r + g + b;
    if (sum != 0.0) {
        r /= sum;
        g /= sum;
        b /= sum;
    }
    double t = 0.0;
    if (b == 0.0)
        t = g;
    else if (r == 0.0)
        t = 1.0 + b;
    else
        t = r + 2.0;
    c->hue = t * THIRD;
    c->whiteness = least / most;
    c->value = most;
}

void hsv_to_rgb(bar_color* c) {
    const double t = c->hue * 3.0;
    double r = 0.0;
    double g = 0.0;
    double b = 0.0;
    if (t <= 1.0) {
        r = 1.0 - t;
        g = t;
    } else if (t <= 2.0) {
        g = 2.0 - t;
        b = t - 1.0;
    } else {
        r = t - 2.0;
        b = 3.0 - t;
    }
    const double most = std::max({r, g, b});
    const double k = most != 0.0 ? (1.0 - c->whiteness) / most * c->value : 0.0;
    const double base = most != 0.0 ? c->value * c->whiteness : 0.0;
    c->red = clamped(r * k + base, 0.0, 1.0);
    c->green = clamped(g * k + base, 0.0, 1.0);
    c->blue = clamped(b * k + base, 0.0, 1.0);
}

void ramp_line(bar_rgb first, bar_rgb last, int count, bool is_saturated, uint8_t* red, uint8_t* green, uint8_t* blue) {
    fill_line(first.red, last.red, count, red);
    fill_line(first.green, last.green, count, green);
    fill_line(first.blue, last.blue, count, blue);
    for (int i = 0; is_saturated && i < count; ++i)
        saturate(&red[i], &green[i], &blue[i]);
}

bar_layout bar_layout_of(int x, int y, int width, int height) {
    bar_layout l = {};
    l.row_height = height / 3;
    l.swatch_width = height;
    l.swatch_height = 3 * l.row_height;
    l.bar_width = (width - height) / 2;
    l.left_x = x;
    l.swatch_x = x + l.bar_width;
    l.right_x = l.swatch_x + l.swatch_width;
    l.end_x = l.right_x + l.bar_width;
    l.third1_x = l.right_x + l.bar_width / 3;
    l.third2_x = l.right_x + l.bar_width * 2 / 3;
    l.row_y[0] = y + (height % 3 == 2 ? 1 : 0);
    for (int row = 1; row < 4; ++row)
        l.row_y[row] = l.row_y[row - 1] + l.row_height;
    return l;
}

int bar_left(const bar_layout* l, int bar) {
    return bar < BAR_HUE ? l->left_x : l->right_x;
}

int bar_top(const bar_layout* l, int bar) {
    return l->row_y[bar % 3];
}

int knob_left(const bar_layout* l, int bar, double number) {
    return bar_left(l, bar) + BAR_FRAME_LEFT + static_cast<int>((l->bar_width - KNOB_TRAVEL_LESS) * number);
}

int bar_at(const bar_layout* l, int x, int y, bool* on_swatch) {
    *on_swatch = false;
    if (y < l->row_y[0] || y >= l->row_y[3] || x < l->left_x || x >= l->end_x) return BAR_NONE;
    *on_swatch = x >= l->swatch_x && x < l->right_x;
    if (*on_swatch) return BAR_NONE;
    const int row = clamped((y - l->row_y[0]) / l->row_height, 0, 2);
    return x < l->swatch_x ? row : BAR_HUE + row;
}

double bar_number_at(const bar_layout* l, int bar, int* x) {
    int first = 0;
    int last = 0;
    span_of(l, bar, &first, &last);
    const int length = last - first;
    if (length <= 0) return 0.0;
    if (bar == BAR_HUE && (*x < first || *x > last)) *x = first + ((*x - first) % length + length) % length;
    *x = clamped(*x, first, last);
    return static_cast<double>(*x - first) / length;
}

void bar_color_set(bar_color* c, int bar, double number) {
    *number_of(c, bar) = number;
    if (bar < BAR_HUE)
        rgb_to_hsv(c);
    else
        hsv_to_rgb(c);
}

double bar_color_get(const bar_color* c, int bar) {
    bar_color copy = *c;
    return *number_of(&copy, bar);
}

bar_changes bar_state_set(bar_state* s, const bar_color* c) {
    bar_changes changes = {};
    for (int bar = BAR_RED; bar <= BAR_HUE; ++bar)
        changes.knobs[bar] = take_number(s, c, bar);
    changes.whiteness_ramp = draws_ramp(changes.knobs[BAR_HUE], s->live, &s->whiteness_ramp_due);
    changes.knobs[BAR_WHITENESS] = take_number(s, c, BAR_WHITENESS);
    const bool base_changed = changes.knobs[BAR_HUE] || changes.knobs[BAR_WHITENESS];
    changes.value_ramp = draws_ramp(base_changed, s->live, &s->value_ramp_due);
    changes.knobs[BAR_VALUE] = take_number(s, c, BAR_VALUE);
    // A ramp takes the knob on it away.
    if (changes.whiteness_ramp) changes.knobs[BAR_WHITENESS] = true;
    if (changes.value_ramp) changes.knobs[BAR_VALUE] = true;
    changes.swatch = changes.knobs[BAR_RED] || changes.knobs[BAR_GREEN] || changes.knobs[BAR_BLUE];
    return changes;
}
