// Forms as JSON.
#include "dump.h"

#include "forms/ops.h"
#include "items.h"

using json = nlohmann::ordered_json;

namespace {

template <typename T> T at(const void* record, size_t offset) {
    T value;
    std::memcpy(&value, static_cast<const char*>(record) + offset, sizeof value);
    return value;
}

json value_of(const void* record, const item& i) {
    switch (i.type) {
    case kept::u8: return at<uint8_t>(record, i.offset);
    case kept::s8: return at<int8_t>(record, i.offset);
    case kept::u16: return at<uint16_t>(record, i.offset);
    case kept::s16: return at<int16_t>(record, i.offset);
    case kept::u32: return at<uint32_t>(record, i.offset);
    case kept::s32: return at<int32_t>(record, i.offset);
    case kept::f32:
        if (i.file == place::s16) return static_cast<int>(at<float>(record, i.offset));
        return double{at<float>(record, i.offset)};
    case kept::f64: return at<double>(record, i.offset);
    case kept::text: return utf8_of(at<const char*>(record, i.offset));
    }
    return nullptr;
}

void dump_items(json* out, const void* record, std::span<const item> items) {
    for (const item& i : items)
        (*out)[i.key] = value_of(record, i);
}

json dump_gadget(const FI_gadget* g);

json dump_members(const FI_group* group) {
    json list = json::array();
    int at = 0;
    while (const FI_gadget* member = fi_next_member(group, &at))
        list.push_back(dump_gadget(member));
    return list;
}

void dump_field(json* out, const fi_field* f) {
    json rows = json::array();
    for (int i = 0; i < f->num_default_rows; ++i)
        rows.push_back({{KEY_TEXT, utf8_of(f->default_rows[i].text)}, {KEY_SELECTED, f->default_rows[i].selected}});
    (*out)[KEY_DEFAULT_ROWS] = rows;
    (*out)[KEY_LIST] = f->list != nullptr ? dump_gadget(f->list) : json(nullptr);
}

json dump_gadget(const FI_gadget* g) {
    json out;
    out[KEY_TYPE] = type_name(g->type);
    if (g->type == FI_GROUP) {
        dump_items(&out, g, group_items);
    } else {
        dump_items(&out, g, common_items);
        dump_items(&out, g, type_items(g));
    }
    if (g->type == FI_FIELD) dump_field(&out, fi_as<fi_field>(g));
    if (fi_has_members(g)) out[KEY_MEMBERS] = dump_members(fi_as_group(g));
    return out;
}

} // namespace

json dump_form(const FI_form* form) {
    json out;
    out[KEY_VERSION] = form->version;
    dump_items(&out, form, form_items);
    json strings = json::array();
    for (int i = 0; i < form->string_count; ++i)
        strings.push_back(utf8_of(form->strings[i]));
    out[KEY_STRINGS] = strings;
    out[KEY_MEMBERS] = dump_members(form->root_group);
    return out;
}
