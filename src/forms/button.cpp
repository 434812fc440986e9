// Buttons.
#include "forms/button.h"

#include "forms/drawtext.h"
#include "forms/edges.h"
#include "forms/env.h"
#include "forms/faces.h"
#include "forms/forms.h"
#include "forms/press.h"
#include "forms/show.h"
#include "forms/surface.h"
#include "forms/symbols.h"
#include "tools/events.h"

namespace {

constexpr int DEPTH = 3;
constexpr int LOW_DEPTH = 2; // of the buttons with a label below LOW_LABELS
constexpr int LOW_LABELS = 9;
constexpr int SMALLEST_RAISED = 10; // a button below that in width or height is flat
constexpr int PAUSE = 8;            // ticks that a button stays in before it springs back

// Labels with a meaning.
constexpr int RESET_LABEL = 3;
constexpr int PERMANENT_LABEL = 5;
constexpr int HELP_LABEL = 6;
constexpr int LEFT_ARROW_LABEL = -1; // of a field
constexpr int RIGHT_ARROW_LABEL = -2;

int depth_of(const FI_gadget* g) {
    if (g->x2 - g->x1 < SMALLEST_RAISED || g->y2 - g->y1 < SMALLEST_RAISED) return 0;
    return g->label < LOW_LABELS ? LOW_DEPTH : DEPTH;
}

fi_bevel_slots colors_of(const FI_gadget* g) {
    const int outline = fi_outline_color(g);
    const int face = fi_is_on(g) ? FI_MED_GREY : FI_LT_GREY;
    if (fi_is_disabled(g)) return fi_bevel_colors(g->form, FI_LT_GREY, face, FI_LT_GREY, outline);
    return fi_is_on(g) ? fi_bevel_colors(g->form, FI_BLACK, face, FI_WHITE, outline)
                       : fi_bevel_colors(g->form, FI_WHITE, face, FI_BLACK, outline);
}

void draw_symbols(FI_gadget* g, int window) {
    const int x = static_cast<int>(g->x1) + static_cast<int>(g->x2 - g->x1) / 2 - g->char_width / 2;
    const int y = static_cast<int>(g->y1) + static_cast<int>(g->y2 - g->y1) / 2 - g->char_height / 2;
    fi_draw_face(window, x, y, g->font_id, &g->face, g->x_scale, g->y_scale);
    if (fi_as<fi_button>(g)->menu_button != 0)
        fi_set_color(g->form, window, fi_ink(g, fi_is_on(g) ? g->on_color2 : g->off_color2));
    fi_draw_face(window, x, y, g->font_id, &g->face2, g->x_scale, g->y_scale);
}

} // namespace

void fi_button_draw(FI_gadget* g, int window) {
    const fi_box box = fi_rect_of(g);
    const int depth = depth_of(g);
    fi_draw_bevel_in(window, box, depth, colors_of(g), FI_CUT_CORNERS);
    const fi_box inside = fi_inset(box, depth + 1);
    fi_clip(g->form, window, inside);
    fi_set_color(g->form, window, fi_ink(g, fi_is_on(g) ? g->on_color : g->off_color));
    if (fi_is_text_face(g))
        fi_draw_text(g, box.x1, box.y1, box.x2, box.y2, g->text, g->text_lines, g->char_height, true, false);
    else
        draw_symbols(g, window);
    if (fi_is_hatched(g)) {
        fi_set_color(g->form, window, fi_is_on(g) ? FI_MED_GREY : FI_LT_GREY);
        fi_hatch_area(window, inside, fi_hatch);
    }
    fi_clip_back(g->form, window);
}

// ---- press ---------------------------------------------------------------------------------------------------------

namespace {

// What the label of a button does besides. False when the gadget has gone.
bool act_by_label(FI_gadget* g, int transition, bool* complete) {
    const fi_hold hold(g);
    switch (g->label) {
    case RESET_LABEL:
        Sleep_ticks(PAUSE);
        fi_reset_gadget(fi_common(g->form->root_group));
        break;
    case PERMANENT_LABEL:
        if (fi_state.sr_depth == 1) FIf_cvrt_to_perm_win(g->form);
        break;
    case LEFT_ARROW_LABEL:
    case RIGHT_ARROW_LABEL:
        *complete = false;
        if (g->owner != nullptr && fi_ops(g->owner).arrow != nullptr)
            fi_ops(g->owner).arrow(g->owner, g->label == LEFT_ARROW_LABEL ? -1 : 1, transition);
        break;
    default: break;
    }
    return !hold.gone();
}

// Tells, waits so that the press is seen, and springs back. False when the gadget has gone.
bool pop_up(FI_gadget* g, double value) {
    const fi_hold hold(g);
    fi_notify(g, value);
    if (hold.gone()) return false;
    Sleep_ticks(PAUSE);
    if (g->label != RESET_LABEL) g->value = 0;
    fi_redraw_gadget(g);
    return true;
}

void press(FI_gadget* g, int transition, bool* complete, double* value) {
    const fi_hold hold(g);
    *complete = true;
    g->value = fi_is_on(g) ? 0 : 1;
    *value = g->value;
    fi_redraw_gadget(g);
    if (!act_by_label(g, transition, complete)) return;
    if (fi_as<fi_button>(g)->auto_pop_up != 0) {
        *complete = false;
        if (!pop_up(g, *value)) return;
    }
    if (g->label == HELP_LABEL) fi_env.FI_ACTIVATE_HELP(g->form);
    if (!*complete && !hold.gone()) fi_run_hooks(g);
}

} // namespace

int fi_button_press(FI_gadget* g, int /*window*/, int /*x*/, int /*y*/, int transition, bool* complete, double* value) {
    const fi_hold hold(g);
    const bool was_on = fi_is_on(g);
    const bool is_select = fi_begin_select_press(g);
    const bool is_menu = fi_as<fi_button>(g)->menu_button != 0;
    if (is_select || !is_menu) press(g, transition, complete, value);
    if (hold.gone()) return 0;
    if (is_select && !was_on) fi_single_select(g);
    if (is_menu) *complete = true;
    return 0;
}
