// VRLC files: lines and directory byte by byte, both byte orders, and bad input.
#include "common/places.h"
#include "common/run.h"
#include "raster/formats_fixture.h"

using Vrlc = FormatTest;

namespace {

// A file of parts made by hand, in one byte order.
struct vrlc_parts {
    bool big = true;
    bool bits = true;
    int width = 20, height = 2;
    int order = 0;
    double density = 0;
    bytes_of_file lines;
    bytes_of_file translation; // 256 bytes; empty: as it is
    bool with_translation = true, with_histogram = true;

    void word(bytes_of_file* out, int value) const {
        const auto high = static_cast<uint8_t>(value >> 8);
        const auto low = static_cast<uint8_t>(value);
        out->push_back(big ? high : low);
        out->push_back(big ? low : high);
    }
    vrlc_parts& put(std::initializer_list<int> words) {
        for (int value : words)
            word(&lines, value);
        return *this;
    }
    vrlc_parts& raw(const bytes_of_file& bytes) {
        lines.insert(lines.end(), bytes.begin(), bytes.end());
        return *this;
    }
    bytes_of_file record() const {
        bytes_of_file r(bits ? 200 : 256);
        uint8_t number[8];
        store_f64le(number, density);
        for (size_t i = 0; i < 8; ++i)
            r[24 + i] = number[big ? 7 - i : i];
        bytes_of_file code;
        word(&code, order);
        std::copy(code.begin(), code.end(), r.begin() + (bits ? 44 : 52));
        return r;
    }
    bytes_of_file file() const {
        bytes_made b;
        b.fill(4).bytes(lines);
        const auto data = static_cast<int64_t>(b.made.size());
        b.text(big ? "MM" : "II").u16(0);
        word(&b.made, height);
        word(&b.made, width);
        b.bytes(record());
        const auto histogram = static_cast<int64_t>(b.made.size());
        if (!bits) b.fill(1028);
        const auto table = static_cast<int64_t>(b.made.size());
        if (!bits) {
            b.fill(2);
            for (int i = 0; i < 256; ++i)
                b.number(translation.empty() ? i : translation[static_cast<size_t>(i)], 1);
        }
        const auto directory = b.made.size();
        b.fill(8).bytes({0x1A, 0x1A, 'U', 'd', 's', 0x82, 'C', 'J', 'I', 'I', 0xFF, 0xFF}).u16(2).u16(bits ? 2 : 4);
        b.u16(1).u16(bits ? 2 : 262).u32(0).u32(0).u32(data);
        b.u16(bits ? 2 : 14).u16(0).u16(2).u16(1).u32(data).u32(bits ? 544 : 600);
        if (!bits) b.u16(with_histogram ? 13 : 99).u16(0).u32(0).u32(histogram).u32(1028);
        if (!bits) b.u16(with_translation ? 12 : 98).u16(0).u32(0).u32(table).u32(258);
        return b.fill(344 - (b.made.size() - directory)).made;
    }
};

vrlc_parts byte_parts() {
    vrlc_parts v;
    v.bits = false;
    return v;
}

} // namespace

TEST_F(Vrlc, LinesOfBits) {
    for (bool big : {true, false}) {
        vrlc_parts v;
        v.big = big;
        v.height = 4;
        v.density = 199.7;
        v.put({2, 0, 3, 5, 20}).put({0}).put({1, 0, 20}).put({2, 4, 5, 19, 20});
        CFILE* c = open_made(v.file());
        expect_fields(c, {{500, 20}, {3, 9}, {8, -199}, {501, 1}});
        // Black from 0 to 3 and from 5 on; white; all black; pixels 4 and 19.
        EXPECT_EQ(read_plane(c).values, hex("FFE7 00F0 0000 0000 FFFF 00F0 0008 0010"));
        using run_list = std::vector<uint16_t>;
        for (const auto& [line, expected] :
             {std::pair(3, run_list{4, 1, 14, 1, 0}), {0, {0, 3, 2, 15, 0}}, {1, {20}}}) {
            EXPECT_EQ(rzl_seek(c, line), 0);
            EXPECT_EQ(next_runs(c), expected);
        }
        uint8_t planes[20];
        EXPECT_EQ(refusal(c, rzl_getline3(c, planes, planes, planes)), RZL_UNSUP_IR);
        rzl_close(c);
    }
}

