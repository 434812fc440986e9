// Motion events: what windows want to know of the mouse while no button is pressed, as their motion masks say.
#include "tools/eventdata.h"
#include "tools/windows.h"

namespace {

constexpr int ENTER = 1; // bits of a window's motion mask, and the kinds of the events
constexpr int LEAVE = 2;
constexpr int MOTION = 4;

bool reporting = false;
int last_window = -1; // that the mouse was seen in; -1: none

void put_motion(int window, int x, int y, int kind) {
    const uint32_t words[] = {uint32_t(window), uint32_t(x), uint32_t(y), kind == LEAVE ? 0U : 1U, uint32_t(kind)};
    queue_put(QUEUE_MOTION, words, 5);
}

// The point is given in client coordinates of `seen`; the window that the mouse has left is told in its own.
void tell_leave(const desk_message* message) {
    const window_record* left = window_find(last_window);
    if (left == nullptr || (left->motion_mask & LEAVE) == 0) return;
    const canvas_box from = desk_client(message->window);
    const canvas_box to = desk_client(left->handle);
    put_motion(last_window, message->x + from.x1 - to.x1, message->y + from.y1 - to.y1, LEAVE);
}

} // namespace

void motion_start() {
    if (!reporting) last_window = -1;
    reporting = true;
}

void motion_stop() {
    reporting = false;
}

void motion_moved(const desk_message* message) {
    const int window = window_of_handle(message->window);
    if (!reporting || window < 0) return;
    const bool is_new = window != last_window;
    if (is_new && last_window >= 0) tell_leave(message);
    const int kind = is_new ? ENTER : MOTION;
    if ((window_find(window)->motion_mask & kind) != 0) put_motion(window, message->x, message->y, kind);
    last_window = window;
}
