// The 4-plane pipeline: colours are mixed from four of sixteen, in a pattern of 4 by 4 pixels.
//
// A mix gives each of a quad's four colours a number of the pattern's 16 cells. All mixes of all quads are worked out
// once, and for each colour of 5 bits a component the table `vmap` holds the mix that comes to it. Colours that no mix
// comes to take that of a neighbour.
#include <algorithm>
#include <utility>

#include "support/log.h"
#include "support/memory.h"
#include "tools/rgbdata.h"

namespace {

// Components of the sixteen colours: 0, 32768, 49152 or 65535.
enum : uint8_t { NONE, HALF, THREE_QUARTERS, FULL };
constexpr uint8_t dither_colors[16][3] = {
    {NONE, NONE, NONE}, {HALF, NONE, NONE}, {NONE, HALF, NONE}, {HALF, HALF, NONE},
    {NONE, NONE, HALF}, {HALF, NONE, HALF}, {NONE, HALF, HALF}, {THREE_QUARTERS, THREE_QUARTERS, THREE_QUARTERS},
    {HALF, HALF, HALF}, {FULL, NONE, NONE}, {NONE, FULL, NONE}, {FULL, FULL, NONE},
    {NONE, NONE, FULL}, {FULL, NONE, FULL}, {NONE, FULL, FULL}, {FULL, FULL, FULL},
};
constexpr int component_words[4] = {0, 32768, 49152, 65535};
constexpr int dither_levels[4] = {0, 2, 5, 10};    // how bright it looks
constexpr int dither_bytes[4] = {0, 51, 128, 255}; // the same, for the search of the nearest
constexpr int FULL_LEVEL = 10;

constexpr uint8_t quad_colors[QUADS][4] = {
    {1, 0, 2, 6},   {1, 0, 5, 6},    {0, 5, 4, 6}, {1, 3, 2, 6},  {1, 3, 5, 6},   {3, 5, 8, 6},    {5, 1, 3, 11},
    {5, 1, 13, 11}, {1, 13, 9, 11},  {5, 8, 3, 7}, {5, 3, 11, 7}, {5, 13, 11, 7}, {13, 15, 11, 7}, {5, 4, 6, 14},
    {5, 4, 13, 14}, {4, 13, 12, 14}, {5, 8, 6, 7}, {5, 6, 14, 7}, {5, 13, 14, 7}, {13, 15, 14, 7}, {3, 2, 6, 14},
    {3, 2, 11, 14}, {2, 11, 10, 14}, {3, 8, 6, 7}, {3, 6, 14, 7}, {3, 11, 14, 7}, {11, 15, 14, 7},
};

// In which order a mix hands out the cells: bits of a mask.
constexpr uint16_t cell_order[CELLS] = {1, 1024, 4, 256, 32, 32768, 128, 8192, 2, 2048, 8, 512, 16, 16384, 64, 4096};

int brightness(uint8_t color) {
    const uint8_t* c = dither_colors[color];
    return (component_words[c[0]] + 2 * component_words[c[1]]) * 3 + component_words[c[2]];
}

void sort_quads() {
    for (int q = 0; q < QUADS; ++q) {
        uint8_t* quad = rgb.color_quads[q];
        std::copy_n(quad_colors[q], 4, quad);
        for (int i = 0; i < 3; ++i)
            for (int j = i + 1; j < 4; ++j)
                if (brightness(quad[i]) > brightness(quad[j])) std::swap(quad[i], quad[j]);
    }
}

// Cells for each of the four colours; their sum is 16.
struct mix_weights {
    int cells[4];
};

void make_masks(const mix_weights& weights, int mix) {
    rgb.mix_low[mix] = 0;
    rgb.mix_high[mix] = 0;
    int next = 0;
    for (unsigned color = 0; color < 4; ++color)
        for (int i = 0; i < weights.cells[color]; ++i, ++next) {
            if ((color & 1) != 0) rgb.mix_low[mix] = static_cast<uint16_t>(rgb.mix_low[mix] | cell_order[next]);
            if ((color & 2) != 0) rgb.mix_high[mix] = static_cast<uint16_t>(rgb.mix_high[mix] | cell_order[next]);
        }
}

// A component of the mix of a quad, 0 to 31.
size_t mixed(const mix_weights& weights, const uint8_t* quad, int component) {
    int sum = 0;
    for (int i = 0; i < 4; ++i)
        sum += weights.cells[i] * dither_levels[dither_colors[quad[i]][component]];
    constexpr int most = CELLS * FULL_LEVEL;
    return static_cast<size_t>((sum * 31 + most / 2) / most);
}

void enter_mix(const mix_weights& weights, int mix) {
    make_masks(weights, mix);
    for (int q = 0; q < QUADS; ++q) {
        const uint8_t* quad = rgb.color_quads[q];
        const size_t index = mixed(weights, quad, 0) << 10 | mixed(weights, quad, 1) << 5 | mixed(weights, quad, 2);
        rgb.vmap[index] = static_cast<uint16_t>(q << 10 | mix);
    }
}

void enter_mixes() {
    int mix = 0;
    for (int a = 0; a <= CELLS; ++a)
        for (int b = 0; a + b <= CELLS; ++b)
            for (int c = 0; a + b + c <= CELLS; ++c)
                enter_mix({{a, b, c, CELLS - a - b - c}}, mix++);
}

// Gives an entry what one of its darker neighbours has: first along its strongest component.
void fill_entry(uint16_t* entry, int r, int g, int b) {
    constexpr int red = 1 << 10;
    constexpr int green = 1 << 5;
    constexpr int blue = 1;
    if (r != 0 && g <= r && b <= r)
        *entry = *(entry - red);
    else if (g != 0 && g >= r && b <= g)
        *entry = *(entry - green);
    else if (b != 0 && b >= r && b >= g)
        *entry = *(entry - blue);
    if (r != 0 && static_cast<int16_t>(*entry) < 1) *entry = *(entry - red);
    if (g != 0 && static_cast<int16_t>(*entry) < 1) *entry = *(entry - green);
    if (b != 0 && static_cast<int16_t>(*entry) < 1) *entry = *(entry - blue);
}

// One pass over all entries; how many stay empty.
int fill_pass() {
    int empty = 0;
    for (int r = 31; r >= 0; --r)
        for (int g = 31; g >= 0; --g)
            for (int b = 31; b >= 0; --b) {
                uint16_t* entry = &rgb.vmap[r << 10 | g << 5 | b];
                if (*entry != VMAP_EMPTY) continue;
                fill_entry(entry, r, g, b);
                if (*entry == VMAP_EMPTY) ++empty;
            }
    return empty;
}

bool init_vmap() {
    rgb.vmap = mem_new_array<uint16_t>(VMAP_SIZE);
    if (rgb.vmap == nullptr) {
        log_message(LOG_WARNING, "init_vmap: out of memory\n");
        return false;
    }
    std::fill_n(rgb.vmap, VMAP_SIZE, VMAP_EMPTY);
    return true;
}

} // namespace

bool dither4_make() {
    if (rgb.vmap != nullptr) return true; // they are the same each time
    sort_quads();
    if (!init_vmap()) return false;
    enter_mixes();
    while (fill_pass() != 0) // black is mixed of black alone, so each pass fills some
        continue;
    return true;
}

unsigned dither4_nearest(uint8_t red, uint8_t green, uint8_t blue) {
    const int wanted[3] = {red, green, blue};
    int best = INT32_MAX;
    unsigned found = 0;
    for (unsigned i = 0; i < 16; ++i) {
        int distance = 0;
        for (int c = 0; c < 3; ++c) {
            const int d = wanted[c] - dither_bytes[dither_colors[i][c]];
            distance += d * d;
        }
        if (distance >= best) continue;
        best = distance;
        found = i;
    }
    return found;
}
