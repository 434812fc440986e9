// Windows: what is seen, what is asked to be painted, what moves along; messages; what the user does with the mouse.
#include "common/failures.h"
#include "common/values.h"
#include "deskfixture.h"

#include <array>
#include <random>

namespace {

// ---- regions and painting ------------------------------------------------------------------------------------------

std::vector<uint32_t> all_pixels() {
    const canvas_box main = desk_outer(desk_main());
    std::vector<uint32_t> pixels(size_t(main.x2) * size_t(main.y2));
    canvas_get_native(desk_canvas(desk_main()), main, pixels.data(), ptrdiff_t{main.x2} * 4);
    return pixels;
}

// Every pixel of the screen must be that of the topmost window there, and drawing frames and icons again changes none.
void expect_true_picture(const std::vector<desk_window*>& windows, const char* when) {
    const std::vector<uint32_t> before = all_pixels();
    for (desk_window* w : windows)
        desk_set_title(w, "Title");
    ASSERT_EQ(all_pixels(), before) << when << ": frames";
    const canvas* screen = desk_canvas(desk_main());
    const canvas_box main_client = desk_client(desk_main());
    for (int y = 0; y < main_client.y2; ++y)
        for (int x = 0; x < main_client.x2; ++x) {
            const desk_window* top = desk_window_at(x, y);
            const canvas_box client = desk_client(top);
            uint32_t expected = 0;
            if (top != desk_main()) {
                if (!desk_in_client(top, x, y)) continue; // frame or icon
                expected = canvas_pixel(mark_of(desk_number(top), x - client.x1, y - client.y1));
            }
            ASSERT_EQ(canvas_get_pixel(screen, x, y), expected)
                << when << ": " << x << " " << y << " of window " << desk_number(top);
        }
}

TEST_F(desk_test, RandomChangesLeaveTheTruePicture) {
    std::mt19937 engine(3);
    const auto next = [&](int low, int high) { return low + int(engine() % unsigned(high - low + 1)); };
    constexpr uint32_t frameless = DESK_THICK_FRAME | DESK_NARROW_CAPTION, dialog = DESK_DIALOG_FRAME | DESK_CAPTION;
    const uint32_t styles[] = {0, FULL_STYLE, frameless, DESK_POPUP, DESK_POPUP | DESK_TOPMOST, dialog};
    std::vector<desk_window*> windows;
    int next_number = 1;
    for (int step = 0; step < 400; ++step) {
        if (windows.size() < 3 || (windows.size() < 9 && next(0, 9) == 0)) {
            const int x = next(-40, 380);
            const int y = next(-40, 280);
            windows.push_back(
                open(styles[next(0, 5)], next_number++ % 12 + 1, {x, y, x + next(1, 200), y + next(1, 150)}));
        }
        const size_t at = size_t(next(0, int(windows.size()) - 1));
        desk_window* w = windows[at];
        const canvas_box b = desk_outer(w);
        const int what = next(0, 10);
        switch (what) {
        case 0: desk_hide(w); break;
        case 1: desk_show(w); break;
        case 2: desk_raise(w); break;
        case 3: {
            const int dx = next(-30, 30);
            const int dy = next(-30, 30);
            desk_place(w, {b.x1 + dx, b.y1 + dy, b.x2 + dx, b.y2 + dy});
            break;
        }
        case 4: desk_place(w, {b.x1, b.y1, b.x2 + next(-30, 30), b.y2 + next(-30, 30)}); break;
        case 5: desk_scroll(next(-25, 25), next(-25, 25)); break;
        case 6: desk_set_state(w, host_state(next(0, 2))); break;
        case 7: desk_set_scroll(next(0, 1), next(0, 1) * 50, 100, next(0, 50)); break;
        case 8: desk_activate(w); break;
        case 9: headless_resize(next(200, 420), next(150, 320), host_state(next(0, 1) * 2)); break;
        default:
            if (next(0, 3) != 0) break;
            desk_destroy(w);
            windows.erase(windows.begin() + long(at));
            break;
        }
        if (step % 3 != 0) pump(); // sometimes several changes before anything is painted
        if (step % 3 == 1) {
            expect_true_picture(windows, ("step " + std::to_string(step) + " what " + std::to_string(what)).c_str());
            if (HasFatalFailure()) return;
        }
    }
}

TEST_F(desk_test, OnlyWhatCameToLightIsAskedFor) {
    open(0, 1, {10, 10, 110, 110});
    desk_window* over = open(0, 2, {50, 60, 200, 200});
    pump();
    EXPECT_EQ(paints[1], (std::vector<canvas_box>{{0, 0, 100, 100}}));
    forget();
    desk_place(over, {55, 60, 205, 200}); // moved: uncovers a stripe, and needs no paint itself
    pump();
    EXPECT_EQ(paints[1], (std::vector<canvas_box>{{40, 50, 45, 100}}));
    EXPECT_TRUE(paints[2].empty());
    forget();
    desk_hide(over);
    desk_show(over);
    desk_validate(over, nullptr); // as for a pop-up that is drawn at once
    pump();
    EXPECT_TRUE(paints[2].empty());
    EXPECT_TRUE(paints[1].empty()) << "what is covered again is not painted";
    desk_destroy(over);
    pump();
    EXPECT_EQ(paints[1], (std::vector<canvas_box>{{45, 50, 100, 100}}));
}

TEST_F(desk_test, PaintsComeAgainUntilTheyAreAnsweredTopmostFirst) {
    desk_window* low = open(0, 1, {10, 10, 60, 60});
    desk_window* high = open(0, 2, {30, 30, 90, 90});
    desk_message m;
    for (int round = 0; round < 2; ++round) {
        ASSERT_TRUE(desk_next(&m) && m.window == high);
        ASSERT_TRUE(desk_next(&m) && m.window == low);
        EXPECT_EQ(m.kind, desk_kind::paint);
        EXPECT_FALSE(desk_next(&m));
    }
    // An unanswered paint doesn't keep a wait from waiting.
    int waits = 0;
    headless_on_idle(
        [](void* user) {
            ++*static_cast<int*>(user);
            return true;
        },
        &waits);
    desk_wait();
    EXPECT_EQ(waits, 1);
    const canvas_box more = {5, 5, 9, 9};
    desk_invalidate(low, &more);
    desk_wait();
    EXPECT_EQ(waits, 1);
    canvas_box box;
    EXPECT_TRUE(desk_paint_box(low, &box, true));
    EXPECT_EQ(box, (canvas_box{0, 0, 50, 50}));
    EXPECT_FALSE(desk_paint_box(low, &box, true));
}

TEST_F(desk_test, CopyAsksForWhatItCouldNotSee) {
    desk_window* w = open(0, 1, {0, 0, 100, 100});
    opened(0, 2, {40, 0, 60, 50});
    desk_copy(w, {30, 0, 100, 100}, 0, 0);
    canvas_box box;
    ASSERT_TRUE(desk_paint_box(w, &box, false));
    EXPECT_EQ(box, (canvas_box{10, 0, 30, 50})); // where the covered part would have come
    canvas* c = desk_canvas(w);
    EXPECT_EQ(canvas_get_pixel(c, 5, 5), canvas_pixel(mark_of(1, 35, 5)));
    EXPECT_EQ(canvas_get_pixel(c, 20, 70), canvas_pixel(mark_of(1, 50, 70)));
    // What waits to be painted is waited for at its new place too; the clip box limits all.
    canvas_set_clip(c, {0, 60, 100, 100});
    desk_validate(w, nullptr);
    const canvas_box waits = {70, 50, 80, 60};
    desk_invalidate(w, &waits);
    desk_copy(w, {60, 40, 90, 60}, 60, 55);
    ASSERT_TRUE(desk_paint_box(w, &box, true));
    EXPECT_EQ(box, (canvas_box{70, 50, 80, 75}));
    EXPECT_EQ(canvas_get_pixel(c, 65, 57), canvas_pixel(mark_of(1, 95, 57))) << "outside of the clip box";
}

TEST_F(desk_test, ScrollMovesChildrenAndNotPopups) {
    desk_window* child = open(FULL_STYLE, 1, {50, 50, 150, 120});
    desk_window* popup = opened(DESK_POPUP, 2, {200, 50, 260, 120});
    desk_scroll(-30, 20);
    pump();
    EXPECT_EQ(desk_client(child), (canvas_box{20, 70, 120, 140}));
    EXPECT_EQ(desk_client(popup), (canvas_box{200, 50, 260, 120}));
    EXPECT_TRUE(paints.empty()) << "pixels move along";
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].kind, desk_kind::moved);
    expect_true_picture({child, popup}, "scrolled");
}

