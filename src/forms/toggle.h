// Toggles: an indicator that slides from side to side. Slots of the table.
#pragma once

#include "forms/ops.h"

void fi_toggle_draw(FI_gadget* g, int window);
void fi_toggle_activate(FI_gadget* g);
void fi_toggle_scale(FI_gadget* g, float x_factor, float y_factor);
int fi_toggle_press(FI_gadget* g, int window, int x, int y, int transition, bool* complete, double* value);
