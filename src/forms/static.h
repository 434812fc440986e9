// Symbols, lines, rectangles and bevels: slots of the table.
#pragma once

#include "forms/ops.h"

void fi_symbol_draw(FI_gadget* g, int window);
void fi_symbol_activate(FI_gadget* g);
void fi_symbol_scale(FI_gadget* g, float x_factor, float y_factor);

void fi_line_draw(FI_gadget* g, int window);
void fi_line_erase(FI_gadget* g, int window);
void fi_line_extent(const FI_gadget* g, fi_box* box);

void fi_rect_draw(FI_gadget* g, int window);
void fi_rect_erase(FI_gadget* g, int window);
void fi_rect_extent(const FI_gadget* g, fi_box* box);
bool fi_rect_hit(FI_gadget* g, int x, int y);

void fi_bevel_draw(FI_gadget* g, int window);
