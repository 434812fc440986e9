// Fields: what keys, presses and calls make of their rows.
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "common/values.h"
#include "forms/fields.h"
#include "forms/formshow.h"
#include "forms/mcf.h"
#include "forms/show.h"
#include "forms/surface.h"
#include "forms_fixture.h"

namespace {

constexpr int LABEL = 11;

// A field of a test.
struct field_setup {
    const char* rows; // with "|" between them; a "*" in front selects
    int mode, type;
    uint32_t flags;
    int max_rows, max_chars;
    int width, height; // characters and rows
    const char* format;
};

// What is typed into as letters, of so many rows at most; all of them are seen.
field_setup area(const char* rows, int max_rows = 1, uint32_t flags = 0, int max_chars = 0, int width = 9) {
    return {rows, FI_INSERT, FI_ALPHA, flags, max_rows, max_chars, width, max_rows, ""};
}
field_setup number(const char* rows, int type, int max_rows = 1, const char* format = "") {
    return {rows, FI_INSERT, type, 0, max_rows, 0, 9, max_rows, format};
}

class Fields : public FormsFixture {
protected:
    static fi_field* field(FI_form* form, int label = LABEL) { return fi_as<fi_field>(fi_find_gadget(form, label)); }

    static std::vector<std::string> split(const std::string& all) {
        std::vector<std::string> parts;
        if (all.empty()) return parts;
        size_t from = 0;
        for (size_t bar = all.find('|'); bar != std::string::npos; from = bar + 1, bar = all.find('|', from))
            parts.push_back(all.substr(from, bar - from));
        parts.push_back(all.substr(from));
        return parts;
    }
    static std::string rows(FI_form* form, int label = LABEL) {
        const fi_field* f = field(form, label);
        std::string all;
        for (int row = 0; row < f->num_rows; ++row)
            all += std::string(row > 0 ? "|" : "") + (f->rows[row].selected != 0 ? "*" : "") + fi_row_text(f, row);
        return all;
    }
    static void put_rows(FI_form* form, const char* rows, int label = LABEL) {
        int row = 0;
        for (std::string text : split(rows)) {
            const bool selected = !text.empty() && text[0] == '*';
            EXPECT_EQ(FIfld_set_text(form, label, row++, 0, text.c_str() + (selected ? 1 : 0), selected), FI_SUCCESS);
        }
    }
    static fi_field* add_field(FI_form* form, const field_setup& s, int label = LABEL, int x = 20, int y = 20) {
        FI_gadget* g = add(form, {FI_FIELD, label, float(x), float(y), float(x) + 1, float(y) + 1, ""});
        fi_string_set(&g->font_name, "mono821");
        g->attr_mask = g->default_attr_mask = 0;
        auto* f = fi_as<fi_field>(g);
        f->mode = uint16_t(s.mode);
        f->field_type = uint16_t(s.type);
        f->flags = s.flags;
        f->max_rows = int16_t(s.max_rows);
        f->max_chars = int16_t(s.max_chars);
        const uint32_t flags = f->flags;
        FIg_activate(form, label); // for the size of its letters
        f->flags = flags;
        f->max_rows = int16_t(s.max_rows);
        f->max_chars = int16_t(s.max_chars);
        const int strip = fi_has_strip(f) ? FI_STRIP : 0;
        g->x2 = g->x1 + float(s.width * g->char_width + strip);
        g->y2 = g->y1 + float(s.height * int(f->row_height));
        EXPECT_EQ(FIfld_set_format(form, label, 0, s.format), FI_SUCCESS);
        FIg_activate(form, label);
        put_rows(form, s.rows, label);
        return f;
    }
    // The text of a row as far as `size` holds it, whether it is selected, and its place among the seen ones.
    static std::string told_of(FI_form* form, int row, int size = 20, int status = FI_SUCCESS) {
        char text[20] = "x";
        int select = 7, position = 7;
        EXPECT_EQ(FIfld_get_text(form, LABEL, row, 0, size, text, &select, &position), status);
        return text + (" " + std::to_string(select)) + " " + std::to_string(position);
    }
    static FI_form* show(const field_setup& s) {
        FI_form* form = make({});
        add_field(form, s);
        EXPECT_EQ(FIf_display(form), FI_SUCCESS);
        return form;
    }
    // The middle of a character's cell.
    void click_char(FI_form* form, int row, int character, int label = LABEL) {
        const fi_field* f = field(form, label);
        const fi_box box = fi_text_box(f);
        click(form, box.x1 + (character - f->first_char) * f->common.char_width + f->common.char_width / 2,
              box.y1 + (row - f->top_row) * int(f->row_height) + int(f->row_height) / 2);
    }
    // Types into the field, from a character of a row on: letters, and keys by name in "<>".
    void type(FI_form* form, int row, int character, const std::string& keys) {
        script.clear();
        for (size_t at = 0; at < keys.size();) {
            const size_t end = keys[at] == '<' ? keys.find('>', at) : std::string::npos;
            const std::string one = end != std::string::npos ? keys.substr(at + 1, end - at - 1) : keys.substr(at, 1);
            script.push_back([=] { press(one); });
            at = end != std::string::npos ? end + 1 : at + 1;
        }
        click_char(form, row, character);
    }
    static void press(const std::string& name) {
        static const std::map<std::string, host_key> keys = {
            {"left", host_key::left}, {"right", host_key::right},   {"up", host_key::up},      {"down", host_key::down},
            {"home", host_key::home}, {"end", host_key::end},       {"del", host_key::remove}, {"tab", host_key::tab},
            {"ret", host_key::enter}, {"back", host_key::backspace}};
        if (name == "backtab")
            headless_key(host_key::tab, 0, HOST_SHIFT);
        else if (name == "kill")
            headless_key(host_key::remove, 0, HOST_CTRL);
        else if (name.size() > 1 && name[0] == '^')
            headless_key(host_key::character, static_cast<unsigned char>(name[1]), HOST_CTRL);
        else if (keys.count(name) != 0)
            headless_key(keys.at(name), 0, 0);
        else
            type_character(static_cast<unsigned char>(name[0]));
    }
    static void type_character(int character) {
        host_event event = {};
        event.kind = host_event_kind::text;
        event.character = static_cast<uint32_t>(character);
        headless_post(&event);
    }
};

} // namespace

