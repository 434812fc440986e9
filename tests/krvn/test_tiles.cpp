// Tiles of native files: the packet as it is written, lines that go through tiles in every coding, tiles without data,
// overviews, further writing, damaged packets, and failures.
#include "krvn_fixture.h"

#include "raster/sweep.h"

namespace {

using Tiles = KrvnTest;
constexpr int32_t SIDE = 32;
constexpr size_t PACKET = 1024; // of a file with a plain header

int planes_of(int32_t format) {
    return format_is_color(format) ? 3 : (format_is_four(format) ? 4 : 1);
}

// A line with runs and without, another in each plane. Bits behind the last pixel are 0.
bytes_of_file line_of(CFILE* c, int plane, int y) {
    bytes_of_file line(rzl_line_size(c));
    auto width = static_cast<size_t>(c->xsize);
    bytes_of_file pixels(std::max(line.size(), width));
    for (size_t x = 0; x < pixels.size(); ++x)
        pixels[x] = static_cast<uint8_t>(x % 50 < 40 ? y / 3 * 16 + plane : x * 7 + static_cast<size_t>(y));
    if (!format_is_bilevel(c->format)) return {pixels.begin(), pixels.begin() + static_cast<long>(line.size())};
    for (size_t x = 0; x < width; ++x)
        pixels[x] = static_cast<uint8_t>(pixels[x] & 16);
    rzl_pack_bits(line.data(), pixels.data(), c->xsize, 16);
    return line;
}

enum class way { planes, interleaved, deep };

int put_line(CFILE* c, way how, int y) {
    std::vector<bytes_of_file> planes;
    std::vector<const void*> all;
    for (int i = 0; i < planes_of(c->format); ++i)
        planes.push_back(line_of(c, i, y));
    for (const bytes_of_file& plane : planes)
        all.push_back(plane.data());
    if (how == way::planes) return rzl_putline_channels(c, static_cast<int>(all.size()), all.data());
    bytes_of_file pixels(static_cast<size_t>(c->xsize) * 4);
    for (size_t x = 0; x < static_cast<size_t>(c->xsize); ++x)
        for (size_t i = 0; i < planes.size(); ++i)
            pixels[x * planes.size() + i] = planes[i][x];
    if (how == way::interleaved) return rzl_putline_interleaved(c, pixels.data());
    return rzl_putline16(c, reinterpret_cast<const uint16_t*>(pixels.data()));
}

// All that is read at the line, in the same way.
bytes_of_file got_line(CFILE* c, way how, int y) {
    size_t bytes = std::max(rzl_line_size(c), static_cast<size_t>(c->xsize) * 4);
    bytes_of_file all(bytes * 4, 0xEE);
    void* planes[4] = {&all[0], &all[bytes], &all[bytes * 2], &all[bytes * 3]};
    EXPECT_EQ(rzl_seek(c, y), 0);
    int result = how == way::planes        ? rzl_getline_channels(c, planes_of(c->format), planes)
                 : how == way::interleaved ? rzl_getline_interleaved(c, all.data())
                                           : rzl_getline16(c, reinterpret_cast<uint16_t*>(all.data()));
    EXPECT_EQ(result, 0) << "line " << y << " " << rzl_status_name(c->status);
    return all;
}

struct layout {
    int32_t format;
    way how;
    bool scannable;
    int32_t side; // 0: no tiles
};

CFILE* begin_file(const std::string& p, const layout& one, int32_t width, int32_t height) {
    CFILE* c = new_file(p, one.format, width, height, true);
    if (one.scannable) set_fields(c, {{19, 1}});
    set_fields(c, {{100, one.side}});
    return c;
}

void write_file(const std::string& p, const layout& one, int32_t width, int32_t height) {
    CFILE* c = begin_file(p, one, width, height);
    for (int y = 0; y < height; ++y)
        EXPECT_EQ(put_line(c, one.how, y), 0) << "format " << one.format << " line " << y;
    EXPECT_EQ(rzl_finish(c), 0u) << "format " << one.format;
}

struct entry {
    uint32_t offset, size, color;
};

entry entry_of(const bytes_of_file& b, size_t packet, size_t tile) {
    size_t at = packet + 128 + tile * 12;
    return {u32_at(b, at), u32_at(b, at + 4), u32_at(b, at + 8)};
}

void set_entry(bytes_of_file* b, size_t tile, const entry& e) {
    size_t at = PACKET + 128 + tile * 12;
    store_u32le(&(*b)[at], e.offset);
    store_u32le(&(*b)[at + 4], e.size);
    store_u32le(&(*b)[at + 8], e.color);
}

// A tiled file of that format all whose tiles are without data.
bytes_of_file empty_tiles(int format, uint32_t width, uint32_t height, uint32_t side) {
    bytes_of_file b = make_header(65, width, height);
    size_t tiles = size_t{(width + side - 1) / side} * ((height + side - 1) / side);
    b.resize(PACKET + (128 + tiles * 12 + 7) / 8 * 8);
    store_u32le(&b[PACKET], 0x00070001);
    store_u32le(&b[PACKET + 4], static_cast<uint32_t>((b.size() - PACKET - 8) / 2));
    store_u16le(&b[PACKET + 18], static_cast<uint16_t>(format));
    store_u32le(&b[PACKET + 120], side);
    return b;
}

} // namespace

