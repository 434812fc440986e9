// The programs on map and document formats: conversions both ways pixel by pixel against netpbm, what info tells, and
// files as the picture of a rendered image and as its pattern.
#include <cstdlib>

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
    // A rendered image of that picture: 20 by 5 samples, of which each has another place of a pattern.
    void write_rendered(const std::string& picture_name) const {
        std::string b = "\xFA\x03\xF3\x01" + picture_name + std::string(1, '\0') + "\xF9\x01" + std::string(1, '\0') +
                        "\xF9\x02\x01";
        for (int i = 0; i < 100; ++i) {
            const int places[] = {i % 20 * 3276, i / 20 * 13107};
            b += "\x01\x64\x64\x64";
            for (int place : places)
                b += {static_cast<char>(place), static_cast<char>(place >> 8)};
            b += i == 99 ? '\xFF' : i % 20 == 19 ? '\xFD' : '\xFB';
        }
        write("s.tnc", b);
    }
    // The files of a seed, which begins with their names and sizes. The first one's name.
    std::string write_set(const std::string& seed) const {
        const std::string all = read(source_dir() + "/fuzz/corpus/fuzz_raster/" + seed);
        size_t at = all.find('\n') + 1;
        std::istringstream words(all.substr(6, at - 7));
        std::string name, first;
        for (size_t bytes = 0; words >> name >> bytes; at += bytes) {
            write(name, all.substr(at, bytes));
            if (first.empty()) first = name;
        }
        return first;
    }
};

void put_at(std::string* text, size_t at, const std::string& more) {
    text->replace(at, more.size(), more);
}

// The code of the order of lines in the data record of a VRLC file, which its directory at the end names.
void turn_vrlc(std::string* file, bool bits) {
    const size_t entry = file->size() - 344 + 24 + 16;
    const auto* place = reinterpret_cast<const uint8_t*>(file->data()) + entry + 8;
    const size_t record = (place[0] | place[1] << 8u | place[2] << 16u) + size_t{8};
    put_at(file, record + (bits ? 44 : 52), std::string("\0\2", 2)); // from the bottom and the right
}

} // namespace

// Lines from the bottom and a table's colours into files that have neither; PicturesAndPatterns has the others.
TEST_F(MapPrograms, ConversionsKeepEveryPixel) {
    NEEDS_PROGRAM("pnmquant");
    expect_good(
        "ppmrainbow -width 450 -height 131 red green blue black > c.ppm 2>/dev/null && "
        "pnmquant -quiet 40 c.ppm > q.ppm && ppmtobmp -quiet q.ppm > q.bmp && ppmtotga -rgb -quiet c.ppm > c.tga");
    for (const char* k : {"c.ppm c.tga a.hrf", "c.ppm c.tga a.hrf --format 28", "q.ppm q.bmp a.hrf"})
        expect_good(std::string("set -- ") + k +
                    " && wanted=$1 && shift && rzl convert \"$@\" && rzl convert a.hrf back.ppm && "
                    "pnmtopnm $wanted > one && pnmtopnm back.ppm | cmp one -");
    for (const char* refused :
         {"q.bmp a.hrf --format 29", "c.ppm a.hrf --tile 64", "c.ppm a.mrg", "c.ppm a --standard USGS"})
        EXPECT_EQ(run(std::string("rzl convert ") + refused).status, 1) << refused;
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
}

// A file of each format is the picture and the pattern that the same picture is as a native file, and a converted one.
TEST_F(MapPrograms, PicturesAndPatterns) {
    setenv("VANTORAMA", (source_dir() + "/data").c_str(), 1);
    setenv("VANTORA_INI", path("none.ini").c_str(), 1);
    expect_good(
        "ppmrainbow -width 450 -height 21 red green blue black >c.ppm 2>/dev/null && ppmtopgm c.ppm >g.pgm && "
        "pgmtopbm g.pgm >b.pbm && pamcut -width 16 -height 16 g.pgm >16.pgm && rzl convert 16.pgm m0 --standard TIFF "
        "--tile 16 && pamcut -left 16 -width 4 -height 16 g.pgm >4.pgm && rzl convert 4.pgm m1 --standard NITF");
    write("cat.rgb", "SUPERT! IMAGEX 20 IMAGEY 16 TILESX 1 TILESY 1 TILESIZE 16 FILES m0 0 m1 1");
    const struct {
        const char *name, *from, *options;
        void (*change)(std::string* file);
    } cases[] = {
        {"a.ntf", "g.pgm", "--tile 32", nullptr},
        {"a.cal", "b.pbm", "", nullptr},
        {"a.cal", "b.pbm", "", [](std::string* f) { put_at(f, f->find("270"), " 90"); }}, // from the bottom
        {"t.cal", "b.pbm", "--tile 512", nullptr},
        {"b.igs", "b.pbm", "", nullptr},
        {"b.igs", "b.pbm", "", [](std::string* f) { turn_vrlc(f, true); }},
        {"g.igs", "g.pgm", "", [](std::string* f) { turn_vrlc(f, false); }},
        {"b.hrf", "b.pbm", "", nullptr},
        {"c.hrf", "c.ppm", "", nullptr},
        {"u.rgb", "g.pgm", "--standard USGS", nullptr},
        {"cat.rgb", nullptr, nullptr, nullptr},
        {"files_adri", nullptr, nullptr, nullptr},
        {"files_asrp8", nullptr, nullptr, nullptr},
        {"files_usrp4", nullptr, nullptr, nullptr},
        {"files_mrg1", nullptr, nullptr, nullptr},
        {"files_mrg2", nullptr, nullptr, nullptr},
    };
    for (const auto& k : cases) {
        std::string name = k.name;
        SCOPED_TRACE(name + (k.change != nullptr ? ", turned" : ""));
        if (name.rfind("files_", 0) == 0) name = write_set(name);
        if (k.from != nullptr) expect_good(std::string("rzl convert ") + k.from + " " + name + " " + k.options);
        if (k.from != nullptr)
            expect_good(std::string("rzl cat ") + k.from + " > one && rzl cat " + name + " | cmp one -");
        std::string file = read(path(name));
        if (k.change != nullptr) k.change(&file), write(name, file);
        expect_good("rzl convert " + name + " ref.rgb && rzl convert " + name +
                    " one.pnm && rzl convert ref.rgb two.pnm && "
                    "cmp one.pnm two.pnm && rzl info --json " +
                    name);
        for (const std::string& picture_name : {name, std::string("ref.rgb")}) {
            write_rendered(picture_name);
            expect_good("tinct-batch apply s.tnc --set 1=@" + picture_name + " --force -o " +
                        (picture_name == name ? "one.ppm" : "two.ppm"));
        }
        expect_good("cmp one.ppm two.ppm");
    }
}
