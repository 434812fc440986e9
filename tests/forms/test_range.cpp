// Sliders, dials, bars and scroll bars: their numbers, their layout, and what mouse, keys and links do to them.
#include <cmath>
#include <random>

#include "common/values.h"
#include "forms/formshow.h"
#include "forms/range.h"
#include "forms/scroll.h"
#include "forms/show.h"
#include "forms_fixture.h"

namespace {

constexpr double TURN = 2 * 3.14159265358979323846;
constexpr int LABEL = 11;
constexpr uint32_t BETWEEN = 300; // milliseconds: a press that lasts so long is no click

class Range : public FormsFixture {
protected:
    // A gadget of the type alone on a form that is shown.
    FI_gadget* one(int type, fi_box box) {
        form = make({{type, LABEL, float(box.x1), float(box.y1), float(box.x2), float(box.y2), "text"}});
        FI_gadget* g = fi_find_gadget(form, LABEL);
        g->attr_mask = g->default_attr_mask = 0;
        FIg_set_continuous_routine(form, LABEL, step);
        FIf_display(form);
        return g;
    }
    FI_gadget* shown(FI_gadget* g) {
        FIg_activate(form, LABEL);
        FIf_display(form);
        return g;
    }
    FI_gadget* slider(bool horizontal, double low, double high, int decimals, uint8_t mask) {
        FI_gadget* g = one(FI_SLIDER, horizontal ? fi_box{20, 100, 320, 130} : fi_box{100, 20, 140, 260});
        auto* s = fi_as<fi_slider>(g);
        s->orientation = horizontal ? FI_HORIZONTAL : 0;
        s->low_value = low;
        s->high_value = high;
        s->field_width = 4;
        s->decimals = static_cast<uint8_t>(decimals);
        s->display_mask = mask;
        g->value = low;
        return shown(g);
    }
    FI_gadget* dial(int direction, double full, double zero) {
        FI_gadget* g = one(FI_DIAL, {50, 50, 200, 200});
        auto* d = fi_as<fi_dial>(g);
        d->direction = static_cast<int8_t>(direction);
        d->scale = static_cast<float>(full / TURN);
        d->zero_angle = static_cast<float>(zero);
        d->ticks = 12;
        d->display_mask = FI_SHOW_VALUE | FI_SHOW_HIGH;
        return shown(g);
    }
    FI_gadget* bar(bool horizontal, int length, double fraction, double high) {
        const fi_box box = horizontal ? fi_box{20, 100, 20 + length, 126} : fi_box{100, 20, 126, 20 + length};
        FI_gadget* g = one(FI_SCROLL, box);
        auto* s = fi_as<fi_scroll>(g);
        s->orientation = horizontal ? FI_HORIZONTAL : 0;
        fi_scroll_place(g, static_cast<float>(box.x1), static_cast<float>(box.y1), static_cast<float>(box.x2),
                        static_cast<float>(box.y2));
        s->view_fraction = fraction;
        s->high_value = high;
        return shown(g);
    }

    // What the continuous routine is told goes between brackets.
    static void step(int /*form*/, int /*label*/, double v, FI_form* f) {
        char text[40];
        std::snprintf(text, sizeof text, "[%g]", v);
        self->told += text;
        if (static_cast<Range*>(self)->on_step) static_cast<Range*>(self)->on_step(f);
    }
    std::function<void(FI_form*)> on_step;

    // Presses, moves and releases at these places of the form, with time between.
    void drag(const std::vector<std::pair<int, int>>& places, uint32_t between = BETWEEN) {
        int x1 = 0, y1 = 0, x2 = 0, y2 = 0;
        Inq_win_region(window_of(form), &x1, &y1, &x2, &y2);
        headless_advance(400);
        host_event event = {};
        event.button = HOST_LEFT;
        for (size_t i = 0; i < places.size(); ++i) {
            event.kind = host_event_kind::pointer;
            event.x = x1 + places[i].first;
            event.y = y1 + places[i].second;
            headless_post_later(&event, between);
            event.kind = host_event_kind::button;
            event.down = i == 0;
            if (i == 0 || i + 1 == places.size()) headless_post_later(&event, i == 0 ? 1 : between);
        }
        run();
    }
    FI_form* form = nullptr;
};

} // namespace

