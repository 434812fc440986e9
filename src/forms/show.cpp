// Drawing, erasing, enabling, highlighting, resetting, activating, scaling and shifting of gadgets of any type.
#include "forms/show.h"

#include "forms/env.h"
#include "forms/fields.h"
#include "forms/link.h"
#include "forms/mcf.h"
#include "forms/range.h"
#include "forms/surface.h"

namespace {

void draw_now(FI_gadget* g, int window) {
    if (!fi_state.partial) fi_graphic.hidecursor(window);
    fi_ops(g).draw(g, window);
    fi_clip_back(g->form, window);
    if (!fi_state.partial) fi_graphic.showcursor(window);
    fi_list_on_top(g, fi_extent_of(g));
    fi_flush(window);
}

// The list of a field that opens it when it is wanted.
bool is_popup_list(const FI_gadget* g) {
    return g->owner != nullptr && g->owner->type == FI_FIELD && g->type == FI_FIELD &&
           (fi_as<fi_field>(g->owner)->flags & FI_POPUP_LIST) != 0;
}

} // namespace

void fi_display_gadget(FI_gadget* g, int window) {
    if (fi_has(g, FI_NOT_DISPLAYED)) return;
    if (g->type == FI_GROUP) {
        g->displayed = 1;
        fi_each_member(fi_as_group(g), [=](FI_gadget* member) { fi_display_gadget(member, window); });
        return;
    }
    if (fi_ops(g).draw == nullptr) return;
    g->displayed = 1;
    if (window >= 0) draw_now(g, window);
}

void fi_redraw_gadget(FI_gadget* g) {
    if (g->displayed != 0 && !fi_has(g, FI_NOT_DISPLAYED)) fi_display_gadget(g, fi_draw_window(g->form));
}

int fi_shown_window(const FI_gadget* g) {
    return g->displayed != 0 && !fi_has(g, FI_NOT_DISPLAYED) ? fi_draw_window(g->form) : -1;
}

void fi_erase_drawn(FI_gadget* g) {
    const int window = fi_shown_window(g);
    if (window < 0) return;
    fi_set_color(g->form, window, fi_erase_color(g));
    if (fi_ops(g).erase != nullptr)
        fi_ops(g).erase(g, window);
    else
        fi_fill(window, fi_rect_of(g));
    fi_clip_back(g->form, window);
    fi_flush(window);
}

namespace {

// Parts that are erased along with their owner: those of a field only when they are shown.
bool follows_erase(const FI_gadget* part) {
    const FI_gadget* owner = part->owner;
    if (owner->type != FI_FIELD) return true;
    const auto* f = fi_as<fi_field>(owner);
    if (part == f->scroll_bar) return (f->flags & FI_VERT_BAR_SHOWN) != 0;
    if (part == f->arrows[0] || part == f->arrows[1]) return (f->flags & FI_HORT_ARROWS_SHOWN) != 0;
    return true;
}

} // namespace

void fi_erase_gadget(FI_gadget* g) {
    if (g->type != FI_GROUP) fi_erase_drawn(g);
    g->attr_mask |= FI_NOT_DISPLAYED;
    g->displayed = 0;
    if (g->type == FI_MCF || (g->type == FI_GROUP && fi_as_group(g)->no_pass_on == 0))
        fi_each_member(fi_as_group(g), fi_erase_gadget);
    fi_each_part(g, [](FI_gadget* part) {
        if (follows_erase(part)) fi_erase_gadget(part);
    });
}

void fi_allow_display(FI_gadget* g) {
    if (is_popup_list(g) || fi_mcf_is_out(g)) return;
    g->attr_mask &= ~FI_NOT_DISPLAYED;
    fi_each_part(g, fi_allow_display);
}

namespace {

// Sets or clears an attribute of the gadget and of the parts that look like it, and draws it again.
void change_look(FI_gadget* g, uint32_t attribute, bool on) {
    g->attr_mask = on ? g->attr_mask | attribute : g->attr_mask & ~attribute;
    if (g->type == FI_MCF)
        fi_each_member(fi_as_group(g), [=](FI_gadget* column) { change_look(column, attribute, on); });
    // A table that is highlighted is plain to see by its columns.
    const bool has_such_parts =
        g->type == FI_FIELD || g->type == FI_SCROLL || (g->type == FI_MCF && attribute != FI_HILITED);
    if (!has_such_parts) return;
    fi_each_part(g, [=](FI_gadget* part) { change_look(part, attribute, on); });
}

// Nothing of them shows that they take no press.
bool looks_disabled(const FI_gadget* g) {
    return g->type != FI_LINE && g->type != FI_RECT && g->type != FI_BEVEL && g->type != FI_SCROLL;
}

void change_members(FI_gadget* g, void (*change)(FI_gadget*)) {
    if (fi_as_group(g)->no_pass_on == 0) fi_each_member(fi_as_group(g), change);
}

} // namespace

namespace {

// Letters that are embossed stand beside their place, highlighted ones at it: the others have to go first.
void set_hilite(FI_gadget* g, bool on) {
    if (g->type == FI_TEXT && g->style != 0) fi_erase_drawn(g);
    change_look(g, FI_HILITED, on);
    fi_redraw_gadget(g);
}

} // namespace

