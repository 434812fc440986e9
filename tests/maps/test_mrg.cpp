// MRG map files: headers of both forms and rasters of bit planes written by hand, tiles, colours, coordinates and bad
// input.
#include "raster/formats_fixture.h"

using Mrg = FormatTest;

namespace {

// A text with others put into it at their places.
struct mrg_parts {
    int form = 2;
    int strips = 2, blocks = 10, planes = 2;
    std::vector<std::string> colors = {"100 50  0", " 10 20 30", "  0  0255"};
    char percent = '0';
    std::vector<std::pair<size_t, std::string>> more; // texts at places of the header

    bytes_of_file header() const {
        char text[40];
        bytes_of_file h(form == 1 ? 218 : 459, ' ');
        const size_t at = form == 1 ? 200 : 442;
        auto put = [&h](size_t place, const std::string& s) {
            std::copy(s.begin(), s.end(), h.begin() + static_cast<long>(place));
        };
        std::snprintf(text, sizeof text, "%06d%07d", strips, blocks);
        put(at, text);
        std::snprintf(text, sizeof text, form == 1 ? "%02d" : "%d", planes);
        put(at + 13, text);
        std::snprintf(text, sizeof text, "%02d", static_cast<int>(colors.size()));
        put(form == 1 ? 216 : 456, text);
        if (form == 2) h[458] = static_cast<uint8_t>(percent);
        for (const auto& [place, s] : more)
            put(place, s);
        for (const std::string& color : colors)
            h.insert(h.end(), color.begin(), color.end());
        return h;
    }
    size_t width() const { return static_cast<size_t>(strips) * 256; }
    size_t height() const { return static_cast<size_t>(blocks) * 32; }

    // Values line by line as strips of planes.
    bytes_of_file raster(const bytes_of_file& values) const {
        bytes_of_file r(width() / 8 * height() * static_cast<size_t>(planes));
        for (size_t y = 0; y < height(); ++y)
            for (size_t x = 0; x < width(); ++x)
                for (size_t p = 0; p < static_cast<size_t>(planes); ++p) {
                    const size_t strip = x / 256 * height() * static_cast<size_t>(planes) * 32;
                    const size_t at = strip + p * height() * 32 + y * 32 + x % 256 / 8;
                    if ((values[y * width() + x] >> p & 1) != 0) r[at] = static_cast<uint8_t>(r[at] | 0x80 >> x % 8);
                }
        return r;
    }
};

bytes_of_file values_for(const mrg_parts& m) {
    return some_samples(m.width() * m.height(), 1 << m.planes, 7);
}

} // namespace

TEST_F(Mrg, PlanesOfStripsAreLinesAndTiles) {
    for (auto [form, strips, blocks, planes] : {std::tuple(2, 2, 10, 2), {1, 1, 8, 8}, {1, 3, 1, 1}, {2, 1, 17, 5}}) {
        mrg_parts m = {form, strips, blocks, planes, {}, '0', {}};
        SCOPED_TRACE(std::to_string(planes) + " planes");
        const bytes_of_file values = values_for(m);
        const std::string head = path(form == 1 ? "a241.mrg" : "aH.MRG");
        write_bytes(head, m.header());
        write_bytes(path(form == 1 ? "A243.MRG" : "ar.mrg"), m.raster(values)); // found in any case of letters
        const picture p = read_picture(head);
        EXPECT_TRUE(p.status == 0 && p.format == 2 && p.bits == planes && p.orientation == 4 && p.entries == 0);
        ASSERT_TRUE(p.width == strips * 256 && p.height == blocks * 32);
        bytes_of_file shades = values; // no colours: grey
        for (uint8_t& v : shades)
            v = static_cast<uint8_t>(v << (8 - planes));
        EXPECT_TRUE(p.values == shades);
        expect_seeks(head);
        CFILE* c = opened(rzl_open_r(head.c_str()));
        expect_fields(c, {{5, 0}, {6, 0}, {100, 256}, {101, strips}, {102, (blocks + 7) / 8}, {500, 17}, {503, 1}});
        // The last tile: rows that it does not have are 0.
        const int last = strips * ((blocks + 7) / 8) - 1;
        bytes_of_file tile(65536, 0xEE);
        void* plane = tile.data();
        EXPECT_TRUE(rzl_seek(c, last) == 0 && rzl_gettile(c, 1, &plane, nullptr) == 0);
        const size_t first = static_cast<size_t>((blocks - 1) / 8 * 256);
        for (size_t i = 0; i < 65536; ++i) {
            const size_t y = first + i / 256;
            const int expected = y < m.height() ? values[y * m.width() + m.width() - 256 + i % 256] : 0;
            ASSERT_EQ(tile[i], expected) << i;
        }
        EXPECT_EQ(refusal(c, rzl_gettile(c, 1, &plane, nullptr)), RZL_PAST_END);
        EXPECT_EQ(refusal(c, rzl_seek(c, std::max(last + 1, blocks * 32))), RZL_PAST_END);
        rzl_close(c);
        std::filesystem::remove(head);
    }
}

