// TIFF directories made by hand: what they mean, which are refused, and what damage does.
#include "tiff_fixture.h"

class Directory : public TiffTest {
protected:
    std::string file() const { return path("a.tif"); }
    CFILE* open(const hand_file& f) {
        write_bytes(file(), f.bytes);
        return rzl_open_r(file().c_str());
    }
    // The status that the open ends with; 0 when the file opens.
    uint32_t open_status(const hand_file& f) {
        CFILE* c = open(f);
        if (c == nullptr) return library_status();
        rzl_close(c);
        return 0;
    }
    // A grey picture of one strip, plain.
    static hand_file grey(bool big, const picture& p, const std::vector<hand_entry>& more = {}) {
        hand_file f(big);
        bytes_of_file data;
        for (uint32_t v : p.values)
            data.push_back(static_cast<uint8_t>(v));
        uint32_t at = f.add(data);
        auto entries = grey_entries(uint32_t(p.width), uint32_t(p.height), 8, 1, at, uint32_t(data.size()));
        for (const hand_entry& e : more) {
            std::erase_if(entries, [&](const hand_entry& old) { return old.tag == e.tag; });
            if (!e.values.empty()) entries.push_back(e);
        }
        f.add_directory(entries);
        return f;
    }
    // How many lines can be read, and the status of the first that can't.
    std::pair<int, uint32_t> readable_lines(CFILE* c) {
        bytes_of_file line(static_cast<size_t>(field_of(c, 1)) * 4 + 16);
        int lines = 0;
        while (lines < field_of(c, 2) && rzl_getline(c, line.data()) == 0)
            ++lines;
        return {lines, status_of(c)};
    }
};

TEST_F(Directory, FieldsOfBothByteOrders) {
    picture p = make_picture(9, 5, 1, 8);
    for (bool big : {false, true}) {
        hand_file f = grey(big, p,
                           {{274, 3, {3}},
                            {280, 3, {4}},
                            {281, 3, {200}},
                            {282, 5, {300, 2}},
                            {283, 5, {300, 2}},
                            {296, 3, {2}},
                            {34000, 3, {7, 8}},
                            {34001, 2, {'a', 'b', 'c', 'd', 'e', 0}},
                            {258, 3, {8}}});
        EXPECT_TRUE((write_bytes(file(), f.bytes), read_library(file()) == p));
        CFILE* c = opened(rzl_open_r(file().c_str()));
        const int32_t expected[][2] = {{1, 9},    {2, 5},   {3, 2},      {8, -150}, {9, 7},   {22, 4},
                                       {23, 200}, {100, 0}, {200, 0},    {402, 1},  {501, 1}, {502, 1},
                                       {503, 1},  {504, 1}, {505, 5},    {506, 1},  {507, 8}, {5, 0},
                                       {6, 0},    {7, 0},   {400, 4096}, {12, 0}};
        for (auto [field, value] : expected)
            EXPECT_EQ(field_of(c, field), value) << field;
        double matrix[16] = {};
        EXPECT_EQ(rzl_get_hdr_data(c, 4, matrix), 0);
        EXPECT_EQ(matrix[5], 1.0);
        // Values that are no integers are 0 as well, all of them and nothing behind.
        for (auto [field, size] :
             {std::pair{24, 8}, {25, 8}, {26, 8}, {27, 24}, {28, 24}, {29, 8}, {30, 8}, {14, 80}}) {
            bytes_of_file value(100, 0xEE);
            EXPECT_EQ(rzl_get_hdr_data(c, field, value.data()), 0);
            EXPECT_EQ(std::count(value.begin(), value.begin() + size, 0), size) << field;
            EXPECT_EQ(std::count(value.begin() + size, value.end(), 0xEE), 100 - size) << field;
        }
        rzl_user_tag tag = {34000, 0, 0, {}};
        EXPECT_EQ(rzl_get_hdr_data(c, 509, &tag), 0);
        EXPECT_EQ(tag.type, 3);
        EXPECT_EQ(tag.count, 2u);
        EXPECT_EQ(load_u32le(tag.data.bytes), 0x00080007u);
        tag = {34001, 0, 0, {}};
        EXPECT_EQ(refusal(c, rzl_get_hdr_data(c, 509, &tag)), RZL_NO_OUTPUT_BUFFER_2) << "there is no buffer";
        ASSERT_EQ(tag.count, 6u);
        char text[6];
        tag.data.pointer = text;
        EXPECT_EQ(rzl_get_hdr_data(c, 509, &tag), 0);
        EXPECT_STREQ(text, "abcde");
        tag = {34002, 0, 0, {}};
        EXPECT_EQ(refusal(c, rzl_get_hdr_data(c, 509, &tag)), RZL_NO_SUCH_TAG);
        rzl_close(c);
    }
}

