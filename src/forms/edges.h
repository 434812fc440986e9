// Raised and sunken edges, and the hatches of disabled gadgets.
#pragma once

#include "forms/ops.h"

// Slots of the four parts of a bevel.
struct fi_bevel_slots {
    int left_top, face, right_bottom, outline;
};
fi_bevel_slots fi_bevel_colors(const FI_form* form, int left_top, int face, int right_bottom, int outline);

constexpr int FI_SQUARE_CORNERS = 0;
constexpr int FI_CUT_CORNERS = 1;

// A bevel over the rectangle: `depth` pixels of edge inside of an outline, and the face in it.
void fi_draw_bevel(int window, int x1, int y1, int x2, int y2, int depth, int left_top, int face, int right_bottom,
                   int outline, int corners);
inline void fi_draw_bevel_in(int window, fi_box b, int depth, fi_bevel_slots c, int corners) {
    fi_draw_bevel(window, b.x1, b.y1, b.x2, b.y2, depth, c.left_top, c.face, c.right_bottom, c.outline, corners);
}

// Patterns of 8 rows of which the low 8 bits count; they lie over the form from its origin on, so that neighbours fit.
extern const uint32_t fi_hatch[8];         // most gadgets
extern const uint32_t fi_text_hatch[8];    // texts: three of four pixels
extern const uint32_t fi_slider_hatch[8];  // sliders
extern const uint32_t fi_light_pattern[8]; // for backgrounds
// Paints the set bits of the pattern in the current colour, and leaves the others alone.
void fi_hatch_area(int window, fi_box box, const uint32_t* hatch);
// Paints the clear bits, so that what lies under the set ones stays. Letters are a pixel wide: with three of four
// pixels gone nobody could read them.
void fi_hatch_around(int window, fi_box box, const uint32_t* hatch);
