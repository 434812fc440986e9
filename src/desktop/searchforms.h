// The question whether a search path is to be changed, and its editor.
#pragma once

// Asks when a file can't be found; with a yes the editor follows. Non-zero when the path has been changed, so that it
// may be searched again. For search_path_set_question().
int search_path_ask(const char* file, const char* variable, const char* kind);

// Runs the editor. 1 if the path was changed, 0 if it was cancelled, -1 if the form couldn't be made.
int search_path_edit(const char* variable, const char* kind);

// A page of patterns asks once: between these two calls a no holds for all files.
void search_path_ask_once_begin();
void search_path_ask_once_end();
