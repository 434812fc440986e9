// Counting the colours of a picture: see hash.h.
#include "output/hash.h"

#include <cstring>
#include <utility>

#include "output/imp.h"
#include "support/memory.h"

namespace {

constexpr const char* SOURCE = "HASH.c";
constexpr int FIRST_BITS = 6;
constexpr int BLOCKS_FROM_BITS = 17; // below, blocks take more than their colours are allowed
constexpr int64_t BYTES_PER_COLOR = 32;

bool no_memory(size_t bytes, int line) {
    imp_fail_saying(IMP_NO_MEMORY, "Couldnt allocate %d bytes.  Line %d, File %s\n", imp_printed(bytes), line, SOURCE);
    return false;
}

uint32_t color_of(uint8_t red, uint8_t green, uint8_t blue) {
    return uint32_t{red} << 16 | uint32_t{green} << 8 | blue;
}

// The upper bits of a product with the golden ratio spread neighbouring colours evenly.
size_t cell_of(uint32_t color, int bits) {
    return color * 0x9E3779B1U >> (32 - bits);
}

color_count* find_cell(color_count* cells, int bits, uint32_t color) {
    size_t mask = (size_t{1} << bits) - 1;
    size_t at = cell_of(color, bits);
    while (cells[at].count != 0 && cells[at].color != color)
        at = (at + 1) & mask;
    return &cells[at];
}

bool may_not_grow(const color_hash* hash) {
    return hash->bits >= (hash->last_bits != 0 ? hash->last_bits : HASH_LAST_BITS);
}

// ---- growing -------------------------------------------------------------------------------------------------------

bool start(color_hash* hash, int bits) {
    size_t bytes = sizeof(color_count) << bits;
    hash->cells = static_cast<color_count*>(mem_alloc_zeroed(bytes));
    hash->bits = bits;
    return hash->cells != nullptr || no_memory(bytes, __LINE__);
}

// Moves all counts into blocks.
bool change_to_blocks(color_hash* hash) {
    hash->blocks = blocks_new();
    if (hash->blocks == nullptr) return no_memory(sizeof(color_blocks), __LINE__);
    for (size_t i = 0; i < size_t{1} << hash->bits; ++i) {
        const color_count* cell = &hash->cells[i];
        if (cell->count != 0 && blocks_add(hash->blocks, cell->color, cell->count) < 0)
            return no_memory(sizeof(block_chunk), __LINE__);
    }
    mem_free(hash->cells);
    hash->cells = nullptr;
    return true;
}

// The blocks that the colours of the hash stand in; -1 when that can't be told.
int64_t blocks_needed(const color_hash* hash) {
    mem_guard<uint8_t> met(static_cast<uint8_t*>(mem_alloc_zeroed(BLOCK_COUNT / 8)));
    if (!met) return -1;
    int64_t blocks = 0;
    for (size_t i = 0; i < size_t{1} << hash->bits; ++i) {
        if (hash->cells[i].count == 0) continue;
        uint32_t at = block_of(hash->cells[i].color);
        auto bit = static_cast<uint8_t>(1 << at % 8);
        blocks += (met[at / 8] & bit) == 0 ? 1 : 0;
        met[at / 8] |= bit;
    }
    return blocks;
}

// Whether blocks, beside the hash that they come from, take no more than the colours are allowed.
bool suits_blocks(const color_hash* hash) {
    if (hash->bits < BLOCKS_FROM_BITS || hash->were_sparse) return false;
    int64_t needed = blocks_needed(hash);
    int64_t bytes = static_cast<int64_t>(sizeof(color_count) << hash->bits) + blocks_bytes(needed);
    return needed >= 0 && bytes <= hash->distinct * BYTES_PER_COLOR;
}

bool grow(color_hash* hash) {
    if (may_not_grow(hash) || suits_blocks(hash)) return change_to_blocks(hash);
    color_count* old = hash->cells;
    size_t count = size_t{1} << hash->bits;
    if (!start(hash, hash->bits + 1)) {
        hash->cells = old;
        --hash->bits;
        return false;
    }
    for (size_t i = 0; i < count; ++i) {
        if (old[i].count != 0) *find_cell(hash->cells, hash->bits, old[i].color) = old[i];
    }
    mem_free(old);
    return true;
}

// Three quarters: a cell takes 8 bytes and growing needs three times the old cells, which gives 32 bytes a colour.
bool is_full(const color_hash* hash) {
    return static_cast<size_t>(hash->distinct) >= (size_t{3} << hash->bits) / 4;
}

// ---- counting ------------------------------------------------------------------------------------------------------

bool add_by_hash(color_hash* hash, color_count more) {
    color_count* cell = find_cell(hash->cells, hash->bits, more.color);
    bool is_new = cell->count == 0;
    cell->color = more.color;
    cell->count += more.count;
    if (!is_new) return true;
    ++hash->distinct;
    return !is_full(hash) || grow(hash);
}

// Counts pixels in the hash until they end or it gives way to blocks. `done` gets how many.
bool add_pixels_by_hash(color_hash* hash, const uint8_t* red, const uint8_t* green, const uint8_t* blue, size_t count,
                        size_t* done) {
    size_t i = 0;
    bool good = true;
    while (good && i < count && hash->blocks == nullptr) {
        good = add_by_hash(hash, {color_of(red[i], green[i], blue[i]), 1});
        ++i;
    }
    *done = i;
    return good;
}

bool add_pixels_by_blocks(color_hash* hash, const uint8_t* red, const uint8_t* green, const uint8_t* blue,
                          size_t count) {
    for (size_t i = 0; i < count; ++i) {
        int found = blocks_add(hash->blocks, color_of(red[i], green[i], blue[i]), 1);
        if (found < 0) return no_memory(sizeof(block_chunk), __LINE__);
        hash->distinct += found;
    }
    return true;
}

// Colours that came later may stand far apart: their blocks are then given up for a hash again.
bool leave_sparse_blocks(color_hash* hash) {
    int64_t allowed = hash->distinct * BYTES_PER_COLOR;
    if (blocks_bytes(hash->blocks->count) <= allowed || may_not_grow(hash)) return true;
    color_blocks* blocks = hash->blocks;
    int bits = hash->bits;
    while ((int64_t{3} << bits) / 4 <= hash->distinct)
        ++bits;
    if (bits > HASH_LAST_BITS) return true;
    if (!start(hash, bits)) return false;
    hash->blocks = nullptr;
    hash->were_sparse = true;
    constexpr color_box ALL = {255, 0, 255, 0, 255, 0, false, 0, 0, 0};
    blocks_each(blocks, &ALL, false, hash, [](void* user, uint32_t color, uint32_t pixels) {
        auto* h = static_cast<color_hash*>(user);
        *find_cell(h->cells, h->bits, color) = {color, pixels};
    });
    blocks_free(blocks);
    return true;
}

// ---- the list ------------------------------------------------------------------------------------------------------

// Moves the cells in use to the front.
void pack_cells(color_hash* hash) {
    color_count* to = hash->cells;
    for (const color_count* from = to; from < hash->cells + (size_t{1} << hash->bits); ++from) {
        if (from->count != 0) *to++ = *from;
    }
}

// Sorts by one byte of the colour, keeping the order of equals.
void sort_by_byte(const color_count* from, color_count* to, size_t count, int shift) {
    size_t place[256] = {};
    for (size_t i = 0; i < count; ++i)
        ++place[from[i].color >> shift & 255];
    size_t sum = 0;
    for (size_t& p : place)
        sum += std::exchange(p, sum);
    for (size_t i = 0; i < count; ++i)
        to[place[from[i].color >> shift & 255]++] = from[i];
}

uint32_t channel(uint32_t color, int shift) {
    return color >> shift & 255;
}

// The child that a colour falls into: bit 2 for the upper half of red, bit 1 of green, bit 0 of blue.
int child_of(uint32_t color, const color_box* first_child) {
    return (channel(color, 16) > first_child->max_red ? 4 : 0) + (channel(color, 8) > first_child->max_green ? 2 : 0) +
           (channel(color, 0) > first_child->max_blue ? 1 : 0);
}

void split_list(color_hash* hash, const color_box* box, color_box children[BOX_CHILDREN]) {
    color_count* list = hash->cells + box->first;
    auto count = static_cast<size_t>(box->colors);
    size_t place[BOX_CHILDREN] = {};
    for (size_t i = 0; i < count; ++i)
        ++place[child_of(list[i].color, children)];
    size_t sum = 0;
    for (int k = 0; k < BOX_CHILDREN; ++k) {
        children[k].first = box->first + static_cast<int64_t>(sum);
        children[k].colors = static_cast<int32_t>(place[k]);
        sum += std::exchange(place[k], sum);
    }
    for (size_t i = 0; i < count; ++i)
        hash->spare[place[child_of(list[i].color, children)]++] = list[i];
    std::memcpy(list, hash->spare, count * sizeof *list);
}

// ---- the mean ------------------------------------------------------------------------------------------------------

void add_share(mean_color* mean, uint32_t color, uint32_t count, double total) {
    double share = static_cast<int32_t>(count) / total;
    mean->red += share * channel(color, 16);
    mean->green += share * channel(color, 8);
    mean->blue += share * channel(color, 0);
}

mean_color mean_of_list(const color_hash* hash, const color_box* box) {
    const color_count* list = hash->cells + box->first;
    double total = 0.0;
    for (int32_t i = 0; i < box->colors; ++i)
        total += list[i].count;
    mean_color mean = {};
    for (int32_t i = 0; i < box->colors; ++i) {
        const color_count* c = &list[box->descending ? box->colors - 1 - i : i];
        add_share(&mean, c->color, c->count, total);
    }
    return mean;
}

struct mean_sum {
    double total;
    mean_color mean;
};

mean_color mean_of_blocks(const color_hash* hash, const color_box* box) {
    mean_sum sum = {};
    blocks_each(hash->blocks, box, box->descending, &sum,
                [](void* user, uint32_t, uint32_t count) { static_cast<mean_sum*>(user)->total += count; });
    blocks_each(hash->blocks, box, box->descending, &sum, [](void* user, uint32_t color, uint32_t count) {
        auto* s = static_cast<mean_sum*>(user);
        add_share(&s->mean, color, count, s->total);
    });
    return sum.mean;
}

} // namespace

