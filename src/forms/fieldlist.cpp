// Lists of fields that open and close, and what a choice in a list does to its owner.
#include <algorithm>
#include <cstring>

#include "forms/fields.h"
#include "forms/forms.h"
#include "forms/formshow.h"
#include "forms/link.h"
#include "forms/show.h"
#include "forms/surface.h"
#include "support/memory.h"

namespace {

// The open list; one that was hidden along with its owner isn't open any more.
FI_gadget* open_list() {
    FI_gadget* list = fi_edit.open_list;
    if (list != nullptr && (list->displayed == 0 || fi_has(list, FI_NOT_DISPLAYED))) fi_edit.open_list = nullptr;
    return fi_edit.open_list;
}

} // namespace

bool fi_list_is_open(const fi_field* owner) {
    return owner->list != nullptr && open_list() == owner->list;
}

void fi_open_list(fi_field* owner) {
    FI_gadget* list = owner->list;
    if (list == nullptr || fi_list_is_open(owner)) return;
    const fi_hold hold(fi_gadget_of(owner));
    const fi_hold hold_list(list);
    fi_close_list();
    if (hold.gone() || hold_list.gone() || !fi_field_usable(owner)) return;
    fi_edit.open_list = list;
    list->attr_mask &= ~FI_NOT_DISPLAYED;
    list->displayed = 1;
    fi_each_part(list, fi_allow_display);
    fi_display_gadget(list, fi_draw_window(list->form));
}

namespace {

void forget_choice(fi_field* list) {
    if (fi_row_exists(list, list->selected_row)) list->rows[list->selected_row].selected = 0;
    list->selected_row = -1;
}

} // namespace

void fi_mark_undrawn(FI_gadget* g) {
    g->displayed = 0;
    fi_each_part(g, fi_mark_undrawn);
}

void fi_close_list() {
    FI_gadget* list = open_list();
    if (list == nullptr) return;
    fi_edit.open_list = nullptr;
    const fi_box box = fi_extent_of(list);
    list->attr_mask |= FI_NOT_DISPLAYED;
    fi_mark_undrawn(list);
    if (fi_flag(fi_as<fi_field>(list->owner), FI_DISMISS_LIST)) forget_choice(fi_as<fi_field>(list));
    fi_redraw_area(list->form, box.x1, box.y1, box.x2, box.y2);
}

void fi_toggle_list(fi_field* owner) {
    if (fi_list_is_open(owner))
        fi_close_list();
    else
        fi_open_list(owner);
}

// ---- on top of the form --------------------------------------------------------------------------------------------

FI_gadget* fi_open_list_at(const FI_form* form, int x, int y) {
    FI_gadget* list = open_list();
    if (list == nullptr || list->form != form || fi_has(list, FI_NOT_ENABLED)) return nullptr;
    return fi_field_part_at(list, x, y);
}

void fi_list_before_press(FI_form* form, int x, int y) {
    const FI_gadget* list = open_list();
    if (list == nullptr || (list->form == form && fi_open_list_at(form, x, y) != nullptr)) return;
    if (list->form == form && fi_in_strip(fi_as<fi_field>(list->owner), x, y)) return; // it closes it by itself
    fi_close_list();
}

void fi_draw_open_list(const FI_form* form, fi_box box, int window) {
    FI_gadget* list = open_list();
    if (list == nullptr || list->form != form || !fi_boxes_meet(fi_extent_of(list), box)) return;
    fi_display_gadget(list, window);
}

void fi_list_on_top(const FI_gadget* drawn, fi_box box) {
    const FI_gadget* list = fi_state.partial ? nullptr : open_list();
    if (list == nullptr) return;
    FI_form* form = drawn->form;
    for (const FI_gadget* g = drawn; g != nullptr; g = g->owner)
        if (g == list) return;
    fi_draw_open_list(form, box, fi_draw_window(form));
}

// ---- choices -------------------------------------------------------------------------------------------------------

namespace {

// The next row of the owner, for the next choice: a new one if there is none.
void advance(fi_field* owner) {
    const int next = owner->active_row + 1;
    if (next >= owner->num_rows && (!fi_may_add_row(owner) || fi_set_num_rows(owner, next + 1, true) != FI_SUCCESS))
        return;
    fi_show_cursor(owner, false);
    owner->active_row = fi_short(next);
    owner->cursor_char = 0;
    fi_view_follow(owner);
}

} // namespace

void fi_list_chosen(fi_field* list, int row) {
    auto* owner = fi_as<fi_field>(list->common.owner);
    FI_gadget* reporter = fi_reporter_of(owner);
    const fi_hold hold(fi_gadget_of(owner));
    const mem_guard<char> text(mem_copy_text(fi_row_text(list, row)));
    if (!text) return;
    const int at = owner->active_row;
    const bool selected = fi_row_exists(owner, at) && owner->rows[at].selected != 0;
    if (fi_field_set_text(owner, at, text.get(), selected ? 1 : 0) != FI_SUCCESS) return;
    if (list->mode == FI_MULTI_SELECT) advance(owner);
    if (!fi_has(fi_gadget_of(owner), FI_NO_COMPLETE_NOTIFY)) fi_tell(reporter, owner->active_row);
    if (!hold.gone()) fi_carry_link(reporter);
}
