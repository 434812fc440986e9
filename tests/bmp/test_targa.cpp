// Targa files: headers and packets byte by byte, every depth and order, maps, and bad input.
#include "raster/formats_fixture.h"

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
    const bytes_of_file rgb = hex("010203 040506");
    const color_table table = {{0, 0x1234, 0x5678, 0x9ABC}, {1, 0xFFFF, 0x8000, 0x0800}};
    const std::string map = "0000 0200 18", no_map = "0000 0000 00", at_0 = "0000 0000", two = "0200 0100";
    struct {
        int format;
        bytes_of_file pixels;
        field_values fields;
        color_table colors;
        std::string expected; // id, map and type; map; place; size; bits and order; the rest
    } cases[] = {
        {28, rgb, {}, {}, "000002" + no_map + at_0 + two + "1820 030201 060504"},
        {27, rgb, {{604, 7}, {605, 0x102}, {9, 5}, {606, 0x13}}, {}, "00000A" + no_map + "0700 0201" + two + "1833"},
        {2, {1, 0}, {{607, 3}}, table, "030101" + map + at_0 + two + "0820 000000 9A5612 0880FF 0100"},
        {29, {7, 7}, {}, {}, "00000B" + no_map + at_0 + two + "0820 8107"},
        {2, {7, 9}, {{501, 1}}, {}, "00000B" + no_map + at_0 + two + "0820 010709"},
    };
    for (const auto& k : cases) {
        SCOPED_TRACE(k.expected);
        const bool refused = k.fields.size() > 2; // attribute bits leave a depth that lines are not put in
        EXPECT_EQ(write_picture(path("a.tga"), 3, k.format, 2, 1, k.pixels, k.fields, k.colors),
                  refused ? RZL_UNSUP_TGA : 0u);
        EXPECT_EQ(read_bytes(path("a.tga")), hex(k.expected));
    }
    // Maps of other depths: 5 bits a colour, and a fourth byte of 0.
    for (auto [bits, colors] : {std::pair(15, "5309 017E"), {16, "5309 017E"}, {32, "9A561200 0880FF00"}}) {
        CFILE* c = new_file(path("a.tga"), 3, 2, 2, 1, {{6, 2}, {603, bits}});
        rzl_put_vlt(c, table.data());
        EXPECT_TRUE(put_lines(c, 1, {0, 1}) == 0 && rzl_finish(c) == 0);
        EXPECT_EQ(part(read_bytes(path("a.tga")), 18), joined(hex(colors), {0, 1})) << bits;
    }
}

TEST_F(Targa, Packets) {
    bytes_of_file line = joined(bytes_of_file(129, 5), {1, 2, 2, 3}), ramp(130);
    for (size_t i = 0; i < 130; ++i)
        ramp[i] = static_cast<uint8_t>(i);
    line = joined(line, ramp);
    ASSERT_EQ(write_picture(path("a.tga"), 3, 29, static_cast<int>(line.size()), 1, line), 0u);
    const bytes_of_file expected = joined(hex("FF05 010501 8102 7F03"), joined(part(ramp, 0, 127), hex("02 7F8081")));
    EXPECT_EQ(part(read_bytes(path("a.tga")), 18), expected);
}

