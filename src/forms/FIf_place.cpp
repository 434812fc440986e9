// Place and size of forms.
#include <algorithm>
#include <cstdint>

#include "forms/forms.h"
#include "forms/formshow.h"
#include "forms/ops.h"

namespace {

bool is_size(int v) {
    return v >= 0 && v <= INT16_MAX;
}

int16_t coordinate(int v) {
    return static_cast<int16_t>(std::clamp(v, int{INT16_MIN}, int{INT16_MAX}));
}

} // namespace

int FIf_get_location(FI_form* form, int* x, int* y) {
    if (!fi_form_exists(form)) return FI_NO_SUCH_FORM;
    *x = form->x1;
    *y = form->y1;
    return FI_SUCCESS;
}

int FIf_set_location(FI_form* form, int x, int y) {
    if (!fi_form_exists(form)) return FI_NO_SUCH_FORM;
    if (x == form->x1 && y == form->y1) return FI_SUCCESS;
    const int width = fi_form_width(form);
    const int height = fi_form_height(form);
    form->x1 = coordinate(x);
    form->y1 = coordinate(y);
    form->x2 = coordinate(form->x1 + width);
    form->y2 = coordinate(form->y1 + height);
    fi_keep_on_screen(form);
    fi_place_window(form);
    return FI_SUCCESS;
}

int FIf_get_size(FI_form* form, int* width, int* height) {
    if (!fi_form_exists(form)) return FI_NO_SUCH_FORM;
    *width = fi_form_width(form);
    *height = fi_form_height(form);
    return FI_SUCCESS;
}

int FIf_set_size(FI_form* form, int width, int height) {
    if (!fi_form_exists(form)) return FI_NO_SUCH_FORM;
    if (!is_size(width) || !is_size(height)) return FI_INVALID_ARGUMENT;
    if (form->window >= 0 && (width < 1 || height < 1)) return FI_INVALID_ARGUMENT; // no window is that small
    const int old_width = fi_form_width(form);
    const int old_height = fi_form_height(form);
    if (width == old_width && height == old_height) return FI_SUCCESS;
    form->x2 = coordinate(form->x1 + width);
    form->y2 = coordinate(form->y1 + height);
    const bool was_empty = old_width <= 0 || old_height <= 0;
    if ((form->attr_mask & FI_NOT_SCALABLE) == 0 && !was_empty) fi_scale_form(form, old_width, old_height);
    fi_keep_on_screen(form);
    fi_place_window(form);
    return FI_SUCCESS;
}

int FIf_set_orig_size(FI_form* form, int width, int height) {
    if (!fi_form_exists(form)) return FI_NO_SUCH_FORM;
    if (!is_size(width) || !is_size(height)) return FI_INVALID_ARGUMENT;
    form->design_width = static_cast<int16_t>(width);
    form->design_height = static_cast<int16_t>(height);
    return FI_SUCCESS;
}
