// Counting the colours of a picture: see hash.h.
#include "output/hash.h"

#include <cstring>
#include <utility>

#include "output/imp.h"
#include "support/memory.h"

namespace {

constexpr const char* SOURCE = "HASH.c";
constexpr int FIRST_BITS = 6;
constexpr size_t TABLE_COLORS = size_t{1} << 24;
constexpr size_t AHEAD = 16; // pixels between asking for a cell and looking at it

bool no_memory(size_t bytes, int line) {
    imp_fail_saying(IMP_NO_MEMORY, "Couldnt allocate %d bytes.  Line %d, File %s\n", imp_printed(bytes), line, SOURCE);
    return false;
}

uint32_t color_of(uint8_t red, uint8_t green, uint8_t blue) {
    return uint32_t{red} << 16 | uint32_t{green} << 8 | blue;
}

// Colours that differ in their lowest bits only share a line of the processor's cache, since neighbouring pixels do.
size_t cell_of(uint32_t color, int bits) {
    uint32_t low = (color & 1) | (color >> 7 & 2) | (color >> 14 & 4);
    uint32_t high = (color & 0xFEFEFE) * 0x9E3779B1U;
    return (size_t{high >> (32 - bits)} & ~size_t{7}) | low;
}

color_count* find_cell(color_count* cells, int bits, uint32_t color) {
    size_t mask = (size_t{1} << bits) - 1;
    size_t at = cell_of(color, bits);
    while (cells[at].count != 0 && cells[at].color != color)
        at = (at + 1) & mask;
    return &cells[at];
}

// ---- growing -------------------------------------------------------------------------------------------------------

bool start(color_hash* hash, int bits) {
    size_t bytes = sizeof(color_count) << bits;
    hash->cells = static_cast<color_count*>(mem_alloc_zeroed(bytes));
    hash->bits = bits;
    return hash->cells != nullptr || no_memory(bytes, __LINE__);
}

bool change_to_table(color_hash* hash) {
    hash->table = static_cast<uint32_t*>(mem_alloc_zeroed(TABLE_COLORS * sizeof(uint32_t)));
    if (hash->table == nullptr) return no_memory(TABLE_COLORS * sizeof(uint32_t), __LINE__);
    for (size_t i = 0; i < size_t{1} << hash->bits; ++i) {
        if (hash->cells[i].count != 0) hash->table[hash->cells[i].color] = hash->cells[i].count;
    }
    mem_free(hash->cells);
    hash->cells = nullptr;
    return true;
}

bool grow(color_hash* hash) {
    if (hash->bits >= (hash->last_bits != 0 ? hash->last_bits : HASH_LAST_BITS)) return change_to_table(hash);
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

void add_to_table(color_hash* hash, const uint8_t* red, const uint8_t* green, const uint8_t* blue, size_t count) {
    int64_t found = 0;
    for (size_t i = 0; i < count; ++i) {
        uint32_t* counter = &hash->table[color_of(red[i], green[i], blue[i])];
        found += *counter == 0 ? 1 : 0;
        ++*counter;
    }
    hash->distinct += found;
}

// Adds pixels until they end or the hash is full. Returns how many.
size_t add_to_cells(color_hash* hash, const uint8_t* red, const uint8_t* green, const uint8_t* blue, size_t count) {
    color_count* last = nullptr;
    for (size_t i = 0; i < count; ++i) {
        if (i + AHEAD < count) {
            uint32_t ahead = color_of(red[i + AHEAD], green[i + AHEAD], blue[i + AHEAD]);
            __builtin_prefetch(&hash->cells[cell_of(ahead, hash->bits)], 1);
        }
        uint32_t color = color_of(red[i], green[i], blue[i]);
        if (last != nullptr && last->color == color) {
            ++last->count;
            continue;
        }
        last = find_cell(hash->cells, hash->bits, color);
        if (last->count++ != 0) continue;
        last->color = color;
        ++hash->distinct;
        if (is_full(hash)) return i + 1;
    }
    return count;
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

// ---- the table -----------------------------------------------------------------------------------------------------

const uint32_t* table_row(const color_hash* hash, int red, int green) {
    return hash->table + (static_cast<size_t>(red) << 16 | static_cast<size_t>(green) << 8);
}

int32_t colors_of_table(const color_hash* hash, const color_box* box) {
    int32_t colors = 0;
    for (int red = box->min_red; red <= box->max_red; ++red) {
        for (int green = box->min_green; green <= box->max_green; ++green) {
            const uint32_t* row = table_row(hash, red, green);
            for (int blue = box->min_blue; blue <= box->max_blue; ++blue)
                colors += row[blue] != 0 ? 1 : 0;
        }
    }
    return colors;
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

// Calls take(color, count) for the colours of the box in its order.
template <typename T> void for_each_of_table(const color_hash* hash, const color_box* box, T take) {
    int step = box->descending ? -1 : 1;
    int reds = box->max_red - box->min_red + 1;
    int greens = box->max_green - box->min_green + 1;
    int blues = box->max_blue - box->min_blue + 1;
    int red = box->descending ? box->max_red : box->min_red;
    for (int i = 0; i < reds; ++i, red += step) {
        int green = box->descending ? box->max_green : box->min_green;
        for (int j = 0; j < greens; ++j, green += step) {
            const uint32_t* row = table_row(hash, red, green);
            int blue = box->descending ? box->max_blue : box->min_blue;
            for (int k = 0; k < blues; ++k, blue += step) {
                if (row[blue] != 0) take(static_cast<uint32_t>(red << 16 | green << 8 | blue), row[blue]);
            }
        }
    }
}

mean_color mean_of_table(const color_hash* hash, const color_box* box) {
    double total = 0.0;
    for_each_of_table(hash, box, [&](uint32_t, uint32_t count) { total += count; });
    mean_color mean = {};
    for_each_of_table(hash, box, [&](uint32_t color, uint32_t count) { add_share(&mean, color, count, total); });
    return mean;
}

} // namespace

bool hash_add(color_hash* hash, const uint8_t* red, const uint8_t* green, const uint8_t* blue, size_t count) {
    size_t done = 0;
    while (done < count) {
        if (hash->table != nullptr) {
            add_to_table(hash, red + done, green + done, blue + done, count - done);
            return true;
        }
        if (hash->cells == nullptr && !start(hash, FIRST_BITS)) return false;
        done += add_to_cells(hash, red + done, green + done, blue + done, count - done);
        if (is_full(hash) && !grow(hash)) return false;
    }
    return true;
}

bool hash_seal(color_hash* hash) {
    if (hash->table != nullptr || hash->distinct == 0) return true;
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
    if (hash->table == nullptr) {
        split_list(hash, box, children);
        return;
    }
    for (int k = 0; k < BOX_CHILDREN; ++k)
        children[k].colors = colors_of_table(hash, &children[k]);
}

mean_color hash_mean(const color_hash* hash, const color_box* box) {
    return hash->table != nullptr ? mean_of_table(hash, box) : mean_of_list(hash, box);
}

void hash_free(color_hash* hash) {
    mem_free(hash->cells);
    mem_free(hash->spare);
    mem_free(hash->table);
    *hash = {};
}
