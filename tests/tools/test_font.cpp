// Bitmap fonts: loading, the table of fonts, measures, composed texts, damaged files, failures.
#include "common/failures.h"
#include "common/values.h"
#include "tools_fixture.h"

namespace {

// 'a': 3 by 2 pixels, "#.#" and "##."; 'w': 9 by 1, all set, with bits behind the width set too; ' ': nothing but
// advance; 't': taller than it looks.
const std::vector<test_glyph> letters = {
    {'a', 3, 2, 1, 1, 5, 4, {0x05, 0x03}},
    {'w', 9, 1, -2, 0, 8, 3, {0xFF, 0xFF}},
    {' ', 0, 0, 0, 0, 4, 4, {}},
    {'t', 1, 1, 0, 0, 2, 9, {0x01}},
};

class Font : public ToolsFixture {
protected:
    int load(const bytes& content, const std::string& name = "letters.12") {
        int id = 99;
        int result = Load_symbol_file(write(name, content).c_str(), &id);
        EXPECT_EQ(result, id >= 0 ? 0 : -1);
        return id;
    }
    // The text's mask as rows of '#' for what paints.
    static std::vector<std::string> picture(int id, const std::string& text) {
        text_mask mask;
        std::vector<std::string> rows;
        EXPECT_EQ(font_compose(id, text.c_str(), static_cast<int>(text.size()), &mask), 0);
        for (int y = 0; mask.width > 0 && y < mask.height; ++y) {
            std::string row;
            for (size_t x = 0; x < mask.row_bytes * 8; ++x) {
                uint8_t byte = mask.bits[static_cast<size_t>(y) * mask.row_bytes + x / 8];
                row += (byte >> (7 - x % 8) & 1) != 0 ? '.' : '#';
            }
            rows.push_back(row);
        }
        return rows;
    }
};

} // namespace

TEST_F(Font, OnePathIsLoadedOnceAndTheTableHasAnEnd) {
    int first = load(font_of(letters));
    ASSERT_GE(first, 0);
    EXPECT_EQ(load(font_of({})), first); // the same path, whatever it holds by now
    for (int i = 1; i < FONT_SLOTS; ++i)
        EXPECT_EQ(load(font_of(letters), "f." + std::to_string(i)), i);
    EXPECT_EQ(load(font_of(letters), "f.256"), -1);
    EXPECT_EQ(load(font_of(letters)), first); // still found
    fonts_unload();
    EXPECT_EQ(load(font_of(letters), "f.256"), 0);
}

TEST_F(Font, MeasuresTheLargerOfAdvanceAndPicture) {
    int id = load(font_of(letters));
    int height = 0;
    int width = 0;
    int extra = 7;
    EXPECT_EQ(Inq_font_size(id, &height, &width, &extra), 0);
    EXPECT_EQ((values{height, width, extra}), (values{9, 9, 0}));
    const auto width_of = [id](const char* text, int count) {
        int all = -1;
        return Inq_text_width(id, text, count, &all) == 0 ? all : -1;
    };
    EXPECT_EQ(width_of("a\xFFw ", 4), 5 + 9 + 4);
    EXPECT_EQ(width_of("a", 0) + width_of("a", -3), 0);
    text_mask mask;
    for (int bad : {-1, 1, 256, 300}) {
        EXPECT_EQ(Inq_font_size(bad, &height, &width, nullptr), -1);
        EXPECT_EQ(Inq_text_width(bad, "a", 1, &width), -1);
        EXPECT_EQ(font_compose(bad, "a", 1, &mask), -1);
        EXPECT_EQ(font_find_glyph(bad, 'a'), nullptr);
    }
}

TEST_F(Font, ComposesOneMask) {
    int id = load(font_of(letters));
    // A glyph left of the text begins at its edge, depth makes the box tall, bits behind a width are not drawn.
    EXPECT_EQ(picture(id, "wa"), std::vector<std::string>(
                                     {"#########.......", ".........#.#....", ".........##.....", "................"}));
    // Characters that the font doesn't have move nothing.
    EXPECT_EQ(picture(id, "a\x01z a"), std::vector<std::string>({"................", ".#.#......#.#...",
                                                                 ".##.......##....", "................"}));
    const struct {
        const char* text;
        int length, width;
        size_t row_bytes;
    } cases[] = {{"a", 0, 0, 0}, {"a", -1, 0, 0}, {"zzz", 3, 0, 0}, {"ww", 2, 16, 2}, {"wwt", 3, 18, 4}};
    for (const auto& c : cases) {
        text_mask mask;
        EXPECT_EQ(font_compose(id, c.text, c.length, &mask), 0);
        EXPECT_EQ(mask.width, c.width) << c.text;
        EXPECT_EQ(mask.row_bytes, c.row_bytes) << c.text;
    }
}

