// Forms that are answered before anything else: a loop of their own.
#pragma once

#include "desktop/keyboard.h"
#include "forms/forms.h"

// Handles events until is_done(user) says so, the program is to end, or the tools have ended. Return presses the
// gadget `accept`, Escape and Control-C press `cancel`, as if by the mouse, and so does the key `also_cancels`. Presses
// in other windows are dropped; what has to be drawn again is drawn.
void modal_loop(FI_form* form, bool (*is_done)(void* user), void* user, int accept, int cancel,
                int also_cancels = KEY_ESCAPE);

// To be called when is_done() has become true: a field that has the keys, whose loop runs inside, lets them go.
void modal_end(FI_form* form);

// Deletes a form, and has drawn what it covered: it is not to be seen below a box or during long work that follows.
void form_take_away(FI_form* form);

// Presses a button of a form, and has its form told.
void press_gadget(FI_form* form, int label);

// In the middle of the screen.
void form_center(FI_form* form);
