// BMP files: headers, raw lines and run codes byte by byte, the headers and codes of today's programs, and bad input.
#include "raster/formats_fixture.h"

using Bmp = FormatTest;

namespace {

struct bmp_parts {
    int header = 40, width = 3, height = 2, bits = 8, compression = 0, colors_used = 0;
    int across = 0, down = 0;
    bytes_of_file behind; // the first 40 bytes of the header, and what stands before the colours
    bytes_of_file colors, lines;

    size_t data_offset() const {
        return 14 + static_cast<size_t>(header < 40 ? 12 : 40) + behind.size() + colors.size();
    }
    bytes_of_file file() const {
        bytes_made b;
        b.text("BM").u32(0).u32(0).u32(static_cast<int64_t>(data_offset())).u32(header);
        if (header == 12) {
            b.u16(width).u16(height).u16(1).u16(bits);
        } else {
            b.u32(width).u32(height).u16(1).u16(bits).u32(compression).u32(0);
            b.u32(across).u32(down).u32(colors_used).u32(0);
        }
        return b.bytes(behind).bytes(colors).bytes(lines).made;
    }
};

// A table of `count` entries of `step` bytes: i, i + 1, i + 2 in red, green, blue.
bytes_of_file table_bytes(int count, size_t step) {
    bytes_of_file b;
    for (int i = 0; i < count; ++i) {
        const uint8_t entry[4] = {static_cast<uint8_t>(i + 2), static_cast<uint8_t>(i + 1), static_cast<uint8_t>(i), 0};
        b.insert(b.end(), entry, entry + step);
    }
    return b;
}

bmp_parts coded(int bits, const bytes_of_file& codes, int width, int height) {
    bmp_parts b;
    b.bits = bits;
    b.compression = bits == 8 ? 1 : 2;
    b.width = width;
    b.height = height;
    b.colors = table_bytes(1 << bits, 4);
    b.lines = codes;
    return b;
}

} // namespace

TEST_F(Bmp, TheBytesOfAFile) {
    const auto head = [](int size, int offset, int width, int height, int bits, int compression, int dots) {
        bytes_made b;
        b.text("BM").u32(size).u32(0).u32(offset).u32(40).u32(width).u32(height).u16(1).u16(bits).u32(compression);
        return b.u32(0).u32(dots).u32(dots).u32(0).u32(0).made;
    };
    const bytes_of_file two = hex("010203 040506"), nine = hex("01020102 0304050607");
    struct {
        const char* what;
        int format, width, height;
        bytes_of_file pixels;
        field_values fields;
        bytes_of_file header;
        const char* lines;
    } cases[] = {
        {"top-down triples", 28, 1, 2, two, {{8, -72}}, head(62, 54, 1, 2, 24, 0, 2835), "060504 00 030201 00"},
        {"bottom-up", 28, 1, 2, two, {{9, 6}, {8, 1000}}, head(62, 54, 1, 2, 24, 0, 1000), "030201 00 060504 00"},
        {"bits, asked for as runs", 9, 17, 1, hex("01800080"), {}, head(66, 62, 17, 1, 1, 0, 0), "800180 00"},
        {"bytes", 2, 3, 1, {7, 8, 9}, {}, head(1082, 1078, 3, 1, 8, 0, 0), "070809 00"},
        {"nibbles", 2, 3, 1, {7, 8, 9}, {{507, 4}}, head(122, 118, 3, 1, 4, 0, 0), "7890 0000"},
        {"runs, three and a pad byte",
         29,
         8,
         1,
         hex("0505050102030404"),
         {},
         head(1090, 1078, 8, 1, 8, 1, 0),
         "0305 0003010203 00 0204 0000"},
        {"few bytes", 29, 4, 1, {1, 2, 2, 3}, {}, head(1086, 1078, 4, 1, 8, 1, 0), "0101 0202 0103 0000"},
        {"runs of nibbles", 29, 9, 1, nine, {{507, 4}}, head(128, 118, 9, 1, 4, 2, 0), "0412 0005345670 00 0000"},
        {"compression asked for", 2, 2, 1, {9, 9}, {{501, 1}}, head(1082, 1078, 2, 1, 8, 1, 0), "0209 0000"},
    };
    for (const auto& k : cases) {
        SCOPED_TRACE(k.what);
        ASSERT_EQ(write_picture(path("a.bmp"), 4, k.format, k.width, k.height, k.pixels, k.fields), 0u);
        const bytes_of_file b = read_bytes(path("a.bmp"));
        EXPECT_EQ(part(b, 0, 54), k.header);
        EXPECT_EQ(part(b, b[10] + b[11] * 256), hex(k.lines));
    }
    // Colours: the announced entries, and black; grey without a table; two of their own for bits.
    color_table table = some_table(256);
    ASSERT_EQ(write_picture(path("a.bmp"), 4, 2, 1, 1, {0}, {}, {table.begin(), table.begin() + 2}), 0u);
    EXPECT_EQ(read_picture(path("a.bmp")).colors, bytes_of_file({3, 1, 255}));
    EXPECT_EQ(part(read_bytes(path("a.bmp")), 54, 12), bytes_of_file({255, 1, 3, 0, 254, 12, 80, 0, 0, 0, 0, 0}));
    ASSERT_EQ(write_picture(path("a.bmp"), 4, 1, 2, 1, {0, 0x40}, {}), 0u);
    EXPECT_EQ(read_picture(path("a.bmp")).colors, bytes_of_file({0, 0, 0, 255, 255, 255}));
}

