// Words of a text file: what stands between characters that can't be seen. Quotes of one kind keep blanks, and quotes
// of the other kind, inside of a word.
#pragma once

#include <cstddef>

constexpr size_t TOKEN_SIZE = 512; // of a word with its terminator

enum class token_end { token, file_end, too_long };

// Takes the next word of the text that ends at `end`, and moves *at behind it. At the longest word and one character
// more it is cut, and *at stands in the middle of it.
token_end token_next(const char** at, const char* end, char token[TOKEN_SIZE]);
