// tinct-batch as a user runs it, on small pairs made by hand.
#include <cstdlib>

#include <nlohmann/json.hpp>

#include "app_fixture.h"
#include "common/values.h"

namespace {

using json = nlohmann::json;

class Batch : public AppFixture {
protected:
    void SetUp() override {
        AppFixture::SetUp();
        write_pair();
    }

    // "tinct-batch ARGUMENTS", and its status alone.
    run_result batch(const std::string& arguments) const { return run("tinct-batch " + arguments); }
    int status(const std::string& arguments) const { return batch(arguments).status; }
    json info_of(const std::string& name) const { return json::parse(run("rzl info --json " + name).out); }
    // The pixels of a raster as "rzl cat" gives them.
    std::string pixels(const std::string& name) const {
        run_result result = run("rzl cat " + name);
        EXPECT_EQ(result.status, 0) << result.err;
        return result.out;
    }
};

} // namespace

TEST_F(Batch, InfoTellsTheSurfaces) {
    run_result result = batch("info still.tnc --json");
    ASSERT_EQ(result.status, 0) << result.err;
    json info = json::parse(result.out);
    EXPECT_EQ((values{info["version"], info["name"], info["width"], info["height"]}), (values{3, "still.rgb", 4, 3}));
    ASSERT_EQ(info["pens"].size(), 2u);
    json one = {{"pen", 1},    {"uv", true},  {"samples", 4},        {"runs", 1},
                {"plines", 1}, {"bytes", 15}, {"bbox", {0, 0, 3, 0}}};
    EXPECT_EQ(info["pens"][0], one);
    EXPECT_EQ(info["pens"][1]["bbox"], json({0, 0, 1, 1}));
    EXPECT_EQ(status("info still.tnc"), 0);
}

TEST_F(Batch, PickListsTheStrongestFirst) {
    json picked = json::parse(batch("pick still.tnc 1 0 --json").out);
    EXPECT_EQ(picked, json({{"x", 1}, {"y", 0}, {"pens", {1, 2}}}));
    EXPECT_EQ(batch("pick still.tnc 0 1").out, "2\n");
    for (const char* outside : {"4 0", "-1 0", "0 3", "2147483647 0"}) {
        run_result result = run(std::string("tinct-batch pick still.tnc ") + outside + " --json");
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(json::parse(result.out)["pens"], json::array());
    }
    EXPECT_EQ(status("pick still.tnc 1 x"), 2);
    EXPECT_EQ(status("pick still.tnc 1"), 2);
}

TEST_F(Batch, SamplesComeInTheOrderOfTheWalk) {
    EXPECT_EQ(batch("samples still.tnc 2").out, "1 0 200 10 10 0 0\n0 1 40 40 40 0 0\n");
    run_result none = batch("samples still.tnc 7");
    EXPECT_EQ(none.status, 1);
    EXPECT_NE(none.err.find("no pen 7"), std::string::npos);
    EXPECT_EQ(status("samples still.tnc 999"), 1);
    EXPECT_EQ(status("samples still.tnc one"), 2);
    EXPECT_EQ(status("samples still.tnc 1 >&-"), 1);
    // The reader is gone when the first line comes.
    run("rzl formats >/dev/null; (sleep 0.3; " + bin_dir() +
        "/tinct-batch samples still.tnc 1; echo $? >code) 2>/dev/null | true");
    EXPECT_EQ(read(directory + "/code"), "1\n");
}

TEST_F(Batch, AppliesAColourByNumbersAndByName) {
    ASSERT_EQ(status("apply still.tnc --set 1=1,0.5,0 -o out.rgb"), 0);
    std::string before = pixels("still.rgb");
    std::string after = pixels("out.rgb");
    ASSERT_EQ(after.size(), 36u);
    // Shade 100: half of it, 50, is taken out, and 100, 50 and 0 are put in.
    EXPECT_EQ(static_cast<uint8_t>(after[3 * 3]), static_cast<uint8_t>(before[3 * 3]) + 50);
    EXPECT_EQ(after[3 * 3 + 1], before[3 * 3 + 1]);
    EXPECT_EQ(after[3 * 3 + 2], 0); // 3 - 50 is clamped
    EXPECT_EQ(after.substr(12), before.substr(12));

    write("my.tnp", "deep red {color = (1.0, 0.5, 0.0);}\nweave {pattern = \"weave.rgb\";}\n");
    ASSERT_EQ(status("apply still.tnc --palette my.tnp --set '1=deep red' -o named.rgb"), 0);
    EXPECT_EQ(pixels("named.rgb"), after);
    EXPECT_EQ(status("apply still.tnc --palette my.tnp --set '1=deep blue' -o n.rgb"), 1);
}

