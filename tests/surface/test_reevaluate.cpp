// The re-evaluation pass against its slow, plain twin: one sample at a time by surface_contribution().
#include <cmath>
#include <random>

#include "common/failures.h"
#include "common/values.h"
#include "scene.h"
#include "surface/patterncache.h"

namespace {

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

    // Runs the pass and its plain form on the same scene and compares all bytes.
    static void compare(int pen, const applique* old_one, const applique* new_one) {
        std::mt19937 random(7);
        scene fast(random);
        std::mt19937 again(7);
        scene slow(again);
        EXPECT_EQ(reevaluate_pen(&fast.picture, fast.image, {nullptr, nullptr}, old_one, new_one, pen), 1);
        plain_pass(&slow.picture, slow.image, pen, old_one, new_one);
        EXPECT_EQ((values{fast.red, fast.green, fast.blue}), (values{slow.red, slow.green, slow.blue}));
    }

    void TearDown() override {
        pattern_cache_clear();
        SurfaceFixture::TearDown();
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
    const applique* order[] = {nullptr, &plain, &turned, &blue, &tiny, &minute};
    for (size_t i = 1; i < std::size(order); ++i)
        compare(5, order[i - 1], order[i]);
}

// Loaded once while it is the same file, anew when it has changed; what nobody uses goes, the oldest first.
TEST_F(Reevaluate, PatternsAreDecodedOnce) {
    const raster_image* first = pattern_take(pattern_path.c_str());
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(pattern_take(pattern_path.c_str()), first);
    pattern_give_back(first);
    pattern_give_back(first);
    const long live = mem_live();
    EXPECT_EQ(pattern_take(pattern_path.c_str()), first);
    EXPECT_EQ(mem_live(), live);
    write_raster("weave.rgb", 37, 22, 11);
    const raster_image* second = pattern_take(pattern_path.c_str());
    EXPECT_EQ(first->height, 21); // is still in use
    EXPECT_EQ(second->height, 22);
    pattern_give_back(first);
    pattern_give_back(second);
    for (int i = 0; i < 5; ++i) // 24 MB each
        pattern_give_back(pattern_take(write_raster("large" + std::to_string(i) + ".rgb", 4000, 2000, i).c_str()));
    EXPECT_EQ(pattern_cache_bytes(), size_t{2} * 4000 * 2000 * 3);
    EXPECT_NE(pattern_take(pattern_path.c_str()), second);
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
    const std::pair<double, int> cases[] = {
        {65536.0, 10},           {65535.0, 40}, {-1.0, 40}, {-0.5, 10}, // truncated toward zero
        {0x1p70 + 0x1p20, 10},                                          // far beyond 64 bits, exactly a multiple
        {0x1p63 + 0x1p15, 30},                                          // 32768 in the low 16 bits
        {-(0x1p66 + 0x1p15), 30}};
    for (const auto& [s, byte] : cases)
        EXPECT_EQ(at(s), (byte * 255) >> 8) << s;
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
        EXPECT_EQ((values{row.x1, row.x2}), (values{low, high}));
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
    std::mt19937 random(7);
    scene s(random);
    auto before = s.red;
    int done = 0;
    const auto check = [&](bool hit) {
        EXPECT_TRUE(done == 1 || (hit && s.red == before));
        before = s.red;
        pattern_cache_clear();
    };
    sweep_failures(
        MEMORY_FAILURES,
        [&] {
            done = reevaluate_pen(&s.picture, s.image, {nullptr, nullptr}, &plain, &other, 5);
        },
        check);
}
