// Gadgets with a range: its ends, step, direction and digits.
#include <cmath>

#include "forms/forms.h"
#include "forms/ops.h"

namespace {

int set_limit(FI_form* form, int label, bool high, double value) {
    FI_gadget* g = nullptr;
    const int status = fi_lookup(form, label, &g);
    if (status != FI_SUCCESS) return status;
    if (!std::isfinite(value)) return FI_INVALID_ARGUMENT;
    if (g->type == FI_FIELD) {
        (high ? fi_as<fi_field>(g)->max_value : fi_as<fi_field>(g)->min_value) = value;
        return FI_SUCCESS;
    }
    return fi_ops(g).set_limit != nullptr ? fi_ops(g).set_limit(g, high, value) : FI_INVALID_GADGET_TYPE;
}

bool is_byte(int v) {
    return v >= 0 && v <= UINT8_MAX;
}

} // namespace

int FIg_set_high_value(FI_form* form, int label, double value) {
    return set_limit(form, label, true, value);
}

int FIg_set_low_value(FI_form* form, int label, double value) {
    return set_limit(form, label, false, value);
}

int FIg_set_increment(FI_form* form, int label, double increment) {
    const auto step = static_cast<float>(increment == 0 ? 1.0 : std::fabs(increment));
    return fi_pass_on(form, label, std::isfinite(step), [=](FI_gadget* g) {
        if (g->type == FI_SLIDER)
            fi_as<fi_slider>(g)->increment = step;
        else if (g->type == FI_DIAL)
            fi_as<fi_dial>(g)->increment = step;
        else
            return FI_INVALID_GADGET_TYPE;
        return FI_SUCCESS;
    });
}

int FIg_set_orientation(FI_form* form, int label, int value) {
    const bool allowed = value >= INT8_MIN && value <= UINT8_MAX;
    return fi_pass_on(form, label, allowed, [=](FI_gadget* g) {
        const auto orientation = static_cast<uint8_t>(value);
        switch (g->type) {
        case FI_SLIDER: fi_as<fi_slider>(g)->orientation = orientation; return FI_SUCCESS;
        case FI_BAR: fi_as<fi_bar>(g)->orientation = orientation; return FI_SUCCESS;
        case FI_SCROLL: fi_as<fi_scroll>(g)->orientation = orientation; return FI_SUCCESS;
        case FI_DIAL: fi_as<fi_dial>(g)->direction = value < 0 ? -1 : 1; return FI_SUCCESS;
        default: return FI_INVALID_GADGET_TYPE;
        }
    });
}

int FIg_set_display(FI_form* form, int label, int mask) {
    return fi_pass_on(form, label, is_byte(mask), [=](FI_gadget* g) {
        switch (g->type) {
        case FI_SLIDER: fi_as<fi_slider>(g)->display_mask = static_cast<uint8_t>(mask); return FI_SUCCESS;
        case FI_DIAL: fi_as<fi_dial>(g)->display_mask = static_cast<uint8_t>(mask); return FI_SUCCESS;
        case FI_SCROLL:
        case FI_BAR: return FI_SUCCESS;
        default: return FI_INVALID_GADGET_TYPE;
        }
    });
}

int FIg_set_digits(FI_form* form, int label, int width, int decimals) {
    const auto set = [=](auto* g) {
        g->field_width = static_cast<uint8_t>(width);
        g->decimals = static_cast<uint8_t>(decimals);
        return int{FI_SUCCESS};
    };
    const bool allowed = width >= 0 && width <= FI_MAX_DIGITS && is_byte(decimals);
    return fi_pass_on(form, label, allowed, [=](FI_gadget* g) {
        switch (g->type) {
        case FI_SLIDER: return set(fi_as<fi_slider>(g));
        case FI_DIAL: return set(fi_as<fi_dial>(g));
        default: return int{FI_INVALID_GADGET_TYPE};
        }
    });
}

int FIg_set_continuous_routine(FI_form* form, int label, FI_notification routine) {
    return fi_pass_on(form, label, [=](FI_gadget* g) {
        switch (g->type) {
        case FI_SLIDER: fi_as<fi_slider>(g)->continuous_routine = routine; return FI_SUCCESS;
        case FI_DIAL: fi_as<fi_dial>(g)->continuous_routine = routine; return FI_SUCCESS;
        case FI_SCROLL: fi_as<fi_scroll>(g)->continuous_routine = routine; return FI_SUCCESS;
        default: return FI_INVALID_GADGET_TYPE;
        }
    });
}
