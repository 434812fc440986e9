// PCX files: headers and run codes byte by byte, both palettes, planes, lines of runs, and bad input.
#include "formats_fixture.h"

using Pcx = FormatTest;

namespace {

struct pcx_parts {
    int version = 5, encoding = 1, bits = 8, planes = 1, width = 3, height = 2, bytes_per_line = 4;
    int across = 0, down = 0;
    bytes_of_file palette; // of the header
    bytes_of_file lines, behind;

    bytes_of_file file() const {
        bytes_made b;
        b.number(10, 1).number(version, 1).number(encoding, 1).number(bits, 1);
        b.u16(10).u16(20).u16(10 + width - 1).u16(20 + height - 1).u16(across).u16(down);
        b.bytes(palette).fill(64 - b.made.size()).number(0, 1).number(planes, 1).u16(bytes_per_line);
        return b.fill(128 - b.made.size()).bytes(lines).bytes(behind).made;
    }
};

bytes_of_file long_palette() {
    bytes_of_file b = {12};
    for (int i = 0; i < 256; ++i)
        for (int p = 0; p < 3; ++p)
            b.push_back(static_cast<uint8_t>(i + p));
    return b;
}

const bytes_of_file COLORS = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24};

} // namespace

TEST_F(Pcx, TheBytesOfAFile) {
    const auto head = [](int bits, int width, int planes, int bytes, const bytes_of_file& palette, int dots) {
        bytes_made b;
        b.bytes({10, 5, 1}).number(bits, 1).u16(0).u16(0).u16(width - 1).u16(0).u16(dots).u16(dots).bytes(palette);
        return b.number(0, 1).number(planes, 1).u16(bytes).fill(60).made;
    };
    bytes_of_file ramp, bilevel = {0, 0, 0, 255, 255, 255};
    for (int i = 0; i < 48; ++i)
        ramp.push_back(static_cast<uint8_t>(i / 3 * 16));
    bilevel.insert(bilevel.end(), ramp.begin() + 6, ramp.end());
    struct {
        const char* what;
        int format, width;
        bytes_of_file pixels;
        field_values fields;
        bytes_of_file header, lines;
        size_t trailer;
    } cases[] = {
        {"bytes", 2, 3, {7, 7, 9}, {{8, -100}}, head(8, 3, 1, 4, ramp, 100), {0xC2, 7, 9, 0}, 769},
        {"counts for high values",
         29,
         4,
         {0xBF, 0xC0, 0xFF, 0xFF},
         {},
         head(8, 4, 1, 4, ramp, 0),
         {0xBF, 0xC1, 0xC0, 0xC2, 0xFF},
         769},
        {"126 of a kind", 29, 126, bytes_of_file(126, 5), {}, head(8, 126, 1, 126, ramp, 0), {0xFF, 5, 0xFF, 5}, 769},
        {"planes", 28, 2, {1, 2, 3, 1, 2, 4}, {}, head(8, 2, 3, 2, ramp, 0), {0xC2, 1, 0xC2, 2, 3, 4}, 0},
        {"bits", 1, 9, {0x00, 0x80, 0x00, 0x80}, {}, head(1, 9, 1, 2, bilevel, 0), {0x80, 0x00}, 0},
    };
    cases[4].pixels = {0x80, 0x80};
    cases[4].lines = {0xC2, 0x80}; // pixels 0 and 8, a byte each
    for (const auto& k : cases) {
        SCOPED_TRACE(k.what);
        ASSERT_EQ(write_picture(path("a.pcx"), 5, k.format, k.width, 1, k.pixels, k.fields), 0u);
        const bytes_of_file b = read_bytes(path("a.pcx"));
        ASSERT_EQ(b.size(), 128 + k.lines.size() + k.trailer);
        EXPECT_EQ(bytes_of_file(b.begin(), b.begin() + 128), k.header);
        EXPECT_EQ(bytes_of_file(b.begin() + 128, b.end() - static_cast<long>(k.trailer)), k.lines);
        if (k.trailer == 0) continue;
        EXPECT_TRUE(b[b.size() - 769] == 12 && b[b.size() - 768] == 0 && b.back() == 255);
    }
}

