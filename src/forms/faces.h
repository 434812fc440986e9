// What buttons, toggles and checklists share: their face is a text or symbols.
#pragma once

#include "forms/ops.h"

// Loads the font and measures the text, or loads the two symbols; char_width and char_height are then the face's.
void fi_activate_face(FI_gadget* g);
// The same for a form that changed by these factors.
void fi_scale_face(FI_gadget* g, float x_factor, float y_factor);

inline bool fi_is_text_face(const FI_gadget* g) {
    return fi_has(g, FI_TEXT_GADGET);
}
inline bool fi_is_on(const FI_gadget* g) {
    return g->value != 0;
}
inline bool fi_is_disabled(const FI_gadget* g) {
    return fi_has(g, FI_NOT_ENABLED);
}
// It gets a hatch.
inline bool fi_is_hatched(const FI_gadget* g) {
    return fi_is_disabled(g) && !fi_has(g, FI_NO_DITHERING);
}
// The outline's colour, and that of text in a color that isn't changed by highlighting.
inline int fi_outline_color(const FI_gadget* g) {
    return fi_has(g, FI_HILITED) ? FI_WHITE : FI_BLACK;
}
inline int fi_ink(const FI_gadget* g, int color) {
    return fi_has(g, FI_HILITED) ? FI_WHITE : color;
}

// What a link does to all three: on for a number above 0, else off.
void fi_state_take_link(FI_gadget* g, const char* text);
// A key in the keyboard sequence: a blank is a press.
bool fi_state_key(FI_gadget* g, fi_sequence* sequence, int key);
// How a press on one of a single-select group begins: one that is on goes off first, so that the press leaves it on.
// Whether it is in such a group.
bool fi_begin_select_press(FI_gadget* g);
