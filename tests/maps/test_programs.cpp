// rzl on map formats, against netpbm: conversions both ways pixel by pixel, and what info tells.
#include "common/own_directory.h"
#include "common/places.h"
#include "common/run.h"

namespace {

class MapPrograms : public OwnDirectory {
protected:
    run_result run(const std::string& command) const {
        return run_command(directory, "PATH='" + bin_dir() + "':\"$PATH\"; " + command);
    }
    void expect_good(const std::string& command) const {
        const run_result r = run(command);
        EXPECT_TRUE(r.ok()) << command << "\n" << r.err;
    }
};

} // namespace

TEST_F(MapPrograms, ConversionsKeepEveryPixel) {
    NEEDS_PROGRAM("pnmquant");
    expect_good(
        "ppmrainbow -width 450 -height 131 red green blue black > c.ppm 2>/dev/null && ppmtopgm c.ppm > g.pgm && "
        "pgmtopbm g.pgm > b.pbm && pnmquant -quiet 40 c.ppm > q.ppm && ppmtobmp -quiet q.ppm > q.bmp && "
        "ppmtotga -rgb -quiet c.ppm > c.tga");
    const struct {
        const char *in, *format, *out;
    } cases[] = {{"c.ppm", "27", "c.ppm"}, {"c.ppm", "28", "c.ppm"}, {"g.pgm", "29", "g.pgm"}, {"g.pgm", "2", "g.pgm"},
                 {"b.pbm", "9", "b.pbm"},  {"b.pbm", "1", "b.pbm"},  {"c.tga", "27", "c.ppm"}, // bottom-up
                 {"q.bmp", "27", "q.ppm"}};                                                    // a table's colours
    for (const auto& k : cases) {
        expect_good(std::string("rzl convert ") + k.in + " a.hrf --format " + k.format +
                    " && rzl convert a.hrf back.pnm && "
                    "pnmtopnm " +
                    k.out + " > one && pnmtopnm back.pnm > two && cmp one two");
    }
    expect_good("rzl convert q.bmp a.hrf && rzl convert a.hrf back.ppm && pnmtopnm back.ppm > two && pnmtopnm q.ppm | "
                "cmp - two");
    EXPECT_EQ(run("rzl convert q.bmp a.hrf --format 29").status, 1);
    EXPECT_EQ(run("rzl convert c.ppm a.hrf --tile 64").status, 1);
    EXPECT_EQ(run("rzl convert c.ppm a.mrg").status, 1);
    expect_good("rzl convert g.pgm a --standard USGS && rzl convert a back.pgm && pnmtopnm back.pgm > two && pnmtopnm "
                "g.pgm | cmp - two");
    EXPECT_EQ(run("rzl convert c.ppm a --standard USGS").status, 1);
}

TEST_F(MapPrograms, InfoTellsOfTheMap) {
    // A strip of one plane: white where a bit is set, its colour the first record's.
    std::string head(459, ' ');
    head.replace(189, 5, "SHEET");
    head.replace(220, 6, "254000");
    head.replace(442, 17, "00000100000011010");
    head.replace(314, 44, "0093000.00E0480000.00N0100000.00E0490000.00N");
    write("ah.mrg", head + "255128  0");
    write("ar.mrg", std::string(1024, '\x55'));
    const std::string info = run("rzl info ah.mrg --json").out;
    EXPECT_NE(info.find("\"title\":\"SHEET\",\"scale\":25.4,\"corners\":[9.5,48.0,10.0,49.0]"), std::string::npos)
        << info;
    EXPECT_NE(run("rzl info ah.mrg").out.find("SHEET"), std::string::npos);
    const std::string pixels = run("rzl cat ah.mrg").out;
    ASSERT_EQ(pixels.size(), 256u * 32 * 3);
    EXPECT_EQ(pixels.substr(0, 6), std::string("\xFF\xFF\xFF\xFF\x80\0", 6));
    expect_good("rzl convert ah.mrg a.hrf && rzl cat a.hrf > one && rzl cat ah.mrg | cmp - one");
    // Indices of one bit that have a byte each stay indices.
    expect_good("rzl convert ah.mrg a.gif && rzl cat a.gif | cmp - one && rzl convert ah.mrg a.bmp && rzl cat a.bmp | "
                "cmp - one");
    const std::string formats = run("rzl formats").out;
    for (const char* row : {"  8  ADRG        yes   no", " 16  USGS        yes   yes", " 17  MRG         yes   no",
                            " 18  ASRP        yes   no", " 19  HRF         yes   yes", " 22  USRP        yes   no"})
        EXPECT_NE(formats.find(row), std::string::npos) << row;
}
