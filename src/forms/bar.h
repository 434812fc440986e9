// Bars, which show a value by a row of segments: slots of the table.
#pragma once

#include "forms/ops.h"

void fi_bar_draw(FI_gadget* g, int window);
void fi_bar_erase(FI_gadget* g, int window);
void fi_bar_extent(const FI_gadget* g, fi_box* box);
int fi_bar_set(FI_gadget* g, double value); // limited to 0 and the full bar
int fi_bar_set_limit(FI_gadget* g, bool high, double value);
void fi_bar_take_link(FI_gadget* g, const char* text);
