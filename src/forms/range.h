// Numbers of gadgets with a range: sliders, dials, bars and scroll bars.
#pragma once

#include "forms/ops.h"

// Where a value lies in a range, 0 to 1, and the value there. A range that ends below its start is empty: 0, and its
// start. Ranges may be as wide as numbers are.
double fi_share(double low, double high, double value);
double fi_at_share(double low, double high, double share);
// Pixels for one unit, when `pixels` show the range; 0 for an empty range.
float fi_per_unit(int pixels, double low, double high);
// The value, or the end of the range that it lies beyond; the start of an empty range.
double fi_limited(double low, double high, double value);

// The value on the other side of the range, for a slider with FI_REVERSED. Both ways.
double fi_reverse(const fi_slider* s, double value);
