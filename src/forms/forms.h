// The forms toolkit: panels of gadgets, loaded from form files or made by the program, drawn and worked by the toolkit.
//
// A program calls FI_enter(), makes forms with FIf_new(), shows them with FIf_display(), and hands each event bit that
// Wait_for_next() gives to FI_process_event(). What the user does comes back through the routines of the form. A gadget
// is named by its form and label; label 0 is the form's root group, so that a call with it acts on the whole form. A
// call on a group acts on its members, unless the group has no_pass_on.
//
// Results are FI_SUCCESS or another FI_status. A pointer that is no form any more gives FI_NO_SUCH_FORM, a label
// without gadget FI_NO_SUCH_GADGET; out-arguments stay as they are then, unless something else is said. Texts are
// Latin-1, zero-ended, and copied. One thread.
//
// Routines of the application may delete, show, erase or change any form or gadget, the one that calls them too, and
// may run loops of their own that call FI_process_event(). Operations that draw, measure or look something up for the
// toolkit (below) may not call the toolkit back.
#pragma once

#include <cstdint>

#include "forms/form.h"
#include "forms/gadget.h"

enum FI_status : int {
    FI_SUCCESS = 0,
    FI_FORM_FILE_NOT_FOUND = 1,  // or can't be opened
    FI_FORM_FILE_READ_ERROR = 2, // it is cut, or something in it doesn't fit
    FI_FORM_NOT_DISPLAYED = 3,
    FI_FORM_DISPLAYED = 4, // the call isn't allowed now
    FI_NO_DISPLAY = 5,     // the toolkit runs without a screen
    FI_NO_WINDOW = 6,
    FI_NO_SUCH_FORM = 7, // also: the window has no form
    FI_LABEL_IN_USE = 8,
    FI_NO_SUCH_GADGET = 9,
    FI_NO_MEMORY = 10,
    FI_NO_SUCH_GROUP = 11,
    FI_NO_SCREEN = 13,           // none fits the form's screen_mode
    FI_INVALID_GADGET_TYPE = 14, // the gadget's type doesn't allow the call
    FI_NOT_A_FORM_FILE = 15,
    FI_FORM_VERSION_TOO_OLD = 16,
    FI_INVALID_ARGUMENT = 17,
    FI_NO_SUCH_FONT = 20, // or symbol file
    FI_NO_SUCH_ENV_ID = 21,
    FI_INVALID_ROW = 22,
    FI_INVALID_COLUMN = 23,
    FI_FORM_VERSION_TOO_NEW = 27,
};

// ---- the toolkit ---------------------------------------------------------------------------------------------------

// Starts it: tables, search paths below the directory VANTORAMA (else "/vantor"), colours, the two usual fonts. To be
// called after Enter_tools() and the application's own Set_keyboard_buffer(), if it has one. Without a screen the
// toolkit comes up all the same, and FIf_display() gives FI_NO_DISPLAY. A second call gives 0 at once.
int FI_enter();
// Deletes all forms and forgets everything, for the end of a program and for tests. Before tools_leave().
void FI_leave();

// Replace one operation by number (env.h lists both tables and what each operation is called with). Null puts the
// toolkit's own back. FI_NO_SUCH_ENV_ID for an unknown number.
int FI_modify_env(int id, FI_routine routine);
int FI_set_graphic_env(int id, FI_routine routine);

// Replace a list of directories, separated by ";". Blanks and semicolons before an entry are skipped. An entry of 257
// characters or more gives FI_INVALID_ARGUMENT; a list that isn't taken leaves the old one.
int FI_set_form_path(const char* list);
int FI_set_symbol_path(const char* list);
int FI_set_font_path(const char* list);