// ---- numbers --------------------------------------------------------------------------------------------------------

TEST_F(Range, Steps) {
    FI_gadget* g = slider(true, 0, 100, 0, 0);
    const struct {
        double increment;
        int decimals;
        double value, wanted;
    } rows[] = {
        {0.25, 2, 1.37, 1.25}, {1e-7, 0, 3.99, 3}, {0.25, 2, -1.37, -1.25},  {0.01, 2, 0.29, 0.29},
        {0.29, 2, 0.58, 0.58}, {0.1, 1, 0.3, 0.3}, {5, 0, 14.999999999, 15}, {5, 0, 14.99, 10},
        {1, 2, 7.25, 7},       {0.5, 0, 2.7, 2},   {1, 255, 0.1, 0.1},       {1, 0, 1e300, 1e300},
        {7, 0, -0.5, 0},
    };
    for (const auto& row : rows) {
        fi_as<fi_slider>(g)->increment = static_cast<float>(row.increment);
        fi_as<fi_slider>(g)->decimals = static_cast<uint8_t>(row.decimals);
        EXPECT_DOUBLE_EQ(fi_quantise(g, row.value), row.wanted) << row.value << " by " << row.increment;
    }
    const struct {
        int width, decimals;
        double value;
        const char* wanted;
    } texts[] = {
        {6, 2, 1.5, "1.50"}, {0, 0, -3.6, "-4"}, {15, 1, 0, "0.0"}, {3, 2, -0.001, "0.00"}, {255, 0, 12, "12"},
    };
    for (const auto& t : texts) {
        fi_as<fi_slider>(g)->field_width = static_cast<uint8_t>(t.width);
        fi_as<fi_slider>(g)->decimals = static_cast<uint8_t>(t.decimals);
        char text[FI_NUMBER_TEXT];
        fi_format_number(g, text, t.value);
        EXPECT_STREQ(text, t.wanted);
    }
    fi_as<fi_slider>(g)->decimals = 255;
    char text[FI_NUMBER_TEXT];
    fi_format_number(g, text, -1e308);
    EXPECT_EQ(std::strlen(text), 1U + 309 + 1 + 255);
    // Ranges of any size have a place for each value.
    EXPECT_EQ((values{fi_share(-1.7e308, 1.7e308, 0), fi_at_share(-1.7e308, 1.7e308, 0.5)}), (values{0.5, 0}));
    EXPECT_EQ((values{fi_at_share(5, 5, 0.5), fi_per_unit(100, 5, 5)}), (values{5, 0}));
    EXPECT_EQ(fi_per_unit(100, 0, 50), 2);
}

// A row is what is set, and what can be read afterwards.
TEST_F(Range, ValuesAreLimitedAndRounded) {
    const struct {
        const char* what;
        int type;
        double set, wanted;
    } rows[] = {
        {"a slider", FI_SLIDER, 12.345, 12.3},
        {"a slider beyond", FI_SLIDER, 99, 40},
        {"a slider below", FI_SLIDER, -99, -10},
        {"a dial", FI_DIAL, 12.345, 12.345},
        {"a dial beyond", FI_DIAL, 500, 360},
        {"a dial below", FI_DIAL, -3, 0},
        {"a bar", FI_BAR, 12.5, 12.5},
        {"a bar beyond", FI_BAR, 500, 100},
        {"a bar below", FI_BAR, -3, 0},
        {"a scroll bar", FI_SCROLL, 12.5, 12.5},
        {"a scroll bar beyond", FI_SCROLL, 101, 100},
        {"a scroll bar below", FI_SCROLL, -3, 0},
        {"a scroll bar to its end", FI_SCROLL, -1011, 100},
    };
    for (const auto& row : rows) {
        FI_gadget* g = nullptr;
        switch (row.type) {
        case FI_SLIDER: g = slider(true, -10, 40, 1, 7); break;
        case FI_DIAL: g = dial(-1, 360, 0); break;
        case FI_SCROLL: g = bar(true, 200, 0.2, 100); break;
        default:
            g = one(FI_BAR, {20, 100, 320, 130});
            fi_as<fi_bar>(g)->segments = 10;
            fi_as<fi_bar>(g)->high_value = 100;
        }
        EXPECT_EQ(FIg_set_value(form, LABEL, row.set), FI_SUCCESS);
        EXPECT_NEAR(value(form, LABEL), row.wanted, 1e-4) << row.what;
        // A new limit takes the value along.
        const double before = value(form, LABEL);
        EXPECT_EQ(FIg_set_high_value(form, LABEL, 11), FI_SUCCESS);
        EXPECT_NEAR(value(form, LABEL), std::min(before, 11.0), 1e-5) << row.what;
        EXPECT_EQ(FIg_set_low_value(form, LABEL, 5), FI_SUCCESS);
        EXPECT_NEAR(value(form, LABEL), std::clamp(before, 5.0, 11.0), 1e-5) << row.what;
        FIf_delete(form);
    }
    bar(true, 200, 0.2, 100);
    EXPECT_EQ(FIg_set_value(form, LABEL, -1012), FI_INVALID_ARGUMENT);
    EXPECT_EQ(FIg_set_value(form, LABEL, -1000.5), FI_INVALID_ARGUMENT);
}

