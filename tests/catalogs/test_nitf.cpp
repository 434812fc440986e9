// NITF files: headers byte by byte, every packing of samples, blocks, several images, and bad input.
#include "raster/formats_fixture.h"

using Nitf = FormatTest;

namespace {

std::string text(const std::string& value, size_t width) {
    return value + std::string(width - value.size(), ' ');
}
std::string digits(int64_t value, size_t width) {
    const std::string number = std::to_string(value);
    return std::string(width - number.size(), '0') + number;
}

// The bits of samples, each of `width`, one behind the other.
std::string packed(const std::vector<int>& samples, int width) {
    std::string out;
    int count = 0;
    for (int sample : samples) {
        for (int b = width - 1; b >= 0; --b, ++count) {
            if (count % 8 == 0) out += '\0';
            if ((sample >> b & 1) != 0) out.back() = static_cast<char>(out.back() | 0x80 >> count % 8);
        }
    }
    return out;
}

// An image of a file made by hand.
struct nitf_image_parts {
    int width = 10, height = 3;
    std::string downgrade, coordinates = "N", location, compression = "NC", bands = "1", luts = "0", sync = "0";
    std::string mode = "S", justification = "R", user_data, title = "a title";
    std::vector<std::string> comments;
    int actual = 8, stored = 8;
    int across = 1, down = 1, block_width = 0, block_height = 0;
    std::string data;
    int64_t length = -1; // as told; -1: of the data

    std::string subheader() const {
        std::string h = "IM" + text("id", 10) + text("01120000ZJAN96", 14) + text("", 17) + text(title, 80) + "S" +
                        text("", 160) + text(downgrade, 6);
        if (downgrade == "999998") h += text("an event", 40);
        h += "0" + text("a source", 42) + digits(height, 8) + digits(width, 8) + "INT" + text("MONO", 8) +
             text("VIS", 8) + digits(actual, 2) + justification + coordinates;
        if (coordinates != "N") h += text(location, 60);
        h += digits(static_cast<int>(comments.size()), 1);
        for (const std::string& comment : comments)
            h += text(comment, 80);
        h += compression;
        if (compression != "NC") h += "01.0";
        h += bands;
        for (int i = 0; i < bands[0] - '0'; ++i)
            h += text("", 2) + text("", 6) + "N" + text("", 3) + luts;
        h += sync + mode + digits(across, 4) + digits(down, 4) + digits(block_width, 4) + digits(block_height, 4) +
             digits(stored, 2) + "001" + "000" + text("0000000000", 10) + text("1.0", 4);
        return h + digits(static_cast<int>(user_data.size()), 5) + user_data + digits(0, 5);
    }
};

struct nitf_parts {
    std::string version = "NITF02.00", downgrade, user_data, parts;
    std::vector<nitf_image_parts> images = {nitf_image_parts()};
    int longer = 0;       // told of the header
    int image_longer = 0; // told of each subheader

    std::string file() const {
        std::string h = version + "01" + text("", 4) + text("station", 10) + text("31235959ZDEC95", 14) +
                        text("the title", 80) + "U" + text("", 160) + text(downgrade, 6);
        if (downgrade == "999998") h += text("the event", 40);
        h += digits(1, 5) + digits(2, 5) + "0" + text("name", 27) + text("phone", 18);
        std::string rest = digits(static_cast<int>(images.size()), 3);
        std::string data;
        for (const nitf_image_parts& image : images) {
            const std::string sub =
                image.subheader() + std::string(static_cast<size_t>(std::max(image_longer, 0)), '?');
            const int64_t told = image.length >= 0 ? image.length : static_cast<int64_t>(image.data.size());
            rest += digits(static_cast<int64_t>(image.subheader().size()) + image_longer, 6) + digits(told, 10);
            data += sub + image.data;
        }
        rest += (parts.empty() ? std::string(15, '0') : parts) + digits(static_cast<int>(user_data.size()), 5) +
                user_data + digits(0, 5);
        const size_t size = h.size() + 18 + rest.size() + static_cast<size_t>(std::max(longer, 0));
        h += digits(static_cast<int64_t>(size + data.size()), 12);
        h += digits(static_cast<int64_t>(size) + std::min(longer, 0), 6) + rest;
        return h + std::string(static_cast<size_t>(std::max(longer, 0)), '?') + data;
    }
};

std::vector<int> some_values(size_t count, int bits, unsigned seed) {
    std::mt19937 random(seed);
    std::vector<int> values;
    for (size_t i = 0; i < count; ++i)
        values.push_back(static_cast<int>(random() & ((1u << bits) - 1)));
    return values;
}

const rzl_nitf_header* record_of(CFILE* c) {
    const rzl_nitf_header* header = nullptr;
    EXPECT_EQ(rzl_get_hdr_data(c, RZL_FIELD_NITF, &header), 0);
    return header;
}

} // namespace