// ---- frames ---------------------------------------------------------------------------------------------------------

TEST_F(desk_test, CaptionDragMovesAndTellsOnce) {
    desk_window* w = opened(FULL_STYLE, 1, {50, 60, 200, 160});
    hold(120, 45);
    move(122, 45); // not yet a drag
    EXPECT_FALSE(desk_is_dragging());
    move(150, 75);
    EXPECT_TRUE(desk_is_dragging());
    EXPECT_EQ(desk_client(w), (canvas_box{50, 60, 200, 160}));
    // The outline is shown dotted, and is not in the frame buffer.
    const canvas_box outline = {76, 67, 234, 194};
    EXPECT_EQ(headless_shown(outline.x1, outline.y1).red ^ headless_shown(outline.x1 + 1, outline.y1).red, 255);
    EXPECT_EQ(canvas_get_pixel(desk_canvas(desk_main()), outline.x2 - 1, outline.y2 - 1), 0u);
    release();
    EXPECT_EQ(desk_client(w), (canvas_box{80, 90, 230, 190}));
    EXPECT_EQ(headless_shown(outline.x2 - 1, outline.y2 - 30), (canvas_rgb{0, 0, 0}))
        << "frame's edge, not the outline";
    EXPECT_EQ(count(desk_kind::moved), 1);
    EXPECT_EQ(count(desk_kind::sized), 0);
    EXPECT_EQ(count(desk_kind::button), 0) << "nothing of it gets to the program";
    EXPECT_TRUE(paints.empty());
    expect_true_picture({w}, "moved");

    // Out of the main window: a part of the caption stays in.
    do_drag(120, 75, 5000, -5000);
    EXPECT_EQ((values{desk_outer(w).x1 + (120 - 76), desk_outer(w).y1 + (75 - 67)}), (values{399, 0}));
}

