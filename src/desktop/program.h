// Program-wide state of the desktop program, one instance each.
#pragma once

#include <cstdint>

#include "catalog/recent.h"
#include "surface/palettebook.h"
#include "tools/events.h"

constexpr int32_t TRUE_COLOR_PLANES = 24;

extern bool quit_requested; // set by the exit command: ends the main loop
extern bool forms_up;       // the forms and the picture's window exist; nothing is drawn while it is false
extern int own_window;      // always 1: the forms and the picture have windows of their own

// Colour depth to draw with: the screen's planes, at most 8, or TRUE_COLOR_PLANES on a screen of 15 and more.
extern int32_t display_planes;
extern uint32_t display_mask; // that many low bits

// The events that the program enables and waits for.
constexpr uint32_t PROGRAM_EVENTS = KEYBOARD_EVENT | BUTTON_EVENT | REFRESH_EVENT | COLLAPSE_EVENT | TIMER_EVENT |
                                    WINDOW_ICON_EVENT | USER_EVENT | WHEEL_EVENT;

constexpr int KEYBOARD_BUFFER_SIZE = 256;
extern char keyboard_buffer[KEYBOARD_BUFFER_SIZE]; // the tools put key codes there

extern palette_book program_palette;
extern int changes_made;        // counts changes of the image and of the palette
extern recent_state remembered; // from one run to the next

// The forms stand around the picture. False while the picture has the whole screen for itself.
extern bool forms_wanted;
