// Symbols, lines, rectangles and bevels.
#include "forms/static.h"

#include <algorithm>

#include "forms/edges.h"
#include "forms/env.h"
#include "forms/faces.h"
#include "forms/press.h"
#include "forms/surface.h"
#include "forms/symbols.h"

// ---- symbols -------------------------------------------------------------------------------------------------------

namespace {

void fit_symbol(FI_gadget* g) {
    g->char_width = fi_face_width(&g->face, g->x_scale);
    g->char_height = fi_face_height(&g->face, g->y_scale);
    g->x2 = g->x1 + static_cast<float>(g->char_width);
    g->y2 = g->y1 + static_cast<float>(g->char_height);
}

} // namespace

void fi_symbol_activate(FI_gadget* g) {
    fi_load_face(g, &g->face);
    fit_symbol(g);
    g->orig_width = static_cast<float>(g->char_width);
    g->orig_height = static_cast<float>(g->char_height);
}

void fi_symbol_scale(FI_gadget* g, float x_factor, float y_factor) {
    g->x_scale *= x_factor;
    g->y_scale *= y_factor;
    fit_symbol(g);
}

void fi_symbol_draw(FI_gadget* g, int window) {
    const fi_box box = fi_rect_of(g);
    fi_set_color(g->form, window, fi_ink(g, g->off_color));
    fi_draw_face(window, box.x1, box.y1, g->font_id, &g->face, g->x_scale, g->y_scale);
    if (!fi_is_hatched(g)) return;
    fi_set_color(g->form, window, fi_erase_color(g));
    fi_hatch_area(window, box, fi_hatch);
}

// ---- lines and rectangles ------------------------------------------------------------------------------------------

namespace {

// Style of lines and rectangles.
constexpr int RAISED = 1; // a line; a rectangle is double
constexpr int SUNKEN = 2; // a line; a rectangle is filled
constexpr int OWN_COLOR = -1;

// Distance and weight of the lines that make a relief.
struct relief {
    int distance, weight;
};

relief relief_of(int weight) {
    if (weight < 2) return {1, 0};
    return weight > 4 ? relief{2, 2} : relief{1, 1};
}

// Colours of one drawing: those of the gadget, or one for all to erase it.
struct inks {
    const FI_gadget* g;
    int window;
    int only; // OWN_COLOR, or the colour of everything
};

void ink(const inks& i, int color) {
    fi_set_color(i.g->form, i.window, i.only == OWN_COLOR ? fi_ink(i.g, color) : i.only);
}

void shifted_line(const inks& i, fi_box b, int by) {
    const bool horizontal = b.y1 == b.y2;
    const int dx = horizontal ? 0 : by;
    const int dy = horizontal ? by : 0;
    fi_line_from(i.window, b.x1 + dx, b.y1 + dy, b.x2 + dx, b.y2 + dy);
}

void draw_line(const inks& i) {
    const auto* l = fi_as<fi_line>(i.g);
    const fi_box box = fi_rect_of(i.g);
    const relief r = relief_of(l->line_weight);
    fi_graphic.linestyle(i.window, l->line_pattern);
    fi_graphic.weight(i.window, l->line_weight);
    ink(i, i.g->off_color);
    if (i.g->style != SUNKEN) shifted_line(i, box, 0);
    fi_graphic.weight(i.window, r.weight);
    if (i.g->style == RAISED) {
        ink(i, FI_WHITE);
        shifted_line(i, box, -r.distance);
        ink(i, FI_BLACK);
        shifted_line(i, box, r.distance);
    }
    if (i.g->style == SUNKEN) {
        shifted_line(i, box, 0);
        ink(i, FI_WHITE);
        shifted_line(i, box, r.distance);
    }
    fi_graphic.weight(i.window, 0);
    fi_graphic.linestyle(i.window, FI_SOLID_LINE);
}

fi_box sorted(fi_box b) {
    return {std::min(b.x1, b.x2), std::min(b.y1, b.y2), std::max(b.x1, b.x2), std::max(b.y1, b.y2)};
}

// A rectangle turned round has the lines of one that isn't.
void frame(const inks& i, fi_box b, int weight) {
    const auto* rect = fi_as<fi_rect>(i.g);
    if (rect->line_pattern == FI_SOLID_LINE) return fi_thick_outline(i.window, sorted(b), weight);
    fi_graphic.weight(i.window, weight);
    fi_outline(i.window, b);
}

void draw_rect(const inks& i) {
    const auto* rect = fi_as<fi_rect>(i.g);
    const fi_box b = fi_rect_of(i.g);
    const relief r = relief_of(rect->line_weight);
    fi_graphic.linestyle(i.window, rect->line_pattern);
    ink(i, i.g->off_color);
    frame(i, b, rect->line_weight);
    if (i.g->style == RAISED) {
        const int d = r.distance;
        ink(i, FI_BLACK);
        frame(i, {b.x1 + d, b.y1 + d, b.x2 + d, b.y2 + d}, r.weight);
        ink(i, FI_WHITE);
        frame(i, {b.x1 - d, b.y1 - d, b.x2 - d, b.y2 - d}, r.weight);
    }
    fi_graphic.weight(i.window, 0);
    fi_graphic.linestyle(i.window, FI_SOLID_LINE);
    if (i.g->style != SUNKEN) return;
    const int n = rect->line_weight + 1;
    const int before = n / 2 + 1;
    const int behind = n / 2 + (n % 2 != 0 ? 1 : 0);
    fi_set_color(i.g->form, i.window, i.only == OWN_COLOR ? i.g->on_color : i.only);
    fi_fill(i.window, {b.x1 + before, b.y1 + before, b.x2 - behind, b.y2 - behind});
}

void widen(fi_box* box, int weight) {
    *box = fi_inset(sorted(*box), -(weight + relief_of(weight).distance));
}

} // namespace

void fi_line_draw(FI_gadget* g, int window) {
    draw_line({g, window, OWN_COLOR});
}

void fi_line_erase(FI_gadget* g, int window) {
    draw_line({g, window, fi_erase_color(g)});
}

void fi_line_extent(const FI_gadget* g, fi_box* box) {
    widen(box, fi_as<fi_line>(g)->line_weight);
}

void fi_rect_draw(FI_gadget* g, int window) {
    draw_rect({g, window, OWN_COLOR});
}

void fi_rect_erase(FI_gadget* g, int window) {
    draw_rect({g, window, fi_erase_color(g)});
}

void fi_rect_extent(const FI_gadget* g, fi_box* box) {
    widen(box, fi_as<fi_rect>(g)->line_weight);
}

bool fi_rect_hit(FI_gadget* g, int x, int y) {
    return g->style == SUNKEN && fi_hits_rect(g, x, y);
}

// ---- bevels --------------------------------------------------------------------------------------------------------

namespace {
constexpr int BEVEL_DEPTH = 3;
}

void fi_bevel_draw(FI_gadget* g, int window) {
    const bool sunken = g->value != 0;
    fi_draw_bevel_in(window, fi_rect_of(g), BEVEL_DEPTH,
                     fi_bevel_colors(g->form, sunken ? FI_BLACK : FI_WHITE, g->off_color, sunken ? FI_WHITE : FI_BLACK,
                                     fi_outline_color(g)),
                     FI_SQUARE_CORNERS);
}
