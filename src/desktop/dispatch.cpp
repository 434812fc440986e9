// Where an event goes: presses to the tools of views and to clickable regions, everything else to the forms, and what
// they don't take to the picture.
#include "desktop/dispatch.h"

#include "desktop/appforms.h"
#include "desktop/drags.h"
#include "desktop/input.h"
#include "desktop/keyboard.h"
#include "desktop/patternform.h"
#include "desktop/picker.h"
#include "desktop/picture.h"
#include "desktop/program.h"
#include "desktop/region.h"
#include "tools/events.h"
#include "tools/windows.h"
#include "view/viewtools.h"

namespace {

constexpr int BUTTON_PAN = 0; // the left one, with Ctrl
constexpr int BUTTON_CHOOSE = 1;
constexpr int BUTTON_CANCEL = 2;
constexpr char CHARACTER_ESCAPE = 27;

// Escape comes as a click of the cancel button when it goes down and once more when it comes up. One press is to be one
// click: the one beside which the key's character has come.
bool escape_is_down = false;

// Looks at the oldest key event, and leaves it.
void notice_escape() {
    int count = 0;
    if (Inq_keyboard_data(&count) == 0 && count > 0 && keyboard_buffer[0] == CHARACTER_ESCAPE) escape_is_down = true;
}

// Whether a click of the cancel button counts. Those of the mouse have a window, and a press.
bool counts(int window, int transition) {
    if (window != 0 || transition != TRANS_CLICK) return true;
    const bool is_down = escape_is_down;
    escape_is_down = false;
    return is_down;
}

// True when a region's action has taken the event.
bool press(int window, int x, int y) {
    all_busycursor();
    if (region_hit(window, x, y) != 0) return true;
    all_defaultcursor();
    cancel_action(1);
    return false;
}

// True when nothing else is to happen to the oldest button event.
bool take_button() {
    int window = 0, x = 0, y = 0, button = 0, transition = 0;
    if (Inq_button_data(&window, &x, &y, &button, &transition, nullptr) != 0) return true;
    if (transition == TRANS_UP) return false;
    if (button == BUTTON_CANCEL) {
        Drop_event(BUTTON_EVENT);
        const bool is_pickers = window == 0 && file_picker_is_up(); // its character cancels the picker
        if (counts(window, transition) && !is_pickers) cancel_action(0);
        return true;
    }
    if (button == BUTTON_PAN && window == picture_view.window && forms_up) {
        Drop_event(BUTTON_EVENT);
        drag_picture(&picture_view, x, y, BUTTON_PAN);
        return true;
    }
    return button == BUTTON_CHOOSE && press(window, x, y);
}

} // namespace

void keys_turn_over() {
    const turn_end end = keyboard_turn_over();
    if (end.returned != nullptr) file_picker_take_key(end.returned, KEY_RETURN);
    // One Escape is to do: a name's field has the keys beside the picker that it has opened.
    if (end.is_escape && end.form != nullptr && end.form == pattern_form()) pattern_picker_cancel();
}

void dispatch_events(uint32_t event) {
    if (event == KEYBOARD_EVENT) notice_escape();
    if (event == BUTTON_EVENT) keyboard_pressed();
    if (event == BUTTON_EVENT && take_button()) return;
    if (forms_process_event(event) != 0) {
        keys_turn_over();
        return;
    }
    switch (event) {
    case REFRESH_EVENT: view_refresh(); break;
    case KEYBOARD_EVENT: input_key(); break;
    case USER_EVENT: input_user_event(); break;
    case WHEEL_EVENT: input_wheel(); break;
    case BUTTON_EVENT: Drop_event(event); break; // one: a press may wait behind a release that nobody wants
    case COLLAPSE_EVENT: Clear_collapse_data(); break;
    case TIMER_EVENT: Clear_timer_data(); break;
    case WINDOW_ICON_EVENT: Clear_window_icon_data(); break;
    default: break;
    }
}
