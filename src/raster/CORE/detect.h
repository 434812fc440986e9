// How the format of an existing file is found.
#pragma once

struct CFILE;

// Finds the format of the handle's file from its bytes and from its name (null: the standard input), and lets the
// format's module open it. The handle, or null with it closed and freed and the library-wide status set.
CFILE* detect_and_open(CFILE* c, const char* name);
