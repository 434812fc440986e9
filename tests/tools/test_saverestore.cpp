// Save-restore areas: they vanish without a trace.
#include "draw_fixture.h"

#include <array>

#include "common/failures.h"
#include "common/values.h"

namespace {

class SaveRestore : public DrawFixture {
protected:
    void SetUp() override {
        DrawFixture::SetUp();
        prepare(8);
    }
    // A main window with something on it, two windows above, one half over the other.
    void prepare(int planes) {
        start(planes);
        first = open(20, 20, 99, 79);
        second = open(60, 50, 139, 109);
        paint_all();
        take_refreshes();
    }
    void paint_all() const {
        paint(0, 60, 60);
        paint(first, 80, 60);
        paint(second, 80, 60);
    }
    static void enter_with_area(int x1, int y1, int x2, int y2) {
        int w = -1;
        EXPECT_EQ(Enter_SR(0, 0, &w), 0);
        EXPECT_EQ(Create_SR_area(0, x1, y1, x2, y2), 0);
    }
    int first = -1, second = -1;
};

TEST_F(SaveRestore, TheActiveCaptionStaysAsItIs) {
    int a = -1, b = -1;
    Create_win(0, "A", 200, 60, 279, 99, &a);
    Create_win(0, "B", 220, 120, 299, 159, &b);
    for (int n : {a, b}) {
        Display_win(n);
        paint(n, 80, 40);
    }
    desk_activate(window_find(a)->handle);
    const std::vector<uint8_t> before = screen();
    enter_with_area(210, 30, 259, 139);
    Delete_SR_area(0);
    EXPECT_EQ(screen(), before);
    EXPECT_EQ(desk_active(), window_find(a)->handle);
}

TEST_F(SaveRestore, TheModeAndTheAreasGoInOrder) {
    int w = -1;
    EXPECT_EQ((values{Create_SR_area(0, 0, 0, 9, 9), Exit_SR(0)}), (values{-1, -1}));
    EXPECT_EQ((values{Enter_SR(0, 0, &w), w}), (values{0, 0}));
    EXPECT_EQ((values{Delete_SR_area(0), Create_SR_area(first, 0, 0, 9, 9)}), (values{-1, -1}));
    EXPECT_EQ((values{Create_SR_area(0, 10, 10, 109, 89), SR_area_is_up()}), (values{0, true}));
    EXPECT_EQ((values{Exit_SR(0), Delete_SR_area(first), Delete_SR_area(0)}), (values{-1, -1, 0}));
    EXPECT_EQ((values{Exit_SR(first), Exit_SR(0), Exit_SR(0)}), (values{-1, 0, -1}));
}

TEST_F(SaveRestore, StackedAreasPutBackEveryPixelWithoutARefresh) {
    for (int planes : DEPTHS) {
        SCOPED_TRACE(planes);
        prepare(planes);
        int w = -1;
        const std::vector<uint8_t> before = screen();
        clipbox(0, 5, 5, 30, 30); // the main window's own clip box doesn't hinder it
        Set_button_mode(0, 1, 3);
        Enter_SR(0, 0, &w);
        ASSERT_EQ(Create_SR_area(0, 10, 10, 109, 89), 0);
        EXPECT_EQ(screen(), before); // nothing is erased
        EXPECT_EQ((values{window_find(0)->attributes.clip_x2, window_find(0)->button_mode[1]}), (values{99, 3}));
        fgcolor(0, 9);
        rectf(0, 0, 0, 99, 79); // now the pop-up's coordinates
        const std::vector<uint8_t> with_first = screen();
        EXPECT_NE(with_first, before);
        for (int i = 0; i < 2; ++i) {
            ASSERT_EQ(Create_SR_area(0, 50 + 40 * i, 40, 129 + 40 * i, 119), 0);
            fgcolor(0, 12 - i);
            rectf(0, -5, -5, 99, 99);
            pushattributes(0);
        }
        EXPECT_EQ(desk_capture(), window_find(0)->handle);
        EXPECT_EQ(Delete_SR_area(0), 0);
        EXPECT_EQ(Delete_SR_area(0), 0);
        EXPECT_EQ(screen(), with_first);
        EXPECT_EQ(desk_capture(), window_find(0)->handle);
        EXPECT_EQ(window_find(0)->attributes.foreground, CANVAS_SLOT | 9);
        EXPECT_EQ(Delete_SR_area(0), 0);
        EXPECT_EQ(screen(), before);
        EXPECT_EQ(desk_capture(), nullptr);
        EXPECT_EQ((values{window_find(0)->handle, window_find(0)->attributes.clip_x2}), (values{desk_main(), 30}));
        EXPECT_EQ(take_refreshes(), "");
        EXPECT_EQ(Exit_SR(0), 0);
    }
}

TEST_F(SaveRestore, ARefreshThatWaitedBeforeStillComes) {
    enter_with_area(10, 10, 59, 59);
    const canvas_box box = {60, 2, 70, 22};
    desk_invalidate(window_find(first)->handle, &box);
    Delete_SR_area(0);
    EXPECT_EQ(take_refreshes(), std::to_string(first) + ":60,2,69,21/1 ");
}

TEST_F(SaveRestore, AnAreaIsWindow0) {
    enter_with_area(200, 100, 249, 199);
    desk_invalidate(window_find(0)->handle, nullptr);
    EXPECT_EQ(take_refreshes(), "0:0,0,49,99/1 ");
    Delete_SR_area(0);
    desk_invalidate(desk_main(), nullptr);
    EXPECT_EQ(take_refreshes(), ""); // the main window paints nothing
}

TEST_F(SaveRestore, AnAreaOverATopLevelWindowIsAboveIt) {
    int top = -1;
    Create_level_window(0, WINDOW_TOP_LEVEL, 30, 30, 79, 79, &top);
    Display_win(top);
    paint(top, 50, 50);
    const std::vector<uint8_t> before = screen();
    enter_with_area(40, 40, 59, 59);
    EXPECT_EQ(window_find(0)->level, WINDOW_TOP_LEVEL);
    fgcolor(0, 12);
    rectf(0, 0, 0, 19, 19);
    EXPECT_EQ(at(top, 15, 15), 12u);
    Delete_SR_area(0);
    EXPECT_EQ(screen(), before);
    EXPECT_EQ(take_refreshes(), "");
}

TEST_F(SaveRestore, FailingMemoryLeavesEverythingInOrder) {
    const std::vector<uint8_t> before = screen();
    int w = -1, made = -1;
    Enter_SR(0, 0, &w);
    sweep_failures(
        std::array{failing::allocation}, [&] { made = Create_SR_area(0, 10, 10, 109, 89); },
        [&](bool) {
            EXPECT_EQ(SR_area_is_up(), made == 0);
            if (made == 0) {
                fgcolor(0, 9);
                rectf(0, 0, 0, 99, 79);
                EXPECT_EQ(Delete_SR_area(0), 0);
            }
            // Without a copy of the pixels there is a refresh instead.
            if (take_refreshes().empty()) {
                EXPECT_EQ(screen(), before);
            }
            paint_all();
        });
    Create_SR_area(0, 10, 10, 109, 89); // the end of the tools takes what is up
}

} // namespace
