// What holds of every standard that is written: pictures come back as they were put, lines in any order, before the
// close and after it; files are changed in their places or say that they can't be; sizes are refused; and every failing
// allocation, read and write has its status.
#include "raster/formats_fixture.h"

namespace {

using Formats = FormatTest;

// What a file allows.
enum {
    BACK = 1,     // a new file is read back before it is closed
    ORDER = 2,    // lines of a new file come in any order
    PLACE = 4,    // lines of a finished file are changed
    NEAR = 8,     // pixels come back nearly as they were
    UPDATED = 16, // a finished file opens for changes, and a line is refused; with neither it does not even open
    TURNED = 32,  // lines that were put from the top are stored from the bottom
    TODAY = 64,   // a file of today's programs
};

using size_list = std::vector<std::pair<int, int>>;
const size_list ANY = {{50, 9}, {1, 1}, {2, 1}, {1, 2}, {7, 3}, {16, 2}, {17, 5}, {129, 3}, {257, 7}, {701, 4}};
const size_list TILED = {{20, 18}, {1, 1}, {64, 64}, {300, 41}};
const size_list PAGES = {{530, 20}, {1, 1}, {17, 3}, {511, 513}, {512, 512}, {1000, 600}, {1025, 5}};
const size_list LONG = {{50, 9}, {1, 1}, {15, 3}, {16, 3}, {300, 40}, {65535, 2}};

struct kind {
    const char* what;
    int standard, format;
    int values; // of a sample
    field_values fields;
    size_list sizes; // the first one small, for the sweeps
    int table;       // entries, or 0
    unsigned allows;
    int read_as; // the data format
};

const kind KINDS[] = {
    {"native bytes", 0, 2, 256, {}, {{900, 30}, {1, 1}, {57, 9}}, 0, BACK | PLACE, 2},
    {"native runs", 0, 29, 256, {}, {{70, 9}, {1, 1}, {301, 7}}, 0, BACK | UPDATED, 29},
    {"native group 3", 0, 23, 2, {}, PAGES, 0, UPDATED, 23},
    {"native group 4", 0, 24, 2, {}, PAGES, 0, UPDATED, 24},
    {"TIFF", 1, 2, 256, {{505, 5}}, {{40, 36}, {1, 1}, {301, 17}}, 0, BACK | ORDER | PLACE, 2},
    {"TIFF bits", 1, 1, 2, {}, ANY, 0, BACK | ORDER | PLACE, 1},
    {"TIFF group 4", 1, 1, 2, {{501, 4}, {505, 5}}, ANY, 0, BACK | UPDATED, 24},
    {"TIFF LZW in planes", 1, 28, 256, {{501, 5}, {503, 2}, {505, 5}}, ANY, 0, BACK | UPDATED, 27},
    {"TIFF LZW", 1, 28, 256, {{501, 5}, {505, 5}}, ANY, 0, BACK | UPDATED, 27},
    {"TIFF deflate", 1, 28, 256, {{501, 8}, {505, 5}}, ANY, 0, BACK | UPDATED | TODAY, 27},
    {"TIFF PackBits in planes", 1, 28, 256, {{501, 32773}, {503, 2}, {505, 5}}, ANY, 0, BACK | UPDATED, 27},
    {"TIFF tiles", 1, 28, 256, {{100, 16}}, TILED, 0, BACK | PLACE, 28},
    {"TIFF tiles of bytes", 1, 2, 256, {{100, 16}, {5, 2}}, TILED, 256, BACK | PLACE, 2},
    {"TIFF coded tiles", 1, 2, 16, {{501, 32773}, {100, 16}, {5, 2}}, TILED, 16, BACK | UPDATED, 29},
    {"GIF", 2, 29, 256, {}, {{300, 400}, {1, 1}, {2, 1}, {3, 1}, {501, 411}}, 256, BACK | ORDER | UPDATED, 29},
    {"GIF of two colours", 2, 29, 2, {}, {{50, 9}, {301, 211}}, 256, BACK | ORDER | UPDATED, 29},
    {"Targa bytes", 3, 2, 256, {}, ANY, 0, BACK | ORDER | PLACE, 2},
    {"Targa triples", 3, 28, 256, {}, ANY, 0, BACK | ORDER | PLACE, 28},
    {"Targa runs", 3, 29, 256, {}, ANY, 256, BACK | UPDATED, 29},
    {"Targa runs of few values", 3, 29, 2, {}, ANY, 2, BACK | UPDATED, 29},
    {"Targa runs of triples", 3, 27, 3, {}, ANY, 0, BACK | UPDATED, 27},
    {"BMP bytes", 4, 2, 256, {{9, 6}}, ANY, 256, BACK | ORDER | PLACE, 2},
    {"BMP bytes from the top", 4, 2, 256, {{9, 4}}, ANY, 256, PLACE | TURNED, 2},
    {"BMP nibbles", 4, 2, 16, {{507, 4}, {9, 6}}, ANY, 16, BACK | ORDER | PLACE, 2},
    {"BMP triples", 4, 28, 256, {{9, 6}}, ANY, 0, BACK | ORDER | PLACE, 28},
    {"BMP bits", 4, 1, 2, {{9, 6}}, ANY, 0, BACK | ORDER | PLACE, 1},
    {"BMP runs of bytes", 4, 29, 256, {{9, 6}}, ANY, 256, UPDATED, 29},
    {"BMP runs of few bytes", 4, 29, 3, {{9, 4}}, ANY, 256, UPDATED | TURNED, 29},
    {"BMP runs of nibbles", 4, 29, 16, {{507, 4}, {9, 6}}, ANY, 16, UPDATED, 29},
    {"PCX bytes", 5, 29, 256, {}, ANY, 256, BACK | UPDATED, 29},
    {"PCX bits", 5, 9, 2, {}, ANY, 0, BACK | UPDATED, 9},
    {"PCX planes", 5, 27, 256, {}, ANY, 0, BACK | UPDATED, 27},
    {"JFIF of grey", 6, 29, 200, {}, {{50, 9}}, 0, NEAR | UPDATED, 30},
    {"JFIF of colours", 6, 27, 256, {}, {{50, 9}}, 0, NEAR | UPDATED, 31},
    {"ICO nibbles", 9, 2, 16, {}, {{16, 16}, {32, 64}}, 16, BACK | ORDER | PLACE, 2},
    {"ICO bits", 9, 1, 2, {}, {{16, 16}, {64, 32}}, 0, BACK | ORDER | PLACE, 1},
    {"SYM", 10, 1, 2, {}, {{9, 3}, {1, 1}, {33, 255}}, 0, BACK | ORDER | PLACE, 1},
    {"CALS", 11, 24, 2, {}, PAGES, 0, BACK | UPDATED, 24},
    {"CALS from lines of bits", 11, 1, 2, {}, PAGES, 0, BACK | UPDATED, 24},
    {"CALS, coded tiles", 11, 24, 2, {{100, 512}}, PAGES, 0, BACK | UPDATED, 24},
    {"CALS, plain tiles", 11, 1, 2, {{100, 512}, {8, -240}, {9, 5}}, PAGES, 0, BACK | UPDATED, 1},
    {"CALS, an interchange", 11, 24, 2, {{100, 512}, {100, 0}}, PAGES, 0, BACK | UPDATED, 24},
    {"CALS, plain lines", 11, 1, 2, {{100, 512}, {100, 0}}, PAGES, 0, BACK | UPDATED, 1},
    {"NITF", 12, 2, 2, {}, ANY, 2, BACK, 2},
    {"NITF in blocks of 4", 12, 2, 256, {{100, 4}}, TILED, 256, BACK, 2},
    {"NITF in blocks of 64", 12, 2, 256, {{100, 64}}, TILED, 0, BACK, 2},
    {"XBM", 13, 1, 2, {}, ANY, 0, BACK | ORDER | UPDATED, 1},
    {"PNM bits", 14, 1, 2, {}, ANY, 0, BACK | ORDER | PLACE, 1},
    {"PNM bytes", 14, 2, 256, {}, ANY, 0, BACK | ORDER | PLACE, 2},
    {"PNM triples", 14, 27, 256, {}, ANY, 0, BACK | ORDER | PLACE, 27},
    {"PNM text of bits", 14, 1, 2, {{660, 1}}, ANY, 0, BACK | ORDER | UPDATED, 1},
    {"PNM text of bytes", 14, 2, 256, {{660, 1}}, ANY, 0, BACK | ORDER | UPDATED, 2},
    {"PNM text of triples", 14, 27, 256, {{660, 1}}, ANY, 0, BACK | ORDER | UPDATED, 27},
    {"Sun bits", 15, 1, 2, {}, ANY, 0, BACK | ORDER | PLACE, 9},
    {"Sun runs of bits", 15, 9, 2, {}, ANY, 0, BACK | UPDATED, 9},
    {"Sun bytes", 15, 2, 256, {}, ANY, 256, BACK | ORDER | PLACE, 2},
    {"Sun triples", 15, 27, 256, {}, ANY, 0, BACK | ORDER | PLACE, 27},
    {"USGS", 16, 2, 256, {}, {{400, 3}, {450, 5}}, 0, BACK | ORDER | PLACE, 2},
    {"HRF runs of bits", 19, 9, 2, {}, {{20, 3}, {410, 330}}, 0, BACK | PLACE, 9},
    {"HRF bits", 19, 1, 2, {}, {{20, 3}, {410, 330}}, 0, BACK | PLACE, 1},
    {"HRF bytes", 19, 2, 256, {}, {{130, 3}, {500, 2}}, 0, BACK | PLACE, 2},
    {"HRF coded bytes", 19, 29, 5, {}, {{130, 3}, {300, 140}}, 0, BACK | PLACE, 29},
    {"HRF coded triples", 19, 27, 256, {}, {{20, 3}, {130, 129}}, 0, BACK | PLACE, 27},
    {"HRF triples", 19, 28, 256, {}, {{20, 3}, {121, 3}}, 0, BACK | PLACE, 28},
    {"VRLC bits", 20, 9, 2, {}, LONG, 0, BACK | UPDATED, 9},
    {"VRLC bytes", 20, 29, 256, {}, LONG, 0, BACK | UPDATED, 29},
    {"VRLC bytes of pairs", 20, 10, 2, {}, LONG, 0, BACK | UPDATED, 29},
    {"PNG bytes", 23, 2, 256, {}, ANY, 256, UPDATED, 2},
    {"PNG nibbles", 23, 29, 16, {}, ANY, 16, UPDATED, 2},
    {"PNG bits", 23, 9, 2, {}, ANY, 0, UPDATED, 1},
    {"PNG triples", 23, 27, 256, {}, ANY, 0, UPDATED, 28},
};

// A picture of a kind, as its lines are put, and as they are read.
struct sample_picture {
    int width, height;
    bytes_of_file put, read;
    color_table table;
};

sample_picture picture_of(const kind& k, int width, int height, unsigned seed) {
    const bool bits = format_is_bilevel(k.format);
    const size_t step = static_cast<size_t>(width) * (format_is_color(k.format) ? 3 : 1);
    const bytes_of_file samples = some_samples(step * static_cast<size_t>(height), k.values, seed);
    const bytes_of_file lines = bits ? words_of(samples, width, height) : samples;
    bytes_of_file read = lines;
    if ((k.allows & TURNED) != 0) { // the last line comes first
        read.clear();
        const size_t line = lines.size() / static_cast<size_t>(height);
        for (size_t y = static_cast<size_t>(height); y-- > 0;)
            read = joined(read, part(lines, static_cast<long>(y * line), line));
    }
    return {width, height, lines, read, some_table(k.table)};
}

} // namespace

