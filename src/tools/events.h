// Events: queues of what the user and the system did, read by bit masks; timers in ticks; clicks and double clicks.
//
// One bit of a mask names each queue. Only enabled events are queued. Nothing arrives by itself: Inq_events(), the wait
// operations, Disable_events() and Sleep_ticks() take the platform's messages and turn them into events.
//
// Results are 0, or -1 with the reason in event_error. Out-arguments may be null; they stay as they are at -1. Windows
// are numbers of windows.h; x and y are pixels in the window's client area. For one thread.
#pragma once

#include <cstdint>

// ---- queues and masks ---------------------------------------------------------------------------------------------

constexpr uint32_t KEYBOARD_EVENT = 0x00001;
constexpr uint32_t BUTTON_EVENT = 0x00002;
constexpr uint32_t REFRESH_EVENT = 0x00004;
constexpr uint32_t DELETE_EVENT = 0x00008; // the user has closed a window; its number is free
constexpr uint32_t EVENT_10 = 0x00010;     // never raised, as all that are named by their bit
constexpr uint32_t EVENT_20 = 0x00020;
constexpr uint32_t EVENT_40 = 0x00040;
constexpr uint32_t EVENT_80 = 0x00080;
constexpr uint32_t MESSAGE_EVENT = 0x00200;
constexpr uint32_t COLLAPSE_EVENT = 0x00400;
constexpr uint32_t EVENT_800 = 0x00800;
constexpr uint32_t TIMER_EVENT = 0x01000;
constexpr uint32_t WINDOW_ICON_EVENT = 0x02000; // never raised
constexpr uint32_t USER_EVENT = 0x04000;
constexpr uint32_t EVENT_8000 = 0x08000;
constexpr uint32_t MOTION_EVENT = 0x10000;
constexpr uint32_t WHEEL_EVENT = 0x20000;
constexpr int EVENT_QUEUES = 18; // queue n has bit 1 << n; there is none of bit 0x100

extern uint32_t enabled_events;
extern uint32_t pending_events; // a bit for each queue that isn't empty

// Why the last operation gave -1.
extern int event_error;
constexpr int EVENT_ERROR_EMPTY = 2;     // the queue has no event
constexpr int EVENT_ERROR_MEMORY = 12;   // the event is lost
constexpr int EVENT_ERROR_DISABLED = 13; // it isn't enabled, or a release that no press came before

int Enable_events(uint32_t mask);  // adds to the enabled ones
int Disable_events(uint32_t mask); // takes the messages, then takes the bits out and empties their queues
int Inq_enabled_events(uint32_t* mask);
int Inq_events(uint32_t* mask); // takes the messages, then gives pending_events

// Blocks until a bit of `mask` is pending. The first gives all pending bits, the second the lowest one that is in
// `mask`; no event is taken. -1 only when the tools have ended.
int Wait_for_events(uint32_t mask, uint32_t* events);
int Wait_for_next(uint32_t mask, uint32_t* event);

// What a long operation asks from time to time whether to stop: the messages are taken, and the result is
// pending_events.
uint32_t tools_pending_events();

// ---- event data: Inq looks at the oldest event of a queue, Get takes it -------------------------------------------

// Key codes go into the application's buffer of `size` bytes, which it keeps; as many as fit, and `count` is that many.
int Set_keyboard_buffer(void* buffer, int size);   // a negative size sets 0 and gives -1
int Inq_keyboard_buffer(void** buffer, int* size); // -1 while none is set
int Inq_keyboard_data(int* count);
int Get_keyboard_data(int* count);

// How a button went; the value of `transition`.
enum : int {
    TRANS_UP = 0,           // released
    TRANS_DOWN = 1,         // pressed and held
    TRANS_CLICK = 2,        // single click
    TRANS_DOUBLE_DOWN = 3,  // second press of a double click, held
    TRANS_DOUBLE_CLICK = 4, // double click
    TRANS_TRIPLE_DOWN = 5,  // third press
    TRANS_UP_DOWN_UP = 6,   // release, press, release
    TRANS_UP_DOWN = 7,      // release, press
};

// Buttons: 0 is the left one with Ctrl, 1 the left without Ctrl or the middle one, 2 the right one. `time` in
// milliseconds.
int Inq_button_data(int* window, int* x, int* y, int* button, int* transition, uint32_t* time);
int Get_button_data(int* window, int* x, int* y, int* button, int* transition, uint32_t* time);

