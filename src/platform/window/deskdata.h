// The inside of the desk. For the files of this directory only.
//
// What always holds between two calls:
// 1. `order` runs from the bottom up, by layer and within a layer by the order of raising.
// 2. A window's `seen` is what no window above it covers of its outer rectangle, within the main window's client area
//    for a child, within the frame buffer for a pop-up; its canvas draws on `seen` within the client area.
// 3. `update` (client coordinates) has all that has to be painted and can be seen. It may have more.
// All changes of place, size, order and visibility go between desk_begin_change() and desk_end_change(), which keep
// 2, 3.
#pragma once

#include "platform/window/canvasdata.h"
#include "platform/window/desk.h"

enum desk_layer : int { LAYER_CHILD, LAYER_POPUP, LAYER_TOPMOST, LAYER_MODAL };

struct desk_window {
    uint32_t style;
    int number;
    char* title; // owned; null: none
    desk_layer layer;
    bool shown;
    host_state state;
    canvas_box placed; // outer rectangle when restored
    canvas_box outer;  // as it stands
    canvas_box client; // empty for an icon
    bool icon_placed;  // `icon` was set; otherwise it is where it was put by itself
    bool icon_taken;   // `icon` has a place
    canvas_point icon;
    host_cursor cursor;
    uint32_t used; // when it was last made the active one, by desk.uses; 0: never
    canvas surface;
    pixman_region32_t seen;   // screen coordinates
    pixman_region32_t update; // client coordinates
    bool paint_given;         // its message was given in this round of desk_next()
    bool paint_told;          // its message was given since more was added to `update`
    canvas_bitmap under;      // with DESK_SAVE_UNDER, while shown
    canvas_box under_box;
    // Before the change that is under way.
    pixman_region32_t before;
    canvas_box before_outer, before_client;
    bool before_shown;
};

// What of a window, or of the main window's bars, lies under a point.
enum desk_part : uint8_t {
    PART_NONE,
    PART_CLIENT,
    PART_CAPTION,
    PART_MENU_BOX,
    PART_MINIMISE_BOX,
    PART_MAXIMISE_BOX,
    PART_FRAME, // with the edges
    PART_ICON,
    PART_BAR, // a scroll bar of the main window
};

constexpr uint8_t EDGE_LEFT = 1;
constexpr uint8_t EDGE_TOP = 2;
constexpr uint8_t EDGE_RIGHT = 4;
constexpr uint8_t EDGE_BOTTOM = 8;

enum class drag_kind : uint8_t { none, pending_move, move, size, box, icon, bar };

// What the user's pressed button is doing.
struct desk_drag {
    drag_kind kind;
    desk_window* window;
    uint8_t edges;   // sizing
    desk_part box;   // the caption's box that was pressed
    bool box_inside; // the pointer is on it
    canvas_point start;
    canvas_box outline; // of the window as it will be
};

// A scroll bar of the main window.
struct desk_bar {
    int range, page, position;
    int pressed; // which of its parts, of desk_scroll_kind + 1; 0: none
    int grip;    // from the thumb's start to the pointer
    uint32_t repeat_at;
};

struct desk_queued {
    desk_message message;
    char* text; // owned
    desk_queued* next;
};

struct desk_data {
    desk_window main;
    desk_window** order;
    desk_window* active;
    desk_window* capture;
    desk_window* modal;           // only it gets input
    desk_window* press_window[3]; // for each button: whose client area it was pressed in
    desk_window* pressed_window;  // by the press before, for double clicks on captions and icons; with the next three
    desk_queued* first;
    desk_queued* last;
    char* taken_text;
    desk_drag drag;
    int count, room; // of the order
    desk_metrics metrics;
    canvas_point pointer;
    desk_bar bars[2];
    canvas_point pressed_at;
    uint32_t pressed_time;
    uint32_t timer_at;
    uint32_t flushed_at;
    uint32_t uses;        // counts activations
    uint32_t modal_since; // a wish to close the main window from this time on answers the modal window
    bool held[3];         // buttons
    bool space_held;
    bool started;
    bool main_alive;
    bool quit_waits;
    bool timer_set;
    desk_part pressed_part;
    host_state main_state;
    host_key swallowed; // its press was for a menu, a drag or a modal box; nobody gets the release
    host_cursor shown_cursor;
};
extern desk_data desk;

