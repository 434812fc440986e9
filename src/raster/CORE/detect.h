// How the format of an existing file is found.
#pragma once

#include <cstdint>

struct CFILE;

// Finds the format of the handle's file from its bytes and from its name (null: the standard input), and lets the
// format's module open it. The handle, or null with it closed and freed and the library-wide status set.
CFILE* detect_and_open(CFILE* c, const char* name);

// The standard that the detection finds, or one of the words below. Opens nothing; moves the file's position.
int32_t detected_standard(CFILE* c, const char* name);

constexpr int32_t DETECTED_NOTHING = -1;
constexpr int32_t DETECTED_CATALOG = -2;   // several files in one
constexpr int32_t DETECTED_COMPANION = -3; // opened through another file of its set only