TEST_F(Nitf, TheBytesOfAFile) {
    ASSERT_EQ(write_picture(path("a"), 12, 2, 3, 2, bytes_of("abcdef")), 0u);
    std::string h =
        "NITF02.0000" + text("", 4 + 10 + 14 + 80) + "U" + text("", 166) + "00000000000" + text("", 27 + 18);
    std::string sub = "IM" + text("", 10 + 14 + 17 + 80) + "U" + text("", 166) + "0" + text("", 42) +
                      "0000000200000003" + "INT" + text("MONO", 8) + text("VIS", 8) + "08RN0NC1" + text("M", 8) + "N" +
                      text("", 3) + "00S000100010003000208000000" + text("", 14) + "0000000000";
    const std::string rest = "001" + digits(static_cast<int>(sub.size()), 6) + "0000000006" + std::string(25, '0');
    const auto header = h.size() + 18 + rest.size();
    h += digits(static_cast<int64_t>(header + sub.size() + 6), 12) + digits(static_cast<int64_t>(header), 6) + rest;
    EXPECT_EQ(read(path("a")), h + sub + "abcdef");
    // A table of grey is one, a table of colours is three.
    for (bool grey : {true, false}) {
        color_table table = some_table(2);
        for (rzl_vlt_entry& e : table)
            if (grey) e.green = e.blue = e.red;
        ASSERT_EQ(write_picture(path("a"), 12, 2, 3, 1, {0, 1, 0}, {{5, 2}}, table), 0u);
        const std::string all = read(path("a"));
        EXPECT_NE(all.find(grey ? "N   100002" : "N   300002"), std::string::npos);
        EXPECT_NE(all.find(grey ? "INTMONO    " : "INTRGB/LUT "), std::string::npos);
        const picture p = read_picture(path("a"));
        EXPECT_EQ(p.colors, looked_up({0, 1, 0}, table));
        EXPECT_EQ(p.entries, 2);
        CFILE* c = rzl_open_r(path("a").c_str());
        rzl_vlt_entry got[256];
        EXPECT_TRUE(rzl_get_vlt(c, got) == 0 && got[1].green == table[1].green && field_of(c, 5) == 2);
        rzl_close(c);
    }
}

