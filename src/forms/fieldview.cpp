// The view of a field: which rows and characters are seen, and what moves it.
#include <algorithm>
#include <cmath>

#include "forms/fields.h"
#include "forms/mcf.h"
#include "forms/press.h"
#include "forms/scroll.h"
#include "forms/show.h"
#include "forms/surface.h"
#include "forms/track.h"

namespace {

int last_top(const fi_field* f) {
    return std::max(f->num_rows - f->visible_rows, 0);
}

// Has `act` work on the field, or on all columns of its table.
template <typename F> void each_in_step(fi_field* f, F act) {
    fi_mcf* table = fi_table_of(f);
    if (table == nullptr) return act(f);
    for (int i = 0; i < fi_mcf_columns(table); ++i)
        act(fi_mcf_column(table, i));
}

void set_top(fi_field* f, int top) {
    if (top == f->top_row) return;
    f->top_row = fi_short(top);
    fi_field_draw_text(f);
}

} // namespace

void fi_update_bar(fi_field* f) {
    fi_mcf* table = fi_table_of(f);
    FI_gadget* bar = table != nullptr ? table->vert_scroll : f->scroll_bar;
    if (bar == nullptr) return;
    if (table != nullptr) f = fi_mcf_column(table, 0);
    const bool all_seen = f->num_rows <= f->visible_rows;
    const int high = std::max(f->num_rows - f->visible_rows - 1, 0);
    // A thumb that is dragged keeps its place between two rows.
    const bool stays = std::lround(bar->value) == f->top_row && bar->value <= high;
    fi_scroll_set_view(bar, all_seen ? 1.0 : static_cast<double>(f->visible_rows) / f->num_rows, high,
                       stays ? bar->value : std::min<int>(f->top_row, high));
}

void fi_view_fix(fi_field* f) {
    if (fi_flag(f, FI_ROLL_THROUGH)) {
        f->top_row = fi_short(std::clamp<int>(f->top_row, 0, std::max(f->num_rows - 1, 0)));
        return;
    }
    f->top_row = fi_short(std::clamp<int>(f->top_row, 0, last_top(f)));
}

void fi_view_to(fi_field* f, int top) {
    const int last = fi_flag(f, FI_ROLL_THROUGH) ? std::max(f->num_rows - 1, 0) : last_top(f);
    top = std::clamp(top, 0, last);
    each_in_step(f, [=](fi_field* one) { set_top(one, top); });
    fi_update_bar(f);
}

namespace {

// The active row stays in the view that has moved.
void drag_along(fi_field* f) {
    const int bottom = std::min<int>(f->top_row + f->visible_rows, f->num_rows) - 1;
    const int row = std::clamp<int>(f->active_row, f->top_row, std::max<int>(bottom, f->top_row));
    if (row == f->active_row) return;
    f->active_row = fi_short(row);
    fi_field_fix_cursor(f);
}

void move_view(fi_field* f, int top) {
    const bool had_cursor = fi_edit.field == f && fi_edit.cursor;
    fi_show_cursor(f, false);
    fi_view_to(f, top);
    each_in_step(f, drag_along);
    if (had_cursor) fi_show_cursor(f, true);
}

} // namespace

bool fi_view_down(fi_field* f) {
    if (f->top_row + f->visible_rows < f->num_rows) {
        move_view(f, f->top_row + 1);
        return true;
    }
    if (!fi_flag(f, FI_ROLL_THROUGH) || f->top_row == 0) return false;
    move_view(f, 0);
    return true;
}

bool fi_view_up(fi_field* f) {
    if (f->top_row == 0) return false;
    move_view(f, f->top_row - 1);
    return true;
}

namespace {

// The first of `size` places from `first` on so that `at` is among them.
int following(int first, int size, int at) {
    if (at < first) return at;
    return at >= first + size ? at - size + 1 : first;
}

} // namespace

