// desk-glyphs: makes the three faces of the desk's captions and message boxes, one bit a pixel, from outline fonts.
//
//     desk-glyphs REGULAR.ttf BOLD.ttf > src/platform/window/glyphs.cpp
//     desk-glyphs REGULAR.ttf BOLD.ttf --double > src/platform/window/glyphs_double.cpp
//
// The committed tables were made from DejaVu Sans and DejaVu Sans Bold 2.37, whose licence lies beside them.
#include <ft2build.h>
#include FT_FREETYPE_H

#include <cstdio>
#include <cstring>

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

// All faces, in the usual size or in twice that.
bool write_faces(FT_Library library, const char* regular, const char* bold, bool is_double) {
    const int factor = is_double ? 2 : 1;
    const auto em = [=](unsigned pixels) { return pixels * unsigned(factor); };
    const auto size = [=](int rows, int ascent) { return face_size{rows * factor, ascent * factor}; };
    printf("// The desk's own letters%s, one bit a pixel: characters 32 to 126 and 160 to 255. Made by desk-glyphs\n"
           "// from DejaVu Sans; see glyphs.LICENSE.\n"
           "#include \"platform/window/glyphs.h\"\n\nnamespace {\n\n// clang-format off\n",
           is_double ? " at twice their size" : "");
    if (!write_face(library, regular, "NORMAL", em(11), size(14, 11)) ||
        !write_face(library, bold, "BOLD", em(11), size(14, 11)) ||
        !write_face(library, regular, "SMALL", em(9), size(14, 9)))
        return false;
    printf("// clang-format on\n\n} // namespace\n\n"
           "const glyph_face %s[GLYPH_FACES] = {{NORMAL, %d}, {BOLD, %d}, {SMALL, %d}};\n",
           is_double ? "glyphs_double" : "glyphs_usual", 14 * factor, 14 * factor, 11 * factor);
    return true;
}

} // namespace

int main(int count, char** arguments) {
    const bool is_double = count == 4 && strcmp(arguments[3], "--double") == 0;
    if (count != 3 && !is_double) {
        fprintf(stderr, "usage: desk-glyphs REGULAR.ttf BOLD.ttf [--double]\n");
        return 2;
    }
    FT_Library library = nullptr;
    if (FT_Init_FreeType(&library) != 0) return 1;
    const bool done = write_faces(library, arguments[1], arguments[2], is_double);
    FT_Done_FreeType(library);
    if (!done) fprintf(stderr, "desk-glyphs: a font can't be read\n");
    return done ? 0 : 1;
}
