// Numbers of gadgets with a range: sliders, dials, bars and scroll bars.
#pragma once

#include "forms/ops.h"

// The value on the other side of the range, for a slider with FI_REVERSED. Both ways.
double fi_reverse(const fi_slider* s, double value);
