// Fields: rows of text in a view, for typing, for reading and for choosing rows.
//
// A field stands by itself, is the list of another field (its owner is that field), or is a column of a table (its
// owner is the multi-column field). Which of these it is follows from `owner` alone: fi_is_list(), fi_is_column().
//
//   fieldrows     storage of rows, and rows from the default rows
//   fieldstore    what is put into rows: texts, wrapping, justification, numbers, selection; adding and deleting rows
//   fieldnumber   numbers as texts and back, formats
//   fielddraw     frame, strip, rows, cursor
//   fieldlayout   activation and scaling; making and placing of bar, arrows and list
//   fieldview     scrolling, by bar, arrows and cursor
//   fieldedit     what keys do to the row with the cursor
//   fieldinput    the loops that take keys and presses; presses on fields
//   fieldselect   choosing rows, by mouse and by keys
//   fieldlist     pop-up lists: opening, closing, what a choice does to the owner
//   FIfld_*       the calls of the application
//
// Positions in a row are characters (two bytes each in fonts that have such); fi_char_offset() gives bytes. All
// positions are in range at any time: a cursor stands at a character or behind the last one.
//
// While keys go to a field, its entry runs: a loop (fieldinput.cpp) that holds the field. There is one cursor, that of
// the innermost entry: fi_edit.
#pragma once

#include "forms/fieldrows.h"
#include "forms/ops.h"

constexpr int FI_STRIP = 13; // pixels at the right of a field with a list, or that rolls through its rows
constexpr int FI_FRAME = 2;  // pixels of frame around a field

inline bool fi_is_list(const FI_gadget* g) {
    return g->type == FI_FIELD && g->owner != nullptr && g->owner->type == FI_FIELD;
}
inline bool fi_is_column(const FI_gadget* g) {
    return g->type == FI_FIELD && g->owner != nullptr && g->owner->type == FI_MCF;
}
inline FI_gadget* fi_gadget_of(fi_field* f) {
    return &f->common;
}
inline fi_mcf* fi_table_of(const fi_field* f) { // null: it is no column
    return fi_is_column(&f->common) ? fi_as<fi_mcf>(f->common.owner) : nullptr;
}
// The gadget whose label the application knows: the table of a column, else the field.
inline FI_gadget* fi_reporter_of(fi_field* f) {
    return fi_is_column(&f->common) ? f->common.owner : &f->common;
}
inline bool fi_flag(const fi_field* f, uint32_t flags) {
    return (f->flags & flags) != 0;
}
inline bool fi_is_typed_into(const fi_field* f) {
    return f->mode == FI_INSERT || f->mode == FI_APPEND;
}
inline bool fi_is_chosen_from(const fi_field* f) {
    return f->mode == FI_SINGLE_SELECT || f->mode == FI_MULTI_SELECT;
}
inline bool fi_is_scrolled(const fi_field* f) { // moves its view vertically
    return fi_flag(f, FI_VERT_SCROLL | FI_ROLL_THROUGH) || fi_is_column(&f->common);
}
inline bool fi_has_strip(const fi_field* f) {
    return f->list != nullptr || fi_flag(f, FI_ROLL_THROUGH);
}
// Long texts go on in the next row.
inline bool fi_wraps(const fi_field* f) {
    return fi_flag(f, FI_WRAP) && f->max_chars > 0;
}
inline bool fi_row_exists(const fi_field* f, int row) {
    return row >= 0 && row < f->num_rows;
}
inline int16_t fi_short(int v) {
    return static_cast<int16_t>(v < INT16_MIN ? INT16_MIN : v > INT16_MAX ? INT16_MAX : v);
}

// What there is once: the entry that has the keys, and the pop-up list that is open.
struct fi_edit_state {
    fi_field* field;      // with the cursor, held by its loop; null: none
    bool cursor;          // it is drawn
    FI_gadget* open_list; // null: none
    char* yank;           // owned; what was deleted last, 13 for the end of a row
    int yank_length;
};
extern fi_edit_state fi_edit;
void fi_fields_leave();            // forgets it all
void fi_forget_field(fi_field* f); // it is being freed

// ---- fieldstore.cpp ------------------------------------------------------------------------------------------------

int fi_row_length(const fi_field* f, int row); // characters
// Byte of the character of a text that stands at `character`, at most its end.
int fi_char_offset(const fi_field* f, const char* text, int character);
int fi_char_count(const fi_field* f, const char* text);