// The same six pixels in every header and depth.
TEST_F(Bmp, HeadersAndDepths) {
    const auto core = [](int width, int bits, const bytes_of_file& colors, const char* lines) {
        return bmp_parts{12, width, 2, bits, 0, 0, 0, 0, {}, colors, hex(lines)};
    };
    // One line, with what stands behind the first 40 bytes of its header.
    const auto line = [](int header, int width, int bits, int compression, const std::string& behind,
                         const char* pixels) {
        return bmp_parts{header, width, 1, bits, compression, 0, 0, 0, hex(behind), {}, hex(pixels)};
    };
    bmp_parts five = {40, 3, -2, 8, 0, 5, 0, 0, {}, table_bytes(5, 4), hex("000102 00 040509 00")};
    bmp_parts ignored = line(40, 1, 24, 0, "", "010203 00");
    ignored.colors_used = 5;
    const std::string v5 = "FF000000 00FF0000 0000FF00 000000FF" + std::string(136, '0');
    constexpr uint32_t FAILS = RZL_READ_FAILED;
    struct {
        const char* what;
        bmp_parts parts;
        int format, orientation;
        uint32_t status, extended_status; // of the open
        const char* colors;
    } cases[] = {
        {"core, 1 bit", core(3, 1, hex("000000FFFFFF"), "40000000 A0000000"), 1, 6, 0, 0,
         "000000 FFFFFF 000000 FFFFFF 000000 FFFFFF"},
        {"core, 4 bits", core(3, 4, table_bytes(16, 3), "12300000 45600000"), 2, 6, 0, 0,
         "010203 020304 030405 040506 050607 060708"},
        {"core, 24 bits", core(1, 24, {}, "010203 00 040506 00"), 28, 6, 0, 0, "030201 060504"},
        {"five colours, top-down", five, 2, 4, 0, 0, "000102 010203 020304 040506 000000 000000"},
        {"24 bits ignore a table", ignored, 28, 6, 0, 0, "030201"},
        {"16 bits", line(40, 2, 16, 0, "", "1F7C E003"), 28, 6, FAILS, 0, "FF00FF 00FF00"},
        {"5, 6 and 5 bits", line(40, 2, 16, 3, "00F80000 E0070000 1F000000", "E007 0108"), 28, 6, FAILS, 0,
         "00FF00 080008"},
        {"32 bits", line(40, 1, 32, 0, "", "01020304"), 28, 6, FAILS, 0, "030201"},
        {"10 bits each: all, a half, 4 of 1023", line(52, 1, 32, 3, "FF030000 00FC0F00 0000F03F", "FF034800"), 28, 6,
         FAILS, 0, "FF8001"},
        {"a header of 124 bytes", line(124, 1, 32, 3, v5, "01020304"), 28, 6, FAILS, 0, "010203"},
        {"masks with gaps", line(52, 1, 32, 3, "05000000 00FF0000 0000FF00", "01020304"), 0, 0, FAILS, RZL_UNSUP_BMP,
         ""},
        {"a header of 41 bytes", line(41, 1, 24, 0, "00", "010203 00"), 0, 0, FAILS, FAILS, ""},
    };
    for (const auto& k : cases) {
        SCOPED_TRACE(k.what);
        picture p = read_made(k.parts.file());
        EXPECT_EQ(p.status, k.status);
        const int order = k.parts.header == 12 ? 0 : k.orientation; // the oldest header tells of none
        EXPECT_TRUE(k.status != 0 || (p.colors == hex(k.colors) && p.orientation == order));
        extended_guard extended(true);
        p = read_made(k.parts.file());
        EXPECT_EQ(p.status, k.extended_status);
        EXPECT_EQ(p.colors, hex(k.colors));
        EXPECT_TRUE(p.format == k.format && p.orientation == k.orientation);
    }
}

