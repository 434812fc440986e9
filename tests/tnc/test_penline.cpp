// Pen lines: the bytes of known lines, code that no builder makes, and the questions that walk over lines.
#include <random>
#include <tuple>

#include "common/values.h"
#include "tnc/builder.h"
#include "tnc/penline.h"
#include "tnc/pline.h"
#include "tnc_fixture.h"

namespace {

using pixel = std::tuple<int, int, int, int, int, int>; // x, red, green, blue, u, v

struct penline_test : tnc_test {
    static void take(void* user, int, int, int32_t, pline* chain) {
        auto* to = static_cast<pline**>(user);
        *to = chain;
    }
    // The packed line of one pen's samples.
    static pline* packed(const std::vector<pixel>& samples, bool uv) {
        pline* chain = nullptr;
        pen_builder* builder = builder_new(take, &chain);
        builder_set_pen(builder, 1, uv ? 1 : 0);
        for (const auto& [x, r, g, b, u, v] : samples) {
            builder_move_x(builder, x - builder_x(builder));
            builder_add_sample(builder, 1, low(r), low(g), low(b), static_cast<uint16_t>(u), static_cast<uint16_t>(v));
        }
        builder_free(builder);
        return chain;
    }
    static bytes code_of(const std::vector<pixel>& samples, bool uv) {
        pline* chain = packed(samples, uv);
        bytes code(chain->code, chain->code + chain->length);
        pline_free_chain(chain);
        return code;
    }
    static std::vector<pixel> decoded(const pline* line) {
        std::vector<pixel> samples;
        pline_decode(line, 0, &samples,
                     [](void* to, int32_t x, int32_t, int32_t r, int32_t g, int32_t b, int32_t u, int32_t v) {
                         static_cast<std::vector<pixel>*>(to)->emplace_back(x, r, g, b, u, v);
                     });
        return samples;
    }
    static pline* line_of(const bytes& code) {
        pline* line = pline_new(static_cast<uint32_t>(code.size()));
        std::copy(code.begin(), code.end(), line->code);
        return line;
    }
};

std::vector<pixel> grey_run(int x, int count, int shade) {
    std::vector<pixel> run;
    run.reserve(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i)
        run.emplace_back(x + i, shade, shade, shade, 0, 0);
    return run;
}

} // namespace

TEST_F(penline_test, known_lines_have_known_bytes) {
    // Gaps take the shortest skips, and counts move behind the header from eight on.
    const struct {
        int x, count;
        bytes code;
    } runs[] = {{127, 1, {0xFF, 0x1D, 5, 0}},
                {128, 1, {0x80, 0x7F, 0x1D, 5, 0}},
                {256, 1, {0x80, 0xFF, 0x1D, 5, 0}},
                {300, 1, {0x80, 0xFF, 0xAC, 0x1D, 5, 0}},
                {0, 7, {0x7D, 5, 0}},
                {0, 8, {0x0D, 7, 5, 0}},
                {0, 256, {0x0D, 255, 5, 0}}};
    for (const auto& r : runs)
        EXPECT_EQ(code_of(grey_run(r.x, r.count, 5), false), r.code) << r.x << " " << r.count;
    EXPECT_EQ(code_of(grey_run(0, 257, 5), false).size(), 6u); // a second run, of 256 and 1 in some order
    EXPECT_EQ(code_of({{0, 1, 2, 3, 0x1234, 0x5678}}, true), (bytes{0x17, 1, 2, 3, 0x34, 0x12, 0x78, 0x56, 0}));
    EXPECT_EQ(code_of({{0, 5, 5, 5, 0, 0}}, true), (bytes{0x1F, 5, 0, 0, 0, 0, 0}));
    // Second differences take two bytes: 100, 100, then +127; v wraps, its difference is taken on the full values and
    // does not fit.
    EXPECT_EQ(code_of({{0, 9, 9, 9, 100, 65000}, {1, 9, 9, 9, 200, 300}, {2, 9, 9, 9, 427, 1263}}, true).front(), 0x3F);
    EXPECT_EQ(code_of({{0, 9, 9, 9, 100, 1000}, {1, 9, 9, 9, 200, 900}, {2, 9, 9, 9, 427, 672}}, true),
              (bytes{0x3E, 9, 0, 3, 0, 3, 100, 0xE8, 200, 0x84, 127, 0x80, 0}));
    EXPECT_EQ(code_of({{0, 9, 9, 9, 1, 1}, {1, 9, 9, 9, 2, 2}}, true).front(), 0x2F);
}