TEST_F(desk_test, TitlesAreDrawnAndCutToTheirRoom) {
    desk_window* w = open(FULL_STYLE, 1, {50, 60, 250, 160});
    desk_activate(w);
    const auto white_pixels = [](int x1, int x2) {
        int found = 0;
        for (int y = 43; y < 58; ++y)
            for (int x = x1; x < x2; ++x)
                found += canvas_get_pixel(desk_canvas(desk_main()), x, y) == 0xFFFFFF;
        return found;
    };
    desk_set_title(w, nullptr);
    EXPECT_EQ(white_pixels(70, 212), 0);
    desk_set_title(w, "II");
    const int upright = white_pixels(70, 212);
    EXPECT_GT(upright, 20);
    EXPECT_EQ(white_pixels(70, 130), 0) << "in the middle";
    desk_set_title(w, "IIIIIIIIIIIIIIIIIIIIIIIIIIIIIIIIIIIIIIIIIIIIIIIIIIIIIIIIIIIIIIIIIIII");
    EXPECT_GT(white_pixels(70, 212), 20 * upright / 2);
    EXPECT_LT(white_pixels(200, 212), 13) << "dots at the end";
}

TEST_F(desk_test, TheWindowUsedLastIsActiveWhenOneGoes) {
    desk_window* w[3];
    for (int i = 0; i < 3; ++i) {
        w[i] = open(FULL_STYLE, i + 1, {20 + i * 10, 60, 200, 160});
        desk_activate(w[i]);
    }
    desk_activate(w[0]);
    desk_raise(w[1]); // above w[2], but not used since
    desk_destroy(w[0]);
    EXPECT_EQ(desk_active(), w[2]);
    desk_set_state(w[2], host_state::minimised);
    EXPECT_EQ(desk_active(), w[1]);
    desk_hide(w[1]);
    EXPECT_EQ(desk_active(), nullptr);
}

