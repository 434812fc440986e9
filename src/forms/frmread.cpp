// The reader of form files: head, lists of gadgets, and what all types of gadgets have in their records.
#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>

#include "forms/forms.h"
#include "forms/frmdata.h"
#include "support/memory.h"

// ---- items ---------------------------------------------------------------------------------------------------------

bool frm_fail(frm_reader* r, int status) {
    if (r->status == FI_SUCCESS) r->status = status;
    return false;
}

namespace {

const uint8_t* take(frm_reader* r, size_t bytes) {
    const uint8_t* at = take_bytes(&r->in, bytes);
    if (at == nullptr) frm_fail(r, FI_FORM_FILE_READ_ERROR);
    return at;
}

} // namespace

uint8_t frm_u8(frm_reader* r) {
    const uint8_t* at = take(r, 1);
    return at != nullptr ? *at : uint8_t{0};
}
int frm_s8(frm_reader* r) {
    const int value = frm_u8(r);
    return value < 128 ? value : value - 256;
}
uint16_t frm_u16(frm_reader* r) {
    const uint8_t* at = take(r, 2);
    return at != nullptr ? load_u16le(at) : uint16_t{0};
}
int16_t frm_s16(frm_reader* r) {
    return static_cast<int16_t>(frm_u16(r));
}
uint32_t frm_u32(frm_reader* r) {
    const uint8_t* at = take(r, 4);
    return at != nullptr ? load_u32le(at) : 0;
}
uint8_t frm_flag(frm_reader* r) {
    return frm_u8(r) != 0 ? 1 : 0;
}
int32_t frm_label(frm_reader* r) {
    return r->version >= FRM_LONG_LABELS ? static_cast<int32_t>(frm_u32(r)) : frm_s16(r);
}

double frm_f64(frm_reader* r) {
    const uint8_t* at = take(r, 8);
    const double value = at != nullptr ? load_f64le(at) : 0.0;
    if (std::isfinite(value)) return value;
    frm_fail(r, FI_INVALID_ARGUMENT);
    return 0.0;
}

float frm_f32(frm_reader* r) {
    const double value = frm_f64(r);
    if (std::fabs(value) <= double{FLT_MAX}) return static_cast<float>(value);
    frm_fail(r, FI_INVALID_ARGUMENT);
    return 0.0F;
}

int frm_count(frm_reader* r, size_t item) {
    const int count = frm_s16(r);
    if (count >= 0 && static_cast<size_t>(count) * item <= cursor_left(&r->in)) return count;
    frm_fail(r, FI_FORM_FILE_READ_ERROR);
    return 0;
}

void frm_skip(frm_reader* r, size_t bytes) {
    take(r, bytes);
}

void frm_string(frm_reader* r, char** place) {
    const int length = frm_count(r, 1);
    if (!frm_good(r) || length == 0) return;
    const uint8_t* at = take(r, static_cast<size_t>(length));
    if (std::memchr(at, 0, static_cast<size_t>(length)) != nullptr) {
        frm_fail(r, FI_FORM_FILE_READ_ERROR);
        return;
    }
    auto* text = static_cast<char*>(mem_alloc(static_cast<size_t>(length) + 1));
    if (text == nullptr) {
        frm_fail(r, FI_NO_MEMORY);
        return;
    }
    std::memcpy(text, at, static_cast<size_t>(length));
    text[length] = '\0';
    fi_string_free(*place);
    *place = text;
}

// ---- labels --------------------------------------------------------------------------------------------------------

