// What is put into the rows of fields, and what follows from it for cursor, selection and view.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "forms/env.h"
#include "forms/fields.h"
#include "forms/forms.h"
#include "forms/mcf.h"
#include "support/memory.h"

// ---- characters and bytes ------------------------------------------------------------------------------------------

int fi_char_count(const fi_field* f, const char* text) {
    return f->common.font_type == FI_FONT_PAIRS ? fi_env.FI_STRLEN(text, FI_FONT_PAIRS)
                                                : static_cast<int>(std::strlen(text));
}

int fi_char_offset(const fi_field* f, const char* text, int character) {
    if (character <= 0) return 0;
    if (f->common.font_type == FI_FONT_PAIRS)
        return std::max(fi_env.FI_MOVE_INDEX(text, 0, character, FI_FONT_PAIRS), 0);
    return static_cast<int>(strnlen(text, static_cast<size_t>(character)));
}

int fi_row_length(const fi_field* f, int row) {
    return fi_char_count(f, fi_row_text(f, row));
}

// ---- rows ----------------------------------------------------------------------------------------------------------

namespace {

// The row that a call means: never below 0, and none beyond the limit.
int limited_row(const fi_field* f, int row) {
    if (row < 0) return 0;
    return f->max_rows > 0 ? std::min(row, f->max_rows - 1) : row;
}

// A table sizes those of its fields that are columns; one that is beyond their number takes no rows.
int grow_to(fi_field* f, int row) {
    const int status = row < f->num_rows ? int{FI_SUCCESS} : fi_set_num_rows(f, row + 1, true);
    return status == FI_SUCCESS && row >= f->num_rows ? int{FI_INVALID_ROW} : status;
}

} // namespace

bool fi_may_add_row(const fi_field* f) {
    return f->num_rows < FI_MAX_ROWS && (f->max_rows <= 0 || f->num_rows < f->max_rows);
}

void fi_field_fix_cursor(fi_field* f) {
    const int last = std::max(f->num_rows - 1, 0);
    f->active_row = fi_short(std::clamp<int>(f->active_row, 0, last));
    const int length = fi_row_length(f, f->active_row);
    f->cursor_char = fi_short(std::clamp<int>(f->cursor_char, 0, length));
    if (f->cursor_char < length || f->cursor_char > f->first_char) return;
    f->first_char = fi_short(std::min<int>(f->first_char, std::max(length - 1, 0)));
}

namespace {

// The number of rows of one field has changed at its end.
void follow_count(fi_field* f) {
    if (f->num_rows == 0) f->top_row = f->first_char = f->active_row = f->cursor_char = 0;
    if (f->selected_row >= f->num_rows) f->selected_row = -1;
    fi_field_fix_cursor(f);
    fi_view_fix(f);
}

int resize_columns(fi_mcf* table, int count) {
    int status = FI_SUCCESS;
    const int before = fi_mcf_rows(table);
    for (int i = 0; i < fi_mcf_columns(table) && status == FI_SUCCESS; ++i)
        status = fi_rows_resize(fi_mcf_column(table, i), count);
    if (status != FI_SUCCESS && before < count) // shrinking never fails
        for (int i = 0; i < fi_mcf_columns(table); ++i)
            fi_rows_resize(fi_mcf_column(table, i), std::min<int>(before, fi_mcf_column(table, i)->num_rows));
    for (int i = 0; i < fi_mcf_columns(table); ++i)
        follow_count(fi_mcf_column(table, i));
    return status;
}

int resize_one(fi_field* f, int count) {
    const int before = f->num_rows;
    const int status = fi_rows_resize(f, count);
    if (status != FI_SUCCESS) fi_rows_resize(f, before);
    follow_count(f);
    return status;
}

} // namespace

int fi_set_num_rows(fi_field* f, int count, bool all_columns) {
    if (count > FI_MAX_ROWS) return FI_INVALID_ROW;
    fi_mcf* table = all_columns ? fi_table_of(f) : nullptr;
    const int status = table != nullptr ? resize_columns(table, count) : resize_one(f, count);
    fi_update_bar(f);
    return status;
}

