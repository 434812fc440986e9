// Presses on tables, scrolling them sideways, and entries that go from column to column.
#include <algorithm>
#include <cmath>

#include "forms/forms.h"
#include "forms/link.h"
#include "forms/mcf.h"
#include "forms/press.h"
#include "forms/scroll.h"
#include "forms/sequence.h"
#include "forms/show.h"
#include "forms/surface.h"

// ---- sideways ------------------------------------------------------------------------------------------------------

namespace {

FI_gadget* gadget_of(fi_mcf* m) {
    return &m->group.common;
}

// The table that follows this one; null when there is none.
fi_mcf* linked_of(fi_mcf* m) {
    const FI_gadget* g = gadget_of(m);
    const int label = (g->off_color2 & 0xFF) + ((g->on_color2 & 0xFF) << 8);
    FI_gadget* other = label != 0 ? fi_find_gadget(g->form, label) : nullptr;
    return other != nullptr && other->type == FI_MCF && other != g ? fi_as<fi_mcf>(other) : nullptr;
}

int last_first_col(const fi_mcf* m) {
    return std::max(m->num_cols - std::max<int>(m->visible_cols, 1), 0);
}

int wanted_first(const fi_mcf* m, double value) {
    const int page = std::max(m->visible_cols - 1, 1);
    const int first = m->first_col;
    switch (fi_scroll_command(value)) {
    case FI_SCROLL_UNIT_BACK: return first - 1;
    case FI_SCROLL_UNIT_FORWARD: return first + m->visible_cols < m->num_cols ? first + 1 : first;
    case FI_SCROLL_PAGE_BACK: return first - page;
    case FI_SCROLL_PAGE_FORWARD: return std::min(first + page, std::max(last_first_col(m), first));
    case FI_SCROLL_TO_LOW: return 0;
    case FI_SCROLL_TO_HIGH: return std::max(last_first_col(m), first);
    default: return std::min(fi_mcf_column_of(value), last_first_col(m));
    }
}

// Shows columns from that one on, here and in the linked table, and tells it. False when the table has gone.
bool go_to_column(fi_mcf* m, int first) {
    FI_gadget* g = gadget_of(m);
    const fi_hold hold(g);
    first = std::clamp(first, 0, std::max(m->num_cols - 1, 0));
    if (first != m->first_col) {
        fi_mcf_show_from(m, first);
        if (fi_mcf* other = linked_of(m); other != nullptr) fi_mcf_show_from(other, first);
    }
    fi_notify(g, FI_SCROLLED_COLUMNS);
    return !hold.gone();
}

} // namespace

int fi_mcf_column_of(double value) {
    return static_cast<int>(std::clamp(value, 0.0, 65535.0) + 0.05);
}

void fi_mcf_scroll_cols(fi_mcf* m, double value) {
    if (!std::isnan(value)) go_to_column(m, wanted_first(m, value));
}

void fi_mcf_bar_moved(FI_gadget* g, FI_gadget* bar, double value) {
    auto* m = fi_as<fi_mcf>(g);
    if (m->num_cols == 0) return;
    if (bar == m->hort_scroll) return fi_mcf_scroll_cols(m, value);
    fi_scroll_rows(fi_mcf_column(m, 0), value);
    if (fi_has(g, FI_NOTIFY_SCROLL)) fi_notify(g, FI_SCROLLED_ROWS);
}

// ---- from column to column -----------------------------------------------------------------------------------------

