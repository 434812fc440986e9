// The two tables of operations through which the toolkit reaches everything outside of itself. The application replaces
// single ones with FI_modify_env() and FI_set_graphic_env(), by the numbers that stand here.
//
// The toolkit calls fi_env.NAME and fi_graphic.NAME, never the display layer itself, but for what has no number:
// waiting in a tracking loop, and the pause of a button.
#pragma once

#include <cstddef>
#include <cstdint>

#include "forms/form.h"

// ---- what the toolkit asks for -------------------------------------------------------------------------------------

struct fi_environment {
    // 1: the slot of a logical colour on a screen.
    int (*FI_TRANSLATE_COLOR)(int screen, int logical);
    // 2: the first path under which a form file can be accessed, into a buffer of FILES_PATH_SIZE. 0, or 1: none.
    int (*FI_FIND_FORM)(char* path, const char* name);
    // 3: a form's window is new, and not yet shown.
    int (*FI_WINDOW_SETUP)(int window);
    // 4: measures `length` bytes; spacing: from line to line. 0 on success.
    int (*FI_CALC_TEXT)(uint32_t font, const char* text, int length, int* height, int* width, int* spacing,
                        int font_type);
    // 5: draws `length` bytes with their top left corner at x, y in the window's colour. next_x, next_y may be null.
    int (*FI_DRAW_TEXT)(int window, uint32_t font, const char* text, int length, int x, int y, int line_spacing,
                        int* next_x, int* next_y, int font_type);
    // 6: path (a buffer of FILES_PATH_SIZE) and font of a symbol file; path "" and id 0 when there is none. 0.
    int (*FI_FIND_SYMBOL_FILE)(char* path, const char* name, uint32_t* id);
    // 7: font of a name and body size, or the nearest that there is; its size; its font_type. 0.
    int (*FI_FIND_FONT)(const char* name, float body_size, uint32_t* id, int* actual_size, int gadget_type,
                        int* font_type);
    // 8: a gadget is complete that has FI_CMD_KEY (kind 0), FI_CMD_STRING (1) or FI_HELP_TOPIC (2).
    int (*FI_PROCESS_COMMAND)(int kind, const char* text, FI_form* form);
    // 9: takes a key event; at most `count` of its bytes go into `buffer`, `count` is then how many. 0 on success.
    int (*FI_GET_KEYBOARD_DATA)(char* buffer, int* count);
    // 10: a button with label 6 was pressed.
    int (*FI_ACTIVATE_HELP)(FI_form* form);
    // 11: turns a key of a field into a command (1) or a character (0).
    int (*FI_MAP_CHARACTER)(int* key);
    // 100: characters of a text; -1 for null.
    int (*FI_STRLEN)(const char* text, int font_type);
    // 101: offset of the character that stands `characters` behind the one at byte `start`; -1 before the text.
    int (*FI_MOVE_INDEX)(const char* text, int start, int characters, int font_type);
};

extern fi_environment fi_env;

// ---- the display layer ---------------------------------------------------------------------------------------------

constexpr int FI_GRAPHIC_FIRST = 12; // number of the first slot; the others follow in the order of the record
constexpr int FI_GRAPHIC_LAST = 81;
constexpr int FI_GRAPHIC_NONE = 47; // has a slot, but can't be replaced