TEST_F(Directory, WhatIsRefused) {
    picture p = make_picture(9, 5, 1, 8);
    const struct {
        hand_entry entry;
        uint32_t status;
    } rows[] = {{{258, 3, {8, 8}}, RZL_UNSUP_TIFF},
                {{262, 3, {6}}, RZL_UNSUP_TIFF},
                {{262, 3, {4}}, RZL_UNSUP_TIFF},
                {{259, 3, {7}}, RZL_UNSUP_TIFF},
                {{259, 3, {4}}, RZL_UNSUP_TIFF},
                {{277, 3, {5}}, RZL_UNSUP_TIFF},
                {{277, 3, {0}}, RZL_UNSUP_TIFF},
                {{258, 3, {64}}, RZL_UNSUP_TIFF},
                {{258, 3, {0}}, RZL_UNSUP_TIFF},
                {{284, 3, {3}}, RZL_UNSUP_TIFF},
                {{256, 4, {0x80000000}}, RZL_BAD_IMAGE_SIZE},
                {{257, 4, {0xFFFFFFFF}}, RZL_BAD_IMAGE_SIZE},
                {{256, 4, {100000}}, RZL_BAD_IMAGE_SIZE},
                {{322, 3, {0}}, RZL_BAD_TILE_SIZE},
                {{320, 3, {1, 2, 3}}, RZL_READ_FAILED},
                {{282, 5, {}}, 0},
                {{273, 4, {}}, 0},
                {{257, 3, {0}}, 0}};
    for (bool big : {false, true})
        for (const auto& row : rows)
            EXPECT_EQ(open_status(grey(big, p, {row.entry})), row.status) << row.entry.tag;
    // Tables for more than a byte.
    EXPECT_EQ(open_status(grey(true, p, {{258, 3, {16}}, {291, 3, {1, 2, 3}}})), RZL_UNSUP_TIFF);
    // Colours of fractions and of signed numbers; of one sample a pixel they are only values.
    for (uint32_t kind : {1u, 2u, 3u, 4u}) {
        const std::vector<hand_entry> colours = {
            {258, 3, {8, 8, 8}}, {262, 3, {2}}, {277, 3, {3}}, {339, 3, {kind, kind, kind}}};
        EXPECT_EQ(open_status(grey(true, p, colours)), kind == 1 || kind == 4 ? 0 : RZL_UNSUP_TIFF) << kind;
        EXPECT_EQ(open_status(grey(true, p, {{339, 3, {kind}}})), 0u) << kind;
    }
    for (uint32_t first : {0u, 7u, 0xFFFFFFF0u}) {
        hand_file f = grey(false, p);
        f.put32(4, first);
        EXPECT_EQ(open_status(f), RZL_READ_FAILED) << first;
    }
    hand_file f = grey(false, p);
    f.bytes[2] = 41;
    EXPECT_EQ(open_status(f), RZL_READ_FAILED);
    f.bytes[2] = 43; // offsets of 64 bits
    EXPECT_EQ(open_status(f), RZL_UNSUP_TIFF);
    // A directory at the first place there can be.
    hand_file g(false);
    g.add_directory(grey_entries(4, 1, 8, 1, 4, 4));
    EXPECT_EQ(load_u32le(&g.bytes[4]), 8u);
    EXPECT_EQ(open_status(g), 0u);
}

