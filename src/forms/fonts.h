// Fonts of the toolkit: from a name and a body size to a loaded font, with a cache.
#pragma once

#include <cstdint>

constexpr uint32_t FI_NO_FONT = UINT32_MAX; // measures and draws nothing

// The font of the name whose size on disk is the nearest at or below `size` (a body size). FI_SUCCESS, or
// FI_NO_SUCH_FONT with id FI_NO_FONT and size -1.
int fi_load_font(const char* name, int size, int* actual_size, uint32_t* id);

void fi_forget_found_fonts(); // the font path has changed
void fi_free_fonts();         // forgets what the cache knows
