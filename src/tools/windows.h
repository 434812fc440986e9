// Numbered windows over the platform's: the table, creation and place, the cursor, the scrolling main window, and
// save-restore areas. Drawing on them is in draw.h, colours in colors.h.
//
// Window 0 is the main window; all others lie in it. A place is given in the main window's logical space, which is as
// large as the screen and stays put when the main window scrolls: the platform's place is the logical one less the
// scroll offset. Rectangles are inclusive: x2 and y2 are the last column and row.
//
// Results are 0, or -1 for a window that doesn't exist and where it is said. One thread.
#pragma once

#include <cstdint>

#include "platform/window/desk.h"
#include "tools/events.h"

constexpr int WINDOW_COUNT = 40; // windows are numbered 0 to 39
constexpr int WINDOW_MASK = 63;  // what of a number counts; 40 to 63 never exist
constexpr int WINDOW_TITLE_SIZE = 78;
constexpr int WINDOW_TOP_LEVEL = 32767; // level of the pop-up above all others

// ---- the table -----------------------------------------------------------------------------------------------------

// What pushattributes() copies.
struct window_attributes {
    int16_t clip_x1, clip_y1, clip_x2, clip_y2; // client coordinates
    bool clipped;                               // the clip box has been set; until then it only tells the first size
    int16_t current_x, current_y;               // current point
    int16_t weight;                             // of lines; 0: one pixel wide
    uint16_t line_style;                        // 0xFFFF: solid; any other: dotted
    uint16_t blend;                             // 0xFFFF: gaps of a styled line are left alone
    uint16_t color_mode;                        // COLOR_MODE_PALETTE or COLOR_MODE_TRUE
    canvas_color foreground;                    // CANVAS_SLOT | slot in palette mode
    canvas_color background;                    // the same
    bool patterned;                             // rectf() and polygon4() fill with `pattern`
    canvas_pattern pattern;
    window_attributes* next; // link of the saved stack, whose newest block comes first
};

constexpr uint16_t COLOR_MODE_PALETTE = 0;
constexpr uint16_t COLOR_MODE_TRUE = 2;

constexpr uint16_t PAINT_ALWAYS = 1; // paint_flags, and the op mask of a refresh
constexpr uint16_t PAINT_MOVED = 16;
constexpr uint16_t PAINT_RESIZED = 32;

struct window_record {
    canvas* dc;          // of the client area; the platform window's
    desk_window* handle; // the platform window; owned, but for window 0
    int16_t min_width, min_height, max_width, max_height;
    uint16_t sys_hdr_first, sys_hdr_second;
    uint16_t motion_mask;   // 1 enter, 2 leave, 4 motion
    uint8_t cursor_visible; // 1 at creation
    uint8_t button_mode[3];
    host_cursor cursor; // while visible
    uint8_t create_flags;
    uint8_t collapsed;
    uint8_t displayed;
    int16_t level;
    window_attributes attributes;
    window_attributes* saved_attributes; // stack; owned
    window_record* sr_saved; // window 0, while save-restore areas are up: its record before the last of them, which by
                             // this field leads to the one before that; owned
    canvas* sr_bitmap;       // pixels under the area; owned
    canvas_box placed;       // of the client area in logical space, half open, when neither an icon nor maximised
    uint16_t paint_flags;
    char title[WINDOW_TITLE_SIZE];
};

// Null: a free number.
extern window_record* window_table[WINDOW_MASK + 1];

inline window_record* window_find(int window) {
    return window_table[window & WINDOW_MASK];
}

// The number of a platform window; -1 when it is none of the table's.
int window_of_handle(const desk_window* handle);

// Last column and row of the screen, which is the space that windows lie in. It is as large as the main window, but no
// smaller than LEAST_SCREEN_WIDTH by LEAST_SCREEN_HEIGHT pixels, or than the main window was at the start if that is
// less: in a smaller main window it is scrolled.
extern int screen_width, screen_height;
constexpr int LEAST_SCREEN_WIDTH = 1024;
constexpr int LEAST_SCREEN_HEIGHT = 768;

// How far the main window is scrolled.
extern int scroll_x, scroll_y;

// The pop-up of level WINDOW_TOP_LEVEL that was made last; null when there is none.
extern desk_window* topmost_window;

// ---- creation ------------------------------------------------------------------------------------------------------

constexpr int WINDOW_FRAME = 1;          // thick frame, outside of the given rectangle
constexpr int WINDOW_CAPTION = 2;        // caption with window menu, minimise and maximise boxes, above it
constexpr int WINDOW_FREE = 4;           // no child of the main window; its place doesn't scroll
constexpr int WINDOW_NARROW_CAPTION = 8; // low caption above it
constexpr int WINDOW_DIALOG_FRAME = 16;  // dialog frame outside, no maximise box
constexpr int WINDOW_TRANSPARENT = 32;   // changes nothing here: no window erases what lay there

