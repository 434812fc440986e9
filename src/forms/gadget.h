// The records of gadgets: what all types have in common, the groups, and the part of each type behind it.
//
// A typed record begins with the common one (or with the group's, which begins with it), so a pointer to either is a
// pointer to the other; fi_as<fi_toggle>() in ops.h turns one into the other and checks the type. The records
// are made by fi_new_gadget() and filled by the loader, by the calls of forms.h and by the gadgets' own files.
//
// Coordinates are form pixels with the origin at the form's top left corner; they are cut to whole pixels when
// something is drawn. Rectangles are inclusive. Strings are owned by the record and never null: an empty one is
// fi_empty_text, which is shared and never freed.
#pragma once

#include <cstdint>

struct FI_form;
struct FI_gadget;
struct FI_group;

// ---- numbers -------------------------------------------------------------------------------------------------------

// Types of gadgets: the number in a form file, and the index of the table of operations (ops.h).
enum FI_type : int {
    FI_GROUP = 0,
    FI_SLIDER = 1,
    FI_TOGGLE = 2,
    FI_FIELD = 3,
    FI_CHECKLIST = 4,
    FI_DIAL = 5,
    FI_TEXT = 6,
    FI_BUTTON = 7,
    FI_LINE = 8,
    FI_BAR = 9,
    FI_RECT = 10,
    FI_SYMBOL = 11,
    FI_SCROLL = 12,
    FI_MCF = 13,
    FI_BEVEL = 14,
};
constexpr int FI_TYPES = 15;

// attr_mask of gadgets.
constexpr uint32_t FI_NOT_DISPLAYED = 0x001;      // not shown; set by FIg_erase, cleared by FIg_display
constexpr uint32_t FI_NOT_ENABLED = 0x002;        // disabled: takes no press, and a hatch is drawn over it
constexpr uint32_t FI_HILITED = 0x004;            // drawn highlighted
constexpr uint32_t FI_INITIAL_NOTIFY = 0x008;     // wants the form's initial notification
constexpr uint32_t FI_NO_COMPLETE_NOTIFY = 0x010; // no notification when it is complete
constexpr uint32_t FI_HELP_TOPIC = 0x020;         // on completion help_topic goes to the command hook, kind 2
constexpr uint32_t FI_CMD_STRING = 0x040;         // `command` goes there, kind 1
constexpr uint32_t FI_CMD_KEY = 0x080;            // `command` goes there, kind 0
constexpr uint32_t FI_TEXT_GADGET = 0x100;        // the face of a button, toggle or checklist is `text`, not a symbol
constexpr uint32_t FI_NO_DITHERING = 0x200;       // no hatch although disabled
constexpr uint32_t FI_NOTIFY_SCROLL = 0x400;      // a field or table notifies with -3.0 when it has scrolled vertically

// justification. On a checklist it is a mask of FI_THREE_STATES and FI_ALWAYS_ON.
constexpr uint8_t FI_LEFT = 0;
constexpr uint8_t FI_RIGHT = 1;
constexpr uint8_t FI_CENTER = 2;
constexpr uint8_t FI_THREE_STATES = 1;
constexpr uint8_t FI_ALWAYS_ON = 2;

// display_mask of sliders and dials.
constexpr uint8_t FI_SHOW_LOW = 0x01;
constexpr uint8_t FI_SHOW_VALUE = 0x02;
constexpr uint8_t FI_SHOW_HIGH = 0x04; // on a dial: the value of a full turn
constexpr uint8_t FI_REVERSED = 0x08;

constexpr uint8_t FI_HORIZONTAL = 1; // orientation; any other is vertical
constexpr int FI_MAX_DIGITS = 15;    // field_width
constexpr uint16_t FI_SOLID_LINE = 65535;

// field_type.
constexpr int FI_ALPHA = 0;
constexpr int FI_INT = 1;
constexpr int FI_DOUBLE = 2;

// mode of fields.
constexpr int FI_INSERT = 0;
constexpr int FI_REVIEW = 1;
constexpr int FI_SINGLE_SELECT = 2;
constexpr int FI_MULTI_SELECT = 3;
constexpr int FI_APPEND = 4;

