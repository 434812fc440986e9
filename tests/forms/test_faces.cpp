// Fonts, symbols and colours of the toolkit.
#include <cmath>

#include "forms/colors.h"
#include "forms/env.h"
#include "forms/fonts.h"
#include "forms/symbols.h"
#include "forms_fixture.h"

namespace {

class Faces : public FormsFixture {
protected:
    // A font file for the path, as good as any.
    void font(const std::string& name) const {
        std::filesystem::copy_file(source_dir() + "/data/fonts/mono821.12", path(name));
    }
    static int size_of(const char* name, int size) {
        int actual = 0;
        uint32_t id = 0;
        return fi_load_font(name, size, &actual, &id) == FI_SUCCESS ? actual : -1;
    }
};

} // namespace

TEST_F(Faces, FontsFallToTheNextSmallerOne) {
    font("test.10");
    font("test.18");
    FI_set_font_path(directory.c_str());
    EXPECT_EQ(size_of("test", 15), 15); // key 18
    EXPECT_EQ(size_of("test", 10), 8);  // 12, 11, 10
    EXPECT_EQ(size_of("test", 14), 8);
    EXPECT_EQ(size_of("test", 100), 15);
    EXPECT_EQ(size_of("test", 7), -1); // key 8: nothing below
    EXPECT_EQ(size_of("", 15), -1);
    EXPECT_EQ(size_of("none", 32767), -1);
    // Long names are there under their short ones, and fall back on what was loaded at the start.
    font("swis742b.30");
    EXPECT_EQ(size_of("swiss742b", 25), 25);
    uint32_t id = 0, usual = 0;
    int actual = 0, type = -1;
    fi_load_font("mono821", 15, &actual, &usual);
    EXPECT_EQ(fi_env.FI_FIND_FONT("none", 40, &id, &actual, FI_FIELD, &type), 0);
    EXPECT_EQ(id, usual);
    EXPECT_EQ(type, 0);
}

TEST_F(Faces, CharactersOfTwoBytes) {
    EXPECT_EQ(fi_env.FI_STRLEN(nullptr, 2), -1);
    EXPECT_EQ(fi_env.FI_STRLEN("\x81xy", 0), 3);
    EXPECT_EQ(fi_env.FI_STRLEN("\x81xy", 2), 2);
    EXPECT_EQ(fi_env.FI_STRLEN("a\x81", 2), 2); // cut in the middle
    EXPECT_EQ(fi_env.FI_MOVE_INDEX("a\x81xyz", 1, 1, 2), 3);
    EXPECT_EQ(fi_env.FI_MOVE_INDEX("a\x81xyz", 3, -1, 2), 1);
    EXPECT_EQ(fi_env.FI_MOVE_INDEX("abc", 1, 99, 0), 3);
    EXPECT_EQ(fi_env.FI_MOVE_INDEX("abc", 1, -2, 0), -1);
}

// A row of pixels in every scale: set, clear, set, ...
TEST_F(Faces, SymbolsGrowAndShrinkInARhythm) {
    FI_form* form = make({});
    FIf_display(form);
    uint8_t bits[3] = {0xFF, 0x03, 0};
    FI_face face = {};
    face.width = face.total_width = 10;
    face.height = face.total_height = 1;
    face.bits = bits;
    const auto drawn = [&](float x_scale, float y_scale) {
        fgcolor(window_of(form), 5);
        rectf(window_of(form), 0, 0, 399, 299);
        fgcolor(window_of(form), 1);
        fi_draw_face(window_of(form), 20, 20, 0, &face, x_scale, y_scale);
        std::string row;
        for (int x = 20; x < 90; ++x)
            row += at(form, x, 20) == canvas_pixel(CANVAS_SLOT | 1) ? '#' : '.';
        return row.substr(0, row.find_last_of('#') + 1);
    };
    EXPECT_EQ(drawn(2.5F, 1).size(), 25U);
    EXPECT_EQ(drawn(0.5F, 1).size(), 5U);
    EXPECT_EQ(drawn(0.5F, 0.3F), ""); // the only row isn't kept
    EXPECT_EQ(drawn(-2, 1), "");
    bits[0] = 0x55; // every second
    bits[1] = 0x01;
    EXPECT_EQ(drawn(2.5F, 1), "###..###..###..###..###");
    EXPECT_EQ(drawn(0.5F, 1), "#####"); // beginning with the first
    EXPECT_EQ(drawn(3, 2), "###...###...###...###...###");
    EXPECT_EQ(drawn(2.04F, 1), "##..##..##..##..##");
    // Huge factors are brought down to what a bitmap may be.
    face.width = 250;
    face.height = 250;
    std::vector<uint8_t> large(32 * 250, 0xFF);
    face.bits = large.data();
    EXPECT_EQ(drawn(1000, 1000).size(), 70U);
    // One that takes 32718 bytes isn't.
    std::fill(large.begin(), large.end(), uint8_t{0x55});
    EXPECT_EQ(drawn(4.15997F, 1).substr(0, 26), "####....####....####.....#");
}