TEST_F(desk_test, EscapeAndLostFocusEndADrag) {
    desk_window* w = open(FULL_STYLE, 1, {50, 60, 200, 160});
    for (const bool by_key : {true, false}) {
        headless_advance(1000); // no double click
        hold(120, 45);
        move(180, 95);
        EXPECT_TRUE(desk_is_dragging());
        host_event focus = {};
        focus.kind = host_event_kind::focus;
        if (by_key)
            headless_key(host_key::escape, 0, 0);
        else
            headless_post(&focus);
        release();
        EXPECT_EQ(desk_client(w), (canvas_box{50, 60, 200, 160}));
        EXPECT_EQ(find(desk_kind::key), nullptr);
    }
}

TEST_F(desk_test, FrameDragSizesAndPaintsAll) {
    desk_window* w = open(FULL_STYLE, 1, {50, 60, 200, 160});
    const struct {
        int x, y, to_x, to_y;
        host_cursor cursor;
        canvas_box client;
    } rows[] = {
        {202, 100, 222, 110, host_cursor::size_we, {50, 60, 220, 160}},   // right side
        {100, 162, 110, 182, host_cursor::size_ns, {50, 60, 220, 180}},   // bottom
        {222, 182, 212, 172, host_cursor::size_nwse, {50, 60, 210, 170}}, // corner
        {47, 172, 57, 170, host_cursor::size_nesw, {60, 60, 210, 168}},   // other corner
        {58, 100, 390, 100, host_cursor::size_we, {120, 60, 210, 168}},   // no less than the caption needs
        {150, 38, 150, 299, host_cursor::size_ns, {120, 152, 210, 168}},  // nor than some rows
    };
    for (const auto& r : rows) {
        forget();
        move(r.x, r.y);
        EXPECT_EQ(headless_cursor(), r.cursor) << r.x << " " << r.y;
        do_drag(r.x, r.y, r.to_x, r.to_y);
        ASSERT_EQ(desk_client(w), r.client) << r.x << " " << r.y;
        const desk_message* sized = find(desk_kind::sized);
        ASSERT_NE(sized, nullptr);
        EXPECT_EQ((values{sized->x, sized->y}), (values{r.client.x2 - r.client.x1, r.client.y2 - r.client.y1}));
        ASSERT_FALSE(paints[1].empty());
        EXPECT_EQ(paints[1].back(), (canvas_box{0, 0, sized->x, sized->y}));
    }
    expect_true_picture({w}, "sized");
}

TEST_F(desk_test, BoxesMinimiseMaximiseAndRestore) {
    desk_window* w = opened(FULL_STYLE, 1, {50, 60, 250, 160});
    click(230, 48); // minimise box: the second from the right
    ASSERT_EQ(desk_state(w), host_state::minimised);
    EXPECT_EQ(messages.back().state, host_state::minimised);
    const canvas_box icon = desk_outer(w);
    EXPECT_EQ(icon, (canvas_box{0, 300 - desk_sizes()->icon_height, desk_sizes()->icon_width, 300}));
    EXPECT_EQ(canvas_get_pixel(desk_canvas(desk_main()), 100, 100), 0u);
    canvas_fill(desk_canvas(w), {0, 0, 999, 999}, CANVAS_SLOT | 15); // draws nothing
    EXPECT_EQ(canvas_get_pixel(desk_canvas(desk_main()), 1, 299), 0u);

    // The icon moves with the mouse, stays there, and a double click restores.
    do_drag(20, 280, 120, 180);
    EXPECT_EQ((values{desk_outer(w).x1, desk_icon_place(w).y}), (values{100, icon.y1 - 100}));
    headless_advance(1000);
    click(120, 180);
    EXPECT_EQ(desk_state(w), host_state::minimised);
    headless_advance(300);
    click(120, 180);
    EXPECT_EQ(desk_state(w), host_state::restored);
    EXPECT_EQ((values{desk_client(w), desk_active()}), (values{(canvas_box{50, 60, 250, 160}), w}));

    click(242, 48); // maximise box
    EXPECT_EQ(desk_state(w), host_state::maximised);
    EXPECT_EQ(desk_client(w), (canvas_box{0, 19, 400, 300}));
    forget();
    resize(500, 350, host_state::maximised); // it follows the main window
    EXPECT_EQ(desk_client(w), (canvas_box{0, 19, 500, 350}));
    do_drag(200, 8, 250, 100); // can't be moved
    EXPECT_EQ(desk_client(w), (canvas_box{0, 19, 500, 350}));
    headless_advance(1000);
    headless_click(200, 8, HOST_LEFT);
    click(200, 8); // double click on the caption
    EXPECT_EQ(desk_client(w), (canvas_box{50, 60, 250, 160}));

    // A box that is left before the release does nothing.
    do_drag(242, 48, 242, 100);
    EXPECT_EQ(desk_state(w), host_state::restored);
    expect_true_picture({w}, "restored");
}

