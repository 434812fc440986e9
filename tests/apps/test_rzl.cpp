// rzl as a user runs it.
#include <nlohmann/json.hpp>

#include "app_fixture.h"

namespace {

using json = nlohmann::json;

class Rzl : public AppFixture {
protected:
    CFILE* create(const std::string& name, int32_t width, int32_t height, int32_t format, int32_t orientation) const {
        CFILE* file = rzl_open_w((directory + "/" + name).c_str());
        const int32_t fields[][2] = {{RZL_FIELD_STANDARD, 0},
                                     {RZL_FIELD_FORMAT, format},
                                     {RZL_FIELD_XSIZE, width},
                                     {RZL_FIELD_YSIZE, height},
                                     {RZL_FIELD_ORIENTATION, orientation}};
        for (const auto& field : fields)
            EXPECT_EQ(rzl_set_hdr_data(file, field[0], &field[1]), 0);
        return file;
    }
};

} // namespace

TEST_F(Rzl, InfoTellsTheHeader) {
    write_raster("a.rgb", 6, 5);
    run_result result = run("rzl info a.rgb --json");
    ASSERT_EQ(result.status, 0) << result.err;
    json info = json::parse(result.out);
    const json wanted = {
        {"standard", 0}, {"standard_name", "KRVN"}, {"format", 27}, {"width", 6},    {"height", 5}, {"samples", 3},
        {"bits", 8},     {"orientation", 4},        {"images", 1},  {"overviews", 0}};
    for (const auto& [name, value] : wanted.items())
        EXPECT_EQ(info[name], value) << name;
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
}

TEST_F(Rzl, ConvertKeepsEveryPixel) {
    write_raster("a.rgb", 70, 9);
    write_raster("g.rgb", 70, 9, 2);
    const std::string color = run("rzl cat a.rgb").out, grey = run("rzl cat g.rgb").out;
    for (const char* format : {"a25", "a27", "a28", "g2", "g10", "g29"}) {
        const std::string source = std::string(1, format[0]) + ".rgb b.rgb --standard krvn --format ";
        ASSERT_EQ(run("rzl convert " + source + (format + 1)).status, 0) << format;
        EXPECT_EQ(run("rzl cat b.rgb").out, format[0] == 'a' ? color : grey) << format;
    }
    ASSERT_EQ(run("rzl convert g.rgb c.rgb --format 28").status, 0);
    EXPECT_EQ(run("rzl cat c.rgb").out.size(), grey.size() * 3);
}

