// Columns of tables.
#include "forms/mcf.h"

#include <algorithm>

#include "forms/fields.h"
#include "forms/forms.h"
#include "forms/link.h"
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

bool fi_mcf_is_out(const FI_gadget* g) {
    if (!fi_is_column(g)) return false;
    const auto* m = fi_as<fi_mcf>(g->owner);
    const int place = fi_mcf_index(m, g) - m->first_col;
    return place < 0 || place >= m->visible_cols;
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

// ---- as gadgets ----------------------------------------------------------------------------------------------------

int fi_mcf_put_text(FI_gadget* g, const char* text) {
    fi_field* column = fi_mcf_current(fi_as<fi_mcf>(g));
    if (column == nullptr) return FI_INVALID_COLUMN;
    const int row = column->active_row;
    const int selected = fi_row_exists(column, row) ? column->rows[row].selected : 0;
    const int status = fi_field_set_text(column, row, text, selected);
    if (status == FI_SUCCESS) fi_carry_link_text(g, text);
    return status;
}

int fi_mcf_get_text(FI_gadget* g, char* buffer, int* length) {
    fi_field* column = fi_mcf_current(fi_as<fi_mcf>(g));
    return column != nullptr ? fi_field_get_text(fi_gadget_of(column), buffer, length) : FI_INVALID_COLUMN;
}

char* fi_mcf_link_text(FI_gadget* g) {
    fi_field* column = fi_mcf_current(fi_as<fi_mcf>(g));
    return column != nullptr ? fi_field_link_text(fi_gadget_of(column)) : fi_empty_text;
}

void fi_mcf_take_link(FI_gadget* g, const char* text) {
    fi_field* column = fi_mcf_current(fi_as<fi_mcf>(g));
    if (column == nullptr) return;
    const bool is_text = column->field_type == FI_ALPHA;
    const int status = is_text ? fi_field_set_text(column, column->active_row, text, 0)
                               : fi_field_set_value(column, 0, fi_link_number(text), 0);
    if (status == FI_SUCCESS) fi_carry_link(g);
}

int FImcf_get_active_col(FI_form* form, int label, int* column, int* position) {
    FI_gadget* g = nullptr;
    const int status = fi_lookup(form, label, &g);
    if (status != FI_SUCCESS) return status;
    if (g->type != FI_MCF) return FI_INVALID_GADGET_TYPE;
    const auto* m = fi_as<fi_mcf>(g);
    const int at = m->group.current - m->first_col;
    const bool is_seen = at >= 0 && at < m->visible_cols;
    if (column != nullptr) *column = is_seen ? m->group.current : m->first_col;
    if (position != nullptr) *position = is_seen ? at : 0;
    return FI_SUCCESS;
}
