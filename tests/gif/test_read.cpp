// GIF files made by hand: what is read of their structure, tables and codings, and what damaged ones get.
#include "gif_fixture.h"

#include "common/run.h"
#include "raster/GIF/gif.h"

class GifRead : public FormatTest {
protected:
    picture read(const gif_parts& parts) { return read_made(parts.file()); }
};

namespace {

// A file with a table of 2 to `bits` colours.
gif_parts make_parts(int width, int height, int bits, const bytes_of_file& pixels) {
    gif_parts g;
    g.width = width;
    g.height = height;
    g.screen_packed = 0x80 + bits - 1;
    g.table = random_bytes(size_t{3} << bits, 256, 1);
    g.code_size = std::max(bits, 2);
    g.data = code_pixels(pixels, g.code_size, false);
    return g;
}

bytes_of_file colors_of(const bytes_of_file& pixels, const bytes_of_file& table) {
    bytes_of_file out;
    for (uint8_t p : pixels)
        out.insert(out.end(), table.begin() + p * 3, table.begin() + p * 3 + 3);
    return out;
}

} // namespace

TEST_F(GifRead, EveryTableSize) {
    for (int bits = 1; bits <= 8; ++bits) {
        bytes_of_file pixels = some_pixels(61, 43, 1 << bits, 5);
        gif_parts g = make_parts(61, 43, bits, pixels);
        picture p = read(g);
        EXPECT_TRUE(p.status == 0 && !p.damaged) << bits;
        EXPECT_EQ(pixels_of(p), pixels) << bits;
        EXPECT_EQ(p.colors, colors_of(pixels, g.table)) << bits;
        EXPECT_TRUE(p.format == (bits == 1 ? 9 : 29) && p.bits == bits && p.entries == 1 << bits) << bits;
    }
}

TEST_F(GifRead, AbsentAndLocalTables) {
    bytes_of_file pixels = some_pixels(9, 9, 16, 6);
    gif_parts g = make_parts(9, 9, 4, pixels);
    g.image_packed = 0x83;
    g.local_table = random_bytes(48, 256, 9);
    g.screen_packed = 0x80; // the table of the screen is the smaller one
    g.table.resize(6);
    picture p = read(g);
    EXPECT_EQ(p.colors, colors_of(pixels, g.local_table));
    EXPECT_TRUE(p.entries == 16 && p.bits == 4 && p.format == 29);

    g = make_parts(9, 9, 4, pixels);
    g.screen_packed = 3;
    g.table.clear();
    p = read(g);
    bytes_of_file grey(48);
    for (size_t i = 0; i < grey.size(); ++i)
        grey[i] = static_cast<uint8_t>(i / 3);
    EXPECT_EQ(p.colors, colors_of(pixels, grey));
    EXPECT_TRUE(p.entries == 0 && p.bits == 4 && p.format == 29);
}

TEST_F(GifRead, ColoursPastTheTableAreGrey) {
    gif_parts g = make_parts(2, 1, 2, {});
    g.code_size = 8;
    g.data = code_pixels({4, 200}, 8, false);
    EXPECT_EQ(read(g).colors, bytes_of_file({4, 4, 4, 200, 200, 200}));
    CFILE* c = rzl_open_r(path("made").c_str());
    color_table entries(256, rzl_vlt_entry{9999, 1, 2, 3});
    EXPECT_EQ(rzl_get_vlt(c, entries.data()), 0);
    EXPECT_TRUE(entries[3].slot == 3 && entries[3].green == g.table[10] * 256);
    EXPECT_TRUE(entries[4].slot == 4 && entries[4].red == 1 && entries[254].slot == 254 && entries[255].slot == 9999);
    rzl_close(c);
}

