// What keys do to the row with the cursor.
//
// Each key is one command or one character. The cursor isn't drawn meanwhile; what a key changes is drawn at once, and
// no more: a typed character the rest of its row, whatever the number of rows.
#include <algorithm>
#include <cctype>
#include <cstring>

#include "forms/env.h"
#include "forms/fields.h"
#include "forms/forms.h"
#include "forms/link.h"
#include "forms/mcf.h"
#include "support/memory.h"

namespace {

enum command : int {
    ROW_START = 1,
    LEFT = 2,
    UPPER = 3,
    DELETE = 4,
    ROW_END = 5,
    RIGHT = 6,
    BACKSPACE = 8,
    DELETE_REST = 11,
    LOWER = 12,
    DOWN = 14,
    UP = 16,
    SWAP = 20,
    YANK = 25,
    GO_ON = 100,
    GO_BACK = 101,
};
constexpr int RETURN = 13;
constexpr int FIRST_PRINTED = 32;
constexpr int LAST_LOW = 127;   // characters above begin pairs in fonts that have such
constexpr int FIRST_HIGH = 160; // codes from LAST_LOW on up to here are keys without a meaning

const char* text_of(const fi_field* f) {
    return fi_row_text(f, f->active_row);
}
int length_of(const fi_field* f) {
    return fi_row_length(f, f->active_row);
}
int offset_of(const fi_field* f, int character) {
    return fi_char_offset(f, text_of(f), character);
}

// The last place of the cursor in the row: a full row has none behind it.
int last_place(const fi_field* f) {
    const int length = length_of(f);
    return f->max_chars > 0 && !fi_wraps(f) ? std::min(length, std::max(f->max_chars - 1, 0)) : length;
}

bool has_pairs(const fi_field* f) {
    return f->common.font_type == FI_FONT_PAIRS;
}

// ---- moves ---------------------------------------------------------------------------------------------------------

void move_to(fi_field* f, int character) {
    f->cursor_char = fi_short(character);
    fi_view_follow(f);
}

void to_row(fi_field* f, int row) {
    f->active_row = fi_short(row);
    f->cursor_char = fi_short(std::min<int>(f->cursor_char, last_place(f)));
    fi_view_follow(f);
    if (fi_mcf* table = fi_table_of(f); table != nullptr) fi_mcf_sync_rows(table, f);
}

void left(fi_field* f) {
    if (f->cursor_char > 0) return move_to(f, f->cursor_char - 1);
    if (f->active_row == 0) return;
    to_row(f, f->active_row - 1);
    move_to(f, last_place(f));
}

void right(fi_field* f) {
    if (f->cursor_char < last_place(f)) return move_to(f, f->cursor_char + 1);
    if (f->active_row + 1 >= f->num_rows) return;
    f->cursor_char = 0;
    to_row(f, f->active_row + 1);
}

} // namespace

void fi_report_line(fi_field* f) {
    if (!fi_flag(f, FI_NOTIFY_BY_LINE) || fi_is_list(&f->common)) return;
    fi_tell(fi_reporter_of(f), f->active_row);
}

void fi_next_row(fi_field* f) {
    const fi_hold hold(fi_gadget_of(f));
    if (!fi_is_column(&f->common)) fi_report_line(f);
    if (hold.gone()) return;
    if (f->active_row + 1 < f->num_rows)
        to_row(f, f->active_row + 1);
    else
        move_to(f, last_place(f));
}

void fi_previous_row(fi_field* f) {
    const fi_hold hold(fi_gadget_of(f));
    if (!fi_is_column(&f->common)) fi_report_line(f);
    if (hold.gone()) return;
    if (f->active_row > 0)
        to_row(f, f->active_row - 1);
    else
        move_to(f, 0);
}

// ---- deleting ------------------------------------------------------------------------------------------------------

