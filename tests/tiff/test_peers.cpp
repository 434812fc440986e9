// TIFF files of other programs, and ours in their hands, pixel by pixel.
#include "tiff_fixture.h"

class Peers : public TiffTest {
protected:
    Peers() { rzl_set_extended(1); }
    ~Peers() override { rzl_set_extended(0); }
    // Everything about one file: where the peer's pixels and ours are compared.
    void expect_read(const std::string& file, const picture& p, const std::string& how) {
        picture got = read_library(path(file));
        // A set bit of an anymap is black.
        bool swapped = p.bits == 1 && photometric(file) != 0;
        for (uint32_t& v : got.values)
            v ^= swapped ? 1 : 0;
        EXPECT_TRUE(got == p) << how;
        EXPECT_TRUE(p.samples == 1 || read_library(path(file), true) == p) << how << " interleaved";
    }
    int32_t photometric(const std::string& file) {
        CFILE* c = rzl_open_r(path(file).c_str());
        if (c == nullptr) return -1;
        int32_t value = field_of(c, RZL_FIELD_PHOTOMETRIC);
        rzl_close(c);
        return value;
    }
    // A file of ours as others see it.
    void expect_accepted(const std::string& file, const picture& p, const std::string& how) {
        // The converter keeps 16 bits of strips only.
        ASSERT_TRUE(run("tiffinfo -D " + file + " >/dev/null && tiffcp -s -c none " + file +
                        " strips.tif && tifftopnm -quiet -byrow strips.tif >back.pnm"))
            << how << said;
        EXPECT_EQ(said, "") << how;
        picture seen = p;
        for (uint32_t& v : seen.values)
            v ^= p.bits == 1 ? 1 : 0; // we write 1 as white
        EXPECT_TRUE(read_bytes(path("back.pnm")) == pnm_of(seen)) << how;
    }
};

TEST_F(Peers, FilesOfTheToolsAreRead) {
    NEEDS_PROGRAM("tiffcp");
    NEEDS_PROGRAM("pamtotiff");
    const std::vector<std::string> grey_codings = {"none", "packbits", "lzw", "lzw:2", "zip", "zip:2"};
    const std::vector<std::string> bit_codings = {"none", "packbits", "lzw", "g3:1d", "g3:2d", "g3:1d:fill", "g4"};
    const std::vector<std::string> layouts = {"-s -r 1", "-s -r 7", "-s -r 1000", "-t -w 32 -l 16", "-t -w 16 -l 48"};
    for (auto [samples, bits] : {std::pair{1, 1}, {1, 2}, {1, 4}, {1, 8}, {1, 16}, {3, 8}}) {
        picture p = make_picture(93, 37, samples, bits);
        write_bytes(path("in.pnm"), pnm_of(p));
        ASSERT_TRUE(run("pamtotiff -truecolor in.pnm >in.tif")) << said;
        expect_read("in.tif", p, "pamtotiff");
        for (const std::string& coding : bits == 1 ? bit_codings : grey_codings)
            for (size_t i = 0; i < 2 * layouts.size(); ++i) {
                bool planes = samples > 1 && (i + i / 2) % 2 == 1;
                const std::string& layout = layouts[i / 2];
                if (bits < 8 && coding.ends_with(":2")) continue; // the tools have no such thing
                std::string how = i % 2 == 0 ? "-B" : "-L";
                how += (planes ? " -p separate -c " : " -p contig -c ") + coding + " " + layout;
                if (coding[0] == 'g') how += i % 4 < 2 ? " -f lsb2msb" : " -f msb2lsb";
                ASSERT_TRUE(run("tiffcp " + how + " in.tif out.tif")) << how << said;
                if (!planes || layout[1] != 't' || coding == "none" || coding == "packbits") {
                    expect_read("out.tif", p, std::to_string(bits) + " bits, " + how);
                    continue;
                }
                CFILE* c = opened(rzl_open_r(path("out.tif").c_str()));
                bytes_of_file line(400);
                EXPECT_EQ(refusal(c, rzl_getline(c, line.data())), RZL_UNSUP_TIFF) << "planes of tiles in " << coding;
                rzl_close(c);
            }
    }
}

