// CALS files: the header of text, the interchange of binary elements made by hand, tiles, and bad input.
#include <numeric>

#include "raster/formats_fixture.h"

using Cals = FormatTest;

namespace {

// ---- files made by hand

std::string record(const std::string& text) {
    return text + std::string(128 - text.size(), ' ');
}

std::string header_b(int type, const std::string& size, const std::string& rotation = "000,270") {
    std::string h;
    for (const std::string& line :
         {std::string("specversion: MIL-R-28002B, 1, 19930930"), std::string("srcdocid: drawing 7"),
          std::string("dstdocid:NONE"), std::string("datfilid: NONE"), std::string("moduleid: NONE"),
          "dtype: " + std::to_string(type), "rorient: " + rotation, "rpelcnt: " + size, std::string("rdensty: 0200"),
          std::string("didid: NONE"), std::string("doccls: NONE"), std::string("fosipubid: NONE"),
          std::string("notes: a note"), std::string(), std::string("no colon"), std::string()})
        h += record(line);
    return h;
}

std::string element(int tag, const std::string& value) {
    std::string head(1, static_cast<char>(tag));
    if (value.size() < 128) return head + static_cast<char>(value.size()) + value;
    if (value.size() < 256) return head + '\x81' + static_cast<char>(value.size()) + value;
    return head + '\x82' + static_cast<char>(value.size() >> 8) + static_cast<char>(value.size() & 255) + value;
}

std::string number(int tag, int value) {
    const std::string bytes = {static_cast<char>(value >> 16), static_cast<char>(value >> 8), static_cast<char>(value)};
    return element(tag, bytes);
}

// The bits of a text of 0 and 1, first bit first.
std::string bits(const std::string& text) {
    std::string out((text.size() + 7) / 8, '\0');
    for (size_t i = 0; i < text.size(); ++i)
        if (text[i] == '1') out[i / 8] = static_cast<char>(out[i / 8] | 0x80 >> i % 8);
    return out;
}

const std::string END_OF_BLOCK = "000000000001000000000001";

// 512 lines of 256 black pixels and 256 white ones: a horizontal code of 0 white and 256 black, then three codes a line
// that say "as above".
std::string half_black_code() {
    return bits("001"
                "00110101"
                "000001011011"
                "0000110111"
                "1" +
                std::string(511 * 3, '1') + END_OF_BLOCK);
}
std::string white_code(int lines) {
    return bits(std::string(static_cast<size_t>(lines), '1') + END_OF_BLOCK);
}

struct interchange {
    std::string profile = element(0xA0, element(0x81, "1") + element(0x86, std::string(1, '\0')));
    std::string root = element(0xA2, number(0x02, 0).replace(1, 4, std::string("\1\0", 2)) +
                                         element(0x31, element(0xA0, element(0x12, "1 0"))));
    std::string page = element(0xA2, std::string("\2\1\2", 3) + element(0x31, ""));
    std::string raster; // attributes of the pixels
    std::string size;   // of the content's details
    std::string kinds;
    int coding = 5;
    std::string content;

    std::string block() const {
        return element(0xA2, std::string("\2\1\4", 3) + element(0x31, element(0xA6, element(0xA1, raster))));
    }
    std::string file() const {
        std::string table;
        for (char kind : kinds)
            table += element(0x02, std::string(1, kind));
        const std::string details = size + (kinds.empty() ? "" : element(0xA9, table));
        const std::string attributes =
            element(0x86, std::string("\x58\3\7", 3) + static_cast<char>(coding)) + element(0xA2, details);
        return profile + root + page + block() + std::string("\xA3\x80", 2) + element(0x31, attributes) + content +
               std::string(2, '\0');
    }
};

bytes_of_file code_of_type_1() {
    return bytes_of(header_b(1, "512,512") + half_black_code());
}

// Pixels of the tile at a column and row of tiles, by its kind.
bool tile_pixel(int kind, int x, int y) {
    switch (kind) {
    case 0: return false;
    case 1: return true;
    case 5: return (x / 8 + y) % 2 == 0;
    default: return x < 256;
    }
}

std::string reversed_bytes(std::string text) {
    for (char& c : text)
        c = static_cast<char>(reversed_bits(static_cast<uint8_t>(c)));
    return text;
}

std::string plain_tile() {
    std::string rows;
    for (int y = 0; y < 512; ++y)
        for (int b = 0; b < 64; ++b)
            rows += (b + y) % 2 == 0 ? '\xFF' : '\0';
    return rows;
}

// A tiled image of 1000 by 600 pixels with a tile of each kind, in 2 by 2 tiles.
interchange tiled_image(const std::string& kinds) {
    interchange i;
    i.size = number(0x80, 1000) + number(0x81, 600);
    i.kinds = kinds;
    i.content = std::string("\x24\x80", 2);
    for (char kind : kinds) {
        if (kind == 5) i.content += element(0x04, plain_tile());
        if (kind == 2) i.content += element(0x04, reversed_bytes(half_black_code()));
        if (kind == 6) i.content += element(0x30, element(0x04, half_black_code()));
    }
    i.content += std::string(2, '\0');
    return i;
}

bytes_of_file tiled_words(const std::string& kinds) {
    bytes_of_file pixels;
    for (int y = 0; y < 600; ++y)
        for (int x = 0; x < 1000; ++x)
            pixels.push_back(tile_pixel(kinds[static_cast<size_t>(y / 512 * 2 + x / 512)], x % 512, y % 512) ? 1 : 0);
    return words_of(pixels, 1000, 600);
}

} // namespace

