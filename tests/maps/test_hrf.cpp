// HRF files: files of every kind made by hand in both byte orders, what is written byte by byte, offsets of the image
// inside of its tiles, runs, changing a file in place, and bad input.
#include "raster/formats_fixture.h"

using Hrf = FormatTest;

namespace {

// Codes of a bilevel row, as few pixels as they are: runs of 0 and 255 and literals, all with short counts but the
// first.
bytes_of_file row_codes(const bytes_of_file& row) {
    bytes_of_file out;
    for (size_t i = 0; i < row.size();) {
        size_t n = 1;
        const bool run = row[i] == 0 || row[i] == 255;
        while (i + n < row.size() && (run ? row[i + n] == row[i] : row[i + n] != 0 && row[i + n] != 255))
            ++n;
        const int kind = row[i] == 0 ? 0x00 : row[i] == 255 ? 0xC0 : 0x80;
        if (n > 31) out.push_back(static_cast<uint8_t>(kind | 0x20 | n >> 8));
        out.push_back(static_cast<uint8_t>(n > 31 ? n : static_cast<size_t>(kind) | n));
        if (!run) out.insert(out.end(), row.begin() + static_cast<long>(i), row.begin() + static_cast<long>(i + n));
        i += n;
    }
    return out;
}

// LZW without strings: a clear code before every hundredth byte, so that all codes have 9 bits.
bytes_of_file plain_lzw(const bytes_of_file& data) {
    bytes_of_file out;
    uint32_t bits = 0;
    int count = 0;
    auto put = [&](uint32_t code) {
        bits = bits << 9 | code;
        for (count += 9; count >= 8; count -= 8)
            out.push_back(static_cast<uint8_t>(bits >> (count - 8)));
    };
    for (size_t i = 0; i < data.size(); ++i) {
        if (i % 100 == 0) put(256);
        put(data[i]);
    }
    put(257);
    if (count > 0) out.push_back(static_cast<uint8_t>(bits << (8 - count)));
    return out;
}

// The strings of LZW codes, most significant bit first, a code early to the next width.
bytes_of_file lzw_decoded(const uint8_t* p, size_t size) {
    std::vector<bytes_of_file> strings;
    bytes_of_file out, last;
    size_t at = 0, width = 9;
    for (;;) {
        uint32_t code = 0;
        for (size_t i = 0; i < width; ++i, ++at)
            code = code << 1 | (at / 8 < size ? p[at / 8] >> (7 - at % 8) & 1u : 0u);
        if (code == 257 || at > size * 8 + 16) return out;
        if (code == 256) {
            strings.clear();
            for (int i = 0; i < 258; ++i)
                strings.push_back({static_cast<uint8_t>(i)});
            width = 9;
            last.clear();
            continue;
        }
        if (code > strings.size() || strings.empty()) return {};
        bytes_of_file now = code < strings.size() ? strings[code] : last;
        if (code == strings.size()) now.push_back(last[0]);
        if (!last.empty()) {
            last.push_back(now[0]);
            strings.push_back(last);
        }
        out.insert(out.end(), now.begin(), now.end());
        last = now;
        width = strings.size() >= 2047 ? 12 : strings.size() >= 1023 ? 11 : strings.size() >= 511 ? 10 : 9;
    }
}

// A file made from the tables of its bytes. Pixels are given line by line: bytes of bits, bytes, or triples.
struct hrf_parts {
    int depth = 8;
    bool compressed = false, big = false;
    int table_form = 1, width = 5, height = 4, tile_width = 16, tile_height = 3, offset_x = 0, offset_y = 0;
    int dx = 0, dy = 0, unit = 32;
    std::string version = "03";
    size_t layer = 600;

    void number(bytes_of_file* b, size_t at, uint64_t value, size_t size) const {
        if (b->size() < at + size) b->resize(at + size);
        for (size_t i = 0; i < size; ++i)
            (*b)[at + (big ? size - 1 - i : i)] = static_cast<uint8_t>(value >> 8 * i);
    }
    int across() const { return (width + offset_x + tile_width - 1) / tile_width; }
    int down() const { return (height + offset_y + tile_height - 1) / tile_height; }

