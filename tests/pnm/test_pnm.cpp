// PNM files: headers and lines byte by byte, texts as programs write them, values that are scaled, runs, and bad input.
#include "raster/PNM/pnmmisc.h"
#include "raster/formats_fixture.h"

using Pnm = FormatTest;

TEST_F(Pnm, TheBytesOfAFile) {
    const bytes_of_file nine = {0x80, 0xA5}; // 1010 0101 1
    bytes_of_file grey(17, 7);
    grey[1] = 255;
    grey[16] = 10;
    const bytes_of_file color = {1, 2, 3, 40, 50, 60, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 255, 255, 255};
    std::string grey_text = "   7 255";
    for (int i = 0; i < 14; ++i)
        grey_text += "   7";
    struct {
        int format, width;
        bytes_of_file pixels;
        field_values fields;
        std::string expected;
    } cases[] = {
        {1, 9, nine, {}, "P4 9 1\n\x5A" + std::string(1, '\0')},
        {1, 9, nine, {{501, 7}}, "P1 9 1\n0 1 0 1 1 0 1 0 0 \n"},
        {9,
         32,
         {0, 0, 255, 255},
         {{660, 1}},
         "P1 32 1\n1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0\n\n"},
        {2, 3, {0, 128, 255}, {}, std::string("P5 3 1 255\n\0\x80\xFF", 14)},
        {29, 17, grey, {{501, 7}}, "P2 17 1 255\n" + grey_text + "\n  10\n"},
        {27, 1, {'a', 'b', 'c'}, {}, "P6 1 1 255\nabc"},
        {28,
         7,
         color,
         {{660, 1}},
         "P3 7 1 255\n   1   2   3  40  50  60   0   0   0   0   0   0   0   0   0   0   0   0\n 255 255 255\n"},
        {2, 2, {5, 255}, {{23, 15}}, "P5 2 1 15\n\x05\x0F"},
        {2, 2, {5, 255}, {{23, 1000}}, std::string("P5 2 1 1000\n\0\x05\0\xFF", 16)},
        {2, 1, {9}, {{501, 7}, {501, 0}}, "P5 1 1 255\n\x09"},
    };
    for (const auto& k : cases) {
        SCOPED_TRACE(k.expected);
        // Text first, the data format then: a text kind stays one.
        EXPECT_EQ(write_picture(path("a"), 14, k.format, k.width, 1, k.pixels, k.fields), 0u);
        EXPECT_EQ(read_bytes(path("a")), bytes_of(k.expected));
        CFILE* c = rzl_open_w(path("b").c_str());
        set_fields(c, {{500, 14}});
        set_fields(c, k.fields);
        set_fields(c, {{3, k.format}, {1, k.width}, {2, 1}});
        EXPECT_EQ(put_lines(c, 1, k.pixels), 0u);
        EXPECT_EQ(rzl_finish(c), 0u);
        EXPECT_EQ(read_bytes(path("b")), read_bytes(path("a")));
    }
}

