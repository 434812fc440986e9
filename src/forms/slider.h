// Sliders: slots of the table.
#pragma once

#include "forms/ops.h"

void fi_slider_draw(FI_gadget* g, int window);
void fi_slider_erase(FI_gadget* g, int window);
void fi_slider_scale(FI_gadget* g, float x_factor, float y_factor);
void fi_slider_activate(FI_gadget* g);
void fi_slider_shifted(FI_gadget* g);
void fi_slider_extent(const FI_gadget* g, fi_box* box);
int fi_slider_press(FI_gadget* g, int window, int x, int y, int transition, bool* complete, double* value);
int fi_slider_set(FI_gadget* g, double value);
int fi_slider_get(const FI_gadget* g, double* value);
int fi_slider_set_limit(FI_gadget* g, bool high, double value);