// flags of fields, as files have them. FIfld_set_attr and FIfld_get_attr use the public bits of fi_public_flags[].
constexpr uint32_t FI_VERT_SCROLL = 0x00001;
constexpr uint32_t FI_HORT_SCROLL = 0x00002;
constexpr uint32_t FI_ROLL_THROUGH = 0x00004; // rolls through its rows, one at a time
constexpr uint32_t FI_WRAP = 0x00008;
constexpr uint32_t FI_VERT_BAR_SHOWN = 0x00010;
constexpr uint32_t FI_HORT_ARROWS_SHOWN = 0x00020;
constexpr uint32_t FI_CLEAR_ON_SELECT = 0x00040;
constexpr uint32_t FI_NO_ECHO = 0x00080;
constexpr uint32_t FI_NOTIFY_BY_LINE = 0x00100;
constexpr uint32_t FI_FLAG_1000 = 0x00200; // kept without behaviour
constexpr uint32_t FI_IS_LIST = 0x00400;   // the list of another field
constexpr uint32_t FI_POPUP_LIST = 0x00800;
constexpr uint32_t FI_DISMISS_LIST = 0x01000;
constexpr uint32_t FI_VALIDATE_LIST = 0x02000;
constexpr uint32_t FI_MCF_COLUMN = 0x04000; // a column of a multi-column field
constexpr uint32_t FI_BACKGROUND_PATTERN = 0x08000;
constexpr uint32_t FI_RIGHT_TO_LEFT = 0x10000;
constexpr uint32_t FI_FLAG_10000 = 0x20000; // kept without behaviour
constexpr uint32_t FI_FLAG_20000 = 0x40000; // kept without behaviour

// One flag of fields and its public bit.
struct fi_public_flag {
    uint32_t flag;
    uint32_t public_bit;
};
constexpr fi_public_flag fi_public_flags[] = {
    {FI_VERT_SCROLL, 0x00001},       {FI_HORT_SCROLL, 0x00002},        {FI_VERT_BAR_SHOWN, 0x00004},
    {FI_HORT_ARROWS_SHOWN, 0x00008}, {FI_ROLL_THROUGH, 0x00010},       {FI_WRAP, 0x00020},
    {FI_CLEAR_ON_SELECT, 0x00040},   {FI_NOTIFY_BY_LINE, 0x00080},     {FI_POPUP_LIST, 0x00200},
    {FI_DISMISS_LIST, 0x00400},      {FI_VALIDATE_LIST, 0x00800},      {FI_FLAG_1000, 0x01000},
    {FI_NO_ECHO, 0x02000},           {FI_BACKGROUND_PATTERN, 0x04000}, {FI_RIGHT_TO_LEFT, 0x08000},
    {FI_FLAG_10000, 0x10000},        {FI_FLAG_20000, 0x20000},
};
constexpr uint32_t FI_PUBLIC_OPEN_LIST = 0x80000000; // public bit of a list that isn't a pop-up

// mcf_flags.
constexpr uint32_t FI_MCF_VERT_WANTED = 0x01;
constexpr uint32_t FI_MCF_HORT_WANTED = 0x02;
constexpr uint32_t FI_MCF_VERT_SHOWN = 0x04;
constexpr uint32_t FI_MCF_HORT_SHOWN = 0x08;
constexpr uint32_t FI_MCF_VERT_DISABLED = 0x10;
constexpr uint32_t FI_MCF_HORT_DISABLED = 0x20;
constexpr uint32_t FI_ROW_SELECT = 0x40;
constexpr uint32_t FI_MCF_NO_STRIP = 0x80;

// ---- routines of the application -----------------------------------------------------------------------------------

// Told that a gadget is complete, with the value that counts; also the initial and the continuous notification. It may
// delete, show, erase or change any form or gadget, its own too, and may run a loop of its own.
using FI_notification = void (*)(int form_label, int gadget_label, double value, FI_form* form);

// Judges a finished entry of a field: 1 for an invalid one, which goes back to its default.
using FI_verify = int (*)(const char* text, int field_type);

// Any routine, for tables that are filled by number.
using FI_routine = void (*)();

// ---- parts ---------------------------------------------------------------------------------------------------------

