// A picture with surfaces on it, and the re-evaluation in its plain form: one sample at a time.
#pragma once

#include <algorithm>

#include "surface/applique.h"
#include "surface/reevaluate.h"
#include "surface_fixture.h"

constexpr int32_t WIDTH = 300;
constexpr int32_t HEIGHT = 6;

struct sample {
    int32_t x, y, red, green, blue, u, v;
};

inline void collect(void* context, int32_t x, int32_t y, int32_t red, int32_t green, int32_t blue, int32_t u,
                    int32_t v) {
    static_cast<std::vector<sample>*>(context)->push_back({x, y, red, green, blue, u, v});
}

// A picture, and an image of pen 5 (with u,v) and pen 6 (without) whose samples reach past the picture's right edge.
struct scene {
    raster_image picture = {};
    std::vector<uint8_t> red, green, blue;
    tnc_image* image = nullptr;

    explicit scene(std::mt19937& random) {
        auto fill = [&](std::vector<uint8_t>& plane) {
            plane.resize(WIDTH * HEIGHT);
            for (auto& byte : plane)
                byte = static_cast<uint8_t>(random());
        };
        fill(red);
        fill(green);
        fill(blue);
        picture = {nullptr, WIDTH, HEIGHT, red.data(), green.data(), blue.data()};
        image = random_image(random, WIDTH + 40, HEIGHT + 2);
    }
    ~scene() { tnc_free(image); }
    scene(const scene&) = delete;
    scene& operator=(const scene&) = delete;
};

// What a pass has to come to.
inline void plain_pass(raster_image* picture, const tnc_image* image, int pen, const applique* old_one,
                       const applique* new_one) {
    const auto load = [](const applique* a) {
        return a != nullptr && a->file != nullptr ? load_image(a->file, LOAD_IMAGE_LIMIT, LOAD_IMAGE_LIMIT) : nullptr;
    };
    raster_image* old_image = load(old_one);
    raster_image* new_image = load(new_one);
    std::vector<sample> samples;
    pen_for_each_pixel(image, pen, &samples, collect);
    for (const sample& p : samples) {
        if (p.x >= picture->width || p.y >= picture->height) continue;
        const auto at = static_cast<size_t>(p.y) * static_cast<size_t>(picture->width) + static_cast<size_t>(p.x);
        uint8_t* bytes[3] = {&picture->red[at], &picture->green[at], &picture->blue[at]};
        const int32_t shades[3] = {p.red, p.green, p.blue};
        for (int c = 0; c < 3; ++c) {
            const int32_t before = surface_contribution(old_one, old_image, c, shades[c], p.u, p.v);
            const int32_t after = surface_contribution(new_one, new_image, c, shades[c], p.u, p.v);
            *bytes[c] = static_cast<uint8_t>(std::clamp(*bytes[c] - before + after, 0, 255));
        }
    }
    raster_image_free(old_image);
    raster_image_free(new_image);
}

inline applique color(double red, double green, double blue) {
    applique a = {};
    a.is_color = 1;
    a.a0 = red;
    a.a1 = green;
    a.a2 = blue;
    return a;
}
