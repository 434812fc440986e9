// The keyboard sequence.
#include "forms/sequence.h"

#include <cstring>

#include "forms/env.h"
#include "forms/fields.h"
#include "forms/forms.h"
#include "forms/press.h"
#include "forms/show.h"
#include "tools/events.h"

// ---- waiting -------------------------------------------------------------------------------------------------------

namespace {

FI_gadget* with_keys = nullptr;  // the gadget whose turn it is; held by the loop that runs
const FI_form* ending = nullptr; // its turn is to end

constexpr uint32_t INPUT_EVENTS = KEYBOARD_EVENT | BUTTON_EVENT | REFRESH_EVENT | DELETE_EVENT | EVENT_10 |
                                  COLLAPSE_EVENT | WINDOW_ICON_EVENT | USER_EVENT;

// Drops a release at the head of the queue. False when a press stands there.
bool drop_release() {
    int transition = TRANS_UP;
    if (fi_graphic.Inq_button_data(nullptr, nullptr, nullptr, nullptr, &transition, nullptr) != 0) return true;
    if (transition != TRANS_UP) return false;
    fi_graphic.Get_button_data(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    return true;
}

// A field that was pressed has the keys too. A part counts as the whole that it belongs to.
FI_gadget* gadget_with_keys() {
    FI_gadget* g = fi_edit.field != nullptr ? fi_gadget_of(fi_edit.field) : with_keys;
    while (g != nullptr && g->owner != nullptr)
        g = g->owner;
    return g;
}

// Whether the turn is to end, asked once.
bool is_ending() {
    const FI_form* form = ending;
    ending = nullptr;
    const FI_gadget* g = form != nullptr ? gadget_with_keys() : nullptr;
    return g != nullptr && g->form == form;
}

} // namespace

fi_came fi_wait_for_input() {
    for (;;) {
        if (is_ending()) return fi_came::other;
        uint32_t event = 0;
        if (fi_graphic.Wait_for_next(INPUT_EVENTS, &event) != 0) return fi_came::nothing;
        if (event == KEYBOARD_EVENT) return fi_came::key;
        if (event == BUTTON_EVENT) {
            if (!drop_release()) return fi_came::press;
        } else if (FI_process_event(event) == 0) {
            return fi_came::other;
        }
    }
}

// ---- one gadget ----------------------------------------------------------------------------------------------------

namespace {

constexpr int GO_BACK = 8;
constexpr int TAB = 9;
constexpr int RETURN = 13;
constexpr int KEY_BYTES = 100;

bool is_in_use(const FI_gadget* g) {
    return g->form->window >= 0 && g->displayed != 0 && !fi_has(g, FI_NOT_DISPLAYED | FI_NOT_ENABLED);
}

// Has the gadget take the bytes of a key event. True when the loop is to end, with `leave`.
bool take_keys(FI_gadget* g, fi_sequence* sequence, fi_leave* leave) {
    const fi_hold hold(g);
    char bytes[KEY_BYTES];
    int count = KEY_BYTES;
    if (fi_env.FI_GET_KEYBOARD_DATA(bytes, &count) != 0) return false;
    for (int i = 0; i < count; ++i) {
        const int key = static_cast<unsigned char>(bytes[i]);
        if (fi_ops(g).key(g, sequence, key)) {
            if (hold.gone() || !is_in_use(g)) return true;
            continue;
        }
        if (hold.gone()) return true;
        if (key == GO_BACK) *leave = fi_leave::back;
        if (key == TAB || key == RETURN) *leave = fi_leave::forward;
        if (*leave != fi_leave::stop) return true;
    }
    return false;
}

// The loop of gadgets without an input() of their own.
fi_leave run_gadget(FI_gadget* g) {
    const fi_hold hold(g);
    fi_sequence sequence = {};
    fi_leave leave = fi_leave::stop;
    fi_hilite_gadget(g);
    while (fi_wait_for_input() == fi_came::key) {
        if (hold.gone() || !is_in_use(g)) break; // the key stays for who comes next
        if (take_keys(g, &sequence, &leave)) break;
    }
    if (!hold.gone()) fi_unhilite_gadget(g);
    return leave;
}

fi_leave run_input(FI_gadget* g, bool forward, int from_label) {
    if (forward) g->prev_in_seq = from_label;
    FI_gadget* outer = with_keys;
    with_keys = g;
    const fi_leave leave = fi_ops(g).input != nullptr ? fi_ops(g).input(g, forward, from_label) : run_gadget(g);
    with_keys = outer;
    return leave;
}

// ---- the chain -----------------------------------------------------------------------------------------------------

FI_gadget* next_of(const FI_gadget* g, bool forward) {
    const int label = forward ? g->next_in_seq : g->prev_in_seq;
    return label >= 1 ? fi_find_gadget(g->form, label) : nullptr;
}

// Members of a form, as a bound for walks: a chain that doesn't end goes around once.
int count_members(const FI_group* group) {
    int at = 0, count = 0;
    while (const FI_gadget* member = fi_next_member(group, &at))
        count += 1 + (fi_has_members(member) ? count_members(fi_as_group(member)) : 0);
    return count;
}

// The gadget that leads to this one; null when none does.
FI_gadget* leading_to(const FI_group* group, int label) {
    int at = 0;
    while (FI_gadget* member = fi_next_member(group, &at)) {
        if (member->next_in_seq == label) return member;
        FI_gadget* inside = fi_has_members(member) ? leading_to(fi_as_group(member), label) : nullptr;
        if (inside != nullptr) return inside;
    }
    return nullptr;
}

// The gadget itself, or the next one along the chain that takes input; null when there is none within one round. Those
// that are passed by learn where they were come to from, so that the way back goes through them.
FI_gadget* taker_from(FI_gadget* g, bool forward, int* from_label) {
    for (int steps = count_members(g->form->root_group); g != nullptr && steps > 0; --steps) {
        if (fi_takes_input(g)) return g;
        if (forward) g->prev_in_seq = *from_label;
        *from_label = g->label;
        g = next_of(g, forward);
    }
    return nullptr;
}

} // namespace

bool fi_takes_input(const FI_gadget* g) {
    if (!is_in_use(g) || (fi_ops(g).input == nullptr && fi_ops(g).key == nullptr)) return false;
    return fi_ops(g).takes_input == nullptr || fi_ops(g).takes_input(g);
}

namespace {

// The gadget that the keyboard goes to from here; null when it stops.
FI_gadget* follow(FI_gadget* g, fi_leave leave) {
    if (leave == fi_leave::stop) return nullptr;
    FI_gadget* next = next_of(g, leave == fi_leave::forward);
    if (next == nullptr || fi_ops(next).input == nullptr) return next;
    const fi_hold hold(next);
    fi_notify_initially(next);
    return hold.gone() ? nullptr : next;
}

} // namespace

void fi_start_input(FI_gadget* g, bool forward, int from_label) {
    FI_form* form = g->form;
    const fi_hold hold(form);
    while (g != nullptr && (g = taker_from(g, forward, &from_label)) != nullptr) {
        const fi_hold hold_gadget(g);
        const fi_leave leave = run_input(g, forward, from_label);
        if (hold_gadget.gone()) return;
        forward = leave == fi_leave::forward;
        from_label = g->label;
        g = follow(g, leave);
    }
    ending = nullptr;
}

void fi_go_on(FI_gadget* g, fi_leave leave) {
    FI_gadget* next = follow(g, leave);
    if (next != nullptr) fi_start_input(next, leave == fi_leave::forward, g->label);
}

int FI_get_input(FI_form** form, int* label, int* next, int* previous) {
    *form = nullptr;
    *label = *next = *previous = 0;
    FI_gadget* g = gadget_with_keys();
    if (g == nullptr) return FI_NO_SUCH_GADGET;
    *form = g->form;
    *label = g->label;
    const int most = count_members(g->form->root_group);
    FI_gadget* ahead = next_of(g, true);
    for (int i = 0; i < most && ahead != nullptr && !fi_takes_input(ahead); ++i)
        ahead = next_of(ahead, true);
    if (ahead != nullptr && fi_takes_input(ahead)) *next = ahead->label;
    FI_gadget* behind = leading_to(g->form->root_group, g->label);
    for (int i = 0; i < most && behind != nullptr && !fi_takes_input(behind); ++i)
        behind = leading_to(g->form->root_group, behind->label);
    if (behind != nullptr && fi_takes_input(behind)) *previous = behind->label;
    return FI_SUCCESS;
}

int FI_end_input(FI_form* form) {
    const FI_gadget* g = gadget_with_keys();
    if (g == nullptr || g->form != form) return FI_NO_SUCH_GADGET;
    ending = form;
    return FI_SUCCESS;
}
