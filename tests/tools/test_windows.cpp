// Numbered windows: numbers, places, states, refreshes, the scrolling main window, the cursor.
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

TEST_F(Windows, numbers_go_from_0_to_39_and_are_used_again_from_the_lowest) {
    int n = -1;
    for (int i = 1; i < WINDOW_COUNT; ++i) {
        ASSERT_EQ(Create_win_no_border(0, i, i, i + 20, i + 20, &n), 0);
        ASSERT_EQ(n, i);
        ASSERT_EQ(Display_win(n), 0);
        paint(n, 21, 21);
        ASSERT_EQ(region(n), std::to_string(i) + "," + std::to_string(i) + "," + std::to_string(i + 20) + "," +
                                 std::to_string(i + 20));
    }
    EXPECT_EQ(Create_win_no_border(0, 0, 0, 9, 9, &n), -1);
    EXPECT_EQ(n, 39);
    EXPECT_EQ(Delete_win(0), -1);
    EXPECT_EQ(Delete_win(40), -1);
    EXPECT_EQ(Delete_win(63), -1);
    EXPECT_EQ(fgcolor(64 + 5, 3), 0); // only the low 6 bits of a number count
    EXPECT_EQ(window_find(5)->attributes.foreground, CANVAS_SLOT | 3);
    EXPECT_EQ(Delete_win(7), 0);
    EXPECT_EQ(Delete_win(7), -1);
    EXPECT_EQ(Delete_win(3), 0);
    EXPECT_EQ(region(3), "none");
    take_refreshes();
    int deleted;
    EXPECT_EQ(Get_delete_data(&deleted), -1); // the program did it itself
    for (int expected : {3, 7}) {
        EXPECT_EQ(Create_win_frame(0, 0, 0, 9, 9, &n), 0);
        EXPECT_EQ(n, expected);
    }
    windows_destroy();
    EXPECT_EQ(Create_win_frame(0, 0, 0, 9, 9, &n), 0);
    EXPECT_EQ(n, 0); // the main window's own
}

TEST_F(Windows, no_memory_leaves_the_number_free) {
    for (int failing = 0; failing < 20; ++failing) {
        mem_fail_after(failing, mem_fail::once);
        int n = -1;
        const int made = Create_win(0, "title", 10, 40, 99, 99, &n);
        const bool failed = mem_fail_stop();
        if (!failed) {
            EXPECT_EQ(made, 0);
            EXPECT_EQ(n, 1);
            return;
        }
        EXPECT_EQ(made, -1);
        EXPECT_EQ(window_find(1), nullptr);
    }
    FAIL() << "too many allocations";
}

TEST_F(Windows, the_given_rectangle_is_the_client_area_whatever_is_around_it) {
    const struct {
        int flags, left, top;
    } kinds[] = {{0, 0, 0},
                 {1, desk_sizes()->frame_width, desk_sizes()->frame_height},
                 {3, desk_sizes()->frame_width, desk_sizes()->frame_height + desk_sizes()->caption_height - 1},
                 {8, 0, 11},
                 {9, desk_sizes()->frame_width, desk_sizes()->frame_height + 11},
                 {16, desk_sizes()->dialog_frame, desk_sizes()->dialog_frame},
                 {18, desk_sizes()->dialog_frame, desk_sizes()->dialog_frame + desk_sizes()->caption_height - 1},
                 {4 + 1, desk_sizes()->frame_width, desk_sizes()->frame_height},
                 {32, 0, 0}};
    for (const auto& kind : kinds) {
        int n = -1;
        ASSERT_EQ(Create_win_flags(kind.flags, 0, "Title", 50, 60, 149, 139, &n), 0);
        EXPECT_EQ(region(n), "50,60,149,139") << kind.flags;
        const canvas_box outer = desk_outer(window_find(n)->handle);
        EXPECT_EQ(outer.x1, 50 - kind.left) << kind.flags;
        EXPECT_EQ(outer.y1, 60 - kind.top) << kind.flags;
        Modify_win(n, 70, 80, 99, 99);
        EXPECT_EQ(region(n), "70,80,99,99") << kind.flags;
        Delete_win(n);
    }
    EXPECT_EQ(Win_frame_width(), desk_sizes()->frame_width);
}

