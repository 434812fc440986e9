// How fields look: frame, strip, rows of text, cursor.
//
// A row is drawn on the ground of its mode: what is typed into is darker than what is read or chosen from, and a chosen
// row is darker again. Nothing is drawn outside of the text area, whatever the width of the characters.
#include <algorithm>
#include <cstring>

#include "forms/edges.h"
#include "forms/env.h"
#include "forms/faces.h"
#include "forms/fields.h"
#include "forms/mcf.h"
#include "forms/show.h"
#include "forms/surface.h"

// ---- places --------------------------------------------------------------------------------------------------------

fi_box fi_text_box(const fi_field* f) {
    fi_box box = fi_rect_of(&f->common);
    if (fi_has_strip(f)) box.x2 -= FI_STRIP;
    return box;
}

fi_box fi_row_box(const fi_field* f, int row) {
    fi_box box = fi_text_box(f);
    const int height = static_cast<int>(f->row_height);
    box.y1 += (row - f->top_row) * height;
    box.y2 = std::min(box.y2, box.y1 + height - 1);
    return box;
}

int fi_field_window(fi_field* f) {
    const FI_gadget* g = &f->common;
    if (g->displayed == 0 || fi_has(g, FI_NOT_DISPLAYED)) return -1;
    if (fi_is_column(g) && (g->owner->displayed == 0 || fi_has(g->owner, FI_NOT_DISPLAYED))) return -1;
    return fi_draw_window(g->form);
}

namespace {

// Bytes of a row from the first visible character on.
struct seen_text {
    const char* text;
    int length;
};

seen_text seen_of(const fi_field* f, int row, int from, int count) {
    const char* text = fi_row_text(f, row);
    text += fi_char_offset(f, text, from);
    return {text, fi_char_offset(f, text, std::max(count, 0))};
}

int width_of(const fi_field* f, seen_text part) {
    int height = 0, width = 0, spacing = 0;
    if (part.length > 0)
        fi_env.FI_CALC_TEXT(f->common.font_id, part.text, part.length, &height, &width, &spacing, f->common.font_type);
    return width;
}

} // namespace

int fi_char_x(const fi_field* f, int row, int character) {
    return fi_text_box(f).x1 + width_of(f, seen_of(f, row, f->first_char, character - f->first_char));
}

// ---- rows ----------------------------------------------------------------------------------------------------------

