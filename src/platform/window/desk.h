// The desk: a window system inside the host's one frame buffer.
//
// The main window fills the frame buffer; its own frame and caption are those of the user's desktop and lie outside.
// At its right and bottom it may have scroll bars; the rest is its client area, black, in which child windows lie.
// Pop-ups lie above all children, and are not limited to the main window's client area.
//
// Pixels that are covered are lost. When they show again, the desk draws frames by itself and asks for the client area
// with a paint message. Nothing is erased before that: a window that is created, shown or uncovered has the pixels that
// lay there. So a pop-up can copy what is under it, put it back and vanish.
//
// Messages are taken one by one with desk_next(); nothing is called back. Moving, sizing and the boxes of a caption are
// handled inside desk_next(), with messages about what came of it.
//
// Coordinates: screen coordinates start at the frame buffer's top left pixel; so do those of the main window's client
// area. A child's place is given in the main window's client area, a pop-up's on the screen; which comes to the same.
// Drawing and mouse messages use the window's own client coordinates.
#pragma once

#include "platform/window/canvas.h"
#include "platform/window/host.h"

#include <cstdint>

struct desk_window;

// ---- start and end -------------------------------------------------------------------------------------------------

// Starts the host (unless one runs, as in a test) and opens the main window. False when no host starts or there is no
// memory, with the reason on standard error.
bool desk_start(const char* title);
// Destroys all windows and stops the host. Nothing happens when it isn't started.
void desk_stop();

desk_window* desk_main(); // null when it is destroyed or not started

// All but the first three grow by `factor` on a large screen, so that they can be seen and taken hold of there. When
// the main window's size changes, the sizes may change with it.
struct desk_metrics {
    int screen_width, screen_height; // the main window without scroll bars
    int planes;                      // 4, 8, 15, 16 or 24
    int factor;                      // 1; from more than DESK_USUAL_LINES rows of the screen on 2
    int frame_width, frame_height;   // thickness of a thick frame: left and right, top and bottom
    int dialog_frame;                // thickness of a dialog frame
    int caption_height;              // a caption takes one less between frame and client area
    int narrow_caption_height;       // what a narrow caption takes
    int border;                      // thickness of a plain line
    int icon_width, icon_height;     // of a minimised window, its title included
    int scroll_bar;                  // width of a vertical, height of a horizontal one
};
constexpr int DESK_USUAL_LINES = 1600;
const desk_metrics* desk_sizes();

// ---- windows -------------------------------------------------------------------------------------------------------

// Styles. A window has at most one frame and one caption. The client area is what they leave of the outer rectangle.
constexpr uint32_t DESK_THICK_FRAME = 0x01;    // can be sized by it
constexpr uint32_t DESK_DIALOG_FRAME = 0x02;   // can't
constexpr uint32_t DESK_CAPTION = 0x04;        // title, window menu
constexpr uint32_t DESK_NARROW_CAPTION = 0x08; // the same, low
constexpr uint32_t DESK_MINIMISE_BOX = 0x10;
constexpr uint32_t DESK_MAXIMISE_BOX = 0x20;
constexpr uint32_t DESK_POPUP = 0x40;       // no child of the main window
constexpr uint32_t DESK_TOPMOST = 0x80;     // a pop-up that stays above those that aren't topmost
constexpr uint32_t DESK_SAVE_UNDER = 0x100; // a pop-up that puts back what it covered; for modal boxes

// Makes a hidden window, on top of its kind. `number` comes back in each message. `title` (Latin-1, null: none) is
// copied. Null without memory or before the start. The canvas lives as long as the window.
desk_window* desk_create(uint32_t style, int number, const char* title, canvas_box outer);

// Destroys a window: no message about it, and none that waits for it comes any more. For the main window: everything.
void desk_destroy(desk_window* w);

// Shows or hides. A shown window stays where it is in the order. Showing asks for its client area to be painted.
void desk_show(desk_window* w);
void desk_hide(desk_window* w);
bool desk_is_shown(const desk_window* w); // shown, perhaps as an icon

void desk_raise(desk_window* w); // above all others of its kind, without activating it
// Raises it, too: its caption is the active one, keys go to it. When it goes, the window that was active last before it
// is the active one again.
void desk_activate(desk_window* w);
desk_window* desk_active(); // null: the main window

// Moves and sizes. Pixels that go on being seen move along when the size stays; a changed size has the whole client
// area painted. For a minimised or maximised window it changes the place that it will be restored to.
void desk_place(desk_window* w, canvas_box outer);

// Icon, full client area of the main window, or as placed. Works on a hidden window too. An icon goes below all other
// windows of its kind; restoring doesn't raise it again. For the main window it is asked of the host.
void desk_set_state(desk_window* w, host_state state);
host_state desk_state(const desk_window* w);

// Place of the icon's top left corner, in the main window's client area. -1, -1 (and until it is first set or the icon
// moved): the next free place along the bottom edge. The result of desk_icon_place() is where it stands or would stand.
void desk_set_icon_place(desk_window* w, int x, int y);
canvas_point desk_icon_place(const desk_window* w);

void desk_set_title(desk_window* w, const char* title); // Latin-1; null clears it. The main window's is the host's
void desk_set_number(desk_window* w, int number);
int desk_number(const desk_window* w);

canvas_box desk_outer(const desk_window* w);                 // screen coordinates, as it stands now (an icon: the icon)
canvas_box desk_client(const desk_window* w);                // the same for the client area; empty for an icon
canvas_box desk_outer_of(uint32_t style, canvas_box client); // the outer rectangle that leaves this client area
canvas* desk_canvas(desk_window* w);                         // of the client area

// Shows what has been drawn. desk_wait() does it by itself, and desk_next() now and then.
void desk_flush();

