// Multi-column fields: fields that scroll together as a table.
//
// The columns are the members of its group part, in slots 0 to num_cols - 1 without gaps. Their rows keep in step: what
// adds, removes or scrolls rows of one does so for all (fieldstore.cpp, fieldview.cpp). One bar for each direction
// serves the table; the columns have none of their own. From column first_col on as many are shown as fit. `current` is
// the column that was worked in last.
//
// Two tables can be linked: when one scrolls sideways the other follows.
#pragma once

#include "forms/fields.h"

// What a table tells besides the row of an entry, and FI_SCROLLED_ROWS.
constexpr double FI_ROW_CHOSEN = -1;       // a click in the strip at its left
constexpr double FI_SCROLLED_COLUMNS = -2; // it has scrolled sideways

// ---- mcf.cpp -------------------------------------------------------------------------------------------------------

int fi_mcf_columns(const fi_mcf* m);
fi_field* fi_mcf_column(const fi_mcf* m, int index);
fi_field* fi_mcf_current(fi_mcf* m);                        // null without columns
int fi_mcf_index(const fi_mcf* m, const FI_gadget* column); // -1: none of them
int fi_mcf_rows(const fi_mcf* m);                           // that all columns have
bool fi_mcf_is_first_shown(const fi_mcf* m, const FI_gadget* column);
bool fi_mcf_is_out(const FI_gadget* g);                    // a column that isn't among the visible ones
fi_field* fi_mcf_column_at(const fi_mcf* m, int x, int y); // shown, and there; null
void fi_mcf_sync_rows(fi_mcf* m, const fi_field* column);  // the others take over active_row and top_row

// ---- mcflayout.cpp -------------------------------------------------------------------------------------------------

void fi_mcf_place_cols(fi_mcf* m);               // side by side from first_col on; those that don't fit are hidden
void fi_mcf_refit(fi_mcf* m);                    // a column has another width. Doesn't draw
void fi_mcf_update_bars(fi_mcf* m);              // as rows and columns are now
void fi_mcf_show_from(fi_mcf* m, int first_col); // another first column: places and draws
void fi_mcf_drop_column(FI_gadget* column);      // it is about to be deleted: the others close up

// ---- mcfinput.cpp --------------------------------------------------------------------------------------------------

void fi_mcf_scroll_cols(fi_mcf* m, double value); // by what the horizontal bar reports. Calls out
int fi_mcf_column_of(double value);               // that a value of the bar, no command, asks for

// ---- slots of the table
void fi_mcf_draw(FI_gadget* g, int window);
void fi_mcf_erase(FI_gadget* g, int window);
void fi_mcf_scale(FI_gadget* g, float x_factor, float y_factor);
void fi_mcf_activate(FI_gadget* g);
void fi_mcf_shifted(FI_gadget* g);
void fi_mcf_extent(const FI_gadget* g, fi_box* box);
bool fi_mcf_hit(FI_gadget* g, int x, int y);
FI_gadget* fi_mcf_part_at(FI_gadget* g, int x, int y);
int fi_mcf_press(FI_gadget* g, int window, int x, int y, int transition, bool* complete, double* value);
fi_leave fi_mcf_input(FI_gadget* g, bool forward, int from_label);
bool fi_mcf_takes_input(const FI_gadget* g);
void fi_mcf_reset(FI_gadget* g);
int fi_mcf_put_text(FI_gadget* g, const char* text);
int fi_mcf_get_text(FI_gadget* g, char* buffer, int* length);
char* fi_mcf_link_text(FI_gadget* g);
void fi_mcf_take_link(FI_gadget* g, const char* text);
void fi_mcf_bar_moved(FI_gadget* g, FI_gadget* bar, double value);