TEST_F(Pcx, WhatIsWrittenIsRead) {
    for (auto [width, format, values] :
         {std::tuple(1, 29, 256), {99, 29, 256}, {1000, 29, 2}, {1, 27, 256}, {64, 27, 9}, {99, 28, 256}}) {
        SCOPED_TRACE(std::to_string(width) + " format " + std::to_string(format));
        const bool triples = format_is_color(format);
        const bytes_of_file pixels = some_samples(static_cast<size_t>(width) * 11 * (triples ? 3 : 1), values, 4);
        const color_table table = some_table(values);
        ASSERT_EQ(write_picture(path("a.pcx"), 5, format, width, 11, pixels, {}, triples ? color_table() : table), 0u);
        const picture p = read_picture(path("a.pcx"));
        EXPECT_TRUE(p.status == 0 && p.format == (triples ? 27 : 29) && p.entries == (triples ? 0 : 256));
        EXPECT_TRUE(p.colors == (triples ? pixels : looked_up(pixels, table)));
        EXPECT_TRUE(triples || p.values == pixels);
        expect_seeks(path("a.pcx"));
    }
    // Pixels of 12 where a palette's mark would be looked for are left alone.
    ASSERT_EQ(write_picture(path("a.pcx"), 5, 29, 2, 500, bytes_of_file(some_samples(1000, 1, 1).size(), 12)), 0u);
    EXPECT_EQ(read_bytes(path("a.pcx")).size(), 128u + 1000 + 769);
    bytes_of_file apart;
    for (int i = 0; i < 1000; ++i)
        apart.push_back(i % 2 == 0 ? 12 : 13);
    ASSERT_EQ(write_picture(path("a.pcx"), 5, 29, 2, 500, apart), 0u);
    EXPECT_TRUE(read_picture(path("a.pcx")).values == apart && read_bytes(path("a.pcx")).size() == 128u + 1000 + 769);
}

TEST_F(Pcx, LayoutsAndPalettes) {
    const bytes_of_file no_palette;
    struct {
        const char* what;
        pcx_parts parts;
        int format, entries;
        bytes_of_file colors;
        int extended_format;
        bytes_of_file extended; // empty: the same
    } cases[] = {
        {"the long palette",
         {5, 1, 8, 1, 3, 2, 4, 0, 0, COLORS, {1, 0xC2, 2, 0, 0xC4, 9}, long_palette()},
         29,
         256,
         {1, 2, 3, 2, 3, 4, 2, 3, 4, 9, 10, 11, 9, 10, 11, 9, 10, 11},
         29,
         {}},
        {"no long palette", {5, 1, 8, 1, 2, 1, 2, 0, 0, COLORS, {0, 1}, {}}, 29, 16, {1, 2, 3, 4, 5, 6}, 29, {}},
        {"an old version",
         {3, 1, 8, 1, 2, 1, 2, 0, 0, COLORS, {0, 1}, long_palette()},
         29,
         16,
         {1, 2, 3, 4, 5, 6},
         29,
         {}},
        {"raw bytes", {5, 0, 8, 1, 2, 1, 2, 0, 0, COLORS, {0, 1}, {}}, 2, 16, {1, 2, 3, 4, 5, 6}, 2, {}},
        {"bits",
         {5, 1, 1, 1, 9, 1, 2, 0, 0, COLORS, {0x40, 0x80}, {}},
         9,
         16,
         {1, 2, 3, 4, 5, 6, 1, 2, 3, 1, 2, 3, 1, 2, 3, 1, 2, 3, 1, 2, 3, 1, 2, 3, 4, 5, 6},
         9,
         {}},
        {"bits with an empty palette",
         {5, 1, 1, 1, 2, 1, 2, 0, 0, {}, {0x40, 0}, {}},
         9,
         16,
         {0, 0, 0, 0, 0, 0},
         9,
         {0, 0, 0, 255, 255, 255}},
        {"raw bits", {5, 0, 1, 1, 2, 1, 2, 0, 0, COLORS, {0x40, 0}, {}}, 1, 16, {1, 2, 3, 4, 5, 6}, 1, {}},
        {"nibbles",
         {5, 1, 4, 1, 3, 1, 2, 0, 0, COLORS, {0x12, 0x30}, {}},
         2,
         16,
         {4, 5, 6, 7, 8, 9, 10, 11, 12},
         2,
         {}},
        {"three planes, a run across them",
         {5, 1, 8, 3, 2, 1, 2, 0, 0, no_palette, {0xC3, 1, 2, 3, 4}, {}},
         27,
         0,
         {1, 1, 3, 1, 2, 4},
         27,
         {}},
        {"three raw planes",
         {5, 0, 8, 3, 2, 1, 2, 0, 0, no_palette, {1, 2, 3, 4, 5, 6}, {}},
         27,
         0,
         {1, 3, 5, 2, 4, 6},
         27,
         {}},
        {"a fourth plane is passed over",
         {5, 1, 8, 4, 1, 2, 2, 0, 0, no_palette, {1, 0, 2, 0, 3, 0, 9, 9, 4, 0, 5, 0, 6, 0, 9, 9}, {}},
         27,
         0,
         {1, 2, 3, 4, 5, 6},
         27,
         {}},
        {"bits of four planes",
         {5, 1, 1, 4, 2, 1, 2, 0, 0, COLORS, {0x40, 0, 0x80, 0, 0x40, 0, 0, 0}, {}},
         27,
         0,
         {0, 128, 0, 128, 0, 128},
         29,
         {7, 8, 9, 16, 17, 18}},
    };
    for (const auto& k : cases) {
        SCOPED_TRACE(k.what);
        write_bytes(path("a.pcx"), k.parts.file());
        picture p = read_picture(path("a.pcx"));
        EXPECT_EQ(p.status, 0u);
        EXPECT_TRUE(p.format == k.format && p.entries == k.entries) << p.format << " " << p.entries;
        EXPECT_EQ(p.colors, k.colors);
        extended_guard extended(true);
        p = read_picture(path("a.pcx"));
        EXPECT_EQ(p.format, k.extended_format);
        EXPECT_EQ(p.colors, k.extended.empty() ? k.colors : k.extended);
    }
    // A run of no bytes is none.
    pcx_parts t;
    t.lines = {0xC0, 7, 1, 2, 3, 0, 4, 5, 6, 0};
    write_bytes(path("a.pcx"), t.file());
    EXPECT_EQ(read_picture(path("a.pcx")).values, bytes_of_file({1, 2, 3, 4, 5, 6}));
}