TEST_F(Batch, AppliesPatternsWithPlacement) {
    write_raster("weave.rgb", 8, 8, 28);
    write("my.tnp", "weave {pattern = \"weave.rgb\";}\n");
    ASSERT_EQ(status("apply still.tnc --set 1=@weave.rgb:rotation=90:mirror:size=0.5 -o a.rgb"), 0);
    ASSERT_EQ(status("apply still.tnc --palette my.tnp --set 1=weave:size=0.5:rotation=90:mirror -o b.rgb"), 0);
    std::string after = pixels("a.rgb");
    EXPECT_EQ(after, pixels("b.rgb"));
    // u and v stand at the middle, where every placement leaves the texel at (4, 4): byte 44, so 100 x 44 / 256.
    EXPECT_EQ(after[0], 0);
    EXPECT_NE(after, pixels("still.rgb"));
    run_result result = batch("apply still.tnc --set 2=@weave.rgb -o c.rgb");
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.err.find("Patterns cannot be applied to this surface."), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(directory + "/c.rgb"));
}

TEST_F(Batch, ARecipeIsAppliedLineByLine) {
    write_raster("weave.rgb", 8, 8, 28);
    write("good.sets", "# of the scene\n1=@weave.rgb:size=0.5\n\n2=0,1,0\n77=1,1,1\n");
    run_result result = batch("apply still.tnc --sets good.sets -o a.rgb");
    EXPECT_EQ(result.status, 1); // a surface that this frame doesn't have is told and passed over
    EXPECT_NE(result.err.find("\"good.sets\", line 5: There is no pen 77"), std::string::npos);
    ASSERT_EQ(status("apply still.tnc --set 1=@weave.rgb:size=0.5 --set 2=0,1,0 -o b.rgb"), 0);
    EXPECT_EQ(pixels("a.rgb"), pixels("b.rgb"));

    // Wrong lines: told, the others are applied, and the exit status says so.
    write("mixed.sets", "1=1,0\n2=0,1,0\n1=Nowhere\n2=@weave.rgb\n1=@gone.rgb\n");
    result = batch("apply still.tnc --set 2=1,1,1 --sets mixed.sets --set 1=1,0,0 -o c.rgb");
    EXPECT_EQ(result.status, 1);
    for (const char* line : {"line 1: ", "line 3: ", "line 4: Pen 2: Patterns cannot", "line 5: load_image"})
        EXPECT_NE(result.err.find(line), std::string::npos) << result.err;
    ASSERT_EQ(status("apply still.tnc --set 2=0,1,0 --set 1=1,0,0 -o d.rgb"), 0);
    EXPECT_EQ(pixels("c.rgb"), pixels("d.rgb"));
    EXPECT_EQ(status("apply still.tnc --sets good.sets --force -o good.sets --type rgb"), 1);
    EXPECT_EQ(status("apply still.tnc --sets none.sets -o e.rgb"), 1);
    EXPECT_FALSE(std::filesystem::exists(directory + "/e.rgb"));
}

