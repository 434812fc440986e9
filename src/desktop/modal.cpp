#include "desktop/modal.h"

#include "desktop/appforms.h"
#include "desktop/input.h"
#include "desktop/keyboard.h"
#include "desktop/picture.h"
#include "desktop/program.h"
#include "tools/events.h"
#include "tools/windows.h"

namespace {

constexpr int CONTROL_C = 3;
constexpr int PRESS_TICKS = 4;

// What ends the form by key.
struct modal_keys {
    int accept, cancel; // gadgets
    int also_cancels;   // a key
};

// A turn of the keys in the form may be over, and the form with it.
void turn_over(FI_form* form, modal_keys keys) {
    const turn_end end = keyboard_turn_over();
    if (FIf_is_valid(form) != FI_SUCCESS) return;
    if (end.is_escape) press_gadget(form, keys.cancel);
    if (end.returned == form) press_gadget(form, keys.accept);
}

// Takes the key event.
void take_key(FI_form* form, modal_keys keys) {
    int count = 0;
    if (Get_keyboard_data(&count) != 0 || count == 0) return;
    const char key = keyboard_buffer[0];
    if (key == KEY_TAB || key == KEY_BACK_TAB) {
        keyboard_enter(form);
        turn_over(form, keys);
    }
    if (key == KEY_RETURN) press_gadget(form, keys.accept);
    if (key == KEY_ESCAPE || key == CONTROL_C || key == keys.also_cancels) press_gadget(form, keys.cancel);
}

// A press elsewhere is none of the form's.
bool is_elsewhere(const FI_form* form) {
    int window = 0, form_window = -1;
    FI_form* other = nullptr;
    if (Inq_button_data(&window, nullptr, nullptr, nullptr, nullptr, nullptr) != 0) return true;
    FIf_get_window(const_cast<FI_form*>(form), &form_window);
    return window != form_window && !(FI_get_form_by_window(window, &other) == FI_SUCCESS && other == form);
}

void handle(FI_form* form, uint32_t event, modal_keys keys) {
    if (event == KEYBOARD_EVENT) {
        take_key(form, keys);
        return;
    }
    if (event == BUTTON_EVENT) keyboard_pressed();
    if (event == BUTTON_EVENT && is_elsewhere(form)) {
        Drop_event(event);
        return;
    }
    if (forms_process_event(event) != 0) {
        turn_over(form, keys);
        return;
    }
    switch (event) {
    case REFRESH_EVENT: view_refresh(); break;
    case USER_EVENT: input_wait_for_answer(); break;
    default: Drop_event(event);
    }
}

} // namespace

void modal_loop(FI_form* form, bool (*is_done)(void* user), void* user, int accept, int cancel, int also_cancels) {
    while (!is_done(user) && !quit_requested) {
        uint32_t event = 0;
        if (Wait_for_next(PROGRAM_EVENTS | DELETE_EVENT, &event) != 0) return;
        handle(form, event, {accept, cancel, also_cancels});
    }
    input_resume();
}

void modal_end(FI_form* form) {
    FI_end_input(form);
}

void form_take_away(FI_form* form) {
    FIf_delete(form);
    uint32_t waiting = 0;
    while (!quit_requested && tools_pump() && Inq_events(&waiting) == 0 && (waiting & REFRESH_EVENT) != 0)
        if (forms_process_event(REFRESH_EVENT) == 0) view_refresh();
}

void press_gadget(FI_form* form, int label) {
    FIg_set_state_on(form, label);
    Sleep_ticks(PRESS_TICKS);
    if (FIf_is_valid(form) != FI_SUCCESS) return;
    FIg_set_state_off(form, label);
    FI_notification notify = form->notification_routine;
    if (notify != nullptr) notify(static_cast<int>(form->label), label, 1.0, form);
}

void form_center(FI_form* form) {
    int width = 0, height = 0;
    FIf_get_size(form, &width, &height);
    FIf_set_location(form, (screen_width - width) / 2, (screen_height - height) / 2);
}
