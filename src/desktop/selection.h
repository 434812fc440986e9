// What is chosen: a colour or a pattern, and where patterns are to lie. The main form shows its name, the form of
// colours and patterns its numbers and its cell; the apply command takes it.
#pragma once

enum class selection_kind { none, pattern, color };

struct selection {
    selection_kind kind;
    int pattern;             // index in the palette, of a chosen pattern; -1
    double red, green, blue; // the present colour, also while a pattern is chosen
    double rotation;         // degrees, 0 to 360
    bool mirror;
    double size;    // 1: one repeat covers the surface
    double repeats; // 1 / size
};
extern selection chosen;

constexpr double SIZE_LOW = 0.001, SIZE_HIGH = 1000.0, ROTATION_HIGH = 360.0;

// As the program starts: nothing chosen, and red.
void selection_reset();

// Nothing is chosen any more, as after the palette is another one.
void selection_clear();

// Choose: a colour of the palette by its index (one beyond the table does nothing), a pattern of it, or a colour by its
// numbers, as the bars have it.
void palette_select(int index);
void pattern_select(int index);
void color_select(double red, double green, double blue);

// What typing a name does: chooses the colour or the pattern of that name; of neither, nothing is chosen.
void palette_name_typed(const char* text);