bool hash_add(color_hash* hash, const uint8_t* red, const uint8_t* green, const uint8_t* blue, size_t count) {
    size_t done = 0;
    if (hash->bits == 0 && !start(hash, FIRST_BITS)) return false;
    if (hash->blocks == nullptr && !add_pixels_by_hash(hash, red, green, blue, count, &done)) return false;
    if (hash->blocks == nullptr || done == count) return true;
    return add_pixels_by_blocks(hash, red + done, green + done, blue + done, count - done) && leave_sparse_blocks(hash);
}

bool hash_seal(color_hash* hash) {
    if (hash->blocks != nullptr || hash->distinct == 0) return true;
    auto count = static_cast<size_t>(hash->distinct);
    pack_cells(hash);
    auto* fitted = static_cast<color_count*>(mem_realloc(hash->cells, count * sizeof(color_count)));
    if (fitted != nullptr) hash->cells = fitted;
    hash->spare = mem_new_array<color_count>(count);
    if (hash->spare == nullptr) return false;
    for (int shift = 0; shift < 24; shift += 8) {
        sort_by_byte(hash->cells, hash->spare, count, shift);
        std::swap(hash->cells, hash->spare);
    }
    return true;
}

void hash_split(color_hash* hash, const color_box* box, color_box children[BOX_CHILDREN]) {
    for (int k = 0; k < BOX_CHILDREN; ++k)
        children[k].descending = !box->descending;
    if (hash->blocks == nullptr) {
        split_list(hash, box, children);
        return;
    }
    for (int k = 0; k < BOX_CHILDREN; ++k)
        children[k].colors = blocks_colors(hash->blocks, &children[k]);
}

mean_color hash_mean(const color_hash* hash, const color_box* box) {
    return hash->blocks != nullptr ? mean_of_blocks(hash, box) : mean_of_list(hash, box);
}

void hash_free(color_hash* hash) {
    mem_free(hash->cells);
    mem_free(hash->spare);
    blocks_free(hash->blocks);
    *hash = {};
}
