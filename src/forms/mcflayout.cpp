// How tables are laid out and drawn.
#include <algorithm>

#include "forms/edges.h"
#include "forms/faces.h"
#include "forms/forms.h"
#include "forms/mcf.h"
#include "forms/press.h"
#include "forms/scroll.h"
#include "forms/show.h"
#include "forms/surface.h"

namespace {

constexpr int STRIP_WIDTH = 10; // of the strip that chooses rows
constexpr int STRIP_HIT = 8;
constexpr int FIRST_COLUMN = 12; // from the left edge of the table
constexpr int GAP = 4;           // between columns
constexpr int LIST_STRIP = 17;   // that a column with a strip is wider
constexpr int BAR = 26;
constexpr int ARROWS = 13; // pixels below the table for arrows of columns

bool has_flag(const fi_mcf* m, uint32_t flags) {
    return (m->mcf_flags & flags) != 0;
}

FI_gadget* gadget_of(fi_mcf* m) {
    return &m->group.common;
}

float width_of(const fi_field* column) {
    const int width = column->visible_chars * std::max(column->common.char_width, 1);
    return static_cast<float>(width + (fi_has_strip(column) ? LIST_STRIP : 0));
}

void hide(FI_gadget* column) {
    column->attr_mask |= FI_NOT_DISPLAYED;
    fi_mark_undrawn(column);
}

void show_column(fi_mcf* m, fi_field* column, float x) {
    FI_gadget* g = fi_gadget_of(column);
    const float width = width_of(column);
    const bool drawn = gadget_of(m)->displayed != 0;
    g->attr_mask &= ~FI_NOT_DISPLAYED;
    fi_each_part(g, fi_allow_display);
    g->displayed = drawn ? 1 : 0;
    if (g->x1 != x) fi_shift_gadget(g, x - g->x1, 0);
    g->x2 = x + width;
    fi_place_parts(column);
}

} // namespace

void fi_mcf_place_cols(fi_mcf* m) {
    const FI_gadget* g = &m->group.common;
    m->visible_cols = 0;
    m->first_col = static_cast<uint16_t>(std::clamp<int>(m->first_col, 0, std::max(m->num_cols - 1, 0)));
    float x = g->x1 + FIRST_COLUMN;
    bool fits = true;
    int index = 0;
    // Columns beyond num_cols aren't in use.
    fi_each_member(&m->group, [&](FI_gadget* member) {
        const int i = index++;
        fi_field* column = fi_as<fi_field>(member);
        const float right = x + width_of(column);
        fits = fits && i < m->num_cols && (i <= m->first_col || right + GAP < g->x2);
        if (!fits || i < m->first_col) return hide(member);
        show_column(m, column, x);
        ++m->visible_cols;
        x = right + GAP;
    });
}