TEST_F(Directory, ClaimsBeyondTheFile) {
    picture p = make_picture(9, 5, 1, 8);
    // Counts whose bytes no 32 bits hold, offsets behind the end, arrays longer than the file.
    for (uint16_t tag : std::initializer_list<uint16_t>{258, 273, 279, 320, 33918, 33919, 34000}) {
        hand_file f = grey(false, p, {{tag, 4, {1, 2, 3}}});
        size_t entry = load_u32le(&f.bytes[4]) + 2;
        while (load_u16le(&f.bytes[entry]) != tag)
            entry += 12;
        for (auto [count, offset] : {std::pair{0xFFFFFFFFu, 8u}, {0x40000001u, 8u}, {0x10000u, 0xFFFFFFF0u}}) {
            f.put32(entry + 4, count);
            f.put32(entry + 8, offset);
            write_bytes(file(), f.bytes);
            CFILE* c = rzl_open_r(file().c_str());
            if (c == nullptr) {
                EXPECT_TRUE(library_status() == RZL_READ_FAILED || library_status() == RZL_UNSUP_TIFF) << tag;
                continue;
            }
            readable_lines(c);
            bytes_of_file room(1024);
            rzl_get_packet(c, room.data());
            rzl_user_tag user = {tag, 0, 0, {}};
            EXPECT_EQ(rzl_get_hdr_data(c, 509, &user), 1) << "no buffer is that large";
            user.data.pointer = room.data();
            EXPECT_EQ(rzl_get_hdr_data(c, 509, &user), 1);
            rzl_close(c);
        }
    }
    // A file that is cut anywhere opens or says why not; every line is there or fails.
    hand_file whole = grey(true, p);
    for (size_t size = 2; size < whole.bytes.size(); ++size) {
        hand_file f = whole;
        f.bytes.resize(size);
        EXPECT_EQ(open_status(f), RZL_READ_FAILED) << size;
    }
}

TEST_F(Directory, MissingAndShortStrips) {
    picture p = make_picture(8, 6, 1, 8);
    const struct {
        uint32_t offset, size;
        int lines;
    } plain[] = {{8, 48, 6}, {8, 0, 6}, {8, 20, 2}, {0, 48, 0}, {7, 48, 0}, {0xFFFFFFF0, 48, 0}, {56, 0, 6}};
    for (const auto& row : plain) {
        hand_file f = grey(false, p, {{273, 4, {row.offset}}, {279, 4, {row.size}}});
        CFILE* c = opened(open(f));
        auto [lines, status] = readable_lines(c);
        EXPECT_EQ(lines, row.lines) << row.offset << " " << row.size;
        EXPECT_EQ(status, row.lines == 6 ? 0 : RZL_READ_FAILED);
        rzl_close(c);
    }
    // Coded strips give the lines that their code has.
    bytes_of_file packed = {7, 1, 2, 3, 4, 5, 6, 7, 8, 0x80, 0xF9, 9, 0xF8, 5, 3, 1};
    hand_file f(false);
    uint32_t at = f.add(packed);
    f.add_directory(grey_entries(8, 6, 8, 32773, at, uint32_t(packed.size())));
    CFILE* c = opened(open(f));
    EXPECT_EQ(readable_lines(c), (std::pair{3, RZL_READ_FAILED}));
    EXPECT_EQ(rzl_is_damaged(c), 1);
    bytes_of_file line(8);
    EXPECT_EQ(rzl_seek(c, 2), 0) << "a run that passes its line ends there";
    EXPECT_EQ(rzl_getline(c, line.data()), 0);
    EXPECT_EQ(line, bytes_of_file(8, 5));
    rzl_close(c);

    ASSERT_EQ(write_library(file(), make_picture(40, 40, 1, 8), {{501, 5}, {505, -1}}), 0u);
    bytes_of_file lzw = read_bytes(file());
    CFILE* full = rzl_open_r(file().c_str());
    uint32_t data = tif_image_of(full)->strip_offsets[0];
    rzl_close(full);
    int last = 41;
    for (size_t size = lzw.size(); size > data; size -= 100) {
        write_bytes(file(), bytes_of_file(lzw.begin(), lzw.begin() + static_cast<long>(size)));
        c = opened(rzl_open_r(file().c_str()));
        auto [lines, status] = readable_lines(c);
        EXPECT_TRUE(lines == 40 || (lines <= last && status == RZL_READ_FAILED));
        last = lines;
        rzl_close(c);
        if (size < 100) break;
    }
    EXPECT_LT(last, 10);
}

