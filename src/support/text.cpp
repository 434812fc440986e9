#include "support/text.h"

#include <cstring>

namespace {

constexpr uint32_t LATIN1_LAST = 0xFF;
constexpr char SUBSTITUTE = '?';
constexpr uint32_t SMALLEST[] = {0, 0, 0x80, 0x800, 0x10000}; // that takes so many bytes
constexpr uint32_t SURROGATES_FIRST = 0xD800, SURROGATES_LAST = 0xDFFF, UNICODE_LAST = 0x10FFFF;

int sequence_length(uint8_t lead) {
    if (lead >= 0xC2 && lead <= 0xDF) return 2;
    if ((lead & 0xF0) == 0xE0) return 3;
    if (lead >= 0xF0 && lead <= 0xF4) return 4;
    return 1;
}

bool is_character(uint32_t code, int length) {
    return code >= SMALLEST[length] && code <= UNICODE_LAST && (code < SURROGATES_FIRST || code > SURROGATES_LAST);
}

// Capitals of Latin-1 stand 32 before their small letters; 0xD7 is a sign among them.
uint32_t lowered(uint32_t code) {
    const bool capital = (code >= 'A' && code <= 'Z') || (code >= 0xC0 && code <= 0xDE && code != 0xD7);
    return capital ? code + 32 : code;
}

// 0x80 to 0x9F have no sign, and neither have the codes below the blank, but for the end of a line.
bool can_be_shown(uint32_t code) {
    return (code >= ' ' && code < 0x7F) || (code >= 0xA0 && code <= LATIN1_LAST) || code == '\n' || code == '\t';
}

const char* text_end(const char* text) {
    return text + std::strlen(text);
}

} // namespace

uint32_t text_next(const char** at, const char* end) {
    const char* p = *at;
    const auto lead = static_cast<uint8_t>(*p);
    const int length = sequence_length(lead);
    *at = p + 1;
    if (length == 1 || end - p < length) return lead;
    uint32_t code = lead & (0xFFu >> (length + 1));
    for (int i = 1; i < length; ++i) {
        const auto byte = static_cast<uint8_t>(p[i]);
        if ((byte & 0xC0) != 0x80) return lead;
        code = code << 6 | (byte & 0x3Fu);
    }
    if (!is_character(code, length)) return lead;
    *at = p + length;
    return code;
}

void text_to_latin1(const char* text, char* out, size_t size) {
    const char* end = text_end(text);
    size_t length = 0;
    while (text < end && length + 1 < size) {
        const uint32_t code = text_next(&text, end);
        out[length++] = can_be_shown(code) ? static_cast<char>(code) : SUBSTITUTE;
    }
    out[length] = '\0';
}

bool text_to_utf8(const char* text, char* out, size_t size) {
    const char* end = text_end(text);
    size_t length = 0;
    while (text < end) {
        const char* from = text;
        const uint32_t code = text_next(&text, end);
        const auto taken = static_cast<size_t>(text - from);
        const bool is_latin1 = taken == 1 && code >= 0x80;
        if (length + (is_latin1 ? 2 : taken) >= size) return false;
        if (is_latin1) {
            out[length++] = static_cast<char>(0xC0 | code >> 6);
            out[length++] = static_cast<char>(0x80 | (code & 0x3F));
        } else {
            std::memcpy(out + length, from, taken);
            length += taken;
        }
    }
    if (size == 0) return false;
    out[length] = '\0';
    return true;
}

bool text_same_name(const char* a, size_t a_length, const char* b, size_t b_length) {
    const char* a_end = a + a_length;
    const char* b_end = b + b_length;
    while (a < a_end && b < b_end)
        if (lowered(text_next(&a, a_end)) != lowered(text_next(&b, b_end))) return false;
    return a == a_end && b == b_end;
}
