// The colour model, the ramps, where presses lead, and what has to be drawn.
#include <random>

#include <gtest/gtest.h>

#include "common/values.h"
#include "surface/colorbars.h"

namespace {

bar_color of_rgb(double r, double g, double b) {
    bar_color c = {r, g, b, 0, 0, 0};
    rgb_to_hsv(&c);
    return c;
}

} // namespace

TEST(ColorBars, BothSidesSayTheSameColour) {
    const struct {
        double r, g, b, hue, whiteness, value;
    } cases[] = {
        {1, 0, 0, 0, 0, 1},   {0, 1, 0, 1.0 / 3, 0, 1},       {0, 0, 1, 2.0 / 3, 0, 1},   {1, 1, 1, 0, 1, 1},
        {0, 0, 0, 0, 0, 0},   {0.5, 0.5, 0, 1.0 / 6, 0, 0.5}, {0.4, 0.4, 0.4, 0, 1, 0.4}, {1, 0.5, 0.5, 0, 0.5, 1},
        {0, 1, 1, 0.5, 0, 1}, {0.5, 0, 0.5, 2.5 / 3, 0, 0.5},
    };
    for (const auto& c : cases) {
        const bar_color got = of_rgb(c.r, c.g, c.b);
        EXPECT_NEAR(got.hue, c.hue, 1e-12);
        EXPECT_NEAR(got.whiteness, c.whiteness, 1e-12);
        EXPECT_NEAR(got.value, c.value, 1e-12);
    }
    std::mt19937 random(1);
    std::uniform_real_distribution<double> any(0.0, 1.0);
    for (int i = 0; i < 2000; ++i) {
        const bar_color before = of_rgb(any(random), any(random), any(random));
        bar_color after = before;
        hsv_to_rgb(&after);
        EXPECT_NEAR(after.red, before.red, 1e-9);
        EXPECT_NEAR(after.green, before.green, 1e-9);
        EXPECT_NEAR(after.blue, before.blue, 1e-9);
    }
    bar_color grey = of_rgb(0.5, 0.5, 0.5);
    bar_color_set(&grey, BAR_VALUE, 0.25);
    EXPECT_EQ(grey.red, 0.25);
    EXPECT_EQ(grey.green, grey.blue);
}

TEST(ColorBars, RampsRunFromEndToEnd) {
    uint8_t r[RAMP_PIXELS], g[RAMP_PIXELS], b[RAMP_PIXELS];
    ramp_line({0, 1, 0.5}, {1, 0, 0.5}, 256, false, r, g, b);
    for (int i = 0; i < 256; ++i) {
        EXPECT_NEAR(r[i], i, 1);
        EXPECT_NEAR(g[i], 255 - i, 1);
        EXPECT_EQ(b[i], 127);
    }
    ramp_line({1, 0, 0}, {0, 1, 0}, 100, true, r, g, b);
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(std::max(r[i], g[i]), 255);
    EXPECT_EQ(b[50], 0);
    ramp_line({1, 1, 1}, {1, 1, 1}, 1, true, r, g, b);
    EXPECT_EQ(r[0], 255);
}

TEST(ColorBars, APressHitsABarAndGivesItsNumber) {
    const bar_layout l = bar_layout_of(10, 20, 331, 31);
    EXPECT_EQ((values{l.row_height, l.bar_width, l.swatch_x, l.right_x, l.end_x}), (values{10, 150, 160, 191, 341}));
    bool on_swatch = false;
    const struct {
        int x, y, bar;
        bool on_swatch;
    } cases[] = {{10, 20, BAR_RED, false},  {159, 35, BAR_GREEN, false},     {50, 49, BAR_BLUE, false},
                 {191, 20, BAR_HUE, false}, {340, 30, BAR_WHITENESS, false}, {200, 49, BAR_VALUE, false},
                 {170, 30, BAR_NONE, true}, {50, 19, BAR_NONE, false},       {50, 50, BAR_NONE, false},
                 {9, 30, BAR_NONE, false},  {341, 30, BAR_NONE, false}};
    for (const auto& c : cases) {
        EXPECT_EQ(bar_at(&l, c.x, c.y, &on_swatch), c.bar) << c.x << "," << c.y;
        EXPECT_EQ(on_swatch, c.on_swatch);
    }
    int x = -100;
    EXPECT_EQ(bar_number_at(&l, BAR_RED, &x), 0.0);
    x = 1000;
    EXPECT_EQ(bar_number_at(&l, BAR_RED, &x), 1.0);
    // The hue goes round.
    const int first = l.right_x + 2;
    x = first - 10;
    EXPECT_NEAR(bar_number_at(&l, BAR_HUE, &x), 135.0 / 145.0, 1e-9);
    EXPECT_EQ(x, first + 135);
    x = first + 145 + 10;
    EXPECT_NEAR(bar_number_at(&l, BAR_HUE, &x), 10.0 / 145.0, 1e-9);
    EXPECT_EQ(knob_left(&l, BAR_VALUE, 1.0), l.right_x + 2 + 143);
}

TEST(ColorBars, OnlyWhatIsSeenIsDrawn) {
    bar_state s = {{-1, -1, -1, -1, -1, -1}, true, false, false};
    bar_color c = of_rgb(1, 0, 0);
    bar_changes d = bar_state_set(&s, &c);
    for (const bool knob : d.knobs)
        EXPECT_TRUE(knob);
    EXPECT_TRUE(d.whiteness_ramp && d.value_ramp && d.swatch);
    bar_color_set(&c, BAR_GREEN, 0.003); // less than a byte
    d = bar_state_set(&s, &c);
    EXPECT_FALSE(d.swatch || d.value_ramp || d.knobs[BAR_GREEN]);
    // A drag owes the costly ramps until it ends.
    s.live = false;
    bar_color_set(&c, BAR_HUE, 0.5);
    d = bar_state_set(&s, &c);
    EXPECT_TRUE(d.knobs[BAR_HUE] && d.knobs[BAR_RED] && d.swatch);
    EXPECT_FALSE(d.whiteness_ramp || d.value_ramp || d.knobs[BAR_VALUE]);
    s.live = true;
    d = bar_state_set(&s, &c);
    EXPECT_TRUE(d.whiteness_ramp && d.value_ramp && d.knobs[BAR_WHITENESS] && d.knobs[BAR_VALUE]);
    EXPECT_FALSE(d.knobs[BAR_HUE] || d.swatch);
    d = bar_state_set(&s, &c);
    EXPECT_FALSE(d.whiteness_ramp || d.value_ramp);
}
