// Targa files: headers and packets byte by byte, every depth and order, maps, and bad input.
#include "formats_fixture.h"

using Targa = FormatTest;

namespace {

struct targa_parts {
    int type = 2, width = 3, height = 2, bits = 24, descriptor = 0x20;
    int map_type = 0, map_first = 0, map_length = 0, map_bits = 0;
    std::string id;
    bytes_of_file map, lines;

    bytes_of_file file() const {
        bytes_made b;
        b.number(static_cast<int64_t>(id.size()), 1).number(map_type, 1).number(type, 1);
        b.u16(map_first).u16(map_length).number(map_bits, 1).u16(0).u16(0).u16(width).u16(height);
        return b.number(bits, 1).number(descriptor, 1).text(id).bytes(map).bytes(lines).made;
    }
};

} // namespace

TEST_F(Targa, TheBytesOfAFile) {
    const bytes_of_file rgb = {1, 2, 3, 4, 5, 6};
    const color_table table = {{0, 0x1234, 0x5678, 0x9ABC}, {1, 0xFFFF, 0x8000, 0x0800}};
    struct {
        int format, bits;
        bytes_of_file pixels;
        field_values fields;
        bool with_table;
        bytes_of_file expected;
    } cases[] = {
        {28,
         24,
         rgb,
         {},
         false,
         bytes_made().bytes({0, 0, 2}).fill(9).u16(2).u16(1).bytes({24, 32, 3, 2, 1, 6, 5, 4}).made},
        {27,
         24,
         rgb,
         {{604, 7}, {605, 0x102}, {9, 5}, {606, 0x13}},
         false,
         bytes_made().bytes({0, 0, 10}).fill(5).u16(7).u16(0x102).u16(2).u16(1).bytes({24, 0x33}).made},
        {2,
         8,
         {1, 0},
         {{607, 3}},
         true,
         bytes_made()
             .bytes({3, 1, 1})
             .u16(0)
             .u16(2)
             .bytes({24})
             .u32(0)
             .u16(2)
             .u16(1)
             .bytes({8, 32, 0, 0, 0})
             .bytes({0x9A, 0x56, 0x12, 0x08, 0x80, 0xFF, 1, 0})
             .made},
        {29, 8, {7, 7}, {}, false, bytes_made().bytes({0, 0, 11}).fill(9).u16(2).u16(1).bytes({8, 32, 0x81, 7}).made},
        {2,
         8,
         {7, 9},
         {{501, 1}},
         false,
         bytes_made().bytes({0, 0, 11}).fill(9).u16(2).u16(1).bytes({8, 32, 1, 7, 9}).made},
    };
    for (const auto& k : cases) {
        SCOPED_TRACE(k.format);
        const bool refused = k.fields.size() > 2; // attribute bits leave a depth that lines are not put in
        EXPECT_EQ(
            write_picture(path("a.tga"), 3, k.format, 2, 1, k.pixels, k.fields, k.with_table ? table : color_table()),
            refused ? RZL_UNSUP_TGA : 0u);
        EXPECT_EQ(read_bytes(path("a.tga")), k.expected);
    }
    // Maps of other depths: 5 bits a colour, and a fourth byte of 0.
    const bytes_of_file maps[] = {{0x53, 0x09, 0x01, 0x7E}, {0x9A, 0x56, 0x12, 0, 0x08, 0x80, 0xFF, 0}};
    for (int bits : {15, 16, 32}) {
        CFILE* c = new_file(path("a.tga"), 3, 2, 2, 1, {{6, 2}, {603, bits}});
        rzl_put_vlt(c, table.data());
        EXPECT_EQ(put_lines(c, 2, 1, {0, 1}), 0u);
        EXPECT_EQ(rzl_finish(c), 0u);
        const bytes_of_file b = read_bytes(path("a.tga"));
        EXPECT_EQ(bytes_of_file(b.begin() + 18, b.end() - 2), maps[bits / 32]) << bits;
    }
}

