// Bitmap fonts: the table of loaded fonts, what a text measures, and a text as a mask of one bit a pixel. Symbol files
// have the same format; a symbol's number is its character code.
//
// A font stays loaded until fonts_unload(). Not for several threads.
#pragma once

#include <cstddef>
#include <cstdint>

constexpr int FONT_SLOTS = 256; // font ids are 0 to 255

// One character's picture.
struct font_glyph {
    const uint8_t* rows; // `height` rows of (width + 7) / 8 bytes, the leftmost pixel in the highest bit, set: painted.
                         // What stands behind the width in a row's last byte means nothing
    uint8_t width;       // pixels
    uint8_t height;
    int8_t x_offset;  // of the rows from the pen
    uint8_t y_offset; // of the first row from the top of the line
    uint8_t advance;  // of the pen
    uint8_t depth;    // least height of a line with this character
};

// Loads the file, or finds it among the loaded ones by the same path, letter by letter. 0 with the font's id, or -1
// with id -1: no such file, not a font or a damaged one, no memory, or FONT_SLOTS fonts are loaded.
int Load_symbol_file(const char* path, int* id);

// The same for a font of the standard directory, in the nearest size there at or below `size` (14 at least).
int Load_bitmap_font(const char* name, int size, int* id);

// The largest measures of all characters: the line's height and the width of the widest, in pixels. `extra` takes 0, or
// is null. -1 when no such font is loaded.
int Inq_font_size(int font, int* height, int* width, int* extra);

// Width of a text of `length` bytes: of each character the larger of its advance and its picture's width. Characters
// that the font doesn't have count nothing. -1 when no such font is loaded.
int Inq_text_width(int font, const char* text, int length, int* width);

// The glyph of a character code, null when the font or the character doesn't exist. Valid until fonts_unload().
const font_glyph* font_find_glyph(int font, uint8_t code);

// A text as draw_mask() takes it: rows padded to 16 bits, the highest bit leftmost, a zero bit paints.
struct text_mask {
    int width; // pixels; 0 when there is nothing to draw
    int height;
    size_t row_bytes;
    const uint8_t* bits; // stays the font module's, until the next call or fonts_unload()
};

// Composes a text of `length` bytes in one mask, whose upper left corner is the text's. A text without any character
// of the font gives a width of 0. -1 when no such font is loaded or there is no memory for the mask, else 0.
int font_compose(int font, const char* text, int length, text_mask* mask);

// Forgets all fonts, and the memory of the mask.
void fonts_unload();

// ---- symbols by themselves ---------------------------------------------------------------------------------------

// A symbol file may have a second picture of a symbol, about twice as large, under a number that is this much more.
constexpr int LARGE_SYMBOL = 128;

// One symbol of a file.
struct symbol_bitmap {
    uint8_t width; // pixels
    uint8_t height;
    uint8_t x_offset;
    uint8_t y_offset;
    uint8_t advance;
    uint8_t depth;
    uint8_t* bits; // owned, for mem_free(): rows of (width + 7) / 8 bytes, the leftmost pixel in bit 0, and behind them
                   // one byte to an even size and one more
};

// Reads one symbol; other parts of the file may be damaged, and its first four characters don't count. 0, or -1 with
// everything 0 and null: no such file or symbol, a bitmap that the file doesn't hold, no memory.
int symbol_read(const char* path, uint8_t number, symbol_bitmap* symbol);
