// What presses, values, links, groups and resets do, and the statuses of calls.
#include <cmath>

#include "common/values.h"
#include "forms/press.h"
#include "forms/show.h"
#include "forms_fixture.h"

namespace {

class Values : public FormsFixture {
protected:
    static FI_group* group_of(FI_form* form, int label, const std::vector<int>& members) {
        EXPECT_EQ(FIg_new(form, FI_GROUP, label), FI_SUCCESS);
        for (const int member : members)
            EXPECT_EQ(FIg_add_to_group(form, member, label), FI_SUCCESS);
        return fi_find_group(form, label);
    }
    FI_form* other = nullptr;
};

constexpr int LABEL = 11;

} // namespace

// ---- presses --------------------------------------------------------------------------------------------------------

// A row is a gadget and what its value is after each of four clicks.
TEST_F(Values, PressesByType) {
    const struct {
        const char* what;
        int type;
        const char* text;
        int first;
        uint8_t justification, auto_pop_up, menu;
        bool select;
        std::vector<int> after;
        const char* told; // after the first click
    } rows[] = {
        {"a button", FI_BUTTON, "b", 0, 2, 0, 0, false, {1, 0, 1, 0}, "1.11=1 "},
        {"one that pops up", FI_BUTTON, "b", 0, 2, 1, 0, false, {0, 0, 0, 0}, "1.11=1 "},
        {"a menu button", FI_BUTTON, nullptr, 0, 2, 0, 1, false, {0, 0, 0, 0}, "1.11=0 "},
        {"a button in a select group", FI_BUTTON, "b", 1, 2, 0, 0, true, {1, 1, 1, 1}, "1.11=1 "},
        {"a menu button in one", FI_BUTTON, "b", 0, 2, 0, 1, true, {1, 1, 1, 1}, "1.11=1 "},
        {"a toggle", FI_TOGGLE, "t", 0, 2, 0, 0, false, {1, 0, 1, 0}, "1.11=1 "},
        {"a toggle with symbols", FI_TOGGLE, nullptr, 1, 2, 0, 0, false, {0, 1, 0, 1}, "1.11=0 "},
        {"a toggle in a select group", FI_TOGGLE, "t", 0, 2, 0, 0, true, {1, 1, 1, 1}, "1.11=1 "},
        {"a checklist", FI_CHECKLIST, "c", 0, 0, 0, 0, false, {1, 0, 1, 0}, "1.11=1 "},
        {"one of three states", FI_CHECKLIST, nullptr, 0, 1, 0, 0, false, {1, 2, 0, 1}, "1.11=1 "},
        {"one that is always on", FI_CHECKLIST, "c", 0, 2, 0, 0, false, {1, 1, 1, 1}, "1.11=1 "},
        {"a text", FI_TEXT, "text", 0, 0, 0, 0, false, {0, 0, 0, 0}, "1.11=0 "},
        {"a symbol", FI_SYMBOL, nullptr, 5, 0, 0, 0, false, {5, 5, 5, 5}, "1.11=5 "},
        {"a rectangle that isn't filled", FI_RECT, nullptr, 0, 0, 0, 0, false, {0, 0, 0, 0}, ""},
        {"a line", FI_LINE, nullptr, 0, 0, 0, 0, false, {0, 0, 0, 0}, ""},
        {"a bevel", FI_BEVEL, nullptr, 0, 0, 0, 0, false, {0, 0, 0, 0}, ""},
    };
    for (const auto& row : rows) {
        FI_form* form = make({{row.type, LABEL, 20, 20, 60, 50, row.text}});
        FI_gadget* g = fi_find_gadget(form, LABEL);
        g->value = row.first;
        g->justification = row.justification;
        if (row.type == FI_BUTTON) fi_as<fi_button>(g)->auto_pop_up = row.auto_pop_up;
        if (row.type == FI_BUTTON) fi_as<fi_button>(g)->menu_button = row.menu;
        if (row.select) group_of(form, 10, {LABEL})->single_select = 1;
        FIf_display(form);
        for (size_t i = 0; i < row.after.size(); ++i) {
            click(form, 24, 24);
            EXPECT_EQ(value(form, LABEL), row.after[i]) << row.what << ", click " << i;
            const std::string said = take_told();
            if (i == 0) {
                EXPECT_EQ(said, row.told) << row.what;
            }
        }
        // Neither disabled nor hidden ones take a press, and a silent one tells nothing.
        for (const uint32_t attribute : {FI_NOT_ENABLED, FI_NOT_DISPLAYED, FI_NO_COMPLETE_NOTIFY}) {
            const uint32_t before = g->attr_mask;
            g->attr_mask |= attribute;
            click(form, 24, 24);
            EXPECT_EQ(take_told(), "") << row.what;
            g->attr_mask = before;
        }
        FIf_delete(form);
    }
}

