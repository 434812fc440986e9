// Sessions through the forms: what a user does, and what comes of it in the image, in files and on the forms.
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

TEST_F(Forms, BarsAreDraggedLiveAsOneStep) {
    std::string before;
    int pen = -1;
    press(PATTERN, 201); // live
    step([&] {
        before = planes();
        const canvas_point at = pixel_of_pens(1);
        click_pixel(at.x, at.y);
    });
    settle();
    step([&] {
        pen = highlighted_pen;
        const canvas_point p = place_of(PATTERN, 100, 60, 70); // the green bar
        headless_pointer(p.x, p.y);
        headless_button(HOST_LEFT, true, 0);
    });
    settle();
    settle();
    std::string dragged;
    step([&] {
        EXPECT_GT(chosen.green, 0.1);
        dragged = planes();
        EXPECT_NE(dragged, before);
        const canvas_point p = place_of(PATTERN, 100, 120, 70);
        headless_pointer(p.x, p.y);
    });
    settle();
    step([&] {
        EXPECT_NE(planes(), dragged);
        headless_button(HOST_LEFT, false, 0);
    });
    settle();
    step([&] {
        EXPECT_EQ(image_undo_count(), 1);
        EXPECT_EQ(open_image.appliques[pen]->a1, chosen.green);
        char shown[32];
        std::snprintf(shown, sizeof shown, "%.6f", chosen.green);
        EXPECT_EQ(text_of(PATTERN, 110), shown);
        image_undo();
        EXPECT_EQ(planes(), before);
    });
    type(PATTERN, 108, "2"); // refused: the old value comes back
    step([] { EXPECT_EQ(text_of(PATTERN, 108).substr(0, 3), "1.0"); });
    press(PATTERN, 113);
    type(PATTERN, 112, "51");
    step([] { EXPECT_NEAR(chosen.blue, 0.2, 1e-9); });
    type(PATTERN, 114, "Mine");
    press(PATTERN, 115);
    step([] {
        EXPECT_EQ(palette_find(&program_palette.colors, "Mine"), 2);
        EXPECT_TRUE(program_palette.changed);
        EXPECT_EQ(text_of(MAIN, 72, 2), "Mine");
        program_palette.changed = false;
    });
    EXPECT_EQ(run_forms({"-f", "still.tnc", "-p", "my.tnp"}), 0);
}

TEST_F(Forms, ARecentImageIsChosenFromAList) {
    constexpr int RECENT = 915;
    for (const char* name : {"a", "b", "gone"})
        for (const std::string extension : {".tnc", ".rgb"})
            std::filesystem::copy(path("still" + extension), path(name + extension));
    record_messages();
    press(MAIN, 170); // nothing to choose from
    for (const char* name : {"a.tnc", "gone.tnc", "b.tnc", "still.tnc"}) {
        step([=] { drop(name); });
        settle();
    }
    step([this] { std::filesystem::remove(path("gone.tnc")); });
    press(MAIN, 170);
    step([] { // what is open and what is gone isn't offered
        EXPECT_EQ(text_of(RECENT, 15, 0).substr(0, 6), "b.tnc ");
        EXPECT_EQ(text_of(RECENT, 15, 1).substr(0, 6), "a.tnc ");
        EXPECT_EQ(text_of(RECENT, 15, 2), "");
    });
    key(host_key::escape, 27);
    step([] {
        EXPECT_EQ(form_of(RECENT), nullptr);
        EXPECT_STREQ(files_last_name(open_image.tnc_path), "still.tnc");
    });
    press(MAIN, 170);
    press(RECENT, 15, 20, 26); // the second row
    step([] {
        EXPECT_EQ(form_of(RECENT), nullptr);
        EXPECT_STREQ(files_last_name(open_image.tnc_path), "a.tnc");
    });
    press(MAIN, 170);
    key(host_key::enter, 13); // the first one
    step([] { EXPECT_STREQ(files_last_name(open_image.tnc_path), "still.tnc"); });
    EXPECT_EQ(run_forms({}), 0);
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].find("No other image has been opened yet."), 0u);
}

// A page of cells asks where a pattern is, once more for the next one, and not again after a refusal. The editor's
// Browse is a picker over the editor.
TEST_F(Forms, ALostPatternIsFoundThroughTheSearchPathForms) {
    constexpr int QUESTION = 912, EDITOR = 914;
    std::filesystem::create_directories(path("far"));
    std::filesystem::copy(path("brick.rgb"), path("far/lost.rgb"));
    write("lost.tnp",
          "Lost {pattern = \"lost.rgb\";}\nGone {pattern = \"gone.rgb\";}\nAlso {pattern = \"also.rgb\";}\n");
    const std::string ini = path("vantor.ini");
    setenv("VANTORA_INI", ini.c_str(), 1);
    step([this] {
        const log_sink told = [](void* to, int, const char* text) {
            static_cast<std::vector<std::string>*>(to)->emplace_back(text);
            EXPECT_EQ(wrong_pixels(), 0) << "a form that has gone is seen beside the message " << text;
        };
        log_set_sink(told, &messages);
    });
    press(PATTERN, 200);
    step([] { ASSERT_NE(form_of(QUESTION), nullptr); });
    press(MAIN, 16); // another form's button: the question stays
    step([] { EXPECT_FALSE(quit_requested); });
    press(QUESTION, 15); // yes
    step([] {
        EXPECT_EQ(form_of(QUESTION), nullptr);
        EXPECT_NE(text_of(EDITOR, 15, 0), ""); // the present path
        EXPECT_EQ(text_of(EDITOR, 15, 1), "");
    });
    press(EDITOR, 14); // browse
    type(PICKER, 17, path("far"));
    press(PICKER, 30);
    step([] {
        EXPECT_EQ(form_of(PICKER), nullptr);
        EXPECT_NE(text_of(EDITOR, 13).find("\\far\\"), std::string::npos) << text_of(EDITOR, 13);
    });
    press(EDITOR, 16); // add
    step([] { EXPECT_NE(text_of(EDITOR, 15, 1).find("\\far\\"), std::string::npos); });
    press(EDITOR, 18); // up
    step([] { EXPECT_NE(text_of(EDITOR, 15, 0).find("\\far\\"), std::string::npos); });
    press(EDITOR, 1); // accept: the next one is asked for
    step([] {
        EXPECT_EQ(form_of(EDITOR), nullptr);
        EXPECT_NE(form_of(QUESTION), nullptr);
    });
    key(host_key::escape, 27); // no; and not a third time
    step([] { EXPECT_EQ(form_of(QUESTION), nullptr); });
    press(PATTERN, 12, 20, 20); // a cell without a picture can't be chosen
    step([] { EXPECT_EQ(chosen.kind, selection_kind::none); });
    press(PATTERN, 11, 20, 20);
    step([] { EXPECT_EQ(text_of(MAIN, 52), "Lost"); });
    EXPECT_EQ(run_forms({"-f", "still.tnc", "-p", "lost.tnp"}), 0);
    unsetenv("VANTORA_INI");
    EXPECT_NE(read(ini).find("far"), std::string::npos) << "kept for the next run";
    EXPECT_EQ(messages.size(), 2u) << "of the two that are not found";
}
