// Sessions with the program: what a user does, and each pixel of the window afterwards.
#include "session.h"

#include <cmath>

#include "desktop/mainform.h"
#include "tools/draw.h"
#include "view/viewtools.h"

namespace {

// A real pair with surfaces that share pixels.
class PictureSession : public Session {
protected:
    void SetUp() override {
        Session::SetUp();
        static std::string tnc, raster; // rendered once
        if (tnc.empty()) {
            ASSERT_EQ(run("tinct-sample still . --size 311x233").status, 0);
            tnc = read("still.tnc");
            raster = read("still.rgb");
        }
        write("still.tnc", tnc);
        write("still.rgb", raster);
    }
    // The window is right after each of these actions.
    void check(std::function<void()> action) {
        step(std::move(action));
        step([] { EXPECT_EQ(wrong_pixels(), 0); });
    }
    static void key(char character) {
        const char text[] = {character, '\0'};
        headless_type(text);
    }
    static void arrow(host_key key) { headless_key(key, 0, 0); }
    // The script once for each depth.
    void run_at_all_depths() {
        const std::vector<std::function<void()>> script = steps;
        for (const int planes : {4, 8, 15, 16, 24}) {
            SCOPED_TRACE(planes);
            steps = script;
            EXPECT_EQ(run_program({"-f", "still.tnc"}, 400, 300, planes), 0);
        }
    }
    static int largest_pen() {
        int64_t most = -1;
        int largest = 0;
        for (int pen = 0; pen < PEN_COUNT; ++pen) {
            pen_summary summary;
            if (!pen_summarise(open_image.tnc, pen, &summary) || summary.samples <= most) continue;
            most = summary.samples;
            largest = pen;
        }
        return largest;
    }
    static int pixel_pen() {
        int32_t pens[PENS_AT_PIXEL_MAX];
        const canvas_point p = pixel_of_pens(2);
        pens_at_pixel(open_image.tnc, p.x, p.y, pens, PENS_AT_PIXEL_MAX);
        return pens[0];
    }
};

} // namespace

TEST_F(PictureSession, EveryPixelIsWhatThePlanesDemand) {
    canvas_point at = {0, 0};
    int32_t pens[PENS_AT_PIXEL_MAX] = {};
    int count = 0;
    check([] { EXPECT_EQ(picture_view.zoom, 0); });
    // Three surfaces at a pixel: one by one, and then none.
    check([&] {
        at = pixel_of_pens(3);
        count = pens_at_pixel(open_image.tnc, at.x, at.y, pens, PENS_AT_PIXEL_MAX);
        EXPECT_GE(count, 3);
        click_pixel(at.x, at.y);
    });
    for (int i = 1; i <= PENS_AT_PIXEL_MAX; ++i) {
        check([&pens, &count, i] {
            EXPECT_EQ(highlighted_pen, i <= count ? pens[i - 1] : NO_PEN);
            if (i <= count) click(1, 1, HOST_RIGHT);
        });
    }
    // With a highlight through all zooms.
    step([&] { click_pixel(at.x, at.y); });
    for (const char c : {'+', '+', '+', '-', '-', '-', '-', '-', '+', 'f'})
        check([c] { key(c); });
    check([] { key('+'); });
    for (const host_key k : {host_key::left, host_key::up, host_key::right, host_key::down})
        check([k] { arrow(k); });
    for (const int turn : {1, 2, -1, -4, 1}) {
        check([turn] { wheel(101, 77, turn); });
        step([] { EXPECT_NE(highlighted_pen, NO_PEN); });
    }
    // A box: two clicks, the tool stays until Escape.
    check([] { key('f'); });
    step([] { key('b'); });
    step([] { click(150, 100); });
    check([] { click(90, 40); });
    step([] {
        EXPECT_GE(picture_view.zoom, 4);
        EXPECT_EQ(current_tool, tool_zoom_box);
        headless_key(host_key::escape, 27, 0);
    });
    step([] { EXPECT_EQ(current_tool, tool_default); });
    run_at_all_depths();
}

