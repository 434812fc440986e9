// A font in memory, and its reading from a file.
#pragma once

#include "tools/font.h"

struct bitmap_font {
    char* path;         // owned, as the file was asked for
    uint8_t index[256]; // by character code: glyph number from 1 up, 0: none
    font_glyph* glyphs; // owned; glyph n is at n - 1
    uint8_t* bitmaps;   // owned; what the glyphs' rows point into
    int width;          // of the widest character
    int height;         // of the highest line
};

// The glyph of a character of a text, null when the font doesn't have it.
inline const font_glyph* font_glyph_of(const bitmap_font& font, char character) {
    const uint8_t number = font.index[static_cast<uint8_t>(character)];
    return number == 0 ? nullptr : &font.glyphs[number - 1];
}

// Reads a font file. Every glyph that a character leads to lies within the file. Null when it is no font, is damaged,
// can't be read or there is no memory.
bitmap_font* font_read(const char* path);
void font_free(bitmap_font* font); // null does nothing

// The loaded font of an id, or null.
const bitmap_font* font_at(int id);

// Frees the memory of composed texts.
void font_mask_free();