// One symbol of a gadget (symbols.h).
struct FI_face {
    uint8_t advance;
    uint8_t depth;
    uint8_t x_offset, y_offset;        // of the bitmap in the symbol's box
    uint8_t height, width;             // of the bitmap, pixels
    uint8_t total_height, total_width; // height + y_offset, width + x_offset, modulo 256
    uint8_t* bits;                     // owned; rows of whole bytes, bit 0 leftmost. Null: no symbol is loaded
    uint8_t index;                     // number of the symbol in its file
};

struct FI_gadget {
    uint8_t type;         // FI_type
    uint8_t displayed;    // 1 while it is drawn on the form's window
    int32_t label;        // unique in the form; negative for what is private to another gadget
    float x1, y1, x2, y2; // its rectangle
    float orig_width;     // design size
    float orig_height;
    uint32_t font_id;      // loaded font or, for symbols, symbol file
    int32_t char_width;    // of its text in one piece, or of its symbol after scaling; in a field of an "M"
    int32_t char_height;   // of a line of its font, or of its symbol after scaling
    int32_t on_char_width; // the same of a toggle's other face
    int32_t on_char_height;
    int32_t text_length;        // characters of `text`
    uint32_t attr_mask;         // FI_NOT_DISPLAYED and so on
    uint32_t default_attr_mask; // FIg_reset() puts back these two
    double value;
    double default_value;
    float bodysize;         // of the font, as asked for
    float x_scale, y_scale; // of a symbol against its design size
    int32_t next_in_seq;    // label of the next gadget of the keyboard sequence; 0: none
    int32_t prev_in_seq;    // label of the one that led here; filled while a sequence runs
    char* text;             // for a toggle that of its off state
    char* help_topic;
    char* command;
    char* font_name;               // font, or symbol file
    void* user_pointer;            // the application's; of a list, the field that it belongs to
    int32_t erase_color;           // -1: the form's background
    int32_t off_color, on_color;   // of text or symbol by state
    int32_t off_color2, on_color2; // of a menu button's second symbol
    uint8_t style;                 // by type
    uint8_t justification;         // FI_LEFT and so on
    int32_t link_label;            // gadget that takes over the value; -1: none
    int32_t text_lines;            // of `text`
    int32_t text_width;            // of its widest line, pixels
    FI_group* group;               // that holds it; null for a private part
    FI_form* form;
    FI_face face, face2;
    int32_t font_type; // 0: one byte a character; 2: a byte above 127 begins a character of two

    // What the toolkit keeps besides.
    FI_gadget* owner;        // of a private part: the gadget that it belongs to; else null
    uint16_t gadget_version; // of the record in the file that it came from
    uint8_t dead;            // deleted, but held by a caller up the stack (hold.h)
    uint16_t holds;
};

constexpr int FI_FONT_PAIRS = 2; // font_type of fonts with characters of two bytes

struct FI_group {
    FI_gadget common;
    uint16_t capacity;         // slots in `members`, at most FI_GROUP_LIMIT
    uint8_t no_pass_on;        // operations on the group don't reach its members
    uint8_t single_select;     // at most one member is on
    int32_t current, previous; // of a multi-column field: the active column and the one before it
    FI_gadget** members;       // owned; null in free slots
    int16_t next_free;         // no slot below is free
};
constexpr int FI_GROUP_SLOTS = 32; // of a new group, and what it grows by
constexpr int FI_GROUP_LIMIT = 32767;

// ---- the types' own parts ------------------------------------------------------------------------------------------

struct fi_toggle {
    FI_gadget common;
    int32_t on_text_length;
    char* on_text; // only with FI_TEXT_GADGET
    int32_t on_text_width;
    uint16_t on_text_lines;
};

struct fi_button {
    FI_gadget common;
    uint8_t auto_pop_up; // springs back by itself after notifying
    uint8_t menu_button; // no press by itself; its second symbol uses the second colours
    char* menu_string;   // kept for the application
};

struct fi_checklist {
    FI_gadget common;
    int32_t box_size; // side of the check box
    int32_t box_gap;  // from the box to the face
    int32_t mark_width, mark_height;
    FI_face mark; // its bits are owned here
    uint32_t mark_font;
    float box_scale; // of box and mark against their design size
};

