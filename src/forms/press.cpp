// Presses on forms.
#include "forms/press.h"

#include "forms/env.h"
#include "forms/fields.h"
#include "forms/forms.h"
#include "forms/link.h"
#include "forms/range.h"
#include "forms/surface.h"
#include "tools/events.h"

// ---- what is hit ---------------------------------------------------------------------------------------------------

bool fi_hits_rect(const FI_gadget* g, int x, int y) {
    const auto fx = static_cast<float>(x);
    const auto fy = static_cast<float>(y);
    return fx >= g->x1 && fx <= g->x2 && fy >= g->y1 && fy <= g->y2;
}

bool fi_hits_never(FI_gadget* /*g*/, int /*x*/, int /*y*/) {
    return false;
}

namespace {

bool is_hit(FI_gadget* g, int x, int y) {
    if (g->displayed == 0 || fi_has(g, FI_NOT_DISPLAYED | FI_NOT_ENABLED)) return false;
    return fi_ops(g).hit != nullptr ? fi_ops(g).hit(g, x, y) : fi_hits_rect(g, x, y);
}

} // namespace

FI_gadget* fi_find_gadget_at(FI_group* group, int x, int y) {
    int at = 0;
    while (FI_gadget* member = fi_next_member(group, &at)) {
        FI_gadget* found = nullptr;
        if (member->type != FI_GROUP)
            found = is_hit(member, x, y) ? member : nullptr;
        else if (fi_as_group(member)->no_pass_on == 0)
            found = fi_find_gadget_at(fi_as_group(member), x, y);
        if (found != nullptr) return found;
    }
    return nullptr;
}

FI_gadget* fi_gadget_at(FI_form* form, int x, int y) {
    FI_gadget* g = fi_open_list_at(form, x, y);
    if (g != nullptr) return g;
    g = fi_find_gadget_at(form->root_group, x, y);
    return g != nullptr && fi_ops(g).part_at != nullptr ? fi_ops(g).part_at(g, x, y) : g;
}

// ---- what is told --------------------------------------------------------------------------------------------------

void fi_notify(FI_gadget* g, double value) {
    FI_form* form = g->form;
    if (form->notification_routine == nullptr || g->label <= 0 || fi_has(g, FI_NO_COMPLETE_NOTIFY)) return;
    form->notification_routine(static_cast<int>(form->label), g->label, value, form);
}

void fi_notify_initially(FI_gadget* g) {
    FI_form* form = g->form;
    if (form->initial_notification_routine == nullptr || g->label <= 0 || !fi_has(g, FI_INITIAL_NOTIFY)) return;
    form->initial_notification_routine(static_cast<int>(form->label), g->label, fi_turned(g, g->value), form);
}

namespace {

constexpr int KEY_COMMAND = 0; // kinds of the command hook
constexpr int STRING_COMMAND = 1;
constexpr int HELP_COMMAND = 2;

// The hook gets a text of its own: the gadget may go meanwhile.
void run_hook(const fi_hold& hold, FI_gadget* g, uint32_t attribute, int kind) {
    if (hold.gone() || !fi_has(g, attribute)) return;
    const char* from = kind == HELP_COMMAND ? g->help_topic : g->command;
    if (*from == '\0') return;
    char* text = fi_string_dup(from);
    if (text == nullptr) return;
    fi_env.FI_PROCESS_COMMAND(kind, text, g->form);
    fi_string_free(text);
}

} // namespace

void fi_run_hooks(FI_gadget* g) {
    const fi_hold hold(g);
    run_hook(hold, g, FI_HELP_TOPIC, HELP_COMMAND);
    run_hook(hold, g, FI_CMD_KEY, KEY_COMMAND);
    run_hook(hold, g, FI_CMD_STRING, STRING_COMMAND);
}

// ---- a press -------------------------------------------------------------------------------------------------------

namespace {

bool has_state(const FI_gadget* g) {
    return g->type == FI_BUTTON || g->type == FI_TOGGLE || g->type == FI_CHECKLIST;
}

// The type's reaction with what follows from it: hooks and link. A result other than 0 ends the handling.
int react(FI_gadget* g, int window, int x, int y, int transition, bool* complete, double* value) {
    const fi_hold hold(g);
    const auto press = fi_ops(g).press;
    int result = 0;
    if (press != nullptr)
        result = press(g, window, x, y, transition, complete, value);
    else
        *complete = true;
    if (hold.gone() || !*complete) return result;
    fi_run_hooks(g);
    if (!hold.gone() && has_state(g)) fi_carry_link(g);
    return result;
}

} // namespace

int fi_press_gadget(FI_gadget* g, int window, int x, int y, int transition) {
    const fi_hold hold(g);
    double value = fi_turned(g, g->value);
    fi_notify_initially(g);
    if (hold.gone()) return 0;
    bool complete = false;
    const int result = react(g, window, x, y, transition, &complete, &value);
    if (result != 0 || hold.gone() || !complete) return result;
    fi_notify(g, g->type == FI_SCROLL ? g->value : value);
    return 0;
}

void fi_press_by_key(FI_gadget* g) {
    const fi_box box = fi_rect_of(g);
    fi_press_gadget(g, g->form->window, (box.x1 + box.x2) / 2, (box.y1 + box.y2) / 2, TRANS_CLICK);
}

namespace {

constexpr int FORM_BUTTON = 1;

void press_nothing(FI_form* form, int x, int y, int button, int transition, uint32_t time) {
    const fi_hold hold(form);
    int handled = 0;
    if (form->button_intercept_routine != nullptr)
        handled = form->button_intercept_routine(static_cast<int>(form->label), x, y, button, transition, time, form);
    if (handled == 0 && !hold.gone() && form->window >= 0) fi_graphic.Window_move(form->window, x, y);
}

} // namespace

int fi_form_button(FI_form* form, int x, int y, int button, int transition, uint32_t time) {
    if (button != FORM_BUTTON) return FI_INVALID_ARGUMENT;
    if (transition == TRANS_UP) return FI_SUCCESS;
    const fi_hold hold(form);
    fi_list_before_press(form, x, y);
    if (hold.gone() || form->window < 0) return FI_SUCCESS;
    FI_gadget* g = fi_gadget_at(form, x, y);
    if (g != nullptr) return fi_press_gadget(g, form->window, x, y, transition);
    press_nothing(form, x, y, button, transition, time);
    return FI_SUCCESS;
}
