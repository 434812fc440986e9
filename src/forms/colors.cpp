// Colour maps.
#include "forms/colors.h"

#include <cstdint>

#include "forms/envdata.h"
#include "forms/forms.h"

namespace {

constexpr int HAS_COLORS = 0x02; // a flag of the screen's record
constexpr int FEW_COLORS = 4;
constexpr double NEAR_ENOUGH = 1.875e7;
constexpr double FARTHEST = 12884508675.0; // 3 * 65535 * 65535
constexpr uint8_t MIDDLE_SLOT = 0;

double square(int a, int b) {
    const double d = a - b;
    return d * d;
}

double distance(const color_entry& a, const color_entry& b) {
    return square(a.red, b.red) + square(a.green, b.green) + square(a.blue, b.blue);
}

uint16_t nearest_slot(const color_entry& color, const color_entry* palette, int count) {
    double best = FARTHEST;
    uint16_t slot = MIDDLE_SLOT;
    for (int i = 0; i < count; ++i) {
        const double d = distance(color, palette[i]);
        if (d < NEAR_ENOUGH) return palette[i].slot;
        if (d >= best) continue;
        best = d;
        slot = palette[i].slot;
    }
    return slot;
}

bool is_light(int color) {
    return color == FI_OFF_WHITE || color == FI_YELLOW || color == FI_LT_GREY || color == FI_WHITE ||
           color == FI_GREEN || color == FI_LT_YELLOW;
}

} // namespace

int fi_build_color_map(int screen, const color_entry* palette, int count) {
    if (screen < 0 || screen >= FI_COLOR_MAPS) return FI_NO_SCREEN;
    const int32_t* record = fi_state.screens[screen];
    if (record[FI_SCREEN_NUMBER] < 0 || (record[FI_SCREEN_FLAGS] & HAS_COLORS) == 0) return FI_NO_SCREEN;
    const color_entry* standard = nullptr;
    int known = 0;
    Inq_standard_colors(&standard, &known);
    uint8_t* map = fi_state.color_maps[screen];
    const int colors = record[FI_SCREEN_COLORS];
    for (int i = 0; i < FI_COLORS; ++i) {
        if (colors <= FEW_COLORS && !fi_state.private_colors)
            map[i] = is_light(i) ? static_cast<uint8_t>(colors - 1) : uint8_t{0};
        else if (i < known)
            map[i] = static_cast<uint8_t>(nearest_slot(standard[i], palette, count));
    }
    return FI_SUCCESS;
}

// A number that is no logical colour is a slot by itself.
int fi_translate_color(int screen, int logical) {
    if (logical >= FI_COLORS) return logical;
    if (logical < 0) logical = FI_BLACK;
    if (fi_state.private_colors) return fi_state.private_map[logical];
    return fi_state.color_maps[screen >= 0 && screen < FI_COLOR_MAPS ? screen : 0][logical];
}
