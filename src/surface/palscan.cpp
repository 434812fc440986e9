#include "surface/palscan.h"

#include <cstdlib>
#include <cstring>

#include "platform/files.h"
#include "support/checked.h"

namespace {

constexpr size_t PALETTE_LIMIT = 64 << 20; // no palette that a person uses comes near

bool is_space(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

const char* skip_space(const char* at) {
    while (is_space(*at))
        ++at;
    return at;
}

// White space, then the token. Null when it does not stand there.
const char* take_token(const char* at, const char* token) {
    at = skip_space(at);
    size_t length = std::strlen(token);
    return std::strncmp(at, token, length) == 0 ? at + length : nullptr;
}

// Up to `size` - 1 characters, at least one, that are not `stop`. Null when there are none.
const char* take_until(const char* at, char stop, char* text, size_t size) {
    size_t length = 0;
    while (length < size - 1 && at[length] != '\0' && at[length] != stop)
        ++length;
    if (length == 0) return nullptr;
    std::memcpy(text, at, length);
    text[length] = '\0';
    return at + length;
}

// A number, clamped to 0.0 to 1.0; what is no number in that sense counts as 0.
const char* take_number(const char* at, double* value) {
    char* end = nullptr;
    double number = std::strtod(at, &end);
    if (end == at) return nullptr;
    *value = number >= 0.0 ? clamped(number, 0.0, 1.0) : 0.0;
    return end;
}

const char* take_color(const char* at, palette_item* item) {
    static constexpr const char* before[] = {"color", "=", "("};
    for (const char* token : before) {
        if (at != nullptr) at = take_token(at, token);
    }
    if (at != nullptr) at = take_number(at, &item->red);
    if (at != nullptr) at = take_token(at, ",");
    if (at != nullptr) at = take_number(at, &item->green);
    if (at != nullptr) at = take_token(at, ",");
    if (at != nullptr) at = take_number(at, &item->blue);
    static constexpr const char* behind[] = {")", ";", "}"};
    for (const char* token : behind) {
        if (at != nullptr) at = take_token(at, token);
    }
    return at;
}

const char* take_pattern(const char* at, palette_item* item) {
    static constexpr const char* before[] = {"pattern", "=", "\""};
    for (const char* token : before) {
        if (at != nullptr) at = take_token(at, token);
    }
    if (at != nullptr) at = take_until(at, '"', item->file, sizeof item->file);
    if (at != nullptr) at = *at == '"' ? at + 1 : nullptr;
    if (at != nullptr) at = take_token(at, ";");
    if (at != nullptr) at = take_token(at, "}");
    return at;
}

} // namespace

void strip_trailing_blanks(char* text) {
    size_t length = std::strlen(text);
    while (length > 0 && is_space(text[length - 1]))
        text[--length] = '\0';
}

bool palette_next(const char** at, palette_item* item) {
    const char* p = take_until(skip_space(*at), '{', item->name, sizeof item->name);
    if (p == nullptr || *p != '{') return false;
    ++p;
    strip_trailing_blanks(item->name);
    const char* behind = take_color(p, item);
    item->body = behind != nullptr ? palette_body::color : palette_body::none;
    if (behind == nullptr) {
        behind = take_pattern(p, item);
        if (behind == nullptr) return false;
        item->body = palette_body::pattern;
    }
    *at = behind;
    return true;
}

bool palette_is_whole(const char* at, const char* end) {
    return skip_space(at) == end;
}

char* palette_text(const char* path, size_t* size) {
    return files_load(path, PALETTE_LIMIT, size);
}