constexpr uint32_t DESK_DOUBLE_CLICK = 400; // milliseconds

// Pixels as they are drawn at this screen.
inline int scaled(int pixels) {
    return pixels * desk.metrics.factor;
}

// Where a window can be seen: a child within the main window's client area, a pop-up all over the screen.
inline canvas_box desk_limit_of(const desk_window* w) {
    return w->layer == LAYER_CHILD ? desk.main.client : bitmap_box(&screen.frame);
}

// ---- desk.cpp
canvas_box desk_client_of(uint32_t style, canvas_box outer);
void desk_layout(desk_window* w); // outer and client from placed, state and icon; inside a change
void desk_layout_main();          // client area from the bars
void desk_arrange_icons();        // icons that were never moved: along the bottom edge
void desk_close_by_user(desk_window* w);
void desk_pick_active();               // after the active one went: the one that was active last
void desk_make_active(desk_window* w); // without raising it; null: the main window
// The main window has another size. Frames may be thicker or thinner from now on; client areas stay.
void desk_resize_main(int width, int height);

// ---- deskregions.cpp
void desk_begin_change();
// `valid` (screen coordinates; null: none): pixels that are right already, for whoever is seen there now.
void desk_end_change(const pixman_region32_t* valid);
void desk_redraw_frame(desk_window* w); // frame, caption or icon, as far as it is seen
void desk_check();                      // stops the program when 1 to 3 don't hold; does nothing without sanitizers

// ---- deskframe.cpp: drawing
void desk_draw_frame(desk_window* w, const pixman_region32_t* part); // all but the client area
void desk_draw_main(const pixman_region32_t* part);                  // background and bars
void desk_palette_changed();
void desk_draw_button(canvas* c, canvas_box box, bool pressed);
void desk_draw_arrow(canvas* c, canvas_box box, int dx, int dy, canvas_color color);
void desk_set_icon();                                         // gives the main window's picture to the host
canvas_box desk_box_of(const desk_window* w, desk_part part); // screen coordinates; empty: it has none
canvas_box desk_caption_of(const desk_window* w);

// The desk's colours.
constexpr canvas_color DESK_BLACK = canvas_rgb_color({0, 0, 0});
constexpr canvas_color DESK_WHITE = canvas_rgb_color({255, 255, 255});
constexpr canvas_color DESK_FACE = canvas_rgb_color({192, 192, 192});
constexpr canvas_color DESK_SHADOW = canvas_rgb_color({128, 128, 128});
constexpr canvas_color DESK_ACTIVE = canvas_rgb_color({0, 0, 128});

// ---- deskmouse.cpp
desk_part desk_hit(const desk_window* w, int x, int y, uint8_t* edges);
void desk_pointer_event(const host_event* event);
void desk_button_event(const host_event* event);
void desk_wheel_event(const host_event* event);
bool desk_cancel_drag();          // false when there is none
void desk_forget(desk_window* w); // it is destroyed, hidden or an icon: no drag, capture or menu of it any more
void desk_update_cursor();

// ---- deskscroll.cpp
canvas_box desk_bar_box(int bar);
bool desk_bar_is_shown(int bar);
void desk_draw_bars(canvas* c);
void desk_bar_press(int bar, const host_event* event);
void desk_bar_drag(const host_event* event);
void desk_bar_release();
// The time at which a held arrow acts again; false when none is held.
bool desk_bar_deadline(uint32_t* deadline);
void desk_bar_repeat();
void desk_clear_bars();

// ---- deskmenu.cpp: the window menu
void desk_open_menu(desk_window* w, canvas_point at, bool above);
bool desk_menu_is_open();
void desk_close_menu();
desk_window* desk_menu_owner();                // whose menu is open
desk_window* desk_menu_window();               // the menu itself
void desk_menu_event(const host_event* event); // pointer, button or key
void desk_menu_paint();

// ---- deskmessages.cpp
desk_message desk_new_message(desk_kind kind, desk_window* w);
bool desk_queue(const desk_message* message, const char* text);
void desk_drop_messages(const desk_window* w); // those that wait for it
void desk_clear_messages();
// As desk_next() and desk_wait(), for a modal window; the messages of others stay. The wait ends too when
// desk_close_waits(): the user has asked for the main window to be closed, since desk.modal_since.
bool desk_next_of(desk_window* w, desk_message* message);
void desk_wait_of(desk_window* w);
bool desk_close_waits();
