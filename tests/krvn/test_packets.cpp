// Packets and overviews of native files: their places in the file, what a damaged area leaves, and growth under update.
#include "krvn_fixture.h"

#include "raster/KRVN/krv.h"

class Packets : public KrvnTest {
protected:
    // A packet of that type and subtype, its words all `fill`.
    static void append_packet(bytes_of_file* b, unsigned type, unsigned subtype, unsigned words, unsigned fill) {
        append_words(b, {type, subtype, words & 0xFFFF, words >> 16});
        for (unsigned i = 0; i < words; ++i)
            append_words(b, {fill});
    }

    // A directory of two overviews, of 2x1 and 3x2 pixels with data at 8 and 16.
    static bytes_of_file directory_of_two() {
        bytes_of_file b;
        append_words(&b, {1, 10, 36, 0, 1, 1, 0, 0, 2, 0});
        append_words(&b, {1, 0, 2, 0, 7, 0, 0, 0, 2, 0, 3, 0, 0, 0, 0, 0});
        append_words(&b, {8, 0, 2, 0, 2, 0, 16, 0, 6, 0, 6, 0, 0, 0});
        return b;
    }

    // A file of 4x1 pixels whose packet area is `area`, with the overview data behind the pixels.
    bytes_of_file with_area(const bytes_of_file& area, uint32_t words) {
        bytes_of_file b = make_header(2, 4, 1);
        store_u16le(&b[2], 766);
        store_u32le(&b[540], 1024);
        store_u32le(&b[544], words);
        b.insert(b.end(), area.begin(), area.end());
        b.resize(1536);
        for (int v : {1, 2, 3, 4, 0, 0, 0, 0, 5, 6, 0, 0, 0, 0, 0, 0, 7, 8, 9, 10, 11, 12})
            b.push_back(static_cast<uint8_t>(v));
        return b;
    }
};

TEST_F(Packets, ApplicationPacketsStandBehindTheHeader) {
    bytes_of_file packets;
    append_packet(&packets, 7, 1, 10, 0x1111);
    append_packet(&packets, 8, 2, 0, 0);
    for (int vlt : {0, 1}) {
        std::string p = path("p.rgb");
        std::vector<rzl_vlt_entry> table(256);
        CFILE* c = new_file(p, 2, 4, 2);
        set_fields(c, {{5, vlt}, {6, 256}, {7, 10}, {7, 8}, {401, 100}});
        if (vlt != 0) rzl_put_vlt(c, table.data());
        EXPECT_EQ(rzl_put_packet(c, packets.data()), 0);
        EXPECT_EQ(put_lines(c, 2, 5), 2);
        EXPECT_EQ(rzl_finish(c), 0u);
        bytes_of_file b = read_bytes(p);
        const size_t at = vlt == 1 ? 1536 : 1024;
        EXPECT_EQ(u32_at(b, 540), at);
        EXPECT_EQ(u32_at(b, 544), 18u);
        EXPECT_EQ(u16_at(b, 2), (at - 4) / 2 + 256 + 256) << "the packet area and the reserved room";
        ASSERT_EQ(b.size(), at + 512 + 512 + 8);
        EXPECT_EQ(bytes_of_file(&b[at], &b[at + packets.size()]), packets);
        EXPECT_EQ(std::count(b.begin() + static_cast<long>(at + packets.size()), b.end(), 0), 512 + 512 - 36);
        c = opened(rzl_open_r(p.c_str()));
        EXPECT_EQ(field_of(c, 7), 18);
        bytes_of_file got(36);
        EXPECT_EQ(rzl_get_packet(c, got.data()), 0);
        EXPECT_EQ(got, packets);
        EXPECT_EQ(next_value(c), 5) << "reading packets keeps the position";
        rzl_close(c);
    }
    CFILE* c = new_file(path("none.rgb"), 2, 4, 2);
    set_fields(c, {{7, 100}}); // announced, never given
    EXPECT_EQ(put_lines(c, 2, 5), 2);
    rzl_close(c);
    c = rzl_open_r(path("none.rgb").c_str());
    EXPECT_EQ(refusal(c, rzl_get_packet(c, packets.data())), RZL_NO_PACKETS);
    rzl_close(c);
    c = new_file(path("big.rgb"), 2, 4, 2);
    set_fields(c, {{401, 32000}, {7, 1000}});
    rzl_put_packet(c, packets.data());
    EXPECT_EQ(refusal(c, rzl_write_header(c)), RZL_HEADER_FULL);
    rzl_close(c);
}

