// Making and deleting of gadgets, groups of them, and the calls that show them.
#include <algorithm>

#include "forms/forms.h"
#include "forms/mcf.h"
#include "forms/ops.h"
#include "forms/show.h"
#include "forms/surface.h"

int FIg_new(FI_form* form, int type, int label) {
    if (!fi_form_exists(form)) return FI_NO_SUCH_FORM;
    if (type < 0 || type >= FI_TYPES) return FI_INVALID_GADGET_TYPE;
    if (fi_find_gadget(form, label) != nullptr) return FI_LABEL_IN_USE;
    if (label < 0 && type != FI_GROUP) return FI_INVALID_ARGUMENT; // nobody could ever name it
    FI_gadget* made = nullptr;
    return fi_new_gadget(form, type, label, &made);
}

int FIg_delete(FI_form* form, int label) {
    FI_gadget* g = nullptr;
    const int status = fi_lookup(form, label, &g);
    if (status != FI_SUCCESS) return status;
    if (label == 0) return FI_INVALID_ARGUMENT;
    FI_gadget* table = fi_is_column(g) ? g->owner : nullptr;
    if (table == nullptr) {
        fi_free_gadget(g, true);
        return FI_SUCCESS;
    }
    fi_mcf_drop_column(g);
    fi_free_gadget(g, true);
    fi_mcf_show_from(fi_as<fi_mcf>(table), fi_as<fi_mcf>(table)->first_col);
    return FI_SUCCESS;
}

int FIg_is_valid(FI_form* form, int label) {
    FI_gadget* g = nullptr;
    return fi_lookup(form, label, &g);
}

namespace {

template <void (*act)(FI_gadget*)> int with_gadget(FI_form* form, int label) {
    return fi_pass_on(form, label, [](FI_gadget* g) {
        act(g);
        return 0;
    });
}

// A group is shown as a whole: its own attribute, too, since members are skipped with it.
void allow_groups(FI_gadget* g) {
    for (FI_gadget* at = g; at != nullptr; at = at->group != nullptr ? fi_common(at->group) : nullptr)
        if (at->type == FI_GROUP) at->attr_mask &= ~FI_NOT_DISPLAYED;
}

void display(FI_gadget* g) {
    allow_groups(g);
    fi_allow_display(g);
    fi_display_gadget(g, fi_draw_window(g->form));
}

} // namespace

int FIg_activate(FI_form* form, int label) {
    return with_gadget<fi_activate_gadget>(form, label);
}

int FIg_display(FI_form* form, int label) {
    FI_gadget* g = nullptr;
    const int status = fi_lookup(form, label, &g);
    if (status != FI_SUCCESS) return status;
    allow_groups(g);
    return fi_pass_on(g, [](FI_gadget* member) {
        display(member);
        return 0;
    });
}

int FIg_erase(FI_form* form, int label) {
    FI_gadget* g = nullptr;
    const int status = fi_lookup(form, label, &g);
    if (status == FI_SUCCESS) fi_erase_gadget(g);
    return status;
}

int FIg_enable(FI_form* form, int label) {
    return with_gadget<fi_enable_gadget>(form, label);
}

int FIg_disable(FI_form* form, int label) {
    return with_gadget<fi_disable_gadget>(form, label);
}

int FIg_reset(FI_form* form, int label) {
    FI_gadget* g = nullptr;
    const int status = fi_lookup(form, label, &g);
    if (status == FI_SUCCESS) fi_reset_gadget(g);
    return status;
}

// ---- groups --------------------------------------------------------------------------------------------------------

namespace {

int move_to(FI_gadget* g, FI_group* group) {
    if (g->group == group) return FI_SUCCESS;
    const fi_hold hold(g);
    // The new group first: at a failure nothing has changed.
    FI_group* old = g->group;
    const int status = fi_group_add(group, g);
    if (status != FI_SUCCESS) return status;
    FI_group* fresh = g->group;
    g->group = old;
    fi_group_remove(g, true);
    g->group = fresh;
    if (g->value != 0) fi_single_select(g);
    return FI_SUCCESS;
}

// All members, or none of the rest when one can't be moved. Groups stay where they are, and their members go.
int move_members(FI_group* from, FI_group* to) {
    if (from == to) return FI_SUCCESS;
    const fi_hold hold(fi_common(from));
    const fi_hold hold_to(fi_common(to));
    int at = 0;
    int status = FI_SUCCESS;
    while (FI_gadget* member = status == FI_SUCCESS && !hold_to.gone() ? fi_next_member(from, &at) : nullptr)
        status = member->type == FI_GROUP ? move_members(fi_as_group(member), to) : move_to(member, to);
    return status;
}

} // namespace

int FIg_add_to_group(FI_form* form, int label, int group) {
    FI_gadget* g = nullptr;
    const int status = fi_lookup(form, label, &g);
    if (status != FI_SUCCESS) return status;
    FI_group* target = fi_find_group(form, group);
    if (target == nullptr) return FI_NO_SUCH_GROUP;
    if (fi_is_column(g)) return FI_INVALID_GADGET_TYPE; // it belongs to its table
    return g->type == FI_GROUP ? move_members(fi_as_group(g), target) : move_to(g, target);
}

namespace {

template <typename F> int on_group(FI_form* form, int label, F act) {
    if (!fi_form_exists(form)) return FI_NO_SUCH_FORM;
    FI_group* group = fi_find_group(form, label);
    if (group == nullptr) return FI_NO_SUCH_GROUP;
    act(group);
    return FI_SUCCESS;
}

int set_auto_pop_up(FI_form* form, int label, uint8_t on) {
    return fi_pass_on(form, label, [=](FI_gadget* g) {
        if (g->type != FI_BUTTON) return FI_INVALID_GADGET_TYPE;
        fi_as<fi_button>(g)->auto_pop_up = on;
        return FI_SUCCESS;
    });
}

} // namespace

int FIgrp_set_single_select_on(FI_form* form, int group) {
    return on_group(form, group, [](FI_group* g) { g->single_select = 1; });
}

int FIgrp_set_single_select_off(FI_form* form, int group) {
    return on_group(form, group, [](FI_group* g) { g->single_select = 0; });
}

int FIgrp_set_pass_on(FI_form* form, int group) {
    return on_group(form, group, [](FI_group* g) { g->no_pass_on = 0; });
}

int FIbtn_set_auto_pop_up_on(FI_form* form, int label) {
    return set_auto_pop_up(form, label, 1);
}

int FIbtn_set_auto_pop_up_off(FI_form* form, int label) {
    return set_auto_pop_up(form, label, 0);
}