void fi_hilite_gadget(FI_gadget* g) {
    if (g->type == FI_GROUP) return change_members(g, fi_hilite_gadget);
    set_hilite(g, true);
}

void fi_unhilite_gadget(FI_gadget* g) {
    if (g->type == FI_GROUP) return change_members(g, fi_unhilite_gadget);
    set_hilite(g, false);
}

void fi_disable_gadget(FI_gadget* g) {
    if (g->type == FI_GROUP) return change_members(g, fi_disable_gadget);
    change_look(g, FI_NOT_ENABLED, true);
    if (looks_disabled(g)) fi_redraw_gadget(g);
}

void fi_enable_gadget(FI_gadget* g) {
    if (g->type == FI_GROUP) return change_members(g, fi_enable_gadget);
    change_look(g, FI_NOT_ENABLED, false);
    fi_redraw_gadget(g);
}

// ---- reset ---------------------------------------------------------------------------------------------------------

namespace {

FI_notification continuous_routine_of(const FI_gadget* g) {
    switch (g->type) {
    case FI_SLIDER: return fi_as<fi_slider>(g)->continuous_routine;
    case FI_DIAL: return fi_as<fi_dial>(g)->continuous_routine;
    case FI_SCROLL: return fi_as<fi_scroll>(g)->continuous_routine;
    default: return nullptr;
    }
}

bool has_range(const FI_gadget* g) {
    return g->type == FI_SLIDER || g->type == FI_DIAL || g->type == FI_SCROLL;
}

// A dragged gadget first tells the value that it leaves. False when it has gone by that.
bool tell_last_value(FI_gadget* g) {
    const fi_hold hold(g);
    const FI_notification routine = continuous_routine_of(g);
    if (routine != nullptr) routine(static_cast<int>(g->form->label), g->label, fi_turned(g, g->value), g->form);
    if (hold.gone()) return false;
    fi_carry_link(g);
    if (hold.gone()) return false;
    if (g->type == FI_SCROLL) fi_each_part(g, fi_reset_gadget);
    return true;
}

// The button that makes a pop-up permanent keeps its state when there is no pop-up.
bool stays_as_it_is(const FI_gadget* g) {
    if (g->type == FI_BUTTON && g->label == 5 && (g->form->attr_mask & FI_SAVE_RESTORE) == 0) return true;
    return g->value == g->default_value && g->attr_mask == g->default_attr_mask;
}

void put_back_defaults(FI_gadget* g) {
    if (stays_as_it_is(g)) return;
    const bool drawn = g->displayed != 0;
    const bool goes = drawn && (g->default_attr_mask & FI_NOT_DISPLAYED) != 0;
    if (goes) fi_erase_gadget(g);
    g->value = g->default_value;
    g->attr_mask = g->default_attr_mask;
    if (!goes) fi_redraw_gadget(g);
}

} // namespace

void fi_reset_gadget(FI_gadget* g) {
    const fi_hold hold(g);
    if (g->type == FI_GROUP) {
        fi_each_member(fi_as_group(g), fi_reset_gadget);
        return;
    }
    if (fi_ops(g).reset != nullptr) {
        fi_ops(g).reset(g);
        return;
    }
    if (has_range(g) && !tell_last_value(g)) return;
    put_back_defaults(g);
}

// ---- layout --------------------------------------------------------------------------------------------------------

void fi_activate_gadget(FI_gadget* g) {
    if (g->type == FI_GROUP)
        fi_each_member(fi_as_group(g), fi_activate_gadget);
    else if (fi_ops(g).activate != nullptr)
        fi_ops(g).activate(g);
}

namespace {

// Never without extent, but for lines.
void scale_rectangle(FI_gadget* g, float x_factor, float y_factor) {
    g->x1 *= x_factor;
    g->x2 *= x_factor;
    g->y1 *= y_factor;
    g->y2 *= y_factor;
    if (g->type == FI_LINE) return;
    if (g->x2 - g->x1 < 1.0F) g->x2 = g->x1 + 1.0F;
    if (g->y2 - g->y1 < 1.0F) g->y2 = g->y1 + 1.0F;
}

} // namespace

void fi_scale_gadget(FI_gadget* g, float x_factor, float y_factor) {
    if (g->type == FI_GROUP) {
        if (fi_as_group(g)->no_pass_on != 0) return;
        fi_each_member(fi_as_group(g), [=](FI_gadget* member) { fi_scale_gadget(member, x_factor, y_factor); });
        return;
    }
    scale_rectangle(g, x_factor, y_factor);
    if (fi_ops(g).scale != nullptr) fi_ops(g).scale(g, x_factor, y_factor);
}

void fi_shift_gadget(FI_gadget* g, float dx, float dy) {
    if (fi_has_members(g)) fi_each_member(fi_as_group(g), [=](FI_gadget* member) { fi_shift_gadget(member, dx, dy); });
    if (g->type == FI_GROUP) return;
    g->x1 += dx;
    g->x2 += dx;
    g->y1 += dy;
    g->y2 += dy;
    fi_each_part(g, [=](FI_gadget* part) { fi_shift_gadget(part, dx, dy); });
    if (fi_ops(g).shifted != nullptr) fi_ops(g).shifted(g);
}
