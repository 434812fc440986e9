// Drawing on windows, pixel by pixel.
#include "common/values.h"
#include "draw_fixture.h"
#include "tools_fixture.h"

#include <random>

namespace {

class Draw : public DrawFixture {
protected:
    void SetUp() override {
        DrawFixture::SetUp();
        start(8);
        w = open(20, 20, 119, 99);
        fgcolor(w, 8);
    }
    // Empties the corner of the window that is looked at.
    void blank() const {
        fgcolor(w, 0);
        rectf(w, 0, 0, 9, 9);
        fgcolor(w, 8);
    }
    int w = -1;
};

TEST_F(Draw, ALineLeavesItsEndToTheNextOne) {
    move(w, 1, 1);
    draw(w, 4, 1);
    EXPECT_EQ(picture(w, 6, 3, 8), "....../.###../....../");
    draw(w, 4, 3);
    draw(w, 4, 3); // of no length
    EXPECT_EQ(picture(w, 6, 4, 8), "....../.####./....#./....../");
    move(w, 70000, 0); // further than any screen: the current point is limited
    EXPECT_EQ(draw(w, -70000, 0), 0);
    EXPECT_EQ(picture(w, 6, 1, 8), "######/");
}

// What is drawn at a weight, as a picture of the pixels around 2, 2.
TEST_F(Draw, WeightSetsLinesSideBySideAndSquares) {
    const struct {
        int weight, x, y, to_x, to_y;
        const char* seen;
    } cases[] = {
        {3, 0, 2, 4, 2, "....../####../####../####../####../....../"},  // y from 1 to 4
        {3, 2, 0, 3, 4, ".####./.####./..####/..####/....../....../"},  // steep: x from 1 to 4
        {3, 2, 2, -1, 0, "....../.####./.####./.####./.####./....../"}, // a dot
        {0, 2, 2, -1, 0, "....../....../..#.../....../....../....../"},
    };
    for (const auto& c : cases) {
        blank();
        weight(w, c.weight);
        if (c.to_x >= 0) {
            move(w, c.x, c.y);
            draw(w, c.to_x, c.to_y);
        } else
            pnt(w, c.x, c.y);
        EXPECT_EQ(picture(w, 6, 6, 8), c.seen) << c.weight << " to " << c.to_x;
    }
}

TEST_F(Draw, PatternsChangeTheBitsThatTheForegroundHas) {
    uint32_t rows[8] = {0, 0, 0, 0, 0, 0, 0x80, 0x03}; // the last row is the top one, bit 0 leftmost
    fillpattern(w, rows);
    fgcolor(w, 0xFF);
    EXPECT_EQ(rectf(w, 0, 0, 7, 2), 0);
    EXPECT_EQ(picture(w, 9, 3, 0xFF), "##......./.......#./........./");
    fillpattern(w, std::vector<uint32_t>(8, 0xFFFFFFFF).data());
    fgcolor(w, 0xA5);
    rectf(w, 0, 0, 7, 7);
    rows[7] = 0xFFFFFF01; // only the low 8 bits count
    fillpattern(w, rows);
    fgcolor(w, 0x0F);
    rectf(w, 0, 0, 8, 0);
    EXPECT_EQ(at(w, 0, 0), 0xAFu); // set: the foreground's bits are set
    EXPECT_EQ(at(w, 1, 0), 0xA0u); // clear: they are cleared
    EXPECT_EQ(at(w, 8, 0), 0x0Fu); // the pattern repeats
    EXPECT_EQ(rectf(w, 5, 5, 4, 5), -1);
    EXPECT_EQ(at(w, 4, 5), 0xA5u);
    fillpattern(w, std::vector<uint32_t>(8, 0xFFFFFFFF).data());
    EXPECT_EQ(rectf(w, 5, 5, 4, 5), 0);
    rectf(w, 0, 0, 3, 0);
    EXPECT_EQ(picture(w, 5, 1, 0x0F), "####./");
}

TEST_F(Draw, PointsComeInFourForms) {
    const double doubles[] = {1.9, 1.2, 5.9, 1, 5, 4.99};
    const float floats[] = {1.9F, 1.2F, 5.9F, 1, 5, 4.99F};
    const int32_t longs[] = {1, 1, 5, 1, 5, 4};
    const int16_t shorts[] = {1, 1, 5, 1, 5, 4};
    const std::pair<int, const void*> lists[] = {{0, doubles}, {2, floats}, {4, longs}, {6, shorts}};
    for (const auto& [type, points] : lists) {
        blank();
        EXPECT_EQ(polyf(w, points, 3, type), 0);
        EXPECT_EQ(picture(w, 7, 5, 8), "......./.#####./.....#./.....#./......./") << type;
    }
    EXPECT_EQ(polyf(w, longs, 0, 4), -1);
    EXPECT_EQ(polyf(w, longs, 3, 1), -1);
    const double odd[] = {std::numeric_limits<double>::quiet_NaN(), 0, 1e300, -1e300};
    EXPECT_EQ(polyf(w, odd, 2, 0), 0);
}

TEST_F(Draw, ClipBoxesAreCutToTheClientAreaAndComeBack) {
    pushattributes(w);
    clipbox(w, -5, 2, 3, 1000);
    const window_attributes& a = window_find(w)->attributes;
    EXPECT_EQ((values{a.clip_x1, a.clip_y2}), (values{0, 79}));
    rectf(w, 0, 0, 9, 3);
    EXPECT_EQ(picture(w, 6, 4, 8), "....../....../####../####../");
    clipbox(w, 50, 50, 40, 40); // nothing is left
    rectf(w, 0, 0, 99, 79);
    EXPECT_EQ(at(w, 45, 45), 0u);
    popattributes(w);
    rectf(w, 0, 0, 5, 0);
    EXPECT_EQ(picture(w, 6, 1, 8), "######/");
    Modify_win(w, 20, 20, 219, 199); // a clip box that was never set doesn't limit a larger window
    rectf(w, 150, 150, 151, 151);
    EXPECT_EQ(at(w, 151, 151), 8u);
}

TEST_F(Draw, ColoursAreLimitedToWhatThereIs) {
    fgcolor(w, 1000);
    EXPECT_EQ(window_find(w)->attributes.foreground, CANVAS_SLOT | 255);
    bgcolor(w, -1);
    EXPECT_EQ(window_find(w)->attributes.background, CANVAS_SLOT | 255);
    EXPECT_EQ(rgbcolor(w, 1, 3), -1);
    rgbcolor(w, 0, 300);
    EXPECT_EQ(window_find(w)->attributes.foreground, CANVAS_SLOT | 255);
    EXPECT_EQ(Set_window_color_mode(w, 2), -1); // not on a palette screen
    start(4);
    w = open(0, 0, 9, 9);
    rgbcolor(w, 0, 300);
    EXPECT_EQ(window_find(w)->attributes.foreground, CANVAS_SLOT | 32);
    start(24);
    w = open(0, 0, 9, 9);
    EXPECT_EQ(Set_window_color_mode(w, 1), -1);
    EXPECT_EQ(Set_window_color_mode(w, 2), 0);
    rgbcolor(w, 0, 0xFF332211);
    pnt(w, 3, 3);
    EXPECT_EQ(at(w, 3, 3), 0x112233u);
}

TEST_F(Draw, AttributesAreStacked) {
    const window_attributes& a = window_find(w)->attributes;
    EXPECT_EQ(popattributes(w), -1);
    move(w, 3, 4);
    for (int i = 0; i < 2; ++i) {
        pushattributes(w);
        fgcolor(w, 9 + i);
        linestyle(w, 1 + i);
        move(w, 30, 40);
    }
    mem_fail_after(0, mem_fail::once);
    EXPECT_EQ(pushattributes(w), -1);
    EXPECT_TRUE(mem_fail_stop());
    for (const auto& [color, style, x] : {std::tuple(9u, 1, 30), std::tuple(8u, 0xFFFF, 3)}) {
        EXPECT_EQ(popattributes(w), 0);
        EXPECT_EQ((values{a.foreground, a.line_style, a.current_x}), (values{CANVAS_SLOT | color, style, x}));
    }
    EXPECT_EQ(popattributes(w), -1);
    pushattributes(w); // goes with the window
    EXPECT_EQ(Delete_win(w), 0);
}

TEST_F(Draw, BitmapsPaintTheirSetBits) {
    const bytes bits = {0x01, 0x02, 0x80, 0x01}; // two rows of 10 pixels, the low bit leftmost
    EXPECT_EQ(drawbitmap(w, 1, 0, 10, 1, bits.data()), 0);
    EXPECT_EQ(picture(w, 12, 2, 8), ".#........#./........##../");
    EXPECT_EQ(drawbitmap(w, 3, 3, 2, 3, bits.data()), -1);
    bytes large(100 * 1000, 0);
    mem_fail_after(0, mem_fail::once);
    EXPECT_EQ(drawbitmap(w, 0, 0, 799, 999, large.data()), -1);
    EXPECT_TRUE(mem_fail_stop());
    EXPECT_EQ(drawbitmap(w, 0, 0, 799, 999, large.data()), 0);
}

TEST_F(Draw, BlocksComeBackAsTheyWere) {
    for (int planes : DEPTHS) {
        SCOPED_TRACE(planes);
        start(planes);
        w = open(20, 20, 119, 99);
        paint(w, 30, 20);
        const std::vector<uint8_t> before = screen();
        int size = 0;
        ASSERT_EQ(blocksize(w, 3, 2, 9, 8, &size), 0);
        EXPECT_EQ(size, (planes <= 8 ? 8 : planes <= 16 ? 14 : 28) * 7);
        bytes native(size_t(size), 0);
        bytes slots(49);
        getblock(w, 3, 2, 9, 8, native.data());
        ASSERT_EQ(pixelblock_size(w, 3, 2, 9, 8, 0, &size), 0);
        EXPECT_EQ(size, 49);
        getpixelblock(w, 3, 2, 9, 8, 0, slots.data());
        // Where two slots have one colour, a true-colour screen tells the lower.
        for (size_t i = 0; i < slots.size(); ++i)
            EXPECT_EQ(canvas_pixel(CANVAS_SLOT | slots[i]), at(w, 3 + int(i % 7), 2 + int(i / 7))) << i;
        saved_area area = nullptr;
        ASSERT_EQ(save_area(w, 0, 0, 29, 19, &area), 0);
        fgcolor(w, 9);
        rectf(w, 0, 0, 29, 19);
        restore_area(w, 0, 0, area);
        EXPECT_EQ(screen(), before);
        rectf(w, 3, 2, 9, 8);
        putblock(w, 3, 2, 9, 8, native.data());
        EXPECT_EQ(screen(), before);
        rectf(w, 3, 2, 9, 8);
        putpixelblock(w, 3, 2, 9, 8, 0, slots.data());
        EXPECT_EQ(screen(), before);
        free_area(area);
    }
    EXPECT_EQ(free_area(nullptr), -1);
    EXPECT_EQ(restore_area(w, 0, 0, nullptr), -1);
    uint8_t pixel[4] = {};
    EXPECT_EQ(getpixelblock(w, 3, 3, 2, 3, 0, pixel), -1);
    EXPECT_EQ(putpixelblock(w, 3, 3, 3, 2, 0, pixel), -1);
    EXPECT_EQ(getpixelblock(w, 3, 3, 3, 3, 1, pixel), -1);
    int size = 0;
    EXPECT_EQ(blocksize(w, 0, 0, 65535, 65535, &size), -1);
    saved_area area = nullptr;
    mem_fail_after(0, mem_fail::once);
    EXPECT_EQ(save_area(w, 0, 0, 9, 9, &area), -1);
    EXPECT_TRUE(mem_fail_stop());
    EXPECT_EQ(area, nullptr);
}

TEST_F(Draw, AWindowThatDoesNotExistIsRefusedByEveryCall) {
    uint8_t buffer[64] = {};
    uint32_t rows[8] = {};
    int32_t points[4] = {};
    int value = 0;
    saved_area area = nullptr;
    for (int n : {30, 40, 63}) {
        const int attributes = fgcolor(n, 1) + bgcolor(n, 1) + rgbcolor(n, 0, 1) + clipbox(n, 0, 0, 1, 1) +
                               weight(n, 1) + linestyle(n, 1) + blendline(n, 1) + fillpattern(n, rows) +
                               pushattributes(n) + popattributes(n) + Set_window_color_mode(n, 0) +
                               RGB_enable_window(n);
        EXPECT_EQ(attributes, -12) << n;
        const int drawing = flushbuffer(n) + move(n, 1, 1) + draw(n, 1, 1) + pnt(n, 1, 1) + rectf(n, 0, 0, 1, 1) +
                            polyf(n, points, 2, 4) + polygon4(n, 0, 1, 0, 0, 1, 1) + drawbitmap(n, 0, 0, 1, 1, buffer) +
                            draw_mask(n, 0, 0, 1, 1, buffer) + drawsymbols(n, 0, 0, 0, "a", 1);
        EXPECT_EQ(drawing, -10) << n;
        const int blocks = blockmove(n, 0, 0, 1, 1, 1, 1) + blocksize(n, 0, 0, 1, 1, &value) +
                           getblock(n, 0, 0, 1, 1, buffer) + putblock(n, 0, 0, 1, 1, buffer) +
                           pixelblock_size(n, 0, 0, 1, 1, 0, &value) + getpixelblock(n, 0, 0, 1, 1, 0, buffer) +
                           putpixelblock(n, 0, 0, 1, 1, 0, buffer) + save_area(n, 0, 0, 1, 1, &area);
        EXPECT_EQ(blocks, -8) << n;
        const int itself = Inq_win_vs(n, &value) + Set_win_title(n, "") + Set_win_sizes(n, 0, 0, 0, 0) +
                           Modify_win(n, 0, 0, 1, 1) + Collapse_win(n) + Display_win(n) + hidecursor(n) +
                           busycursor(n) + Set_win_motion(n, 1) + Set_button_mode(n, 1, 1);
        EXPECT_EQ(itself, -10) << n;
    }
}

} // namespace
