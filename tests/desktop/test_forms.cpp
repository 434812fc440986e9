// A session through the forms, held against what the program without a window makes of its recipe.
#include "forms_session.h"

#include <array>
#include <bit>
#include <set>

#include "desktop/commands.h"

namespace {

class Forms : public FormsSession {
protected:
    // Colours that the box beside the pen's number shows.
    static size_t colors_of_swatch() {
        const canvas_point at = place_of(MAIN, 174);
        std::set<std::array<uint8_t, 3>> colors;
        for (int y = -8; y <= 8; ++y)
            for (int x = -10; x <= 10; ++x)
                colors.insert(std::bit_cast<std::array<uint8_t, 3>>(headless_shown(at.x + x, at.y + y)));
        return colors.size();
    }
};

} // namespace

TEST_F(Forms, APatternIsPlacedAndSavedAsARecipeThatTinctBatchTakes) {
    int pen = -1;
    std::string live;
    press(PATTERN, 200); // the page of cells
    press(PATTERN, 201); // what is typed or switched is seen at once
    step([&] {
        for (int p = PEN_COUNT - 1; p >= 0; --p)
            if (pen_defined(open_image.tnc, p) != 0 && pen_has_uv(open_image.tnc, p) != 0) pen = p;
        ASSERT_GE(pen, 0);
        set_pen(pen);
        EXPECT_EQ(text_of(PATTERN, 29), "Brick");
        EXPECT_EQ(text_of(PATTERN, 30), "");
    });
    press(PATTERN, 11, 20, 20);
    step([] {
        EXPECT_EQ(chosen.kind, selection_kind::pattern);
        EXPECT_EQ(text_of(MAIN, 52), "Brick");
    });
    type(PATTERN, 56, "4");
    step([] {
        EXPECT_EQ(chosen.size, 0.25);
        EXPECT_EQ(text_of(PATTERN, 54), "  0.25");
    });
    type(PATTERN, 52, "30");
    press(PATTERN, 53);
    step([&] {
        ASSERT_NE(open_image.appliques[pen], nullptr);
        EXPECT_EQ(open_image.appliques[pen]->rotation, 30.0);
        EXPECT_EQ(open_image.appliques[pen]->mirror, 1);
        live = planes();
    });
    press(MAIN, 23);
    step([&] {
        EXPECT_TRUE(planes() == live);
        EXPECT_GT(colors_of_swatch(), 4U);
    });
    press(MAIN, 179); // save the recipe: the picker stands on still.sets
    step([] { EXPECT_EQ(text_of(PICKER, 13), "still.sets"); });
    press(PICKER, 30);
    press(MAIN, 151);
    press(OUTPUT, 18); // TIF
    type(OUTPUT, 13, "out");
    press(OUTPUT, 1);
    EXPECT_EQ(run_forms({"-f", "still.tnc", "-p", "my.tnp"}), 0);
    const std::string recipe = read(path("still.sets"));
    EXPECT_EQ(recipe, std::to_string(pen) + "=@brick.rgb:rotation=30:mirror:size=0.25\n");
    ASSERT_EQ(run("tinct-batch apply still.tnc --sets still.sets --gamma 2.2 -o batch.tif").status, 0);
    EXPECT_EQ(pixels("out.tif"), pixels("batch.tif"));
}
