// BMP files: headers, raw lines and run codes byte by byte, the headers and codes of today's programs, and bad input.
#include "formats_fixture.h"

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
        return bytes_made()
            .text("BM")
            .u32(size)
            .u32(0)
            .u32(offset)
            .u32(40)
            .u32(width)
            .u32(height)
            .u16(1)
            .u16(bits)
            .u32(compression)
            .u32(0)
            .u32(dots)
            .u32(dots)
            .u32(0)
            .u32(0)
            .made;
    };
    struct {
        const char* what;
        int format, width, height;
        bytes_of_file pixels;
        field_values fields;
        bytes_of_file header, lines;
    } cases[] = {
        {"top-down triples",
         28,
         1,
         2,
         {1, 2, 3, 4, 5, 6},
         {{8, -72}},
         head(62, 54, 1, 2, 24, 0, 2835),
         {6, 5, 4, 0, 3, 2, 1, 0}},
        {"bottom-up triples",
         28,
         1,
         2,
         {1, 2, 3, 4, 5, 6},
         {{9, 6}, {8, 1000}},
         head(62, 54, 1, 2, 24, 0, 1000),
         {3, 2, 1, 0, 6, 5, 4, 0}},
        {"bits, asked for as runs",
         9,
         17,
         1,
         {0x01, 0x80, 0x00, 0x80},
         {},
         head(66, 62, 17, 1, 1, 0, 0),
         {0x80, 0x01, 0x80, 0}},
        {"bytes", 2, 3, 1, {7, 8, 9}, {}, head(1082, 1078, 3, 1, 8, 0, 0), {7, 8, 9, 0}},
        {"nibbles", 2, 3, 1, {7, 8, 9}, {{507, 4}}, head(122, 118, 3, 1, 4, 0, 0), {0x78, 0x90, 0, 0}},
        {"runs of bytes",
         29,
         8,
         1,
         {5, 5, 5, 1, 2, 3, 4, 4},
         {},
         head(1092, 1078, 8, 1, 8, 1, 0),
         {3, 5, 0, 3, 1, 2, 3, 0, 2, 4, 0, 0, 0, 0}},
        {"few bytes", 29, 4, 1, {1, 2, 2, 3}, {}, head(1086, 1078, 4, 1, 8, 1, 0), {1, 1, 2, 2, 1, 3, 0, 0}},
        {"runs of nibbles",
         29,
         9,
         1,
         {1, 2, 1, 2, 3, 4, 5, 6, 7},
         {{507, 4}},
         head(128, 118, 9, 1, 4, 2, 0),
         {4, 0x12, 0, 5, 0x34, 0x56, 0x70, 0, 0, 0}},
        {"compression asked for", 2, 2, 1, {9, 9}, {{501, 1}}, head(1082, 1078, 2, 1, 8, 1, 0), {2, 9, 0, 0}},
    };
    cases[5].lines = {3, 5, 0, 3, 1, 2, 3, 0, 2, 4, 0, 0}; // three and a pad byte, then the run
    cases[5].header = head(1090, 1078, 8, 1, 8, 1, 0);
    for (const auto& k : cases) {
        SCOPED_TRACE(k.what);
        ASSERT_EQ(write_picture(path("a.bmp"), 4, k.format, k.width, k.height, k.pixels, k.fields), 0u);
        const bytes_of_file b = read_bytes(path("a.bmp"));
        EXPECT_EQ(bytes_of_file(b.begin(), b.begin() + 54), k.header);
        EXPECT_EQ(bytes_of_file(b.begin() + b[10] + b[11] * 256, b.end()), k.lines);
    }
    // Colours: the announced entries, and black; grey without a table; two of their own for bits.
    color_table table = some_table(256);
    ASSERT_EQ(write_picture(path("a.bmp"), 4, 2, 1, 1, {0}, {}, {table.begin(), table.begin() + 2}), 0u);
    EXPECT_EQ(read_picture(path("a.bmp")).colors, bytes_of_file({3, 1, 255}));
    bytes_of_file b = read_bytes(path("a.bmp"));
    EXPECT_EQ(bytes_of_file(b.begin() + 54, b.begin() + 66), bytes_of_file({255, 1, 3, 0, 254, 12, 80, 0, 0, 0, 0, 0}));
    ASSERT_EQ(write_picture(path("a.bmp"), 4, 1, 2, 1, {0, 0x40}, {}), 0u);
    EXPECT_EQ(read_picture(path("a.bmp")).colors, bytes_of_file({0, 0, 0, 255, 255, 255}));
}