namespace {

constexpr size_t FIRST_ROOM = 64; // places; powers of two

int32_t* label_place(int32_t* labels, size_t room, int32_t label) {
    size_t at = static_cast<uint32_t>(label) * size_t{2654435761U} & (room - 1);
    while (labels[at] != 0 && labels[at] != label)
        at = (at + 1) & (room - 1);
    return &labels[at];
}

bool grow_labels(frm_reader* r) {
    const size_t room = r->label_room == 0 ? FIRST_ROOM : r->label_room * 2;
    auto* labels = static_cast<int32_t*>(mem_alloc_zeroed(room * sizeof(int32_t)));
    if (labels == nullptr) return frm_fail(r, FI_NO_MEMORY);
    for (size_t i = 0; i < r->label_room; ++i)
        if (r->labels[i] != 0) *label_place(labels, room, r->labels[i]) = r->labels[i];
    mem_free(r->labels);
    r->labels = labels;
    r->label_room = room;
    return true;
}

bool note_label(frm_reader* r, int32_t label) {
    if (label == 0) return frm_fail(r, FI_LABEL_IN_USE);
    if (r->label_count * 2 >= r->label_room && !grow_labels(r)) return false;
    int32_t* place = label_place(r->labels, r->label_room, label);
    if (*place == label) return frm_fail(r, FI_LABEL_IN_USE);
    *place = label;
    ++r->label_count;
    return true;
}

// ---- the record of a gadget ----------------------------------------------------------------------------------------

constexpr size_t OLD_HEAD = 20; // two doubles and a word that mean nothing any more

size_t size_of_unknown(int tag) {
    static constexpr size_t sizes[] = {8, 8, 8, 4, 4, 4, 2, 2, 1, 1};
    return tag < 0 ? 8 : sizes[tag % 10];
}

void take_increment(frm_reader* r, FI_gadget* g) {
    if (g->type == FI_SLIDER)
        fi_as<fi_slider>(g)->increment = frm_f32(r);
    else if (g->type == FI_DIAL)
        fi_as<fi_dial>(g)->increment = frm_f32(r);
    else
        frm_skip(r, 8);
}

void read_tags(frm_reader* r, FI_gadget* g) {
    while (frm_good(r)) {
        const int tag = frm_s16(r);
        switch (tag) {
        case FRM_TAG_END: return;
        case FRM_TAG_INCREMENT: take_increment(r, g); break;
        case FRM_TAG_REVERSED: r->reversed = true; break;
        case FRM_TAG_JUSTIFICATION: g->justification = frm_u8(r); break;
        case FRM_TAG_ERASE_COLOR: g->erase_color = frm_s8(r); break;
        default: frm_skip(r, size_of_unknown(tag)); break;
        }
    }
}

void read_numbers(frm_reader* r, FI_gadget* g) {
    g->link_label = frm_label(r);
    if (g->link_label == FRM_NO_LABEL) g->link_label = -1;
    g->next_in_seq = frm_label(r);
    r->menu = frm_u16(r) != 0;
    for (float* corner : {&g->x1, &g->y1, &g->x2, &g->y2, &g->orig_width, &g->orig_height})
        *corner = frm_s16(r);
    g->attr_mask = g->default_attr_mask = frm_u32(r);
    g->value = g->default_value = frm_f64(r);
    g->bodysize = frm_s16(r);
    g->x_scale = frm_s16(r);
    g->y_scale = frm_s16(r);
}

void read_texts(frm_reader* r, FI_gadget* g) {
    frm_string(r, &g->text);
    g->text_length = static_cast<int32_t>(std::strlen(g->text));
    frm_string(r, &g->help_topic);
    frm_string(r, &g->command);
    frm_string(r, &g->font_name);
}

void read_gadget(frm_reader* r, FI_gadget* g) {
    r->menu = r->reversed = false;
    if (r->version < 4)
        frm_skip(r, OLD_HEAD);
    else
        read_tags(r, g);
    read_numbers(r, g);
    read_texts(r, g);
    g->face.index = frm_u8(r);
    g->face2.index = frm_u8(r);
    for (int32_t* color : {&g->off_color, &g->on_color, &g->off_color2, &g->on_color2})
        *color = frm_s8(r);
    g->style = frm_u8(r);
    if (frm_good(r)) frm_type_part(r, g);
}

// ---- groups and entries --------------------------------------------------------------------------------------------

constexpr size_t SMALLEST_ENTRY = 6; // type, version and label of a member

void read_group(frm_reader* r, FI_gadget* g) {
    FI_group* group = fi_as_group(g);
    const int count = frm_count(r, SMALLEST_ENTRY);
    group->no_pass_on = frm_flag(r);
    group->single_select = frm_flag(r);
    frm_skip(r, r->version < 4 ? 8 : 2);
    if (frm_good(r) && fi_group_room(group, count) != FI_SUCCESS) frm_fail(r, FI_NO_MEMORY);
    FI_gadget* member = nullptr;
    for (int i = 0; i < count && frm_good(r); ++i)
        frm_entry(r, frm_place::group, g, &member);
}

bool type_fits(frm_reader* r, frm_place place, int type) {
    const bool fits =
        place == frm_place::list || place == frm_place::column ? type == FI_FIELD : type >= 0 && type < FI_TYPES;
    return fits || frm_fail(r, FI_INVALID_GADGET_TYPE);
}

bool make(frm_reader* r, frm_place place, FI_gadget* holder, int type, int label, FI_gadget** result) {
    const int status = place == frm_place::list ? fi_new_part(holder, type, label, result)
                                                : fi_new_member(fi_as_group(holder), type, label, result);
    return status == FI_SUCCESS || frm_fail(r, status);
}

} // namespace