TEST_F(Pnm, Texts) {
    const bytes_of_file a = {1, 2, 3, 4}, bits = {0, 1, 1};
    struct {
        std::string text;
        bytes_of_file pixels;
    } good[] = {
        {"P2 2 2 255 1 2 3 4", a},
        {"P2\n# one\n2 # two\n2\n255\n1\n\n2\t3\r\n4", a},
        {"P2#one\n2#two\n2#" + std::string(700, 'x') + "\n255#four\n1#five\n2 3 00000000000000004\n", a},
        {"P2 2 2 4 1 2 3 4", {64, 128, 191, 255}},
        {"P2 2 2 3 1 2 3 99999999999999999999999", {85, 170, 255, 255}},
        {"P2 2 2 65535 257 514 771 1028", a},
        {"P2 2 2 1000 0 2 998 1000", {0, 1, 254, 255}},
        {"P1 3 1 100", bits},
        {"P1 3 1\n1# comment 01\n0 \r\n0", bits},
        {std::string("P4 3 1\n\x80", 8), bits},
        {std::string("P4#c\n3 1\n\x9F", 10), bits},
        {std::string("P5 2 2 255 \1\2\3\4", 15), a},
        {std::string("P5 2 2 65535\n\1\1\2\2\3\3\4\4", 21), a},
        {std::string("P5 2 2 5#comment\n\0\1\3\x7F", 21), {0, 51, 153, 255}},
        {"P3 1 1 255 7 8 9", {7, 8, 9}},
        {std::string("P6 1 1 65535\n\7\7\x8\x8\x9\x9", 19), {7, 8, 9}},
    };
    for (const auto& k : good) {
        SCOPED_TRACE(k.text.substr(0, 60));
        const picture p = read_made(bytes_of(k.text));
        EXPECT_EQ(pixels_of(p), k.pixels);
        EXPECT_EQ(p.status, 0u) << rzl_status_name(p.status);
    }
    // The same with a fault, at the open or at the first line.
    struct {
        const char* text;
        int lines; // that are read before the fault; -1: it is not opened
    } bad[] = {
        {"P2 0 2 255 1 2 3 4", -1},  {"P2 2 2147483648 255 1 2", -1},
        {"P2 2 2 0 1 2 3 4", -1},    {"P2 2 2 65536 1 2 3 4", -1},
        {"P2 2 2 x 1 2 3 4", -1},    {"P2 2 2 255x1 2 3 4", -1},
        {"P22 2 2 255 1 2 3 4", -1}, {"P2 2 -2 255 1 2 3 4", -1},
        {"P2 2 2 255", -1},          {"P2 2 2 255 1 x 3 4", 0},
        {"P2 2 2 255 1 2 3 -4", 1},  {"P2 2 2 255 1 2 3", 1},
        {"P1 3 2 101 120", 1},       {"P1 3 1 1", 0},
        {"P5 4 1 255 123", 0},       {"P6 2147483647 9 255 123", 0},
        {"P4 2147483647 9 123", 0},  {"P3 2147483647 2147483647 255 123", 0},
    };
    for (const auto& k : bad) {
        SCOPED_TRACE(k.text);
        EXPECT_EQ(lines_before_fault(k.text), k.lines);
    }
}

TEST_F(Pnm, FieldsCopiesAndCuts) {
    for (int format : {1, 2, 27}) {
        for (int text : {0, 1}) {
            SCOPED_TRACE(std::to_string(format) + " " + std::to_string(text));
            ASSERT_EQ(write_picture(path("a"), 14, format, 33, 5, some_samples(500, 256, 9), {{660, text}}), 0u);
            CFILE* c = opened(rzl_open_r(path("a").c_str()));
            expect_fields(c, {{660, text}, {501, text * 7}, {403, format == 27 ? 0 : 3 - format}});
            expect_fields(c, {{5, 0}, {9, 4}, {503, 1}});
            EXPECT_TRUE(status_of(c) == 0 && field_of(c, 11) == 0 && status_of(c) == RZL_BAD_FIELD_ID);
            EXPECT_EQ(refusal(c, rzl_seek(c, 6)), RZL_PAST_END);
            // Its data as it is in another file of the kind, and in none of another.
            CFILE* to = new_file(path("b"), 14, format, 33, 5, {{660, text}});
            EXPECT_EQ(rzl_copy_data(c, to), 0);
            EXPECT_EQ(rzl_finish(to), 0u);
            EXPECT_EQ(read_bytes(path("b")), read_bytes(path("a")));
            to = new_file(path("b"), 14, format, 33, 5, {{660, 1 - text}});
            EXPECT_TRUE(rzl_copy_data(c, to) != 0 && status_of(to) == RZL_NOT_STANDARD);
            rzl_close(to);
            rzl_close(c);
        }
    }
    const bytes_of_file text = bytes_of("P2 2 3 255\n 1 2 3 4\n5 6");
    expect_cuts_tell(text, 11, text.size() - 1);
    const bytes_of_file raw = bytes_of("P6 2 3 255\nabcdefghijklmnopqr");
    expect_cuts_tell(raw, 11, raw.size());
    expect_refused(raw, {{"kind", 1, bytes_of("7"), RZL_READ_FAILED}, {"width", 3, bytes_of("0"), RZL_READ_FAILED}});
}

