// Showing gadgets of any type: each goes on into groups and into the private parts that follow their owner.
#pragma once

#include "forms/ops.h"

// Draws it, unless it has FI_NOT_DISPLAYED. `window` -1: only the record says that it is shown.
void fi_display_gadget(FI_gadget* g, int window);
void fi_redraw_gadget(FI_gadget* g); // draws it again where it is drawn now
void fi_erase_gadget(FI_gadget* g);
// Takes it off the window where it is drawn; by its record it is shown still.
void fi_erase_drawn(FI_gadget* g);
// The window where it is drawn now; -1 when it is drawn nowhere.
int fi_shown_window(const FI_gadget* g);
// Takes FI_NOT_DISPLAYED away, also from its parts; what opens by itself (pop-up lists, scrolled columns) stays closed.
void fi_allow_display(FI_gadget* g);

void fi_hilite_gadget(FI_gadget* g);
void fi_unhilite_gadget(FI_gadget* g);
void fi_disable_gadget(FI_gadget* g);
void fi_enable_gadget(FI_gadget* g);
void fi_reset_gadget(FI_gadget* g); // may call out

void fi_activate_gadget(FI_gadget* g);                              // and the members of a group
void fi_scale_gadget(FI_gadget* g, float x_factor, float y_factor); // likewise, but for groups that don't pass on
void fi_shift_gadget(FI_gadget* g, float dx, float dy);             // likewise
