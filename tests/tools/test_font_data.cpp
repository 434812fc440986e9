// The fonts and symbols of the product: all that the forms ask for is there, whole, and made from its sources.
#include <set>

#include "common/places.h"
#include "tools_fixture.h"

namespace {

const std::string product = source_dir() + "/data/";

bytes content(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return bytes(std::istreambuf_iterator<char>(file), {});
}

class FontData : public ToolsFixture {};

int line_height(int body) {
    return (body * 12 + 5) / 10; // 1.2 times
}

// The font at the line height that a body size leads to, by its long name.
int load_body(const std::string& family, int body) {
    int id = -1;
    std::string name = family + "." + std::to_string(line_height(body));
    EXPECT_EQ(Load_symbol_file((product + "fonts/" + name).c_str(), &id), 0) << name;
    return id;
}

// The rows of a glyph, and where it stands, as one value that tells glyphs apart.
bytes look(const font_glyph* glyph) {
    size_t size = (size_t{glyph->width} + 7) / 8 * glyph->height;
    bytes all(glyph->rows, glyph->rows + size);
    all.insert(all.end(), {glyph->width, glyph->y_offset});
    return all;
}

} // namespace

TEST_F(FontData, EveryFamilyHasEveryBodySize) {
    for (const std::string family : {"dutch801", "mono821", "mono821b", "swiss742b"}) {
        for (int body : {10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 27, 30, 36, 42, 48, 53}) {
            SCOPED_TRACE(family + " " + std::to_string(body));
            int id = load_body(family, body);
            int height = 0;
            int width = 0;
            ASSERT_EQ(Inq_font_size(id, &height, &width, nullptr), 0);
            EXPECT_EQ(height, line_height(body));
            std::set<bytes> looks;
            for (int code = '!'; code <= '~'; ++code) {
                const font_glyph* glyph = font_find_glyph(id, static_cast<uint8_t>(code));
                ASSERT_NE(glyph, nullptr) << code;
                EXPECT_LE(glyph->y_offset + glyph->height, height) << code;
                bool alike = code == 'l' && family == "swiss742b"; // as the capital I
                EXPECT_TRUE(looks.insert(look(glyph)).second || alike) << "looks like another: " << code;
            }
            for (int code = 0xA1; code <= 0xFF; ++code)
                EXPECT_NE(font_find_glyph(id, static_cast<uint8_t>(code)), nullptr) << code;
            ASSERT_NE(font_find_glyph(id, ' '), nullptr);
            if (family.compare(0, 4, "mono") != 0) continue;
            for (int code = ' '; code <= 255; ++code) {
                const font_glyph* glyph = font_find_glyph(id, static_cast<uint8_t>(code));
                if (glyph == nullptr) continue;
                EXPECT_EQ(glyph->advance, width) << code;
                EXPECT_TRUE(glyph->x_offset >= 0 && glyph->x_offset + glyph->width <= width) << code;
            }
        }
    }
}

TEST_F(FontData, SymbolsAreThereAndMadeFromTheirText) {
    std::string symbols = product + "vantor/FIsym";
    int id = -1;
    ASSERT_EQ(Load_symbol_file(symbols.c_str(), &id), 0);
    for (int number : {4,  5,  6,  7,  8,  9,  10, 11, 12, 16, 19, 20, 21, 22, 30,
                       31, 36, 40, 41, 42, 43, 44, 45, 46, 47, 48, 49, 50, 51}) {
        const font_glyph* small = font_find_glyph(id, static_cast<uint8_t>(number));
        const font_glyph* large = font_find_glyph(id, static_cast<uint8_t>(number + LARGE_SYMBOL));
        ASSERT_TRUE(small != nullptr && large != nullptr) << number;
        // Arrows go into buttons of 12 by 18 pixels less a bevel, marks into a box of 16, others into buttons of 24.
        int room = number <= 7 || (number >= 19 && number <= 31) ? 14 : (number == 16 || number == 36 ? 16 : 24);
        EXPECT_LE(std::max(small->width, small->height), room) << number;
        for (auto [once, twice] : {std::pair(small->width, large->width), std::pair(small->height, large->height)})
            EXPECT_NEAR(2 * once, twice, 4) << number;
    }
    ASSERT_EQ(Load_symbol_file((product + "vantor/collapse.icon").c_str(), &id), 0);
    ASSERT_NE(font_find_glyph(id, 0), nullptr);
    for (auto [text, file] : {std::pair("FIsym.txt", "FIsym"), std::pair("collapse.txt", "collapse.icon")}) {
        std::string made = directory + "/" + file;
        std::string command = bin_dir() + "/make-symbols " + source_dir() + "/data-src/";
        command.append(text).append(" ").append(made);
        ASSERT_EQ(std::system(command.c_str()), 0);
        EXPECT_EQ(content(made), content(product + "vantor/" + file));
    }
}
