// The colours of a picture: see hash.h.
#include "output/hash.h"

#include <array>
#include <bit>

#include "output/imp.h"
#include "support/memory.h"

namespace {

constexpr const char* SOURCE = "HASH.c";
constexpr size_t PLACES = size_t{1} << 24;
constexpr size_t CELLS = PLACES / CELL_PLACES;
constexpr size_t WORDS = PLACES / 64;
constexpr int CELL_SIDE = 8;
constexpr int CELL_LEVEL = 5; // of the boxes that are cells, and the next one's are words
constexpr uint32_t NOT_COUNTED = UINT32_MAX;

// The bits of a channel's value where they stand in a place.
using place_table = std::array<uint32_t, 256>;

constexpr place_table spread_bits(int channel) {
    place_table table = {};
    for (uint32_t value = 0; value < 256; ++value) {
        for (int bit = 0; bit < 8; ++bit)
            table[value] |= (value >> bit & 1) << (3 * bit + 2 - channel);
    }
    return table;
}

constexpr place_table RED_BITS = spread_bits(0);
constexpr place_table GREEN_BITS = spread_bits(1);
constexpr place_table BLUE_BITS = spread_bits(2);

uint32_t place_of(uint8_t red, uint8_t green, uint8_t blue) {
    return RED_BITS[red] | GREEN_BITS[green] | BLUE_BITS[blue];
}

// The value of a channel (0 red, 1 green, 2 blue) at a place.
uint8_t channel_of(uint32_t place, int channel) {
    uint32_t value = 0;
    for (int bit = 0; bit < 8; ++bit)
        value |= (place >> (3 * bit + 2 - channel) & 1) << bit;
    return static_cast<uint8_t>(value);
}

uint32_t places_of(const color_box* box) {
    return uint32_t{1} << (24 - 3 * box->level);
}

uint64_t word_at(const color_hash* hash, uint32_t place) {
    return hash->cells[place / CELL_PLACES].met[place / 64 % CELL_WORDS];
}

// The bits of a box that is a word or a part of one, from bit 0 on.
uint64_t bits_of(const color_hash* hash, const color_box* box) {
    uint64_t bits = word_at(hash, box->first) >> (box->first % 64);
    uint32_t places = places_of(box);
    return places == 64 ? bits : bits & ((uint64_t{1} << places) - 1);
}

int32_t colors_of(const color_hash* hash, const color_box* box) {
    if (box->level > CELL_LEVEL) return std::popcount(bits_of(hash, box));
    const color_cell* cell = &hash->cells[box->first / CELL_PLACES];
    int32_t colors = 0;
    for (const color_cell* end = cell + places_of(box) / CELL_PLACES; cell < end; ++cell)
        colors += cell->distinct;
    return colors;
}

bool no_memory(size_t bytes, int line) {
    imp_fail_saying(IMP_NO_MEMORY, "Couldnt allocate %d bytes.  Line %d, File %s\n", imp_printed(bytes), line, SOURCE);
    return false;
}

// ---- the mean from sums --------------------------------------------------------------------------------------------

// The mean rounded, from exact numbers. The sum of shares in floating point is off from the exact mean by less than one
// unit in the last place of 256 for each of its colours, with what its last additions round; twice that is kept away
// from the places where rounding changes the value. False inside of them.
bool round_mean(uint64_t sum, uint64_t pixels, int32_t colors, uint8_t* mean) {
    constexpr double TWO_UNITS = 0x1p-44;
    uint64_t whole = 2 * pixels;
    if (whole == 0) return false; // no colours, no mean
    uint64_t rest = (2 * sum + pixels) % whole;
    double margin = (colors + 8.0) * TWO_UNITS * static_cast<double>(whole);
    *mean = static_cast<uint8_t>((2 * sum + pixels) / whole);
    return static_cast<double>(rest) > margin && static_cast<double>(whole - rest) > margin;
}

void single_color(const color_hash* hash, const color_box* box, uint8_t mean[3]) {
    uint32_t place = box->first;
    while ((word_at(hash, place) >> (place % 64) & 1) == 0)
        ++place;
    for (int c = 0; c < 3; ++c)
        mean[c] = channel_of(place, c);
}

// ---- counts of single colours --------------------------------------------------------------------------------------

// The counter of a colour that has been met.
uint32_t* counter_of(const color_hash* hash, uint32_t place) {
    uint64_t before = word_at(hash, place) & ((uint64_t{1} << (place % 64)) - 1);
    return &hash->counts[hash->bases[place / 64] + static_cast<uint32_t>(std::popcount(before))];
}

// Gives counters to the colours of a box, from `next` on. Returns the next free one.
uint32_t give_counters(color_hash* hash, const color_box* box, uint32_t next) {
    uint32_t end = box->first + places_of(box);
    for (uint32_t place = box->first & ~63U; place < end; place += 64) {
        uint32_t* base = &hash->bases[place / 64];
        if (*base != NOT_COUNTED) continue; // two boxes may share a word
        *base = next;
        next += static_cast<uint32_t>(std::popcount(word_at(hash, place)));
    }
    return next;
}

// Calls take(red, green, blue, count) for the colours of a box in order: falling at even levels and rising at odd ones,
// since each halving moves the items of a list to the heads of others.
template <typename F> void each_in_order(const color_hash* hash, const color_box* box, F take) {
    int side = 256 >> box->level;
    int turned = box->level % 2 == 0 ? side - 1 : 0; // side - 1 turns 0, 1, ... into side - 1, side - 2, ...
    uint8_t low[3];
    for (int c = 0; c < 3; ++c)
        low[c] = channel_of(box->first, c);
    for (int r = 0; r < side; ++r) {
        for (int g = 0; g < side; ++g) {
            for (int b = 0; b < side; ++b) {
                auto red = static_cast<uint8_t>(low[0] + (r ^ turned));
                auto green = static_cast<uint8_t>(low[1] + (g ^ turned));
                auto blue = static_cast<uint8_t>(low[2] + (b ^ turned));
                uint32_t place = place_of(red, green, blue);
                if (b % CELL_SIDE == 0 && hash->cells[place / CELL_PLACES].pixels == 0) {
                    b += CELL_SIDE - 1; // the rest of an empty cell's row
                    continue;
                }
                if ((word_at(hash, place) >> (place % 64) & 1) != 0) take(red, green, blue, *counter_of(hash, place));
            }
        }
    }
}

uint8_t rounded(double value) {
    value += 0.5;
    return static_cast<uint8_t>(value < 255.0 ? value : 255.0);
}

} // namespace