    bytes_of_file file(const bytes_of_file& pixels) const {
        bytes_of_file b = bytes_of("CADC/KR RST");
        b.resize(512);
        b[16] = static_cast<uint8_t>(version[0]);
        b[17] = static_cast<uint8_t>(version[1]);
        const bytes_of_file date = bytes_of("12/31/99");
        std::copy(date.begin(), date.end(), b.begin() + 20);
        b[33] = big ? 1 : 0;
        b[35] = static_cast<uint8_t>(table_form);
        number(&b, 280, layer, 4);
        number(&b, layer, 24, 2);
        b.resize(layer + 24 + 114);
        b[layer + 2] = 1;
        const size_t r = layer + 24;
        b[r + 2] = 3;
        const std::tuple<size_t, int, size_t> fields[] = {
            {0, 24, 2},          {50, compressed, 2},  {52, height, 4},    {56, width, 4},     {76, dx, 2},
            {78, dy, 2},         {80, unit, 2},        {82, unit, 2},      {84, across(), 2},  {86, down(), 2},
            {88, tile_width, 4}, {92, tile_height, 4}, {100, offset_x, 2}, {102, offset_y, 2}, {108, depth, 2}};
        for (auto [at, value, size] : fields)
            number(&b, r + at, static_cast<uint64_t>(value), size);
        std::vector<size_t> places;
        for (int i = 0; i < across() * down(); ++i) {
            const bytes_of_file data = tile(pixels, i % across(), i / across());
            places.push_back(b.size());
            number(&b, b.size(), data.size() + 4, 2);
            b.insert(b.end(), {5, 0});
            b.insert(b.end(), data.begin(), data.end());
        }
        number(&b, r + 96, b.size(), 4);
        number(&b, b.size(), places.size() * 8 + 4, 2);
        b.insert(b.end(), {4, 0});
        for (size_t place : places) {
            number(&b, b.size(), place, 4);
            b.resize(b.size() + (table_form == 1 ? 4 : 2));
        }
        number(&b, b.size(), 4, 2);
        b.insert(b.end(), {2, 0});
        return b;
    }

    bytes_of_file tile(const bytes_of_file& pixels, int column, int row) const {
        bytes_of_file out;
        for (int y = 0; y < tile_height; ++y) {
            bytes_of_file line(static_cast<size_t>(tile_width * depth + 7) / 8);
            for (int x = 0; x < tile_width; ++x) {
                const int px = column * tile_width + x - offset_x;
                const int py = row * tile_height + y - offset_y;
                if (px < 0 || px >= width || py < 0 || py >= height) continue;
                const auto i = static_cast<size_t>(int64_t{py} * width + px);
                const auto at = static_cast<size_t>(x);
                if (depth == 1 && pixels[i] != 0) line[at / 8] = static_cast<uint8_t>(line[at / 8] | 0x80 >> x % 8);
                if (depth == 8) line[at] = pixels[i];
                if (depth == 24) std::copy_n(pixels.begin() + static_cast<long>(i * 3), 3, line.begin() + x * 3);
            }
            if (depth == 1 && compressed) line = row_codes(line);
            out.insert(out.end(), line.begin(), line.end());
        }
        return compressed && depth != 1 ? plain_lzw(out) : out;
    }
    bytes_of_file some_pixels() const {
        return some_samples(static_cast<size_t>(int64_t{width} * height * (depth == 24 ? 3 : 1)), depth == 1 ? 2 : 256,
                            3);
    }
};

// What the library gives for pixels: words of bits, bytes, or nothing where only triples are read.
bytes_of_file values_of(const hrf_parts& h, const bytes_of_file& pixels) {
    return h.depth == 8 ? pixels : h.depth == 1 ? words_of(pixels, h.width, h.height) : bytes_of_file();
}

} // namespace

