// Texts in files: numbers that do not depend on the locale, lines and words.
#pragma once

#include <cstddef>
#include <cstdint>

#include "raster/CORE/cfile.h"

// Whether a character separates words: blank, tab, line feed, vertical tab, form feed, carriage return.
constexpr bool is_blank(int c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}
constexpr bool is_digit(int c) {
    return c >= '0' && c <= '9';
}

// A decimal number at the start of `size` characters, behind blanks and a sign. What follows its digits is not looked
// at. False, with *value 0, when there is no digit or 63 bits do not hold it.
bool text_integer(const char* text, size_t size, int64_t* value);

// The same for a number with a point or an exponent, as "-1.5E3". False, with *value 0, when there is none.
bool text_number(const char* text, size_t size, double* value);

// A number of exactly `width` digits. False when a character is none, or 63 bits do not hold it.
bool text_digits(const char* text, size_t width, uint64_t* value);

// Degrees of an angle that is written as DDDMMSS.ss.
double degrees_of_dms(double number);

// The next word of a text that ends in a zero byte: *text moves to its first character, past leading blanks; the result
// is its length, 0 at the end.
size_t text_word(const char** text);

// Reads characters up to a CR, an LF or a zero byte, which is taken too, or until `room` - 1 have come. They end in a
// zero byte. False at the end of the file, when there was no character.
bool io_get_text_line(CFILE* c, char* text, size_t room);

// The characters of a file one by one, for loops that take many: between begin and end they are taken from the reader
// only, and the handle learns at the end which.
struct text_reader {
    CFILE* c;
    const uint8_t* next; // those at hand
    const uint8_t* end;
};
inline text_reader text_begin(CFILE* c) {
    return {c, c->ahead.next, c->ahead.end};
}
inline void text_end(const text_reader* t) {
    t->c->ahead.next = t->next;
}

// Brings more characters when none is at hand. False at the end of the file.
bool text_fill(text_reader* t);

// The next character without taking it, or -1.
inline int text_peek(text_reader* t) {
    if (t->next == t->end && !text_fill(t)) return -1;
    return *t->next;
}
