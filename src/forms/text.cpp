// Static texts.
#include "forms/text.h"

#include "forms/drawtext.h"
#include "forms/edges.h"
#include "forms/faces.h"
#include "forms/forms.h"
#include "forms/link.h"
#include "forms/press.h"
#include "forms/show.h"
#include "forms/surface.h"
#include "forms/textops.h"

namespace {

constexpr int HATCH_RIGHT = 3; // that the hatch reaches beyond a text

float text_height(const FI_gadget* g) {
    const int between = g->char_height / 5;
    return static_cast<float>(g->text_lines * g->char_height + between * (g->text_lines - 1));
}

void measure(FI_gadget* g, float factor) {
    fi_gadget_font(g, factor);
    g->text_width = 1; // asks for it
    fi_text_extent(g->text, &g->text_lines, &g->text_width, g->font_id, g->font_type);
}

} // namespace

void fi_text_activate(FI_gadget* g) {
    measure(g, 1.0F);
    g->x2 = g->x1 + static_cast<float>(g->text_width);
    g->y2 = g->y1 + text_height(g);
}

void fi_text_refit(FI_gadget* g, float factor) {
    measure(g, factor);
    const auto width = static_cast<float>(g->text_width);
    switch (g->justification) {
    case FI_RIGHT:
        g->x1 = g->x2 - width;
        g->y1 = g->y2 - text_height(g);
        break;
    case FI_CENTER: g->x1 = (g->x1 + g->x2 - width) / 2; break;
    default: break;
    }
    g->x2 = g->x1 + width;
    g->y2 = g->y1 + text_height(g);
}

void fi_text_scale(FI_gadget* g, float /*x_factor*/, float y_factor) {
    fi_text_refit(g, y_factor);
}

namespace {

void draw_lines(FI_gadget* g, bool one_color) {
    const fi_box box = fi_rect_of(g);
    fi_draw_text(g, box.x1, box.y1, box.x2, box.y2, g->text, g->text_lines, g->char_height, false, one_color);
}

} // namespace

void fi_text_draw(FI_gadget* g, int window) {
    fi_set_color(g->form, window, fi_ink(g, g->off_color));
    draw_lines(g, false);
    if (!fi_is_hatched(g)) return;
    fi_box box = fi_extent_of(g);
    box.x2 += HATCH_RIGHT;
    fi_set_color(g->form, window, fi_erase_color(g));
    fi_hatch_around(window, box, fi_text_hatch);
}

void fi_text_erase(FI_gadget* g, int /*window*/) {
    draw_lines(g, true);
}

// Embossed letters stand a pixel off on all sides.
void fi_text_extent_box(const FI_gadget* g, fi_box* box) {
    if (g->style != 0) *box = fi_inset(*box, -1);
}

namespace {

struct line_search {
    const FI_gadget* g;
    int x, y;
    bool found;
};

bool line_is_hit(void* user, int line, int width) {
    auto* s = static_cast<line_search*>(user);
    const fi_box box = fi_rect_of(s->g);
    const int top = box.y1 + line * fi_text_pitch(s->g->char_height);
    int left = box.x1;
    if (s->g->justification == FI_RIGHT) left = box.x2 - width;
    if (s->g->justification == FI_CENTER) left = box.x1 + (box.x2 - box.x1 - width) / 2;
    s->found = fi_box_has({left, top, left + width, top + s->g->char_height}, s->x, s->y);
    return s->found;
}

} // namespace

bool fi_text_hit(FI_gadget* g, int x, int y) {
    if (*g->text == '\0') return false;
    if (g->text_lines == 1) return fi_hits_rect(g, x, y);
    line_search search = {g, x, y, false};
    fi_each_text_line(g, line_is_hit, &search);
    return search.found;
}

char* fi_text_link_text(FI_gadget* g) {
    return fi_string_dup(g->text);
}

void fi_text_take_link(FI_gadget* g, const char* text) {
    const bool shown = g->displayed != 0;
    if (shown) fi_erase_gadget(g);
    FIg_set_text(g->form, g->label, text);
    fi_activate_gadget(g);
    if (!shown) return;
    fi_allow_display(g);
    fi_display_gadget(g, fi_draw_window(g->form));
}
