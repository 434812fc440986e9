// GIF files made by hand: what is read of their structure, tables and codings, and what damaged ones get.
#include "gif_fixture.h"

#include "raster/GIF/gif.h"
#include "raster/sweep.h"

class GifRead : public GifTest {
protected:
    picture_read read(const bytes_of_file& file) {
        write_bytes(path("r.gif"), file);
        return read_gif(path("r.gif"));
    }
    picture_read read(const gif_parts& parts) { return read(parts.file()); }
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
        picture_read p = read(g);
        EXPECT_TRUE(p.status == 0 && !p.damaged) << bits;
        EXPECT_EQ(p.pixels, pixels) << bits;
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
    picture_read p = read(g);
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
    CFILE* c = rzl_open_r(path("r.gif").c_str());
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
        EXPECT_EQ(read(g).pixels, expected) << height;
    }
}

TEST_F(GifRead, ExtensionsArePassedOver) {
    gif_parts g = make_parts(4, 2, 3, {1, 2, 3, 4, 5, 6, 7, 0});
    const bytes_of_file extensions[] = {
        {0x21, 0xF9, 4, 0, 0x2C, 0x2C, 0, 0},
        {0x21, 0xFE, 3, 0x2C, 0x21, 0x3B, 1, 0x2C, 0},
        {0x21, 0xFF, 11, 0x2C, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 3, 1, 0x2C, 0, 0},
        {0x21, 0x01, 12, 0x2C, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 0x2C, 0x2C, 0},
        {0x21, 0x77, 2, 0x2C, 0x2C, 0},       // unknown, in blocks
        {0x21, 0x77, 9, 8, 7},                // unknown, not in blocks
        {0x00, 0x3B, 0xFF, 0x21, 0xFE, 0, 0}, // bytes without a meaning
    };
    for (const bytes_of_file& extension : extensions) {
        g.before = extension;
        EXPECT_EQ(read(g).pixels, bytes_of_file({1, 2, 3, 4, 5, 6, 7, 0})) << int{extension[1]};
    }
}

TEST_F(GifRead, CodersDiffer) {
    bytes_of_file pixels = some_pixels(300, 200, 256, 7);
    gif_parts g = make_parts(300, 200, 8, pixels);
    EXPECT_EQ(read(g).pixels, pixels);
    g.data = code_pixels(pixels, 8, true);
    EXPECT_EQ(read(g).pixels, pixels) << "the full table stays";
    g.data = code_pixels(pixels, 8, true, false);
    EXPECT_EQ(read(g).pixels, pixels) << "no clear code at the start";
    bytes_of_file plain(60000, 3);
    g.data = code_pixels(plain, 8, true);
    g.width = 299;
    plain.resize(59800);
    EXPECT_EQ(read(g).pixels, plain) << "strings that overlap what they copy, and a last one that is too long";
    g.data = {0x00, 0x01, 0x02, 0x04, 0x58, 0x20, 0x20}; // 256 four times, 5, 257
    g.width = g.height = 1;
    EXPECT_EQ(read(g).pixels, bytes_of_file({5})) << "clear codes one behind the other";
    bytes_of_file code_1 = {0, 1, 1, 0, 1, 1, 1, 0, 0};
    g = make_parts(3, 3, 1, {});
    g.code_size = 1;
    g.data = code_pixels(code_1, 1, false);
    EXPECT_EQ(read(g).pixels, code_1);
}