// A reversed slider is known by the value on the other side of its range; its limits don't move what is seen.
TEST_F(Range, ReversedSliders) {
    FI_gadget* g = slider(true, -20, 100, 0, FI_REVERSED | FI_SHOW_LOW);
    FIg_set_value(form, LABEL, 30);
    EXPECT_EQ((values{g->value, value(form, LABEL), fi_as<fi_slider>(g)->low_text}), (values{50, 30, "100"}));
    EXPECT_STREQ(fi_as<fi_slider>(g)->high_text, "-20");
    FIg_set_high_value(form, LABEL, 60);
    EXPECT_EQ(value(form, LABEL), 30);
    FIg_set_low_value(form, LABEL, 40);
    EXPECT_EQ((values{value(form, LABEL), g->value}), (values{40, 60}));
    FIg_set_low_value(form, LABEL, -1e300); // longer than its place
    EXPECT_STREQ(fi_as<fi_slider>(g)->high_text, "-1e+300");
    FIg_new(form, FI_TEXT, 12);
    g->link_label = 12;
    FIg_set_low_value(form, LABEL, 0);
    FIg_set_value(form, LABEL, 25);
    EXPECT_STREQ(fi_find_gadget(form, 12)->text, "25");
    FIg_reset(form, LABEL);
    EXPECT_EQ(take_told(), "[25]"); // it is told what is left
}

// ---- layout ---------------------------------------------------------------------------------------------------------

TEST_F(Range, SliderLayout) {
    for (const bool horizontal : {true, false}) {
        FI_gadget* g = slider(horizontal, -100, 5, 1, 7);
        const auto* s = fi_as<fi_slider>(g);
        const int size = g->char_height;
        const int widest = std::max(s->low_text_width, s->high_text_width);
        EXPECT_EQ(s->low_margin, (horizontal ? s->low_text_width : size) + 6);
        EXPECT_EQ(s->high_margin, (horizontal ? s->high_text_width : size) + 6);
        EXPECT_EQ(s->thumb_size, std::max((horizontal ? widest : size) + 18, 20));
        EXPECT_EQ(s->track_length, float((horizontal ? 300 : 240) - s->thumb_size - s->low_margin - s->high_margin));
        EXPECT_EQ((values{s->track_center, s->low_text}), (values{(horizontal ? 30 : 40) / 2 - 5, "-100.0"}));
        // The thumb stands at the start and at the end of its way.
        EXPECT_EQ(horizontal ? s->thumb_x : s->thumb_y, horizontal ? 20 + s->low_margin : 260 - s->low_margin);
        FIg_set_value(form, LABEL, 5);
        EXPECT_EQ(horizontal ? s->thumb_x + s->thumb_size : s->thumb_y - s->thumb_size,
                  horizontal ? 320 - s->high_margin : 20 + s->high_margin);
        FIf_delete(form);
    }
    FI_gadget* g = slider(true, 0, 10, 0, 7); // too short for a track: it can be shown, and keeps its value
    g->x2 = g->x1 + 20;
    g->value = 5;
    FIg_activate(form, LABEL);
    FIf_display(form);
    drag({{25, 110}, {30, 110}});
    EXPECT_EQ(value(form, LABEL), 5);
}