TEST_F(Faces, NearlyUnscaledSymbolsAreDrawnAsTheyAre) {
    static int texts = 0, bitmaps = 0;
    texts = bitmaps = 0;
    FI_set_graphic_env(59,
                       reinterpret_cast<FI_routine>(+[](int, int, int, int, const char*, int) { return ++texts, 0; }));
    FI_set_graphic_env(
        58, reinterpret_cast<FI_routine>(+[](int, int, int, int, int, const uint8_t*) { return ++bitmaps, 0; }));
    FI_form* form = make({{FI_SYMBOL, 11, 10, 10, 20, 20, nullptr}});
    FI_gadget* g = fi_find_gadget(form, 11);
    ASSERT_NE(g->face.bits, nullptr);
    for (const float scale : {0.95F, 1.0F, 1.04F})
        fi_draw_face(1, 0, 0, g->font_id, &g->face, scale, scale);
    EXPECT_EQ(texts, 3);
    for (const float scale : {0.94F, 1.05F})
        fi_draw_face(1, 0, 0, g->font_id, &g->face, scale, 1);
    EXPECT_EQ(texts, 3);
    EXPECT_EQ(bitmaps, 2);
}

TEST_F(Faces, ColorsAreTheNearestOfTheScreen) {
    for (const int planes : DEPTHS) {
        start(planes);
        const color_entry* standard = nullptr;
        int count = 0;
        Inq_standard_colors(&standard, &count);
        for (int color = 0; color < FI_COLORS; ++color) {
            color_entry entry = {};
            ASSERT_EQ(Read_colors(0, &entry, 1, fi_env.FI_TRANSLATE_COLOR(0, color)), 0);
            EXPECT_EQ(entry.red >> 8, standard[color].red >> 8) << planes << " planes, colour " << color;
            EXPECT_EQ(entry.green >> 8, standard[color].green >> 8);
            EXPECT_EQ(entry.blue >> 8, standard[color].blue >> 8);
        }
    }
    // Screens of few colours.
    fi_state.screens[1][FI_SCREEN_NUMBER] = 1;
    fi_state.screens[1][FI_SCREEN_FLAGS] = 2;
    fi_state.screens[1][FI_SCREEN_COLORS] = 2;
    EXPECT_EQ(fi_build_color_map(1, nullptr, 0), FI_SUCCESS);
    EXPECT_EQ(fi_env.FI_TRANSLATE_COLOR(1, FI_BLACK), 0);
    EXPECT_EQ(fi_env.FI_TRANSLATE_COLOR(1, FI_WHITE), 1);
    EXPECT_EQ(fi_contrast(1, 0, 0), 1);
    EXPECT_EQ(fi_contrast(1, 1, 1), 0);
    EXPECT_EQ(fi_contrast(1, 1, 0), 1);
    EXPECT_EQ(fi_contrast(0, 5, 5), 5); // 256 colours
    EXPECT_EQ(fi_build_color_map(2, nullptr, 0), FI_NO_SCREEN);
    EXPECT_EQ(fi_build_color_map(8, nullptr, 0), FI_NO_SCREEN);
}
