// How the calls of this directory open a file and remember why a write failed. Private to the files of this directory.
#pragma once

// Opens a real path, `mode` being the words of the system (O_RDONLY, O_CREAT and so on). What gives no bytes in a
// place of their own is refused, so that nothing is waited for: directories, and for reading FIFOs and sockets that
// have a name. New content that is under way (files_replace_begin()) is opened as the file that was made for it,
// whatever stands under its name by now. -1 on failure, with the reason in errno.
int open_real(const char* real, int mode);

// A handle of the new content whose name this is, emptied and at its start, for writing; -1 when the name is none.
int replace_handle_of(const char* real);

// Remembers an errno value for files_write_failure(), if it is the first one.
void note_write_failure(int number);
void forget_write_failure();
