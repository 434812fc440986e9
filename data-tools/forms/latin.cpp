// Texts of sources and records.
#include "items.h"

std::string utf8_of(const char* latin) {
    std::string text;
    for (; *latin != '\0'; ++latin) {
        const auto c = static_cast<unsigned char>(*latin);
        if (c < 0x80) {
            text += static_cast<char>(c);
        } else {
            text += static_cast<char>(0xC0 | c >> 6);
            text += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    return text;
}

// What a source holds is UTF-8 already: the parser has seen to that.
bool latin_of(const std::string& utf8, std::string* latin) {
    latin->clear();
    for (size_t i = 0; i < utf8.size(); ++i) {
        const auto c = static_cast<unsigned char>(utf8[i]);
        if (c == 0) return false;
        if (c < 0x80) {
            *latin += static_cast<char>(c);
            continue;
        }
        if (c > 0xC3 || i + 1 == utf8.size()) return false; // beyond 255
        *latin += static_cast<char>((c & 0x03U) << 6 | (static_cast<unsigned char>(utf8[++i]) & 0x3FU));
    }
    return true;
}