TEST_F(Tiles, PacketAsItIsWritten) {
    std::string p = path("t.rgb");
    write_file(p, {2, way::planes, false, 128}, 1000, 700);
    bytes_of_file b = read_bytes(p);
    EXPECT_EQ(u16_at(b, 4), 65u);
    EXPECT_EQ(b[511], 3u);
    EXPECT_EQ(u32_at(b, PACKET), 0x00070001u);
    EXPECT_EQ(u32_at(b, PACKET + 4), 60u + 2 * 48 * 3);
    EXPECT_EQ(u32_at(b, PACKET + 8), 0x00010001u);
    EXPECT_EQ(u32_at(b, PACKET + 16), 0x00020001u) << "no overviews, data format 2";
    EXPECT_EQ(u32_at(b, PACKET + 120), 128u);
    uint32_t next = 128 + 48 * 12;
    for (size_t i = 0; i < 48; ++i) {
        entry e = entry_of(b, PACKET, i);
        uint32_t bytes = (i % 8 == 7 ? 104 : 128) * (i >= 40 ? 60 : 128);
        EXPECT_EQ(e.offset, next) << i;
        EXPECT_TRUE(e.size == bytes && e.color == bytes) << i << ": edges have their real size";
        next += bytes;
    }
    EXPECT_EQ(b.size(), PACKET + next);
    uint32_t sizes[48] = {};
    CFILE* c = opened(rzl_open_r(p.c_str()));
    EXPECT_EQ(rzl_get_hdr_data(c, RZL_FIELD_TILE_DIRECTORY, sizes), 0);
    EXPECT_TRUE(sizes[0] == 128 * 128 && sizes[47] == 104 * 60);
    rzl_close(c);
    write_file(p, {2, way::planes, false, 32}, 32, 32);
    EXPECT_EQ(u32_at(read_bytes(p), PACKET + 4), 68u) << "an odd count of words is padded";
}