TEST_F(Packets, LibraryPacketsAreKeptFromTheApplication) {
    bytes_of_file area;
    append_packet(&area, 9, 9, 3, 0xAAAA);
    bytes_of_file listing = directory_of_two();
    area.insert(area.end(), listing.begin(), listing.end());
    append_packet(&area, 2, 13, 2, 0xBBBB);
    append_packet(&area, 9, 8, 1, 0xCCCC);
    auto words = static_cast<uint32_t>(area.size() / 2);
    std::string p = path("p.rgb");
    write_bytes(p, with_area(area, words));
    CFILE* c = opened(rzl_open_rw(p.c_str()));
    EXPECT_EQ(rzl_is_damaged(c), 0);
    expect_fields(c, {{200, 2}, {7, 7 + 6 + 5}});
    bytes_of_file got(36, 0xEE);
    EXPECT_EQ(rzl_get_packet(c, got.data()), 0);
    bytes_of_file expected;
    append_packet(&expected, 9, 9, 3, 0xAAAA);
    append_packet(&expected, 9, 8, 1, 0xCCCC);
    EXPECT_EQ(bytes_of_file(got.begin(), got.begin() + 24), expected);
    EXPECT_EQ(got[24], 0xEE) << "no more than that is delivered";

    EXPECT_EQ(rzl_set_active_overview(c, 1), 0);
    EXPECT_EQ(field_of(c, 1) * 10 + field_of(c, 2), 32);
    EXPECT_EQ(next_value(c), 7);
    EXPECT_EQ(next_value(c), 10);
    EXPECT_EQ(rzl_set_active_overview(c, 0), 0);
    EXPECT_EQ(field_of(c, 201), 7);
    EXPECT_EQ(next_value(c), 5);
    EXPECT_EQ(set_field_to(c, 1, 9), 1) << "an overview's size is given once";
    set_fields(c, {{201, 99}});
    EXPECT_EQ(refusal(c, rzl_set_active_overview(c, 2)), RZL_NO_SUCH_OVERVIEW);
    EXPECT_EQ(field_of(c, 201), 99) << "a refusal leaves the active one";
    EXPECT_EQ(rzl_set_active_overview(c, -7), 0);
    EXPECT_EQ(next_value(c), 1);
    EXPECT_EQ(rzl_finish(c), 0u);
    bytes_of_file b = read_bytes(p);
    bytes_of_file before = with_area(area, words);
    before[1024 + 14 + 28] = 99;
    EXPECT_EQ(b, before) << "the directory is written back where it stands";
}

TEST_F(Packets, DamagedAreas) {
    bytes_of_file listing = directory_of_two();
    auto words = static_cast<uint32_t>(listing.size() / 2);
    struct row {
        const char* what;
        size_t at;
        uint32_t value;
        int overviews;
        bool damaged;
    };
    const row rows[] = {
        {"good", 1024, 10 << 16 | 1, 2, false},
        {"more overviews than the packet holds", 1040, 3, 0, true},
        {"a count that no packet holds", 1040, 0xFFFFFFFF, 0, true},
        {"longer than the area", 1028, 40, 0, true},
        {"longer than any file", 1028, 0xFFFFFFFF, 0, true},
        {"outside, directory found", 544, 700, 2, false},
        {"outside, longer than the file", 544, 0xFFFFFFFF, 0, true},
        {"outside, behind the file", 540, 0x7FFFFFFF, 0, true},
        {"outside, at what is no packet", 540, 1530, 0, true},
        {"none", 540, 0, 0, false},
    };
    std::string p = path("p.rgb");
    for (const row& r : rows) {
        bytes_of_file b = with_area(listing, words);
        store_u32le(&b[r.at], r.value);
        write_bytes(p, b);
        CFILE* c = opened(rzl_open_r(p.c_str()));
        EXPECT_EQ(field_of(c, 200), r.overviews) << r.what;
        EXPECT_EQ(rzl_is_damaged(c) != 0, r.damaged) << r.what;
        int32_t left = field_of(c, 7);
        bytes_of_file got(static_cast<size_t>(left) * 2);
        EXPECT_EQ(rzl_get_packet(c, got.data()), 1) << r.what;
        EXPECT_EQ(next_value(c), 1) << r.what;
        rzl_close(c);
    }
    const std::pair<size_t, uint32_t> bad_entries[] = {
        {1048, 0x80000000}, {1048, 5000000}, {1052, KRV_OVERVIEW_TILED}}; // width twice, then a tiled one
    for (auto [at, value] : bad_entries) {
        bytes_of_file b = with_area(listing, words);
        store_u32le(&b[at], value);
        write_bytes(p, b);
        CFILE* c = opened(rzl_open_r(p.c_str()));
        EXPECT_EQ(refusal(c, rzl_set_active_overview(c, 0)), at == 1052 ? RZL_READ_FAILED : RZL_BAD_IMAGE_SIZE)
            << at << " " << value;
        EXPECT_EQ(next_value(c), 1) << "the base image is still active";
        rzl_close(c);
    }
}

