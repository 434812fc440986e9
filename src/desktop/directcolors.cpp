#include "desktop/directcolors.h"

#include <cstddef>
#include <cstdint>

#include "forms/env.h"
#include "forms/forms.h"
#include "tools/colors.h"
#include "tools/draw.h"
#include "tools/windows.h"

namespace {

constexpr int LOGICAL_COLORS = 16;
constexpr uint32_t FIRST_COLOR = 0xFFFFFF;
constexpr int WINDOW_SETUP = 3; // number of the toolkit's operation for a new window

// The direct colours of the logical ones, red in the lowest byte: those that the palette has in these slots, so that a
// form looks the same at all depths, and greys surround the picture whose colours are judged.
constexpr uint32_t DIRECT[LOGICAL_COLORS] = {
    0x000000, 0xDDEEEE, 0x888888, 0x000000, 0x00FFFF, 0xBBBBBB, 0x555555, 0xFFFFFF,
    0x0000FF, 0x00FF00, 0xFF0000, 0xBBFFFF, 0x0000DD, 0x00BB00, 0xCC0000, 0x000000,
};

bool marked[WINDOW_COUNT]; // windows of forms

bool is_marked(int window) {
    return window >= 0 && window < WINDOW_COUNT && marked[window];
}

int choose_color(int window, int color) {
    if (!is_marked(window)) return fgcolor(window, color);
    const auto value = static_cast<uint32_t>(color);
    return rgbcolor(window, 0, value < LOGICAL_COLORS ? DIRECT[value] : value);
}

int create_window(int screen, int level, int x1, int y1, int x2, int y2, int* window) {
    const int status = Create_level_window(screen, level, x1, y1, x2, y2, window);
    if (status == 0 && *window >= 0 && *window < WINDOW_COUNT) marked[*window] = true;
    return status;
}

int prepare_window(int window) {
    if (!is_marked(window)) return 0;
    RGB_enable_window(window);
    return rgbcolor(window, 0, FIRST_COLOR);
}

constexpr int number_of(size_t offset) {
    return FI_GRAPHIC_FIRST + static_cast<int>(offset / sizeof(FI_routine));
}

template <typename F> FI_routine routine(bool on, F* f) {
    return on ? reinterpret_cast<FI_routine>(f) : nullptr;
}

} // namespace

void direct_colors_use(bool on) {
    for (bool& m : marked)
        m = false;
    FI_set_graphic_env(number_of(offsetof(fi_graphic_environment, fgcolor)), routine(on, choose_color));
    FI_set_graphic_env(number_of(offsetof(fi_graphic_environment, Create_level_window)), routine(on, create_window));
    FI_modify_env(WINDOW_SETUP, routine(on, prepare_window));
}

void form_fgcolor(int window, int logical) {
    choose_color(window, logical);
}
