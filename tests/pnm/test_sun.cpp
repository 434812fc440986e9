// Sun raster files: headers, maps, pixels of every depth and runs byte by byte, and bad input.
#include "raster/formats_fixture.h"

using Sun = FormatTest;

namespace {

struct sun_parts {
    int64_t width = 3, height = 1, depth = 8, length = 0, type = 1, map_type = 0, map_length = 0;
    bytes_of_file map, lines;
    bool big = true;

    bytes_of_file file() const {
        bytes_made b;
        for (int64_t word : {int64_t{0x59A66A95}, width, height, depth, length, type, map_type, map_length})
            big ? b.u32big(word) : b.u32(word);
        return b.bytes(map).bytes(lines).made;
    }
};

} // namespace

TEST_F(Sun, TheBytesOfAFile) {
    const color_table table = {{0, 0x1234, 0x5678, 0x9ABC}, {1, 0xFFFF, 0x8000, 0x0800}};
    bytes_of_file bits(38, 0xFF); // 304 pixels that are white, which coded bits mean by clear ones
    struct {
        int format, width;
        bytes_of_file pixels;
        bool with_table;
        sun_parts expected;
    } cases[] = {
        {2, 3, {1, 2, 3}, false, {3, 1, 8, 4, 1, 0, 0, {}, {1, 2, 3, 0}}},
        {29, 2, {1, 0}, true, {2, 1, 8, 2, 1, 1, 6, {0x12, 0xFF, 0x56, 0x80, 0x9A, 0x08}, {1, 0}}},
        {27, 1, {7, 8, 9}, false, {1, 1, 24, 4, 1, 0, 0, {}, {7, 8, 9, 0}}},
        {28, 2, {1, 2, 3, 4, 5, 6}, false, {2, 1, 24, 6, 1, 0, 0, {}, {1, 2, 3, 4, 5, 6}}},
        {1, 9, {0x80, 0xA5}, false, {9, 1, 1, 2, 1, 0, 0, {}, {0xA5, 0x80}}},
        {9, 304, bits, false, {304, 1, 1, 3, 2, 0, 0, {}, {128, 37, 0}}},
        {24, 16, {0x7F, 0x7F}, false, {16, 1, 1, 4, 2, 0, 0, {}, {128, 0, 128, 0}}},
        {9, 16, {0x7F, 0x12}, false, {16, 1, 1, 3, 2, 0, 0, {}, {0xED, 128, 0}}},
    };
    for (const auto& k : cases) {
        SCOPED_TRACE(k.format);
        EXPECT_EQ(
            write_picture(path("a"), 15, k.format, k.width, 1, k.pixels, {}, k.with_table ? table : color_table()), 0u);
        EXPECT_EQ(read_bytes(path("a")), k.expected.file());
        const picture p = read_picture(path("a"));
        EXPECT_EQ(format_is_color(k.format) ? p.colors : p.values, k.pixels);
        EXPECT_TRUE(!k.with_table || p.colors == looked_up(k.pixels, table));
    }
}

