// Palette files: the scanner, loading, saving, and what a failure leaves behind.
#include <array>
#include <cmath>
#include <csignal>

#include <sys/resource.h>

#include "common/failures.h"
#include "common/values.h"
#include "platform/files.h"
#include "surface/palette.h"
#include "surface_fixture.h"

namespace {

class Palette : public SurfaceFixture {
protected:
    void TearDown() override {
        palette_clear(&colors);
        pattern_palette_clear(&patterns);
        EXPECT_EQ(mem_live(), live_before);
        SurfaceFixture::TearDown();
    }
    int load(const std::string& text) { return load_palette_file(&colors, &patterns, write("p.tnp", text).c_str()); }
    color_palette colors = {};
    pattern_palette patterns = {nullptr, 0};
};

} // namespace

TEST_F(Palette, ReadsBothKindsInAnyOrderAndSpacing) {
    ASSERT_EQ(load("Sky blue \t{color=( 0.25,\n0.5 ,1 ) ;\n}Oak{pattern = \"oak.rgb\"  ; }\n"
                   "  over {\n color = (1.5, -0.2, nan);}\nBrick {pattern = \"b r.rgb\";}"),
              1);
    ASSERT_EQ(colors.count, 2);
    const named_color *sky = colors.entries[0], *over = colors.entries[1];
    EXPECT_EQ((values{sky->name + 0, sky->red, sky->green, sky->blue}), (values{"Sky blue", 0.25, 0.5, 1.0}));
    EXPECT_EQ((values{over->red, over->green, over->blue}), (values{1.0, 0.0, 0.0})); // clamped; no number
    ASSERT_EQ(patterns.count, 2);
    const char* file = nullptr;
    EXPECT_EQ((values{pattern_lookup(&patterns, "Brick", &file), file}), (values{1, "b r.rgb"}));
    EXPECT_EQ((values{pattern_lookup(&patterns, "brick", &file), palette_find(&colors, "over")}), (values{0, 1}));
}

TEST_F(Palette, AnEntryWithoutABodyEndsTheFile) {
    std::string good = "a {color = (0, 0, 0);}\n";
    for (const std::string& bad : {std::string("b {colour = (0, 0, 0);}\n"), std::string("b {color = (0, 0);}\n"),
                                   std::string("b {pattern = \"\";}\n"), std::string("b {pattern = \"x;}\n"),
                                   std::string(90, 'n') + " {color = (0, 0, 0);}\n",
                                   std::string("b {pattern = \"") + std::string(4096, 'f') + "\";}\n",
                                   std::string("b {color = (0, 0, 0);", 21) + '\0' + "}\n"}) {
        EXPECT_EQ(load(good + bad + "c {color = (1, 1, 1);}\n"), 1) << bad;
        EXPECT_EQ(colors.count, 1) << bad;
    }
    EXPECT_EQ(messages.back(), "Palette file \"" + directory + "/p.tnp\" is read up to its entry 1 only.");
    messages.clear();
    EXPECT_EQ(load(good + std::string(79, 'n') + "{color = (0, 0, 0);}\n"), 1);
    EXPECT_EQ(colors.count, 2);
    EXPECT_TRUE(messages.empty()); // a whole file
}

TEST_F(Palette, AFileOfPatternsOnlyIsGoodAndAnEmptyOneIsNot) {
    EXPECT_EQ(load("Oak {pattern = \"oak.rgb\";}"), 1);
    EXPECT_EQ(colors.count, 0);
    EXPECT_EQ(load("nothing here"), 0);
    EXPECT_EQ((values{messages.back(), patterns.count}), (values{"Load Failure on Palette file.", 0}));
    EXPECT_EQ(load_palette_file(&colors, &patterns, (directory + "/none.tnp").c_str()), 0);
}

TEST_F(Palette, AddsOnlyWhatAFileCanHold) {
    EXPECT_EQ(palette_add(&colors, " Sea {deep}  ", std::nan(""), -1.0, 0.5), 1);
    EXPECT_EQ(palette_add(&colors, std::string(90, 'n').c_str(), 0.5, 0.5, 0.5), 1);
    EXPECT_EQ(palette_add(&colors, "  ", 0.5, 0.25, 1.0), 1);
    std::string path = directory + "/saved.tnp";
    ASSERT_EQ(palette_save(&colors, &patterns, path.c_str()), 0);
    EXPECT_EQ(load_palette_file(&colors, &patterns, path.c_str()), 1);
    ASSERT_EQ(colors.count, 3);
    EXPECT_EQ((values{palette_find(&colors, "Sea _deep}"), colors.entries[0]->red}), (values{0, 0.0}));
    EXPECT_EQ(palette_find(&colors, std::string(79, 'n').c_str()), 1);
    EXPECT_EQ((values{palette_find(&colors, "127_063_255"), palette_name_is_made_up("128_064_255")}), (values{2, 1}));
    for (const char* name : {"128_64_255", "128_064_2555", "Red"})
        EXPECT_EQ(palette_name_is_made_up(name), 0) << name;
}

