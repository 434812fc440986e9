// Choosing rows of fields.
#include "forms/fields.h"
#include "forms/forms.h"
#include "forms/link.h"
#include "forms/mcf.h"
#include "forms/press.h"
#include "forms/show.h"
#include "forms/surface.h"
#include "support/memory.h"

namespace {

bool selects_whole_rows(const fi_field* f) {
    const fi_mcf* table = fi_table_of(f);
    return table != nullptr && (table->mcf_flags & FI_ROW_SELECT) != 0;
}

// Where choices are reported even though completion isn't.
bool may_report(const fi_field* f) {
    return fi_flag(f, FI_NOTIFY_BY_LINE) || !fi_has(&f->common, FI_NO_COMPLETE_NOTIFY);
}

// No row of the field stays chosen; in a table, of none of its columns with one choice.
void clear_choice(fi_field* f) {
    fi_mcf* table = fi_table_of(f);
    const int count = table != nullptr ? fi_mcf_columns(table) : 1;
    for (int i = 0; i < count; ++i) {
        fi_field* one = table != nullptr ? fi_mcf_column(table, i) : f;
        if (one->mode == FI_SINGLE_SELECT && fi_row_exists(one, one->selected_row))
            fi_field_mark(one, one->selected_row, false);
    }
}

// A list that closes by a choice gives its row to the owner.
void give_to_owner(fi_field* list) {
    auto* owner = fi_as<fi_field>(list->common.owner);
    const fi_hold hold(fi_gadget_of(owner));
    const mem_guard<char> text(mem_copy_text(fi_row_text(list, list->active_row)));
    fi_close_list();
    if (hold.gone() || !text) return;
    const bool selected = fi_row_exists(owner, owner->active_row) && owner->rows[owner->active_row].selected != 0;
    fi_field_set_text(owner, owner->active_row, text.get(), selected ? 1 : 0);
    if (owner->mode == FI_REVIEW && may_report(owner)) fi_field_notify(owner, owner->active_row);
}

void report_choice(fi_field* f) {
    FI_gadget* g = fi_gadget_of(f);
    if (fi_is_list(g) && fi_edit.open_list == g && fi_flag(fi_as<fi_field>(g->owner), FI_DISMISS_LIST)) {
        give_to_owner(f);
        return;
    }
    if (may_report(f)) fi_field_notify(f, f->active_row);
}

// Goes on to another row of a field that rolls through its rows, around the ends.
void roll(fi_field* f, int direction) {
    const int row = (f->active_row + direction + f->num_rows) % f->num_rows;
    f->active_row = fi_short(row);
    fi_field_fix_cursor(f);
    fi_view_to(f, row);
    fi_choose_row(f, row, true, false);
}

// Whether a row is chosen; in a column that isn't chosen from, in any other.
bool is_chosen(const fi_field* f, int row) {
    const fi_mcf* table = fi_table_of(f);
    if (fi_is_chosen_from(f) || table == nullptr) return f->rows[row].selected != 0;
    for (int i = 0; i < fi_mcf_columns(table); ++i) {
        const fi_field* one = fi_mcf_column(table, i);
        if (fi_is_chosen_from(one) && fi_row_exists(one, row) && one->rows[row].selected != 0) return true;
    }
    return false;
}

// Chooses the active row: `before` is the row that was chosen.
void choose_active(fi_field* f, int before) {
    const int row = f->active_row;
    if (f->mode != FI_SINGLE_SELECT) {
        const bool was_on = is_chosen(f, row);
        fi_choose_row(f, row, !was_on, selects_whole_rows(f));
        return;
    }
    clear_choice(f);
    if (before != row) fi_choose_row(f, row, true, selects_whole_rows(f));
}

bool rolls(const fi_field* f) {
    return fi_flag(f, FI_ROLL_THROUGH) && f->mode == FI_SINGLE_SELECT;
}

} // namespace

void fi_choose_row(fi_field* f, int row, bool selected, bool whole_table) {
    FI_gadget* reporter = fi_reporter_of(f);
    fi_mcf* table = whole_table ? fi_table_of(f) : nullptr;
    const int count = table != nullptr ? fi_mcf_columns(table) : 1;
    for (int i = 0; i < count; ++i) {
        fi_field* one = table != nullptr ? fi_mcf_column(table, i) : f;
        if (!fi_is_chosen_from(one) || !fi_row_exists(one, row)) continue;
        fi_field_mark(one, row, selected);
        if (!selected && one->mode == FI_MULTI_SELECT) one->selected_row = -1;
    }
    if (selected) fi_carry_link(reporter);
}

void fi_field_select_at(fi_field* f, int x, int y) {
    if (f->num_rows == 0) return;
    const fi_hold hold(fi_gadget_of(f));
    if (rolls(f)) {
        const fi_box box = fi_rect_of(fi_gadget_of(f));
        roll(f, fi_in_strip(f, x, y) && y < (box.y1 + box.y2) / 2 ? -1 : 1);
    } else {
        const int before = f->selected_row;
        fi_place_cursor(f, x, y);
        choose_active(f, before);
    }
    if (!hold.gone()) report_choice(f);
}

void fi_choose_active(fi_field* f) {
    choose_active(f, f->selected_row);
}

void fi_field_select_row(fi_field* f) {
    if (f->num_rows == 0) return;
    const fi_hold hold(fi_gadget_of(f));
    if (rolls(f))
        roll(f, 1);
    else
        choose_active(f, f->selected_row);
    if (hold.gone()) return;
    if (fi_is_column(fi_gadget_of(f)))
        fi_notify(fi_reporter_of(f), f->active_row);
    else
        report_choice(f);
}

void fi_select_next(fi_field* f, int direction) {
    if (f->num_rows == 0) return;
    const fi_hold hold(fi_gadget_of(f));
    if (rolls(f)) {
        roll(f, direction);
        if (!hold.gone()) report_choice(f);
    } else if (direction > 0 && f->active_row + 1 == f->num_rows && f->list != nullptr) {
        fi_choose_by_key(f);
    } else if (direction > 0) {
        fi_next_row(f);
    } else {
        fi_previous_row(f);
    }
}