bool fi_view_follow(fi_field* f) {
    bool drawn = false;
    const int top = following(f->top_row, std::max<int>(f->visible_rows, 1), f->active_row);
    const int first = following(f->first_char, std::max<int>(f->visible_chars, 1), f->cursor_char);
    if (first != f->first_char) {
        f->first_char = fi_short(first);
        if (top == f->top_row) fi_field_draw_text(f);
        drawn = true;
    }
    if (top == f->top_row) return drawn;
    fi_view_to(f, top);
    return true;
}

// ---- bar -----------------------------------------------------------------------------------------------------------

namespace {

int wanted_top(const fi_field* f, double value) {
    const int page = std::max<int>(f->visible_rows, 1);
    switch (fi_scroll_command(value)) {
    case FI_SCROLL_TO_LOW: return 0;
    case FI_SCROLL_PAGE_BACK: return f->top_row - page;
    case FI_SCROLL_UNIT_BACK: return f->top_row - 1;
    case FI_SCROLL_UNIT_FORWARD: return f->top_row + 1;
    case FI_SCROLL_PAGE_FORWARD: return f->top_row + page;
    case FI_SCROLL_TO_HIGH: return f->num_rows;
    default: return static_cast<int>(std::lround(std::clamp(value, 0.0, double{FI_MAX_ROWS})));
    }
}

} // namespace

void fi_scroll_rows(fi_field* f, double value) {
    if (std::isnan(value)) return;
    move_view(f, wanted_top(f, value));
}

void fi_field_bar_moved(FI_gadget* g, FI_gadget* /*bar*/, double value) {
    auto* f = fi_as<fi_field>(g);
    fi_scroll_rows(f, value);
    if (!fi_has(g, FI_NOTIFY_SCROLL) || fi_is_list(g) || fi_is_column(g)) return;
    fi_notify(g, FI_SCROLLED_ROWS);
}

// ---- arrows --------------------------------------------------------------------------------------------------------

namespace {

int longest_seen(const fi_field* f) {
    int longest = 0;
    for (int row = f->top_row; row < std::min(f->top_row + f->visible_rows, int{f->num_rows}); ++row)
        longest = std::max(longest, fi_row_length(f, row));
    return longest;
}

} // namespace

void fi_field_scroll_chars(fi_field* f, int direction) {
    // One place behind the longest row, for the cursor.
    const int last = std::max(longest_seen(f) - f->visible_chars + 1, int{f->first_char});
    const int first = std::clamp(f->first_char + direction, 0, last);
    if (first == f->first_char) return;
    f->first_char = fi_short(first);
    const int row_end = fi_row_length(f, f->active_row);
    f->cursor_char = fi_short(
        std::clamp<int>(f->cursor_char, std::min(first, row_end), std::min(first + f->visible_chars - 1, row_end)));
    fi_field_draw_text(f);
}

namespace {

constexpr int DELAY = 30; // ticks until a held arrow repeats
constexpr int REPEAT = 1; // and then from step to step

void repeat_while_held(fi_field* f, FI_gadget* arrow, int direction, int transition) {
    fi_track track;
    fi_track_begin(&track, arrow, f->common.form->window, transition);
    fi_track_start_timer(&track, DELAY);
    bool repeating = false;
    for (fi_tracked what = fi_track_next(&track); what != fi_tracked::ended; what = fi_track_next(&track)) {
        if (what != fi_tracked::tick) continue;
        fi_field_scroll_chars(f, direction);
        if (repeating) continue;
        repeating = true;
        fi_track_end(&track);
        fi_track_start_timer(&track, REPEAT);
    }
    fi_track_end(&track);
}

} // namespace

void fi_field_arrow(FI_gadget* g, int direction, int transition) {
    auto* f = fi_as<fi_field>(g);
    FI_gadget* arrow = f->arrows[direction < 0 ? 0 : 1];
    if (arrow == nullptr) return;
    const fi_hold hold(g);
    const fi_hold hold_arrow(arrow);
    fi_field_scroll_chars(f, direction);
    if (transition % 2 != 0) repeat_while_held(f, arrow, direction, transition);
    if (hold_arrow.gone()) return;
    arrow->value = 0;
    fi_redraw_gadget(arrow);
}
