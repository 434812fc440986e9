// Scans the text of a palette file, entry by entry, and makes the texts that are written. White space may stand between
// any two tokens; a NUL byte ends the text. Private to the palettes of colours and patterns.
#pragma once

#include <cstddef>

#include "platform/files.h"

constexpr size_t PALETTE_NAME_SIZE = 80; // of a name with its terminator

enum class palette_body { none, color, pattern };

struct palette_item {
    char name[PALETTE_NAME_SIZE]; // without trailing blanks
    palette_body body;
    double red, green, blue;    // of a colour, clamped to 0.0 to 1.0
    char file[FILES_PATH_SIZE]; // of a pattern
};

// Takes the next entry and moves *at behind it. False at the end of the text and at an entry with neither body, which
// ends the file.
bool palette_next(const char** at, palette_item* item);

// The whole of a palette file as an owned text of `size` bytes, or null.
char* palette_text(const char* path, size_t* size);

// True when nothing but white space stands from `at`, where the scan ended, to the end of the file's text.
bool palette_is_whole(const char* at, const char* end);

// Takes blanks (white space) off the end of a text, in place.
void strip_trailing_blanks(char* text);