TEST_F(penline_test, broken_code_ends_the_line) {
    std::mt19937 random(6);
    for (int round = 0; round < 20000; ++round) {
        bytes code(random() % 24);
        for (auto& byte : code)
            byte = static_cast<uint8_t>(random());
        pline* line = line_of(code);
        std::vector<pixel> samples = decoded(line);
        int32_t shade[3];
        for (const auto& p : samples)
            pline_shade_at(line, std::get<0>(p), &shade[0], &shade[1], &shade[2]);
        penline_position at = penline_begin(line);
        int32_t x = 0, count = 0;
        int64_t total = 0;
        while (penline_skip_run(&at, &x, &count))
            total += count;
        EXPECT_EQ(total, static_cast<int64_t>(samples.size()));
        mem_free(line);
    }
}

TEST_F(penline_test, what_a_line_holds_is_told_without_decoding_it) {
    const struct {
        bytes code;
        int samples, without_uv_code;
        bool ends_in_item, has_end;
    } cases[] = {
        {{0x1C, 9, 0}, 1, 1, false, true},
        {{0x82, 0x1D, 9, 0x09, 255, 1, 2, 3, 0}, 1, 0, true, false}, // 256 pixels are not there
        {{0x82, 0x0D, 255, 9, 0, 7}, 256, 0, false, true},           // what stands behind the end is nothing
        {{0x1D, 9}, 1, 0, false, false},
        {{0x80, 0x7F}, 0, 0, false, false},
        {{0x80}, 0, 0, true, false},
        {{0}, 0, 0, false, true},
        {{}, 0, 0, false, false},
    };
    for (const auto& c : cases) {
        pline* line = line_of(c.code);
        penline_content content = penline_examine(line);
        EXPECT_EQ((values{content.samples, content.without_uv_code, content.ends_in_item, content.has_end}),
                  (values{c.samples, c.without_uv_code, c.ends_in_item, c.has_end}))
            << &c - cases;
        EXPECT_EQ(decoded(line).size(), static_cast<size_t>(c.samples)) << &c - cases; // read all the same
        mem_free(line);
    }
}

TEST_F(penline_test, walks_stop_and_pens_are_picked_by_strength) {
    bytes content = START;
    for (int pen = 0; pen < 30; ++pen)
        content = content + pen_record(pen, false);
    for (int pen = 0; pen < 30; ++pen)
        content = content + shade_record(pen, pen * 7 % 31 * 8);
    tnc_image* image = read(content + END, 1);
    ASSERT_NE(image, nullptr);
    int32_t pens[30];
    EXPECT_EQ(pens_at_pixel(image, 0, 0, pens, 30), PENS_AT_PIXEL_MAX);
    // The limit is on the pens looked at, from 0 up: of the first twenty the strongest comes first.
    for (int i = 1; i < PENS_AT_PIXEL_MAX; ++i)
        EXPECT_GT(pens[i - 1] * 7 % 31, pens[i] * 7 % 31);
    for (const auto& [x, y] : {std::pair{1, 0}, {0, 1}, {0, -1}})
        EXPECT_EQ(pens_at_pixel(image, x, y, pens, 30), 0) << x << " " << y;
    int calls = 0;
    auto stop = [](void* user, int32_t, int32_t, int32_t) { return ++*static_cast<int*>(user); };
    EXPECT_EQ(pen_for_each_run(image, 3, &calls, stop), 1);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(pen_for_each_run(image, 239, &calls, stop), 0);
    pen_summary summary;
    ASSERT_TRUE(pen_summarise(image, 3, &summary));
    EXPECT_EQ(summary.samples, 1);
    EXPECT_FALSE(pen_summarise(image, 200, &summary));
    tnc_free(image);
}
