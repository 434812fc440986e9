#include "desktop/program.h"

bool quit_requested = false;
bool forms_up = false;
int own_window = 0;
int32_t display_planes = 0;
uint32_t display_mask = 0;
char keyboard_buffer[KEYBOARD_BUFFER_SIZE] = {};
color_palette program_colors = {};
pattern_palette program_patterns = {};