TEST_F(Nitf, HeadersOfOthers) {
    nitf_parts f;
    f.downgrade = "999998";
    f.user_data = "user data";
    // One symbol, no labels, two texts, one extension and one more.
    f.parts = "0010100000200000002000100002000300004001000100000000200100010000002";
    f.longer = 7;
    f.image_longer = 5;
    f.images.resize(2);
    f.images[0].downgrade = "999998";
    f.images[0].coordinates = "G";
    f.images[0].location = "323000N0101500W323000N0100000W320000N0100000W320000N0101500W";
    f.images[0].comments = {"one", "two"};
    f.images[0].user_data = "more";
    f.images[0].data = std::string(30, 'x');
    f.images[1].width = 4;
    f.images[1].actual = 7;
    f.images[1].title = "second";
    f.images[1].data = "0123456789AB";
    CFILE* c = open_made(bytes_of(f.file()));
    expect_fields(c, {{402, 2}, {1, 10}, {2, 3}, {501, 0}, {3, 2}, {5, 0}, {9, 4}, {100, 0}});
    const rzl_nitf_header* h = record_of(c);
    EXPECT_EQ(std::string(h->downgrading_event).substr(0, 10), "the event ");
    EXPECT_EQ(std::string(h->title).substr(0, 10), "the title ");
    EXPECT_TRUE(std::string(h->number_of_texts) == "002" &&
                std::string(h->images[0].comments[1]).substr(0, 4) == "two ");
    EXPECT_EQ(std::string(h->images[0].location), f.images[0].location);
    EXPECT_TRUE(read_plane(c).values == bytes_of_file(30, 'x'));
    EXPECT_EQ(refusal(c, rzl_set_active_image(c, 2)), RZL_NO_SUCH_IMAGE);
    EXPECT_TRUE(rzl_set_active_image(c, 1) == 0 && field_of(c, 1) == 4 && field_of(c, 507) == 7);
    EXPECT_TRUE(read_plane(c).values == bytes_of(f.images[1].data));
    EXPECT_TRUE(rzl_set_active_image(c, 0) == 0 && rzl_seek(c, 2) == 0 && read_plane(c).values.size() == 10);
    // A record that is given to a new file goes into its headers.
    CFILE* out = new_file(path("b"), 12, 2, 2, 1, {{402, 2}});
    EXPECT_EQ(rzl_set_hdr_data(out, RZL_FIELD_NITF, &h), 0);
    EXPECT_EQ(put_lines(out, 1, bytes_of("pq")), 0u);
    EXPECT_TRUE(rzl_set_active_image(out, 1) == 0 && set_field_to(out, 1, 3) == 0 && set_field_to(out, 100, 2) == 0);
    EXPECT_EQ(put_lines(out, 1, bytes_of("rst")), 0u);
    EXPECT_EQ(rzl_finish(out), 0u);
    rzl_close(c);
    c = opened(rzl_open_r(path("b").c_str()));
    h = record_of(c);
    EXPECT_TRUE(std::string(h->images[0].location) == f.images[0].location && h->images[0].coordinate_system[0] == 'G');
    EXPECT_TRUE(std::string(h->images[1].title).substr(0, 7) == "second " && h->title[0] == 't');
    EXPECT_EQ(std::string(h->message_length), digits(static_cast<int64_t>(read_bytes(path("b")).size()), 12));
    EXPECT_TRUE(read_plane(c).values == bytes_of("pq") && rzl_set_active_image(c, 1) == 0 && field_of(c, 100) == 2);
    EXPECT_TRUE(read_plane(c).values == bytes_of("rst"));
    rzl_close(c);
}

TEST_F(Nitf, SamplesOfEveryWidth) {
    const int cases[][2] = {{1, 1}, {2, 2}, {3, 0},   {6, 5},  {7, 7},   {8, 8},
                            {8, 5}, {9, 9}, {12, 11}, {15, 9}, {16, 16}, {16, 12}};
    for (const auto& [stored, told] : cases) {
        for (bool left : {false, true}) {
            for (bool tiled : {false, true}) {
                SCOPED_TRACE(std::to_string(stored) + " " + std::to_string(told) + (left ? " left" : "") +
                             (tiled ? " tiled" : ""));
                const int actual = told == 0 ? stored : told;
                const int width = 13;
                const int height = 9;
                const std::vector<int> values = some_values(width * height, actual, 3);
                const int up = left ? stored - actual : 0;
                nitf_parts f;
                nitf_image_parts& i = f.images[0];
                i.width = width;
                i.height = height;
                i.stored = stored;
                i.actual = told;
                i.justification = left ? "L" : "R";
                if (tiled) {
                    i.across = 2;
                    i.down = 2;
                    i.block_width = i.block_height = 7;
                    for (int block = 0; block < 4; ++block) {
                        std::vector<int> part;
                        for (int n = 0; n < 49; ++n) {
                            const int x = block % 2 * 7 + n % 7;
                            const int y = block / 2 * 7 + n / 7;
                            part.push_back(x < width && y < height
                                               ? values[static_cast<size_t>(int64_t{y} * width + x)] << up
                                               : 0);
                        }
                        i.data += packed(part, stored);
                    }
                } else {
                    std::vector<int> stream;
                    for (int value : values)
                        stream.push_back(value << up);
                    i.data = packed(stream, stored);
                }
                bytes_of_file expected;
                for (int value : values) {
                    expected.push_back(static_cast<uint8_t>(value));
                    if (stored > 8) expected.push_back(static_cast<uint8_t>(value >> 8));
                }
                if (stored == 1) expected = words_of(expected, width, height);
                const picture p = read_made(bytes_of(f.file()));
                // Rows of bits in blocks are joined by words.
                const bool refused = stored == 1 && tiled;
                EXPECT_EQ(p.status, refused ? RZL_UNSUP_NITF : 0u) << rzl_status_name(p.status);
                EXPECT_EQ(p.format, stored == 1 ? 1 : (stored > 8 ? 3 : 2));
                if (refused) continue;
                EXPECT_TRUE(p.values == expected);
                expect_seeks(path("made"));
            }
        }
    }
}