TEST_F(Cals, TheHeaderOfText) {
    CFILE* c = open_made(code_of_type_1());
    expect_fields(c, {{1, 512}, {2, 512}, {3, 24}, {500, 11}, {8, -200}, {9, 4}, {670, 1}, {644, 'B'}});
    EXPECT_EQ(text_of(c, 640), "drawing 7");
    EXPECT_EQ(text_of(c, 641), "NONE");
    EXPECT_EQ(text_of(c, 643), "a note");
    EXPECT_DOUBLE_EQ(number_of(c, 671), 3.3);
    EXPECT_EQ(number_of(c, 4), 0);
    char room[128];
    EXPECT_EQ(refusal(c, rzl_get_hdr_data(c, 645, room)), RZL_BAD_FIELD_ID);
    bytes_of_file half;
    for (int i = 0; i < 512 * 512; ++i)
        half.push_back(i % 512 < 256 ? 1 : 0);
    EXPECT_TRUE(read_plane(c).values == words_of(half, 512, 512));
    rzl_close(c);
    const char* rotations[] = {"270, 90", "270,270", " 90,270", " 90, 90", "  0,270", "180, 90", "  0, 90", "180,270"};
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(read_made(bytes_of(header_b(1, "8,8", rotations[i]) + white_code(8))).orientation, i);
    }
}

TEST_F(Cals, TheBytesOfAHeader) {
    CFILE* c = new_file(path("a"), 11, 24, 16, 2, {{644, 'A'}, {8, 127}, {9, 6}});
    EXPECT_TRUE(rzl_set_hdr_data(c, 646, "fig 3") == 0 && rzl_set_hdr_data(c, 669, "x") == 1);
    EXPECT_EQ(put_lines(c, 2, {0, 0, 0, 0}), 0u);
    EXPECT_EQ(rzl_finish(c), 0u);
    std::string expected;
    for (const char* line : {"srcdocid: none ", "dstdocid: none ", "txtfilid: none ", "figid: fig 3", "srcgph: none ",
                             "doccls: none ", "rtype: 1   ", "rorient:   0, 90", "rpelcnt:     16,     2",
                             "rdensty:  200", "notes: none ", "", "", "", "", ""})
        expected += record(line);
    // Two lines as the white one above, and the end of the block, which fills up 32 bits.
    EXPECT_EQ(read_bytes(path("a")), joined(bytes_of(expected), hex("C0040040")));
    c = new_file(path("a"), 11, 24, 1234567, 1, {});
    for (auto [field, text] : {std::pair(640, "from"), {667, "mod"}, {668, "item"}, {669, "pub"}, {649, "data"}})
        EXPECT_EQ(rzl_set_hdr_data(c, field, text), 0);
    EXPECT_EQ(rzl_set_hdr_data(c, 640, std::string(127, 'x').c_str()), 1) << "longer than its record";
    EXPECT_EQ(rzl_write_header(c), 0);
    rzl_close(c);
    const std::string b = read(path("a"));
    EXPECT_EQ(b.substr(0, 256), record("specversion: MIL-R-28002B, 1, 19930930") + record("srcdocid: from"));
    EXPECT_EQ(b.substr(7 * 128, 128), record("rpelcnt: 1234567,     1"));
}