// What takes long, or much memory, in proportion to nothing.
TEST_F(Directory, HostileSizes) {
    const struct {
        std::vector<hand_entry> entries;
    } files[] = {
        {{{257, 3, {6}}, {258, 3, {8}}, {259, 3, {32773}}, {273, 4, {8}}, {279, 4, {99}}}}, // no width
        {{{256, 4, {65536}},
          {257, 4, {64}},
          {258, 3, {8}},
          {259, 3, {5}},
          {322, 3, {1}},
          {323, 3, {64}},
          {324, 4, {8}},
          {325, 4, {0xFFFFFFFF}}}}, // a tile a pixel
        {{{256, 4, {64}}, {257, 4, {0x7FFFFFFF}}, {258, 3, {8}}, {259, 3, {1}}, {273, 4, {0}}, {278, 3, {1}}}},
        {{{256, 4, {64}}, {257, 4, {0x7FFFFFFF}}, {258, 3, {8}}, {259, 3, {5}}, {273, 4, {0}}}},
    };
    for (const auto& row : files) {
        hand_file f(false);
        f.add_directory(row.entries);
        f.bytes.resize(600, 0x81);
        long before = mem_live();
        CFILE* c = open(f);
        if (c != nullptr) {
            readable_lines(c);
            rzl_close(c);
        }
        // Lines put far down in a file that has hardly a strip.
        c = opened(rzl_open_rw(file().c_str()));
        bytes_of_file line(70000);
        for (int y : {0, 1, 5, 100000000})
            if (y < c->ysize && rzl_seek(c, y) == 0) (void)rzl_putline(c, line.data());
        rzl_close(c);
        EXPECT_LT(std::filesystem::file_size(file()), 20000000u);
        EXPECT_EQ(mem_live(), before);
    }
}

TEST_F(Directory, ChainsOfImages) {
    picture p = make_picture(8, 6, 1, 8);
    // Main image, and two more of those kinds; the second lacks most entries.
    for (auto [second, third, overviews, images] :
         {std::array{1, 1, 2, 1}, {1, 0, 0, 2}, {2, 1, 0, 2}, {0, 0, 0, 3}, {4, 1, 1, 1}, {5, 4, 0, 1}}) {
        hand_file f = grey(true, p);
        size_t next = load_u32be(&f.bytes[4]) + 2 + 8 * 12;
        next = f.add_directory(
            {{254, 4, {uint32_t(second)}}, {256, 3, {4}}, {257, 3, {2}}, {258, 3, {8}}, {273, 4, {8}}, {279, 4, {8}}},
            next);
        size_t loop = f.add_directory(
            {{254, 4, {uint32_t(third)}}, {256, 3, {2}}, {257, 3, {1}}, {258, 3, {8}}, {259, 3, {5}}}, next);
        f.put32(loop, load_u32be(&f.bytes[4])); // back to the first
        CFILE* c = opened(open(f));
        expect_fields(c, {{200, overviews}, {402, images}});
        if (overviews == 2) {
            EXPECT_EQ(rzl_set_active_overview(c, 0), 0);
            EXPECT_EQ(field_of(c, 1), 4);
            EXPECT_EQ(field_of(c, 501), 1) << "what the directory before it said";
            picture reduced = read_active(c);
            EXPECT_TRUE(std::equal(reduced.values.begin(), reduced.values.end(), p.values.begin()));
            EXPECT_EQ(rzl_set_active_overview(c, 1), 0);
            EXPECT_EQ(field_of(c, 501), 5);
            EXPECT_EQ(refusal(c, rzl_set_active_overview(c, 2)), RZL_NO_SUCH_OVERVIEW);
            EXPECT_EQ(rzl_set_active_image(c, 1), 1);
            EXPECT_EQ(rzl_set_active_overview(c, -1), 0);
            EXPECT_TRUE(read_active(c) == p);
        } else {
            EXPECT_EQ(refusal(c, rzl_set_active_image(c, images)), RZL_NO_SUCH_IMAGE);
            EXPECT_EQ(rzl_set_active_image(c, images - 1), 0);
            EXPECT_EQ(field_of(c, 1), images == 1 ? 8 : second == 2 ? 4 : 2);
            EXPECT_TRUE(overviews == 0 || rzl_set_active_overview(c, 0) == 0);
            EXPECT_TRUE(overviews == 0 || field_of(c, 1) == 2) << "a mask is passed over";
            EXPECT_EQ(rzl_set_active_overview(c, -1), 0);
            EXPECT_EQ(rzl_set_active_image(c, 0), 0);
            EXPECT_TRUE(read_active(c) == p);
        }
        rzl_close(c);
    }
    hand_file f = grey(false, p);
    f.put32(load_u32le(&f.bytes[4]) + 2 + 8 * 12, 5);
    EXPECT_EQ(open_status(f), RZL_READ_FAILED);
}

