// The tables of the four pipelines, for the files that make and use them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "tools/colors.h"

constexpr int CELLS = 16;        // of the dither: 4 by 4 pixels
constexpr int MIXES = 969;       // splits of 16 cells among four colours
constexpr int QUADS = 27;        // sets of four colours that are mixed
constexpr int CUBE_COLORS = 216; // 6 by 6 by 6
constexpr int VMAP_SIZE = 32768; // 5 bits of red, green, blue
constexpr uint16_t VMAP_EMPTY = 0xFFFF;

// Where a pixel lies in the pattern of the dither.
inline unsigned cell_of(int x, int y) {
    return static_cast<unsigned>((y & 3) << 2 | (x & 3));
}

inline size_t vmap_index(uint8_t red, uint8_t green, uint8_t blue) {
    return size_t{red} >> 3 << 10 | size_t{green} >> 3 << 5 | size_t{blue} >> 3;
}

inline size_t cube_index(unsigned red, unsigned green, unsigned blue) {
    return (red << 3 | green) << 3 | blue;
}

// What leads from the numbers that the writers of palette pipelines work out to slots.
struct rgb_header {
    uint16_t slots[256];
};

struct rgb_tables {
    double gamma = 2.05; // 2.37 once the 4-plane pipeline has been set up

    // 8 planes and more
    uint8_t gamma_table[256]; // to 80 on 8 planes, to 255 elsewhere
    uint8_t threshold_rows[CELLS][256];
    const uint8_t* row_of_cell[CELLS]; // the row that a cell uses

    // 8 planes
    uint8_t red_part[CELLS][256], green_part[CELLS][256], blue_part[CELLS][256]; // by cell: a slot is their sum
    uint8_t cube_slot[512];                                                      // by cube_index()
    color_entry cube_colors[CUBE_COLORS];

    // 4 planes
    uint16_t* vmap;                           // by vmap_index(): quad << 10 | mix. Kept until palette_end()
    uint16_t mix_low[MIXES], mix_high[MIXES]; // a bit for each cell: the two bits of a number within the quad
    uint8_t color_quads[QUADS][4];            // from dark to bright
    uint8_t slot_bytes[16][3];                // what the slots of the dither show

    rgb_header* dib_header; // kept until palette_end()
};
extern rgb_tables rgb;

// The number of the dithered colour on 4 planes, 0 to 15.
inline unsigned dither_color(unsigned cell, uint8_t red, uint8_t green, uint8_t blue) {
    const unsigned entry = rgb.vmap[vmap_index(red, green, blue)];
    const unsigned mix = entry & 1023;
    return rgb.color_quads[entry >> 10][(rgb.mix_low[mix] >> cell & 1) | (rgb.mix_high[mix] >> cell & 1) << 1];
}

// The tables of 4 planes but for slot_bytes, at the first call. False without memory.
bool dither4_make();
// The nearest of the 16 colours.
unsigned dither4_nearest(uint8_t red, uint8_t green, uint8_t blue);

// Makes what the row writers of 15 planes and more need, from gamma_table and row_of_cell.
void rgb_make_true_parts();
// Has the row writers chosen anew at their next call.
void rgb_reset_writers();
// Back to no pipeline.
void rgb_end();