TEST_F(Tiles, LinesComeBackFromTiles) {
    constexpr int32_t WIDTH = 77;
    constexpr int32_t HEIGHT = 70;
    std::vector<layout> cases = {{5, way::planes, false, 64},   {23, way::planes, false, 512},
                                 {24, way::planes, false, 512}, {27, way::planes, false, 96},
                                 {9, way::planes, true, 64},    {9, way::planes, false, 1024}};
    for (int32_t format : {1, 2, 3, 4, 7, 8, 9, 10, 25, 28, 29, 67, 69})
        cases.push_back({format, way::planes, false, SIDE});
    for (int32_t format : {1, 2, 25})
        cases.push_back({format, way::planes, true, SIDE});
    for (int32_t format : {27, 28, 29, 69})
        cases.push_back({format, way::interleaved, false, SIDE});
    for (auto [format, how] : {std::pair(25, way::interleaved), {10, way::deep}})
        cases.push_back({format, how, true, SIDE});
    for (int32_t format : {3, 10})
        cases.push_back({format, way::deep, false, SIDE});
    for (layout one : cases) {
        SCOPED_TRACE("format " + std::to_string(one.format) + " side " + std::to_string(one.side));
        std::string tiled = path("t.rgb");
        std::string plain = path("p.rgb");
        write_file(tiled, one, WIDTH, HEIGHT);
        int32_t side = std::exchange(one.side, 0);
        write_file(plain, one, WIDTH, HEIGHT);
        CFILE* t = rzl_open_r(tiled.c_str());
        CFILE* l = rzl_open_r(plain.c_str());
        ASSERT_TRUE(t != nullptr && l != nullptr);
        expect_fields(t, {{100, side}, {3, one.format}});
        std::vector<int> order = {0, 1, 33, 32, 69, 5, 63, 64};
        for (int y = 0; y < HEIGHT; ++y)
            order.push_back(y == 40 ? 7 : y); // one out of its order
        for (int y : order)
            EXPECT_EQ(got_line(t, one.how, y), got_line(l, one.how, y)) << y;
        EXPECT_EQ(rzl_is_damaged(t), 0);
        rzl_close(t);
        rzl_close(l);
    }
}

// The file can be read while it is written: rows that wait, rows that stand in the file, and rows still to come.
TEST_F(Tiles, WrittenFurther) {
    std::string p = path("t.rgb");
    const layout one = {29, way::planes, false, SIDE};
    CFILE* c = begin_file(p, one, 40, 70);
    for (int y = 0; y < 40; ++y)
        ASSERT_EQ(put_line(c, one.how, y), 0);
    bytes_of_file line(40);
    ASSERT_EQ(rzl_seek(c, 39), 0);
    EXPECT_EQ(rzl_getline(c, line.data()), 0);
    EXPECT_EQ(line, line_of(c, 0, 39)) << "it waits";
    EXPECT_EQ(rzl_finish(c), 0u);
    c = opened(rzl_open_rw(p.c_str()));
    EXPECT_EQ(set_field_to(c, 2, 100), 1) << "there are no entries for more lines";
    ASSERT_EQ(rzl_seek(c, 7), 0);
    EXPECT_EQ(put_line(c, one.how, 60), 0) << "one line of a row that exists";
    EXPECT_EQ(rzl_finish(c), 0u);
    c = rzl_open_r(p.c_str());
    for (int y = 0; y < 70; ++y) {
        ASSERT_EQ(rzl_getline(c, line.data()), 0) << y;
        bytes_of_file wanted = y < 40 ? line_of(c, 0, y == 7 ? 60 : y) : bytes_of_file(40);
        EXPECT_EQ(line, wanted) << y;
    }
    rzl_close(c);
}

// A row of tiles does not show what the row before it had in its place.
TEST_F(Tiles, WhatIsLeftOutIsZero) {
    std::string p = path("t.rgb");
    CFILE* c = new_file(p, 27, 40, 96, true);
    set_fields(c, {{100, SIDE}});
    const bytes_of_file full(40, 0xFF);
    const bytes_of_file zero(40);
    for (int y = 0; y < 32; ++y)
        ASSERT_EQ(rzl_putline3(c, full.data(), full.data(), full.data()), 0);
    const void* two[3] = {full.data(), nullptr, full.data()};
    for (int y : {33, 35}) {
        ASSERT_EQ(rzl_seek(c, y), 0);
        ASSERT_EQ(rzl_putline_channels(c, 3, two), 0);
    }
    for (bool again : {false, true}) { // while the row waits, and out of the file
        if (again) {
            EXPECT_EQ(rzl_finish(c), 0u);
            c = rzl_open_r(p.c_str());
        }
        for (int y : {32, 33, 34, 35, 40}) {
            ASSERT_EQ(rzl_seek(c, y), 0);
            bytes_of_file got[3] = {full, full, full};
            ASSERT_EQ(rzl_getline3(c, got[0].data(), got[1].data(), got[2].data()), 0);
            bool put = y == 33 || y == 35;
            EXPECT_TRUE(got[0] == (put ? full : zero) && got[1] == zero && got[2] == got[0]) << y << again;
        }
    }
    rzl_close(c);
}

