// RGB_init(): the tables of each pipeline, and single pixels by them.
#include <algorithm>
#include <cmath>
#include <iterator>

#include "support/log.h"
#include "support/memory.h"
#include "tools/rgbdata.h"
#include "tools/windows.h"

rgb_tables rgb;
int32_t rgb_depth;
int32_t rgb_window_mode;
bool rgb_window_ready;

namespace {

constexpr double GAMMA_4 = 2.37;
constexpr double BYTE_UNIT = 0.00392156862745098; // 1 / 255
constexpr int PLAIN_ROW_8 = 7;                    // threshold row of pixels without dither
constexpr int PLAIN_ROW_15 = 3;
constexpr int CUBE_STEPS = 80; // gamma values over the 5 intervals of the cube, 16 each
constexpr uint16_t cube_levels[6] = {0, 13107, 26214, 39321, 52428, 65535};
constexpr uint8_t row_order_8[CELLS] = {0, 8, 2, 10, 12, 4, 14, 6, 3, 11, 1, 9, 15, 7, 13, 5};
constexpr uint8_t row_order_true[CELLS] = {0, 4, 1, 5, 6, 2, 7, 3, 1, 5, 0, 4, 7, 3, 6, 2};
constexpr int TRUE_ROWS = 8;

uint32_t packed(uint8_t red, uint8_t green, uint8_t blue) {
    return uint32_t{red} | uint32_t{green} << 8 | uint32_t{blue} << 16;
}

// ---- no pipeline

uint32_t no_dither_pixel(int /*x*/, int /*y*/, uint8_t /*red*/, uint8_t /*green*/, uint8_t /*blue*/) {
    return 0;
}
uint32_t no_plain_pixel(uint8_t /*red*/, uint8_t /*green*/, uint8_t /*blue*/) {
    return 0;
}
void no_pixel_color(uint32_t /*pixel*/, uint8_t* /*red*/, uint8_t* /*green*/, uint8_t* /*blue*/) {}

// ---- 4 planes

uint32_t dither_pixel_4(int x, int y, uint8_t red, uint8_t green, uint8_t blue) {
    return dither_color(cell_of(x, y), red, green, blue) + DITHER_SLOT;
}
uint32_t plain_pixel_4(uint8_t red, uint8_t green, uint8_t blue) {
    return dither4_nearest(red, green, blue) + DITHER_SLOT;
}
void pixel_color_4(uint32_t pixel, uint8_t* red, uint8_t* green, uint8_t* blue) {
    const uint32_t color = pixel - DITHER_SLOT;
    if (color >= 16) return;
    *red = rgb.slot_bytes[color][0];
    *green = rgb.slot_bytes[color][1];
    *blue = rgb.slot_bytes[color][2];
}

// What the slots of the dither show, as far as the screen has them.
void read_dither_slots() {
    for (int i = 0; i < 16; ++i) {
        const canvas_rgb c = canvas_palette(DITHER_SLOT + i);
        rgb.slot_bytes[i][0] = c.red;
        rgb.slot_bytes[i][1] = c.green;
        rgb.slot_bytes[i][2] = c.blue;
    }
}

bool setup_4() {
    if (!dither4_make()) return false;
    rgb.gamma = GAMMA_4;
    for (int i = 0; i < 256; ++i)
        rgb.dib_header->slots[i] = static_cast<uint16_t>(i < 16 ? DITHER_SLOT + i : 15);
    read_dither_slots();
    return true;
}

// ---- 8 planes

uint32_t cube_pixel(const uint8_t* row, uint8_t red, uint8_t green, uint8_t blue) {
    return rgb.cube_slot[cube_index(row[red], row[green], row[blue])];
}
uint32_t dither_pixel_8(int x, int y, uint8_t red, uint8_t green, uint8_t blue) {
    return cube_pixel(rgb.row_of_cell[cell_of(x, y)], red, green, blue);
}
uint32_t plain_pixel_8(uint8_t red, uint8_t green, uint8_t blue) {
    return cube_pixel(rgb.threshold_rows[PLAIN_ROW_8], red, green, blue);
}
void pixel_color_8(uint32_t pixel, uint8_t* red, uint8_t* green, uint8_t* blue) {
    const uint32_t index = pixel - CUBE_SLOT;
    if (index >= CUBE_COLORS) return;
    *red = static_cast<uint8_t>(rgb.cube_colors[index].red >> 8);
    *green = static_cast<uint8_t>(rgb.cube_colors[index].green >> 8);
    *blue = static_cast<uint8_t>(rgb.cube_colors[index].blue >> 8);
}

void make_gamma_table(int highest) {
    for (int i = 0; i < 256; ++i)
        rgb.gamma_table[i] = static_cast<uint8_t>(std::floor(std::pow(i * BYTE_UNIT, 1 / rgb.gamma) * highest + 0.5));
}

void use_rows(const uint8_t* order) {
    for (int cell = 0; cell < CELLS; ++cell)
        rgb.row_of_cell[cell] = rgb.threshold_rows[order[cell]];
}

void make_cube() {
    std::fill_n(rgb.cube_slot, std::size(rgb.cube_slot), uint8_t{0});
    uint16_t slot = CUBE_SLOT;
    for (unsigned r = 0; r < 6; ++r)
        for (unsigned g = 0; g < 6; ++g)
            for (unsigned b = 0; b < 6; ++b, ++slot) {
                rgb.cube_colors[slot - CUBE_SLOT] = {slot, cube_levels[r], cube_levels[g], cube_levels[b]};
                rgb.cube_slot[cube_index(r, g, b)] = static_cast<uint8_t>(slot);
            }
}

// The slots of the cube stand in the order of its colours, so each level brings a part of the slot, whatever the
// others.
void make_slot_parts() {
    for (int cell = 0; cell < CELLS; ++cell)
        for (int i = 0; i < 256; ++i) {
            const unsigned level = rgb.row_of_cell[cell][i];
            rgb.red_part[cell][i] = rgb.cube_slot[cube_index(level, 0, 0)];
            rgb.green_part[cell][i] = static_cast<uint8_t>(rgb.cube_slot[cube_index(0, level, 0)] - CUBE_SLOT);
            rgb.blue_part[cell][i] = static_cast<uint8_t>(level);
        }
}

// The level that a gamma value comes to in one threshold row, 0 to 5.
uint8_t cube_level(int value, int threshold) {
    if (value == 0) return 0;
    const int above = ((value - 1) & 15) >= threshold ? 1 : 0;
    return static_cast<uint8_t>(((value - 1) >> 4) + above);
}

bool setup_8() {
    make_gamma_table(CUBE_STEPS);
    make_cube();
    Load_colors(0, rgb.cube_colors, CUBE_COLORS);
    for (int i = 0; i < 256; ++i)
        rgb.dib_header->slots[i] = static_cast<uint16_t>(i);
    for (int t = 0; t < CELLS; ++t)
        for (int i = 0; i < 256; ++i)
            rgb.threshold_rows[t][i] = cube_level(rgb.gamma_table[i], t);
    use_rows(row_order_8);
    make_slot_parts();
    return true;
}

// ---- 15 planes and more

uint32_t row_pixel(const uint8_t* row, uint8_t red, uint8_t green, uint8_t blue) {
    return packed(row[red], row[green], row[blue]);
}
uint32_t dither_pixel_15(int x, int y, uint8_t red, uint8_t green, uint8_t blue) {
    return row_pixel(rgb.row_of_cell[cell_of(x, y)], red, green, blue);
}
uint32_t plain_pixel_15(uint8_t red, uint8_t green, uint8_t blue) {
    return row_pixel(rgb.threshold_rows[PLAIN_ROW_15], red, green, blue);
}
void pixel_color_15(uint32_t pixel, uint8_t* red, uint8_t* green, uint8_t* blue) {
    *red = pixel & 248;
    *green = pixel >> 8 & 248;
    *blue = pixel >> 16 & 248;
}
uint32_t dither_pixel_24(int /*x*/, int /*y*/, uint8_t red, uint8_t green, uint8_t blue) {
    return row_pixel(rgb.gamma_table, red, green, blue);
}
uint32_t plain_pixel_24(uint8_t red, uint8_t green, uint8_t blue) {
    return row_pixel(rgb.gamma_table, red, green, blue);
}
void pixel_color_24(uint32_t pixel, uint8_t* red, uint8_t* green, uint8_t* blue) {
    *red = pixel & 255;
    *green = pixel >> 8 & 255;
    *blue = pixel >> 16 & 255;
}

// The five-bit value of a component in one threshold row, as a byte.
uint8_t five_bits(int value, int threshold) {
    if (value == 0) return 0;
    const int base = (value - 1) & 248;
    const bool above = ((value - 1) & 7) >= threshold && base < 248;
    return static_cast<uint8_t>(above ? base + 8 : base);
}

bool setup_true() {
    make_gamma_table(255);
    for (int t = 0; t < TRUE_ROWS; ++t)
        for (int i = 0; i < 256; ++i)
            rgb.threshold_rows[t][i] = five_bits(rgb.gamma_table[i], t);
    use_rows(row_order_true);
    rgb_make_true_parts();
    if (!rgb_window_ready && Request_color_mode(COLOR_MODE_TRUE, &rgb_window_mode) != 0) return false;
    rgb_window_ready = true;
    return true;
}

// The functions of one pipeline for single pixels.
struct pixel_functions {
    uint32_t (*dither)(int x, int y, uint8_t red, uint8_t green, uint8_t blue);
    uint32_t (*plain)(uint8_t red, uint8_t green, uint8_t blue);
    void (*color)(uint32_t pixel, uint8_t* red, uint8_t* green, uint8_t* blue);
};
constexpr pixel_functions NO_PIXELS = {no_dither_pixel, no_plain_pixel, no_pixel_color};

void use_pixels(const pixel_functions& functions) {
    rgb_dither_pixel = functions.dither;
    rgb_plain_pixel = functions.plain;
    rgb_pixel_color = functions.color;
}

struct pipeline {
    int least_planes; // also rgb_depth
    int result;       // of RGB_init()
    bool (*setup)();
    pixel_functions pixels;
};
constexpr pipeline pipelines[] = {
    {24, 24, setup_true, {dither_pixel_24, plain_pixel_24, pixel_color_24}},
    {15, 24, setup_true, {dither_pixel_15, plain_pixel_15, pixel_color_15}},
    {8, 8, setup_8, {dither_pixel_8, plain_pixel_8, pixel_color_8}},
    {4, 4, setup_4, {dither_pixel_4, plain_pixel_4, pixel_color_4}},
};

} // namespace