TEST_F(Rzl, CatWidensBitsLooksColoursUpAndTurnsLinesAround) {
    // 11 pixels, each line 5 on, 6 off: bytes of a 16-bit word, low byte first.
    auto bits = [&](const char* name, int32_t format, int32_t orientation) {
        CFILE* file = create(name, 11, 2, format, orientation);
        const uint8_t line[2] = {0x00, 0xF8};
        for (int y = 0; y < 2; ++y)
            EXPECT_EQ(rzl_putline(file, line), 0);
        EXPECT_EQ(rzl_finish(file), 0u);
    };
    std::string row = std::string(5, '\xFF') + std::string(6, '\0');
    std::string turned = std::string(6, '\0') + std::string(5, '\xFF');
    bits("bits.rgb", 1, 4);
    EXPECT_EQ(run("rzl cat bits.rgb").out, row + row);
    bits("left.rgb", 9, 5);
    EXPECT_EQ(run("rzl cat left.rgb").out, turned + turned);
    ASSERT_EQ(run("rzl convert bits.rgb runs.rgb --format 9").status, 0);
    EXPECT_EQ(run("rzl cat runs.rgb").out, row + row);
    ASSERT_EQ(run("rzl convert bits.rgb grey.rgb --format 2").status, 0);
    EXPECT_EQ(run("rzl cat grey.rgb").out, row + row);

    const rzl_vlt_entry entries[3] = {
        {0, 0x0100, 0x0200, 0x0300}, {1, 0x0400, 0x0500, 0x0600}, {2, 0x700, 0x800, 0x900}};
    const auto with_table = [&](const char* name, int32_t width, int32_t format, int32_t orientation, int32_t count) {
        CFILE* made = create(name, width, 1, format, orientation);
        const int32_t type = 2;
        EXPECT_EQ(rzl_set_hdr_data(made, RZL_FIELD_VLT_TYPE, &type), 0);
        EXPECT_EQ(rzl_set_hdr_data(made, RZL_FIELD_VLT_ENTRIES, &count), 0);
        EXPECT_EQ(rzl_put_vlt(made, entries), 0);
        return made;
    };
    CFILE* file = with_table("mapped.rgb", 3, 29, 5, 3);
    const uint8_t indices[3] = {0, 1, 2};
    EXPECT_EQ(rzl_putline(file, indices), 0);
    EXPECT_EQ(rzl_finish(file), 0u);
    std::string colors = "\7\x08\x09\4\5\6\1\2\3";
    EXPECT_EQ(run("rzl cat mapped.rgb").out, colors);
    for (const char* format : {"2 --vlt", "29", "28"}) {
        ASSERT_EQ(run(std::string("rzl convert mapped.rgb m.rgb --format ") + format).status, 0) << format;
        EXPECT_EQ(run("rzl cat m.rgb").out, colors) << format;
    }
    EXPECT_EQ(run("rzl convert mapped.rgb m.rgb --format 28 --vlt").status, 1);

    // Two colours are any, not black and white.
    file = with_table("two.rgb", 11, 1, 4, 2);
    const uint8_t on_off[2] = {0x00, 0xF8};
    EXPECT_EQ(rzl_putline(file, on_off), 0);
    EXPECT_EQ(rzl_finish(file), 0u);
    colors.clear();
    for (int x = 0; x < 11; ++x)
        colors += x < 5 ? "\4\5\6" : "\1\2\3";
    EXPECT_EQ(run("rzl cat two.rgb").out, colors);
    for (const char* format : {"29", "28"}) {
        ASSERT_EQ(run(std::string("rzl convert two.rgb m.rgb --format ") + format).status, 0) << format;
        EXPECT_EQ(run("rzl cat m.rgb").out, colors) << format;
    }
}

TEST_F(Rzl, RefusalsNameTheirCause) {
    write_raster("a.rgb", 70, 9);
    CFILE* bits = create("b.rgb", 70, 1, 1, 4);
    ASSERT_TRUE(rzl_putline(bits, "0123456789") == 0 && rzl_finish(bits) == 0);
    const std::pair<const char*, const char*> cases[] = {
        {"convert a.rgb b.tif --format 25", "A TIFF file does not have data format 25"},
        {"convert a.rgb d.tif --compression 4", "can not be written: "}, // bilevel pictures only
        {"convert b.rgb b.ico", "Xsize must be either 16, 32, or 64"},
        {"info --image 2 a.rgb", "has no image 2"}};
    for (const auto& [words, reason] : cases) {
        const run_result result = run(std::string("rzl ") + words);
        EXPECT_EQ(result.status, 1) << words;
        EXPECT_NE(result.err.find(reason), std::string::npos) << result.err;
        EXPECT_EQ(result.err.find("The operation succeeded"), std::string::npos) << result.err;
    }
}

