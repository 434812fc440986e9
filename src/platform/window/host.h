// The host: where the screen is shown, where input comes from, and the clock. One host runs at a time.
//
// A host is a table of operations; the calls below choose one and go through it. There are two: "headless", in memory,
// with input that a test posts and a clock that only a test moves; and "sdl", a window of the user's own desktop, if
// the build has SDL. Only the desk (desk.h) shows pixels and takes events; the layers above need host_now(),
// host_beep() and, in tests, the headless part at the end.
//
// The environment: TINCT_HOST=headless or sdl picks the host (without it: sdl), TINCT_SCREEN=WIDTHxHEIGHTxDEPTH the
// screen (depth 4, 8, 15, 16 or 24; each part may be left out from the right), TINCT_SCALE=N how many pixels of the
// user's display one pixel takes in each direction (without it: by the size of the display).
#pragma once

#include "platform/window/canvas.h"

#include <cstdint>

// ---- what the host tells ----------------------------------------------------------------------------------------

enum class host_event_kind : uint8_t {
    none,
    pointer, // the pointer is at x, y
    button,  // button, down
    wheel,   // wheel: steps away from the user (positive) or towards him; across: to the right (positive) or left
    key,     // key or character code of the key, down
    text,    // character: what was typed, after layout and dead keys
    close,   // the user asks for the main window to be closed
    focus,   // down: the main window has the keyboard now
    resize,  // width, height, state
    drop,    // path: a file was dropped on the main window
};

// Keys that are no character. A key with a character has the code HOST_KEY_CHARACTER and the unshifted `character`.
enum class host_key : uint8_t {
    none,
    character,
    enter,
    backspace,
    tab,
    escape,
    insert,
    remove, // Delete
    home,
    end,
    page_up,
    page_down,
    left,
    up,
    right,
    down,
    f1,
    f11,
};

constexpr uint8_t HOST_SHIFT = 1; // modifiers, held at the moment of the event
constexpr uint8_t HOST_CTRL = 2;
constexpr uint8_t HOST_ALT = 4;

constexpr uint8_t HOST_LEFT = 0; // buttons
constexpr uint8_t HOST_MIDDLE = 1;
constexpr uint8_t HOST_RIGHT = 2;

// How the main window stands on the user's desktop.
enum class host_state : uint8_t { restored, minimised, maximised };

struct host_event {
    host_event_kind kind;
    bool down;
    uint8_t button;    // HOST_LEFT and so on
    uint8_t modifiers; // HOST_SHIFT and so on
    host_key key;
    host_state state;
    uint32_t character; // Unicode
    int x, y;           // pixels of the frame buffer; for button and wheel too
    int wheel, across;
    int width, height;
    uint32_t time;    // host_now() when it happened; filled by the host
    const char* path; // of a drop: zero-ended, valid until the next event is taken
};

enum class host_cursor : uint8_t { none, arrow, busy, size_we, size_ns, size_nwse, size_nesw, move };

// ---- the table ---------------------------------------------------------------------------------------------------

struct host_screen {
    int width, height; // pixels; 0: the host's own choice
    int planes;        // 4, 8, 15, 16 or 24
    int scale;         // 0: the host's own choice
};

// Every slot is mandatory.
struct host_ops {
    const char* name;
    // Opens the main window, as large as `screen` says and at most as large as the display allows, or where it says
    // nothing maximised; then puts the size that the window got into `screen`. False: no such host here.
    bool (*start)(host_screen* screen, const char* title);
    void (*stop)();
    uint32_t (*now)(); // milliseconds, never going back
    // Takes the oldest event. False when there is none.
    bool (*poll)(host_event* event);
    // Blocks until there may be an event, or until host_now() reaches `deadline` when `limited`. May return early.
    void (*wait)(bool limited, uint32_t deadline);
    // Shows `count` rectangles of the frame buffer. The palette has CANVAS_PALETTE_SIZE entries.
    void (*show)(const canvas_bitmap* frame, const canvas_rgb* palette, const canvas_box* changed, int count);
    void (*warp)(int x, int y); // moves the pointer; a pointer event follows
    // Where the pointer is now, in pixels of the frame buffer; outside of it when it isn't on the main window.
    void (*pointer)(int* x, int* y);
    void (*cursor)(host_cursor shape, int factor);  // factor: how much larger than usual the desk is drawn
    void (*title)(const char* text);                // Latin-1
    void (*icon)(const uint32_t* pixels, int side); // of the main window: rows of 0xAARRGGBB from the top
    void (*beep)();
    void (*state)(host_state state); // asks for the main window to be minimised, maximised or restored
};

extern const host_ops host_headless;

// Picks the host and the screen by the environment and starts it. False, with the reason on standard error, when the
// values don't make sense or no host starts.
bool host_start(const char* title);
// Starts the given host on the given screen, as tests do.
bool host_start_with(const host_ops* ops, const host_screen* screen, const char* title);
void host_stop();

const char* host_name();               // "headless", "sdl"; "" before the start
const host_screen* host_screen_size(); // as filled by the start
uint32_t host_now();
bool host_poll(host_event* event);
void host_wait(bool limited, uint32_t deadline);
void host_show(const canvas_bitmap* frame, const canvas_rgb* palette, const canvas_box* changed, int count);
void host_warp(int x, int y);
void host_pointer(int* x, int* y);
void host_set_cursor(host_cursor shape, int factor);
void host_set_title(const char* text);
void host_set_icon(const uint32_t* pixels, int side);
void host_beep();
void host_set_state(host_state state);

// Reads "1280x1024x24" or a beginning of it into `screen`, which keeps what isn't named. False when it isn't such a
// text.
bool host_parse_screen(const char* text, host_screen* screen);

// ---- the headless host's other side ------------------------------------------------------------------------------

// A clock that stands still unless it is moved (false, at the start), or that a wait moves to whatever is due next, a
// deadline or a posted event (true): so a program runs by itself, as fast as it can.
//
// A wait with nothing due asks the idle function. If there is none, or it gives false, nobody could ever end the wait:
// the process then stops with status 1 and a line on standard error.
void headless_run_freely(bool freely);
void headless_advance(uint32_t milliseconds);
using headless_idle = bool (*)(void* user); // true: has posted an event or moved the clock
void headless_on_idle(headless_idle idle, void* user);

// Puts an event at the end of the queue. It happens now, or `delay` milliseconds after the one posted before it (or
// after now, if that is later). False without memory.
bool headless_post(const host_event* event);
bool headless_post_later(const host_event* event, uint32_t delay);
// The usual events. Buttons and keys carry the modifiers; headless_click presses and releases at once.
void headless_pointer(int x, int y);
void headless_button(int button, bool down, uint8_t modifiers);
void headless_click(int x, int y, int button);
void headless_key(host_key key, uint32_t character, uint8_t modifiers); // down and up
void headless_type(const char* text);                                   // Latin-1
void headless_resize(int width, int height, host_state state);

// What is on the screen: the pixels as shown, as a binary PPM. False when the file can't be written.
bool headless_screenshot(const char* path);
// The colour that is shown at x, y; 0 outside.
canvas_rgb headless_shown(int x, int y);
host_cursor headless_cursor();
const char* headless_title();
int headless_beeps();
long headless_shown_pixels(); // how many pixels have been sent since the start
