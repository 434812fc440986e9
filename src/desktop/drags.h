// Drags in the picture: a box that is drawn with the button held is zoomed to, and the picture follows the pointer.
#pragma once

#include "view/view.h"

// Follows the button that went down at x, y of the view's window. drag_box() gives true when a box came of it, which is
// zoomed to; a button that comes up where it went down is a click, which is the caller's.
bool drag_box(view* v, int x, int y);
bool drag_picture(view* v, int x, int y, int button);
