// Arithmetic of values in a range.
#include "forms/range.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

// Halves of the ends don't overflow where their difference does.
double half_range(double low, double high) {
    return high / 2 - low / 2;
}

} // namespace

double fi_limited(double low, double high, double value) {
    return std::max(low, std::min(value, high));
}

double fi_share(double low, double high, double value) {
    const double half = half_range(low, high);
    if (!(half > 0)) return 0;
    return (fi_limited(low, high, value) / 2 - low / 2) / half;
}

double fi_at_share(double low, double high, double share) {
    if (!(high > low)) return low;
    const double range = high - low;
    const double value = std::isfinite(range) ? low + share * range : low * (1 - share) + high * share;
    return fi_limited(low, high, value);
}

float fi_per_unit(int pixels, double low, double high) {
    const double half = half_range(low, high);
    if (!(half > 0)) return 0;
    constexpr double LARGEST = std::numeric_limits<float>::max();
    return static_cast<float>(std::min(pixels / half / 2, LARGEST));
}

double fi_reverse(const fi_slider* s, double value) {
    return s->low_value + s->high_value - value;
}
