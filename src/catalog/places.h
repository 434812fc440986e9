// Directories that a picker shows: entering a text as a path, the rows of the tree, and the history of directories.
//
// A directory is kept full, tidy (surface/paths.h), in its true spelling, and with a "\" at its end.
#pragma once

#include <cstddef>

#include "catalog/listing.h"
#include "platform/files.h"

// What a text that was entered as a path means.
struct entered_path {
    char directory[FILES_PATH_SIZE]; // the deepest one that exists
    char file[FILES_PATH_SIZE];      // what is left behind it; empty for nothing
    bool misses_directory;           // something of `file` would have to be a directory and isn't: the part below is it
    char missing[FILES_PATH_SIZE];   // with its directory, and no "\" at its end
};

// Reads a text against the directory that is shown. False when it is too long.
bool path_enter(const char* text, const char* shown, entered_path* entered);

// Brings a directory to the kept form. False when it is too long.
bool directory_tidy(const char* path, char directory[FILES_PATH_SIZE]);

// ---- the tree ------------------------------------------------------------------------------------------------------

// Rows: the root, each component below it, indented one blank a level, and the directories in the last one.
int tree_row_count(const char* directory, const listing* below);

// Writes the text of a row. Returns false beyond the last.
bool tree_row_text(const char* directory, const listing* below, int row, char* text, size_t size);

// Writes the directory that a row stands for, in the kept form. False when there is none, or it is too long.
bool tree_row_directory(const char* directory, const listing* below, int row, char path[FILES_PATH_SIZE]);

// ---- the history ---------------------------------------------------------------------------------------------------

constexpr int HISTORY_DIRECTORIES = 14;

struct directory_history {
    char* entries[HISTORY_DIRECTORIES]; // owned; the latest first
    int count;
};

// Puts a text in front of a list of owned texts, the latest first; one that is there moves, and the last goes when the
// list is full. Without memory nothing changes.
void put_in_front(char** entries, int* count, int limit, const char* text);

// The same for a directory.
void directory_history_enter(directory_history* h, const char* directory);

// Adds the words of a text file behind what is there, as far as there is room: directories without blanks, of at most
// 255 characters. A file that isn't there adds none.
void directory_history_read(directory_history* h, const char* path);
void directory_history_free(directory_history* h);