namespace {

// Keeps what is deleted; without memory nothing is kept.
void keep(const char* text, int length) {
    char* kept = mem_new_array<char>(static_cast<size_t>(length) + 1);
    mem_free(fi_edit.yank);
    fi_edit.yank = kept;
    fi_edit.yank_length = kept != nullptr ? length : 0;
    if (kept == nullptr) return;
    std::memcpy(kept, text, static_cast<size_t>(length));
    kept[length] = '\0';
}

void cut_bytes(fi_field* f, int from, int to) {
    char* text = f->rows[f->active_row].text;
    const size_t rest = std::strlen(text + to);
    std::memmove(text + from, text + to, rest + 1);
    fi_row_cut(f, f->active_row, from + static_cast<int>(rest));
}

// The character at `character` goes, and what stood behind it is drawn in its place.
void delete_at(fi_field* f, int character, bool kept) {
    const int from = offset_of(f, character);
    const int to = offset_of(f, character + 1);
    if (kept) keep(text_of(f) + from, to - from);
    cut_bytes(f, from, to);
    f->cursor_char = fi_short(std::min(character, length_of(f)));
    if (!fi_view_follow(f)) fi_field_draw_from(f, f->active_row, f->cursor_char);
}

// The next row is appended to this one, unless they are too long together.
void join_next(fi_field* f) {
    const int row = f->active_row;
    if (row + 1 >= f->num_rows || fi_is_column(&f->common)) return;
    if (f->max_chars > 0 && length_of(f) + fi_row_length(f, row + 1) > f->max_chars) return;
    const size_t first = std::strlen(text_of(f));
    const size_t second = std::strlen(fi_row_text(f, row + 1));
    if (fi_row_block(f, row, static_cast<int>(first + second)) != FI_SUCCESS) return;
    std::memcpy(f->rows[row].text + first, fi_row_text(f, row + 1), second + 1);
    f->rows[row].after_newline = 1;
    const int cursor = f->cursor_char;
    fi_remove_rows(f, row + 1, 1);
    f->active_row = fi_short(row);
    f->cursor_char = fi_short(std::min(cursor, last_place(f)));
    fi_view_follow(f);
    fi_field_draw_text(f);
}

void delete_here(fi_field* f) {
    if (f->cursor_char < length_of(f)) return delete_at(f, f->cursor_char, false);
    if (f->mode != FI_APPEND && !fi_wraps(f)) join_next(f);
}

void backspace(fi_field* f) {
    if (fi_flag(f, FI_NO_ECHO)) {
        if (length_of(f) > 0) delete_at(f, length_of(f) - 1, false);
        return;
    }
    if (f->cursor_char > 0) return delete_at(f, f->cursor_char - 1, true);
    if (f->active_row == 0 || fi_wraps(f) || fi_is_column(&f->common)) return;
    if (f->mode == FI_APPEND && f->active_row + 1 < f->num_rows) return;
    keep("\r", 1);
    f->active_row = fi_short(f->active_row - 1);
    f->cursor_char = fi_short(length_of(f));
    fi_view_follow(f);
    join_next(f);
}

void delete_rest(fi_field* f) {
    const int from = offset_of(f, f->cursor_char);
    const auto end = static_cast<int>(std::strlen(text_of(f)));
    if (from == end) {
        if (!fi_wraps(f)) join_next(f);
        return;
    }
    keep(text_of(f) + from, end - from);
    cut_bytes(f, from, end);
    fi_field_draw_from(f, f->active_row, f->cursor_char);
}

// ---- typing --------------------------------------------------------------------------------------------------------

// A row that overflows goes on in the next ones, and the cursor with the text.
void wrap_typed(fi_field* f) {
    const int row = f->active_row;
    const int cursor = f->cursor_char;
    int rest = 0;
    fi_wrap_on(f, row, &rest);
    const bool goes_along = cursor >= rest && row + 1 < f->num_rows && cursor > length_of(f);
    if (goes_along) f->active_row = fi_short(row + 1);
    f->cursor_char = fi_short(std::min(goes_along ? cursor - rest : cursor, length_of(f)));
    fi_view_follow(f);
    fi_field_draw_rows(f, row, f->num_rows + f->visible_rows);
}

// Makes place in the row: a full one loses its last character.
bool make_place(fi_field* f, int bytes) {
    if (f->max_chars > 0 && !fi_wraps(f)) {
        while (length_of(f) >= f->max_chars)
            fi_row_cut(f, f->active_row, offset_of(f, length_of(f) - 1));
    }
    f->cursor_char = fi_short(std::min<int>(f->cursor_char, length_of(f)));
    return fi_row_block(f, f->active_row, static_cast<int>(std::strlen(text_of(f))) + bytes) == FI_SUCCESS;
}

// One character, of one byte or two.
void insert(fi_field* f, const char* bytes, int count) {
    if (length_of(f) >= INT16_MAX - 1) return;
    if (!fi_number_takes(f, text_of(f), static_cast<unsigned char>(*bytes)) || !make_place(f, count)) return;
    char* text = f->rows[f->active_row].text;
    const int at = offset_of(f, f->cursor_char);
    std::memmove(text + at + count, text + at, std::strlen(text + at) + 1);
    std::memcpy(text + at, bytes, static_cast<size_t>(count));
    const int drawn = f->cursor_char;
    const bool wraps = fi_wraps(f);
    if (wraps || f->max_chars <= 0 || f->cursor_char < f->max_chars - 1) ++f->cursor_char;
    if (wraps && length_of(f) > fi_wrap_width(f)) return wrap_typed(f);
    if (!fi_view_follow(f)) fi_field_draw_from(f, f->active_row, drawn);
}

void change_case(fi_field* f, bool upper) {
    if (f->cursor_char >= length_of(f)) return right(f);
    char* at = f->rows[f->active_row].text + offset_of(f, f->cursor_char);
    const auto c = static_cast<unsigned char>(*at);
    if (c < 128) *at = static_cast<char>(upper ? std::toupper(c) : std::tolower(c));
    fi_field_draw_from(f, f->active_row, f->cursor_char);
    right(f);
}

void swap(fi_field* f) {
    if (f->cursor_char + 1 >= length_of(f)) return;
    char* text = f->rows[f->active_row].text;
    const int first = offset_of(f, f->cursor_char);
    const int second = offset_of(f, f->cursor_char + 1);
    std::rotate(text + first, text + second, text + offset_of(f, f->cursor_char + 2));
    fi_field_draw_from(f, f->active_row, f->cursor_char);
    right(f);
}

// ---- Return --------------------------------------------------------------------------------------------------------

// A number is printed as the field wants it.
void format_row(fi_field* f) {
    if (f->field_type == FI_ALPHA || *f->format == '\0' || !fi_is_number_format(f->format)) return;
    double value = 0;
    fi_read_number(text_of(f), &value);
    char text[FI_NUMBER_SIZE];
    fi_print_number(f, value, text);
    auto length = static_cast<int>(std::strlen(text));
    if (f->max_chars > 0) length = std::min(length, f->max_chars * 2);
    fi_row_store(f, f->active_row, text, length);
    fi_field_fix_cursor(f);
    fi_field_draw_row(f, f->active_row);
}

// The part behind the cursor goes into the next row, which is empty.
void split_row(fi_field* f, int row) {
    const int at = offset_of(f, f->cursor_char);
    const char* tail = text_of(f) + at;
    if (fi_row_store(f, row + 1, tail, static_cast<int>(std::strlen(tail))) == FI_SUCCESS) fi_row_cut(f, row, at);
}

void add_row(fi_field* f) {
    const int row = f->active_row;
    if (fi_insert_row(f, row + 1) != FI_SUCCESS) return;
    f->active_row = fi_short(row);
    if (f->field_type == FI_ALPHA && f->common.justification == FI_LEFT) split_row(f, row);
    f->active_row = fi_short(row + 1);
    f->cursor_char = f->first_char = 0;
    fi_view_follow(f);
    fi_field_draw_text(f);
}

// What a new row, or the next one, is for Return. False: the entry is done.
bool goes_to_row(fi_field* f) {
    if (fi_is_column(&f->common)) return false;
    const bool appends = f->mode == FI_APPEND && f->active_row + 1 < f->num_rows;
    const bool may_add = f->max_rows <= 0 || f->num_rows < f->max_rows;
    if (!may_add) return false;
    const fi_hold hold(fi_gadget_of(f));
    if (appends) {
        fi_next_row(f);
    } else {
        fi_report_line(f);
        if (!hold.gone() && fi_row_exists(f, f->active_row)) add_row(f);
    }
    return true;
}

fi_edit_end take_return(fi_field* f) {
    if (fi_wraps(f)) return fi_edit_end::goes_on;
    const fi_hold hold(fi_gadget_of(f));
    const int status = fi_verify_row(f);
    if (hold.gone()) return fi_edit_end::stop;
    bool goes_on = false;
    if (status == FI_SUCCESS) {
        format_row(f);
        fi_justify_row(f, f->active_row);
        if (f->common.justification != FI_LEFT) fi_field_draw_row(f, f->active_row);
        goes_on = goes_to_row(f);
        if (hold.gone()) return fi_edit_end::stop;
    }
    if (goes_on) return fi_edit_end::goes_on;
    if (f->visible_rows == 1 && !fi_is_column(&f->common) && fi_flag(f, FI_NOTIFY_BY_LINE)) {
        fi_report_line(f);
        if (!hold.gone()) fi_carry_link(fi_gadget_of(f));
        if (hold.gone()) return fi_edit_end::stop;
    }
    return fi_edit_end::next;
}

// ---- commands ------------------------------------------------------------------------------------------------------

// Puts back what was deleted; the end of a row in it is a Return.
fi_edit_end yank(fi_field* f) {
    const fi_hold hold(fi_gadget_of(f));
    const int total = fi_edit.yank_length;
    const mem_guard<char> copy(total > 0 ? mem_new_array<char>(static_cast<size_t>(total)) : nullptr);
    if (!copy) return fi_edit_end::goes_on;
    std::memcpy(copy.get(), fi_edit.yank, static_cast<size_t>(total));
    fi_edit_end end = fi_edit_end::goes_on;
    for (int i = 0; i < total && end == fi_edit_end::goes_on && !hold.gone();) {
        const bool pair = has_pairs(f) && static_cast<unsigned char>(copy[static_cast<size_t>(i)]) > LAST_LOW;
        const int bytes = pair && i + 1 < total ? 2 : 1;
        if (copy[static_cast<size_t>(i)] == '\r')
            end = take_return(f);
        else if (fi_first_row(f) == FI_SUCCESS)
            insert(f, copy.get() + i, bytes);
        i += bytes;
    }
    return hold.gone() ? fi_edit_end::stop : end;
}

// Leaves the row upward or downward.
fi_edit_end change_row(fi_field* f, bool down) {
    const fi_hold hold(fi_gadget_of(f));
    fi_verify_row(f);
    if (hold.gone() || !fi_row_exists(f, f->active_row)) return fi_edit_end::goes_on;
    if (f->common.justification != FI_LEFT) {
        fi_justify_row(f, f->active_row);
        fi_field_draw_row(f, f->active_row);
    }
    if (down && f->active_row + 1 == f->num_rows && f->list != nullptr) {
        fi_choose_by_key(f);
        return fi_edit_end::goes_on;
    }
    if (down)
        fi_next_row(f);
    else
        fi_previous_row(f);
    return fi_edit_end::goes_on;
}

fi_edit_end obey(fi_field* f, int what) {
    if (what == GO_ON) return fi_edit_end::next;
    if (what == GO_BACK) return fi_edit_end::back;
    if (fi_flag(f, FI_NO_ECHO) && what != BACKSPACE) return fi_edit_end::goes_on;
    if (fi_flag(f, FI_RIGHT_TO_LEFT) && (what == LEFT || what == RIGHT)) what = what == LEFT ? RIGHT : LEFT;
    switch (what) {
    case ROW_START: move_to(f, 0); break;
    case ROW_END: move_to(f, last_place(f)); break;
    case LEFT: left(f); break;
    case RIGHT: right(f); break;
    case UPPER: change_case(f, true); break;
    case LOWER: change_case(f, false); break;
    case DELETE: delete_here(f); break;
    case BACKSPACE: backspace(f); break;
    case DELETE_REST: delete_rest(f); break;
    case SWAP: swap(f); break;
    case UP: return change_row(f, false);
    case DOWN: return change_row(f, true);
    case YANK: return fi_flag(f, FI_WRAP) ? fi_edit_end::goes_on : yank(f);
    default: break;
    }
    return fi_edit_end::goes_on;
}

bool is_printed(int key) {
    return key >= FIRST_PRINTED && (key < LAST_LOW || key >= FIRST_HIGH);
}

} // namespace

