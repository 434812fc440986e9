// Bevels and hatches.
#include "forms/edges.h"

#include <algorithm>

#include "forms/env.h"
#include "forms/surface.h"
#include "support/memory.h"

const uint32_t fi_hatch[8] = {0xAAAAAAAA, 0x55555555, 0xAAAAAAAA, 0x55555555,
                              0xAAAAAAAA, 0x55555555, 0xAAAAAAAA, 0x55555555};
const uint32_t fi_text_hatch[8] = {0x77777777, 0xDDDDDDDD, 0x77777777, 0xDDDDDDDD,
                                   0x77777777, 0xDDDDDDDD, 0x77777777, 0xDDDDDDDD};
const uint32_t fi_slider_hatch[8] = {0x11111111, 0, 0x44444444, 0, 0x11111111, 0, 0x44444444, 0};
const uint32_t fi_light_pattern[8] = {0x88888888, 0, 0x22222222, 0, 0x88888888, 0, 0x22222222, 0};

fi_bevel_slots fi_bevel_colors(const FI_form* form, int left_top, int face, int right_bottom, int outline) {
    return {fi_slot(form, left_top), fi_slot(form, face), fi_slot(form, right_bottom), fi_slot(form, outline)};
}

namespace {

constexpr int CUT = 3;       // pixels of a cut corner
constexpr int SMALL_CUT = 1; // in a face that is so low or narrow that little of it would be left
constexpr int SMALL_FACE = 12;

void fill_in(int window, int slot, fi_box box) {
    fi_graphic.fgcolor(window, slot);
    fi_fill(window, box);
}

// The strips at left and right reach over the whole height; those above and below cover their ends with mitred corners.
void fill_edges(int window, fi_box outer, fi_box inner, int depth, int left_top, int right_bottom) {
    fill_in(window, left_top, {outer.x1, outer.y1, inner.x1 - 1, outer.y2});
    fill_in(window, right_bottom, {inner.x2 + 1, outer.y1, outer.x2, outer.y2});
    // A polygon's last row and column lie outside of it.
    fi_graphic.polygon4(window, outer.y2 - depth + 1, outer.y2 + 1, inner.x1, outer.x1, inner.x2 + 1, outer.x2 + 1);
    fi_graphic.fgcolor(window, left_top);
    fi_graphic.polygon4(window, outer.y1, outer.y1 + depth, outer.x1, inner.x1, outer.x2 + 1, inner.x2 + 1);
}

void square_corners(int window, fi_box outer, fi_box inner) {
    fi_outline(window, inner);
    fi_line_from(window, outer.x1, outer.y2, inner.x1, inner.y2);
    fi_line_from(window, outer.x2, outer.y1, inner.x2, inner.y1);
    fi_line_from(window, outer.x2, outer.y2, inner.x2, inner.y2);
}

void octagon(int window, fi_box b) {
    const int side = std::min(b.x2 - b.x1, b.y2 - b.y1);
    const int cut = std::min(side < SMALL_FACE ? SMALL_CUT : CUT, side / 2);
    const int32_t points[] = {b.x1 + cut, b.y1,       b.x2 - cut, b.y1,       b.x2,       b.y1 + cut,
                              b.x2,       b.y2 - cut, b.x2 - cut, b.y2,       b.x1 + cut, b.y2,
                              b.x1,       b.y2 - cut, b.x1,       b.y1 + cut, b.x1 + cut, b.y1};
    fi_graphic.polyf(window, points, 9, 4);
}

void cut_corners(int window, fi_box outer, fi_box inner) {
    octagon(window, inner);
    const int xs[2][2] = {{outer.x1, inner.x1}, {outer.x2, inner.x2}};
    const int ys[2][2] = {{outer.y1, inner.y1}, {outer.y2, inner.y2}};
    for (const auto& x : xs)
        for (const auto& y : ys) {
            fi_line_from(window, x[0], y[0], x[1], y[1]);
            fi_graphic.pnt(window, x[1], y[1]);
        }
}

} // namespace

void fi_draw_bevel(int window, int x1, int y1, int x2, int y2, int depth, int left_top, int face, int right_bottom,
                   int outline, int corners) {
    const fi_box outer = {x1, y1, x2, y2};
    if (fi_box_empty(outer)) return;
    depth = std::min({depth, (x2 - x1) / 2, (y2 - y1) / 2});
    const fi_box inner = fi_inset(outer, depth);
    fi_graphic.linestyle(window, FI_SOLID_LINE);
    fi_graphic.weight(window, 0);
    fill_in(window, face, inner);
    if (depth > 0) fill_edges(window, outer, inner, depth, left_top, right_bottom);
    fi_graphic.fgcolor(window, outline);
    fi_outline(window, outer);
    if (depth == 0) return;
    if (corners == FI_CUT_CORNERS)
        cut_corners(window, outer, inner);
    else
        square_corners(window, outer, inner);
}

// ---- hatches -------------------------------------------------------------------------------------------------------

namespace {

constexpr int BAND = 16; // rows that are painted at a time: a multiple of the pattern's
constexpr int ROWS = 8;

// The bits of a band whose first pixel is x, y of the form.
void fill_band(uint8_t* bits, size_t stride, int x, int y, const uint32_t* hatch) {
    const int shift = x & 7;
    for (int row = 0; row < BAND; ++row) {
        const unsigned low = hatch[(y + row) & (ROWS - 1)] & 0xFFU;
        const unsigned turned = (low | low << 8) >> shift & 0xFFU;
        std::fill_n(bits + static_cast<size_t>(row) * stride, stride, static_cast<uint8_t>(turned));
    }
}

} // namespace

void fi_hatch_area(int window, fi_box box, const uint32_t* hatch) {
    // A file may have gadgets that are far larger than the window: nothing is made for what can't be seen.
    fi_box place = {0, 0, 0, 0};
    if (fi_graphic.Inq_win_region(window, &place.x1, &place.y1, &place.x2, &place.y2) != 0) return;
    box = {std::max(box.x1, 0), std::max(box.y1, 0), std::min(box.x2, place.x2 - place.x1),
           std::min(box.y2, place.y2 - place.y1)};
    if (fi_box_empty(box)) return;
    const size_t stride = (static_cast<size_t>(box.x2 - box.x1) + 8) / 8;
    const mem_guard<uint8_t> bits(mem_new_array<uint8_t>(stride * BAND));
    if (!bits) return; // without memory a disabled gadget looks as if it were enabled
    fill_band(bits.get(), stride, box.x1, box.y1, hatch);
    for (int y = box.y1; y <= box.y2; y += BAND)
        fi_graphic.drawbitmap(window, box.x1, y, box.x2, std::min(y + BAND - 1, box.y2), bits.get());
}

void fi_hatch_around(int window, fi_box box, const uint32_t* hatch) {
    uint32_t inverted[ROWS];
    for (int i = 0; i < ROWS; ++i)
        inverted[i] = ~hatch[i];
    fi_hatch_area(window, box, inverted);
}