TEST_F(Formats, PicturesComeBack) {
    for (const kind& k : KINDS) {
        if (!is_built(k.standard)) continue;
        const extended_guard extended((k.allows & TODAY) != 0);
        for (auto [width, height] : k.sizes) {
            SCOPED_TRACE(std::string(k.what) + " " + std::to_string(width) + " by " + std::to_string(height));
            const sample_picture s = picture_of(k, width, height, 2);
            ASSERT_EQ(write_picture(path("a"), k.standard, k.format, width, height, s.put, k.fields, s.table), 0u);
            const picture p = read_picture(path("a"));
            EXPECT_TRUE(p.status == 0 && !p.damaged) << rzl_status_name(p.status);
            EXPECT_TRUE(p.width == width && p.height == height && p.format == k.read_as) << p.format;
            if ((k.allows & NEAR) == 0) {
                const bytes_of_file& got = format_is_color(k.format) ? p.colors : p.values;
                EXPECT_TRUE(got == s.read);
                EXPECT_TRUE(k.table == 0 || p.colors == looked_up(s.read, s.table));
            }
            expect_seeks(path("a"));
            const picture same = read_file(path("a"), [&](CFILE* c) {
                EXPECT_EQ(rzl_set_squetch(c, width, height, 0), 0);
                return read_lines(c);
            });
            EXPECT_TRUE(same.values == p.values && (p.colors.empty() || same.colors == p.colors)) << "at its own size";
        }
    }
}