// Against one pixel at a time, on random fonts.
TEST_F(Font, ComposesLikeTheSlowWay) {
    srand(11);
    for (int round = 0; round < 40; ++round) {
        std::vector<test_glyph> glyphs;
        for (char code = 'a'; code <= 'h'; ++code) {
            auto width = static_cast<uint8_t>(rand() % 40);
            auto height = static_cast<uint8_t>(rand() % 6);
            bytes bitmap((width + 7U) / 8 * height);
            for (uint8_t& byte : bitmap)
                byte = static_cast<uint8_t>(rand());
            glyphs.push_back({code, width, height, rand() % 9 - 4, static_cast<uint8_t>(rand() % 3),
                              static_cast<uint8_t>(rand() % 40), static_cast<uint8_t>(rand() % 9), bitmap});
        }
        int id = load(font_of(glyphs), "r." + std::to_string(round));
        std::string text;
        for (int i = rand() % 12; i >= 0; --i)
            text += static_cast<char>('a' + rand() % 8);
        std::vector<std::string> rows = picture(id, text);
        size_t width = rows.empty() ? 0 : rows.front().size();
        std::vector<std::string> slow(rows.size(), std::string(width, '.'));
        int pen = 0;
        for (char code : text) {
            const test_glyph& g = glyphs[static_cast<size_t>(code - 'a')];
            for (int y = 0; y < g.height; ++y)
                for (int x = 0; x < g.width; ++x) {
                    uint8_t byte = g.bitmap[static_cast<size_t>(y) * ((g.width + 7U) / 8) + static_cast<size_t>(x) / 8];
                    auto left = static_cast<size_t>(std::max(0, pen + g.x_offset));
                    size_t column = left + static_cast<size_t>(x);
                    if ((byte >> x % 8 & 1) != 0) slow.at(static_cast<size_t>(y) + g.y_offset).at(column) = '#';
                }
            pen += g.advance;
        }
        EXPECT_EQ(rows, slow) << "round " << round;
    }
}

TEST_F(Font, RefusesDamage) {
    bytes good = font_of(letters);
    ASSERT_GE(load(good), 0);
    for (size_t size = 0; size < good.size(); ++size)
        EXPECT_EQ(load(bytes(good.begin(), good.begin() + static_cast<long>(size)), "cut." + std::to_string(size)), -1);
    struct {
        size_t at;
        uint8_t value;
    } damages[] = {
        {0, 'f'},     // no font
        {4, 0},       // a size below the place of the bitmaps
        {7, 1},       // a size far above the file's
        {8, 252},     // the bitmaps inside the index
        {9, 9},       // or behind the file
        {12 + 7, 5},  // a glyph that isn't in the table
        {268 + 1, 1}, // bitmaps behind the area
        {268 + 3, 9}, {268 + 8 * 3, 5},
    };
    for (const auto& damage : damages) {
        bytes bad = good;
        bad[damage.at] = damage.value;
        EXPECT_EQ(load(bad, "bad." + std::to_string(damage.at)), -1) << damage.at;
    }
    bytes longer = good;
    longer.resize(good.size() + 5);
    EXPECT_GE(load(longer, "longer.12"), 0);
    int id = 99;
    EXPECT_EQ(Load_symbol_file((directory + "/none.12").c_str(), &id), -1);
    EXPECT_EQ(id, -1);
}

TEST_F(Font, FailuresLeaveNothingBehind) {
    std::string path = write("letters.12", font_of(letters));
    int id = 99, result = 0;
    // The first allocation is the short name's stream; the path as given is opened then.
    sweep_failures(
        ALL_FAILURES, [&] { result = Load_symbol_file(path.c_str(), &id); },
        [&](bool hit) {
            EXPECT_EQ(result, id);
            EXPECT_TRUE(hit || id == 0);
            fonts_unload();
        });
    ASSERT_EQ(Load_symbol_file(path.c_str(), &id), 0);
    text_mask mask;
    const std::string text(500, 'w');
    for (int length : {2, 500}) { // a smaller buffer serves on
        mem_fail_after(0, mem_fail::once);
        EXPECT_EQ(font_compose(0, text.c_str(), length, &mask), -1);
        EXPECT_TRUE(mem_fail_stop());
        EXPECT_EQ(picture(0, "wa").front(), "#########.......");
    }
}

TEST_F(Font, ASymbolIsReadByItself) {
    bytes file = font_of(letters);
    file[0] = 'X';       // its first characters don't count,
    file[12 + ' '] = 77; // nor does damage elsewhere
    store_u32le(&file[4], 0);
    std::string path = write("FIsym", file);
    symbol_bitmap symbol;
    ASSERT_EQ(symbol_read(path.c_str(), 'a', &symbol), 0);
    EXPECT_EQ((values{symbol.width, symbol.height, symbol.y_offset, symbol.advance}), (values{3, 2, 1, 5}));
    EXPECT_EQ(bytes(symbol.bits, symbol.bits + 3), bytes({5, 3, 0}));
    mem_free(symbol.bits);
    ASSERT_EQ(symbol_read(path.c_str(), 't', &symbol), 0);
    EXPECT_EQ(bytes(symbol.bits, symbol.bits + 3), bytes({1, 0, 0})); // one byte, made even, and one more
    mem_free(symbol.bits);
    for (char number : {'z', ' ', '\0'}) {
        EXPECT_EQ(symbol_read(path.c_str(), static_cast<uint8_t>(number), &symbol), -1);
        EXPECT_EQ(symbol.bits, nullptr);
    }
    int result = 0;
    sweep_failures(
        ALL_FAILURES, [&] { result = symbol_read(path.c_str(), 'a', &symbol); },
        [&](bool) {
            EXPECT_EQ(result == 0, symbol.bits != nullptr);
            mem_free(symbol.bits);
        });
    for (size_t size = 0; size < file.size(); ++size) {
        std::string cut = write("cut", bytes(file.begin(), file.begin() + static_cast<long>(size)));
        EXPECT_EQ(symbol_read(cut.c_str(), 't', &symbol), -1);
    }
}