// What is typed, from a place on, makes of the rows.
TEST_F(Fields, Typing) {
    const struct {
        const char* what;
        field_setup setup;
        int row, character;
        const char* keys;
        const char* rows;
        const char* told = ""; // to begin with
    } cases[] = {
        {"a full row loses its last character", area("abcde", 1, 0, 5, 5), 0, 0, "x", "xabcd"},
        {"the cursor stays on the last place", area("", 1, 0, 5, 5), 0, 0, "abcdefg", "abcdg"},
        {"one point", number("", FI_DOUBLE), 0, 0, "1.2.3,4", "1.234"},
        {"a comma is a point", number("", FI_DOUBLE, 1, "%.3f"), 0, 0, "1,25<ret>", "1.250", "1.11=0 "},
        {"no point in a whole number", number("", FI_INT), 0, 0, "-1.5e", "-15"},
        {"nothing before the start", area("ab|cd", 2), 0, 0, "<back>", "ab|cd"},
        {"back over the row's start joins", area("ab|cd", 2), 1, 0, "<back>x", "abxcd"},
        {"not when it gets too long", area("abcd|efg", 2, 0, 5, 5), 1, 0, "<back>", "abcd|efg"},
        {"delete at the end joins", area("ab|cd", 2), 0, 5, "<del>", "abcd"},
        {"Return at the limit ends", area("ab|cd", 2), 1, 1, "<ret>x", "ab|cd", "1.11=1 "},
        {"Return splits", area("abcd", 5), 0, 2, "<ret>x", "ab|xcd"},
        {"in a number it adds a row", number("1234", FI_INT, 5), 0, 2, "<ret>5", "1234|5"},
        {"appending", {"ab|cd", FI_APPEND, FI_ALPHA, 0, 5, 0, 9, 5, ""}, 0, 2, "<ret>x", "ab|cdx"},
        {"kill and yank", area("abcdef"), 0, 2, "<kill><home><^y>", "cdefab"},
        {"case", area("abCD"), 0, 0, "<^c><^c><^l><^l>", "ABcd"},
        {"swap", area("abc"), 0, 0, "<^t><^t>", "bca"},
        {"right to left", area("abc", 1, FI_RIGHT_TO_LEFT), 0, 1, "<left>x", "abxc"},
        {"unseen", area("abc", 1, FI_NO_ECHO), 0, 0, "<del><kill><back>", "ab"},
        {"cleared at entry", area("abc", 1, FI_CLEAR_ON_SELECT), 0, 1, "x", "x"},
        {"arrows go over rows", area("ab|cd", 2), 0, 2, "<right>x<left><left>y", "aby|xcd"},
        {"wrapping goes on", area("", 4, FI_WRAP), 0, 0, "one two three", "one two|three"},
        {"a long word is cut", area("", 4, FI_WRAP, 0, 5), 0, 0, "abcdefghij", "abcd|efgh|ij"},
        {"wrapped anew, in front", area("one two|three", 4, FI_WRAP), 0, 0, "a b ", "a b one|two|three"},
        {"wrapped to the last row", area("", 2, FI_WRAP, 0, 5), 0, 0, "abcdefghij", "abcd|efgh"},
        {"deleting in a wrapped row", area("one two|three", 4, FI_WRAP), 0, 1, "<del><back>", "e two|three"},
        {"letters above 170", area(""), 0, 0, "\xB0\xB9\xAB", "\xB0\xB9\xAB"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        FI_form* form = show(c.setup);
        type(form, c.row, c.character, c.keys);
        EXPECT_EQ(rows(form), c.rows);
        EXPECT_EQ(take_told().substr(0, strlen(c.told)), c.told);
        const std::vector<uint8_t> drawn = picture(form);
        fi_redraw_gadget(fi_find_gadget(form, LABEL));
        EXPECT_EQ(difference(form, drawn, picture(form)), "");
        FIf_delete(form);
    }
}

// ---- calls ---------------------------------------------------------------------------------------------------------

TEST_F(Fields, RowsAndLimits) {
    FI_form* form = show({"a|b|c", FI_INSERT, FI_ALPHA, 0, 10, 5, 5, 3, ""});
    EXPECT_EQ(FIfld_set_text(form, LABEL, 500, 0, "last", 0), FI_SUCCESS);
    EXPECT_EQ(told_of(form, 9), "last 0 -1"); // not among the visible ones
    EXPECT_EQ(told_of(form, 10, 20, FI_INVALID_ROW), " -1 -1");
    EXPECT_EQ(FIfld_set_text(form, LABEL, -3, 0, "abcdefgh", 0), FI_SUCCESS);
    EXPECT_EQ(told_of(form, 0, 4), "abc 0 0"); // what the buffer holds
    int length = 7;
    EXPECT_EQ(FIfld_get_text_length(form, LABEL, 0, 0, &length), FI_SUCCESS);
    EXPECT_EQ(length, 6); // five characters fit
    EXPECT_EQ(FIfld_set_num_rows(form, LABEL, -1), FI_SUCCESS);
    EXPECT_EQ(told_of(form, 3), " 0 0");
    EXPECT_EQ(FIfld_set_num_rows(form, LABEL, 40000), FI_INVALID_ROW);
    EXPECT_EQ(FIfld_set_max_num_chars(form, LABEL, 0, -1), FI_INVALID_ARGUMENT);
    EXPECT_EQ(FIfld_delete_rows(form, LABEL, 0, 1), FI_INVALID_ROW);
    // A text that is wrapped comes back with the newline that was in it.
    char text[20] = "";
    FI_form* wrapped = show({"", FI_INSERT, FI_ALPHA, FI_WRAP, 9, 0, 9, 3, ""});
    FIfld_set_text(wrapped, LABEL, 0, 0, "one two three\nfour", 0);
    EXPECT_EQ(rows(wrapped), "one two|three|four");
    std::string back;
    for (int row = 0; row < 3; ++row) {
        FIfld_get_text(wrapped, LABEL, row, 0, sizeof text, text, nullptr, nullptr);
        back += text;
    }
    EXPECT_EQ(back, "one twothree\nfour");
    // A row that came from two is put behind a newline, until it gets another text.
    FI_form* joined = show({"a|b|c", FI_INSERT, FI_ALPHA, FI_WRAP | FI_HORT_SCROLL, 3, 0, 9, 3, ""});
    type(joined, 1, 1, "<del>");
    for (const char* expected : {"a\n", "a"}) {
        FIfld_get_text(joined, LABEL, 0, 0, sizeof text, text, nullptr, nullptr);
        EXPECT_STREQ(text, expected);
        FIfld_set_text(joined, LABEL, 1, 0, "d", 0);
    }
    // A field too narrow for anything still takes a character a row.
    FI_form* narrow = show({"", FI_INSERT, FI_ALPHA, FI_WRAP, 4, 1, 1, 3, ""});
    FIfld_set_text(narrow, LABEL, 0, 0, "abc", 0);
    EXPECT_EQ(rows(narrow), "a|b|c");
}

TEST_F(Fields, NumbersAndFormats) {
    const struct {
        int type;
        const char* format;
        double value;
        const char* text;
    } cases[] = {
        {FI_INT, "", 41.9, "41"},        {FI_DOUBLE, "", 0.25, "0.25"},       {FI_DOUBLE, "%8.3lf!", 1.5, "   1.500!"},
        {FI_INT, "%05d", 42, "00042"},   {FI_INT, "%ld", 7e12, "2147483647"}, {FI_DOUBLE, "%d", 3.7, "3"},
        {FI_INT, "%.1f%%", 3.7, "3.0%"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.format);
        FI_form* form = show({"", FI_INSERT, c.type, 0, 1, 0, 20, 1, ""});
        EXPECT_EQ(FIfld_set_format(form, LABEL, 0, c.format), FI_SUCCESS);
        EXPECT_EQ(FIfld_set_value(form, LABEL, 0, 0, c.value, 0), FI_SUCCESS);
        EXPECT_EQ(rows(form), c.text);
        for (const char* refused : {"%s", "%d %d", "%*d", "%n", "%99999d", "none", "%"})
            EXPECT_EQ(FIfld_set_format(form, LABEL, 0, refused), FI_INVALID_ARGUMENT) << refused;
        FIf_delete(form);
    }
    FI_form* form = show({"2,5", FI_INSERT, FI_DOUBLE, 0, 1, 0, 20, 1, ""});
    EXPECT_EQ(value(form, LABEL), 2.5);
    double v = 0;
    FIfld_set_type(form, LABEL, 0, FI_ALPHA);
    EXPECT_EQ(FIfld_get_value(form, LABEL, 0, 0, &v, nullptr, nullptr), FI_INVALID_ARGUMENT);
}

// The chosen row is the same one after others have gone, or none when it is among them.
TEST_F(Fields, TheChoiceFollowsDeletion) {
    const struct { int row, count, selected; } cases[] = {{0, 1, 1}, {3, 1, 2}, {2, 1, -1}, {1, 3, -1}, {0, 2, 0}};
    for (const auto& c : cases) {
        FI_form* form = show({"a|b|*c|d|e", FI_SINGLE_SELECT, FI_ALPHA, FI_VERT_SCROLL, 0, 0, 9, 3, ""});
        EXPECT_EQ(FIfld_delete_rows(form, LABEL, c.row, c.count), FI_SUCCESS);
        EXPECT_EQ(field(form)->selected_row, c.selected) << c.row << " " << c.count;
        EXPECT_EQ(rows(form).find("*c") != std::string::npos, c.selected >= 0);
        FIf_delete(form);
    }
}

TEST_F(Fields, Choosing) {
    FI_form* form = show({"a|b|c", FI_SINGLE_SELECT, FI_ALPHA, 0, 3, 0, 9, 3, ""});
    const auto after = [this](FI_form* f, std::initializer_list<int> clicks) {
        for (const int row : clicks)
            click_char(f, row, 0);
        return rows(f);
    };
    EXPECT_EQ(after(form, {1, 2}), "a|b|*c");
    EXPECT_EQ(take_told(), "1.11=1 1.11=2 ");
    EXPECT_EQ(after(form, {2}), "a|b|c"); // the chosen one again
    FIfld_set_mode(form, LABEL, 0, FI_MULTI_SELECT);
    EXPECT_EQ(after(form, {0, 2}), "*a|b|*c");
    FIfld_set_mode(form, LABEL, 0, FI_SINGLE_SELECT);
    EXPECT_EQ(rows(form), "a|b|*c");
    FI_form* rolling = show({"a|*b|c", FI_SINGLE_SELECT, FI_ALPHA, FI_ROLL_THROUGH, 0, 0, 9, 1, ""});
    EXPECT_EQ(after(rolling, {1}), "a|b|*c");
    EXPECT_EQ(after(rolling, {2}), "*a|b|c");
    EXPECT_EQ(field(rolling)->top_row, 0);
}

// ---- entries -------------------------------------------------------------------------------------------------------

TEST_F(Fields, PressesDuringAnEntry) {
    FI_form* form = show(area("first"));
    add_field(form, {"second", FI_INSERT, FI_ALPHA, 0, 1, 0, 9, 1, ""}, 12, 20, 60);
    add(form, {FI_BUTTON, 13, 20, 100, 90, 130, "OK"});
    FIf_display(form);
    const auto press = [=](int x, int y) { return [=] { post_click(form, x, y); }; };
    const auto type = [](const char* text) { return [=] { headless_type(text); }; };
    const auto after = [this, form](std::vector<std::function<void()>> steps) {
        script = std::move(steps);
        click_char(form, 0, 0);
        return rows(form) + " " + rows(form, 12) + " " + take_told();
    };
    // A button is worked, and the entry goes on.
    EXPECT_EQ(after({type("1"), press(50, 110), type("2")}), "12first second 1.13=1 1.11=0 ");
    // Another field gets the keys, after the first has told.
    EXPECT_EQ(after({type("3"), press(22, 65), type("4")}), "312first 4second 1.11=0 1.12=0 ");
    // A press on nothing ends it; keys go nowhere.
    EXPECT_EQ(after({type("5"), press(300, 200), type("6")}), "5312first 4second 1.11=0 ");
    // Tab goes along the chain and back.
    fi_find_gadget(form, LABEL)->next_in_seq = 12;
    const auto tab = [](int modifiers) { return [=] { headless_key(host_key::tab, 0, uint8_t(modifiers)); }; };
    after({tab(0), type("7"), tab(HOST_SHIFT), type("8")});
    EXPECT_EQ(rows(form, 12).substr(0, 2), "47");
    EXPECT_NE(rows(form).find('8'), std::string::npos);
}

namespace {

FI_form* judged = nullptr;
int verdict = 1;
void (*on_verify)() = nullptr;
int judge(const char* /*text*/, int /*type*/) {
    if (on_verify != nullptr) on_verify();
    return verdict;
}

} // namespace

// What is refused goes back to its default, and the notification comes all the same.
TEST_F(Fields, InvalidEntries) {
    FI_form* form = show({"", FI_INSERT, FI_DOUBLE, 0, 1, 0, 9, 1, ""});
    FIfld_set_default_text(form, LABEL, 0, 0, "5", 0);
    FIg_set_low_value(form, LABEL, 1);
    FIg_set_high_value(form, LABEL, 10);
    const struct {
        const char* keys;
        const char* row;
    } cases[] = {{"<kill>7<ret>", "7"}, {"<kill>11<ret>", "5"}, {"<kill><ret>", "5"}, {"<kill>1,5<ret>", "1,5"}};
    for (const auto& c : cases) {
        type(form, 0, 0, c.keys);
        EXPECT_EQ(rows(form) + " " + take_told(), std::string(c.row) + " 1.11=0 ");
    }
    // The routine has the last word, whatever it does to the field.
    static constexpr void (*DEEDS[])() = {
        [] {},
        [] { FIg_delete(judged, LABEL); },
        [] { judged = FIf_delete(judged) == FI_SUCCESS ? nullptr : judged; },
        [] { FIg_erase(judged, LABEL); },
        [] { FIfld_set_num_rows(judged, LABEL, 0); },
        [] { FIf_set_size(judged, 700, 500); },
        [] { FIg_reset(judged, 0); },
        [] { FIfld_set_mode(judged, LABEL, 0, FI_REVIEW); },
        [] { FIfld_set_attr(judged, LABEL, 0, 0x20F); },
    };
    FIf_delete(form);
    for (void (*deed)() : DEEDS)
        for (const char* keys : {"x<ret>y", "x<down>y", "x<tab>", "x"}) {
            judged = show({"a|b|c", FI_INSERT, FI_ALPHA, 0, 5, 0, 9, 3, ""});
            FIfld_set_verify_routine(judged, LABEL, 0, judge);
            on_verify = deed;
            for (verdict = 0; verdict < 2 && judged != nullptr && FIg_is_valid(judged, LABEL) == FI_SUCCESS; ++verdict)
                type(judged, 0, 0, keys);
            if (judged != nullptr) FIf_delete(judged);
        }
    on_verify = nullptr;
}

// ---- lists ---------------------------------------------------------------------------------------------------------

TEST_F(Fields, ListsOpenAndClose) {
    FI_form* form = show({"x", FI_INSERT, FI_ALPHA, 0, 1, 0, 12, 1, ""});
    add(form, {FI_BUTTON, 13, 20, 60, 90, 100, "under"});
    FIf_display(form);
    constexpr uint32_t POP_UP = 0x200, DISMISS = 0x400;
    ASSERT_EQ(FIfld_set_attr(form, LABEL, 0, POP_UP | DISMISS), FI_SUCCESS);
    int list = 0;
    ASSERT_EQ(FIfld_get_list_label(form, LABEL, 0, &list), FI_SUCCESS);
    ASSERT_LT(list, 0);
    for (int row = 0; row < 8; ++row)
        FIfld_set_text(form, list, row, 0, std::string(1, char('p' + row)).c_str(), 0);
    fi_field* f = field(form);
    const fi_box place = fi_rect_of(f->list);
    EXPECT_GT(place.y1, fi_rect_of(&f->common).y2); // below
    const std::vector<uint8_t> closed = picture(form);
    FIg_display(form, LABEL);
    EXPECT_EQ(difference(form, picture(form), closed), ""); // showing the field opens nothing
    const int strip_x = fi_rect_of(&f->common).x2 - 5, strip_y = fi_rect_of(&f->common).y1 + 5;
    const auto press = [=](int x, int y) { return [=] { post_click(form, x, y); }; };
    std::vector<uint8_t> open;
    // A pick closes it; what it lies on takes no press.
    script = {[&] { open = picture(form); }, press(place.x1 + 10, place.y1 + int(f->row_height) + 5)};
    click(form, strip_x, strip_y);
    EXPECT_NE(difference(form, open, closed), "");
    EXPECT_EQ((values{rows(form), value(form, 13)}), (values{"q", 0}));
    EXPECT_FALSE(fi_list_is_open(f));
    // By keys: Down opens it, Return takes.
    type(form, 0, 0, "<down><down><down><ret><ret>");
    EXPECT_EQ(rows(form), "s");
    // A press elsewhere closes it and is a press.
    script = {press(200, 280)};
    click(form, strip_x, strip_y);
    EXPECT_FALSE(fi_list_is_open(f));
    // A field that is chosen from leaves it open, until a press elsewhere.
    FIfld_set_mode(form, LABEL, 0, FI_SINGLE_SELECT);
    click(form, strip_x, strip_y);
    EXPECT_TRUE(fi_list_is_open(f));
    // What is drawn below leaves it on top, and so does drawing an area.
    const std::vector<uint8_t> with_list = picture(form);
    FIg_set_state(form, 13, 1);
    FIg_set_state(form, 13, 0);
    fi_redraw_area(form, 0, 0, 400, 300);
    EXPECT_EQ(difference(form, picture(form), with_list), "");
    click(form, 200, 280);
    EXPECT_FALSE(fi_list_is_open(f));
    // At the bottom of the form there is room above only.
    add_field(form, {"x", FI_INSERT, FI_ALPHA, 0, 1, 0, 12, 1, ""}, 14, 20, 260);
    FIfld_set_attr(form, 14, 0, POP_UP);
    EXPECT_LT(fi_rect_of(field(form, 14)->list).y2, 260);
    FIfld_set_attr(form, 14, 0, 0);
    EXPECT_EQ(FIfld_get_list_label(form, 14, 0, &list), FI_INVALID_GADGET_TYPE);
}

// ---- scrolling -----------------------------------------------------------------------------------------------------

TEST_F(Fields, ScrollingByBar) {
    FI_form* form = show({"", FI_REVIEW, FI_ALPHA, FI_VERT_SCROLL | FI_VERT_BAR_SHOWN, 0, 0, 9, 5, ""});
    fi_field* f = field(form);
    FIfld_set_num_rows(form, LABEL, 20);
    const auto* bar = fi_as<fi_scroll>(f->scroll_bar);
    EXPECT_EQ((values{bar->high_value, bar->view_fraction}), (values{14, 0.25}));
    fi_find_gadget(form, LABEL)->attr_mask |= FI_NOTIFY_SCROLL;
    const struct {
        double value;
        int top;
    } moves[] = {{-1003, 1},  {-1004, 6}, {-1002, 5}, {-1005, 15}, {-1004, 15},
                 {-1001, 10}, {3.4, 3},   {99, 15},   {-1000, 0},  {-1001, 0}};
    for (const auto& m : moves) {
        fi_field_bar_moved(&f->common, f->scroll_bar, m.value);
        EXPECT_EQ(f->top_row, m.top) << m.value;
        EXPECT_EQ(take_told(), "1.11=-3 ");
    }
    FIfld_set_active_row(form, LABEL, 12, 2);
    EXPECT_EQ(f->top_row, 10);
    FIfld_set_num_rows(form, LABEL, 7);
    EXPECT_EQ(f->top_row, 2);
}

// ---- tables --------------------------------------------------------------------------------------------------------

class Tables : public Fields {
protected:
    static fi_mcf* table(FI_form* form, int label) { return fi_as<fi_mcf>(fi_find_gadget(form, label)); }
    void click_cell(FI_form* form, int table_label, int column, int row) {
        const fi_field* f = fi_mcf_column(table(form, table_label), column);
        click(form, fi_text_box(f).x1 + 3, fi_row_box(f, row).y1 + 5);
    }
    static std::vector<std::function<void()>> keys(const std::vector<std::string>& names) {
        std::vector<std::function<void()>> all;
        all.reserve(names.size());
        for (const std::string& name : names)
            all.emplace_back([=] { press(name); });
        return all;
    }
    static std::string cell(FI_form* form, int label, int row, int column) {
        char text[80] = "";
        FIfld_get_text(form, label, row, column, sizeof text, text, nullptr, nullptr);
        return text;
    }
};

TEST_F(Tables, EntriesGoFromColumnToColumn) {
    FI_form* form = load("g_mcf.frm");
    FIf_display(form);
    fi_mcf* m = table(form, 11);
    const int count = fi_mcf_rows(m);
    m->group.common.next_in_seq = 0;
    // Tab passes the column that is only read, scrolls to the last one, and goes on in the next row.
    script = keys({"a", "tab", "9", "tab", "z", "tab", "b"});
    click_cell(form, 11, 0, 0);
    std::string cells;
    for (const int column : {0, 1, 2, 3})
        cells += cell(form, 11, 0, column) + "|";
    EXPECT_EQ(cells + cell(form, 11, 1, 0), "aButton|0|90.00|zremark 0|bToggle");
    EXPECT_EQ(m->first_col, 0); // came back around
    EXPECT_NE(take_told().find("1.11=-2"), std::string::npos);
    int column = -1, position = -1;
    EXPECT_EQ(FImcf_get_active_col(form, 11, &column, &position), FI_SUCCESS);
    EXPECT_EQ(column, 0);
    // At the end of the table a row is made, but not beyond the limit.
    FIfld_set_active_row(form, 11, count - 1, 0);
    script = keys({"tab", "tab", "tab"});
    click_cell(form, 11, 0, count - 1);
    EXPECT_EQ(fi_mcf_rows(m), count + 1);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(fi_mcf_column(m, i)->num_rows, count + 1);
        fi_mcf_column(m, i)->max_rows = fi_short(count + 1);
    }
    script = keys({"tab", "tab", "tab"});
    click_cell(form, 11, 0, count);
    EXPECT_EQ(fi_mcf_rows(m), count + 1);
    // With a chain Tab leaves from the last column only.
    m->group.common.next_in_seq = 13;
    script = keys({"tab", "tab", "tab", "q"});
    click_cell(form, 11, 0, count);
    EXPECT_EQ(cell(form, 13, 0, 0), "qA0");
}

