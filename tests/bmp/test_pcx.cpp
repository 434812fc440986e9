// PCX files: headers and run codes byte by byte, both palettes, planes, lines of runs, and bad input.
#include "raster/formats_fixture.h"

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

const bytes_of_file COLORS = hex("010203 040506 070809 0A0B0C 0D0E0F 101112 131415 161718");

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
        bytes_of_file header;
        const char* lines;
        long trailer;
    } cases[] = {
        {"bytes", 2, 3, {7, 7, 9}, {{8, -100}}, head(8, 3, 1, 4, ramp, 100), "C207 09 00", 769},
        {"counts for high values", 29, 4, hex("BFC0FFFF"), {}, head(8, 4, 1, 4, ramp, 0), "BF C1C0 C2FF", 769},
        {"126 of a kind", 29, 126, bytes_of_file(126, 5), {}, head(8, 126, 1, 126, ramp, 0), "FF05 FF05", 769},
        {"planes", 28, 2, {1, 2, 3, 1, 2, 4}, {}, head(8, 2, 3, 2, ramp, 0), "C201 C202 03 04", 0},
        {"bits: pixels 0 and 8, a byte each", 1, 9, {0x80, 0x80}, {}, head(1, 9, 1, 2, bilevel, 0), "C280", 0},
    };
    for (const auto& k : cases) {
        SCOPED_TRACE(k.what);
        ASSERT_EQ(write_picture(path("a.pcx"), 5, k.format, k.width, 1, k.pixels, k.fields), 0u);
        const bytes_of_file b = read_bytes(path("a.pcx"));
        const size_t lines = b.size() - 128 - static_cast<size_t>(k.trailer);
        EXPECT_EQ(part(b, 0, 128), k.header);
        EXPECT_EQ(part(b, 128, lines), hex(k.lines));
        EXPECT_TRUE(k.trailer == 0 || (b[b.size() - 769] == 12 && b[b.size() - 768] == 0 && b.back() == 255));
    }
    // Planes have no palette, whatever table is given.
    ASSERT_EQ(write_picture(path("a.pcx"), 5, 28, 2, 1, {1, 2, 3, 1, 2, 4}, {{6, 16}}, some_table(16)), 0u);
    EXPECT_EQ(part(read_bytes(path("a.pcx")), 16, 48), ramp);
    // Pixels of 12 where a palette's mark would be looked for are left alone.
    for (uint8_t other : {uint8_t{12}, uint8_t{13}}) {
        bytes_of_file pixels(1000, 12);
        for (size_t i = 1; i < 1000; i += 2)
            pixels[i] = other;
        ASSERT_EQ(write_picture(path("a.pcx"), 5, 29, 2, 500, pixels), 0u);
        EXPECT_TRUE(read_picture(path("a.pcx")).values == pixels);
        EXPECT_EQ(read_bytes(path("a.pcx")).size(), 128u + 1000 + 769);
    }
}