TEST_F(desk_test, IconsTakeFreePlacesAndSetOnesStay) {
    desk_window* w[4];
    for (int i = 0; i < 4; ++i)
        w[i] = open(FULL_STYLE, i, {20 + i * 10, 60, 200, 160});
    const int width = desk_sizes()->icon_width;
    const int top = 300 - desk_sizes()->icon_height;
    desk_set_icon_place(w[0], 7, 9);
    for (desk_window* window : w)
        desk_set_state(window, host_state::minimised);
    EXPECT_EQ((values{desk_icon_place(w[0]).x, desk_icon_place(w[0]).y}), (values{7, 9}));
    for (int i = 1; i < 4; ++i)
        EXPECT_EQ(desk_icon_place(w[i]).x, (i - 1) * width);
    desk_set_state(w[1], host_state::restored);
    desk_set_state(w[1], host_state::minimised);
    EXPECT_EQ(desk_icon_place(w[1]).x, 0) << "the place it left is the first free one";
    resize(2 * width, 400, host_state::restored);
    EXPECT_EQ(desk_icon_place(w[3]).y, 400 - desk_sizes()->icon_height * 2) << "a second row";
    EXPECT_EQ(desk_icon_place(w[0]).y, 9);
    EXPECT_NE(top, 9);
}

TEST_F(desk_test, WindowMenuClosesAndStates) {
    desk_window* w = opened(FULL_STYLE, 7, {50, 60, 250, 160});
    click(58, 48);
    headless_type("x"); // goes to nobody
    headless_key(host_key::down, 0, 0);
    headless_key(host_key::enter, 0, 0); // the first that can be chosen: Minimise
    pump();
    EXPECT_EQ(desk_state(w), host_state::minimised);
    EXPECT_EQ(find(desk_kind::character), nullptr);
    headless_click(10, 290, HOST_LEFT); // a click on the icon opens it too
    headless_key(host_key::escape, 0, 0);
    pump();
    EXPECT_EQ(find(desk_kind::key), nullptr);
    // All of it is on the screen, wherever the icon stands.
    do_drag(10, 290, 10, 10);
    headless_advance(1000);
    click(10, 10);
    EXPECT_NE(desk_window_at(20, desk_outer(w).y2 + 50), desk_main()) << "below it";
    headless_key(host_key::escape, 0, 0);
    desk_set_state(w, host_state::restored);
    pump();
    forget();
    // Click outside: closed, and what it covered is painted.
    headless_advance(1000);
    click(58, 48);
    click(300, 250);
    EXPECT_FALSE(paints[7].empty());
    expect_true_picture({w}, "menu closed");
    // With the mouse: press, drag to an item, release.
    headless_advance(1000);
    do_drag(58, 48, 70, 110); // Maximise
    EXPECT_EQ(desk_state(w), host_state::maximised);
    headless_advance(1000);
    do_drag(8, 8, 20, 30); // Restore
    EXPECT_EQ(desk_state(w), host_state::restored);
    // Double click on its box closes the window.
    headless_advance(1000);
    headless_click(58, 48, HOST_LEFT);
    click(58, 48);
    const desk_message* destroyed = find(desk_kind::destroyed);
    ASSERT_NE(destroyed, nullptr);
    EXPECT_EQ(destroyed->number, 7);
    EXPECT_EQ(destroyed->window, nullptr);
    EXPECT_EQ(desk_window_at(100, 100), desk_main());
    EXPECT_EQ(desk_active(), nullptr);
}

// ---- mouse and keyboard ---------------------------------------------------------------------------------------------

