// What else is kept for a form: attributes, colour, screen, icon, routines, labels, the start of its sequence.
#include "forms/env.h"
#include "forms/forms.h"
#include "forms/ops.h"
#include "tools/events.h"

namespace {

// Stores a value in the form's record.
template <typename T, typename V> int store(FI_form* form, T FI_form::*place, V value) {
    if (!fi_form_exists(form)) return FI_NO_SUCH_FORM;
    form->*place = static_cast<T>(value);
    return FI_SUCCESS;
}

} // namespace

int FIf_get_color(FI_form* form, int* color) {
    if (!fi_form_exists(form)) return FI_NO_SUCH_FORM;
    *color = form->bg_color;
    return FI_SUCCESS;
}

int FIf_set_color(FI_form* form, int color) {
    if (!fi_form_exists(form)) return FI_NO_SUCH_FORM;
    if (color < 0 || color > UINT8_MAX) return FI_INVALID_ARGUMENT;
    return store(form, &FI_form::bg_color, color);
}

int FIf_set_attr(FI_form* form, uint32_t mask) {
    return store(form, &FI_form::attr_mask, mask);
}

int FIf_set_screen(FI_form* form, int mode) {
    if (!fi_form_exists(form)) return FI_NO_SUCH_FORM;
    if (form->window >= 0) return FI_FORM_DISPLAYED;
    if (mode < 0 || mode > UINT8_MAX) return FI_INVALID_ARGUMENT;
    form->screen_mode = static_cast<uint8_t>(mode);
    form->screen = -1;
    return FI_SUCCESS;
}

int FIf_set_collapse_symbol(FI_form* form, const char* file, int index) {
    if (!fi_form_exists(form)) return FI_NO_SUCH_FORM;
    if (index < 0 || index > UINT8_MAX) return FI_INVALID_ARGUMENT;
    const int status = fi_string_set(&form->collapse_symbol_file, file);
    if (status != FI_SUCCESS) return status;
    form->collapse_symbol_index = static_cast<uint8_t>(index);
    if (form->window < 0) return FI_SUCCESS;
    char path[FILES_PATH_SIZE];
    uint32_t id = 0;
    fi_env.FI_FIND_SYMBOL_FILE(path, form->collapse_symbol_file, &id);
    if (path[0] == '\0') return FI_NO_SUCH_FONT;
    fi_graphic.Set_win_collapse_symbol(form->window, path, index);
    return FI_SUCCESS;
}

int FIf_is_collapsed(FI_form* form, int* state) {
    if (!fi_form_exists(form)) return FI_NO_SUCH_FORM;
    if (form->window < 0) return FI_FORM_NOT_DISPLAYED;
    return fi_graphic.Inq_win_collapse_stat(form->window, state) == 0 ? FI_SUCCESS : FI_NO_WINDOW;
}

int FIf_set_window_event_routine(FI_form* form, FI_window_event routine) {
    return store(form, &FI_form::window_event_routine, routine);
}

int FIf_set_window_icon_routine(FI_form* form, FI_window_event routine) {
    return store(form, &FI_form::window_icon_routine, routine);
}

int FIf_set_initial_notification_routine(FI_form* form, FI_notification routine) {
    return store(form, &FI_form::initial_notification_routine, routine);
}

int FIf_set_button_event_routine(FI_form* form, FI_button_event routine) {
    return store(form, &FI_form::button_event_routine, routine);
}

int FIf_set_button_intercept_routine(FI_form* form, FI_button_intercept routine) {
    return store(form, &FI_form::button_intercept_routine, routine);
}

int FIf_get_next_label(FI_form* form, int* label) {
    if (!fi_form_exists(form)) return FI_NO_SUCH_FORM;
    *label = fi_next_free_label(form);
    return FI_SUCCESS;
}

// ---- the keyboard sequence -----------------------------------------------------------------------------------------

namespace {

constexpr uint32_t START_EVENT = 77777; // value of the user event for window 0

int post_start(FI_form* form) {
    Enable_events(USER_EVENT);
    return Post_user_data(START_EVENT + static_cast<uint32_t>(form->window)) == 0 ? FI_SUCCESS : FI_NO_MEMORY;
}

} // namespace

int FIf_set_start_seq(FI_form* form, int label) {
    if (!fi_form_exists(form)) return FI_NO_SUCH_FORM;
    form->start_seq = label;
    return form->window >= 0 && label >= 1 ? FIg_start_seq(form, label) : FI_SUCCESS;
}

int FIg_start_seq(FI_form* form, int label) {
    FI_gadget* g = nullptr;
    const int status = fi_lookup(form, label, &g);
    if (status != FI_SUCCESS) return status;
    if (form->window < 0) return FI_FORM_NOT_DISPLAYED;
    if (label < 1) return FI_INVALID_ARGUMENT; // no sequence starts at a group or a private part
    form->start_seq = FI_PENDING_START - label;
    return post_start(form);
}