namespace {

// Moves the last row of a field to `row`; it is empty, and takes the colour of the one above.
void move_last_to(fi_field* f, int row) {
    FI_field_row fresh = f->rows[f->num_rows - 1];
    std::memmove(f->rows + row + 1, f->rows + row, sizeof fresh * static_cast<size_t>(f->num_rows - 1 - row));
    fresh.color = row > 0 ? f->rows[row - 1].color : 0;
    f->rows[row] = fresh;
    if (f->selected_row >= row) ++f->selected_row;
}

void cut_out(fi_field* f, int row, int count) {
    const auto begin = f->rows + row;
    std::rotate(begin, begin + count, f->rows + f->num_rows);
    if (f->selected_row >= row + count)
        f->selected_row = fi_short(f->selected_row - count);
    else if (f->selected_row >= row)
        f->selected_row = -1;
    if (f->active_row >= row + count)
        f->active_row = fi_short(f->active_row - count);
    else if (f->active_row >= row)
        f->active_row = fi_short(row);
    fi_rows_resize(f, f->num_rows - count);
    fi_field_fix_cursor(f);
    fi_view_fix(f);
}

// Has `act` work on the field, or on all columns of its table.
template <typename F> void each_in_step(fi_field* f, F act) {
    fi_mcf* table = fi_table_of(f);
    if (table == nullptr) return act(f);
    for (int i = 0; i < fi_mcf_columns(table); ++i)
        act(fi_mcf_column(table, i));
}

} // namespace

int fi_insert_row(fi_field* f, int row) {
    const int status = fi_set_num_rows(f, f->num_rows + 1, true);
    if (status != FI_SUCCESS) return status;
    each_in_step(f, [=](fi_field* one) { move_last_to(one, std::min<int>(row, one->num_rows - 1)); });
    return FI_SUCCESS;
}

void fi_remove_rows(fi_field* f, int row, int count) {
    each_in_step(f, [=](fi_field* one) {
        if (row < one->num_rows) cut_out(one, row, std::min(count, one->num_rows - row));
    });
    fi_update_bar(f);
}

// ---- texts ---------------------------------------------------------------------------------------------------------

namespace {

int store_cut(fi_field* f, int row, const char* text) {
    const int length = fi_char_offset(f, text, f->max_chars > 0 ? f->max_chars : INT16_MAX);
    const int status = fi_row_store(f, row, text, length);
    if (status != FI_SUCCESS) return status;
    f->rows[row].after_newline = 0;
    fi_justify_row(f, row);
    return FI_SUCCESS;
}

// One row is drawn after a change, or all from it on.
void draw_changed(fi_field* f, int row, bool on) {
    if (on)
        fi_field_draw_rows(f, row, f->num_rows + f->visible_rows);
    else
        fi_field_draw_row(f, row);
}

} // namespace

void fi_field_set_select(fi_field* f, int row, int select) {
    fi_field_mark(f, row, select != 0);
    if (select == 0 || !fi_flag(f, FI_ROLL_THROUGH)) return;
    f->active_row = fi_short(row);
    fi_view_to(f, row);
    fi_field_fix_cursor(f);
}

namespace {

// A new text stands in a row: cursor, selection and screen follow.
void follow_text(fi_field* f, int row, int select) {
    const int first = f->first_char;
    if (row == f->active_row) fi_field_fix_cursor(f);
    fi_field_set_select(f, row, select);
    if (f->first_char != first)
        fi_field_draw_text(f);
    else
        draw_changed(f, row, fi_wraps(f));
}

} // namespace

int fi_field_set_text(fi_field* f, int row, const char* text, int select) {
    row = limited_row(f, row);
    int status = grow_to(f, row);
    if (status != FI_SUCCESS) return status;
    status = fi_wraps(f) ? fi_wrap_text(f, row, text) : store_cut(f, row, text);
    if (status == FI_SUCCESS) follow_text(f, row, select);
    return status;
}

namespace {

// The bytes of a piece of a long number: up to its last blank within max_chars, which stays in it.
int number_piece(const fi_field* f, const char* text) {
    const int length = static_cast<int>(std::strlen(text));
    const int most = std::max(int{f->max_chars}, 1);
    if (length <= most) return length;
    for (int i = most; i > 0; --i)
        if (text[i - 1] == ' ') return i;
    return most;
}

int store_pieces(fi_field* f, int row, const char* text) {
    int status = FI_SUCCESS;
    do {
        const int length = number_piece(f, text);
        status = grow_to(f, row);
        if (status == FI_SUCCESS) status = fi_row_store(f, row, text, length);
        text += length;
        ++row;
    } while (*text != '\0' && status == FI_SUCCESS && (f->max_rows <= 0 || row < f->max_rows));
    return status;
}

} // namespace