TEST_F(Cals, FieldsOfANewFile) {
    CFILE* c = new_file(path("a"), 11, 24, 1000, 700);
    EXPECT_TRUE(set_field_to(c, 670, 2) == 1 && c->status == RZL_ONLY_TILED);
    EXPECT_TRUE(set_field_to(c, 100, 256) == 1 && c->status == RZL_BAD_TILE_SIZE && field_of(c, 100) == 0);
    EXPECT_TRUE(set_field_to(c, 100, 512) == 0 && set_field_to(c, 670, 2) == 0 && field_of(c, 100) == 512);
    EXPECT_TRUE(field_of(c, 101) == 2 && field_of(c, 102) == 2);
    for (auto [level, stored] : {std::pair(3.2, 3.2), {3.4, 3.3}, {0.0, 3.3}})
        EXPECT_TRUE(rzl_set_hdr_data(c, 671, &level) == 0 && std::abs(number_of(c, 671) - stored) < 1e-9);
    EXPECT_EQ(rzl_set_hdr_data(c, 643, "kept"), 0);
    EXPECT_TRUE(set_field_to(c, 644, 'C') == 1 && c->status == RZL_BAD_FIELD_ID && text_of(c, 643) == "kept");
    EXPECT_TRUE(set_field_to(c, 644, 'A') == 0 && text_of(c, 643) == "none ");
    EXPECT_TRUE(set_field_to(c, 3, 2) == 1 && c->status == RZL_NOT_STANDARD);
    EXPECT_TRUE(set_field_to(c, 402, 1) == 0 && set_field_to(c, 402, 2) == 1 && c->status == RZL_NO_SUCH_IMAGE);
    const double pair[3] = {0, 7.9, 5};
    double got[3] = {};
    EXPECT_TRUE(rzl_set_hdr_data(c, 28, pair) == 0 && rzl_get_hdr_data(c, 28, got) == 0 && got[0] == 1 && got[1] == 7);
    EXPECT_TRUE(rzl_set_hdr_data(c, 27, pair) == 0 && rzl_get_hdr_data(c, 27, got) == 0 && got[0] == 0 && got[1] == 7);
    EXPECT_TRUE(set_field_to(c, 8, -72) == 0 && field_of(c, 8) == -72 && set_field_to(c, 8, 254) == 0);
    EXPECT_EQ(field_of(c, 8), -100);
    rzl_close(c);
}

// Every field that a file of type 2 carries comes back.
TEST_F(Cals, FieldsComeBack) {
    CFILE* c = new_file(path("a"), 11, 24, 600, 600, {{100, 512}, {8, -317}, {9, 7}});
    const double aspect = 1.25;
    const double clip[3] = {30, 40, 0};
    const double offset[3] = {5, 0, 0};
    EXPECT_TRUE(rzl_set_hdr_data(c, 26, &aspect) == 0 && rzl_set_hdr_data(c, 27, clip) == 0);
    EXPECT_TRUE(rzl_set_hdr_data(c, 28, offset) == 0 && rzl_set_hdr_data(c, 673, "who") == 0);
    EXPECT_TRUE(rzl_set_hdr_data(c, 672, "ref 672") == 0 && rzl_set_hdr_data(c, 674, "why") == 0);
    EXPECT_EQ(put_lines(c, 600, bytes_of_file(600 * 76)), 0u);
    EXPECT_EQ(rzl_finish(c), 0u);
    const std::string text = read(path("a"));
    for (const char* word : {"ref 672", "\x8E\x03who", "\x88\x03why"})
        EXPECT_NE(text.find(word), std::string::npos) << word;
    EXPECT_EQ(text.substr(2048, 2), "\xA0\x81");
    EXPECT_EQ(text.substr(text.size() - 4), std::string(4, '\0'));
    c = opened(rzl_open_r(path("a").c_str()));
    double got[3] = {};
    EXPECT_TRUE(field_of(c, 8) == -317 && field_of(c, 9) == 7 && number_of(c, 26) == 1.25);
    EXPECT_TRUE(rzl_get_hdr_data(c, 27, got) == 0 && got[0] == 30 && got[1] == 40);
    EXPECT_TRUE(rzl_get_hdr_data(c, 28, got) == 0 && got[0] == 5 && got[1] == 1);
    EXPECT_DOUBLE_EQ(number_of(c, 671), 3.3);
    rzl_close(c);
}