TEST_F(Packets, OverviewsOfANewFile) {
    std::string p = path("o.rgb");
    for (bool readback : {false, true}) {
        CFILE* c = new_file(p, 2, 5, 2, readback);
        set_fields(c, {{200, 5}, {200, 2}});
        EXPECT_EQ(put_lines(c, 2, 50), 2);
        for (int i = 0; i < 2; ++i) {
            EXPECT_EQ(rzl_set_active_overview(c, i), 0);
            set_fields(c, {{1, 3 - i}, {2, 1}, {201, 40 + i}});
            EXPECT_EQ(put_lines(c, 1, 60 + i), 1);
        }
        EXPECT_EQ(rzl_finish(c), 0u);
        bytes_of_file b = read_bytes(p);
        EXPECT_EQ(u32_at(b, 544), 40u) << "7 x 2 + 5 longs, made even";
        EXPECT_EQ(u32_at(b, 1024), 10u << 16 | 1);
        EXPECT_EQ(u32_at(b, 1028), 36u);
        EXPECT_EQ(u32_at(b, 1032), 1u << 16 | 1);
        EXPECT_EQ(u32_at(b, 1040), 2u);
        const uint32_t first[] = {1, 3, 40, 0, 1, 2, 41, 0, 16, 3, 3, 24, 2, 2};
        for (size_t i = 0; i < std::size(first); ++i)
            EXPECT_EQ(u32_at(b, 1044 + 4 * i), first[i]) << i;
        ASSERT_EQ(b.size(), 1536u + 26);
        EXPECT_EQ(bytes_of_file(b.begin() + 1536 + 10, b.end()),
                  bytes_of_file({0, 0, 0, 0, 0, 0, 60, 60, 60, 0, 0, 0, 0, 0, 61, 61}));
    }
    // An overview that is begun before any line of the image never stands where it would read as one without data.
    CFILE* c = new_file(p, 2, 5, 2, true);
    set_fields(c, {{200, 1}});
    EXPECT_EQ(rzl_set_active_overview(c, 0), 0);
    EXPECT_EQ(krv_load_overview(krv_spec_of(c), 0).offset, 8u);
    rzl_close(c);
}

TEST_F(Packets, DirectoryGrowsWhereThereIsRoom) {
    std::string p = path("o.rgb");
    bytes_of_file packet;
    append_packet(&packet, 9, 9, 6, 0x4242);
    for (bool room : {true, false}) {
        CFILE* c = new_file(p, 2, 4, 2);
        set_fields(c, {{200, 1}, {7, 10}, {401, room ? 512 : 0}});
        rzl_put_packet(c, packet.data());
        EXPECT_EQ(put_lines(c, 2, 20), 2);
        EXPECT_EQ(rzl_finish(c), 0u);
        c = opened(rzl_open_rw(p.c_str()));
        set_fields(c, {{200, 0}, {200, 36}});
        EXPECT_EQ(refusal(c, set_field_to(c, 200, 35)), RZL_BAD_FIELD_VALUE) << "directories don't shrink";
        EXPECT_EQ(field_of(c, 7), 10);
        EXPECT_EQ(rzl_set_active_overview(c, 35), 0); // placed, sizes to come
        uint32_t outcome = rzl_finish(c);             // puts the directory into the file
        EXPECT_EQ(outcome, room ? 0u : RZL_HEADER_FULL);
        c = opened(rzl_open_r(p.c_str()));
        EXPECT_EQ(field_of(c, 200), room ? 36 : 1);
        bytes_of_file got(20);
        EXPECT_EQ(rzl_get_packet(c, got.data()), 0);
        EXPECT_EQ(got, packet);
        EXPECT_EQ(next_value(c), 20);
        rzl_close(c);
    }
}

TEST_F(Packets, PadBytesOfTriplesAreFoundByLength) {
    std::string p = path("rgb.rgb");
    for (int pad : {0, 1}) {
        bytes_of_file b = make_header(28, 3, 3);
        for (int y = 0; y < 3; ++y) {
            b.insert(b.end(), 9, static_cast<uint8_t>(y + 1));
            if (pad != 0) b.push_back(0xEE);
        }
        write_bytes(p, b);
        CFILE* c = opened(rzl_open_r(p.c_str()));
        EXPECT_EQ(has_flag(c, FLAG_LINE_PADDING), pad != 0);
        EXPECT_EQ(rzl_seek(c, 2), 0);
        EXPECT_EQ(next_value(c), 3);
        rzl_close(c);
    }
    // With an overview behind, filling of up to seven bytes does not count.
    CFILE* c = new_file(p, 28, 3, 3);
    set_fields(c, {{200, 1}});
    uint8_t plane[3] = {1, 2, 3};
    for (int y = 0; y < 3; ++y)
        EXPECT_EQ(rzl_putline3(c, plane, plane, plane), 0);
    EXPECT_EQ(rzl_set_active_overview(c, 0), 0);
    set_fields(c, {{1, 1}, {2, 1}});
    EXPECT_EQ(rzl_putline3(c, plane, plane, plane), 0);
    EXPECT_EQ(rzl_finish(c), 0u);
    c = opened(rzl_open_r(p.c_str()));
    EXPECT_FALSE(has_flag(c, FLAG_LINE_PADDING));
    rzl_close(c);
}