TEST_F(Pcx, Fields) {
    pcx_parts t;
    t.lines.assign(8, 0);
    t.across = 300;
    t.down = 200;
    t.behind = long_palette();
    write_bytes(path("a.pcx"), t.file());
    CFILE* c = rzl_open_r(path("a.pcx").c_str());
    double aspect = 0;
    rzl_vlt_entry vlt[256];
    EXPECT_TRUE(rzl_get_hdr_data(c, 26, &aspect) == 0 && aspect == 1.5);
    EXPECT_TRUE(field_of(c, 8) == -300 && field_of(c, 9) == 4 && field_of(c, 501) == 1 && field_of(c, 5) == 2);
    EXPECT_TRUE(rzl_get_vlt(c, vlt) == 0 && vlt[255].red == 0xFF00 && vlt[255].green == 0);
    rzl_close(c);
    // A table of few colours is announced as the short palette, and written as the long one.
    const color_table table = some_table(16);
    c = new_file(path("a.pcx"), 5, 2, 1, 1, {{6, 3}});
    EXPECT_EQ(field_of(c, 6), 16);
    rzl_put_vlt(c, table.data());
    EXPECT_EQ(rzl_write_header(c), 0);
    EXPECT_TRUE(rzl_get_vlt(c, vlt) == 0 && vlt[2].red == table[2].red && vlt[3].red == 0);
    EXPECT_TRUE(rzl_putline(c, "\2") == 0 && rzl_finish(c) == 0);
    const picture p = read_picture(path("a.pcx"));
    EXPECT_TRUE(p.entries == 256 && p.colors == looked_up({2}, table));
}

