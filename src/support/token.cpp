#include "support/token.h"

namespace {

bool is_token_character(char c) {
    return c >= 33 && c <= 126;
}

// Copies a word up to a character that ends it, and moves *at there. An empty pair of quotes gives none.
token_end take(const char** at, const char* end, char token[TOKEN_SIZE], size_t* length) {
    const char* p = *at;
    char quote = '\0';
    token_end result = token_end::token;
    for (; p < end && (quote != '\0' || is_token_character(*p)); ++p) {
        if (*p == quote) {
            quote = '\0';
        } else if (quote == '\0' && (*p == '"' || *p == '\'')) {
            quote = *p;
        } else if (*length == TOKEN_SIZE - 1) {
            result = token_end::too_long;
            break;
        } else {
            token[(*length)++] = *p;
        }
    }
    token[*length] = '\0';
    *at = p;
    return result;
}

} // namespace

token_end token_next(const char** at, const char* end, char token[TOKEN_SIZE]) {
    size_t length = 0;
    token[0] = '\0';
    while (length == 0) {
        while (*at < end && !is_token_character(**at))
            ++*at;
        if (*at == end) return token_end::file_end;
        const token_end result = take(at, end, token, &length);
        if (result != token_end::token) return result;
    }
    return token_end::token;
}