TEST_F(desk_test, MouseGoesToTheWindowSeenThereAndRaisesFramedOnes) {
    desk_window* framed = open(FULL_STYLE, 1, {50, 60, 250, 160});
    desk_window* plain = opened(0, 2, {150, 100, 300, 200});
    headless_pointer(200, 130);
    headless_button(HOST_RIGHT, true, HOST_CTRL);
    headless_button(HOST_RIGHT, false, 0);
    pump();
    EXPECT_EQ(take_mouse(), "+2 2:50,30/2 -2 2:50,30/0 ");
    EXPECT_EQ(desk_window_at(200, 130), plain);
    click(60, 70);
    EXPECT_EQ((values{desk_window_at(200, 130), desk_active()}), (values{framed, framed}));

    // A release outside of any client area goes to where the button was pressed.
    forget();
    hold(60, 70);
    headless_pointer(60, 50); // the caption
    release();
    EXPECT_EQ(take_mouse(), "+0 1:10,10/0 -0 1:10,-10/0 ");

    // Capture: all to one, nothing raised.
    forget();
    desk_raise(framed);
    desk_set_capture(plain);
    click(60, 50);
    EXPECT_EQ(take_mouse(), "+0 2:-90,-50/0 -0 2:-90,-50/0 ");
    desk_hide(plain);
    EXPECT_EQ(desk_capture(), nullptr);
}

TEST_F(desk_test, MovesMergeAndButtonsAreSeenAhead) {
    opened(0, 1, {0, 0, 100, 100});
    EXPECT_FALSE(desk_mouse_waiting());
    for (int i = 0; i < 9; ++i)
        headless_pointer(i, i);
    hold(9, 9);
    headless_pointer(50, 50);
    EXPECT_TRUE(desk_mouse_waiting());
    desk_message m;
    ASSERT_TRUE(desk_next(&m) && m.kind == desk_kind::mouse_move);
    EXPECT_EQ(m.x, 9);
    ASSERT_TRUE(desk_next(&m) && m.kind == desk_kind::button);
    EXPECT_TRUE(desk_mouse_waiting());
    ASSERT_TRUE(desk_next(&m) && m.x == 50);
    EXPECT_FALSE(desk_mouse_waiting());
}

TEST_F(desk_test, KeysGiveControlCharactersAndText) {
    const struct {
        host_key key;
        uint8_t modifiers;
        uint32_t character;
        int control; // -1: none
    } rows[] = {{host_key::enter, 0, 0, 13},       {host_key::backspace, 0, 0, 8},
                {host_key::tab, 0, 0, 9},          {host_key::escape, 0, 0, 27},
                {host_key::remove, 0, 0, -1},      {host_key::character, HOST_CTRL, 'c', 3},
                {host_key::character, 0, 'c', -1}, {host_key::character, HOST_CTRL | HOST_ALT, 'q', -1},
                {host_key::home, HOST_CTRL, 0, -1}};
    for (const auto& r : rows) {
        forget();
        headless_key(r.key, r.character, r.modifiers);
        pump();
        ASSERT_EQ(messages.size(), r.control < 0 ? 2u : 3u) << int(r.key);
        EXPECT_EQ(messages[0].key, r.key);
        EXPECT_TRUE(messages[0].down);
        EXPECT_EQ(messages[0].modifiers, r.modifiers);
        EXPECT_FALSE(messages.back().down);
        EXPECT_EQ(messages[1].character, uint32_t(r.control >= 0 ? r.control : int(r.character)));
    }
    forget();
    headless_type("a\xe9");
    host_event euro = {};
    euro.kind = host_event_kind::text;
    euro.character = 0x20AC;
    headless_post(&euro);
    pump();
    ASSERT_EQ(messages.size(), 2u) << "no character of another set";
    EXPECT_EQ((values{messages[1].character, messages[1].window}), (values{0xE9u, desk_main()}));
}

// ---- messages -------------------------------------------------------------------------------------------------------