TEST_F(PictureSession, CoveringAndResizingLeaveNothingWrong) {
    int cover = -1;
    const auto covered = [&](int x1, int y1, int x2, int y2) {
        step([&cover, x1, y1, x2, y2] {
            ASSERT_EQ(Create_win_no_border(0, x1, y1, x2, y2, &cover), 0);
            Display_win(cover);
            fgcolor(cover, 8);
            rectf(cover, 0, 0, x2 - x1, y2 - y1);
        });
        check([&cover] { Delete_win(cover); });
    };
    step([] { set_pen(largest_pen()); }); // its highlight reaches all edges
    for (const char c : {'f', '+', '+', '+', 'f', '-', '-'}) {
        check([c] { key(c); });
        covered(33, 21, 166, 98);
        covered(201, 102, 202, 290);
    }
    for (const int grow : {-57, 13, 40}) {
        check([grow] {
            const view& v = picture_view;
            const canvas_point p = on_screen(0, 0);
            Modify_win(v.window, p.x, p.y, p.x + v.x2 + grow, p.y + v.y2 + grow);
        });
        // Its new right part is clickable.
        step([] {
            cancel_action(0);
            key('f');
        });
        check([] { tool_pan(&picture_view, picture_view.x2, picture_view.y2); });
    }
    run_at_all_depths();
}

TEST_F(PictureSession, ReevaluationShowsFromTopToBottom) {
    double red = 0.1;
    for (const char c : {'f', '+', '-', '-', '-'}) {
        red += 0.15;
        check([c] { key(c); });
        step([c] { // another surface is highlighted: its lines are crossed by the changed rows
            if (c == '-') set_pen(pixel_pen() == 1 ? 2 : 1);
        });
        check([red] { EXPECT_EQ(apply_col_pat(pixel_pen(), color(red, 0.9, 0.1)), 1); });
        check([] { set_pen(pixel_pen()); });
        check([] { cancel_action(0); }); // off, from surfaces that begin between the sampled columns
    }
    static int rows;
    rows = 0;
    step([] {
        highlight_remove(open_image.picture, &picture_view, highlighted_pen);
        tool_fit(&picture_view, 0, 0);
        static row_changed inner;
        inner = open_image.rows_changed;
        open_image.rows_changed.changed = [](void* user, int32_t y, int32_t x1, int32_t x2) {
            headless_advance(50);
            inner.changed(user, y, x1, x2);
            const view& v = picture_view;
            const int px = x1 - v.origin_x;
            const int py = y - v.origin_y;
            if (v.zoom != 0 || px < 0 || py < 0 || px > v.x2 || py > v.y2) return;
            const canvas_point p = on_screen(px, py);
            const canvas_rgb now = headless_shown(p.x, p.y);
            const canvas_rgb wanted = canvas_pixel_rgb(canvas_pixel(demanded(v, px, py)));
            EXPECT_TRUE(now.red == wanted.red && now.green == wanted.green && now.blue == wanted.blue) << y;
            ++rows;
        };
        EXPECT_EQ(apply_col_pat(pixel_pen(), color(1.0, 0.2, 0.2)), 1);
        open_image.rows_changed = inner;
    });
    // What is applied to the highlighted surface wipes the highlight; applying it again takes it off, too.
    check([] { set_pen(pixel_pen()); });
    check([] { apply_col_pat(highlighted_pen, color(0.2, 0.3, 1.0)); });
    check([] {
        EXPECT_EQ(highlighted_pen, NO_PEN);
        set_pen(pixel_pen());
    });
    check([] { apply_col_pat(highlighted_pen, color(0.2, 0.3, 1.0)); });
    // Steps back and forth, and a drag that is cancelled.
    check([] { EXPECT_EQ(image_undo(), 1); });
    check([] { EXPECT_EQ(image_redo(), 1); });
    check([] { EXPECT_EQ(image_begin(pixel_pen()) + image_preview(color(0.1, 0.9, 0.2)), 2); });
    check([] { EXPECT_EQ(image_cancel(), 1); });
    step([] {
        EXPECT_EQ(highlighted_pen, NO_PEN);
        image_mark_unchanged();
    });
    run_at_all_depths();
    EXPECT_GT(rows, 5 * 20);
}