namespace {

// Puts the lines of a new file, those of any order from the middle on, and reads them back before it is closed.
void expect_read_back(const kind& k, CFILE* c, const sample_picture& s) {
    ASSERT_NE(c, nullptr);
    const int height = s.height;
    EXPECT_EQ(rzl_write_header(c), 0);
    const int first = (k.allows & ORDER) != 0 ? height / 2 : 0;
    for (int i = 0; i < height; ++i) {
        const int y = (i + first) % height;
        EXPECT_EQ(rzl_seek(c, y), 0);
        ASSERT_EQ(refusal(c, put_next(c, s.put, y)), 0u) << y;
        if (i != height / 2 || format_is_color(k.format) || k.standard == 11) continue; // a drawing has to be whole
        // The line that was just put, after which the next one goes on.
        bytes_of_file line(rzl_line_size(c));
        EXPECT_TRUE(rzl_seek(c, y) == 0 && rzl_getline(c, line.data()) == 0);
        const auto step = static_cast<long>(s.put.size()) / height;
        EXPECT_EQ(part(line, 0, static_cast<size_t>(step)), part(s.put, step * y, static_cast<size_t>(step)));
    }
    EXPECT_EQ(rzl_rewind(c), 0);
    const picture p = read_lines(c);
    EXPECT_TRUE((format_is_color(k.format) ? p.colors : p.values) == s.read);
    if ((k.allows & (UPDATED | ORDER)) == UPDATED) {
        EXPECT_EQ(rzl_seek(c, 0), 0);
        EXPECT_EQ(refusal(c, put_next(c, s.put, 0)), RZL_MODIFY_COMPRESSED) << "a line comes once";
    }
    EXPECT_EQ(rzl_finish(c), 0u);
}

} // namespace

