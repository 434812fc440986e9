// The user of a run without one: moves, clicks, types, drags, minimises and closes on the headless host.
#include <cstdint>

#include "demo.h"
#include "platform/window/host.h"
#include "tools/events.h"
#include "tools/windows.h"

namespace {

constexpr uint32_t QUICK = 40; // milliseconds: within a double click
constexpr uint32_t SLOW = 400; // beyond it

host_event input(host_event_kind kind) {
    host_event event = {};
    event.kind = kind;
    return event;
}

void post(const host_event& event, uint32_t delay) {
    demo_expect(headless_post_later(&event, delay), "headless_post_later");
}

void point(int x, int y, uint32_t delay) {
    host_event event = input(host_event_kind::pointer);
    event.x = x;
    event.y = y;
    post(event, delay);
}

void press(int x, int y, uint8_t button, bool down, uint32_t delay, uint8_t modifiers = 0) {
    host_event event = input(host_event_kind::button);
    event.x = x;
    event.y = y;
    event.button = button;
    event.down = down;
    event.modifiers = modifiers;
    post(event, delay);
}

void click(int x, int y, uint8_t button, uint8_t modifiers = 0) {
    point(x, y, SLOW);
    press(x, y, button, true, 1, modifiers);
    press(x, y, button, false, QUICK, modifiers);
}

void double_click(int x, int y) {
    click(x, y, HOST_LEFT);
    press(x, y, HOST_LEFT, true, QUICK);
    press(x, y, HOST_LEFT, false, QUICK);
}

void key(host_key code, uint32_t character) {
    host_event event = input(host_event_kind::key);
    event.key = code;
    event.character = character;
    event.down = true;
    post(event, SLOW);
    event.down = false;
    post(event, 1);
}

void type(char c) {
    host_event event = input(host_event_kind::text);
    event.character = static_cast<uint8_t>(c);
    post(event, QUICK);
}

struct place {
    int x1, y1, x2, y2; // client area on the screen
};

place place_of(int window) {
    place p = {0, 0, 0, 0};
    Inq_win_region(window, &p.x1, &p.y1, &p.x2, &p.y2);
    return p;
}

void drag(int x, int y, int to_x, int to_y) {
    point(x, y, SLOW);
    press(x, y, HOST_LEFT, true, 1);
    for (int i = 1; i <= 4; ++i)
        point(x + (to_x - x) * i / 4, y + (to_y - y) * i / 4, QUICK);
    press(to_x, to_y, HOST_LEFT, false, QUICK);
}

} // namespace

void demo_post_script(int* last_timer) {
    const place p = place_of(demo_plain_window());
    const int x = (p.x1 + p.x2) / 2;
    const int y = (p.y1 + p.y2) / 2;
    const int caption = p.y1 - desk_sizes()->caption_height / 2;
    const int box = desk_sizes()->caption_height - 2;
    click(x, y, HOST_LEFT);
    click(x, y, HOST_LEFT, HOST_CTRL);
    double_click(x, y);
    press(x, y, HOST_LEFT, true, SLOW); // held
    press(x, y, HOST_LEFT, false, SLOW);
    type('H');
    type('i');
    key(host_key::home, 0);
    key(host_key::remove, 0);
    click(x, y, HOST_RIGHT);          // a menu
    click(x + 40, y + 86, HOST_LEFT); // its last item: a second one
    click(x + 400, y + 300, HOST_LEFT);
    drag(x, caption, x + 20, caption + 30);
    const int moved_caption = caption + 30;
    const int right = p.x2 + 1 + 20;
    click(right - 2 * box + box / 2, moved_caption, HOST_LEFT); // minimised
    *last_timer = -1;
    demo_expect(Start_timer(60 * 12, 0, last_timer) == 0, "Start_timer"); // when all is over
}
