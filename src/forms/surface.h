// Where gadgets are drawn: the window of a form, colours, clip, and areas. Coordinates are whole form pixels,
// rectangles are inclusive, and colours logical, unless a name says "slot".
#pragma once

#include <cstdint>

#include "forms/ops.h"

// The window that the form can be drawn on now; -1 when it has none, or a pop-up above it holds the save-restore
// window: then the form is noted as stale, and is drawn again when it comes to the top.
int fi_draw_window(FI_form* form);
bool fi_is_popup(const FI_form* form); // it is shown in the save-restore window

// Between these nothing is shown: an area of the form is drawn again, and every clip stays inside of it.
void fi_partial_begin(FI_form* form, int window, fi_box area);
void fi_partial_end(FI_form* form, int window);

// Limits drawing on the form to a box, or again to the whole form (or to the area that is drawn again).
void fi_clip(const FI_form* form, int window, fi_box box);
void fi_clip_back(const FI_form* form, int window);

int fi_slot(const FI_form* form, int color); // the slot of a colour on the form's screen
void fi_set_color(const FI_form* form, int window, int color);
int fi_erase_color(const FI_gadget* g); // its own, or the form's background
// On a screen of few colours keeps neighbours apart: another slot than `other`.
int fi_contrast(int screen, int slot, int other);

// The gadget's rectangle in whole pixels.
fi_box fi_rect_of(const FI_gadget* g);
fi_box fi_extent_of(const FI_gadget* g); // all that it draws on
inline fi_box fi_inset(fi_box b, int by) {
    return {b.x1 + by, b.y1 + by, b.x2 - by, b.y2 - by};
}
inline bool fi_box_empty(fi_box b) {
    return b.x1 > b.x2 || b.y1 > b.y2;
}
inline bool fi_box_has(fi_box b, int x, int y) {
    return x >= b.x1 && x <= b.x2 && y >= b.y1 && y <= b.y2;
}
bool fi_boxes_meet(fi_box a, fi_box b);

void fi_fill(int window, fi_box box); // in the current colour; nothing when it is empty
void fi_line_from(int window, int x1, int y1, int x2, int y2);
void fi_outline(int window, fi_box box); // with the window's weight and style, whose lines end at the corners
void fi_thick_outline(int window, fi_box box, int weight); // solid and weight + 1 wide, with whole corners

// Shows what has been drawn, unless an area is being drawn again.
void fi_flush(int window);
