// Form files: reading them, what is wrong with them, and the programs that make and print them.
#include <cmath>

#include "common/failures.h"
#include "common/run.h"
#include "common/values.h"
#include "forms/frm.h"
#include "forms_fixture.h"
#include "support/bytes.h"

namespace {

// A file under construction.
struct frm {
    int version;
    std::string bytes;
    explicit frm(int v) : version(v) {}
    frm& raw(const void* p, size_t n) {
        bytes.append(static_cast<const char*>(p), n);
        return *this;
    }
    frm& u8(int v) {
        bytes += static_cast<char>(v);
        return *this;
    }
    frm& u16(int v) { return u8(v & 255).u8(v >> 8 & 255); }
    frm& u32(uint32_t v) { return u16(static_cast<int>(v & 0xFFFF)).u16(static_cast<int>(v >> 16)); }
    frm& f64(double v) {
        uint8_t b[8];
        store_f64le(b, v);
        return raw(b, 8);
    }
    frm& text(const std::string& t) { return u16(static_cast<int>(t.size())).raw(t.data(), t.size()); }
    frm& label(int v) { return version < 5 ? u16(v) : u32(static_cast<uint32_t>(v)); }
    frm& zeros(int n) {
        bytes.append(static_cast<size_t>(n), '\0');
        return *this;
    }

    // The head, up to the gadget count.
    frm& head(int start = -1, const char* magic = "FIform") {
        zeros(2).raw(magic, 6).u16(version).text("A form").u32(7).u32(0).u32(0);
        for (const int v : {10, 20, 210, 120, 200, 100, 0, 0, 5, 6})
            u16(v);
        u8(4).u8(3).text("collapse.icon").u8(1).u16(1).text("one");
        if (version == 3) zeros(40);
        if (version == 4) u16(9);
        return version < 5 ? u16(start) : u32(static_cast<uint32_t>(start));
    }
    frm& entry(int type, int number, int gadget_version = 5) { return u16(type).u16(gadget_version).label(number); }
    // A record up to the type's part; `tags` stand in front of the end of the tags.
    frm& record(const std::string& tags = "", uint32_t attributes = 0, int link = -1, double value = 0) {
        if (version == 3)
            zeros(20);
        else
            raw(tags.data(), tags.size()).u16(0);
        label(link).label(0).u16(0);
        for (const int v : {1, 2, 31, 22, 30, 20})
            u16(v);
        u32(attributes).f64(value).u16(15).u16(1).u16(1);
        return text("text").text("").text("").text("dutch801").u8(4).u8(5).u8(1).u8(2).u8(3).u8(255).u8(0);
    }
    frm& symbol(int number) { return entry(FI_SYMBOL, number).record(); }
    frm& field_part(int rows = 0, bool list = false) {
        u16(0).u16(0).u16(2).u16(3).u16(10).u16(8).u16(rows).f64(0).f64(0).u8(0).text("");
        for (int i = 0; i < rows; ++i)
            text("row" + std::to_string(i)).u16(i == 1 ? 1 : 0);
        return u32(0).u8(list ? 1 : 0);
    }
    frm& group(int number, int members) {
        entry(FI_GROUP, number).u16(members).u8(0).u8(5);
        return zeros(version == 3 ? 8 : 2);
    }
    frm& end() { return u16(0xFFFF); }
};

std::string tag(int number, const std::string& data) {
    return frm(5).u16(number).bytes + data;
}

class Frm : public FormsFixture {
protected:
    // The form of the bytes, and the status.
    FI_form* open(const std::string& bytes, int* status) {
        const std::string name = write("x.frm", bytes);
        FI_form* form = nullptr;
        *status = FIf_new(1, name.c_str(), note, &form);
        EXPECT_EQ(form == nullptr, *status != 0);
        return form;
    }
    int status_of(const std::string& bytes) {
        int status = -1;
        FI_form* form = open(bytes, &status);
        if (form != nullptr) FIf_delete(form);
        return status;
    }
    FI_gadget* gadget(const frm& file, int label) {
        int status = -1;
        FI_form* form = open(file.bytes, &status);
        EXPECT_EQ(status, 0);
        return fi_find_gadget(form, label);
    }
    static int forms_in_table() {
        int count = 0;
        for (int i = 0; i < fi_state.form_slots; ++i)
            count += fi_state.forms[i] != nullptr ? 1 : 0;
        return count;
    }
};

} // namespace

