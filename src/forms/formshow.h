// Forms on the screen: drawing one or an area of it, moving it onto the screen, and what happens when its window
// changes.
#pragma once

#include "forms/ops.h"

// Frame, background and gadgets; then window_event_routine gets FI_DRAWN_EVENT, so it calls out. Nothing without a
// window that can be drawn on.
void fi_draw_form(FI_form* form);
// The same for what lies in an area; everything that gadgets draw stays inside of it. FI_FORM_NOT_DISPLAYED.
int fi_redraw_area(FI_form* form, int x1, int y1, int x2, int y2);

void fi_tell_window_event(FI_form* form, int code); // calls out

// Moves a form so that it lies on the screen; its size stays.
void fi_keep_on_screen(FI_form* form);
// Puts the window where the form's record says, and draws the form. Calls out.
void fi_place_window(FI_form* form);
// The window has got another rectangle: the gadgets follow, unless the form isn't scalable. Calls out when it has
// another size.
void fi_follow_window(FI_form* form, fi_box box, bool resized);
void fi_scale_form(FI_form* form, int old_width, int old_height);

// The window has gone by itself: the form has none any more.
void fi_forget_window(FI_form* form);
