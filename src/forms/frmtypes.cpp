// The reader of form files: the parts of the types of gadgets, in the order of their items in the file.
#include <algorithm>
#include <cstring>

#include "forms/fieldrows.h"
#include "forms/forms.h"
#include "forms/frmdata.h"

namespace {

void read_slider(frm_reader* r, FI_gadget* g) {
    auto* s = fi_as<fi_slider>(g);
    if (g->gadget_version < FRM_OLD_SLIDER) g->on_color = FI_BLACK;
    s->orientation = frm_u8(r);
    s->low_value = frm_f64(r);
    s->high_value = frm_f64(r);
    s->display_mask = frm_u8(r);
    if (r->reversed) s->display_mask |= FI_REVERSED;
    s->field_width = frm_u8(r);
    s->decimals = frm_u8(r);
}

void read_toggle(frm_reader* r, FI_gadget* g) {
    if (!fi_has(g, FI_TEXT_GADGET)) return;
    auto* t = fi_as<fi_toggle>(g);
    frm_string(r, &t->on_text);
    t->on_text_length = static_cast<int32_t>(std::strlen(t->on_text));
}

void read_dial(frm_reader* r, FI_gadget* g) {
    auto* d = fi_as<fi_dial>(g);
    d->direction = static_cast<int8_t>(frm_s8(r));
    d->zero_angle = frm_f32(r);
    d->scale = frm_f32(r);
    d->ticks = frm_s16(r);
    d->ticks_x = frm_s16(r);
    d->display_mask = frm_u8(r);
    d->border_style = frm_u8(r);
    d->field_width = frm_u8(r);
    d->decimals = frm_u8(r);
}

void read_text(frm_reader* r, FI_gadget* g) {
    frm_skip(r, 2);
    fi_as<fi_text>(g)->stored_width = frm_u16(r);
    fi_as<fi_text>(g)->stored_height = frm_u16(r);
    g->justification = frm_u8(r);
}

void read_button(frm_reader* r, FI_gadget* g) {
    auto* b = fi_as<fi_button>(g);
    b->auto_pop_up = frm_flag(r);
    if (!r->menu) return;
    b->menu_button = 1;
    frm_string(r, &b->menu_string);
}

void read_line(frm_reader* r, FI_gadget* g) {
    auto* l = fi_as<fi_line>(g);
    l->line_weight = frm_u8(r);
    l->line_pattern = frm_u16(r);
    l->line_extra = frm_u8(r);
}

void read_bar(frm_reader* r, FI_gadget* g) {
    auto* b = fi_as<fi_bar>(g);
    b->orientation = frm_u8(r);
    b->segments = frm_f32(r);
    b->high_value = frm_f64(r);
}

void read_rect(frm_reader* r, FI_gadget* g) {
    fi_as<fi_rect>(g)->line_weight = frm_u8(r);
    fi_as<fi_rect>(g)->line_pattern = frm_u16(r);
}

void read_scroll(frm_reader* r, FI_gadget* g) {
    auto* s = fi_as<fi_scroll>(g);
    s->orientation = frm_u8(r);
    s->view_fraction = frm_f64(r);
    s->high_value = frm_f64(r);
    s->low_value = frm_f64(r);
}

// ---- fields --------------------------------------------------------------------------------------------------------

constexpr size_t SMALLEST_ROW = 4; // an empty text and the selection

void read_default_rows(frm_reader* r, fi_field* f, int count) {
    if (!frm_good(r) || count == 0) return;
    if (static_cast<size_t>(count) * SMALLEST_ROW > cursor_left(&r->in)) {
        frm_fail(r, FI_FORM_FILE_READ_ERROR);
        return;
    }
    if (fi_default_rows_resize(f, count) != FI_SUCCESS) {
        frm_fail(r, FI_NO_MEMORY);
        return;
    }
    for (int i = 0; i < count && frm_good(r); ++i) {
        frm_string(r, &f->default_rows[i].text);
        f->default_rows[i].selected = frm_u16(r) != 0 ? 1 : 0;
    }
}

// The list takes presses of its own, so it tells each row; it is closed at first when it is to be opened.
void adopt_list(fi_field* f, FI_gadget* list) {
    f->list = list;
    list->user_pointer = &f->common;
    fi_as<fi_field>(list)->flags |= FI_NOTIFY_BY_LINE;
    for (uint32_t* mask : {&list->attr_mask, &list->default_attr_mask})
        *mask = (f->flags & FI_POPUP_LIST) != 0 ? *mask | FI_NOT_DISPLAYED : *mask & ~FI_NOT_DISPLAYED;
}

void read_list(frm_reader* r, fi_field* f) {
    if (frm_u8(r) == 0) return;
    FI_gadget* list = nullptr;
    const bool read = frm_entry(r, frm_place::list, &f->common, &list);
    if (list == nullptr) return;
    if (read)
        adopt_list(f, list);
    else
        fi_free_gadget(list, false);
}

void read_field(frm_reader* r, FI_gadget* g) {
    auto* f = fi_as<fi_field>(g);
    f->field_type = frm_u16(r);
    f->mode = frm_u16(r);
    for (int16_t* item : {&f->max_rows, &f->visible_rows, &f->max_chars, &f->visible_chars})
        *item = frm_s16(r);
    const int rows = frm_s16(r);
    if (rows < 0) frm_fail(r, FI_FORM_FILE_READ_ERROR);
    f->min_value = frm_f64(r);
    f->max_value = frm_f64(r);
    g->justification = frm_u8(r);
    frm_string(r, &f->format);
    read_default_rows(r, f, rows);
    f->flags = frm_u32(r);
    if (frm_good(r)) read_list(r, f);
    if (frm_good(r) && fi_rows_from_defaults(f) != FI_SUCCESS) frm_fail(r, FI_NO_MEMORY);
}

// ---- multi-column fields -------------------------------------------------------------------------------------------

// Columns in the group, in slot order without gaps.
int columns_of(const FI_group* group) {
    return group->next_free;
}

// False when a type of FRM_END stood in the place of a column, and the part ends there.
bool read_columns(frm_reader* r, fi_mcf* m, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i) {
        FI_gadget* column = nullptr;
        if (!frm_entry(r, frm_place::column, &m->group.common, &column)) return false;
        column->owner = &m->group.common;
        if (i > 0) continue;
        m->group.common.off_color2 = column->off_color2; // the two hold the link to another table
        m->group.common.on_color2 = column->on_color2;
    }
    return true;
}

