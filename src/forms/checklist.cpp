// Checklists.
#include "forms/checklist.h"

#include <algorithm>
#include <cmath>

#include "forms/drawtext.h"
#include "forms/edges.h"
#include "forms/env.h"
#include "forms/faces.h"
#include "forms/forms.h"
#include "forms/press.h"
#include "forms/show.h"
#include "forms/surface.h"
#include "forms/symbols.h"

namespace {

constexpr int BOX = 20; // side of the box at the design size
constexpr int BOX_DEPTH = 2;
constexpr int BOX_INSET = 4; // from the box to what is inside of its edges
constexpr int SYMBOL_GAP = 10;
constexpr uint8_t CHECK_MARK = 16; // symbols of "FIsym"
constexpr uint8_t THIRD_MARK = 36;
constexpr double THIRD_STATE = 2;
constexpr char GAP_LETTER[] = "j"; // as wide as the gap before a text

fi_box box_of(const FI_gadget* g) {
    const int side = fi_as<fi_checklist>(g)->box_size;
    const fi_box rect = fi_rect_of(g);
    return {rect.x1, rect.y1, rect.x1 + side, rect.y1 + side};
}

int face_height(const FI_gadget* g) {
    return fi_is_text_face(g) ? fi_text_height(g->text_lines, g->char_height) : g->char_height;
}

int face_width(const FI_gadget* g) {
    return fi_is_text_face(g) ? g->text_width : g->char_width;
}

// Of the face, centred vertically on the box.
fi_box face_box(const FI_gadget* g) {
    const fi_box box = box_of(g);
    const int left = box.x2 + fi_as<fi_checklist>(g)->box_gap;
    const int top = box.y1 + (box.y2 - box.y1) / 2 - face_height(g) / 2;
    return {left, top, left + face_width(g), top + face_height(g)};
}

bool is_three_state(const FI_gadget* g) {
    return (g->justification & FI_THREE_STATES) != 0;
}

void load_mark(FI_gadget* g) {
    auto* c = fi_as<fi_checklist>(g);
    const uint8_t number = is_three_state(g) && g->value == THIRD_STATE ? THIRD_MARK : CHECK_MARK;
    if (c->mark.bits == nullptr || c->mark.index != number) {
        c->mark.index = number;
        fi_load_symbol("FIsym", &c->mark, &c->mark_font);
    }
    c->mark_width = fi_face_width(&c->mark, c->box_scale);
    c->mark_height = fi_face_height(&c->mark, c->box_scale);
}

int text_gap(const FI_gadget* g) {
    int height = 0, width = 0, spacing = 0;
    fi_env.FI_CALC_TEXT(g->font_id, GAP_LETTER, 1, &height, &width, &spacing, g->font_type);
    return width;
}

void fit(FI_gadget* g) {
    auto* c = fi_as<fi_checklist>(g);
    c->box_size = std::max(static_cast<int>(std::lround(BOX * c->box_scale)), BOX_INSET * 2);
    c->box_gap = fi_is_text_face(g) ? text_gap(g) : static_cast<int>(std::lround(SYMBOL_GAP * c->box_scale));
    const int height = face_height(g);
    g->x2 = g->x1 + static_cast<float>(c->box_size + c->box_gap + face_width(g));
    g->y2 = g->y1 + static_cast<float>(height <= c->box_size ? c->box_size : c->box_size / 2 + height / 2);
}

} // namespace

void fi_checklist_activate(FI_gadget* g) {
    fi_activate_face(g);
    load_mark(g);
    fit(g);
}

void fi_checklist_scale(FI_gadget* g, float x_factor, float y_factor) {
    fi_scale_face(g, x_factor, y_factor);
    fi_as<fi_checklist>(g)->box_scale *= y_factor;
    load_mark(g);
    fit(g);
}

void fi_checklist_extent(const FI_gadget* g, fi_box* box) {
    const fi_box face = face_box(g);
    box->x2 = std::max(box->x2, face.x2);
    box->y1 = std::min(box->y1, face.y1);
    box->y2 = std::max(box->y2, face.y2);
}

// ---- drawing -------------------------------------------------------------------------------------------------------

namespace {

void draw_mark(FI_gadget* g, int window, fi_box box) {
    const auto* c = fi_as<fi_checklist>(g);
    if (!fi_is_on(g)) return;
    fi_graphic.fgcolor(
        window, fi_contrast(g->form->screen, fi_slot(g->form, fi_ink(g, FI_YELLOW)), fi_slot(g->form, FI_MED_GREY)));
    fi_draw_face(window, (box.x1 + box.x2) / 2 - c->mark_width / 2, (box.y1 + box.y2) / 2 - c->mark_height / 2,
                 c->mark_font, &c->mark, c->box_scale, c->box_scale);
}

void draw_box(FI_gadget* g, int window, fi_box box) {
    const int outline = fi_outline_color(g);
    const bool disabled = fi_is_disabled(g);
    fi_draw_bevel_in(window, box, BOX_DEPTH,
                     fi_bevel_colors(g->form, disabled ? FI_LT_GREY : FI_BLACK, FI_MED_GREY,
                                     disabled ? FI_LT_GREY : FI_WHITE, outline),
                     FI_SQUARE_CORNERS);
    draw_mark(g, window, box);
}

void draw_face(FI_gadget* g, int window, fi_box face) {
    fi_set_color(g->form, window, fi_ink(g, g->off_color));
    if (fi_is_text_face(g)) {
        fi_draw_text(g, face.x1, face.y1, face.x2, face.y2, g->text, g->text_lines, g->char_height, false, false);
        return;
    }
    fi_draw_face(window, face.x1, face.y1, g->font_id, &g->face, g->x_scale, g->y_scale);
    fi_draw_face(window, face.x1, face.y1, g->font_id, &g->face2, g->x_scale, g->y_scale);
}

} // namespace

void fi_checklist_draw(FI_gadget* g, int window) {
    const fi_box box = box_of(g);
    const fi_box face = face_box(g);
    draw_box(g, window, box);
    draw_face(g, window, face);
    if (!fi_is_hatched(g)) return;
    if (fi_is_on(g)) {
        fi_set_color(g->form, window, FI_MED_GREY);
        fi_hatch_area(window, fi_inset(box, BOX_INSET), fi_hatch);
    }
    fi_set_color(g->form, window, fi_erase_color(g));
    fi_hatch_area(window, face, fi_hatch);
}

void fi_checklist_erase(FI_gadget* g, int window) {
    fi_fill(window, box_of(g));
    fi_fill(window, face_box(g));
}

// ---- reaction ------------------------------------------------------------------------------------------------------

bool fi_checklist_hit(FI_gadget* g, int x, int y) {
    return fi_box_has(fi_extent_of(g), x, y);
}

int fi_checklist_press(FI_gadget* g, int window, int /*x*/, int /*y*/, int /*transition*/, bool* complete,
                       double* value) {
    const fi_hold hold(g);
    const bool is_select = fi_begin_select_press(g);
    if (is_three_state(g))
        g->value = g->value + 1 > THIRD_STATE ? 0 : g->value + 1;
    else if ((g->justification & FI_ALWAYS_ON) != 0)
        g->value = 1;
    else
        g->value = fi_is_on(g) ? 0 : 1;
    load_mark(g);
    *value = g->value;
    *complete = true;
    if (fi_shown_window(g) == window) {
        fi_set_color(g->form, window, g->form->bg_color);
        fi_fill(window, fi_inset(box_of(g), BOX_INSET));
    }
    fi_redraw_gadget(g);
    if (is_select && fi_is_on(g)) fi_single_select(g);
    return 0;
}
