// Program-wide state of the desktop program, one instance each.
#pragma once

#include <cstdint>

#include "surface/palette.h"

extern bool quit_requested;    // set by the exit command: ends the main loop
extern bool forms_up;          // the forms and the picture's window exist; nothing is drawn while it is false
extern int own_window;         // always 1: the forms and the picture have windows of their own
extern int32_t display_planes; // colour depth to draw with: the screen's planes, at most 8, or 24 from 15 planes on
extern uint32_t display_mask;  // that many low bits

// The events that the program enables and waits for.
constexpr uint32_t PROGRAM_EVENTS = 0x7407;

constexpr int KEYBOARD_BUFFER_SIZE = 256;
extern char keyboard_buffer[KEYBOARD_BUFFER_SIZE]; // the tools put key codes there

// The palette, as long as no form keeps it.
extern color_palette program_colors;
extern pattern_palette program_patterns;

// Sets the main window's title: the program's name, the open image's file, and the chosen surface.
void show_title();