TEST_F(Peers, OurFilesAreAccepted) {
    NEEDS_PROGRAM("tiffinfo");
    NEEDS_PROGRAM("tifftopnm");
    const std::vector<field_values> layouts = {{},          {{505, 1}},  {{505, 7}},
                                               {{505, -1}}, {{100, 32}}, {{100, 16}, {104, 48}}};
    for (auto [samples, bits] : {std::pair{1, 1}, {1, 2}, {1, 4}, {1, 8}, {1, 16}, {3, 8}}) {
        picture p = make_picture(93, 37, samples, bits);
        for (int coding : {1, 5, 0x20005, 32773, 8, 0x20008, 2, 3, 4})
            for (size_t l = 0; l < layouts.size(); ++l)
                for (int planar : {1, 2}) {
                    bool fax = coding >= 2 && coding <= 4;
                    bool predictor = coding > 0xFFFF;
                    if (fax != (bits == 1 && fax) || (planar == 2 && samples == 1) || (predictor && bits < 8)) continue;
                    bool whole = (coding & 0xFFFF) == 5 || (coding & 0xFFFF) == 8;
                    if (planar == 2 && l >= 4 && whole) continue; // planes of tiles are not coded so
                    field_values fields = layouts[l];
                    fields.insert(fields.end(), {{501, coding & 0xFFFF}, {502, predictor ? 2 : 1}, {503, planar}});
                    std::string how = std::to_string(bits) + " bits, coding " + std::to_string(coding) + ", layout " +
                                      std::to_string(l) + ", planar " + std::to_string(planar);
                    ASSERT_EQ(write_library(path("a.tif"), p, fields, samples == 3 && l % 2 == 1), 0u) << how;
                    EXPECT_TRUE(read_library(path("a.tif")) == p) << how;
                    expect_accepted("a.tif", p, how);
                }
    }
}

TEST_F(Peers, FourSamplesAndPalettes) {
    NEEDS_PROGRAM("convert");
    NEEDS_PROGRAM("tiffinfo");
    picture p = make_picture(41, 23, 4, 8);
    bytes_of_file raw(p.values.begin(), p.values.end());
    for (const char* how : {"-compress none", "-compress lzw", "-compress zip", "-compress lzw -interlace plane"}) {
        write_bytes(path("raw.cmyk"), raw);
        std::string command = "convert -size 41x23 -depth 8 cmyk:raw.cmyk ";
        command += how;
        ASSERT_TRUE(run(command + " a.tif")) << said;
        EXPECT_TRUE(read_library(path("a.tif")) == p) << how;
        EXPECT_TRUE(read_library(path("a.tif"), true) == p) << how;
    }
    for (const field_values& fields :
         std::vector<field_values>{{}, {{501, 5}, {502, 2}}, {{501, 32773}, {503, 2}}, {{100, 16}}}) {
        ASSERT_EQ(write_library(path("a.tif"), p, fields), 0u);
        ASSERT_TRUE(run("tiffinfo -D a.tif >/dev/null") && said.empty()) << said;
        ASSERT_TRUE(run("convert a.tif -depth 8 cmyk:back")) << said;
        EXPECT_EQ(read_bytes(path("back")), raw);
    }
    // A palette gives its colours, as the other program sees them.
    picture q = make_picture(41, 23, 3, 8);
    for (uint32_t& v : q.values)
        v &= 0xC0;
    write_bytes(path("in.pnm"), pnm_of(q));
    ASSERT_TRUE(run("convert in.pnm -type palette -compress lzw p.tif")) << said;
    CFILE* c = opened(rzl_open_r(path("p.tif").c_str()));
    EXPECT_EQ(field_of(c, RZL_FIELD_PHOTOMETRIC), 3);
    bytes_of_file rgb(41 * 3);
    for (int y = 0; y < q.height; ++y) {
        ASSERT_EQ(rzl_getline_interleaved(c, rgb.data()), 0);
        for (int x = 0; x < 41 * 3; ++x)
            EXPECT_EQ(rgb[size_t(x)], q.values[size_t(y * 41 * 3 + x)]);
    }
    rzl_close(c);
}

