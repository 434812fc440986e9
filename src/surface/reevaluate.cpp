// The re-evaluation of a pen's pixels.
//
// Invariants:
// 1. A pixel's new byte is its old byte, less the old contribution, plus the new one, clamped once at the end.
// 2. Each contribution is exactly what surface_contribution() gives. What makes the pass fast (tables by shade, whole
//    runs at a time, 32-bit conversion where the range allows it) changes no result.
// 3. Samples are taken one by one in the order of the walk: a pen that stands twice at a pixel is clamped in between.
//
// A run's samples stand at different columns, so that within a run the order plays no part and its channels can be
// worked through in plain loops. Of a row whose columns are wanted in steps, a run is thinned to those samples first.
#include "surface/reevaluate.h"

#include <algorithm>
#include <cmath>

#include "support/log.h"
#include "support/memory.h"
#include "surface/patterncache.h"
#include "tnc/penline.h"

namespace {

constexpr int CHANNELS = 3;
constexpr int SHADES = 256;
constexpr double UV_MAX = 65535.0;
constexpr double INT32_SAFE = 2147483000.0; // below the greatest 32-bit integer, with room for rounding
constexpr double INT64_SAFE = 9.0e18;
constexpr double COLOR_LIMIT = 1.0e6; // beyond what any clamped pixel can tell apart

// ---- the formulas, plainly ----------------------------------------------------------------------------------------

// The low 16 bits of the value truncated toward zero, as two's complement; a value that isn't finite counts as 0.
uint32_t truncated_low_16(double value) {
    if (!std::isfinite(value)) return 0;
    double whole = std::fabs(value) < INT64_SAFE ? value : std::fmod(std::trunc(value), 65536.0);
    return static_cast<uint32_t>(static_cast<uint64_t>(static_cast<int64_t>(whole)) & 0xFFFFu);
}

int32_t color_contribution(double value, int32_t shade) {
    double product = shade * value;
    if (!(product == product)) return 0;
    return static_cast<int32_t>(std::clamp(product, -COLOR_LIMIT, COLOR_LIMIT));
}

double color_value(const applique* a, int channel) {
    return channel == 0 ? a->a0 : (channel == 1 ? a->a1 : a->a2);
}

const uint8_t* plane_of(const raster_image* image, int channel) {
    return channel == 0 ? image->red : (channel == 1 ? image->green : image->blue);
}

// ---- one side of a change ------------------------------------------------------------------------------------------

// What a pen has, or is to have: a table by shade, or a pattern.
struct side {
    bool is_pattern;
    const applique* placement; // of a pattern
    const raster_image* pattern;
    bool fits_int32;                 // S and T of every u,v do
    int32_t table[CHANNELS][SHADES]; // of anything else
};

// Texels of a run: the offset in the pattern's planes.
struct run_texels {
    size_t offset[PENLINE_RUN_MAX];
};

// Contributions of a run.
struct run_deltas {
    int32_t value[CHANNELS][PENLINE_RUN_MAX];
};

// The greatest |S| or |T| over all u,v; infinite or NaN when a number of the placement is.
double greatest_position(const applique* a) {
    double du = std::max(std::fabs(0.0 - a->a0), std::fabs(UV_MAX - a->a0));
    double dv = std::max(std::fabs(0.0 - a->a1), std::fabs(UV_MAX - a->a1));
    double s = std::fabs(a->a2) * du + std::fabs(a->a6) + std::fabs(a->a3) * dv;
    double t = std::fabs(a->a4) * du + std::fabs(a->a7) + std::fabs(a->a5) * dv;
    return s > t || !(s == s) ? s : t;
}

// The pattern, if it is one, has been taken.
void side_init(side* to, const applique* a) {
    to->is_pattern = to->pattern != nullptr;
    to->placement = a;
    to->fits_int32 = to->is_pattern && greatest_position(a) < INT32_SAFE;
    if (to->is_pattern) return;
    for (int channel = 0; channel < CHANNELS; ++channel) {
        for (int shade = 0; shade < SHADES; ++shade) {
            to->table[channel][shade] = surface_contribution(a, nullptr, channel, shade, 0, 0);
        }
    }
}

const uint8_t* shades_of(const penline_run* run, int channel) {
    return channel == 0 ? run->red : (channel == 1 ? run->green : run->blue);
}

// S and T of a run, low 16 bits. The sums are in the order of the formula: the results depend on it.
void positions_int32(const applique* a, const penline_run* run, int count, uint32_t* s, uint32_t* t) {
    const double origin_u = a->a0, origin_v = a->a1, m00 = a->a2, m01 = a->a3, m10 = a->a4, m11 = a->a5;
    const double s0 = a->a6, t0 = a->a7;
    for (int i = 0; i < count; ++i) {
        double du = static_cast<double>(static_cast<int32_t>(run->u[i])) - origin_u;
        double dv = static_cast<double>(static_cast<int32_t>(run->v[i])) - origin_v;
        s[i] = static_cast<uint32_t>(static_cast<int32_t>(m00 * du + s0 + m01 * dv)) & 0xFFFFu;
        t[i] = static_cast<uint32_t>(static_cast<int32_t>(m10 * du + t0 + m11 * dv)) & 0xFFFFu;
    }
}

void positions_any(const applique* a, const penline_run* run, int count, uint32_t* s, uint32_t* t) {
    for (int i = 0; i < count; ++i) {
        double du = run->u[i] - a->a0;
        double dv = run->v[i] - a->a1;
        s[i] = truncated_low_16(a->a2 * du + a->a6 + a->a3 * dv);
        t[i] = truncated_low_16(a->a4 * du + a->a7 + a->a5 * dv);
    }
}

void find_texels(const side* from, const penline_run* run, int count, run_texels* texels) {
    uint32_t s[PENLINE_RUN_MAX];
    uint32_t t[PENLINE_RUN_MAX];
    if (from->fits_int32) {
        positions_int32(from->placement, run, count, s, t);
    } else {
        positions_any(from->placement, run, count, s, t);
    }
    const auto width = static_cast<uint64_t>(from->pattern->width);
    const auto height = static_cast<uint64_t>(from->pattern->height);
    for (int i = 0; i < count; ++i) {
        uint64_t column = (s[i] * width) >> 16;
        uint64_t line = (t[i] * height) >> 16;
        texels->offset[i] = line * width + column;
    }
}

// Stores the contributions of a run, or takes them off what stands there.
template <bool Subtract> void put(int32_t* value, int32_t contribution) {
    *value = Subtract ? *value - contribution : contribution;
}

template <bool Subtract> void contribute(const side* from, const penline_run* run, int count, run_deltas* deltas) {
    run_texels texels;
    if (from->is_pattern) find_texels(from, run, count, &texels);
    for (int channel = 0; channel < CHANNELS; ++channel) {
        const uint8_t* shades = shades_of(run, channel);
        int32_t* values = deltas->value[channel];
        if (from->is_pattern) {
            const uint8_t* plane = plane_of(from->pattern, channel);
            for (int i = 0; i < count; ++i)
                put<Subtract>(&values[i], (plane[texels.offset[i]] * shades[i]) >> 8);
        } else {
            const int32_t* table = from->table[channel];
            for (int i = 0; i < count; ++i)
                put<Subtract>(&values[i], table[shades[i]]);
        }
    }
}

// ---- the pass ------------------------------------------------------------------------------------------------------

} // namespace