int fi_first_row(fi_field* f) {
    const int status = f->num_rows == 0 ? fi_set_num_rows(f, 1, true) : int{FI_SUCCESS};
    if (status == FI_SUCCESS) fi_field_fix_cursor(f);
    return status;
}

void fi_clear_on_select(fi_field* f) {
    if (!fi_flag(f, FI_CLEAR_ON_SELECT) || !fi_row_exists(f, f->active_row)) return;
    fi_row_cut(f, f->active_row, 0);
    f->cursor_char = 0;
    if (!fi_view_follow(f)) fi_field_draw_row(f, f->active_row);
}

fi_edit_end fi_edit_key(fi_field* f, const char* bytes, int count, int* used) {
    *used = 1;
    if (fi_first_row(f) != FI_SUCCESS) return fi_edit_end::stop;
    int key = static_cast<unsigned char>(*bytes);
    if (fi_env.FI_MAP_CHARACTER(&key) == 1) return obey(f, key);
    if (key == RETURN) return take_return(f);
    const bool pair = has_pairs(f) && key > LAST_LOW && count > 1;
    if (pair) {
        *used = 2;
        insert(f, bytes, 2);
    } else if (is_printed(key)) {
        const char one = static_cast<char>(key);
        insert(f, &one, 1);
    }
    return fi_edit_end::goes_on;
}
