// What events mean to forms.
//
// Each kind of event is first looked at, and taken off its queue only when a form owns it. While a pop-up is up, events
// of the save-restore window are its own; presses elsewhere are taken and dropped, since nothing below may be worked.
#include "forms/env.h"
#include "forms/forms.h"
#include "forms/formshow.h"
#include "forms/ops.h"
#include "forms/press.h"
#include "forms/range.h"
#include "forms/sequence.h"
#include "forms/surface.h"
#include "tools/events.h"

namespace {

constexpr uint32_t START_EVENT = 77777; // user event for window 0; those of the others follow
constexpr int FORM_BUTTON = 1;
constexpr int MOVED = 16; // op masks of refreshes
constexpr int RESIZED = 32;
constexpr int SCREEN_CHANGED = 64;
constexpr int ICON_PLACE = 100; // code of a window icon event: the window's place has changed

FI_form* top_popup() {
    return fi_state.sr_depth > 0 ? fi_state.sr_forms[fi_state.sr_depth] : nullptr;
}

} // namespace

FI_form* fi_form_of(int window) {
    if (window < 0 || window >= FI_WINDOWS) return nullptr;
    FI_form* top = top_popup();
    return top != nullptr && window == fi_state.sr_window ? top : fi_state.window_forms[window];
}

namespace {

int take_user() {
    uint32_t value = 0;
    if (fi_graphic.Inq_user_data(&value) != 0 || value < START_EVENT || value - START_EVENT >= FI_WINDOWS) return 0;
    FI_form* form = fi_form_of(static_cast<int>(value - START_EVENT));
    if (form == nullptr) return 0;
    fi_graphic.Get_user_data(&value);
    if (form->start_seq >= FI_PENDING_START) return 1;
    const int label = FI_PENDING_START - form->start_seq;
    form->start_seq = FI_NO_START;
    FI_gadget* g = fi_find_gadget(form, label);
    if (g == nullptr) return 1;
    const fi_hold hold(g);
    if (form->initial_notification_routine != nullptr && fi_has(g, FI_INITIAL_NOTIFY))
        form->initial_notification_routine(static_cast<int>(form->label), g->label, fi_turned(g, g->value), form);
    if (!hold.gone()) fi_start_input(g, true, 0);
    return 1;
}

int take_button() {
    int window = -1, x = 0, y = 0, button = 0, transition = 0;
    uint32_t time = 0;
    if (fi_graphic.Inq_button_data(&window, &x, &y, &button, &transition, &time) != 0) return 0;
    FI_form* form = fi_form_of(window);
    const bool is_under_popup = top_popup() != nullptr && window != fi_state.sr_window;
    if (form == nullptr && !is_under_popup) return 0;
    const bool takes_all = form != nullptr && form->button_event_routine != nullptr;
    if (button != FORM_BUTTON && (!takes_all || is_under_popup)) return 0;
    fi_graphic.Get_button_data(&window, &x, &y, &button, &transition, &time);
    if (is_under_popup) return 1;
    if (takes_all)
        form->button_event_routine(form, x, y, button, transition, time);
    else
        fi_form_button(form, x, y, button, transition, time);
    return 1;
}

int take_window_icon() {
    int window = -1, code = 0;
    if (fi_graphic.Inq_window_icon_data(&window, &code) != 0) return 0;
    FI_form* form = fi_form_of(window);
    if (form == nullptr) return 0;
    fi_graphic.Get_window_icon_data(&window, &code);
    if (code != ICON_PLACE) {
        if (form->window_icon_routine != nullptr) form->window_icon_routine(static_cast<int>(form->label), code, form);
        return 1;
    }
    fi_box box = {0, 0, 0, 0};
    if (fi_graphic.Inq_win_region(window, &box.x1, &box.y1, &box.x2, &box.y2) != 0) return 1;
    const bool resized = box.x2 - box.x1 != fi_form_width(form) || box.y2 - box.y1 != fi_form_height(form);
    fi_follow_window(form, box, resized);
    if (!resized) fi_tell_window_event(form, FI_MOVED_EVENT);
    return 1;
}

int take_collapse() {
    int window = -1, state = 0;
    if (fi_graphic.Inq_collapse_data(&window, &state) != 0 || window < 0 || window >= FI_WINDOWS) return 0;
    FI_form* form = fi_state.window_forms[window];
    if (form == nullptr) return 0;
    fi_graphic.Get_collapse_data(&window, &state);
    form->attr_mask = state != 0 ? form->attr_mask | FI_COLLAPSED : form->attr_mask & ~FI_COLLAPSED;
    fi_tell_window_event(form, state != 0 ? FI_COLLAPSED_EVENT : FI_UNCOLLAPSED_EVENT);
    return 1;
}

// A refresh event.
struct refresh {
    int window, screen, op_mask;
    fi_box place, area;
};

int get(refresh* r, bool take) {
    const auto call = take ? fi_graphic.Get_refresh_data : fi_graphic.Inq_refresh_data;
    return call(&r->window, &r->screen, &r->place.x1, &r->place.y1, &r->place.x2, &r->place.y2, &r->area.x1,
                &r->area.y1, &r->area.x2, &r->area.y2, &r->op_mask);
}

// The form with its window's new place and size, and then the area that has to be drawn.
void refresh_form(FI_form* form, const refresh& r) {
    const fi_hold hold(form);
    if ((r.op_mask & SCREEN_CHANGED) != 0 && r.screen >= 0 && r.screen < FI_COLOR_MAPS) {
        form->screen = static_cast<int16_t>(r.screen);
        form->colormap_id = static_cast<uint32_t>(fi_state.screens[r.screen][FI_SCREEN_COLORMAP]);
    }
    if ((r.op_mask & (MOVED | RESIZED)) != 0) fi_follow_window(form, r.place, (r.op_mask & RESIZED) != 0);
    if (!hold.gone() && (r.op_mask & MOVED) != 0) fi_tell_window_event(form, FI_MOVED_EVENT);
    if (hold.gone() || r.op_mask == MOVED || form->window < 0) return;
    fi_redraw_area(form, r.area.x1, r.area.y1, r.area.x2, r.area.y2);
    if (!hold.gone()) fi_tell_window_event(form, FI_REFRESHED_EVENT);
}

int take_refresh() {
    refresh r = {};
    r.window = -1;
    if (get(&r, false) != 0) return 0;
    FI_form* form = fi_form_of(r.window);
    if (form == nullptr) return 0;
    get(&r, true);
    refresh_form(form, r);
    return 1;
}

// The window has gone already; its number may have been given to another form since.
int take_delete() {
    int window = -1;
    if (fi_graphic.Inq_delete_data(&window) != 0 || window < 0 || window >= FI_WINDOWS) return 0;
    FI_form** owner =
        fi_state.lost_forms[window] != nullptr ? &fi_state.lost_forms[window] : &fi_state.window_forms[window];
    FI_form* form = *owner;
    if (form == nullptr) return 0;
    fi_graphic.Get_delete_data(&window);
    *owner = nullptr;
    fi_forget_window(form);
    FIf_delete(form);
    return 1;
}

struct branch {
    uint32_t event;
    int (*take)();
};
constexpr branch BRANCHES[] = {
    {USER_EVENT, take_user},         {BUTTON_EVENT, take_button},   {WINDOW_ICON_EVENT, take_window_icon},
    {COLLAPSE_EVENT, take_collapse}, {REFRESH_EVENT, take_refresh}, {DELETE_EVENT, take_delete},
};

} // namespace

