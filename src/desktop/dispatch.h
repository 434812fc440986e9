// Where an event goes.
#pragma once

#include <cstdint>

// Gives an event to whom it concerns, and takes it off its queue. `event` is its bit.
void dispatch_events(uint32_t event);
