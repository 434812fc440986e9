// Faces and states of buttons, toggles and checklists.
#include "forms/faces.h"

#include "forms/drawtext.h"
#include "forms/link.h"
#include "forms/press.h"
#include "forms/show.h"
#include "forms/symbols.h"

namespace {

void measure_text(FI_gadget* g, float factor) {
    fi_gadget_font(g, factor);
    g->text_width = 1; // asks for it
    fi_text_extent(g->text, &g->text_lines, &g->text_width, g->font_id, g->font_type);
}

void measure_symbols(FI_gadget* g) {
    g->char_width = fi_face_width(&g->face, g->x_scale);
    g->char_height = fi_face_height(&g->face, g->y_scale);
    g->on_char_width = fi_face_width(&g->face2, g->x_scale);
    g->on_char_height = fi_face_height(&g->face2, g->y_scale);
}

} // namespace

void fi_activate_face(FI_gadget* g) {
    if (fi_is_text_face(g)) {
        measure_text(g, 1.0F);
        return;
    }
    fi_load_face(g, &g->face);
    fi_load_face(g, &g->face2);
    measure_symbols(g);
}

void fi_scale_face(FI_gadget* g, float x_factor, float y_factor) {
    if (fi_is_text_face(g)) {
        measure_text(g, y_factor);
        return;
    }
    g->x_scale *= x_factor;
    g->y_scale *= y_factor;
    measure_symbols(g);
}

void fi_state_take_link(FI_gadget* g, const char* text) {
    g->value = fi_link_number(text) > 0 ? 1 : 0;
    if (g->type == FI_CHECKLIST) fi_ops(g).activate(g);
    fi_redraw_gadget(g);
    fi_carry_link(g);
}

namespace {
constexpr int BLANK = ' ';
}

bool fi_state_key(FI_gadget* g, fi_sequence* /*sequence*/, int key) {
    if (key != BLANK) return false;
    fi_press_by_key(g);
    return true;
}

bool fi_begin_select_press(FI_gadget* g) {
    if (g->group == nullptr || g->group->single_select == 0) return false;
    if (fi_is_on(g)) g->value = 0;
    return true;
}
