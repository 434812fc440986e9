// Filters of file lists: which names of a directory are shown.
//
// A filter is a text with a list of patterns in its first pair of parentheses, as "Pictures (*.rgb,*.tif)"; without
// parentheses it takes nothing. In a pattern "*" stands for any characters, "?" for one, "." for itself, and everything
// else is that of a basic regular expression: bracket expressions, \( \) with \1 to \9, \{m,n\}. A pattern fits the
// whole name. Names are compared in lower case and patterns as they stand, so one with capitals takes nothing.
#pragma once

#include <cstddef>
#include <cstdint>

constexpr size_t FILTER_TEXT_SIZE = 128; // of a pattern list with its terminator; the rest of a longer one is cut off
constexpr int FILTER_PATTERNS_MAX = 32;

// What is wrong with a pattern.
enum filter_error : int {
    FILTER_OK = 0,
    FILTER_NO_MEMORY = 1,
    FILTER_NUMBER_TOO_LARGE = 11, // in \{ \}: above 255
    FILTER_BAD_NUMBER = 16,       // in \{ \}
    FILTER_NO_SUCH_GROUP = 25,    // \digit
    FILTER_ENDS_IN_BACKSLASH = 36,
    FILTER_EMPTY = 41,      // nothing between \( and \)
    FILTER_UNBALANCED = 42, // \( and \)
    FILTER_TOO_MANY_GROUPS = 43,
    FILTER_TOO_MANY_NUMBERS = 44, // in \{ \}
    FILTER_NO_CLOSING_BRACE = 45,
    FILTER_NUMBERS_TURNED = 46, // the first of \{m,n\} is the greater one
    FILTER_NO_CLOSING_BRACKET = 49,
};

struct file_filter;

// Makes a filter of a text, a filter_error otherwise, with null in `filter`.
int file_filter_new(const char* text, file_filter** filter);
void file_filter_free(file_filter* filter); // null does nothing

// Whether the name, in lower case, fits one of the patterns. Null takes everything.
bool file_filter_takes(const file_filter* filter, const char* name);

// Whether the last component of a text asks for names instead of being one: it holds "*" or "?".
bool is_wild(const char* text);
