// The re-evaluation pass against its slow, plain twin: one sample at a time by surface_contribution().
#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/memory.h"
#include "surface/reevaluate.h"
#include "surface_fixture.h"

namespace {

constexpr int32_t WIDTH = 300;
constexpr int32_t HEIGHT = 6;

struct sample {
    int32_t x, y, red, green, blue, u, v;
};

void collect(void* context, int32_t x, int32_t y, int32_t red, int32_t green, int32_t blue, int32_t u, int32_t v) {
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

uint8_t byte_of(int32_t value) {
    return static_cast<uint8_t>(std::clamp(value, 0, 255));
}

void twin(scene* s, int pen, const applique* old_one, const raster_image* old_image, const applique* new_one,
          const raster_image* new_image) {
    std::vector<sample> samples;
    pen_for_each_pixel(s->image, pen, &samples, collect);
    for (const sample& p : samples) {
        if (p.x >= WIDTH || p.y >= HEIGHT) continue;
        auto at = static_cast<size_t>(p.y * WIDTH + p.x);
        uint8_t* bytes[3] = {&s->red[at], &s->green[at], &s->blue[at]};
        const int32_t shades[3] = {p.red, p.green, p.blue};
        for (int c = 0; c < 3; ++c) {
            int32_t before = surface_contribution(old_one, old_image, c, shades[c], p.u, p.v);
            int32_t after = surface_contribution(new_one, new_image, c, shades[c], p.u, p.v);
            *bytes[c] = byte_of(*bytes[c] - before + after);
        }
    }
}

applique color(double red, double green, double blue) {
    applique a = {};
    a.is_color = 1;
    a.a0 = red;
    a.a1 = green;
    a.a2 = blue;
    return a;
}

class Reevaluate : public SurfaceFixture {
protected:
    void SetUp() override {
        SurfaceFixture::SetUp();
        pattern_path = write_raster("weave.rgb", 37, 21, 11);
        other_path = write_raster("brick.rgb", 64, 64, 12);
    }

    applique pattern(const std::string& path, double rotation, int mirror, double size) {
        applique a = {};
        a.file = const_cast<char*>(path.c_str());
        EXPECT_TRUE(applique_set_placement(&a, rotation, mirror, size));
        return a;
    }

    // Runs the pass and the twin on the same scene and compares all bytes.
    void compare(int pen, const applique* old_one, const applique* new_one) {
        std::mt19937 random(7);
        scene fast(random);
        std::mt19937 again(7);
        scene slow(again);
        raster_image* old_image = old_one != nullptr && old_one->file != nullptr ? load(old_one->file) : nullptr;
        raster_image* new_image = new_one != nullptr && new_one->file != nullptr ? load(new_one->file) : nullptr;
        EXPECT_EQ(reevaluate_pen(&fast.picture, fast.image, {nullptr, nullptr}, old_one, new_one, pen), 1);
        twin(&slow, pen, old_one, old_image, new_one, new_image);
        EXPECT_EQ(fast.red, slow.red);
        EXPECT_EQ(fast.green, slow.green);
        EXPECT_EQ(fast.blue, slow.blue);
        raster_image_free(old_image);
        raster_image_free(new_image);
    }

    std::string pattern_path;
    std::string other_path;
};

} // namespace

TEST_F(Reevaluate, ColoursEqualThePlainFormula) {
    applique red = color(1.0, 0.25, 0.0);
    applique grey = color(0.5, 0.5, 0.5);
    compare(5, nullptr, &red);
    compare(6, nullptr, &grey);
    compare(6, &red, &grey);
}

TEST_F(Reevaluate, PatternsEqualThePlainFormula) {
    applique plain = pattern(pattern_path, 0, 0, 1);
    applique turned = pattern(other_path, 33.5, 1, 0.07);
    applique tiny = pattern(pattern_path, 210, 0, 1e-6);
    applique minute = pattern(pattern_path, 45, 0, 1e-19);
    applique blue = color(0.1, 0.2, 0.9);
    compare(5, nullptr, &plain);
    compare(5, &plain, &turned);
    compare(5, &turned, &blue);
    compare(5, &blue, &tiny);
    compare(5, &tiny, &minute);
}

TEST_F(Reevaluate, NumbersThatAreNotFiniteCountAsNought) {
    applique wild = pattern(pattern_path, 0, 0, 1);
    wild.a2 = INFINITY;
    wild.a7 = NAN;
    compare(5, nullptr, &wild);
    EXPECT_EQ(surface_contribution(nullptr, nullptr, 0, 255, 0, 0), 127);
}

TEST_F(Reevaluate, PositionsWrapInBothDirections) {
    uint8_t bytes[4] = {10, 20, 30, 40};
    raster_image four = {nullptr, 4, 1, bytes, bytes, bytes};
    applique a = pattern(pattern_path, 0, 0, 1);
    auto at = [&](double s0) {
        a.a6 = s0; // S at u = 32768, the origin
        return surface_contribution(&a, &four, 0, 255, 32768, 32768);
    };
    EXPECT_EQ(at(65536.0), (10 * 255) >> 8);
    EXPECT_EQ(at(65535.0), (40 * 255) >> 8);
    EXPECT_EQ(at(-1.0), (40 * 255) >> 8);
    EXPECT_EQ(at(-0.5), (10 * 255) >> 8);            // truncated toward zero
    EXPECT_EQ(at(0x1p70 + 0x1p20), (10 * 255) >> 8); // far beyond 64 bits, exactly a multiple
    EXPECT_EQ(at(0x1p63 + 0x1p15), (30 * 255) >> 8); // 32768 in the low 16 bits
    EXPECT_EQ(at(-(0x1p66 + 0x1p15)), (30 * 255) >> 8);
}

TEST_F(Reevaluate, AColourTakenOffAndPutBackGivesTheSameBytes) {
    std::mt19937 random(9);
    scene s(random);
    std::fill(s.red.begin(), s.red.end(), uint8_t{128});
    std::fill(s.green.begin(), s.green.end(), uint8_t{128});
    std::fill(s.blue.begin(), s.blue.end(), uint8_t{128});
    auto before = s.red;
    applique half = color(0.5, 0.5, 0.5);
    applique third = color(0.55, 0.55, 0.55);
    ASSERT_EQ(reevaluate_pen(&s.picture, s.image, {nullptr, nullptr}, &half, &third, 6), 1);
    EXPECT_NE(s.red, before);
    ASSERT_EQ(reevaluate_pen(&s.picture, s.image, {nullptr, nullptr}, &third, &half, 6), 1);
    EXPECT_EQ(s.red, before);
}

TEST_F(Reevaluate, TellsTheChangedStretchOfEachRowInOrder) {
    struct told_row {
        int32_t y, x1, x2;
    };
    std::mt19937 random(7);
    scene s(random);
    std::vector<told_row> rows;
    auto note = [](void* user, int32_t y, int32_t x1, int32_t x2) {
        static_cast<std::vector<told_row>*>(user)->push_back({y, x1, x2});
    };
    applique red = color(1, 0, 0);
    ASSERT_EQ(reevaluate_pen(&s.picture, s.image, {note, &rows}, nullptr, &red, 5), 1);
    std::vector<sample> samples;
    pen_for_each_pixel(s.image, 5, &samples, collect);
    int32_t last = -1;
    for (const told_row& row : rows) {
        EXPECT_GT(row.y, last);
        last = row.y;
        int32_t low = WIDTH;
        int32_t high = -1;
        for (const sample& p : samples) {
            if (p.y != row.y || p.x >= WIDTH) continue;
            low = std::min(low, p.x);
            high = std::max(high, p.x);
        }
        EXPECT_EQ(row.x1, low);
        EXPECT_EQ(row.x2, high);
    }
    EXPECT_FALSE(rows.empty());
}

TEST_F(Reevaluate, RefusesWithoutTouchingThePicture) {
    std::mt19937 random(7);
    scene s(random);
    auto before = s.red;
    applique plain = pattern(pattern_path, 0, 0, 1);
    EXPECT_EQ(reevaluate_pen(&s.picture, s.image, {nullptr, nullptr}, nullptr, &plain, 6), 0);
    EXPECT_EQ(messages.back(), "Patterns cannot be applied to this surface.");
    std::string missing = directory + "/missing.rgb";
    applique gone = pattern(missing, 0, 0, 1);
    EXPECT_EQ(reevaluate_pen(&s.picture, s.image, {nullptr, nullptr}, nullptr, &gone, 5), 0);
    EXPECT_EQ(messages.back(), "load_image : failed to open \"" + missing + "\" for read");
    EXPECT_EQ(s.red, before);
}

TEST_F(Reevaluate, AFailedAllocationChangesNothing) {
    applique plain = pattern(pattern_path, 10, 0, 0.3);
    applique other = pattern(other_path, 20, 0, 0.3);
    for (long n = 0;; ++n) {
        std::mt19937 random(7);
        scene s(random);
        auto before = s.red;
        long live = mem_live();
        mem_fail_after(n, mem_fail::once);
        int done = reevaluate_pen(&s.picture, s.image, {nullptr, nullptr}, &plain, &other, 5);
        bool hit = mem_fail_stop();
        EXPECT_EQ(mem_live(), live);
        if (done == 0) {
            EXPECT_EQ(s.red, before);
        }
        EXPECT_TRUE(done == 1 || hit);
        if (!hit) break;
    }
}