TEST_F(Tables, RowsAndColumns) {
    FI_form* form = load("g_mcf.frm");
    FIf_display(form);
    take_told();
    // The strip chooses in all columns.
    const fi_field* first = fi_mcf_column(table(form, 12), 0);
    click(form, int(table(form, 12)->group.common.x1) + 4, fi_row_box(first, 2).y1 + 5);
    const auto selected = [form](int row, int column) {
        int is = -1;
        FIfld_get_select(form, 12, row, column, &is);
        return std::to_string(is);
    };
    EXPECT_EQ(selected(2, 0) + selected(2, 1) + take_told(), "111.12=-1 ");
    // So does a press in one, as the table has it; rows go out of all of them.
    click_cell(form, 12, 1, 0);
    EXPECT_EQ(selected(2, 0) + selected(0, 0) + take_told(), "011.12=0 ");
    EXPECT_EQ(FIfld_delete_rows(form, 12, 0, 2), FI_SUCCESS);
    EXPECT_EQ(cell(form, 12, 0, 0) + cell(form, 12, 0, 1), "Fieldtype 2");
    // Scrolling sideways takes the linked table along, as far as it goes, and is told even when nothing moves.
    fi_mcf* upper = table(form, 13);
    for (const double number : {-1009.0, -1011.0, -1009.0})
        fi_mcf_bar_moved(&upper->group.common, upper->hort_scroll, number);
    EXPECT_EQ((values{upper->first_col, table(form, 14)->first_col}), (values{4, 4}));
    EXPECT_EQ(take_told(), "1.13=-2 1.13=-2 1.13=-2 ");
    EXPECT_EQ(
        fi_mcf_column_at(upper, fi_rect_of(upper->group.members[0]).x1 + 2, fi_rect_of(upper->group.members[0]).y1 + 2),
        fi_mcf_column(upper, 4)); // hidden ones take no press
    const std::vector<uint8_t> scrolled = picture(form);
    FIg_display(form, 121); // doesn't bring it back
    FIg_display(form, 13);
    EXPECT_EQ(difference(form, picture(form), scrolled), "");
    // A column that goes makes the table smaller.
    EXPECT_EQ(FIg_delete(form, 122), FI_SUCCESS);
    EXPECT_EQ(upper->num_cols, 6);
    EXPECT_EQ(FIfld_set_text(form, 13, 0, 6, "x", 0), FI_INVALID_COLUMN);
    EXPECT_EQ(cell(form, 13, 0, 1), "C0");
    EXPECT_EQ(FIg_add_to_group(form, 121, 0), FI_INVALID_GADGET_TYPE);
    // The thumb stays where the press has put it, and a column that is drawn by itself stays off the bar.
    const fi_box slide = fi_rect_of(upper->hort_scroll);
    click(form, slide.x1 + (slide.x2 - slide.x1) / 3, (slide.y1 + slide.y2) / 2);
    FIfld_set_mode(form, 13, upper->first_col, FI_APPEND);
    const std::vector<uint8_t> drawn = picture(form);
    fi_redraw_area(form, 0, 0, fi_form_width(form), fi_form_height(form));
    EXPECT_EQ(difference(form, picture(form), drawn), "");
    for (const int label : {123, 124, 125, 126, 127, 121})
        EXPECT_EQ(FIg_delete(form, label), FI_SUCCESS);
    int count = 0;
    EXPECT_EQ(FIfld_get_num_rows(form, 13, &count), FI_INVALID_COLUMN);
    script = keys({"tab"});
    click(form, int(upper->group.common.x1) + 20, int(upper->group.common.y1) + 10);
}

