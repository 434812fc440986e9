// What tests of surfaces share: a directory of their own, recorded messages, raster files made with the library, and
// random rendered images.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "common/own_directory.h"
#include "common/pictures.h"
#include "support/log.h"
#include "support/memory.h"
#include "surface/raster_image.h"
#include "tnc/builder.h"
#include "tnc/tnc.h"

inline void take_chain(void* user, int pen, int /*has_uv*/, int32_t y, pline* chain) {
    static_cast<tnc_image*>(user)->pens[pen]->lines[y] = chain;
}

inline compressed_pen* new_pen(int pen, int has_uv, int32_t lines) {
    auto size = sizeof(compressed_pen) + static_cast<size_t>(lines) * sizeof(pline*);
    auto* p = static_cast<compressed_pen*>(mem_alloc_zeroed(size));
    p->pen = pen;
    p->has_uv = has_uv;
    p->line_count = lines;
    return p;
}

// Pen 5 with u,v and pen 6 without, in stretches with gaps; some columns hold two samples of a pen.
inline tnc_image* random_image(std::mt19937& random, int32_t width, int32_t lines) {
    auto* image = mem_new<tnc_image>();
    image->line_count = lines;
    image->complete = true;
    image->pens[5] = new_pen(5, 1, lines);
    image->pens[6] = new_pen(6, 0, lines);
    pen_builder* builder = builder_new(take_chain, image);
    builder_set_pen(builder, 5, 1);
    builder_set_pen(builder, 6, 0);
    for (int32_t y = 0; y < lines; ++y) {
        auto u = static_cast<uint32_t>(random() & 0xFFFF);
        auto v = static_cast<uint32_t>(random() & 0xFFFF);
        for (int32_t x = 0; x < width; ++x) {
            u += 37 + static_cast<uint32_t>(random() % 3);
            v -= 11;
            bool grey = (x / 50) % 2 == 0;
            auto shade = static_cast<uint8_t>((x / 100) % 2 == 0 ? random() : 200UL);
            auto other = grey ? shade : static_cast<uint8_t>(random());
            for (int pen = 5; pen <= 6; ++pen) {
                if (random() % 10 == 0) continue;
                int copies = random() % 16 == 0 ? 2 : 1;
                for (int i = 0; i < copies; ++i) {
                    builder_add_sample(builder, pen, shade, other, shade, static_cast<uint16_t>(u),
                                       static_cast<uint16_t>(v));
                }
            }
            builder_move_x(builder, 1);
        }
        builder_next_line(builder);
    }
    builder_free(builder);
    return image;
}

class SurfaceFixture : public OwnDirectory {
protected:
    void SetUp() override {
        log_set_sink(record, this);
        setenv("VANTORAMA", directory.c_str(), 1);
        unsetenv("VT_PATTERN_PATH");
        live_before = mem_live();
    }
    void TearDown() override { log_set_sink(nullptr, nullptr); }

    static void record(void* user, int /*level*/, const char* text) {
        static_cast<SurfaceFixture*>(user)->messages.emplace_back(text);
    }

    // A byte of a raster of write_raster(): channel 0 red, 1 green, 2 blue.
    static uint8_t raster_byte(int seed, int x, int y, int channel) {
        return static_cast<uint8_t>(x * 7 + y * 13 + channel * 85 + seed * 31);
    }

    // A native file of format 27. Orientation 6 stores it bottom-up.
    std::string write_raster(const std::string& name, int32_t width, int32_t height, int seed,
                             int32_t orientation = 4) const {
        const auto rule = [&](int x, int y, int channel) {
            return raster_byte(seed, x, orientation == 6 ? height - 1 - y : y, channel);
        };
        write_native(path(name), width, height, RZL_FORMAT_PLANE_RUNS, rule, orientation);
        return path(name);
    }

    static raster_image* load(const char* path) { return load_image(path, LOAD_IMAGE_LIMIT, LOAD_IMAGE_LIMIT); }

    std::vector<std::string> messages;
    long live_before = 0;
};
