// USGS files: records made by hand from their places, one band and three, fields, writing, and bad input.
#include "raster/formats_fixture.h"

namespace {

struct usgs_parts {
    int width = 420, height = 3, bands = 1, gap = 0;
    std::vector<std::tuple<size_t, size_t, std::string>> more; // record, place, text

    bytes_of_file file(const bytes_of_file& pixels) const {
        std::string records[4];
        for (auto& r : records)
            r.assign(static_cast<size_t>(width), ' ');
        auto put = [&records](size_t record, size_t at, const std::string& s) {
            records[record].replace(at, s.size(), s);
        };
        char text[64];
        std::snprintf(text, sizeof text, "%3d%6d%6d%3d%3d%3d%2d%2d%2d%24.15f%3d", 1, height, width, bands, gap, 0, 0, 1,
                      1, 1.25, 0);
        put(0, 0, "A QUARTER OF A SHEET");
        put(0, 141, text);
        put(0, 204, "  0");
        for (const auto& [record, at, s] : more)
            put(record, at, s);
        bytes_of_file b;
        for (const auto& r : records)
            b.insert(b.end(), r.begin(), r.end());
        b.insert(b.end(), pixels.begin(), pixels.end());
        return b;
    }
    bytes_of_file some_pixels() const {
        return some_samples(static_cast<size_t>(int64_t{width} * height * (bands == 5 ? 3 : 1)), 256, 6);
    }
};

using Usgs = FormatTest;

} // namespace

TEST_F(Usgs, OneBandAndThree) {
    for (auto [bands, width, height] : {std::tuple(1, 420, 3), {1, 400, 1}, {5, 400, 200}, {5, 3000, 7}}) {
        usgs_parts u = {width, height, bands, 0, {}};
        SCOPED_TRACE(width);
        const bytes_of_file pixels = u.some_pixels();
        const picture p = read_made(u.file(pixels));
        ASSERT_EQ(p.status, 0u) << rzl_status_name(p.status);
        EXPECT_TRUE(p.width == width && p.height == height && p.format == (bands == 5 ? 28 : 2) && p.orientation == 4);
        EXPECT_TRUE(bands == 5 || p.values == pixels);
        const size_t band = static_cast<size_t>(int64_t{width} * height);
        for (size_t i = 0; i < band; ++i)
            for (size_t s = 0; s < 3; ++s)
                ASSERT_EQ(p.colors[i * 3 + s], pixels[i + (bands == 5 ? s * band : 0)]);
        expect_seeks(path("made"));
        CFILE* c = rzl_open_r(path("made").c_str());
        bytes_of_file green(static_cast<size_t>(width));
        EXPECT_EQ(rzl_getline3(c, nullptr, green.data(), nullptr), 0);
        EXPECT_TRUE(
            std::equal(green.begin(), green.end(), pixels.begin() + (bands == 5 ? static_cast<long>(band) : 0)));
        // The same line as runs: too little room leaves it to be read again.
        std::vector<uint8_t> runs(static_cast<size_t>(width) * 4);
        int32_t size = 4;
        EXPECT_EQ(rzl_seek(c, 0), 0);
        EXPECT_EQ(refusal(c, rzl_get_rle_line(c, runs.data(), &size)), RZL_RLE_BUFFER_SMALL);
        size = static_cast<int32_t>(runs.size());
        EXPECT_TRUE(rzl_get_rle_line(c, runs.data(), &size) == 0 && size > 4 && c->line == 1);
        EXPECT_TRUE(bands == 5 || runs[0] == pixels[0]);
        EXPECT_TRUE(height == 1 ||
                    (rzl_getline(c, green.data()) == 0 && green[5] == pixels[static_cast<size_t>(width) + 5]));
        rzl_close(c);
    }
}

TEST_F(Usgs, FieldsOfTheRecords) {
    usgs_parts u;
    u.more = {{1, 284, "    0.785398163397448"},
              {2, 288, "    4.25D+05"},
              {2, 312, "   -3.5E+06"},
              {3, 59, "     1.5"},
              {3, 71, "     2.5"},
              {3, 276, "300.7"}};
    const bytes_of_file file = u.file(u.some_pixels());
    CFILE* c = open_made(file);
    expect_fields(c, {{5, 0}, {6, 0}, {7, 0}, {8, 300}, {9, 4}, {10, 0}, {16, 1}, {19, 0}, {20, 1}, {21, 0}});
    expect_fields(c, {{500, 16}, {501, 0}, {503, 1}, {508, 0}});
    double matrix[16] = {}, rotation = 0;
    EXPECT_TRUE(rzl_get_hdr_data(c, 4, matrix) == 0 && rzl_get_hdr_data(c, 29, &rotation) == 0);
    EXPECT_TRUE(matrix[0] == 1.5 && matrix[3] == 425000 && matrix[5] == 2.5 && matrix[7] == -3500000 &&
                rotation == 0.785398163397448);
    std::vector<std::string> texts(4, std::string(400, 'x'));
    rzl_usgs_records records = {{texts[0].data(), nullptr, texts[2].data(), texts[3].data()}};
    EXPECT_EQ(rzl_get_hdr_data(c, RZL_FIELD_USGS, &records), 0);
    EXPECT_TRUE(std::equal(texts[3].begin(), texts[3].end(), file.begin() + 3 * 420) && texts[1][0] == 'x');
    int32_t other = 9;
    EXPECT_TRUE(rzl_get_hdr_data(c, 14, &texts[0][0]) == 0 && status_of(c) == RZL_BAD_FIELD_ID);
    EXPECT_TRUE(rzl_get_hdr_data(c, 22, &other) == 0 && other == 0);
    rzl_map_info map = {};
    EXPECT_TRUE(rzl_get_hdr_data(c, RZL_FIELD_MAP, &map) == 0 && std::string(map.title) == "A QUARTER OF A SHEET");
    rzl_stat stat = {};
    EXPECT_TRUE(rzl_get_stat(c, &stat) == 0 && stat.standard == 16 && stat.device_resolution == 300 &&
                stat.matrix[3] == 425000);
    rzl_close(c);
}