TEST_F(Frm, HeadAndRecordsOfAllVersions) {
    for (const int version : {3, 4, 5}) {
        frm file(version);
        file.head(42).u16(3).symbol(11).group(20, 2).symbol(21).group(22, 1).symbol(23);
        file.entry(FI_FIELD, 30).record().field_part(3).end();
        int status = -1;
        FI_form* form = open(file.bytes, &status);
        ASSERT_EQ(status, 0) << version;
        EXPECT_EQ((values{form->complete, form->description, form->file_name}), (values{1, "A form", "x.frm"}));
        EXPECT_EQ((values{form->strings[0], form->start_seq, form->reserved_file_word}), (values{"one", 42, 7U}));
        EXPECT_EQ((values{form->collapse_position_pending, fi_form_width(form)}), (values{1, 200}));
        const FI_gadget* g = fi_find_gadget(form, 23); // in a group in a group
        ASSERT_NE(g, nullptr);
        EXPECT_EQ(g->group->common.label, 22);
        EXPECT_EQ(g->group->single_select, 1); // 5 in the file
        EXPECT_EQ((values{g->x1, g->on_color2, g->text}), (values{1.0F, -1, "text"}));
        const auto* f = fi_as<fi_field>(fi_find_gadget(form, 30));
        EXPECT_EQ(f->num_default_rows, 3);
        EXPECT_EQ(f->num_rows, 2); // max_rows
        EXPECT_STREQ(f->rows[1].text, "row1");
        FIf_delete(form);
    }
}

TEST_F(Frm, NoNumberOfALabelIsMinusOne) {
    EXPECT_EQ(gadget(frm(5).head().u16(1).entry(FI_SYMBOL, 11).record("", 0, 14648).end(), 11)->link_label, -1);
    int status = -1;
    EXPECT_EQ(open(frm(3).head(14648).u16(0).bytes, &status)->start_seq, -1);
    EXPECT_EQ(open(frm(4).head(14648).u16(0).bytes, &status)->start_seq, 14648);
}

// The last digit of an unknown tag tells how much it has; what is read behind it is right only then.
TEST_F(Frm, Tags) {
    std::string tags;
    for (const auto& [number, size] :
         {std::pair{20, 8}, {31, 8}, {42, 8}, {13, 4}, {24, 4}, {35, 4}, {16, 2}, {7, 2}, {38, 1}, {49, 1}, {-3, 8}})
        tags += tag(number, std::string(static_cast<size_t>(size), '\x77'));
    tags += tag(1, frm(5).f64(0.25).bytes) + tag(8, "") + tag(9, "\x01") + tag(18, "\xFD");
    frm file(4);
    file.head().u16(1).entry(FI_SLIDER, 11).record(tags).u8(1).f64(2).f64(8).u8(3).u8(4).u8(1).end();
    FI_gadget* g = gadget(file, 11);
    EXPECT_EQ(fi_as<fi_slider>(g)->increment, 0.25F);
    EXPECT_EQ(fi_as<fi_slider>(g)->display_mask, 3 | FI_REVERSED);
    EXPECT_EQ((values{fi_as<fi_slider>(g)->high_value, g->justification, g->erase_color}), (values{8.0, 1, -3}));
    EXPECT_EQ(g->on_color, 2);
    // Sliders of earlier versions have black text.
    frm old(5);
    old.head().u16(1).entry(FI_SLIDER, 11, 4).record().zeros(20).end();
    EXPECT_EQ(gadget(old, 11)->on_color, FI_BLACK);
}

