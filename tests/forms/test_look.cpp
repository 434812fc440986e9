// How gadgets look: rules that hold for every type, tried on the forms of the gallery at each depth, and edges.
#include <cmath>
#include <random>

#include "forms/edges.h"
#include "forms/env.h"
#include "forms/formshow.h"
#include "forms/show.h"
#include "forms_fixture.h"

namespace {

// Forms that show all types, in all states, and nothing over another.
constexpr const char* PAGES[] = {"g_button.frm", "g_toggle.frm",    "g_check.frm", "g_text.frm", "g_static.frm",
                                 "g_group.frm",  "g_slider.frm",    "g_dial.frm",  "g_bar.frm",  "g_scroll.frm",
                                 "g_field.frm",  "g_fieldlist.frm", "g_mcf.frm"};

class Look : public FormsFixture {
protected:
    // Shows a page on a screen of that depth.
    FI_form* show(const char* page, int planes) {
        start(planes);
        FI_form* form = load(page);
        EXPECT_EQ(FIf_display(form), FI_SUCCESS);
        return form;
    }
    template <typename F> static void each_gadget(FI_group* group, F act) {
        fi_each_member(group, [&](FI_gadget* g) {
            if (g->type == FI_GROUP)
                each_gadget(fi_as_group(g), act);
            else
                act(g);
        });
    }
    static void scribble(FI_form* form, fi_box area) {
        fgcolor(window_of(form), 8);
        rectf(window_of(form), area.x1, area.y1, area.x2, area.y2);
    }
};

} // namespace

TEST_F(Look, AnAreaIsDrawnAsTheWhole) {
    for (const int planes : DEPTHS)
        for (const char* page : PAGES) {
            FI_form* form = show(page, planes);
            const std::vector<uint8_t> whole = picture(form);
            std::mt19937 random(7);
            for (int i = 0; i < 12; ++i) {
                const int x = static_cast<int>(random() % static_cast<unsigned>(fi_form_width(form)));
                const int y = static_cast<int>(random() % static_cast<unsigned>(fi_form_height(form)));
                const fi_box area = {x, y, x + static_cast<int>(random() % 90), y + static_cast<int>(random() % 60)};
                scribble(form, area);
                fi_redraw_area(form, area.x1, area.y1, area.x2, area.y2);
                ASSERT_EQ(difference(form, picture(form), whole), "")
                    << page << " on " << planes << " planes, area " << area.x1 << "," << area.y1 << " to " << area.x2
                    << "," << area.y2;
            }
        }
}

// What is erased has left nothing, as if it had never been drawn, and comes back as it was.
TEST_F(Look, ErasedGadgetsLeaveNothing) {
    for (const char* page : PAGES) {
        FI_form* form = show(page, 8);
        const std::vector<uint8_t> whole = picture(form);
        std::vector<int> labels;
        each_gadget(form->root_group, [&](FI_gadget* g) { labels.push_back(g->label); });
        for (const int label : labels) {
            ASSERT_EQ(FIg_erase(form, label), FI_SUCCESS);
            const std::vector<uint8_t> erased = picture(form);
            fi_draw_form(form);
            ASSERT_EQ(difference(form, erased, picture(form)), "") << page << ", gadget " << label;
            ASSERT_EQ(FIg_display(form, label), FI_SUCCESS);
            ASSERT_EQ(difference(form, picture(form), whole), "") << page << ", gadget " << label;
        }
    }
}

