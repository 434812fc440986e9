// The colours of a picture: which ones it has, how boxes of the colour cube take them apart, and the mean of a box.
//
// A colour stands at its *place*: the bits of red, green and blue by turns, from the highest on. Halving the cube in
// all three directions again and again gives boxes that are stretches of places. One bit a colour and the sums of each
// cell of eight by eight by eight are enough to take them apart and for most means: 3.4 MB, whatever the picture.
//
// A mean is defined as a sum of shares in floating point, in the order of red, green and blue, rounded to a whole
// value. The exact mean gives the same value unless it lies so close to a half that the order of the additions decides.
// Only for such boxes, and for those smaller than a cell, single colours are counted, in a second pass over the
// picture, with at most 4 bytes a colour and 1 MB.
//
// Use: hash_start(), hash_add() for all pixels, hash_seal(); then hash_split() and hash_mean(); for the boxes that
// hash_mean() does not settle hash_recount(), hash_count() for all pixels again, and hash_mean_in_order(); hash_free()
// in any case.
#pragma once

#include <cstddef>
#include <cstdint>

constexpr int CELL_PLACES = 512; // colours of a cell
constexpr int CELL_WORDS = CELL_PLACES / 64;

struct color_cell {
    uint64_t met[CELL_WORDS]; // a bit a colour
    uint64_t pixels, red, green, blue;
    int32_t distinct; // colours met; known when sealed
};

struct color_hash {
    color_cell* cells;
    int64_t distinct; // colours of the picture; known when sealed
    uint32_t* bases;  // of the second pass: by 64 places, the number of their first counter
    uint32_t* counts; // pixels of each colour there, in order of places
};

// A box of the colour cube: its sides are 256 >> level long.
struct color_box {
    uint32_t first; // its first place
    int32_t level;  // 0 the cube, 8 a single colour
    int32_t colors; // distinct colours in it
    int32_t slots;  // table entries that it is given
};

constexpr int BOX_CHILDREN = 8;

// Takes the memory of the first pass. False without it, after HASH's message.
bool hash_start(color_hash* hash);

// Adds pixels from three planes.
void hash_add(color_hash* hash, const uint8_t* red, const uint8_t* green, const uint8_t* blue, size_t count);

// Ends the first pass: counts the distinct colours.
void hash_seal(color_hash* hash);

// Halves a box of a level below 8: the children with their colours, and no slots yet. Bit 2 of a child's number is the
// upper half of red, bit 1 of green, bit 0 of blue.
void hash_split(const color_hash* hash, const color_box* box, color_box children[BOX_CHILDREN]);

// The mean red, green and blue of a box that has colours, rounded. False when it takes hash_mean_in_order() to tell.
bool hash_mean(const color_hash* hash, const color_box* box, uint8_t mean[3]);

// Takes the memory for counting the single colours of these boxes. False without it, after HASH's message.
bool hash_recount(color_hash* hash, const color_box* boxes, int count);

// Counts pixels from three planes, as far as they fall into those boxes.
void hash_count(color_hash* hash, const uint8_t* red, const uint8_t* green, const uint8_t* blue, size_t count);

// The mean of one of those boxes.
void hash_mean_in_order(const color_hash* hash, const color_box* box, uint8_t mean[3]);

void hash_free(color_hash* hash);
