// Measuring and drawing with the desk's own letters.
#include "platform/window/canvasdata.h"
#include "platform/window/glyphs.h"
#include "support/bytes.h"

#include <cstring>

namespace {

const glyph* glyph_of(const glyph_face* face, char character) {
    const auto c = uint8_t(character);
    if (c >= 32 && c < 127) return &face->glyphs[c - 32];
    if (c >= 160) return &face->glyphs[c - 160 + 95];
    return &face->glyphs[0];
}

void draw_glyph(canvas* c, const glyph* g, int x, int y, canvas_color color) {
    uint8_t bits[GLYPH_ROWS * 4];
    for (int row = 0; row < GLYPH_ROWS; ++row)
        store_u32be(bits + ptrdiff_t{row} * 4, ~g->rows[row]);
    canvas_mask(c, x, y, 32, GLYPH_ROWS, bits, 4, color);
}

} // namespace

const glyph_face* glyphs_face(glyph_style style, int factor) {
    return &(factor > 1 ? glyphs_double : glyphs_usual)[int(style)];
}

int glyphs_width(const glyph_face* face, const char* text, int length) {
    int width = 0;
    for (int i = 0; i < length; ++i)
        width += glyph_of(face, text[i])->advance;
    return width;
}

int glyphs_that_fit(const glyph_face* face, const char* text, int width) {
    int used = 0;
    int count = 0;
    while (text[count] != 0) {
        used += glyph_of(face, text[count])->advance;
        if (used > width) break;
        ++count;
    }
    return count;
}

void glyphs_draw(canvas* c, const glyph_face* face, int x, int y, const char* text, int length, canvas_color color) {
    for (int i = 0; i < length; ++i) {
        const glyph* g = glyph_of(face, text[i]);
        draw_glyph(c, g, x, y, color);
        x += g->advance;
    }
}

void glyphs_draw_in(canvas* c, const glyph_face* face, canvas_box box, const char* text, bool centred,
                    canvas_color color) {
    const int room = box.x2 - box.x1;
    const int y = box.y1 + (box.y2 - box.y1 - face->height + 1) / 2;
    int length = int(strlen(text));
    int width = glyphs_width(face, text, length);
    if (width <= room) {
        glyphs_draw(c, face, centred ? box.x1 + (room - width) / 2 : box.x1, y, text, length, color);
        return;
    }
    length = glyphs_that_fit(face, text, room - glyphs_width(face, "...", 3));
    width = glyphs_width(face, text, length);
    glyphs_draw(c, face, box.x1, y, text, length, color);
    if (length > 0) glyphs_draw(c, face, box.x1 + width, y, "...", 3, color);
}