// Highlighting, disabling and setting change the look, and taking that back brings the same pixels.
TEST_F(Look, EveryChangeOfStateIsUndone) {
    using change = void (*)(FI_form*, FI_gadget*);
    const struct {
        change there, back;
    } changes[] = {
        {[](FI_form*, FI_gadget* g) { fi_hilite_gadget(g); }, [](FI_form*, FI_gadget* g) { fi_unhilite_gadget(g); }},
        {[](FI_form* f, FI_gadget* g) { FIg_disable(f, g->label); },
         [](FI_form* f, FI_gadget* g) { FIg_enable(f, g->label); }}};
    for (const char* page : PAGES) {
        FI_form* form = show(page, 24);
        each_gadget(form->root_group, [&](FI_gadget* g) {
            if (fi_has(g, FI_NOT_ENABLED | FI_HILITED)) return;
            const std::vector<uint8_t> before = picture(form);
            for (const auto& c : changes) {
                c.there(form, g);
                const bool seen = picture(form) != before;
                c.back(form, g);
                EXPECT_EQ(difference(form, picture(form), before), "") << page << ", gadget " << g->label;
                const bool is_blank = g->type == FI_BUTTON && *g->text == '\0' && g->face.bits == nullptr;
                const bool is_still = &c == &changes[1] && (is_blank || g->type == FI_LINE || g->type == FI_RECT ||
                                                            g->type == FI_BEVEL || g->type == FI_SCROLL);
                EXPECT_EQ(seen, !is_still) << page << ", gadget " << g->label;
            }
        });
    }
}

TEST_F(Look, AFormOfTwiceTheSizeAndBackIsTheSame) {
    for (const char* page : PAGES) {
        FI_form* form = show(page, 8);
        FIf_set_location(form, 0, 0);
        const std::vector<uint8_t> before = picture(form);
        const int width = fi_form_width(form);
        const int height = fi_form_height(form);
        FIf_set_size(form, width * 2, height * 2);
        const FI_gadget* last = nullptr;
        each_gadget(form->root_group, [&](FI_gadget* g) { last = g; });
        EXPECT_GT(last->x2, 0);
        FIf_set_size(form, width, height);
        EXPECT_EQ(difference(form, picture(form), before), "") << page;
    }
}

// What a routine has erased before the press stays erased.
TEST_F(Look, APressDrawsNothingOfWhatWasErased) {
    for (const int type : {FI_CHECKLIST, FI_BUTTON, FI_TOGGLE, FI_SLIDER, FI_DIAL, FI_SCROLL}) {
        FI_form* form = make({{type, 11, 20, 20, 190, 160, "text"}});
        fi_find_gadget(form, 11)->attr_mask |= FI_INITIAL_NOTIFY;
        FIg_set_high_value(form, 11, 10);
        FIf_set_initial_notification_routine(form, [](int, int, double, FI_form* f) { FIg_erase(f, 11); });
        FIf_display(form);
        click(form, 28, 28);
        const std::vector<uint8_t> seen = picture(form);
        fi_draw_form(form);
        EXPECT_EQ(difference(form, seen, picture(form)), "") << fi_types[type].name;
        FIf_delete(form);
    }
}

// ---- edges ---------------------------------------------------------------------------------------------------------

TEST_F(Look, ButtonsAreRaisedAndSunken) {
    const struct {
        double value;
        uint32_t attributes;
        int left_top, face, right_bottom, outline;
    } states[] = {
        {0, 0, FI_WHITE, FI_LT_GREY, FI_BLACK, FI_BLACK},
        {1, 0, FI_BLACK, FI_MED_GREY, FI_WHITE, FI_BLACK},
        {0, FI_NOT_ENABLED, FI_LT_GREY, FI_LT_GREY, FI_LT_GREY, FI_BLACK},
        {1, FI_NOT_ENABLED, FI_LT_GREY, FI_MED_GREY, FI_LT_GREY, FI_BLACK},
        {0, FI_HILITED, FI_WHITE, FI_LT_GREY, FI_BLACK, FI_WHITE},
    };
    // Label 9 on: depth 3; below: 2; below 10 pixels: none.
    const struct { int label, x1, x2, depth; } buttons[] = {{9, 10, 60, 3}, {8, 70, 120, 2}, {12, 130, 139, 0}};
    for (const int planes : DEPTHS) {
        start(planes);
        FI_form* form = make({});
        FIf_display(form);
        for (const auto& b : buttons) {
            FI_gadget* g = add(form, {FI_BUTTON, b.label, float(b.x1), 20, float(b.x2), 50, ""});
            for (const auto& s : states) {
                g->value = s.value;
                g->attr_mask = FI_TEXT_GADGET | FI_NO_DITHERING | s.attributes;
                FIg_display(form, b.label);
                const int middle = (b.x1 + b.x2) / 2;
                EXPECT_EQ(at(form, b.x1, 20), pixel_of(form, s.outline));
                EXPECT_EQ(at(form, b.x2, 50), pixel_of(form, s.outline));
                EXPECT_EQ(at(form, middle, 30), pixel_of(form, s.face));
                const bool flat = b.depth == 0;
                EXPECT_EQ(at(form, middle, 21), pixel_of(form, flat ? s.face : s.left_top));
                EXPECT_EQ(at(form, middle, 49), pixel_of(form, flat ? s.face : s.right_bottom));
                if (b.depth > 0) {
                    EXPECT_EQ(at(form, middle, 20 + b.depth), pixel_of(form, s.outline));
                    EXPECT_EQ(at(form, b.x1 + b.depth - 1, 35), pixel_of(form, s.left_top));
                    EXPECT_EQ(at(form, b.x2 - b.depth + 1, 35), pixel_of(form, s.right_bottom));
                }
            }
        }
    }
}