TEST_F(Bmp, Fields) {
    bmp_parts b;
    b.colors_used = 5;
    b.colors = table_bytes(5, 4);
    b.lines.assign(8, 0);
    b.across = 2835;
    b.down = 5670;
    CFILE* c = open_made(b.file());
    EXPECT_EQ(number_of(c, 26), 0.5);
    expect_fields(c, {{8, -72}, {6, 5}, {5, 2}, {501, 0}});
    rzl_vlt_entry vlt[256] = {};
    EXPECT_TRUE(rzl_get_vlt(c, vlt) == 0 && vlt[4].red == 0x400 && vlt[4].blue == 0x600 && vlt[5].red == 0);
    uint8_t line[8];
    EXPECT_EQ(rzl_seek(c, 2), 0);
    EXPECT_EQ(refusal(c, rzl_getline(c, line)), RZL_PAST_END);
    rzl_close(c);
    c = new_file(path("a.bmp"), 4, 28, 1, 1, {{8, -100}});
    const double aspect = 2;
    EXPECT_EQ(rzl_set_hdr_data(c, 26, &aspect), 0);
    EXPECT_TRUE(rzl_putline3(c, "1", "2", "3") == 0 && rzl_finish(c) == 0);
    const bytes_of_file file = read_bytes(path("a.bmp"));
    EXPECT_TRUE(load_u32le(&file[38]) == 3937 && load_u32le(&file[42]) == 7874);
    c = rzl_open_r(path("a.bmp").c_str());
    EXPECT_EQ(refusal(c, rzl_get_vlt(c, vlt)), RZL_NO_VLT);
    EXPECT_EQ(refusal(c, rzl_getline_channels(c, 1, std::begin({(void*)line}))), RZL_NOT_STANDARD);
    rzl_close(c);
}

