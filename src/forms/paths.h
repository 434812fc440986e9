// The search paths of the toolkit: lists of directories, and finding a file along them.
#pragma once

#include "forms/state.h"

// Replaces a list; see FI_set_form_path() for its form. FI_status; the old list stays at a failure.
int fi_set_path_list(fi_path_list* list, const char* text);
void fi_free_path_list(fi_path_list* list);

// Writes "directory\name" or, with a null directory, the name. False when it doesn't fit FILES_PATH_SIZE.
bool fi_join_path(char* path, const char* directory, const char* name);

// Whether a name is a path by itself, and is not looked for.
bool fi_is_path(const char* name);
