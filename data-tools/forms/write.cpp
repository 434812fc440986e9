// The writer of form files. forms/frmread.cpp and frmtypes.cpp read what stands here, in the same order.
#include "write.h"

#include <cstring>

#include "forms/frm.h"
#include "forms/ops.h"
#include "items.h"
#include "support/bytes.h"

namespace {

struct writer {
    std::vector<uint8_t>* bytes;
    std::string* problem; // the first one
    int version;

    bool good() const { return problem->empty(); }
    void fail(const std::string& what) const {
        if (problem->empty()) *problem = what;
    }
    uint8_t* grow(size_t count) const {
        bytes->resize(bytes->size() + count);
        return bytes->data() + bytes->size() - count;
    }
    void u8(int v) const { *grow(1) = static_cast<uint8_t>(v); }
    void u16(int v) const { store_u16le(grow(2), static_cast<uint16_t>(v)); }
    void s16(float v) const { u16(static_cast<int>(v)); }
    void u32(uint32_t v) const { store_u32le(grow(4), v); }
    void f64(double v) const { store_f64le(grow(8), v); }
    void zeros(size_t count) const { std::memset(grow(count), 0, count); }
    void label(int32_t v) const {
        if (version >= FRM_LONG_LABELS)
            u32(static_cast<uint32_t>(v));
        else
            u16(v);
    }
    void text(const char* v) const {
        const size_t length = std::strlen(v);
        u16(static_cast<int>(length));
        if (length > 0) std::memcpy(grow(length), v, length);
    }
};

void write_gadget(const writer& w, const FI_gadget* g);

// ---- the types' parts ----------------------------------------------------------------------------------------------

void write_slider(const writer& w, const FI_gadget* g) {
    const auto* s = fi_as<fi_slider>(g);
    w.u8(s->orientation);
    w.f64(s->low_value);
    w.f64(s->high_value);
    w.u8(s->display_mask);
    w.u8(s->field_width);
    w.u8(s->decimals);
}

void write_toggle(const writer& w, const FI_gadget* g) {
    if (fi_has(g, FI_TEXT_GADGET)) w.text(fi_as<fi_toggle>(g)->on_text);
}

void write_dial(const writer& w, const FI_gadget* g) {
    const auto* d = fi_as<fi_dial>(g);
    w.u8(d->direction);
    w.f64(double{d->zero_angle});
    w.f64(double{d->scale});
    w.u16(d->ticks);
    w.u16(d->ticks_x);
    w.u8(d->display_mask);
    w.u8(d->border_style);
    w.u8(d->field_width);
    w.u8(d->decimals);
}

void write_text(const writer& w, const FI_gadget* g) {
    w.u16(0);
    w.u16(fi_as<fi_text>(g)->stored_width);
    w.u16(fi_as<fi_text>(g)->stored_height);
    w.u8(g->justification);
}

void write_button(const writer& w, const FI_gadget* g) {
    const auto* b = fi_as<fi_button>(g);
    w.u8(b->auto_pop_up);
    if (b->menu_button != 0) w.text(b->menu_string);
}

void write_line(const writer& w, const FI_gadget* g) {
    const auto* l = fi_as<fi_line>(g);
    w.u8(l->line_weight);
    w.u16(l->line_pattern);
    w.u8(l->line_extra);
}

void write_bar(const writer& w, const FI_gadget* g) {
    const auto* b = fi_as<fi_bar>(g);
    w.u8(b->orientation);
    w.f64(double{b->segments});
    w.f64(b->high_value);
}

void write_rect(const writer& w, const FI_gadget* g) {
    w.u8(fi_as<fi_rect>(g)->line_weight);
    w.u16(fi_as<fi_rect>(g)->line_pattern);
}

void write_scroll(const writer& w, const FI_gadget* g) {
    const auto* s = fi_as<fi_scroll>(g);
    w.u8(s->orientation);
    w.f64(s->view_fraction);
    w.f64(s->high_value);
    w.f64(s->low_value);
}

void write_entry(const writer& w, const FI_gadget* g) {
    w.u16(g->type);
    w.u16(g->gadget_version);
    w.label(g->label);
    write_gadget(w, g);
}

void write_field(const writer& w, const FI_gadget* g) {
    const auto* f = fi_as<fi_field>(g);
    for (const int v : {int{f->field_type}, int{f->mode}, int{f->max_rows}, int{f->visible_rows}, int{f->max_chars},
                        int{f->visible_chars}, int{f->num_default_rows}})
        w.u16(v);
    w.f64(f->min_value);
    w.f64(f->max_value);
    w.u8(g->justification);
    w.text(f->format);
    for (int i = 0; i < f->num_default_rows; ++i) {
        w.text(f->default_rows[i].text);
        w.u16(f->default_rows[i].selected);
    }
    w.u32(f->flags);
    w.u8(f->list != nullptr ? 1 : 0);
    if (f->list != nullptr) write_entry(w, f->list);
}

void write_mcf(const writer& w, const FI_gadget* g) {
    const auto* m = fi_as<fi_mcf>(g);
    w.u8(m->group.no_pass_on);
    w.u8(m->group.single_select);
    w.u32(static_cast<uint32_t>(m->group.next_free));
    int at = 0;
    while (const FI_gadget* column = fi_next_member(&m->group, &at))
        write_entry(w, column);
    w.u16(m->num_cols);
    w.u16(m->visible_cols);
    w.u16(m->first_col);
    w.u32(m->mcf_flags);
}

using part_writer = void (*)(const writer& w, const FI_gadget* g);

// By type; null: nothing.
constexpr part_writer WRITERS[FI_TYPES] = {
    nullptr,    write_slider, write_toggle, write_field, nullptr,      write_dial, write_text, write_button,
    write_line, write_bar,    write_rect,   nullptr,     write_scroll, write_mcf,  nullptr,
};

// ---- what all have -------------------------------------------------------------------------------------------------

// What only tags can hold, as far as it isn't the default.
struct tagged {
    double increment;
    bool has_increment, has_justification, has_erase_color;
};

tagged tagged_of(const FI_gadget* g) {
    tagged t = {0, false, false, g->erase_color != -1};
    if (g->type == FI_SLIDER) {
        t.increment = double{fi_as<fi_slider>(g)->increment};
        t.has_increment = fi_as<fi_slider>(g)->increment != 1e-7F;
    }
    if (g->type == FI_DIAL) {
        t.increment = double{fi_as<fi_dial>(g)->increment};
        t.has_increment = fi_as<fi_dial>(g)->increment != 1.0F;
    }
    const bool in_part = g->type == FI_TEXT || g->type == FI_FIELD;
    const int usual = g->type == FI_BUTTON || g->type == FI_TOGGLE ? FI_CENTER : FI_LEFT;
    t.has_justification = !in_part && g->justification != usual;
    return t;
}

void write_tags(const writer& w, const FI_gadget* g) {
    const tagged t = tagged_of(g);
    if (t.has_increment) {
        w.u16(FRM_TAG_INCREMENT);
        w.f64(t.increment);
    }
    if (t.has_justification) {
        w.u16(FRM_TAG_JUSTIFICATION);
        w.u8(g->justification);
    }
    if (t.has_erase_color) {
        w.u16(FRM_TAG_ERASE_COLOR);
        w.u8(g->erase_color);
    }
    w.u16(FRM_TAG_END);
}

void write_old_head(const writer& w, const FI_gadget* g) {
    const tagged t = tagged_of(g);
    const char* lost = t.has_increment       ? "increment"
                       : t.has_justification ? "justification"
                       : t.has_erase_color   ? "erase_color"
                                             : nullptr;
    if (lost != nullptr) w.fail("gadget " + std::to_string(g->label) + ": version 3 can't hold \"" + lost + "\"");
    w.zeros(20);
}

bool is_menu(const FI_gadget* g) {
    return g->type == FI_BUTTON && fi_as<fi_button>(g)->menu_button != 0;
}

void write_group(const writer& w, const FI_group* group) {
    w.u16(group->next_free);
    w.u8(group->no_pass_on);
    w.u8(group->single_select);
    w.zeros(w.version < 4 ? 8 : 2);
    int at = 0;
    while (const FI_gadget* member = fi_next_member(group, &at))
        write_entry(w, member);
}

void write_record(const writer& w, const FI_gadget* g) {
    if (w.version < 4)
        write_old_head(w, g);
    else
        write_tags(w, g);
    w.label(g->link_label);
    w.label(g->next_in_seq);
    w.u16(is_menu(g) ? 1 : 0);
    for (const float v : {g->x1, g->y1, g->x2, g->y2, g->orig_width, g->orig_height})
        w.s16(v);
    w.u32(g->attr_mask);
    w.f64(g->value);
    for (const float v : {g->bodysize, g->x_scale, g->y_scale})
        w.s16(v);
    for (const char* text : {g->text, g->help_topic, g->command, g->font_name})
        w.text(text);
    for (const int v : {int{g->face.index}, int{g->face2.index}, int{g->off_color}, int{g->on_color},
                        int{g->off_color2}, int{g->on_color2}, int{g->style}})
        w.u8(v);
    if (WRITERS[g->type] != nullptr) WRITERS[g->type](w, g);
}

void write_gadget(const writer& w, const FI_gadget* g) {
    if (g->type == FI_GROUP)
        write_group(w, fi_as_group(g));
    else
        write_record(w, g);
}

void write_start(const writer& w, int32_t start) {
    if (w.version < 4) w.zeros(40);
    if (w.version == 4) w.zeros(2);
    w.label(start);
}

} // namespace

