// The form "Color/Pattern" along the bottom of the screen: the colour bars with three numbers, or a page of ten pattern
// cells with the placement of patterns.
#pragma once

#include "forms/forms.h"

int pattern_form_create(int own_window, int* window, int screen_w, int screen_h); // 1, or 0 after a message
void pattern_form_close();
void pattern_form_end();   // forgets what it shows too, for the end of the program
FI_form* pattern_form();   // null when it isn't up
void pattern_form_paint(); // bars or cells again

// Shows a colour as the present one, with its name for the palette; "" leaves that empty, null as it is.
void color_form_set(double red, double green, double blue, const char* name);

// Marks the chosen pattern, or shows the chosen colour.
void pattern_form_show_chosen();

// The palette is another one: the first page.
void pattern_page_reload();

// Pixels of cells that are kept for the next time are forgotten: they are of another depth, gamma or palette.
void pattern_blocks_drop();

// Cancels the picker that a name's field has opened, if it is up.
void pattern_picker_cancel();

// Adds a raster file to the palette as a pattern, and chooses it.
void pattern_add_command(const char* path);