TEST_F(GifRead, InterlacedLinesStandInPasses) {
    for (int height = 1; height < 40; ++height) {
        bytes_of_file stored, expected; // the value of a line is its number
        for (auto [first, step] : {std::pair(0, 8), {4, 8}, {2, 4}, {1, 2}})
            for (int y = first; y < height; y += step)
                stored.push_back(static_cast<uint8_t>(y));
        for (int y = 0; y < height; ++y)
            expected.push_back(static_cast<uint8_t>(y));
        gif_parts g = make_parts(1, height, 8, stored);
        g.image_packed = 0x40;
        EXPECT_EQ(pixels_of(read(g)), expected) << height;
    }
}

TEST_F(GifRead, ExtensionsArePassedOver) {
    gif_parts g = make_parts(4, 2, 3, {1, 2, 3, 4, 5, 6, 7, 0});
    for (const char* extension :
         {"21F9 04002C2C00 00",                                  // a control block
          "21FE 032C213B 012C 00",                               // a comment, with a separator in it
          "21FF 0B2C0102030405060708090A 03012C00 00",           // an application's
          "2101 0C2C0000000000000000000000 022C2C 00",           // a plain text
          "2177 022C2C 00", "2177 090807", "003BFF 21FE0000"}) { // unknown, in blocks and not; nothing
        g.before = hex(extension);
        EXPECT_EQ(pixels_of(read(g)), bytes_of_file({1, 2, 3, 4, 5, 6, 7, 0})) << extension;
    }
}

TEST_F(GifRead, CodersDiffer) {
    bytes_of_file pixels = some_pixels(300, 200, 256, 7);
    gif_parts g = make_parts(300, 200, 8, pixels);
    EXPECT_EQ(pixels_of(read(g)), pixels);
    g.data = code_pixels(pixels, 8, true);
    EXPECT_EQ(pixels_of(read(g)), pixels) << "the full table stays";
    g.data = code_pixels(pixels, 8, true, false);
    EXPECT_EQ(pixels_of(read(g)), pixels) << "no clear code at the start";
    bytes_of_file plain(60000, 3);
    g.data = code_pixels(plain, 8, true);
    g.width = 299;
    plain.resize(59800);
    EXPECT_EQ(pixels_of(read(g)), plain) << "strings that overlap what they copy, and a last one that is too long";
    g.data = {0x00, 0x01, 0x02, 0x04, 0x58, 0x20, 0x20}; // 256 four times, 5, 257
    g.width = g.height = 1;
    EXPECT_EQ(pixels_of(read(g)), bytes_of_file({5})) << "clear codes one behind the other";
    bytes_of_file code_1 = {0, 1, 1, 0, 1, 1, 1, 0, 0};
    g = make_parts(3, 3, 1, {});
    g.code_size = 1;
    g.data = code_pixels(code_1, 1, false);
    EXPECT_EQ(pixels_of(read(g)), code_1);
}

TEST_F(GifRead, DamagedFiles) {
    bytes_of_file pixels = some_pixels(50, 40, 256, 8);
    gif_parts g = make_parts(50, 40, 8, pixels);
    const bytes_of_file whole = g.file();
    expect_cuts_tell(whole, 1000, whole.size() - 1);
    gif_parts bad = g;
    for (int code_size : {0, 9, 12, 255}) {
        bad.code_size = code_size;
        EXPECT_EQ(read(bad).status, RZL_READ_FAILED) << code_size;
    }
    bad = g;
    bad.height = 0;
    EXPECT_EQ(read(bad).status, RZL_READ_FAILED);

    // The coding ends early, or begins with a code that can't come first: what is missing is 0, and is told.
    for (const bytes_of_file& start :
         {code_pixels({7, 8, 9}, 8, false), bytes_of_file{0x00, 0x05, 0x02, 0, 0, 0, 0, 0}}) {
        bad = g;
        bad.data = start;
        bad.width = bad.height = 2;
        picture p = read(bad);
        EXPECT_EQ(p.status, 0u);
        EXPECT_TRUE(p.damaged);
        EXPECT_EQ(pixels_of(p), start[1] == 5 ? bytes_of_file(4) : bytes_of_file({7, 8, 9, 0}));
    }
    // A code beyond the table is taken as the next one.
    bad.data = {0x00, 0x0F, 0xFC, 0x0F, 0x08}; // 256, 7, 511, 257
    bad.width = 3;
    bad.height = 1;
    picture p = read(bad);
    EXPECT_TRUE(p.damaged);
    EXPECT_EQ(pixels_of(p), bytes_of_file({7, 7, 7}));
}

