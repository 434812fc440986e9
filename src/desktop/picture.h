// The picture's view: the open image in its window, how it is refreshed, and how changes of the image show.
#pragma once

#include "view/view.h"

extern view picture_view; // its window is NO_WINDOW while there is none

// Opens the picture's window inside of the screen, left of and above the forms, shows the image if one is open, and
// makes the window clickable. False when there is no window to be had.
bool picture_open_window();

// The window and its view on a screen that has another size, or other forms; what is in the middle stays there.
void picture_lay_out();

void picture_draw(); // all of it again

// Puts all of that back.
void picture_close_window();

// From now on the open image tells when it changes, and the view shows it.
void picture_watch_image();

// Handles a refresh event, which it takes off its queue.
void view_refresh();

// Shows the number of the chosen surface, and moves the highlight to it.
void set_pen(int pen);

// The same for pick_start(): NO_PEN, when there is none left, only shows.
void choose_pen(int pen);