// Codes, and the lines that they stand for with files of today's programs off and on: none where a line can't be read.
TEST_F(Bmp, RunCodes) {
    struct {
        const char* what;
        int bits, width, height;
        const char *codes, *values, *extended; // of the lines that are read
    } cases[] = {
        {"runs and a literal", 8, 6, 1, "0207 0003010203 00 0109 0000", "070701020309", "070701020309"},
        {"turns and an odd literal", 4, 8, 1, "0312 0005345670 00 0000", "0102010304050607", "0102010304050607"},
        {"a line that ends early", 8, 3, 2, "0107 0000 0308 0001", "070000 080808", "070000 080808"},
        {"an image that ends early", 8, 2, 3, "0107 0001", "0700 0000 0000", "0700 0000 0000"},
        {"the last line without its end", 8, 2, 2, "0207 0000 0208", "0707 0808", "0707 0808"},
        {"a step to the right", 8, 4, 1, "0107 00020200 0108 0000", "", "07000008"},
        {"a step down", 8, 3, 4, "0107 00020102 0108 0000 0309 0001", "", "070000 000000 000008 090909"},
        {"a step down from the end of a line", 8, 2, 3, "0207 00020002 0001", "0707", "0707 0000 0000"},
        {"a step past the line", 8, 3, 2, "0107 00020300", "", ""},
        {"a step past the image", 8, 2, 2, "0107 000200C8", "", "0700 0000"},
        {"a run past the line", 8, 4, 1, "0507 0000", "", ""},
        {"a literal past the line", 8, 4, 1, "0207 0003010203 00", "", ""},
        {"codes for filling bytes", 8, 3, 2, "0307 0100 0000 000408080800 0001", "070707 000000", "070707 080808"},
    };
    for (const auto& k : cases) {
        for (bool on : {false, true}) {
            SCOPED_TRACE(std::string(k.what) + (on ? ", extended" : ""));
            extended_guard extended(on);
            const picture p = read_made(coded(k.bits, hex(k.codes), k.width, k.height).file());
            const bytes_of_file expected = hex(on ? k.extended : k.values);
            EXPECT_EQ(p.values, expected);
            const bool whole = expected.size() == static_cast<size_t>(k.width) * static_cast<size_t>(k.height);
            EXPECT_EQ(p.status, whole ? 0u : RZL_READ_FAILED);
            if (whole) expect_seeks(path("made"));
        }
    }
}