TEST_F(Palette, SavesWhatItLoadsBack) {
    EXPECT_EQ(palette_add(&colors, "Red", 2.0, 0.123456789, 0.0), 1);
    EXPECT_EQ(palette_add(&colors, "", 0.5, 0.25, 1.0), 1);
    EXPECT_EQ(palette_add(&colors, "Red", 1.0, 0.123456789, 0.0), 0);
    EXPECT_EQ(palette_add(&colors, "Red", 1.0, 0.5, 0.0), 1);
    std::string brick = write_raster("brick.old.rgb", 4, 4, 1);
    ASSERT_TRUE(files_change_directory(directory.c_str()));
    EXPECT_EQ(pattern_set(&patterns, 99, "brick.old.rgb"), 0);
    EXPECT_NE(pattern_set(&patterns, 0, "p.tnp"), 0);
    EXPECT_EQ(messages.back(), "File \"p.tnp\" is not a raster file.");
    std::string path = directory + "/saved.tnp";
    ASSERT_EQ(palette_save(&colors, &patterns, path.c_str()), 0);
    EXPECT_EQ(read(path), "Red {color = (1.000000, 0.500000, 0.000000);}\n127_063_255 {color = (0.500000, 0.250000, "
                          "1.000000);}\nBrick {pattern = \"" +
                              brick + "\";}\n");
    EXPECT_EQ(load_palette_file(&colors, &patterns, path.c_str()), 1);
    EXPECT_EQ(colors.count, 2);
    EXPECT_EQ(palette_save(&colors, &patterns, (directory + "/no/p.tnp").c_str()), -1);
    EXPECT_EQ(messages.back(), "Error : Failed to open " + directory + "/no/p.tnp for write.");
}

TEST_F(Palette, ACutWriteKeepsTheOldFile) {
    palette_add(&colors, "Red", 1, 0, 0);
    std::string path = write("old.tnp", "old");
    int result = 0;
    sweep_failures(
        std::array{failing::transfer}, [&] { result = palette_save(&colors, &patterns, path.c_str()); },
        [&](bool hit) {
            EXPECT_EQ(result, hit ? -1 : 0);
            EXPECT_EQ(std::filesystem::file_size(path) == 3, hit);
        });
    // What the last writes could not place is told by the close alone.
    const std::string whole = read(path);
    rlimit usual = {};
    getrlimit(RLIMIT_FSIZE, &usual);
    const rlimit small = {10, usual.rlim_max};
    std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &small);
    result = palette_save(&colors, &patterns, path.c_str());
    setrlimit(RLIMIT_FSIZE, &usual);
    EXPECT_EQ((values{result, read(path)}), (values{-1, whole}));
}

TEST_F(Palette, AFailedAllocationLosesOneEntryOrAll) {
    std::string path = write("p.tnp", "a {color = (0, 0, 0);}\nOak {pattern = \"o\";}\nb {color = (0, 0, 0);}\n");
    int lost_one = 0, lost_all = 0;
    int loaded = 0;
    sweep_failures(
        std::array{failing::allocation}, [&] { loaded = load_palette_file(&colors, &patterns, path.c_str()); },
        [&](bool hit) {
            EXPECT_EQ(messages.empty(), !hit);
            EXPECT_EQ(colors.count + patterns.count, loaded == 0 ? 0 : (hit ? 2 : 3));
            (loaded == 0 ? lost_all : lost_one) += hit ? 1 : 0;
            palette_clear(&colors);
            pattern_palette_clear(&patterns);
            messages.clear();
        });
    EXPECT_EQ(lost_one, 4); // two colours; a pattern's file and name
    EXPECT_EQ(lost_all, 4); // the text and the table, of both kinds
    palette_add(&colors, "Red", 1, 0, 0);
    for (long n = 0; n < 2; ++n) {
        mem_fail_after(n, mem_fail::once);
        EXPECT_EQ(palette_add(&colors, "Blue", 0, 0, 1), -1);
        mem_fail_stop();
        EXPECT_EQ(colors.count, 1);
    }
}