TEST_F(Sun, FilesOfEveryKind) {
    const bytes_of_file map = {10, 11, 20, 21, 30, 31};
    const bytes_of_file three = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    struct {
        sun_parts file;
        int format, samples, bits, entries;
        bytes_of_file values, colors;
    } cases[] = {
        {{3, 1, 8, 0, 0, 0, 0, {}, {5, 6, 7, 0}}, 2, 1, 8, 0, {5, 6, 7}, {5, 5, 5, 6, 6, 6, 7, 7, 7}},
        {{3, 1, 8, 0, 1, 1, 6, map, {0, 1, 2, 0}}, 2, 1, 8, 2, {0, 1, 2}, {10, 20, 30, 11, 21, 31, 0, 0, 0}},
        {{3, 1, 8, 0, 1, 2, 6, map, {0, 1, 5, 0}}, 2, 1, 8, 6, {0, 1, 5}, {10, 10, 10, 11, 11, 11, 31, 31, 31}},
        {{3, 1, 24, 0, 1, 0, 0, {}, {1, 2, 3, 4, 5, 6, 7, 8, 9, 0}}, 27, 1, 24, 0, {}, three},
        {{3, 1, 24, 0, 3, 0, 0, {}, {1, 2, 3, 4, 5, 6, 7, 8, 9, 0}}, 27, 3, 8, 0, {}, three},
        {{3, 1, 32, 0, 1, 0, 0, {}, {1, 2, 3, 99, 4, 5, 6, 99, 7, 8, 9, 99}}, 27, 1, 32, 0, {}, three},
        {{9, 1, 1, 0, 1, 0, 0, {}, {0xA5, 0x80}}, 9, 1, 1, 0, {0x80, 0xA5}, {}},
        {{9, 1, 1, 0, 1, 1, 6, map, {0xA5, 0x80}}, 9, 1, 1, 2, {0x80, 0xA5}, {}},
        {{9, 1, 8, 0, 2, 0, 0, {}, {0x5A, 0x7F}}, 9, 1, 1, 0, {0x80, 0xA5}, {}},
    };
    for (auto& k : cases) {
        for (bool big : {true, false}) {
            SCOPED_TRACE(std::to_string(k.file.type) + " of " + std::to_string(k.file.depth));
            k.file.big = big;
            CFILE* c = open_made(k.file.file());
            expect_fields(c, {{3, k.format}, {506, k.samples}, {507, k.bits}, {6, k.entries}});
            expect_fields(c, {{5, k.entries > 0 ? 2 : 0}, {9, 4}});
            rzl_vlt_entry entries[256] = {};
            EXPECT_EQ(refusal(c, rzl_get_vlt(c, entries)), k.entries > 0 ? 0 : RZL_NO_VLT);
            EXPECT_EQ(entries[1].red, k.entries > 0 ? 11 << 8 : 0);
            bytes_of_file whole(30);
            if (k.format == 27) {
                EXPECT_GE(rzl_interleaved_size(c), 9u);
                EXPECT_EQ(rzl_getline_interleaved(c, whole.data()), 0);
                EXPECT_EQ(part(whole, 0, 9), k.colors);
                EXPECT_EQ(rzl_rewind(c), 0);
            }
            const picture p = read_lines(c);
            EXPECT_TRUE(p.status == 0 && (k.values.empty() || p.values == k.values));
            EXPECT_TRUE(k.colors.empty() || p.colors == k.colors);
            rzl_close(c);
        }
    }
    // Two colours of a map.
    EXPECT_EQ(read_made(sun_parts{2, 1, 1, 0, 1, 1, 6, map, {0x40, 0}}.file()).colors,
              (bytes_of_file{10, 20, 30, 11, 21, 31}));
}

// Runs that go on in the lines that follow, from line to line and by jumps.
TEST_F(Sun, RunsOfSeveralLines) {
    const bytes_of_file codes = hex("F0 80060F 8000 8002FF 01");
    const bytes_of_file bytes = hex("F0 0F0F0F0F0F0F0F 80 FFFFFF 01");
    bytes_of_file values;
    for (size_t i = 0; i + 1 < bytes.size(); i += 2)
        for (size_t place : {i + 1, i}) // words of the line, whose bits are the other way round
            values.push_back(static_cast<uint8_t>(~bytes[place]));
    EXPECT_EQ(read_made(sun_parts{16, 6, 1, 0, 2, 0, 0, {}, codes}.file()).values, values);
    expect_seeks(path("made"));
    // Inside of a run the line is still the next one when its runs have no room.
    CFILE* c = opened(rzl_open_r(path("made").c_str()));
    EXPECT_EQ(rzl_seek(c, 1), 0);
    // 1111 0000 1111 0000: the first run is empty.
    EXPECT_EQ(next_runs(c), (std::vector<uint16_t>{0, 4, 4, 4, 4}));
    rzl_close(c);
    // The same data and header in another file, and the same lines put as runs.
    for (auto [width, format] : {std::pair(1000, 9), {33, 1}, {5, 2}, {6, 27}}) {
        SCOPED_TRACE(std::to_string(width) + " format " + std::to_string(format));
        const bool bits = format_is_bilevel(format);
        const bytes_of_file samples = some_samples(static_cast<size_t>(width) * 39, bits ? 2 : 256, 1);
        const bytes_of_file lines = bits ? words_of(samples, width, 13) : samples;
        ASSERT_EQ(write_picture(path("a"), 15, format, width, 13, lines), 0u);
        CFILE* from = opened(rzl_open_r(path("a").c_str()));
        CFILE* to = rzl_open_w(path("b").c_str());
        EXPECT_TRUE(set_field_to(to, 500, 15) == 0 && rzl_init_header_from(from, to) == 0 &&
                    rzl_copy_data(from, to) == 0);
        EXPECT_EQ(rzl_finish(to), 0u);
        EXPECT_EQ(read_bytes(path("b")), read_bytes(path("a")));
        to = new_file(path("b"), 15, format, width, 13);
        rzl_rewind(from);
        for (int y = 0; y < 13 && bits; ++y) {
            bytes_of_file buffer(4096);
            int32_t used = 4096;
            EXPECT_EQ(rzl_get_rle_line(from, buffer.data(), &used), 0);
            EXPECT_EQ(rzl_put_rle_line(to, buffer.data(), used), 0);
        }
        EXPECT_EQ(rzl_finish(to), 0u);
        EXPECT_TRUE(!bits || read_bytes(path("b")) == read_bytes(path("a")));
        rzl_close(from);
    }
}