TEST_F(Targa, Packets) {
    bytes_of_file line(129, 5);
    for (uint8_t v : bytes_of_file{1, 2, 2, 3})
        line.push_back(v);
    for (int i = 0; i < 130; ++i)
        line.push_back(static_cast<uint8_t>(i));
    ASSERT_EQ(write_picture(path("a.tga"), 3, 29, static_cast<int>(line.size()), 1, line), 0u);
    const bytes_of_file b = read_bytes(path("a.tga"));
    bytes_of_file expected = {0xFF, 5, 1, 5, 1, 0x81, 2, 127, 3};
    for (int i = 0; i < 127; ++i)
        expected.push_back(static_cast<uint8_t>(i));
    for (uint8_t v : bytes_of_file{2, 127, 128, 129})
        expected.push_back(v);
    EXPECT_EQ(bytes_of_file(b.begin() + 18, b.end()), expected);
    for (auto [width, format] :
         {std::pair(1, 29), {2, 29}, {1000, 29}, {1, 27}, {7, 27}, {999, 27}, {17, 28}, {17, 2}}) {
        SCOPED_TRACE(std::to_string(width) + " format " + std::to_string(format));
        const bool triples = format_is_color(format);
        bytes_of_file pixels;
        for (uint8_t v : some_samples(static_cast<size_t>(width) * 13, triples ? 3 : 256, 1))
            for (int i = 0; i < (triples ? 3 : 1); ++i)
                pixels.push_back(static_cast<uint8_t>(v + i));
        ASSERT_EQ(write_picture(path("a.tga"), 3, format, width, 13, pixels), 0u);
        const picture p = read_picture(path("a.tga"));
        EXPECT_TRUE(p.status == 0 && p.format == format && !p.damaged);
        EXPECT_TRUE((triples ? p.colors : p.values) == pixels);
        expect_seeks(path("a.tga"));
    }
}

// Six pixels of each depth, raw, and as packets that end inside of lines.
TEST_F(Targa, Depths) {
    const bytes_of_file words = {0x1F, 0x7C, 0xE0, 0x03, 0x00, 0x80, 0x21, 0x04, 0x21, 0x04, 0x21, 0x04};
    const bytes_of_file word_colors = {0xF8, 0, 0xF8, 0, 0xF8, 0, 0, 0, 0, 8, 8, 8, 8, 8, 8, 8, 8, 8};
    const bytes_of_file grey = {1, 2, 3, 4, 4, 4};
    struct {
        const char* what;
        int type, bits, descriptor;
        bytes_of_file raw, colors;
    } cases[] = {
        {"16", 2, 16, 0x20, words, word_colors},
        {"16 with one attribute bit", 2, 16, 0x21, words, word_colors},
        {"24",
         2,
         24,
         0x20,
         {1, 2, 3, 4, 5, 6, 7, 8, 9, 5, 5, 5, 5, 5, 5, 5, 5, 5},
         {3, 2, 1, 6, 5, 4, 9, 8, 7, 5, 5, 5, 5, 5, 5, 5, 5, 5}},
        {"32",
         2,
         32,
         0x20,
         {1, 2, 3, 99, 4, 5, 6, 98, 7, 8, 9, 97, 5, 5, 5, 9, 5, 5, 5, 9, 5, 5, 5, 9},
         {3, 2, 1, 6, 5, 4, 9, 8, 7, 5, 5, 5, 5, 5, 5, 5, 5, 5}},
        {"32 with eight attribute bits",
         2,
         32,
         0x28,
         {1, 2, 3, 99, 4, 5, 6, 98, 7, 8, 9, 97, 5, 5, 5, 9, 5, 5, 5, 9, 5, 5, 5, 9},
         {3, 2, 1, 6, 5, 4, 9, 8, 7, 5, 5, 5, 5, 5, 5, 5, 5, 5}},
        {"8", 3, 8, 0x20, grey, {1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4, 4, 4, 4, 4, 4, 4}},
        {"8 with alpha",
         3,
         16,
         0x28,
         {1, 9, 2, 9, 3, 9, 4, 9, 4, 9, 4, 9},
         {1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4, 4, 4, 4, 4, 4, 4}},
    };
    for (const auto& k : cases) {
        SCOPED_TRACE(k.what);
        targa_parts t;
        t.type = k.type;
        t.bits = k.bits;
        t.descriptor = k.descriptor;
        t.lines = k.raw;
        write_bytes(path("a.tga"), t.file());
        EXPECT_EQ(read_picture(path("a.tga")).colors, k.colors);
        const auto step = static_cast<long>(k.bits / 8);
        t.type |= 8;
        // One pixel, then two in a literal, then a run of three: the second packet crosses the line when it has three.
        t.lines = bytes_made()
                      .bytes({1})
                      .bytes({k.raw.begin(), k.raw.begin() + 2 * step})
                      .bytes({0})
                      .bytes({k.raw.begin() + 2 * step, k.raw.begin() + 3 * step})
                      .bytes({0x82})
                      .bytes({k.raw.end() - step, k.raw.end()})
                      .made;
        write_bytes(path("a.tga"), t.file());
        EXPECT_EQ(read_picture(path("a.tga")).colors, k.colors);
        t.lines = bytes_made()
                      .bytes({3})
                      .bytes({k.raw.begin(), k.raw.begin() + 4 * step})
                      .bytes({0x85})
                      .bytes({k.raw.end() - step, k.raw.end()})
                      .made; // across the lines, and past the image's end
        write_bytes(path("a.tga"), t.file());
        EXPECT_EQ(read_picture(path("a.tga")).colors, k.colors);
        expect_seeks(path("a.tga"));
    }
    // As they are stored.
    targa_parts t;
    t.bits = 16;
    t.lines = words;
    write_bytes(path("a.tga"), t.file());
    CFILE* c = rzl_open_r(path("a.tga").c_str());
    uint8_t planes[3][3];
    EXPECT_TRUE(set_field_to(c, 701, 1) == 0 && rzl_getline3(c, planes[0], planes[1], planes[2]) == 0);
    EXPECT_TRUE(planes[0][0] == 31 && planes[1][1] == 31 && planes[2][0] == 31 && field_of(c, 507) == 5);
    EXPECT_TRUE(rzl_getline_channels(c, 2, std::begin({(void*)planes[0], (void*)planes[1]})) == 1 &&
                c->status == RZL_UNSUP_TGA);
    EXPECT_TRUE(rzl_getline_channels(c, 1, std::begin({(void*)planes[0]})) == 1 && c->status == RZL_NOT_STANDARD);
    rzl_close(c);
}

