// Finding a place on the screen for a form, beside those that are there.
#pragma once

#include "forms/forms.h"

struct place_box {
    int x1, y1, x2, y2; // the last column and row belong to it
};

enum : int {
    PLACE_TOP = 1,
    PLACE_BOTTOM = 2,
    PLACE_LEFT = 4,
    PLACE_RIGHT = 8,
    PLACE_MIDDLE = 16,   // in the middle of the region, whatever edges are asked for
    PLACE_CENTERED = 32, // in the middle of the screen, and from there the least way into the region
    PLACE_SMALLEST = 64, // the smallest region that is free; else the first one found
};

// Where something of that size stands on the screen, clear of the boxes, by a mode of the bits above. Where nothing is
// free the whole screen counts as the region. The top left corner.
void place_find(const place_box* screen, const place_box* taken, int count, int width, int height, int mode, int* x,
                int* y);

// Places a form beside the forms that are displayed.
void place_form(FI_form* form, int mode);
