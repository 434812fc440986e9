// Recipes: what surfaces are to carry, as texts. One surface is PEN=SURFACE; a recipe is a file (.sets) of such lines.
//
//   # the floor
//   0=Parquet:size=0.3          a name of the palette, with a placement
//   5=0.38,0.015,0              red, green and blue, 0.0 to 1.0
//   7=@brick.rgb:rotation=30:mirror
//
// Blank lines, lines that begin with "#", and a byte order mark in front of all say nothing. A wrong line is told with
// its number and the others count.
#pragma once

#include <cstddef>

#include "surface/applique.h"
#include "surface/palette.h"

enum class surface_kind { color, name, raster };

struct surface_set {
    int pen;
    surface_kind kind;
    double red, green, blue; // of a colour
    char* text;              // owned: the name of a colour or pattern, or a raster's path; null for a colour
    bool has_placement;      // any of the three below was given: only a pattern takes them
    double rotation, size;   // degrees; 1.0: one repeat covers the surface
    bool mirror;
    const char* from; // path of the recipe that it comes from, the caller's of recipe_read(); null: none
    int line;         // of that, counted from 1
};

constexpr size_t SET_REASON_SIZE = 512; // of the words that tell what is wrong, with their terminator

// Reads one text of the form PEN=SURFACE. False with the reason in `why`; nothing is owned then.
bool surface_set_parse(const char* text, surface_set* set, char why[SET_REASON_SIZE]);
void surface_set_free(surface_set* set);

// Replaces a name by the colour or the pattern of the palettes that it stands for. Sets of other kinds stay. False with
// the reason.
bool surface_set_look_up(surface_set* set, const color_palette* colors, const pattern_palette* patterns,
                         char why[SET_REASON_SIZE]);

// What the surface is to carry, of a set that is no name. Null after a message.
applique* surface_set_applique(const surface_set* set);

struct recipe {
    surface_set* sets; // owned, in the order of the lines
    int count;
    int wrong; // lines that were told and passed over
};

// Adds the sets of a file. A raster whose name is relative and that stands beside the recipe is that one. Wrong lines
// are told at `level`, by "FILE, line N: why". `path` stands in the sets, and
// has to last as long. False after a message at LOG_WARNING when the file can't be read or
// there is no memory; what was read until then stays.
bool recipe_read(recipe* r, const char* path, int level);
bool recipe_add(recipe* r, const surface_set* set); // takes over what the set owns in any case; false without memory
void recipe_free(recipe* r);

// Tells why a set counts for nothing, with the line that it comes from.
void recipe_tell(int level, const surface_set* set, const char* why);

// Writes what `count` surfaces carry, the pen being the index; null is left out. Numbers are written so that reading
// gives them back to the last bit. The file is old or new as a whole. Returns 0, or -1 after a message: a file name
// that a line can't hold, or a file that can't be written.
int recipe_save(const applique* const* carried, int count, const char* path);