// Bilevel lines as runs, both ways, and with a buffer that is too small.
TEST_F(Pcx, LinesOfRuns) {
    constexpr int WIDTH = 40000;
    const std::vector<uint16_t> lines[] = {{3, 39997, 0}, {0, 32767, 0, 7233, 0}, {WIDTH}, {1, 1, 1, 1, WIDTH - 4}};
    std::vector<uint16_t> split[4] = {
        {3, 32767, 0, 7230, 0}, {0, 32767, 0, 7233, 0}, {32767, 0, 7233}, {1, 1, 1, 1, 32767, 0, 7229}};
    CFILE* c = new_file(path("a.pcx"), 5, 9, WIDTH, 4, {}, rzl_open_wr);
    for (const auto& line : lines)
        EXPECT_EQ(rzl_put_rle_line(c, line.data(), static_cast<int32_t>(line.size() * 2)), 0);
    EXPECT_EQ(rzl_finish(c), 0u);
    c = rzl_open_r(path("a.pcx").c_str());
    for (const auto& line : split) {
        uint16_t runs[16] = {};
        int32_t size = 2;
        EXPECT_TRUE(rzl_get_rle_line(c, runs, &size) == 1 && c->status == RZL_RLE_BUFFER_SMALL && size >= 6);
        size = sizeof runs;
        ASSERT_EQ(rzl_get_rle_line(c, runs, &size), 0);
        EXPECT_EQ(std::vector<uint16_t>(runs, runs + size / 2), line);
    }
    rzl_close(c);
    c = new_file(path("a.pcx"), 5, 9, 8, 1);
    const uint16_t wrong[] = {3, 6, 0};
    EXPECT_TRUE(rzl_put_rle_line(c, wrong, 6) == 1 && c->status == RZL_BAD_FIELD_VALUE);
    rzl_close(c);
    c = new_file(path("a.pcx"), 5, 2, 8, 1);
    EXPECT_TRUE(rzl_put_rle_line(c, wrong, 6) == 1 && c->status == RZL_UNSUP_PCX);
    rzl_close(c);
}

TEST_F(Pcx, BadInput) {
    pcx_parts t;
    t.lines = {1, 2, 3, 0, 0xC4, 9};
    const bytes_of_file good = t.file();
    expect_refused(good, {
                             {"version", 1, {1}, RZL_READ_FAILED},
                             {"bits", 3, {3}, RZL_READ_FAILED},
                             {"five planes", 65, {5}, RZL_UNSUP_PCX},
                             {"two planes", 65, {2}, RZL_UNSUP_PCX},
                             {"no planes", 65, {0}, RZL_UNSUP_PCX},
                             {"a window from right to left", 8, {9, 0}, RZL_READ_FAILED},
                             {"a window from the bottom up", 10, {19, 0}, RZL_READ_FAILED},
                             {"a width that the bytes of a line don't hold", 8, {14, 0}, RZL_READ_FAILED},
                             {"no bytes in a line", 66, {0, 0}, RZL_READ_FAILED},
                             {"lines that are not there", 10, {0xFF, 0xFF}, RZL_READ_FAILED},
                             {"three planes that are not there", 65, {3}, RZL_READ_FAILED},
                         });
    expect_cut_tells(good, 128, good.size());
    t.encoding = 0;
    t.lines.assign(8, 1);
    expect_cut_tells(t.file(), 128, t.file().size());
}

TEST_F(Pcx, WritingIsRefused) {
    EXPECT_EQ(new_file(path("a.pcx"), 5, 69, 1, 1), nullptr);
    EXPECT_EQ(last_status(), RZL_UNSUP_PCX);
    for (auto [width, height] : {std::pair(0, 1), {65535, 1}, {1, 65537}}) {
        CFILE* c = new_file(path("a.pcx"), 5, 2, width, height);
        EXPECT_TRUE(rzl_write_header(c) == 1 && c->status == RZL_BAD_IMAGE_SIZE) << width;
        rzl_close(c);
    }
    CFILE* c = new_file(path("a.pcx"), 5, 2, 2, 2, {{501, 0}, {9, 6}}, rzl_open_wr);
    EXPECT_TRUE(field_of(c, 501) == 1 && field_of(c, 9) == 4);
    EXPECT_TRUE(rzl_putline3(c, "ab", "ab", "ab") == 1 && c->status == RZL_UNSUP_PCX);
    EXPECT_TRUE(rzl_rewind(c) == 0 && rzl_putline(c, "ab") == 0 && rzl_putline(c, nullptr) == 0);
    EXPECT_EQ(rzl_rewind(c), 0);
    EXPECT_EQ(read_lines(c).values, bytes_of_file({'a', 'b', 0, 0}));
    EXPECT_TRUE(rzl_seek(c, 0) == 0 && rzl_putline(c, "xx") == 1 && c->status == RZL_MODIFY_COMPRESSED);
    EXPECT_EQ(rzl_finish(c), 0u);
    EXPECT_EQ(read_picture(path("a.pcx")).values, bytes_of_file({'a', 'b', 0, 0}));
}

TEST_F(Pcx, EveryFailureHasItsStatus) {
    expect_sweeps(5, 29, 50, 9, some_samples(450, 200, 3), some_table(256));
    expect_sweeps(5, 27, 50, 9, some_samples(1350, 256, 3));
}