TEST_F(Formats, NewFilesAreReadBackAndTakeTheirLinesInAnyOrder) {
    bytes_of_file block(400000);
    for (const kind& k : KINDS) {
        if (!is_built(k.standard)) continue;
        const extended_guard extended((k.allows & TODAY) != 0);
        SCOPED_TRACE(k.what);
        const auto [width, height] = k.sizes[0];
        const sample_picture s = picture_of(k, width, height, 3);
        CFILE* c = new_file(path("b"), k.standard, k.format, width, height, k.fields, rzl_open_wr, s.table);
        if ((k.allows & BACK) == 0) {
            if (c != nullptr) rzl_close(c);
            continue;
        }
        expect_read_back(k, c, s);
        ASSERT_EQ(write_picture(path("a"), k.standard, k.format, width, height, s.put, k.fields, s.table), 0u);
        // Strips of a TIFF file stand in the order in which they were filled.
        EXPECT_TRUE(k.standard == RZL_STANDARD_TIFF || read_bytes(path("a")) == read_bytes(path("b")));
        EXPECT_TRUE(pixels_of(read_picture(path("a"))) == pixels_of(read_picture(path("b"))));

        std::fill(block.begin(), block.end(), 0);
        rzl_memfile record = {block.data(), static_cast<int32_t>(block.size()), 0, 0, 0, 0};
        char name[40];
        ASSERT_EQ(rzl_memfile_name(&record, name, sizeof name), 0);
        SCOPED_TRACE("in memory");
        expect_read_back(k, new_file(name, k.standard, k.format, width, height, k.fields, rzl_open_wr, s.table), s);
        EXPECT_TRUE(part(block, 0, static_cast<size_t>(record.used)) == read_bytes(path("b")));
    }
}