TEST_F(Vrlc, LinesOfBytes) {
    for (bool big : {true, false}) {
        vrlc_parts v = byte_parts();
        v.big = big;
        for (int i = 0; i < 256; ++i)
            v.translation.push_back(static_cast<uint8_t>(255 - i));
        // Runs, bytes, runs; then bytes at once, an odd count of them in two chunks.
        v.put({4, 8 << 8 | 7, 2 << 8 | 9, 3}).raw({1, 2, 3, 0xEE}).put({2, 7 << 8 | 5, 0, 0});
        v.put({0, 3}).raw({10, 11, 12, 0}).put({0, 17}).raw(bytes_of_file(18, 13)).put({0, 0});
        CFILE* c = open_made(v.file());
        const picture p = read_plane(c);
        const bytes_of_file expected =
            joined(joined(bytes_of_file(8, 248), hex("F6F6 FEFDFC FAFAFAFAFAFAFA F5F4F3")), bytes_of_file(17, 242));
        EXPECT_EQ(p.values, expected);
        EXPECT_TRUE(p.format == 29 && p.bits == 8 && p.status == 0);
        bytes_of_file planes[3] = {bytes_of_file(20), bytes_of_file(20), bytes_of_file(20)};
        EXPECT_TRUE(rzl_seek(c, 1) == 0 && rzl_getline3(c, nullptr, planes[1].data(), planes[2].data()) == 0);
        EXPECT_TRUE(planes[1] == part(expected, 20) && planes[2] == planes[1]);
        int32_t size = 20;
        EXPECT_EQ(rzl_seek(c, 1), 0);
        EXPECT_EQ(refusal(c, rzl_get_rle_line(c, planes[0].data(), &size)), RZL_UNSUP_IR);
        rzl_close(c);
    }
}

TEST_F(Vrlc, TheBytesOfAFile) {
    // 7 equal bytes stay as they are, 8 are a run; 256 of them a run of 255 and one byte.
    bytes_of_file line(7, 1);
    line.insert(line.end(), 8, 2);
    line.insert(line.end(), 256, 3);
    line.push_back(4);
    ASSERT_EQ(write_picture(path("a"), 20, 2, 272, 1, line, {{8, -300}}), 0u);
    bytes_made b;
    b.digits("00010110 0000 0007 0101010101010100 0004 0802 FF03 0002 0304 0000 0000");
    const int64_t data = static_cast<int64_t>(b.made.size());
    b.text("MM").u16(0).bytes({0, 1, 1, 16}).fill(16).bytes({0x3F, 0xF0}).fill(6).bytes({0x40, 0x72, 0xC0}).fill(5);
    b.bytes({0, 1, 0, 1}).fill(220);
    bytes_of_file histogram = {0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 7, 0, 0, 0, 8, 0, 0, 1, 0, 0, 0, 0, 1};
    histogram.resize(1028);
    b.bytes(histogram).bytes({1, 0});
    for (int i = 0; i < 256; ++i)
        b.number(i, 1);
    b.fill(8).bytes({0x1A, 0x1A, 'U', 'd', 's', 0x82, 'C', 'J', 'I', 'I', 0xFF, 0xFF}).u16(2).u16(4);
    b.u16(1).u16(262).u32(0).u32(0).u32(data).u16(14).u16(0).u16(2).u16(1).u32(data).u32(600);
    b.u16(13).u16(0).u32(0).u32(data + 264).u32(1028).u16(12).u16(0).u32(0).u32(data + 264 + 1028).u32(258);
    EXPECT_EQ(read_bytes(path("a")), b.fill(344 - 24 - 64).made);
    ASSERT_EQ(write_picture(path("a"), 20, 1, 20, 3, {0xFF, 0xFF, 0, 0xF0, 0, 0, 0, 0, 1, 0, 0, 0x80}, {{8, 0}}), 0u);
    const bytes_of_file file = read_bytes(path("a"));
    EXPECT_EQ(part(file, 0, 18), hex("0003 0014 0001 0000 0014 0000 0001 000F 0011"));
    EXPECT_EQ(file.size(), 18u + 8 + 200 + 344);
    EXPECT_EQ(part(file, 18 + 8 + 24, 8), bytes_of_file(8)) << "no density";
}

TEST_F(Vrlc, FieldsOfANewFile) {
    for (auto [field, value] : {std::pair(1, 65536), {2, 65536}, {3, 28}, {402, 2}})
        EXPECT_EQ(refused(new_file(path("a"), 20, 29, 8, 8, {{field, value}})), RZL_UNSUP_IR) << field;
    CFILE* c = new_file(path("a"), 20, 29, 8, 8, {{8, 84667}, {9, 6}});
    EXPECT_TRUE(field_of(c, 8) == -3 && field_of(c, 9) == 4 && rzl_set_active_image(c, 0) == 1);
    rzl_close(c);
}

