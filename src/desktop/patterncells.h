// The ten cells of the form of patterns: each shows a part of a raster file, and is clicked to choose it. What a cell
// shows is kept, so that a page that was seen before needs no file.
#pragma once

#include "forms/form.h"

// The rectangles of the cells, from the gadgets that mark them. Pixels of cells are forgotten.
void cells_lay_out(FI_form* form, int first_gadget, int first_name);

// Shows the page whose first pattern has that index; cells beyond the palette are empty.
void cells_show(int first_pattern);
void cells_hide();

// Chooses what a cell shows, as a click in it does; one without a picture can't be chosen.
void cells_pick(int cell);

// Marks the chosen pattern's name, or none (-1).
void cells_mark(int pattern);

// The palette is another one, or cells look different now: forgets what they show.
void cells_forget();
void cells_forget_pattern(int pattern); // that one has another file