TEST_F(Bmp, BadInput) {
    bmp_parts b;
    b.colors = table_bytes(256, 4);
    b.lines.assign(8, 3);
    const bytes_of_file good = b.file();
    expect_refused(good, {
                             {"header size", 14, {39}, RZL_READ_FAILED},
                             {"a later header", 14, {52}, RZL_READ_FAILED},
                             {"bit count", 28, {2}, RZL_READ_FAILED},
                             {"runs of nibbles in bytes", 30, {2}, RZL_UNSUP_BMP},
                             {"coded triples", 28, {24, 0, 1}, RZL_UNSUP_BMP},
                             {"coded bits", 28, {1, 0, 1}, RZL_UNSUP_BMP},
                             {"bit fields", 30, {3}, RZL_UNSUP_BMP},
                             {"no width", 18, {0, 0, 0, 0}, RZL_READ_FAILED},
                             {"a negative width", 18, {0xFD, 0xFF, 0xFF, 0xFF}, RZL_READ_FAILED},
                             {"a width of two thousand million", 18, {0, 0, 0, 0x7F}, RZL_READ_FAILED},
                             {"no height", 22, {0, 0, 0, 0}, RZL_READ_FAILED},
                             {"the lowest height", 22, {0, 0, 0, 0x80}, RZL_READ_FAILED},
                             {"a height that is not there", 22, {0, 0, 0, 0x7F}, RZL_READ_FAILED},
                             {"more colours than there are", 46, {0, 2, 0, 0}, RZL_READ_FAILED},
                             {"very many colours", 46, {0xFF, 0xFF, 0xFF, 0xFF}, RZL_READ_FAILED},
                             {"lines behind the end", 10, {0, 0, 0, 0x70}, RZL_READ_FAILED},
                         });
    expect_refused(coded(8, {3, 7, 0, 0, 3, 8, 0, 0}, 3, 2).file(),
                   {{"a width that no codes reach", 18, {0, 0, 0, 0x7F}, RZL_READ_FAILED}});
    expect_cuts_tell(good, b.data_offset(), good.size());
    const bytes_of_file runs = coded(4, {3, 7, 0, 0, 3, 8}, 3, 2).file();
    expect_cuts_tell(runs, 118, runs.size());
    // Narrow lines by the thousand million: two codes stand for few, and a page of lines may be left out.
    CFILE* c = open_made(coded(8, hex("01FF 0001"), 13, INT32_MAX).file());
    ASSERT_NE(c, nullptr);
    EXPECT_GT(rzl_lines_held(c), 600'000);
    EXPECT_LT(rzl_lines_held(c), 700'000);
    rzl_close(c);
}

TEST_F(Bmp, WritingIsRefused) {
    EXPECT_EQ(refused(new_file(path("a.bmp"), 4, 27, 1, 1)), RZL_UNSUP_BMP);
    CFILE* c = new_file(path("a.bmp"), 4, 2, 2, 2);
    EXPECT_EQ(refusal(c, rzl_putline3(c, "ab", "ab", "ab")), RZL_UNSUP_BMP);
    EXPECT_EQ(refusal(c, rzl_putline_channels(c, 2, std::begin({(const void*)"ab", (const void*)"ab"}))),
              RZL_UNSUP_KRVN);
    rzl_close(c);
    for (auto [field, value] : {std::pair(507, 2), {501, 3}}) {
        c = new_file(path("a.bmp"), 4, 2, 2, 2, {{field, value}});
        EXPECT_EQ(refusal(c, rzl_write_header(c)), RZL_UNSUP_BMP) << field;
        rzl_close(c);
    }
    EXPECT_EQ(write_picture(path("a.bmp"), 4, 2, 1, 1, {1}, {{9, 5}}), RZL_UNSUP_BMP) << "no order that the file has";
    EXPECT_EQ(read_bytes(path("a.bmp")).size(), 1078u);
    c = new_file(path("a.bmp"), 4, 2, 2, 2, {{9, 5}}, rzl_open_wr);
    EXPECT_TRUE(rzl_putline(c, "ab") == 0 && rzl_rewind(c) == 0);
    char line[2];
    EXPECT_EQ(refusal(c, rzl_getline(c, line)), RZL_UNSUP_BMP) << "lines that the file never has";
    rzl_close(c);
    c = new_file(path("a.bmp"), 4, 29, 2, 2);
    EXPECT_TRUE(rzl_write_header(c) == 0 && rzl_seek(c, 1) == 0);
    EXPECT_EQ(refusal(c, rzl_putline(c, "ab")), RZL_MODIFY_COMPRESSED);
    rzl_close(c);
}

// Raw lines go to the file many at a time, whatever their order, and can be had back from where they are then: what has
// not come yet is 0, and in the end, too.
TEST_F(Bmp, LinesInAnyOrder) {
    constexpr int WIDTH = 20001;
    constexpr int HEIGHT = 40; // several blocks
    const bytes_of_file pixels = some_samples(size_t{WIDTH} * HEIGHT, 256, 5);
    bytes_of_file line(WIDTH);
    for (int orientation : {4, 6})
        for (int step : {1, HEIGHT - 1, 7, 2}) { // on, back, all of them in leaps, every other one
            bytes_of_file files[2];
            for (bool read : {false, true}) {
                CFILE* c =
                    new_file(path("a.bmp"), 4, 2, WIDTH, HEIGHT, {{9, orientation}}, read ? rzl_open_wr : rzl_open_w);
                bool came[HEIGHT] = {};
                for (int i = 0, y = 0; i < HEIGHT && (step != 2 || i < HEIGHT / 2); ++i, y = (y + step) % HEIGHT) {
                    ASSERT_EQ(rzl_write_header(c) + rzl_seek(c, y), 0);
                    ASSERT_EQ(rzl_putline(c, &pixels[static_cast<size_t>(y) * WIDTH]), 0);
                    came[y] = true;
                    for (int back : {y, HEIGHT - 1 - y, (y + 1) % HEIGHT}) {
                        if (!read) break;
                        ASSERT_EQ(rzl_seek(c, back) + rzl_getline(c, line.data()), 0);
                        auto at = pixels.begin() + back * WIDTH;
                        ASSERT_EQ(line, came[back] ? bytes_of_file(at, at + WIDTH) : bytes_of_file(WIDTH)) << back;
                    }
                }
                ASSERT_EQ(rzl_finish(c), 0u);
                files[read ? 1 : 0] = read_bytes(path("a.bmp"));
            }
            EXPECT_EQ(files[0].size(), 1078u + size_t{20004} * HEIGHT);
            EXPECT_TRUE(files[0] == files[1]) << orientation << " " << step;
        }
}
