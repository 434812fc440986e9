// The host in memory: input from a queue that a test fills, a clock that stands until it is moved, and a screen that
// can be looked at or written to a file.
#include "platform/files.h"
#include "platform/window/canvasdata.h"
#include "platform/window/host.h"
#include "support/log.h"
#include "support/memory.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

struct posted_event {
    host_event event; // time: when it is due
    char* path;       // owned copy of a drop's path
    posted_event* next;
};

struct headless_data {
    uint32_t clock;
    bool free;
    headless_idle idle;
    void* idle_user;
    posted_event* first;
    posted_event* last;
    char* taken_path; // of the event that was taken last
    int pointer_x, pointer_y;
    canvas_bitmap shown; // the screen, as pixels
    canvas_rgb palette[CANVAS_PALETTE_SIZE];
    host_cursor cursor;
    char* title;
    int beeps;
    long shown_pixels;
};
headless_data data;

bool is_due(uint32_t time) {
    return int32_t(data.clock - time) >= 0;
}

bool resize_shown(int width, int height, int planes) {
    const canvas_bitmap fresh = screen_new_bitmap(width, height, planes);
    if (fresh.pixels == nullptr) return false;
    screen_free_bitmap(&data.shown);
    data.shown = fresh;
    return true;
}

void free_first() {
    posted_event* gone = data.first;
    data.first = gone->next;
    if (data.first == nullptr) data.last = nullptr;
    mem_free(gone->path);
    mem_free(gone);
}

void set_title(const char* text) {
    mem_free(data.title);
    data.title = mem_copy_text(text == nullptr ? "" : text);
}

bool start(host_screen* screen, const char* title) {
    data = {};
    if (screen->width <= 0) screen->width = 1280;
    if (screen->height <= 0) screen->height = 1024;
    screen->scale = 1;
    data.clock = 1000; // so that a time of 0 is in the past
    data.cursor = host_cursor::arrow;
    set_title(title);
    return resize_shown(screen->width, screen->height, screen->planes);
}

void stop() {
    while (data.first != nullptr)
        free_first();
    mem_free(data.taken_path);
    screen_free_bitmap(&data.shown);
    mem_free(data.title);
    data = {};
}

uint32_t now() {
    return data.clock;
}

bool poll(host_event* event) {
    mem_free(data.taken_path);
    data.taken_path = nullptr;
    if (data.first == nullptr || !is_due(data.first->event.time)) return false;
    *event = data.first->event;
    data.taken_path = data.first->path;
    data.first->path = nullptr;
    event->path = data.taken_path;
    free_first();
    return true;
}

// Whether anything ends the wait by itself when time goes on, and when.
bool find_due(bool limited, uint32_t deadline, uint32_t* due) {
    if (data.first == nullptr && !limited) return false;
    *due = data.first != nullptr ? data.first->event.time : deadline;
    if (limited && int32_t(deadline - *due) < 0) *due = deadline;
    return true;
}

void wait(bool limited, uint32_t deadline) {
    uint32_t due = 0;
    const bool found = find_due(limited, deadline, &due);
    if (found && is_due(due)) return;
    if (found && data.free) {
        data.clock = due;
        return;
    }
    if (data.idle != nullptr && data.idle(data.idle_user)) return;
    fprintf(stderr, "the headless host waits, and nothing is due\n");
    stop_program(1);
}

// Keeps the pixels as they are; colours are made of them when somebody looks. A change of the palette comes with all
// pixels, so the last palette holds for the whole screen.
void show(const canvas_bitmap* frame, const canvas_rgb* palette, const canvas_box* changed, int count) {
    const bool same_size = frame->width == data.shown.width && frame->height == data.shown.height;
    if (!same_size && !resize_shown(frame->width, frame->height, frame->planes)) return;
    std::copy_n(palette, CANVAS_PALETTE_SIZE, data.palette);
    for (int i = 0; i < count; ++i) {
        const canvas_box box = changed[i];
        bitmap_copy(&data.shown, box.x1, box.y1, frame, box);
        data.shown_pixels += long{box.x2 - box.x1} * (box.y2 - box.y1);
    }
}

void warp(int x, int y) {
    headless_pointer(x, y);
}
void pointer(int* x, int* y) {
    *x = data.pointer_x;
    *y = data.pointer_y;
}
void set_cursor(host_cursor shape, int /*factor*/) {
    data.cursor = shape;
}
void set_icon(const uint32_t* /*pixels*/, int /*side*/) {}
void beep() {
    ++data.beeps;
}