namespace {

bool has_arrows(const fi_mcf* m) {
    for (int i = 0; i < m->num_cols; ++i)
        if (fi_flag(fi_mcf_column(m, i), FI_HORT_ARROWS_SHOWN)) return true;
    return false;
}

// Bars keep their thickness.
void place_bars(fi_mcf* m) {
    const FI_gadget* g = &m->group.common;
    if (FI_gadget* bar = m->vert_scroll; bar != nullptr)
        fi_scroll_place(bar, g->x2, g->y1, g->x2 + bar->x2 - bar->x1, g->y2);
    if (FI_gadget* bar = m->hort_scroll; bar != nullptr) {
        const float top = g->y2 + static_cast<float>(has_arrows(m) ? ARROWS : 0);
        fi_scroll_place(bar, g->x1 + STRIP_WIDTH, top, g->x2, top + bar->y2 - bar->y1);
    }
}

// Without memory a table has no bar.
void make_bar(fi_mcf* m, bool horizontal) {
    FI_gadget** bar = horizontal ? &m->hort_scroll : &m->vert_scroll;
    FI_gadget* g = gadget_of(m);
    if (*bar != nullptr) return;
    if (fi_scroll_new(g, fi_next_private_label(g->form), horizontal, bar) != FI_SUCCESS) return;
    (*bar)->x2 = (*bar)->x1 + BAR;
    (*bar)->y2 = (*bar)->y1 + BAR;
    (*bar)->erase_color = g->erase_color;
    constexpr uint32_t SHARED = FI_NOT_ENABLED | FI_HILITED | FI_NO_DITHERING;
    (*bar)->attr_mask |= g->attr_mask & SHARED;
    (*bar)->default_attr_mask |= g->default_attr_mask & SHARED;
}

// All columns have as many rows as the longest.
void level_rows(fi_mcf* m) {
    int most = 0;
    for (int i = 0; i < m->num_cols; ++i)
        most = std::max<int>(most, fi_mcf_column(m, i)->num_rows);
    for (int i = 0; i < m->num_cols; ++i)
        fi_rows_resize(fi_mcf_column(m, i), most); // without memory the table is shorter there
    int least = most;
    for (int i = 0; i < m->num_cols; ++i)
        least = std::min<int>(least, fi_mcf_column(m, i)->num_rows);
    if (m->num_cols > 0 && least < most) fi_set_num_rows(fi_mcf_column(m, 0), least, true);
}

// The right edge is where the columns that are to be seen end.
void fit_width(fi_mcf* m) {
    if (m->visible_cols == 0) return;
    FI_gadget* g = gadget_of(m);
    float right = g->x1 + FIRST_COLUMN + 1;
    const int end = std::min<int>(m->first_col + m->visible_cols, m->num_cols);
    for (int i = m->first_col; i < end; ++i)
        right += width_of(fi_mcf_column(m, i)) + GAP;
    g->x2 = right;
}

} // namespace

void fi_mcf_update_bars(fi_mcf* m) {
    if (m->num_cols == 0) return;
    fi_update_bar(fi_mcf_column(m, 0));
    if (m->hort_scroll == nullptr) return;
    constexpr double SHORTER = 0.03; // the thumb shows that there is more
    const bool all_seen = m->visible_cols >= m->num_cols;
    const double share = all_seen ? 1.0 : static_cast<double>(m->visible_cols) / m->num_cols - SHORTER;
    const int high = std::max(m->num_cols - m->visible_cols, 0);
    // A thumb that is dragged keeps its place between two columns.
    FI_gadget* bar = m->hort_scroll;
    const bool stays = fi_mcf_column_of(bar->value) == m->first_col && bar->value <= high;
    fi_scroll_set_view(bar, std::max(share, 0.0), high, stays ? bar->value : std::min<int>(m->first_col, high));
}

void fi_mcf_refit(fi_mcf* m) {
    fi_mcf_place_cols(m);
    place_bars(m);
    fi_mcf_update_bars(m);
}

void fi_mcf_activate(FI_gadget* g) {
    auto* m = fi_as<fi_mcf>(g);
    for (int i = 0; i < m->num_cols; ++i)
        fi_activate_gadget(fi_gadget_of(fi_mcf_column(m, i)));
    level_rows(m);
    fit_width(m);
    if (has_flag(m, FI_MCF_VERT_WANTED)) make_bar(m, false);
    if (has_flag(m, FI_MCF_HORT_WANTED)) make_bar(m, true);
    fi_mcf_place_cols(m);
    place_bars(m);
    fi_each_part(g, fi_activate_gadget);
    fi_mcf_update_bars(m);
}

void fi_mcf_scale(FI_gadget* g, float x_factor, float y_factor) {
    auto* m = fi_as<fi_mcf>(g);
    fi_each_member(&m->group, [=](FI_gadget* column) { fi_scale_gadget(column, x_factor, y_factor); });
    fi_each_part(g, [=](FI_gadget* bar) { fi_scale_gadget(bar, x_factor, y_factor); });
    fi_mcf_refit(m);
}

void fi_mcf_shifted(FI_gadget* g) {
    place_bars(fi_as<fi_mcf>(g));
}

