// SYM files: bytes of a file, cells that are larger than their glyphs, and bad input; PostScript files, which are only
// written; and XBM files: the text byte by byte, texts as programs write them, and bad input.
#include "raster/formats_fixture.h"
#include "support/fontlayout.h"

using Sym = FormatTest;
using PostScript = FormatTest;
using Xbm = FormatTest;

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
    EXPECT_EQ(put_lines(c, 1, {0x80, 0xA1}), 0u);
    EXPECT_EQ(rzl_set_active_image(c, 1), 0);
    set_fields(c, {{1, 3}, {2, 3}});
    EXPECT_EQ(put_lines(c, 3, hex("0040 00E0 FFFF")), 0u);
    EXPECT_TRUE(rzl_set_active_image(c, 2) == 0 && rzl_putline(c, "\0\x20") == 0);
    EXPECT_EQ(refusal(c, rzl_set_active_image(c, 3)), RZL_NO_SUCH_IMAGE);
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
    expect_fields(c, {{402, 2}, {403, 2}, {5, 0}, {507, 1}});
    EXPECT_EQ(number_of(c, 4), 0);
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
    CFILE* c = new_file(path("a"), 10, 1, 255, 255);
    EXPECT_TRUE(set_field_to(c, 402, 257) != 0 && set_field_to(c, 501, 1) != 0 && set_field_to(c, 8, 5) == 0);
    EXPECT_EQ(refusal(c, set_field_to(c, 3, 9)), RZL_NOT_STANDARD);
    // Places have 16 bits: nine images of 255 by 255 pixels do not fit.
    set_fields(c, {{402, 10}});
    for (int i = 0; i < 10; ++i)
        EXPECT_TRUE(rzl_set_active_image(c, i) == 0 && rzl_putline(c, nullptr) == 0);
    EXPECT_EQ(rzl_finish(c), RZL_BAD_IMAGE_SIZE);
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
        EXPECT_EQ(write_picture(path("a"), 21, k.format, k.width, k.height, k.pixels, {}, k.table), 0u);
        const bytes_of_file made = read_bytes(path("a"));
        const std::string text(made.begin(), made.end());
        const size_t at = text.find(k.place);
        ASSERT_NE(at, std::string::npos) << text;
        EXPECT_EQ(text.substr(at + k.place.size() + 1), k.lines + "%%Trailer\nshowpage\n");
    }
    CFILE* c = new_file(path("a"), 21, 2, 2, 1);
    const void* four[4] = {"ab", "ab", "ab", "ab"};
    EXPECT_EQ(refusal(c, rzl_putline_channels(c, 4, four)), RZL_UNSUP_IR);
    rzl_close(c);
    EXPECT_EQ(refused(rzl_open_r(path("a").c_str())), RZL_READ_FAILED);
    int create = 0, read = 1;
    EXPECT_TRUE(rzl_standard_support(21, &create, &read) == 0 && create == 1 && read == 0);
    sweep([&] { return write_picture(path("b"), 21, 2, 41, 1, ramp); });
}

namespace {

const std::string SIZES = "#define a_width 9\n#define a_height 2\n";
const std::string ARRAY = "static char a_bits[] = {\n";
const bytes_of_file LINES = {0x80, 0xA5, 0x00, 0x0F}; // 0xA5, 0x01 and 0xF0, 0x00 in the file

} // namespace

