// Filters: what they take, and what is wrong with those that can't be read.
#include <string>
#include <vector>

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
        std::vector<const char*> taken, refused;
    } cases[] = {
        {"Pictures (*.rgb,*.tif)", {"a.rgb", "b.tif"}, {"b.tiff"}},
        {"(*.tnc,*.rgP,*.rgbP)", {"a.tnc"}, {"a.rgp"}}, // names come in lower case
        {"All Files (*)", {"anything at all"}, {}},
        {"All Files (*.*)", {}, {"bare"}},
        {"(a?c)", {"abc"}, {"abbc"}},
        {"(a.c)", {"a.c"}, {"abc"}},
        {"no list", {}, {"a"}},
        {"()", {}, {"a"}},
        {"(a) (b)", {}, {"b"}},
        {"([a-c]*[^0-9].rgb)", {"bx.rgb"}, {"b1.rgb", "dx.rgb"}},
        {"([]x])", {"]"}, {}},
        {"([a-])", {"-"}, {}},
        {"(\\(ab\\)\\1)", {"abab"}, {}},
        {"(\\(?\\)\\1)", {}, {"ab"}},
        {"(\\(*\\)\\1)", {"abcabc"}, {}},
        {"(a\\{2,3\\},b\\{2\\}c)", {"aaa", "bbc"}, {"aaaa"}},
        {"(a\\{2,\\})", {"aaaaaa"}, {}},
        {"(a\\{0\\}b)", {"b"}, {}},
        {"(*a*b*)", {"xxaxxbxx"}, {"xxbxxaxx"}},
    };
    for (const auto& c : cases) {
        for (const char* name : c.taken)
            EXPECT_TRUE(takes(c.filter, name)) << c.filter << " " << name;
        for (const char* name : c.refused)
            EXPECT_FALSE(takes(c.filter, name)) << c.filter << " " << name;
    }
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
    const std::pair<const char*, int> wrong[] = {
        {"a\\{256\\}", 11},   {"a\\{x\\}", 16},
        {"\\{2\\}", 16},      {"\\1", 25},
        {"\\(a\\1\\)", 25}, // not closed yet
        {"\\(\\)", 41},       {"\\(a", 42},
        {"a\\)", 42},         {"\\(a\\)\\(a\\)\\(a\\)\\(a\\)\\(a\\)\\(a\\)\\(a\\)\\(a\\)\\(a\\)\\(a\\)", 43},
        {"a\\{1,2,3\\}", 44}, {"a\\{1", 45},
        {"a\\{3,2\\}", 46},   {"[abc", 49},
        {"good,[abc", 49}}; // the good one is released
    for (const auto& [pattern, error] : wrong)
        EXPECT_EQ(error_of(pattern), error) << pattern;
    EXPECT_EQ(error_of("a\\", ""), 36);
    sweep_failures(
        MEMORY_FAILURES, [] { error_of("a,b"); }, [](bool) {});
    EXPECT_TRUE(is_wild("d:\\m*\\a?b"));
    EXPECT_FALSE(is_wild("d:\\m*\\ab"));
}