// Lines that are there come before the damage, and those behind it do not come at all.
TEST_F(Tiles, RunsThatEndEarly) {
    std::string p = path("d.rgb");
    write_file(p, {29, way::planes, false, SIDE}, 77, 70);
    bytes_of_file b = read_bytes(p);
    entry first = entry_of(b, PACKET, 0);
    set_entry(&b, 0, {first.offset, first.size - 1, first.color});
    write_bytes(p, b);
    CFILE* c = rzl_open_r(p.c_str());
    ASSERT_NE(c, nullptr);
    bytes_of_file line(77);
    for (int y = 0; y < 31; ++y) {
        ASSERT_EQ(rzl_getline(c, line.data()), 0) << y;
        EXPECT_EQ(line, line_of(c, 0, y)) << y;
    }
    for (int tries = 0; tries < 2; ++tries) {
        EXPECT_EQ(rzl_getline(c, line.data()), 1);
        EXPECT_EQ(status_of(c), RZL_READ_FAILED);
    }
    EXPECT_TRUE(rzl_seek(c, 32) == 0 && rzl_getline(c, line.data()) == 0);
    EXPECT_EQ(line, line_of(c, 0, 32)) << "the other rows are there";
    rzl_close(c);
}

TEST_F(Tiles, TilesWithoutData) {
    struct fill {
        int format;
        uint32_t color;
        bytes_of_file first[4]; // how each plane begins
        int32_t told;
    };
    const fill cases[] = {
        {27, 0x00FF8040, {{255, 255}, {128, 128}, {64, 64}, {}}, 0x00FF8040},
        {69, 0x00FF8040, {{255, 255}, {128, 128}, {64, 64}, {0, 0}}, 0x00FF8040},
        {2, 0x00FF8040, {{64, 64}, {}, {}, {}}, 0x00FF8040},
        {3, 0x12345678, {{0x78, 0x56, 0x78, 0x56}, {}, {}, {}}, 0x12345678},
        {4, 0x12345678, {{0x78, 0x56, 0x34, 0x12, 0x78}, {}, {}, {}}, 0x12345678},
        {5, 0x12345678, {{0x78, 0x78, 0x78, 0x78, 0x78}, {}, {}, {}}, 0x12345678},
        {1, 0x00010000, {{255, 255}, {}, {}, {}}, 0x00010000},
        {9, 0xFF000000, {{0, 0}, {}, {}, {}}, -16777216},
    };
    for (const fill& one : cases) {
        SCOPED_TRACE("format " + std::to_string(one.format));
        std::string p = path("u.rgb");
        bytes_of_file b = empty_tiles(one.format, 40, 40, 32);
        for (size_t i = 0; i < 4; ++i)
            set_entry(&b, i, {i == 1 ? 0xFFFFFFFF : 0u, 99, one.color}); // 0 or less
        write_bytes(p, b);
        CFILE* c = opened(rzl_open_r(p.c_str()));
        std::vector<bytes_of_file> planes(4, bytes_of_file(32 * 32 * 4, 0xEE));
        void* all[4] = {planes[0].data(), planes[1].data(), planes[2].data(), planes[3].data()};
        int channels = planes_of(one.format);
        uint32_t words[4];
        EXPECT_EQ(rzl_get_hdr_data(c, RZL_FIELD_TILE_DIRECTORY, words), 0);
        EXPECT_EQ(words[3], 0x80000000 | one.color);
        int32_t told = -1;
        EXPECT_EQ(rzl_gettile(c, channels, all, &told), 0);
        EXPECT_EQ(told, one.told);
        EXPECT_EQ(planes[0], bytes_of_file(32 * 32 * 4, 0xEE)) << "told, and not filled";
        EXPECT_EQ(rzl_gettile(c, channels, all, nullptr), 0);
        for (size_t i = 0; i < static_cast<size_t>(channels); ++i)
            EXPECT_TRUE(std::equal(one.first[i].begin(), one.first[i].end(), planes[i].begin())) << i;
        for (int y : {0, 39}) {
            bytes_of_file line = got_line(c, way::planes, y);
            EXPECT_TRUE(std::equal(one.first[0].begin(), one.first[0].end(), line.begin())) << y;
        }
        rzl_close(c);
    }
}