// Stores a text with the rules of the field: limits, wrapping, justification, selection; draws. Neither calls out.
int fi_field_set_text(fi_field* f, int row, const char* text, int select);
int fi_field_set_value(fi_field* f, int row, double value, int select);
// Selects a row or clears it, with what follows for the others of a single-select field; draws.
void fi_field_mark(fi_field* f, int row, bool selected);
void fi_field_set_select(fi_field* f, int row, int select); // the same, and a field that rolls goes there
// The text of a row is another one: the cursor stays in it.
void fi_field_fix_cursor(fi_field* f);
// Cuts every row to max_chars.
void fi_field_cut_rows(fi_field* f);

// Adds or removes rows at the end, in a column those of the whole table when `all_columns`; cursor, view and bar
// follow. FI_status; at a failure nothing has changed.
int fi_set_num_rows(fi_field* f, int count, bool all_columns);
// Puts empty rows before `row`, or takes rows away. In a table those of all columns. Doesn't draw.
int fi_insert_row(fi_field* f, int row);
void fi_remove_rows(fi_field* f, int row, int count);
bool fi_may_add_row(const fi_field* f); // max_rows allows one more

// Cuts the text into rows from `row` on.
int fi_wrap_text(fi_field* f, int row, const char* text);
// A row that is longer than the width goes on in the next one, and so on to the end of the paragraph. `rest`: the
// character of the row that the next one begins with now; beyond its end when nothing has moved.
int fi_wrap_on(fi_field* f, int row, int* rest);
int fi_wrap_width(const fi_field* f);

void fi_justify_row(fi_field* f, int row); // blanks in front, as justification has it. Doesn't draw
// Checks a finished entry: FI_SUCCESS, or FI_INVALID_ARGUMENT when the row has gone back to its default. Calls out.
int fi_verify_row(fi_field* f);

// ---- fieldnumber.cpp -----------------------------------------------------------------------------------------------

constexpr size_t FI_NUMBER_SIZE = 512;
bool fi_read_number(const char* text, double* value); // a point may be a comma. False when there is no number
// A format has exactly one conversion, of a number, with digits for its width and precision.
bool fi_is_number_format(const char* format);
// By the field's format and type, into a buffer of FI_NUMBER_SIZE.
void fi_print_number(const fi_field* f, double value, char* text);
// Whether a character may be typed into a number that stands already.
bool fi_number_takes(const fi_field* f, const char* text, int character);

// ---- fielddraw.cpp -------------------------------------------------------------------------------------------------

fi_box fi_text_box(const fi_field* f); // where the rows stand
fi_box fi_row_box(const fi_field* f, int row);
int fi_field_window(fi_field* f);                             // to draw on; -1 when it isn't shown
int fi_char_x(const fi_field* f, int row, int character);     // its left edge
void fi_field_draw_row(fi_field* f, int row);                 // nothing when it can't be seen
void fi_field_draw_from(fi_field* f, int row, int character); // from that character on
void fi_field_draw_rows(fi_field* f, int first, int last);
inline void fi_field_draw_text(fi_field* f) { // all rows that can be seen
    fi_field_draw_rows(f, f->top_row, f->top_row + f->visible_rows - 1);
}
void fi_show_cursor(fi_field* f, bool shown); // only that of the field with the keys

// ---- fieldlayout.cpp -----------------------------------------------------------------------------------------------

int fi_make_bar(fi_field* f); // what is missing is made, placed and activated; FI_status
int fi_make_arrows(fi_field* f);
int fi_make_list(fi_field* f);
void fi_drop_bar(fi_field* f);
void fi_drop_arrows(fi_field* f);
void fi_drop_list(fi_field* f);
void fi_place_parts(fi_field* f);   // bar and arrows beside the field
void fi_measure_field(fi_field* f); // visible_rows and visible_chars from its rectangle
// Rows as a form file has them, justified.
int fi_field_put_defaults(fi_field* f);

// ---- fieldview.cpp -------------------------------------------------------------------------------------------------

void fi_update_bar(fi_field* f);       // bar of the field, or of its table, as view and rows are now
void fi_view_fix(fi_field* f);         // no row of the view lies behind the last one, if that can be
void fi_view_to(fi_field* f, int top); // limited; draws; all columns
bool fi_view_down(fi_field* f);        // by one row, with the active row; whether it moved
bool fi_view_up(fi_field* f);
// The view follows the active row, and first_char the cursor; draws what that changes. True when all rows were drawn.
bool fi_view_follow(fi_field* f);
void fi_scroll_rows(fi_field* f, double value);         // by what a bar reports
constexpr double FI_SCROLLED_ROWS = -3;                 // told after that
void fi_field_scroll_chars(fi_field* f, int direction); // by one character sideways