struct reevaluation {
    raster_image* picture;
    side old_side;
    side new_side;
    bool by_table;                    // neither side is a pattern: one table of differences does
    int32_t change[CHANNELS][SHADES]; // new less old
    row_changed told;
    const compressed_pen* pen;           // null: it has no pixels
    int32_t first_changed, last_changed; // columns of the row at work; first above last: none
};

namespace {

uint8_t byte_of(int32_t value) {
    return static_cast<uint8_t>(value < 0 ? 0 : (value > 255 ? 255 : value));
}

// Where a run's samples go: in each plane every `step`-th byte.
struct run_target {
    uint8_t* rows[CHANNELS];
    ptrdiff_t step;
};

// Calls f(i) with the byte of sample i, and stores what it gives. Of a step of 1 the compiler makes a loop of its own.
template <typename F> void change_bytes(const run_target* to, int channel, int count, F f) {
    uint8_t* row = to->rows[channel];
    if (to->step == 1) {
        for (int i = 0; i < count; ++i)
            row[i] = byte_of(row[i] + f(i));
    } else {
        for (int i = 0; i < count; ++i, row += to->step)
            *row = byte_of(*row + f(i));
    }
}

void change_by_table(const reevaluation* r, const penline_run* run, int count, const run_target* to) {
    for (int channel = 0; channel < CHANNELS; ++channel) {
        const uint8_t* shades = shades_of(run, channel);
        const int32_t* change = r->change[channel];
        const int32_t difference = change[shades[0]];
        if (run->constant_shade)
            change_bytes(to, channel, count, [=](int) { return difference; });
        else
            change_bytes(to, channel, count, [=](int i) { return change[shades[i]]; });
    }
}

void change_by_pattern(const reevaluation* r, const penline_run* run, int count, const run_target* to) {
    run_deltas deltas;
    contribute<false>(&r->new_side, run, count, &deltas);
    contribute<true>(&r->old_side, run, count, &deltas);
    for (int channel = 0; channel < CHANNELS; ++channel) {
        const int32_t* values = deltas.value[channel];
        change_bytes(to, channel, count, [=](int i) { return values[i]; });
    }
}

// Columns of a row: from x1 on, before x2, in steps.
struct columns {
    int32_t x1, x2, step;
};

// Moves every `step`-th sample, from the one at `from` on, to the front.
template <typename T> void thin(T* values, int from, int step, int count) {
    for (int i = 0; i < count; ++i)
        values[i] = values[from + i * step];
}

void thin_run(penline_run* run, int from, int step, int count, bool with_uv) {
    for (uint8_t* shades : {run->red, run->green, run->blue})
        thin(shades, from, step, count);
    if (!with_uv) return;
    thin(run->u, from, step, count);
    thin(run->v, from, step, count);
}

// Tells of all columns of the run within what is wanted, as a pass without steps does: what a display has laid over the
// row may reach beyond the samples that it shows.
void note_run(reevaluation* r, const penline_run* run, columns wanted) {
    const int32_t first = std::max(run->x, wanted.x1);
    const int32_t end = std::min(run->x + run->count, wanted.x2);
    if (first >= end) return;
    r->first_changed = std::min(r->first_changed, first);
    r->last_changed = std::max(r->last_changed, end - 1);
}

void change_run(reevaluation* r, int32_t y, penline_run* run, columns wanted) {
    note_run(r, run, wanted);
    const int32_t ahead = std::max(run->x - wanted.x1 + wanted.step - 1, 0) / wanted.step;
    const int32_t x = wanted.x1 + ahead * wanted.step;
    const int32_t end = std::min(run->x + run->count, wanted.x2);
    if (x >= end) return;
    const int count = (end - x + wanted.step - 1) / wanted.step;
    if (x != run->x || wanted.step != 1) thin_run(run, x - run->x, wanted.step, count, !r->by_table);
    const size_t offset = static_cast<size_t>(y) * static_cast<size_t>(r->picture->width) + static_cast<size_t>(x);
    const run_target to = {{r->picture->red + offset, r->picture->green + offset, r->picture->blue + offset},
                           wanted.step};
    if (r->by_table) {
        change_by_table(r, run, count, &to);
    } else {
        change_by_pattern(r, run, count, &to);
    }
}

void change_row(reevaluation* r, int32_t y, columns wanted) {
    penline_run run;
    r->first_changed = INT32_MAX;
    r->last_changed = -1;
    for (const pline* line = r->pen->lines[y]; line != nullptr; line = line->next) {
        penline_position at = penline_begin(line);
        if (wanted.x1 > 0) penline_skip_to(&at, wanted.x1);
        // Only a pattern looks at u and v.
        while (at.x < wanted.x2 && (r->by_table ? penline_next_shades(&at, &run) : penline_next_run(&at, &run)))
            change_run(r, y, &run, wanted);
    }
    bool changed = r->first_changed <= r->last_changed;
    if (changed && r->told.changed != nullptr) {
        r->told.changed(r->told.user, y, r->first_changed, r->last_changed);
    }
}

void make_changes(reevaluation* r) {
    for (int channel = 0; channel < CHANNELS; ++channel) {
        for (int shade = 0; shade < SHADES; ++shade) {
            r->change[channel][shade] = r->new_side.table[channel][shade] - r->old_side.table[channel][shade];
        }
    }
}

bool is_pattern(const applique* a) {
    return a != nullptr && a->is_color == 0;
}

// What the two appliques need is taken from the cache, and given back when the pass is freed.
bool take_patterns(reevaluation* r, const applique* old_one, const applique* new_one) {
    if (is_pattern(old_one) && (r->old_side.pattern = pattern_take(old_one->file)) == nullptr) return false;
    return !is_pattern(new_one) || (r->new_side.pattern = pattern_take(new_one->file)) != nullptr;
}

} // namespace