TEST_F(Nitf, BlocksAndBands) {
    const std::tuple<std::string, std::string, bool> kinds[] = {{"S", "1", true}, {"B", "1", true},  {"I", "1", true},
                                                                {"P", "1", true}, {"X", "1", false}, {"S", "3", true},
                                                                {"B", "3", true}, {"P", "3", false}};
    for (const auto& [mode, bands, good] : kinds) {
        nitf_parts f;
        nitf_image_parts& i = f.images[0];
        i.width = 7;
        i.height = 4;
        i.across = 2;
        i.down = 1;
        i.block_width = i.block_height = 4;
        i.mode = mode;
        i.bands = bands;
        const bool apart = mode[0] == 'S' && bands[0] == '3';
        for (int block = 0; block < 2; ++block)
            for (int band = 0; band < bands[0] - '0'; ++band)
                i.data += std::string(16, apart ? (block * 3 + band == 1 ? 'b' : 'a')
                                                : static_cast<char>((block == 1 ? 'b' : 'a') + 2 * band));
        const picture p = read_plane(write("made", f.file()));
        EXPECT_EQ(p.status, good ? 0u : RZL_UNSUP_NITF) << mode << bands;
        EXPECT_TRUE(!good || p.values == bytes_of("aaaabbbaaaabbbaaaabbbaaaabbb")) << mode << bands;
        CFILE* c = opened(rzl_open_r(path("made").c_str()));
        uint8_t planes[3][16];
        void* all[3] = {planes[0], planes[1], planes[2]};
        expect_fields(c, {{100, 4}, {101, 2}, {102, 1}, {506, bands[0] - '0'}});
        EXPECT_EQ(rzl_seek(c, 1), 0);
        EXPECT_EQ(rzl_gettile(c, 1, all, nullptr), good ? 0 : 1);
        EXPECT_TRUE(!good || (planes[0][0] == 'b' && planes[0][15] == 'b'));
        EXPECT_TRUE(!good || (rzl_gettile(c, 1, all, nullptr) == 1 && c->status == RZL_PAST_END));
        EXPECT_TRUE(rzl_seek(c, 0) == 0 && (rzl_gettile(c, 3, all, nullptr) != 0) == (!good || bands[0] == '3'));
        rzl_close(c);
    }
    // One block that is wider than the image.
    nitf_parts f;
    f.images[0].block_width = 12;
    f.images[0].block_height = 3;
    f.images[0].data = "abcdefghij..klmnopqrst..uvwxyzABCD..";
    EXPECT_EQ(read_made(bytes_of(f.file())).values, bytes_of("abcdefghijklmnopqrstuvwxyzABCD"));
}

TEST_F(Nitf, ColoursOfBits) {
    nitf_parts f;
    f.images[0].stored = f.images[0].actual = 1;
    f.images[0].luts = "300002"
                       "\x01\x02\x03\x04\x05\x06";
    f.images[0].data = packed(some_values(30, 1, 9), 1);
    const picture p = read_made(bytes_of(f.file()));
    ASSERT_EQ(p.colors.size(), 90u);
    const std::vector<int> values = some_values(30, 1, 9);
    for (size_t i = 0; i < 30; ++i)
        EXPECT_TRUE(p.colors[i * 3] == 1 + values[i] && p.colors[i * 3 + 2] == 5 + values[i]) << i;
    f.images[0].luts = "0";
    CFILE* c = open_made(bytes_of(f.file()));
    uint8_t planes[3][10];
    EXPECT_EQ(refusal(c, rzl_getline3(c, planes[0], planes[1], planes[2])), RZL_UNSUP_NITF) << "bits without colours";
    rzl_close(c);
}

