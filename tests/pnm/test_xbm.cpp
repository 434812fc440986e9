// XBM files: the text byte by byte, texts as programs write them, and bad input.
#include "bmp/formats_fixture.h"

using Xbm = FormatTest;

namespace {

const std::string SIZES = "#define a_width 9\n#define a_height 2\n";
const std::string ARRAY = "static char a_bits[] = {\n";
const bytes_of_file LINES = {0x80, 0xA5, 0x00, 0x0F}; // 0xA5, 0x01 and 0xF0, 0x00 in the file

} // namespace

TEST_F(Xbm, TheBytesOfAFile) {
    CFILE* c = new_file(path("a"), 13, 1, 9, 2, {{650, 3}, {651, -4}});
    EXPECT_EQ(rzl_set_hdr_data(c, RZL_FIELD_XBM_NAME, "/some/where/my-pic.2"), 0);
    EXPECT_EQ(put_lines(c, 9, 2, LINES), 0u);
    EXPECT_TRUE(set_field_to(c, 2, 3) != 0 && status_of(c) == RZL_NEEDS_WRITE);
    EXPECT_EQ(rzl_finish(c), 0u);
    EXPECT_EQ(read_bytes(path("a")),
              bytes_of("#define my_pic_2_width 9\n#define my_pic_2_height 2\n#define my_pic_2_x_hot 3\n"
                       "#define my_pic_2_y_hot -4\nstatic char my_pic_2_bits[] = {\n0xa5, 0x01, \n0xf0, 0x00};\n"));
    // Eight bytes stand in a line, the ninth in another.
    for (int width : {64, 65}) {
        ASSERT_EQ(write_picture(path("b"), 13, 9, width, 1, bytes_of_file(10)), 0u);
        std::string text = "static char _bits[] = {\n0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00";
        text += width == 64 ? "};\n" : ", \n0x00};\n";
        const bytes_of_file made = read_bytes(path("b"));
        EXPECT_EQ(bytes_of_file(made.end() - static_cast<long>(text.size()), made.end()), bytes_of(text));
    }
    c = rzl_open_r(path("a").c_str());
    char name[32] = {};
    EXPECT_TRUE(rzl_get_hdr_data(c, 652, name) == 0 && std::string(name) == "a");
    double aspect = 1;
    EXPECT_TRUE(rzl_get_hdr_data(c, 26, &aspect) == 0 && aspect == 0);
    EXPECT_TRUE(field_of(c, 650) == 3 && field_of(c, 651) == -4 && field_of(c, 3) == 1 && field_of(c, 9) == 4);
    EXPECT_TRUE(field_of(c, 10) == 0 && status_of(c) == 0 && field_of(c, 14) == 0 && status_of(c) == RZL_BAD_FIELD_ID);
    // Another file gets the hot spot and the name.
    CFILE* to = new_file(path("b"), 13, 1, 9, 2);
    EXPECT_EQ(rzl_copy_data(c, to), 0);
    EXPECT_EQ(put_lines(to, 9, 2, LINES), 0u);
    EXPECT_TRUE(rzl_finish(to) == 0 && read_bytes(path("b")).size() == read_bytes(path("a")).size() - 5 * 7);
    uint8_t planes[3][16];
    EXPECT_TRUE(rzl_getline3(c, planes[0], planes[1], planes[2]) != 0 && status_of(c) == RZL_UNSUPPORTED);
    rzl_close(c);
    EXPECT_EQ(read_picture(path("a")).values, LINES);
    EXPECT_TRUE(new_file(path("b"), 13, 2, 9, 2) == nullptr && last_status() == RZL_NOT_STANDARD);
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
        write_bytes(path("a"), bytes_of(text));
        EXPECT_EQ(read_picture(path("a")).values, LINES);
    }
    struct {
        std::string text;
        int lines; // that are read before the fault; -1: it is not opened
    } bad[] = {
        {SIZES + "static short a_bits[] = {0x01a5, 0x00f0};", -1},
        {"#define a_width 9\n" + ARRAY + "0xa5, 0x01, 0xf0, 0x00};", -1},
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
        write_bytes(path("a"), bytes_of(k.text));
        CFILE* c = rzl_open_r(path("a").c_str());
        EXPECT_EQ(c != nullptr, k.lines >= 0);
        if (c == nullptr) {
            EXPECT_EQ(last_status(), RZL_READ_FAILED);
            continue;
        }
        uint8_t words[16];
        for (int line = 0; line < k.lines; ++line)
            EXPECT_EQ(rzl_getline(c, words), 0);
        EXPECT_TRUE(rzl_getline_channels(c, 0, nullptr) != 0 && status_of(c) == RZL_READ_FAILED);
        rzl_close(c);
    }
}

