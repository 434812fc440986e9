// Finding the pair, opening it, and applying to it.
#include "core_fixture.h"

#include "common/failures.h"
#include "common/values.h"
#include "core/open_image.h"
#include "platform/files.h"

namespace {

class OpenImage : public CoreFixture {
protected:
    void SetUp() override {
        CoreFixture::SetUp();
        log_set_sink(record, this);
        stop_set_action([](void*, int) { ADD_FAILURE() << "the program was stopped"; }, nullptr);
    }
    void TearDown() override {
        image_close();
        CoreFixture::TearDown();
    }
    static void record(void* user, int, const char* text) {
        static_cast<OpenImage*>(user)->messages.emplace_back(text);
    }
    std::string companion(const std::string& path) const {
        char raster[FILES_PATH_SIZE];
        return find_companion(path.c_str(), raster, sizeof raster) ? raster : "";
    }
    static std::string head(const std::string& name) { return std::string("\xFA\x03\xF3\x01", 4) + name; }
    std::vector<std::string> messages;
};

} // namespace

TEST_F(OpenImage, TheCompanionIsNamedByTheFileOrByItsOwnName) {
    std::filesystem::create_directories(directory + "/shots.d");
    write("shots.d/car.rgb", "");
    write("shots.d/a.tnc", head("d:\\out\\car.rgb") + std::string(1, '\0'));
    EXPECT_EQ(companion("shots.d/a.tnc"), "shots.d/car.rgb");
    write("shots.d/near.tnc", head("car.rgb") + std::string(1, '\0'));
    write("car.rgb", "of another scene, in the working directory");
    EXPECT_EQ(companion("shots.d/near.tnc"), "shots.d/car.rgb");
    std::filesystem::remove(path("shots.d/car.rgb"));
    EXPECT_EQ(companion("shots.d/near.tnc"), "car.rgb");
    write("shots.d/b.tnc", head("d:\\out\\gone.rgb") + std::string(1, '\0'));
    EXPECT_EQ(companion("shots.d/b.tnc"), "gone.rgb");
    write("shots.d/c.tnc", head(std::string(90, 'n')));
    EXPECT_EQ(companion("shots.d/c.tnc"), std::string(79, 'n'));
    write("shots.d/old.tnc", "\xFA\x02\xF3\x01x");
    EXPECT_EQ(companion("shots.d/old.tnc"), "shots.d/old.rgb");
    write("shots.d/bare", "\xFA");
    EXPECT_EQ(companion("shots.d/bare"), "shots.rgb"); // the last "." of the whole path counts
    EXPECT_EQ(companion("none.tnc"), "none.rgb");
    EXPECT_EQ(messages.back(), "Failed to open \"none.tnc\"");
}

TEST_F(OpenImage, APairIsJudgedByNameAndExtension) {
    write("a.tnc", "");
    write("a.rgb", "");
    write("a.txt", "");
    EXPECT_NE(check_pair("a.tnc", "a.rgb"), 0);
    EXPECT_TRUE(messages.empty());
    EXPECT_EQ(check_pair("a.rgb", "none.rgb"), 0);
    EXPECT_EQ(messages, (std::vector<std::string>{"Error : \"a.rgb\" is not a tinct file.",
                                                  "Tinct requires a pair of files : a.rgb and none.rgb"}));
    EXPECT_EQ(check_pair("a.tnc", "a.txt"), 0);
    EXPECT_EQ(messages.back(), "\"a.txt\" is not a readable raster file.");
}