int fi_field_set_value(fi_field* f, int row, double value, int select) {
    if (!std::isfinite(value)) return FI_INVALID_ARGUMENT;
    char text[FI_NUMBER_SIZE];
    fi_print_number(f, value, text);
    row = limited_row(f, row);
    int status = grow_to(f, row);
    if (status != FI_SUCCESS) return status;
    const auto length = static_cast<int>(std::strlen(text));
    const bool fits = f->max_chars <= 0 || length < f->max_chars;
    if (fits || !fi_flag(f, FI_WRAP))
        status = fi_row_store(f, row, text, fits ? length : std::min(length, f->max_chars * 2));
    else
        status = store_pieces(f, row, text);
    if (status == FI_SUCCESS) follow_text(f, row, select);
    return status;
}

void fi_field_cut_rows(fi_field* f) {
    for (int row = 0; row < f->num_rows && f->max_chars > 0; ++row) {
        const char* text = fi_row_text(f, row);
        const int length = fi_char_offset(f, text, f->max_chars);
        if (text[length] != '\0') fi_row_cut(f, row, length);
    }
    fi_field_fix_cursor(f);
}

void fi_field_mark(fi_field* f, int row, bool selected) {
    const int before = f->selected_row;
    if (f->mode == FI_SINGLE_SELECT && selected && before != row && fi_row_exists(f, before)) {
        f->rows[before].selected = 0;
        fi_field_draw_row(f, before);
    }
    if (selected)
        f->selected_row = fi_short(row);
    else if (before == row)
        f->selected_row = -1;
    if ((f->rows[row].selected != 0) == selected) return;
    f->rows[row].selected = selected ? 1 : 0;
    fi_field_draw_row(f, row);
}

// ---- wrapping ------------------------------------------------------------------------------------------------------

int fi_wrap_width(const fi_field* f) {
    return std::max(f->visible_chars - 1, 1);
}

namespace {

// A piece of a text that goes into one row, and where the next one begins.
struct wrap_piece {
    int length; // bytes
    int next;   // bytes from the piece's start; beyond the end when there is no next one
    bool newline;
    bool last;
};

wrap_piece next_piece(const fi_field* f, const char* text) {
    const int limit = fi_char_offset(f, text, fi_wrap_width(f));
    int blank = -1;
    for (int i = 0;; ++i) {
        if (text[i] == '\n') return {i, i + 1, true, false};
        if (text[i] == '\0') return {i, i, false, true};
        if (i == limit) break;
        if (text[i] == ' ') blank = i;
    }
    if (text[limit] == ' ') return {limit, limit + 1, false, false};
    return blank > 0 ? wrap_piece{blank, blank + 1, false, false} : wrap_piece{limit, limit, false, false};
}

} // namespace

int fi_wrap_text(fi_field* f, int row, const char* text) {
    for (bool newline = false;; ++row) {
        const wrap_piece piece = next_piece(f, text);
        int status = grow_to(f, row);
        if (status == FI_SUCCESS) status = fi_row_store(f, row, text, piece.length);
        if (status != FI_SUCCESS) return status;
        f->rows[row].after_newline = newline ? 1 : 0;
        if (piece.last || (f->max_rows > 0 && row + 1 >= f->max_rows)) return FI_SUCCESS;
        newline = piece.newline;
        text += piece.next;
    }
}

namespace {

// Puts `tail` in front of a row of the same paragraph, with the blank that stood between them if one did.
int put_in_front(fi_field* f, int row, const char* tail, bool blank) {
    const char* text = fi_row_text(f, row);
    const size_t tail_length = std::strlen(tail);
    const size_t length = std::strlen(text);
    const mem_guard<char> both(mem_new_array<char>(tail_length + length + 2));
    if (!both) return FI_NO_MEMORY;
    std::memcpy(both.get(), tail, tail_length);
    size_t at = tail_length;
    if (length > 0 && blank) both[at++] = ' ';
    std::memcpy(both.get() + at, text, length);
    return fi_row_store(f, row, both.get(), static_cast<int>(at + length));
}

int characters_before(const fi_field* f, const char* text, int bytes) {
    return fi_char_count(f, text) - fi_char_count(f, text + bytes);
}

bool has_next_in_paragraph(const fi_field* f, int row) {
    return row + 1 < f->num_rows && f->rows[row + 1].after_newline == 0;
}

// Makes sure of a row behind this one for what doesn't fit. False when there can be none.
bool has_row_for_rest(fi_field* f, int row) {
    if (has_next_in_paragraph(f, row)) return true;
    return fi_may_add_row(f) && fi_insert_row(f, row + 1) == FI_SUCCESS;
}

} // namespace