TEST_F(Values, HitRectanglesAreInclusive) {
    FI_form* form = make({{FI_BUTTON, 11, 20, 20, 60, 50, "b"}, {FI_BUTTON, 12, 60, 50, 90, 80, "b"}});
    FIf_display(form);
    const auto hit = [=](int x, int y) {
        const FI_gadget* g = fi_find_gadget_at(form->root_group, x, y);
        return g != nullptr ? g->label : 0;
    };
    EXPECT_EQ(hit(20, 20), 11);
    EXPECT_EQ(hit(60, 50), 11); // the first in slot order
    EXPECT_EQ(hit(61, 50), 12);
    EXPECT_EQ(hit(19, 20), 0);
    EXPECT_EQ(hit(90, 81), 0);
    FIg_new(form, FI_GROUP, 5);
    FIg_add_to_group(form, 12, 5);
    EXPECT_EQ(hit(80, 70), 12);
    fi_find_group(form, 5)->no_pass_on = 1;
    EXPECT_EQ(hit(80, 70), 0);
}

// ---- values, single select, links -----------------------------------------------------------------------------------

TEST_F(Values, OneOfAGroupIsOn) {
    FI_form* form = make({{FI_BUTTON, 11, 0, 0, 20, 20, "b"},
                          {FI_TOGGLE, 12, 30, 0, 50, 20, "t"},
                          {FI_CHECKLIST, 13, 60, 0, 80, 20, "c"},
                          {FI_BUTTON, 14, 90, 0, 99, 20, "b"}});
    group_of(form, 10, {11, 12, 13});
    EXPECT_EQ(FIgrp_set_single_select_on(form, 10), FI_SUCCESS);
    for (const int on : {11, 13, 12, 12, 11}) {
        EXPECT_EQ(FIg_set_state_on(form, on), FI_SUCCESS);
        for (const int label : {11, 12, 13})
            EXPECT_EQ(value(form, label), label == on ? 1 : 0);
    }
    FIg_set_state_on(form, 14);
    EXPECT_EQ(FIg_add_to_group(form, 14, 10), FI_SUCCESS); // what comes in on sets the others off
    EXPECT_EQ(value(form, 11), 0);
    FIg_set_value(form, 13, 2); // only those that are exactly 1 go off
    FIg_set_state_on(form, 12);
    EXPECT_EQ(value(form, 13), 2);
    EXPECT_EQ(FIgrp_set_single_select_off(form, 10), FI_SUCCESS);
    FIg_set_state_on(form, 10);
    EXPECT_EQ(value(form, 11) + value(form, 12) + value(form, 13) + value(form, 14), 4);
}

