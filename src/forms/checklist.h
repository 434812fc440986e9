// Checklists: a box with a mark, and a text or symbol beside it. Slots of the table.
#pragma once

#include "forms/ops.h"

void fi_checklist_draw(FI_gadget* g, int window);
void fi_checklist_erase(FI_gadget* g, int window);
void fi_checklist_activate(FI_gadget* g);
void fi_checklist_scale(FI_gadget* g, float x_factor, float y_factor);
void fi_checklist_extent(const FI_gadget* g, fi_box* box);
bool fi_checklist_hit(FI_gadget* g, int x, int y);
int fi_checklist_press(FI_gadget* g, int window, int x, int y, int transition, bool* complete, double* value);