TEST_F(Tiles, SingleTilesAndTheirCoding) {
    std::string p = path("s.rgb");
    CFILE* c = new_file(p, 9, 40, 33);
    set_fields(c, {{100, SIDE}});
    bytes_of_file coding;
    for (int y = 0; y < 32; ++y)
        append_words(&coding, {3, 20, 9});
    EXPECT_EQ(refusal(c, rzl_put_rle_tile(c, coding.data(), static_cast<int32_t>(coding.size()) - 2)), RZL_NOT_STANDARD)
        << "a line is cut";
    EXPECT_EQ(rzl_put_rle_tile(c, coding.data(), static_cast<int32_t>(coding.size())), 0);
    bytes_of_file bits(32 * 4, 0xFF);
    const void* plane[2] = {bits.data(), bits.data()};
    const void* nothing = nullptr;
    EXPECT_EQ(rzl_puttile(c, 1, plane), 0);
    EXPECT_EQ(rzl_puttile(c, 1, &nothing), 0) << "counts it";
    EXPECT_EQ(refusal(c, rzl_puttile(c, 2, plane)), RZL_UNSUP_KRVN);
    EXPECT_EQ(rzl_puttile(c, 1, plane), 0);
    EXPECT_EQ(refusal(c, rzl_puttile(c, 1, plane)), RZL_PAST_END);
    EXPECT_EQ(rzl_finish(c), 0u);
    bytes_of_file b = read_bytes(p);
    EXPECT_EQ(entry_of(b, PACKET, 0).size, 32u * 6);
    EXPECT_EQ(entry_of(b, PACKET, 2).offset, 0u);
    EXPECT_EQ(entry_of(b, PACKET, 3).size, 6u) << "0, 8 and 0 of one line";
    c = opened(rzl_open_r(p.c_str()));
    bytes_of_file room(32 * 6);
    int32_t size = 5;
    int32_t uniform = 0;
    EXPECT_EQ(refusal(c, rzl_get_rle_tile(c, room.data(), &size, &uniform)), RZL_RLE_BUFFER_SMALL);
    EXPECT_EQ(size, 32 * 6);
    EXPECT_EQ(rzl_get_rle_tile(c, room.data(), &size, &uniform), 0);
    EXPECT_EQ(room, coding);
    EXPECT_EQ(uniform, -1);
    ASSERT_EQ(rzl_seek(c, 2), 0);
    EXPECT_EQ(rzl_get_rle_tile(c, room.data(), &size, &uniform), 0);
    EXPECT_TRUE(size == 0 && uniform == 0) << "no data";
    EXPECT_EQ(refusal(c, rzl_get_rle_line(c, room.data(), &size)), RZL_ONLY_UNTILED);
    rzl_close(c);
    // A tile that is put again is in lines of a row that was read before.
    c = opened(rzl_open_rw(p.c_str()));
    bytes_of_file line(6);
    EXPECT_EQ(rzl_getline(c, line.data()) | rzl_seek(c, 0) | rzl_puttile(c, 1, plane) | rzl_seek(c, 0), 0);
    EXPECT_EQ(rzl_getline(c, line.data()), 0);
    EXPECT_EQ(std::count(line.begin(), line.begin() + 4, 0xFF), 4);
    rzl_close(c);
}