TEST_F(Windows, displaying_brings_to_the_top_once_and_without_a_refresh) {
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

TEST_F(Windows, collapsed_windows_are_icons) {
    const int w = open(50, 50, 149, 99);
    int state = -1;
    int other = -1;
    EXPECT_EQ(Set_win_collapse_org(w, 17, 33), 0);
    EXPECT_EQ(Collapse_win(w), 0);
    EXPECT_EQ(take_collapses(), ""); // the program knows
    Inq_win_collapse_stat(w, &state);
    EXPECT_EQ(state, 1);
    EXPECT_EQ(region(w), "50,50,149,99");
    EXPECT_EQ(desk_outer(window_find(w)->handle).x1, 17);
    Modify_win(w, 60, 50, 149, 99);
    EXPECT_EQ(Uncollapse_win(w), 0);
    EXPECT_EQ(take_collapses(), "");
    EXPECT_EQ(region(w), "60,50,149,99");
    int x, y;
    Set_win_collapse_org(w, -100, 100000);
    Inq_win_collapse_org(w, &x, &y);
    EXPECT_EQ(y, screen_height);

    Create_win_no_border(0, 0, 0, 9, 9, &other);
    Collapse_win(other); // before it is displayed
    EXPECT_EQ(desk_state(window_find(other)->handle), host_state::restored);
    Display_win(other);
    EXPECT_EQ(desk_state(window_find(other)->handle), host_state::minimised);
    EXPECT_EQ(take_collapses(), "");
    take_refreshes();
    desk_set_state(window_find(other)->handle, host_state::restored); // as when the user does it
    EXPECT_EQ(take_collapses(), std::to_string(other) + "=0 ");
    EXPECT_EQ(take_refreshes().substr(0, 2), std::to_string(other) + ":");
}

TEST_F(Windows, the_user_closes_a_window_and_its_number_is_free) {
    int w = -1;
    ASSERT_EQ(Create_win(0, "Closing", 50, 60, 149, 139, &w), 0);
    Display_win(w);
    const canvas_box outer = desk_outer(window_find(w)->handle);
    const canvas_point menu = {outer.x1 + desk_sizes()->frame_width + 8, outer.y1 + desk_sizes()->frame_height + 8};
    headless_click(menu.x, menu.y, HOST_LEFT); // twice on the window menu's box
    headless_click(menu.x, menu.y, HOST_LEFT);
    pump();
    int deleted = -1;
    EXPECT_EQ(Get_delete_data(&deleted), 0);
    EXPECT_EQ(deleted, w);
    EXPECT_EQ(window_find(w), nullptr);
    EXPECT_EQ(rectf(w, 0, 0, 9, 9), -1);
}

TEST_F(Windows, the_top_level_window_stays_above) {
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

TEST_F(Windows, titles_are_cut_and_values_are_kept) {
    int w = -1;
    const std::string long_title(200, 'x');
    Create_win(0, long_title.c_str(), 50, 60, 149, 139, &w);
    EXPECT_EQ(std::string(window_find(w)->title), std::string(77, 'x'));
    EXPECT_EQ(Set_win_title(w, nullptr), 0);
    EXPECT_STREQ(window_find(w)->title, "");
    EXPECT_EQ(Set_main_title("Other"), 0);
    EXPECT_STREQ(headless_title(), "Other");
    EXPECT_EQ(Set_win_sizes(w, 1, 2, 3, 70000), 0);
    EXPECT_EQ(window_find(w)->max_height, 32767);
    EXPECT_EQ(Set_win_sys_hdr(w, 5, 6), 0);
    EXPECT_EQ(window_find(w)->sys_hdr_second, 6);
    EXPECT_EQ(Set_button_mode(w, 1, 3), 0);
    EXPECT_EQ(Set_button_mode(w, 3, 3), -1);
    EXPECT_EQ(Set_button_mode(w, 1, 4), -1);
    EXPECT_EQ(window_find(w)->button_mode[1], 3);
    EXPECT_EQ(Set_win_button_mode(w, 2), 0);
    EXPECT_EQ(window_find(w)->button_mode[0], 2);
    int vs = 9;
    EXPECT_EQ(Inq_win_vs(w, &vs), 0);
    EXPECT_EQ(vs, 0);
    for (int n : {30, 40})
        EXPECT_EQ(Inq_win_vs(n, &vs) + Set_win_title(n, "") + Set_win_sizes(n, 0, 0, 0, 0) + Modify_win(n, 0, 0, 1, 1) +
                      Collapse_win(n) + Display_win(n) + hidecursor(n) + busycursor(n) + Set_win_motion(n, 1),
                  -9);
}

TEST_F(Windows, the_cursor_is_each_windows_own) {
    const int w = open(50, 50, 149, 99);
    headless_pointer(60, 60);
    pump();
    EXPECT_EQ(headless_cursor(), host_cursor::arrow);
    busycursor(w);
    EXPECT_EQ(headless_cursor(), host_cursor::busy);
    hidecursor(w);
    EXPECT_EQ(headless_cursor(), host_cursor::none);
    all_defaultcursor();
    EXPECT_EQ(headless_cursor(), host_cursor::none);
    showcursor(w);
    EXPECT_EQ(headless_cursor(), host_cursor::arrow);
    int x, y, inside, n;
    Mouse_position(w, &x, &y, &inside);
    EXPECT_EQ(std::to_string(x) + "," + std::to_string(y) + "," + std::to_string(inside), "10,10,1");
    const int cover = open(55, 55, 65, 65);
    Mouse_position(w, &x, &y, &inside);
    EXPECT_EQ(inside, 0);
    Mouse_win_position(&n, &x, &y, &inside);
    EXPECT_EQ(n, cover);
    EXPECT_EQ(x, 5);
    Warp_cursor(1, 2);
    pump();
    Mouse_win_position(&n, &x, &y, &inside);
    EXPECT_EQ(n, 0);
    EXPECT_EQ(x, 1);
    EXPECT_EQ(y, 2);
}

TEST_F(Windows, a_smaller_main_window_scrolls_over_its_space) {
    const int w = open(200, 150, 299, 199);
    headless_resize(220, 160, host_state::restored);
    pump();
    take_refreshes();
    const int bar = desk_sizes()->scroll_bar;
    // The ends of the bars: 16 pixels a step.
    const auto click_forward = [&](bool vertical) {
        if (vertical)
            click(220 - bar / 2, 160 - bar - bar / 2);
        else
            click(220 - bar - bar / 2, 160 - bar / 2);
    };
    click_forward(false);
    click_forward(false);
    click_forward(true);
    EXPECT_EQ(scroll_x, 32);
    EXPECT_EQ(scroll_y, 16);
    EXPECT_EQ(region(w), "200,150,299,199"); // in the space it stays where it was
    EXPECT_EQ(desk_client(window_find(w)->handle).x1, 168);
    EXPECT_EQ(take_refreshes(), std::to_string(w) + ":0,0,35,9/17 "); // as much of it as came to light, in one
    int other = -1;
    Create_win_no_border(0, 100, 100, 109, 109, &other);
    EXPECT_EQ(region(other), "100,100,109,109");
    EXPECT_EQ(desk_client(window_find(other)->handle).y1, 84);
    Warp_cursor(105, 103);
    pump();
    EXPECT_EQ(desk_pointer().x, 73);
    for (int i = 0; i < 30; ++i) // page after page: only so far as the space reaches
        click(220 - bar / 2, 160 - 3 * bar);
    EXPECT_EQ(scroll_y, 239 - (160 - bar));
    headless_resize(320, 240, host_state::restored); // larger: an offset above its range is lowered
    pump();
    EXPECT_EQ(scroll_x, 0);
    EXPECT_EQ(scroll_y, 0);
    EXPECT_EQ(desk_client(window_find(w)->handle).x1, 200);
    headless_resize(220, 160, host_state::maximised); // as without a window manager: it has bars all the same
    pump();
    click_forward(true);
    EXPECT_EQ(scroll_y, 16);
}

TEST_F(Windows, paints_wait_while_a_thumb_is_dragged_and_end_as_one_refresh) {
    const int w = open(100, 100, 299, 219);
    headless_resize(160, 120, host_state::restored);
    pump();
    take_refreshes();
    const int bar = desk_sizes()->scroll_bar;
    const int y = 120 - bar / 2;
    headless_pointer(bar + 10, y);
    headless_button(HOST_LEFT, true, 0);
    pump();
    std::vector<int> offsets;
    for (int x = 30; x < 70; x += 10) {
        headless_pointer(bar + x, y);
        EXPECT_EQ(take_refreshes(), "");
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

} // namespace
