// ADRG, ASRP and USRP map sets: sets of files made by hand from the places of their texts, every part and coding, names
// in other cases of letters, and bad input.
#include "raster/formats_fixture.h"

namespace {

void put(std::string* text, size_t at, const std::string& more) {
    if (text->size() < at + more.size()) text->resize(at + more.size(), ' ');
    text->replace(at, more.size(), more);
}

std::string digits(int64_t value, int width) {
    std::string s = std::to_string(value);
    return s.size() < static_cast<size_t>(width) ? std::string(static_cast<size_t>(width) - s.size(), '0') + s : s;
}

// A record: its leader, a directory that nobody reads, and its fields.
std::string record(const std::string& mark, const std::string& sizes, const std::string& fields) {
    const std::string directory = "0010000060000000\x1E";
    const size_t base = 24 + directory.size();
    std::string r = digits(static_cast<int64_t>(base + fields.size()), 5) + mark + "06" +
                    digits(static_cast<int64_t>(base), 5) + "   " + sizes;
    return r + directory + fields;
}
const std::string HEAD = "2L   ", DATA = " D   ";

// An image file up to where its tiles begin: what a set is recognised by.
std::string image_head(const std::string& id, size_t size) {
    std::string b = record(HEAD, "3404", "a geographic file") + record(DATA, "9903", id + "\x1E");
    b.resize(size, ' ');
    return b;
}

// Blocks that can be told apart, `planes` planes each.
uint8_t block_value(int block, int plane, size_t i) {
    return static_cast<uint8_t>(block * 50 + plane * 7 + static_cast<int>(i % 128 / 3 + i / 128));
}
std::string blocks(int count, int planes) {
    std::string b;
    for (int block = 1; block <= count; ++block)
        for (int p = 0; p < planes; ++p)
            for (size_t i = 0; i < 16384; ++i)
                b += static_cast<char>(block_value(block, p, i));
    return b;
}

// A description with another text in a place, and the status that its image gets.
struct text_change {
    const char* what;
    size_t at;
    std::string text;
    uint32_t status;
};

class MapSets : public FormatTest {
protected:
    // The image with each of the changes, and with a description that is cut anywhere, which never describes it.
    void expect_described(const std::string& good, const std::vector<text_change>& changes, size_t fields,
                          size_t step) const {
        for (const text_change& k : changes) {
            std::string text = good;
            put(&text, k.at, k.text);
            write("ABCDEF01.GEN", text);
            EXPECT_EQ(read_picture(path("ABCDEF01.IMG")).status, k.status) << k.what;
        }
        for (size_t size = 0; size < good.size() - 1; size += size < fields ? step : 1) {
            write("ABCDEF01.GEN", good.substr(0, size));
            EXPECT_NE(read_picture(path("ABCDEF01.IMG")).status, 0u) << size;
        }
        write("ABCDEF01.GEN", good);
    }
    // The lines as runs are those of the picture; too little room leaves a line to be read again.
    static void expect_runs(const std::string& file, const picture& p) {
        CFILE* c = rzl_open_r(file.c_str());
        ASSERT_NE(c, nullptr);
        const auto width = static_cast<size_t>(p.width);
        const bool colors = field_of(c, RZL_FIELD_SAMPLES) == 3;
        bytes_of_file runs(width * 4), line;
        for (size_t y = 0; y < static_cast<size_t>(p.height); ++y) {
            int32_t size = 4;
            const bool small = rzl_get_rle_line(c, runs.data(), &size) == 1 && status_of(c) == RZL_RLE_BUFFER_SMALL;
            ASSERT_TRUE(small || size == 4) << y;
            ASSERT_TRUE(!small || rzl_get_rle_line(c, runs.data(), &size) == 0) << y;
            line.clear();
            for (const uint8_t* r = runs.data(); r < runs.data() + size; r += 4) {
                const bytes_of_file pixel = colors ? bytes_of_file{r[2], r[1], r[0]} : bytes_of_file(3, r[0]);
                for (int n = colors ? r[3] : r[2] | r[3] << 8; n > 0; --n)
                    line.insert(line.end(), pixel.begin(), pixel.end());
            }
            ASSERT_EQ(line.size(), width * 3);
            ASSERT_TRUE(std::equal(line.begin(), line.end(), p.colors.begin() + static_cast<long>(y * width * 3))) << y;
        }
        rzl_close(c);
    }
    // Lines of a picture of blocks: `map` tells the block of each tile.
    void expect_blocks(const picture& p, const std::vector<int>& map, int across, int planes) const {
        ASSERT_EQ(p.status, 0u) << rzl_status_name(p.status);
        ASSERT_EQ(p.colors.size(), map.size() * 16384 * 3);
        for (size_t t = 0; t < map.size(); ++t)
            for (size_t i = 0; i < 16384; ++i)
                for (size_t s = 0; s < 3; ++s) {
                    const size_t y = t / static_cast<size_t>(across) * 128 + i / 128;
                    const size_t x = t % static_cast<size_t>(across) * 128 + i % 128;
                    const int plane = planes == 3 ? static_cast<int>(s) : 0;
                    const int expected = map[t] == 0 ? 0 : block_value(map[t], plane, i);
                    ASSERT_EQ(p.colors[(y * static_cast<size_t>(across) * 128 + x) * 3 + s], expected) << t << " " << i;
                }
    }
};

// ---- ADRG

// The fields of an image's record behind its id, as description files have them.
std::string adrg_image(const std::string& name, int down, int across, const std::string& map, int bands) {
    std::string f = "ADRG" + name + "\x1E" + "3099.90099.9016" +
                    "+0100000.00+490000.00+0100000.00+500000.00+0110000.00+500000.00+0110000.00+490000.00" +
                    "000250000";
    put(&f, 256, digits(down, 3) + digits(across, 3));
    put(&f, 291, map.empty() ? "N" : "Y");
    if (!map.empty()) put(&f, 292 + (bands == 3 ? 47 : 17), map + "\x1E");
    return f;
}

std::string adrg_description(const std::string& kind, const std::vector<std::string>& images,
                             const std::string& id = "GIN01\x1E") {
    std::string overview(400, ' ');
    put(&overview, 76, "001002");
    put(&overview, 76 + 35, "N");
    std::string b = record(HEAD, "3403", "what is told of a set of " + kind) +
                    record(DATA, "9903",
                           "DSS01\x1E"
                           "1") +
                    record(DATA, "9903", "OVV01\x1E" + overview);
    for (const std::string& image : images)
        b += record(DATA, "9903", id + image);
    return b;
}

} // namespace

