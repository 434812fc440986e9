// The logical palette: set-up, standard colours, reading and writing slots; and the colour modes of windows.
#include "tools/colors.h"

#include <algorithm>

#include "support/log.h"
#include "support/memory.h"
#include "tools/process.h"
#include "tools/rgbdata.h"
#include "tools/windows.h"

int32_t screen_planes;
int32_t max_color_index;

namespace {

constexpr int FORM_COLORS = 14;   // standard colours that forms use
constexpr int SMALL_PALETTE = 32; // slots on screens of 4 planes and fewer
constexpr int MAX_PLANES = 24;

constexpr color_entry standard_colors[STANDARD_COLORS] = {
    {0, 0, 0, 0},         {1, 61166, 61166, 56797}, {2, 34952, 34952, 34952}, {3, 0, 0, 0},
    {4, 65535, 65535, 0}, {5, 48059, 48059, 48059}, {6, 21845, 21845, 21845}, {7, 65535, 65535, 65535},
    {8, 65535, 0, 0},     {9, 0, 65535, 0},         {10, 0, 0, 65535},        {11, 65535, 65535, 48059},
    {12, 56797, 0, 0},    {13, 0, 48059, 0},        {14, 0, 0, 52428},        {15, 0, 0, 0},
};

constexpr color_entry standard_colors_4[STANDARD_COLORS] = {
    {0, 0, 0, 0},         {1, 65535, 65535, 65535}, {2, 32896, 32896, 32896}, {3, 0, 0, 0},
    {4, 65535, 65535, 0}, {5, 49344, 49344, 49344}, {6, 32896, 32896, 32896}, {7, 65535, 65535, 65535},
    {8, 65535, 0, 0},     {9, 0, 65535, 0},         {10, 0, 0, 65535},        {11, 65535, 65535, 0},
    {12, 65535, 0, 0},    {13, 0, 32896, 0},        {14, 0, 0, 65535},        {15, 0, 0, 0},
};

bool has_palette = false;
bool mode_granted = false;

uint16_t word_of(uint8_t byte) {
    return static_cast<uint16_t>(byte << 8 | byte);
}

uint8_t byte_of(uint16_t word) {
    return static_cast<uint8_t>(word >> 8);
}

const color_entry* standard_table() {
    return screen_planes == 4 ? standard_colors_4 : standard_colors;
}

// The palette's first state: all black.
bool make_black_palette() {
    const int slots = max_color_index < 16 ? SMALL_PALETTE : max_color_index + 1;
    auto* black = static_cast<canvas_rgb*>(mem_alloc_zeroed(static_cast<size_t>(slots) * sizeof(canvas_rgb)));
    if (black == nullptr) {
        log_message(LOG_ERROR, "Could not allocate logical pallette.");
        return false;
    }
    has_palette = canvas_set_palette(0, black, slots);
    mem_free(black);
    return has_palette;
}

} // namespace

int palette_setup() {
    windows_clear();
    screen_planes = std::min(canvas_planes(), MAX_PLANES);
    max_color_index = std::min((1 << screen_planes) - 1, CANVAS_PALETTE_SIZE - 1);
    if (!make_black_palette()) {
        exit_program();
        return -1;
    }
    if (!windows_make_0()) return -1;
    // On 4 planes the dither has slots of its own, beyond those that Load_colors() takes.
    if (screen_planes == 4) canvas_set_palette(DITHER_SLOT, CANVAS_CLASSIC, 16);
    Load_colors(0, standard_table(), STANDARD_COLORS);
    const color_entry white = {static_cast<uint16_t>(max_color_index), 65535, 65535, 65535};
    Load_colors(0, &white, 1);
    return 0;
}

void palette_end() {
    rgb_end();
    has_palette = false;
    mode_granted = false;
    screen_planes = 0;
    max_color_index = 0;
}

int Load_colors(int /*screen*/, const color_entry* entries, int count) {
    if (!has_palette) return -1;
    int result = 0;
    for (int i = 0; i < count; ++i) {
        if (entries[i].slot > max_color_index) {
            result = -1;
            continue;
        }
        canvas_rgb color = {byte_of(entries[i].red), byte_of(entries[i].green), byte_of(entries[i].blue)};
        if (max_color_index < 16) color = canvas_device_color(color);
        canvas_set_palette(entries[i].slot, &color, 1);
    }
    return result;
}

int Read_colors(int /*screen*/, color_entry* entries, int count, int first) {
    if (!has_palette) return -1;
    int result = 0;
    for (int i = 0; i < count; ++i) {
        const int slot = first + i;
        canvas_rgb color = {0, 0, 0};
        if (slot >= 0 && slot <= max_color_index)
            color = canvas_palette(slot);
        else
            result = -1;
        entries[i] = {static_cast<uint16_t>(slot), word_of(color.red), word_of(color.green), word_of(color.blue)};
    }
    return result;
}

int Inq_standard_colors(const color_entry** table, int* count) {
    *table = standard_table() + 1;
    *count = FORM_COLORS;
    return 0;
}

int Set_window_color_mode(int window, int mode) {
    window_record* w = window_find(window);
    if (w == nullptr) return -1;
    if (mode != COLOR_MODE_PALETTE && (mode != COLOR_MODE_TRUE || screen_planes < 15)) return -1;
    w->attributes.color_mode = static_cast<uint16_t>(mode);
    return 0;
}

int Request_color_mode(int mode, int32_t* value) {
    if (mode != COLOR_MODE_TRUE || screen_planes < 15 || mode_granted) return -1;
    mode_granted = true;
    *value = COLOR_MODE_TRUE;
    return 0;
}

int RGB_enable_window(int window) {
    if (!rgb_window_ready) return window_find(window) == nullptr ? -1 : 0;
    return Set_window_color_mode(window, rgb_window_mode);
}