// ---- fieldedit.cpp -------------------------------------------------------------------------------------------------

// Where an entry goes on.
enum class fi_edit_end : uint8_t { goes_on, stop, next, back };
int fi_first_row(fi_field* f); // a field that is typed into has one. FI_status
fi_edit_end fi_edit_key(fi_field* f, const char* bytes, int count, int* used); // calls out
void fi_clear_on_select(fi_field* f);
void fi_next_row(fi_field* f); // calls out
void fi_previous_row(fi_field* f);
void fi_report_line(fi_field* f); // the notification after a row, if the field wants it. Calls out

// ---- fieldinput.cpp ------------------------------------------------------------------------------------------------

// Where an x, y of the form lies: cursor and active row go there. Draws what that changes.
void fi_place_cursor(fi_field* f, int x, int y);
bool fi_in_strip(const fi_field* f, int x, int y);
// The loops, for tables too. They hold the field, and call out.
fi_edit_end fi_edit_loop(fi_field* f);
fi_edit_end fi_select_loop(fi_field* f);
void fi_choose_by_key(fi_field* owner); // opens its list for keys. Calls out
// An entry is complete: verified, notified. Calls out.
void fi_field_complete(fi_field* f);
bool fi_field_usable(const fi_field* f); // shown and enabled, with its table
// The field's notification, for a list what it does to the owner. Calls out.
void fi_field_notify(fi_field* f, double value);
void fi_tell(FI_gadget* g, double value); // though it wants none on completion. Calls out

// ---- fieldselect.cpp -----------------------------------------------------------------------------------------------

void fi_field_select_at(fi_field* f, int x, int y); // a press. Calls out
void fi_field_select_row(fi_field* f);              // a blank: the active row. Calls out
void fi_select_next(fi_field* f, int direction);    // an arrow key. Calls out
void fi_choose_active(fi_field* f);                 // the active row, without a report. May call out
// Selects or clears rows of all choosing columns of a table, or of the field alone.
void fi_choose_row(fi_field* f, int row, bool selected, bool whole_table);

// ---- fieldlist.cpp -------------------------------------------------------------------------------------------------

bool fi_list_is_open(const fi_field* owner);
void fi_open_list(fi_field* owner);
void fi_close_list(); // whichever is open. Calls out
// Before a press: an open list closes, unless the press is on it, its parts or its owner's strip.
void fi_list_before_press(FI_form* form, int x, int y);
FI_gadget* fi_open_list_at(const FI_form* form, int x, int y); // the list or part of it that is hit; null
// A gadget was drawn there: an open list that it covers is drawn again.
void fi_list_on_top(const FI_gadget* drawn, fi_box box);
void fi_draw_open_list(const FI_form* form, fi_box box, int window); // if it lies there
void fi_toggle_list(fi_field* owner);
void fi_mark_undrawn(FI_gadget* g);           // neither it nor its parts are on the screen any more
void fi_list_chosen(fi_field* list, int row); // the row goes to the owner. Calls out

// ---- slots of the table --------------------------------------------------------------------------------------------

void fi_field_draw(FI_gadget* g, int window);
void fi_field_erase(FI_gadget* g, int window);
void fi_field_scale(FI_gadget* g, float x_factor, float y_factor);
void fi_field_activate(FI_gadget* g);
void fi_field_extent(const FI_gadget* g, fi_box* box);
bool fi_field_hit(FI_gadget* g, int x, int y);
FI_gadget* fi_field_part_at(FI_gadget* g, int x, int y);
int fi_field_press(FI_gadget* g, int window, int x, int y, int transition, bool* complete, double* value);
fi_leave fi_field_input(FI_gadget* g, bool forward, int from_label);
bool fi_field_takes_input(const FI_gadget* g);
void fi_field_reset(FI_gadget* g);
int fi_field_put_value(FI_gadget* g, double value);
int fi_field_get_value(const FI_gadget* g, double* value);
int fi_field_put_text(FI_gadget* g, const char* text);
int fi_field_get_text(FI_gadget* g, char* buffer, int* length);
char* fi_field_link_text(FI_gadget* g);
void fi_field_take_link(FI_gadget* g, const char* text);
void fi_field_bar_moved(FI_gadget* g, FI_gadget* bar, double value);
void fi_field_arrow(FI_gadget* g, int direction, int transition);