void fi_mcf_reset(FI_gadget* g) {
    auto* m = fi_as<fi_mcf>(g);
    const fi_hold hold(g);
    const bool drawn = g->displayed != 0 && !fi_has(g, FI_NOT_DISPLAYED);
    if (drawn && (g->default_attr_mask & FI_NOT_DISPLAYED) != 0) fi_erase_gadget(g);
    fi_each_member(&m->group, [&](FI_gadget* column) {
        if (!hold.gone()) fi_reset_gadget(column);
    });
    if (hold.gone()) return;
    level_rows(m);
    g->value = g->default_value;
    g->attr_mask = g->default_attr_mask;
    fi_each_part(g, fi_reset_gadget);
    if (hold.gone()) return;
    fi_mcf_refit(m);
    fi_redraw_gadget(g);
}

void fi_mcf_drop_column(FI_gadget* column) {
    auto* m = fi_as<fi_mcf>(column->owner);
    const int index = fi_mcf_index(m, column);
    if (fi_edit.open_list != nullptr && fi_edit.open_list->owner == column) fi_close_list();
    if (index < 0) return;
    FI_gadget** members = m->group.members;
    std::rotate(members + index, members + index + 1, members + m->group.capacity);
    // It stands behind the others now, where its group finds it.
    --m->num_cols;
    m->group.next_free = static_cast<int16_t>(m->num_cols);
    if (m->group.current > index) --m->group.current;
    m->group.current = std::clamp<int32_t>(m->group.current, 0, std::max(m->num_cols - 1, 0));
    if (m->first_col > index) --m->first_col;
}

// ---- drawing -------------------------------------------------------------------------------------------------------

namespace {

// A small bevel for each row.
void draw_strip(const fi_mcf* m, int window) {
    const FI_gadget* g = &m->group.common;
    if (has_flag(m, FI_MCF_NO_STRIP) || m->num_cols == 0) return;
    constexpr int DEPTH = 2;
    const bool disabled = fi_is_disabled(g);
    const fi_bevel_slots colors = fi_bevel_colors(g->form, disabled ? FI_LT_GREY : FI_WHITE, FI_LT_GREY,
                                                  disabled ? FI_LT_GREY : FI_BLACK, fi_outline_color(g));
    const fi_field* first = fi_mcf_column(m, 0);
    const int height = static_cast<int>(std::max(first->row_height, 1U));
    const int left = fi_rect_of(g).x1;
    const int bottom = std::min(fi_rect_of(g).y2, fi_rect_of(&first->common).y2);
    int y = fi_rect_of(&first->common).y1;
    for (int row = 0; row < first->visible_rows && y <= bottom; ++row, y += height)
        fi_draw_bevel_in(window, {left, y, left + STRIP_WIDTH - 1, std::min(y + height - 1, bottom)}, DEPTH, colors,
                         FI_SQUARE_CORNERS);
}

// The bars that are shown with the table.
template <typename F> void each_shown_bar(const fi_mcf* m, F act) {
    if (m->vert_scroll != nullptr && has_flag(m, FI_MCF_VERT_SHOWN)) act(m->vert_scroll);
    if (m->hort_scroll != nullptr && has_flag(m, FI_MCF_HORT_SHOWN)) act(m->hort_scroll);
}

} // namespace

void fi_mcf_draw(FI_gadget* g, int window) {
    auto* m = fi_as<fi_mcf>(g);
    fi_mcf_place_cols(m);
    draw_strip(m, window);
    fi_each_member(&m->group, [=](FI_gadget* column) { fi_display_gadget(column, window); });
    fi_mcf_update_bars(m);
    each_shown_bar(m, [=](FI_gadget* bar) {
        bar->attr_mask &= ~FI_NOT_DISPLAYED;
        fi_display_gadget(bar, window);
    });
}

void fi_mcf_erase(FI_gadget* g, int window) {
    fi_box box = fi_rect_of(g);
    if (has_flag(fi_as<fi_mcf>(g), FI_MCF_NO_STRIP)) box.x1 += STRIP_WIDTH;
    fi_fill(window, box);
}