TEST_F(GifRead, DamagedFiles) {
    bytes_of_file pixels = some_pixels(50, 40, 256, 8);
    gif_parts g = make_parts(50, 40, 8, pixels);
    const bytes_of_file whole = g.file();
    for (size_t size = 6; size + 1 < whole.size(); size += size < 1000 ? 1 : 13) {
        picture_read p = read(bytes_of_file(whole.begin(), whole.begin() + static_cast<long>(size)));
        EXPECT_EQ(p.status, RZL_READ_FAILED) << size;
    }
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
        picture_read p = read(bad);
        EXPECT_EQ(p.status, 0u);
        EXPECT_TRUE(p.damaged);
        EXPECT_EQ(p.pixels, start[1] == 5 ? bytes_of_file(4) : bytes_of_file({7, 8, 9, 0}));
    }
    // A code beyond the table is taken as the next one.
    bad.data = {0x00, 0x0F, 0xFC, 0x0F, 0x08}; // 256, 7, 511, 257
    bad.width = 3;
    bad.height = 1;
    picture_read p = read(bad);
    EXPECT_TRUE(p.damaged);
    EXPECT_EQ(p.pixels, bytes_of_file({7, 7, 7}));
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
    write_bytes(path("f.gif"), make_parts(20, 10, 8, pixels).file());
    CFILE* c = rzl_open_r(path("f.gif").c_str());
    ASSERT_NE(c, nullptr);
    const int32_t answers[][2] = {{5, 2},   {6, 256}, {9, 4},   {400, 0}, {401, 0}, {402, 1}, {501, 1},
                                  {503, 1}, {507, 8}, {506, 1}, {31, 8},  {8, 0},   {200, 0}, {500, 2}};
    for (const auto& answer : answers)
        EXPECT_EQ(field_of(c, answer[0]), answer[1]) << answer[0];
    double aspect = 0;
    rzl_stat stat;
    EXPECT_TRUE(rzl_get_hdr_data(c, 26, &aspect) == 0 && rzl_get_stat(c, &stat) == 0 && aspect == 1.0);
    EXPECT_TRUE(stat.xsize == 20 && stat.format == 29 && stat.scan_orientation == 4 && stat.vlt_entries == 256);
    EXPECT_TRUE(stat.compression == 1 && stat.standard == RZL_STANDARD_GIF && stat.bits == 8 && stat.vlt_bits == 8);

    uint8_t line[20];
    for (int y : {9, 0, 5}) {
        EXPECT_TRUE(rzl_seek(c, y) == 0 && rzl_getline(c, line) == 0);
        EXPECT_TRUE(std::equal(line, line + 20, pixels.begin() + y * 20)) << y;
    }
    EXPECT_TRUE(rzl_seek(c, 10) == 0 && rzl_getline(c, line) == 1 && c->status == RZL_PAST_END);
    void* two[2] = {line, line};
    EXPECT_TRUE(rzl_rewind(c) == 0 && rzl_getline_channels(c, 2, two) == 1 && c->status == RZL_UNSUP_TIFF);
    EXPECT_EQ(rzl_set_squetch(c, 5, 5, 0), 0);
    EXPECT_TRUE(rzl_seek(c, 2) == 0 && rzl_getline(c, line) == 0);
    EXPECT_TRUE(line[0] == pixels[4 * 20] && line[4] == pixels[4 * 20 + 16]);
    EXPECT_TRUE(c->slots.Seek(c, 5) == 1 && c->status == RZL_PAST_END);
    rzl_close(c);
}

// The file is larger than a view of it.
TEST_F(GifRead, EveryFailureHasItsStatus) {
    const std::string p = path("s.gif");
    bytes_of_file pixels = random_bytes(180000, 256, 3);
    gif_parts g = make_parts(200, 900, 8, pixels);
    g.before = {0x21, 0xFE, 1, 0x2C, 0};
    const bytes_of_file whole = g.file();
    write_bytes(p, whole);
    picture_read got;
    auto open_and_close = [&] {
        CFILE* c = rzl_open_rw(p.c_str());
        return c == nullptr ? library_status() : rzl_finish(c);
    };
    for (bool memory : {false, true}) {
        for (bool onward : {false, true}) {
            sweep(
                memory, onward, [&] { return (got = read_gif(p)).status; },
                [&](bool good) { EXPECT_EQ(got.pixels == pixels, good); });
            sweep(memory, onward, open_and_close, [&](bool) { EXPECT_EQ(read_bytes(p), whole); });
        }
    }
}