namespace {

bool is_typed_into(const fi_mcf* m, int index) {
    return index >= 0 && index < m->num_cols && fi_is_typed_into(fi_mcf_column(m, index));
}

// The next column in that direction that is typed into, without going around; -1 when there is none.
int next_typed(const fi_mcf* m, int from, int step) {
    int at = from + step;
    while (at >= 0 && at < m->num_cols && !is_typed_into(m, at))
        at += step;
    return is_typed_into(m, at) ? at : -1;
}

// Scrolls until the column can be seen, at most once around. False when the table has gone.
bool bring_into_view(fi_mcf* m, int index) {
    const fi_hold hold(gadget_of(m));
    for (int steps = m->num_cols; steps > 0; --steps) {
        if (index >= m->num_cols || !fi_has(m->group.members[index], FI_NOT_DISPLAYED)) break;
        const int first = m->first_col + 1 < m->num_cols && m->first_col < index ? m->first_col + 1 : 0;
        if (!go_to_column(m, first)) return false;
    }
    return !hold.gone();
}

// Makes a column the current one, with the cursor at its start. False when it can't be worked in.
bool enter_column(fi_mcf* m, int index) {
    m->group.previous = m->group.current;
    m->group.current = index;
    fi_field* column = fi_mcf_column(m, index);
    column->cursor_char = 0;
    if (column->first_char != 0) {
        column->first_char = 0;
        fi_field_draw_text(column);
    }
    return bring_into_view(m, index);
}

// The row below, or a new one at the end unless there can be none.
void to_next_row(fi_field* column) {
    if (column->active_row + 1 >= column->num_rows) {
        if (!fi_may_add_row(column) || fi_set_num_rows(column, column->num_rows + 1, true) != FI_SUCCESS) return;
    }
    fi_next_row(column);
}

// Where Tab and its opposite go inside of the table. False when the entry ends.
bool change_column(fi_mcf* m, bool forward) {
    const int current = m->group.current;
    int next = next_typed(m, current, forward ? 1 : -1);
    if (next < 0) { // around the end, on another row
        next = forward ? next_typed(m, -1, 1) : next_typed(m, m->num_cols, -1);
        if (next < 0) return false;
        fi_field* column = fi_mcf_column(m, next);
        if (forward)
            to_next_row(column);
        else if (column->active_row > 0)
            fi_previous_row(column);
        else
            next = current; // nothing lies before the first
    }
    return enter_column(m, next);
}

bool leaves(const fi_mcf* m, bool forward) {
    const FI_gadget* g = &m->group.common;
    const int label = forward ? g->next_in_seq : g->prev_in_seq;
    return label > 0 && next_typed(m, m->group.current, forward ? 1 : -1) < 0;
}

// Checks the row that is left. False when the column has gone.
bool finish_column(fi_field* column) {
    const fi_hold hold(fi_gadget_of(column));
    fi_verify_row(column);
    if (hold.gone()) return false;
    fi_justify_row(column, column->active_row);
    if (column->common.justification != FI_LEFT) fi_field_draw_row(column, column->active_row);
    return true;
}

// After each column, when the column wants it. False when the table or the column has gone.
bool report_line(fi_mcf* m, fi_field* column) {
    const fi_hold hold(gadget_of(m));
    const fi_hold hold_column(fi_gadget_of(column));
    if (!fi_flag(column, FI_NOTIFY_BY_LINE)) return true;
    fi_tell(gadget_of(m), column->active_row);
    if (!hold.gone()) fi_carry_link(gadget_of(m));
    return !hold.gone() && !hold_column.gone();
}

void report_entry(fi_mcf* m) {
    FI_gadget* g = gadget_of(m);
    const fi_hold hold(g);
    const fi_field* column = fi_mcf_current(m);
    if (column == nullptr) return;
    const int row = column->active_row;
    fi_run_hooks(g);
    if (!hold.gone()) fi_notify(g, row);
    if (!hold.gone()) fi_carry_link(g);
}

// Columns one after another, until the entry ends.
fi_edit_end run_columns(fi_mcf* m) {
    const fi_hold hold(gadget_of(m));
    for (;;) {
        fi_field* column = fi_mcf_current(m);
        if (column == nullptr || !fi_is_typed_into(column) || !fi_field_usable(column)) return fi_edit_end::stop;
        if (fi_first_row(column) != FI_SUCCESS) return fi_edit_end::stop;
        const fi_hold hold_column(fi_gadget_of(column));
        const fi_edit_end end = fi_edit_loop(column);
        if (hold.gone() || hold_column.gone()) return fi_edit_end::stop;
        if (!finish_column(column) || hold.gone() || !report_line(m, column)) return fi_edit_end::stop;
        if (end == fi_edit_end::stop || !fi_field_usable(column)) return fi_edit_end::stop;
        const bool forward = end == fi_edit_end::next;
        if (leaves(m, forward)) return end;
        if (!change_column(m, forward)) return fi_edit_end::stop;
    }
}

fi_leave leave_of(fi_edit_end end) {
    if (end == fi_edit_end::next) return fi_leave::forward;
    return end == fi_edit_end::back ? fi_leave::back : fi_leave::stop;
}

// An entry in the current column.
fi_leave run_entry(fi_mcf* m, int from_label) {
    FI_gadget* g = gadget_of(m);
    const fi_hold hold(g);
    fi_field* column = fi_mcf_current(m);
    if (g->next_in_seq != 0 || g->prev_in_seq != 0 || from_label != 0) fi_hilite_gadget(g);
    const fi_edit_end end = fi_is_typed_into(column) ? run_columns(m) : fi_select_loop(column);
    if (hold.gone()) return fi_leave::stop;
    fi_unhilite_gadget(g);
    if (fi_edit.open_list != nullptr && fi_edit.open_list->owner->owner == g) fi_close_list();
    if (!hold.gone()) report_entry(m);
    return hold.gone() ? fi_leave::stop : leave_of(end);
}

// The column where the keyboard begins: the first one that is typed into, going back the last; else one that is chosen
// from. -1: none.
int column_for_keys(const fi_mcf* m, bool forward) {
    const int typed = forward ? next_typed(m, -1, 1) : next_typed(m, m->num_cols, -1);
    if (typed >= 0) return typed;
    for (int i = 0; i < m->num_cols; ++i)
        if (fi_is_chosen_from(fi_mcf_column(m, i))) return i;
    return -1;
}

} // namespace

