// Logical colours of the toolkit and the slots that they have on each screen.
#pragma once

#include "forms/state.h"
#include "tools/colors.h"

// Fills the screen's map: for each logical colour the slot that is nearest in the palette. FI_SUCCESS, or FI_NO_SCREEN
// for a screen that isn't there or has no colours.
int fi_build_color_map(int screen, const color_entry* palette, int count);