TEST_F(Mrg, ColorsOfTheHeader) {
    mrg_parts m;
    struct {
        int form;
        char percent;
        bytes_of_file table;
    } cases[] = {{1, '0', {255, 255, 255, 100, 50, 0, 10, 20, 30, 0, 0, 255}},
                 {2, '0', {255, 255, 255, 100, 50, 0, 10, 20, 30, 0, 0, 255}},
                 {2, '1', {255, 255, 255, 255, 127, 0, 25, 51, 76, 0, 0, 255}}};
    const bytes_of_file values = values_for(m);
    for (const auto& k : cases) {
        m.form = k.form;
        m.percent = k.percent;
        const std::string head = path(k.form == 1 ? "a241.mrg" : "ap.mrg");
        write_bytes(head, m.header());
        write_bytes(path(k.form == 1 ? "a243.mrg" : "ar.mrg"), m.raster(values));
        const picture p = read_picture(head);
        EXPECT_TRUE(p.values == values && p.entries == 4);
        bytes_of_file colors;
        for (uint8_t v : values)
            colors.insert(colors.end(), k.table.begin() + v * 3, k.table.begin() + v * 3 + 3);
        EXPECT_TRUE(p.colors == colors);
        CFILE* c = rzl_open_r(head.c_str());
        std::vector<rzl_vlt_entry> table(256, {9, 9, 9, 9});
        ASSERT_EQ(rzl_get_vlt(c, table.data()), 0);
        for (size_t i = 0; i < 4; ++i)
            EXPECT_TRUE(table[i].slot == i && table[i].red == k.table[i * 3] * 256 &&
                        table[i].blue == k.table[i * 3 + 2] * 256);
        EXPECT_TRUE(table[4].slot == 4 && table[254].slot == 254 && table[255].slot == 9);
        bytes_of_file planes[3] = {bytes_of_file(65536), bytes_of_file(65536), bytes_of_file(65536)};
        void* three[3] = {nullptr, planes[1].data(), planes[2].data()};
        EXPECT_EQ(rzl_gettile(c, 3, three, nullptr), 0);
        for (size_t x = 0; x < 256; ++x)
            EXPECT_EQ(planes[2][x], colors[x * 3 + 2]);
        rzl_close(c);
    }
}

TEST_F(Mrg, CoordinatesAndNames) {
    mrg_parts m = {1, 1, 1, 1, {}, '0', {}};
    m.more = {{0, "SHEET 12"},      {20, "254000"},       {55, " 12"},          {83, "  7"},
              {111, "UTM"},         {114, "009300000E "}, {125, "048000000N "}, {136, "010000000W "},
              {147, "049003000S "}, {158, "0093000.00"},  {169, "480000.00"}};
    write_bytes(path("a241.mrg"), m.header());
    write_bytes(path("a243.mrg"), m.raster(values_for(m)));
    CFILE* c = opened(rzl_open_r(path("a241.mrg").c_str()));
    rzl_mrg_info info = {};
    ASSERT_EQ(rzl_get_hdr_data(c, RZL_FIELD_MRG, &info), 0);
    EXPECT_STREQ(info.name, "SHEET 12");
    EXPECT_STREQ(info.projection, "UTM");
    EXPECT_TRUE(info.numbers[0] == 12 && info.numbers[1] == 7 && info.zone == 32 && info.hemisphere == 'n');
    const double coordinates[] = {9.5, 48, -10, -(49 + 30.0 / 3600)};
    for (size_t i = 0; i < 4; ++i)
        EXPECT_NEAR(info.coordinates[i], coordinates[i], 1e-12);
    double matrix[16] = {};
    EXPECT_EQ(rzl_get_hdr_data(c, 4, matrix), 0);
    EXPECT_NEAR(matrix[0], 25.4, 1e-12);
    EXPECT_TRUE(matrix[5] == matrix[0] && matrix[10] == 1.0 && matrix[3] == 0.0 && matrix[14] == 0.0);
    EXPECT_NEAR(matrix[12], 9.5 * 0.017453292519943295, 1e-12);
    EXPECT_NEAR(matrix[13], 48 * 0.017453292519943295, 1e-12);
    rzl_map_info map = {};
    EXPECT_EQ(rzl_get_hdr_data(c, RZL_FIELD_MAP, &map), 0);
    EXPECT_TRUE(std::string(map.title) == "SHEET 12" && map.corner_count == 4 && map.corners[0] == info.coordinates[0]);
    rzl_close(c);
    // The second form has no hundredths and two entries of the matrix; south by the sign.
    m = {2, 1, 1, 1, {}, '0', {}};
    m.more = {{189, "X"}, {311, "TC "}, {314, "0093000.00E"}, {358, "0093000.00"}, {369, "480000.00"}, {432, "-1.0"}};
    write_bytes(path("ah.mrg"), m.header());
    write_bytes(path("ar.mrg"), m.raster(values_for(m)));
    c = opened(rzl_open_r(path("ah.mrg").c_str()));
    ASSERT_TRUE(rzl_get_hdr_data(c, RZL_FIELD_MRG, &info) == 0 && rzl_get_hdr_data(c, 4, matrix) == 0);
    EXPECT_TRUE(info.coordinates[0] == 9.5 && info.hemisphere == 's');
    EXPECT_NEAR(matrix[3], 9.5 * 0.017453292519943295, 1e-12);
    EXPECT_NEAR(matrix[7], 48 * 0.017453292519943295, 1e-12);
    EXPECT_TRUE(matrix[0] == 1.0 && matrix[12] == 0.0 && matrix[15] == 1.0);
    rzl_close(c);
}