// Nothing of a bevel lies outside of its rectangle, and every pixel of it is drawn: no hole and no stray pixel.
TEST_F(Look, BevelsFillTheirRectangle) {
    FI_form* form = make({});
    FIf_display(form);
    const int window = window_of(form);
    for (int size = 0; size < 14; ++size)
        for (int depth = 0; depth <= 4; ++depth)
            for (const int corners : {FI_SQUARE_CORNERS, FI_CUT_CORNERS}) {
                scribble(form, {50, 50, 90, 90});
                fi_draw_bevel(window, 60, 60, 60 + size, 65 + size, depth, 1, 2, 3, 4, corners);
                for (int y = 50; y <= 90; ++y)
                    for (int x = 50; x <= 90; ++x) {
                        const bool inside = x >= 60 && x <= 60 + size && y >= 60 && y <= 65 + size;
                        ASSERT_EQ(at(form, x, y) == canvas_pixel(CANVAS_SLOT | 8), !inside)
                            << size << " " << depth << " " << corners << " at " << x << "," << y;
                    }
            }
}

TEST_F(Look, HatchesLeaveTheirClearBitsAlone) {
    FI_form* form = make({});
    FIf_display(form);
    const int window = window_of(form);
    const auto painted = [&](const uint32_t* hatch, fi_box box) {
        scribble(form, {0, 0, 100, 100});
        fgcolor(window, 1);
        fi_hatch_area(window, box, hatch);
        int count = 0;
        for (int y = 0; y <= 100; ++y)
            for (int x = 0; x <= 100; ++x) {
                const bool is = at(form, x, y) == canvas_pixel(CANVAS_SLOT | 1);
                EXPECT_TRUE(!is || fi_box_has(box, x, y));
                count += is ? 1 : 0;
            }
        return count;
    };
    EXPECT_EQ(painted(fi_hatch, {3, 5, 22, 44}), 20 * 40 / 2);
    EXPECT_EQ(painted(fi_text_hatch, {3, 5, 22, 44}), 20 * 40 * 3 / 4);
    EXPECT_EQ(painted(fi_slider_hatch, {0, 0, 31, 31}), 32 * 32 / 8);
    EXPECT_EQ(painted(fi_hatch, {7, 9, 7, 8}), 0);
    // Neighbours fit: a hatch in two pieces is the hatch of the whole.
    scribble(form, {0, 0, 100, 100});
    fi_hatch_area(window, {3, 3, 60, 60}, fi_hatch);
    const std::vector<uint8_t> whole = picture(form);
    scribble(form, {0, 0, 100, 100});
    fi_hatch_area(window, {3, 3, 18, 60}, fi_hatch);
    fi_hatch_area(window, {19, 3, 60, 25}, fi_hatch);
    fi_hatch_area(window, {19, 26, 60, 60}, fi_hatch);
    EXPECT_EQ(difference(form, picture(form), whole), "");
}