TEST_F(Frm, ListsAndColumns) {
    frm file(5);
    file.head().u16(2);
    file.entry(FI_FIELD, 11).record().field_part(0, true).entry(FI_FIELD, -1).record().field_part();
    file.entry(FI_MCF, 12).record().u8(0).u8(0).u32(4000000000U);
    file.entry(FI_FIELD, 13).record().field_part().entry(FI_FIELD, 14).record().field_part().u16(0xFFFF).end();
    FI_gadget* g = gadget(file, 11);
    FI_gadget* list = fi_as<fi_field>(g)->list;
    ASSERT_NE(list, nullptr);
    EXPECT_EQ((values{list->user_pointer, fi_as<fi_field>(list)->flags}), (values{g, FI_NOTIFY_BY_LINE}));
    FI_gadget* table = fi_find_gadget(g->form, 12);
    EXPECT_EQ(fi_as<fi_mcf>(table)->num_cols, 2); // the part ended behind the second column
    EXPECT_EQ(fi_as<fi_mcf>(table)->mcf_flags, 0U);
    EXPECT_EQ(table->off_color2, 3); // from the first column
    EXPECT_EQ(fi_find_gadget(g->form, 14)->group, fi_as_group(table));
    EXPECT_EQ(fi_find_gadget(g->form, -1), nullptr);
}

namespace {

std::string nested(int levels) {
    frm file(5);
    file.head().u16(1);
    for (int i = 0; i < levels; ++i)
        file.group(100 + i, 1);
    return file.symbol(11).end().bytes;
}

std::string lists(int levels) {
    frm file(5);
    file.head().u16(1).entry(FI_FIELD, 11).record().field_part(0, true);
    for (int i = 0; i < levels; ++i)
        file.entry(FI_FIELD, -1 - i).record().field_part(0, i + 1 < levels);
    return file.end().bytes;
}

} // namespace

TEST_F(Frm, BadFilesGiveTheirStatus) {
    const auto one = [](int version) { return frm(version).head().u16(1); };
    const struct {
        const char* what;
        std::string bytes;
        int status;
    } cases[] = {
        {"no magic, no version", frm(99).head(0, "FIFORM").bytes, FI_NOT_A_FORM_FILE},
        {"version 2", frm(2).head().bytes, FI_FORM_VERSION_TOO_OLD},
        {"version 6", frm(6).head().bytes, FI_FORM_VERSION_TOO_NEW},
        {"no end", one(5).symbol(11).bytes, FI_FORM_FILE_READ_ERROR},
        {"negative count of gadgets", frm(5).head().u16(-2).bytes, FI_FORM_FILE_READ_ERROR},
        {"negative count of members", one(5).group(11, -1).bytes, FI_FORM_FILE_READ_ERROR},
        {"members beyond the file", one(5).group(11, 30000).end().bytes, FI_FORM_FILE_READ_ERROR},
        {"negative count of rows", one(5).entry(FI_FIELD, 11).record().field_part(-1).zeros(90).bytes,
         FI_FORM_FILE_READ_ERROR},
        {"rows beyond the file",
         one(5).entry(FI_FIELD, 11).record().zeros(12).u16(32767).zeros(17).text("").zeros(90).bytes,
         FI_FORM_FILE_READ_ERROR},
        {"a negative length", frm(5).zeros(2).raw("FIform", 6).u16(5).u16(-5).zeros(99).bytes, FI_FORM_FILE_READ_ERROR},
        {"a zero in a string", frm(5).zeros(2).raw("FIform", 6).u16(5).text(std::string("a\0b", 3)).zeros(99).bytes,
         FI_FORM_FILE_READ_ERROR},
        {"type 15", one(5).entry(15, 11).record().end().bytes, FI_INVALID_GADGET_TYPE},
        {"type 263", one(5).entry(263, 11).record().end().bytes, FI_INVALID_GADGET_TYPE},
        {"type -2", one(5).entry(-2, 11).record().end().bytes, FI_INVALID_GADGET_TYPE},
        {"an end among members", one(5).group(11, 1).end().zeros(9).bytes, FI_INVALID_GADGET_TYPE},
        {"a button as list",
         one(5).entry(FI_FIELD, 11).record().field_part(0, true).entry(FI_BUTTON, -1).record().u8(0).end().bytes,
         FI_INVALID_GADGET_TYPE},
        {"a text as column",
         one(5).entry(FI_MCF, 11).record().u16(0).u32(1).entry(FI_TEXT, 12).record().zeros(9).end().bytes,
         FI_INVALID_GADGET_TYPE},
        {"a label twice", one(4).symbol(11).symbol(11).end().bytes, FI_LABEL_IN_USE},
        {"a label twice in groups", one(5).group(20, 1).symbol(11).group(21, 1).symbol(11).end().bytes,
         FI_LABEL_IN_USE},
        {"label 0", one(5).symbol(0).end().bytes, FI_LABEL_IN_USE},
        {"a negative label", one(5).symbol(-1).end().bytes, FI_LABEL_IN_USE},
        {"65 groups deep", nested(65), FI_INVALID_ARGUMENT},
        {"65 lists deep", lists(65), FI_INVALID_ARGUMENT},
        {"no number", one(5).entry(FI_SYMBOL, 11).record("", 0, -1, NAN).end().bytes, FI_INVALID_ARGUMENT},
        {"an endless number", one(5).entry(FI_SCROLL, 11).record().u8(0).f64(INFINITY).f64(0).f64(0).end().bytes,
         FI_INVALID_ARGUMENT},
        {"a double too large for a float", one(5).entry(FI_BAR, 11).record().u8(0).f64(1e39).f64(1).end().bytes,
         FI_INVALID_ARGUMENT},
        {"64 groups deep", nested(64), FI_SUCCESS},
        {"64 lists deep", lists(64), FI_SUCCESS},
        {"no gadgets, and no end", frm(5).head().u16(0).bytes, FI_SUCCESS},
        {"more gadgets than the count", one(5).symbol(11).symbol(12).end().bytes, FI_SUCCESS},
        {"a count beyond the file", frm(5).head().u16(32767).symbol(11).end().bytes, FI_SUCCESS},
    };
    for (const auto& c : cases)
        EXPECT_EQ(status_of(c.bytes), c.status) << c.what;
    FI_form* form = nullptr;
    EXPECT_EQ(FIf_new(1, path("none.frm").c_str(), note, &form), FI_FORM_FILE_NOT_FOUND);
    EXPECT_EQ(FIf_new(1, "none.frm", note, &form), FI_FORM_FILE_NOT_FOUND);
    EXPECT_EQ(FIf_new(1, directory.c_str(), note, &form), FI_FORM_FILE_NOT_FOUND);
    EXPECT_EQ(forms_in_table(), 0);
}

