// rzl as a user runs it.
#include <nlohmann/json.hpp>

#include "app_fixture.h"

namespace {

using json = nlohmann::json;

class Rzl : public AppFixture {};

} // namespace

TEST_F(Rzl, InfoTellsTheHeader) {
    write_raster("a.rgb", 6, 5);
    run_result result = run("rzl info a.rgb --json");
    ASSERT_EQ(result.status, 0) << result.err;
    json info = json::parse(result.out);
    EXPECT_EQ(info["standard"], 0);
    EXPECT_EQ(info["standard_name"], "KRVN");
    EXPECT_EQ(info["format"], 27);
    EXPECT_EQ(info["width"], 6);
    EXPECT_EQ(info["height"], 5);
    EXPECT_EQ(info["samples"], 3);
    EXPECT_EQ(info["bits"], 8);
    EXPECT_EQ(info["orientation"], 4);
    EXPECT_EQ(info["images"], 1);
    EXPECT_EQ(info["overviews"], 0);
    EXPECT_EQ(run("rzl info a.rgb").status, 0);
    EXPECT_NE(run("rzl formats").out.find("KRVN"), std::string::npos);
}

TEST_F(Rzl, CatGivesRowsFromTheTopWhateverTheOrder) {
    write_raster("down.rgb", 3, 2, 2);
    EXPECT_EQ(run("rzl cat down.rgb").out, std::string("\0\1\2\x0A\x0B\x0C", 6));
    for (int format : {2, 27, 28, 29}) {
        write_raster("up.rgb", 3, 2, format, 6);
        std::string out = run("rzl cat up.rgb").out;
        bool color = format == 27 || format == 28;
        EXPECT_EQ(out.size(), color ? 18u : 6u);
        EXPECT_EQ(out[0], '\x0A');
    }
    EXPECT_EQ(run("rzl cat down.rgb >/dev/full").status, 1);
}

TEST_F(Rzl, ConvertKeepsEveryPixel) {
    write_raster("a.rgb", 70, 9);
    std::string wanted = run("rzl cat a.rgb").out;
    for (const char* format : {"25", "27", "28"}) {
        ASSERT_EQ(run(std::string("rzl convert a.rgb b.rgb --format ") + format).status, 0) << format;
        EXPECT_EQ(run("rzl cat b.rgb").out, wanted) << format;
    }
    write_raster("g.rgb", 70, 9, 2);
    wanted = run("rzl cat g.rgb").out;
    for (const char* format : {"2", "10", "29"}) {
        ASSERT_EQ(run(std::string("rzl convert g.rgb h.rgb --standard krvn --format ") + format).status, 0) << format;
        EXPECT_EQ(run("rzl cat h.rgb").out, wanted) << format;
    }
    ASSERT_EQ(run("rzl convert g.rgb c.rgb --format 28").status, 0);
    EXPECT_EQ(run("rzl cat c.rgb").out.size(), wanted.size() * 3);
}

TEST_F(Rzl, ConvertRefusesWhatItCanNotKeep) {
    write_raster("a.rgb", 8, 8);
    EXPECT_EQ(run("rzl convert a.rgb b.rgb --format 2").status, 1);
    EXPECT_EQ(run("rzl convert a.rgb b.rgb --format 5").status, 1);
    EXPECT_EQ(run("rzl convert a.rgb b.rgb --vlt").status, 1);
    EXPECT_EQ(run("rzl convert a.rgb b.rgb --standard ADRG").status, 1);
    EXPECT_EQ(run("rzl convert a.rgb b.rgb --standard nonsense").status, 2);
    EXPECT_EQ(run("rzl convert a.rgb a.rgb").status, 1);
    EXPECT_EQ(run("rzl convert a.rgb").status, 2);
    EXPECT_EQ(run("rzl convert a.rgb no/b.rgb").status, 1);
    EXPECT_EQ(files().size(), 1u);
}

TEST_F(Rzl, CutFilesNeverGiveSuccess) {
    for (int format : {2, 27, 28, 29}) {
        std::string bytes = read(write_raster("a.rgb", 9, 6, format));
        for (size_t length = 0; length < bytes.size(); length += length < 1024 ? 73 : 1) {
            write("cut.rgb", bytes.substr(0, length));
            EXPECT_EQ(run("rzl info cut.rgb").status, 1) << format << " " << length;
            if (length % 5 == 0) {
                EXPECT_EQ(run("rzl cat cut.rgb >/dev/null").status, 1) << format << " " << length;
            }
        }
        write("cut.rgb", bytes.substr(0, bytes.size() - 2));
        EXPECT_EQ(run("rzl convert cut.rgb b.rgb").status, 1);
        EXPECT_FALSE(std::filesystem::exists(directory + "/b.rgb"));
    }
    EXPECT_EQ(run("rzl info missing.rgb").status, 1);
    EXPECT_EQ(run("rzl info .").status, 1);
    EXPECT_EQ(run("rzl").status, 2);
    EXPECT_EQ(run("rzl info cut.rgb --image 3").status, 1);
}
