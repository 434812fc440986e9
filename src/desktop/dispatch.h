// Where an event goes.
#pragma once

#include <cstdint>

// Gives an event to whom it concerns, and takes it off its queue. `event` is its bit.
void dispatch_events(uint32_t event);

// A turn of the keys in a form may be over.
void keys_turn_over();
