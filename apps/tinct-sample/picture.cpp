// Rows are traced in groups, on all processors; then the light of each surface is smoothed within the surface, to take
// out the grain of the few light rays of a pixel, and rounded to bytes. Edges, weights and reflections stay sharp.
#include "picture.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <deque>
#include <thread>
#include <threads.h>

#include "noise.h"
#include "trace.h"

namespace {

constexpr int GROUP = 32; // rows traced together
constexpr int REACH = 3;  // pixels to each side that smoothing takes in

struct traced_row {
    std::vector<size_t> first; // of each pixel's fragments, and one more
    std::vector<fragment> fragments;
    std::vector<vec3> plain;
};

struct finished_row {
    std::vector<uint8_t> pixels;
    std::vector<pen_sample> samples;
};

struct work {
    const scene* of;
    tracer t;
    int32_t width, height;
    std::deque<traced_row> rows; // from row `base` on
    int32_t base;
};

traced_row& row_at(work* w, int32_t y) {
    return w->rows[static_cast<size_t>(y - w->base)];
}

// Runs job(y) for the rows from `from` to `to` on all processors, or as many as there are threads to be had for.
template <typename F> void for_rows(int32_t from, int32_t to, const F& job) {
    struct shared {
        const F* job;
        std::atomic<int32_t> next;
        int32_t end;
    } work_left = {&job, from, to};
    auto loop = [](void* argument) {
        auto* s = static_cast<shared*>(argument);
        for (int32_t y = s->next++; y < s->end; y = s->next++)
            (*s->job)(y);
        return 0;
    };
    std::vector<thrd_t> others(std::max(std::thread::hardware_concurrency(), 1u) - 1);
    size_t started = 0;
    while (started < others.size() && thrd_create(&others[started], loop, &work_left) == thrd_success)
        started++;
    loop(&work_left);
    for (size_t i = 0; i < started; i++)
        thrd_join(others[i], nullptr);
}

void trace_row(work* w, int32_t y) {
    traced_row& row = row_at(w, y);
    pixel_result result;
    for (int32_t x = 0; x < w->width; x++) {
        trace_pixel(w->t, x, y, &result);
        std::sort(result.fragments.begin(), result.fragments.end(), [](const fragment& a, const fragment& b) {
            return a.pen != b.pen ? a.pen < b.pen : a.layer < b.layer;
        });
        row.first.push_back(row.fragments.size());
        row.fragments.insert(row.fragments.end(), result.fragments.begin(), result.fragments.end());
        row.plain.push_back(result.plain);
    }
    row.first.push_back(row.fragments.size());
}

// ---- smoothing -----------------------------------------------------------------------------------------------------

// How far two neighbours belong to the same smooth stretch: little across bends and steps.
double alike(const fragment& f, const fragment& g) {
    double facing = dot(f.normal, g.normal);
    if (facing < 0.8 || std::fabs(f.depth - g.depth) > 0.05 * f.depth) return 0;
    return std::min(g.weight * 4, 1.0) * std::max(1 - (1 - facing) * 30, 0.0);
}

// The same, and little across the edges of shadows and highlights.
double lit_alike(const fragment& f, const fragment& g) {
    double differ = std::max(largest(absolute(f.guide - g.guide)), 2 * largest(absolute(f.shine - g.shine)) - 0.05);
    differ /= 0.25 * std::max(largest(greater(f.guide, g.guide)), 0.10);
    return differ > 3 ? 0 : alike(f, g) * std::exp(-differ * differ);
}

struct smooth_light {
    vec3 light, shine;
};

// The mean of the light on a surface around a pixel, weighted by `likeness`.
template <typename F> smooth_light mean_light(work* w, int32_t x, int32_t y, const fragment& f, const F& likeness) {
    double sum = 1e-6;
    smooth_light out = {f.light * sum, f.shine * sum};
    for (int32_t j = std::max(y - REACH, 0); j <= std::min(y + REACH, w->height - 1); j++) {
        const traced_row& row = row_at(w, j);
        for (int32_t i = std::max(x - REACH, 0); i <= std::min(x + REACH, w->width - 1); i++) {
            for (size_t k = row.first[static_cast<size_t>(i)]; k < row.first[static_cast<size_t>(i) + 1]; k++) {
                const fragment& g = row.fragments[k];
                if (g.pen != f.pen || g.layer != f.layer) continue;
                // this slope takes out what repeats every four pixels, as the light points do
                double weight = likeness(f, g) * (REACH + 1 - std::abs(i - x)) * (REACH + 1 - std::abs(j - y));
                sum += weight;
                out.light = out.light + g.light * weight;
                out.shine = out.shine + g.shine * weight;
            }
        }
    }
    return {out.light * (1 / sum), out.shine * (1 / sum)};
}

void guide_row(work* w, int32_t y) {
    traced_row& row = row_at(w, y);
    for (int32_t x = 0; x < w->width; x++) {
        for (size_t i = row.first[static_cast<size_t>(x)]; i < row.first[static_cast<size_t>(x) + 1]; i++)
            row.fragments[i].guide = mean_light(w, x, y, row.fragments[i], alike).light;
    }
}

// ---- bytes ---------------------------------------------------------------------------------------------------------

// Light to a share of full: in proportion, but full light is reached softly.
double toned(double light) {
    return 1 - std::exp(-std::max(light, 0.0));
}

uint8_t to_byte(double x) {
    return static_cast<uint8_t>(std::clamp(x + 0.5, 0.0, 255.0));
}

uint16_t to_uv(double x) {
    return static_cast<uint16_t>(std::clamp(x * 65536, 0.0, 65535.0));
}

pen_sample sample_of(const work* w, int32_t x, const fragment& f, vec3 light) {
    double full = 255 * std::min(f.weight, 1.0);
    bool has_uv = w->of->pens[static_cast<size_t>(f.pen)].has_uv;
    return {x,
            static_cast<uint8_t>(f.pen),
            to_byte(full * toned(light.x)),
            to_byte(full * toned(light.y)),
            to_byte(full * toned(light.z)),
            has_uv ? to_uv(f.u) : uint16_t{0},
            has_uv ? to_uv(f.v) : uint16_t{0}};
}

void finish_row(work* w, int32_t y, finished_row* out) {
    const traced_row& row = row_at(w, y);
    for (int32_t x = 0; x < w->width; x++) {
        vec3 plain = row.plain[static_cast<size_t>(x)];
        int pixel[3] = {};
        for (size_t i = row.first[static_cast<size_t>(x)]; i < row.first[static_cast<size_t>(x) + 1]; i++) {
            const fragment& f = row.fragments[i];
            smooth_light smooth = mean_light(w, x, y, f, lit_alike);
            plain = plain + smooth.shine * f.weight;
            pen_sample s = sample_of(w, x, f, smooth.light);
            if (s.red == 0 && s.green == 0 && s.blue == 0) continue; // nothing to re-colour
            // half of each shade, rounded down: exactly what is taken out again when the surface gets a colour
            pixel[0] += s.red >> 1;
            pixel[1] += s.green >> 1;
            pixel[2] += s.blue >> 1;
            out->samples.push_back(s);
        }
        const double rest[3] = {plain.x, plain.y, plain.z};
        for (int c = 0; c < 3; c++)
            out->pixels.push_back(static_cast<uint8_t>(std::min(pixel[c] + to_byte(255 * rest[c]), 255)));
    }
}

bool finish_rows(work* w, int32_t from, int32_t to, row_action action, void* user) {
    std::vector<finished_row> done(static_cast<size_t>(to - from));
    for_rows(from, to, [&](int32_t y) { finish_row(w, y, &done[static_cast<size_t>(y - from)]); });
    for (int32_t y = from; y < to; y++) {
        const finished_row& r = done[static_cast<size_t>(y - from)];
        if (!action(user, y, r.pixels.data(), r.samples.data(), r.samples.size())) return false;
    }
    return true;
}

} // namespace

bool picture_render(const scene& s, int32_t width, int32_t height, uint32_t seed, row_action action, void* user) {
    ray_tree tree;
    tree_build(&tree, &s);
    work w = {&s, {}, width, height, {}, 0};
    tracer_init(&w.t, &s, &tree, width, height, seed);
    int32_t traced = 0, guided = 0, finished = 0;
    while (finished < height) {
        int32_t until = std::min(traced + GROUP, height);
        w.rows.resize(static_cast<size_t>(until - w.base));
        for_rows(traced, until, [&](int32_t y) { trace_row(&w, y); });
        traced = until;
        // the last rows wait for those below them
        until = traced == height ? height : traced - REACH;
        for_rows(guided, until, [&](int32_t y) { guide_row(&w, y); });
        guided = until;
        until = traced == height ? height : guided - REACH;
        if (!finish_rows(&w, finished, until, action, user)) return false;
        finished = until;
        for (; w.base < finished - REACH; w.base++)
            w.rows.pop_front();
    }
    return true;
}