// Six pixels of each depth, raw, and as packets that end inside of lines.
TEST_F(Targa, Depths) {
    const char* const words = "1F7C E003 0080 2104 2104 2104";
    const char* const word_colors = "F800F8 00F800 000000 080808 080808 080808";
    const char* const fours = "01020363 04050662 07080961 05050509 05050509 05050509";
    const char* const colors = "030201 060504 090807 050505 050505 050505";
    const char* const grey = "010101 020202 030303 040404 040404 040404";
    struct {
        const char* what;
        int type, bits, descriptor;
        const char *raw, *colors;
    } cases[] = {
        {"16", 2, 16, 0x20, words, word_colors},
        {"16 with one attribute bit", 2, 16, 0x21, words, word_colors},
        {"24", 2, 24, 0x20, "010203 040506 070809 050505 050505 050505", colors},
        {"32", 2, 32, 0x20, fours, colors},
        {"32 with eight attribute bits", 2, 32, 0x28, fours, colors},
        {"8", 3, 8, 0x20, "010203040404", grey},
        {"8 with alpha", 3, 16, 0x28, "0109 0209 0309 0409 0409 0409", grey},
    };
    for (const auto& k : cases) {
        const bytes_of_file raw = hex(k.raw);
        const size_t step = static_cast<size_t>(k.bits) / 8;
        const bytes_of_file last = part(raw, -static_cast<long>(step));
        // One pixel, then two in a literal, then a run of three: the second packet crosses the line when it has three.
        // And packets across the lines, and past the image's end.
        const bytes_of_file coded[] = {
            raw,
            bytes_made()
                .bytes({1})
                .bytes(part(raw, 0, 2 * step))
                .bytes({0})
                .bytes(part(raw, static_cast<long>(2 * step), step))
                .bytes({0x82})
                .bytes(last)
                .made,
            bytes_made().bytes({3}).bytes(part(raw, 0, 4 * step)).bytes({0x85}).bytes(last).made};
        for (const bytes_of_file& lines : coded) {
            SCOPED_TRACE(std::string(k.what) + ", way " + std::to_string(&lines - coded));
            targa_parts t;
            t.type = &lines == coded ? k.type : k.type | 8;
            t.bits = k.bits;
            t.descriptor = k.descriptor;
            t.lines = lines;
            EXPECT_EQ(read_made(t.file()).colors, hex(k.colors));
        }
        expect_seeks(path("made"));
    }
    // As they are stored.
    targa_parts t;
    t.bits = 16;
    t.lines = hex(words);
    CFILE* c = open_made(t.file());
    uint8_t planes[3][3];
    EXPECT_TRUE(set_field_to(c, 701, 1) == 0 && rzl_getline3(c, planes[0], planes[1], planes[2]) == 0);
    EXPECT_TRUE(planes[0][0] == 31 && planes[1][1] == 31 && planes[2][0] == 31 && field_of(c, 507) == 5);
    void* both[2] = {planes[0], planes[1]};
    EXPECT_EQ(refusal(c, rzl_getline_channels(c, 2, both)), RZL_UNSUP_TGA);
    EXPECT_EQ(refusal(c, rzl_getline_channels(c, 1, both)), RZL_NOT_STANDARD);
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
    CFILE* c = open_made(t.file());
    const picture p = read_lines(c);
    EXPECT_EQ(p.colors, hex("030201 060504 090807 000000 000000 090807"));
    EXPECT_EQ(p.values, t.lines);
    rzl_vlt_entry vlt[256];
    ASSERT_EQ(rzl_get_vlt(c, vlt), 0);
    EXPECT_TRUE(vlt[4].red == 0 && vlt[5].red == 0x300 && vlt[7].blue == 0x700 && vlt[7].slot == 7);
    expect_fields(c, {{6, 3}, {5, 2}, {600, 2}, {31, 8}});
    EXPECT_EQ(text_of(c, 608), "id");
    rzl_close(c);
    t.map_bits = 16;
    t.map = hex("1F7C E003 0000");
    EXPECT_EQ(read_made(t.file()).colors, hex("F800F8 00F800 000000 000000 000000 000000"));
    t.map_type = 0; // its measures don't count, and the image is grey
    t.type = 3;
    t.map.clear();
    c = open_made(t.file());
    EXPECT_EQ(read_lines(c).colors[0], 5);
    EXPECT_EQ(refusal(c, rzl_get_vlt(c, vlt)), RZL_NO_VLT);
    rzl_close(c);
}

TEST_F(Targa, OrdersAndVersions) {
    const int orders[4] = {6, 7, 4, 5};
    for (int i = 0; i < 4; ++i) {
        targa_parts t;
        t.descriptor = i << 4;
        t.lines.assign(18, 1);
        EXPECT_EQ(read_made(t.file()).orientation, orders[i]);
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
    for (bool on : {false, true}) {
        extended_guard extended(on);
        c = open_made(file.made);
        EXPECT_EQ(number_of(c, 26), on ? 1.5 : 1.0);
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
    EXPECT_EQ(read_made(t.file()).status, RZL_UNSUP_TGA) << "indices without a map";
    targa_parts wide;
    wide.width = 10000;
    wide.height = 1;
    wide.lines.assign(30003, 7);
    EXPECT_EQ(read_made(wide.file()).status, 0u);
    wide.width = 10001;
    EXPECT_EQ(read_made(wide.file()).status, RZL_READ_FAILED);
    extended_guard extended(true);
    EXPECT_EQ(read_made(wide.file()).status, 0u);
    expect_cuts_tell(mapped, 24, mapped.size());
    targa_parts runs;
    runs.type = 10;
    runs.lines = hex("82010203 02040506070809010203");
    expect_cuts_tell(runs.file(), 18, runs.file().size());
}

TEST_F(Targa, WritingIsRefused) {
    CFILE* c = new_file(path("a.tga"), 3, 27, 2, 2);
    EXPECT_EQ(refusal(c, rzl_putline(c, "ab")), RZL_UNSUP_TGA);
    EXPECT_EQ(refusal(c, rzl_putline3(c, "ab", "ab", "ab")), RZL_MODIFY_COMPRESSED) << "line 0 did not come";
    EXPECT_TRUE(rzl_rewind(c) == 0 && rzl_putline3(c, "ab", "ab", "ab") == 0);
    EXPECT_TRUE(set_field_to(c, 9, 7) == 0 && field_of(c, 9) == 4) << "the header is written";
    rzl_close(c);
    for (auto [field, value] : {std::pair(3, 1), {6, 5000}, {501, 2}, {603, 8}, {601, -1}, {609, 33}})
        EXPECT_EQ(new_file(path("a.tga"), 3, 28, 1, 1, {{field, value}}), nullptr) << field;
}
