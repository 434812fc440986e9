// Texts between the system and the program. The system's (paths, arguments, what is typed) are UTF-8; what the program
// draws, in titles, boxes and forms, is Latin-1. Paths stay as the system has them and are converted where they are
// shown.
//
// A byte that begins no character of UTF-8 counts as a character of Latin-1, in both directions: so a text that is
// Latin-1 already, as a name from another system, comes through.
#pragma once

#include <cstddef>
#include <cstdint>

// Takes the next character of a text, whose zero byte is `end` or lies behind it, and moves *at behind it. *at is below
// `end`.
uint32_t text_next(const char** at, const char* end);

// Writes the text in Latin-1, cut to `size` with its terminator. What Latin-1 doesn't have becomes "?".
void text_to_latin1(const char* text, char* out, size_t size);

// Writes the text in UTF-8. False when it doesn't fit `size`.
bool text_to_utf8(const char* text, char* out, size_t size);

// Whether two names are the same but for the case of their letters (those of Latin-1), each in UTF-8 or Latin-1.
bool text_same_name(const char* a, size_t a_length, const char* b, size_t b_length);