TEST_F(Usgs, WhatIsWritten) {
    const bytes_of_file pixels = some_samples(450 * 5, 256, 3);
    CFILE* c = opened(new_file(path("a"), 16, 29, 450, 5));
    std::string mine(400, ' ');
    mine.replace(0, 7, "A SHEET");
    mine.replace(165, 2, " 3"); // a code that stands
    mine[200] = '\n';           // no text
    rzl_usgs_records records = {{mine.data(), nullptr, nullptr, nullptr}};
    double rotation = 0.5;
    EXPECT_TRUE(rzl_set_hdr_data(c, RZL_FIELD_USGS, &records) == 0 && rzl_set_hdr_data(c, 29, &rotation) == 0);
    EXPECT_EQ(refusal(c, set_field_to(c, 3, 28)), RZL_NOT_STANDARD);
    EXPECT_EQ(refusal(c, set_field_to(c, 8, 300)), RZL_BAD_FIELD_ID);
    EXPECT_EQ(put_lines(c, 5, pixels), 0u);
    EXPECT_EQ(rzl_finish(c), 0u);
    const bytes_of_file b = read_bytes(path("a"));
    ASSERT_EQ(b.size(), 450u * 9);
    const std::string text(b.begin(), b.begin() + 1800);
    EXPECT_EQ(text.substr(141, 65), "  1     5   450  1  0  0 3 1 1                     1.0  0        ");
    EXPECT_TRUE(text.substr(0, 8) == "A SHEET " && text.substr(204, 3) == "  0" && text[200] == ' ' &&
                text[1799] == ' ');
    EXPECT_EQ(text.substr(450 + 284, 24), "        0.50000000000000");
    EXPECT_TRUE(read_picture(path("a")).values == pixels);
    c = opened(rzl_open_r(path("a").c_str()));
    EXPECT_EQ(refusal(c, rzl_seek(c, 6)), RZL_PAST_END);
    rzl_close(c);
    EXPECT_EQ(write_picture(path("b"), 16, 2, 399, 1, bytes_of_file(399)), RZL_HEADER_FULL);
    c = opened(new_file(path("b"), 16, 2, 450, 1));
    EXPECT_EQ(refusal(c, rzl_putline3(c, &pixels[0], &pixels[0], &pixels[0])), RZL_UNSUPPORTED) << "one band";
    rzl_close(c);
}

TEST_F(Usgs, BadInput) {
    const usgs_parts u;
    const bytes_of_file good = u.file(u.some_pixels());
    const auto text = [](const char* s) { return bytes_of(s); };
    std::vector<bad_change> changes;
    // Each of these makes it a file of no known format.
    const std::pair<int, const char*> texts[] = {
        {38, "X"},    {39, "X"},     {141, "  3"}, {144, "     0"}, {150, "abcdef"},
        {156, "  0"}, {156, " 10"},  {159, "  3"}, {162, "  5"},    {165, " 5"},
        {167, " 0"},  {169, " 7"},   {195, "  3"}, {204, " -1"},    {171, "                     6.3"},
        {10, "\x1F"}, {399, "\x7F"}, {425, "\n"},  {1659, "\xE9"}};
    for (auto [at, s] : texts)
        changes.push_back({s, static_cast<size_t>(at), text(s), RZL_READ_FAILED});
    changes.push_back({"a record past the end", 150, text("999999"), RZL_READ_FAILED});
    changes.push_back({"more lines than the file", 144, text("999999"), RZL_READ_FAILED});
    changes.push_back({"a gap", 159, text("  1"), RZL_UNSUPPORTED});
    changes.push_back({"two bands", 156, text("  2"), RZL_UNSUPPORTED});
    expect_refused(good, changes);
    // Which test a file fails at is told to who asks.
    for (const char* level : {"4", "0"}) {
        setenv("RZL_DEBUG", level, 1);
        testing::internal::CaptureStderr();
        EXPECT_EQ(read_changed(good, 144, text("     0")).status, RZL_READ_FAILED);
        EXPECT_EQ(testing::internal::GetCapturedStderr().find("USGS (byte 144)") != std::string::npos, *level == '4');
    }
    unsetenv("RZL_DEBUG");
    // A file that is cut in its third band has the lines that all three have.
    usgs_parts three = {400, 5, 5, 0, {}};
    const bytes_of_file colors = three.file(three.some_pixels());
    const picture p = read_made(part(colors, 0, colors.size() - 401));
    EXPECT_TRUE(p.status == RZL_READ_FAILED && p.lines == 3);
    EXPECT_EQ(read_made(part(good, 0, good.size() - 1)).lines, 2);
    write_bytes(path("a"), colors);
    expect_read_sweeps([&] { return read_picture(path("a")); });
}
