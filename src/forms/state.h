// What the toolkit keeps as a whole: which form is in which window, all forms, screens, colours, fonts, search paths.
#pragma once

#include <cstdint>

#include "forms/form.h"
#include "platform/files.h"

constexpr int FI_WINDOWS = 41; // window numbers 0 to 40
constexpr int FI_SCREENS = 9;
constexpr int FI_SCREEN_WORDS = 25;
constexpr int FI_COLOR_MAPS = 8;
constexpr int FI_COLORS = 14; // logical colours
constexpr int FI_FORM_SLOTS = 28;
constexpr int FI_KEYBOARD_SIZE = 100;
constexpr int FI_PATH_ENTRY = 257; // room for an entry of a search path

// Words of a screen's record.
constexpr int FI_SCREEN_NUMBER = 0;
constexpr int FI_SCREEN_PLANES = 1;
constexpr int FI_SCREEN_COLORMAP = 2;
constexpr int FI_SCREEN_WIDTH = 7; // the last column and row have these numbers
constexpr int FI_SCREEN_HEIGHT = 8;
constexpr int FI_SCREEN_FLAGS = 9;
constexpr int FI_SCREEN_COLORS = 10;

// Logical colours.
enum : int {
    FI_OFF_WHITE = 0,
    FI_MED_GREY = 1,
    FI_BLACK = 2,
    FI_YELLOW = 3,
    FI_LT_GREY = 4,
    FI_DK_GREY = 5,
    FI_WHITE = 6,
    FI_RED = 7,
    FI_GREEN = 8,
    FI_BLUE = 9,
    FI_LT_YELLOW = 10,
    FI_DK_RED = 11,
    FI_DK_GREEN = 12,
    FI_DK_BLUE = 13,
};

struct fi_path_list {
    char (*entries)[FI_PATH_ENTRY]; // owned
    int count;
};

struct fi_cached_font {
    char name[16];
    int32_t key;      // the size number that was asked for
    int32_t file_key; // that of the file's name; 0: there is none at or below
    uint32_t font_id;
};

struct fi_cached_symbols {
    char* path; // owned
    char name[16];
    uint32_t font_id;
};

// Inclusive, in form pixels.
struct fi_box {
    int x1, y1, x2, y2;
};

struct fi_state_record {
    bool entered;
    bool no_display; // no screen was found

    FI_form* window_forms[FI_WINDOWS];
    FI_form* lost_forms[FI_WINDOWS]; // whose window the user closed, when the number has been given to another form
                                     // before the event about it was handled
    FI_form* sr_forms[FI_WINDOWS];   // stack of pop-ups, from index 1
    int sr_depth;
    int sr_window; // of the save-restore area; -1: none
    bool sr_active;

    FI_form** forms; // owned; every form that exists, null in free slots
    int form_slots;
    int displayed_forms;

    int32_t screens[FI_SCREENS][FI_SCREEN_WORDS];
    uint8_t color_maps[FI_COLOR_MAPS][FI_COLORS]; // logical colour -> slot
    uint8_t private_map[FI_COLORS];
    bool private_colors;
    int screen_width, screen_height; // of the current screen: last column and row
    bool double_flush;               // a screen of 5 planes or fewer
    bool true_color;

    fi_cached_font* fonts; // owned
    int font_count, font_room;
    fi_cached_symbols* symbol_files; // owned
    int symbol_count, symbol_room;
    fi_path_list font_path, symbol_path, form_path;
    char root_dir[FILES_PATH_SIZE];

    uint8_t* keyboard_buffer; // the application's, or own_keyboard
    int keyboard_size;
    uint8_t own_keyboard[FI_KEYBOARD_SIZE];

    bool partial;     // an area of a form is being drawn again; cursor and flushes rest
    FI_form* clipped; // the form whose drawing is limited to `clip`; null: none
    fi_box clip;
};

extern fi_state_record fi_state;

// Asks the display for the screen's size again: the user may have given it another one.
void fi_take_screen_size();