uint32_t (*rgb_dither_pixel)(int, int, uint8_t, uint8_t, uint8_t) = no_dither_pixel;
uint32_t (*rgb_plain_pixel)(uint8_t, uint8_t, uint8_t) = no_plain_pixel;
void (*rgb_pixel_color)(uint32_t, uint8_t*, uint8_t*, uint8_t*) = no_pixel_color;

int RGB_init(int /*screen*/, int planes) {
    planes = std::min(planes, int{screen_planes});
    if (rgb.dib_header == nullptr) rgb.dib_header = mem_new<rgb_header>();
    if (rgb.dib_header == nullptr) return 0;
    rgb_depth = 0;
    use_pixels(NO_PIXELS);
    rgb_reset_writers();
    if (planes < 4) {
        log_message(LOG_WARNING, "RGB_init: too few planes\n");
        return 0;
    }
    const pipeline* p = pipelines;
    while (planes < p->least_planes)
        ++p;
    if (!p->setup()) return 0;
    use_pixels(p->pixels);
    rgb_depth = p->least_planes;
    return p->result;
}

void RGB_set_gamma(double gamma) {
    if (std::isfinite(gamma) && gamma > 0) rgb.gamma = gamma;
}

void rgb_end() {
    use_pixels(NO_PIXELS);
    rgb_reset_writers();
    mem_free(rgb.vmap);
    mem_free(rgb.dib_header);
    rgb = rgb_tables();
    rgb_depth = 0;
    rgb_window_mode = 0;
    rgb_window_ready = false;
}
