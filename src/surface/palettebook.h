// The palette as the program has it in hand: colours, patterns, their file, and whether something would be lost.
#pragma once

#include "platform/files.h"
#include "surface/palette.h"

struct palette_book {
    color_palette colors;
    pattern_palette patterns;
    char* file;   // owned: the default of the next save; null: none, or it was read in part only
    bool changed; // since it was loaded or saved
};

// Loads a file aside and puts it in the place of what is there when that succeeded. Non-zero then; 0 after a message,
// with the palette as it was. `path` is full.
int palette_book_load(palette_book* book, const char* path);

// Saves to a file of that full path. 0, or -1 after a message: the file is old or new as a whole.
int palette_book_save(palette_book* book, const char* path);

// Add or change an entry, and keep `changed`. The first gives the index of the colour, or -1 after a message; the
// second what pattern_set() gives.
int palette_book_add(palette_book* book, const char* name, double red, double green, double blue);
int palette_book_set_pattern(palette_book* book, int index, const char* path);
void palette_book_free(palette_book* book);

// The name that is shown for a colour: empty for one that was made up.
const char* palette_shown_name(const named_color* color);

// Brings a typed name to what names an entry: "{" becomes "_", and blanks and "_" at its end go. The text may become
// empty.
void palette_typed_name(char* text);

// ---- pages of pattern cells ----------------------------------------------------------------------------------------

constexpr int PAGE_CELLS = 10;

// The first pattern of the next page, or of the one before; `first` where there is none.
int page_next(int first, int count);
int page_previous(int first);