// A sequence is done frame by frame; a frame that fails leaves the others alone, and one that is done stays as it is.
TEST_F(Batch, FramesAreDoneOnce) {
    namespace fs = std::filesystem;
    const auto time = [&](int frame) { return fs::last_write_time(directory + "/o" + std::to_string(frame) + ".rgb"); };
    for (const char* frame : {"07", "08", "10"})
        fs::copy(directory + "/still.tnc", directory + "/s" + frame + ".tnc");
    write("good.sets", "1=0,1,0\n");
    const std::string all =
        "tinct-batch apply s%02d.tnc --frames 7,8-10 --sets good.sets -o o%d.rgb --skip-done --force";
    run_result result = run(all);
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.err.find("Frame 9 failed"), std::string::npos) << result.err;
    ASSERT_EQ(status("apply still.tnc --sets good.sets -o one.rgb"), 0);
    for (const char* name : {"o7.rgb", "o8.rgb", "o10.rgb"})
        EXPECT_EQ(pixels(name), pixels("one.rgb")) << name;

    fs::copy(directory + "/still.tnc", directory + "/s09.tnc");
    const auto seventh = time(7), eighth = time(8), tenth = time(10);
    write("o8.rgb", read(directory + "/one.rgb"));                                // somebody else's, though the same
    fs::last_write_time(directory + "/s10.tnc", tenth + std::chrono::seconds(1)); // its source is new
    const auto strange = time(8);
    EXPECT_EQ(run(all).status, 0);
    EXPECT_EQ(time(7), seventh);
    EXPECT_NE(time(8), strange);
    EXPECT_NE(time(8), eighth);
    EXPECT_NE(time(10), tenth);
    EXPECT_EQ(pixels("o9.rgb"), pixels("one.rgb"));
    EXPECT_EQ(status("apply s07.tnc --set 1=0,0,1 -o o7.rgb --skip-done"), 1) << "made otherwise";
    EXPECT_EQ(time(7), seventh);

    result = batch("apply 'a b%d.tnc' --frames 1-5x2 --set \"1=it's\" -o o%03d.rgb --list");
    EXPECT_EQ(result.out, "tinct-batch apply 'a b1.tnc' --set '1=it'\\''s' -o o001.rgb\n"
                          "tinct-batch apply 'a b3.tnc' --set '1=it'\\''s' -o o003.rgb\n"
                          "tinct-batch apply 'a b5.tnc' --set '1=it'\\''s' -o o005.rgb\n");
}

TEST_F(Batch, RefusesWrongUsageBeforeAnyWork) {
    const std::string red = "apply still.tnc --set 1=1,0,0 -o ", frames = "apply s%d.tnc --set 1=1,0,0 -o o%d.rgb ";
    std::vector<std::string> all = {"",
                                    "paint",
                                    "info",
                                    "info still.tnc --xml",
                                    "samples still.tnc 1 2",
                                    "apply still.tnc -o o.rgb",
                                    "apply still.tnc --set 1=1,0,0",
                                    "apply --set 1=1,0,0 -o o.rgb",
                                    "apply still.tnc -o o.rgb --set 1=2,0,0",
                                    red + "o.xyz",
                                    frames + "--list",
                                    "apply s%d.tnc --set 1=1,0,0 -o o.rgb --frames 1-3",
                                    "apply s%s.tnc --set 1=1,0,0 -o o%d.rgb --frames 1-3"};
    for (const char* range : {"3-1", "1-3,", "1-3x0", "1-3 --frames 4"})
        all.push_back(frames + "--frames " + range);
    for (const char* option : {"--type wav", "--bits 16", "--gamma 0", "-o p.rgb", "--bits 8 --bits 8"})
        all.push_back(red + "o.rgb " + option);
    for (const std::string& words : all) {
        const run_result result = batch(words);
        EXPECT_EQ(result.status, 2) << words;
        EXPECT_NE(result.err.find("usage: tinct-batch info"), std::string::npos) << words;
        EXPECT_TRUE(result.out.empty()) << words;
    }
    EXPECT_EQ(files().size(), 2u);
    for (const char* words : {"--help", "apply --help", "--version"}) {
        run_result result = batch(words);
        EXPECT_EQ(result.status, 0) << words;
        EXPECT_FALSE(result.out.empty()) << words;
    }
}