TEST_F(Nitf, WhatIsCodedOpens) {
    struct {
        const char* compression;
        int bits, format, field_501;
    } cases[] = {{"C0", 1, 9, 1},  {"C1", 1, 9, 2},  {"C3", 8, 29, 4},
                 {"C2", 12, 3, 3}, {"M1", 8, 2, -1}, {"NC", 17, 2, 0}};
    for (const auto& k : cases) {
        nitf_parts f;
        f.images[0].compression = k.compression;
        f.images[0].stored = f.images[0].actual = k.bits;
        f.images[0].data = std::string(100, 'x');
        CFILE* c = open_made(bytes_of(f.file()));
        expect_fields(c, {{3, k.format}, {501, k.field_501}, {1, 10}});
        uint8_t line[64];
        EXPECT_EQ(refusal(c, rzl_getline(c, line)), RZL_UNSUP_NITF) << k.compression;
        rzl_close(c);
    }
    nitf_parts f;
    f.images[0].data = std::string(30, 'x');
    f.images[0].sync = "1";
    EXPECT_EQ(read_made(bytes_of(f.file())).status, RZL_UNSUP_NITF);
}

TEST_F(Nitf, BlocksAndLinesThatDoNotCome) {
    // Blocks in any order, some of them never; lines that have not come.
    CFILE* c = new_file(path("a"), 12, 2, 6, 6, {{100, 4}, {101, 1}, {102, 9}});
    EXPECT_TRUE(field_of(c, 101) == 1 && field_of(c, 102) == 9) << "as told, until the header is written";
    bytes_of_file block(16, 'z');
    const void* planes[1] = {block.data()};
    EXPECT_TRUE(rzl_seek(c, 2) == 0 && rzl_puttile(c, 1, planes) == 0 && rzl_seek(c, 0) == 0 &&
                rzl_puttile(c, 1, planes) == 0);
    EXPECT_EQ(rzl_seek(c, 4), 0);
    EXPECT_EQ(refusal(c, rzl_puttile(c, 1, planes)), RZL_PAST_END);
    EXPECT_EQ(rzl_finish(c), 0u);
    std::string expected;
    for (int y = 0; y < 6; ++y)
        expected += std::string("zzzz\0\0", 6);
    EXPECT_EQ(read_plane(path("a")).values, bytes_of(expected));
    c = new_file(path("a"), 12, 2, 4, 5, {{100, 0}, {5, 0}});
    EXPECT_EQ(put_lines(c, 2, bytes_of("aaaabbbb")), 0u);
    EXPECT_EQ(rzl_finish(c), 0u);
    const picture p = read_plane(path("a"));
    EXPECT_TRUE(p.status == RZL_READ_FAILED && p.values == bytes_of("aaaabbbb"));
}

// A sparse file of 20 GB: an image of nines in its length has what the file has.
TEST_F(Nitf, AHugeFile) {
    nitf_parts f;
    nitf_image_parts& i = f.images[0];
    i.width = i.height = 143360;
    i.across = i.down = 140;
    i.block_width = i.block_height = 1024;
    i.length = 9999999999;
    const std::string head = f.file();
    write("a", head);
    const auto data = static_cast<int64_t>(head.size());
    std::filesystem::resize_file(path("a"), static_cast<uintmax_t>(data + int64_t{143360} * 143360));
    std::fstream file(path("a"), std::ios::binary | std::ios::in | std::ios::out);
    file.seekp(data + int64_t{19599} * 1024 * 1024);
    file << "mark";
    file.close();
    CFILE* c = opened(rzl_open_r(path("a").c_str()));
    bytes_of_file block(1024 * 1024);
    void* planes[1] = {block.data()};
    EXPECT_TRUE(rzl_seek(c, 19599) == 0 && rzl_gettile(c, 1, planes, nullptr) == 0);
    EXPECT_EQ(std::string(block.begin(), block.begin() + 4), "mark");
    EXPECT_TRUE(rzl_seek(c, 0) == 0 && rzl_gettile(c, 1, planes, nullptr) == 0 && block[0] == 0);
    rzl_close(c);
}

