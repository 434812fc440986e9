// The events: each is printed, shown as a line of the events' window, and answered.
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "demo.h"
#include "tools/draw.h"
#include "tools/events.h"
#include "tools/windows.h"

namespace {

constexpr int LEFT = 892, TOP = 392, WIDTH = 380, HEIGHT = 240;
constexpr int LINE = 15, LINES = HEIGHT / LINE, LENGTH = 64;

int log_window = -1;
char lines[LINES][LENGTH]; // the newest last

int font() {
    static const int loaded = demo_font("mono821", 13);
    return loaded;
}

void paint_line(int window, int line) {
    const int y = line * LINE;
    demo_fill(window, {0, y, WIDTH - 1, y + LINE - 1}, SLOT_BLACK);
    demo_text_in(window, font(), 6, y, lines[line], line == LINES - 1 ? SLOT_YELLOW : SLOT_FACE);
}

void paint(int window) {
    demo_clear(window, SLOT_BLACK);
    for (int i = 0; i < LINES; ++i)
        paint_line(window, i);
}

// ---- one function for each queue: takes its oldest event

void take_keyboard() {
    int count = 0;
    uint8_t* buffer = nullptr;
    void* given = nullptr;
    int size = 0;
    if (Inq_keyboard_buffer(&given, &size) != 0 || Get_keyboard_data(&count) != 0) return;
    buffer = static_cast<uint8_t*>(given);
    for (int i = 0; i < count; ++i)
        demo_log("KEYBOARD code %d%s%c", buffer[i], buffer[i] > 32 && buffer[i] < 127 ? " " : "",
                 buffer[i] > 32 && buffer[i] < 127 ? buffer[i] : ' ');
}

// A right click opens a menu; in a menu, and anywhere else, a click closes all of them but for its last item.
void use_menus(int window, int x, int y, int button, int transition) {
    if (transition != TRANS_CLICK) return;
    if (!demo_menu_is_open()) {
        int x1 = 0, y1 = 0, x2 = 0, y2 = 0;
        if (button != 2 || Inq_win_region(window, &x1, &y1, &x2, &y2) != 0) return;
        demo_open_menu(x1 - scroll_x + x, y1 - scroll_y + y);
        return;
    }
    int x1 = 0, y1 = 0, x2 = 0, y2 = 0;
    const bool on_last =
        window == 0 && y >= 76 && y < 100 && x >= 0 && Inq_win_region(0, &x1, &y1, &x2, &y2) == 0 && x <= x2 - x1;
    if (on_last)
        demo_open_menu(x2 - 8, y1 + 70);
    else
        demo_close_menus();
}

void take_button() {
    static constexpr const char* names[] = {"up",           "down",        "click",      "double down",
                                            "double click", "triple down", "up-down-up", "up-down"};
    int window = 0, x = 0, y = 0, button = 0, transition = 0;
    uint32_t time = 0;
    if (Get_button_data(&window, &x, &y, &button, &transition, &time) != 0) return;
    demo_log("BUTTON   window %d at %d,%d button %d %s", window, x, y, button, names[transition & 7]);
    use_menus(window, x, y, button, transition);
}

void take_refresh() {
    int window = 0, screen = 0, x1 = 0, y1 = 0, x2 = 0, y2 = 0, mask = 0;
    demo_rect area = {0, 0, 0, 0};
    if (Get_refresh_data(&window, &screen, &x1, &y1, &x2, &y2, &area.x1, &area.y1, &area.x2, &area.y2, &mask) != 0)
        return;
    demo_refresh(window, area);
    demo_log("REFRESH  window %d area %d,%d to %d,%d mask %d", window, area.x1, area.y1, area.x2, area.y2, mask);
}

void take_delete() {
    int window = 0;
    if (Get_delete_data(&window) != 0) return;
    demo_forget(window);
    demo_log("DELETE   window %d", window);
}

void take_message() {
    int kind = 0;
    uint32_t first = 0, second = 0;
    if (Get_message_data(&kind, &first, &second) == 0) demo_log("MESSAGE  kind %d words %u %u", kind, first, second);
}

void take_collapse() {
    int window = 0, state = 0;
    if (Get_collapse_data(&window, &state) == 0) demo_log("COLLAPSE window %d state %d", window, state);
}

void take_timer() {
    int number = 0;
    if (Get_timer_data(&number) == 0) demo_log("TIMER    number %d", number);
}

void take_user() {
    uint32_t value = 0;
    if (Get_user_data(&value) == 0) demo_log("USER     value %u", value);
}

void take_motion() {
    static constexpr const char* names[] = {"", "enters", "leaves", "", "moves"};
    int window = 0, x = 0, y = 0, inside = 0, kind = 0;
    if (Get_motion_data(&window, &x, &y, &inside, &kind) == 0)
        demo_log("MOTION   window %d at %d,%d %s", window, x, y, names[kind <= 4 ? kind : 0]);
}

struct queue {
    uint32_t bit;
    void (*take)();
};
constexpr queue queues[] = {
    {KEYBOARD_EVENT, take_keyboard}, {BUTTON_EVENT, take_button},   {REFRESH_EVENT, take_refresh},
    {DELETE_EVENT, take_delete},     {MESSAGE_EVENT, take_message}, {COLLAPSE_EVENT, take_collapse},
    {TIMER_EVENT, take_timer},       {USER_EVENT, take_user},       {MOTION_EVENT, take_motion},
};

} // namespace

void demo_open_log() {
    demo_expect(Create_win(0, "Events", LEFT, TOP, LEFT + WIDTH - 1, TOP + HEIGHT - 1, &log_window) == 0, "Create_win");
    demo_open(log_window, paint);
}

void demo_log(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::memmove(lines[0], lines[1], sizeof lines - sizeof lines[0]);
    std::vsnprintf(lines[LINES - 1], LENGTH, format, arguments);
    va_end(arguments);
    std::printf("%s\n", lines[LINES - 1]);
    std::fflush(stdout); // each event when it comes, also into a file
    if (window_find(log_window) == nullptr) return;
    paint_line(log_window, LINES - 1); // as it was before: no longer the newest
    blockmove(log_window, 0, LINE, WIDTH - 1, HEIGHT - 1, 0, 0);
    if (LINES > 1) paint_line(log_window, LINES - 2);
    paint_line(log_window, LINES - 1);
}

void demo_take_events(uint32_t pending, uint32_t* seen) {
    *seen |= pending;
    for (const queue& q : queues)
        while ((pending_events & q.bit) != 0)
            q.take();
}
