// What sliders and dials share: a value that is dragged, typed, stepped by keys, and travels along links as a text.
#pragma once

#include "forms/ops.h"

// How one of the two types follows the mouse.
struct fi_drag_type {
    // Around the gadget, where the pointer counts; elsewhere the value is the one from before the press.
    fi_box (*reach)(const FI_gadget* g);
    // The value of a place within reach. False: the place says nothing.
    bool (*value_at)(const FI_gadget* g, int x, int y, double* value);
    void (*show)(FI_gadget* g); // draws what has moved, where the gadget is drawn
    bool every_move;            // tells each move, not only those to another number
    bool links_whole;           // whole numbers travel along the link while the mouse moves
};
// A press on the gadget, until the button is released: the slot of the table. Calls out.
int fi_drag(const fi_drag_type& type, FI_gadget* g, int window, int x, int y, int transition, bool* complete,
            double* value);

// Another value from the application's side, which is then drawn and carried along the link; `value` is as the record
// keeps it.
void fi_put_value(FI_gadget* g, double value);

// ---- slots of the table
// Digits are gathered and applied by Tab, Return or Enter; arrows step the value that is seen, by one or, across the
// gadget, by its last decimal.
bool fi_numeric_key(FI_gadget* g, fi_sequence* sequence, int key);
char* fi_numeric_link_text(FI_gadget* g);
void fi_numeric_take_link(FI_gadget* g, const char* text);

// ---- for drawing
// Writes the text centred on x with its top at y, in the current colour.
void fi_put_centred(const FI_gadget* g, int window, const char* text, int x, int y);
int fi_number_width(const FI_gadget* g, const char* text); // pixels