TEST_F(MapSets, AdrgImages) {
    const std::string image = adrg_image("ABCDEF02", 2, 2, "00002000000000300001", 3);
    const auto adrg = [](const std::vector<std::string>& images, const char* id = "GIN01\x1E") {
        return adrg_description("ADRG", images, id);
    };
    const std::string one = adrg_description("ADRI", {adrg_image("ABCDEF01", 1, 3, "", 1)});
    const std::string mapped = adrg_description("ADRI", {adrg_image("ABCDEF01", 3, 1,
                                                                    "3\x1F"
                                                                    "0\x1F"
                                                                    "00002",
                                                                    1)});
    const std::vector<int> map = {2, 0, 3, 1};
    const struct {
        const char *what, *file, *description;
        std::string text;
        int planes;
        std::vector<int> map;
        int across;
    } cases[] = {
        {"the second of two images, with a map", "ABCDEF02.IMG", "ABCDEF01.GEN",
         adrg({adrg_image("ABCDEF01", 1, 1, "", 3), image}), 3, map, 2},
        {"all tiles, one band", "ABCDEF01.IMG", "ABCDEF01.GEN", one, 1, {1, 2, 3}, 3},
        {"one band with a map", "ABCDEF01.IMG", "ABCDEF01.GEN", mapped, 1, {3, 0, 2}, 1},
        {"lower case, and a file of another case", "abcdef02.img", "AbcDef01.Gen", adrg({image}), 3, map, 2},
        {"a record without an id", "ABCDEF02.IMG", "ABCDEF01.GEN", adrg({image}, ""), 3, map, 2},
        {"the overview", "ABCDEF01.OVR", "ABCDEF01.GEN", adrg({}), 3, {1, 2}, 2},
    };
    for (const auto& k : cases) {
        SCOPED_TRACE(k.what);
        write(k.description, k.text);
        const std::string file = write(k.file, image_head("IMG01", k.planes == 3 ? 2048 : 512) + blocks(3, k.planes) +
                                                   std::string(1024, '\x1E'));
        const picture p = read_picture(file);
        EXPECT_TRUE(p.format == (k.planes == 3 ? 27 : 2) && p.bits == 8 && p.orientation == 4 && p.entries == 0);
        expect_blocks(p, k.map, k.across, k.planes);
        expect_runs(file, p);
        std::filesystem::remove(path(k.description));
        EXPECT_EQ(read_picture(file).status, RZL_CANNOT_OPEN);
        std::filesystem::remove(file);
    }
}