bool write_form(const FI_form* form, std::vector<uint8_t>* bytes, std::string* problem) {
    const writer w = {bytes, problem, form->version};
    w.zeros(2);
    std::memcpy(w.grow(sizeof FRM_MAGIC - 1), FRM_MAGIC, sizeof FRM_MAGIC - 1);
    w.u16(form->version);
    w.text(form->description);
    for (const uint32_t v : {form->reserved_file_word, form->attr_mask, form->window_attr})
        w.u32(v);
    for (const int v : {int{form->x1}, int{form->y1}, int{form->x2}, int{form->y2}, int{form->design_width},
                        int{form->design_height}, 0, 0, int{form->collapse_x}, int{form->collapse_y}})
        w.u16(v);
    w.u8(form->bg_color);
    w.u8(form->collapse_symbol_index);
    w.text(form->collapse_symbol_file);
    w.u8(form->screen_mode);
    w.u16(form->string_count);
    for (int i = 0; i < form->string_count; ++i)
        w.text(form->strings[i]);
    write_start(w, form->start_seq);
    const FI_group* root = form->root_group;
    w.u16(root->next_free);
    if (root->next_free == 0) return w.good(); // nothing stands behind the count of an empty form
    int at = 0;
    while (const FI_gadget* member = fi_next_member(root, &at))
        write_entry(w, member);
    w.u16(FRM_END);
    return w.good();
}
