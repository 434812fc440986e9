// GIF files written through the library: the bytes, the colours, the order of lines, the end of the file, and failures.
#include "gif_fixture.h"

using GifWrite = FormatTest;

namespace {

// The coded data of a written file, without the lengths of its blocks; empty when its end is not as it should be.
bytes_of_file data_of(const bytes_of_file& file) {
    bytes_of_file out;
    size_t at = 13 + 768 + 10 + 1;
    while (at < file.size() && file[at] != 0) {
        size_t n = std::min<size_t>(file[at], file.size() - at - 1);
        out.insert(out.end(), file.begin() + static_cast<long>(at) + 1, file.begin() + static_cast<long>(at + 1 + n));
        at += n + 1;
    }
    return at + 2 == file.size() && file[at + 1] == 0x3B ? out : bytes_of_file();
}

} // namespace

TEST_F(GifWrite, TheBytesOfAFile) {
    ASSERT_EQ(write_picture(path("a.gif"), 2, 29, 2, 3, {1, 1, 1, 1, 1, 2}, {}, {{1, 0x1234, 0x5678, 0x9ABC}}), 0u);
    bytes_of_file b = read_bytes(path("a.gif"));
    EXPECT_EQ(part(b, 0, 19), joined(bytes_of("GIF87a"), hex("0200 0300 FF0000 000000 12569A")));
    EXPECT_EQ(part(b, 781, 11), hex("2C 0000 0000 0200 0300 07 08"));
    // 256, 1, 258, 258, 2, 257 and four codes of 0, of 9 bits each; the 2 bits behind the last whole byte are dropped.
    EXPECT_EQ(data_of(b), bytes_of_file({0x00, 0x03, 0x08, 0x14, 0x28, 0x20, 0x20, 0, 0, 0, 0}));
}

// Behind the end code come four codes of 0, of which three bytes are certain.
TEST_F(GifWrite, TheEndOfTheCodes) {
    for (auto [width, height, values] : {std::tuple(1, 1, 256), {3, 1, 256}, {301, 211, 2}, {501, 411, 256}}) {
        const bytes_of_file pixels = random_bytes(static_cast<size_t>(width * height), values, 4);
        ASSERT_EQ(write_picture(path("a.gif"), 2, 29, width, height, pixels), 0u);
        const bytes_of_file data = data_of(read_bytes(path("a.gif")));
        EXPECT_GT(data.size(), 4u) << width;
        EXPECT_EQ(part(data, -3), bytes_of_file(3));
    }
}

TEST_F(GifWrite, BilevelLines) {
    CFILE* c = new_file(path("a.gif"), 2, 1, 19, 2);
    const uint8_t line[4] = {0x01, 0x80, 0x00, 0x20}; // pixels 0, 15 and 18
    EXPECT_EQ(rzl_putline(c, line), 0);
    EXPECT_EQ(rzl_putline(c, nullptr), 0);
    EXPECT_EQ(rzl_finish(c), 0u);
    const picture p = read_picture(path("a.gif"));
    bytes_of_file expected(38);
    expected[0] = expected[15] = expected[18] = 1;
    EXPECT_EQ(pixels_of(p), expected);
    EXPECT_TRUE(p.bits == 8 && p.entries == 256 && p.format == 29);
    EXPECT_EQ(part(read_bytes(path("a.gif")), 13, 9), hex("000000 FFFFFF 020202"));
    c = new_file(path("a.gif"), 2, 29, 3, 1);
    set_field_to(c, 507, 1);
    EXPECT_TRUE(rzl_putline(c, "\1\0\1") == 0 && rzl_finish(c) == 0);
    EXPECT_EQ(read_picture(path("a.gif")).values, hex("010001")) << "the data format tells what a line is";
    c = new_file(path("a.gif"), 2, 1, 1, 1);
    EXPECT_EQ(rzl_write_header(c), 0);
    EXPECT_EQ(rzl_line_size(c), 2u) << "one pixel is a word, whatever the header made of the data format";
    EXPECT_TRUE(rzl_putline(c, "\0\x80") == 0 && rzl_finish(c) == 0);
    EXPECT_EQ(read_picture(path("a.gif")).values, hex("01"));
}