// ---- no memory -----------------------------------------------------------------------------------------------------

// Whichever allocation fails, the call says so or has done all, rows stay in step, and the next try works.
TEST_F(Tables, EveryFailureIsSurvived) {
    static constexpr int (*CALLS[])(FI_form*) = {
        [](FI_form* f) {
            return FIfld_set_text(f, 11, 40, 2, "a text of some length, and then more of it, to need a block", 0);
        },
        [](FI_form* f) { return FIfld_set_num_rows(f, 11, 90); },
        [](FI_form* f) { return FIfld_set_attr(f, 15, 2, 0x203); },
        [](FI_form* f) { return FIfld_set_default_text(f, 12, 20, 1, "default", 1); },
        [](FI_form* f) { return FIfld_set_value(f, 11, 50, 2, 1e300, 0); },
    };
    FI_form* form = load("g_mcf.frm");
    FIf_display(form);
    for (const auto call : CALLS)
        for (long n = 0;; ++n) {
            mem_fail_after(n, mem_fail::once);
            const int status = call(form);
            const bool failed = mem_fail_stop();
            EXPECT_TRUE(status == FI_SUCCESS || (failed && status == FI_NO_MEMORY)) << status;
            for (const int label : {11, 12, 15}) {
                const fi_mcf* m = table(form, label);
                for (int i = 1; i < fi_mcf_columns(m); ++i)
                    EXPECT_EQ(fi_mcf_column(m, i)->num_rows, fi_mcf_rows(m));
            }
            EXPECT_EQ(call(form), FI_SUCCESS);
            FIfld_set_attr(form, 15, 2, 0);
            FIfld_set_num_rows(form, 11, 0);
            if (!failed) break;
        }
    FIf_delete(form);
    // Typing, opening and choosing.
    form = load("g_fieldlist.frm");
    FIf_display(form);
    for (long n = 0; n < 24; ++n) {
        script = keys({"a", "down", "down", "ret", "kill", "^y", "tab", "x", "down", "ret"});
        mem_fail_after(n, mem_fail::once);
        click_char(form, 0, 1, 16);
        mem_fail_stop();
        FIg_reset(form, 16);
    }
}
