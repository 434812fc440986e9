// Form sources as records.
#include "source.h"

#include <cfloat>
#include <cmath>
#include <cstring>
#include <set>

#include "forms/fieldrows.h"
#include "forms/forms.h"
#include "forms/frm.h"
#include "forms/ops.h"
#include "items.h"
#include "support/memory.h"

using json = nlohmann::ordered_json;

// ---- JSON ----------------------------------------------------------------------------------------------------------

bool parse_source(const std::string& text, json* source, std::string* problem) {
    std::vector<std::set<std::string>> names; // of the objects that are open
    std::string twice;
    const auto watch = [&](int, json::parse_event_t event, json& parsed) {
        if (event == json::parse_event_t::object_start) names.emplace_back();
        if (event == json::parse_event_t::object_end) names.pop_back();
        if (event == json::parse_event_t::key && !names.back().insert(parsed.get<std::string>()).second)
            twice = parsed.get<std::string>();
        return true;
    };
    *source = json::parse(text, watch, false, true);
    if (source->is_discarded()) *problem = "no JSON";
    if (!twice.empty()) *problem = "\"" + twice + "\" stands twice";
    if (problem->empty() && !source->is_object()) *problem = "no JSON object";
    return problem->empty();
}

int source_version(const json& source, int otherwise, std::string* problem) {
    const auto found = source.find(KEY_VERSION);
    if (found == source.end()) return otherwise;
    if (found->is_number_integer() && *found >= FRM_OLDEST && *found <= FRM_NEWEST) return found->get<int>();
    *problem = "\"version\" is none of 3, 4 and 5";
    return 0;
}

// ---- items ---------------------------------------------------------------------------------------------------------

namespace {

struct source_reader {
    int version;
    FI_form* form;
    std::string* problem; // the first one
    int depth;            // of gadgets in each other