// Handles an event bit (one, or several of which the first that a form owns is handled). 1 when the toolkit has taken
// an event off its queue, else 0: then it is the caller's.
int FI_process_event(uint32_t event);
// Takes one event off the queue of the mask's first bit that the display layer knows.
int FI_clear_event(uint32_t mask);
// The gadget that takes the keys now, and the labels of those that Tab would lead to and that lead here, along the
// chain of next_in_seq over what takes input; 0 for none. FI_NO_SUCH_GADGET outside of a sequence and of an entry.
int FI_get_input(FI_form** form, int* label, int* next, int* previous);
// The gadget of that form that takes the keys lets them go, once what is being handled is done; keys that wait already
// are for who comes next. FI_NO_SUCH_GADGET when none of the form has them.
int FI_end_input(FI_form* form);
// The form in a window; while a save-restore pop-up is up, the top one for any window. `form` is null at a failure.
int FI_get_form_by_window(int window, FI_form** form);

// ---- forms ---------------------------------------------------------------------------------------------------------

// A new form from a file of the form path, or with "" a blank one. The routine may be null. At a failure `form` is null
// and nothing of it stays.
int FIf_new(int label, const char* file_name, FI_notification notification_routine, FI_form** form);
int FIf_delete(FI_form* form);
int FIf_display(FI_form* form); // gives it a window and draws it; one that has a window is drawn again
int FIf_erase(FI_form* form);   // takes the window away; 0 without one, too
int FIf_is_displayed(FI_form* form, int* flag);
int FIf_is_valid(const FI_form* form);
int FIf_get_window(FI_form* form, int* window); // -1 and FI_FORM_NOT_DISPLAYED without one
int FIf_get_location(FI_form* form, int* x, int* y);
// Moved so that the form stays on the screen. A form that is there already, or has the size, is left alone.
int FIf_set_location(FI_form* form, int x, int y);
int FIf_get_size(FI_form* form, int* width, int* height);
int FIf_set_size(FI_form* form, int width, int height); // scales the gadgets, unless FI_NOT_SCALABLE
int FIf_set_orig_size(FI_form* form, int width, int height);
int FIf_get_color(FI_form* form, int* color);
int FIf_set_color(FI_form* form, int color);
int FIf_set_attr(FI_form* form, uint32_t mask);
int FIf_set_screen(FI_form* form, int mode);
int FIf_set_collapse_symbol(FI_form* form, const char* file, int index);
int FIf_is_collapsed(FI_form* form, int* state);
int FIf_set_start_seq(FI_form* form, int label);
int FIf_set_window_event_routine(FI_form* form, FI_window_event routine);
int FIf_set_window_icon_routine(FI_form* form, FI_window_event routine);
int FIf_set_initial_notification_routine(FI_form* form, FI_notification routine);
int FIf_set_button_event_routine(FI_form* form, FI_button_event routine);
int FIf_set_button_intercept_routine(FI_form* form, FI_button_intercept routine);
int FIf_get_next_label(FI_form* form, int* label); // the next free one; it is not reserved
int FIf_cvrt_to_perm_win(FI_form* form);           // a save-restore form gets a window of its own

// ---- gadgets: life and look ----------------------------------------------------------------------------------------

// A gadget of FI_type. One with a negative label is a group's only if it is a group.
int FIg_new(FI_form* form, int type, int label);
int FIg_delete(FI_form* form, int label); // FI_INVALID_ARGUMENT for label 0
int FIg_is_valid(FI_form* form, int label);
int FIg_activate(FI_form* form, int label); // loads fonts and symbols, measures, and lays the gadget out
int FIg_display(FI_form* form, int label);
int FIg_erase(FI_form* form, int label);
int FIg_enable(FI_form* form, int label);
int FIg_disable(FI_form* form, int label);
int FIg_reset(FI_form* form, int label); // value and attributes become the defaults
int FIg_get_type(FI_form* form, int label, int* type);
int FIg_get_attr(FI_form* form, int label, uint32_t* mask);
int FIg_set_attr(FI_form* form, int label, uint32_t mask);
int FIg_set_erase_color(FI_form* form, int label, int color);
int FIg_set_on_color(FI_form* form, int label, int color);
int FIg_set_off_color(FI_form* form, int label, int color);
int FIg_set_style(FI_form* form, int label, int style);
int FIg_set_gadget_style(FI_form* form, int label, int style); // of a group its own, not that of its members
int FIg_set_justification(FI_form* form, int label, int value);
int FIg_get_font(FI_form* form, int label, char* name, float* size); // size: as scaled with the form
int FIg_set_line_weight(FI_form* form, int label, int weight);
int FIg_set_line_style(FI_form* form, int label, int pattern);