TEST_F(Tiles, OverviewsAndFurtherImages) {
    std::string p = path("o.rgb");
    CFILE* c = new_file(p, 2, 40, 40, true);
    set_fields(c, {{100, SIDE}, {200, 2}});
    EXPECT_EQ(put_lines(c, 40, 10), 40);
    for (int32_t i : {0, 1}) {
        ASSERT_EQ(rzl_set_active_overview(c, i), 0);
        if (i == 0) set_fields(c, {{100, SIDE}});
        set_fields(c, {{1, 36}, {2, 33}});
        EXPECT_EQ(refusal(c, set_field_to(c, 100, 33)), RZL_BAD_TILE_SIZE);
        EXPECT_EQ(put_lines(c, 33, 100 + 50 * i), 33);
        EXPECT_EQ(set_field_to(c, 100, 64), 1) << "it has data";
    }
    ASSERT_EQ(rzl_set_active_overview(c, -1), 0);
    EXPECT_EQ(field_of(c, 100), SIDE);
    EXPECT_EQ(rzl_finish(c), 0u);
    bytes_of_file b = read_bytes(p);
    size_t data = u16_at(b, 2) * 2 + 4;
    size_t at = u32_at(b, 540);
    size_t extents = at + 20 + 2 * 16;
    EXPECT_EQ(u32_at(b, at + 28), 0x10000u) << "tiled";
    EXPECT_EQ(u32_at(b, at + 44), 0u);
    EXPECT_EQ(u32_at(b, extents + 4), 36u * 33) << "bytes of lines";
    EXPECT_EQ(u16_at(b, data + 16), 3u) << "has overviews";
    size_t packet = data + u32_at(b, extents);
    EXPECT_EQ(entry_of(b, packet, 0).offset, u32_at(b, extents) + 128 + 4 * 12) << "counts from the image's data start";
    c = opened(rzl_open_rw(p.c_str()));
    for (auto [overview, value, side] : {std::tuple{1, 150, 0}, {-1, 10, SIDE}, {0, 100, SIDE}}) {
        ASSERT_EQ(rzl_set_active_overview(c, overview), 0);
        EXPECT_EQ(next_value(c), value) << overview;
        EXPECT_EQ(field_of(c, 100), side) << overview;
    }
    ASSERT_EQ(rzl_set_active_overview(c, -1), 0);
    EXPECT_EQ(set_field_to(c, 402, 2), 0);
    ASSERT_EQ(rzl_set_active_image(c, 1), 0) << rzl_status_name(c->status);
    EXPECT_EQ(field_of(c, 100), 0);
    set_fields(c, {{100, 64}});
    EXPECT_EQ(put_lines(c, 40, 200), 40);
    EXPECT_EQ(rzl_finish(c), 0u);
    c = opened(rzl_open_r(p.c_str()));
    ASSERT_EQ(rzl_set_active_image(c, 1), 0);
    EXPECT_EQ(field_of(c, 100), 64);
    EXPECT_EQ(next_value(c), 200);
    ASSERT_EQ(rzl_set_active_image(c, 0), 0);
    EXPECT_EQ(next_value(c), 10);
    rzl_close(c);
    c = new_file(p, 2, 40, 40);
    set_fields(c, {{100, SIDE}, {200, 1}});
    ASSERT_EQ(rzl_set_active_overview(c, 0), 0);
    EXPECT_EQ(refusal(c, rzl_set_active_overview(c, -1)), RZL_NEEDS_READ) << "its packet can't be had back";
    rzl_close(c);
    // A header made from a tiled file's has its tiles.
    std::string from = path("from.rgb");
    write_file(from, {2, way::planes, false, 64}, 40, 40);
    CFILE* source = rzl_open_r(from.c_str());
    c = rzl_open_w(p.c_str());
    ASSERT_TRUE(source != nullptr && c != nullptr);
    EXPECT_EQ(rzl_init_header_from(source, c), 0);
    EXPECT_EQ(rzl_copy_data(source, c), 0);
    EXPECT_EQ(rzl_finish(c), 0u);
    rzl_close(source);
    EXPECT_EQ(read_bytes(p), read_bytes(from));
}

