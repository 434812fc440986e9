// Sequence files: a text whose first words are SEQUENCE VERSION 1, and then one specification a line. Lines that begin
// with "#" say nothing. Private to the specifications.
#pragma once

#include "output/spec.h"

struct sequence_text {
    char* text;       // owned
    const char* next; // the line to read
    const char* end;
};

enum class sequence_line { specification, end, bad };

// Opens the file and goes behind its first line. False when it can't be read.
bool sequence_open(sequence_text* sequence, const char* path);

// Takes the next line that says something, without the blanks at its end. Bad: one that is longer than 511 characters,
// after a message, or that has a blank or a zero byte inside. An empty line is a specification without a name.
sequence_line sequence_next(sequence_text* sequence, char line[SPEC_SIZE]);
void sequence_close(sequence_text* sequence);
