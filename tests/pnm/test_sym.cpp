// SYM files: bytes of a file, cells that are larger than their glyphs, the display layer's own reader, and bad input;
// and PostScript files, which are only written.
#include "bmp/formats_fixture.h"
#include "support/fontlayout.h"

using Sym = FormatTest;
using PostScript = FormatTest;

namespace {

struct glyph {
    int place, width, height, left, top, advance, depth;
};

// A file whose codes from 0 on have the glyphs in turn.
bytes_of_file symbol_file(const std::vector<glyph>& glyphs, const bytes_of_file& area) {
    bytes_made b;
    const auto bitmaps = static_cast<int64_t>(260 + glyphs.size() * 8);
    b.text("FONT").u32(bitmaps + static_cast<int64_t>(area.size())).u32(bitmaps);
    for (size_t i = 0; i < 256; ++i)
        b.number(i < glyphs.size() ? static_cast<int64_t>(i) + 1 : 0, 1);
    for (const glyph& g : glyphs) {
        b.u16(g.place).number(g.width, 1).number(g.height, 1).number(g.left, 1).number(g.top, 1);
        b.number(g.advance, 1).number(g.depth, 1);
    }
    return b.bytes(area).made;
}

// The pixels of an image as text.
std::string drawn(const std::string& name, int image) {
    std::string text;
    CFILE* c = rzl_open_r(name.c_str());
    if (c == nullptr || rzl_set_active_image(c, image) != 0) {
        if (c != nullptr) rzl_close(c);
        return "none";
    }
    for (int y = 0; y < c->ysize; ++y) {
        uint8_t words[34];
        if (rzl_getline(c, words) != 0) break;
        for (int x = 0; x < c->xsize; ++x)
            text += (words[(x / 8) ^ 1] & 0x80 >> x % 8) != 0 ? '#' : '.';
        text += '/';
    }
    rzl_close(c);
    return text;
}

} // namespace

TEST_F(Sym, TheBytesOfAFile) {
    CFILE* c = new_file(path("a"), 10, 1, 9, 1, {{402, 3}});
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(put_lines(c, 9, 1, {0x80, 0xA1}), 0u);
    EXPECT_TRUE(rzl_set_active_image(c, 1) == 0 && set_field_to(c, 1, 3) == 0 && set_field_to(c, 2, 3) == 0);
    EXPECT_EQ(put_lines(c, 3, 3, {0, 0x40, 0, 0xE0, 0xFF, 0xFF}), 0u);
    EXPECT_TRUE(rzl_set_active_image(c, 2) == 0 && rzl_putline(c, "\0\x20") == 0);
    EXPECT_TRUE(rzl_set_active_image(c, 3) != 0 && status_of(c) == RZL_NO_SUCH_IMAGE);
    EXPECT_EQ(rzl_finish(c), 0u);
    // Glyphs begin at even places; the first pixel is bit 0.
    EXPECT_EQ(read_bytes(path("a")), symbol_file({{0, 9, 1, 0, 0, 9, 1}, {2, 3, 3, 0, 0, 3, 3}, {6, 3, 3, 0, 0, 3, 3}},
                                                 {0x85, 1, 2, 7, 7, 0, 4, 0, 0, 0}));
    EXPECT_EQ(load_u32le(&read_bytes(path("a"))[8]), 284u);
    EXPECT_EQ(drawn(path("a"), 0), "#.#....##/");
    EXPECT_EQ(drawn(path("a"), 1), ".#./###/###/");
    EXPECT_EQ(drawn(path("a"), 2), "..#/.../.../");
    // A row of an image is changed in its place.
    c = rzl_open_rw(path("a").c_str());
    EXPECT_TRUE(rzl_set_active_image(c, 1) == 0 && rzl_seek(c, 1) == 0 && rzl_putline(c, "\0\0") == 0);
    EXPECT_EQ(rzl_finish(c), 0u);
    EXPECT_EQ(drawn(path("a"), 1), ".#./.../###/");
    // 256 images: the last one has no glyph number, and is there all the same.
    c = new_file(path("b"), 10, 1, 1, 1, {{402, 256}});
    for (int i = 0; i < 256; ++i)
        EXPECT_TRUE(rzl_set_active_image(c, i) == 0 && rzl_putline(c, i % 3 == 0 ? "\0\x80" : "\0\0") == 0);
    EXPECT_EQ(rzl_finish(c), 0u);
    EXPECT_TRUE(drawn(path("b"), 255) == "#/" && drawn(path("b"), 254) == "./" && read_bytes(path("b"))[12 + 255] != 0);
}