TEST_F(Cals, TilesOfEveryKind) {
    for (const std::string& kinds : {std::string("\5\2\6\1"), std::string("\0\1\2\5", 4), std::string("\6\6\0\6", 4)}) {
        for (bool with_header : {false, true}) {
            const std::string file = (with_header ? header_b(2, "1000,600") : "") + tiled_image(kinds).file();
            picture p = read_made(bytes_of(file));
            EXPECT_TRUE(p.status == 0 && !p.damaged) << rzl_status_name(p.status);
            for (size_t y = 0; y < 600; ++y)
                p.values[y * 126 + 124] = 0; // what a tile has right of the image
            EXPECT_TRUE(p.values == tiled_words(kinds));
        }
        CFILE* c = rzl_open_r(path("made").c_str());
        bytes_of_file tile(512 * 64);
        void* planes[1] = {tile.data()};
        for (int i : {3, 0, 2, 1}) {
            EXPECT_TRUE(rzl_seek(c, i) == 0 && rzl_gettile(c, 1, planes, nullptr) == 0);
            const int kind = kinds[static_cast<size_t>(i)];
            EXPECT_EQ((tile[1] & 0x80) != 0, tile_pixel(kind, 0, 0)) << kind;
            EXPECT_EQ((tile[64 + 62] & 1) != 0, tile_pixel(kind, 511, 1)) << kind;
            int32_t uniform = 7;
            tile[0] = 0x5A;
            EXPECT_TRUE(rzl_seek(c, i) == 0 && rzl_gettile(c, 1, planes, &uniform) == 0);
            EXPECT_EQ(uniform, kind == 0 ? 0 : (kind == 1 ? 255 : -1));
            EXPECT_EQ(tile[0] == 0x5A, kind < 2);
            std::vector<uint16_t> runs(512 * 520);
            auto size = static_cast<int32_t>(runs.size() * 2);
            EXPECT_TRUE(rzl_seek(c, i) == 0 && rzl_get_rle_tile(c, runs.data(), &size, &uniform) == 0);
            EXPECT_EQ(runs[0] == 0, tile_pixel(kind, 0, 0));
            size = 8;
            EXPECT_EQ(rzl_seek(c, i), 0);
            EXPECT_EQ(refusal(c, rzl_get_rle_tile(c, runs.data(), &size, &uniform)), RZL_RLE_BUFFER_SMALL);
            EXPECT_GE(size, 512 * 2);
        }
        void* three[3] = {tile.data(), tile.data(), tile.data()};
        EXPECT_TRUE(rzl_seek(c, 0) == 0 && rzl_gettile(c, 3, three, nullptr) == 1 && c->status == RZL_UNSUP_CALS);
        rzl_close(c);
    }
    interchange i = tiled_image(std::string("\6\6\6\6"));
    i.kinds.clear(); // by the coding
    EXPECT_TRUE(read_made(bytes_of(i.file())).values == tiled_words("\6\6\6\6"));
    i.root = element(
        0xA2, std::string("\2\1\0", 3) +
                  element(0x31, element(0xA0, element(0x12, "1 0") + element(0x12, "1 1")) + element(0x99, "0")));
    CFILE* c = open_made(bytes_of(i.file()));
    EXPECT_TRUE(has_flag(c, FLAG_MULTI_IMAGE) && field_of(c, 402) == 1 && std::abs(number_of(c, 671) - 3.3) < 1e-9);
    rzl_close(c);
}

// Sizes that only the page tells: lines are counted, and no more than the page has.
TEST_F(Cals, TheSizeOfThePage) {
    interchange i;
    i.coding = 6;
    i.raster = element(0x82, "\1"); // 200 dots an inch
    i.page =
        element(0xA2, std::string("\2\1\2", 3) + element(0x31, element(0xA4, number(0x80, 120) + number(0x80, 240))));
    i.content = element(0x04, white_code(9));
    picture p = read_made(bytes_of(i.file()));
    EXPECT_TRUE(p.status == 0 && p.width == 20 && p.height == 9 && !p.damaged);
    i.content = element(0x04, white_code(60));
    EXPECT_EQ(read_made(bytes_of(i.file())).height, 40);
    i.coding = 3;
    i.content = element(0x04, std::string(7 * 4, '\xFF'));
    p = read_made(bytes_of(i.file()));
    EXPECT_TRUE(p.height == 7 && p.format == 1 && p.values[1] == 0xFF && p.values[2] == 0);
    i.coding = 6;
    i.page = interchange().page;
    i.content = element(0x04, white_code(9));
    p = read_made(bytes_of(i.file()));
    EXPECT_TRUE(p.width == 1540 && p.height == 9);
}