// The order of lines is told by the status record, and what is printed stands upright.
TEST_F(Vrlc, OrdersOfLines) {
    const std::string rzl = bin_dir() + "/rzl";
    const char* printed[] = {"abcdef", "cbafed", "fedcba", "defabc", "abcdef"};
    const int orientations[] = {4, 1, 7, 2, 4};
    for (int code = 0; code < 5; ++code) {
        vrlc_parts v = byte_parts();
        v.width = 3;
        v.order = code;
        v.put({0, 3}).raw(bytes_of("abc?")).put({0, 0, 0, 3}).raw(bytes_of("def?")).put({0, 0});
        CFILE* c = open_made(v.file());
        rzl_stat stat;
        EXPECT_TRUE(rzl_get_stat(c, &stat) == 0 && stat.scan_orientation == orientations[code] && stat.version == 2);
        EXPECT_TRUE(field_of(c, 9) == 4 && stat.vlt_type == 0 && stat.compression == 1);
        rzl_close(c);
        EXPECT_EQ(run_command(directory, rzl + " cat made").out, printed[code]);
        EXPECT_TRUE(run_command(directory, rzl + " convert made b.tga").ok());
        EXPECT_EQ(run_command(directory, rzl + " cat b.tga").out, printed[code]);
    }
    // There is no colour table, and indices are no picture.
    ASSERT_EQ(write_picture(path("t.tga"), 3, 2, 2, 1, {0, 1}, {}, some_table(2)), 0u);
    EXPECT_EQ(run_command(directory, rzl + " convert t.tga c --standard IGS").status, 1);
    EXPECT_EQ(run_command(directory, rzl + " convert t.tga c.cal").status, 1);
    EXPECT_EQ(run_command(directory, rzl + " convert t.tga c.ntf && " + rzl + " cat c.ntf").out,
              run_command(directory, rzl + " cat t.tga").out);
}

TEST_F(Vrlc, BadInput) {
    vrlc_parts bits;
    bits.put({1, 3, 9}).put({0});
    const bytes_of_file file = bits.file();
    const size_t data = 4 + bits.lines.size();
    const size_t end = file.size() - 344;
    expect_refused(file, {
                             {"pairs that go back", 4 + 2, {0, 10}, RZL_READ_FAILED},
                             {"a run past the line", 4 + 4, {0, 21}, RZL_READ_FAILED},
                             {"more pairs than pixels", 4, {0, 21}, RZL_READ_FAILED},
                             {"lines that run into the directory", data + 4, {1, 0}, RZL_READ_FAILED},
                             {"no width", data + 6, {0, 0}, RZL_NOT_STANDARD_2},
                             {"no height", data + 4, {0, 0}, RZL_NOT_STANDARD_2},
                             {"another subtype", end + 26, {3}, RZL_NOT_STANDARD_2},
                             {"no image", end + 24, {7}, RZL_NOT_STANDARD_2},
                             {"no data", end + 40, {7}, RZL_NOT_STANDARD_2},
                             {"entries left out", end + 22, {1}, RZL_NOT_STANDARD_2},
                             {"data behind the end", end + 50, {0, 1}, RZL_READ_FAILED},
                             {"an image behind the end", end + 34, {0, 1}, RZL_READ_FAILED},
                         });
    EXPECT_EQ(read_changed(file, end + 22, {0xFF, 0xFF}).status, 0u) << "entries that are none";
    vrlc_parts bytes = byte_parts();
    bytes.put({2, 20 << 8 | 7, 0, 0}).put({0, 20}).raw(bytes_of_file(20, 3)).put({0, 0});
    expect_refused(bytes.file(), {
                                     {"a run past the line", 6, {21}, RZL_READ_FAILED},
                                     {"a line cut short", 6, {19}, RZL_READ_FAILED},
                                     {"bytes past the line", 15, {22}, RZL_READ_FAILED},
                                     {"bytes behind the end", 14, {0xFF, 0xF0}, RZL_READ_FAILED},
                                 });
    for (bool histogram : {true, false}) {
        bytes.with_translation = histogram;
        bytes.with_histogram = !histogram;
        EXPECT_EQ(read_made(bytes.file()).status, histogram ? 0u : RZL_NOT_STANDARD_2);
    }
    write_bytes(path("a"), part(file, -344));
    EXPECT_EQ(rzl_open_r(path("a").c_str()), nullptr) << "nothing but a directory";
}