TEST_F(MapSets, AdrgPicturesAndLegends) {
    write("SET00001.CPH", image_head("IMG01", 2048) + blocks(16, 3));
    std::vector<int> all;
    for (int i = 1; i <= 16; ++i)
        all.push_back(i);
    expect_blocks(read_picture(path("SET00001.CPH")), all, 4, 3);
    std::string legend(80, ' ');
    put(&legend, 0, "SET00001");
    put(&legend, 34, "001003");
    put(&legend, 34 + 35, "N");
    std::string other = legend;
    put(&other, 0, "SET00002");
    write("SET00001.SOU", record(HEAD, "3403", "") + record(DATA, "9903", "") +
                              record(DATA, "9903", "LEG01\x1E" + other) + record(DATA, "9903", "LEG01\x1E" + legend));
    write("SET00001.L01", image_head("LEG01", 2048) + blocks(3, 3));
    expect_blocks(read_picture(path("SET00001.L01")), {1, 2, 3}, 3, 3);
    write("SET00003.SOU", read(path("SET00001.SOU")));
    write("SET00003.L01", read(path("SET00001.L01")));
    EXPECT_EQ(read_picture(path("SET00003.L01")).status, RZL_READ_FAILED);
    write("other.name", read(path("SET00001.L01")));
    EXPECT_EQ(read_picture(path("other.name")).status, RZL_READ_FAILED);
}

TEST_F(MapSets, AdrgFieldsAndTiles) {
    write("ABCDEF01.GEN", adrg_description("ADRG", {adrg_image("ABCDEF01", 1, 2, "0000000001", 3)}));
    write("ABCDEF01.IMG", image_head("IMG01", 2048) + blocks(1, 3));
    CFILE* c = opened(rzl_open_rw(path("ABCDEF01.IMG").c_str()));
    expect_fields(c, {{3, 27}, {5, 0}, {6, 0}, {7, 0}, {8, 0}, {9, 4}, {19, 0}, {21, 3}, {100, 128}, {101, 2}});
    expect_fields(c, {{102, 1}, {403, 0}, {500, 8}, {501, 0}, {503, 0}});
    double matrix[16] = {9};
    EXPECT_TRUE(rzl_get_hdr_data(c, 4, matrix) == 0 && matrix[0] == 0 && matrix[15] == 0);
    EXPECT_EQ(number_of(c, 26), 0);
    rzl_map_info map = {};
    EXPECT_EQ(rzl_get_hdr_data(c, RZL_FIELD_MAP, &map), 0);
    EXPECT_TRUE(std::string(map.title) == "ABCDEF01" && map.scale == 250000 && map.corner_count == 4);
    EXPECT_TRUE(map.corners[0] == 10 && map.corners[1] == 49 && map.corners[2] == 11 && map.corners[3] == 50);
    bytes_of_file planes[3] = {bytes_of_file(16384, 9), bytes_of_file(16384, 9), bytes_of_file(16384, 9)};
    void* three[3] = {planes[0].data(), nullptr, planes[2].data()};
    int32_t told = -1;
    EXPECT_TRUE(rzl_gettile(c, 3, three, &told) == 0 && told == 0 && planes[0][0] == 9);
    EXPECT_TRUE(rzl_gettile(c, 3, three, &told) == 0 && told == -1);
    EXPECT_TRUE(planes[0][77] == block_value(1, 0, 77) && planes[2][77] == block_value(1, 2, 77) && planes[1][77] == 9);
    EXPECT_EQ(refusal(c, rzl_gettile(c, 3, three, nullptr)), RZL_PAST_END);
    EXPECT_EQ(rzl_seek(c, 127), 0) << "the last line; there are two tiles";
    EXPECT_EQ(refusal(c, rzl_seek(c, 128)), RZL_PAST_END);
    EXPECT_TRUE(rzl_seek(c, 0) == 0 && rzl_gettile(c, 3, three, nullptr) == 0 && planes[0][0] == 0 &&
                planes[1][0] == 9);
    EXPECT_EQ(rzl_seek(c, 0), 0);
    EXPECT_EQ(refusal(c, rzl_gettile(c, 2, three, nullptr)), RZL_UNSUPPORTED);
    EXPECT_EQ(refusal(c, set_field_to(c, 1, 3)), RZL_NEEDS_WRITE);
    rzl_close(c);
}

