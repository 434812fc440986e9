// Drawing on windows, pixel by pixel.
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
    int w = -1;
};

TEST_F(Draw, a_line_leaves_its_end_to_the_next_one) {
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

TEST_F(Draw, weight_sets_lines_side_by_side_and_squares) {
    weight(w, 3);
    move(w, 0, 2);
    draw(w, 4, 2); // y from 1 to 4
    EXPECT_EQ(picture(w, 6, 6, 8), "....../####../####../####../####../....../");
    rectf(w, 0, 0, 0, 0);
    move(w, 20, 10);
    draw(w, 21, 14); // steep: x from -1 to 2
    fgcolor(w, 9);
    rectf(w, 17, 9, 17, 9); // reference point; the steep lines start at 19
    EXPECT_EQ(at(w, 18, 10), 0u);
    for (int x = 19; x <= 22; ++x)
        EXPECT_EQ(at(w, x, 10), 8u);
    EXPECT_EQ(at(w, 23, 10), 0u);
    pnt(w, 41, 41);
    EXPECT_EQ(at(w, 39, 40), 0u);
    for (int y = 40; y <= 43; ++y)
        for (int x = 40; x <= 43; ++x)
            EXPECT_EQ(at(w, x, y), 9u);
    EXPECT_EQ(at(w, 44, 43), 0u);
    weight(w, 0);
    pnt(w, 60, 60);
    EXPECT_EQ(at(w, 60, 60), 9u);
    EXPECT_EQ(at(w, 61, 60), 0u);
    draw(w, 62, 60); // from the dot on
    EXPECT_EQ(at(w, 61, 60), 9u);
}

TEST_F(Draw, gaps_of_dotted_lines_are_left_alone_or_take_the_background) {
    bgcolor(w, 4);
    linestyle(w, 0x00FF);
    move(w, 0, 0);
    draw(w, 9, 0);
    blendline(w, 0);
    move(w, 0, 1);
    draw(w, 9, 1);
    EXPECT_EQ(picture(w, 10, 2, 8), "###...###./###...###./");
    EXPECT_EQ(picture(w, 10, 2, 4), "........../...###..../");
    linestyle(w, 0xFFFF);
    move(w, 0, 2);
    draw(w, 9, 2);
    EXPECT_EQ(picture(w, 10, 3, 8).substr(22), "#########./");
}

TEST_F(Draw, patterns_change_the_bits_that_the_foreground_has) {
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

TEST_F(Draw, points_come_in_four_forms) {
    const double doubles[] = {1.9, 1.2, 5.9, 1, 5, 4.99};
    const float floats[] = {1.9F, 1.2F, 5.9F, 1, 5, 4.99F};
    const int32_t longs[] = {1, 1, 5, 1, 5, 4};
    const int16_t shorts[] = {1, 1, 5, 1, 5, 4};
    const struct {
        int type;
        const void* points;
    } lists[] = {{0, doubles}, {2, floats}, {4, longs}, {6, shorts}};
    for (const auto& list : lists) {
        fgcolor(w, 0);
        rectf(w, 0, 0, 9, 9);
        fgcolor(w, 8);
        EXPECT_EQ(polyf(w, list.points, 3, list.type), 0);
        EXPECT_EQ(picture(w, 7, 5, 8), "......./.#####./.....#./.....#./......./") << list.type;
    }
    EXPECT_EQ(polyf(w, longs, 0, 4), -1);
    EXPECT_EQ(polyf(w, longs, 3, 1), -1);
    const double odd[] = {std::numeric_limits<double>::quiet_NaN(), 0, 1e300, -1e300};
    EXPECT_EQ(polyf(w, odd, 2, 0), 0);
}

TEST_F(Draw, polygon4_fills_without_an_outline) {
    polygon4(w, 0, 4, 2, 0, 4, 6);
    EXPECT_EQ(picture(w, 7, 5, 8), "..##.../.####../.####../######./......./");
    const std::vector<uint32_t> stripes(8, 0x55);
    fillpattern(w, stripes.data());
    polygon4(w, 10, 12, 0, 0, 8, 8);
    EXPECT_EQ(at(w, 0, 10), 8u);
    EXPECT_EQ(at(w, 1, 10), 0u);
    EXPECT_EQ(polygon4(w, 5, 5, -2000000000, 2000000000, 7, 7), 0);
}

TEST_F(Draw, clip_boxes_are_cut_to_the_client_area_and_come_back) {
    pushattributes(w);
    clipbox(w, -5, 2, 3, 1000);
    const window_attributes& a = window_find(w)->attributes;
    EXPECT_EQ(a.clip_x1, 0);
    EXPECT_EQ(a.clip_y2, 79);
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

TEST_F(Draw, colours_are_limited_to_what_there_is) {
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

TEST_F(Draw, attributes_are_stacked) {
    EXPECT_EQ(popattributes(w), -1);
    move(w, 3, 4);
    weight(w, 2);
    pushattributes(w);
    fgcolor(w, 9);
    linestyle(w, 1);
    pushattributes(w);
    fgcolor(w, 10);
    move(w, 30, 40);
    mem_fail_after(0, mem_fail::once);
    EXPECT_EQ(pushattributes(w), -1);
    EXPECT_TRUE(mem_fail_stop());
    EXPECT_EQ(popattributes(w), 0);
    EXPECT_EQ(window_find(w)->attributes.foreground, CANVAS_SLOT | 9);
    EXPECT_EQ(window_find(w)->attributes.line_style, 1);
    EXPECT_EQ(window_find(w)->attributes.current_x, 3);
    EXPECT_EQ(popattributes(w), 0);
    EXPECT_EQ(window_find(w)->attributes.foreground, CANVAS_SLOT | 8);
    EXPECT_EQ(window_find(w)->attributes.line_style, 0xFFFF);
    EXPECT_EQ(popattributes(w), -1);
    pushattributes(w); // goes with the window
    EXPECT_EQ(Delete_win(w), 0);
}

TEST_F(Draw, bitmaps_and_masks_paint_single_pixels) {
    std::mt19937 random(7);
    for (int width : {1, 7, 8, 9, 15, 16, 17, 33}) {
        const size_t bytes_in_row = size_t(width + 7) / 8;
        bytes bits(bytes_in_row * 5);
        for (uint8_t& b : bits)
            b = uint8_t(random());
        fgcolor(w, 2);
        rectf(w, 0, 0, 99, 9);
        fgcolor(w, 8);
        ASSERT_EQ(drawbitmap(w, 3, 1, 2 + width, 5, bits.data()), 0);
        const size_t mask_row = size_t(width + 15) / 16 * 2;
        bytes mask(mask_row * 5, 0xFF);
        for (int y = 0; y < 5; ++y)
            for (int x = 0; x < width + 8; ++x) {
                const bool set = x < width && (bits[size_t(y) * bytes_in_row + size_t(x) / 8] >> (x & 7) & 1) != 0;
                ASSERT_EQ(at(w, 3 + x, 1 + y), set ? 8u : 2u) << width << " at " << x << "," << y;
                if (set) mask[size_t(y) * mask_row + size_t(x) / 8] &= uint8_t(~(0x80 >> (x & 7)));
            }
        const auto drawn = picture(w, 50, 9, 8);
        fgcolor(w, 2);
        rectf(w, 0, 0, 99, 9);
        fgcolor(w, 8);
        draw_mask(w, 3, 1, width, 5, mask.data());
        EXPECT_EQ(picture(w, 50, 9, 8), drawn);
    }
    const uint8_t bit = 1;
    EXPECT_EQ(drawbitmap(w, 3, 3, 2, 3, &bit), -1);
    EXPECT_EQ(draw_mask(w, 0, 0, 0, 5, &bit), 0);
    bytes large(100 * 1000, 0);
    mem_fail_after(0, mem_fail::once);
    EXPECT_EQ(drawbitmap(w, 0, 0, 799, 999, large.data()), -1);
    EXPECT_TRUE(mem_fail_stop());
    EXPECT_EQ(drawbitmap(w, 0, 0, 799, 999, large.data()), 0);
}

class DrawText : public ToolsFixture {};

TEST_F(DrawText, a_text_is_drawn_in_the_foreground) {
    const std::string path =
        write("small.12", font_of({{'a', 3, 2, 0, 1, 4, 0, {0x05, 0x02}}, {'b', 2, 1, -1, 0, 3, 4, {0x03}}}));
    const host_screen size = {64, 48, 8, 0};
    ASSERT_TRUE(host_start_with(&host_headless, &size, "Main"));
    ASSERT_EQ(Enter_tools(), 0);
    int font = -1;
    int w = -1;
    ASSERT_EQ(Load_symbol_file(path.c_str(), &font), 0);
    Create_win_no_border(0, 0, 0, 19, 9, &w);
    EXPECT_EQ(drawsymbols(w, font, 0, 0, "ab", 2), 0); // not displayed
    Display_win(w);
    fgcolor(w, 8);
    EXPECT_EQ(drawsymbols(w, font, 1, 1, "ab?", 3), 0);
    std::string rows;
    for (int y = 0; y < 5; ++y, rows += '/')
        for (int x = 0; x < 8; ++x)
            rows += canvas_get_pixel(window_find(w)->dc, x, y) == 8 ? '#' : '.';
    EXPECT_EQ(rows, "......../....##../.#.#..../..#...../......../");
    EXPECT_EQ(drawsymbols(w, font, 1, 1, "", 0), 0);
    EXPECT_EQ(drawsymbols(w, font + 1, 1, 1, "ab", 2), -1);
    EXPECT_EQ(drawsymbols(w, 300, 1, 1, "ab", 2), -1);
    EXPECT_EQ(drawsymbols(41, font, 1, 1, "ab", 2), -1);
    tools_leave();
}

TEST_F(Draw, blocks_come_back_as_they_were) {
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
        for (size_t i = 0; i < slots.size();
             ++i) // where two slots have one colour, a true-colour screen tells the lower
            EXPECT_EQ(canvas_pixel(CANVAS_SLOT | slots[i]), at(w, 3 + int(i % 7), 2 + int(i / 7))) << i;
        saved_area area = nullptr;
        ASSERT_EQ(save_area(w, 0, 0, 29, 19, &area), 0);
        const auto wipe = [&] {
            fgcolor(w, 9);
            rectf(w, 0, 0, 29, 19);
        };
        wipe();
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

TEST_F(Draw, true_colour_blocks_have_four_bytes_a_pixel) {
    start(24);
    w = open(20, 20, 119, 99);
    Set_window_color_mode(w, 2);
    int size = 0;
    pixelblock_size(w, 0, 0, 2, 0, 0, &size);
    EXPECT_EQ(size, 12);
    const bytes pixels = {1, 2, 3, 0, 40, 50, 60, 0, 255, 254, 253, 0};
    putpixelblock(w, 5, 5, 7, 5, 0, pixels.data());
    EXPECT_EQ(at(w, 6, 5), 0x28323Cu);
    bytes back(12, 99);
    getpixelblock(w, 5, 5, 7, 5, 0, back.data());
    EXPECT_EQ(back, pixels);
}

TEST_F(Draw, moved_blocks_overlap_and_ask_for_what_was_covered) {
    for (int x = 0; x < 8; ++x) {
        fgcolor(w, x);
        rectf(w, x, 0, x, 3);
    }
    blockmove(w, 0, 0, 7, 3, 2, 1);
    for (int x = 0; x < 8; ++x)
        EXPECT_EQ(at(w, 2 + x, 1), uint32_t(x));
    EXPECT_EQ(at(w, 1, 1), 1u);
    EXPECT_EQ(take_refreshes(), "");
    open(30, 20, 39, 99); // covers columns 10 to 19
    blockmove(w, 5, 50, 14, 59, 40, 50);
    EXPECT_EQ(take_refreshes(), std::to_string(w) + ":45,50,49,59/1 ");
}

TEST_F(Draw, covered_and_hidden_windows_keep_others_pixels) {
    const int upper = open(40, 40, 59, 59);
    paint(upper, 20, 20);
    const std::vector<uint8_t> before = screen();
    clipbox(w, 20, 20, 39, 39); // just the part that is covered
    rectf(w, 0, 0, 99, 79);
    EXPECT_EQ(screen(), before);
    Collapse_win(upper);
    take_refreshes();
    const std::vector<uint8_t> icon = screen();
    uint8_t pixel[4] = {77};
    saved_area area = nullptr;
    int hidden = -1;
    Create_win_no_border(0, 0, 0, 50, 50, &hidden);
    for (int n : {upper, hidden}) {
        fgcolor(n, 9);
        EXPECT_EQ(move(n, 0, 0), 0);
        EXPECT_EQ(draw(n, 9, 9), 0);
        EXPECT_EQ(pnt(n, 1, 1), 0);
        EXPECT_EQ(rectf(n, 0, 0, 99, 99), 0);
        EXPECT_EQ(polygon4(n, 0, 9, 0, 0, 9, 9), 0);
        EXPECT_EQ(drawbitmap(n, 0, 0, 0, 0, pixel), 0);
        EXPECT_EQ(blockmove(n, 0, 0, 9, 9, 5, 5), 0);
        EXPECT_EQ(putblock(n, 0, 0, 0, 0, pixel), 0);
        EXPECT_EQ(putpixelblock(n, 0, 0, 0, 0, 0, pixel), 0);
        EXPECT_EQ(getpixelblock(n, 0, 0, 0, 0, 0, pixel), 0);
        EXPECT_EQ(save_area(n, 0, 0, 9, 9, &area), 0);
        EXPECT_EQ(area, nullptr);
    }
    EXPECT_EQ(pixel[0], 77);
    EXPECT_EQ(screen(), icon);
}

TEST_F(Draw, a_window_that_does_not_exist_is_refused_by_every_call) {
    uint8_t buffer[64] = {};
    uint32_t rows[8] = {};
    int32_t points[4] = {};
    int value = 0;
    saved_area area = nullptr;
    for (int n : {30, 40, 63}) {
        const int results[] = {fgcolor(n, 1),
                               bgcolor(n, 1),
                               rgbcolor(n, 0, 1),
                               clipbox(n, 0, 0, 1, 1),
                               weight(n, 1),
                               linestyle(n, 1),
                               blendline(n, 1),
                               fillpattern(n, rows),
                               pushattributes(n),
                               popattributes(n),
                               flushbuffer(n),
                               move(n, 1, 1),
                               draw(n, 1, 1),
                               pnt(n, 1, 1),
                               rectf(n, 0, 0, 1, 1),
                               polyf(n, points, 2, 4),
                               polygon4(n, 0, 1, 0, 0, 1, 1),
                               drawbitmap(n, 0, 0, 1, 1, buffer),
                               draw_mask(n, 0, 0, 1, 1, buffer),
                               blockmove(n, 0, 0, 1, 1, 1, 1),
                               blocksize(n, 0, 0, 1, 1, &value),
                               getblock(n, 0, 0, 1, 1, buffer),
                               putblock(n, 0, 0, 1, 1, buffer),
                               pixelblock_size(n, 0, 0, 1, 1, 0, &value),
                               getpixelblock(n, 0, 0, 1, 1, 0, buffer),
                               putpixelblock(n, 0, 0, 1, 1, 0, buffer),
                               save_area(n, 0, 0, 1, 1, &area),
                               Set_window_color_mode(n, 0),
                               RGB_enable_window(n)};
        for (size_t i = 0; i < std::size(results); ++i)
            EXPECT_EQ(results[i], -1) << "call " << i << " on " << n;
    }
}

} // namespace
