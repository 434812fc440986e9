// Texts of gadgets: measuring and drawing, in one or several lines.
//
// A newline ends a line, unless a backslash stands before it: such a pair joins two lines of the source and shows as
// one blank.
#pragma once

#include "forms/ops.h"

// Finds the font of bodysize * factor, which becomes the body size, and measures `text` with it.
void fi_gadget_font(FI_gadget* g, float factor);

// Counts the lines; when *width isn't 0 it takes the width of the widest, in pixels.
void fi_text_extent(const char* text, int* lines, int* width, uint32_t font, int font_type);

// Draws a text of `lines` lines of `height` pixels between x1 and x2 from y1 on, or `centred` between y1 and y2, in the
// current colour; with a style it is embossed in colours of its own, unless `flag` is set.
void fi_draw_text(FI_gadget* g, int x1, int y1, int x2, int y2, const char* text, int lines, int height, bool centred,
                  bool flag);
// From line to line, and the height of several.
inline int fi_text_pitch(int height) {
    return height - height / 8;
}
inline int fi_text_height(int lines, int height) {
    return lines * height + (1 - lines) * (height / 8);
}

// Calls `act(line, width)` for each line of the gadget's text; true ends the walk.
using fi_line_act = bool (*)(void* user, int line, int width);
void fi_each_text_line(const FI_gadget* g, fi_line_act act, void* user);