TEST_F(Batch, KeepsExistingAndInputFiles) {
    write("old.rgb", "precious");
    EXPECT_EQ(status("apply still.tnc --set 1=1,0,0 -o old.rgb"), 1);
    EXPECT_EQ(read(directory + "/old.rgb"), "precious");
    EXPECT_EQ(status("apply still.tnc --set 1=1,0,0 -o old.rgb --force"), 0);
    EXPECT_EQ(pixels("old.rgb").size(), 36u);

    // A catalog is not written over, not even one that lists nothing.
    write("cat.rgb", "SUPERT! ");
    const std::string apply = "tinct-batch apply still.tnc --set 1=1,0,0 -o cat.rgb";
    for (const std::string& command :
         {apply, apply + " --force", apply + " --force --skip-done", std::string("rzl convert still.rgb cat.rgb")}) {
        const run_result result = run(command);
        EXPECT_EQ(result.status, 1) << command;
        EXPECT_NE(result.err.find("\"cat.rgb\" is a catalog"), std::string::npos) << result.err;
    }
    EXPECT_EQ(read(directory + "/cat.rgb"), "SUPERT! ");

    write_raster("weave.rgb", 8, 8, 28);
    std::filesystem::create_symlink("still.rgb", directory + "/link.rgb");
    std::filesystem::create_hard_link(directory + "/still.tnc", directory + "/hard.rgb");
    std::string raster = read(directory + "/still.rgb");
    std::string tnc = read(directory + "/still.tnc");
    for (const char* out : {"still.rgb", "./still.rgb", "link.rgb", "hard.rgb", "STILL.RGB", "still.tnc --type rgb",
                            "weave.rgb --set 1=@weave.rgb", "weave.rgb --set 1=@elsewhere/weave.rgb"}) {
        run_result result = run(std::string("tinct-batch apply still.tnc --set 1=1,0,0 --force -o ") + out);
        EXPECT_EQ(result.status, 1) << out;
        std::string name = std::string(out).substr(0, std::string(out).find(' '));
        EXPECT_EQ(result.err, "tinct-batch: Error : Attempt to overwrite input file \"" + name + "\".\n");
    }
    EXPECT_EQ(read(directory + "/still.rgb"), raster);
    EXPECT_EQ(read(directory + "/still.tnc"), tnc);
}

TEST_F(Batch, FailuresNameTheReasonAndLeaveNothing) {
    const std::pair<const char*, const char*> cases[] = {
        {"apply still.tnc --set 9=1,0,0 -o o.rgb", "no pen 9"},
        {"apply still.tnc --set 1=@gone.rgb -o o.rgb", "failed to open \"gone.rgb\" for read"},
        {"apply missing.tnc --set 1=1,0,0 -o o.rgb", "Failed to open \"missing.tnc\""},
        {"apply still.rgb --set 1=1,0,0 -o o.rgb", "is not a tinct file"},
        {"apply still.tnc --set 1=1,0,0 -o o.ico", "out of range for the header field"}, // sizes of icons are few
        {"apply still.tnc --set 1=1,0,0 -o no/o.rgb", "directory does not exist"},
        {"apply still.tnc --set 1=1,0,0 -o o.rgb --palette none.tnp", "Load Failure on Palette file."},
    };
    for (const auto& [words, reason] : cases) {
        const run_result result = batch(words);
        EXPECT_EQ(result.status, 1) << words;
        EXPECT_NE(result.err.find(reason), std::string::npos) << words << "\n" << result.err;
    }
    EXPECT_EQ(files().size(), 2u);
}

TEST_F(Batch, NamesComeFromTheProductsPaletteByDefault) {
    std::filesystem::create_directories(directory + "/product/palettes");
    write("product/palettes/tinct.tnp", "mine {color = (1.0, 0.5, 0.0);}");
    std::string command = "tinct-batch apply still.tnc -o o.rgb --force --set 1=";
    setenv("VANTORAMA", (directory + "/product").c_str(), 1);
    EXPECT_EQ(run(command + "mine").status, 0);
    std::string named = pixels("o.rgb");
    EXPECT_EQ(run(command + "1,0.5,0").status, 0);
    EXPECT_EQ(pixels("o.rgb"), named);
    EXPECT_EQ(run(command + "yours").status, 1);
    std::filesystem::remove_all(directory + "/product/palettes");
    EXPECT_NE(run(command + "mine").err.find("no palette to look \"mine\" up in"), std::string::npos);
}