TEST_F(GifRead, MemoryIsWhatTheDataCanFill) {
    EXPECT_EQ(read(make_parts(65535, 65535, 2, some_pixels(10, 10, 4, 1))).status, RZL_READ_FAILED);
    EXPECT_LT(gif_lzw_most_pixels(100, 2), 40000u);
    // The bound is never too low: equal pixels are the best that coding can meet.
    for (int code_size : {1, 2, 8})
        for (size_t count : {1u, 100u, 70000u, 300000u})
            EXPECT_GE(gif_lzw_most_pixels(code_pixels(bytes_of_file(count, 1), code_size, true).size(), code_size),
                      count);
}

TEST_F(GifRead, FieldsSeeksAndChannels) {
    bytes_of_file pixels = some_pixels(20, 10, 256, 2);
    CFILE* c = open_made(make_parts(20, 10, 8, pixels).file());
    expect_fields(c, {{5, 2}, {6, 256}, {9, 4}, {400, 0}, {401, 0}, {402, 1}, {501, 1}, {503, 1}, {507, 8}, {506, 1}});
    expect_fields(c, {{31, 8}, {8, 0}, {200, 0}, {500, 2}});
    rzl_stat stat;
    EXPECT_TRUE(number_of(c, 26) == 1.0 && rzl_get_stat(c, &stat) == 0);
    EXPECT_TRUE(stat.xsize == 20 && stat.format == 29 && stat.scan_orientation == 4 && stat.vlt_entries == 256);
    EXPECT_TRUE(stat.compression == 1 && stat.standard == RZL_STANDARD_GIF && stat.bits == 8 && stat.vlt_bits == 8);

    uint8_t line[20];
    EXPECT_EQ(rzl_seek(c, 10), 0);
    EXPECT_EQ(refusal(c, rzl_getline(c, line)), RZL_PAST_END);
    void* two[2] = {line, line};
    EXPECT_EQ(rzl_rewind(c), 0);
    EXPECT_EQ(refusal(c, rzl_getline_channels(c, 2, two)), RZL_UNSUP_TIFF);
    EXPECT_EQ(rzl_set_squetch(c, 5, 5, 0), 0);
    EXPECT_TRUE(rzl_seek(c, 2) == 0 && rzl_getline(c, line) == 0);
    EXPECT_TRUE(line[0] == pixels[4 * 20] && line[4] == pixels[4 * 20 + 16]);
    EXPECT_EQ(refusal(c, c->slots.Seek(c, 5)), RZL_PAST_END);
    rzl_close(c);
}

// That the files made here are what others take for GIF: tables of both kinds, and a table of strings that stays full.
TEST_F(GifRead, PeersReadTheSameOfHandMadeFiles) {
    NEEDS_PROGRAM("giftopnm");
    for (bool global : {false, true}) {
        gif_parts g;
        g.width = 120;
        g.height = 90;
        g.screen_packed = global ? 0x82 : 0;
        if (global) g.table = random_bytes(24, 256, 22);
        g.image_packed = 0x85;
        g.local_table = random_bytes(192, 256, 23);
        g.code_size = 6;
        g.data = code_pixels(some_pixels(120, 90, 64, 21), 6, true);
        const bytes_of_file colors = read(g).colors;
        EXPECT_TRUE(run_command(directory, "giftopnm made >one.pnm && convert one.pnm -depth 8 rgb:one && "
                                           "convert 'gif:made[0]' -alpha off -depth 8 rgb:two")
                        .ok());
        EXPECT_TRUE(read_bytes(path("one")) == colors && read_bytes(path("two")) == colors);
    }
}
