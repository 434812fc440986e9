// The colours of the palette in the main form: their names in a list, and a box of each one's colour beside it.
#pragma once

#include "forms/form.h"
#include "surface/colorbars.h"

// Puts the boxes beside the list's visible rows, for the form as it is now.
void palette_list_lay_out(FI_form* form, int list);
void palette_list_forget(); // the form goes

// Fills the list from the palette, and paints the boxes. palette_refresh() when they aren't shown.
void palette_refresh();
void palette_list_paint();

// Brings the boxes in line with the list, when that has been scrolled. Once in each round of the main loop.
void palette_sync_boxes();
bool palette_list_is_shown();

// The entry at `index` has changed, or is new.
void palette_list_changed(int index);

// Fills a rectangle of a window with a ramp from left to right, in whole columns, both ends belonging to it.
void color_ramp(int window, int x1, int y1, bar_rgb first, int x2, int y2, bar_rgb last, bool is_saturated = false);
