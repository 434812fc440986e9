// The record of a form: one panel with its window and its gadgets.
//
// A form is made by FIf_new() and lives until FIf_delete(). It has a window from FIf_display() to FIf_erase(); while
// `window` is -1, changes to its gadgets only change the records.
#pragma once

#include <cstdint>

#include "forms/gadget.h"

// attr_mask of forms.
constexpr uint32_t FI_SAVE_RESTORE = 0x01; // opens as a save-restore pop-up, not as a window of its own
constexpr uint32_t FI_NO_BEZEL = 0x02;     // no bevel around the form
constexpr uint32_t FI_COLLAPSED = 0x04;    // is an icon when displayed; kept up to date as the user goes on
constexpr uint32_t FI_NOT_SCALABLE = 0x08; // a change of size doesn't scale the gadgets
constexpr uint32_t FI_WINDOW_HINT = 0x10;  // passed to the display layer, which shows nothing of it
constexpr uint32_t FI_LINE_BORDER = 0x20;  // a plain border instead of a bevel

// Codes of window_event_routine.
constexpr int FI_COLLAPSED_EVENT = 0;
constexpr int FI_UNCOLLAPSED_EVENT = 1;
constexpr int FI_REFRESHED_EVENT = 2; // an area has been drawn again
constexpr int FI_DRAWN_EVENT = 3;     // frame and gadgets have been drawn
constexpr int FI_RESIZED_EVENT = 4;
constexpr int FI_DELETED_EVENT = 5; // the form is being deleted
constexpr int FI_MOVED_EVENT = 6;

// Every button event of a form, instead of the toolkit's own handling.
using FI_button_event = void (*)(FI_form* form, int x, int y, int button, int transition, uint32_t time);
// Told of what happened to the form's window, or to its icon.
using FI_window_event = void (*)(int form_label, int code, FI_form* form);
// Called for a press that hits no gadget; non-zero: handled.
using FI_button_intercept = int (*)(int form_label, int x, int y, int button, int transition, uint32_t time,
                                    FI_form* form);

constexpr int FI_FIRST_LABEL = 11;       // labels below are not handed out
constexpr int FI_NO_START = -1;          // start_seq: nothing to do
constexpr int FI_PENDING_START = -10;    // start_seq: FI_PENDING_START - label, when the user event is under way
constexpr uint8_t FI_CURRENT_SCREEN = 1; // screen_mode

struct FI_form {
    FI_notification initial_notification_routine; // at a press, before the gadget with FI_INITIAL_NOTIFY reacts
    FI_button_event button_event_routine;
    FI_notification notification_routine; // when a gadget is complete
    FI_window_event window_event_routine;
    FI_window_event window_icon_routine;
    FI_button_intercept button_intercept_routine;
    uint32_t attr_mask;
    uint32_t colormap_id;                // of the screen that it stands on
    uint32_t label;                      // first argument of the routines
    uint32_t window_attr;                // level of its window
    uint32_t reserved_file_word;         // from the file
    int16_t design_width, design_height; // what the scaling of fonts refers to
    int16_t min_width, min_height;       // of its window
    int16_t max_width, max_height;
    int16_t x1, y1, x2, y2;         // on the screen; the width is x2 - x1, the height y2 - y1
    int16_t collapse_x, collapse_y; // place of its icon
    uint8_t bg_color;               // logical
    uint8_t collapse_symbol_index;
    uint8_t collapse_position_pending; // the place of the icon goes to the window at the next display
    uint8_t complete;                  // its file has been read to the end
    uint8_t screen_mode;               // 1: the current screen; others choose by rule
    uint8_t blank;                     // made without a file
    char* collapse_symbol_file;        // strings as in gadgets
    char* file_name;                   // without its directory
    char* description;
    FI_group* root_group; // owned; label 0. Null once the form is dead
    char** strings;       // owned, string_count of them
    int16_t window;       // -1 while it isn't displayed
    int16_t screen;       // -1 while none is chosen
    int32_t start_seq;    // FI_NO_START; the label of a gadget, whose keyboard sequence starts when the
                          // form is displayed; or a pending start
    int16_t string_count;
    int32_t next_label; // where the search for a free label begins
    int32_t next_negative_label;
    int32_t lowest_label; // no gadget has a lower one
    void* color_table;    // private colours; the display layer of this system has none
    int32_t color_count;

    // What the toolkit keeps besides.
    int16_t version;  // of the file; 0: blank
    uint8_t deleting; // FIf_delete() is under way
    uint8_t dead;     // deleted, but held by a caller up the stack (hold.h)
    uint8_t stale;    // something changed while a pop-up kept it from being drawn
    uint16_t holds;
};

// Width and height as they are drawn: the last column and row have these numbers.
inline int fi_form_width(const FI_form* form) {
    return form->x2 - form->x1;
}
inline int fi_form_height(const FI_form* form) {
    return form->y2 - form->y1;
}