TEST_F(desk_test, TimerComesOnceAtItsTimeAfterWhatHappened) {
    desk_set_timer(host_now() + 50);
    desk_message m;
    EXPECT_FALSE(desk_next(&m));
    headless_run_freely(true);
    const uint32_t start = host_now();
    desk_wait();
    EXPECT_EQ(host_now(), start + 50);
    ASSERT_TRUE(desk_post(desk_main(), 5, 6, 7));
    ASSERT_TRUE(desk_next(&m) && m.kind == desk_kind::posted);
    EXPECT_EQ((values{m.code, m.value2}), (values{5, 7u}));
    ASSERT_TRUE(desk_next(&m) && m.kind == desk_kind::timer);
    EXPECT_FALSE(desk_next(&m));
    desk_set_timer(host_now());
    desk_stop_timer();
    EXPECT_FALSE(desk_next(&m));
    // A deadline of the program's own, before and behind the timer's.
    const uint32_t later = host_now();
    desk_set_timer(later + 20);
    desk_wait_until(later + 10);
    EXPECT_EQ(host_now(), later + 10);
    EXPECT_FALSE(desk_next(&m));
    desk_wait_until(later + 30);
    EXPECT_EQ(host_now(), later + 20);
    EXPECT_TRUE(desk_next(&m));
}

TEST_F(desk_test, DestroyedWindowsGetNothingAndQuitComesLast) {
    desk_window* w = open(FULL_STYLE, 1, {50, 60, 250, 160});
    headless_click(100, 100, HOST_LEFT);
    desk_message m;
    ASSERT_TRUE(desk_mouse_waiting());
    desk_destroy(w);
    EXPECT_FALSE(desk_next(&m));
    host_event event = {};
    event.kind = host_event_kind::drop;
    event.path = "/tmp/x.tnc";
    headless_post(&event);
    event = {};
    event.kind = host_event_kind::close;
    headless_post(&event);
    ASSERT_TRUE(desk_next(&m) && m.kind == desk_kind::drop);
    EXPECT_STREQ(m.text, "/tmp/x.tnc");
    ASSERT_TRUE(desk_next(&m) && m.kind == desk_kind::close);
    EXPECT_NE(desk_main(), nullptr);
    open(0, 2, {0, 0, 10, 10});
    desk_destroy(desk_main());
    EXPECT_EQ(desk_main(), nullptr);
    ASSERT_TRUE(desk_next(&m) && m.kind == desk_kind::quit);
    EXPECT_FALSE(desk_next(&m));
    EXPECT_EQ(desk_create(0, 1, nullptr, {0, 0, 5, 5}), nullptr);
}

TEST_F(desk_test, CreationFailsCleanlyAtEachAllocation) {
    open(0, 1, {0, 0, 50, 50});
    desk_window* w = nullptr;
    sweep_failures(
        std::array{failing::allocation},
        [&] {
            w = open(FULL_STYLE, 2, {60, 60, 100, 100});
        },
        [&](bool hit) {
            EXPECT_TRUE(hit || w != nullptr);
            if (w != nullptr) desk_destroy(w);
            pump();
        });
}

// ---- the main window ------------------------------------------------------------------------------------------------

TEST_F(desk_test, ResizeClearsBarsKeepsPixelsAndTells) {
    desk_set_scroll(DESK_VERTICAL, 100, 300, 0);
    pump();
    ASSERT_NE(find(desk_kind::sized), nullptr);
    EXPECT_EQ(find(desk_kind::sized)->x, 384);
    desk_window* w = opened(0, 1, {10, 10, 60, 60});
    resize(300, 200, host_state::restored);
    ASSERT_EQ(messages.size(), 2u);
    EXPECT_EQ((values{messages[0].kind, messages[1].x, messages[1].y}), (values{desk_kind::state_changed, 300, 200}));
    EXPECT_EQ(messages[1].state, host_state::restored);
    EXPECT_TRUE(paints.empty());
    expect_true_picture({w}, "smaller");
    forget();
    resize(500, 400, host_state::maximised);
    EXPECT_EQ((values{messages[1].kind, messages[2].state}), (values{desk_kind::maximising, host_state::maximised}));
    EXPECT_EQ(headless_shown(30, 30), (canvas_rgb{56, 20, 20}));
    expect_true_picture({w}, "larger");
    desk_set_title(desk_main(), "Other");
    EXPECT_STREQ(headless_title(), "Other");
    forget();
    desk_set_scroll(DESK_VERTICAL, 100, 300, 0);
    pump();
    forget();
    resize(500, 400, host_state::maximised); // nothing new: the bar stays
    EXPECT_TRUE(messages.empty());
    desk_set_state(desk_main(), host_state::minimised);
    pump();
    EXPECT_EQ(desk_state(desk_main()), host_state::minimised);
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].kind, desk_kind::state_changed);
}

