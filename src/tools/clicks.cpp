// Clicks: a press is held back until it is known whether it is the first half of a click, and a click until it is known
// whether it is the first half of a double one. How long depends on what the window wants of that button.
#include "tools/eventdata.h"
#include "tools/windows.h"

namespace {

constexpr uint32_t CLICK_WINDOW = 210; // milliseconds that a press or release may follow the one before it
constexpr int STATES = 8;
constexpr int MODES = 4;

// The state after a button went up or down within the window.
constexpr int NEXT[STATES][2] = {
    {TRANS_UP, TRANS_UP_DOWN},      // TRANS_UP
    {TRANS_CLICK, TRANS_UP},        // TRANS_DOWN
    {TRANS_UP, TRANS_DOUBLE_DOWN},  // TRANS_CLICK
    {TRANS_DOUBLE_CLICK, TRANS_UP}, // TRANS_DOUBLE_DOWN
    {TRANS_UP, TRANS_TRIPLE_DOWN},  // TRANS_DOUBLE_CLICK
    {TRANS_UP, TRANS_UP},           // TRANS_TRIPLE_DOWN
    {TRANS_UP, TRANS_UP},           // TRANS_UP_DOWN_UP
    {TRANS_UP_DOWN_UP, TRANS_UP},   // TRANS_UP_DOWN
};

// Whether a state is told at once (not 0) or may still grow into another one, by the window's mode for the button.
constexpr int HOLD[STATES][MODES] = {
    {1, 1, 0, 1}, // TRANS_UP
    {0, 0, 0, 1}, // TRANS_DOWN
    {0, 1, 2, 2}, // TRANS_CLICK
    {0, 2, 2, 2}, // TRANS_DOUBLE_DOWN
    {1, 2, 2, 2}, // TRANS_DOUBLE_CLICK
    {1, 2, 2, 2}, // TRANS_TRIPLE_DOWN
    {1, 2, 2, 2}, // TRANS_UP_DOWN_UP
    {0, 2, 2, 2}, // TRANS_UP_DOWN
};

// The one click under recognition.
struct click {
    bool active;
    int button;
    int window;
    int x, y;
    uint32_t time; // of its last press or release
    int state;
};
click pending_click = {};

int last_transition[3] = {}; // of each button, as it was delivered
uint32_t first_time = 0;

bool may_grow(const click* c) {
    const window_record* record = window_find(c->window);
    return HOLD[c->state][record->button_mode[c->button] % MODES] == 0;
}

bool is_within_window(uint32_t time) {
    return time - pending_click.time < CLICK_WINDOW;
}

// The user has a button for each of the three, or uses Ctrl for the first.
int button_of(const desk_message* message) {
    if (message->button == HOST_RIGHT) return 2;
    return message->button == HOST_LEFT && (message->modifiers & HOST_CTRL) != 0 ? 0 : 1;
}

// Outside of the menu or form that is up: it gets the click all the same, and may vanish.
bool misses_area(int window, int x, int y) {
    const window_record* area = window_find(0);
    return window != 0 || x < 0 || y < 0 || x >= canvas_width(area->dc) || y >= canvas_height(area->dc);
}

void deliver_pending() {
    const click c = pending_click;
    pending_click.active = false;
    deliver_button(c.window, c.x, c.y, c.button, c.state, c.time);
}

} // namespace

int deliver_button(int window, int x, int y, int button, int transition, uint32_t time) {
    if (SR_area_is_up() && button != 2 && misses_area(window, x, y)) host_beep();
    if (transition == TRANS_UP && last_transition[button] % 2 == 0) return event_fail(EVENT_ERROR_DISABLED);
    const uint32_t words[] = {uint32_t(window), uint32_t(x), uint32_t(y), uint32_t(button), uint32_t(transition), time};
    if (queue_put(QUEUE_BUTTON, words, 6) != 0) return -1;
    last_transition[button] = transition;
    return 0;
}

bool click_check() {
    const bool was_active = pending_click.active;
    if (window_find(pending_click.window) == nullptr) pending_click.active = false;
    if (!pending_click.active) return was_active;
    if (may_grow(&pending_click) && (is_within_window(host_now()) || desk_mouse_waiting())) return was_active;
    deliver_pending();
    return was_active;
}

void click_button(const desk_message* message) {
    const int window = window_of_handle(message->window);
    if (window < 0 || int32_t(message->time - first_time) <= 0) return;
    const int button = button_of(message);
    const bool is_watched = pending_click.active && window_find(pending_click.window) != nullptr;
    if (is_watched && is_within_window(message->time) && button == pending_click.button && may_grow(&pending_click)) {
        pending_click.time = message->time;
        pending_click.state = NEXT[pending_click.state][message->down ? 1 : 0];
        click_check();
        return;
    }
    if (is_watched) deliver_pending();
    pending_click = {
        true, button, window, message->x, message->y, message->time, message->down ? TRANS_DOWN : TRANS_UP};
    click_check();
}

bool click_deadline(uint32_t* deadline) {
    *deadline = pending_click.time + CLICK_WINDOW;
    return pending_click.active;
}

void clicks_reset(uint32_t start) {
    pending_click = {};
    for (int& transition : last_transition)
        transition = TRANS_UP;
    first_time = start;
}
