// Following the mouse.
#include "forms/track.h"

#include "forms/env.h"
#include "tools/events.h"

namespace {

constexpr int BUTTON = 1;

bool can_go_on(const fi_track* track) {
    const FI_gadget* g = track->gadget;
    return track->held && g->dead == 0 && g->form->dead == 0 && g->form->window == track->window &&
           !fi_has(g, FI_NOT_DISPLAYED | FI_NOT_ENABLED);
}

// Whether the pointer has moved. A position that can't be told is the last one.
bool read_pointer(fi_track* track) {
    int x = track->x, y = track->y, inside = 0;
    if (fi_graphic.Mouse_position(track->window, &x, &y, &inside) != 0) return false;
    const bool moved = x != track->x || y != track->y;
    track->x = x;
    track->y = y;
    return moved;
}

// Whether the button came up; the pointer is then where that was, wherever it has gone since.
bool came_up(fi_track* track) {
    int window = -1, x = 0, y = 0;
    const button_next next = Get_button_release(BUTTON, &window, &x, &y);
    if (next == button_next::none) return false;
    if (next == button_next::released && window == track->window) {
        track->x = x;
        track->y = y;
    } else {
        read_pointer(track);
    }
    return true;
}

bool timer_came(const fi_track* track) {
    return track->timer >= 0 && Get_timer_data_of(track->timer) == 0;
}

} // namespace

void fi_track_begin(fi_track* track, FI_gadget* g, int window, int transition) {
    *track = {g, window, 0, 0, transition % 2 != 0, true, -1, false};
    read_pointer(track);
}

void fi_track_start_timer(fi_track* track, int ticks) {
    track->had_timer = (enabled_events & TIMER_EVENT) != 0;
    Enable_events(TIMER_EVENT);
    if (fi_graphic.Start_timer(ticks, 1, &track->timer) != 0) track->timer = -1;
}

fi_tracked fi_track_next(fi_track* track) {
    if (track->first) {
        track->first = false;
        return fi_tracked::moved;
    }
    for (;;) {
        if (!can_go_on(track)) return fi_tracked::ended;
        uint32_t pending = 0;
        if (fi_graphic.Inq_events(&pending) != 0 || came_up(track)) {
            track->held = false;
            return fi_tracked::ended;
        }
        if (timer_came(track)) return fi_tracked::tick;
        if (read_pointer(track)) return fi_tracked::moved;
        if (!tools_wait()) track->held = false;
    }
}

void fi_track_end(fi_track* track) {
    if (track->timer < 0) return;
    fi_graphic.Stop_timer(track->timer);
    while (timer_came(track)) {
    }
    track->timer = -1;
    if (!track->had_timer) Disable_events(TIMER_EVENT);
}
