#include "desktop/keyboard.h"

#include <utility>

#include "desktop/appforms.h"
#include "desktop/program.h"
#include "forms/env.h"
#include "forms/gadget.h"
#include "tools/events.h"

namespace {

constexpr int PLACES_MAX = 16;
constexpr int TAKES_KEYS = 9; // numbers of the toolkit's operations: takes a key event,
constexpr int MAPS_KEYS = 11; // and says what a key means to a field
constexpr int BUTTON_CANCEL = 2;
constexpr char BLANK = ' ';

// A form, and the gadget that had the keys last.
struct place {
    FI_form* form;
    int label;
};
place places[PLACES_MAX];
int place_count = 0;

// What is left to the loop around the toolkit.
struct left_over {
    place next;        // where the keys go; a null form: nowhere
    FI_form* returned; // has not used Return
};
left_over left = {};

int last_key = 0;
bool has_chosen = false; // a blank in a list, which is about to tell
bool is_turn = false;    // a gadget may have the keys
const FI_form* turn_form = nullptr;

void forget_deleted() {
    int count = 0;
    for (int i = 0; i < place_count; ++i)
        if (FIf_is_valid(places[i].form) == FI_SUCCESS) places[count++] = places[i];
    place_count = count;
}

place* find(const FI_form* form) {
    forget_deleted();
    for (int i = 0; i < place_count; ++i)
        if (places[i].form == form) return &places[i];
    return nullptr;
}

// The form behind or before this one, round and round.
void lead_to_form(FI_form* form, int direction) {
    const place* at = find(form);
    if (at == nullptr || place_count < 2) return;
    left.next = places[(at - places + direction + place_count) % place_count];
    FI_end_input(form);
}

// Return in a list that is chosen from: takes the marked row; once more, it is the form's.
char return_in_list(FI_form* form, int label) {
    int row = 0, position = 0, select = 0;
    FIfld_get_active_row(form, label, &row, &position);
    FIfld_get_select(form, label, row, 0, &select);
    FI_end_input(form);
    if (select == 0) {
        has_chosen = true;
        return BLANK;
    }
    left.returned = form;
    return '\0';
}

char return_in(FI_form* form, int label) {
    int type = 0, mode = FI_INSERT;
    FIg_get_type(form, label, &type);
    if (type == FI_BUTTON || type == FI_TOGGLE) return BLANK;
    if (type != FI_FIELD) return KEY_RETURN;
    FIfld_get_mode(form, label, 0, &mode);
    if (mode == FI_SINGLE_SELECT || mode == FI_MULTI_SELECT) return return_in_list(form, label);
    FI_end_input(form); // once the text is taken
    return KEY_RETURN;
}

// What a key means where the keys are now; 0: nothing.
char meaning_of(char key) {
    FI_form* form = nullptr;
    int label = 0, next = 0, previous = 0;
    last_key = static_cast<unsigned char>(key);
    is_turn = true;
    has_chosen = false;
    if (FI_get_input(&form, &label, &next, &previous) != FI_SUCCESS) return key;
    turn_form = form;
    place* at = find(form);
    if (at != nullptr) at->label = label;
    switch (last_key) {
    case KEY_TAB:
        if (next == 0) lead_to_form(form, 1);
        return key;
    case KEY_BACK_TAB:
        if (at == nullptr) return key;
        if (previous == 0) {
            lead_to_form(form, -1);
            return key;
        }
        // Against the chain, also from the gadget that the turn began at.
        at->label = previous;
        left.next = *at;
        FI_end_input(form);
        return '\0';
    case KEY_RETURN: return return_in(form, label);
    case BLANK: has_chosen = true; return key;
    default: return key;
    }
}

// Takes the Escape that has ended a turn off its queues. True when there was one.
bool drop_escape() {
    int window = -1, button = 0, transition = 0, count = 0;
    const bool was_turn = is_turn;
    bool was_escape = last_key == KEY_ESCAPE;
    is_turn = false;
    if (!was_turn || Inq_button_data(&window, nullptr, nullptr, &button, &transition, nullptr) != 0) return false;
    if (window != 0 || button != BUTTON_CANCEL || transition != TRANS_CLICK) return false;
    // Its character may have come to the gadget, or wait still.
    if (!was_escape && Inq_keyboard_data(&count) == 0 && count > 0 && keyboard_buffer[0] == KEY_ESCAPE) {
        was_escape = true;
        Drop_event(KEYBOARD_EVENT);
    }
    if (was_escape) Drop_event(BUTTON_EVENT);
    return was_escape;
}

int take_keys(char* buffer, int* count) {
    const int arrived = program_form_hooks.keyboard_data(buffer, *count);
    *count = arrived;
    if (arrived == 1) {
        buffer[0] = meaning_of(buffer[0]);
        if (buffer[0] == '\0') *count = 0;
    }
    return arrived > 0 ? 0 : -1;
}

// Tab leads on and is no matter of the field's text: what it means stays the toolkit's. Shift+Tab doesn't come here.
int (*toolkit_maps)(int* key) = nullptr;
int map_key(int* key) {
    return *key == KEY_TAB ? toolkit_maps(key) : program_form_hooks.key_filter(key);
}

} // namespace

void keyboard_start() {
    if (fi_env.FI_MAP_CHARACTER != map_key) toolkit_maps = fi_env.FI_MAP_CHARACTER;
    FI_modify_env(TAKES_KEYS, reinterpret_cast<FI_routine>(take_keys));
    FI_modify_env(MAPS_KEYS, reinterpret_cast<FI_routine>(map_key));
    place_count = 0;
    left = {};
}

void keyboard_join(FI_form* form, int first) {
    if (find(form) == nullptr && place_count < PLACES_MAX) places[place_count++] = {form, first};
}

void keyboard_enter(FI_form* form) {
    forget_deleted();
    const place* at = form != nullptr ? find(form) : (place_count > 0 ? places : nullptr);
    if (at == nullptr || FIg_start_seq(at->form, at->label) != FI_SUCCESS) return;
    last_key = KEY_TAB;
    is_turn = true;
    FI_process_event(USER_EVENT); // at once: the keys that wait are for the form
}

void keyboard_follow(FI_form* form) {
    FI_form* present = nullptr;
    int label = 0, next = 0, previous = 0;
    const place* at = find(form);
    if (at == nullptr || FI_get_input(&present, &label, &next, &previous) != FI_SUCCESS) return;
    left.next = *at;
    FI_end_input(present);
}

turn_end keyboard_turn_over() {
    bool is_escape = drop_escape();
    while (left.next.form != nullptr) {
        const place next = left.next;
        left = {};
        if (find(next.form) == nullptr) break;
        keyboard_enter(next.form);
        is_escape = drop_escape();
    }
    FI_form* returned = left.returned;
    left = {};
    return {is_escape, std::exchange(turn_form, nullptr),
            returned != nullptr && FIf_is_valid(returned) == FI_SUCCESS ? returned : nullptr};
}

int keyboard_last() {
    return last_key;
}

void keyboard_pressed() {
    last_key = 0;
}

bool keyboard_passes() {
    const bool was_chosen = last_key == 0 || has_chosen;
    has_chosen = false;
    return !was_chosen;
}
