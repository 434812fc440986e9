// Rows are traced in groups, on all processors; then the light of each surface is smoothed within the surface, to take
// out the grain of the few light rays of a pixel, and rounded to bytes. Edges, weights and reflections stay sharp.
#include "picture.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <deque>
#include <thread>

#include "trace.h"

namespace {

constexpr int GROUP = 32; // rows traced together
constexpr int REACH = 3;  // pixels to each side that smoothing takes in
constexpr int GUIDE_REACH = 3;

struct traced_row {
    std::vector<uint32_t> first; // of each pixel's fragments, and one more
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

// Runs job(i) for i from 0 to count - 1 on all processors.
template <typename job_type> void in_parallel(int count, const job_type& job) {
    std::atomic<int> next{0};
    auto loop = [&] {
        for (int i = next++; i < count; i = next++)
            job(i);
    };
    unsigned processors = std::max(std::thread::hardware_concurrency(), 1u);
    std::vector<std::thread> others;
    for (unsigned i = 1; i < std::min(processors, static_cast<unsigned>(count)); i++)
        others.emplace_back(loop);
    loop();
    for (std::thread& o : others)
        o.join();
}

void trace_row(const work& w, int32_t y, traced_row* row) {
    pixel_result result;
    for (int32_t x = 0; x < w.width; x++) {
        trace_pixel(w.t, x, y, &result);
        std::sort(result.fragments.begin(), result.fragments.end(), [](const fragment& a, const fragment& b) {
            return a.pen != b.pen ? a.pen < b.pen : a.layer < b.layer;
        });
        row->first.push_back(static_cast<uint32_t>(row->fragments.size()));
        row->fragments.insert(row->fragments.end(), result.fragments.begin(), result.fragments.end());
        row->plain.push_back(result.plain);
    }
    row->first.push_back(static_cast<uint32_t>(row->fragments.size()));
}

const fragment* same_surface(const traced_row& row, int32_t x, const fragment& f) {
    for (uint32_t i = row.first[static_cast<size_t>(x)]; i < row.first[static_cast<size_t>(x) + 1]; i++) {
        const fragment& g = row.fragments[i];
        if (g.pen == f.pen && g.layer == f.layer) return &g;
    }
    return nullptr;
}

// How far two neighbours belong to the same smooth stretch: little across bends and steps.
double alike(const fragment& f, const fragment& g) {
    double facing = f.normal[0] * g.normal[0] + f.normal[1] * g.normal[1] + f.normal[2] * g.normal[2];
    if (facing < 0.8 || std::fabs(f.depth - g.depth) > 0.05F * f.depth) return 0;
    return std::min(static_cast<double>(g.weight) * 4, 1.0) * std::max(1 - (1 - facing) * 30, 0.0);
}

// Little across the edges of shadows.
double lit_alike(const fragment& f, const fragment& g) {
    double differ = 0, bright = 0.10;
    for (int c = 0; c < 3; c++) {
        differ = std::max(differ, static_cast<double>(std::fabs(f.guide[c] - g.guide[c])));
        differ = std::max(differ, 2 * static_cast<double>(std::fabs(f.shine[c] - g.shine[c])) - 0.05);
        bright = std::max(bright, static_cast<double>(std::max(f.guide[c], g.guide[c])));
    }
    differ /= 0.25 * bright;
    return differ > 3 ? 0 : std::exp(-differ * differ);
}

struct smooth_result {
    float light[3], shine[3];
};

// The mean of the light on a surface around a pixel, weighted by `likeness`.
template <typename likeness_function>
smooth_result mean_light(const work& w, int32_t x, int32_t y, const fragment& f, int reach,
                         likeness_function likeness) {
    double sum = 1e-6, light[3], shine[3];
    for (int c = 0; c < 3; c++) {
        light[c] = sum * static_cast<double>(f.light[c]);
        shine[c] = sum * static_cast<double>(f.shine[c]);
    }
    for (int32_t j = std::max(y - reach, 0); j <= std::min(y + reach, w.height - 1); j++) {
        const traced_row& row = w.rows[static_cast<size_t>(j - w.base)];
        for (int32_t i = std::max(x - reach, 0); i <= std::min(x + reach, w.width - 1); i++) {
            const fragment* g = same_surface(row, i, f);
            if (g == nullptr) continue;
            // this slope takes out what repeats every four pixels, as the light points do
            double weight = likeness(f, *g) * (reach + 1 - std::abs(i - x)) * (reach + 1 - std::abs(j - y));
            sum += weight;
            for (int c = 0; c < 3; c++) {
                light[c] += weight * static_cast<double>(g->light[c]);
                shine[c] += weight * static_cast<double>(g->shine[c]);
            }
        }
    }
    smooth_result out;
    for (int c = 0; c < 3; c++) {
        out.light[c] = static_cast<float>(light[c] / sum);
        out.shine[c] = static_cast<float>(shine[c] / sum);
    }
    return out;
}

void guide_row(work* w, int32_t y) {
    traced_row& row = w->rows[static_cast<size_t>(y - w->base)];
    for (int32_t x = 0; x < w->width; x++) {
        for (uint32_t i = row.first[static_cast<size_t>(x)]; i < row.first[static_cast<size_t>(x) + 1]; i++) {
            fragment& f = row.fragments[i];
            smooth_result rough = mean_light(*w, x, y, f, GUIDE_REACH, alike);
            std::copy(rough.light, rough.light + 3, f.guide);
        }
    }
}

smooth_result smooth_light(const work& w, int32_t x, int32_t y, const fragment& f) {
    auto likeness = [](const fragment& a, const fragment& b) {
        double same = alike(a, b);
        return same > 0 ? same * lit_alike(a, b) : 0.0;
    };
    return mean_light(w, x, y, f, REACH, likeness);
}

// Light to brightness, 0 to 1: shadows are lifted as the eye lifts them, and full light fades out softly.
double toned(double light, double exposure) {
    return std::pow(1 - std::exp(-1.35 * exposure * std::max(light, 0.0)), 1 / 1.45);
}

uint8_t to_byte(double x) {
    return static_cast<uint8_t>(std::clamp(x + 0.5, 0.0, 255.0));
}

uint16_t to_uv(float x) {
    return static_cast<uint16_t>(std::clamp(static_cast<int>(x * 65536.0F), 0, 65535));
}

pen_sample sample_of(const work& w, int32_t x, const fragment& f, const float* light) {
    double full = 255.0 * static_cast<double>(std::min(f.weight, 1.0F)), exposure = w.of->exposure;
    pen_sample s = {x,
                    static_cast<uint8_t>(f.pen),
                    to_byte(full * toned(static_cast<double>(light[0]), exposure)),
                    to_byte(full * toned(static_cast<double>(light[1]), exposure)),
                    to_byte(full * toned(static_cast<double>(light[2]), exposure)),
                    0,
                    0};
    if (w.of->pens[static_cast<size_t>(f.pen)].has_uv) {
        s.u = to_uv(f.u);
        s.v = to_uv(f.v);
    }
    return s;
}

void finish_row(const work& w, int32_t y, finished_row* out) {
    const traced_row& row = w.rows[static_cast<size_t>(y - w.base)];
    for (int32_t x = 0; x < w.width; x++) {
        vec3 plain = row.plain[static_cast<size_t>(x)];
        int pixel[3] = {};
        for (uint32_t i = row.first[static_cast<size_t>(x)]; i < row.first[static_cast<size_t>(x) + 1]; i++) {
            const fragment& f = row.fragments[i];
            smooth_result smooth = smooth_light(w, x, y, f);
            plain = plain + vec3{smooth.shine[0], smooth.shine[1], smooth.shine[2]} * static_cast<double>(f.weight);
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

bool finish_group(const work& w, int32_t from, int32_t to, row_action action, void* user) {
    std::vector<finished_row> done(static_cast<size_t>(to - from));
    in_parallel(to - from, [&](int i) { finish_row(w, from + i, &done[static_cast<size_t>(i)]); });
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
        in_parallel(until - traced,
                    [&](int i) { trace_row(w, traced + i, &w.rows[static_cast<size_t>(traced + i - w.base)]); });
        traced = until;
        // the last rows wait for those below them
        int32_t guide_until = traced == height ? height : traced - GUIDE_REACH;
        in_parallel(guide_until - guided, [&](int i) { guide_row(&w, guided + i); });
        guided = guide_until;
        int32_t ready = traced == height ? height : guided - REACH;
        if (!finish_group(w, finished, ready, action, user)) return false;
        finished = ready;
        while (w.base < finished - REACH) {
            w.rows.pop_front();
            w.base++;
        }
    }
    return true;
}
