// One pass of reevaluate_pen per sample, with a colour and with a pattern, against a floor that takes the same samples
// from a plain array and only reads, adds to and stores the three plane bytes. items_per_second are samples.
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "raster/rzl.h"
#include "support/memory.h"
#include "surface/reevaluate.h"
#include "tnc/builder.h"

namespace {

constexpr int32_t WIDTH = 2000;
constexpr int32_t HEIGHT = 1500;
constexpr int PEN = 3;

struct flat_sample {
    int32_t x, y;
    uint8_t red, green, blue;
};

struct setting {
    std::vector<uint8_t> red, green, blue;
    raster_image picture = {};
    tnc_image* image = nullptr;
    std::vector<flat_sample> samples;
    std::string pattern;
};

void take_chain(void* user, int pen, int /*has_uv*/, int32_t y, pline* chain) {
    static_cast<tnc_image*>(user)->pens[pen]->lines[y] = chain;
}

// A curved surface that covers most of the picture: shades and u,v change slowly along a line, as they do in a
// rendering, with gaps where something stands before it.
void build_image(setting* s) {
    s->image = mem_new<tnc_image>();
    s->image->line_count = HEIGHT;
    auto size = sizeof(compressed_pen) + size_t{HEIGHT} * sizeof(void*);
    auto* pen = static_cast<compressed_pen*>(mem_alloc_zeroed(size));
    pen->pen = PEN;
    pen->has_uv = 1;
    pen->line_count = HEIGHT;
    s->image->pens[PEN] = pen;
    pen_builder* builder = builder_new(take_chain, s->image);
    builder_set_pen(builder, PEN, 1);
    for (int32_t y = 0; y < HEIGHT; ++y) {
        for (int32_t x = 0; x < WIDTH; ++x) {
            if ((x / 7 + y / 5) % 40 != 0) {
                auto shade = static_cast<uint8_t>((x * 3 + y * 2) / 40 + (x * 7919 + y * 104729) % 3);
                auto u = static_cast<uint16_t>(x * 30 + x * x / 900);
                auto v = static_cast<uint16_t>(y * 40 + x * 2);
                builder_add_sample(builder, PEN, shade, shade, shade, u, v);
            }
            builder_move_x(builder, 1);
        }
        builder_next_line(builder);
    }
    builder_free(builder);
}

void collect(void* context, int32_t x, int32_t y, int32_t red, int32_t green, int32_t blue, int32_t, int32_t) {
    static_cast<std::vector<flat_sample>*>(context)->push_back(
        {x, y, static_cast<uint8_t>(red), static_cast<uint8_t>(green), static_cast<uint8_t>(blue)});
}

void write_pattern(setting* s) {
    constexpr int32_t side = 256;
    const char* directory = std::getenv("TMPDIR");
    s->pattern = std::string(directory != nullptr ? directory : "/tmp") + "/bench_pattern.rgb";
    CFILE* file = rzl_open_w(s->pattern.c_str());
    int32_t values[] = {RZL_STANDARD_KRVN, RZL_FORMAT_RGB, side};
    rzl_set_hdr_data(file, RZL_FIELD_STANDARD, &values[0]);
    rzl_set_hdr_data(file, RZL_FIELD_FORMAT, &values[1]);
    rzl_set_hdr_data(file, RZL_FIELD_XSIZE, &values[2]);
    rzl_set_hdr_data(file, RZL_FIELD_YSIZE, &values[2]);
    std::vector<uint8_t> line(side);
    for (int32_t y = 0; y < side; ++y) {
        for (int32_t x = 0; x < side; ++x)
            line[static_cast<size_t>(x)] = static_cast<uint8_t>(x * y);
        rzl_putline3(file, line.data(), line.data(), line.data());
    }
    rzl_close(file);
}

setting& the_setting() {
    static setting s;
    if (s.image == nullptr) {
        s.red.assign(size_t{WIDTH} * HEIGHT, 120);
        s.green = s.blue = s.red;
        s.picture = {nullptr, WIDTH, HEIGHT, s.red.data(), s.green.data(), s.blue.data()};
        build_image(&s);
        pen_for_each_pixel(s.image, PEN, &s.samples, collect);
        write_pattern(&s);
    }
    return s;
}

void set_rate(benchmark::State& state, const setting& s) {
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(s.samples.size()));
}

void floor_loop(benchmark::State& state) {
    setting& s = the_setting();
    for (auto _ : state) {
        for (const flat_sample& p : s.samples) {
            size_t at = static_cast<size_t>(p.y) * WIDTH + static_cast<size_t>(p.x);
            s.red[at] = static_cast<uint8_t>(s.red[at] + p.red);
            s.green[at] = static_cast<uint8_t>(s.green[at] + p.green);
            s.blue[at] = static_cast<uint8_t>(s.blue[at] + p.blue);
        }
        benchmark::ClobberMemory();
    }
    set_rate(state, s);
}
BENCHMARK(floor_loop);

void color_pass(benchmark::State& state) {
    setting& s = the_setting();
    applique first = {};
    first.is_color = 1;
    first.a0 = 0.9;
    first.a1 = 0.3;
    first.a2 = 0.2;
    applique second = first;
    second.a0 = 0.1;
    second.a2 = 0.7;
    for (auto _ : state) {
        reevaluate_pen(&s.picture, s.image, {nullptr, nullptr}, &first, &second, PEN);
        benchmark::ClobberMemory();
    }
    set_rate(state, s);
}
BENCHMARK(color_pass);

void pattern_pass(benchmark::State& state) {
    setting& s = the_setting();
    applique color = {};
    color.is_color = 1;
    color.a0 = color.a1 = color.a2 = 0.5;
    applique pattern = {};
    pattern.file = s.pattern.data();
    applique_set_placement(&pattern, 30.0, 0, 0.2);
    for (auto _ : state) {
        if (reevaluate_pen(&s.picture, s.image, {nullptr, nullptr}, &color, &pattern, PEN) == 0) {
            state.SkipWithError("the pattern could not be loaded");
        }
        benchmark::ClobberMemory();
    }
    set_rate(state, s);
}
BENCHMARK(pattern_pass);

} // namespace

BENCHMARK_MAIN();