TEST_F(MapSets, AdrgBadInput) {
    const std::string good = adrg_description("ADRG", {adrg_image("ABCDEF01", 1, 2, "0000100002", 3)});
    const size_t fields = good.size() - adrg_image("ABCDEF01", 1, 2, "0000100002", 3).size();
    write("ABCDEF01.IMG", image_head("IMG01", 2048) + blocks(2, 3));
    const std::vector<text_change> changes = {
        {"as it is", 0, "", 0},
        {"of no kind", good.find("ADRG"), "ADRX", RZL_NOT_STANDARD},
        {"the length of a record is no number", 0, "x", RZL_NOT_STANDARD},
        {"records of no length", 0, "00000", RZL_NOT_STANDARD},
        {"another image", fields + 4, "ABCDEF09", RZL_READ_FAILED},
        {"no image's name", fields + 4, std::string(9, ' '), RZL_READ_FAILED},
        {"tiles are no number", fields + 256, "a", RZL_READ_FAILED},
        {"no tiles", fields + 256, "000", RZL_READ_FAILED},
        {"more tiles than the map", fields + 256, "100100", RZL_READ_FAILED},
        {"neither a map nor none", fields + 291, "Q", RZL_READ_FAILED},
        {"a tile past the end", fields + 339, "00003", RZL_READ_FAILED},
    };
    expect_described(good, changes, fields, 61);
    expect_read_sweeps([&] { return read_picture(path("ABCDEF01.IMG")); });
    // A cut image gives the rows of tiles that are there: none of one row.
    write("ABCDEF01.IMG", image_head("IMG01", 2048) + blocks(2, 3).substr(1));
    const picture p = read_picture(path("ABCDEF01.IMG"));
    EXPECT_TRUE(p.status == RZL_READ_FAILED && p.lines == 0);
}

namespace {

// ---- ASRP and USRP

struct asrp_parts {
    bool usrp = false;
    int down = 1, across = 2, width = 128, height = 128;
    char runs = '8', values = '0';
    std::string name = "ABCDEF01.IMG";
    std::vector<int64_t> map; // empty: none

    std::string image() const {
        const std::string part = "\x1F", end = "\x1E";
        std::string f = "GIN01" + end + (usrp ? "USRPSHEET1" : "ASRPSHEET012") + end;
        f += "+010.00000+049.00000+011.00000+050.00000";
        f += "00025000000001N00000000010000000002" + end;
        f += "000000000000000255000255" + digits(down, 3) + digits(across, 3) + digits(width, 3) + digits(height, 3);
        f += "111" + part + runs + values + name + (map.empty() ? "N" : "Y") + end + "0000000000" + end;
        for (int64_t entry : map)
            f += digits(entry, 10) + part;
        return f;
    }
    std::string description(const std::vector<std::string>& images) const {
        const std::string sizes = usrp ? "33 3" : "44 3";
        std::string b = record(HEAD, sizes, "a set") + record(DATA, sizes, "more");
        for (const std::string& text : images)
            b += record(DATA, sizes, text);
        return b;
    }
};

std::string pairs(const bytes_of_file& pixels) {
    std::string b;
    for (size_t i = 0; i < pixels.size();) {
        size_t n = 1;
        while (n < 255 && i + n < pixels.size() && pixels[i + n] == pixels[i])
            ++n;
        b += {static_cast<char>(n), static_cast<char>(pixels[i])};
        i += n;
    }
    b[b.size() - 2] = static_cast<char>(255); // past the end of the tile
    return b;
}

std::string nibbles(const bytes_of_file& pixels) {
    std::vector<std::pair<int, int>> runs;
    for (size_t i = 0; i < pixels.size();) {
        int n = 1;
        while (n < 15 && i + static_cast<size_t>(n) < pixels.size() && pixels[i + static_cast<size_t>(n)] == pixels[i])
            ++n;
        runs.emplace_back(n, pixels[i]);
        i += static_cast<size_t>(n);
    }
    std::string b;
    for (size_t i = 0; i < runs.size(); i += 2) {
        const auto [n, v] = runs[i];
        const bool second = i + 1 < runs.size() && i % 14 != 0; // now and then a run alone
        b += static_cast<char>(n << 4 | v >> 4);
        b += static_cast<char>((v & 15) << 4 | (second ? runs[i + 1].first : 0));
        if (second) b += static_cast<char>(runs[i + 1].second);
        if (!second) --i;
    }
    return b;
}

std::string colors_file(int count) {
    std::string fields = "COL01\x1E";
    for (int i = 0; i < count; ++i)
        fields += digits(i, 3) +
                  "\x1F"
                  "shade " +
                  std::to_string(i) + "\x1F" + digits(255 - i, 3) + digits(i, 3) + digits(7, 3) + "\x1E";
    return record(HEAD, "44 3", "") + record(DATA, "44 3", "") + record(DATA, "44 3", fields);
}

} // namespace