TEST_F(Sym, CellsAndGlyphs) {
    const bytes_of_file area = {0x05, 0x07, 0xFF, 0x01};
    struct {
        glyph g;
        std::string pixels;
    } cases[] = {
        {{0, 3, 2, 0, 0, 3, 2}, "#.#/###/"},
        {{0, 3, 2, 1, 1, 5, 4}, "...../.#.#./.###./...../"},
        {{0, 3, 2, 2, 0, 4, 1}, "..#./"},          // a glyph that hangs out of its cell is cut
        {{0, 3, 2, 255, 1, 3, 3}, ".../.#./##./"}, // to the left, too
        {{0, 3, 2, 9, 9, 2, 2}, "../../"},
        {{2, 9, 1, 0, 0, 9, 1}, "#########/"},
        {{0, 0, 0, 0, 0, 2, 1}, "../"},
    };
    for (const auto& k : cases) {
        write_bytes(path("a"), symbol_file({k.g, cases[0].g}, area));
        EXPECT_EQ(drawn(path("a"), 0), k.pixels);
        EXPECT_EQ(drawn(path("a"), 1), cases[0].pixels);
    }
    // Codes that share a glyph make no second image of it, whatever the size in the file says.
    bytes_of_file shared = symbol_file({cases[0].g, cases[1].g}, area);
    shared[12 + 65] = shared[12 + 66] = 1;
    shared[4] = 0;
    write_bytes(path("a"), shared);
    CFILE* c = rzl_open_r(path("a").c_str());
    EXPECT_TRUE(field_of(c, 402) == 2 && field_of(c, 403) == 2 && field_of(c, 5) == 0 && field_of(c, 507) == 1);
    double matrix[16] = {1};
    EXPECT_TRUE(rzl_get_hdr_data(c, 4, matrix) == 0 && matrix[0] == 0);
    rzl_close(c);
}

