// What the pages of the demonstration share.
//
// A page is a window and the function that paints it. Pages paint by their window's number alone, so that they can be
// painted again, as a whole, whenever a refresh asks for a part.
#pragma once

#include <cstdint>

// Slots of the standard colours that pages are drawn in.
enum : int {
    SLOT_BLACK = 0,
    SLOT_PAPER = 1,
    SLOT_SHADOW = 2,
    SLOT_YELLOW = 4,
    SLOT_FACE = 5,
    SLOT_DARK = 6,
    SLOT_WHITE = 7,
    SLOT_RED = 8,
    SLOT_GREEN = 9,
    SLOT_BLUE = 10,
    SLOT_CREAM = 11,
    SLOT_DARK_RED = 12,
    SLOT_DARK_GREEN = 13,
    SLOT_DARK_BLUE = 14,
};

struct demo_rect {
    int x1, y1, x2, y2; // both ends belong to it
};

// ---- main.cpp

// Counts a call that didn't do what it should, and names it on standard error.
void demo_expect(bool good, const char* what);
// Displays a page and paints it.
void demo_open(int window, void (*paint)(int window));
// Paints the page of a window, limited to an area, as a refresh asks.
void demo_refresh(int window, demo_rect area);
void demo_forget(int window); // the user closed it

// ---- look.cpp: text and edges

int demo_font(const char* name, int size); // of the product's fonts; -1 when it isn't there
void demo_text(int window, int x, int y, const char* text, int slot);
void demo_text_in(int window, int font, int x, int y, const char* text, int slot);
void demo_fill(int window, demo_rect rect, int slot);
void demo_size(int window, int* width, int* height); // of its client area, which a user can change
void demo_clear(int window, int slot);               // all of it
// A rectangle that looks raised, or sunk.
void demo_edges(int window, demo_rect rect, bool sunk);

// ---- the pages

void demo_open_kinds();    // kinds.cpp: a window of every kind
void demo_open_calls();    // calls.cpp: a cell for every drawing call
void demo_open_fonts();    // fonts.cpp
void demo_open_slots();    // slots.cpp
void demo_open_pictures(); // pictures.cpp: a picture through each pipeline that the screen can show

// ---- menu.cpp: pop-ups that leave no trace

void demo_open_menu(int x, int y); // on a second call one more, over the first
bool demo_menu_is_open();
void demo_close_menus();

// ---- log.cpp: the events, in a window and on standard output

void demo_open_log();
void demo_log(const char* format, ...) __attribute__((format(printf, 1, 2)));
// Takes and shows all events of the pending mask, and does what they ask for. Adds the mask to *seen.
void demo_take_events(uint32_t pending, uint32_t* seen);

// ---- script.cpp: the user of a run without one

// Posts a user's input on the headless host, some of it now and some later; the timer that ends it.
void demo_post_script(int* last_timer);

// The window that the script moves, minimises and closes.
int demo_plain_window();

// ---- photo.cpp

struct demo_photo {
    int width, height;
    const uint8_t* red; // planes of width * height bytes, linear light
    const uint8_t* green;
    const uint8_t* blue;
};
// Works it out at the first call.
const demo_photo* demo_take_photo();
