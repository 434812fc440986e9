// Windows, clip, colours and areas for gadgets.
#include "forms/surface.h"

#include <algorithm>

#include "forms/env.h"

namespace {

bool is_top_popup(const FI_form* form) {
    return fi_state.sr_depth > 0 && fi_state.sr_forms[fi_state.sr_depth] == form;
}

int16_t whole(float v) {
    return static_cast<int16_t>(std::clamp(v, -32768.0F, 32767.0F));
}

} // namespace

bool fi_is_popup(const FI_form* form) {
    for (int i = 1; i <= fi_state.sr_depth; ++i)
        if (fi_state.sr_forms[i] == form) return true;
    return false;
}

int fi_draw_window(FI_form* form) {
    if (form->window < 0) return -1;
    if (fi_state.sr_depth > 0 && !is_top_popup(form)) {
        // What a pop-up covers comes back as it was before.
        form->stale = 1;
        if (fi_is_popup(form)) return -1;
    }
    return form->window;
}

void fi_partial_begin(FI_form* form, int window, fi_box area) {
    fi_state.partial = true;
    fi_state.clipped = form;
    fi_state.clip = area;
    fi_clip_back(form, window);
}

void fi_partial_end(FI_form* form, int window) {
    fi_state.partial = false;
    fi_state.clipped = nullptr;
    fi_clip_back(form, window);
}

void fi_clip(const FI_form* form, int window, fi_box box) {
    if (fi_state.clipped == form) {
        const fi_box limit = fi_state.clip;
        box = {std::max(box.x1, limit.x1), std::max(box.y1, limit.y1), std::min(box.x2, limit.x2),
               std::min(box.y2, limit.y2)};
    }
    if (fi_box_empty(box)) box = {1, 1, 0, 0};
    fi_graphic.clipbox(window, box.x1, box.y1, box.x2, box.y2);
}

void fi_clip_back(const FI_form* form, int window) {
    fi_clip(form, window, {0, 0, fi_form_width(form), fi_form_height(form)});
}

int fi_slot(const FI_form* form, int color) {
    return fi_env.FI_TRANSLATE_COLOR(form->screen, color);
}

void fi_set_color(const FI_form* form, int window, int color) {
    fi_graphic.fgcolor(window, fi_slot(form, color));
}

int fi_erase_color(const FI_gadget* g) {
    return g->erase_color == -1 ? g->form->bg_color : g->erase_color;
}

namespace {

constexpr int MANY_COLORS = 16;

int colors_of(int screen) {
    return screen >= 0 && screen < FI_SCREENS ? fi_state.screens[screen][FI_SCREEN_COLORS] : MANY_COLORS;
}

} // namespace

int fi_contrast(int screen, int slot, int other) {
    const int colors = colors_of(screen);
    if (slot != other || colors >= MANY_COLORS || fi_state.private_colors) return slot;
    for (int color = 0; color < FI_COLORS; ++color) {
        const int found = fi_env.FI_TRANSLATE_COLOR(screen, color);
        if (found != other) return found;
    }
    return other == 0 ? colors - 1 : 0;
}

fi_box fi_rect_of(const FI_gadget* g) {
    return {whole(g->x1), whole(g->y1), whole(g->x2), whole(g->y2)};
}

fi_box fi_extent_of(const FI_gadget* g) {
    fi_box box = fi_rect_of(g);
    if (fi_ops(g).extent != nullptr) fi_ops(g).extent(g, &box);
    return box;
}

bool fi_boxes_meet(fi_box a, fi_box b) {
    return a.x1 <= b.x2 && b.x1 <= a.x2 && a.y1 <= b.y2 && b.y1 <= a.y2;
}

void fi_fill(int window, fi_box box) {
    if (!fi_box_empty(box)) fi_graphic.rectf(window, box.x1, box.y1, box.x2, box.y2);
}

void fi_line_from(int window, int x1, int y1, int x2, int y2) {
    fi_graphic.move(window, x1, y1);
    fi_graphic.draw(window, x2, y2);
}

void fi_outline(int window, fi_box box) {
    const int32_t points[] = {box.x1, box.y1, box.x2, box.y1, box.x2, box.y2, box.x1, box.y2, box.x1, box.y1};
    fi_graphic.polyf(window, points, 5, 4);
}

void fi_thick_outline(int window, fi_box box, int weight) {
    const int before = weight / 2;
    const int behind = weight - before;
    const fi_box out = {box.x1 - before, box.y1 - before, box.x2 + behind, box.y2 + behind};
    fi_fill(window, {out.x1, out.y1, out.x2, out.y1 + weight});
    fi_fill(window, {out.x1, out.y2 - weight, out.x2, out.y2});
    fi_fill(window, {out.x1, out.y1, out.x1 + weight, out.y2});
    fi_fill(window, {out.x2 - weight, out.y1, out.x2, out.y2});
}

void fi_flush(int window) {
    if (!fi_state.partial) fi_graphic.flushbuffer(window);
}