TEST_F(Sym, BadInput) {
    const bytes_of_file good = symbol_file({{0, 3, 2, 0, 0, 3, 2}, {2, 8, 1, 0, 0, 8, 1}}, {5, 7, 0xFF});
    write_bytes(path("a"), good);
    EXPECT_EQ(drawn(path("a"), 1), "########/");
    for (uint32_t bitmaps : {0u, 259u, 260u, 267u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
        bytes_of_file bad = good;
        store_u32le(&bad[8], bitmaps);
        write_bytes(path("a"), bad);
        EXPECT_EQ(drawn(path("a"), 0), "none") << bitmaps;
        EXPECT_EQ(last_status(), RZL_READ_FAILED);
    }
    for (size_t size = 0; size < good.size(); ++size) {
        write_bytes(path("a"), bytes_of_file(good.begin(), good.begin() + static_cast<long>(size)));
        EXPECT_EQ(drawn(path("a"), 1), size < 268 + 16 ? "none" : "") << size;
    }
    CFILE* c = rzl_open_w(path("a").c_str());
    EXPECT_EQ(set_field_to(c, 500, 10), 0);
    for (int field : {1, 2})
        EXPECT_TRUE(set_field_to(c, field, 256) != 0 && status_of(c) == RZL_BAD_IMAGE_SIZE &&
                    set_field_to(c, field, 255) == 0);
    EXPECT_TRUE(set_field_to(c, 402, 257) != 0 && set_field_to(c, 501, 1) != 0 && set_field_to(c, 8, 5) == 0);
    EXPECT_TRUE(set_field_to(c, 3, 9) != 0 && status_of(c) == RZL_NOT_STANDARD);
    // Places have 16 bits: nine images of 255 by 255 pixels do not fit.
    EXPECT_EQ(set_field_to(c, 402, 10), 0);
    for (int i = 0; i < 10; ++i)
        EXPECT_TRUE(rzl_set_active_image(c, i) == 0 && rzl_putline(c, nullptr) == 0);
    EXPECT_EQ(rzl_finish(c), RZL_BAD_IMAGE_SIZE);
    write_bytes(path("a"), good);
    for (bool memory : {true, false}) {
        for (bool onward : {false, true}) {
            sweep(
                memory, onward, [&] { return write_picture(path("b"), 10, 1, 9, 3, bytes_of_file(6, 0xA5)); },
                [](bool) {});
            sweep(
                memory, onward,
                [&]() -> uint32_t {
                    CFILE* r = rzl_open_r(path("a").c_str());
                    if (r == nullptr) return last_status();
                    uint8_t words[2];
                    const bool read = rzl_getline(r, words) == 0 && rzl_getline(r, words) == 0;
                    const uint32_t status = read ? 0 : r->status;
                    rzl_close(r);
                    return status;
                },
                [](bool) {});
        }
    }
}

TEST_F(PostScript, TheBytesOfAFile) {
    ASSERT_EQ(write_picture(path("a"), 21, 2, 720, 540, bytes_of_file(720 * 540, 0xAB)), 0u);
    const bytes_of_file page = read_bytes(path("a"));
    const std::string head = "%!PS-Adobe-2.0\n%%BoundingBox: 36 36 540 720 \n%%EndComments\n"
                             "currentscreen /proc exch def /angle exch def /frequency exch def\n"
                             "/angle 90 def /frequency 60 def\nfrequency angle /proc load setscreen\n"
                             "/picstr 720 string def\n/screen {720 540 8 [720 0 0 -540 0 540]\n"
                             "   {currentfile picstr readhexstring pop} image} def\n"
                             "576 36 translate 90 rotate 720 540 scale screen\n\nABAB";
    EXPECT_EQ(std::string(page.begin(), page.begin() + static_cast<long>(head.size())), head);
    const std::string end = "ABAB\n%%Trailer\nshowpage\n";
    EXPECT_EQ(std::string(page.end() - static_cast<long>(end.size()), page.end()), end);

    // Places on the page, and lines of pixels.
    const color_table three = {{2, 0x1000, 0x1000, 0x1000}, {1, 0xFF00, 0, 0}, {0, 0x2000, 0x2000, 0x2000}};
    bytes_of_file ramp(41);
    for (size_t i = 0; i < ramp.size(); ++i)
        ramp[i] = static_cast<uint8_t>(i);
    std::string digits;
    for (int i = 0; i < 41; ++i) {
        const char hex[] = "0123456789ABCDEF";
        digits += i == 0 || i == 40 ? "\n" : "";
        digits += {hex[i / 16], hex[i % 16]};
    }
    struct {
        int format, width, height;
        bytes_of_file pixels;
        color_table table;
        std::string place, lines;
    } cases[] = {
        {2, 41, 1, ramp, {}, "315 36 translate 90 rotate 720 18 scale screen", digits + "\n"},
        {2, 2, 1, {0, 9}, {}, "486 36 translate 90 rotate 720 360 scale screen", "\n0009\n"},
        {2, 1, 2, {7, 8}, {}, "576 261 translate 90 rotate 270 540 scale screen", "\n07\n\n08\n"},
        {27, 2, 1, {255, 255, 255, 1, 2, 3}, {}, "486 36 translate 90 rotate 720 360 scale screen", "\nFF01\n"},
        {1, 9, 1, {0x80, 0xA5}, {}, "346 36 translate 90 rotate 720 80 scale screen", "\nFF00FF0000FF00FFFF\n"},
        {2, 4, 1, {0, 1, 2, 3}, three, "396 36 translate 90 rotate 720 180 scale screen", "\n204C1003\n"},
    };
    for (const auto& k : cases) {
        SCOPED_TRACE(k.place);
        CFILE* c = new_file(path("a"), 21, k.format, k.width, k.height);
        ASSERT_NE(c, nullptr);
        if (!k.table.empty()) {
            EXPECT_TRUE(set_field_to(c, 6, 3) == 0 && rzl_put_vlt(c, k.table.data()) == 0);
        }
        EXPECT_EQ(put_lines(c, k.width, k.height, k.pixels), 0u);
        EXPECT_EQ(rzl_finish(c), 0u);
        const bytes_of_file made = read_bytes(path("a"));
        const std::string text(made.begin(), made.end());
        const size_t at = text.find(k.place);
        ASSERT_NE(at, std::string::npos) << text;
        EXPECT_EQ(text.substr(at + k.place.size() + 1), k.lines + "%%Trailer\nshowpage\n");
    }
    CFILE* c = new_file(path("a"), 21, 2, 2, 1);
    const void* four[4] = {"ab", "ab", "ab", "ab"};
    EXPECT_TRUE(rzl_putline_channels(c, 4, four) != 0 && status_of(c) == RZL_UNSUP_IR);
    rzl_close(c);
    EXPECT_TRUE(rzl_open_r(path("a").c_str()) == nullptr && last_status() == RZL_READ_FAILED);
    int create = 0, read = 1;
    EXPECT_TRUE(rzl_standard_support(21, &create, &read) == 0 && create == 1 && read == 0);
    for (bool memory : {true, false})
        for (bool onward : {false, true})
            sweep(
                memory, onward, [&] { return write_picture(path("b"), 21, 2, 41, 1, ramp); }, [](bool) {});
}