bool hash_start(color_hash* hash) {
    constexpr size_t BYTES = CELLS * sizeof(color_cell);
    *hash = {};
    hash->cells = static_cast<color_cell*>(mem_alloc_zeroed(BYTES));
    return hash->cells != nullptr || no_memory(BYTES, __LINE__);
}

void hash_add(color_hash* hash, const uint8_t* red, const uint8_t* green, const uint8_t* blue, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        uint32_t place = place_of(red[i], green[i], blue[i]);
        color_cell* cell = &hash->cells[place / CELL_PLACES];
        cell->met[place / 64 % CELL_WORDS] |= uint64_t{1} << (place % 64);
        ++cell->pixels;
        cell->red += red[i];
        cell->green += green[i];
        cell->blue += blue[i];
    }
}

void hash_seal(color_hash* hash) {
    for (color_cell* cell = hash->cells; cell < hash->cells + CELLS; ++cell) {
        if (cell->pixels == 0) continue; // leaves memory untouched that the picture does not need
        for (uint64_t word : cell->met)
            cell->distinct += std::popcount(word);
        hash->distinct += cell->distinct;
    }
}

void hash_split(const color_hash* hash, const color_box* box, color_box children[BOX_CHILDREN]) {
    uint32_t step = places_of(box) / BOX_CHILDREN;
    for (uint32_t k = 0; k < BOX_CHILDREN; ++k) {
        children[k] = {box->first + k * step, box->level + 1, 0, 0};
        children[k].colors = colors_of(hash, &children[k]);
    }
}

bool hash_mean(const color_hash* hash, const color_box* box, uint8_t mean[3]) {
    if (box->colors == 1) {
        single_color(hash, box, mean);
        return true;
    }
    if (box->level > CELL_LEVEL) return false;
    const color_cell* cell = &hash->cells[box->first / CELL_PLACES];
    uint64_t pixels = 0;
    uint64_t sums[3] = {};
    for (const color_cell* end = cell + places_of(box) / CELL_PLACES; cell < end; ++cell) {
        pixels += cell->pixels;
        sums[0] += cell->red;
        sums[1] += cell->green;
        sums[2] += cell->blue;
    }
    bool settled = true;
    for (int c = 0; c < 3; ++c)
        settled = round_mean(sums[c], pixels, box->colors, &mean[c]) && settled;
    return settled;
}

bool hash_recount(color_hash* hash, const color_box* boxes, int count) {
    hash->bases = mem_new_array<uint32_t>(WORDS);
    if (hash->bases == nullptr) return no_memory(WORDS * sizeof(uint32_t), __LINE__);
    for (size_t i = 0; i < WORDS; ++i)
        hash->bases[i] = NOT_COUNTED;
    uint32_t counters = 0;
    for (int i = 0; i < count; ++i)
        counters = give_counters(hash, &boxes[i], counters);
    size_t bytes = counters * sizeof(uint32_t);
    hash->counts = static_cast<uint32_t*>(mem_alloc_zeroed(bytes));
    return hash->counts != nullptr || no_memory(bytes, __LINE__);
}

void hash_count(color_hash* hash, const uint8_t* red, const uint8_t* green, const uint8_t* blue, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        uint32_t place = place_of(red[i], green[i], blue[i]);
        if (hash->bases[place / 64] != NOT_COUNTED) ++*counter_of(hash, place);
    }
}

void hash_mean_in_order(const color_hash* hash, const color_box* box, uint8_t mean[3]) {
    double total = 0.0;
    each_in_order(hash, box, [&](uint8_t, uint8_t, uint8_t, uint32_t pixels) { total += pixels; });
    double sums[3] = {};
    each_in_order(hash, box, [&](uint8_t red, uint8_t green, uint8_t blue, uint32_t pixels) {
        double share = pixels / total;
        sums[0] += share * red;
        sums[1] += share * green;
        sums[2] += share * blue;
    });
    for (int c = 0; c < 3; ++c)
        mean[c] = rounded(sums[c]);
}

void hash_free(color_hash* hash) {
    mem_free(hash->cells);
    mem_free(hash->bases);
    mem_free(hash->counts);
    *hash = {};
}
