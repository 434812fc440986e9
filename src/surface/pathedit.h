// Editing a search path: its directories as rows, and the rows as a value of its variable and of vantor.ini.
#pragma once

#include <cstddef>

struct path_rows {
    char** rows; // owned, each with "\" between its parts and at its end
    int count;
};

// Replaces the rows by the directories of a value, divided at ";" and ",". False without memory, with no rows.
bool path_rows_read(path_rows* p, const char* value);
void path_rows_free(path_rows* p);

// Whether a text can be a row: it isn't empty, and ";" or "," would make two of it.
bool path_row_is_usable(const char* text);

// Adds a row at the end, or puts a text in the place of one. False for a text that can't be one, or without memory.
bool path_rows_add(path_rows* p, const char* text);
bool path_rows_set(path_rows* p, int row, const char* text);

// Takes a row out. Returns the row to select then: the one now in its place, or the one before it; -1 for none.
int path_rows_delete(path_rows* p, int row);

// Moves a row up (-1) or down (1). Returns where it is then.
int path_rows_move(path_rows* p, int row, int direction);

// The rows joined with ";", as far as they fit; one that doesn't is left out.
void path_rows_join(const path_rows* p, char* value, size_t size);

// Keeps a value in vantor.ini and in the environment. False after a message when the file can't be written; the
// environment has it all the same.
bool search_path_store(const char* variable, const char* value);
