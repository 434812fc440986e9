// Finding the pair, opening it, and applying to it.
#include "core_fixture.h"

#include "core/open_image.h"
#include "platform/files.h"

namespace {

class OpenImage : public CoreFixture {
protected:
    void SetUp() override {
        CoreFixture::SetUp();
        log_set_sink(record, this);
        stop_set_action([](void* user, int) { ++static_cast<OpenImage*>(user)->stops; }, this);
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
    int stops = 0;
};

} // namespace

TEST_F(OpenImage, TheCompanionIsNamedByTheFileOrByItsOwnName) {
    std::filesystem::create_directories(directory + "/shots.d");
    write("shots.d/car.rgb", "");
    write("shots.d/a.tnc", head("d:\\out\\car.rgb") + std::string(1, '\0'));
    EXPECT_EQ(companion("shots.d/a.tnc"), "shots.d/car.rgb");
    write("shots.d/b.tnc", head("d:\\out\\gone.rgb") + std::string(1, '\0'));
    EXPECT_EQ(companion("shots.d/b.tnc"), "gone.rgb");
    write("shots.d/c.tnc", head(std::string(90, 'n')));
    EXPECT_EQ(companion("shots.d/c.tnc"), std::string(79, 'n'));
    write("shots.d/old.tnc", "\xFA\x02\xF3\x01"
                             "x");
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
    EXPECT_EQ(open_image.tnc, kept);
    EXPECT_EQ(open_image.picture->red[0], before);
    EXPECT_EQ(open_image.appliques[1], nullptr);

    // A pair that can't be used leaves the present one.
    EXPECT_EQ(image_open("other.tnc"), 0);
    EXPECT_NE(open_image.picture, nullptr);
}

TEST_F(OpenImage, TwentyBrokenPairsInARow) {
    write_pair();
    std::string tnc = read("still.tnc");
    std::string raster = read("still.rgb");
    for (size_t i = 0; i < 20; ++i) {
        write("still.tnc", i % 2 == 0 ? tnc.substr(0, i * 3) : tnc);
        write("still.rgb", i % 2 == 0 ? raster : raster.substr(0, raster.size() - i));
        image_open("still.tnc");
        EXPECT_EQ(apply_col_pat(1, color(1, 1, 1)) != 0, open_image.picture != nullptr && open_image.tnc != nullptr);
    }
    EXPECT_GT(stops, 0);
    write("still.rgb", raster);
    write("whole.tnc", tnc);
    EXPECT_EQ(image_open("whole.tnc"), 1);
}

TEST_F(OpenImage, EveryFailedAllocationOrReadLeavesASoundState) {
    write_pair();
    for (int kind = 0; kind < 3; ++kind) {
        bool hit = true;
        for (long n = 0; hit; ++n) {
            image_close();
            if (kind == 0) {
                mem_fail_after(n, mem_fail::once);
            } else {
                files_fail_after(n, kind == 1 ? files_fail::onward : files_fail::nothing);
            }
            bool opened = image_open("still.tnc") != 0;
            applique* green = opened ? color(0, 1, 0) : nullptr;
            bool applied = green != nullptr && apply_col_pat(1, green) != 0;
            hit = kind == 0 ? mem_fail_stop() : files_fail_stop();
            EXPECT_TRUE(hit || applied);
            if (!opened) {
                EXPECT_FALSE(messages.empty());
            }
        }
    }
    EXPECT_EQ(image_open("still.tnc"), 1);
}