TEST_F(OpenImage, OpensAppliesAndKeepsWhatASurfaceCarries) {
    write_pair();
    ASSERT_EQ(image_open("still.tnc"), 1);
    ASSERT_NE(open_image.picture, nullptr);
    uint8_t before = open_image.picture->red[0];
    EXPECT_EQ(apply_col_pat(1, color(1, 0, 0)), 1);
    EXPECT_TRUE(open_image.image_changed);
    EXPECT_EQ(open_image.picture->red[0], before + 50);
    open_image.image_changed = false;
    EXPECT_EQ(apply_col_pat(1, color(1, 0, 0)), 1); // the same again
    EXPECT_FALSE(open_image.image_changed);
    EXPECT_EQ(apply_col_pat(1, nullptr), 0);
    EXPECT_NE(open_image.appliques[1], nullptr);
    EXPECT_EQ(apply_col_pat(240, color(1, 0, 0)), 0);
    EXPECT_EQ(messages.back(), "apply_col_pat : pen = 240");

    // The same raster path: the rendered data stays, planes and appliques start anew.
    tnc_image* kept = open_image.tnc;
    ASSERT_EQ(image_open("still.tnc"), 1);
    EXPECT_EQ((values{open_image.tnc, open_image.picture->red[0]}), (values{kept, before}));
    EXPECT_EQ(open_image.appliques[1], nullptr);
    EXPECT_EQ(image_undo(), 0);

    // But not when a file has changed, in time or size.
    std::filesystem::last_write_time("still.tnc",
                                     std::filesystem::file_time_type::clock::now() + std::chrono::hours(1));
    messages.clear();
    write("still.rgb", read("still.rgb"));
    write("still.tnc", read("still.tnc").insert(14, "\xF9\x07\x01", 3));
    ASSERT_EQ(image_open("still.tnc"), 1);
    EXPECT_EQ(pen_defined(open_image.tnc, 7), 1);
    write_raster("still.rgb", 5, 4);
    ASSERT_EQ(image_open("still.tnc"), 1);
    EXPECT_EQ(open_image.tnc->line_count, 4);
    EXPECT_TRUE(messages.empty());
}

// Whatever is wrong with a pair: it is told, in the words for it, and the present picture stays as it is.
TEST_F(OpenImage, ARecipeIsAppliedAndWhatIsCarriedIsSavedAsOne) {
    write_pair();
    write_raster("weave.rgb", 8, 8);
    color_palette colors = {};
    pattern_palette patterns = {};
    recipe r = {};
    palette_add(&colors, "Red", 1, 0, 0);
    const std::string file = write("a.sets", "1=weave.rgb\n2=Red\n1=@weave.rgb:mirror:size=0.5\n9=Red\n2=@weave.rgb\n");
    ASSERT_TRUE(recipe_read(&r, file.c_str(), LOG_INFO));
    EXPECT_EQ(image_apply_recipe(&r, &colors, &patterns), 0);
    EXPECT_EQ(messages, std::vector<std::string>{"There is no image to apply to."});
    messages.clear();
    ASSERT_EQ(image_open("still.tnc"), 1);
    EXPECT_EQ(image_apply_recipe(&r, &colors, &patterns), 2);
    const std::string in = "\"" + file + "\", line ";
    EXPECT_EQ(messages,
              (std::vector<std::string>{in + "1: The palette has no colour or pattern \"weave.rgb\".",
                                        in + "4: The image has no surface 9.",
                                        "Patterns cannot be applied to this surface.", in + "5: It was not applied."}));
    ASSERT_EQ(image_save_recipe("b.sets"), 0);
    EXPECT_EQ(read(path("b.sets")), "1=@" + path("weave.rgb") + ":mirror:size=0.5\n2=1,0,0\n");

    char words[256];
    image_undo_words(words, sizeof words);
    EXPECT_EQ((values{words, image_undo()}), (values{"", 1}));
    image_undo_words(words, sizeof words);
    EXPECT_EQ((values{words, image_redo()}), (values{"Surface 1: back to the rendered state", 1}));
    image_redo_words(words, sizeof words);
    EXPECT_STREQ(words, "Surface 1: again weave.rgb");
    image_undo();
    image_undo();
    EXPECT_FALSE(open_image.image_changed);
    recipe_free(&r);
    palette_clear(&colors);
}