TEST_F(Tiles, DamagedPackets) {
    std::string p = path("d.rgb");
    write_file(p, {29, way::planes, false, SIDE}, 77, 70);
    const bytes_of_file good = read_bytes(p);
    const struct {
        const char* what;
        size_t at;
        uint32_t value;
        uint32_t status; // of the open
    } cases[] = {
        {"another packet", PACKET, 0x000A0001, RZL_NOT_STANDARD},
        {"side of 0", PACKET + 120, 0, RZL_READ_FAILED},
        {"side above 31 bits", PACKET + 120, 0x80000020, RZL_READ_FAILED},
        {"more tiles than the packet has", PACKET + 120, 1, RZL_READ_FAILED},
        {"a packet without a table", PACKET + 4, 60, RZL_READ_FAILED},
        {"tiles of tiles", PACKET + 16, 0x00410001, RZL_READ_FAILED},
        {"tiles of JPEG data", PACKET + 16, 0x001F0001, RZL_JPEG_HARDWARE_3},
        {"a tile behind the end", PACKET + 128, 0x7FFFFF00, 0},
        {"a tile over the end", PACKET + 132, 0x7FFFFF00, 0},
        {"a tile that is cut", PACKET + 132, 10, 0},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.what);
        bytes_of_file b = good;
        store_u32le(&b[row.at], row.value);
        write_bytes(p, b);
        bool damaged = false;
        EXPECT_EQ(open_status(p, &damaged), row.status);
        EXPECT_EQ(damaged, row.status == 0 && row.value > 10);
        if (row.status != 0) continue;
        CFILE* c = rzl_open_r(p.c_str());
        bool over = row.at == PACKET + 132 && row.value > 10; // its lines are there
        EXPECT_EQ(next_value(c) >= 0, over);
        EXPECT_TRUE(over || c->status == RZL_READ_FAILED);
        ASSERT_EQ(rzl_seek(c, 40), 0);
        EXPECT_EQ(next_value(c), line_of(c, 0, 40)[0]) << "the other rows are there";
        rzl_close(c);
    }
    // One tile of any size takes no more memory than the file is worth.
    write_bytes(p, empty_tiles(2, 60000, 60000, 60032));
    EXPECT_EQ(open_status(p), RZL_BAD_IMAGE_SIZE);
    write_bytes(p, empty_tiles(2, 4000, 4000, 4000));
    EXPECT_EQ(open_status(p), 0u);
    CFILE* c = new_file(p, 24, 40, 40);
    set_fields(c, {{3, 2}, {100, 64}});
    set_fields(c, {{3, 24}});
    EXPECT_EQ(refusal(c, rzl_write_header(c)), RZL_BAD_TILE_SIZE) << "the format came last";
    rzl_close(c);
}

namespace {

uint32_t write_and_update(const std::string& p) {
    CFILE* c = rzl_open_wr(p.c_str());
    if (c == nullptr) return library_status();
    uint32_t first = 0;
    auto step = [&](int result) {
        if (result != 0 && first == 0) first = c->status;
    };
    for (auto [field, value] : {std::pair{500, 0}, {3, 27}, {1, 40}, {2, 40}, {100, 32}, {200, 1}})
        step(set_field_to(c, field, value));
    const uint8_t line[40] = {7, 7, 7};
    for (int y = 0; y < 35 && first == 0; ++y)
        step(rzl_putline3(c, line, line, line));
    if (first == 0) step(rzl_set_active_overview(c, 0));
    for (auto [field, value] : {std::pair{100, 32}, {1, 3}, {2, 2}})
        if (first == 0) step(set_field_to(c, field, value));
    if (first == 0) step(rzl_putline3(c, line, line, line));
    uint32_t outcome = rzl_finish(c);
    return first != 0 ? first : outcome;
}

uint32_t read_all(const std::string& p) {
    CFILE* c = rzl_open_r(p.c_str());
    if (c == nullptr) return library_status();
    uint32_t first = 0;
    uint8_t line[40];
    for (int y = 0; y < 40 && first == 0; ++y)
        if (rzl_getline3(c, line, line, line) != 0) first = c->status;
    bool dropped = rzl_is_damaged(c) != 0; // without memory for the directory
    if (first == 0 && !dropped && rzl_set_active_overview(c, 0) != 0) first = c->status;
    if (first == 0 && !dropped && rzl_getline3(c, line, line, line) != 0) first = c->status;
    EXPECT_TRUE(first != 0 || dropped || line[2] == 7);
    rzl_close(c);
    return first;
}

} // namespace

TEST_F(Tiles, EveryFailureHasItsStatus) {
    std::string p = path("f.rgb");
    ASSERT_EQ(write_and_update(p), 0u);
    const bytes_of_file whole = read_bytes(p);
    sweep([&] { return write_and_update(p); }, [&](bool good) { EXPECT_TRUE(!good || read_bytes(p) == whole); });
    write_bytes(p, whole);
    sweep([&] { return read_all(p); });
}