// ---- texts ----------------------------------------------------------------------------------------------------------

namespace {

// The rectangle of the pixels of a colour.
fi_box ink_box(FI_form* form, uint32_t pixel, fi_box in, uint32_t (*at)(FI_form*, int, int)) {
    fi_box box = {9999, 9999, -1, -1};
    for (int y = in.y1; y <= in.y2; ++y)
        for (int x = in.x1; x <= in.x2; ++x)
            if (at(form, x, y) == pixel)
                box = {std::min(box.x1, x), std::min(box.y1, y), std::max(box.x2, x), std::max(box.y2, y)};
    return box;
}

} // namespace

TEST_F(Look, TextsStandInTheMiddleOfTheirBox) {
    FI_form* form = make({});
    FIf_display(form);
    for (const float size : {10.0F, 12.0F, 15.0F, 18.0F, 24.0F}) {
        FI_gadget* g = add(form, {FI_BUTTON, 11, 20, 20, 220, 90, "HHHHH"});
        g->bodysize = size;
        g->off_color = FI_RED;
        FIg_activate(form, 11);
        FIg_display(form, 11);
        const fi_box ink = ink_box(form, pixel_of(form, FI_RED), {20, 20, 220, 90}, at);
        EXPECT_NEAR((ink.x1 + ink.x2) / 2.0, 120, 1.5) << size;
        EXPECT_NEAR((ink.y1 + ink.y2) / 2.0, 55, size / 6 + 1)
            << size; // capitals stand above what hangs below the line
        FIg_delete(form, 11);
    }
}

// A text keeps the edge or middle that its justification names, when it changes and when the form grows.
TEST_F(Look, TextsKeepTheirAnchor) {
    for (const uint8_t justification : {FI_LEFT, FI_RIGHT, FI_CENTER}) {
        FI_form* form = make({{FI_TEXT, 11, 100, 50, 0, 0, "short"}});
        FI_gadget* g = fi_find_gadget(form, 11);
        g->justification = justification;
        const auto anchor = [=] {
            return justification == FI_LEFT ? g->x1 : justification == FI_RIGHT ? g->x2 : (g->x1 + g->x2) / 2;
        };
        const float before = anchor();
        const float width = g->x2 - g->x1;
        EXPECT_EQ(FIg_set_text(form, 11, "a much longer text"), FI_SUCCESS);
        EXPECT_FLOAT_EQ(anchor(), before);
        EXPECT_GT(g->x2 - g->x1, width * 2);
        FIf_set_size(form, 800, 600);
        EXPECT_FLOAT_EQ(anchor(), before * 2);
        EXPECT_EQ(g->bodysize, 30.0F);
        FIf_delete(form);
    }
}

TEST_F(Look, LinesOfTexts) {
    FI_form* form = make({{FI_TEXT, 11, 20, 20, 0, 0, "one\nthe longest of them\n\nj\\\noined"}});
    FI_gadget* g = fi_find_gadget(form, 11);
    EXPECT_EQ(g->text_lines, 4);
    int width = 0, height = 0, spacing = 0;
    fi_env.FI_CALC_TEXT(g->font_id, "the longest of them", 19, &height, &width, &spacing, 0);
    EXPECT_EQ(g->text_width, width);
    const int gap = height / 5;
    EXPECT_EQ(g->y2 - g->y1, static_cast<float>(4 * height + gap * 3));
    FIf_display(form);
    // Each line is hit by its own extent.
    const int pitch = height - height / 8;
    click(form, 22, 22);
    click(form, 20 + width - 3, 22); // right of the first
    click(form, 20 + width - 3, 20 + pitch + 4);
    click(form, 22, 20 + 3 * pitch + height / 2);
    EXPECT_EQ(take_told(), "1.11=0 1.11=0 1.11=0 ");
}