TEST_F(Formats, FinishedFilesChangeInPlaceOrSayThatTheyCanNot) {
    for (const kind& k : KINDS) {
        if (!is_built(k.standard)) continue;
        const extended_guard extended((k.allows & TODAY) != 0);
        SCOPED_TRACE(k.what);
        const auto [width, height] = k.sizes[0];
        const sample_picture s = picture_of(k, width, height, 4), other = picture_of(k, width, height, 5);
        ASSERT_EQ(write_picture(path("a"), k.standard, k.format, width, height, s.put, k.fields, s.table), 0u);
        const bytes_of_file before = read_bytes(path("a"));
        CFILE* c = rzl_open_rw(path("a").c_str());
        if ((k.allows & (PLACE | UPDATED)) == 0) {
            EXPECT_EQ(refused(c), RZL_MODIFY_COMPRESSED);
            continue;
        }
        ASSERT_NE(c, nullptr);
        const bool place = (k.allows & PLACE) != 0;
        const int line = place ? height / 2 : 0;
        EXPECT_EQ(rzl_seek(c, line), 0);
        const uint32_t status = refusal(c, put_next(c, other.put, line));
        EXPECT_EQ(status, place ? 0 : RZL_MODIFY_COMPRESSED) << rzl_status_name(status);
        EXPECT_EQ(rzl_finish(c), 0);
        if (!place) {
            EXPECT_TRUE(read_bytes(path("a")) == before);
            continue;
        }
        const picture p = read_picture(path("a"));
        const bytes_of_file& got = format_is_color(k.format) ? p.colors : p.values;
        bytes_of_file expected = s.read;
        const size_t step = expected.size() / static_cast<size_t>(height);
        std::copy_n(other.put.begin() + static_cast<long>(step) * line, step,
                    expected.begin() + static_cast<long>(step) * line);
        EXPECT_TRUE(got == expected);
    }
}

TEST_F(Formats, SizesThatNoFileHasAreRefused) {
    struct size_case {
        int standard, format, width, height;
    };
    std::vector<size_case> cases = {
        {2, 29, 65536, 1}, {2, 29, 1, 65536},   {3, 28, 65536, 1},       {3, 28, 1, 65536},      {4, 28, 60000, 60000},
        {5, 2, 65535, 1},  {5, 2, 1, 65537},    {6, 2, 65501, 1},        {6, 2, 1, 65501},       {10, 1, 256, 1},
        {10, 1, 1, 256},   {16, 2, 1000000, 1}, {11, 24, 0x7FFFFF01, 1}, {12, 2, 100000, 100000}};
    for (const kind& k : KINDS) // native files may be empty
        for (auto [width, height] : {std::pair(0, 400), {400, 0}})
            if (k.standard != 0) cases.push_back({k.standard, k.format, width, height});
    for (const size_case& k : cases) {
        if (!is_built(k.standard)) continue;
        SCOPED_TRACE(std::to_string(k.standard) + " of " + std::to_string(k.width) + " by " + std::to_string(k.height));
        CFILE* c = new_file(path("a"), k.standard, k.format, k.width, k.height);
        const uint32_t status = c == nullptr ? last_status() : refusal(c, rzl_write_header(c));
        EXPECT_EQ(status, k.standard == 9                    ? RZL_BAD_FIELD_VALUE // no side of an icon
                          : k.standard == 16 && k.width == 0 ? RZL_HEADER_FULL     // no width for a record
                                                             : RZL_BAD_IMAGE_SIZE);
        if (c != nullptr) rzl_close(c);
    }
}

TEST_F(Formats, EveryFailureHasItsStatus) {
    for (const kind& k : KINDS) {
        if (!is_built(k.standard)) continue;
        const extended_guard extended((k.allows & TODAY) != 0);
        SCOPED_TRACE(k.what);
        const auto [width, height] = k.sizes[0];
        const sample_picture s = picture_of(k, width, height, 6);
        const auto write = [&, w = width, h = height] {
            return write_picture(path("a"), k.standard, k.format, w, h, s.put, k.fields, s.table);
        };
        ASSERT_EQ(write(), 0u);
        const bytes_of_file whole = read_bytes(path("a"));
        sweep(write, [&](bool good) { EXPECT_TRUE(!good || read_bytes(path("a")) == whole); });
        write_bytes(path("a"), whole);
        expect_read_sweeps([&] { return read_picture(path("a")); });
    }
}