namespace {

struct row_look {
    int ink, ground; // logical colours
};

constexpr int FIRST_OWN_COLOR = 16; // a row's colour word from here on is the colour itself

int row_color(const fi_field* f, int row, int usual) {
    const int color = fi_row_exists(f, row) ? f->rows[row].color : 0;
    if (color == 0) return usual;
    return color < FIRST_OWN_COLOR ? color - 1 : color;
}

bool is_marked(const fi_field* f, int row) {
    return fi_is_chosen_from(f) && !fi_flag(f, FI_ROLL_THROUGH) && fi_row_exists(f, row) && f->rows[row].selected != 0;
}

row_look look_of(const fi_field* f, int row) {
    if (fi_is_typed_into(f) || is_marked(f, row)) return {row_color(f, row, f->common.on_color), FI_MED_GREY};
    return {row_color(f, row, f->common.off_color), FI_LT_GREY};
}

// On a screen of few colours ink and ground may be the same slot; then nobody could read it.
void set_ink(const fi_field* f, int window, int ink, int ground) {
    const FI_form* form = f->common.form;
    fi_graphic.fgcolor(window, fi_contrast(form->screen, fi_slot(form, ink), fi_slot(form, ground)));
}

void fill_ground(const fi_field* f, int window, fi_box box, int ground, bool patterned) {
    fi_set_color(f->common.form, window, ground);
    fi_fill(window, box);
    if (!patterned || !fi_flag(f, FI_BACKGROUND_PATTERN)) return;
    fi_set_color(f->common.form, window, FI_WHITE);
    fi_hatch_area(window, box, fi_light_pattern);
}

void put_text(const fi_field* f, int window, seen_text part, int x, int y) {
    if (part.length > 0)
        fi_env.FI_DRAW_TEXT(window, f->common.font_id, part.text, part.length, x, y, f->common.char_height, nullptr,
                            nullptr, f->common.font_type);
}

// The text of a row from a character on, on its ground. The clip is set.
void draw_text_of(const fi_field* f, int window, int row, int from) {
    fi_box box = fi_row_box(f, row);
    const row_look look = look_of(f, row);
    if (from > f->first_char) box.x1 = fi_char_x(f, row, from);
    fill_ground(f, window, box, look.ground, !is_marked(f, row));
    if (!fi_flag(f, FI_NO_ECHO)) {
        set_ink(f, window, look.ink, look.ground);
        const int start = std::max<int>(from, f->first_char);
        put_text(f, window, seen_of(f, row, start, f->first_char + f->visible_chars - start), box.x1, box.y1);
    }
    if (!fi_is_hatched(&f->common)) return;
    fi_set_color(f->common.form, window, look.ground);
    fi_hatch_area(window, box, fi_hatch);
}

bool has_cursor(const fi_field* f, int row) {
    return fi_edit.field == f && fi_edit.cursor && row == f->active_row;
}

constexpr int UNDERLINE_SHIFT = 2; // an underline would be hidden at the edge of the block

// The block of the cursor, or the character without it.
void draw_cell(const fi_field* f, int window, bool shown) {
    const int row = f->active_row;
    const row_look look = look_of(f, row);
    const seen_text under = seen_of(f, row, f->cursor_char, 1);
    const bool has_text = under.length > 0 && !fi_flag(f, FI_NO_ECHO);
    fi_box cell = fi_row_box(f, row);
    const fi_box area = cell;
    cell.x1 = fi_char_x(f, row, f->cursor_char);
    cell.x2 = std::min(area.x2, cell.x1 + (has_text ? width_of(f, under) : f->common.char_width) - 1);
    fi_clip(f->common.form, window, cell);
    if (shown) {
        set_ink(f, window, look.ink, look.ground);
        fi_fill(window, cell);
        fi_set_color(f->common.form, window, look.ground);
    } else {
        fill_ground(f, window, cell, look.ground, !is_marked(f, row));
        set_ink(f, window, look.ink, look.ground);
    }
    const bool is_underline = has_text && *under.text == '_' && shown;
    if (has_text) put_text(f, window, under, cell.x1 - (is_underline ? UNDERLINE_SHIFT : 0), cell.y1);
    fi_clip_back(f->common.form, window);
}

bool is_seen(const fi_field* f, int row) {
    return row >= f->top_row && row < f->top_row + f->visible_rows;
}

void draw_row_on(const fi_field* f, int window, int row, int from) {
    fi_clip(f->common.form, window, fi_row_box(f, row));
    draw_text_of(f, window, row, from);
    if (has_cursor(f, row)) draw_cell(f, window, true);
}

void end_drawing(const fi_field* f, int window, fi_box box) {
    fi_clip_back(f->common.form, window);
    fi_list_on_top(&f->common, box);
    fi_flush(window);
}

} // namespace

void fi_field_draw_from(fi_field* f, int row, int character) {
    const int window = is_seen(f, row) ? fi_field_window(f) : -1;
    if (window < 0) return;
    draw_row_on(f, window, row, character);
    end_drawing(f, window, fi_row_box(f, row));
}

void fi_field_draw_row(fi_field* f, int row) {
    fi_field_draw_from(f, row, f->first_char);
}

void fi_field_draw_rows(fi_field* f, int first, int last) {
    const int window = fi_field_window(f);
    if (window < 0) return;
    first = std::max<int>(first, f->top_row);
    last = std::min(last, f->top_row + f->visible_rows - 1);
    for (int row = first; row <= last; ++row)
        draw_row_on(f, window, row, f->first_char);
    end_drawing(f, window, fi_text_box(f));
}

