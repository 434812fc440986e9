// Columns of tables.
#include "forms/mcf.h"

#include <algorithm>

#include "forms/fields.h"
#include "forms/surface.h"

int fi_mcf_columns(const fi_mcf* m) {
    return m->num_cols;
}

fi_field* fi_mcf_column(const fi_mcf* m, int index) {
    return fi_as<fi_field>(m->group.members[index]);
}

fi_field* fi_mcf_current(fi_mcf* m) {
    if (m->num_cols == 0) return nullptr;
    m->group.current = std::clamp<int32_t>(m->group.current, 0, m->num_cols - 1);
    return fi_mcf_column(m, m->group.current);
}

int fi_mcf_index(const fi_mcf* m, const FI_gadget* column) {
    for (int i = 0; i < m->num_cols; ++i)
        if (m->group.members[i] == column) return i;
    return -1;
}

int fi_mcf_rows(const fi_mcf* m) {
    return m->num_cols > 0 ? fi_mcf_column(m, 0)->num_rows : 0;
}

bool fi_mcf_is_first_shown(const fi_mcf* m, const FI_gadget* column) {
    return m->first_col < m->num_cols && m->group.members[m->first_col] == column;
}

fi_field* fi_mcf_column_at(const fi_mcf* m, int x, int y) {
    for (int i = 0; i < m->num_cols; ++i) {
        fi_field* column = fi_mcf_column(m, i);
        const FI_gadget* g = &column->common;
        if (g->displayed != 0 && !fi_has(g, FI_NOT_DISPLAYED | FI_NOT_ENABLED) && fi_box_has(fi_rect_of(g), x, y))
            return column;
    }
    return nullptr;
}

void fi_mcf_sync_rows(fi_mcf* m, const fi_field* column) {
    for (int i = 0; i < m->num_cols; ++i) {
        fi_field* other = fi_mcf_column(m, i);
        if (other == column) continue;
        other->active_row = column->active_row;
        fi_field_fix_cursor(other);
        if (other->top_row == column->top_row) continue;
        other->top_row = column->top_row;
        fi_field_draw_text(other);
    }
}

void fi_mcf_refit(fi_mcf* /*m*/) {}
