// Values and texts that other files change.
#pragma once

#include "forms/ops.h"

// Gives a gadget with states another one: draws it, sees to single select, carries its link. May call out.
int fi_set_state(FI_gadget* g, int state);

// Fits a text gadget's rectangle to its text, in the font of bodysize * factor, and keeps the anchor that its
// justification names. The rectangle is already that of the new scale.
void fi_text_refit(FI_gadget* g, float factor);