TEST_F(Pnm, WhatDoesNotFitIsRefused) {
    CFILE* c = new_file(path("a"), 14, 27, 1, 1);
    EXPECT_EQ(refusal(c, rzl_putline3(c, nullptr, nullptr, nullptr)), RZL_NO_OUTPUT_BUFFER);
    EXPECT_EQ(rzl_seek(c, 0), 0);
    EXPECT_EQ(refusal(c, rzl_putline(c, "a")), RZL_NOT_STANDARD);
    EXPECT_TRUE(rzl_seek(c, 0) == 0 && rzl_putline3(c, "a", nullptr, "c") == 0);
    EXPECT_EQ(refusal(c, rzl_putline3(c, "a", "b", "c")), RZL_PAST_END);
    EXPECT_EQ(rzl_finish(c), 0u);
    EXPECT_EQ(read_picture(path("a")).colors, (bytes_of_file{'a', 0, 'c'}));
    EXPECT_EQ(refused(new_file(path("a"), 14, 3, 1, 1)), RZL_BAD_FIELD_ID);
    EXPECT_EQ(refused(new_file(path("a"), 14, 2, 1, 1, {{23, 65536}})), RZL_BAD_FIELD_VALUE);
    rzl_stat stat = {};
    c = rzl_open_w(path("a").c_str());
    set_fields(c, {{500, 14}});
    EXPECT_EQ(rzl_get_stat(c, &stat), 0);
    stat.format = 3;
    stat.xsize = stat.ysize = 1;
    EXPECT_TRUE(rzl_set_stat(c, &stat) == 0 && rzl_putline3(c, "A", "B", "C") == 0);
    EXPECT_EQ(rzl_finish(c), 0u);
    EXPECT_EQ(read_bytes(path("a")), bytes_of("P3 1 1 255\n  65  66  67\n"));
}

// A line as runs, and room that is too small for it, which leaves the line to be read again.
TEST_F(Pnm, LinesAsRuns) {
    struct {
        std::string file;
        std::vector<uint32_t> words;
        size_t word;
    } cases[] = {
        {std::string("P4 9 1\n\x5A\x80", 9), {0, 1, 1, 1, 2, 1, 1, 1, 1}, 2}, // bits of the line 1010 0101 0
        {"P1 3 1 101", {1, 1, 1}, 2},
        {"P1 2 1 10", {1, 1, 0}, 2},
        {"P5 5 1 255 aaabb", {'a', 3, 'b', 2}, 2},
        {"P6 3 1 255 abcabcabd", {'c' | 'b' << 8 | 'a' << 16 | 2u << 24, 'd' | 'b' << 8 | 'a' << 16 | 1u << 24}, 4},
    };
    for (const auto& k : cases) {
        SCOPED_TRACE(k.file);
        CFILE* c = open_made(bytes_of(k.file));
        bytes_of_file room(k.words.size() * k.word + 1);
        for (size_t less = k.words.size(); less > 0; --less) {
            auto size = static_cast<int32_t>(room.size() - 1 - less);
            EXPECT_EQ(refusal(c, rzl_get_rle_line(c, &room[1], &size)), RZL_RLE_BUFFER_SMALL);
            EXPECT_GE(size, static_cast<int32_t>(room.size() - 1));
        }
        auto size = static_cast<int32_t>(room.size() - 1);
        EXPECT_EQ(rzl_get_rle_line(c, &room[1], &size), 0);
        EXPECT_EQ(size, static_cast<int32_t>(room.size() - 1));
        for (size_t i = 0; i < k.words.size(); ++i) {
            uint32_t word = 0;
            std::memcpy(&word, &room[1 + i * k.word], k.word);
            EXPECT_EQ(word, k.words[i]) << i;
        }
        EXPECT_EQ(refusal(c, rzl_get_rle_line(c, &room[1], &size)), RZL_PAST_END);
        rzl_close(c);
    }
    // Runs longer than a word, and room for a part of them.
    const bytes_of_file clear(80000 / 8);
    bytes_of_file runs(64);
    size_t size = runs.size();
    EXPECT_EQ(rzl_runs_from_bits(&size, 80000, clear.data(), runs.data()), 80000u);
    EXPECT_EQ(size, 10u); // 32767, 0, 32767, 0, 14466
    size = 8;
    EXPECT_EQ(rzl_runs_from_bits(&size, 80000, clear.data(), runs.data()), 65534u);
    EXPECT_EQ(size, 8 + RUNS_MORE_ROOM);
    const bytes_of_file same(600, 5);
    size = 8;
    EXPECT_EQ(rzl_runs_from_planes(&size, 600, same.data(), same.data(), same.data(), runs.data()), 510u);
}
