// Tools: what button 1 in a view does. A tool stays in force over any number of clicks, until its end is called: when
// button 2 goes down, or button 1 outside of all regions.
#pragma once

#include "view/view.h"

// Window coordinates.
using view_tool = void (*)(view* v, int x, int y);

extern view_tool current_tool;

// What button 2 (flag 0) and button 1 outside of all regions (flag 1) do.
extern void (*cancel_action)(int flag);

// Label of the main form's button of the tool in force; -1 for none.
constexpr int NO_GADGET = -1;
extern int tool_gadget;

void tool_default(view* v, int x, int y);  // the view's own pick
void tool_pan(view* v, int x, int y);      // the point comes to the middle
void tool_zoom_in(view* v, int x, int y);  // the same, one step nearer
void tool_zoom_out(view* v, int x, int y); // the same, one step away
void tool_fit(view* v, int x, int y);      // the whole picture
void tool_zoom_box(view* v, int x, int y); // the second of two clicks in one window zooms to the box between them

// What the wheel does: so many steps nearer, or away when negative, and the point stays. Shown once, whatever the
// steps.
void wheel_zoom(view* v, int x, int y, int steps);

// Puts a tool in force, in place of the one there. `gadget` is the label of its button, or NO_GADGET.
void tool_set(view_tool tool, int gadget);

// Puts the default tool and the default cancel action back, and the tool's button. The flag doesn't count.
void tool_end(int flag);

// How everything starts: the default tool, and what its cancel action is. `release` puts the button of a tool that ends
// out again; null where there are no buttons.
void tools_start(void (*cancel)(int flag), void (*release)(int gadget));

// Forgets what a tool has begun, as the first corner of a box, while the tool itself stays: another image is there.
void tools_forget();
