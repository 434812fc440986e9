// Counts of colours in blocks of four by four by four, made as colours come: quicker than a hash, since neighbouring
// pixels have neighbouring colours, and small where colours stand close to each other, as in photographs.
#pragma once

#include <cstddef>
#include <cstdint>

struct color_box;

constexpr int BLOCK_COLORS = 64;
constexpr int CHUNK_BLOCKS = 1024;
constexpr int BLOCK_COUNT = 1 << 18; // of the whole cube
constexpr int CHUNKS_MAX = BLOCK_COUNT / CHUNK_BLOCKS + 1;

// Some blocks, which are taken from memory together.
struct block_chunk {
    uint32_t counts[CHUNK_BLOCKS][BLOCK_COLORS];
    uint8_t used[CHUNK_BLOCKS]; // colours of the block that have a count
};

struct color_blocks {
    uint32_t index[BLOCK_COUNT]; // number of the block with red >> 2, green >> 2, blue >> 2; 0 for none
    block_chunk* chunks[CHUNKS_MAX];
    int32_t count; // blocks made; their numbers begin at 1
};

// Bytes that a number of blocks takes.
constexpr int64_t blocks_bytes(int64_t count) {
    int64_t chunks = (count + CHUNK_BLOCKS) / CHUNK_BLOCKS;
    return static_cast<int64_t>(sizeof(color_blocks)) + chunks * static_cast<int64_t>(sizeof(block_chunk));
}

constexpr uint32_t block_of(uint32_t color) {
    return (color >> 6 & 0x3F000) | (color >> 4 & 0xFC0) | (color >> 2 & 0x3F);
}
constexpr uint32_t place_in_block(uint32_t color) {
    return (color >> 12 & 0x30) | (color >> 6 & 0xC) | (color & 3);
}

// Null without memory.
color_blocks* blocks_new();
void blocks_free(color_blocks* blocks); // null does nothing

// Makes a block. Its number, or 0 without memory.
uint32_t blocks_make(color_blocks* blocks, uint32_t at);

// Adds to the count of a colour. The number of colours that are new by it (1 or 0), or -1 without memory.
inline int blocks_add(color_blocks* blocks, uint32_t color, uint32_t count) {
    uint32_t at = block_of(color);
    uint32_t number = blocks->index[at];
    if (number == 0) {
        number = blocks_make(blocks, at);
        if (number == 0) return -1;
    }
    block_chunk* chunk = blocks->chunks[number / CHUNK_BLOCKS];
    uint32_t* counter = &chunk->counts[number % CHUNK_BLOCKS][place_in_block(color)];
    uint32_t before = *counter;
    *counter = before + count;
    if (before != 0) return 0;
    ++chunk->used[number % CHUNK_BLOCKS];
    return 1;
}

// The colours of a box that have a count.
int32_t blocks_colors(const color_blocks* blocks, const color_box* box);

// Calls take(user, color, count) for each of them, in rising or falling order of red, green and blue.
using block_callback = void (*)(void* user, uint32_t color, uint32_t count);
void blocks_each(const color_blocks* blocks, const color_box* box, bool falling, void* user, block_callback take);