// The record for FIg_set_standard_variables(). Null strings leave what is there.
struct FI_standard_variables {
    uint16_t xlo, ylo, xhi, yhi;
    uint32_t attr_mask;
    double value;
    float bodysize;
    const char* text;
    const char* help_topic;
    const char* command;
    const char* fontname;
    void* user_pointer;
    uint8_t off_color, on_color, off_color2, on_color2;
    uint8_t symbol_index, symbol_index2;
    uint16_t next_in_seq;
};
int FIg_set_standard_variables(FI_form* form, int label, const FI_standard_variables* variables);

// ---- gadgets: place ------------------------------------------------------------------------------------------------

int FIg_get_size(FI_form* form, int label, int* width, int* height);
int FIg_set_size(FI_form* form, int label, int width, int height);
int FIg_get_location(FI_form* form, int label, int* x, int* y);
int FIg_get_dlocation(FI_form* form, int label, double* x, double* y);
int FIg_add_to_group(FI_form* form, int label, int group);

// ---- gadgets: value and text ---------------------------------------------------------------------------------------

int FIg_get_value(FI_form* form, int label, double* value);
int FIg_set_value(FI_form* form, int label, double value);
int FIg_get_state(FI_form* form, int label, int* state);
int FIg_set_state(FI_form* form, int label, int state);
int FIg_set_state_on(FI_form* form, int label);
int FIg_set_state_off(FI_form* form, int label);
int FIg_get_text(FI_form* form, int label, char* buffer);       // as large as FIg_get_text_length() says
int FIg_get_text_length(FI_form* form, int label, int* length); // with the terminator
int FIg_set_text(FI_form* form, int label, const char* text);
int FIg_set_on_text(FI_form* form, int label, const char* text);
int FIg_start_seq(FI_form* form, int label); // the keyboard sequence, from this gadget on

// ---- gadgets with a range ------------------------------------------------------------------------------------------

int FIg_set_high_value(FI_form* form, int label, double value);
int FIg_set_low_value(FI_form* form, int label, double value);
int FIg_set_increment(FI_form* form, int label, double increment); // its amount; 0 sets 1
int FIg_set_orientation(FI_form* form, int label, int value);
int FIg_set_display(FI_form* form, int label, int mask);
int FIg_set_digits(FI_form* form, int label, int width, int decimals);
int FIg_set_continuous_routine(FI_form* form, int label, FI_notification routine);

// ---- groups and buttons --------------------------------------------------------------------------------------------

int FIgrp_set_single_select_on(FI_form* form, int group);
int FIgrp_set_single_select_off(FI_form* form, int group);
int FIgrp_set_pass_on(FI_form* form, int group);
int FIbtn_set_auto_pop_up_on(FI_form* form, int label);
int FIbtn_set_auto_pop_up_off(FI_form* form, int label);

// ---- fields --------------------------------------------------------------------------------------------------------
//
// `label` is a field's or a multi-column field's. In the latter `column` chooses one: -1 the active column, else 0 on;
// FI_INVALID_COLUMN for another. A plain field ignores it. Any other gadget gives FI_INVALID_GADGET_TYPE. A field's
// list is named by a label of its own, from the form file or FIfld_get_list_label(). Rows and characters count from 0;
// there are at most 32767 of each. Calls without `column` mean the active column, and rows of all columns.

