// The keyboard sequence: gadgets are highlighted one after another along next_in_seq and take keys.
//
// Tab (9) and Return (13) go on, 8 (Shift and Tab) goes back; a blank works a button, toggle or checklist as a click
// does. It ends at the end of the chain, with a press, with an event that belongs to no form, and when its gadget goes.
// Gadgets that are disabled, hidden, or take no input are passed by.
#pragma once

#include "forms/ops.h"

// Keys as they arrive.
enum : int {
    FI_KEY_HOME = 1,
    FI_KEY_END = 5,
    FI_KEY_DELETE_BACK = 127,
    FI_KEY_LEFT = 128,
    FI_KEY_DOWN = 131,
    FI_KEY_RIGHT = 132,
    FI_KEY_UP = 133,
    FI_KEY_ENTER = 141, // of the keypad
};

// What a gadget's key() may use of the loop.
struct fi_sequence {
    char typed[20];   // digits that were typed for a slider or dial, zero-ended
    int typed_length; // at most 19
};

// Starts at the gadget, going forward or back; `from_label`: the gadget that it comes from, 0 for none. Blocks until
// the sequence ends. Calls out.
void fi_start_input(FI_gadget* g, bool forward, int from_label);
// The gadget's turn has ended: goes on along the chain, if it is to. Calls out.
void fi_go_on(FI_gadget* g, fi_leave leave);
bool fi_takes_input(const FI_gadget* g); // shown, enabled, and with an input() or key()

// ---- waiting, for all loops that take keys -------------------------------------------------------------------------

enum class fi_came : uint8_t {
    key,    // a key event waits
    press,  // a press waits, of any button and window; releases have been dropped
    other,  // something that no form owns waits
    nothing // the tools have ended
};
// Blocks until one of these. Everything else that forms own is handled meanwhile, so that anything may have gone.
fi_came fi_wait_for_input();