// What only other programs write: bytes and colours in runs.
TEST_F(Sun, CodedBytesOfOtherPrograms) {
    const sun_parts grey = {3, 2, 8, 0, 2, 0, 0, {}, {128, 4, 7, 128, 0, 1, 0}};
    const sun_parts color = {1, 2, 24, 0, 2, 0, 0, {}, {128, 4, 7, 9, 128, 0, 0}};
    extended_guard extended(true);
    EXPECT_EQ(read_made(grey.file()).values, (bytes_of_file{7, 7, 7, 7, 128, 1}));
    EXPECT_EQ(read_made(color.file()).colors, (bytes_of_file{7, 7, 7, 7, 9, 128}));
}

TEST_F(Sun, BadInput) {
    const bytes_of_file map(30, 1);
    const bytes_of_file lines = {1, 2, 3, 0, 4, 5, 6, 0};
    const bytes_of_file good = sun_parts{3, 2, 8, 8, 1, 1, 30, map, lines}.file();
    expect_refused(good, {
                             {"type 4", 23, {4}, RZL_UNSUPPORTED},
                             {"type 5", 23, {5}, RZL_UNSUPPORTED},
                             {"type 6", 23, {6}, RZL_READ_FAILED},
                             {"depth 4", 15, {4}, RZL_NOT_STANDARD_2},
                             {"no width", 7, {0}, RZL_READ_FAILED},
                             {"a width that is none", 4, {0x80}, RZL_READ_FAILED},
                             {"a height that is none", 8, {0xFF}, RZL_READ_FAILED},
                             {"a width that the file does not hold", 5, {0x10}, RZL_READ_FAILED},
                             {"a map longer than the file", 28, {0x40}, RZL_READ_FAILED},
                             {"no magic", 0, {0x58}, RZL_READ_FAILED},
                         });
    expect_cuts_tell(good, 62, good.size());
    const bytes_of_file coded = sun_parts{16, 3, 1, 0, 2, 0, 0, {}, hex("800209 01 8000 8000")}.file();
    expect_cuts_tell(coded, 32, coded.size());
    // What does not fit a file, and fields that it does not have.
    CFILE* c = new_file(path("a"), 15, 27, 1, 1);
    EXPECT_EQ(refusal(c, rzl_putline(c, "a")), RZL_NOT_STANDARD_2);
    EXPECT_EQ(rzl_seek(c, 0), 0);
    EXPECT_EQ(refusal(c, rzl_putline3(c, "a", nullptr, "c")), RZL_NOT_STANDARD_2);
    EXPECT_TRUE(field_of(c, 8) == 0 && status_of(c) == 0 && field_of(c, 504) == 0 && status_of(c) == 0);
    EXPECT_TRUE(field_of(c, 11) == 0 && status_of(c) == RZL_BAD_FIELD_ID);
    EXPECT_EQ(rzl_finish(c), 0u);
    EXPECT_EQ(refused(new_file(path("a"), 15, 3, 1, 1)), RZL_NOT_STANDARD_2);
    EXPECT_EQ(refused(new_file(path("a"), 15, 2, 1, 1, {{501, 1}})), RZL_BAD_FIELD_ID);
    EXPECT_EQ(refused(new_file(path("a"), 15, 2, 1, 1, {{6, 257}})), RZL_BAD_FIELD_VALUE);
}
