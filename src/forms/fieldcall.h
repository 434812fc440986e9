// What the calls on fields share: from form, label and column to a field.
#pragma once

#include "forms/fields.h"

constexpr int FI_ACTIVE_COLUMN = -1;

// A plain field, whatever the column; the list of a field, by its own label; or a column of a table. FI_NO_SUCH_FORM,
// FI_NO_SUCH_GADGET, FI_INVALID_GADGET_TYPE, FI_INVALID_COLUMN.
int fi_field_of_call(FI_form* form, int label, int column, fi_field** f);
