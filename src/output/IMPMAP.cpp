// Maps the pixels of three planes to the entries of a colour table, through a table of the colour cube in cells of
// eight by eight by eight: each cell holds the entry nearest to its low corner.
#include <cstring>

#include "output/mkvlt.h"
#include "support/memory.h"

namespace {

constexpr const char* SOURCE = "IMPMKVLT.c";
constexpr int CELLS = 32; // in each direction
constexpr int CELL_SHIFT = 3;
constexpr size_t CELL_COUNT = size_t{CELLS} * CELLS * CELLS;

// ---- the inverse table ---------------------------------------------------------------------------------------------

// The table's channels apart, as 16-bit numbers, so that distances are worked out many at a time.
struct channel_lists {
    int32_t count;
    int32_t red[256], green[256], blue[256];
};

void fill_lists(channel_lists* lists, const Impack* pack) {
    lists->count = pack->vlt_count;
    for (int32_t i = 0; i < pack->vlt_count; ++i) {
        lists->red[i] = pack->vlt[i].red;
        lists->green[i] = pack->vlt[i].green;
        lists->blue[i] = pack->vlt[i].blue;
    }
}

// The lowest of the entries nearest to a colour. A distance of 18 bits and the index share one number, so that the
// smallest of them is the one looked for.
uint8_t nearest_entry(const channel_lists* lists, int32_t red, int32_t green, int32_t blue) {
    int32_t best = INT32_MAX;
    for (int32_t i = 0; i < lists->count; ++i) {
        int32_t r = lists->red[i] - red;
        int32_t g = lists->green[i] - green;
        int32_t b = lists->blue[i] - blue;
        int32_t candidate = (r * r + g * g + b * b) * 256 + i;
        best = candidate < best ? candidate : best;
    }
    return static_cast<uint8_t>(best);
}

void invert_red_step(uint8_t* cells, const channel_lists* lists, int red) {
    for (int green = 0; green < CELLS; ++green) {
        for (int blue = 0; blue < CELLS; ++blue) {
            *cells++ = nearest_entry(lists, red << CELL_SHIFT, green << CELL_SHIFT, blue << CELL_SHIFT);
        }
    }
}

int imp_invert_vlt(const Impack* pack, uint8_t* cells, const imp_progress* p) {
    bool tells = imp_wants(p, IMP_MESSAGE_STAGES | IMP_MESSAGE_LINES);
    if (imp_wants(p, IMP_MESSAGE_STAGES)) imp_tell(p, IMP_MESSAGE_STAGES, "       Inverting color table.");
    channel_lists lists;
    fill_lists(&lists, pack);
    for (int red = 0; red < CELLS; ++red) {
        invert_red_step(cells + red * CELLS * CELLS, &lists, red);
        if (imp_step_stops(p)) return IMP_STOPPED;
        if (tells) imp_tell(p, IMP_MESSAGE_LINES, "       Percent: %5.2lf\r", red * 3.125 + 0.005);
    }
    if (tells) imp_tell(p, IMP_MESSAGE_LINES, "       Percent: %5.2lf\n", 100.0);
    return IMP_OK;
}

size_t cell_of(uint8_t red, uint8_t green, uint8_t blue) {
    size_t row = static_cast<size_t>(red >> CELL_SHIFT) * CELLS + static_cast<size_t>(green >> CELL_SHIFT);
    return row * CELLS + static_cast<size_t>(blue >> CELL_SHIFT);
}

// ---- nearest colour ------------------------------------------------------------------------------------------------

int imp_nearest_map(Impack* pack, const uint8_t* cells, imp_progress* p) {
    int64_t i = 0;
    for (int32_t y = 0; y < pack->ysize; ++y) {
        for (int64_t end = i + pack->xsize; i < end; ++i)
            pack->index_plane[i] = cells[cell_of(pack->red_plane[i], pack->green_plane[i], pack->blue_plane[i])];
        if (imp_line_done(p, pack, y)) return IMP_STOPPED;
    }
    imp_lines_done(p, pack);
    return IMP_OK;
}

// ---- error diffusion -----------------------------------------------------------------------------------------------

// Red, green, blue and an unused lane of one line, and the same of the line below it two pixels behind: an error goes
// no further than that, so that the two lines run side by side.
using lanes = int16_t __attribute__((vector_size(16)));
using halves = int64_t __attribute__((vector_size(16)));

constexpr int32_t LAG = 2;  // pixels between the lines of a pair
constexpr int32_t LEAD = 8; // pixels between two pairs that run together: each is a chain in which every pixel waits
                            // for the one before, and the processor works on both at a time
constexpr int32_t PAIRS = 2;
constexpr size_t PIXEL_LANES = 4;

constexpr lanes ZERO = {};
constexpr lanes FIRST_LINE = {-1, -1, -1, -1, 0, 0, 0, 0};
constexpr lanes SECOND_LINE = {0, 0, 0, 0, -1, -1, -1, -1};

struct diffusion {
    const uint8_t* cells;
    int32_t width;
    int64_t entries[256]; // of the table, as the lanes of a pixel
    int16_t* errors;      // that come to the next line from above, in lanes, with a margin before and behind
};

// Two lines on their way.
struct line_pair {
    lanes lines;        // masks the second line where there is none
    lanes right;        // errors for the next pixel
    lanes below;        // for the line below at the last pixel, so far
    lanes below_right;  // and at this one
    int64_t complete;   // what the second line gets at its next pixel
    int16_t* pixels[2]; // of the lines, in lanes, with a margin before and behind
    uint8_t* index;     // of the first line; those of the second follow
};

int64_t load_pixel(const int16_t* from, int64_t x) {
    int64_t four;
    std::memcpy(&four, from + x * static_cast<int64_t>(PIXEL_LANES), sizeof four);
    return four;
}

// The cell of a pixel whose channels, shifted to cells, stand in 16 bits each: the product puts red, green and blue
// side by side above bit 32.
size_t cell_of_lanes(int64_t pixel) {
    constexpr uint64_t SIDE_BY_SIDE = uint64_t{1} << 42 | uint64_t{1} << 21 | 1;
    return (static_cast<uint64_t>(pixel) & 0xFFFFFFFFFFFF) * SIDE_BY_SIDE >> 32 & (CELL_COUNT - 1);
}

// One pixel of both lines: the first at x, the second at x - LAG. `in_picture` masks the lines that have a pixel there.
// The shares of an error are 7/16 to the right, 5/16 below, 3/16 below to the left, and the rest below to the right, so
// that they add up to it; each has the sign of the error.
inline void diffuse_pixel(const diffusion* d, line_pair* c, int32_t x, lanes in_picture, uint8_t found[2]) {
    auto value = (lanes)(halves){load_pixel(c->pixels[0], x), load_pixel(c->pixels[1], x - LAG)};
    value += (lanes)(halves){load_pixel(d->errors, x), c->complete} + c->right;
    value = value > ZERO ? value : ZERO;
    value = value < 255 ? value : ZERO + 255;
    auto cells = (halves)(value >> CELL_SHIFT);
    found[0] = d->cells[cell_of_lanes(cells[0])];
    found[1] = d->cells[cell_of_lanes(cells[1])];
    lanes error = (value - (lanes)(halves){d->entries[found[0]], d->entries[found[1]]}) & in_picture;
    lanes sign = error >> 15;
    lanes magnitude = (error ^ sign) - sign;
    lanes right = (magnitude >> 1) - (magnitude >> 4);
    lanes below = magnitude * 5 >> 4;
    lanes below_left = magnitude * 3 >> 4;
    lanes below_right = magnitude - right - below - below_left;
    auto complete = (halves)(c->below + ((below_left ^ sign) - sign));
    c->right = (right ^ sign) - sign;
    c->below = c->below_right + ((below ^ sign) - sign);
    c->below_right = (below_right ^ sign) - sign;
    c->complete = complete[0];
    int64_t out = complete[1];
    std::memcpy(d->errors + (x - LAG - 1) * static_cast<int64_t>(PIXEL_LANES), &out, sizeof out);
}

// The pixels at x of a pair of lines, where they are in the picture.
inline void diffuse_step(const diffusion* d, line_pair* pair, int32_t x) {
    uint8_t found[2];
    lanes in_picture = pair->lines;
    if (x >= d->width) in_picture &= SECOND_LINE;
    if (x < LAG || x >= d->width + LAG) in_picture &= FIRST_LINE;
    diffuse_pixel(d, pair, x, in_picture, found);
    if (x < d->width) pair->index[x] = found[0];
    if (pair->lines[PIXEL_LANES] != 0 && x >= LAG && x < d->width + LAG) pair->index[d->width + x - LAG] = found[1];
}

// All pixels of one or two pairs. What the first hands down at a pixel stands in `errors` before the second comes
// there.
void diffuse_pairs(const diffusion* d, line_pair pairs[PAIRS], int32_t count) {
    int32_t steps = d->width + LAG + 1;
    int32_t alone = count == 1 || steps < LEAD ? steps : LEAD;
    for (int32_t x = 0; x < alone; ++x)
        diffuse_step(d, &pairs[0], x);
    if (count == 1) return;
    int32_t x = LEAD;
    for (; x < steps; ++x) {
        diffuse_step(d, &pairs[0], x);
        diffuse_step(d, &pairs[1], x - LEAD);
    }
    for (; x < steps + LEAD; ++x)
        diffuse_step(d, &pairs[1], x - LEAD);
}

void load_line(int16_t* to, const Impack* pack, int64_t at) {
    for (int32_t x = 0; x < pack->xsize; ++x, to += PIXEL_LANES) {
        to[0] = pack->red_plane[at + x];
        to[1] = pack->green_plane[at + x];
        to[2] = pack->blue_plane[at + x];
    }
}

// Readies the pair of lines from y on, of which the last line of the picture may be alone. Returns how many there are.
int32_t begin_pair(line_pair* pair, const Impack* pack, int32_t y) {
    int64_t at = int64_t{y} * pack->xsize;
    int32_t lines = pack->ysize - y < 2 ? pack->ysize - y : 2;
    if (lines < 1) return 0;
    load_line(pair->pixels[0], pack, at);
    if (lines == 2) load_line(pair->pixels[1], pack, at + pack->xsize);
    pair->index = pack->index_plane + at;
    pair->lines = lines == 2 ? FIRST_LINE | SECOND_LINE : FIRST_LINE;
    pair->right = pair->below = pair->below_right = ZERO;
    pair->complete = 0;
    return lines;
}

int diffuse_all(Impack* pack, const diffusion* d, line_pair pairs[PAIRS], imp_progress* p) {
    for (int32_t y = 0; y < pack->ysize;) {
        int32_t lines = begin_pair(&pairs[0], pack, y);
        int32_t more = begin_pair(&pairs[1], pack, y + lines);
        diffuse_pairs(d, pairs, more > 0 ? 2 : 1);
        for (int32_t end = y + lines + more; y < end; ++y) {
            if (imp_line_done(p, pack, y)) return IMP_STOPPED;
        }
    }
    imp_lines_done(p, pack);
    return IMP_OK;
}

int imp_dither_map(Impack* pack, const uint8_t* cells, imp_progress* p) {
    constexpr size_t MARGIN = LAG + 1;
    if (imp_wants(p, IMP_MESSAGE_STAGES)) imp_tell(p, IMP_MESSAGE_STAGES, "       Mapping colors to vlt.");
    size_t line = (static_cast<size_t>(pack->xsize) + 2 * MARGIN) * PIXEL_LANES;
    size_t bytes = line * (2 * PAIRS + 1) * sizeof(int16_t);
    mem_guard<int16_t> block(static_cast<int16_t*>(mem_alloc_zeroed(bytes)));
    if (!block) {
        return imp_fail_saying(IMP_NO_MEMORY, "Couldnt allocate %d bytes.  Line %d, File %s\n", imp_printed(bytes),
                               __LINE__, SOURCE);
    }
    int16_t* first = block.get() + MARGIN * PIXEL_LANES;
    line_pair pairs[PAIRS] = {};
    for (size_t i = 0; i < 2 * PAIRS; ++i)
        pairs[i / 2].pixels[i % 2] = first + i * line;
    diffusion d = {cells, pack->xsize, {}, first + 2 * PAIRS * line};
    for (int32_t i = 0; i < pack->vlt_count; ++i) {
        const rzl_vlt_entry* e = &pack->vlt[i];
        d.entries[i] = int64_t{e->blue} << 32 | int64_t{e->green} << 16 | e->red;
    }
    return diffuse_all(pack, &d, pairs, p);
}

} // namespace

int imp_map_colors(Impack* pack, int32_t dither, imp_progress* p) {
    if (pack->index_plane == nullptr) return imp_fail(IMP_BAD_PACK);
    mem_guard<uint8_t> cells(mem_new_array<uint8_t>(CELL_COUNT));
    if (!cells) {
        return imp_fail_saying(IMP_NO_MEMORY, "Could not allocate %d bytes.  Line %d, File %s\n",
                               imp_printed(CELL_COUNT), __LINE__, SOURCE);
    }
    int code = imp_invert_vlt(pack, cells.get(), p);
    if (code != IMP_OK) return code;
    if (dither == IMP_DITHER_DIFFUSE) return imp_dither_map(pack, cells.get(), p);
    if (dither == IMP_DITHER_NEAREST) return imp_nearest_map(pack, cells.get(), p);
    return imp_fail_saying(IMP_BAD_FLAG, "Bad dithering method %x.  Line %d, File %s\n", static_cast<unsigned>(dither),
                           __LINE__, SOURCE);
}
