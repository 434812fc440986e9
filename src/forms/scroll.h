// Scroll bars: a thumb that travels along a trough, and at its end four arrow buttons, of which the outer two move by a
// page and the inner two by one unit. A bar stands in a form by itself, or is private to a field or table.
//
// What a bar does is a number: a value above FI_SCROLL_COMMANDS, or one of the commands below. Whoever drags the thumb
// or presses an arrow causes such a number; fi_scroll_set() carries it out, and then it is told: to the bar's
// continuous routine, or else to the owner of a private bar, by its bar_moved().
//
// A private bar:
//
//     fi_scroll_new(field, fi_next_private_label(form), false, &bar);
//     fi_scroll_place(bar, x2 + 2, y1, x2 + 28, y2);
//     fi_activate_gadget(bar);
//     fi_scroll_set_view(bar, visible / rows, rows - visible, top_row);     whenever one of them has changed
//
//     void bar_moved(FI_gadget* g, FI_gadget* bar, double value) {
//         switch (fi_scroll_command(value)) {
//         case FI_SCROLL_NONE: go to the row `value`; break;
//         case FI_SCROLL_UNIT_BACK: ...
//
// Shown, erased, disabled, highlighted, scaled and shifted it is as any gadget (show.h); its parts follow it.
#pragma once

#include "forms/ops.h"

constexpr double FI_SCROLL_COMMANDS = -1000; // and below; values lie above
enum : int {
    FI_SCROLL_NONE = 0,
    FI_SCROLL_TO_LOW = -1000,
    FI_SCROLL_PAGE_BACK = -1001,
    FI_SCROLL_UNIT_BACK = -1002,
    FI_SCROLL_UNIT_FORWARD = -1003,
    FI_SCROLL_PAGE_FORWARD = -1004,
    FI_SCROLL_TO_HIGH = -1005,
    FI_SCROLL_HORIZONTAL = -6, // is added by a horizontal bar: its commands are -1006 to -1011
};
// The command that a number of a bar of either direction is; FI_SCROLL_NONE for a value, and for numbers below -1000
// that are none.
int fi_scroll_command(double number);

// Makes a bar that is private to `owner`. FI_status.
int fi_scroll_new(FI_gadget* owner, int label, bool horizontal, FI_gadget** bar);
// Gives it a rectangle, and its parts their places. Nothing is drawn.
void fi_scroll_place(FI_gadget* bar, float x1, float y1, float x2, float y2);
// The share of the whole that is seen (0 to 1), and a value in the range 0 to `high`; the thumb is drawn where it is
// shown. Nobody is told.
void fi_scroll_set_view(FI_gadget* bar, double view_fraction, double high, double value);

// ---- slots of the table
void fi_scroll_draw(FI_gadget* g, int window);
void fi_scroll_erase(FI_gadget* g, int window);
void fi_scroll_activate(FI_gadget* g); // its value is then the low one
void fi_scroll_scale(FI_gadget* g, float x_factor, float y_factor);
void fi_scroll_shifted(FI_gadget* g);
int fi_scroll_press(FI_gadget* g, int window, int x, int y, int transition, bool* complete, double* value);
bool fi_scroll_key(FI_gadget* g, fi_sequence* sequence, int key);
// A value, which is limited to the range, or a command. Draws the thumb and carries the link. FI_INVALID_ARGUMENT for a
// number below -1000 that is no command.
int fi_scroll_set(FI_gadget* g, double number);
int fi_scroll_set_limit(FI_gadget* g, bool high, double value);
void fi_scroll_take_link(FI_gadget* g, const char* text);
