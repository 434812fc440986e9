// forms-gallery: every type of gadget in every state, one form a type.
//
// With --headless-run it works them by itself, with mouse and keys of a script, on a screen of each depth, and checks
// what they have become.
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "gallery.h"
#include "platform/window/desk.h"
#include "support/log.h"
#include "surface/paths.h"
#include "tools/events.h"
#include "tools/process.h"
#include "tools/windows.h"

namespace {

constexpr const char* USAGE =
    "usage: forms-gallery [--headless-run [--shots DIRECTORY]]\n"
    "\n"
    "Shows every type of gadget in all its states; the index at the left chooses the form. Tab goes from gadget to\n"
    "gadget, Shift and Tab goes back, a blank presses. The screen is set by TINCT_SCREEN=WIDTHxHEIGHTxDEPTH, depth 4,\n"
    "8, 15, 16 or 24.\n"
    "\n"
    "  --headless-run     works all forms by itself on screens of all depths (or that of TINCT_SCREEN, which is at\n"
    "                     least 1024x768), without a display, and compares what they have become\n"
    "  --shots DIRECTORY  writes what each form looks like, as PAGE-DEPTH.ppm\n"
    "\n"
    "Exit status: 0 done, 1 something went wrong, 2 wrong usage.\n";

constexpr uint32_t EVENTS = KEYBOARD_EVENT | BUTTON_EVENT | REFRESH_EVENT | DELETE_EVENT | COLLAPSE_EVENT |
                            TIMER_EVENT | WINDOW_ICON_EVENT | USER_EVENT;
constexpr int DEPTHS[] = {4, 8, 15, 16, 24};
constexpr host_screen USUAL_SCREEN = {1024, 768, 24, 1};

struct options {
    bool headless_run;
    const char* shots; // null: none
};

int failures = 0;
uint8_t keys[16];

bool parse(int count, char** arguments, options* o) {
    *o = {false, nullptr};
    for (int i = 1; i < count; ++i) {
        if (std::strcmp(arguments[i], "--headless-run") == 0)
            o->headless_run = true;
        else if (std::strcmp(arguments[i], "--shots") == 0 && i + 1 < count)
            o->shots = arguments[++i];
        else
            return false;
    }
    return o->shots == nullptr || o->headless_run;
}

void dispatch(uint32_t event) {
    if (FI_process_event(event) != 0) return;
    if (event == KEYBOARD_EVENT)
        gallery_key();
    else
        FI_clear_event(event);
}

bool start() {
    if (Enter_tools() != 0) return false;
    Set_keyboard_buffer(keys, sizeof keys);
    Enable_events(EVENTS);
    Set_main_title("Forms gallery");
    gallery_quit = false;
    if (gallery_open()) return true;
    gallery_failed("the forms can't be opened");
    gallery_close();
    return false;
}

void run() {
    uint32_t event = 0;
    while (!gallery_quit && Wait_for_next(EVENTS, &event) == 0)
        dispatch(event);
    gallery_close();
}

// One run of the script on a headless screen.
void run_script(const host_screen& screen, const char* shots) {
    tools_leave();
    if (!host_start_with(&host_headless, &screen, "Forms gallery")) {
        gallery_failed("no headless screen");
        return;
    }
    headless_run_freely(true);
    if (!start()) return;
    gallery_script_start(shots);
    run();
    headless_on_idle(nullptr, nullptr);
    tools_leave();
}

int run_headless(const options& o) {
    host_screen screen = USUAL_SCREEN;
    const char* wanted = std::getenv("TINCT_SCREEN");
    if (wanted != nullptr && (!host_parse_screen(wanted, &screen) || screen.width < USUAL_SCREEN.width ||
                              screen.height < USUAL_SCREEN.height)) {
        std::fputs("forms-gallery: TINCT_SCREEN is no screen of 1024x768 or more\n", stderr);
        return 2;
    }
    if (wanted != nullptr)
        run_script(screen, o.shots);
    else
        for (const int depth : DEPTHS) {
            screen.planes = depth;
            run_script(screen, o.shots);
        }
    std::printf("%s\n", failures == 0 ? "all done" : "something went wrong");
    return failures == 0 ? 0 : 1;
}

int gallery_main(int count, char** arguments, char** /*environment*/) {
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
    if (o.headless_run) return run_headless(o);
    if (!start()) return 1;
    run();
    return failures == 0 ? 0 : 1;
}

} // namespace

bool gallery_quit = false;

void gallery_failed(const char* format, ...) {
    char text[512];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    std::fprintf(stderr, "forms-gallery: failed: %s\n", text);
    ++failures;
}

int main(int count, char** arguments, char** environment) {
    const tools_program program = {product_root_init, gallery_main};
    return tools_process_entry(count, arguments, environment, &program);
}
