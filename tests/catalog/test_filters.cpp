// Filters: what they take, and what is wrong with those that can't be read.
#include <string>

#include "catalog/filters.h"
#include "common/failures.h"

namespace {

bool takes(const std::string& filter, const std::string& name) {
    file_filter* f = nullptr;
    EXPECT_EQ(file_filter_new(filter.c_str(), &f), FILTER_OK) << filter;
    const bool taken = file_filter_takes(f, name.c_str());
    file_filter_free(f);
    return taken;
}

int error_of(const std::string& pattern, const char* end = ")") {
    file_filter* f = nullptr;
    const int error = file_filter_new(("(" + pattern + end).c_str(), &f);
    EXPECT_EQ(f == nullptr, error != FILTER_OK);
    file_filter_free(f);
    return error;
}

} // namespace

TEST(Filters, TakeTheNamesThatFitAPatternWhole) {
    const struct {
        const char* filter;
        const char* name;
        bool taken;
    } cases[] = {
        {"Pictures (*.rgb,*.tif)", "a.rgb", true},
        {"Pictures (*.rgb,*.tif)", "b.tif", true},
        {"Pictures (*.rgb,*.tif)", "b.tiff", false},
        {"(*.tnc,*.rgP,*.rgbP)", "a.tnc", true},
        {"(*.tnc,*.rgP,*.rgbP)", "a.rgp", false}, // names come in lower case
        {"All Files (*)", "anything at all", true},
        {"All Files (*.*)", "bare", false},
        {"(a?c)", "abc", true},
        {"(a?c)", "abbc", false},
        {"(a.c)", "a.c", true},
        {"(a.c)", "abc", false},
        {"no list", "a", false},
        {"()", "a", false},
        {"(a) (b)", "b", false},
        {"([a-c]*[^0-9].rgb)", "bx.rgb", true},
        {"([a-c]*[^0-9].rgb)", "b1.rgb", false},
        {"([a-c]*[^0-9].rgb)", "dx.rgb", false},
        {"([]x])", "]", true},
        {"([a-])", "-", true},
        {"(\\(ab\\)\\1)", "abab", true},
        {"(\\(?\\)\\1)", "ab", false},
        {"(\\(*\\)\\1)", "abcabc", true},
        {"(a\\{2,3\\},b\\{2\\}c)", "aaa", true},
        {"(a\\{2,3\\},b\\{2\\}c)", "aaaa", false},
        {"(a\\{2,3\\},b\\{2\\}c)", "bbc", true},
        {"(a\\{2,\\})", "aaaaaa", true},
        {"(a\\{0\\}b)", "b", true},
        {"(*a*b*)", "xxaxxbxx", true},
        {"(*a*b*)", "xxbxxaxx", false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(takes(c.filter, c.name), c.taken) << c.filter << " " << c.name;
    EXPECT_TRUE(file_filter_takes(nullptr, "a"));
    // A list is cut at 127 characters, and has 32 patterns.
    EXPECT_TRUE(takes("(" + std::string(126, 'x') + ",a)", std::string(126, 'x')));
    EXPECT_FALSE(takes("(" + std::string(126, 'x') + ",a)", "a"));
    std::string many = "(";
    for (int i = 0; i < 32; ++i)
        many += "x,";
    EXPECT_FALSE(takes(many + "a)", "a"));
    // One that would take for ever gives up.
    EXPECT_FALSE(takes("(*a*a*a*a*a*a*a*a*a*a*b)", std::string(250, 'a')));
}

TEST(Filters, TellWhatIsWrong) {
    EXPECT_EQ(error_of("a\\{256\\}"), 11);
    EXPECT_EQ(error_of("a\\{x\\}"), 16);
    EXPECT_EQ(error_of("\\{2\\}"), 16);
    EXPECT_EQ(error_of("\\1"), 25);
    EXPECT_EQ(error_of("\\(a\\1\\)"), 25); // not closed yet
    EXPECT_EQ(error_of("a\\", ""), 36);
    EXPECT_EQ(error_of("\\(\\)"), 41);
    EXPECT_EQ(error_of("\\(a"), 42);
    EXPECT_EQ(error_of("a\\)"), 42);
    EXPECT_EQ(error_of("\\(a\\)\\(a\\)\\(a\\)\\(a\\)\\(a\\)\\(a\\)\\(a\\)\\(a\\)\\(a\\)\\(a\\)"), 43);
    EXPECT_EQ(error_of("a\\{1,2,3\\}"), 44);
    EXPECT_EQ(error_of("a\\{1"), 45);
    EXPECT_EQ(error_of("a\\{3,2\\}"), 46);
    EXPECT_EQ(error_of("[abc"), 49);
    EXPECT_EQ(error_of("good,[abc"), 49); // and the good one is released
    sweep_failures(
        MEMORY_FAILURES, [] { error_of("a,b"); }, [](bool) {});
    EXPECT_TRUE(is_wild("d:\\m*\\a?b"));
    EXPECT_FALSE(is_wild("d:\\m*\\ab"));
}
