// A colour bar that is dragged live: after each step the window shows what is chosen, and in the end the picture is
// what the apply command would have made of it, whatever part of it was looked at.
#include "forms_session.h"

#include "desktop/commands.h"

namespace {

constexpr int LIVE = 201, BARS = 100, GREEN = 110;
int rows_shown, undo_steps;

class LiveDrag : public FormsSession {
protected:
    static void point_at_bar(int right) {
        const canvas_point p = place_of(PATTERN, BARS, right, 70); // the green bar
        headless_pointer(p.x, p.y);
    }
    // Drags the bar to a place at a zoom of the view, and then takes it back and applies the same.
    void drag_at(int zoom, int end) {
        static std::string before, dragged;
        static int pen;
        step([zoom] {
            before = planes();
            view* v = &picture_view;
            v->zoom = zoom;
            view_place(v, v->x2 / 2, v->y2 / 2, {90, 70});
            picture_draw();
            const canvas_point at = pixel_of_pens(2);
            pen = -1;
            pens_at_pixel(open_image.tnc, at.x, at.y, &pen, 1);
            set_pen(pen);
            // A step has time for a few rows only.
            open_image.display.late = [] { return ++rows_shown % 5 == 0; };
            point_at_bar(20);
            headless_button(HOST_LEFT, true, 0);
        });
        settle();
        for (const int right : {60, 61, 90}) {
            step([right] { point_at_bar(right); });
            step([] {
                EXPECT_EQ(wrong_pixels(), 0);
                EXPECT_EQ(open_image.appliques[pen]->a1, chosen.green);
            });
        }
        wheel_and_release(end);
        step([] {
            EXPECT_EQ(wrong_pixels(), 0);
            dragged = planes();
            EXPECT_TRUE(dragged != before);
            char shown[32];
            std::snprintf(shown, sizeof shown, "%.6f", chosen.green);
            EXPECT_EQ(text_of(PATTERN, GREEN), shown);
            EXPECT_EQ(image_undo_count(), ++undo_steps);
            undo_command();
            EXPECT_TRUE(planes() == before);
            EXPECT_EQ(wrong_pixels(), 0);
            set_pen(pen);
            apply_selection();
            EXPECT_TRUE(planes() == dragged);
        });
    }
    // Something else wants to see the picture while the button is held, and gets it when it comes up.
    void wheel_and_release(int end) {
        step([] { wheel(150, 150, 1); });
        step([end] { point_at_bar(end); });
        step([] { headless_button(HOST_LEFT, false, 0); });
        settle();
    }
};

} // namespace

TEST_F(LiveDrag, ComesToWhatIsAppliedWhateverIsLookedAt) {
    rows_shown = undo_steps = 0;
    press(PATTERN, LIVE);
    int end = 20;
    for (const int zoom : {-4, -2, 0, 16})
        drag_at(zoom, end += 5);
    step([] { image_mark_unchanged(); });
    EXPECT_EQ(run_forms({"-f", "still.tnc", "-p", "my.tnp"}), 0);
    EXPECT_GT(rows_shown, 4 * 4 * 20);
}
