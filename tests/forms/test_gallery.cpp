// forms-gallery, which works all its forms by itself, at every depth and on a screen of twice the size.
#include <gtest/gtest.h>

#include "common/own_directory.h"
#include "common/places.h"
#include "common/run.h"

namespace {

class Gallery : public OwnDirectory {
protected:
    run_result gallery(const std::string& arguments) const {
        return run_command(directory, bin_dir() + "/forms-gallery " + arguments);
    }
    void TearDown() override {
        unsetenv("TINCT_SCREEN");
        unsetenv("TINCT_HOST");
    }
};

TEST_F(Gallery, WorksItselfAtEachDepth) {
    const run_result r = gallery("--headless-run --shots .");
    EXPECT_EQ(r.err, "");
    EXPECT_TRUE(r.ok());
    for (const char* depth : {"4", "8", "15", "16", "24"})
        EXPECT_GT(read(path("g_busy-" + std::string(depth) + ".ppm")).size(), 1024U * 768 * 3);
    setenv("TINCT_SCREEN", "3840x2160x8", 1);
    const run_result large = gallery("--headless-run");
    EXPECT_EQ(large.err, "");
    EXPECT_TRUE(large.ok());
}

TEST_F(Gallery, WrongUseIsTold) {
    EXPECT_EQ(gallery("--nothing").status, 2);
    EXPECT_EQ(gallery("--shots .").status, 2);
    const run_result unwritten = gallery("--headless-run --shots /nowhere");
    EXPECT_EQ(unwritten.status, 1);
    setenv("TINCT_SCREEN", "640x480x8", 1);
    EXPECT_EQ(gallery("--headless-run").status, 2);
    setenv("TINCT_HOST", "none", 1);
    EXPECT_EQ(gallery("").status, 1);
}

} // namespace
