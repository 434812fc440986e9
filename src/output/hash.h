// The colours of a picture: an exact count of each, and the way in which a box of the colour cube takes them apart.
//
// Colours are counted in a hash of colour and count first. When a hundred thousand have come that stand close together,
// or three million of any kind, the counts move to blocks of the colour cube (blocks.h), which are quicker and serve as
// they stand. The hash becomes a list in order of red, green and blue, of which each box holds a stretch. That holds
// working memory at about 32 bytes for a colour of the picture, and under 128 MB for any picture.
#pragma once

#include <cstddef>
#include <cstdint>

#include "output/blocks.h"

// A colour as red << 16 | green << 8 | blue, and the number of its pixels.
struct color_count {
    uint32_t color;
    uint32_t count;
};

constexpr int HASH_LAST_BITS = 22; // above it blocks are the smaller ones, however sparse

struct color_hash {
    color_count* cells;   // of the hash: `count` 0 is a free one; then of the list
    color_count* spare;   // as many for the list, while it is taken apart
    int bits;             // the hash has 2 to this power of cells
    int last_bits;        // and never more than 2 to this power; 0 for HASH_LAST_BITS
    color_blocks* blocks; // null while the hash serves
    bool were_sparse;     // blocks have been tried and given up
    int64_t distinct;     // colours met
};

// One box of the colour cube: both ends of a range belong to it.
struct color_box {
    uint8_t max_red, min_red;
    uint8_t max_green, min_green;
    uint8_t max_blue, min_blue;
    bool descending; // its colours come in falling order
    int32_t colors;  // distinct colours in it
    int32_t slots;   // table entries that it is given
    int64_t first;   // its stretch of the list
};

constexpr int BOX_CHILDREN = 8;

// Counts pixels from three planes. False without memory, after HASH's message; hash_free() is still to be called.
bool hash_add(color_hash* hash, const uint8_t* red, const uint8_t* green, const uint8_t* blue, size_t count);

// Ends the counting: makes the list. False without memory.
bool hash_seal(color_hash* hash);

// Gives each child (whose ranges are set, and are disjoint) its colours of the box: `colors`, `first` and the order,
// which turns round at each step down, as it would in lists whose items are moved to the head of others.
void hash_split(color_hash* hash, const color_box* box, color_box children[BOX_CHILDREN]);

// The mean colour of a box, weighted by count, on the scale 0 to 255 with a fraction. The sum runs in the order of the
// box, which decides its last bits.
struct mean_color {
    double red, green, blue;
};
mean_color hash_mean(const color_hash* hash, const color_box* box);

void hash_free(color_hash* hash);
