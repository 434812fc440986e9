// Texts in files: see text.h.
#include "raster/CORE/text.h"

#include <charconv>
#include <cmath>

#include "support/checked.h"

namespace {

// Behind blanks and a plus, which the conversions do not take.
const char* number_start(const char* text, const char* end) {
    while (text != end && is_blank(*text))
        ++text;
    bool plus = text != end && *text == '+' && text + 1 != end && text[1] != '-';
    return plus ? text + 1 : text;
}

// The digits at the start of a text, of which there must be one. False when 63 bits do not hold the number.
bool take_digits(const char* text, const char* end, int64_t* value) {
    bool good = text != end && is_digit(*text);
    for (; good && text != end && is_digit(*text); ++text)
        good = checked_mul(*value, int64_t{10}, value) && checked_add(*value, int64_t{*text - '0'}, value);
    if (!good) *value = 0;
    return good;
}

} // namespace

bool text_integer(const char* text, size_t size, int64_t* value) {
    *value = 0;
    const char* end = text + size;
    const char* start = number_start(text, end);
    bool negative = start != end && *start == '-';
    bool good = take_digits(negative ? start + 1 : start, end, value);
    if (negative) *value = -*value;
    return good;
}

// Words such as "inf" are numbers to the conversion, but none to a file.
bool text_number(const char* text, size_t size, double* value) {
    *value = 0;
    const char* end = text + size;
    const char* start = number_start(text, end);
    const char* first = start != end && *start == '-' ? start + 1 : start;
    if (first == end || (!is_digit(*first) && *first != '.')) return false;
    return std::from_chars(start, end, *value).ec == std::errc();
}

bool text_digits(const char* text, size_t width, uint64_t* value) {
    int64_t number = 0;
    bool good = true;
    for (size_t i = 0; i < width; ++i)
        good = good && is_digit(text[i]);
    good = good && take_digits(text, text + width, &number);
    *value = static_cast<uint64_t>(number);
    return good;
}

double degrees_of_dms(double number) {
    double degrees = std::trunc(number / 10000);
    double rest = number - degrees * 10000;
    double minutes = std::trunc(rest / 100);
    return degrees + minutes / 60 + (rest - minutes * 100) / 3600;
}

size_t text_word(const char** text) {
    while (is_blank(**text))
        ++*text;
    size_t length = 0;
    while ((*text)[length] != '\0' && !is_blank((*text)[length]))
        ++length;
    return length;
}

bool io_get_text_line(CFILE* c, char* text, size_t room) {
    size_t length = 0;
    int byte = io_getc(c);
    bool any = byte >= 0;
    while (byte > 0 && byte != '\n' && byte != '\r') {
        text[length++] = static_cast<char>(byte);
        if (length + 1 >= room) break;
        byte = io_getc(c);
    }
    text[length] = '\0';
    return any;
}

bool text_fill(text_reader* t) {
    text_end(t);
    bool more = io_fetch(t->c);
    t->next = t->c->ahead.next;
    t->end = t->c->ahead.end;
    return more;
}
