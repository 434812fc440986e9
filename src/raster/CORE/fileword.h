// The opaque word `file` of a handle: what the file sets share, and the end of a file and of the record around it.
#pragma once

#include "platform/files.h"

struct CFILE;

// A handle as the word `file`. The word 0 means no file, while the first handle number is 0: the word is one higher.
inline void* word_of_handle(os_file handle) {
    return reinterpret_cast<void*>(handle + 1);
}
inline os_file handle_of_word(void* file) {
    return reinterpret_cast<os_file>(file) - 1;
}

// The open flags of a mode string: "r" reads an existing file; "w" creates or truncates; "r+" reads and writes and
// makes a missing file; "w+" truncates and reads and writes.
unsigned open_flags_of(const char* mode);

// Whether `file` is a plain handle at present.
bool uses_handle_slots(const CFILE* c);

// The last step: makes the handle invalid, and frees its lock and the record.
void free_cfile(CFILE* c);