// A hidden window with the lowest free number. The rectangle is that of its client area. `title` (Latin-1, null: none)
// is cut at 77 characters. -1 when all numbers are taken or there is no memory. The screen is 0, and doesn't count.
// A pop-up of level WINDOW_TOP_LEVEL is moved like a save-restore area so that it is seen; the same goes for
// Modify_win().
int Create_win_flags(int flags, int level, const char* title, int x1, int y1, int x2, int y2, int* window);
int Create_win(int screen, const char* title, int x1, int y1, int x2, int y2, int* window);
int Create_win_no_border(int screen, int x1, int y1, int x2, int y2, int* window);
int Create_win_frame(int screen, int x1, int y1, int x2, int y2, int* window);
int Create_level_window(int screen, int level, int x1, int y1, int x2, int y2, int* window);

// Destroys it without a DELETE_EVENT. -1 for window 0.
int Delete_win(int window);

// ---- place and state -----------------------------------------------------------------------------------------------

int Display_win(int window); // shows it on top of the others, as an icon if collapsed; no refresh follows. -1 when it
                             // has been displayed
int Modify_win(int window, int x1, int y1, int x2, int y2); // moves and resizes its client area; a refresh follows
int Collapse_win(int window);
int Uncollapse_win(int window);
int Inq_win_collapse_stat(int window, int* state); // 1: collapsed
int Inq_win_collapse_org(int window, int* x, int* y);
int Set_win_collapse_org(int window, int x, int y);                 // limited to -1, -1 and the screen's size
int Inq_win_region(int window, int* x1, int* y1, int* x2, int* y2); // its client area
int Inq_win_vs(int window, int* screen);                            // 0

int Set_win_sizes(int window, int min_width, int min_height, int max_width, int max_height); // kept, without effect
int Set_win_sys_hdr(int window, int first, int second);                                      // the same
int Set_win_title(int window, const char* title);                                            // null clears it
int Set_main_title(const char* title);
int Win_frame_width();
int Win_frame_height();
int Set_win_motion(int window, int mask);
int Set_button_mode(int window, int button, int mode); // -1 for another button than 0 to 2, or mode than 0 to 3
int Set_win_button_mode(int window, int mode);         // all three buttons

// ---- cursor and mouse ----------------------------------------------------------------------------------------------

int hidecursor(int window);
int showcursor(int window);
int defaultcursor(int window); // the arrow
int busycursor(int window);
int all_busycursor();
int all_defaultcursor();
int Warp_cursor(int x, int y); // logical
// Where the pointer is, in the window's client coordinates, and whether the window is seen there.
int Mouse_position(int window, int* x, int* y, int* inside);
// The window under the pointer, 0 if it is none of the table's, and the same of it.
int Mouse_win_position(int* window, int* x, int* y, int* inside);

// ---- save-restore areas --------------------------------------------------------------------------------------------

// A save-restore area is a pop-up that puts back what it covered, so that nothing below has to be drawn again. While
// one is up, window 0 is this pop-up: it takes drawing, in the pop-up's client coordinates, and all clicks. Areas can
// be stacked.

int Enter_SR(int screen, int flags, int* window); // takes the messages, enters the mode and gives window 0
int Exit_SR(int window);                          // -1 unless window is 0, the mode is on, and no area is up
// x1 to y2: in the main window's client area; moved left and up so that it ends inside of what is shown of it, but not
// out of it. -1 unless window is 0 and the mode is on, or without memory.
int Create_SR_area(int window, int x1, int y1, int x2, int y2);
int Delete_SR_area(int window); // the last one. -1 unless window is 0 and an area is up

bool SR_area_is_up();

// ---- for the message pump ------------------------------------------------------------------------------------------

// Answers a paint message. True when a refresh has to be queued; false when nothing is to be drawn again, or not now.
bool window_paint(const desk_message* message, refresh_data* refresh);

void window_was_moved(int window); // notes it for the next refresh
void window_was_resized(int window);
// Notes the state of a window that the user or the program minimised or restored: 1 or 0 when a displayed window has
// another state by now than was recorded, for COLLAPSE_EVENT; -1 when nothing is to be told.
int window_state_changed(int window);
// Frees the number of a window that the user closed. True when it existed.
bool window_was_destroyed(int window);
void window_set_cursor(int window); // shows the window's cursor again

// The main window's own messages: sized, maximising, scroll.
void main_window_sized(const desk_message* message);
void main_window_maximising();
void main_window_scroll(const desk_message* message);

// The screen that follows the main window: its size at the start, who is told of another one, and whether it is time.
void main_window_start_screen();
void main_window_set_screen_hook(void (*hook)());
void main_window_check_screen();

// ---- start and end -------------------------------------------------------------------------------------------------

void windows_clear();  // forgets all windows, without destroying what the platform has
bool windows_make_0(); // window 0 over the platform's main window
// Destroys all windows but the main one, and forgets that. To be called when the main window is gone, too: the platform
// has then destroyed all of them, and their numbers have to go.
void windows_destroy();