TEST_F(Targa, Maps) {
    targa_parts t;
    t.type = 1;
    t.bits = 8;
    t.map_type = 1;
    t.map_first = 5;
    t.map_length = 3;
    t.map_bits = 24;
    t.map = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    t.lines = {5, 6, 7, 4, 255, 7};
    t.id = "id";
    write_bytes(path("a.tga"), t.file());
    picture p = read_picture(path("a.tga"));
    EXPECT_EQ(p.colors, bytes_of_file({3, 2, 1, 6, 5, 4, 9, 8, 7, 0, 0, 0, 0, 0, 0, 9, 8, 7}));
    EXPECT_EQ(p.values, t.lines);
    CFILE* c = rzl_open_r(path("a.tga").c_str());
    rzl_vlt_entry vlt[256];
    ASSERT_EQ(rzl_get_vlt(c, vlt), 0);
    EXPECT_TRUE(vlt[4].red == 0 && vlt[5].red == 0x300 && vlt[7].blue == 0x700 && vlt[7].slot == 7);
    EXPECT_TRUE(field_of(c, 6) == 3 && field_of(c, 5) == 2 && field_of(c, 600) == 2 && field_of(c, 31) == 8);
    char id[256];
    EXPECT_TRUE(rzl_get_hdr_data(c, 608, id) == 0 && std::string(id) == "id");
    rzl_close(c);
    t.map_bits = 16;
    t.map = {0x1F, 0x7C, 0xE0, 0x03, 0, 0};
    write_bytes(path("a.tga"), t.file());
    EXPECT_EQ(read_picture(path("a.tga")).colors,
              bytes_of_file({0xF8, 0, 0xF8, 0, 0xF8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    t.map_type = 0; // its measures don't count, and the image is grey
    t.type = 3;
    t.map.clear();
    write_bytes(path("a.tga"), t.file());
    EXPECT_EQ(read_picture(path("a.tga")).colors[0], 5);
    c = rzl_open_r(path("a.tga").c_str());
    EXPECT_TRUE(rzl_get_vlt(c, vlt) == 1 && c->status == RZL_NO_VLT);
    rzl_close(c);
}

TEST_F(Targa, OrdersAndVersions) {
    const int orders[4] = {6, 7, 4, 5};
    for (int i = 0; i < 4; ++i) {
        targa_parts t;
        t.descriptor = i << 4;
        t.lines.assign(18, 1);
        write_bytes(path("a.tga"), t.file());
        EXPECT_EQ(read_picture(path("a.tga")).orientation, orders[i]);
    }
    CFILE* c = new_file(path("a.tga"), 3, 28, 1, 1, {{9, 7}, {9, 6}});
    EXPECT_EQ(field_of(c, 9), 5) << "bits that were set stay set";
    rzl_stat stat;
    EXPECT_EQ(rzl_get_stat(c, &stat), 0);
    stat.scan_orientation = 6;
    EXPECT_TRUE(rzl_set_stat(c, &stat) == 0 && field_of(c, 9) == 6);
    rzl_close(c);
    targa_parts t;
    t.lines.assign(18, 1);
    bytes_made file;
    file.bytes(t.file()).u16(495).fill(472).u16(3).u16(2).fill(17).u32(36).u32(0).text("TRUEVISION-XFILE.").fill(1);
    write_bytes(path("a.tga"), file.made);
    for (bool on : {false, true}) {
        extended_guard extended(on);
        c = rzl_open_r(path("a.tga").c_str());
        double aspect = 0;
        EXPECT_EQ(rzl_get_hdr_data(c, 26, &aspect), 0);
        EXPECT_EQ(aspect, on ? 1.5 : 1.0);
        EXPECT_EQ(field_of(c, 21), on ? 2 : 0);
        rzl_close(c);
    }
}

TEST_F(Targa, BadInput) {
    targa_parts t;
    t.type = 1;
    t.bits = 8;
    t.map_type = 1;
    t.map_length = 2;
    t.map_bits = 24;
    t.map.assign(6, 9);
    t.lines.assign(6, 1);
    const bytes_of_file mapped = t.file();
    expect_refused(mapped, {
                               {"a map too long", 5, {0x01, 0x10}, RZL_READ_FAILED},
                               {"a map behind the end", 5, {12, 0}, RZL_READ_FAILED},
                               {"map bits", 7, {8}, RZL_READ_FAILED},
                               {"no width", 12, {0, 0}, RZL_READ_FAILED},
                               {"a width of 10001", 12, {0x11, 0x27}, RZL_READ_FAILED},
                               {"no height", 14, {0, 0}, RZL_READ_FAILED},
                               {"lines that are not there", 14, {200, 0}, RZL_READ_FAILED},
                               {"pixel bits", 16, {15}, RZL_READ_FAILED},
                               {"a descriptor of 64", 17, {64}, RZL_READ_FAILED},
                               {"an id behind the end", 0, {40}, RZL_READ_FAILED},
                               {"a grey image with a map", 2, {3}, RZL_UNSUP_TGA},
                               {"indices of 16 bits", 16, {16}, RZL_UNSUP_TGA},
                               {"no bits of colour", 17, {0x28}, RZL_UNSUP_TGA},
                           });
    t.map_type = 0;
    write_bytes(path("a.tga"), t.file());
    EXPECT_EQ(read_picture(path("a.tga")).status, RZL_UNSUP_TGA) << "indices without a map";
    targa_parts wide;
    wide.width = 10000;
    wide.height = 1;
    wide.lines.assign(30000, 7);
    write_bytes(path("a.tga"), wide.file());
    EXPECT_EQ(read_picture(path("a.tga")).status, 0u);
    wide.width = 10001;
    wide.lines.assign(30003, 7);
    write_bytes(path("a.tga"), wide.file());
    EXPECT_EQ(read_picture(path("a.tga")).status, RZL_READ_FAILED);
    extended_guard extended(true);
    EXPECT_EQ(read_picture(path("a.tga")).status, 0u);
    expect_cut_tells(mapped, 24, mapped.size());
    targa_parts runs;
    runs.type = 10;
    runs.lines = {0x82, 1, 2, 3, 2, 4, 5, 6, 7, 8, 9, 1, 2, 3};
    expect_cut_tells(runs.file(), 18, runs.file().size());
}

TEST_F(Targa, WritingIsRefused) {
    CFILE* c = new_file(path("a.tga"), 3, 27, 2, 2);
    EXPECT_TRUE(rzl_putline(c, "ab") == 1 && c->status == RZL_UNSUP_TGA);
    EXPECT_TRUE(rzl_putline3(c, "ab", "ab", "ab") == 1 && c->status == RZL_MODIFY_COMPRESSED) << "line 0 did not come";
    EXPECT_TRUE(rzl_rewind(c) == 0 && rzl_putline3(c, "ab", "ab", "ab") == 0);
    EXPECT_TRUE(set_field_to(c, 9, 7) == 0 && field_of(c, 9) == 4) << "the header is written";
    rzl_close(c);
    for (auto [field, value] : {std::pair(3, 1), {6, 5000}, {501, 2}, {603, 8}, {601, -1}, {609, 33}})
        EXPECT_EQ(new_file(path("a.tga"), 3, 28, 1, 1, {{field, value}}), nullptr) << field;
    for (auto [width, height] : {std::pair(0, 1), {65536, 1}, {1, 65536}}) {
        c = new_file(path("a.tga"), 3, 28, width, height);
        EXPECT_TRUE(rzl_write_header(c) == 1 && c->status == RZL_BAD_IMAGE_SIZE);
        rzl_close(c);
    }
}

// Raw lines in any order, in a new file and in one that is changed; packets at the end only.
TEST_F(Targa, LinesInPlace) {
    expect_lines_in_place(path("a.tga"), RZL_STANDARD_TARGA, "0azz2b");
    CFILE* c = new_file(path("a.tga"), 3, 29, 2, 3, {}, rzl_open_wr);
    EXPECT_TRUE(put_lines(c, 2, 3, bytes_of("aabcdd")) == 0 && rzl_rewind(c) == 0);
    EXPECT_EQ(read_lines(c).values, bytes_of("aabcdd"));
    EXPECT_TRUE(rzl_seek(c, 1) == 0 && rzl_putline(c, "xx") == 1 && c->status == RZL_MODIFY_COMPRESSED);
    rzl_close(c);
}

TEST_F(Targa, EveryFailureHasItsStatus) {
    expect_sweeps(3, 29, 50, 9, some_samples(450, 2, 3), some_table(2));
    expect_sweeps(3, 28, 50, 9, some_samples(1350, 256, 3));
}
