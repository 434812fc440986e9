// Rows of fields: their storage, and making them from the default rows. What a row means, its wrapping and drawing are
// the field's own affair.
//
// A row's block is a multiple of 64 bytes; where max_chars sets a limit, it is no larger than such a row can get. So
// the memory of a field grows with its text.
#pragma once

#include "forms/ops.h"

constexpr int FI_MAX_ROWS = 32767;

// Makes sure that the row's block holds a text of `length` bytes and its end; what stands there stays. FI_status.
int fi_row_block(fi_field* f, int row, int length);
// Stores `length` bytes of a text.
int fi_row_store(fi_field* f, int row, const char* text, int length);
// Cuts a row's text to that many of its bytes.
void fi_row_cut(fi_field* f, int row, int length);
// Adds empty rows or frees those at the end. The caller sees to cursor, view and bar. FI_status.
int fi_rows_resize(fi_field* f, int count);
void fi_rows_free(fi_field* f); // no rows, and no memory for them
inline const char* fi_row_text(const fi_field* f, int row) {
    return row >= 0 && row < f->num_rows && f->rows[row].text != nullptr ? f->rows[row].text : "";
}

// Makes sure of that many default rows; new ones are empty. FI_status.
int fi_default_rows_resize(fi_field* f, int count);
void fi_default_rows_free(fi_field* f);
// Frees the rows and makes them anew from the default rows, with selection, view and cursor. FI_status.
int fi_rows_from_defaults(fi_field* f);
