// Multi-column fields: fields that scroll together as a table.
//
// The columns are the members of its group part, in slots 0 to num_cols - 1 without gaps. Their rows keep in step: what
// adds, removes or scrolls rows of one does so for all (fieldstore.cpp, fieldview.cpp). One bar for each direction
// serves the table; the columns have none of their own. `current` is the column that was worked in last.
#pragma once

#include "forms/ops.h"

// Columns that there are; num_cols of them are in use.
int fi_mcf_columns(const fi_mcf* m);
fi_field* fi_mcf_column(const fi_mcf* m, int index);
fi_field* fi_mcf_current(fi_mcf* m);                        // null without columns
int fi_mcf_index(const fi_mcf* m, const FI_gadget* column); // -1: none of them
void fi_mcf_refit(fi_mcf* m);     // a column has another width: the others follow. Doesn't draw
int fi_mcf_rows(const fi_mcf* m); // that all columns have
bool fi_mcf_is_first_shown(const fi_mcf* m, const FI_gadget* column);
fi_field* fi_mcf_column_at(const fi_mcf* m, int x, int y); // shown, and there; null
void fi_mcf_sync_rows(fi_mcf* m, const fi_field* column);  // the others take over active_row and top_row
