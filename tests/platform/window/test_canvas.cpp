// Drawing at every depth, against a slow twin that knows one pixel at a time.
#include "common/failures.h"
#include "deskfixture.h"

#include <algorithm>
#include <array>
#include <random>

namespace {

constexpr int WIDTH = 70;
constexpr int HEIGHT = 50;
constexpr int DEPTHS[] = {4, 8, 15, 16, 24};

// The twin: pixels, and a clip box.
struct twin {
    std::vector<uint32_t> pixels = std::vector<uint32_t>(WIDTH * HEIGHT);
    canvas_box clip = {0, 0, WIDTH, HEIGHT};

    bool can_draw(int x, int y) const {
        return x >= 0 && y >= 0 && x < WIDTH && y < HEIGHT && x >= clip.x1 && y >= clip.y1 && x < clip.x2 &&
               y < clip.y2;
    }
    void set(int x, int y, uint32_t pixel) {
        if (can_draw(x, y)) pixels[size_t(y) * WIDTH + size_t(x)] = pixel;
    }
    uint32_t get(int x, int y) const {
        return x < 0 || y < 0 || x >= WIDTH || y >= HEIGHT ? 0 : pixels[size_t(y) * WIDTH + size_t(x)];
    }
};

struct random_numbers {
    std::mt19937 engine;
    int next(int low, int high) { return low + int(engine() % unsigned(high - low + 1)); }
    canvas_box box() {
        const int x = next(-20, WIDTH + 5);
        const int y = next(-20, HEIGHT + 5);
        return {x, y, x + next(-3, 60), y + next(-3, 40)};
    }
};

// One random operation on the canvas and on the twin.
void fill_both(canvas* c, twin* t, random_numbers* r) {
    const canvas_box b = r->box();
    const canvas_color color = CANVAS_SLOT | unsigned(r->next(0, 31));
    canvas_pattern pattern;
    for (uint8_t& row : pattern.rows)
        row = uint8_t(r->next(0, 255));
    const bool patterned = r->next(0, 1) != 0;
    if (patterned)
        canvas_fill_pattern(c, b, color, &pattern);
    else
        canvas_fill(c, b, color);
    const uint32_t pixel = canvas_pixel(color);
    for (int y = b.y1; y < b.y2; ++y)
        for (int x = b.x1; x < b.x2; ++x) {
            const uint32_t p = (pattern.rows[y & 7] & (0x80 >> (x & 7))) != 0 ? ~0u : 0;
            t->set(x, y, patterned ? (pixel & p) | (~pixel & t->get(x, y)) : pixel);
        }
}

void mask_both(canvas* c, twin* t, random_numbers* r) {
    const int x = r->next(-30, WIDTH);
    const int y = r->next(-30, HEIGHT);
    const int width = r->next(1, 40);
    const int height = r->next(1, 20);
    const size_t stride = size_t(width + 15) / 16 * 2;
    std::vector<uint8_t> bits(stride * size_t(height));
    for (uint8_t& b : bits)
        b = uint8_t(r->next(0, 255));
    const canvas_color color = CANVAS_SLOT | unsigned(r->next(0, 31));
    canvas_mask(c, x, y, width, height, bits.data(), stride, color);
    for (int row = 0; row < height; ++row)
        for (int column = 0; column < width; ++column)
            if ((bits[size_t(row) * stride + size_t(column / 8)] & (0x80 >> (column % 8))) == 0)
                t->set(x + column, y + row, canvas_pixel(color));
}

void rows_both(canvas* c, twin* t, random_numbers* r) {
    const canvas_box b = r->box();
    const int width = std::max(b.x2 - b.x1, 1);
    const int height = std::max(b.y2 - b.y1, 1);
    std::vector<uint8_t> source(size_t(width) * size_t(height) * 4);
    for (uint8_t& s : source)
        s = uint8_t(r->next(0, 255));
    uint16_t slots[256];
    for (int i = 0; i < 256; ++i)
        slots[i] = uint16_t(255 - i);
    const int form = r->next(0, 3);
    const int step = form == 0 || form == 1 ? 1 : (form == 2 ? 3 : 4);
    // from the bottom up, as well
    const bool upward = r->next(0, 1) != 0;
    const ptrdiff_t row_bytes = ptrdiff_t{width} * step;
    const uint8_t* rows = source.data() + (upward ? row_bytes * (height - 1) : 0);
    const ptrdiff_t stride = upward ? -row_bytes : row_bytes;
    if (form < 2) canvas_put_slots(c, b, rows, stride, form == 0 ? nullptr : slots);
    if (form == 2) canvas_put_bgr(c, b, rows, stride);
    if (form == 3) canvas_put_rgb0(c, b, rows, stride);
    for (int y = b.y1; y < b.y2; ++y)
        for (int x = b.x1; x < b.x2; ++x) {
            const uint8_t* s = rows + stride * (y - b.y1) + ptrdiff_t{step} * (x - b.x1);
            const canvas_color color = form == 0   ? CANVAS_SLOT | s[0]
                                       : form == 1 ? CANVAS_SLOT | slots[s[0]]
                                       : form == 2 ? canvas_rgb_color({s[2], s[1], s[0]})
                                                   : canvas_rgb_color({s[0], s[1], s[2]});
            t->set(x, y, canvas_pixel(color));
        }
}

void copy_both(canvas* c, twin* t, random_numbers* r) {
    const canvas_box from = r->box();
    const int to_x = from.x1 + r->next(-15, 15);
    const int to_y = from.y1 + r->next(-15, 15);
    canvas_copy(c, to_x, to_y, c, from);
    const twin before = *t;
    for (int y = std::max(from.y1, 0); y < std::min(from.y2, HEIGHT); ++y)
        for (int x = std::max(from.x1, 0); x < std::min(from.x2, WIDTH); ++x)
            t->set(x + to_x - from.x1, y + to_y - from.y1, before.get(x, y));
}

void line_both(canvas* c, twin* t, random_numbers* r) {
    const canvas_point a = {r->next(-40, WIDTH + 40), r->next(-40, HEIGHT + 40)};
    const canvas_point b = {r->next(-40, WIDTH + 40), r->next(-40, HEIGHT + 40)};
    const canvas_pen pen = {CANVAS_SLOT | unsigned(r->next(0, 31)), r->next(0, 1) != 0, r->next(0, 1) != 0,
                            CANVAS_SLOT | unsigned(r->next(0, 31)), r->next(0, 1) != 0};
    canvas_line(c, a, b, &pen);
    const int steps = std::max(std::abs(b.x - a.x), std::abs(b.y - a.y));
    for (int k = 0; k < steps + (pen.last_point ? 1 : 0); ++k) {
        // the nearest pixel, halves away from the start
        const auto at = [&](int from, int to) {
            const int way = std::abs(to - from);
            const int moved = steps == 0 ? 0 : (2 * k * way + steps) / (2 * steps);
            return to < from ? from - moved : from + moved;
        };
        const bool gap = pen.dotted && k % 6 >= 3;
        if (!gap || pen.opaque_gaps) t->set(at(a.x, b.x), at(a.y, b.y), canvas_pixel(gap ? pen.gap_color : pen.color));
    }
}

using operation = void (*)(canvas*, twin*, random_numbers*);

struct canvas_depth_test : testing::TestWithParam<int> {
    void SetUp() override {
        const host_screen size = {200, 150, GetParam(), 0};
        ASSERT_TRUE(host_start_with(&host_headless, &size, "T"));
        ASSERT_TRUE(desk_start("T"));
    }
    void TearDown() override { desk_stop(); }
};

TEST_P(canvas_depth_test, RandomOperationsMatchTheTwin) {
    canvas* c = canvas_create(WIDTH, HEIGHT);
    ASSERT_NE(c, nullptr);
    twin t;
    canvas_get_native(c, {0, 0, 1, 1}, t.pixels.data(), 4);
    std::fill(t.pixels.begin(), t.pixels.end(), canvas_get_pixel(c, 0, 0));
    random_numbers r = {std::mt19937(unsigned(GetParam()))};
    const operation operations[] = {fill_both, mask_both, rows_both, copy_both, line_both};
    for (int round = 0; round < 600; ++round) {
        if (round % 20 == 0) {
            t.clip = round % 40 == 0 ? canvas_box{0, 0, WIDTH, HEIGHT} : r.box();
            canvas_set_clip(c, t.clip);
            if (round % 40 == 0) canvas_clear_clip(c);
        }
        const int which = r.next(0, 4);
        operations[which](c, &t, &r);
        for (int y = 0; y < HEIGHT; ++y)
            for (int x = 0; x < WIDTH; ++x)
                ASSERT_EQ(canvas_get_pixel(c, x, y), t.get(x, y))
                    << which << " in round " << round << ", " << x << " " << y;
    }
    canvas_destroy(c);
}

// Drawing on a covered window: what is seen is what a canvas in memory gets; nothing else changes.
TEST_P(canvas_depth_test, WindowsAreDrawnOnWhereTheyAreSeen) {
    desk_window* w = desk_create(0, 1, nullptr, {-10, 5, WIDTH - 10, HEIGHT + 5});
    desk_window* over = desk_create(0, 2, nullptr, {20, 20, 35, 80});
    desk_show(w);
    desk_show(over);
    canvas* screen = desk_canvas(desk_main());
    canvas* c = desk_canvas(w);
    canvas* memory = canvas_create(WIDTH, HEIGHT);
    canvas_fill(desk_canvas(over), {0, 0, 90, 90}, CANVAS_SLOT | 5);
    canvas_fill(screen, {0, 0, 200, 150}, CANVAS_SLOT | 6);
    canvas_fill(c, {0, 0, WIDTH, HEIGHT}, 0);
    random_numbers r = {std::mt19937(7)};
    random_numbers same = r;
    twin unused;
    const operation operations[] = {fill_both, mask_both, rows_both, line_both};
    for (int round = 0; round < 200; ++round) {
        operations[round % 4](c, &unused, &r);
        operations[round % 4](memory, &unused, &same);
    }
    for (int y = 0; y < 100; ++y)
        for (int x = 0; x < 100; ++x) {
            uint32_t expected = canvas_pixel(CANVAS_SLOT | 6);
            if (x < WIDTH - 10 && y >= 5 && y < HEIGHT + 5) expected = canvas_get_pixel(memory, x + 10, y - 5);
            if (x >= 20 && x < 35 && y >= 20 && y < 80) expected = canvas_pixel(CANVAS_SLOT | 5);
            ASSERT_EQ(canvas_get_pixel(screen, x, y), expected) << x << " " << y;
        }
    canvas_destroy(memory);
}

TEST_P(canvas_depth_test, PixelsKeepWhatTheDepthCanHold) {
    const int planes = GetParam();
    const int lost = planes == 15 || planes == 16 ? 8 : 1; // step of a component
    for (int v = 0; v < 256; ++v) {
        const canvas_rgb color = {uint8_t(v), uint8_t(255 - v), uint8_t(v ^ 0x55)};
        const canvas_rgb back = canvas_pixel_rgb(canvas_pixel(canvas_rgb_color(color)));
        if (planes <= 8) continue;
        EXPECT_LT(std::abs(back.red - color.red), lost);
        EXPECT_LT(std::abs(back.green - color.green), lost);
        EXPECT_LT(std::abs(back.blue - color.blue), lost);
    }
    const canvas_rgb white = {255, 255, 255};
    EXPECT_EQ(canvas_pixel_rgb(canvas_pixel(canvas_rgb_color(white))), white);
    const canvas_rgb odd = {1, 2, 3};
    EXPECT_EQ(canvas_device_color(odd), (planes == 4 ? canvas_rgb{0, 0, 0} : odd));
    if (planes > 8) {
        const uint32_t all_ones = planes == 15 ? 0x7FFF : (planes == 16 ? 0xFFFF : 0xFFFFFF);
        EXPECT_EQ(canvas_pixel(canvas_rgb_color(white)), all_ones);
    }
    // Two slots of one colour: the lower one comes back on true colour, the slot itself on a palette.
    const canvas_rgb pink[2] = {{240, 16, 240}, {240, 16, 240}};
    ASSERT_TRUE(canvas_set_palette(30, pink, 2));
    EXPECT_EQ(canvas_pixel_slot(canvas_pixel(CANVAS_SLOT | 31)), planes <= 8 ? 31 : 30);
    EXPECT_FALSE(canvas_set_palette(255, pink, 2));
    EXPECT_FALSE(canvas_set_palette(-1, pink, 2));
    EXPECT_EQ(canvas_palette(256), (canvas_rgb{0, 0, 0}));
}

TEST_P(canvas_depth_test, ReadingGivesSlotsAndColoursAndZeroOutside) {
    canvas* c = canvas_create(4, 2);
    const uint8_t slots[8] = {9, 10, 11, 12, 13, 14, 15, 0};
    canvas_put_slots(c, {0, 0, 4, 2}, slots, 4, nullptr);
    uint8_t back[6 * 4];
    memset(back, 0xEE, sizeof(back));
    canvas_get_slots(c, {-1, -1, 5, 3}, back, 6);
    const uint8_t expected[24] = {0, 0, 0, 0, 0, 0, 0, 9, 10, 11, 12, 0, 0, 13, 14, 15, 0, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_TRUE(std::equal(back, back + 24, expected));
    uint8_t colors[8];
    canvas_get_rgb0(c, {1, 1, 3, 2}, colors, 8);
    for (int i = 0; i < 2; ++i) {
        const canvas_rgb slot = canvas_palette(slots[5 + i]);
        EXPECT_EQ((canvas_rgb{colors[i * 4], colors[i * 4 + 1], colors[i * 4 + 2]}), slot);
        EXPECT_EQ(colors[i * 4 + 3], 0);
    }
    canvas_destroy(c);
}

INSTANTIATE_TEST_SUITE_P(Depths, canvas_depth_test, testing::ValuesIn(DEPTHS));

struct canvas_test : desk_test {};

// A fan of triangles around a point covers each pixel of its outline once: no gaps, no overlaps.
TEST_F(canvas_test, PolygonsWithCommonEdgesFitTogether) {
    const canvas_point rim[6] = {{3, 7}, {40, 2}, {66, 20}, {61, 45}, {20, 48}, {1, 30}};
    const canvas_point middle = {31, 26};
    std::vector<int> covered(WIDTH * HEIGHT);
    for (int i = 0; i < 6; ++i) {
        canvas* c = canvas_create(WIDTH, HEIGHT);
        const canvas_point triangle[3] = {middle, rim[i], rim[(i + 1) % 6]};
        ASSERT_TRUE(canvas_polygon(c, triangle, 3, 1, nullptr));
        for (int p = 0; p < WIDTH * HEIGHT; ++p)
            covered[size_t(p)] += canvas_get_pixel(c, p % WIDTH, p / WIDTH) != 0;
        canvas_destroy(c);
    }
    canvas* whole = canvas_create(WIDTH, HEIGHT);
    ASSERT_TRUE(canvas_polygon(whole, rim, 6, 1, nullptr));
    int area = 0;
    for (int p = 0; p < WIDTH * HEIGHT; ++p) {
        const int expected = canvas_get_pixel(whole, p % WIDTH, p / WIDTH) != 0;
        EXPECT_EQ(covered[size_t(p)], expected) << p % WIDTH << " " << p / WIDTH;
        area += expected;
    }
    EXPECT_NEAR(area, 2279, 60); // by the coordinates
    canvas_destroy(whole);
}

TEST_F(canvas_test, PolygonsAtTheEdgesOfNumbersAndWithPatterns) {
    canvas* c = canvas_create(16, 16);
    const canvas_point huge[4] = {
        {INT32_MIN, INT32_MIN}, {INT32_MAX, INT32_MIN}, {INT32_MAX, INT32_MAX}, {INT32_MIN, INT32_MAX}};
    ASSERT_TRUE(canvas_polygon(c, huge, 4, CANVAS_SLOT | 15, nullptr));
    EXPECT_EQ(canvas_get_pixel(c, 0, 0), 0xFFFFFFu);
    EXPECT_EQ(canvas_get_pixel(c, 15, 15), 0xFFFFFFu);
    const canvas_point box[4] = {{2, 3}, {10, 3}, {10, 9}, {2, 9}};
    const canvas_pattern half = {{0xF0, 0xF0, 0xF0, 0xF0, 0xF0, 0xF0, 0xF0, 0xF0}};
    ASSERT_TRUE(canvas_polygon(c, box, 4, canvas_rgb_color({255, 0, 0}), &half));
    const struct {
        int x, y;
        uint32_t pixel;
    } seen[] = {{3, 3, 0xFF0000}, {4, 3, 0}, {9, 8, 0xFF0000}, {10, 8, 0xFFFFFF}, {9, 9, 0xFFFFFF}};
    for (const auto& p : seen)
        EXPECT_EQ(canvas_get_pixel(c, p.x, p.y), p.pixel) << p.x << " " << p.y;
    const canvas_pen pen = {0, false, false, 0, true};
    canvas_line(c, {INT32_MIN, 5}, {INT32_MAX, 5}, &pen);
    EXPECT_EQ(canvas_get_pixel(c, 0, 5), 0u);
    EXPECT_EQ(canvas_get_pixel(c, 15, 5), 0u);
    canvas_copy(c, INT32_MAX, INT32_MIN, c, {0, 0, 16, 16});
    canvas_mask(c, INT32_MAX, 0, 16, 1, nullptr, 2, 0);
    canvas_destroy(c);
    mem_fail_after(0, mem_fail::once);
    EXPECT_FALSE(canvas_polygon(desk_canvas(desk_main()), box, 4, 0, nullptr));
    EXPECT_TRUE(mem_fail_stop());
}

TEST_F(canvas_test, CreationFailsCleanly) {
    EXPECT_EQ(canvas_create(0, 5), nullptr);
    EXPECT_EQ(canvas_create(INT32_MAX, INT32_MAX), nullptr);
    canvas* c = nullptr;
    sweep_failures(
        std::array{failing::allocation}, [&] { c = canvas_create(8, 8); },
        [&](bool hit) {
            EXPECT_EQ(c == nullptr, hit);
            if (!hit) canvas_destroy(c);
        });
}

TEST_F(canvas_test, PartsCoverWhatIsSeenOnce) {
    desk_window* w = open(0, 1, {10, 10, 60, 60});
    open(0, 2, {20, 20, 30, 70});
    int pixels = 0;
    canvas_write_parts(
        desk_canvas(w), {-5, 0, 100, 20},
        [](void* user, canvas_box part, uint8_t* at, size_t stride) {
            for (int y = part.y1; y < part.y2; ++y)
                for (int x = part.x1; x < part.x2; ++x) {
                    auto* pixel = reinterpret_cast<uint32_t*>(at + size_t(y - part.y1) * stride) + (x - part.x1);
                    *pixel = uint32_t(y * 256 + x);
                    ++*static_cast<int*>(user);
                }
        },
        &pixels);
    EXPECT_EQ(pixels, 50 * 20 - 10 * 10);
    EXPECT_EQ(canvas_get_pixel(desk_canvas(desk_main()), 10 + 45, 10 + 19), 19u * 256 + 45);
}

} // namespace