// The picture can't be lost by panning or zooming, the wheel comes back to where it began, and a screen of another size
// shows the same place in the middle.
TEST_F(PictureSession, ThePictureStaysInSight) {
    static view before;
    static view_point middle;
    const auto is_seen = [] {
        view_area area;
        const raster_image* p = open_image.picture;
        return view_area_of(&picture_view, p->width, p->height, 0, 0, p->width, p->height, &area);
    };
    for (const host_key k : {host_key::left, host_key::down, host_key::right, host_key::up}) {
        step([k] {
            for (int i = 0; i < 20; ++i)
                arrow(k);
        });
        check([is_seen] { EXPECT_TRUE(is_seen()); });
    }
    step([] { headless_type("f--------------"); });
    check([is_seen] { EXPECT_TRUE(is_seen()); });
    step([] { key('f'); });
    step([] { before = picture_view; });
    for (const int turn : {-1, -1, -1, 1, 1, 1, 1, 2, -3})
        step([turn] { wheel(123, 45, turn); });
    check([] {
        const view* v = &picture_view;
        EXPECT_EQ(v->zoom, before.zoom);
        EXPECT_EQ(v->origin_x, before.origin_x);
        EXPECT_EQ(v->origin_y, before.origin_y);
        middle = view_point_at(v, v->x2 / 2, v->y2 / 2);
        headless_resize(460, 360, host_state::restored);
    });
    check([] {
        const view* v = &picture_view;
        EXPECT_EQ(v->x2, 460 - 1 - 2 * Win_frame_width());
        const view_point now = view_point_at(v, v->x2 / 2, v->y2 / 2);
        EXPECT_NEAR(now.x, middle.x, 1.0);
        EXPECT_NEAR(now.y, middle.y, 1.0);
    });
    EXPECT_EQ(run_program({"-f", "still.tnc"}, 400, 300, 24), 0);
}

// The hand: the middle button, Space or Ctrl with the left one, and the horizontal wheel. What doesn't move is a click.
TEST_F(PictureSession, ADragMovesThePicture) {
    struct hand {
        int button, modifiers;
        bool space;
    };
    static view before;
    static canvas_point at;
    const auto space = [](bool down) {
        host_event event = {};
        event.kind = host_event_kind::key;
        event.key = host_key::character;
        event.character = ' ';
        event.down = down;
        headless_post(&event);
    };
    const auto button = [](const hand& h, int x, int y, bool down) {
        const canvas_point p = on_screen(x, y);
        headless_pointer(p.x, p.y);
        headless_button(h.button, down, static_cast<uint8_t>(h.modifiers));
    };
    step([] { headless_type("1+"); });
    for (const hand h : {hand{HOST_MIDDLE, 0, false}, {HOST_LEFT, 0, true}, {HOST_LEFT, HOST_CTRL, false}}) {
        step([=] {
            before = picture_view;
            if (h.space) space(true);
            button(h, 200, 150, true);
        });
        check([] {
            const canvas_point p = on_screen(160, 190);
            headless_pointer(p.x, p.y);
        });
        step([=] { button(h, 160, 190, false); });
        check([=] {
            EXPECT_EQ(picture_view.origin_x - before.origin_x, 20) << h.button << h.modifiers;
            EXPECT_EQ(picture_view.origin_y - before.origin_y, -20) << h.button << h.modifiers;
            EXPECT_EQ(highlighted_pen, NO_PEN);
            if (h.space) space(false);
        });
    }
    const auto across = [](int turns) {
        const canvas_point p = on_screen(100, 100);
        host_event event = {};
        event.kind = host_event_kind::wheel;
        event.x = p.x;
        event.y = p.y;
        event.across = turns;
        headless_post(&event);
    };
    step([=] {
        before = picture_view;
        across(-3);
    });
    check([] {
        EXPECT_LT(picture_view.origin_x, before.origin_x);
        EXPECT_EQ(picture_view.origin_y, before.origin_y);
        EXPECT_EQ(picture_view.zoom, before.zoom);
    });
    step([] { headless_type("f"); });
    step([] {
        at = pixel_of_pens(1);
        click_pixel(at.x, at.y);
    });
    check([] { EXPECT_NE(highlighted_pen, NO_PEN); });
    step([=] { space(true); });
    check([] { click(150, 20); });
    step([=] {
        EXPECT_NE(highlighted_pen, NO_PEN) << "a hand that moves nothing chooses nothing";
        space(false);
    });
    step([] { // the background
        int32_t pens[PENS_AT_PIXEL_MAX];
        for (int y = 0; y < open_image.picture->height; ++y)
            for (int x = 0; x < open_image.picture->width; ++x)
                if (pens_at_pixel(open_image.tnc, x, y, pens, PENS_AT_PIXEL_MAX) == 0) return click_pixel(x, y);
        ADD_FAILURE() << "no background";
    });
    check([] {
        int pen = 0;
        EXPECT_EQ(highlighted_pen, NO_PEN);
        EXPECT_FALSE(main_form_pen(&pen)) << "the pen field";
    });
    EXPECT_EQ(run_program({"-f", "still.tnc"}, 400, 300, 24), 0);
}
