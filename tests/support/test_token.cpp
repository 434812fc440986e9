// Words of a text file.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/token.h"

TEST(Token, WordsAndQuotes) {
    const std::string text = "  one\x01two 'a b' x\"c 'd'\"y '' \"\" last";
    const char* at = text.c_str();
    char token[TOKEN_SIZE];
    std::vector<std::string> words;
    while (token_next(&at, text.c_str() + text.size(), token) == token_end::token)
        words.emplace_back(token);
    EXPECT_EQ(words, (std::vector<std::string>{"one", "two", "a b", "xc 'd'y", "last"}));
    const std::string longest(511, 'x');
    const std::string both = longest + " " + longest + "y";
    at = both.c_str();
    EXPECT_EQ(token_next(&at, at + both.size(), token), token_end::token);
    EXPECT_EQ(token_next(&at, both.c_str() + both.size(), token), token_end::too_long);
    EXPECT_EQ(token, longest);
}