int32_t surface_contribution(const applique* a, const raster_image* pattern, int channel, int32_t shade, int32_t u,
                             int32_t v) {
    if (a == nullptr) return shade >> 1;
    if (a->is_color != 0) return color_contribution(color_value(a, channel), shade);
    double du = u - a->a0;
    double dv = v - a->a1;
    uint64_t s = truncated_low_16(a->a2 * du + a->a6 + a->a3 * dv);
    uint64_t t = truncated_low_16(a->a4 * du + a->a7 + a->a5 * dv);
    uint64_t column = (s * static_cast<uint64_t>(pattern->width)) >> 16;
    uint64_t line = (t * static_cast<uint64_t>(pattern->height)) >> 16;
    uint64_t offset = line * static_cast<uint64_t>(pattern->width) + column;
    return (plane_of(pattern, channel)[offset] * shade) >> 8;
}

reevaluation* reevaluation_new(raster_image* picture, const tnc_image* image, row_changed told, const applique* old_one,
                               const applique* new_one, int pen) {
    if (is_pattern(new_one) && pen_has_uv(image, pen) == 0) {
        log_message(LOG_WARNING, "Patterns cannot be applied to this surface.");
        return nullptr;
    }
    auto* r = mem_new<reevaluation>();
    if (r == nullptr) {
        log_message(LOG_WARNING, "Failed to allocate memory for the change of surface %d.\n", pen);
        return nullptr;
    }
    if (!take_patterns(r, old_one, new_one)) {
        reevaluation_free(r);
        return nullptr;
    }
    r->picture = picture;
    r->told = told;
    r->pen = pen_defined(image, pen) != 0 ? image->pens[pen] : nullptr;
    side_init(&r->old_side, old_one);
    side_init(&r->new_side, new_one);
    r->by_table = !r->old_side.is_pattern && !r->new_side.is_pattern;
    if (r->by_table) make_changes(r);
    return r;
}

void reevaluation_run(reevaluation* r) {
    const int32_t rows = r->pen != nullptr ? std::min(r->pen->line_count, r->picture->height) : 0;
    for (int32_t y = 0; y < rows; ++y)
        change_row(r, y, {0, r->picture->width, 1});
}

void reevaluation_run_row(reevaluation* r, int32_t y, const pixel_grid* grid) {
    if (r->pen == nullptr || y >= r->pen->line_count) return;
    change_row(r, y, {grid->x1, std::min(grid->x2, r->picture->width), grid->step});
}

void reevaluation_free(reevaluation* r) {
    if (r == nullptr) return;
    pattern_give_back(r->new_side.pattern);
    pattern_give_back(r->old_side.pattern);
    mem_free(r);
}

int reevaluate_pen(raster_image* picture, const tnc_image* image, row_changed told, const applique* old_one,
                   const applique* new_one, int pen) {
    reevaluation* r = reevaluation_new(picture, image, told, old_one, new_one, pen);
    if (r == nullptr) return 0;
    reevaluation_run(r);
    reevaluation_free(r);
    return 1;
}