TEST_F(Bmp, WhatIsWrittenIsRead) {
    for (auto [format, bits, values] :
         {std::tuple(2, 8, 256), {29, 8, 256}, {29, 8, 3}, {2, 4, 16}, {29, 4, 16}, {29, 4, 2}}) {
        for (int width : {1, 2, 3, 5, 254, 255, 256, 257, 701}) {
            for (int orientation : {4, 6}) {
                SCOPED_TRACE(std::to_string(width) + " format " + std::to_string(format) + " bits " +
                             std::to_string(bits));
                const bytes_of_file pixels = some_samples(static_cast<size_t>(width) * 7, values, 2);
                color_table table = some_table(1 << bits);
                ASSERT_EQ(
                    write_picture(path("a.bmp"), 4, format, width, 7, pixels, {{507, bits}, {9, orientation}}, table),
                    0u);
                const picture p = read_picture(path("a.bmp"));
                EXPECT_TRUE(p.status == 0 && p.format == format && p.bits == bits && p.orientation == 6);
                bytes_of_file expected = pixels;
                for (long y = 0; y < 7 && orientation == 4; ++y)
                    std::copy_n(pixels.begin() + (6 - y) * width, width, expected.begin() + y * width);
                EXPECT_TRUE(p.values == expected);
                EXPECT_TRUE(p.colors == looked_up(expected, table));
                if (width == 257) expect_seeks(path("a.bmp"));
            }
        }
    }
}