TEST_F(MapSets, AsrpCodings) {
    const bytes_of_file first = some_samples(16384, 256, 1), second = some_samples(16384, 4, 2);
    const struct {
        const char* what;
        bool usrp;
        char runs, values;
        int numbered_from; // plain tiles
    } cases[] = {{"pairs", false, '8', '0', 0},
                 {"pairs of USRP", true, '8', '0', 0},
                 {"nibbles", false, '4', '0', 0},
                 {"nibbles with values", true, '4', '8', 0},
                 {"pairs with values", false, '8', '8', 0},
                 {"plain", false, '0', '8', 0},
                 {"plain from 1", true, '0', '8', 1}};
    for (const auto& k : cases) {
        SCOPED_TRACE(k.what);
        asrp_parts s;
        s.usrp = k.usrp;
        s.runs = k.runs;
        s.values = k.values;
        s.across = 3;
        std::string b = image_head("IMG02", 8192);
        if (k.runs == '0') {
            b += k.numbered_from == 0 ? std::string(16384, 'x') : "";
            b += std::string(first.begin(), first.end()) + std::string(second.begin(), second.end());
            s.map = {2, 0, 1};
        } else {
            const int64_t base = k.usrp ? 0 : 4095;
            const auto place = static_cast<int64_t>(b.size());
            b += k.runs == '4' ? nibbles(first) : pairs(first);
            s.map = {static_cast<int64_t>(b.size()) - base, 0, place - base};
            b += k.runs == '4' ? nibbles(second) : pairs(second);
        }
        write("ABCDEF01.IMG", b);
        write("ABCDEF01.GEN", s.description({s.image()}));
        const picture p = read_picture(path("ABCDEF01.IMG"));
        ASSERT_EQ(p.status, 0u) << rzl_status_name(p.status);
        EXPECT_TRUE(p.width == 384 && p.height == 128 && p.format == 2 && p.entries == 0);
        for (size_t i = 0; i < 16384; ++i) {
            const size_t at = i / 128 * 384 + i % 128;
            ASSERT_TRUE(p.values[at] == second[i] && p.values[at + 128] == 0 && p.values[at + 256] == first[i]) << i;
        }
        expect_seeks(path("ABCDEF01.IMG"));
        expect_runs(path("ABCDEF01.IMG"), p);
        CFILE* c = rzl_open_r(path("ABCDEF01.IMG").c_str());
        expect_fields(c, {{5, 0}, {6, 0}, {9, 4}, {21, 3}, {100, 128}, {101, 3}, {102, 1}, {403, 1}});
        expect_fields(c, {{500, k.usrp ? 22 : 18}, {501, 0}});
        rzl_close(c);
    }
}