// Which parts a bar of a length has; they lie in the bar and apart from each other.
TEST_F(Range, ScrollBarParts) {
    const struct {
        int length;
        bool thumb, pages;
    } rows[] = {{400, true, true},  {100, true, true},  {99, false, true}, {62, false, true},
                {61, false, false}, {34, false, false}, {27, false, false}};
    for (const auto& row : rows)
        for (const bool horizontal : {true, false}) {
            FI_gadget* g = bar(horizontal, row.length, 0.02, 50);
            const auto* s = fi_as<fi_scroll>(g);
            const auto shown = [](const FI_gadget* part) { return !fi_has(part, FI_NOT_DISPLAYED); };
            EXPECT_EQ(shown(s->thumb), row.thumb) << row.length;
            EXPECT_EQ(shown(s->arrows[0]), row.pages) << row.length;
            EXPECT_EQ(shown(s->arrows[3]), row.pages) << row.length;
            EXPECT_TRUE(shown(s->arrows[1]) && shown(s->arrows[2]));
            int last = 20 + 3;
            fi_each_part(g, [&](FI_gadget* part) {
                if (!shown(part)) return;
                const fi_box b = fi_rect_of(part);
                EXPECT_GT(horizontal ? b.x1 : b.y1, last) << row.length;
                last = horizontal ? b.x2 : b.y2;
                EXPECT_EQ((values{horizontal ? b.y1 : b.x1, horizontal ? b.y2 : b.x2}), (values{104, 122}));
            });
            EXPECT_LE(last, 20 + row.length - 4) << row.length;
            if (row.thumb) {
                EXPECT_EQ(horizontal ? s->thumb->x2 - s->thumb->x1 : s->thumb->y2 - s->thumb->y1, 11); // the least
                EXPECT_FLOAT_EQ(s->pixels_per_unit, static_cast<float>(row.length - 60 - 11) / 50);
            }
            // Shifted, scaled, disabled and highlighted it takes its parts along.
            FIf_set_size(form, 800, 600);
            fi_shift_gadget(g, 7, 9);
            fi_hilite_gadget(g);
            FIg_disable(form, LABEL);
            const fi_box whole = fi_rect_of(g);
            fi_each_part(g, [&](FI_gadget* part) {
                const fi_box b = fi_rect_of(part);
                if (shown(part)) {
                    EXPECT_TRUE(b.x1 > whole.x1 && b.y1 > whole.y1 && b.x2 < whole.x2 && b.y2 < whole.y2);
                }
                EXPECT_TRUE(fi_has(part, FI_NOT_ENABLED) && fi_has(part, FI_HILITED));
            });
            FIf_delete(form);
        }
    // A wide stub has its arrows side by side.
    FI_gadget* g = one(FI_SCROLL, {100, 20, 150, 50});
    g->orig_height = 30;
    FIf_display(form);
    const auto* s = fi_as<fi_scroll>(g);
    EXPECT_EQ(g->x2, 148);
    EXPECT_EQ(s->arrows[1]->y1, s->arrows[2]->y1);
    EXPECT_EQ((values{s->arrows[2]->x2, s->arrows[2]->x2 - s->arrows[2]->x1}), (values{144, 18}));
    EXPECT_EQ(s->arrows[2]->x1 - s->arrows[1]->x2, 2);
    EXPECT_TRUE(fi_has(s->arrows[0], FI_NOT_DISPLAYED));
}

TEST_F(Range, LitSegments) {
    const struct {
        float segments;
        double high, value;
        int lit;
    } rows[] = {{10, 100, 0, 0},   {10, 100, 9.9, 0},  {10, 100, 10, 1},    {10, 100, 30, 3}, {10, 100, 89.9, 8},
                {10, 100, 90, 10}, {10, 100, 100, 10}, {1, 5, 0.1, 1},      {0, 5, 3, 0},     {10, 0, 3, 0},
                {10, -5, 3, 0},    {10, 0.7, 0.21, 3}, {1e30F, 1, 1, 32767}};
    FI_gadget* g = one(FI_BAR, {20, 100, 320, 130});
    for (const auto& row : rows) {
        fi_as<fi_bar>(g)->segments = row.segments;
        fi_as<fi_bar>(g)->high_value = row.high;
        FIg_set_value(form, LABEL, row.value);
        EXPECT_EQ(fi_as<fi_bar>(g)->lit_segments, row.lit) << row.value << " of " << row.high;
    }
}