TEST_F(Cals, LinesAsRuns) {
    const int width = 700;
    const int height = 90;
    const bytes_of_file words = words_of(some_samples(width * height, 2, 3), width, height);
    for (int tile : {0, 512}) {
        ASSERT_EQ(write_picture(path("a"), 11, 24, width, height, words, {{100, tile}}), 0u);
        CFILE* c = rzl_open_r(path("a").c_str());
        bytes_of_file line(88);
        for (int y : {89, 0, 44}) {
            EXPECT_EQ(rzl_seek(c, y), 0);
            const std::vector<uint16_t> runs = next_runs(c);
            EXPECT_EQ(std::accumulate(runs.begin(), runs.end(), 0), width);
            EXPECT_EQ(runs.size() % 2, 1u);
        }
        EXPECT_TRUE(tile != 0 || rzl_getline3(c, line.data(), line.data(), line.data()) == 1);
        rzl_close(c);
    }
    CFILE* c = new_file(path("a"), 11, 24, 20, 2);
    const uint16_t runs[] = {5, 10, 5};
    EXPECT_EQ(rzl_put_rle_line(c, runs, 6), 0);
    EXPECT_EQ(refusal(c, rzl_put_rle_line(c, runs, 4)), RZL_BAD_FIELD_VALUE);
    EXPECT_TRUE(rzl_seek(c, 1) == 0 && rzl_put_rle_line(c, runs, 6) == 0);
    EXPECT_EQ(refusal(c, rzl_put_rle_line(c, runs, 6)), RZL_PAST_END);
    EXPECT_EQ(rzl_finish(c), 0u);
    EXPECT_EQ(read_plane(path("a")).values, hex("FE070000 FE070000"));
}

TEST_F(Cals, BadInput) {
    const bytes_of_file text = code_of_type_1();
    auto in = [](const char* words) { return bytes_of(words); };
    expect_refused(
        text, {
                  {"a key that there is not", 128 * 2, in("dstdocix"), RZL_BAD_FIELD_ID},
                  {"a key of the other variant", 128 * 3, in("figid:  "), RZL_BAD_FIELD_ID},
                  {"no type", 128 * 5, in("notes:  "), RZL_NOT_STANDARD_2},
                  {"no rotation", 128 * 6, in("notes:         "), RZL_NOT_STANDARD_2},
                  {"a rotation that there is not", 128 * 6, in("rorient: 45,270"), RZL_BAD_FIELD_VALUE},
                  {"a rotation of one number", 128 * 6, in("rorient: 000 270"), RZL_BAD_FIELD_VALUE},
                  {"no size", 128 * 7, in("notes:          "), RZL_NOT_STANDARD_2},
                  {"a width of 0", 128 * 7, in("rpelcnt: 000,512"), RZL_BAD_FIELD_VALUE},
                  {"a width that is no number", 128 * 7, in("rpelcnt: abc,512"), RZL_BAD_FIELD_VALUE},
                  {"a height below 0", 128 * 7, in("rpelcnt: 512,-12"), RZL_BAD_FIELD_VALUE},
                  {"a width past all numbers", 128 * 7, in("rpelcnt: 99999999999999999999,1"), RZL_BAD_FIELD_VALUE},
              });
    expect_cuts_tell(text, 0, text.size(), 97, true);

    const interchange good = tiled_image(std::string("\5\2\6\1"));
    struct {
        const char* what;
        std::function<void(interchange*)> change;
    } cases[] = {
        {"a profile of 512 bytes", [](interchange* i) { i->profile = element(0xA0, std::string(512, '\0')); }},
        {"an element past its element", [](interchange* i) { i->profile[3] = 100; }},
        {"an indefinite form in an element", [](interchange* i) { i->profile[3] = '\x80'; }},
        {"a length of 127 bytes", [](interchange* i) { i->profile[3] = '\xFF'; }},
        {"a root that is none", [](interchange* i) { i->root[4] = 1; }},
        {"no root", [](interchange* i) { i->root.clear(); }},
        {"two roots", [](interchange* i) { i->root += i->root; }},
        {"a density that there is not", [](interchange* i) { i->raster = element(0x82, "\7"); }},
        {"a spacing of 0",
         [](interchange* i) { i->raster = element(0xA5, element(0xA0, number(2, 0) + number(2, 1))); }},
        {"a path that there is not", [](interchange* i) { i->raster = element(0x80, "\4"); }},
        {"a ratio of 0", [](interchange* i) { i->raster = element(0xA6, number(2, 0) + number(2, 1)); }},
        {"another coding", [](interchange* i) { i->coding = 4; }},
        {"a width below 0", [](interchange* i) { i->size = element(0x80, "\xFF") + number(0x81, 600); }},
        {"a width of 5 bytes", [](interchange* i) { i->size = element(0x80, std::string("\x7F\1\1\1\1\1", 6)); }},
        {"tiles of another size", [](interchange* i) { i->size += number(0x86, 256) + number(0x87, 512); }},
        {"tiles that begin elsewhere", [](interchange* i) { i->size += element(0xA8, number(2, 1) + number(2, 0)); }},
        {"a table cut", [](interchange* i) { i->size += element(0xA9, "\2\1"); }},
        {"no content", [](interchange* i) { i->content = std::string(2, '\0'); }},
    };
    for (const auto& k : cases) {
        interchange i = good;
        k.change(&i);
        EXPECT_EQ(read_made(bytes_of(i.file())).status, RZL_NOT_STANDARD_2) << k.what;
    }
    EXPECT_EQ(read_made(bytes_of(good.file())).status, 0u);
    // Tiles that are missing, and endless sequences around one.
    interchange i = good;
    i.content = std::string("\x24\x80", 2) + element(0x04, plain_tile());
    EXPECT_TRUE(read_made(bytes_of(i.file())).damaged);
    i.content = std::string(2000, '\x24') + std::string(2000, '\x80');
    EXPECT_TRUE(read_made(bytes_of(i.file())).damaged);
    i.content = std::string("\x24\x80\x04\x84\x7F\xFF\xFF\xFF", 8);
    EXPECT_TRUE(read_made(bytes_of(i.file())).damaged);
    const bytes_of_file whole = bytes_of(good.file());
    expect_cuts_tell(whole, 0, whole.size(), 331, true);
    for (const char byte : {'\0', 'x'}) {
        write_bytes(path("a"), bytes_of(std::string(2048, byte)));
        EXPECT_EQ(rzl_open_r(path("a").c_str()), nullptr);
    }
}

