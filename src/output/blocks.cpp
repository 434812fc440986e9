// Counts of colours in blocks: see blocks.h.
#include "output/blocks.h"

#include "output/hash.h"
#include "support/memory.h"

namespace {

constexpr int SIDE = 4;

bool is_of_whole_blocks(const color_box* box) {
    auto whole = [](int low, int high) { return low % SIDE == 0 && (high + 1) % SIDE == 0; };
    return whole(box->min_red, box->max_red) && whole(box->min_green, box->max_green) &&
           whole(box->min_blue, box->max_blue);
}

uint32_t color_at(int red, int green, int blue) {
    return static_cast<uint32_t>(red << 16 | green << 8 | blue);
}

// The counts of four neighbouring blues from a multiple of four on, or null when there are none.
const uint32_t* four_counts(const color_blocks* blocks, uint32_t color) {
    uint32_t number = blocks->index[block_of(color)];
    if (number == 0) return nullptr;
    return &blocks->chunks[number / CHUNK_BLOCKS]->counts[number % CHUNK_BLOCKS][place_in_block(color)];
}

// A range of one channel, in the order in which it is walked.
struct walk {
    int first, last, step;
};

walk walk_of(int low, int high, bool falling) {
    return falling ? walk{high, low - 1, -1} : walk{low, high + 1, 1};
}

void each_of_row(const color_blocks* blocks, uint32_t row, const walk* blues, void* user, block_callback take) {
    for (int blue = blues->first; blue != blues->last; blue += blues->step) {
        const uint32_t* four = four_counts(blocks, row | static_cast<uint32_t>(blue & ~(SIDE - 1)));
        if (four == nullptr) { // on to the last of this block
            int end = blues->step > 0 ? (blue | (SIDE - 1)) : (blue & ~(SIDE - 1));
            bool behind = blues->step > 0 ? end >= blues->last : end <= blues->last;
            if (behind) return;
            blue = end;
            continue;
        }
        uint32_t count = four[blue % SIDE];
        if (count != 0) take(user, row | static_cast<uint32_t>(blue), count);
    }
}

} // namespace

color_blocks* blocks_new() {
    return mem_new<color_blocks>();
}

void blocks_free(color_blocks* blocks) {
    if (blocks == nullptr) return;
    for (block_chunk* chunk : blocks->chunks)
        mem_free(chunk);
    mem_free(blocks);
}

uint32_t blocks_make(color_blocks* blocks, uint32_t at) {
    auto number = static_cast<uint32_t>(blocks->count) + 1;
    block_chunk** chunk = &blocks->chunks[number / CHUNK_BLOCKS];
    if (*chunk == nullptr) *chunk = mem_new<block_chunk>();
    if (*chunk == nullptr) return 0;
    ++blocks->count;
    blocks->index[at] = number;
    return number;
}

int32_t blocks_colors(const color_blocks* blocks, const color_box* box) {
    int32_t colors = 0;
    if (!is_of_whole_blocks(box)) {
        blocks_each(blocks, box, false, &colors,
                    [](void* user, uint32_t, uint32_t) { ++*static_cast<int32_t*>(user); });
        return colors;
    }
    for (int red = box->min_red; red <= box->max_red; red += SIDE) {
        for (int green = box->min_green; green <= box->max_green; green += SIDE) {
            const uint32_t* row = &blocks->index[block_of(color_at(red, green, 0))];
            for (int blue = box->min_blue / SIDE; blue <= box->max_blue / SIDE; ++blue) {
                uint32_t number = row[blue];
                if (number != 0) colors += blocks->chunks[number / CHUNK_BLOCKS]->used[number % CHUNK_BLOCKS];
            }
        }
    }
    return colors;
}

void blocks_each(const color_blocks* blocks, const color_box* box, bool falling, void* user, block_callback take) {
    if (box->min_red > box->max_red || box->min_green > box->max_green || box->min_blue > box->max_blue) return;
    walk reds = walk_of(box->min_red, box->max_red, falling);
    walk greens = walk_of(box->min_green, box->max_green, falling);
    walk blues = walk_of(box->min_blue, box->max_blue, falling);
    for (int red = reds.first; red != reds.last; red += reds.step) {
        for (int green = greens.first; green != greens.last; green += greens.step)
            each_of_row(blocks, color_at(red, green, 0), &blues, user, take);
    }
}