// ---- commands -------------------------------------------------------------------------------------------------------

TEST_F(Range, ScrollCommands) {
    const struct {
        double fraction, from;
        int command;
        double wanted;
    } rows[] = {
        {0.2, 50, -1000, 0},   {0.2, 50, -1001, 25},  {0.2, 50, -1002, 49},   {0.2, 50, -1003, 51},
        {0.2, 50, -1004, 75},  {0.2, 50, -1005, 100}, {0.2, 50, -1006, 0},    {0.2, 50, -1007, 25},
        {0.2, 50, -1008, 49},  {0.2, 50, -1009, 51},  {0.2, 50, -1010, 75},   {0.2, 50, -1011, 100},
        {0.2, 90, -1004, 100}, {0.2, 10, -1001, 0},   {0.2, 100, -1003, 100}, {0.2, 0, -1002, 0},
        {1.0, 50, -1001, 0},   {1.0, 50, -1004, 100}, {0.5, 50, -1004, 100},  {0, 50, -1004, 51},
    };
    for (const auto& row : rows) {
        FI_gadget* g = bar(false, 200, row.fraction, 100);
        FIg_set_value(form, LABEL, row.from);
        EXPECT_EQ(fi_scroll_set(g, row.command), FI_SUCCESS);
        EXPECT_DOUBLE_EQ(g->value, row.wanted) << row.command << " at " << row.from << ", seen " << row.fraction;
        FIf_delete(form);
    }
    FI_gadget* g = bar(false, 200, 0.2, 0); // an empty range
    for (int command = -1011; command <= -1000; ++command)
        fi_scroll_set(g, command);
    EXPECT_EQ((values{g->value, fi_as<fi_scroll>(g)->pixels_per_unit}), (values{0, 0}));
    EXPECT_EQ(fi_as<fi_scroll>(g)->thumb->y1, 24);
}

// ---- the mouse ------------------------------------------------------------------------------------------------------

// Where a slider of 0 to 100 is dragged to, and what is told: each new number once, and at the end the value.
TEST_F(Range, SlidersAreDragged) {
    FI_gadget* g = slider(true, 0, 100, 0, 7);
    const auto* s = fi_as<fi_slider>(g);
    const auto place = [&](double share) {
        return 20 + s->low_margin + s->thumb_size / 2 + int(std::ceil(share * double(s->track_length)));
    };
    FIg_set_increment(form, LABEL, 10);
    drag({{place(0.2), 110}, {place(0.5), 110}, {place(0.5), 120}, {place(0.51), 120}, {place(0.8), 140}});
    EXPECT_EQ(take_told(), "[20][50][80]1.11=80 ");
    EXPECT_EQ(g->value, 80);
    // Beyond the ends, but within reach, it is the end; out of reach the value from before; and in again.
    drag({{place(0.3), 110}, {10, 110}});
    EXPECT_EQ(take_told(), "[30][0]1.11=0 ");
    drag({{place(0.3), 110}, {place(0.4), 180}, {place(0.6), 110}, {place(0.6), 180}});
    EXPECT_EQ(take_told(), "[30][0][60][0]1.11=0 ");
    EXPECT_EQ(g->value, 0);
    click(form, place(0.7), 110); // a click has one round
    EXPECT_EQ(take_told(), "[70]1.11=70 ");
    FIg_disable(form, LABEL);
    drag({{place(0.3), 110}, {place(0.5), 110}});
    EXPECT_EQ(take_told(), "");
    FIf_delete(form);
    // Upwards, and turned round for the application.
    g = slider(false, 0, 100, 0, 7 | FI_REVERSED);
    s = fi_as<fi_slider>(g);
    FIg_set_increment(form, LABEL, 10);
    const auto height = [&](double share) {
        return 260 - s->low_margin - s->thumb_size / 2 - int(std::ceil(share * double(s->track_length)));
    };
    drag({{120, height(0.2)}, {120, height(0.7)}});
    EXPECT_EQ(take_told(), "[80][30]1.11=30 ");
    EXPECT_EQ((values{g->value, value(form, LABEL)}), (values{70, 30}));
}

