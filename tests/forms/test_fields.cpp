// Fields: what keys, presses and calls make of their rows.
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "forms/fields.h"
#include "forms/show.h"
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
        const char* told;
    } cases[] = {
        {"a full row loses its last character",
         {"abcde", FI_INSERT, FI_ALPHA, 0, 1, 5, 5, 1, ""},
         0,
         0,
         "x",
         "xabcd",
         ""},
        {"the cursor stays on the last place",
         {"", FI_INSERT, FI_ALPHA, 0, 1, 5, 5, 1, ""},
         0,
         0,
         "abcdefg",
         "abcdg",
         ""},
        {"one point", {"", FI_INSERT, FI_DOUBLE, 0, 1, 0, 9, 1, ""}, 0, 0, "1.2.3,4", "1.234", ""},
        {"a comma is a point",
         {"", FI_INSERT, FI_DOUBLE, 0, 1, 0, 9, 1, "%.3f"},
         0,
         0,
         "1,25<ret>",
         "1.250",
         "1.11=0 "},
        {"no point in a whole number", {"", FI_INSERT, FI_INT, 0, 1, 0, 9, 1, ""}, 0, 0, "-1.5e", "-15", ""},
        {"nothing before the start", {"ab|cd", FI_INSERT, FI_ALPHA, 0, 2, 0, 9, 2, ""}, 0, 0, "<back>", "ab|cd", ""},
        {"back over the row's start joins",
         {"ab|cd", FI_INSERT, FI_ALPHA, 0, 2, 0, 9, 2, ""},
         1,
         0,
         "<back>x",
         "abxcd",
         ""},
        {"not when it gets too long",
         {"abcd|efg", FI_INSERT, FI_ALPHA, 0, 2, 5, 5, 2, ""},
         1,
         0,
         "<back>",
         "abcd|efg",
         ""},
        {"delete at the end joins", {"ab|cd", FI_INSERT, FI_ALPHA, 0, 2, 0, 9, 2, ""}, 0, 5, "<del>", "abcd", ""},
        {"Return at the limit ends",
         {"ab|cd", FI_INSERT, FI_ALPHA, 0, 2, 0, 9, 2, ""},
         1,
         1,
         "<ret>x",
         "ab|cd",
         "1.11=1 "},
        {"Return splits", {"abcd", FI_INSERT, FI_ALPHA, 0, 5, 0, 9, 5, ""}, 0, 2, "<ret>x", "ab|xcd", ""},
        {"in a number it adds a row", {"1234", FI_INSERT, FI_INT, 0, 5, 0, 9, 5, ""}, 0, 2, "<ret>5", "1234|5", ""},
        {"appending goes to the next row",
         {"ab|cd", FI_APPEND, FI_ALPHA, 0, 5, 0, 9, 5, ""},
         0,
         2,
         "<ret>x",
         "ab|cdx",
         ""},
        {"kill and yank", {"abcdef", FI_INSERT, FI_ALPHA, 0, 1, 0, 9, 1, ""}, 0, 2, "<kill><home><^y>", "cdefab", ""},
        {"case", {"abCD", FI_INSERT, FI_ALPHA, 0, 1, 0, 9, 1, ""}, 0, 0, "<^c><^c><^l><^l>", "ABcd", ""},
        {"swap", {"abc", FI_INSERT, FI_ALPHA, 0, 1, 0, 9, 1, ""}, 0, 0, "<^t><^t>", "bca", ""},
        {"right to left", {"abc", FI_INSERT, FI_ALPHA, FI_RIGHT_TO_LEFT, 1, 0, 9, 1, ""}, 0, 1, "<left>x", "abxc", ""},
        {"unseen", {"abc", FI_INSERT, FI_ALPHA, FI_NO_ECHO, 1, 0, 9, 1, ""}, 0, 0, "<del><kill><back>", "ab", ""},
        {"cleared at entry", {"abc", FI_INSERT, FI_ALPHA, FI_CLEAR_ON_SELECT, 1, 0, 9, 1, ""}, 0, 1, "x", "x", ""},
        {"arrows go over rows",
         {"ab|cd", FI_INSERT, FI_ALPHA, 0, 2, 0, 9, 2, ""},
         0,
         2,
         "<right>x<left><left>y",
         "aby|xcd",
         ""},
        {"wrapping goes on",
         {"", FI_INSERT, FI_ALPHA, FI_WRAP, 4, 0, 9, 4, ""},
         0,
         0,
         "one two three",
         "one two|three",
         ""},
        {"a long word is cut",
         {"", FI_INSERT, FI_ALPHA, FI_WRAP, 4, 0, 5, 4, ""},
         0,
         0,
         "abcdefghij",
         "abcd|efgh|ij",
         ""},
        {"wrapped anew, in front",
         {"one two|three", FI_INSERT, FI_ALPHA, FI_WRAP, 4, 0, 9, 4, ""},
         0,
         0,
         "a b ",
         "a b one|two|three",
         ""},
        {"wrapped to the last row",
         {"", FI_INSERT, FI_ALPHA, FI_WRAP, 2, 0, 5, 2, ""},
         0,
         0,
         "abcdefghij",
         "abcd|efgh",
         ""},
        {"deleting in a wrapped row",
         {"one two|three", FI_INSERT, FI_ALPHA, FI_WRAP, 4, 0, 9, 4, ""},
         0,
         1,
         "<del><back>",
         "e two|three",
         ""},
        {"letters above 170", {"", FI_INSERT, FI_ALPHA, 0, 1, 0, 9, 1, ""}, 0, 0, "\xB0\xB9\xAB", "\xB0\xB9\xAB", ""},
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
