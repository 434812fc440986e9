// desk-glyphs: makes the three faces of the desk's captions and message boxes, in two sizes, one bit a pixel, from
// outline fonts.
//
//     desk-glyphs REGULAR.ttf BOLD.ttf > src/platform/window/glyphs.cpp
//
// The committed table was made from DejaVu Sans and DejaVu Sans Bold 2.37, whose licence lies beside it.
#include <ft2build.h>
#include FT_FREETYPE_H

#include <cstdio>

namespace {

constexpr int MOST_ROWS = 28; // of a glyph, from the top of the line
constexpr int MOST_WIDTH = 32;

struct face_size {
    int rows;   // of every glyph
    int ascent; // rows above the base line
};

bool draw_glyph(FT_Face face, unsigned character, face_size size, unsigned rows[MOST_ROWS], int* advance) {
    if (FT_Load_Char(face, character, FT_LOAD_TARGET_MONO | FT_LOAD_RENDER) != 0) return false;
    FT_GlyphSlotRec* glyph = face->glyph;
    const FT_Bitmap& bitmap = glyph->bitmap;
    // A glyph that reaches out to the left is moved in: the text drawing has no negative bearings.
    const int left = glyph->bitmap_left < 0 ? 0 : glyph->bitmap_left;
    *advance = int(glyph->advance.x >> 6);
    for (int y = 0; y < int(bitmap.rows); ++y) {
        const int row = size.ascent - glyph->bitmap_top + y;
        if (row < 0 || row >= size.rows) continue;
        for (int x = 0; x < int(bitmap.width) && left + x < MOST_WIDTH; ++x)
            if ((bitmap.buffer[y * bitmap.pitch + x / 8] >> (7 - x % 8)) & 1) rows[row] |= 0x80000000u >> (left + x);
    }
    return true;
}

bool write_glyph(FT_Face face, unsigned character, face_size size) {
    unsigned rows[MOST_ROWS] = {};
    int advance = 0;
    if (!draw_glyph(face, character, size, rows, &advance)) return false;
    printf("    {%d, {", advance);
    for (int y = 0; y < size.rows; ++y)
        printf("%s0x%x", y == 0 ? "" : ", ", rows[y]);
    printf("}},\n");
    return true;
}

// A face with an em of `em` pixels.
bool write_face(FT_Library library, const char* file, const char* name, unsigned em, face_size size) {
    FT_Face face = nullptr;
    if (FT_New_Face(library, file, 0, &face) != 0) return false;
    bool done = FT_Set_Pixel_Sizes(face, 0, em) == 0;
    printf("constexpr glyph %s[GLYPH_COUNT] = {\n", name);
    for (unsigned c = 32; c < 256 && done; ++c)
        if (c < 127 || c >= 160) done = write_glyph(face, c, size);
    printf("};\n\n");
    FT_Done_Face(face);
    return done;
}

} // namespace

int main(int count, char** arguments) {
    FT_Library library = nullptr;
    if (count != 3 || FT_Init_FreeType(&library) != 0) {
        fprintf(stderr, "usage: desk-glyphs REGULAR.ttf BOLD.ttf\n");
        return 2;
    }
    printf("// The desk's own letters, one bit a pixel: characters 32 to 126 and 160 to 255. Made by desk-glyphs from\n"
           "// DejaVu Sans; see glyphs.LICENSE.\n"
           "#include \"platform/window/glyphs.h\"\n\nnamespace {\n\n// clang-format off\n");
    const bool done = write_face(library, arguments[1], "NORMAL", 11, {14, 11}) &&
                      write_face(library, arguments[2], "BOLD", 11, {14, 11}) &&
                      write_face(library, arguments[1], "SMALL", 9, {14, 9}) &&
                      write_face(library, arguments[1], "NORMAL_2", 22, {28, 22}) &&
                      write_face(library, arguments[2], "BOLD_2", 22, {28, 22}) &&
                      write_face(library, arguments[1], "SMALL_2", 18, {28, 18});
    printf("constexpr glyph_face FACES[GLYPH_FACES][2] = {\n"
           "    {{NORMAL, 14}, {NORMAL_2, 28}},\n"
           "    {{BOLD, 14}, {BOLD_2, 28}},\n"
           "    {{SMALL, 11}, {SMALL_2, 22}},\n"
           "};\n"
           "// clang-format on\n\n} // namespace\n\n"
           "const glyph_face* glyphs_face(glyph_style style, int factor) {\n"
           "    return &FACES[int(style)][factor > 1 ? 1 : 0];\n"
           "}\n");
    FT_Done_FreeType(library);
    return done ? 0 : 1;
}