TEST_F(Range, DialsAreTurned) {
    const struct {
        int direction;
        double zero;
        const char* told;
    } rows[] = {
        // from the right upwards, to the left, and down
        {1, 0, "[0][90][180][270]1.11=270 "},
        {-1, 0, "[0][270][180][90]1.11=90 "},
        {-1, TURN / 4, "[90][0][270][180]1.11=180 "},
    };
    for (const auto& row : rows) {
        dial(row.direction, 360, row.zero);
        FIg_set_value(form, LABEL, 33);
        drag({{180, 125}, {125, 70}, {70, 125}, {125, 180}});
        EXPECT_EQ(take_told(), row.told);
        FIf_delete(form);
    }
    FI_gadget* g = dial(1, 360, 0);
    g->value = 1e300; // as a file may have it: the needle stands at the end of its range
    fi_as<fi_dial>(g)->scale = 1e-38F;
    FIf_display(form);
    EXPECT_FLOAT_EQ(fi_as<fi_dial>(g)->needle_angle, static_cast<float>(TURN));
    FIg_set_high_value(form, LABEL, 360);
    FIg_set_value(form, LABEL, 33);
    drag({{180, 125}, {125, 125}, {399, 125}}); // the middle says nothing; out of reach it is the value from before
    EXPECT_EQ(take_told(), "[0][33]1.11=33 ");
    // While it turns, whole numbers travel along the link; then what it is.
    fi_as<fi_dial>(g)->decimals = 1;
    FIg_set_increment(form, LABEL, 0.5);
    FIg_new(form, FI_TEXT, 12);
    g->link_label = 12;
    std::string texts;
    FI_set_graphic_env(53, nullptr);
    on_step = [&](FI_form* f) { texts += std::string(fi_find_gadget(f, 12)->text) + " "; };
    drag({{180, 125}, {190, 100}, {190, 70}});
    EXPECT_EQ(texts, " 0.0 21.0 ");
    EXPECT_EQ(take_told(), "[0][21][40]1.11=40 ");
    EXPECT_STREQ(fi_find_gadget(form, 12)->text, "40.0");
}

TEST_F(Range, ScrollBarsAreDragged) {
    FI_gadget* g = bar(true, 360, 0.2, 100); // the slide is 300 long, the thumb 60, its way 240
    const auto* s = fi_as<fi_scroll>(g);
    const int start = s->slide_x1;
    ASSERT_EQ(s->thumb->x2 - s->thumb->x1, 60);
    ASSERT_EQ(s->slide_x2 - start, 300);
    drag({{start + 10, 110}, {start + 34, 110}, {start + 34, 115}, {start + 130, 300}}); // sideways doesn't matter
    EXPECT_EQ(take_told(), "[10][50]1.11=50 ");
    EXPECT_EQ(s->thumb->x1, start + 120);
    drag({{start + 130, 110}, {start + 900, 110}, {start - 50, 110}});
    EXPECT_EQ(take_told(), "[-1011][-1006]1.11=0 ");
    click(form, start + 180, 110); // on the trough: the thumb's middle goes there
    EXPECT_EQ(take_told(), "[62.5]1.11=62 ");
    click(form, start + 295, 110);
    EXPECT_EQ(take_told(), "[-1011]1.11=100 ");
    for (const int arrow : {0, 1, 2, 3}) {
        click(form, int(s->arrows[arrow]->x1) + 4, 110);
    }
    EXPECT_EQ(take_told(), "[-1007]1.11=75 [-1008]1.11=74 [-1009]1.11=75 [-1010]1.11=100 ");
    for (const FI_gadget* arrow : s->arrows)
        EXPECT_EQ(arrow->value, 0);
}