void fi_show_cursor(fi_field* f, bool shown) {
    if (fi_edit.field != f || fi_edit.cursor == shown) return;
    fi_edit.cursor = shown;
    const int window = is_seen(f, f->active_row) ? fi_field_window(f) : -1;
    if (window < 0) return;
    draw_cell(f, window, shown);
    end_drawing(f, window, fi_row_box(f, f->active_row));
}

// ---- frame and strip -----------------------------------------------------------------------------------------------

namespace {

// Above the bar of the table.
int bottom_in_table(const fi_mcf* m, fi_box column, int bottom) {
    const bool shown = m->hort_scroll != nullptr && (m->mcf_flags & FI_MCF_HORT_SHOWN) != 0;
    return shown ? std::clamp(fi_rect_of(m->hort_scroll).y1 - 1, column.y2, bottom) : bottom;
}

// Where a bar, arrows or the next column stand against the frame, they have its outer pixel.
fi_box frame_of(const fi_field* f) {
    const FI_gadget* g = &f->common;
    fi_box box = fi_inset(fi_rect_of(g), -FI_FRAME);
    if (const fi_mcf* m = fi_table_of(f); m != nullptr) box.y2 = bottom_in_table(m, fi_rect_of(g), box.y2);
    if (f->scroll_bar != nullptr && fi_flag(f, FI_VERT_BAR_SHOWN)) --box.x2;
    if (f->arrows[0] != nullptr && fi_flag(f, FI_HORT_ARROWS_SHOWN)) --box.y2;
    if (fi_is_column(g) && !fi_mcf_is_first_shown(fi_as<fi_mcf>(g->owner), g)) ++box.x1;
    return box;
}

// Left and top meet right and bottom in the corners, along the diagonal.
void draw_frame(const fi_field* f, int window) {
    const FI_gadget* g = &f->common;
    const fi_box out = frame_of(f);
    const fi_box in = fi_rect_of(g);
    const int left_top = fi_has(g, FI_HILITED) ? FI_WHITE : FI_BLACK;
    const int right_bottom = fi_is_disabled(g) ? FI_LT_GREY : FI_WHITE;
    fi_set_color(g->form, window, right_bottom);
    fi_fill(window, {in.x2 + 1, out.y1, out.x2, out.y2});
    fi_fill(window, {out.x1, in.y2 + 1, out.x2, out.y2});
    fi_set_color(g->form, window, left_top);
    fi_fill(window, {out.x1, out.y1, in.x1 - 1, in.y2 + 1});
    fi_fill(window, {out.x1, out.y1, in.x2 + 1, in.y1 - 1});
    if (out.y1 < in.y1 - 1) fi_fill(window, {in.x2 + 1, out.y1, std::min(out.x2, in.x2 + 2), out.y1});
    if (out.x1 < in.x1 - 1) fi_fill(window, {out.x1, in.y2 + 1, out.x1, std::min(out.y2, in.y2 + 2)});
}

constexpr int STRIP_LIGHT = 12; // from the right edge to the two lines that part the strip off
constexpr int STRIP_DARK = 11;
constexpr int LINES_LEFT = 8; // the lines that stand for a list
constexpr int LINES_RIGHT = 2;
constexpr int LINES_PITCH = 4;

void draw_triangle(int window, fi_box area, bool up) {
    const int middle = (area.x1 + area.x2) / 2;
    const int height = std::min({area.y2 - area.y1 + 1, middle - area.x1 + 1, area.x2 - middle + 1});
    for (int i = 0; i < height; ++i) {
        const int y = up ? area.y1 + i : area.y2 - i;
        fi_fill(window, {middle - i, y, middle + i, y});
    }
}

void draw_strip(const fi_field* f, int window) {
    const fi_box box = fi_rect_of(&f->common);
    const fi_box strip = {box.x2 - FI_STRIP + 1, box.y1, box.x2, box.y2};
    fi_set_color(f->common.form, window, FI_LT_GREY);
    fi_fill(window, strip);
    fi_set_color(f->common.form, window, FI_BLACK);
    fi_fill(window, {box.x2 - STRIP_DARK, box.y1, box.x2 - STRIP_DARK, box.y2});
    if (fi_flag(f, FI_ROLL_THROUGH)) {
        const int middle = (box.y1 + box.y2) / 2;
        fi_fill(window, {box.x2 - LINES_LEFT - 1, middle, box.x2 - LINES_RIGHT + 1, middle + 1});
        draw_triangle(window, {box.x2 - LINES_LEFT - 1, box.y1 + 2, box.x2 - LINES_RIGHT + 1, middle - 2}, true);
        draw_triangle(window, {box.x2 - LINES_LEFT - 1, middle + 3, box.x2 - LINES_RIGHT + 1, box.y2 - 2}, false);
    } else {
        for (int y = box.y1 + LINES_PITCH / 2; y <= box.y2 - 1; y += LINES_PITCH)
            fi_fill(window, {box.x2 - LINES_LEFT, y, box.x2 - LINES_RIGHT, y});
    }
    fi_set_color(f->common.form, window, FI_WHITE);
    fi_fill(window, {box.x2 - STRIP_LIGHT, box.y1, box.x2 - STRIP_LIGHT, box.y2});
    if (!fi_is_hatched(&f->common)) return;
    fi_set_color(f->common.form, window, FI_LT_GREY);
    fi_hatch_area(window, strip, fi_hatch);
}

// Parts that are shown with the field; a pop-up list isn't one of them.
template <typename F> void each_shown_part(const fi_field* f, F act) {
    if (f->list != nullptr && !fi_flag(f, FI_POPUP_LIST)) act(f->list);
    if (f->scroll_bar != nullptr && fi_flag(f, FI_VERT_BAR_SHOWN)) act(f->scroll_bar);
    if (!fi_flag(f, FI_HORT_ARROWS_SHOWN)) return;
    for (FI_gadget* arrow : f->arrows)
        if (arrow != nullptr) act(arrow);
}

// What lies below the last row.
void draw_rest(const fi_field* f, int window) {
    fi_box rest = fi_text_box(f);
    rest.y1 += f->visible_rows * static_cast<int>(f->row_height);
    if (fi_box_empty(rest)) return;
    fill_ground(f, window, rest, fi_is_typed_into(f) ? FI_MED_GREY : FI_LT_GREY, true);
}

} // namespace

void fi_field_draw(FI_gadget* g, int window) {
    auto* f = fi_as<fi_field>(g);
    if (fi_is_column(g)) g->attr_mask = (g->attr_mask & ~FI_NO_DITHERING) | (g->owner->attr_mask & FI_NO_DITHERING);
    draw_frame(f, window);
    if (fi_has_strip(f)) draw_strip(f, window);
    draw_rest(f, window);
    for (int row = f->top_row; row < f->top_row + f->visible_rows; ++row)
        draw_row_on(f, window, row, f->first_char);
    fi_clip_back(g->form, window);
    each_shown_part(f, [=](FI_gadget* part) { fi_display_gadget(part, window); });
}

void fi_field_erase(FI_gadget* g, int window) {
    fi_fill(window, fi_inset(fi_rect_of(g), -FI_FRAME));
}

void fi_field_extent(const FI_gadget* g, fi_box* box) {
    *box = fi_inset(*box, -FI_FRAME);
    each_shown_part(fi_as<fi_field>(g), [=](const FI_gadget* part) {
        const fi_box own = fi_extent_of(part);
        *box = {std::min(box->x1, own.x1), std::min(box->y1, own.y1), std::max(box->x2, own.x2),
                std::max(box->y2, own.y2)};
    });
}