bool fi_mcf_takes_input(const FI_gadget* g) {
    return column_for_keys(fi_as<fi_mcf>(g), true) >= 0;
}

fi_leave fi_mcf_input(FI_gadget* g, bool forward, int from_label) {
    auto* m = fi_as<fi_mcf>(g);
    const fi_hold hold(g);
    const int index = column_for_keys(m, forward);
    if (index < 0) return fi_leave::stop;
    if (g->next_in_seq != 0 || from_label > 0) {
        m->group.current = index;
        if (!bring_into_view(m, index)) return fi_leave::stop;
    }
    const fi_field* column = fi_mcf_current(m);
    if (column == nullptr || column->mode == FI_REVIEW || !fi_field_usable(column)) return fi_leave::stop;
    return run_entry(m, from_label);
}

// ---- presses -------------------------------------------------------------------------------------------------------

namespace {

// A row is chosen in all columns that are chosen from.
void press_strip(fi_mcf* m, int x, int y) {
    fi_field* column = fi_mcf_current(m);
    if (column == nullptr || column->num_rows == 0) return;
    const fi_hold hold(gadget_of(m));
    const uint32_t before = m->mcf_flags & FI_ROW_SELECT;
    m->mcf_flags |= FI_ROW_SELECT;
    fi_place_cursor(column, x, y);
    fi_choose_active(column);
    if (hold.gone()) return;
    m->mcf_flags = (m->mcf_flags & ~FI_ROW_SELECT) | before;
    fi_notify(gadget_of(m), FI_ROW_CHOSEN);
}

// The keys go to the column, and then on along the chain.
void press_typed(fi_mcf* m, fi_field* column, int x, int y, bool opens) {
    FI_gadget* g = gadget_of(m);
    const fi_hold hold(g);
    if (fi_first_row(column) != FI_SUCCESS) return;
    if (!opens) fi_place_cursor(column, x, y);
    g->prev_in_seq = 0;
    const fi_leave leave = run_entry(m, 0);
    if (!hold.gone()) fi_go_on(g, leave);
}

// A column that is only read: its list, and keys for that.
void press_read(fi_field* column) {
    const fi_hold hold(fi_gadget_of(column));
    fi_edit_loop(column);
    if (!hold.gone() && fi_list_is_open(column)) fi_close_list();
}

} // namespace

int fi_mcf_press(FI_gadget* g, int /*window*/, int x, int y, int /*transition*/, bool* complete, double* value) {
    auto* m = fi_as<fi_mcf>(g);
    const fi_hold hold(g);
    fi_field* column = fi_mcf_column_at(m, x, y);
    if (column == nullptr) {
        press_strip(m, x, y);
        return 0;
    }
    const fi_hold hold_column(fi_gadget_of(column));
    m->group.previous = m->group.current;
    m->group.current = fi_mcf_index(m, fi_gadget_of(column));
    const bool opens = column->list != nullptr && fi_flag(column, FI_POPUP_LIST) && fi_in_strip(column, x, y);
    if (opens) fi_toggle_list(column);
    if (hold.gone() || hold_column.gone() || (opens && !fi_list_is_open(column))) return 0;
    if (fi_is_typed_into(column)) {
        press_typed(m, column, x, y, opens);
    } else if (column->mode == FI_REVIEW) {
        if (opens) press_read(column);
    } else if (!opens) {
        fi_field_select_at(column, x, y);
        if (hold.gone() || hold_column.gone()) return 0;
        *complete = true;
        *value = column->active_row;
    }
    return 0;
}