TEST_F(Values, LinksGoAroundOnce) {
    FI_form* form = make({{FI_TOGGLE, 11, 0, 0, 20, 20, "t"},
                          {FI_CHECKLIST, 12, 30, 0, 50, 20, "c"},
                          {FI_TEXT, 13, 60, 0, 80, 20, "x"},
                          {FI_BUTTON, 14, 90, 0, 99, 20, "b"},
                          {FI_BUTTON, 15, 90, 30, 99, 50, "b"}});
    group_of(form, 10, {14, 15});
    const auto link = [=](int from, int to) { fi_find_gadget(form, from)->link_label = to; };
    link(11, 12);
    link(12, 13);
    link(13, 10);
    link(15, 11); // back to the start
    FIf_display(form);
    click(form, 11);
    EXPECT_EQ((values{value(form, 12), fi_find_gadget(form, 13)->text, value(form, 14)}), (values{1, "1.000000", 1}));
    EXPECT_EQ((values{value(form, 15), value(form, 11)}), (values{1, 1}));
    EXPECT_EQ(take_told(), "1.11=1 "); // links notify nobody
    EXPECT_EQ(FIg_set_text(form, 13, "-3"), FI_SUCCESS);
    EXPECT_EQ((values{value(form, 15), value(form, 11)}), (values{0, 0}));
    EXPECT_STREQ(fi_find_gadget(form, 13)->text, "0.000000"); // it has come around
    FIg_set_state_on(form, 14);
    EXPECT_EQ(FIg_set_text(form, 13, "0.000000"), FI_SUCCESS); // the same text has no effect
    EXPECT_EQ(value(form, 14), 1);
    // A long chain needs no deep stack.
    std::vector<test_gadget> many;
    many.reserve(1000);
    for (int i = 0; i < 1000; ++i)
        many.push_back({FI_TOGGLE, 20 + i, 0, 0, 5, 5, nullptr});
    FI_form* chain = make(many);
    for (int i = 0; i + 1 < 1000; ++i)
        fi_find_gadget(chain, 20 + i)->link_label = 21 + i;
    FIg_set_state_on(chain, 20);
    EXPECT_EQ(value(chain, 1019), 1);
}

TEST_F(Values, ResetPutsBackDefaults) {
    FI_form* form = make({{FI_BUTTON, 3, 0, 0, 60, 20, "r"},
                          {FI_BUTTON, 5, 70, 0, 90, 20, "p"},
                          {FI_TOGGLE, 11, 0, 30, 60, 50, "t"},
                          {FI_TEXT, 12, 0, 60, 60, 80, "x"}});
    FIf_display(form);
    FIg_set_state_on(form, 11);
    FIg_set_state_on(form, 5);
    FIg_set_attr(form, 12, FI_NOT_ENABLED);
    fi_find_gadget(form, 12)->default_attr_mask |= FI_NOT_DISPLAYED;
    fi_as<fi_button>(fi_find_gadget(form, 3))->auto_pop_up = 1;
    click(form, 3); // resets, and tells
    EXPECT_EQ(take_told(), "1.3=1 ");
    EXPECT_EQ((values{value(form, 3), value(form, 11)}), (values{0, 0}));
    EXPECT_EQ(value(form, 5), 1); // stays on a form that is no pop-up
    EXPECT_EQ(fi_find_gadget(form, 12)->displayed, 0);
    uint32_t attributes = 0;
    FIg_get_attr(form, 12, &attributes);
    EXPECT_EQ(attributes, FI_TEXT_GADGET | FI_NOT_DISPLAYED);
}

// ---- life -----------------------------------------------------------------------------------------------------------

