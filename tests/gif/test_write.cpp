// GIF files written through the library: the bytes, the colours, the order of lines, the end of the file, and failures.
#include "gif_fixture.h"

#include "raster/sweep.h"

using GifWrite = GifTest;

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
    ASSERT_EQ(write_gif(path("a.gif"), 2, 3, {1, 1, 1, 1, 1, 2}, {{1, 0x1234, 0x5678, 0x9ABC}}), 0u);
    bytes_of_file b = read_bytes(path("a.gif"));
    bytes_of_file head(b.begin(), b.begin() + 19);
    EXPECT_EQ(head, bytes_of_file({'G', 'I', 'F', '8', '7', 'a', 2, 0, 3, 0, 0xFF, 0, 0, 0, 0, 0, 0x12, 0x56, 0x9A}));
    bytes_of_file image(b.begin() + 781, b.begin() + 792);
    EXPECT_EQ(image, bytes_of_file({0x2C, 0, 0, 0, 0, 2, 0, 3, 0, 7, 8}));
    // 256, 1, 258, 258, 2, 257 and four codes of 0, of 9 bits each; the 2 bits behind the last whole byte are dropped.
    EXPECT_EQ(data_of(b), bytes_of_file({0x00, 0x03, 0x08, 0x14, 0x28, 0x20, 0x20, 0, 0, 0, 0}));
}

// The bits behind the last whole byte are dropped, so that of four codes of 0 three bytes are certain.
TEST_F(GifWrite, WhatIsWrittenIsRead) {
    for (auto [width, height, values] :
         {std::tuple(1, 1, 256), {2, 1, 256}, {3, 1, 256}, {301, 211, 2}, {501, 411, 256}}) {
        bytes_of_file pixels = random_bytes(static_cast<size_t>(width) * static_cast<size_t>(height), values, 4);
        ASSERT_EQ(write_gif(path("a.gif"), width, height, pixels), 0u);
        bytes_of_file data = data_of(read_bytes(path("a.gif")));
        ASSERT_GT(data.size(), 4u) << width;
        EXPECT_EQ(bytes_of_file(data.end() - 3, data.end()), bytes_of_file(3));
        picture_read p = read_gif(path("a.gif"));
        EXPECT_EQ(p.pixels, pixels) << width << " " << values;
        EXPECT_FALSE(p.damaged);
    }
}

TEST_F(GifWrite, BilevelLines) {
    CFILE* c = new_gif(path("a.gif"), 1, 19, 2);
    ASSERT_NE(c, nullptr);
    const uint8_t line[4] = {0x01, 0x80, 0x00, 0x20}; // pixels 0, 15 and 18
    EXPECT_EQ(rzl_putline(c, line), 0);
    EXPECT_EQ(rzl_putline(c, nullptr), 0);
    EXPECT_EQ(rzl_finish(c), 0u);
    picture_read p = read_gif(path("a.gif"));
    bytes_of_file expected(38);
    expected[0] = expected[15] = expected[18] = 1;
    EXPECT_EQ(p.pixels, expected);
    EXPECT_TRUE(p.bits == 8 && p.entries == 256 && p.format == 29);
    bytes_of_file b = read_bytes(path("a.gif"));
    EXPECT_EQ(bytes_of_file(b.begin() + 13, b.begin() + 22), bytes_of_file({0, 0, 0, 255, 255, 255, 2, 2, 2}));
}

TEST_F(GifWrite, Colours) {
    const color_table table = {{5, 0xFF00, 0x8000, 0x0100}, {256, 1, 1, 1}, {5, 0, 0, 0}};
    struct {
        int bits, red, green;
    } cases[] = {{0, 0xFF, 0x80}, {8, 0xFF, 0x80}, {6, 0x3F, 0x20}, {16, 0xFF, 0x80}};
    for (auto expected : cases) {
        CFILE* c = new_gif(path("a.gif"), 29, 1, 1, table);
        set_field_to(c, 31, expected.bits);
        set_field_to(c, 6, 2); // the third entry is not announced
        EXPECT_TRUE(rzl_putline(c, "\5") == 0 && rzl_finish(c) == 0);
        bytes_of_file b = read_bytes(path("a.gif"));
        EXPECT_TRUE(b[28] == expected.red && b[29] == expected.green) << expected.bits;
    }
    // A count of more entries than there can be: the sanitizer sees it when more than 256 are read.
    const color_table full = some_table();
    CFILE* c = new_gif(path("a.gif"), 29, 1, 1, full);
    set_field_to(c, 6, 70000);
    EXPECT_TRUE(rzl_putline(c, "\7") == 0 && rzl_finish(c) == 0);
    EXPECT_EQ(read_gif(path("a.gif")).colors, bytes_of_file({7 * 77 % 256, 77, 248}));
    // No table: grey over the values of the file's bits.
    c = new_gif(path("a.gif"), 29, 4, 1);
    set_field_to(c, 507, 2);
    EXPECT_TRUE(rzl_putline(c, "\0\1\2\3") == 0 && rzl_finish(c) == 0);
    EXPECT_EQ(read_gif(path("a.gif")).colors, bytes_of_file({0, 0, 0, 85, 85, 85, 170, 170, 170, 255, 255, 255}));
}