bool frm_entry(frm_reader* r, frm_place place, FI_gadget* holder, FI_gadget** result) {
    const int type = frm_s16(r);
    if (!frm_good(r) || (type == FRM_END && place != frm_place::group)) return false;
    if (!type_fits(r, place, type)) return false;
    const uint16_t version = frm_u16(r);
    const int32_t label = frm_label(r);
    if (!frm_good(r)) return false;
    const bool is_private = place == frm_place::list || place == frm_place::column;
    if (label < 0 && !is_private) return frm_fail(r, FI_LABEL_IN_USE);
    if (!note_label(r, label) || !make(r, place, holder, type, label, result)) return false;
    (*result)->gadget_version = version;
    const int level = type == FI_GROUP || is_private ? 1 : 0;
    r->depth += level;
    if (r->depth > FRM_DEPTH) return frm_fail(r, FI_INVALID_ARGUMENT);
    if (type == FI_GROUP)
        read_group(r, *result);
    else
        read_gadget(r, *result);
    r->depth -= level;
    return frm_good(r);
}

// ---- the head ------------------------------------------------------------------------------------------------------

namespace {

constexpr size_t HEAD = 10; // bytes up to the description
constexpr size_t OLD_START = 40;

int check_head(frm_reader* r, const uint8_t* bytes, size_t size) {
    if (size < 2 + sizeof FRM_MAGIC - 1 || std::memcmp(bytes + 2, FRM_MAGIC, sizeof FRM_MAGIC - 1) != 0)
        return FI_NOT_A_FORM_FILE;
    if (size < HEAD) return FI_FORM_FILE_READ_ERROR;
    frm_skip(r, HEAD - 2);
    r->version = frm_s16(r);
    if (r->version < FRM_OLDEST) return FI_FORM_VERSION_TOO_OLD;
    return r->version > FRM_NEWEST ? FI_FORM_VERSION_TOO_NEW : FI_SUCCESS;
}

void read_strings(frm_reader* r, FI_form* form) {
    const int count = frm_count(r, 2);
    if (!frm_good(r) || count == 0) return;
    form->strings = mem_new_array<char*>(static_cast<size_t>(count));
    if (form->strings == nullptr) {
        frm_fail(r, FI_NO_MEMORY);
        return;
    }
    for (; form->string_count < count && frm_good(r); ++form->string_count) {
        form->strings[form->string_count] = fi_empty_text;
        frm_string(r, &form->strings[form->string_count]);
    }
}

int32_t read_start(frm_reader* r) {
    if (r->version >= FRM_LONG_LABELS) return static_cast<int32_t>(frm_u32(r));
    frm_skip(r, r->version < 4 ? OLD_START : 2);
    const int32_t start = frm_s16(r);
    return r->version < 4 && start == FRM_NO_LABEL ? FI_NO_START : start;
}

void read_head(frm_reader* r, FI_form* form) {
    frm_string(r, &form->description);
    form->reserved_file_word = frm_u32(r);
    form->attr_mask = frm_u32(r);
    form->window_attr = frm_u32(r);
    for (int16_t* item : {&form->x1, &form->y1, &form->x2, &form->y2, &form->design_width, &form->design_height})
        *item = frm_s16(r);
    frm_skip(r, 4);
    form->collapse_x = frm_s16(r);
    form->collapse_y = frm_s16(r);
    form->collapse_position_pending = 1;
    form->bg_color = frm_u8(r);
    form->collapse_symbol_index = frm_u8(r);
    frm_string(r, &form->collapse_symbol_file);
    form->screen_mode = frm_u8(r);
    read_strings(r, form);
    form->start_seq = read_start(r);
}

// The file's count is only the root group's capacity, and can't be much larger than what the file has room for.
bool make_root(frm_reader* r, FI_form* form, int count) {
    const size_t likely = cursor_left(&r->in) / SMALLEST_ENTRY + FI_GROUP_SLOTS;
    const int slots =
        count == 0 ? FI_GROUP_SLOTS : static_cast<int>(std::min<size_t>(static_cast<size_t>(count), likely));
    form->root_group = fi_new_root(form, slots);
    return form->root_group != nullptr || frm_fail(r, FI_NO_MEMORY);
}

void read_all(frm_reader* r, FI_form* form) {
    read_head(r, form);
    const int count = frm_s16(r);
    if (count < 0) frm_fail(r, FI_FORM_FILE_READ_ERROR);
    if (!frm_good(r) || !make_root(r, form, count) || count == 0) return;
    FI_gadget* g = nullptr;
    while (frm_entry(r, frm_place::root, fi_common(form->root_group), &g)) {
    }
}

} // namespace

int frm_read(const uint8_t* bytes, size_t size, FI_form* form) {
    frm_reader r = {};
    r.in = cursor_over(bytes, size);
    r.form = form;
    r.status = check_head(&r, bytes, size);
    if (frm_good(&r)) {
        form->version = static_cast<int16_t>(r.version);
        read_all(&r, form);
    }
    mem_free(r.labels);
    return r.status;
}
