// Numbers in fields: reading, printing, and what of them can be typed.
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "forms/fields.h"

bool fi_read_number(const char* text, double* value) {
    char copy[FI_NUMBER_SIZE];
    size_t length = 0;
    for (; text[length] != '\0' && length + 1 < sizeof copy; ++length)
        copy[length] = text[length] == ',' ? '.' : text[length];
    copy[length] = '\0';
    char* end = nullptr;
    const double number = std::strtod(copy, &end);
    if (end == copy || !std::isfinite(number)) return false;
    *value = number;
    return true;
}

namespace {

constexpr const char* WHOLE_KINDS = "dixXou";
constexpr const char* REAL_KINDS = "fFeEgG";
constexpr int MOST_DIGITS = 3; // of a width or precision

bool is_one_of(char c, const char* set) {
    return c != '\0' && std::strchr(set, c) != nullptr;
}

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

// Passes over digits. False when there are more than a number can be wide.
bool pass_digits(const char** at) {
    int count = 0;
    for (; is_digit(**at); ++*at)
        ++count;
    return count <= MOST_DIGITS;
}

// A conversion in a format, from its "%" on.
struct conversion {
    const char* begin;
    const char* modifiers; // behind width and precision
    const char* kind;
};

bool read_conversion(const char* percent, conversion* c) {
    const char* at = percent + 1;
    while (is_one_of(*at, "-+ #0"))
        ++at;
    if (!pass_digits(&at)) return false;
    if (*at == '.' && (++at, !pass_digits(&at))) return false;
    c->begin = percent;
    c->modifiers = at;
    while (is_one_of(*at, "hlL"))
        ++at;
    c->kind = at;
    return is_one_of(*at, WHOLE_KINDS) || is_one_of(*at, REAL_KINDS);
}

// The only conversion of a format.
bool find_conversion(const char* format, conversion* found) {
    bool any = false;
    for (const char* at = format; *at != '\0'; ++at) {
        if (*at != '%') continue;
        if (at[1] == '%') {
            ++at;
            continue;
        }
        if (any || !read_conversion(at, found)) return false;
        any = true;
        at = found->kind;
    }
    return any;
}

int whole(double value) {
    if (value <= INT32_MIN) return INT32_MIN;
    return value >= INT32_MAX ? INT32_MAX : static_cast<int>(value);
}

// Prints with one conversion. Its modifiers are left out: an int and a double need none.
void print_with(const char* format, const conversion& c, double value, bool is_whole, char* text) {
    char plain[FI_NUMBER_SIZE];
    const int before = static_cast<int>(c.modifiers - format);
    const int length = std::snprintf(plain, sizeof plain, "%.*s%s", before, format, c.kind);
    if (length < 0 || static_cast<size_t>(length) >= sizeof plain) std::strcpy(plain, "%G");
    const bool as_int = is_one_of(*c.kind, WHOLE_KINDS);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    if (as_int)
        std::snprintf(text, FI_NUMBER_SIZE, plain, whole(value));
    else
        std::snprintf(text, FI_NUMBER_SIZE, plain, is_whole ? static_cast<double>(whole(value)) : value);
#pragma GCC diagnostic pop
}

} // namespace

bool fi_is_number_format(const char* format) {
    conversion c = {};
    return std::strlen(format) < FI_NUMBER_SIZE && find_conversion(format, &c);
}

void fi_print_number(const fi_field* f, double value, char* text) {
    conversion c = {};
    const bool is_whole = f->field_type == FI_INT;
    if (f->field_type != FI_ALPHA && fi_is_number_format(f->format) && find_conversion(f->format, &c))
        print_with(f->format, c, value, is_whole, text);
    else if (is_whole)
        std::snprintf(text, FI_NUMBER_SIZE, "%d", whole(value));
    else
        std::snprintf(text, FI_NUMBER_SIZE, "%G", value);
}

bool fi_number_takes(const fi_field* f, const char* text, int character) {
    const auto c = static_cast<char>(character);
    if (f->field_type == FI_ALPHA || is_digit(c) || c == '+' || c == '-') return true;
    if (f->field_type == FI_INT) return false;
    if (c == '.' || c == ',') return std::strpbrk(text, ".,") == nullptr;
    return (c == 'e' || c == 'E') && std::strpbrk(text, "eE") == nullptr;
}