// The same six pixels in every header and depth.
TEST_F(Bmp, HeadersAndDepths) {
    const bytes_of_file white = {0, 0, 0, 255, 255, 255};
    struct {
        const char* what;
        bmp_parts parts;
        int format, orientation;
        uint32_t status, extended_status; // of the open
        bytes_of_file colors;
    } cases[] = {
        {"core, 1 bit",
         {12, 3, 2, 1, 0, 0, 0, 0, {}, {0, 0, 0, 255, 255, 255}, {0x40, 0, 0, 0, 0xA0, 0, 0, 0}},
         1,
         0,
         0,
         0,
         {0, 0, 0, 255, 255, 255, 0, 0, 0, 255, 255, 255, 0, 0, 0, 255, 255, 255}},
        {"core, 4 bits",
         {12, 3, 2, 4, 0, 0, 0, 0, {}, table_bytes(16, 3), {0x12, 0x30, 0, 0, 0x45, 0x60, 0, 0}},
         2,
         0,
         0,
         0,
         {1, 2, 3, 2, 3, 4, 3, 4, 5, 4, 5, 6, 5, 6, 7, 6, 7, 8}},
        {"core, 24 bits",
         {12, 1, 2, 24, 0, 0, 0, 0, {}, {}, {1, 2, 3, 0, 4, 5, 6, 0}},
         28,
         0,
         0,
         0,
         {3, 2, 1, 6, 5, 4}},
        {"five colours, top-down",
         {40, 3, -2, 8, 0, 5, 0, 0, {}, table_bytes(5, 4), {0, 1, 2, 0, 4, 5, 9, 0}},
         2,
         4,
         0,
         0,
         {0, 1, 2, 1, 2, 3, 2, 3, 4, 4, 5, 6, 0, 0, 0, 0, 0, 0}},
        {"24 bits ignore a table", {40, 1, 1, 24, 0, 5, 0, 0, {}, {}, {1, 2, 3, 0}}, 28, 6, 0, 0, {3, 2, 1}},
        {"16 bits",
         {40, 2, 1, 16, 0, 0, 0, 0, {}, {}, {0x1F, 0x7C, 0xE0, 0x03}},
         28,
         6,
         RZL_READ_FAILED,
         0,
         {255, 0, 255, 0, 255, 0}},
        {"5, 6 and 5 bits",
         {40, 2, 1, 16, 3, 0, 0, 0, bytes_made().u32(0xF800).u32(0x7E0).u32(0x1F).made, {}, {0xE0, 0x07, 0x01, 0x08}},
         28,
         6,
         RZL_READ_FAILED,
         0,
         {0, 255, 0, 8, 0, 8}},
        {"32 bits", {40, 1, 1, 32, 0, 0, 0, 0, {}, {}, {1, 2, 3, 4}}, 28, 6, RZL_READ_FAILED, 0, {3, 2, 1}},
        {"10 bits each",
         {52,
          1,
          1,
          32,
          3,
          0,
          0,
          0,
          bytes_made().u32(0x3FF).u32(0xFFC00).u32(0x3FF00000).made,
          {},
          bytes_made().u32(0x3FF | 0x200 << 10 | 4 << 20).made},
         28,
         6,
         RZL_READ_FAILED,
         0,
         {255, 128, 1}},
        {"a header of 124 bytes",
         {124,
          1,
          1,
          32,
          3,
          0,
          0,
          0,
          bytes_made().u32(0xFF).u32(0xFF00).u32(0xFF0000).u32(0xFF000000).fill(68).made,
          {},
          {1, 2, 3, 4}},
         28,
         6,
         RZL_READ_FAILED,
         0,
         {1, 2, 3}},
        {"masks with gaps",
         {52, 1, 1, 32, 3, 0, 0, 0, bytes_made().u32(5).u32(0xFF00).u32(0xFF0000).made, {}, {1, 2, 3, 4}},
         0,
         0,
         RZL_READ_FAILED,
         RZL_UNSUP_BMP,
         {}},
        {"a header of 41 bytes",
         {41, 1, 1, 24, 0, 0, 0, 0, {0}, {}, {1, 2, 3, 0}},
         0,
         0,
         RZL_READ_FAILED,
         RZL_READ_FAILED,
         {}},
    };
    for (const auto& k : cases) {
        SCOPED_TRACE(k.what);
        write_bytes(path("a.bmp"), k.parts.file());
        picture p = read_picture(path("a.bmp"));
        EXPECT_EQ(p.status, k.status);
        EXPECT_TRUE(k.status != 0 || (p.colors == k.colors && p.orientation == k.orientation));
        extended_guard extended(true);
        p = read_picture(path("a.bmp"));
        EXPECT_EQ(p.status, k.extended_status);
        EXPECT_EQ(p.colors, k.colors);
        EXPECT_EQ(p.format, k.format);
        EXPECT_EQ(p.orientation, k.extended_status == 0 ? (k.orientation == 4 ? 4 : 6) : 0);
    }
}

TEST_F(Bmp, Fields) {
    bmp_parts b;
    b.colors_used = 5;
    b.colors = table_bytes(5, 4);
    b.lines.assign(8, 0);
    b.across = 2835;
    b.down = 5670;
    write_bytes(path("a.bmp"), b.file());
    CFILE* c = rzl_open_r(path("a.bmp").c_str());
    double aspect = 0;
    EXPECT_TRUE(rzl_get_hdr_data(c, 26, &aspect) == 0 && aspect == 0.5);
    EXPECT_TRUE(field_of(c, 8) == -72 && field_of(c, 6) == 5 && field_of(c, 5) == 2 && field_of(c, 501) == 0);
    rzl_vlt_entry vlt[256] = {};
    EXPECT_TRUE(rzl_get_vlt(c, vlt) == 0 && vlt[4].red == 0x400 && vlt[4].blue == 0x600 && vlt[5].red == 0);
    uint8_t line[8];
    EXPECT_TRUE(rzl_seek(c, 2) == 0 && rzl_getline(c, line) == 1 && c->status == RZL_PAST_END);
    rzl_close(c);
    c = new_file(path("a.bmp"), 4, 28, 1, 1, {{8, -100}});
    aspect = 2;
    EXPECT_EQ(rzl_set_hdr_data(c, 26, &aspect), 0);
    EXPECT_TRUE(rzl_putline3(c, "1", "2", "3") == 0 && rzl_finish(c) == 0);
    const bytes_of_file file = read_bytes(path("a.bmp"));
    EXPECT_TRUE(load_u32le(&file[38]) == 3937 && load_u32le(&file[42]) == 7874);
    c = rzl_open_r(path("a.bmp").c_str());
    EXPECT_TRUE(rzl_get_vlt(c, vlt) == 1 && c->status == RZL_NO_VLT);
    EXPECT_TRUE(rzl_getline_channels(c, 1, std::begin({(void*)line})) == 1 && c->status == RZL_NOT_STANDARD);
    rzl_close(c);
}

