// Finding gadgets by label, free labels, and what a call's form and label mean.
#include <algorithm>
#include <cstdint>

#include "forms/forms.h"
#include "forms/ops.h"

namespace {

FI_gadget* find_in(const FI_group* group, int label) {
    int at = 0;
    while (FI_gadget* member = fi_next_member(group, &at)) {
        if (member->label == label) return member;
        FI_gadget* inside = fi_has_members(member) ? find_in(fi_as_group(member), label) : nullptr;
        if (inside != nullptr) return inside;
    }
    return nullptr;
}

} // namespace

FI_gadget* fi_find_gadget(const FI_form* form, int label) {
    if (form == nullptr || form->root_group == nullptr) return nullptr;
    return label == 0 ? fi_common(form->root_group) : find_in(form->root_group, label);
}

FI_group* fi_find_group(const FI_form* form, int label) {
    FI_gadget* g = fi_find_gadget(form, label);
    return g != nullptr && g->type == FI_GROUP ? fi_as_group(g) : nullptr;
}

int fi_next_free_label(FI_form* form) {
    while (find_in(form->root_group, form->next_label) != nullptr)
        ++form->next_label;
    return form->next_label;
}

// Below all labels that have been given, so that nothing has to be searched.
int fi_next_private_label(FI_form* form) {
    // Below the lowest number there is none; nobody looks for private gadgets by label.
    const int below = form->lowest_label > INT32_MIN ? form->lowest_label - 1 : INT32_MIN;
    form->next_negative_label = std::min(form->next_negative_label, below);
    return form->next_negative_label;
}

bool fi_form_exists(const FI_form* form) {
    for (int i = 0; form != nullptr && i < fi_state.form_slots; ++i)
        if (fi_state.forms[i] == form) return true;
    return false;
}

int fi_lookup(const FI_form* form, int label, FI_gadget** gadget) {
    if (!fi_form_exists(form)) return FI_NO_SUCH_FORM;
    FI_gadget* found = fi_find_gadget(form, label);
    if (found == nullptr) return FI_NO_SUCH_GADGET;
    *gadget = found;
    return FI_SUCCESS;
}
