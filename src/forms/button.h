// Buttons: pushed, they stay in, or with auto_pop_up spring back. Slots of the table.
#pragma once

#include "forms/ops.h"

void fi_button_draw(FI_gadget* g, int window);
int fi_button_press(FI_gadget* g, int window, int x, int y, int transition, bool* complete, double* value);
