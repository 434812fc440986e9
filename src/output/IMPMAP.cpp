// Maps the pixels of three planes to the entries of a colour table, through a table of the colour cube in cells of
// eight by eight by eight: each cell holds the entry nearest to its low corner.
#include <initializer_list>

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

size_t cell_of(int red, int green, int blue) {
    return static_cast<size_t>((red >> CELL_SHIFT) * CELLS * CELLS + (green >> CELL_SHIFT) * CELLS +
                               (blue >> CELL_SHIFT));
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

// The shares of an error: 7/16 to the right, 5/16 below, 3/16 below to the left, and the rest below to the right, so
// that they add up to it.
struct error_shares {
    int16_t right, below, below_left, below_right;
};

constexpr int ERROR_MAX = 255;

// By the error plus ERROR_MAX.
struct share_table {
    error_shares shares[2 * ERROR_MAX + 1];
};

constexpr share_table make_shares() {
    share_table t = {};
    for (int e = -ERROR_MAX; e <= ERROR_MAX; ++e) {
        int magnitude = e < 0 ? -e : e;
        int sign = e < 0 ? -1 : 1;
        int right = (magnitude >> 1) - (magnitude >> 4);
        int below = (5 * magnitude) >> 4;
        int below_left = (3 * magnitude) >> 4;
        int below_right = magnitude - right - below - below_left;
        t.shares[e + ERROR_MAX] = {static_cast<int16_t>(sign * right), static_cast<int16_t>(sign * below),
                                   static_cast<int16_t>(sign * below_left), static_cast<int16_t>(sign * below_right)};
    }
    return t;
}

constexpr share_table SHARES = make_shares();

// One channel on its way along a line.
struct channel_walk {
    const uint8_t* plane;
    const int16_t* current; // errors from the line above
    int16_t* next;          // errors for the line below
    int right;              // for the next pixel
    int below;              // for the line below at the last pixel, so far
    int below_right;        // and at this one
};

// The value of a pixel with the errors that have come to it.
inline int value_at(const channel_walk* c, int32_t x) {
    int value = c->plane[x] + static_cast<int16_t>(c->current[x] + c->right);
    value = value < 0 ? 0 : value;
    return value > 255 ? 255 : value;
}

// Hands on the error of the pixel at x. What the line below gets at x - 1 is complete with it.
inline void spread(channel_walk* c, int32_t x, int error) {
    const error_shares* s = &SHARES.shares[error + ERROR_MAX];
    c->right = s->right;
    c->next[x - 1] = static_cast<int16_t>(c->below + s->below_left);
    c->below = c->below_right + s->below;
    c->below_right = s->below_right;
}

struct diffusion {
    const uint8_t* cells;
    int32_t width;
    int32_t red[256], green[256], blue[256]; // of the table's entries
};

void diffuse_line(const diffusion* d, channel_walk channels[3], uint8_t* index) {
    channel_walk red = channels[0];
    channel_walk green = channels[1];
    channel_walk blue = channels[2];
    for (int32_t x = 0; x < d->width; ++x) {
        int r = value_at(&red, x);
        int g = value_at(&green, x);
        int b = value_at(&blue, x);
        uint8_t entry = d->cells[cell_of(r, g, b)];
        index[x] = entry;
        spread(&red, x, r - d->red[entry]);
        spread(&green, x, g - d->green[entry]);
        spread(&blue, x, b - d->blue[entry]);
    }
    for (const channel_walk* c : {&red, &green, &blue})
        c->next[d->width - 1] = static_cast<int16_t>(c->below);
}

// Six rows of errors, from index -1 to the width: what stands there is written and never read.
struct error_rows {
    int16_t* current[3];
    int16_t* next[3];
};

void lay_out_rows(error_rows* rows, int16_t* block, size_t row) {
    for (int c = 0; c < 3; ++c) {
        rows->current[c] = block + row * static_cast<size_t>(c) + 1;
        rows->next[c] = block + row * static_cast<size_t>(c + 3) + 1;
    }
}

int diffuse_lines(Impack* pack, const diffusion* d, error_rows* rows, imp_progress* p) {
    int64_t at = 0;
    for (int32_t y = 0; y < pack->ysize; ++y, at += pack->xsize) {
        channel_walk channels[3] = {{pack->red_plane + at, rows->current[0], rows->next[0], 0, 0, 0},
                                    {pack->green_plane + at, rows->current[1], rows->next[1], 0, 0, 0},
                                    {pack->blue_plane + at, rows->current[2], rows->next[2], 0, 0, 0}};
        if (d->width > 0) diffuse_line(d, channels, pack->index_plane + at);
        error_rows turned = {{rows->next[0], rows->next[1], rows->next[2]},
                             {rows->current[0], rows->current[1], rows->current[2]}};
        *rows = turned;
        if (imp_line_done(p, pack, y)) return IMP_STOPPED;
    }
    imp_lines_done(p, pack);
    return IMP_OK;
}

int imp_dither_map(Impack* pack, const uint8_t* cells, imp_progress* p) {
    if (imp_wants(p, IMP_MESSAGE_STAGES)) imp_tell(p, IMP_MESSAGE_STAGES, "       Mapping colors to vlt.");
    auto row = static_cast<size_t>(pack->xsize) + 2;
    size_t bytes = row * 6 * sizeof(int16_t);
    mem_guard<int16_t> block(static_cast<int16_t*>(mem_alloc_zeroed(bytes)));
    if (!block) {
        return imp_fail_saying(IMP_NO_MEMORY, "Couldnt allocate %d bytes.  Line %d, File %s\n", imp_printed(bytes),
                               __LINE__, SOURCE);
    }
    error_rows rows;
    lay_out_rows(&rows, block.get(), row);
    diffusion d = {cells, pack->xsize, {}, {}, {}};
    for (int32_t i = 0; i < pack->vlt_count; ++i) {
        d.red[i] = pack->vlt[i].red;
        d.green[i] = pack->vlt[i].green;
        d.blue[i] = pack->vlt[i].blue;
    }
    return diffuse_lines(pack, &d, &rows, p);
}

} // namespace

int imp_map_colors(Impack* pack, int32_t dither, imp_progress* p) {
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
