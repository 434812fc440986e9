// Choice of the host, and the calls that go through its table.
#include "platform/window/host.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#ifdef TINCT_WITH_SDL
extern const host_ops host_sdl;
#endif

namespace {

const host_ops* running;
host_screen current_screen;

constexpr int MOST_SIDE = 16384;

// A number of up to 5 digits, and the text behind it. False when there is none.
bool take_number(const char** text, int* number) {
    int value = 0;
    int digits = 0;
    for (; **text >= '0' && **text <= '9' && digits < 5; ++*text, ++digits)
        value = value * 10 + (**text - '0');
    *number = value;
    return digits > 0;
}

bool depth_is_known(int planes) {
    return planes == 4 || planes == 8 || planes == 15 || planes == 16 || planes == 24;
}

bool read_scale(host_screen* screen) {
    const char* text = getenv("TINCT_SCALE");
    if (text == nullptr || *text == 0) return true;
    if (take_number(&text, &screen->scale) && *text == 0 && screen->scale >= 1 && screen->scale <= 8) return true;
    fprintf(stderr, "TINCT_SCALE is not a number from 1 to 8\n");
    return false;
}

bool read_screen(host_screen* screen) {
    *screen = {0, 0, 24, 0};
    const char* text = getenv("TINCT_SCREEN");
    if (text != nullptr && *text != 0 && !host_parse_screen(text, screen)) {
        fprintf(stderr, "TINCT_SCREEN=%s: not WIDTHxHEIGHTxDEPTH with a depth of 4, 8, 15, 16 or 24\n", text);
        return false;
    }
    return read_scale(screen);
}

// The hosts to try for the name in TINCT_HOST, best first.
bool start_named(const char* name, const host_screen* screen, const char* title) {
    const bool any = name == nullptr || *name == 0;
#ifdef TINCT_WITH_SDL
    if (any || strcmp(name, "sdl") == 0) {
        if (host_start_with(&host_sdl, screen, title)) return true;
        fprintf(stderr, "no display for a window: set TINCT_HOST=headless to run without one\n");
        return false;
    }
#endif
    if (any || strcmp(name, "headless") == 0) return host_start_with(&host_headless, screen, title);
    fprintf(stderr, "TINCT_HOST=%s: no such host in this build\n", name);
    return false;
}

} // namespace

bool host_parse_screen(const char* text, host_screen* screen) {
    host_screen found = *screen;
    int* const parts[3] = {&found.width, &found.height, &found.planes};
    for (int i = 0; i < 3; ++i) {
        if (!take_number(&text, parts[i])) return false;
        if (*text == 0) break;
        if (*text != 'x' || i == 2) return false;
        ++text;
    }
    if (found.width < 1 || found.width > MOST_SIDE || found.height < 0 || found.height > MOST_SIDE) return false;
    if (!depth_is_known(found.planes)) return false;
    *screen = found;
    return true;
}

bool host_start(const char* title) {
    host_screen wanted;
    if (!read_screen(&wanted)) return false;
    return start_named(getenv("TINCT_HOST"), &wanted, title);
}

bool host_start_with(const host_ops* ops, const host_screen* screen, const char* title) {
    host_stop();
    current_screen = *screen;
    if (!depth_is_known(current_screen.planes) || !ops->start(&current_screen, title)) return false;
    running = ops;
    return true;
}

void host_stop() {
    if (running != nullptr) running->stop();
    running = nullptr;
}

const char* host_name() {
    return running == nullptr ? "" : running->name;
}
const host_screen* host_screen_size() {
    return &current_screen;
}
uint32_t host_now() {
    return running == nullptr ? 0 : running->now();
}
bool host_poll(host_event* event) {
    return running != nullptr && running->poll(event);
}

void host_wait(bool limited, uint32_t deadline) {
    if (running != nullptr) running->wait(limited, deadline);
}

void host_show(const canvas_bitmap* frame, const canvas_rgb* palette, const canvas_box* changed, int count) {
    if (running != nullptr) running->show(frame, palette, changed, count);
}

void host_warp(int x, int y) {
    if (running != nullptr) running->warp(x, y);
}

void host_pointer(int* x, int* y) {
    if (running != nullptr) running->pointer(x, y);
}

void host_set_cursor(host_cursor shape, int factor) {
    if (running != nullptr) running->cursor(shape, factor);
}

void host_set_title(const char* text) {
    if (running != nullptr) running->title(text);
}

void host_set_icon(const uint32_t* pixels, int side) {
    if (running != nullptr) running->icon(pixels, side);
}

void host_beep() {
    if (running != nullptr) running->beep();
}

void host_set_state(host_state state) {
    if (running != nullptr) running->state(state);
}
