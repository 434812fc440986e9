// A press on a form: which gadget it hits, its reaction, and what the application is told.
#pragma once

#include "forms/ops.h"

// The first gadget in slot order that a press there hits; null when there is none. Only what is shown and enabled.
FI_gadget* fi_find_gadget_at(FI_group* group, int x, int y);
// The same with the private gadgets that are hit, and an open list first.
FI_gadget* fi_gadget_at(FI_form* form, int x, int y);
bool fi_hits_rect(const FI_gadget* g, int x, int y); // inclusive on all sides
bool fi_hits_never(FI_gadget* g, int x, int y);      // for the table: false

FI_form* fi_form_of(int window); // that an event of a window is for; null when there is none

// A press of button 1 on the form, from finding the gadget to the notification. FI_INVALID_ARGUMENT for another button;
// a release does nothing. Calls out.
int fi_form_button(FI_form* form, int x, int y, int button, int transition, uint32_t time);

// The gadget's part of that: initial notification, press, notification. Calls out.
int fi_press_gadget(FI_gadget* g, int window, int x, int y, int transition);
// The same as if it had been clicked, by a key.
void fi_press_by_key(FI_gadget* g);

// Notifies, when the form has a routine, the gadget doesn't refuse it and its label is positive. Calls out.
void fi_notify(FI_gadget* g, double value);
void fi_notify_initially(FI_gadget* g); // the initial notification, when the gadget wants it
void fi_run_hooks(FI_gadget* g);        // the command hooks, in the order help, key, string
