// Recipes: the form of a set, files with wrong lines, and that what is saved reads back to the last bit.
#include <map>

#include "common/failures.h"
#include "common/values.h"
#include "surface/recipe.h"
#include "surface_fixture.h"

namespace {

class Recipe : public SurfaceFixture {
protected:
    void TearDown() override {
        recipe_free(&r);
        applique_free_all();
        EXPECT_EQ(mem_live(), live_before);
        SurfaceFixture::TearDown();
    }
    applique pattern(std::string& file, double rotation, int mirror, double size) {
        applique a = {};
        a.file = file.data();
        EXPECT_TRUE(applique_set_placement(&a, rotation, mirror, size));
        return a;
    }
    recipe r = {};
};

} // namespace

TEST_F(Recipe, RefusesWithTheReasonWhatIsNoSet) {
    const std::map<std::string, std::string> wrong = {
        {"7", "\"7\" is not PEN=SURFACE"},
        {"x=Red", "\"x\" is no pen"},
        {"7 =Red", "\"7 \" is no pen"},
        {"99999999999=Red", "\"99999999999\" is no pen"},
        {"7=", "\"7=\" names no surface"},
        {"7=@", "\"7=@\" names no surface"},
        {"7=1,2,0", "\"7=1,2,0\" is no colour of numbers from 0.0 to 1.0"},
        {"7=nan,0,0", "\"7=nan,0,0\" is no colour of numbers from 0.0 to 1.0"},
        {"7=1,0,0,0", "\"7=1,0,0,0\" is no colour of numbers from 0.0 to 1.0"},
        {"7=1,0,0:mirror", "\"7=1,0,0:mirror\": a colour has no placement"},
        {"7=@w.rgb:rotatoin=3", "\"7=@w.rgb:rotatoin=3\" has an unknown placement, or a number out of range"},
        {"7=@w.rgb:size=0", "\"7=@w.rgb:size=0\" has an unknown placement, or a number out of range"},
        {"7=@w.rgb:rotation=inf", "\"7=@w.rgb:rotation=inf\" has an unknown placement, or a number out of range"},
        {"7=" + std::string(5000, 'n'), "a surface's name is too long"},
    };
    for (const auto& [text, reason] : wrong) {
        surface_set set;
        char why[SET_REASON_SIZE] = "";
        EXPECT_FALSE(surface_set_parse(text.c_str(), &set, why)) << text;
        EXPECT_EQ(why, reason);
    }
}

TEST_F(Recipe, ReadsWhatIsRightAndTellsTheLinesThatAreNot) {
    write_raster("beside.rgb", 2, 2, 1);
    const std::string path =
        write("my.sets", "\xEF\xBB\xBF# a scene\r\n\n  7=Deep red:size=0.5 \r\n8=0.5,1\n9=@beside.rgb\n"
                         "10=@gone.rgb:mirror\n" +
                             std::string("11=a\0b\n", 7) + "12=0,0.1,1e-3");
    ASSERT_TRUE(recipe_read(&r, path.c_str(), LOG_INFO));
    ASSERT_EQ(r.count, 4);
    EXPECT_EQ((values{r.wrong, r.sets[0].text, r.sets[0].size, r.sets[0].line}), (values{2, "Deep red", 0.5, 3}));
    EXPECT_EQ(r.sets[1].text, this->path("beside.rgb"));
    EXPECT_STREQ(r.sets[2].text, "gone.rgb");
    EXPECT_TRUE(r.sets[2].mirror);
    EXPECT_EQ(r.sets[3].blue, 0.001);
    ASSERT_EQ(messages.size(), 2u);
    EXPECT_EQ(messages[0], "\"" + path + "\", line 4: \"8=0.5,1\" is no colour of numbers from 0.0 to 1.0");
    EXPECT_EQ(messages[1], "\"" + path + "\", line 7: the line is no text");
    EXPECT_FALSE(recipe_read(&r, this->path("none.sets").c_str(), LOG_INFO));
    EXPECT_EQ(messages.back(), "The recipe \"" + this->path("none.sets") + "\" can not be read: it does not exist.");
}

TEST_F(Recipe, SavesWhatReadsBackToTheLastBit) {
    std::string brick = "/p/brick:x.rgb";
    std::string walnut = "walnut.rgb";
    applique colored = {};
    colored.is_color = 1;
    colored.a0 = 0.1;
    colored.a1 = 1.0 / 3.0;
    colored.a2 = 1e-17;
    const applique turned = pattern(brick, 359.99999999999, 1, 0.1);
    const applique plain = pattern(walnut, 0, 0, 1);
    const applique* carried[] = {nullptr, &colored, &turned, nullptr, &plain};
    const std::string out = path("saved.sets");
    ASSERT_EQ(recipe_save(carried, 5, out.c_str()), 0);
    EXPECT_EQ(read(out), "1=0.1,0.3333333333333333,1e-17\n2=@/p/brick:x.rgb:rotation=359.99999999999:mirror:size=0.1\n"
                         "4=@walnut.rgb\n");
    ASSERT_TRUE(recipe_read(&r, out.c_str(), LOG_INFO));
    ASSERT_EQ(r.count, 3);
    for (int i = 0; i < r.count; ++i) {
        applique* a = surface_set_applique(&r.sets[i]);
        EXPECT_TRUE(applique_equal(a, carried[r.sets[i].pen]));
        applique_free(a);
    }
    const std::string saved = read(out);
    // A name that a line can't hold leaves the file as it was.
    for (std::string name : {"a\nb.rgb", "a.rgb:mirror", "a.rgb "}) {
        const applique bad = pattern(name, 0, 0, 1);
        const applique* one[] = {&bad};
        EXPECT_EQ(recipe_save(one, 1, out.c_str()), -1) << name;
        EXPECT_EQ(read(out), saved);
    }
}

TEST_F(Recipe, AFailureLosesNothingAndIsTold) {
    const std::string path = write("my.sets", "1=Red\n2=@a.rgb:size=2\n3=0,0,0\n");
    color_palette colors = {};
    pattern_palette patterns = {};
    sweep_failures(
        MEMORY_FAILURES, [&] { messages.clear(), recipe_read(&r, path.c_str(), LOG_INFO); },
        [&](bool hit) {
            EXPECT_EQ((values{messages.empty(), r.count < 3}), (values{!hit, hit}));
            recipe_free(&r);
        });
    ASSERT_TRUE(recipe_read(&r, path.c_str(), LOG_INFO));
    char why[SET_REASON_SIZE];
    EXPECT_FALSE(surface_set_look_up(&r.sets[0], &colors, &patterns, why));
    EXPECT_STREQ(why, "The palette has no colour or pattern \"Red\".");
    applique color = {};
    color.is_color = 1;
    const applique* carried[] = {&color};
    sweep_failures(
        TRANSFER_FAILURES, [&] { messages.clear(), recipe_save(carried, 1, path.c_str()); },
        [&](bool hit) {
            EXPECT_EQ(messages.empty(), !hit);
            EXPECT_EQ(read(path) == "0=0,0,0\n", !hit);
            write("my.sets", "old");
        });
}