// A form with everything, for the tests that cut and break.
TEST_F(Frm, CutAnywhere) {
    for (const int version : {3, 4, 5}) {
        frm file(version);
        file.head().u16(3).group(20, 1).symbol(21);
        file.entry(FI_FIELD, 11).record().field_part(2, true).entry(FI_FIELD, -1).record().field_part(1);
        file.entry(FI_MCF, 12).record().u16(0).u32(1).entry(FI_FIELD, 13).record().field_part();
        file.u16(1).u16(1).u16(0).u32(0).end();
        ASSERT_EQ(status_of(file.bytes), FI_SUCCESS);
        for (size_t cut = 0; cut < file.bytes.size(); ++cut) {
            const std::vector<uint8_t> part(file.bytes.begin(), file.bytes.begin() + static_cast<ptrdiff_t>(cut));
            FI_form* form = fi_new_form_record();
            ASSERT_EQ(frm_read(part.data(), cut, form), cut < 8 ? FI_NOT_A_FORM_FILE : FI_FORM_FILE_READ_ERROR)
                << version << " cut at " << cut;
            fi_free_form_record(form);
        }
    }
}

TEST_F(Frm, EveryFailureIsTold) {
    frm file(5);
    file.head().u16(3).group(20, 1).symbol(21).entry(FI_SCROLL, 22).record().zeros(25);
    file.entry(FI_TOGGLE, 23).record("", FI_TEXT_GADGET).text("on");
    file.entry(FI_FIELD, 11).record().field_part(2, true).entry(FI_FIELD, -1).record().field_part(1).end();
    const std::string name = write("x.frm", file.bytes);
    FI_form* form = nullptr;
    int status = FIf_new(1, name.c_str(), note, &form); // fonts and symbols stay in their caches
    ASSERT_EQ(status, FI_SUCCESS);
    FIf_delete(form);
    sweep_failures(
        MEMORY_FAILURES, [&] { status = FIf_new(1, name.c_str(), note, &form); },
        [&](bool hit) {
            EXPECT_TRUE(status == FI_SUCCESS || (hit && status == FI_NO_MEMORY)) << status;
            EXPECT_EQ(form != nullptr, status == FI_SUCCESS);
            if (form != nullptr) FIf_delete(form);
        });
    sweep_failures(
        TRANSFER_FAILURES, [&] { status = FIf_new(1, name.c_str(), note, &form); },
        [&](bool hit) {
            EXPECT_TRUE(status == FI_SUCCESS || (hit && status == FI_FORM_FILE_READ_ERROR)) << status;
            if (form != nullptr) FIf_delete(form);
        });
}

