// The file picker: a tree of directories, a list of files with filters, and the directories that were visited. It runs
// beside the other forms, and tells when it has ended, or by itself until it has.
#pragma once

#include "forms/forms.h"

enum : int {
    PICK_MULTIPLE = 1,       // more than one file may be chosen
    PICK_CHANGE_DIR = 2,     // kept for callers; the process's directory doesn't change
    PICK_SAVE_RESTORE = 4,   // opens over the others, and puts back what it covered
    PICK_NAMES_ONLY = 8,     // files come without their directory
    PICK_DIRECTORY_MODE = 16 // a directory is chosen; the files are for show only
};

// What was chosen: owned texts, ending in null, which belong to the receiver (picked_files_free()); null for nothing.
// After Cancel directory and filter are null too. Paths are in the kept form, in their true spelling.
using picker_done = void (*)(void* user, char** files, const char* directory, const char* filter);

// Shows a picker. `filters` are texts with their patterns in parentheses; the first is in force. The number that
// identifies the picker, or 0 after a message.
int file_picker_open(const char* title, const char* directory, int flags, const char* const* filters, int filter_count,
                     picker_done on_done, void* user);

// Shows one and waits. What was chosen, as above; `out_directory` and `out_filter` (FILES_PATH_SIZE, may be null) are
// empty after Cancel.
char** file_picker_run(const char* title, const char* directory, int flags, const char* const* filters,
                       int filter_count, char* out_directory, char* out_filter);

// Ends a picker as if OK (ok non-zero) or Cancel had been pressed. Nothing happens when there is none of that number.
void file_picker_close(int id, int ok);
void file_pickers_cancel(); // all of them
void file_pickers_end();    // the same; the next one is the first of another run
bool file_picker_is_open(int id);
bool file_picker_is_up(); // any of them

// Keys of a picker beside the forms (null: the newest): Return is OK, Escape and Control-C are Cancel, and Tab leads
// into it. False when there is none, or for another key.
bool file_picker_take_key(const FI_form* form, int key);
void picked_files_free(char** files);