// An arrow steps at once, waits half a second, and then steps each tick.
TEST_F(Range, ArrowsRepeat) {
    FI_gadget* g = bar(false, 250, 0.02, 1000);
    const auto* s = fi_as<fi_scroll>(g);
    const int y = int(s->arrows[2]->y1) + 4;
    int steps = 0;
    on_step = [&](FI_form*) { ++steps; };
    drag({{110, y}, {110, y}}, 225); // held for 450 milliseconds
    EXPECT_EQ(steps, 1);
    steps = 0;
    drag({{110, y}, {110, y}}, 500); // for 1000: known as a press after 210, and after 500 more one each 16
    constexpr int ticks = (1000 - 210 - 500) / 16;
    EXPECT_NEAR(steps, 1 + 1 + ticks, 1);
    EXPECT_NE(enabled_events & TIMER_EVENT, 0U);
    on_step = nullptr;
    // A release that waits already ends it, however long the step took.
    steps = 0;
    on_step = [&](FI_form*) {
        ++steps;
        headless_advance(2000);
    };
    drag({{110, y}, {110, y}}, 300);
    EXPECT_LE(steps, 2);
}

// ---- the keyboard ---------------------------------------------------------------------------------------------------

TEST_F(Range, Keys) {
    const auto up = host_key::up, down = host_key::down, left = host_key::left, right = host_key::right;
    const std::vector<host_key> arrows = {up, down, left, right};
    const struct {
        const char* what;
        std::function<void()> shown;
        double from;
        std::vector<host_key> keys;
        std::vector<double> after;
    } rows[] = {
        {"a vertical slider", [this] { slider(false, 0, 100, 1, 0); }, 50, arrows, {51, 50, 49.9, 50}},
        {"a horizontal slider", [this] { slider(true, 0, 100, 1, 0); }, 50, arrows, {50.1, 50, 49, 50}},
        {"a reversed slider", [this] { slider(true, 0, 60, 1, FI_REVERSED); }, 50, {right, left, up}, {51, 50, 50.1}},
        {"a slider of whole numbers", [this] { slider(true, 0, 100, 0, 0); }, 50, {up, down, right}, {50, 50, 51}},
        {"a slider at its end", [this] { slider(true, 0, 50.5, 1, 0); }, 50, {right, right, left}, {50.5, 50.5, 49.5}},
        {"a dial", [this] { dial(1, 360, 0); }, 50, {left, right, right}, {51, 50, 49}},
        {"a dial the other way", [this] { dial(-1, 360, 0); }, 50, {left, right, right}, {49, 50, 51}},
        {"a vertical scroll bar", [this] { bar(false, 200, 0.2, 100); }, 50, arrows, {49, 50, 25, 50}},
        {"one to its ends", [this] { bar(false, 200, 0.2, 100); }, 50, {host_key::home, host_key::end}, {0, 100}},
        {"a horizontal scroll bar",
         [this] { bar(true, 200, 0.2, 100); },
         50,
         {left, right, up, down},
         {49, 50, 25, 50}},
    };
    for (const auto& row : rows) {
        row.shown();
        FIg_set_continuous_routine(form, LABEL, nullptr);
        FIg_set_value(form, LABEL, row.from);
        FIg_start_seq(form, LABEL);
        std::vector<double> seen;
        for (const host_key code : row.keys) {
            script.emplace_back([=, this] { key(code); });
            script.emplace_back([&, this] {
                seen.push_back(value(form, LABEL));
                headless_post_nothing();
            });
        }
        run();
        ASSERT_EQ(seen.size(), row.after.size()) << row.what;
        for (size_t i = 0; i < seen.size(); ++i)
            EXPECT_NEAR(seen[i], row.after[i], 1e-5) << row.what << ", key " << i;
        EXPECT_NE(take_told(), "") << row.what; // as a completed gadget
        FIf_delete(form);
    }
    // Digits count when Tab, Return or Enter comes.
    slider(true, -100, 100, 1, 0);
    FIg_start_seq(form, LABEL);
    script = {[] { headless_type("-12.57"); },  [this] { key(host_key::backspace); },
              [this] { key(host_key::enter); }, [this] { FIg_start_seq(form, LABEL); },
              [] { headless_type("--x"); }, // no number
              [this] { key(host_key::tab); }};
    run();
    EXPECT_EQ(value(form, LABEL), -12.5);
    EXPECT_EQ(take_told(), "1.11=-12 ");
}