TEST_F(Hrf, FilesOfEveryKindAreRead) {
    const hrf_parts kinds[] = {
        {1, false, false, 1, 37, 7, 16, 3},       {1, true, true, 0, 700, 7, 320, 4},
        {1, true, false, 1, 33, 5, 48, 9},        {8, false, true, 1, 37, 7, 10, 3},
        {8, true, false, 0, 37, 7, 40, 40},       {24, false, false, 1, 20, 9, 7, 4},
        {24, true, true, 1, 20, 9, 7, 4},         {1, false, false, 1, 37, 7, 16, 3, 3, 0},
        {1, true, true, 1, 100, 7, 32, 3, 29, 2}, {8, true, false, 1, 37, 7, 10, 3, 11, 4},
        {8, false, false, 1, 37, 7, 10, 3, 0, 1}, {24, true, false, 1, 20, 9, 7, 4, 5, 3},
    };
    for (const hrf_parts& h : kinds) {
        SCOPED_TRACE(std::to_string(&h - kinds));
        const bytes_of_file pixels = h.some_pixels();
        CFILE* c = open_made(h.file(pixels));
        const bool offsets = h.offset_x != 0 || h.offset_y != 0;
        const int format = h.depth == 1   ? (h.compressed ? 9 : 1)
                           : h.depth == 8 ? (h.compressed ? 29 : 2)
                           : h.compressed ? 27
                                          : 28;
        expect_fields(c, {{1, h.width}, {2, h.height}, {3, format}, {9, 4}, {21, -3}, {501, -1}, {503, 1}});
        expect_fields(c, {{100, offsets ? 0 : h.tile_width}, {104, offsets ? 0 : h.tile_height}, {1000, h.offset_x}});
        const auto tiles = static_cast<size_t>(field_of(c, 101)) * static_cast<size_t>(field_of(c, 102));
        std::vector<int32_t> words(tiles + 1, -1);
        EXPECT_EQ(rzl_get_hdr_data(c, RZL_FIELD_TILE_DIRECTORY, words.data()), 0);
        EXPECT_TRUE(words[tiles] == -1 || tiles == 0) << "a word for each tile and no more";
        EXPECT_EQ(std::count(words.begin(), words.begin() + static_cast<long>(tiles), 0), static_cast<long>(tiles));
        expect_fields(c, {{1001, h.offset_y}});
        const picture p = read_lines(c);
        rzl_close(c);
        EXPECT_TRUE(p.values == values_of(h, pixels));
        EXPECT_TRUE(h.depth != 24 || p.colors == pixels);
        if (h.depth == 8) {
            for (size_t i = 0; i < pixels.size(); ++i)
                ASSERT_TRUE(p.colors[i * 3] == pixels[i] && p.colors[i * 3 + 2] == pixels[i]);
        }
        expect_seeks(path("made"));
    }
}

TEST_F(Hrf, TheBytesOfAFile) {
    const struct {
        int format, width, height, depth, tile_width, tile_height;
    } kinds[] = {
        {9, 410, 3, 1, 400, 320}, {1, 410, 330, 1, 400, 320}, {2, 130, 5, 8, 120, 128}, {28, 3, 130, 24, 120, 128}};
    for (const auto& k : kinds) {
        SCOPED_TRACE(k.format);
        hrf_parts h = {k.depth,      k.format == 9, false, 1, k.width, k.height,
                       k.tile_width, k.tile_height, 0,     0, 300,     300};
        h.layer = 2368;
        const bytes_of_file pixels = h.some_pixels();
        ASSERT_EQ(write_picture(path("a.hrf"), 19, k.format, k.width, k.height,
                                k.depth == 24 ? pixels : values_of(h, pixels), {{8, -300}}),
                  0u);
        bytes_of_file expected = h.file(pixels);
        const auto text = [&](size_t at, const std::string& s) {
            std::copy(s.begin(), s.end(), expected.begin() + static_cast<long>(at));
        };
        bytes_of_file made = read_bytes(path("a.hrf"));
        text(20, std::string(made.begin() + 20, made.begin() + 28)); // today
        EXPECT_TRUE(made[22] == '/' && made[25] == '/');
        text(18, "00");
        const field_values places = {{256, 1024},  {260, 1152}, {268, 2048},  {272, 2368}, {292, 1},
                                     {1060, 2048}, {1064, 256}, {1124, 2304}, {1128, 64}};
        for (auto [at, value] : places)
            h.number(&expected, static_cast<size_t>(at), static_cast<uint64_t>(value), 4);
        text(1024, "_MANAGE");
        text(1088, "_LAYER0");
        for (size_t i = 2; i < 6; ++i)
            store_f64le(expected.data() + 2048 + 68 + i * 8, (i % 2 == 0 ? k.width : k.height) / 300.0);
        for (size_t at : {size_t{2048 + 116}, size_t{2048 + 118}, size_t{2392 + 34}})
            h.number(&expected, at, 32, 2);
        std::fill_n(expected.begin() + 2288, 64, uint8_t{255});
        text(2392 + 4, std::string(30, ' '));
        store_f64le(expected.data() + 2392 + 36, 1.0);
        h.number(&expected, 2392 + 44, 8, 2);
        h.number(&expected, 2392 + 46, 1, 2);
        ASSERT_EQ(made.size(), expected.size());
        for (size_t i = 0; i < made.size(); ++i)
            ASSERT_EQ(made[i], expected[i]) << i;
    }
}