// The window's rectangle (x1 to y2, the main window's logical space), the area of it to draw again (client
// coordinates), both with their last column and row, and what happened: 1 always, 16 moved, 32 resized.
struct refresh_data {
    int window, virtual_screen;
    int x1, y1, x2, y2;
    int area_x1, area_y1, area_x2, area_y2;
    int op_mask;
};
int Inq_refresh_data(int* window, int* screen, int* x1, int* y1, int* x2, int* y2, int* area_x1, int* area_y1,
                     int* area_x2, int* area_y2, int* op_mask);
int Get_refresh_data(int* window, int* screen, int* x1, int* y1, int* x2, int* y2, int* area_x1, int* area_y1,
                     int* area_x2, int* area_y2, int* op_mask);

int Inq_collapse_data(int* window, int* state); // state: 1 collapsed, 0 not any more
int Get_collapse_data(int* window, int* state);
int Inq_delete_data(int* window);
int Get_delete_data(int* window);
int Inq_user_data(uint32_t* value);
int Get_user_data(uint32_t* value);
int Get_timer_data(int* number);
int Get_motion_data(int* window, int* x, int* y, int* inside, int* kind); // kind: 1 enter, 2 leave, 4 motion
int Get_message_data(int* kind, uint32_t* word1, uint32_t* word2);        // kind: 0 to 3
// Steps of the wheel over a window at x, y: `steps` positive away from the user, `across` to the right. `modifiers`:
// HOST_SHIFT, HOST_CTRL, HOST_ALT. Steps that come while others of the same window wait are added to those, and the
// place is that of the last.
int Inq_wheel_data(int* window, int* x, int* y, int* steps, int* across, int* modifiers);
int Get_wheel_data(int* window, int* x, int* y, int* steps, int* across, int* modifiers);

// Takes the oldest event off the queue of that bit (of the lowest, when there are more) and drops it.
int Drop_event(uint32_t event);

// For loops that follow one button or count one timer while other events wait. Both find their event wherever it stands
// in its queue, and leave the others there.
//
// Takes the oldest event of that timer. -1 when there is none.
int Get_timer_data_of(int number);
// The oldest event of that button: a release is taken, anything else stays. Where it was released: `window`, and x, y
// in it; each may be null.
enum class button_next { none, released, pressed };
button_next Get_button_release(int button, int* window = nullptr, int* x = nullptr, int* y = nullptr);

int Post_user_data(uint32_t value);

// Empty one queue. They never fail.
int Clear_keyboard_data();
int Clear_button_data();
int Clear_refresh_data();
int Clear_delete_data();
int Clear_event_10_data();
int Clear_event_20_data();
int Clear_event_40_data();
int Clear_event_80_data();
int Clear_message_data();
int Clear_collapse_data();
int Clear_event_800_data();
int Clear_timer_data();
int Clear_window_icon_data();
int Clear_user_data();
int Clear_event_8000_data();
int Clear_motion_data();
int Clear_wheel_data();

// ---- timers -------------------------------------------------------------------------------------------------------

// A tick is a sixtieth of a second.
constexpr int TIMER_SLOTS = 32;

// Has TIMER_EVENT with the timer's number come after that many ticks, once or again and again. -1 when there is no main
// window or all timers are taken.
int Start_timer(int ticks, int repeat, int* number);
int Stop_timer(int number); // -1 when it isn't running

// Blocks for that time while events keep arriving on their queues. -1 only when the tools have ended.
int Sleep_ticks(int ticks);

// ---- for the other files of the tools -----------------------------------------------------------------------------

// Codes of desk_post(): DESK_POST_USER becomes a USER_EVENT of value 0; the next four become MESSAGE_EVENTs of kind 0
// to 3 with the two values.
constexpr int DESK_POST_USER = 0;
constexpr int DESK_POST_MESSAGE = 1;

// Takes all messages of the platform, one after another, and turns them into events. For loops of their own, as when a
// gadget tracks the mouse. False when the tools have ended (or weren't entered): no event will ever come again.
bool tools_pump();

// Blocks until there may be a message, or until a click that is under recognition is due; then tools_pump().
bool tools_wait();

// Put an event on its queue. 0, or -1 with event_error.
int put_refresh_event(const refresh_data* refresh); // merged into one of that window and screen that still waits
int put_collapse_event(int window, int state);
int put_delete_event(int window);

// Forgets all that concerns events: queues, masks, clicks, timers, motion. From now on the program listens: what was
// pressed up to `start` (milliseconds) isn't meant for it.
void events_reset(uint32_t start);