struct fi_text {
    FI_gadget common;
    uint16_t stored_width, stored_height; // from the file
};

struct fi_line {
    FI_gadget common;
    uint8_t line_weight; // pixels, 0 thin
    uint16_t line_pattern;
    uint8_t line_extra; // from the file, without use
};

struct fi_rect {
    FI_gadget common;
    uint8_t line_weight;
    uint16_t line_pattern;
};

struct fi_slider {
    FI_gadget common;
    float increment;              // smallest step of the value
    float track_length;           // pixels
    double low_value, high_value; // the range
    FI_notification continuous_routine;
    uint8_t display_mask;
    uint8_t field_width, decimals; // of the number's format
    int16_t low_margin, high_margin;
    int32_t low_text_width, high_text_width;
    int16_t thumb_x, thumb_y;
    int16_t thumb_size;
    int16_t track_center;
    uint8_t orientation;
    char low_text[16], high_text[16];
};

struct fi_dial {
    FI_gadget common;
    float increment;
    FI_notification continuous_routine;
    uint8_t display_mask;
    uint8_t field_width, decimals;
    float zero_angle; // of value 0, radians
    float scale;      // value of a full turn / (2 pi)
    float needle_angle;
    int16_t center_x, center_y;
    int16_t radius;
    int16_t tick_length;
    int16_t ticks;
    int16_t ticks_x; // from the file, without use
    int8_t direction;
    uint8_t border_style; // 0: double bevel
};

struct fi_bar {
    FI_gadget common;
    double high_value; // of a full bar
    float segments;
    int16_t segment_gap;    // pixels
    int16_t segment_length; // pixels
    int16_t lit_segments;
    uint8_t orientation;
};

constexpr int FI_SCROLL_ARROWS = 4;

struct fi_scroll {
    FI_gadget common;
    float pixels_per_unit; // thumb travel for one unit of value
    double low_value, high_value;
    FI_notification continuous_routine;
    int16_t slide_x1, slide_y1, slide_x2, slide_y2; // where the thumb travels
    int16_t inner_x1, inner_y1, inner_x2, inner_y2; // the part that holds the arrows
    double view_fraction;                           // share of the whole that is seen, 0 to 1
    uint8_t orientation;
    FI_gadget* thumb;                    // private FI_BUTTON
    FI_gadget* arrows[FI_SCROLL_ARROWS]; // private FI_BUTTONs: outer and inner back, inner and outer forward
    float parts_x_scale, parts_y_scale;  // of arrows and thumb against their design size
};

struct FI_field_row {
    char* text;            // owned; null while the row has no block
    uint32_t room;         // bytes of the block
    uint16_t selected;     // 1: selected
    uint8_t after_newline; // the user's newline ended the row above this one
    int32_t color;         // 0: the gadget's; 1 to 15: that less 1; from 16 on that itself
};

struct fi_field {
    FI_gadget common;
    uint16_t field_type;
    uint16_t mode;
    int16_t active_row;  // of the cursor
    int16_t cursor_char; // of the cursor, in the row
    int16_t max_rows;    // 0 and below: no limit
    int16_t visible_rows;
    int16_t top_row;
    int16_t max_chars; // 0 and below: no limit
    int16_t visible_chars;
    int16_t first_char;
    int16_t num_rows;
    int16_t num_default_rows;
    uint32_t row_height; // pixels
    FI_verify verify_routine;
    FI_routine format_routine;
    double min_value, max_value; // of a number; not checked when they are equal
    char* format;                // of a number, as for printf
    FI_field_row* rows;          // owned
    FI_field_row* default_rows;  // owned
    FI_gadget* list;             // private FI_FIELD, or null
    FI_gadget* scroll_bar;       // private, or null
    FI_gadget* arrows[2];        // private FI_BUTTONs, left and right, or null
    uint32_t flags;
    int32_t capacity; // slots in `rows`
    int16_t selected_row;
};

struct fi_mcf {
    FI_group group; // its members are the columns, FI_FIELDs with FI_MCF_COLUMN
    uint16_t num_cols;
    uint16_t visible_cols;
    uint16_t first_col;
    FI_gadget* vert_scroll; // private, or null
    FI_gadget* hort_scroll; // private, or null
    uint32_t mcf_flags;
};
