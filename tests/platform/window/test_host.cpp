// The headless host, and the choice of a host.
#include "deskfixture.h"

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

TEST(HostScreen, TextsAreReadWholeOrRefused) {
    const struct {
        const char* text;
        bool good;
        int width, height, planes;
    } rows[] = {{"1280x1024x24", true, 1280, 1024, 24}, {"800x600", true, 800, 600, 24},
                {"640x480x4", true, 640, 480, 4},       {"", false, 0, 0, 0},
                {"800x600x7", false, 0, 0, 0},          {"0x600x8", false, 0, 0, 0},
                {"800x600x8x", false, 0, 0, 0},         {"800,600", false, 0, 0, 0},
                {"99999x99999x24", false, 0, 0, 0},     {"4294967297x10", false, 0, 0, 0}};
    for (const auto& r : rows) {
        host_screen screen = {1, 2, 24, 3};
        EXPECT_EQ(host_parse_screen(r.text, &screen), r.good) << r.text;
        EXPECT_EQ(screen.width, r.good ? r.width : 1) << r.text;
        EXPECT_EQ(screen.height, r.good ? r.height : 2) << r.text;
        EXPECT_EQ(screen.planes, r.good ? r.planes : 24) << r.text;
    }
}

TEST(HostScreen, EnvironmentPicksHostAndScreen) {
    setenv("TINCT_HOST", "headless", 1);
    setenv("TINCT_SCREEN", "320x200x8", 1);
    ASSERT_TRUE(desk_start("T"));
    EXPECT_STREQ(host_name(), "headless");
    EXPECT_EQ(desk_sizes()->screen_width, 320);
    EXPECT_EQ(desk_sizes()->planes, 8);
    desk_stop();
    EXPECT_STREQ(host_name(), "");
    for (const char* name : {"TINCT_HOST", "TINCT_SCREEN", "TINCT_SCALE"}) {
        setenv("TINCT_HOST", "headless", 1);
        setenv(name, "nonsense", 1);
        EXPECT_FALSE(desk_start("T")) << name;
        unsetenv(name);
    }
    unsetenv("TINCT_HOST");
}

struct headless_test : testing::Test {
    void SetUp() override {
        const host_screen size = {64, 48, 24, 0};
        ASSERT_TRUE(host_start_with(&host_headless, &size, "T"));
    }
    void TearDown() override { host_stop(); }
};

TEST_F(headless_test, ClockStandsUntilMovedOrRunsToWhatIsDue) {
    const uint32_t start = host_now();
    headless_pointer(1, 1);
    host_wait(false, 0);
    EXPECT_EQ(host_now(), start);
    headless_advance(40);
    host_wait(true, start + 40);
    EXPECT_EQ(host_now(), start + 40);

    host_event event = {};
    while (host_poll(&event)) {
    }
    event = {};
    event.kind = host_event_kind::close;
    ASSERT_TRUE(headless_post_later(&event, 100));
    ASSERT_TRUE(headless_post_later(&event, 50)); // 50 after that one
    EXPECT_FALSE(host_poll(&event));
    headless_run_freely(true);
    host_wait(true, start + 120); // the deadline comes first
    EXPECT_EQ(host_now(), start + 120);
    EXPECT_FALSE(host_poll(&event));
    host_wait(false, 0);
    EXPECT_EQ(host_now(), start + 140);
    ASSERT_TRUE(host_poll(&event));
    EXPECT_EQ(event.time, start + 140);
    host_wait(false, 0);
    ASSERT_TRUE(host_poll(&event));
    EXPECT_EQ(event.time, start + 190);
}

TEST_F(headless_test, WaitThatNothingEndsStopsTheProgram) {
    stop_recorder stopped;
    headless_on_idle(
        [](void*) {
            headless_advance(7);
            return true;
        },
        nullptr);
    const uint32_t start = host_now();
    host_wait(false, 0);
    EXPECT_EQ(host_now(), start + 7);
    EXPECT_EQ(stopped.status, -1);
    headless_on_idle(nullptr, nullptr);
    testing::internal::CaptureStderr();
    host_wait(true, host_now() + 1); // nobody moves the clock
    EXPECT_EQ(stopped.status, 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "the headless host waits, and nothing is due\n");
}

TEST_F(headless_test, DroppedPathsLiveUntilTheNextEvent) {
    std::string path = "/a/picture.tnc";
    host_event event = {};
    event.kind = host_event_kind::drop;
    event.path = path.c_str();
    ASSERT_TRUE(headless_post(&event));
    path = "changed";
    ASSERT_TRUE(host_poll(&event));
    EXPECT_STREQ(event.path, "/a/picture.tnc");
    EXPECT_FALSE(host_poll(&event));
}

// A screenshot has the colours that the palette has at that moment, at every depth.
TEST(HostScreenshot, ShowsPixelsThroughThePalette) {
    for (const int planes : {4, 8, 15, 16, 24}) {
        const host_screen size = {33, 9, planes, 0};
        ASSERT_TRUE(host_start_with(&host_headless, &size, "T"));
        ASSERT_TRUE(desk_start("T"));
        const canvas_rgb red = {255, 0, 0};
        canvas_set_palette(3, &red, 1);
        canvas_fill(desk_canvas(desk_main()), {30, 5, 40, 20}, CANVAS_SLOT | 3);
        desk_flush();
        EXPECT_EQ(headless_shown(32, 8), red) << planes;
        const canvas_rgb blue = {0, 0, 255};
        canvas_set_palette(3, &blue, 1);
        desk_flush();
        EXPECT_EQ(headless_shown(32, 8), planes <= 8 ? blue : red) << planes;

        const std::string path = testing::TempDir() + "shot.ppm";
        ASSERT_TRUE(headless_screenshot(path.c_str()));
        FILE* file = fopen(path.c_str(), "rb");
        std::string content(2000, 0);
        content.resize(fread(content.data(), 1, content.size(), file));
        fclose(file);
        const std::string head = "P6\n33 9\n255\n";
        ASSERT_EQ(content.size(), head.size() + 33 * 9 * 3);
        EXPECT_EQ(content.substr(0, head.size()), head);
        EXPECT_EQ(content.substr(content.size() - 3),
                  planes <= 8 ? std::string("\0\0\xff", 3) : std::string("\xff\0\0", 3));
        desk_stop();
    }
    EXPECT_FALSE(headless_screenshot("/no such directory/x.ppm"));
}

} // namespace
