// What the sources of the output pipeline share: the message of a failure with its place, and the entry test of a pack.
#pragma once

#include "output/impack.h"

// Stores the code in imp_error and gives it back.
int imp_fail(int code);

// The same, and logs the message at level 2 when imp_verbose is set. `format` is followed by what it asks for.
int imp_fail_saying(int code, const char* format, ...) __attribute__((format(printf, 2, 3)));

// IMP_OK, or the code for a null pack or one whose magic word is wrong, after its message. `file` is the source's word.
int imp_check_pack(const Impack* pack, int line, const char* file);

// The part of a path behind its last "\" or "/"; the whole path when it has none.
const char* imp_file_name(const char* path);