TEST_F(MapSets, AsrpColorsLegendsAndTiles) {
    asrp_parts s;
    s.name = "ABCDEF01.L01";
    s.width = 20;
    s.height = 10;
    const auto place = static_cast<int64_t>(image_head("IMG02", 8192).size()) - 4095;
    s.map = {place, 0};
    asrp_parts other = s;
    other.name = "ABCDEF01.L07";
    other.map = {1, 1};
    const bytes_of_file pixels = some_samples(200, 3, 4);
    write("abcdef01.sou", s.description({other.image(), s.image()}));
    write("ABCDEF01.QAL", colors_file(3));
    const std::string file = write("abcdef01.l01", image_head("IMG02", 8192) + pairs(pixels));
    const picture p = read_picture(file);
    ASSERT_EQ(p.status, 0u) << rzl_status_name(p.status);
    EXPECT_TRUE(p.entries == 3 && p.width == 40 && p.height == 10);
    CFILE* c = rzl_open_r(file.c_str());
    EXPECT_EQ(field_of(c, 5), 2);
    std::vector<rzl_vlt_entry> table(256, {9, 9, 9, 9});
    ASSERT_EQ(rzl_get_vlt(c, table.data()), 0);
    EXPECT_TRUE(table[2].red == 253 * 256 && table[2].green == 2 * 256 && table[2].blue == 7 * 256 &&
                table[255].slot == 255);
    bytes_of_file planes[3] = {bytes_of_file(200, 9), bytes_of_file(200, 9), bytes_of_file(200, 9)};
    void* three[3] = {nullptr, planes[1].data(), planes[2].data()};
    int32_t told = -1;
    EXPECT_TRUE(rzl_gettile(c, 3, three, nullptr) == 0);
    for (size_t i = 0; i < 200; ++i) {
        EXPECT_EQ(planes[1][i], pixels[i]);
        EXPECT_EQ(p.colors[(i / 20 * 40 + i % 20) * 3], 255 - pixels[i]);
    }
    three[0] = planes[0].data();
    EXPECT_TRUE(rzl_gettile(c, 3, three, &told) == 0 && told == 0 && planes[0][0] == 9);
    EXPECT_EQ(refusal(c, rzl_seek(c, 10)), RZL_PAST_END);
    rzl_map_info map = {};
    EXPECT_EQ(rzl_get_hdr_data(c, RZL_FIELD_MAP, &map), 0);
    EXPECT_TRUE(std::string(map.title) == "SHEET012" && map.scale == 250000 && map.corners[2] == 11);
    rzl_close(c);
}

TEST_F(MapSets, AsrpBadInput) {
    asrp_parts s;
    const bytes_of_file pixels = some_samples(16384, 3, 4);
    const std::string coded = pairs(pixels);
    const auto place = static_cast<int64_t>(8192 - 4095);
    s.map = {place, place};
    write("ABCDEF01.IMG", image_head("IMG02", 8192) + coded);
    const std::string image = s.image();
    const std::string good = s.description({image});
    const size_t fields = good.size() - image.size();
    const size_t counts = fields + image.find("001002128128");
    const std::vector<text_change> changes = {
        {"as it is", 0, "", 0},
        {"a leader of another kind", 5, "3", RZL_READ_FAILED},
        {"sizes of no set", 20, "6", RZL_NOT_STANDARD_2},
        {"a second record that is none", good.find(DATA), "X", RZL_READ_FAILED},
        {"no data record", good.rfind(DATA), "X", RZL_READ_FAILED},
        {"no tiles", counts, "000", RZL_NOT_STANDARD},
        {"tiles are no number", counts, "abc", RZL_READ_FAILED},
        {"no tile size", counts + 6, "000", RZL_NOT_STANDARD},
        {"more tiles than the map", counts, "999", RZL_READ_FAILED},
        {"counts of 5 bits", fields + image.find("80ABCDEF"), "5", RZL_READ_FAILED},
        {"no coding", fields + image.find("80ABCDEF"), "0", RZL_UNSUPPORTED},
        {"a map of letters", good.size() - 11, "a", RZL_READ_FAILED},
        {"a tile past the end", good.size() - 11, "9999999999", RZL_READ_FAILED},
        {"no such name, and the first image", fields + image.find("ABCDEF01"), "XXXXXX", 0},
    };
    expect_described(good, changes, 0, 1);
    write("ABCDEF01.QAL", colors_file(3));
    const std::string colors = colors_file(3);
    for (auto [at, text] : {std::pair(colors.find("254001"), "x"), {colors.find("254001"), "256"}, {size_t{0}, "x"}}) {
        std::string bad = colors;
        put(&bad, at, text);
        write("ABCDEF01.QAL", bad);
        EXPECT_EQ(read_picture(path("ABCDEF01.IMG")).status, RZL_READ_FAILED);
    }
    write("ABCDEF01.QAL", colors);
    expect_read_sweeps([&] { return read_picture(path("ABCDEF01.IMG")); });
    write("ABCDEF01.IMG", image_head("IMG02", 8192) + coded.substr(0, coded.size() - 2));
    EXPECT_EQ(read_picture(path("ABCDEF01.IMG")).status, RZL_READ_FAILED);
}
