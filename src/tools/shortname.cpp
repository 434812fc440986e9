// File names in the form of eight characters and three.
#include <cctype>
#include <cstdio>
#include <cstring>

#include "tools/toolfile.h"

namespace {

constexpr size_t BASE_LENGTH = 8;
constexpr int EXTENSION_LENGTH = 3;
constexpr size_t NAME_ROOM = 256;

bool is_letter(char c) {
    return std::isalpha(static_cast<unsigned char>(c)) != 0;
}
bool is_letter_or_digit(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0;
}

// Deletes `cut` characters ahead of the first place, from `cut` on, that holds no letter: the end of the word that a
// name begins with says less than what follows it, such as the face and the size in the name of a font.
void cut_first_word(char* base, size_t cut) {
    size_t place = cut;
    while (base[place] != '\0' && is_letter(base[place]))
        ++place;
    std::memmove(base + place - cut, base + place, std::strlen(base + place) + 1);
}

void drop_marks(char* base) {
    char* to = base;
    for (const char* from = base; *from != '\0'; ++from)
        if (is_letter_or_digit(*from)) *to++ = *from;
    *to = '\0';
}

void shorten_base(char* base) {
    if (std::strlen(base) <= BASE_LENGTH) return;
    size_t counted = 0;
    for (const char* at = base; *at != '\0'; ++at)
        counted += is_letter_or_digit(*at) ? 1 : 0;
    if (counted > BASE_LENGTH) cut_first_word(base, counted - BASE_LENGTH);
    if (std::strlen(base) > BASE_LENGTH) drop_marks(base);
}

} // namespace

const char* short_file_name(const char* name) {
    static char result[NAME_ROOM + EXTENSION_LENGTH + 1];
    char base[NAME_ROOM];
    std::snprintf(base, sizeof base, "%s", name);
    char* point = std::strrchr(base, '.');
    const char* extension = "";
    if (point != nullptr && point != base) {
        *point = '\0';
        extension = point + 1;
    }
    for (char* at = base; *at != '\0'; ++at)
        if (*at == '.') *at = '_';
    shorten_base(base);
    std::snprintf(result, sizeof result, "%s%s%.*s", base, extension[0] != '\0' ? "." : "", EXTENSION_LENGTH,
                  extension);
    return result;
}