TEST_F(Values, LabelsAndGroups) {
    FI_form* form = make({});
    int label = 0;
    EXPECT_EQ(FIf_get_next_label(form, &label), FI_SUCCESS);
    EXPECT_EQ(label, 11);
    FIf_get_next_label(form, &label);
    EXPECT_EQ(label, 11); // nobody has taken it
    for (int i = 11; i < 20; ++i)
        EXPECT_EQ(FIg_new(form, FI_BEVEL, i), FI_SUCCESS);
    FIf_get_next_label(form, &label);
    EXPECT_EQ(label, 20);
    EXPECT_EQ(FIg_new(form, FI_GROUP, 30), FI_SUCCESS);
    EXPECT_EQ(FIg_add_to_group(form, 15, 30), FI_SUCCESS);
    EXPECT_EQ(FIg_new(form, FI_LINE, 15), FI_LABEL_IN_USE); // in a group, too
    EXPECT_EQ(FIg_delete(form, 15), FI_SUCCESS);
    FIf_get_next_label(form, &label);
    EXPECT_EQ(label, 15);
    EXPECT_EQ(FIg_new(form, FI_LINE, 7), FI_SUCCESS);
    FIg_new(form, FI_LINE, 15);
    FIf_get_next_label(form, &label);
    FIg_delete(form, 7);
    FIf_get_next_label(form, &label);
    EXPECT_EQ(label, 20); // from 11 on

    FI_group* group = fi_find_group(form, 30);
    for (int i = 11; i < 15; ++i)
        FIg_add_to_group(form, i, 30);
    EXPECT_EQ(group->members[3]->label, 14);
    FIg_add_to_group(form, 12, 30);
    EXPECT_EQ(group->members[1]->label, 12); // it was there
    // A group in a group stays where it is, and its members go: also into itself.
    FIg_new(form, FI_GROUP, 40);
    FI_group* inner = fi_find_group(form, 40);
    fi_group_remove(fi_common(inner), false);
    fi_group_add(group, fi_common(inner));
    FIg_new(form, FI_LINE, 41);
    FIg_add_to_group(form, 41, 40);
    EXPECT_EQ(FIg_add_to_group(form, 30, 40), FI_SUCCESS);
    EXPECT_EQ((values{inner->common.group, fi_find_gadget(form, 12)->group}), (values{group, inner}));
    EXPECT_EQ(FIg_add_to_group(form, 40, 30), FI_SUCCESS);
    EXPECT_EQ(fi_find_gadget(form, 41)->group, group);
    for (const int i : {40, 41})
        FIg_delete(form, i);
    form->lowest_label = INT32_MIN; // of a file's list
    EXPECT_EQ(fi_next_private_label(form), INT32_MIN);

    group = fi_find_group(form, 30);
    for (int i = 11; i < 15; ++i)
        FIg_add_to_group(form, i, 0);
    for (int i = 11; i < 15; ++i)
        FIg_add_to_group(form, i, 30);
    FIg_add_to_group(form, 12, 0);
    FIg_add_to_group(form, 16, 30);
    EXPECT_EQ(group->members[1]->label, 16); // the lowest slot that is free
    for (int i = 100; i < 150; ++i) {
        FIg_new(form, FI_LINE, i);
        FIg_add_to_group(form, i, 30);
    }
    EXPECT_EQ(group->capacity, 64);
    EXPECT_EQ(FIg_add_to_group(form, 30, 0), FI_SUCCESS); // all its members
    EXPECT_EQ(group->members[0], nullptr);
    EXPECT_NE(fi_find_gadget(form, 149), nullptr);
    int width = -1, height = -1, x = -1, y = -1;
    FIg_get_size(form, 30, &width, &height);
    FIg_get_location(form, 30, &x, &y);
    EXPECT_EQ(width + height + x + y, 0); // empty
    FIg_add_to_group(form, 16, 30);
    fi_find_gadget(form, 16)->x1 = 7;
    FIg_set_size(form, 30, 20, 30);
    FIg_get_size(form, 30, &width, &height);
    EXPECT_EQ((values{width, height}), (values{20, 30}));
}

