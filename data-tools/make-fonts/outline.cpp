// Glyphs of an outline font, by FreeType.
#include "outline.h"

#include <cstdio>

#include <ft2build.h>
#include FT_FREETYPE_H

struct outline_font {
    FT_Library library;
    FT_Face face;
};

namespace {

std::string row_text(const FT_Bitmap& bitmap, unsigned y) {
    std::string row(bitmap.width, '.');
    const unsigned char* bytes = bitmap.buffer + static_cast<long>(y) * bitmap.pitch;
    for (unsigned x = 0; x < bitmap.width; ++x)
        if ((bytes[x / 8] >> (7 - x % 8) & 1) != 0) row[x] = '#';
    return row;
}

} // namespace

outline_font* outline_open(const std::string& path) {
    auto* font = new outline_font{};
    if (FT_Init_FreeType(&font->library) == 0 && FT_New_Face(font->library, path.c_str(), 0, &font->face) == 0)
        return font;
    std::fprintf(stderr, "%s: no outline font\n", path.c_str());
    outline_close(font);
    return nullptr;
}

void outline_close(outline_font* font) {
    if (font->library != nullptr) FT_Done_FreeType(font->library);
    delete font;
}

bool outline_glyph(outline_font* font, unsigned long character, int em_x, int em_y, drawn_glyph* glyph) {
    FT_Face face = font->face;
    FT_UInt number = FT_Get_Char_Index(face, character);
    if (number == 0) return false;
    if (FT_Set_Pixel_Sizes(face, static_cast<FT_UInt>(em_x), static_cast<FT_UInt>(em_y)) != 0) return false;
    if (FT_Load_Glyph(face, number, FT_LOAD_TARGET_MONO | FT_LOAD_NO_AUTOHINT) != 0) return false;
    FT_GlyphSlot slot = face->glyph;
    if (FT_Render_Glyph(slot, FT_RENDER_MODE_MONO) != 0) return false;
    glyph->rows.clear();
    for (unsigned y = 0; y < slot->bitmap.rows; ++y)
        glyph->rows.push_back(row_text(slot->bitmap, y));
    glyph->x_offset = slot->bitmap_left;
    glyph->y_offset = -slot->bitmap_top;
    glyph->advance = static_cast<int>((slot->advance.x + 32) >> 6);
    glyph_trim(glyph);
    return true;
}