TEST_F(GifWrite, Colours) {
    const color_table table = {{5, 0xFF00, 0x8000, 0x0100}, {256, 1, 1, 1}, {5, 0, 0, 0}};
    struct {
        int bits, red, green;
    } cases[] = {{0, 0xFF, 0x80}, {8, 0xFF, 0x80}, {6, 0x3F, 0x20}, {16, 0xFF, 0x80}};
    for (auto expected : cases) {
        CFILE* c = new_file(path("a.gif"), 2, 29, 1, 1, {}, rzl_open_w, table);
        set_field_to(c, 31, expected.bits);
        set_field_to(c, 6, 2); // the third entry is not announced
        EXPECT_TRUE(rzl_putline(c, "\5") == 0 && rzl_finish(c) == 0);
        bytes_of_file b = read_bytes(path("a.gif"));
        EXPECT_TRUE(b[28] == expected.red && b[29] == expected.green) << expected.bits;
    }
    // A count of more entries than there can be: the sanitizer sees it when more than 256 are read.
    const color_table full = some_table(256);
    CFILE* c = new_file(path("a.gif"), 2, 29, 1, 1, {}, rzl_open_w, full);
    set_field_to(c, 6, 70000);
    EXPECT_TRUE(rzl_putline(c, "\7") == 0 && rzl_finish(c) == 0);
    EXPECT_EQ(read_picture(path("a.gif")).colors, looked_up({7}, full));
    // No table: grey over the values of the file's bits.
    c = new_file(path("a.gif"), 2, 29, 4, 1);
    set_field_to(c, 507, 2);
    EXPECT_TRUE(rzl_putline(c, "\0\1\2\3") == 0 && rzl_finish(c) == 0);
    EXPECT_EQ(read_picture(path("a.gif")).colors, hex("000000 555555 AAAAAA FFFFFF"));
}

TEST_F(GifWrite, LinesComeOnceAndReadBack) {
    CFILE* c = new_file(path("a.gif"), 2, 2, 3, 3, {}, rzl_open_wr);
    EXPECT_EQ(rzl_write_header(c), 0);
    for (const char* line : {"222", "1xx", "111", "000"}) // until its lines are coded one may be put again
        EXPECT_TRUE(rzl_seek(c, line[0] - '0') == 0 && rzl_putline(c, line) == 0) << line;
    uint8_t line[3];
    EXPECT_TRUE(rzl_seek(c, 1) == 0 && rzl_getline(c, line) == 0 && rzl_rewind(c) == 0);
    EXPECT_EQ(refusal(c, rzl_putline(c, line)), RZL_MODIFY_COMPRESSED);
    set_field_to(c, 2, 9);
    EXPECT_EQ(field_of(c, 2), 3);
    EXPECT_EQ(rzl_finish(c), 0u);
    EXPECT_EQ(read_picture(path("a.gif")).values, bytes_of("000111222"));
}

TEST_F(GifWrite, WhatIsRefused) {
    CFILE* c = new_file(path("a.gif"), 2, 29, 2, 2);
    EXPECT_EQ(refusal(c, set_field_to(c, 3, 28)), RZL_NOT_STANDARD);
    EXPECT_TRUE(set_field_to(c, 100, 16) == 0 && field_of(c, 100) == 0) << "there are no tiles";
    testing::internal::CaptureStderr();
    EXPECT_EQ(refusal(c, rzl_putline3(c, "aa", "bb", "cc")), RZL_UNSUPPORTED);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Can't write 3-bands to gif file\nGif is 8-bit w/color_table format\n");
    EXPECT_TRUE(rzl_rewind(c) == 0 && rzl_putline(c, "ab") == 0);
    EXPECT_EQ(rzl_finish(c), RZL_WRITE_FAILED) << "a line is missing";
}

TEST_F(GifWrite, TheEndOfTheFile) {
    ASSERT_EQ(write_picture(path("a.gif"), 2, 29, 2, 1, {1, 2}), 0u);
    const bytes_of_file whole = read_bytes(path("a.gif"));
    for (size_t missing : {0u, 2u}) {
        CFILE* c = open_made(part(whole, 0, whole.size() - missing), rzl_open_rw);
        EXPECT_EQ(refusal(c, rzl_putline(c, "xx")), RZL_MODIFY_COMPRESSED);
        EXPECT_EQ(rzl_finish(c), 0u);
        EXPECT_EQ(read_bytes(path("made")), whole) << missing;
    }
    const auto open_and_close = [&] {
        CFILE* c = rzl_open_rw(path("a.gif").c_str());
        return c == nullptr ? library_status() : rzl_finish(c);
    };
    sweep(open_and_close, [&](bool) { EXPECT_EQ(read_bytes(path("a.gif")), whole); });
    bytes_of_file block(2000);
    rzl_memfile record = {block.data(), 2000, 0, 0, 0, 0};
    char name[40];
    ASSERT_EQ(rzl_memfile_name(&record, name, sizeof name), 0);
    ASSERT_EQ(write_picture(name, 2, 29, 2, 1, {1, 2}), 0u);
    EXPECT_EQ(bytes_of_file(block.begin(), block.begin() + record.position), whole);
    record = {block.data(), 300, 0, 0, 0, 0};
    EXPECT_EQ(write_picture(name, 2, 29, 2, 1, {1, 2}), RZL_WRITE_FAILED);
}
