#include "desktop/program.h"

bool quit_requested = false;
bool forms_up = false;
int own_window = 0;
int32_t display_planes = 0;
uint32_t display_mask = 0;
char keyboard_buffer[KEYBOARD_BUFFER_SIZE] = {};
palette_book program_palette = {};
int changes_made = 0;
recent_state remembered = {};
bool forms_wanted = true;
