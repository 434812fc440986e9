#include "desktop/builtform.h"

#include "desktop/keyboard.h"
#include "desktop/modal.h"

namespace {

constexpr uint8_t INK = 2, CHOSEN_INK = 6; // logical colours of forms

bool takes_keys(const built_gadget* g) {
    return g->type == FI_BUTTON || g->type == FI_TOGGLE || g->type == FI_FIELD || g->type == FI_SLIDER;
}

// The gadget behind the i-th that takes keys, round and round.
int next_of(const built_gadget* gadgets, int count, int i) {
    for (int step = 1; step < count; ++step) {
        const built_gadget* next = &gadgets[(i + step) % count];
        if (takes_keys(next)) return next->label;
    }
    return 0;
}

int add_gadget(FI_form* form, const built_gadget* g, int next) {
    int status = FIg_new(form, g->type, g->label);
    FI_standard_variables v = {};
    v.xlo = static_cast<uint16_t>(g->x1);
    v.ylo = static_cast<uint16_t>(g->y1);
    v.xhi = static_cast<uint16_t>(g->x2);
    v.yhi = static_cast<uint16_t>(g->y2);
    v.attr_mask = g->attributes;
    v.bodysize = static_cast<float>(g->body_size);
    v.text = g->text;
    v.fontname = g->font;
    v.off_color = INK;
    v.on_color = CHOSEN_INK;
    v.symbol_index = static_cast<uint8_t>(g->symbol);
    v.next_in_seq = static_cast<uint16_t>(next);
    if (status == FI_SUCCESS && g->type != FI_GROUP) status = FIg_set_standard_variables(form, g->label, &v);
    if (status == FI_SUCCESS && g->on_text != nullptr) status = FIg_set_on_text(form, g->label, g->on_text);
    if (status == FI_SUCCESS && g->group != 0) status = FIg_add_to_group(form, g->label, g->group);
    if (status == FI_SUCCESS && g->type != FI_GROUP) status = FIg_activate(form, g->label);
    return status;
}

} // namespace

int build_form(int label, int width, int height, const built_gadget* gadgets, int count, FI_notification notify,
               FI_form** form) {
    int status = FIf_new(label, "", notify, form);
    if (status != FI_SUCCESS) return status;
    FIf_set_orig_size(*form, width, height);
    FIf_set_size(*form, width, height);
    form_center(*form);
    for (int i = 0; status == FI_SUCCESS && i < count; ++i)
        status = add_gadget(*form, &gadgets[i], takes_keys(&gadgets[i]) ? next_of(gadgets, count, i) : 0);
    if (status == FI_SUCCESS) {
        keyboard_join(*form, next_of(gadgets, count, count - 1));
        return status;
    }
    FIf_delete(*form);
    *form = nullptr;
    return status;
}