// Alpha that is not shown here, and bits in the other fill order, are the same to others after an update, and in a
// copy.
TEST_F(Peers, WhatOthersSeeStays) {
    NEEDS_PROGRAM("convert");
    NEEDS_PROGRAM("tiffcp");
    write_bytes(path("bits.pbm"), pnm_of(make_picture(45, 20, 1, 1)));
    write_bytes(path("rgb.ppm"), pnm_of(make_picture(45, 20, 3, 8)));
    for (const char* make : {"convert rgb.ppm -alpha on -channel A -evaluate set 60% +channel a.tif",
                             "convert bits.pbm in.tif && tiffcp -f lsb2msb -c none in.tif a.tif",
                             "convert bits.pbm in.tif && tiffcp -f lsb2msb -c lzw in.tif a.tif",
                             "convert bits.pbm in.tif && tiffcp -f lsb2msb -c packbits in.tif a.tif"}) {
        const std::string look = " -depth 8 rgba:seen";
        ASSERT_TRUE(run(make) && run("convert a.tif" + look)) << make << said;
        const bytes_of_file seen = read_bytes(path("seen"));
        CFILE* from = rzl_open_r(path("a.tif").c_str());
        CFILE* to = opened(rzl_open_w(path("b.tif").c_str()));
        EXPECT_EQ(set_field_to(to, 500, 1), 0);
        EXPECT_EQ(rzl_init_header_from(from, to) | rzl_copy_data(from, to), 0);
        rzl_close(from);
        EXPECT_EQ(rzl_finish(to), 0u);
        to = opened(rzl_open_rw(path("a.tif").c_str()));
        EXPECT_EQ(set_field_to(to, 8, -99) | rzl_write_header(to), 0);
        EXPECT_EQ(rzl_finish(to), 0u);
        for (const char* file : {"a.tif", "b.tif"})
            EXPECT_TRUE(run(std::string("convert ") + file + look) && read_bytes(path("seen")) == seen) << make << file;
    }
}

// A page of the size of a drawing: every coding of the fax family, in one strip and by default.
TEST_F(Peers, LargePages) {
    NEEDS_PROGRAM("tiffcp");
    constexpr int WIDTH = 5003, HEIGHT = 7001;
    const size_t row = (WIDTH + 7) / 8;
    bytes_of_file page(row * HEIGHT), words(row + 1);
    std::mt19937 random(3);
    for (int stroke = 0; stroke < 60000; ++stroke) {
        size_t x = random() % (row - 2);
        size_t y = random() % (HEIGHT - 40);
        for (size_t i = 0; i < 10 + x % 30; ++i)
            page[(y + i) * row + x] |= static_cast<uint8_t>(0x7E >> (i % 3));
    }
    for (int coding : {2, 3, 4})
        for (int rows : {0, -1}) {
            CFILE* c = new_tiff(path("a.tif"), {WIDTH, HEIGHT, 1, 1, {}}, {{501, coding}, {505, rows}});
            for (size_t y = 0; y < HEIGHT; ++y) {
                bits_to_words(&page[y * row], WIDTH, 0, words.data());
                ASSERT_EQ(rzl_putline(c, words.data()), 0);
            }
            ASSERT_EQ(rzl_finish(c), 0u);
            ASSERT_TRUE(run("tiffcp -c none -r 100000 a.tif b.tif && tiffcp -c g4 -r 1000 b.tif c.tif") && said.empty())
                << said;
            for (const char* file : {"b.tif", "c.tif"}) {
                c = opened(rzl_open_r(path(file).c_str()));
                bytes_of_file back(row);
                size_t wrong = 0;
                for (size_t y = 0; y < HEIGHT; ++y) {
                    ASSERT_EQ(rzl_getline(c, words.data()), 0);
                    words_to_bits(words.data(), WIDTH, 0, back.data());
                    wrong += std::equal(back.begin(), back.end(), page.begin() + static_cast<long>(y * row)) ? 0 : 1;
                }
                EXPECT_EQ(wrong, 0u) << coding << " " << rows << " " << file;
                rzl_close(c);
            }
        }
}