// ---- the programs ---------------------------------------------------------------------------------------------------

namespace {

class FrmPrograms : public OwnDirectory {
protected:
    run_result frmc(const std::string& arguments) const {
        return run_command(directory, bin_dir() + "/frmc " + arguments);
    }
    run_result frmdump(const std::string& file) const { return run_command(directory, bin_dir() + "/frmdump " + file); }
};

// One of each type, with everything that every version can hold.
constexpr const char* SOURCE = R"({"description": "Größe", "x1": 1, "y1": 2, "x2": 300, "y2": 200, "strings": ["é", ""],
 "start_seq": 11, "members": [
 {"type": "FI_GROUP", "label": 10, "no_pass_on": 1, "single_select": 1, "members": [
   {"type": "FI_BUTTON", "label": 11, "text": "a\nb", "menu_button": 1, "menu_string": "m", "value": 0.1}]},
 {"type": "FI_SLIDER", "label": 12, "gadget_version": 4, "low_value": -1e300, "high_value": 2.5, "display_mask": 15,
  "field_width": 15, "decimals": 2, "orientation": 1},
 {"type": "FI_TOGGLE", "label": 13, "attr_mask": 256, "on_text": "an", "link_label": 11, "next_in_seq": 14},
 {"type": "FI_FIELD", "label": 14, "max_rows": -3, "justification": 2, "flags": 2052, "format": "%d",
  "default_rows": [{"text": "x"}, {"text": "y", "selected": 1}], "list": {"type": "FI_FIELD", "label": -1}},
 {"type": "FI_CHECKLIST", "label": 15, "symbol_index": 255},
 {"type": "FI_DIAL", "label": 16, "direction": 1, "zero_angle": 1.57, "scale": 0.159, "ticks": 12, "ticks_x": -1},
 {"type": "FI_TEXT", "label": 17, "justification": 1, "stored_width": 65535},
 {"type": "FI_LINE", "label": 18, "line_weight": 3, "line_pattern": 3855, "line_extra": 9},
 {"type": "FI_BAR", "label": 19, "segments": 10, "high_value": 100},
 {"type": "FI_RECT", "label": 20, "line_pattern": 1},
 {"type": "FI_SYMBOL", "label": 21, "x_scale": 3},
 {"type": "FI_SCROLL", "label": 22, "view_fraction": 0.25, "high_value": 7},
 {"type": "FI_MCF", "label": 23, "first_col": 1, "mcf_flags": 3, "members": [
   {"type": "FI_FIELD", "label": 24, "off_color2": 26}, {"type": "FI_FIELD", "label": 25}]},
 {"type": "FI_BEVEL", "label": 26, "off_color": -128}]})";

} // namespace