void read_mcf(frm_reader* r, FI_gadget* g) {
    auto* m = fi_as<fi_mcf>(g);
    m->group.no_pass_on = frm_flag(r);
    m->group.single_select = frm_flag(r);
    const uint32_t count = frm_u32(r);
    const bool whole = read_columns(r, m, count);
    const int columns = columns_of(&m->group);
    m->num_cols = static_cast<uint16_t>(columns);
    if (!whole) return;
    m->num_cols = static_cast<uint16_t>(std::min<int>(frm_u16(r), columns)); // no more than there are
    m->visible_cols = frm_u16(r);
    m->first_col = frm_u16(r);
    m->mcf_flags = frm_u32(r);
    g->x_scale = m->first_col;
}

using part_reader = void (*)(frm_reader* r, FI_gadget* g);

// By type; null: nothing stands behind the common record. A group has a record of its own.
constexpr part_reader READERS[FI_TYPES] = {
    nullptr,   read_slider, read_toggle, read_field, nullptr,     read_dial, read_text, read_button,
    read_line, read_bar,    read_rect,   nullptr,    read_scroll, read_mcf,  nullptr,
};

} // namespace

void frm_type_part(frm_reader* r, FI_gadget* g) {
    if (READERS[g->type] != nullptr) READERS[g->type](r, g);
}
