// Paths in clean form, the search-path variables, and finding a file along one of them.
//
// Clean form is lower case with "\" as separator, no "." or ".." where they can be removed, no doubled separators and
// no trailing "\" except for a root.
#pragma once

#include <cstddef>

// Turns a path into clean form, in place; it never gets longer, but an empty path becomes "\", so there must be room
// for two characters. A bare drive such as "c:" stays.
void path_clean(char* path);

// The same but for the case of letters, which stays: for a path that is kept, shown and opened.
void path_tidy(char* path);

// Writes `name` with `directory` in front of it, unless it is full, in tidy form. False when it doesn't fit.
bool path_join(const char* directory, const char* name, char* path, size_t size);

// Cleans the path and returns 1 if it begins with "\" or has ":" as its second character.
int path_is_absolute(char* path);

// The four search-path variables and the product root.
constexpr const char* VARIABLE_ROOT = "VANTORAMA";
constexpr const char* VARIABLE_PALETTES = "VT_PALETTE_PATH";
constexpr const char* VARIABLE_BUMPS = "VT_BUMP_PATH";
constexpr const char* VARIABLE_PATTERNS = "VT_PATTERN_PATH";
constexpr const char* VARIABLE_REFERENCES = "VT_REF_PATH";

constexpr size_t SEARCH_PATH_SIZE = 4096; // longest value of a search-path variable

// Sets VANTORAMA, when it is not set, to the product directory beside the build tree of the running program, or at the
// installed place. Called by a program before search_paths_init().
void product_root_init();

// Sets VANTORAMA and the four variables from vantor.ini, the defaults below the root and the environment.
void search_paths_init();

// Asks the user for a new search path when a file was not found: returns non-zero when the path was changed and the
// search is to start again. Installed by the forms; none is installed in a program without a window.
using search_path_question = int (*)(const char* file, const char* variable, const char* kind);
void search_path_set_question(search_path_question ask);

// Writes the path under which `file` exists, or the file as given when it can't be found. `kind` is the word for
// messages, such as "pattern". False when nothing was found.
bool find_in_search_path(const char* file, const char* variable, const char* kind, char* found, size_t size);

// The same along the pattern path.
bool find_pattern_file(const char* file, char* found, size_t size);