TEST_F(Mrg, BadInput) {
    const mrg_parts good;
    const bytes_of_file raster = good.raster(values_for(good));
    struct {
        const char* what;
        size_t at;
        std::string text;
        uint32_t status;
    } changes[] = {
        {"as it is", 0, "", 0},
        {"no strips", 442, "000000", RZL_READ_FAILED},
        {"strips are no number", 442, "ABC   ", RZL_READ_FAILED},
        {"negative rows", 448, "-000010", RZL_READ_FAILED},
        {"no planes", 455, "0", RZL_READ_FAILED},
        {"nine planes", 455, "9", RZL_UNSUPPORTED},
        {"more strips than the raster", 442, "999999", RZL_READ_FAILED},
        {"more rows than the raster", 448, "9999999", RZL_READ_FAILED},
        {"more colours than the header", 456, "99", RZL_READ_FAILED},
        {"a colour is no number", 459, "red", RZL_READ_FAILED},
        {"colours of no count", 456, "xx", RZL_READ_FAILED},
    };
    for (const auto& k : changes) {
        SCOPED_TRACE(k.what);
        bytes_of_file h = good.header();
        std::copy(k.text.begin(), k.text.end(), h.begin() + static_cast<long>(k.at));
        write_bytes(path("ah.mrg"), h);
        write_bytes(path("ar.mrg"), raster);
        EXPECT_EQ(read_picture(path("ah.mrg")).status, k.status);
    }
    // A raster cut in its last strip gives the rows of tiles that are there.
    write_bytes(path("ah.mrg"), good.header());
    write_bytes(path("ar.mrg"), part(raster, 0, raster.size() - 1));
    const picture cut = read_picture(path("ah.mrg"));
    EXPECT_TRUE(cut.status == RZL_READ_FAILED && cut.lines == 256);
    bytes_of_file h = good.header();
    for (size_t size : {size_t{0}, size_t{458}, h.size() - 1}) {
        write_bytes(path("ah.mrg"), part(h, 0, size));
        EXPECT_EQ(read_picture(path("ah.mrg")).status, RZL_READ_FAILED);
    }
    write_bytes(path("ah.mrg"), h);
    std::filesystem::remove(path("ar.mrg"));
    EXPECT_EQ(read_picture(path("ah.mrg")).status, RZL_CANNOT_OPEN);
    // The raster alone is none.
    write_bytes(path("sheet-r.mrg"), raster);
    EXPECT_TRUE(rzl_open_r(path("sheet-r.mrg").c_str()) == nullptr && last_status() == 0);
}

TEST_F(Mrg, FailuresHaveAStatus) {
    const mrg_parts m = {2, 1, 1, 2, {"  1  2  3"}, '0', {}};
    write_bytes(path("ah.mrg"), m.header());
    write_bytes(path("ar.mrg"), m.raster(values_for(m)));
    expect_read_sweeps([&] { return read_picture(path("ah.mrg")); });
}