TEST_F(GifWrite, LinesInAnyOrderAndReadBack) {
    CFILE* c = new_gif(path("a.gif"), 2, 3, 3, {}, rzl_open_wr);
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(rzl_write_header(c), 0);
    for (const char* line : {"222", "1xx", "111", "000"})
        EXPECT_TRUE(rzl_seek(c, line[0] - '0') == 0 && rzl_putline(c, line) == 0) << line;
    uint8_t line[3];
    for (char y : {'2', '0', '1'}) {
        EXPECT_TRUE(rzl_seek(c, y - '0') == 0 && rzl_getline(c, line) == 0);
        EXPECT_EQ(line[2], y);
    }
    EXPECT_TRUE(rzl_rewind(c) == 0 && rzl_putline(c, line) == 1 && c->status == RZL_MODIFY_COMPRESSED);
    set_field_to(c, 2, 9);
    EXPECT_EQ(field_of(c, 2), 3);
    EXPECT_EQ(rzl_finish(c), 0u);
    EXPECT_EQ(read_gif(path("a.gif")).pixels, bytes_of("000111222"));
}

TEST_F(GifWrite, WhatIsRefused) {
    CFILE* c = new_gif(path("a.gif"), 29, 2, 2);
    ASSERT_NE(c, nullptr);
    EXPECT_TRUE(set_field_to(c, 3, 28) == 1 && c->status == RZL_NOT_STANDARD);
    EXPECT_TRUE(set_field_to(c, 100, 16) == 0 && field_of(c, 100) == 0) << "there are no tiles";
    testing::internal::CaptureStderr();
    EXPECT_TRUE(rzl_putline3(c, "aa", "bb", "cc") == 1 && c->status == RZL_UNSUPPORTED);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Can't write 3-bands to gif file\nGif is 8-bit w/color_table format\n");
    EXPECT_TRUE(rzl_rewind(c) == 0 && rzl_putline(c, "ab") == 0);
    EXPECT_EQ(rzl_finish(c), RZL_WRITE_FAILED) << "a line is missing";
    for (auto [width, height] : {std::pair(0, 5), {65536, 1}, {1, 65536}}) {
        c = new_gif(path("a.gif"), 29, width, height);
        EXPECT_TRUE(rzl_write_header(c) == 1 && c->status == RZL_BAD_IMAGE_SIZE);
        EXPECT_EQ(rzl_finish(c), 0u);
    }
}

TEST_F(GifWrite, TheEndOfTheFile) {
    ASSERT_EQ(write_gif(path("a.gif"), 2, 1, {1, 2}), 0u);
    const bytes_of_file whole = read_bytes(path("a.gif"));
    for (long missing : {0, 2}) {
        write_bytes(path("a.gif"), bytes_of_file(whole.begin(), whole.end() - missing));
        CFILE* c = rzl_open_rw(path("a.gif").c_str());
        EXPECT_TRUE(c != nullptr && rzl_putline(c, "xx") == 1 && c->status == RZL_MODIFY_COMPRESSED);
        EXPECT_EQ(rzl_finish(c), 0u);
        EXPECT_EQ(read_bytes(path("a.gif")), whole) << missing;
    }
    bytes_of_file block(2000);
    rzl_memfile record = {block.data(), 2000, 0, 0, 0, 0};
    char name[40];
    ASSERT_EQ(rzl_memfile_name(&record, name, sizeof name), 0);
    ASSERT_EQ(write_gif(name, 2, 1, {1, 2}), 0u);
    EXPECT_EQ(bytes_of_file(block.begin(), block.begin() + record.position), whole);
    record = {block.data(), 300, 0, 0, 0, 0};
    EXPECT_EQ(write_gif(name, 2, 1, {1, 2}), RZL_WRITE_FAILED);
}

TEST_F(GifWrite, EveryFailureHasItsStatus) {
    bytes_of_file pixels = random_bytes(300 * 400, 256, 5);
    std::string p = path("s.gif");
    std::vector<rzl_vlt_entry> table = some_table();
    ASSERT_EQ(write_gif(p, 300, 400, pixels, table), 0u);
    const bytes_of_file whole = read_bytes(p);
    for (bool memory : {false, true}) {
        for (bool onward : {false, true}) {
            sweep(
                memory, onward, [&] { return write_gif(p, 300, 400, pixels, table); },
                [&](bool good) {
                    if (good) {
                        EXPECT_EQ(read_bytes(p), whole);
                    }
                });
        }
    }
}
