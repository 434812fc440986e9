// The toolkit's own operations behind the numbers of fi_environment: see there for what each is given and gives.
#pragma once

#include <cstdint>

// ---- colors.cpp
int fi_translate_color(int screen, int logical);

// ---- paths.cpp
int fi_find_form_file(char* path, const char* name);

// ---- fonts.cpp
int fi_calc_text(uint32_t font, const char* text, int length, int* height, int* width, int* spacing, int font_type);
int fi_draw_text_at(int window, uint32_t font, const char* text, int length, int x, int y, int line_spacing,
                    int* next_x, int* next_y, int font_type);
int fi_find_font(const char* name, float body_size, uint32_t* id, int* actual_size, int gadget_type, int* font_type);
int fi_strlen(const char* text, int font_type);
int fi_move_index(const char* text, int start, int characters, int font_type);

// ---- symbols.cpp
int fi_find_symbol_file(char* path, const char* name, uint32_t* id);

// ---- keys.cpp
int fi_get_keyboard_data(char* buffer, int* count);
int fi_map_character(int* key);