TEST_F(Cals, WritingIsRefused) {
    CFILE* c = new_file(path("a"), 11, 24, 600, 600, {{100, 512}, {670, 1}});
    EXPECT_TRUE(rzl_write_header(c) == 1 && c->status == RZL_UNSUP_CALS) << "no tiles in one code";
    rzl_close(c);
    c = new_file(path("a"), 11, 24, 600, 600, {{100, 512}});
    bytes_of_file tile(512 * 64);
    const void* planes[1] = {tile.data()};
    EXPECT_EQ(rzl_seek(c, 1), 0);
    EXPECT_EQ(refusal(c, rzl_puttile(c, 1, planes)), RZL_MODIFY_COMPRESSED);
    EXPECT_TRUE(rzl_seek(c, 0) == 0 && rzl_puttile(c, 1, planes) == 0 && rzl_puttile(c, 1, planes) == 0);
    EXPECT_EQ(refusal(c, rzl_put_rle_line(c, "ab", 2)), RZL_UNSUP_CALS);
    rzl_close(c);
    c = new_file(path("a"), 11, 24, 16, 3);
    EXPECT_EQ(put_lines(c, 2, {1, 2, 3, 4}), 0u);
    EXPECT_EQ(rzl_finish(c), 0u) << "lines that have come are kept";
    const picture p = read_plane(path("a"));
    EXPECT_TRUE(p.damaged && p.values == bytes_of_file({1, 2, 3, 4, 0, 0}));
    for (int format : {1, 24}) { // in the row of tiles that they began
        c = new_file(path("a"), 11, format, 16, 513, {{100, 512}});
        EXPECT_EQ(put_lines(c, 2, {1, 2, 3, 4}), 0u);
        EXPECT_EQ(rzl_finish(c), 0u);
        EXPECT_EQ(part(read_plane(path("a")).values, 0, 6), bytes_of_file({1, 2, 3, 4, 0, 0}));
        EXPECT_EQ(part(read_bytes(path("a")), 2048, 26),
                  hex("A0815E 810131 84052B0E0B0101 A50606045802 0702 860100 A816"));
    }
}
