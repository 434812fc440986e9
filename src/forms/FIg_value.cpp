// Values, states and texts of gadgets.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "forms/forms.h"
#include "forms/link.h"
#include "forms/ops.h"
#include "forms/show.h"
#include "forms/text.h"

namespace {

int whole(double value) {
    if (std::isnan(value)) return 0;
    return static_cast<int>(std::clamp(value, double{INT32_MIN}, double{INT32_MAX}));
}

bool has_state(const FI_gadget* g) {
    return g->type == FI_BUTTON || g->type == FI_TOGGLE || g->type == FI_CHECKLIST;
}

} // namespace

int fi_set_state(FI_gadget* g, int state) {
    if (whole(g->value) == state) return FI_SUCCESS;
    const fi_hold hold(g);
    g->value = state;
    if (g->type == FI_CHECKLIST) fi_ops(g).activate(g); // the mark depends on the state
    fi_redraw_gadget(g);
    if (state != 0) fi_single_select(g);
    if (!hold.gone()) fi_carry_link(g);
    return FI_SUCCESS;
}

namespace {

int set_value(FI_gadget* g, double value) {
    if (has_state(g)) return fi_set_state(g, whole(value));
    if (g->type == FI_MCF) {
        const fi_hold hold(g);
        fi_each_member(fi_as_group(g), [=](FI_gadget* column) { set_value(column, value); });
        return FI_SUCCESS;
    }
    if (fi_ops(g).set_value != nullptr) return fi_ops(g).set_value(g, value);
    if (g->type == FI_FIELD) return FI_INVALID_GADGET_TYPE;
    g->value = value;
    return FI_SUCCESS;
}

} // namespace

int FIg_set_value(FI_form* form, int label, double value) {
    return fi_pass_on(form, label, std::isfinite(value), [=](FI_gadget* g) { return set_value(g, value); });
}

int FIg_get_value(FI_form* form, int label, double* value) {
    FI_gadget* g = nullptr;
    const int status = fi_lookup(form, label, &g);
    if (status != FI_SUCCESS) return status;
    if (fi_ops(g).get_value != nullptr) return fi_ops(g).get_value(g, value);
    *value = g->value;
    return FI_SUCCESS;
}

int FIg_get_state(FI_form* form, int label, int* state) {
    FI_gadget* g = nullptr;
    const int status = fi_lookup(form, label, &g);
    if (status == FI_SUCCESS) *state = whole(g->value);
    return status;
}

int FIg_set_state(FI_form* form, int label, int state) {
    return fi_pass_on(form, label, [=](FI_gadget* g) {
        if (g->type != FI_MCF) return fi_set_state(g, state);
        const fi_hold hold(g);
        fi_each_member(fi_as_group(g), [=](FI_gadget* column) { fi_set_state(column, state); });
        return int{FI_SUCCESS};
    });
}

int FIg_set_state_on(FI_form* form, int label) {
    return FIg_set_state(form, label, 1);
}

int FIg_set_state_off(FI_form* form, int label) {
    return FIg_set_state(form, label, 0);
}

// ---- texts ---------------------------------------------------------------------------------------------------------

namespace {

int get_text(FI_form* form, int label, char* buffer, int* length) {
    FI_gadget* g = nullptr;
    const int status = fi_lookup(form, label, &g);
    if (status != FI_SUCCESS) return status;
    if (fi_ops(g).get_text != nullptr) return fi_ops(g).get_text(g, buffer, length);
    if (buffer != nullptr) std::strcpy(buffer, g->text);
    if (length != nullptr) *length = static_cast<int>(std::strlen(g->text)) + 1;
    return FI_SUCCESS;
}

int set_text(FI_gadget* g, const char* text) {
    if (fi_ops(g).set_text != nullptr) return fi_ops(g).set_text(g, text);
    if (fi_has_members(g) || g->type == FI_FIELD) return FI_INVALID_GADGET_TYPE;
    if (std::strcmp(g->text, text) == 0) return FI_SUCCESS;
    const int status = fi_string_set(&g->text, text);
    if (status != FI_SUCCESS) return status;
    g->text_length = static_cast<int32_t>(std::strlen(g->text));
    if (g->type == FI_TEXT) fi_text_refit(g, 1.0F);
    fi_activate_gadget(g);
    if (g->type != FI_TEXT) fi_redraw_gadget(g); // a text stays as it is drawn
    fi_carry_link_text(g, text);
    return FI_SUCCESS;
}

} // namespace

int FIg_get_text(FI_form* form, int label, char* buffer) {
    return get_text(form, label, buffer, nullptr);
}

int FIg_get_text_length(FI_form* form, int label, int* length) {
    return get_text(form, label, nullptr, length);
}

int FIg_set_text(FI_form* form, int label, const char* text) {
    FI_gadget* g = nullptr;
    const int status = fi_lookup(form, label, &g);
    return status != FI_SUCCESS ? status : set_text(g, text != nullptr ? text : "");
}

int FIg_set_on_text(FI_form* form, int label, const char* text) {
    FI_gadget* g = nullptr;
    int status = fi_lookup(form, label, &g);
    if (status != FI_SUCCESS) return status;
    if (g->type != FI_TOGGLE) return FI_INVALID_GADGET_TYPE;
    auto* t = fi_as<fi_toggle>(g);
    status = fi_string_set(&t->on_text, text);
    if (status != FI_SUCCESS) return status;
    t->on_text_length = static_cast<int32_t>(std::strlen(t->on_text));
    fi_activate_gadget(g);
    fi_redraw_gadget(g);
    return FI_SUCCESS;
}