// ---- drawing --------------------------------------------------------------------------------------------------------

// However a value came, by mouse or by a call, the gadget looks as if it had been drawn anew.
TEST_F(Range, WhatMovesLooksAsDrawnAnew) {
    for (const int planes : DEPTHS) {
        start(planes);
        std::mt19937 random(3);
        for (int kind = 0; kind < 8; ++kind) {
            const bool horizontal = kind % 2 == 0;
            if (kind < 2) slider(horizontal, 0, 100, 0, 7);
            if (kind == 2 || kind == 3) bar(horizontal, 220, 0.3, 100);
            if (kind == 4 || kind == 5) dial(1, 100, 1)->erase_color = kind == 4 ? -1 : FI_WHITE;
            if (kind == 5) fi_as<fi_dial>(fi_find_gadget(form, LABEL))->border_style = 1;
            if (kind >= 6) {
                auto* b =
                    fi_as<fi_bar>(one(FI_BAR, horizontal ? fi_box{20, 100, 320, 130} : fi_box{100, 20, 120, 260}));
                b->orientation = horizontal ? FI_HORIZONTAL : 0;
                b->segments = 33;
                b->high_value = 100;
            }
            fi_draw_form(form);
            for (int i = 0; i < 10; ++i) {
                FIg_set_value(form, LABEL, static_cast<double>(random() % 101));
                const int x = 20 + static_cast<int>(random() % 280), y = 20 + static_cast<int>(random() % 200);
                if (i >= 5) drag({{x, y}, {x - 20, y + 11}, {x + 31, y + 3}});
                const std::vector<uint8_t> seen = picture(form);
                fi_draw_form(form);
                ASSERT_EQ(difference(form, seen, picture(form)), "") << planes << " planes, kind " << kind << ", " << i;
            }
            FIf_delete(form);
        }
    }
}

// ---- private bars ---------------------------------------------------------------------------------------------------

TEST_F(Range, PrivateBars) {
    form = make({{FI_BUTTON, LABEL, 20, 20, 60, 50, "b"}});
    FIf_display(form);
    FI_gadget* owner = fi_find_gadget(form, LABEL);
    FI_gadget* private_bar = nullptr;
    ASSERT_EQ(fi_scroll_new(owner, fi_next_private_label(form), false, &private_bar), FI_SUCCESS);
    fi_scroll_place(private_bar, 100, 20, 126, 220);
    fi_activate_gadget(private_bar);
    fi_scroll_set_view(private_bar, 0.25, 30, 10);
    fi_display_gadget(private_bar, window_of(form));
    const auto* s = fi_as<fi_scroll>(private_bar);
    constexpr int third = (140 - 35) / 3;
    EXPECT_EQ(s->thumb->y1, static_cast<float>(s->slide_y1 + third));
    fi_scroll_set_view(private_bar, 0.25, 30, 99);
    EXPECT_EQ(private_bar->value, 30);
    const std::vector<uint8_t> seen = picture(form);
    fi_display_gadget(private_bar, window_of(form));
    EXPECT_EQ(difference(form, seen, picture(form)), "");
    s->thumb->value = 0;
    bool complete = true;
    double v = -1;
    fi_as<fi_scroll>(private_bar)->continuous_routine = step;
    fi_ops(private_bar).press(private_bar, window_of(form), 110, int(s->arrows[1]->y1) + 3, TRANS_CLICK, &complete, &v);
    EXPECT_FALSE(complete);
    EXPECT_EQ(v, 29);
    EXPECT_EQ(take_told(), "[-1002]");
    for (const auto& [number, command] : {std::pair{5.0, FI_SCROLL_NONE},
                                          {-1000.0, FI_SCROLL_TO_LOW},
                                          {-1007.0, FI_SCROLL_PAGE_BACK},
                                          {-1011.0, FI_SCROLL_TO_HIGH},
                                          {-1012.0, FI_SCROLL_NONE},
                                          {-1002.5, FI_SCROLL_NONE}})
        EXPECT_EQ(fi_scroll_command(number), command) << number;
    fi_free_gadget(private_bar, true);
}