// Copies at most `size` bytes of a row, always with a terminator; select: 1 for a selected row; position: its place
// among the visible rows, or -1. A newline of a wrapped text stands behind the row that it ends. A row outside gives ""
// and FI_INVALID_ROW, with select and position -1; in a field without rows FI_SUCCESS with 0. select and position may
// be null.
int FIfld_get_text(FI_form* form, int label, int row, int column, int size, char* text, int* select, int* position);
// Stores a text. A negative row is row 0, one beyond the field's limit of rows the last row that it may have; the field
// grows to it. What is beyond the limit of characters is left out, or goes on in the next rows if the field wraps.
int FIfld_set_text(FI_form* form, int label, int row, int column, const char* text, int select);
int FIfld_get_text_length(FI_form* form, int label, int row, int column, int* length); // with the terminator
// The number in a row, 0 when there is none; a decimal point may be a comma. FI_INVALID_ARGUMENT on FI_ALPHA.
int FIfld_get_value(FI_form* form, int label, int row, int column, double* value, int* select, int* position);
int FIfld_set_value(FI_form* form, int label, int row, int column, double value, int select); // by the field's format
int FIfld_get_select(FI_form* form, int label, int row, int column, int* select);
int FIfld_set_select(FI_form* form, int label, int row, int column, int select);
int FIfld_get_active_row(FI_form* form, int label, int* row, int* position);
// With a position of 0 or more a field that scrolls shows the row there, as far as there are rows.
int FIfld_set_active_row(FI_form* form, int label, int row, int position);
int FIfld_set_active_char(FI_form* form, int label, int column, int character, int position);
int FIfld_get_num_rows(FI_form* form, int label, int* count);
int FIfld_set_num_rows(FI_form* form, int label, int count);         // a negative count is 0
int FIfld_delete_rows(FI_form* form, int label, int row, int count); // those that there are
int FIfld_get_num_vis_rows(FI_form* form, int label, int* count);
int FIfld_get_num_vis_chars(FI_form* form, int label, int column, int* count);
int FIfld_set_num_vis_chars(FI_form* form, int label, int column, int count); // at least 1; resizes the gadget
int FIfld_get_row_height(FI_form* form, int label, int* height);              // pixels
int FIfld_get_type(FI_form* form, int label, int column, int* type);          // FI_ALPHA, FI_INT, FI_DOUBLE
int FIfld_set_type(FI_form* form, int label, int column, int type);
int FIfld_get_mode(FI_form* form, int label, int column, int* mode); // FI_INSERT and so on
int FIfld_set_mode(FI_form* form, int label, int column, int mode);
// The public bits of gadget.h. Setting makes and removes scroll bar, arrows and list as they are needed.
int FIfld_get_attr(FI_form* form, int label, int column, uint32_t* bits);
int FIfld_set_attr(FI_form* form, int label, int column, uint32_t bits);
// A format as for printf with exactly one conversion of a number; "" for the usual one. FI_INVALID_ARGUMENT for
// another.
int FIfld_set_format(FI_form* form, int label, int column, const char* format);
int FIfld_set_max_num_chars(FI_form* form, int label, int column, int count); // 0: no limit; rows are cut
int FIfld_set_verify_routine(FI_form* form, int label, int column, FI_verify routine);
int FIfld_set_default_text(FI_form* form, int label, int row, int column, const char* text, int select);
// FI_INVALID_GADGET_TYPE without a list.
int FIfld_get_list_label(FI_form* form, int label, int column, int* list_label);
int FIfld_get_list_size(FI_form* form, int label, int column, int* width, int* height);
int FIfld_set_list_size(FI_form* form, int label, int column, int width, int height);
int FIfld_get_list_location(FI_form* form, int label, int column, int* x, int* y);
int FIfld_set_list_location(FI_form* form, int label, int column, int x, int y);

// The column that was worked in last, and its place among the visible ones; when it isn't visible position is 0 and
// column the first visible one.
int FImcf_get_active_col(FI_form* form, int label, int* column, int* position);