// A call on what isn't there changes nothing and says why.
TEST_F(Values, Statuses) {
    FI_form* form = make({{FI_BUTTON, 11, 0, 0, 20, 20, "b"},
                          {FI_LINE, 12, 0, 0, 20, 20, nullptr},
                          {FI_TOGGLE, 13, 0, 0, 20, 20, "t"},
                          {FI_TEXT, 14, 0, 0, 20, 20, ""}});
    group_of(form, 10, {12});
    FI_form* gone = make({});
    FIf_delete(gone);
    int i = 0;
    char text[100];
    const struct {
        const char* call;
        int is, wanted;
    } calls[] = {
        {"type 15", FIg_new(form, 15, 50), FI_INVALID_GADGET_TYPE},
        {"label 0", FIg_new(form, FI_LINE, 0), FI_LABEL_IN_USE},
        {"a form that has gone", FIg_new(gone, FI_LINE, 50), FI_NO_SUCH_FORM},
        {"no form", FIf_display(nullptr), FI_NO_SUCH_FORM},
        {"deleted twice", FIf_delete(gone), FI_NO_SUCH_FORM},
        {"valid", FIf_is_valid(form), FI_SUCCESS},
        {"valid gadget", FIg_is_valid(form, 99), FI_NO_SUCH_GADGET},
        {"delete all", FIg_delete(form, 0), FI_INVALID_ARGUMENT},
        {"weight of a button", FIg_set_line_weight(form, 11, 3), FI_NO_SUCH_GADGET},
        {"weight of a line", FIg_set_line_weight(form, 12, 3), FI_SUCCESS},
        {"weight of a group", FIg_set_line_weight(form, 10, 4), FI_SUCCESS},
        {"digits 16", FIg_set_digits(form, 11, 16, 0), FI_INVALID_ARGUMENT},
        {"digits of a button", FIg_set_digits(form, 11, 15, 0), FI_INVALID_GADGET_TYPE},
        {"increment of a button", FIg_set_increment(form, 11, 1), FI_INVALID_GADGET_TYPE},
        {"limit of a button", FIg_set_high_value(form, 11, 1), FI_INVALID_GADGET_TYPE},
        {"weight below 0 of none", FIg_set_line_weight(form, 99, -1), FI_NO_SUCH_GADGET},
        {"no number for none", FIg_set_value(form, 99, NAN), FI_NO_SUCH_GADGET},
        {"no limit for none", FIg_set_high_value(form, 99, NAN), FI_NO_SUCH_GADGET},
        {"no increment for none", FIg_set_increment(form, 99, INFINITY), FI_NO_SUCH_GADGET},
        {"direction 300 of none", FIg_set_orientation(form, 99, 300), FI_NO_SUCH_GADGET},
        {"display -1 of none", FIg_set_display(form, 99, -1), FI_NO_SUCH_GADGET},
        {"display -1", FIg_set_display(form, 11, -1), FI_INVALID_ARGUMENT},
        {"colour 300 of no form", FIf_set_color(gone, 300), FI_NO_SUCH_FORM},
        {"on text of a button", FIg_set_on_text(form, 11, "x"), FI_INVALID_GADGET_TYPE},
        {"on text of a toggle", FIg_set_on_text(form, 13, "x"), FI_SUCCESS},
        {"pop-up of a toggle", FIbtn_set_auto_pop_up_on(form, 13), FI_INVALID_GADGET_TYPE},
        {"group of a button", FIg_add_to_group(form, 12, 11), FI_NO_SUCH_GROUP},
        {"group 99", FIgrp_set_pass_on(form, 99), FI_NO_SUCH_GROUP},
        {"no window", FIf_get_window(form, &i), FI_FORM_NOT_DISPLAYED},
        {"sequence without window", FIg_start_seq(form, 11), FI_FORM_NOT_DISPLAYED},
        {"sequence of none", FIg_start_seq(form, 99), FI_NO_SUCH_GADGET},
        {"text of a group", FIg_set_text(form, 10, "x"), FI_INVALID_GADGET_TYPE},
        {"size below 0", FIf_set_size(form, -1, 5), FI_INVALID_ARGUMENT},
        {"environment 99", FI_modify_env(99, nullptr), FI_NO_SUCH_ENV_ID},
        {"environment 12", FI_modify_env(12, nullptr), FI_NO_SUCH_ENV_ID},
        {"graphics 11", FI_set_graphic_env(11, nullptr), FI_NO_SUCH_ENV_ID},
        {"graphics 47", FI_set_graphic_env(47, nullptr), FI_NO_SUCH_ENV_ID},
        {"graphics 81", FI_set_graphic_env(81, nullptr), FI_SUCCESS},
        {"length of an empty text", FIg_get_text_length(form, 14, &i), FI_SUCCESS},
        {"window 41", FI_get_form_by_window(41, &gone), FI_NO_SUCH_FORM},
        {"a long path", FI_set_form_path(std::string(257, 'a').c_str()), FI_INVALID_ARGUMENT},
        {"a path", FI_set_font_path(" ;;a;b"), FI_SUCCESS},
        {"text", FIg_get_text(form, 13, text), FI_SUCCESS},
    };
    for (const auto& c : calls)
        EXPECT_EQ(c.is, c.wanted) << c.call;
    EXPECT_EQ((values{i, text, fi_as<fi_line>(fi_find_gadget(form, 12))->line_weight}), (values{1, "t", 4}));
    EXPECT_EQ((values{fi_state.font_path.count, fi_state.font_path.entries[1]}), (values{2, "b"}));
    EXPECT_EQ(fi_state.form_path.count, 1);
    for (const auto& [given, kept] : {std::pair{0.0, 1.0}, {-2.5, 2.5}}) {
        FIg_new(form, FI_DIAL, 50);
        EXPECT_EQ(FIg_set_increment(form, 50, given), FI_SUCCESS);
        EXPECT_EQ(fi_as<fi_dial>(fi_find_gadget(form, 50))->increment, static_cast<float>(kept));
        EXPECT_EQ(FIg_set_orientation(form, 50, 200), FI_SUCCESS); // which isn't below 0, in any number of bits
        EXPECT_EQ(fi_as<fi_dial>(fi_find_gadget(form, 50))->direction, 1);
    }
}