TEST_F(Batch, SetsAreAppliedInOrderAndOptionsChooseTheForm) {
    ASSERT_EQ(status("apply still.tnc --set 2=0,0,0 --set 2=0,1,0 -o a.rgb --uncompressed"), 0);
    ASSERT_EQ(status("apply still.tnc --set 2=0,1,0 -o b.dat --type RGB --bits 24 --gamma 1"), 0);
    EXPECT_EQ(info_of("a.rgb")["format"], 28);
    EXPECT_EQ(info_of("b.dat")["format"], 27);
    // Pen 2 stands alone at (0, 1) with shade 40: of the picture's 10 each, 20 are taken out and the colour's 40 put
    // in; in two steps, the first ends at 0.
    EXPECT_EQ(pixels("a.rgb").substr(12, 3), std::string("\0\x28\0", 3));
    EXPECT_EQ(pixels("b.dat").substr(12, 3), std::string("\0\x1E\0", 3));
}

// Of true colours each type has the picture, whatever the order of lines in the file; fewer are one picture, too.
TEST_F(Batch, EveryTypeHasThePicture) {
    const std::string apply = "apply still.tnc --set 2=0,1,0 --set 1=0.2,0.4,0.9 --force -o ";
    ASSERT_EQ(status(apply + "full.rgb"), 0);
    ASSERT_EQ(status(apply + "reduced.gif"), 0); // with diffusion
    const std::string full = pixels("full.rgb"), reduced = pixels("reduced.gif");
    const struct {
        const char* options;
        int standard, format, entries = -1; // of the colour table
    } cases[] = {{"o.tga", 3, 27},
                 {"o.tga --uncompressed", 3, 28},
                 {"o.bmp", 4, 28},
                 {"o.pcx", 5, 27},
                 {"o.dat --type bmp --bits 24", 4, 28},
                 {"o.bmp --bits 8", 4, 29},
                 {"o.tga --bits 8 --uncompressed", 3, 2},
                 {"o.pcx --bits 8", 5, 29},
                 {"o.png", 23, 28},
                 {"o.png --bits 8", 23, 2},
                 {"o.gif", 2, 29, 256},
                 {"o.dat --type gif --closest", 2, 29, 256},
                 {"o.rgb --bits 8", 0, 29},
                 {"o.rgb --bits 8 --uncompressed", 0, 2},
                 {"o.rgb --colors 2", 0, 29, 2},
                 {"o.dat --type sun --grey --colors 4", 15, 2, 0},
                 {"o.rgb --grey", 0, 29, 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.options);
        if (!is_built(c.standard)) {
            EXPECT_EQ(status(apply + c.options), 1);
            continue;
        }
        ASSERT_EQ(status(apply + c.options), 0);
        const std::string name = std::string(c.options).substr(0, 5);
        const json info = info_of(name);
        EXPECT_TRUE(info["standard"] == c.standard && info["format"] == c.format) << info.dump();
        EXPECT_TRUE(c.entries < 0 || info["vlt_entries"] == c.entries) << info.dump();
        const bool dithers = c.entries < 0 || std::string(c.options) == "o.gif";
        if (info["samples"] == 3 || dithers) {
            EXPECT_EQ(pixels(name), info["samples"] == 3 ? full : reduced);
        }
    }
    ASSERT_EQ(reduced.size(), full.size());
    for (size_t i = 0; i < full.size(); ++i)
        EXPECT_LE(std::abs(static_cast<uint8_t>(full[i]) - static_cast<uint8_t>(reduced[i])), 12) << i;
    ASSERT_EQ(status(apply + "o.gif --gamma 2"), 0);
    EXPECT_NE(pixels("o.gif"), reduced);
    const run_result ungammaed = batch(apply + "o.rgb --gamma 2");
    EXPECT_NE(ungammaed.err.find("without the gamma"), std::string::npos);
    EXPECT_TRUE(ungammaed.status == 0 && pixels("o.rgb") == full);
    for (const char* convert : {"full.rgb c.gif", "c.gif c8.rgb"})
        ASSERT_EQ(run(std::string("rzl convert ") + convert).status, 0) << convert;
    EXPECT_TRUE(pixels("c.gif") == reduced && pixels("c8.rgb") == reduced);
    EXPECT_EQ(info_of("c8.rgb")["format"], 29);
    EXPECT_EQ(run("rzl convert full.rgb c.rgb --format 29").status, 1); // not without being asked to reduce
    EXPECT_EQ(status(apply + "o.png --uncompressed"), is_built(RZL_STANDARD_PNG) ? 2 : 1);
    for (const char* wrong : {"o.gif --bits 24", "o.gif --uncompressed", "o.rgb --bits 24 --grey", "o.gif --colors 300",
                              "o.ico --colors 17"})
        EXPECT_EQ(status(apply + wrong), 2) << wrong;
    if (!is_built(RZL_STANDARD_JFIF)) {
        const run_result refused = run("tinct-batch " + apply + "o.jpg");
        EXPECT_EQ(refused.status, 1);
        EXPECT_NE(refused.err.find("can not write \"jpg\" files"), std::string::npos) << refused.err;
        return;
    }
    // JPEG pictures are only nearly the same; 8 bits of them are grey levels, and a table they don't have.
    ASSERT_EQ(status(apply + "o.jpg"), 0);
    const std::string nearly = pixels("o.jpg");
    ASSERT_EQ(nearly.size(), full.size());
    double apart = 0;
    for (size_t i = 0; i < full.size(); ++i)
        apart += std::abs(static_cast<uint8_t>(nearly[i]) - static_cast<uint8_t>(full[i]));
    EXPECT_LT(apart / static_cast<double>(full.size()), 8);
    ASSERT_EQ(status(apply + "o.jpg --grey --colors 5"), 0);
    const run_result grey = batch(apply + "o.jpg --bits 8");
    EXPECT_EQ(grey.status, 0);
    EXPECT_EQ(grey.err, "tinct-batch: In 8 bits JFIF files have no colours, only grey levels.\n");
    EXPECT_EQ(info_of("o.jpg")["format"], 30);
    for (const char* wrong : {"o.jpg --colors 5", "o.jpg --closest", "o.jpg --uncompressed"})
        EXPECT_EQ(status(apply + wrong), 2) << wrong;
}

