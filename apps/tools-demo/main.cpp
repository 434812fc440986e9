// tools-demo: opens a window of every kind, draws with every call, shows fonts, slots and a picture through each
// pipeline, and prints the events it gets.
//
// With --headless-run it does all of that once by itself, with the input of a script, and checks what it can: that
// every call succeeded, that each kind of event came, and that menus left no trace.
#include <cstdio>
#include <cstring>
#include <vector>

#include "demo.h"
#include "platform/window/desk.h"
#include "support/log.h"
#include "surface/paths.h"
#include "tools/colors.h"
#include "tools/draw.h"
#include "tools/events.h"
#include "tools/process.h"
#include "tools/windows.h"

namespace {

constexpr const char* USAGE =
    "usage: tools-demo [--headless-run] [--shot FILE.ppm]\n"
    "\n"
    "Shows what the display layer does: windows, drawing, fonts, colours, events. A right click opens a menu; closing\n"
    "the main window ends it. The screen is set by TINCT_SCREEN=WIDTHxHEIGHTxDEPTH, depth 4, 8, 15, 16 or 24.\n"
    "\n"
    "  --headless-run   all of it once without a user; needs TINCT_HOST=headless and a screen of 800x600 or more\n"
    "  --shot FILE.ppm  writes what is on the screen at the end of such a run\n"
    "\n"
    "Exit status: 0 done, 1 something went wrong, 2 wrong usage.\n";

constexpr uint32_t EVENTS = KEYBOARD_EVENT | BUTTON_EVENT | REFRESH_EVENT | DELETE_EVENT | MESSAGE_EVENT |
                            COLLAPSE_EVENT | TIMER_EVENT | USER_EVENT | MOTION_EVENT;

struct options {
    bool headless_run;
    const char* shot; // null: none
};

void (*pages[WINDOW_COUNT])(int window);
int failures = 0;

bool parse(int count, char** arguments, options* o) {
    *o = {false, nullptr};
    for (int i = 1; i < count; ++i) {
        if (std::strcmp(arguments[i], "--headless-run") == 0)
            o->headless_run = true;
        else if (std::strcmp(arguments[i], "--shot") == 0 && i + 1 < count)
            o->shot = arguments[++i];
        else
            return false;
    }
    return o->shot == nullptr || o->headless_run;
}

void open_pages() {
    demo_open_calls();
    demo_open_fonts();
    demo_open_pictures();
    demo_open_slots(); // with those of the colour cube, which a picture needed
    demo_open_log();
    demo_open_kinds();
    for (int i = 1; i < WINDOW_COUNT; ++i)
        Set_win_motion(i, 1 | 2);
}

std::vector<uint8_t> screen_pixels() {
    const canvas_box all = desk_client(desk_main());
    const ptrdiff_t stride = ptrdiff_t{all.x2} * canvas_pixel_bytes();
    std::vector<uint8_t> pixels(static_cast<size_t>(stride) * static_cast<size_t>(all.y2));
    canvas_get_native(desk_canvas(desk_main()), {0, 0, all.x2, all.y2}, pixels.data(), stride);
    return pixels;
}

// Takes events until the given timer has come; with -1 as long as there are the tools.
void run_events(int last_timer, uint32_t* seen) {
    uint32_t pending = 0;
    while (Wait_for_events(EVENTS, &pending) == 0) {
        const bool timed_out = (pending & TIMER_EVENT) != 0 && last_timer >= 0;
        demo_take_events(pending, seen);
        if (timed_out) return;
    }
}

void run_script(uint32_t* seen) {
    int last_timer = -1;
    demo_post_script(&last_timer);
    Post_user_data(7);
    demo_expect(desk_post(desk_main(), DESK_POST_MESSAGE + 1, 5, 6), "desk_post");
    run_events(last_timer, seen);
}

// The user brings the minimised window back with a double click on its icon, and closes it by the box of its menu.
void close_plain_window(uint32_t* seen) {
    const int window = demo_plain_window();
    demo_expect(Uncollapse_win(window) == 0, "Uncollapse_win");
    const canvas_box client = desk_client(window_find(window)->handle);
    const int x = client.x1 + 9;
    const int y = client.y1 - desk_sizes()->caption_height / 2;
    headless_click(x, y, HOST_LEFT);
    headless_click(x, y, HOST_LEFT);
    uint32_t pending = 0;
    Inq_events(&pending);
    demo_take_events(pending, seen);
    demo_expect(window_find(window) == nullptr, "closing a window by its menu");
}

void check_menus() {
    const std::vector<uint8_t> before = screen_pixels();
    demo_open_menu(120, 700);
    demo_open_menu(250, 770);
    demo_expect(screen_pixels() != before, "menus that show");
    demo_close_menus();
    demo_expect(screen_pixels() == before, "menus without a trace");
    uint32_t pending = 0;
    Inq_events(&pending);
    demo_expect((pending & REFRESH_EVENT) == 0, "menus without a refresh");
}

void write_shot(const char* path) {
    demo_open_menu(120, 700);
    demo_open_menu(250, 770);
    desk_flush();
    demo_expect(headless_screenshot(path), path);
    demo_close_menus();
}

int run_headless(const options& o) {
    uint32_t seen = 0;
    headless_run_freely(true);
    check_menus();
    run_script(&seen);
    close_plain_window(&seen);
    demo_expect(seen == EVENTS, "every kind of event");
    if (o.shot != nullptr) write_shot(o.shot);
    std::printf("%s\n", failures == 0 ? "all done" : "something went wrong");
    return failures == 0 ? 0 : 1;
}

int demo_main(int count, char** arguments, char** /*environment*/) {
    options o;
    if (count == 2 && std::strcmp(arguments[1], "--help") == 0) {
        std::fputs(USAGE, stdout);
        return 0;
    }
    if (!parse(count, arguments, &o)) {
        std::fputs(USAGE, stderr);
        return 2;
    }
    log_set_sink(log_to_standard_error, nullptr);
    if (Enter_tools() != 0) return 1;
    if (o.headless_run && std::strcmp(host_name(), "headless") != 0) {
        std::fputs("tools-demo: --headless-run needs TINCT_HOST=headless\n", stderr);
        return 2;
    }
    static uint8_t keys[2];
    Set_keyboard_buffer(keys, sizeof keys);
    Enable_events(EVENTS);
    Set_main_title("The display layer");
    open_pages();
    if (o.headless_run) return run_headless(o);
    uint32_t seen = 0;
    run_events(-1, &seen);
    return 0;
}

} // namespace

void demo_expect(bool good, const char* what) {
    if (good) return;
    ++failures;
    std::fprintf(stderr, "tools-demo: failed: %s\n", what);
}

void demo_open(int window, void (*paint)(int window)) {
    if (window < 0) return;
    demo_expect(Display_win(window) == 0, "Display_win");
    pages[window] = paint;
    paint(window);
}

void demo_forget(int window) {
    pages[window & WINDOW_MASK] = nullptr;
}

void demo_refresh(int window, demo_rect area) {
    if (window <= 0 || window >= WINDOW_COUNT || pages[window] == nullptr) return;
    demo_expect(pushattributes(window) == 0, "pushattributes");
    clipbox(window, area.x1, area.y1, area.x2, area.y2);
    pages[window](window);
    demo_expect(popattributes(window) == 0, "popattributes");
}

int main(int count, char** arguments, char** environment) {
    const tools_program program = {product_root_init, demo_main};
    return tools_process_entry(count, arguments, environment, &program);
}