TEST_F(Xbm, Lines) {
    for (auto [width, height] : {std::pair(1, 1), {8, 3}, {17, 5}, {300, 40}}) {
        const size_t line = static_cast<size_t>(width + 15) / 16 * 2;
        bytes_of_file lines;
        for (int y = 0; y < height; ++y) {
            const bytes_of_file samples = some_samples(static_cast<size_t>(width), 2, static_cast<unsigned>(y));
            lines.resize(lines.size() + line);
            rzl_pack_bits(&lines[lines.size() - line], samples.data(), width, 1);
        }
        ASSERT_EQ(write_picture(path("a"), 13, 1, width, height, lines), 0u);
        EXPECT_TRUE(read_picture(path("a")).values == lines);
        CFILE* c = rzl_open_r(path("a").c_str());
        std::mt19937 random(5);
        bytes_of_file words(line);
        for (int i = 0; i < 3 * height; ++i) {
            auto y = static_cast<int32_t>(random() % static_cast<unsigned>(height));
            EXPECT_TRUE(rzl_seek(c, y) == 0 && rzl_getline(c, words.data()) == 0);
            EXPECT_TRUE(std::equal(words.begin(), words.end(), &lines[static_cast<size_t>(y) * line]));
        }
        EXPECT_TRUE(rzl_seek(c, height) != 0 && status_of(c) == RZL_PAST_END);
        rzl_close(c);
    }
    // A new file takes its lines in any order and gives them back; one of another program is not changed.
    CFILE* c = new_file(path("a"), 13, 1, 9, 2, {}, rzl_open_wr);
    EXPECT_EQ(rzl_write_header(c), 0);
    for (int y : {1, 0})
        EXPECT_TRUE(rzl_seek(c, y) == 0 && rzl_putline(c, &LINES[static_cast<size_t>(y) * 2]) == 0);
    rzl_rewind(c);
    EXPECT_EQ(read_lines(c).values, LINES);
    EXPECT_EQ(rzl_finish(c), 0u);
    EXPECT_EQ(read_picture(path("a")).values, LINES);
    c = rzl_open_rw(path("a").c_str());
    EXPECT_TRUE(rzl_putline(c, LINES.data()) != 0 && status_of(c) == RZL_MODIFY_COMPRESSED);
    EXPECT_EQ(rzl_finish(c), 0u);
    for (bool memory : {true, false})
        for (bool onward : {false, true})
            sweep(
                memory, onward, [&] { return write_picture(path("b"), 13, 1, 9, 2, LINES); }, [](bool) {});
    for (bool memory : {true, false})
        for (bool onward : {false, true})
            sweep(
                memory, onward,
                [&]() -> uint32_t {
                    CFILE* r = rzl_open_r(path("a").c_str());
                    if (r == nullptr) return last_status();
                    uint8_t words[2];
                    const bool good = rzl_getline(r, words) == 0 && rzl_getline(r, words) == 0;
                    const uint32_t status = good ? 0 : r->status;
                    rzl_close(r);
                    return status;
                },
                [](bool) {});
}