TEST_F(Hrf, RowsOfRuns) {
    // A tile of one row of 1016 bytes: runs of 0 and 255 and literals, with short counts and long ones.
    bytes_of_file mixed(64);
    mixed.insert(mixed.end(), {255, 1, 2});
    mixed.resize(1016, 255);
    const struct {
        const char *what, *codes;
        bytes_of_file row;
    } cases[] = {
        {"short and long counts", "1F 2021 C1 820102 E3B5", mixed},
        {"a count of 0 is none", "00 80 23F8", bytes_of_file(1016)},
        {"the kind that ends all", "41", {}},
        {"more than the row", "3FF9", {}},
        {"less than the row", "23F7", {}},
        {"a literal past the data", "23F7 81", {}},
    };
    for (const auto& k : cases) {
        SCOPED_TRACE(k.what);
        const hrf_parts h = {1, true, false, 1, 8128, 1, 8128, 1};
        bytes_of_file file = h.file(bytes_of_file(8128));
        // The record goes behind everything, and the table names it.
        const size_t record = file.size();
        const bytes_of_file codes = hex(k.codes);
        h.number(&file, record, codes.size() + 4, 2);
        file = joined(file, joined({5, 0}, codes));
        h.number(&file, record - 4 - 8, record, 4);
        const picture p = read_made(file);
        EXPECT_EQ(p.status, k.row.empty() ? RZL_READ_FAILED : 0u);
        bytes_of_file words;
        for (size_t i = 0; i < k.row.size(); ++i)
            words.push_back(k.row[i ^ 1]);
        EXPECT_EQ(p.values, words);
    }
}

// Coded tiles are those of the slow decoder; noise, for which codes are longer than a record, is coded otherwise.
TEST_F(Hrf, CodesOfTiles) {
    for (auto [width, height, values] : {std::tuple(300, 140, 256), {119, 130, 3}}) {
        const bytes_of_file pixels = some_samples(static_cast<size_t>(int64_t{width} * height), values, 9);
        ASSERT_EQ(write_picture(path("a.hrf"), 19, 29, width, height, pixels), 0u);
        const bytes_of_file b = read_bytes(path("a.hrf"));
        const bytes_of_file tile = lzw_decoded(b.data() + 2510, load_u16le(b.data() + 2506) - size_t{4});
        ASSERT_EQ(tile.size(), 120u * 128);
        for (size_t i = 0; i < tile.size(); ++i) {
            const size_t x = i % 120, y = i / 120;
            ASSERT_EQ(tile[i], x < static_cast<size_t>(width) ? pixels[y * static_cast<size_t>(width) + x] : 0) << i;
        }
    }
    bytes_of_file noise(130 * 129 * 3);
    std::mt19937 random(1);
    for (uint8_t& v : noise)
        v = static_cast<uint8_t>(random());
    ASSERT_EQ(write_picture(path("a.hrf"), 19, 27, 130, 129, noise), 0u);
    EXPECT_TRUE(read_picture(path("a.hrf")).colors == noise);
}