void fi_mcf_extent(const FI_gadget* g, fi_box* box) {
    const auto* m = fi_as<fi_mcf>(g);
    const auto widen = [=](const FI_gadget* part) {
        const fi_box own = fi_extent_of(part);
        *box = {std::min(box->x1, own.x1), std::min(box->y1, own.y1), std::max(box->x2, own.x2),
                std::max(box->y2, own.y2)};
    };
    for (int i = 0; i < m->num_cols; ++i)
        if (!fi_has(m->group.members[i], FI_NOT_DISPLAYED)) widen(m->group.members[i]);
    each_shown_bar(m, widen);
}

void fi_mcf_show_from(fi_mcf* m, int first_col) {
    FI_gadget* g = gadget_of(m);
    m->first_col = static_cast<uint16_t>(std::clamp(first_col, 0, std::max(m->num_cols - 1, 0)));
    g->x_scale = m->first_col;
    const int window = g->displayed != 0 && !fi_has(g, FI_NOT_DISPLAYED) ? fi_draw_window(g->form) : -1;
    if (window >= 0) {
        // What the columns leave free.
        fi_box box = fi_rect_of(g);
        box.x1 += STRIP_WIDTH;
        for (int i = 0; i < m->num_cols; ++i)
            if (!fi_has(m->group.members[i], FI_NOT_DISPLAYED)) {
                const fi_box own = fi_extent_of(m->group.members[i]);
                box.y1 = std::min(box.y1, own.y1);
                box.y2 = std::max(box.y2, own.y2);
            }
        box.x2 -= 1; // the bar
        fi_set_color(g->form, window, fi_erase_color(g));
        fi_fill(window, box);
    }
    fi_mcf_place_cols(m);
    if (window >= 0) fi_display_gadget(g, window);
    fi_mcf_update_bars(m);
}

// ---- hits ----------------------------------------------------------------------------------------------------------

namespace {

bool bar_is_hit(const fi_mcf* m, const FI_gadget* bar, uint32_t flag, int x, int y) {
    return bar != nullptr && has_flag(m, flag) && bar->displayed != 0 &&
           !fi_has(bar, FI_NOT_DISPLAYED | FI_NOT_ENABLED) && fi_hits_rect(bar, x, y);
}

// An arrow of a shown column, or its list.
FI_gadget* beside_columns(const fi_mcf* m, int x, int y) {
    for (int i = 0; i < m->num_cols; ++i) {
        FI_gadget* column = m->group.members[i];
        if (column->displayed == 0 || fi_has(column, FI_NOT_DISPLAYED | FI_NOT_ENABLED)) continue;
        FI_gadget* part = fi_field_part_at(column, x, y);
        if (part != nullptr && part != column) return part;
    }
    return nullptr;
}

} // namespace

FI_gadget* fi_mcf_part_at(FI_gadget* g, int x, int y) {
    auto* m = fi_as<fi_mcf>(g);
    const fi_box box = fi_rect_of(g);
    const bool has_strip = !has_flag(m, FI_MCF_NO_STRIP);
    if (has_strip && fi_box_has({box.x1, box.y1, box.x1 + STRIP_HIT, box.y2}, x, y)) return g;
    if (bar_is_hit(m, m->vert_scroll, FI_MCF_VERT_SHOWN, x, y)) return m->vert_scroll;
    if (bar_is_hit(m, m->hort_scroll, FI_MCF_HORT_SHOWN, x, y)) return m->hort_scroll;
    FI_gadget* part = beside_columns(m, x, y);
    if (part != nullptr) return part;
    return fi_hits_rect(g, x, y) && fi_mcf_column_at(m, x, y) != nullptr ? g : nullptr;
}

bool fi_mcf_hit(FI_gadget* g, int x, int y) {
    return fi_mcf_part_at(g, x, y) != nullptr;
}