// ---- painting ------------------------------------------------------------------------------------------------------

// Asks for a box of the client area (null: all of it) to be painted.
void desk_invalidate(desk_window* w, const canvas_box* box);
// Takes it back; no paint message comes for it.
void desk_validate(desk_window* w, const canvas_box* box);
// The box, in client coordinates, around all that waits to be painted; false (and empty) when nothing does. Taking it
// (`take`) answers the paint message. As long as it isn't taken, the message comes again in the next round of
// desk_next(), after it has once given false.
bool desk_paint_box(desk_window* w, canvas_box* box, bool take);

// Fills what of the client area waits to be painted and can be seen.
void desk_fill_waiting(desk_window* w, canvas_color color);

// Moves pixels inside the client area, limited to the clip box. What has to be painted because its source could not be
// seen is asked for.
void desk_copy(desk_window* w, canvas_box from, int to_x, int to_y);

// ---- mouse, keyboard, cursor ---------------------------------------------------------------------------------------

// All mouse messages go to this window, wherever the pointer is, and clicks don't move or raise others; null ends it. A
// window that is destroyed or hidden loses it.
void desk_set_capture(desk_window* w);
desk_window* desk_capture();

canvas_point desk_pointer();               // screen coordinates
void desk_warp(int x, int y);              // screen coordinates
desk_window* desk_window_at(int x, int y); // the window seen there, frame included; the main one otherwise
bool desk_in_client(const desk_window* w, int x, int y); // screen point; the window is the one that is seen there
void desk_set_cursor(desk_window* w,
                     host_cursor shape); // shown while the pointer is in its client area. At first: arrow
// What the user holds down now, by what the host has told: a button, or the space bar. A press that both the left and
// the middle button make is told apart by this.
bool desk_button_is_held(int button);
bool desk_space_is_held();
bool desk_is_dragging();   // the user is moving or sizing a window, or dragging a scroll bar
bool desk_mouse_waiting(); // the next desk_next() would give a mouse message, or one waits behind others

// ---- the main window's scroll bars ---------------------------------------------------------------------------------

// Positions go from 0 to `range`; a bar with a range of 0 isn't shown. When bars come or go, a size message of the main
// window follows. At each resize of the main window by the user the bars go first, and can be set anew by the new size.
constexpr int DESK_HORIZONTAL = 0;
constexpr int DESK_VERTICAL = 1;
void desk_set_scroll(int bar, int range, int page, int position);

// Moves all children (not pop-ups) and the pixels of the main window's client area by dx, dy.
void desk_scroll(int dx, int dy);

// ---- messages ------------------------------------------------------------------------------------------------------

enum class desk_kind : uint8_t {
    none,
    // Mouse: x, y in the client area; modifiers; time. Only in a client area, or anywhere for the capturing window.
    mouse_move,
    button, // button, down
    wheel,  // value: steps; value2: steps to the right
    // Keyboard: goes to the active window, or the main one.
    key, // key, down, character: of the key; modifiers
    // character: a Latin-1 byte, control characters included (Return 13, Backspace 8, Tab 9, Escape 27). What is typed
    // and isn't Latin-1 is dropped with a beep.
    character,
    // The window.
    moved, // its client area stands elsewhere; by the user, or by desk_place(), desk_scroll()
    sized, // its client area has another size; for the main window also after bars came or went. state, x, y: size
    state_changed, // state: minimised, maximised or restored, by the user or by desk_set_state()
    maximising,    // main window: the user maximises it, and its size changes by it; `sized` follows
    destroyed,     // the user closed it. `window` is null: it is gone; its number is left
    close,         // main window: the user wants to close it. Nothing happens unless the program does it
    activated,     // it became the active one
    paint,         // part of its client area must be painted: desk_paint_box()
    // Main window.
    scroll, // bar, scroll: what was asked; value: the position that the thumb is dragged to
    drop,   // text: path of a file that was dropped; valid until the next desk_next()
    timer,  // the timer is due, and is no longer set
    posted, // by desk_post(): code, value, value2
    quit,   // the main window is destroyed; comes last, once
};

enum class desk_scroll_kind : uint8_t { line_back, line_forward, page_back, page_forward, thumb, end };

struct desk_message {
    desk_kind kind;
    bool down;
    uint8_t button;    // HOST_LEFT, HOST_MIDDLE, HOST_RIGHT
    uint8_t modifiers; // HOST_SHIFT, HOST_CTRL, HOST_ALT
    host_key key;
    host_state state;
    desk_scroll_kind scroll;
    uint8_t bar; // DESK_HORIZONTAL, DESK_VERTICAL
    desk_window* window;
    int number; // of the window
    int x, y;
    uint32_t character;
    uint32_t time; // host_now() when it happened
    int code;
    uint32_t value, value2;
    const char* text;
};

// Takes the next message: first what happened and was posted, in order; then, when that is all, the timer; then paints,
// topmost window first. False when there is none; after that each paint that wasn't answered comes once more.
bool desk_next(desk_message* message);

// Shows what has been drawn and blocks until there may be a message, or until host_now() reaches the deadline. A
// program that has something to do at a time of its own waits so, instead of asking again and again: the headless clock
// moves only in waits.
void desk_wait();
void desk_wait_until(uint32_t deadline);

// Drops the `close` messages that wait, as those of a user who has just been asked.
void desk_drop_close();

// Puts a message of kind `posted` on the queue. False without memory.
bool desk_post(desk_window* w, int code, uint32_t value, uint32_t value2);

// The one timer: a message when host_now() reaches `deadline`. Setting it again replaces it.
void desk_set_timer(uint32_t deadline);
void desk_stop_timer();