// A picture keeps its rows, columns and colours in every standard, whatever the order of the source's lines.
TEST_F(Rzl, ConvertKeepsPicturesUpright) {
    const auto has_target = [](const std::string& name) {
        return !name.ends_with("png") || is_built(RZL_STANDARD_PNG);
    };
    for (int orientation : {4, 5, 6, 7}) {
        write_raster("c.rgb", 13, 9, 27, orientation);
        CFILE* file = create("b.rgb", 13, 2, 1, orientation);
        EXPECT_TRUE(rzl_putline(file, "\x23\x81") == 0 && rzl_putline(file, "\x80\x10") == 0 && rzl_finish(file) == 0);
        for (const char* name : {"c", "b"}) {
            const std::string wanted = run(std::string("rzl cat ") + name + ".rgb").out;
            for (const char* target : {"rgb", "tga", "bmp", "pcx", "tif", "png"}) {
                const std::string out = std::string(name) + "_." + target;
                if (!has_target(out)) continue;
                SCOPED_TRACE(out + std::to_string(orientation));
                ASSERT_EQ(run(std::string("rzl convert ") + name + ".rgb " + out).status, 0);
                EXPECT_EQ(run("rzl cat " + out).out, wanted);
                EXPECT_EQ(run("rzl info " + out).status, 0); // which reads every line
                ASSERT_EQ(run("rzl convert " + out + " back.tga").status, 0);
                EXPECT_EQ(run("rzl cat back.tga").out, wanted);
            }
        }
    }
    // Where bytes are all that there is, bits are shades and colours stand in a table.
    ASSERT_EQ(run("rzl convert b.rgb o.ntf").status, 0);
    EXPECT_EQ(run("rzl cat o.ntf").out, run("rzl cat b.rgb").out);
    for (const char* words : {"o.ntf", "o.ras --vlt"}) {
        ASSERT_EQ(run(std::string("rzl convert c.rgb ") + words).status, 0) << words;
        EXPECT_EQ(run("rzl cat " + std::string(words, 5)).out.size(), 13u * 9 * 3);
    }
    // A map that does not begin with its first index, and two colours that are neither black nor white.
    write("m.tga", std::string("\0\1\1\5\0\2\0\x18\0\0\0\0\2\0\1\0\x08\x20"
                               "\1\2\3\4\5\6"
                               "\5\6",
                               26));
    write("t.bmp", std::string("BM\0\0\0\0\0\0\0\0\x20\0\0\0\x0C\0\0\0\2\0\1\0\1\0\1\0\1\2\3\4\5\6\x40\0\0\0", 36));
    for (const char* source : {"m.tga", "t.bmp"}) {
        EXPECT_EQ(run(std::string("rzl cat ") + source).out, "\3\2\1\6\5\4");
        for (const char* target : {"o.rgb", "o.gif", "o.tif", "o.tga", "o.bmp", "o.pcx", "o.png"}) {
            const run_result made = run(std::string("rzl convert ") + source + " " + target);
            ASSERT_EQ(made.status, has_target(target) ? 0 : 1) << target;
            if (made.status != 0) {
                EXPECT_NE(made.err.find("can not write PNG files"), std::string::npos) << made.err;
                continue;
            }
            EXPECT_EQ(run(std::string("rzl cat ") + target).out, "\3\2\1\6\5\4") << target;
        }
        ASSERT_EQ(run(std::string("rzl convert ") + source + " o.jpg").status, is_built(RZL_STANDARD_JFIF) ? 0 : 1);
        if (!is_built(RZL_STANDARD_JFIF)) continue;
        EXPECT_NE(run("rzl info o.jpg --json").out.find("\"format\":31"), std::string::npos) << "colours, not indices";
        EXPECT_EQ(run(std::string("rzl convert ") + source + " o.jpg --format 29").status, 1);
        EXPECT_EQ(run(std::string("rzl convert ") + source + " o.jpg --vlt").status, 1);
    }
}

TEST_F(Rzl, ConvertsIntoTiffWithTilesAndCodings) {
    write_raster("a.rgb", 70, 50);
    std::string pixels = run("rzl cat a.rgb").out;
    for (const char* options :
         {"", " --tile 16", " --tile 32 --compression 5", " --compression 32773", " --compression 8"}) {
        run_result result = run(std::string("rzl convert a.rgb a.tif") + options);
        ASSERT_EQ(result.status, 0) << options << result.err;
        EXPECT_EQ(run("rzl cat a.tif").out, pixels) << options;
        ASSERT_EQ(run("rzl convert a.tif b.rgb").status, 0);
        EXPECT_EQ(run("rzl cat b.rgb").out, pixels) << options;
    }
}