TEST_F(Batch, FilesThatShowColoursAsGreyAreTold) {
    const std::string apply = "apply still.tnc --set 1=1,0,0 --force -o ";
    for (const char* options : {"", " --bits 8"}) {
        const run_result made = batch(apply + "o.ps" + options);
        EXPECT_EQ(made.status, 0);
        EXPECT_EQ(made.err, std::string("tinct-batch: ") + rzl_standard_name(RZL_STANDARD_POSTSCRIPT) +
                                " files have no colours, only grey levels.\n");
    }
    EXPECT_EQ(batch(apply + "o.ps --grey").err, "") << "which was asked for";
}

TEST_F(Batch, DamagedFilesNeverGiveSuccess) {
    std::string tnc = read(directory + "/still.tnc");
    std::string raster = read(directory + "/still.rgb");
    // A file may end between two records, and needs no record of its end.
    for (const auto& [length, result] : {std::pair{0, 1}, {2, 0}, {27, 1}, {28, 0}}) {
        write("still.tnc", tnc.substr(0, static_cast<size_t>(length)));
        EXPECT_EQ(status("info still.tnc --json"), result) << length;
    }
    write("still.tnc", tnc.substr(0, tnc.size() - 2));
    EXPECT_EQ(status("apply still.tnc --set 1=1,0,0 -o o.rgb"), 1);
    write("still.tnc", tnc);
    for (size_t cut = 1; cut < raster.size(); cut = cut * 3 + 1) {
        write("still.rgb", raster.substr(0, raster.size() - cut));
        EXPECT_EQ(status("info still.tnc --json"), 1) << cut;
        EXPECT_EQ(status("apply still.tnc --set 1=1,0,0 -o o.rgb"), 1) << cut;
    }
    EXPECT_EQ(files().size(), 2u);
    write("still.rgb", raster);
    write("still.tnc", "MZ");
    EXPECT_NE(batch("info still.tnc").err.find("to be version 0, 1, 2 or 3 tnc file"), std::string::npos);
}

TEST_F(Batch, AnAddressInAHeaderIsOnlyAName) {
    std::string bytes("\xFA\x03\xF3\x01", 4);
    bytes += std::string("/INMEM/1234.rgb", 15) + std::string(1, '\0') + '\xFF';
    write("evil.tnc", bytes);
    EXPECT_EQ(status("info evil.tnc"), 1);
    EXPECT_EQ(run("rzl info /INMEM/1234").status, 1);
    EXPECT_EQ(status("apply still.tnc --set 1=@/INMEM/99 -o o.rgb"), 1);
}