    bool fail(const std::string& what) const {
        if (problem->empty()) *problem = what;
        return false;
    }
    bool good() const { return problem->empty(); }
};

std::string quoted(const char* key) {
    return std::string("\"") + key + "\"";
}

template <typename T> void put(void* record, size_t offset, T value) {
    std::memcpy(static_cast<char*>(record) + offset, &value, sizeof value);
}

void put_whole(void* record, const item& i, int64_t v) {
    switch (i.type) {
    case kept::u8: put(record, i.offset, static_cast<uint8_t>(v)); break;
    case kept::s8: put(record, i.offset, static_cast<int8_t>(v)); break;
    case kept::u16: put(record, i.offset, static_cast<uint16_t>(v)); break;
    case kept::s16: put(record, i.offset, static_cast<int16_t>(v)); break;
    case kept::u32: put(record, i.offset, static_cast<uint32_t>(v)); break;
    case kept::s32: put(record, i.offset, static_cast<int32_t>(v)); break;
    case kept::f32: put(record, i.offset, static_cast<float>(v)); break;
    default: break;
    }
}

bool read_whole(source_reader* r, const json& value, const item& i, item_range range, void* record) {
    const bool whole =
        value.is_number_integer() || (value.is_number() && std::trunc(value.get<double>()) == value.get<double>());
    if (!whole) return r->fail(quoted(i.key) + " is no whole number");
    const double v = value.get<double>();
    if (v < static_cast<double>(range.low) || v > static_cast<double>(range.high))
        return r->fail(quoted(i.key) + " is " + value.dump() + ", beyond what version " + std::to_string(r->version) +
                       " can hold");
    put_whole(record, i, static_cast<int64_t>(v));
    return true;
}

bool read_real(source_reader* r, const json& value, const item& i, void* record) {
    if (!value.is_number()) return r->fail(quoted(i.key) + " is no number");
    const double v = value.get<double>();
    const double most = i.type == kept::f32 ? double{FLT_MAX} : DBL_MAX;
    if (!(std::fabs(v) <= most)) return r->fail(quoted(i.key) + " is too large");
    if (i.type == kept::f32)
        put(record, i.offset, static_cast<float>(v));
    else
        put(record, i.offset, v);
    return true;
}

bool read_latin(source_reader* r, const json& value, const char* key, std::string* latin) {
    if (!value.is_string()) return r->fail(quoted(key) + " is no text");
    if (!latin_of(value.get<std::string>(), latin))
        return r->fail(quoted(key) + " has a character that is 0 or beyond Latin-1");
    return latin->size() <= INT16_MAX || r->fail(quoted(key) + " is longer than a file can hold");
}

bool set_text(source_reader* r, const json& value, const char* key, char** place) {
    std::string latin;
    if (!read_latin(r, value, key, &latin)) return false;
    return fi_string_set(place, latin.c_str()) == FI_SUCCESS || r->fail("out of memory");
}

bool read_item(source_reader* r, const json& value, const item& i, void* record) {
    if (i.type == kept::text)
        return set_text(r, value, i.key, reinterpret_cast<char**>(static_cast<char*>(record) + i.offset));
    const item_range range = range_of(i, r->version);
    return range.whole ? read_whole(r, value, i, range, record) : read_real(r, value, i, record);
}

const item* find_item(std::span<const item> items, const std::string& key) {
    for (const item& i : items)
        if (key == i.key) return &i;
    return nullptr;
}

// ---- gadgets -------------------------------------------------------------------------------------------------------

enum class role : uint8_t { member, list, column };

bool read_gadget(source_reader* r, const json& source, role as, FI_gadget* holder, FI_gadget** result);

bool read_members(source_reader* r, const json& source, role as, FI_group* group) {
    if (!source.is_array()) return r->fail("\"members\" is no list");
    FI_gadget* member = nullptr;
    for (const json& one : source)
        if (!read_gadget(r, one, as, fi_common(group), &member)) return false;
    return true;
}

bool read_rows(source_reader* r, const json& source, fi_field* f) {
    if (!source.is_array()) return r->fail("\"default_rows\" is no list");
    if (source.size() > FI_MAX_ROWS) return r->fail("too many rows");
    if (fi_default_rows_resize(f, static_cast<int>(source.size())) != FI_SUCCESS) return r->fail("out of memory");
    FI_field_row* row = f->default_rows;
    for (const json& one : source) {
        if (!one.is_object()) return r->fail("a row is no object");
        for (const auto& [key, value] : one.items()) {
            static constexpr item SELECTED = {KEY_SELECTED, kept::u16, place::flag, offsetof(FI_field_row, selected)};
            const bool read = key == KEY_TEXT       ? set_text(r, value, KEY_TEXT, &row->text)
                              : key == KEY_SELECTED ? read_item(r, value, SELECTED, row)
                                                    : r->fail(quoted(key.c_str()) + " is no name of a row");
            if (!read) return false;
        }
        ++row;
    }
    return true;
}

bool read_list(source_reader* r, const json& source, fi_field* f) {
    return source.is_null() || read_gadget(r, source, role::list, &f->common, &f->list);
}

// What stands in a gadget besides its items. False and no problem: it is no such name.
bool read_special(source_reader* r, const std::string& key, const json& value, FI_gadget* g) {
    if (key == KEY_TYPE) return true;
    if (key == KEY_MEMBERS && fi_has_members(g))
        return read_members(r, value, g->type == FI_MCF ? role::column : role::member, fi_as_group(g));
    if (key == KEY_DEFAULT_ROWS && g->type == FI_FIELD) return read_rows(r, value, fi_as<fi_field>(g));
    if (key == KEY_LIST && g->type == FI_FIELD) return read_list(r, value, fi_as<fi_field>(g));
    return false;
}

// What a version or the format itself takes away from a gadget.
bool check_gadget(source_reader* r, const FI_gadget* g) {
    if (g->link_label == FRM_NO_LABEL) return r->fail("\"link_label\" can't be 14648, which stands for none");
    if (g->type == FI_SLIDER && g->gadget_version < FRM_OLD_SLIDER && g->on_color != FI_BLACK)
        return r->fail("a slider of \"gadget_version\" below 5 has \"on_color\" 2");
    if (g->type == FI_BUTTON && fi_as<fi_button>(g)->menu_button == 0 && *fi_as<fi_button>(g)->menu_string != '\0')
        return r->fail("\"menu_string\" without \"menu_button\"");
    if (g->type == FI_MCF && fi_as<fi_mcf>(g)->num_cols > fi_as_group(g)->next_free)
        return r->fail("\"num_cols\" is more than the columns that there are");
    return true;
}

// The first pass needs what the second goes by: whether a toggle has a text.
bool read_pass(source_reader* r, const json& source, FI_gadget* g, std::span<const item> items,
               std::span<const item> others) {
    for (const auto& [key, value] : source.items()) {
        const item* i = find_item(items, key);
        if (i != nullptr && !read_item(r, value, *i, g)) return false;
        if (i != nullptr || find_item(others, key) != nullptr || read_special(r, key, value, g)) continue;
        return r->fail(quoted(key.c_str()) + " is no name of a " + type_name(g->type));
    }
    return true;
}

void set_defaults(const json& source, FI_gadget* g) {
    if (!source.contains("gadget_version")) g->gadget_version = NEWEST_GADGET;
    if (!source.contains("orig_width")) g->orig_width = g->x2 - g->x1;
    if (!source.contains("orig_height")) g->orig_height = g->y2 - g->y1;
    if (g->type == FI_SLIDER && g->gadget_version < FRM_OLD_SLIDER && !source.contains("on_color"))
        g->on_color = FI_BLACK;
    if (g->type == FI_MCF && !source.contains("num_cols"))
        fi_as<fi_mcf>(g)->num_cols = static_cast<uint16_t>(fi_as_group(g)->next_free);
}

bool fill_gadget(source_reader* r, const json& source, FI_gadget* g) {
    const bool is_group = g->type == FI_GROUP;
    for (const auto& [key, value] : source.items()) { // names that decide which others there are, first
        const item* i = key == "attr_mask" && !is_group ? find_item(common_items, key) : nullptr;
        if (i != nullptr && !read_item(r, value, *i, g)) return false;
    }
    const std::span<const item> first = is_group ? group_items : common_items;
    const std::span<const item> second = is_group ? std::span<const item>{} : type_items(g);
    if (!read_pass(r, source, g, first, second)) return false;
    for (const auto& [key, value] : source.items()) {
        const item* i = find_item(second, key);
        if (i != nullptr && !read_item(r, value, *i, g)) return false;
    }
    set_defaults(source, g);
    return check_gadget(r, g);
}

bool make_gadget(source_reader* r, int type, role as, FI_gadget* holder, FI_gadget** result) {
    const int status =
        as == role::list ? fi_new_part(holder, type, 0, result) : fi_new_member(fi_as_group(holder), type, 0, result);
    return status == FI_SUCCESS || r->fail("out of memory, or too many members");
}

bool read_gadget(source_reader* r, const json& source, role as, FI_gadget* holder, FI_gadget** result) {
    if (!source.is_object()) return r->fail("a gadget is no object");
    const auto named = source.find(KEY_TYPE);
    const int type = named != source.end() && named->is_string() ? type_by_name(named->get<std::string>().c_str()) : -1;
    if (type < 0) return r->fail("a gadget without \"type\", or of a type that there isn't");
    if (as != role::member && type != FI_FIELD) return r->fail("a list or column is a FI_FIELD");
    if (++r->depth > 2 * FRM_DEPTH) return r->fail("gadgets too deep in each other");
    const bool read = make_gadget(r, type, as, holder, result) && fill_gadget(r, source, *result);
    --r->depth;
    if (read) return true;
    const auto label = source.find("label");
    if (r->problem->find("gadget ") != 0)
        *r->problem = "gadget " + (label != source.end() ? label->dump() : "without label") + ": " + *r->problem;
    return false;
}

// ---- forms ---------------------------------------------------------------------------------------------------------

bool read_strings(source_reader* r, const json& source) {
    if (!source.is_array() || source.size() > INT16_MAX) return r->fail("\"strings\" is no list of texts");
    if (source.empty()) return true;
    r->form->strings = mem_new_array<char*>(source.size());
    if (r->form->strings == nullptr) return r->fail("out of memory");
    for (const json& one : source) {
        char** place = &r->form->strings[r->form->string_count];
        *place = fi_empty_text;
        ++r->form->string_count;
        if (!set_text(r, one, KEY_STRINGS, place)) return false;
    }
    return true;
}

bool read_form_name(source_reader* r, const std::string& key, const json& value) {
    const item* i = find_item(form_items, key);
    if (i != nullptr) return read_item(r, value, *i, r->form);
    if (key == KEY_VERSION) return true;
    if (key == KEY_STRINGS) return read_strings(r, value);
    if (key == KEY_MEMBERS) return read_members(r, value, role::member, r->form->root_group);
    return r->fail(quoted(key.c_str()) + " is no name of a form");
}

} // namespace

bool read_source(const json& source, int version, FI_form* form, std::string* problem) {
    source_reader r = {version, form, problem, 0};
    form->version = static_cast<int16_t>(version);
    form->root_group = fi_new_root(form, FI_GROUP_SLOTS);
    if (form->root_group == nullptr) return r.fail("out of memory");
    for (const auto& [key, value] : source.items())
        if (!read_form_name(&r, key, value)) return false;
    if (!source.contains("design_width")) form->design_width = static_cast<int16_t>(fi_form_width(form));
    if (!source.contains("design_height")) form->design_height = static_cast<int16_t>(fi_form_height(form));
    if (version == FRM_OLDEST && form->start_seq == FRM_NO_LABEL)
        return r.fail("\"start_seq\" can't be 14648 in version 3, where it stands for none");
    return true;
}