TEST_F(Hrf, RunsOfLinesAndTiles) {
    const hrf_parts h = {1, true, false, 1, 50, 3, 32, 2};
    bytes_of_file pixels(150);
    std::fill(pixels.begin() + 5, pixels.begin() + 50, uint8_t{1}); // 5 white, 45 black
    CFILE* c = open_made(h.file(pixels));
    EXPECT_EQ(next_runs(c), (std::vector<uint16_t>{5, 45, 0}));
    uint16_t runs[40] = {};
    int32_t size = sizeof runs, uniform = 0;
    EXPECT_TRUE(rzl_seek(c, 0) == 0 && rzl_get_rle_tile(c, runs, &size, &uniform) == 0 && size == 8);
    EXPECT_TRUE(runs[0] == 5 && runs[1] == 27 && runs[2] == 0 && runs[3] == 32 && c->line == 1);
    size = 2;
    EXPECT_EQ(refusal(c, rzl_get_rle_tile(c, runs, &size, &uniform)), RZL_RLE_BUFFER_SMALL);
    EXPECT_EQ(c->line, 1);
    rzl_close(c);
}

TEST_F(Hrf, FieldsOfANewFile) {
    CFILE* c = opened(new_file(path("a.hrf"), 19, 2, 10, 10));
    EXPECT_TRUE(set_field_to(c, 8, 300) == 0 && field_of(c, 8) == 0); // 300 micrometres are less than a dot an inch
    EXPECT_TRUE(set_field_to(c, 8, 2540000) == 0 && field_of(c, 8) == -100 && number_of(c, 26) == 1.0);
    EXPECT_TRUE(set_field_to(c, 8, -200) == 0 && field_of(c, 8) == -200);
    const double aspect = 2.0;
    EXPECT_TRUE(rzl_set_hdr_data(c, 26, &aspect) == 0 && number_of(c, 26) == 2.0);
    EXPECT_EQ(refusal(c, set_field_to(c, 8, -65536)), RZL_BAD_FIELD_VALUE);
    EXPECT_EQ(refusal(c, set_field_to(c, 3, 69)), RZL_UNSUP_IR);
    EXPECT_TRUE(set_field_to(c, 100, 64) == 0 && field_of(c, 100) == 0);
    for (auto [format, depth] : {std::pair(1, 1), {9, 1}, {2, 8}, {29, 8}, {27, 24}, {28, 24}})
        EXPECT_TRUE(set_field_to(c, 3, format) == 0 && field_of(c, 3) == format &&
                    field_of(c, 506) * field_of(c, 507) == depth);
    rzl_stat stat = {};
    EXPECT_EQ(rzl_get_stat(c, &stat), 0);
    EXPECT_TRUE(stat.scan_orientation == 4 && stat.device_resolution == -200 && stat.compression == -1 &&
                stat.vlt_type == 0);
    rzl_close(c);
}

TEST_F(Hrf, TilesOfAFileAreChangedInPlace) {
    bytes_of_file pixels = some_samples(200 * 300, 256, 5);
    ASSERT_EQ(write_picture(path("a.hrf"), 19, 29, 200, 300, pixels), 0u);
    CFILE* c = opened(rzl_open_rw(path("a.hrf").c_str()));
    const bytes_of_file line(200, 77);
    EXPECT_TRUE(rzl_seek(c, 299) == 0 && rzl_putline(c, line.data()) == 0);
    std::fill_n(pixels.begin() + 299 * 200, 200, uint8_t{77});
    const bytes_of_file tile(120 * 128, 99);
    const void* plane = tile.data();
    EXPECT_TRUE(rzl_seek(c, 1) == 0 && rzl_puttile(c, 1, &plane) == 0);
    EXPECT_EQ(rzl_finish(c), 0u);
    for (size_t y = 0; y < 128; ++y)
        std::fill_n(pixels.begin() + static_cast<long>(y * 200 + 120), 80, uint8_t{99});
    EXPECT_TRUE(read_picture(path("a.hrf")).values == pixels);
    // A new file that is read back before all its lines are there.
    c = new_file(path("b.hrf"), 19, 2, 130, 200, {}, rzl_open_wr);
    for (int y = 0; y < 150; ++y)
        ASSERT_EQ(rzl_putline(c, pixels.data() + y * 130), 0);
    bytes_of_file back(130);
    EXPECT_TRUE(rzl_seek(c, 149) == 0 && rzl_getline(c, back.data()) == 0);
    EXPECT_TRUE(std::equal(back.begin(), back.end(), pixels.begin() + 149 * 130));
    EXPECT_EQ(rzl_finish(c), 0u);
    const picture p = read_picture(path("b.hrf"));
    EXPECT_TRUE(p.status == 0 && std::equal(pixels.begin(), pixels.begin() + 150 * 130, p.values.begin()) &&
                p.values[199 * 130] == 0);
}