TEST_F(Xbm, TheBytesOfAFile) {
    CFILE* c = new_file(path("a"), 13, 1, 9, 2, {{650, 3}, {651, -4}});
    EXPECT_EQ(rzl_set_hdr_data(c, RZL_FIELD_XBM_NAME, "/some/where/my-pic.2"), 0);
    EXPECT_EQ(put_lines(c, 2, LINES), 0u);
    for (int32_t size : {1, 2})
        EXPECT_EQ(refusal(c, set_field_to(c, size, 3)), RZL_NEEDS_WRITE) << "the header tells it";
    EXPECT_EQ(rzl_finish(c), 0u);
    EXPECT_EQ(read_bytes(path("a")),
              bytes_of("#define my_pic_2_width 9\n#define my_pic_2_height 2\n#define my_pic_2_x_hot 3\n"
                       "#define my_pic_2_y_hot -4\nstatic char my_pic_2_bits[] = {\n0xa5, 0x01, \n0xf0, 0x00};\n"));
    // Eight bytes stand in a line, the ninth in another.
    for (int width : {64, 65}) {
        ASSERT_EQ(write_picture(path("b"), 13, 9, width, 1, bytes_of_file(10)), 0u);
        std::string text = "static char _bits[] = {\n0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00";
        text += width == 64 ? "};\n" : ", \n0x00};\n";
        EXPECT_EQ(part(read_bytes(path("b")), -static_cast<long>(text.size())), bytes_of(text));
    }
    c = rzl_open_r(path("a").c_str());
    EXPECT_TRUE(text_of(c, 652) == "a" && number_of(c, 26) == 0);
    expect_fields(c, {{650, 3}, {651, -4}, {3, 1}, {9, 4}, {10, 0}});
    EXPECT_TRUE(status_of(c) == 0 && field_of(c, 14) == 0 && status_of(c) == RZL_BAD_FIELD_ID);
    EXPECT_EQ(refusal(c, rzl_seek(c, 2)), RZL_PAST_END);
    // Another file gets the hot spot and the name.
    CFILE* to = new_file(path("b"), 13, 1, 9, 2);
    EXPECT_EQ(rzl_copy_data(c, to), 0);
    EXPECT_EQ(put_lines(to, 2, LINES), 0u);
    EXPECT_TRUE(rzl_finish(to) == 0 && read_bytes(path("b")).size() == read_bytes(path("a")).size() - 5 * 7);
    uint8_t planes[3][16];
    EXPECT_EQ(refusal(c, rzl_getline3(c, planes[0], planes[1], planes[2])), RZL_UNSUPPORTED);
    rzl_close(c);
    EXPECT_EQ(read_picture(path("a")).values, LINES);
    EXPECT_EQ(refused(new_file(path("b"), 13, 2, 9, 2)), RZL_NOT_STANDARD);
}

TEST_F(Xbm, Texts) {
    const std::string good[] = {
        SIZES + ARRAY + "0xa5, 0x01, \n0xf0, 0x00};\n",
        SIZES + "static unsigned char a_bits[]={0xA5,0x1,0xF0,0X0 };",
        "/* made by { a program */\n\n# define a_height 2\r\n#define  b_width\t9 \n" + ARRAY +
            "\t0xa5\t0x01\n\n,0xf0}0x0000",
        "#define a_w 1\n#define a_width 9\n#define a_height 2\nconst static char\na_bits\n[] = \n{ 0xa5 0x01 0xf0 0x00",
        SIZES + std::string(700, ' ') + ARRAY + "0xa5," + std::string(70000, '\n') + "0x01,0xf0,0x00,",
    };
    for (const std::string& text : good) {
        SCOPED_TRACE(text.substr(0, 60));
        EXPECT_EQ(read_made(bytes_of(text)).values, LINES);
    }
    struct {
        std::string text;
        int lines; // that are read before the fault; -1: it is not opened
    } bad[] = {
        {SIZES + "static short a_bits[] = {0x01a5, 0x00f0};", -1},
        {"#define a_width 9\n" + ARRAY + "0xa5, 0x01, 0xf0, 0x00};", -1},
        {"#define a_width 9\n#define a_height", -1},
        {"#define a_width 0\n#define a_height 2\n" + ARRAY, -1},
        {"#define a_width -9\n#define a_height 2\n" + ARRAY, -1},
        {"#define a_width 4294967297\n#define a_height 2\n" + ARRAY, -1},
        {std::string(4096, ' ') + SIZES + ARRAY + "0xa5, 0x01, 0xf0, 0x00};", -1},
        {SIZES + ARRAY + "0xa5, 0x01, 0xf0};", 1},
        {SIZES + ARRAY + "0xa5, 0x01, 0xf0, ", 1},
        {SIZES + ARRAY + "0xa5, 0x01, 0xf0, 0x", 1},
        {SIZES + ARRAY + "0xa5, 0x01, 0xf0, x00", 1},
        {SIZES + ARRAY + "0xa5, 0x01, 165, 0x00", 1},
        {SIZES + ARRAY + "0xa5, 0x100, 0xf0, 0x00", 0},
        {SIZES + ARRAY + "0xa5, 0x1g, 0xf0, 0x00", 0},
        {"#define a_width 2147483647\n#define a_height 2147483647\n" + ARRAY + "0x00, 0x00", 0},
    };
    for (const auto& k : bad) {
        SCOPED_TRACE(k.text.substr(0, 100));
        EXPECT_EQ(lines_before_fault(k.text), k.lines);
    }
}