TEST_F(FrmPrograms, WhatIsDumpedCompilesToTheSame) {
    write("source.json", SOURCE);
    for (const char* version : {"3", "4", "5"}) {
        const run_result made = frmc(std::string("source.json a.frm --version ") + version);
        ASSERT_TRUE(made.ok()) << made.err;
        const run_result dump = frmdump("a.frm");
        ASSERT_TRUE(dump.ok()) << dump.err;
        write("dump.json", dump.out);
        ASSERT_TRUE(frmc("dump.json b.frm").ok());
        EXPECT_EQ(frmdump("b.frm").out, dump.out);
        for (const char* part : {"\"type\": \"FI_DIAL\"", "\"value\": 0.1", "\"low_value\": -1e+300",
                                 "\"description\": \"Größe\"", "\"max_rows\": -3", "\"segments\": 10.0",
                                 "\"gadget_version\": 4", "\"off_color\": -128", "\"start_seq\": 11"})
            EXPECT_NE(dump.out.find(part), std::string::npos) << part;
        EXPECT_NE(dump.out.find(std::string("\"version\": ") + version), std::string::npos);
    }
}

TEST_F(FrmPrograms, WhatAFileCantHoldIsRefused) {
    const auto with = [](const std::string& member) {
        return "{\"members\": [{\"type\": \"FI_SYMBOL\", " + member + "}]}";
    };
    const std::string slider = R"({"members": [{"type": "FI_SLIDER", "label": 1, )";
    const struct {
        std::string source;
        int highest; // version that can't hold it
    } cases[] = {
        {"{", 5},
        {"[]", 5},
        {R"({"x1": 1, "x1": 2})", 5},
        {R"({"colour": 1})", 5},
        {R"({"x1": 40000})", 5},
        {R"({"x1": 1.5})", 5},
        {R"({"description": 5})", 5},
        {R"({"description": "\u20ac"})", 5},
        {R"({"description": "a\u0000b"})", 5},
        {with(""), 5},
        {with("\"label\": 0"), 5},
        {with("\"label\": -1"), 5},
        {with("\"label\": 1, \"on_text\": \"\""), 5},
        {with("\"label\": 1, \"link_label\": 14648"), 5},
        {with("\"label\": 1, \"off_color\": 128"), 5},
        {with("\"label\": 1, \"value\": 1e999"), 5},
        {with("\"label\": 1}, {\"type\": \"FI_SYMBOL\", \"label\": 1"), 5},
        {slider + "\"gadget_version\": 4, \"on_color\": 3}]}", 5},
        {slider + "\"increment\": 1e39}]}", 5},
        {R"({"members": [{"type": "FI_MCF", "label": 1, "num_cols": 1}]})", 5},
        {R"({"members": [{"type": "FI_FIELD", "label": 1, "list": {"type": "FI_TEXT", "label": -1}}]})", 5},
        {with("\"label\": 40000"), 4},
        {with("\"label\": 1, \"next_in_seq\": -40000"), 4},
        {R"({"start_seq": 40000})", 4},
        {R"({"start_seq": 14648})", 3},
        {slider + "\"increment\": 2}]}", 3},
        {with("\"label\": 1, \"erase_color\": 3"), 3},
        {with("\"label\": 1, \"justification\": 1"), 3},
    };
    for (const auto& c : cases) {
        write("s.json", c.source);
        write("out.frm", "as it was");
        for (int version = c.highest == 5 ? 5 : 3; version <= 5; ++version) {
            const run_result made = frmc("s.json out.frm --version " + std::to_string(version));
            const bool refused = version <= c.highest;
            EXPECT_EQ(made.status, refused ? 1 : 0) << c.source << " in version " << version << ": " << made.err;
            EXPECT_EQ(made.err.empty(), !refused);
            EXPECT_EQ(read(path("out.frm")) == "as it was", refused) << c.source;
        }
    }
    write("s.json", R"({"version": 6})");
    EXPECT_EQ(frmc("s.json out.frm").status, 1);
    EXPECT_EQ(frmc("s.json").status, 2);
    EXPECT_EQ(frmc("s.json out.frm --version 6").status, 2);
    EXPECT_EQ(frmc("none.json out.frm").status, 1);
    EXPECT_EQ(frmdump("s.json").err, "frmdump: s.json: status 15: it is no form file\n");
    EXPECT_EQ(frmdump("s.json").status, 1);
    EXPECT_EQ(frmdump("out.frm >/dev/full").err, "frmdump: the output can't be written\n");
    EXPECT_NE(frmdump("none").err.find("status 1: there is no"), std::string::npos);
    EXPECT_EQ(frmdump("").status, 2);
}
