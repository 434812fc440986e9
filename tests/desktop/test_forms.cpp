// Sessions through the forms: what a user does, and what comes of it in the image, in files and on the forms.
#include "forms_session.h"

#include "desktop/commands.h"

namespace {

using Forms = FormsSession;

} // namespace

TEST_F(Forms, PicksAppliesUndoesAndSavesWhatTinctBatchSaves) {
    std::string before, after;
    int pen = -1;
    step([&] {
        before = planes();
        const canvas_point at = pixel_of_pens(1);
        click_pixel(at.x, at.y);
    });
    settle();
    step([&] {
        pen = highlighted_pen;
        EXPECT_NE(pen, NO_PEN);
        EXPECT_EQ(text_of(MAIN, 32), std::to_string(pen));
        const canvas_point box = place_of(MAIN, 72, -20, 8); // beside the list's first row
        headless_click(box.x, box.y, HOST_LEFT);
    });
    settle();
    step([] {
        EXPECT_EQ(text_of(MAIN, 52), "Red");
        EXPECT_EQ(chosen.kind, selection_kind::color);
    });
    press(MAIN, 23);
    step([&] {
        after = planes();
        EXPECT_NE(after, before);
        EXPECT_EQ(open_image.appliques[pen]->a0, 1.0);
        EXPECT_TRUE(open_image.image_changed);
    });
    press(MAIN, 176);
    step([&] {
        EXPECT_EQ(planes(), before);
        EXPECT_FALSE(open_image.image_changed);
    });
    press(MAIN, 177);
    step([&] { EXPECT_EQ(planes(), after); });
    press(MAIN, 151);
    type(OUTPUT, 13, "out");
    step([] { EXPECT_NE(text_of(OUTPUT, 13).find("\\out.rgb"), std::string::npos) << text_of(OUTPUT, 13); });
    press(OUTPUT, 1);
    step([&] {
        EXPECT_EQ(form_of(OUTPUT), nullptr);
        EXPECT_FALSE(open_image.image_changed);
        EXPECT_EQ(planes(), after); // a save changes nothing
    });
    EXPECT_EQ(run_forms({"-f", "still.tnc", "-p", "my.tnp"}), 0);
    ASSERT_EQ(run("tinct-batch apply still.tnc --set " + std::to_string(pen) + "=1,0,0 -o batch.rgb").status, 0);
    EXPECT_EQ(read(path("out.rgb")), read(path("batch.rgb")));
}