TEST_F(Directory, SamplesOfAllDepths) {
    for (bool big : {false, true})
        for (int bits : {1, 3, 5, 7, 9, 12, 15, 16, 17, 24, 31, 32}) {
            picture p = make_picture(13, 4, 1, bits);
            hand_file f(big);
            bytes_of_file data;
            for (int y = 0; y < p.height; ++y) {
                bytes_of_file row((size_t(p.width) * size_t(bits) + 7) / 8);
                for (int x = 0; x < p.width; ++x)
                    for (int b = 0; b < bits; ++b) {
                        // Whole bytes stand in the file's order.
                        int from = bits % 8 == 0 && !big ? 8 * (b / 8) + 7 - b % 8 : bits - 1 - b;
                        auto at = size_t(x) * size_t(bits) + size_t(b);
                        if ((p.at(x, y) >> from & 1) != 0) row[at / 8] |= static_cast<uint8_t>(0x80 >> at % 8);
                    }
                data.insert(data.end(), row.begin(), row.end());
            }
            uint32_t at = f.add(data);
            f.add_directory(grey_entries(13, 4, uint32_t(bits), 1, at, uint32_t(data.size())));
            write_bytes(file(), f.bytes);
            EXPECT_TRUE(read_library(file()) == p) << bits << big;
            // And by the writer.
            ASSERT_EQ(write_library(file(), p, {{505, 3}}), 0u);
            EXPECT_TRUE(read_library(file()) == p) << bits;
        }
}

TEST_F(Directory, PreviewInsidePostscript) {
    picture p = make_picture(9, 5, 1, 8);
    hand_file f = grey(false, p);
    bytes_of_file eps = {0xC5, 0xD0, 0xD3, 0xC6};
    eps.resize(50);
    store_u32le(&eps[20], 50);
    store_u32le(&eps[24], uint32_t(f.bytes.size()));
    eps[28] = eps[29] = 0xFF;
    eps.insert(eps.end(), f.bytes.begin(), f.bytes.end());
    write_bytes(file(), eps);
    EXPECT_TRUE(read_library(file()) == p);
    // A line changed in place, and a new directory, count from there as well.
    CFILE* c = opened(rzl_open_rw(file().c_str()));
    EXPECT_EQ(rzl_seek(c, 2), 0);
    for (int x = 0; x < 9; ++x)
        p.at(x, 2) = uint32_t(x);
    EXPECT_EQ(put_lines(c, p, 2, 3), 1);
    EXPECT_EQ(set_field_to(c, 8, -99), 0);
    EXPECT_EQ(rzl_write_header(c), 0);
    EXPECT_EQ(rzl_finish(c), 0u);
    EXPECT_TRUE(read_library(file()) == p);
    EXPECT_EQ(read_bytes(file()).size() - eps.size() - (eps.size() % 2), 2u + 13 * 12 + 4 + 16);
}