int FI_process_event(uint32_t event) {
    if (fi_state.displayed_forms == 0) return 0;
    for (const branch& b : BRANCHES)
        if ((event & b.event) != 0) return b.take();
    return 0;
}

int FI_get_form_by_window(int window, FI_form** form) {
    *form = nullptr;
    if (window < 0 || window >= FI_WINDOWS) return FI_NO_SUCH_FORM;
    *form = top_popup() != nullptr ? top_popup() : fi_state.window_forms[window];
    return *form != nullptr ? FI_SUCCESS : FI_NO_SUCH_FORM;
}

namespace {

// Any operation that takes an event, whatever its data.
template <typename... Words> int take_event(int (*get)(Words*...)) {
    return get(static_cast<Words*>(nullptr)...);
}

int take_key() {
    return Get_keyboard_data(nullptr);
}

struct clearing {
    uint32_t event;
    int (*take)();
};

} // namespace

// In the order of the bits; queues that never hold anything only have their turn.
int FI_clear_event(uint32_t mask) {
    static constexpr clearing CLEARINGS[] = {
        {KEYBOARD_EVENT, take_key},
        {BUTTON_EVENT, [] { return take_event(fi_graphic.Get_button_data); }},
        {REFRESH_EVENT, [] { return take_event(fi_graphic.Get_refresh_data); }},
        {DELETE_EVENT, [] { return take_event(fi_graphic.Get_delete_data); }},
        {EVENT_10, Clear_event_10_data},
        {EVENT_20, Clear_event_20_data},
        {EVENT_40, Clear_event_40_data},
        {EVENT_80, Clear_event_80_data},
        {MESSAGE_EVENT, [] { return take_event(Get_message_data); }},
        {COLLAPSE_EVENT, [] { return take_event(fi_graphic.Get_collapse_data); }},
        {EVENT_800, Clear_event_800_data},
        {TIMER_EVENT, [] { return take_event(Get_timer_data); }},
        {WINDOW_ICON_EVENT, [] { return take_event(fi_graphic.Get_window_icon_data); }},
        {USER_EVENT, [] { return take_event(fi_graphic.Get_user_data); }},
        {EVENT_8000, Clear_event_8000_data},
        {MOTION_EVENT, [] { return take_event(Get_motion_data); }},
    };
    for (const clearing& c : CLEARINGS)
        if ((mask & c.event) != 0) {
            c.take();
            return FI_SUCCESS;
        }
    return FI_INVALID_ARGUMENT;
}
