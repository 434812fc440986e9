// Texts between UTF-8 and Latin-1.
#include <string>

#include <gtest/gtest.h>

#include "support/text.h"

namespace {

std::string latin1(const std::string& text, size_t size = 64) {
    std::string out(size, '#');
    text_to_latin1(text.c_str(), out.data(), size);
    return out.c_str();
}

std::string utf8(const std::string& text) {
    char out[64];
    return text_to_utf8(text.c_str(), out, sizeof out) ? out : "too long";
}

bool same(const std::string& a, const std::string& b) {
    return text_same_name(a.data(), a.size(), b.data(), b.size());
}

} // namespace

TEST(Text, ShowsWhatLatin1HasAndSubstitutesTheRest) {
    EXPECT_EQ(latin1("K\xC3\xBCste.tnc"), "K\xFCste.tnc");
    EXPECT_EQ(latin1("K\xFCste.tnc"), "K\xFCste.tnc"); // is so already
    EXPECT_EQ(latin1("\xE6\x9C\xA8\xF0\x9F\x8E\xA8.tnc"), "?\?.tnc");
    EXPECT_EQ(latin1("a\x1B\xC2\x85z"), "a?\?z");                   // no signs
    EXPECT_EQ(latin1("\xC0\xAF\xED\xA0\x80"), "\xC0\xAF\xED\xA0?"); // overlong, half of a pair: no UTF-8
    EXPECT_EQ(latin1("\xE6\x9C"), "\xE6?");                         // cut
    EXPECT_EQ(latin1("\xC3\xBC\xC3\xBC\xC3\xBC", 3), "\xFC\xFC");
    EXPECT_EQ(utf8("K\xFCste \xC3\xBC"), "K\xC3\xBCste \xC3\xBC");
    EXPECT_EQ(utf8(std::string(31, '\xFC')), utf8(utf8(std::string(31, '\xFC'))));
    EXPECT_EQ(utf8(std::string(32, '\xFC')), "too long");
}

TEST(Text, NamesAreTheSameInEitherFormAndCase) {
    EXPECT_TRUE(same("K\xDCSTE", "k\xC3\xBCste"));
    EXPECT_TRUE(same("\xE6\x9C\xA8", "\xE6\x9C\xA8"));
    EXPECT_FALSE(same("\xC3\x97", "\xC3\xB7")); // times and divided by are no letters
    EXPECT_FALSE(same("kuste", "k\xC3\xBCste"));
    EXPECT_FALSE(same("k\xC3\xBC", "k\xC3\xBCste"));
}