TEST_F(Directory, ColourMapsAndThreeBuffers) {
    for (int bits : {1, 4, 8}) {
        uint32_t size = 1u << bits;
        std::vector<uint32_t> map;
        for (uint32_t i = 0; i < 3 * size; ++i)
            map.push_back(i * 77 << 8 | 5);
        hand_file f(true);
        uint32_t at = f.add({0x1B, 0x2C});
        auto entries = grey_entries(uint32_t(16 / bits), 1, uint32_t(bits), 1, at, 2);
        entries[4].values = {3};
        entries.push_back({320, 3, map});
        f.add_directory(entries);
        CFILE* c = opened(open(f));
        EXPECT_EQ(field_of(c, 5), 2);
        ASSERT_EQ(field_of(c, 6), int32_t(size));
        std::vector<rzl_vlt_entry> vlt(256, rzl_vlt_entry{7, 7, 7, 7});
        EXPECT_EQ(rzl_get_vlt(c, vlt.data()), 0);
        EXPECT_EQ(vlt[255].slot, 255) << "every slot has its number";
        EXPECT_EQ(vlt[1].blue, map[2 * size + 1] & 0xFFFF);
        bytes_of_file rgb[3] = {bytes_of_file(16), bytes_of_file(16), bytes_of_file(16)};
        EXPECT_EQ(rzl_getline3(c, rgb[0].data(), rgb[1].data(), rgb[2].data()), 0);
        auto [x, value] = bits == 1 ? std::pair{3u, 1u} : bits == 4 ? std::pair{1u, 0xBu} : std::pair{1u, 0x2Cu};
        for (size_t plane = 0; plane < 3; ++plane)
            EXPECT_EQ(rgb[plane][x], map[plane * size + value] >> 8 & 0xFF) << bits;
        rzl_close(c);
    }
    // Grey of more than a byte stands in each plane as in the only one.
    hand_file deep(false);
    deep.add_directory(grey_entries(2, 1, 16, 1, deep.add({0x01, 0xA0, 0x02, 0xB0}), 4));
    CFILE* wide_file = opened(open(deep));
    bytes_of_file planes[3] = {bytes_of_file(4), bytes_of_file(4), bytes_of_file(4)};
    EXPECT_EQ(rzl_getline3(wide_file, planes[0].data(), planes[1].data(), planes[2].data()), 0);
    for (const bytes_of_file& plane : planes)
        EXPECT_EQ(plane, (bytes_of_file{0x01, 0xA0, 0x02, 0xB0}));
    rzl_close(wide_file);
    // Grey of less than a byte: one shift, whoever asks and through whatever.
    hand_file f(false);
    uint32_t at = f.add({0x1B, 0x2C});
    f.add_directory(grey_entries(4, 1, 4, 1, at, 2));
    const bytes_of_file wide = {0x10, 0xB0, 0x20, 0xC0};
    const bytes_of_file stored = {1, 11, 2, 12};
    for (bool squetch : {false, true})
        for (int raw : {0, 1}) {
            CFILE* c = opened(open(f));
            EXPECT_EQ(set_field_to(c, 701, raw), 0);
            EXPECT_TRUE(!squetch || rzl_set_squetch(c, 4, 1, 0) == 0);
            bytes_of_file rgb[3] = {bytes_of_file(4), bytes_of_file(4), bytes_of_file(4)};
            EXPECT_EQ(rzl_getline3(c, rgb[0].data(), rgb[1].data(), rgb[2].data()), 0);
            for (const bytes_of_file& plane : rgb)
                EXPECT_EQ(plane, raw != 0 ? stored : wide);
            rzl_close(c);
        }
}
