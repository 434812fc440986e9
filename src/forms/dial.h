// Dials: slots of the table.
#pragma once

#include "forms/ops.h"

void fi_dial_draw(FI_gadget* g, int window);
void fi_dial_scale(FI_gadget* g, float x_factor, float y_factor);
void fi_dial_activate(FI_gadget* g);
void fi_dial_shifted(FI_gadget* g);
int fi_dial_press(FI_gadget* g, int window, int x, int y, int transition, bool* complete, double* value);
int fi_dial_set(FI_gadget* g, double value); // limited to 0 and a full turn
int fi_dial_set_limit(FI_gadget* g, bool high, double value);