TEST_F(Hrf, BadInput) {
    const hrf_parts h = {8, false, false, 1, 37, 7, 10, 3};
    const bytes_of_file good = h.file(h.some_pixels());
    const size_t r = h.layer + 24;
    const size_t table = load_u32le(good.data() + r + 96);
    const bytes_of_file most = {255, 255, 255, 127};
    expect_refused(good, {
                             {"version 04", 17, {'4'}, RZL_NOT_STANDARD},
                             {"version 13", 16, {'1'}, RZL_NOT_STANDARD},
                             {"a layer past the end", 280, most, RZL_READ_FAILED},
                             {"a first record of no layer", h.layer + 2, {2}, RZL_NOT_STANDARD},
                             {"a layer of another kind", r + 2, {2}, RZL_NOT_STANDARD},
                             {"4 bits", r + 108, {4}, RZL_UNSUP_IR},
                             {"no width", r + 56, {0}, RZL_BAD_IMAGE_SIZE},
                             {"a width that its tiles do not cover", r + 56, most, RZL_BAD_IMAGE_SIZE},
                             {"fewer tiles than the width", r + 84, {3}, RZL_NOT_STANDARD_2},
                             {"more tiles than the height", r + 86, {4}, RZL_NOT_STANDARD_2},
                             {"no tile width", r + 88, {0}, RZL_BAD_TILE_SIZE},
                             {"a tile that its record can't hold", r + 92, {0, 0, 1}, RZL_BAD_TILE_SIZE},
                             {"a table past the end", r + 96, most, RZL_READ_FAILED},
                             {"no table", table + 2, {5}, RZL_NOT_STANDARD_2},
                             {"a tile past the end", table + 4, most, RZL_READ_FAILED},
                             {"a tile that is not there", table + 4, {0, 0, 0, 0}, RZL_READ_FAILED},
                             {"a tile that is none", load_u32le(good.data() + table + 4) + 2, {4}, RZL_READ_FAILED},
                             {"a tile of fewer bytes", load_u32le(good.data() + table + 4), {33}, RZL_READ_FAILED},
                         });
    for (const char* version : {"01", "02"}) {
        hrf_parts older = h;
        older.version = version;
        EXPECT_EQ(read_made(older.file(h.some_pixels())).status, 0u);
    }
    // Rows of tiles in front of one that is damaged.
    const picture p = read_changed(good, table + 4 + 4 * 8, most);
    EXPECT_TRUE(p.status == RZL_READ_FAILED && p.lines == 3);
    for (size_t size = 0; size < good.size() - 4; size += size < table ? 7 : 1) {
        EXPECT_NE(read_made(part(good, 0, size)).status, 0u) << size;
    }
    // Bits: tiles of whole words, and rows that claim more than the file can hold.
    hrf_parts bits = {1, true, false, 1, 37, 7, 16, 3};
    const bytes_of_file good_bits = bits.file(bits.some_pixels());
    expect_refused(good_bits, {{"a tile of bytes", r + 88, {24}, RZL_BAD_TILE_SIZE},
                               {"a huge tile", r + 88, {0, 0, 255, 7}, RZL_BAD_TILE_SIZE}});
}

TEST_F(Hrf, FailuresHaveAStatus) {
    const hrf_parts h = {24, true, true, 0, 20, 5, 7, 4, 3, 2};
    write_bytes(path("a.hrf"), h.file(h.some_pixels()));
    expect_read_sweeps([&] { return read_picture(path("a.hrf")); });
}