TEST_F(OpenImage, APairThatCannotBeOpenedLeavesThePresentOne) {
    write_pair();
    ASSERT_EQ(image_open("still.tnc"), 1);
    ASSERT_EQ(apply_col_pat(1, color(1, 0, 0)), 1);
    const raster_image* present = open_image.picture;
    const std::string tnc = read("still.tnc");
    const std::string raster = read("still.rgb");
    struct bad_pair {
        std::string tnc, raster;
        std::vector<std::string> told;
    };
    const std::string load = "load_image : failed to open \"other.rgb\" for read";
    const auto other = [](std::string bytes) { return bytes.replace(4, 9, "other.rgb"); };
    const bad_pair cases[] = {
        {"", raster, {"Failed to open \"other.tnc\""}},
        {other(tnc), "", {"Tinct requires a pair of files : other.tnc and other.rgb"}},
        {other(tnc), "no raster", {"Failed to open \"other.rgb\" for read as RGB file."}},
        {other(tnc), raster.substr(0, raster.size() - 3), {load}},
        {"\xFAx no tnc file", raster, {"expected \"other.tnc\" to be version 0, 1, 2 or 3 tnc file"}},
        {other(tnc) + "\x09", raster, {}}, // nothing is read behind the end
        {other(tnc).replace(20, 1, "\x09"), raster, {"Pixel data found for unknown pen 9"}},
    };
    for (const bad_pair& c : cases) {
        std::filesystem::remove("other.tnc");
        std::filesystem::remove("other.rgb");
        if (!c.tnc.empty()) write("other.tnc", c.tnc);
        if (!c.raster.empty()) write("other.rgb", c.raster);
        messages.clear();
        EXPECT_EQ(image_open("other.tnc"), c.told.empty() ? 1 : 0);
        EXPECT_EQ(messages, c.told);
        if (c.told.empty()) {
            present = open_image.picture;
            ASSERT_EQ(apply_col_pat(1, color(1, 0, 0)), 1);
        }
        EXPECT_EQ((values{open_image.picture, image_undo() + image_redo()}), (values{present, 2}));
    }
}

// The end of a file between two records is an end; inside of one it is a cut, which is told once.
TEST_F(OpenImage, AFileThatEndsEarlyOpens) {
    const std::string tnc = read(write_pair());
    for (size_t length = 14; length < tnc.size(); ++length) {
        write("still.tnc", tnc.substr(0, length));
        messages.clear();
        ASSERT_EQ(image_open("still.tnc"), 1) << length;
        EXPECT_EQ(messages.empty(), open_image.tnc->complete) << length;
        EXPECT_LE(messages.size(), 1u);
        const std::string last = tnc.substr(length - 1, 1);
        if (last == "\xFB" || last == "\xFD") {
            EXPECT_TRUE(open_image.tnc->complete) << length;
        }
    }
    write("still.tnc", tnc.substr(0, tnc.size() - 2));
    messages.clear();
    ASSERT_EQ(image_open("still.tnc"), 1);
    EXPECT_EQ(messages, std::vector<std::string>{"\"still.tnc\" ends early: the file is cut."});
}

TEST_F(OpenImage, EveryFailedAllocationOrReadLeavesASoundState) {
    write_pair();
    bool opened = false;
    bool applied = false;
    const auto run_once = [&] {
        opened = image_open("still.tnc") != 0;
        applique* green = opened ? color(0, 1, 0) : nullptr;
        applied = green != nullptr && apply_col_pat(1, green) != 0;
    };
    const auto check = [&](bool hit) {
        EXPECT_TRUE(hit || applied);
        EXPECT_TRUE(opened || !messages.empty());
        EXPECT_EQ(opened, open_image.picture != nullptr && open_image.tnc != nullptr);
        messages.clear();
        image_close();
        penpack_release_scratch();
        file_types_free();
    };
    sweep_failures(ALL_FAILURES, run_once, check);
    EXPECT_EQ(image_open("still.tnc"), 1);
}