TEST_F(Pcx, LayoutsAndPalettes) {
    struct layout {
        const char* what;
        int version, encoding, bits, planes, width, height, bytes_per_line, extended_format;
        bytes_of_file palette, behind;
        const char* lines;
        int format, entries;
        const char *colors, *extended; // null: the same
    };
    const bytes_of_file none, palette = long_palette();
    const layout cases[] = {
        {"the long palette", 5, 1, 8, 1, 3, 2, 4, 29, COLORS, palette, "01 C202 00 C409", 29, 256,
         "010203 020304 020304 090A0B 090A0B 090A0B", nullptr},
        {"no long palette", 5, 1, 8, 1, 2, 1, 2, 29, COLORS, none, "0001", 29, 16, "010203 040506", nullptr},
        {"an old version", 3, 1, 8, 1, 2, 1, 2, 29, COLORS, palette, "0001", 29, 16, "010203 040506", nullptr},
        {"raw bytes", 5, 0, 8, 1, 2, 1, 2, 2, COLORS, none, "0001", 2, 16, "010203 040506", nullptr},
        {"bits", 5, 1, 1, 1, 9, 1, 2, 9, COLORS, none, "4080", 9, 16,
         "010203 040506 010203 010203 010203 010203 010203 010203 040506", nullptr},
        {"bits with an empty palette", 5, 1, 1, 1, 2, 1, 2, 9, none, none, "4000", 9, 16, "000000 000000",
         "000000 FFFFFF"},
        {"raw bits", 5, 0, 1, 1, 2, 1, 2, 1, COLORS, none, "4000", 1, 16, "010203 040506", nullptr},
        {"nibbles", 5, 1, 4, 1, 3, 1, 2, 2, COLORS, none, "1230", 2, 16, "040506 070809 0A0B0C", nullptr},
        {"three planes, a run across them", 5, 1, 8, 3, 2, 1, 2, 27, none, none, "C301 02 03 04", 27, 0,
         "010103 010204", nullptr},
        {"three raw planes", 5, 0, 8, 3, 2, 1, 2, 27, none, none, "0102 0304 0506", 27, 0, "010305 020406", nullptr},
        {"a fourth plane is passed over", 5, 1, 8, 4, 1, 2, 2, 27, none, none,
         "0100 0200 0300 0909 0400 0500 0600 0909", 27, 0, "010203 040506", nullptr},
        {"bits of four planes", 5, 1, 1, 4, 2, 1, 2, 29, COLORS, none, "4000 8000 4000 0000", 27, 0, "008000 800080",
         "070809 101112"},
    };
    for (const layout& k : cases) {
        SCOPED_TRACE(k.what);
        const pcx_parts parts = {k.version,        k.encoding, k.bits, k.planes,  k.width,      k.height,
                                 k.bytes_per_line, 0,          0,      k.palette, hex(k.lines), k.behind};
        picture p = read_made(parts.file());
        EXPECT_EQ(p.status, 0u);
        EXPECT_TRUE(p.format == k.format && p.entries == k.entries) << p.format << " " << p.entries;
        EXPECT_EQ(p.colors, hex(k.colors));
        extended_guard extended(true);
        p = read_made(parts.file());
        EXPECT_EQ(p.format, k.extended_format);
        EXPECT_EQ(p.colors, hex(k.extended == nullptr ? k.colors : k.extended));
    }
    // A run of no bytes is none.
    pcx_parts t;
    t.lines = hex("C007 010203 00 040506 00");
    EXPECT_EQ(read_made(t.file()).values, hex("010203 040506"));
}

TEST_F(Pcx, Fields) {
    pcx_parts t;
    t.lines.assign(8, 0);
    t.across = 300;
    t.down = 200;
    t.behind = long_palette();
    CFILE* c = open_made(t.file());
    rzl_vlt_entry vlt[256];
    EXPECT_EQ(number_of(c, 26), 1.5);
    expect_fields(c, {{8, -300}, {9, 4}, {501, 1}, {5, 2}});
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
    for (const auto& line : split)
        EXPECT_EQ(next_runs(c), line);
    rzl_close(c);
    const uint16_t wrong[] = {3, 6, 0};
    for (auto [format, status] : {std::pair(9, RZL_BAD_FIELD_VALUE), {2, RZL_UNSUP_PCX}}) {
        c = new_file(path("a.pcx"), 5, format, 8, 1);
        EXPECT_EQ(refusal(c, rzl_put_rle_line(c, wrong, 6)), status);
        rzl_close(c);
    }
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
    expect_cuts_tell(good, 128, good.size());
    t.encoding = 0;
    t.lines.assign(8, 1);
    expect_cuts_tell(t.file(), 128, t.file().size());
}

TEST_F(Pcx, WritingIsRefused) {
    EXPECT_EQ(refused(new_file(path("a.pcx"), 5, 69, 1, 1)), RZL_UNSUP_PCX);
    CFILE* c = new_file(path("a.pcx"), 5, 2, 2, 2, {{501, 0}, {9, 6}}, rzl_open_wr);
    expect_fields(c, {{501, 1}, {9, 4}});
    EXPECT_EQ(refusal(c, rzl_putline3(c, "ab", "ab", "ab")), RZL_UNSUP_PCX);
    EXPECT_TRUE(rzl_rewind(c) == 0 && rzl_putline(c, "ab") == 0 && rzl_putline(c, nullptr) == 0);
    EXPECT_EQ(rzl_finish(c), 0u);
    EXPECT_EQ(read_picture(path("a.pcx")).values, bytes_of_file({'a', 'b', 0, 0}));
}
