// The logical palette, and what a colour is as a pixel.
#include "platform/window/canvasdata.h"

namespace {

int distance(canvas_rgb a, canvas_rgb b) {
    const int red = a.red - b.red;
    const int green = a.green - b.green;
    const int blue = a.blue - b.blue;
    return red * red + green * green + blue * blue;
}

int nearest(canvas_rgb color, const canvas_rgb* table, int count) {
    int best = 0;
    for (int i = 1; i < count; ++i)
        if (distance(color, table[i]) < distance(color, table[best])) best = i;
    return best;
}

// The slots that the screen shows: on 4 planes the second sixteen belong to the dithering.
int shown_slots() {
    return screen.frame.planes == 4 ? 32 : CANVAS_PALETTE_SIZE;
}

int nearest_slot(canvas_rgb color) {
    return nearest(color, screen.palette, shown_slots());
}

uint32_t pixel_of_rgb(canvas_rgb c) {
    switch (screen.frame.planes) {
    case 15: return uint32_t(c.red >> 3) << 10 | uint32_t(c.green >> 3) << 5 | uint32_t(c.blue >> 3);
    case 16: return uint32_t(c.red >> 3) << 11 | canvas_green_bits_6(c.green) << 5 | uint32_t(c.blue >> 3);
    case 24: return uint32_t{c.red} << 16 | uint32_t{c.green} << 8 | c.blue;
    default: return uint32_t(nearest_slot(c));
    }
}

// `bits` bits stretched to a byte, so that all ones give 255.
uint8_t stretched(uint32_t value, int bits) {
    const uint32_t v = value & ((1u << bits) - 1);
    return uint8_t(v << (8 - bits) | v >> (2 * bits - 8));
}

} // namespace

int canvas_planes() {
    return screen.frame.planes;
}
int canvas_pixel_bytes() {
    return screen.frame.pixel_bytes;
}

bool canvas_set_palette(int first, const canvas_rgb* colors, int count) {
    if (first < 0 || count < 0 || first > CANVAS_PALETTE_SIZE - count) return false;
    for (int i = 0; i < count; ++i)
        screen.palette[first + i] = colors[i];
    if (screen.frame.pixel_bytes == 1)
        screen_mark(bitmap_box(&screen.frame));
    else
        for (int i = 0; i < count; ++i)
            screen.slot_pixels[first + i] = pixel_of_rgb(colors[i]);
    if (screen.palette_changed != nullptr) screen.palette_changed();
    return true;
}

canvas_rgb canvas_palette(int slot) {
    if (slot < 0 || slot >= CANVAS_PALETTE_SIZE) return {0, 0, 0};
    return screen.palette[slot];
}

canvas_rgb canvas_device_color(canvas_rgb color) {
    return screen.frame.planes == 4 ? CANVAS_CLASSIC[nearest(color, CANVAS_CLASSIC, 16)] : color;
}

uint32_t canvas_pixel(canvas_color color) {
    if ((color & CANVAS_SLOT) != 0) return screen.slot_pixels[color & 0xFF];
    return pixel_of_rgb({uint8_t(color), uint8_t(color >> 8), uint8_t(color >> 16)});
}

canvas_rgb canvas_pixel_rgb(uint32_t pixel) {
    switch (screen.frame.planes) {
    case 15: return {stretched(pixel >> 10, 5), stretched(pixel >> 5, 5), stretched(pixel, 5)};
    case 16: return {stretched(pixel >> 11, 5), stretched(pixel >> 5, 6), stretched(pixel, 5)};
    case 24: return {uint8_t(pixel >> 16), uint8_t(pixel >> 8), uint8_t(pixel)};
    default: return screen.palette[pixel & 0xFF];
    }
}

int canvas_pixel_slot(uint32_t pixel) {
    if (screen.frame.pixel_bytes == 1) return int(pixel & 0xFF);
    for (int slot = 0; slot < CANVAS_PALETTE_SIZE; ++slot)
        if (screen.slot_pixels[slot] == pixel) return slot;
    return nearest_slot(canvas_pixel_rgb(pixel));
}
