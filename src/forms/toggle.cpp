// Toggles.
#include "forms/toggle.h"

#include "forms/drawtext.h"
#include "forms/edges.h"
#include "forms/faces.h"
#include "forms/show.h"
#include "forms/surface.h"
#include "forms/symbols.h"
#include "forms/text.h"

namespace {

constexpr int FRAME_DEPTH = 2;
constexpr int BAR_MARGIN = 4;
constexpr int NARROW = 75; // a toggle that is narrower has a smaller bar
constexpr int LOW = 20;    // and one that is lower a flat one

struct bar_size {
    int width, depth;
};

bar_size bar_of(fi_box box) {
    bar_size bar = {12, 3};
    if (box.x2 - box.x1 < NARROW) bar = {10, 2};
    if (box.y2 - box.y1 < LOW) bar.depth = 1;
    return bar;
}

void draw_frame(FI_gadget* g, int window, fi_box box) {
    const int outline = fi_outline_color(g);
    const fi_bevel_slots colors = fi_is_disabled(g)
                                      ? fi_bevel_colors(g->form, FI_LT_GREY, FI_LT_GREY, FI_LT_GREY, outline)
                                      : fi_bevel_colors(g->form, FI_BLACK, FI_MED_GREY, FI_WHITE, outline);
    fi_draw_bevel_in(window, box, FRAME_DEPTH, colors, FI_SQUARE_CORNERS);
}

void draw_bar(FI_gadget* g, int window, fi_box box, bar_size bar) {
    const int outline = fi_outline_color(g);
    const fi_bevel_slots colors = fi_is_disabled(g)
                                      ? fi_bevel_colors(g->form, FI_LT_GREY, FI_LT_GREY, FI_LT_GREY, outline)
                                      : fi_bevel_colors(g->form, FI_WHITE, FI_LT_GREY, FI_BLACK, outline);
    const int left = fi_is_on(g) ? box.x2 - bar.width - BAR_MARGIN : box.x1 + BAR_MARGIN;
    fi_draw_bevel_in(window, {left, box.y1 + BAR_MARGIN, left + bar.width, box.y2 - BAR_MARGIN}, bar.depth, colors,
                     FI_CUT_CORNERS);
}

// The left edge of a face of that width, in the room that the bar leaves.
int face_left(const FI_gadget* g, fi_box box, int bar, int width) {
    const int middle = box.x1 + (box.x2 - box.x1) / 2 - width / 2;
    return fi_is_on(g) ? middle - 1 - bar / 2 : middle + 3 + bar / 2;
}

void draw_text(FI_gadget* g, fi_box box, int bar) {
    const auto* t = fi_as<fi_toggle>(g);
    const bool on = fi_is_on(g);
    const int width = on ? t->on_text_width : g->text_width;
    const int left = face_left(g, box, bar, width);
    fi_draw_text(g, left, box.y1, left + width, box.y2, on ? t->on_text : g->text,
                 on ? t->on_text_lines : g->text_lines, g->char_height, true, false);
}

void draw_symbol(FI_gadget* g, int window, fi_box box, int bar) {
    const bool on = fi_is_on(g);
    const int height = on ? g->on_char_height : g->char_height;
    fi_draw_face(window, face_left(g, box, bar, on ? g->on_char_width : g->char_width),
                 box.y1 + (box.y2 - box.y1) / 2 - height / 2, g->font_id, on ? &g->face2 : &g->face, g->x_scale,
                 g->y_scale);
}

// The room that the bar leaves.
fi_box beside_bar(const FI_gadget* g, fi_box inside, bar_size bar) {
    const int taken = bar.width + BAR_MARGIN;
    if (fi_is_on(g))
        inside.x2 -= taken;
    else
        inside.x1 += taken;
    return inside;
}

void measure_on_text(FI_gadget* g) {
    auto* t = fi_as<fi_toggle>(g);
    if (!fi_is_text_face(g)) return;
    int lines = 1;
    t->on_text_width = 1; // asks for it
    fi_text_extent(t->on_text, &lines, &t->on_text_width, g->font_id, g->font_type);
    t->on_text_lines = static_cast<uint16_t>(lines);
    g->on_char_width = t->on_text_width;
    g->on_char_height = g->char_height;
}

} // namespace

void fi_toggle_draw(FI_gadget* g, int window) {
    const fi_box box = fi_rect_of(g);
    const bar_size bar = bar_of(box);
    draw_frame(g, window, box);
    draw_bar(g, window, box, bar);
    const fi_box inside = fi_inset(box, FRAME_DEPTH + 1);
    fi_clip(g->form, window, inside);
    fi_set_color(g->form, window, fi_ink(g, fi_is_on(g) ? g->on_color : g->off_color));
    if (fi_is_text_face(g))
        draw_text(g, box, bar.width);
    else
        draw_symbol(g, window, box, bar.width);
    if (fi_is_hatched(g)) {
        fi_set_color(g->form, window, FI_LT_GREY);
        fi_hatch_area(window, beside_bar(g, inside, bar), fi_hatch);
    }
    fi_clip_back(g->form, window);
}

void fi_toggle_activate(FI_gadget* g) {
    fi_activate_face(g);
    measure_on_text(g);
}

void fi_toggle_scale(FI_gadget* g, float x_factor, float y_factor) {
    fi_scale_face(g, x_factor, y_factor);
    measure_on_text(g);
}

int fi_toggle_press(FI_gadget* g, int /*window*/, int /*x*/, int /*y*/, int /*transition*/, bool* complete,
                    double* value) {
    const fi_hold hold(g);
    const bool was_on = fi_is_on(g);
    const bool is_select = fi_begin_select_press(g);
    g->value = fi_is_on(g) ? 0 : 1;
    *value = g->value;
    *complete = true;
    fi_redraw_gadget(g);
    if (is_select && !was_on) fi_single_select(g);
    return 0;
}