int fi_wrap_on(fi_field* f, int row, int* rest_at) {
    const int first = row;
    *rest_at = FI_MAX_ROWS;
    for (;; ++row) {
        const char* text = fi_row_text(f, row);
        const wrap_piece piece = next_piece(f, text);
        if (piece.last) return FI_SUCCESS;
        if (row == first) *rest_at = characters_before(f, text, piece.next);
        const bool blank = std::strchr(text, ' ') != nullptr; // else a long word was cut where the row ended
        const mem_guard<char> rest(mem_copy_text(text + piece.next));
        if (!rest) return FI_NO_MEMORY;
        int status = FI_SUCCESS;
        const bool goes_on = has_row_for_rest(f, row);
        if (goes_on) status = put_in_front(f, row + 1, rest.get(), blank);
        if (status != FI_SUCCESS) return status;
        // Without another row the rest is lost, as what goes beyond max_chars is.
        fi_row_cut(f, row, piece.length);
        if (!goes_on) return FI_SUCCESS;
    }
}

// ---- finished entries ----------------------------------------------------------------------------------------------

void fi_justify_row(fi_field* f, int row) {
    if (f->common.justification == FI_LEFT || fi_flag(f, FI_HORT_SCROLL) || !fi_row_exists(f, row)) return;
    const char* text = fi_row_text(f, row);
    while (*text == ' ')
        ++text;
    size_t bytes = std::strlen(text);
    while (bytes > 0 && text[bytes - 1] == ' ')
        --bytes;
    const mem_guard<char> copy(mem_new_array<char>(bytes + static_cast<size_t>(f->visible_chars) + 1));
    if (!copy) return; // it stands at the left
    std::memcpy(copy.get(), text, bytes);
    copy[bytes] = '\0';
    int blanks = std::max(f->visible_chars - fi_char_count(f, copy.get()), 0);
    if (f->common.justification == FI_CENTER) blanks /= 2;
    if (bytes == 0) blanks = 0;
    std::memmove(copy.get() + blanks, copy.get(), bytes + 1);
    std::memset(copy.get(), ' ', static_cast<size_t>(blanks));
    fi_row_store(f, row, copy.get(), blanks + static_cast<int>(bytes));
    if (row == f->active_row) fi_field_fix_cursor(f);
}

namespace {

bool list_has(const fi_field* list, const char* text) {
    for (int row = 0; row < list->num_rows; ++row)
        if (std::strcmp(fi_row_text(list, row), text) == 0) return true;
    return false;
}

bool is_in_range(const fi_field* f, const char* text) {
    double value = 0;
    return fi_read_number(text, &value) && value >= f->min_value && value <= f->max_value;
}

// The routine gets a text of its own: the field may go meanwhile. An entry that nobody can judge is valid.
bool is_valid(fi_field* f, const fi_hold& hold) {
    const mem_guard<char> text(mem_copy_text(fi_row_text(f, f->active_row)));
    if (!text) return true;
    if (f->verify_routine != nullptr) {
        if (f->verify_routine(text.get(), f->field_type) == 1) return false;
    } else if (f->min_value != f->max_value && !is_in_range(f, text.get())) {
        return false;
    }
    if (hold.gone() || !fi_flag(f, FI_VALIDATE_LIST) || f->list == nullptr) return true;
    return list_has(fi_as<fi_field>(f->list), text.get());
}

// What an invalid row goes back to.
const char* default_of(const fi_field* f, int row) {
    if (f->num_default_rows <= 0) return "";
    return f->default_rows[row < f->num_default_rows ? row : 0].text;
}

} // namespace

int fi_verify_row(fi_field* f) {
    const fi_hold hold(fi_gadget_of(f));
    const bool valid = is_valid(f, hold);
    if (hold.gone() || valid || !fi_row_exists(f, f->active_row)) return FI_SUCCESS;
    const int row = f->active_row;
    const char* text = default_of(f, row);
    fi_row_store(f, row, text, static_cast<int>(std::strlen(text)));
    f->cursor_char = fi_short(fi_row_length(f, row));
    fi_field_fix_cursor(f);
    if (!fi_view_follow(f)) fi_field_draw_row(f, row);
    return FI_INVALID_ARGUMENT;
}
