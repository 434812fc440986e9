// Static texts: slots of the table.
#pragma once

#include "forms/ops.h"

void fi_text_draw(FI_gadget* g, int window);
void fi_text_erase(FI_gadget* g, int window);
void fi_text_activate(FI_gadget* g);
void fi_text_scale(FI_gadget* g, float x_factor, float y_factor);
void fi_text_extent_box(const FI_gadget* g, fi_box* box);
bool fi_text_hit(FI_gadget* g, int x, int y);
char* fi_text_link_text(FI_gadget* g);
void fi_text_take_link(FI_gadget* g, const char* text);