TEST_F(Rzl, ConvertRefusesWhatItCanNotKeep) {
    write_raster("a.rgb", 8, 8);
    for (const char* refused :
         {"b.rgb --format 2", "b.rgb --format 5", "b.rgb --vlt --format 28", "b.rgb --standard ADRG", "a.rgb",
          "/dev/null --standard 0", "no/b.rgb", "c.gif --tile 16", "d.tif --compression 4", // of bilevel pictures only
          "d.hrf --standard HRF --compression 1", "d.ppm --compression 99", "d.gif --compression 5",
          "d.bmp --compression 1", "d.rgb --compression 5", "d.jpg --compression 1"})
        EXPECT_EQ(run(std::string("rzl convert a.rgb ") + refused).status, 1) << refused;
    EXPECT_EQ(run("rzl convert a.rgb b.rgb --standard nonsense").status, 2);
    for (const char* out : {"b.unknown", "b"}) {
        const run_result refused = run(std::string("rzl convert a.rgb ") + out);
        EXPECT_TRUE(refused.status == 2 && refused.err.find("names no standard") != std::string::npos) << refused.err;
    }
    const run_result grey = run("rzl convert a.rgb a.ps"); // only what is said matters here
    EXPECT_NE(grey.err.find("no colours, only grey levels"), std::string::npos) << grey.err;
    EXPECT_EQ(grey.status, 0);
    std::filesystem::remove(directory + "/a.ps");
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
    EXPECT_EQ(run("rzl convert a.rgb").status, 2);
    EXPECT_EQ(files().size(), 1u);
}

TEST_F(Rzl, CutFilesNeverGiveSuccess) {
    for (int format : {2, 27, 28, 29}) {
        std::string bytes = read(write_raster("a.rgb", 9, 6, format));
        for (size_t length = 0; length < bytes.size(); length += length < 1024 ? 128 : 5) {
            write("cut.rgb", bytes.substr(0, length));
            EXPECT_EQ(run("rzl info cut.rgb").status, 1) << format << " " << length;
            if (length % 3 == 0) {
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

TEST_F(Rzl, AFourthSampleOfRedGreenBlueIsLeftOut) {
    // Two pixels: 1 2 3 and 4 5 6, with 200 and 100 as what is seen of them.
    write("a.pam", "P7\nWIDTH 2\nHEIGHT 1\nDEPTH 4\nMAXVAL 255\nTUPLTYPE RGB_ALPHA\nENDHDR\n\1\2\3\310\4\5\6\144");
    ASSERT_EQ(std::system(("pamtotiff -truecolor <" + directory + "/a.pam >" + directory + "/a.tif").c_str()), 0);
    EXPECT_EQ(run("rzl cat a.tif").out, "\1\2\3\4\5\6");
    for (const char* out : {"b.tif", "b.rgb", "b.tif --format 28 --compression 1"}) {
        ASSERT_EQ(run(std::string("rzl convert a.tif ") + out).status, 0) << out;
        EXPECT_EQ(run("rzl cat " + std::string(out).substr(0, 5)).out, "\1\2\3\4\5\6") << out;
    }
    EXPECT_EQ(run("rzl convert a.tif b.tif --format 69").status, 1);
    // Four inks make a colour.
    CFILE* file = rzl_open_w((directory + "/inks.tif").c_str());
    ASSERT_NE(file, nullptr);
    for (auto [field, value] : {std::pair{500, 1}, {3, int32_t{RZL_FORMAT_FOUR}}, {1, 2}, {2, 1}})
        ASSERT_EQ(rzl_set_hdr_data(file, field, &value), 0);
    const void* channels[] = {"\0\144", "\0\62", "\377\0", "\0\177"};
    ASSERT_EQ(rzl_putline_channels(file, 4, channels), 0);
    ASSERT_EQ(rzl_finish(file), 0u);
    EXPECT_EQ(run("rzl cat inks.tif").out, std::string("\377\377\0\116\147\200", 6));
}
