// Palette files (.tnp): named colours and named patterns, in one text file.
//
//   name {color = (r, g, b);}
//   name {pattern = "file";}
//
// Entries stand in any order and may be spaced freely. A name has at most 79 characters without "{", a file name is as
// long as a path can be, without a quote. An entry with neither body ends the file. Colours outside 0.0 to 1.0 are
// clamped.
#pragma once

#include <cstddef>

struct named_color {
    double red, green, blue; // 0.0 to 1.0
    char name[];             // stored in the same allocation
};

struct color_palette {
    named_color** entries; // owned, in file order
    int count;
    bool in_part; // the file that it was read from holds more: what stands behind the entries, or found no memory
};

struct pattern_entry {
    char* file; // owned: the raster file as the palette has it
    char* name; // owned
};

struct pattern_palette {
    pattern_entry* entries; // owned, in file order
    int count;
};

// Replaces the table by the colours of a file. Returns non-zero if the file held at least one entry of either kind; 0
// when it can't be read, has none, or there was no memory for the table (after a message): the table is empty then. An
// entry that there is no memory for is lost, after a message.
int palette_load(color_palette* colors, const char* path);

// Replaces the table by the patterns of a file. Returns 0 when it can't be read or there was no memory for the table.
// Without memory for an entry it stops with what it has, after a message.
int pattern_palette_load(pattern_palette* patterns, const char* path);

// Both. Returns non-zero on success. A failure is reported as "Load Failure on Palette file.".
int load_palette_file(color_palette* colors, pattern_palette* patterns, const char* path);

// Writes all colours, then all patterns. The file is old or new as a whole. Returns 0, or -1 after a message.
int palette_save(const color_palette* colors, const pattern_palette* patterns, const char* path);

// Adds an entry or changes the one of that name; an empty name is made from the numbers. Numbers are brought to 0.0 to
// 1.0, and the name to one that a file can hold: "{" becomes "_", and 79 characters are kept. Returns 1 when the
// palette changed, 0 when it was so already, -1 after a message when there is no memory, with the table as it was.
int palette_add(color_palette* colors, const char* wanted, double red, double green, double blue);
// The same, and stores the index of the entry; -1 for none.
int palette_add_at(color_palette* colors, const char* wanted, double red, double green, double blue, int* index);

// Puts a raster file at `index`, or at the end when index is at or past the count, under a name made of the last
// component of `path`, cut at its first "." and with a capital. Returns 0, non-zero after a message.
int pattern_set(pattern_palette* patterns, int index, const char* path);

// The first entry of that name, or -1.
int palette_find(const color_palette* colors, const char* name);

// 1 and the file of the first pattern of that name (file may be null), or 0.
int pattern_lookup(const pattern_palette* patterns, const char* name, const char** file);

// 1 when the name is one made from a colour ("%03d_%03d_%03d"), which is shown as no name.
int palette_name_is_made_up(const char* name);

void palette_clear(color_palette* colors);
void pattern_palette_clear(pattern_palette* patterns);