TEST_F(desk_test, ScrollBarsTellWhatIsAskedAndRepeat) {
    desk_set_scroll(DESK_VERTICAL, 100, 200, 0);
    pump();
    forget();
    const auto scrolls = [&] {
        std::vector<std::pair<desk_scroll_kind, int>> found;
        for (const desk_message& m : messages)
            if (m.kind == desk_kind::scroll) found.push_back({m.scroll, int(m.value)});
        forget();
        return found;
    };
    using list = std::vector<std::pair<desk_scroll_kind, int>>;
    hold(392, 295); // arrow at the bottom
    pump();
    EXPECT_EQ(scrolls(), (list{{desk_scroll_kind::line_forward, 0}}));
    headless_run_freely(true);
    desk_wait();
    pump();
    desk_wait();
    pump();
    EXPECT_EQ(scrolls().size(), 2u);
    release();
    EXPECT_EQ(scrolls(), (list{{desk_scroll_kind::end, 0}}));
    click(392, 270); // behind the thumb
    EXPECT_EQ(scrolls(), (list{{desk_scroll_kind::page_forward, 0}, {desk_scroll_kind::end, 0}}));
    // The thumb takes two thirds of the 268 pixels between the arrows; 90 are left for 100 positions.
    hold(392, 50);
    move(392, 50 + 45);
    EXPECT_EQ(scrolls(), (list{{desk_scroll_kind::thumb, 50}}));
    desk_set_scroll(DESK_VERTICAL, 100, 200, 50);
    move(100, 5000); // anywhere along
    EXPECT_EQ(scrolls(), (list{{desk_scroll_kind::thumb, 100}}));
    desk_set_scroll(DESK_VERTICAL, 100, 200, 100);
    release();
    EXPECT_EQ(scrolls(), (list{{desk_scroll_kind::end, 100}}));
    // No child is seen on a bar.
    desk_window* w = open(0, 1, {300, 0, 400, 300});
    pump();
    EXPECT_EQ(paints[1], (std::vector<canvas_box>{{0, 0, 84, 300}}));
    EXPECT_EQ(desk_window_at(392, 100), desk_main());
    desk_destroy(w);
}

TEST_F(desk_test, OnlyWhatChangedIsShown) {
    desk_window* w = opened(0, 1, {0, 0, 200, 200});
    const long before = headless_shown_pixels();
    pump();
    EXPECT_EQ(headless_shown_pixels(), before);
    canvas_fill(desk_canvas(w), {10, 10, 14, 12}, 0);
    canvas_fill(desk_canvas(w), {150, 150, 155, 152}, 0);
    desk_flush();
    EXPECT_EQ(headless_shown_pixels(), before + 8 + 10);
}

// On palette screens frames follow the palette: whatever slots the desk's colours are in, they look the same.
TEST(DeskPalette, FramesKeepTheirColours) {
    const host_screen size = {200, 150, 8, 0};
    ASSERT_TRUE(host_start_with(&host_headless, &size, "T"));
    ASSERT_TRUE(desk_start("T"));
    desk_window* w = desk_create(FULL_STYLE, 1, nullptr, {20, 20, 180, 140});
    desk_show(w);
    desk_activate(w);
    desk_flush();
    const canvas_rgb navy = {0, 0, 128};
    EXPECT_EQ(headless_shown(100, 30), navy);
    canvas_rgb colors[256];
    for (int i = 0; i < 256; ++i)
        colors[255 - i] = canvas_palette(i);
    ASSERT_TRUE(canvas_set_palette(0, colors, 256));
    desk_flush();
    EXPECT_EQ(headless_shown(100, 30), navy);
    EXPECT_EQ(headless_shown(100, 145), (canvas_rgb{0, 0, 0})) << "the main window's background";
    desk_stop();
}

} // namespace
