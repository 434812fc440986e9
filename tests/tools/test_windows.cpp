// Numbered windows: numbers, places, states, refreshes, the scrolling main window, the cursor.
#include "common/values.h"
#include "draw_fixture.h"

namespace {

class Windows : public DrawFixture {
protected:
    void SetUp() override {
        DrawFixture::SetUp();
        start(8);
    }
    static std::string region(int window) {
        int x1 = 0, y1 = 0, x2 = 0, y2 = 0;
        if (Inq_win_region(window, &x1, &y1, &x2, &y2) != 0) return "none";
        return std::to_string(x1) + "," + std::to_string(y1) + "," + std::to_string(x2) + "," + std::to_string(y2);
    }
    static int pump() {
        uint32_t events;
        return Inq_events(&events);
    }
    static std::string take_collapses() {
        pump();
        std::string all;
        int window, state;
        while (Get_collapse_data(&window, &state) == 0)
            all += std::to_string(window) + "=" + std::to_string(state) + " ";
        return all;
    }
    static void click(int x, int y) {
        headless_click(x, y, HOST_LEFT);
        pump();
    }
};

TEST_F(Windows, NumbersGoFrom0To39AndAreUsedAgainFromTheLowest) {
    int n = -1;
    for (int i = 1; i < WINDOW_COUNT; ++i) {
        ASSERT_EQ(Create_win_no_border(0, i, i, i + 20, i + 20, &n), 0);
        ASSERT_EQ(n, i);
    }
    EXPECT_EQ(Create_win_no_border(0, 0, 0, 9, 9, &n), -1);
    EXPECT_EQ(n, 39);
    for (int number : {0, 40, 63})
        EXPECT_EQ(Delete_win(number), -1) << number;
    EXPECT_EQ(fgcolor(64 + 5, 3), 0); // only the low 6 bits of a number count
    EXPECT_EQ(window_find(5)->attributes.foreground, CANVAS_SLOT | 3);
    EXPECT_EQ(Delete_win(7) + Delete_win(3), 0);
    EXPECT_EQ(Delete_win(7), -1);
    EXPECT_EQ(region(3), "none");
    pump();
    EXPECT_EQ(Get_delete_data(&n), -1); // the program did it itself
    for (int expected : {3, 7}) {
        EXPECT_EQ(Create_win_frame(0, 0, 0, 9, 9, &n), 0);
        EXPECT_EQ(n, expected);
    }
    windows_destroy();
    EXPECT_EQ(Create_win_frame(0, 0, 0, 9, 9, &n), 0);
    EXPECT_EQ(n, 0); // the main window's own
}

TEST_F(Windows, TheGivenRectangleIsTheClientAreaWhateverIsAroundIt) {
    const desk_metrics* m = desk_sizes();
    const int width = m->frame_width, height = m->frame_height, dialog = m->dialog_frame, title = m->caption_height - 1;
    const struct {
        int flags, left, top;
    } kinds[] = {{0, 0, 0},
                 {1, width, height},
                 {3, width, height + title},
                 {8, 0, 11},
                 {9, width, height + 11},
                 {16, dialog, dialog},
                 {18, dialog, dialog + title},
                 {4 + 1, width, height},
                 {32, 0, 0}};
    for (const auto& kind : kinds) {
        int n = -1;
        ASSERT_EQ(Create_win_flags(kind.flags, 0, "Title", 50, 60, 149, 139, &n), 0);
        EXPECT_EQ(region(n), "50,60,149,139") << kind.flags;
        const canvas_box outer = desk_outer(window_find(n)->handle);
        const int edge = kind.left; // that of three sides
        EXPECT_EQ((values{outer.x1, outer.y1, outer.x2, outer.y2}),
                  (values{50 - edge, 60 - kind.top, 150 + edge, 140 + edge}))
            << kind.flags;
        Modify_win(n, 70, 80, 99, 99);
        EXPECT_EQ(region(n), "70,80,99,99") << kind.flags;
        Delete_win(n);
    }
    EXPECT_EQ(Win_frame_width(), desk_sizes()->frame_width);
}

TEST_F(Windows, DisplayingBringsToTheTopOnceAndWithoutARefresh) {
    const int lower = open(10, 10, 59, 59);
    int upper = -1;
    Create_win_no_border(0, 30, 30, 79, 79, &upper);
    EXPECT_EQ(Display_win(upper), 0);
    EXPECT_EQ(Display_win(upper), -1);
    EXPECT_EQ(Display_win(0), -1);
    EXPECT_EQ(take_refreshes(), "");
    Delete_win(upper);
    EXPECT_EQ(take_refreshes(), std::to_string(lower) + ":20,20,49,49/1 ");
    Modify_win(lower, 20, 10, 69, 59);
    EXPECT_EQ(take_refreshes(), std::to_string(lower) + ":0,0,49,49/17 ");
    Modify_win(lower, 20, 10, 79, 59);
    EXPECT_EQ(take_refreshes(), std::to_string(lower) + ":0,0,59,49/33 ");
    EXPECT_EQ(take_refreshes(), "");
}

TEST_F(Windows, CollapsedWindowsAreIcons) {
    const int w = open(50, 50, 149, 99);
    int state = -1, other = -1, x, y;
    EXPECT_EQ(Set_win_collapse_org(w, 17, 33), 0);
    EXPECT_EQ(Collapse_win(w), 0);
    Inq_win_collapse_stat(w, &state);
    EXPECT_EQ((values{state, region(w), desk_outer(window_find(w)->handle).x1}), (values{1, "50,50,149,99", 17}));
    Modify_win(w, 60, 50, 149, 99);
    EXPECT_EQ(Uncollapse_win(w), 0);
    EXPECT_EQ(take_collapses(), ""); // the program knows
    EXPECT_EQ(region(w), "60,50,149,99");
    Set_win_collapse_org(w, -100, 100000);
    Inq_win_collapse_org(w, &x, &y);
    EXPECT_EQ(y, screen_height);

    Create_win_no_border(0, 0, 0, 9, 9, &other);
    Collapse_win(other); // before it is displayed
    Display_win(other);
    EXPECT_EQ(desk_state(window_find(other)->handle), host_state::minimised);
    EXPECT_EQ(take_collapses(), "");
    desk_set_state(window_find(other)->handle, host_state::restored); // as when the user does it
    EXPECT_EQ(take_collapses(), std::to_string(other) + "=0 ");
}

TEST_F(Windows, TheTopLevelWindowStaysAbove) {
    int top = -1;
    ASSERT_EQ(Create_level_window(0, WINDOW_TOP_LEVEL, 20, 20, 39, 39, &top), 0);
    EXPECT_EQ(topmost_window, window_find(top)->handle);
    Display_win(top);
    paint(top, 20, 20);
    const uint32_t pixel = at(top, 5, 5);
    const int later = open(0, 0, 99, 99);
    fgcolor(later, 12);
    rectf(later, 0, 0, 99, 99);
    EXPECT_EQ(at(top, 5, 5), pixel);
    Delete_win(top);
    EXPECT_EQ(topmost_window, nullptr);
}

TEST_F(Windows, TheCursorIsEachWindowsOwn) {
    const int w = open(50, 50, 149, 99);
    int x, y, inside, n;
    headless_pointer(60, 60);
    pump();
    const std::pair<int (*)(int), host_cursor> calls[] = {{busycursor, host_cursor::busy},
                                                          {hidecursor, host_cursor::none},
                                                          {defaultcursor, host_cursor::none},
                                                          {showcursor, host_cursor::arrow}};
    for (const auto& [call, shown] : calls) {
        call(w);
        EXPECT_EQ(headless_cursor(), shown);
    }
    busycursor(w);
    const int cover = open(55, 55, 65, 65);
    EXPECT_EQ(headless_cursor(), host_cursor::arrow) << "without any move of the mouse";
    Mouse_position(w, &x, &y, &inside);
    EXPECT_EQ(x * 100 + y * 10 + inside, 1100);
    Mouse_win_position(&n, &x, &y, &inside);
    EXPECT_EQ(n * 100 + x * 10 + inside, cover * 100 + 51);
    Warp_cursor(1, 2);
    pump();
    Mouse_win_position(&n, &x, &y, &inside);
    EXPECT_EQ(n * 100 + x * 10 + y, 12);
}

TEST_F(Windows, ASmallerMainWindowScrollsOverItsSpace) {
    const int w = open(200, 150, 299, 199);
    headless_resize(220, 160, host_state::restored);
    pump();
    take_refreshes();
    const int bar = desk_sizes()->scroll_bar;
    // The ends of the bars: 16 pixels a step.
    const auto right = [&] { click(220 - bar - bar / 2, 160 - bar / 2); };
    const auto down = [&] { click(220 - bar / 2, 160 - bar - bar / 2); };
    right();
    right();
    down();
    EXPECT_EQ((values{scroll_x, scroll_y}), (values{32, 16}));
    EXPECT_EQ(region(w), "200,150,299,199"); // in the space it stays where it was
    EXPECT_EQ(desk_client(window_find(w)->handle).x1, 168);
    EXPECT_EQ(take_refreshes(), std::to_string(w) + ":0,0,35,9/17 "); // as much of it as came to light, in one
    int other = -1;
    Create_win_no_border(0, 100, 100, 109, 109, &other);
    EXPECT_EQ((values{region(other), desk_client(window_find(other)->handle).y1}), (values{"100,100,109,109", 84}));
    Warp_cursor(105, 103);
    pump();
    EXPECT_EQ(desk_pointer().x, 73);
    for (int i = 0; i < 30; ++i) // page after page: only so far as the space reaches
        click(220 - bar / 2, 160 - 3 * bar);
    EXPECT_EQ(scroll_y, 239 - (160 - bar));
    headless_resize(320, 240, host_state::restored); // larger: an offset above its range is lowered
    pump();
    EXPECT_EQ((values{scroll_x, scroll_y, desk_client(window_find(w)->handle).x1}), (values{0, 0, 200}));
    headless_resize(220, 160, host_state::maximised); // as without a window manager: it has bars all the same
    pump();
    down();
    EXPECT_EQ(scroll_y, 16);
}

TEST_F(Windows, PaintsWaitWhileAThumbIsDraggedAndEndAsOneRefresh) {
    const int w = open(100, 100, 299, 219);
    headless_resize(160, 120, host_state::restored);
    pump();
    take_refreshes();
    const int bar = desk_sizes()->scroll_bar;
    const int y = 120 - bar / 2;
    fgcolor(w, 9);
    rectf(w, 0, 0, 199, 119);
    headless_pointer(bar + 10, y);
    headless_button(HOST_LEFT, true, 0);
    pump();
    std::vector<int> offsets;
    for (int x = 30; x < 70; x += 10) {
        headless_pointer(bar + x, y);
        EXPECT_EQ(take_refreshes(), "");
        EXPECT_EQ(at(w, 160 - bar - 1 - 100 + scroll_x, 10), 0u) << "the strip that came to light is empty";
        offsets.push_back(scroll_x);
    }
    EXPECT_TRUE(std::is_sorted(offsets.begin(), offsets.end()));
    EXPECT_GT(offsets.back(), offsets.front());
    headless_button(HOST_LEFT, false, 0);
    const std::string refresh = take_refreshes();
    EXPECT_EQ(std::count(refresh.begin(), refresh.end(), ':'), 1) << refresh;
    EXPECT_EQ(refresh.substr(0, 2), std::to_string(w) + ":");
    headless_resize(320, 240, host_state::maximised);
    pump();
    EXPECT_EQ(scroll_x, 0);
}

// What the program is told of the screen: "width x height" each time.
std::string told;
void note_screen() {
    told += std::to_string(screen_width + 1) + "x" + std::to_string(screen_height + 1) + " ";
}

TEST_F(Windows, TheScreenFollowsTheMainWindowAndIsToldOnce) {
    start(8, 1600, 1200);
    told.clear();
    tools_set_screen_hook(note_screen);
    const auto resize = [](int width, int height, uint32_t time) {
        headless_resize(width, height, host_state::restored);
        pump();
        headless_advance(time);
        pump();
    };
    const int w = open(1400, 1000, 1499, 1099);
    resize(1500, 1100, SCREEN_SETTLES / 2); // a drag
    resize(1200, 900, SCREEN_SETTLES / 2);
    EXPECT_EQ(told, "");
    resize(1400, 1000, SCREEN_SETTLES);
    EXPECT_EQ((values{told, region(w)}), (values{"1400x1000 ", "1400,1000,1499,1099"}));
    int32_t records[SCREEN_RECORDS][SCREEN_WORDS];
    Inq_screen_info(records);
    EXPECT_EQ(records[0][SCREEN_WIDTH], 1399);
    told.clear();
    resize(1300, 900, SCREEN_SETTLES / 2);
    resize(1400, 1000, SCREEN_SETTLES); // nothing has changed
    EXPECT_EQ(told, "");
    // No smaller than forms need. A bar takes its room from the other direction.
    const int bar = desk_sizes()->scroll_bar;
    const struct {
        int width, height, screen_width, screen_height, client_width, client_height;
    } cases[] = {{1024, 768, 1024, 768, 1024, 768},
                 {900, 1000, 1024, 1000 - bar, 900, 1000 - bar},
                 {900, 760, 1024, 768, 900 - bar, 760 - bar},
                 {1030, 700, 1024, 768, 1030 - bar, 700 - bar},
                 {1100, 700, 1100 - bar, 768, 1100 - bar, 700},
                 {2000, 1700, 2000, 1700, 2000, 1700}};
    for (const auto& c : cases) {
        resize(c.width, c.height, SCREEN_SETTLES);
        const canvas_box client = desk_client(desk_main());
        EXPECT_EQ((values{screen_width + 1, screen_height + 1, client.x2, client.y2}),
                  (values{c.screen_width, c.screen_height, c.client_width, c.client_height}))
            << c.width << "x" << c.height;
    }
    EXPECT_EQ(desk_sizes()->factor, 2);
    tools_set_screen_hook(nullptr);
}

TEST_F(Windows, FramesGrowAroundClientAreas) {
    start(8, 1600, 1200);
    int w = -1;
    Create_win(0, "Title", 50, 60, 249, 159, &w);
    Display_win(w);
    const int frame = Win_frame_width();
    headless_resize(2600, 1700, host_state::maximised);
    pump();
    EXPECT_EQ(Win_frame_width(), 2 * frame);
    EXPECT_EQ((values{region(w), desk_outer(window_find(w)->handle).x1}), (values{"50,60,249,159", 50 - 2 * frame}));
    headless_resize(1600, 1200, host_state::maximised);
    pump();
    EXPECT_EQ(desk_outer(window_find(w)->handle).x1, 50 - frame);
}

TEST_F(Windows, PopUpsStayInWhatIsShown) {
    int top = -1, w = -1;
    start(8, 1600, 1200);
    ASSERT_EQ(Create_level_window(0, WINDOW_TOP_LEVEL, 1550, 1150, 1649, 1249, &top), 0);
    Display_win(top);
    EXPECT_EQ(region(top), "1500,1100,1599,1199");
    Modify_win(top, 1300, 1000, 1399, 1199);
    Enter_SR(0, 0, &w);
    Create_SR_area(0, 1000, 700, 1299, 999);
    rectf(0, 0, 0, 299, 299);
    headless_resize(800, 600, host_state::restored);
    const std::string refreshes = take_refreshes();
    const canvas_box shown = desk_client(desk_main());
    for (int n : {0, top}) {
        const canvas_box client = desk_client(window_find(n)->handle);
        EXPECT_TRUE(client.x2 == shown.x2 && client.y2 == shown.y2) << n;
    }
    EXPECT_EQ(refreshes.substr(0, 2), "0:") << "it is drawn at its new place";
    Delete_SR_area(0);
    EXPECT_NE(take_refreshes(), "") << "and what it covered there is drawn again";
    Create_SR_area(0, 700, 500, 1799, 599); // wider than what is shown: it begins there
    EXPECT_EQ(desk_client(window_find(0)->handle).x1, 0);
    Delete_SR_area(0);
}

} // namespace
