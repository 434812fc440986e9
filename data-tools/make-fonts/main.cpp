// make-fonts FONT-DIRECTORY DIRECTORY: makes the product's bitmap fonts from the outline fonts in FONT-DIRECTORY. The
// file of a family is named by its short name and the height of a line, which is 1.2 times the body size.
//
// It needs the outlines of the Debian package fonts-liberation: their instructions were written for one bit a pixel,
// and neither other fonts nor automatic hinting come near them in small sizes.
#include <algorithm>
#include <cstdio>

#include "outline.h"

namespace {

// Body sizes in pixels. Where one isn't there the next smaller one is taken, which large ones may be by a twentieth
// without being missed.
constexpr int bodies[] = {10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25,
                          26, 27, 28, 29, 30, 32, 34, 36, 38, 40, 42, 44, 46, 48, 50, 53};

struct family {
    const char* short_name; // of its files, within eight characters
    const char* outline;
    bool fixed_pitch;
};

constexpr family families[] = {
    {"dutch801", "LiberationSerif-Regular.ttf", false},
    {"mono821", "LiberationMono-Regular.ttf", true},
    {"mono821b", "LiberationMono-Bold.ttf", true},
    {"swis742b", "LiberationSans-Bold.ttf", false},
};

// An em is as high and wide as the body, but for those that read better otherwise.
struct exception {
    const char* short_name;
    int body;
    int em_x;
    int em_y;
};

constexpr exception exceptions[] = {
    {"dutch801", 10, 11, 10}, // letters touch
    {"dutch801", 18, 19, 18}, // every stroke is two pixels wide, so it looks like a bold face
    {"mono821b", 10, 11, 10}, // strokes are one pixel wide: not bold
    {"swis742b", 10, 11, 10}, // the same
    {"swis742b", 13, 13, 14}, // thinner than its neighbours
};

// Rows that come out wrong.
struct correction {
    const char* short_name;
    int body;
    int code;
    size_t row; // from the top of the glyph
    const char* pixels;
};

constexpr correction corrections[] = {
    {"dutch801", 13, 0xD6, 0, "..#..#.."}, // the two dots above an O are one bar
};

// What stands at the character codes 128 to 159; 0: nothing. The others are the Unicode characters of the same number.
constexpr unsigned short upper_controls[32] = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178,
};

unsigned long character_of(int code) {
    if (code == 127) return 0;
    if (code >= 128 && code < 160) return upper_controls[code - 128];
    return static_cast<unsigned long>(code);
}

int line_height(int body) {
    return (body * 12 + 5) / 10;
}

exception size_of(const family& of, int body) {
    for (const exception& known : exceptions)
        if (known.body == body && std::string(known.short_name) == of.short_name) return known;
    return {of.short_name, body, body, body};
}

void correct(drawn_glyph* glyph, const family& of, int body) {
    for (const correction& known : corrections) {
        bool here = known.body == body && known.code == glyph->code && std::string(known.short_name) == of.short_name;
        if (here && known.row < glyph->rows.size()) glyph->rows[known.row] = known.pixels;
    }
}

int pixels_in_column(const drawn_glyph& glyph, size_t x) {
    return static_cast<int>(
        std::count_if(glyph.rows.begin(), glyph.rows.end(), [x](const std::string& row) { return row[x] == '#'; }));
}

// A glyph of a fixed-pitch font stays in its cell: a neighbour must not be touched. Of a wider one the edge with fewer
// pixels goes; a narrower outline would lose the weight of its strokes.
void keep_in_cell(drawn_glyph* glyph, int cell) {
    while (glyph_width(*glyph) > cell) {
        size_t last = glyph->rows.front().size() - 1;
        bool left = pixels_in_column(*glyph, 0) < pixels_in_column(*glyph, last);
        for (std::string& row : glyph->rows)
            row.erase(left ? 0 : last, 1);
    }
    glyph->advance = cell;
    glyph->x_offset = std::clamp(glyph->x_offset, 0, cell - glyph_width(*glyph));
}

// Takes a row out: an empty one, which is the gap below an accent, or else one that equals the next, or else the first.
void shorten(drawn_glyph* glyph) {
    auto& rows = glyph->rows;
    auto out = std::find_if(rows.begin(), rows.end(),
                            [](const std::string& row) { return row.find('#') == std::string::npos; });
    if (out == rows.end()) out = std::adjacent_find(rows.begin(), rows.end());
    if (out == rows.end()) out = rows.begin();
    rows.erase(out);
}

// Puts the base line where the lowest glyph ends on the last row of the line, or higher when there are rows to spare
// above the highest one. What is too high even so, a few capitals with accents, loses rows.
void place_in_line(std::vector<drawn_glyph>* glyphs, int height) {
    int above = 0;
    int below = 0;
    for (const drawn_glyph& glyph : *glyphs) {
        above = std::max(above, -glyph.y_offset);
        below = std::max(below, glyph.y_offset + glyph_height(glyph));
    }
    int base = height - below;
    if (base > above) base -= (base - above) / 2;
    for (drawn_glyph& glyph : *glyphs) {
        glyph.depth = height;
        glyph.y_offset = glyph.rows.empty() ? 0 : base + glyph.y_offset;
        for (; glyph.y_offset < 0; ++glyph.y_offset)
            shorten(&glyph);
    }
}

std::vector<drawn_glyph> glyphs_of(outline_font* font, const family& of, int body) {
    exception size = size_of(of, body);
    std::vector<drawn_glyph> glyphs;
    drawn_glyph cell;
    outline_glyph(font, '0', size.em_x, size.em_y, &cell);
    for (int code = ' '; code < 256; ++code) {
        drawn_glyph glyph;
        glyph.code = code;
        if (!outline_glyph(font, character_of(code), size.em_x, size.em_y, &glyph)) continue;
        correct(&glyph, of, body);
        if (of.fixed_pitch) keep_in_cell(&glyph, cell.advance);
        glyphs.push_back(glyph);
    }
    place_in_line(&glyphs, line_height(body));
    return glyphs;
}

bool make_family(const family& of, const std::string& outlines, const std::string& directory) {
    outline_font* font = outline_open(outlines + "/" + of.outline);
    if (font == nullptr) return false;
    bool good = true;
    for (int body : bodies) {
        if (!good) break;
        std::string path = directory + "/" + of.short_name + "." + std::to_string(line_height(body));
        std::vector<uint8_t> bytes = font_bytes(glyphs_of(font, of, body));
        good = !bytes.empty() && write_bytes(path, bytes);
    }
    outline_close(font);
    return good;
}

} // namespace

int main(int count, char** arguments) {
    if (count != 3) {
        std::fprintf(stderr, "usage: make-fonts FONT-DIRECTORY DIRECTORY\n");
        return 2;
    }
    for (const family& of : families)
        if (!make_family(of, arguments[1], arguments[2])) return 1;
    return 0;
}