TEST_F(Values, StandardVariables) {
    FI_form* form = make({{FI_TEXT, 11, 0, 0, 20, 20, "b"}});
    const FI_standard_variables v = {
        10, 20, 40, 60, FI_NO_COMPLETE_NOTIFY, 3.5, 18, "two\nlines", nullptr, "cmd", "dutch801", form, 1, 2, 3,
        4,  5,  6,  77};
    FI_standard_variables wrong = v;
    wrong.value = NAN;
    EXPECT_EQ(FIg_set_standard_variables(form, 11, &wrong), FI_INVALID_ARGUMENT);
    wrong = v;
    wrong.bodysize = INFINITY;
    EXPECT_EQ(FIg_set_standard_variables(form, 11, &wrong), FI_INVALID_ARGUMENT);
    EXPECT_EQ(FIg_set_standard_variables(form, 11, &v), FI_SUCCESS);
    const FI_gadget* g = fi_find_gadget(form, 11);
    EXPECT_EQ(g->orig_width, 30.0F);
    EXPECT_EQ(g->orig_height, static_cast<float>(2 * g->char_height)); // a text's, by its lines
    EXPECT_EQ((values{g->default_value, g->text_length, g->command}), (values{3.5, 9, "cmd"}));
    EXPECT_EQ(g->help_topic, fi_empty_text); // itself, which is never freed
    EXPECT_EQ((values{g->next_in_seq, g->face2.index}), (values{77, 6}));
}

TEST_F(Values, EveryFailureOfACallLeavesThingsAsTheyWere) {
    FI_form* form = make({{FI_BUTTON, 11, 0, 0, 60, 20, "before"},
                          {FI_CHECKLIST, 12, 0, 30, 60, 50, "c"},
                          {FI_SLIDER, 13, 0, 60, 160, 90, "s"},
                          {FI_TEXT, 14, 0, 100, 0, 0, "0"}});
    FIg_set_high_value(form, 13, 10);
    fi_find_gadget(form, 13)->link_label = 14;
    FIf_display(form);
    const struct {
        const char* what;
        std::function<int()> call, undo;
    } calls[] = {
        {"FIg_new", [=] { return FIg_new(form, FI_SCROLL, 50); }, [=] { return FIg_delete(form, 50); }},
        {"FIg_set_text", [=] { return FIg_set_text(form, 11, "after"); },
         [=] { return FIg_set_text(form, 11, "before"); }},
        {"FIf_new", [this] { return FIf_new(2, "g_check.frm", note, &other); }, [this] { return FIf_delete(other); }},
        {"FIg_set_value along a link", [=] { return FIg_set_value(form, 13, 5); },
         [=] { return FIg_set_value(form, 13, 3); }},
        {"FIf_display",
         [=] {
             FIf_erase(form);
             return FIf_display(form);
         },
         [] { return 0; }},
    };
    for (const auto& c : calls) {
        int status = -1;
        for (long n = 0;; ++n) {
            mem_fail_after(n, mem_fail::once);
            status = c.call();
            const bool hit = mem_fail_stop();
            EXPECT_TRUE(status == FI_SUCCESS || (hit && (status == FI_NO_MEMORY || status == FI_NO_WINDOW)))
                << c.what << " gives " << status;
            if (status == FI_SUCCESS) {
                EXPECT_EQ(c.undo(), FI_SUCCESS) << c.what;
            }
            if (!hit) break;
            ASSERT_LT(n, 5000);
        }
        EXPECT_EQ(fi_find_gadget(form, 50), nullptr);
        EXPECT_STREQ(fi_find_gadget(form, 11)->text, "before");
    }
}