TEST_F(Nitf, WritingIsRefused) {
    for (auto [format, status] :
         {std::pair(1, RZL_UNSUP_NITF), {9, RZL_UNSUP_NITF}, {29, RZL_UNSUP_NITF}, {28, RZL_NOT_STANDARD}}) {
        EXPECT_EQ(refused(new_file(path("a"), 12, format, 8, 8)), status) << format;
    }
    for (auto [field, value] : {std::pair(6, 257), {100, 10000}, {101, -1}, {402, 1000}, {1, 100000000}})
        EXPECT_EQ(new_file(path("a"), 12, 2, 8, 8, {{field, value}}), nullptr) << field;
    for (auto [width, height, field, value] : {std::tuple(8, 8, 507, 12), {99999999, 10, 100, 16}, {8, 8, 506, 3}}) {
        CFILE* c = new_file(path("a"), 12, 2, width, height, {{field, value}});
        EXPECT_TRUE(rzl_write_header(c) == 1 && c->status != 0) << width;
        rzl_close(c);
    }
    CFILE* c = new_file(path("a"), 12, 2, 2, 1, {{402, 3}});
    EXPECT_EQ(refusal(c, rzl_set_active_image(c, 1)), RZL_NO_SUCH_IMAGE) << "the first has not come";
    EXPECT_EQ(put_lines(c, 1, bytes_of("ab")), 0u);
    EXPECT_TRUE(rzl_set_active_image(c, 2) == 1 && rzl_set_active_image(c, 1) == 0 && rzl_set_active_image(c, 0) == 1);
    EXPECT_EQ(rzl_finish(c), RZL_WRITE_FAILED) << "two of three images are missing";
}

TEST_F(Nitf, BadInput) {
    nitf_parts f;
    f.images[0].data = std::string(30, 'x');
    const std::string good = f.file();
    auto at = [&](const std::string& word) { return good.find(word); };
    const size_t lengths = at("001" + digits(static_cast<int>(f.images[0].subheader().size()), 6));
    const size_t sub = at("IMid");
    const size_t blocks = at("NC1") + 2 + 1 + 13;
    auto put = [](const char* word) { return bytes_of(word); };
    expect_refused(bytes_of(good),
                   {
                       {"another version", 7, put("10"), RZL_UNSUP_NITF},
                       {"images that are no number", lengths, put("a01"), RZL_READ_FAILED},
                       {"no images", lengths, put("000"), RZL_UNSUP_NITF},
                       {"more images than there are", lengths, put("999"), RZL_READ_FAILED},
                       {"a header longer than the file", lengths - 6, put("999999"), RZL_READ_FAILED},
                       {"a header shorter than it is", lengths - 6, put("000100"), RZL_READ_FAILED},
                       {"a header of no length", lengths - 6, put("abcdef"), RZL_READ_FAILED},
                       {"a subheader shorter than it is", lengths + 3, put("000100"), RZL_READ_FAILED},
                       {"an image shorter than its lines", lengths + 9, put("0000000029"), RZL_READ_FAILED},
                       {"symbols without lengths", lengths + 19, put("999"), RZL_READ_FAILED},
                       {"user data past the end", lengths + 34, put("99999"), RZL_READ_FAILED},
                       {"no columns", sub + 341, put("00000000"), RZL_READ_FAILED},
                       {"rows that are no number", sub + 333, put("        "), RZL_READ_FAILED},
                       {"more lines than there are", sub + 333, put("00000004"), RZL_READ_FAILED},
                       {"comments past the end", at("NC1") - 1, put("9"), RZL_READ_FAILED},
                       {"tables past the end", blocks - 1, put("99999999"), RZL_READ_FAILED},
                       {"blocks of two sizes", blocks + 2, put("0002000100080004"), RZL_UNSUP_NITF},
                       {"blocks of no size", blocks + 2, put("0002000100000000"), RZL_UNSUP_NITF},
                       {"too few blocks", blocks + 2, put("0002000100040004"), RZL_READ_FAILED},
                       {"too many blocks", blocks + 2, put("9999999900040004"), RZL_READ_FAILED},
                   });
    expect_cuts_tell(bytes_of(good), 0, good.size(), 13, true);
    // Twice as large as told; an image without an end has what the file has.
    f.images[0].length = 9999999999;
    EXPECT_EQ(read_made(bytes_of(f.file())).status, 0u);
    f.images[0].length = 0;
    EXPECT_EQ(read_made(bytes_of(f.file())).lines, 0);
}
