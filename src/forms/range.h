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
// From the value that the record keeps to the one that the application knows, and back: that of a reversed slider is
// turned round, any other is the same.
double fi_turned(const FI_gadget* g, double value);

// ---- sliders and dials only: they have a step and a number format

// How one of them counts.
struct fi_counting {
    double increment; // smallest step
    int width, decimals;
    FI_notification continuous_routine;
};
fi_counting fi_counting_of(const FI_gadget* g);

constexpr int FI_NUMBER_TEXT = 640; // room for the text of any number in any format
// The value in the gadget's number format, without blanks behind. `buffer` has FI_NUMBER_TEXT bytes.
void fi_format_number(const FI_gadget* g, char* buffer, double value);
double fi_rounded(const FI_gadget* g, double value); // to the gadget's decimals, as its text reads
// The multiple of the increment at or below the value, towards 0. A value that misses a multiple by no more than
// rounding is that multiple.
double fi_quantise(const FI_gadget* g, double value);