// Codes, the lines that they stand for with files of today's programs off and on; -1: the line can't be read.
TEST_F(Bmp, RunCodes) {
    struct {
        const char* what;
        int bits, width, height;
        bytes_of_file codes;
        bytes_of_file values, extended; // of the lines that are read
    } cases[] = {
        {"runs and a literal", 8, 6, 1, {2, 7, 0, 3, 1, 2, 3, 0, 1, 9, 0, 0}, {7, 7, 1, 2, 3, 9}, {7, 7, 1, 2, 3, 9}},
        {"turns and an odd literal",
         4,
         8,
         1,
         {3, 0x12, 0, 5, 0x34, 0x56, 0x70, 0, 0, 0},
         {1, 2, 1, 3, 4, 5, 6, 7},
         {1, 2, 1, 3, 4, 5, 6, 7}},
        {"a line that ends early", 8, 3, 2, {1, 7, 0, 0, 3, 8, 0, 1}, {7, 0, 0, 8, 8, 8}, {7, 0, 0, 8, 8, 8}},
        {"an image that ends early", 8, 2, 3, {1, 7, 0, 1}, {7, 0, 0, 0, 0, 0}, {7, 0, 0, 0, 0, 0}},
        {"the last line without its end", 8, 2, 2, {2, 7, 0, 0, 2, 8}, {7, 7, 8, 8}, {7, 7, 8, 8}},
        {"a step to the right", 8, 4, 1, {1, 7, 0, 2, 2, 0, 1, 8, 0, 0}, {}, {7, 0, 0, 8}},
        {"a step down", 8, 3, 4, {1, 7, 0, 2, 1, 2, 1, 8, 0, 0, 3, 9, 0, 1}, {}, {7, 0, 0, 0, 0, 0, 0, 0, 8, 9, 9, 9}},
        {"a step down from the end of a line", 8, 2, 3, {2, 7, 0, 2, 0, 2, 0, 1}, {7, 7}, {7, 7, 0, 0, 0, 0}},
        {"a step past the line", 8, 3, 2, {1, 7, 0, 2, 3, 0}, {}, {}},
        {"a step past the image", 8, 2, 2, {1, 7, 0, 2, 0, 200}, {}, {7, 0, 0, 0}},
        {"a run past the line", 8, 4, 1, {5, 7, 0, 0}, {}, {}},
        {"a literal past the line", 8, 4, 1, {2, 7, 0, 3, 1, 2, 3, 0}, {}, {}},
        {"codes for filling bytes",
         8,
         3,
         2,
         {3, 7, 1, 0, 0, 0, 0, 4, 8, 8, 8, 0, 0, 1},
         {7, 7, 7, 0, 0, 0},
         {7, 7, 7, 8, 8, 8}},
    };
    for (const auto& k : cases) {
        SCOPED_TRACE(k.what);
        write_bytes(path("a.bmp"), coded(k.bits, k.codes, k.width, k.height).file());
        for (bool on : {false, true}) {
            extended_guard extended(on);
            const picture p = read_picture(path("a.bmp"));
            const bytes_of_file& expected = on ? k.extended : k.values;
            EXPECT_EQ(p.values, expected) << on;
            const bool whole = expected.size() == static_cast<size_t>(k.width * k.height);
            EXPECT_EQ(p.status, whole ? 0u : RZL_READ_FAILED) << on;
            if (whole) expect_seeks(path("a.bmp"));
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
    expect_cut_tells(good, b.data_offset(), good.size());
    const bytes_of_file runs = coded(4, {3, 7, 0, 0, 3, 8}, 3, 2).file();
    expect_cut_tells(runs, 118, runs.size());
}

TEST_F(Bmp, WritingIsRefused) {
    EXPECT_EQ(new_file(path("a.bmp"), 4, 27, 1, 1), nullptr);
    EXPECT_EQ(last_status(), RZL_UNSUP_BMP);
    CFILE* c = new_file(path("a.bmp"), 4, 2, 2, 2);
    EXPECT_TRUE(rzl_putline3(c, "ab", "ab", "ab") == 1 && c->status == RZL_UNSUP_BMP);
    EXPECT_TRUE(rzl_putline_channels(c, 2, std::begin({(const void*)"ab", (const void*)"ab"})) == 1 &&
                c->status == RZL_UNSUP_KRVN);
    rzl_close(c);
    for (auto [field, value] : {std::pair(507, 2), {501, 3}}) {
        c = new_file(path("a.bmp"), 4, 2, 2, 2, {{field, value}});
        EXPECT_TRUE(rzl_write_header(c) == 1 && c->status == RZL_UNSUP_BMP) << field;
        rzl_close(c);
    }
    c = new_file(path("a.bmp"), 4, 28, 60000, 60000);
    EXPECT_TRUE(rzl_write_header(c) == 1 && c->status == RZL_BAD_IMAGE_SIZE);
    rzl_close(c);
    EXPECT_EQ(write_picture(path("a.bmp"), 4, 2, 1, 1, {1}, {{9, 5}}), RZL_UNSUP_BMP) << "no order that the file has";
    EXPECT_EQ(read_bytes(path("a.bmp")).size(), 1078u);
    c = new_file(path("a.bmp"), 4, 29, 2, 2);
    EXPECT_TRUE(rzl_write_header(c) == 0 && rzl_seek(c, 1) == 0 && rzl_putline(c, "ab") == 1);
    EXPECT_EQ(c->status, RZL_MODIFY_COMPRESSED);
    rzl_close(c);
}

TEST_F(Bmp, LinesInPlace) {
    expect_lines_in_place(path("a.bmp"), RZL_STANDARD_BMP, "2bzz0a");
}

// Raw lines go to a file that is only written many at a time, whatever their order; a file that is also read keeps them
// to its close. Both are the same in the end, with zeros for a line that does not come.
TEST_F(Bmp, LinesInAnyOrder) {
    constexpr int WIDTH = 20001;
    constexpr int HEIGHT = 40; // several blocks
    const bytes_of_file pixels = some_samples(size_t{WIDTH} * HEIGHT, 256, 5);
    for (int orientation : {4, 6})
        for (int step : {1, HEIGHT - 1, 7, 2}) { // on, back, all of them in leaps, every other one
            bytes_of_file files[2];
            for (bool read : {false, true}) {
                CFILE* c =
                    new_file(path("a.bmp"), 4, 2, WIDTH, HEIGHT, {{9, orientation}}, read ? rzl_open_wr : rzl_open_w);
                for (int i = 0, y = 0; i < HEIGHT && (step != 2 || i < HEIGHT / 2); ++i, y = (y + step) % HEIGHT) {
                    ASSERT_EQ(rzl_write_header(c) + rzl_seek(c, y), 0);
                    ASSERT_EQ(rzl_putline(c, &pixels[static_cast<size_t>(y) * WIDTH]), 0);
                }
                ASSERT_EQ(rzl_finish(c), 0u);
                files[read ? 1 : 0] = read_bytes(path("a.bmp"));
            }
            EXPECT_EQ(files[0].size(), 1078u + size_t{20004} * HEIGHT);
            EXPECT_TRUE(files[0] == files[1]) << orientation << " " << step;
        }
}

TEST_F(Bmp, EveryFailureHasItsStatus) {
    expect_sweeps(4, 29, 50, 9, some_samples(450, 200, 3), some_table(256));
    expect_sweeps(4, 28, 50, 9, some_samples(1350, 256, 3));
}
