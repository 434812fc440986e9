// The arithmetic of the colour bars: six numbers of one colour (red, green, blue; hue, whiteness, value), where bars,
// knobs and ramps stand, and what has to be drawn when numbers change. No display.
//
// All numbers are 0.0 to 1.0. Hue runs from red at 0 over green at 1/3 and blue at 2/3 back to red at 1; whiteness is 0
// for a pure colour and 1 for a grey.
#pragma once

#include <cstdint>

struct bar_color {
    double red, green, blue;
    double hue, whiteness, value;
};

// Sets the other three numbers from red, green and blue, or from hue, whiteness and value.
void rgb_to_hsv(bar_color* c);
void hsv_to_rgb(bar_color* c);

// ---- ramps
// -----------------------------------------------------------------------------------------------------------

struct bar_rgb {
    double red, green, blue;
};
constexpr int RAMP_PIXELS = 1024; // the longest ramp

// Writes `count` (at most RAMP_PIXELS) pixels of a ramp, one byte a channel, to three lines. Saturated: each pixel is
// pushed to full brightness, as the bar of hues has them.
void ramp_line(bar_rgb first, bar_rgb last, int count, bool is_saturated, uint8_t* red, uint8_t* green, uint8_t* blue);

// ---- the layout
// ------------------------------------------------------------------------------------------------------

enum bar_number : int { BAR_RED, BAR_GREEN, BAR_BLUE, BAR_HUE, BAR_WHITENESS, BAR_VALUE, BAR_COUNT, BAR_NONE = -1 };
constexpr int KNOB_WIDTH = 5;

struct bar_layout {
    int row_height, bar_width;
    int swatch_width, swatch_height;
    int left_x, swatch_x, right_x, third1_x, third2_x, end_x;
    int row_y[4]; // the tops of the three rows, and the bottom
};

// The height is best a multiple of 3 plus 1.
bar_layout bar_layout_of(int x, int y, int width, int height);

// The bar's left column, and the row's top.
int bar_left(const bar_layout* l, int bar);
int bar_top(const bar_layout* l, int bar);

// The knob's left column for a number.
int knob_left(const bar_layout* l, int bar, double number);

// What a press hits: a bar, or BAR_NONE; `on_swatch` is set on the colour between the bars.
int bar_at(const bar_layout* l, int x, int y, bool* on_swatch);

// The number for a column. On the bar of hues a column beyond an end comes in at the other; *x is moved there. On the
// others the end holds.
double bar_number_at(const bar_layout* l, int bar, int* x);

// The colour with that number in one of its bars, and the other side worked out.
void bar_color_set(bar_color* c, int bar, double number);
double bar_color_get(const bar_color* c, int bar);

// ---- what changes
// ----------------------------------------------------------------------------------------------------

constexpr double BAR_TOLERANCE = 0.00392156862745098; // 1/255: less can't be seen on a ramp of bytes

struct bar_state {
    bar_color shown; // -1.0 in a number: its bar hasn't been drawn
    bool live;       // ramps that depend on a changed bar are drawn at once, and not when a drag ends
    bool whiteness_ramp_due, value_ramp_due;
};

// What bar_state_set() asks to be drawn, in this order.
struct bar_changes {
    bool knobs[BAR_COUNT]; // those of red, green, blue and hue come first
    bool whiteness_ramp;   // before the knob of whiteness
    bool value_ramp;       // before the knob of value
    bool swatch;           // last
};

bar_changes bar_state_set(bar_state* s, const bar_color* c);