void set_state(host_state state) {
    headless_resize(data.shown.width, data.shown.height, state);
}

bool post_at(const host_event* event, uint32_t time) {
    mem_guard<posted_event> entry(mem_new<posted_event>());
    if (!entry) return false;
    entry->event = *event;
    entry->event.time = time;
    if (event->path != nullptr) {
        entry->path = mem_copy_text(event->path);
        if (entry->path == nullptr) return false;
    }
    (data.last == nullptr ? data.first : data.last->next) = entry.get();
    data.last = entry.keep();
    return true;
}

host_event input_event(host_event_kind kind, uint8_t modifiers) {
    host_event event = {};
    event.kind = kind;
    event.x = data.pointer_x;
    event.y = data.pointer_y;
    event.modifiers = modifiers;
    return event;
}

} // namespace

const host_ops host_headless = {
    .name = "headless",
    .start = start,
    .stop = stop,
    .now = now,
    .poll = poll,
    .wait = wait,
    .show = show,
    .warp = warp,
    .pointer = pointer,
    .cursor = set_cursor,
    .title = set_title,
    .icon = set_icon,
    .beep = beep,
    .state = set_state,
};

void headless_run_freely(bool freely) {
    data.free = freely;
}
void headless_advance(uint32_t milliseconds) {
    data.clock += milliseconds;
}

void headless_on_idle(headless_idle idle, void* user) {
    data.idle = idle;
    data.idle_user = user;
}

bool headless_post(const host_event* event) {
    return post_at(event, data.clock);
}

bool headless_post_later(const host_event* event, uint32_t delay) {
    uint32_t base = data.clock;
    if (data.last != nullptr && int32_t(data.last->event.time - base) > 0) base = data.last->event.time;
    return post_at(event, base + delay);
}

void headless_pointer(int x, int y) {
    data.pointer_x = x;
    data.pointer_y = y;
    const host_event event = input_event(host_event_kind::pointer, 0);
    headless_post(&event);
}

void headless_button(int button, bool down, uint8_t modifiers) {
    host_event event = input_event(host_event_kind::button, modifiers);
    event.button = uint8_t(button);
    event.down = down;
    headless_post(&event);
}

void headless_click(int x, int y, int button) {
    headless_pointer(x, y);
    headless_button(button, true, 0);
    headless_button(button, false, 0);
}

void headless_key(host_key key, uint32_t character, uint8_t modifiers) {
    host_event event = input_event(host_event_kind::key, modifiers);
    event.key = key;
    event.character = character;
    event.down = true;
    headless_post(&event);
    event.down = false;
    headless_post(&event);
}

void headless_type(const char* text) {
    for (; *text != 0; ++text) {
        host_event event = input_event(host_event_kind::text, 0);
        event.character = uint8_t(*text);
        headless_post(&event);
    }
}

void headless_resize(int width, int height, host_state state) {
    host_event event = {};
    event.kind = host_event_kind::resize;
    event.width = width;
    event.height = height;
    event.state = state;
    headless_post(&event);
}

bool headless_screenshot(const char* path) {
    char header[64];
    const int length = snprintf(header, sizeof header, "P6\n%d %d\n255\n", data.shown.width, data.shown.height);
    const size_t bytes = size_t(length) + size_t(data.shown.width) * size_t(data.shown.height) * 3;
    mem_guard<uint8_t> picture(static_cast<uint8_t*>(mem_alloc(bytes)));
    if (!picture) return false;
    memcpy(picture.get(), header, size_t(length));
    uint8_t* next = picture.get() + length;
    for (int y = 0; y < data.shown.height; ++y)
        for (int x = 0; x < data.shown.width; ++x) {
            const canvas_rgb color = headless_shown(x, y);
            *next++ = color.red;
            *next++ = color.green;
            *next++ = color.blue;
        }
    return files_replace_whole(path, picture.get(), bytes);
}

canvas_rgb headless_shown(int x, int y) {
    if (!box_has(bitmap_box(&data.shown), x, y)) return {0, 0, 0};
    uint32_t pixel = 0;
    memcpy(&pixel, bitmap_at(&data.shown, x, y), size_t(data.shown.pixel_bytes));
    return data.shown.pixel_bytes == 1 ? data.palette[pixel] : canvas_pixel_rgb(pixel);
}

host_cursor headless_cursor() {
    return data.cursor;
}
const char* headless_title() {
    return data.title == nullptr ? "" : data.title;
}
int headless_beeps() {
    return data.beeps;
}
long headless_shown_pixels() {
    return data.shown_pixels;
}
