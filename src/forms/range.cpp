// Arithmetic of values in a range, steps and number texts.
#include "forms/range.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
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

double fi_turned(const FI_gadget* g, double value) {
    if (g->type != FI_SLIDER) return value;
    const auto* s = fi_as<fi_slider>(g);
    return (s->display_mask & FI_REVERSED) != 0 ? fi_reverse(s, value) : value;
}

// ---- numbers of sliders and dials ----------------------------------------------------------------------------------

fi_counting fi_counting_of(const FI_gadget* g) {
    if (g->type == FI_SLIDER) {
        const auto* s = fi_as<fi_slider>(g);
        return {s->increment, s->field_width, s->decimals, s->continuous_routine};
    }
    const auto* d = fi_as<fi_dial>(g);
    return {d->increment, d->field_width, d->decimals, d->continuous_routine};
}

namespace {

void print(const fi_counting& c, char* buffer, double value) {
    const int width = value < 0 ? c.width + 1 : c.width; // for the sign
    std::snprintf(buffer, FI_NUMBER_TEXT, "%-*.*f", width, c.decimals, value);
    size_t length = std::strlen(buffer);
    while (length > 0 && buffer[length - 1] == ' ')
        buffer[--length] = '\0';
}

} // namespace

void fi_format_number(const FI_gadget* g, char* buffer, double value) {
    const fi_counting c = fi_counting_of(g);
    print(c, buffer, value);
    if (std::strtod(buffer, nullptr) == 0) print(c, buffer, 0); // no "-0"
}

double fi_rounded(const FI_gadget* g, double value) {
    char text[FI_NUMBER_TEXT];
    fi_format_number(g, text, value);
    return std::strtod(text, nullptr);
}

namespace {

constexpr double ROUNDING = 1e-6;        // what a float, as increments are, may miss by
constexpr double LARGEST_WHOLE = 0x1p53; // beyond, all numbers are whole

// The whole part, or the whole number that is missed by rounding only.
double whole_part(double value) {
    const double nearest = std::round(value);
    return std::fabs(value - nearest) <= ROUNDING * std::max(1.0, std::fabs(value)) ? nearest : std::trunc(value);
}

} // namespace

double fi_quantise(const FI_gadget* g, double value) {
    const fi_counting c = fi_counting_of(g);
    const double scale = std::pow(10.0, c.decimals);
    const double units = value * scale;
    if (!(std::fabs(units) < LARGEST_WHOLE)) return value;
    const double step = whole_part(std::max(c.increment * scale, 1.0));
    return std::trunc(whole_part(units) / step) * step / scale;
}