// Slots that do nothing in this display layer say so with "-"; they can be replaced all the same.
struct fi_graphic_environment {
    int (*Clear_timer_data)();
    int (*Collapse_win)(int window);
    int (*Create_SR_area)(int window, int x1, int y1, int x2, int y2);
    int (*Create_level_window)(int screen, int level, int x1, int y1, int x2, int y2, int* window);
    int (*Set_win_icon)(int window, const char* file, int index); // -
    int (*Delete_SR_area)(int window);
    int (*Delete_win)(int window);
    int (*Display_win)(int window);
    int (*Enter_SR)(int screen, int flags, int* window);
    int (*Exit_SR)(int window);
    int (*Get_button_data)(int* window, int* x, int* y, int* button, int* transition, uint32_t* time);
    int (*Get_collapse_data)(int* window, int* state);
    int (*Get_delete_data)(int* window);
    int (*Get_refresh_data)(int* window, int* screen, int* x1, int* y1, int* x2, int* y2, int* area_x1, int* area_y1,
                            int* area_x2, int* area_y2, int* op_mask);
    int (*Get_window_icon_data)(int* window, int* code); // -
    int (*Inq_button_data)(int* window, int* x, int* y, int* button, int* transition, uint32_t* time);
    int (*Inq_collapse_data)(int* window, int* state);
    int (*Inq_delete_data)(int* window);
    int (*Inq_displayed_vs)(int* screen); // screen 0
    int (*Inq_events)(uint32_t* mask);
    int (*Inq_refresh_data)(int* window, int* screen, int* x1, int* y1, int* x2, int* y2, int* area_x1, int* area_y1,
                            int* area_x2, int* area_y2, int* op_mask);
    int (*Inq_screen_info)(int32_t (*records)[25]);
    int (*Inq_win_collapse_stat)(int window, int* state);
    int (*Inq_window_icon_data)(int* window, int* code); // -
    int (*Modify_win)(int window, int x1, int y1, int x2, int y2);
    int (*Mouse_position)(int window, int* x, int* y, int* inside);
    int (*Window_move)(int window, int x, int y); // -
    int (*Flush_icon)(int window);                // -
    int (*Set_win_sizes)(int window, int min_width, int min_height, int max_width, int max_height);
    int (*Set_win_button_mode)(int window, int mode);
    int (*Set_win_collapse_org)(int window, int x, int y);
    int (*Set_win_collapse_symbol)(int window, const char* file, int index); // -
    int (*Set_win_sys_hdr)(int window, int first, int second);
    int (*Set_win_event_mode)(int window, int mode);                   // -
    int (*Set_win_region)(int window, int x1, int y1, int x2, int y2); // -
    FI_routine unnumbered;                                             // 47
    int (*Start_timer)(int ticks, int repeat, int* number);
    int (*Stop_timer)(int number);
    int (*Uncollapse_win)(int window);
    int (*Update_win_icon)(int window); // -
    int (*Wait_for_next)(uint32_t mask, uint32_t* event);
    int (*Set_window_pattern)(int window, const uint32_t* rows); // -
    int (*blendline)(int window, uint32_t value);
    int (*clipbox)(int window, int x1, int y1, int x2, int y2);
    int (*Define_cursor)(int window, int cursor); // -
    int (*draw)(int window, int x, int y);
    int (*drawbitmap)(int window, int x1, int y1, int x2, int y2, const uint8_t* bits);
    int (*drawsymbols)(int window, int font, int x, int y, const char* text, int length);
    int (*fgcolor)(int window, int slot);
    int (*flushbuffer)(int window); // -
    int (*hidecursor)(int window);  // -
    int (*polyf)(int window, const void* points, int count, int type);
    int (*linestyle)(int window, uint32_t pattern);
    int (*move)(int window, int x, int y);
    int (*pnt)(int window, int x, int y);
    int (*polygon4)(int window, int y1, int y2, int xa, int xb, int xc, int xd);
    int (*rectf)(int window, int x1, int y1, int x2, int y2);
    int (*showcursor)(int window);                                        // -
    int (*Set_screen_colors)(int screen, const void* entries, int count); // -
    int (*weight)(int window, int lines);
    int (*popattributes)(int window);
    int (*pushattributes)(int window);
    int (*Mouse_win_position)(int* window, int* x, int* y, int* inside);
    int (*Inq_win_region_data)(int window, int* x1, int* y1, int* x2, int* y2); // -
    int (*Inq_win_vs)(int window, int* screen);
    int (*Inq_win_region)(int window, int* x1, int* y1, int* x2, int* y2);
    int (*Load_symbol_file)(const char* path, int* id);
    int (*Get_user_data)(uint32_t* value);
    int (*Inq_user_data)(uint32_t* value);
    int (*Set_colormap_slots)(int screen, const void* entries, int count); // -, and gives -1
};

extern fi_graphic_environment fi_graphic;

static_assert(sizeof(fi_graphic_environment) == (FI_GRAPHIC_LAST - FI_GRAPHIC_FIRST + 1) * sizeof(FI_routine));
static_assert(offsetof(fi_graphic_environment, unnumbered) ==
              (FI_GRAPHIC_NONE - FI_GRAPHIC_FIRST) * sizeof(FI_routine));

// Fills both tables with the toolkit's own operations.
void fi_env_reset();
