// tools-demo, which shows and checks the display layer by itself, at every depth.
#include <set>

#include "app_fixture.h"

namespace {

class ToolsDemo : public AppFixture, public testing::WithParamInterface<int> {};

// The colours of a binary PPM of 1280 by 1024; none when it isn't one.
std::set<std::string> colors_of(const std::string& ppm) {
    const std::string header = "P6\n1280 1024\n255\n";
    std::set<std::string> colors;
    if (ppm.size() != header.size() + 1280 * 1024 * 3 || ppm.compare(0, header.size(), header) != 0) return colors;
    for (size_t i = header.size(); i < ppm.size(); i += 3)
        colors.insert(ppm.substr(i, 3));
    return colors;
}

TEST_P(ToolsDemo, runs_once_by_itself) {
    const std::string depth = std::to_string(GetParam());
    setenv("TINCT_HOST", "headless", 1);
    setenv("TINCT_SCREEN", ("1280x1024x" + depth).c_str(), 1);
    const run_result r = run("tools-demo --headless-run --shot shot.ppm");
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.err, "");
    for (const char* event :
         {"KEYBOARD code 72 H", "button 0 click", "button 1 double click", "button 2 click", "REFRESH ", "DELETE ",
          "MESSAGE  kind 1 words 5 6", "COLLAPSE ", "TIMER ", "USER     value 7", "MOTION "})
        EXPECT_NE(r.out.find(event), std::string::npos) << event;
    const size_t colors = colors_of(read(directory + "/shot.ppm")).size();
    EXPECT_GE(colors, 16U);
    if (GetParam() <= 8) {
        EXPECT_LE(colors, 1U << GetParam()); // no more than such a screen can show at a time
    } else {
        EXPECT_GT(colors, 1000U);
    }
}
INSTANTIATE_TEST_SUITE_P(Depths, ToolsDemo, testing::Values(4, 8, 15, 16, 24));

class ToolsDemoUse : public AppFixture {};

TEST_F(ToolsDemoUse, wrong_use_is_told) {
    setenv("TINCT_HOST", "headless", 1);
    EXPECT_EQ(run("tools-demo --nothing").status, 2);
    EXPECT_EQ(run("tools-demo --shot").status, 2);
    EXPECT_EQ(run("tools-demo --shot a.ppm").status, 2);
    setenv("TINCT_SCREEN", "1280x1024x5", 1);
    EXPECT_EQ(run("tools-demo --headless-run").status, 1);
    setenv("TINCT_SCREEN", "640x480x8", 1); // most of it lies outside
    EXPECT_EQ(run("tools-demo --headless-run --shot /nowhere/a.ppm").status, 1);
    EXPECT_TRUE(files().empty());
    unsetenv("TINCT_SCREEN");
    unsetenv("TINCT_HOST");
}

} // namespace
