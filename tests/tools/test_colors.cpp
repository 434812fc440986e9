// The palette, and the four pipelines: their tables, and rows of bytes as pixels.
#include "common/values.h"
#include "draw_fixture.h"

#include <cmath>
#include <random>

#include "tools/rgbdata.h"

namespace {

class Colors : public DrawFixture {};

canvas_rgb slot_color(int slot) {
    return canvas_palette(slot);
}

TEST_F(Colors, SlotsHoldTheStandardColoursAndWhiteBehindThem) {
    for (int planes : DEPTHS) {
        SCOPED_TRACE(planes);
        start(planes);
        EXPECT_EQ((values{screen_planes, max_color_index}), (values{planes, planes == 4 ? 15 : 255}));
        const color_entry* table = nullptr;
        int count = 0;
        Inq_standard_colors(&table, &count);
        ASSERT_EQ(count, 14);
        for (int i = 0; i < count; ++i) {
            EXPECT_EQ(table[i].slot, i + 1);
            color_entry read = {};
            ASSERT_EQ(Read_colors(0, &read, 1, i + 1), 0);
            EXPECT_EQ(read.slot, i + 1);
            EXPECT_EQ(read.red >> 8, table[i].red >> 8) << i; // on 4 planes they are colours of the screen
            EXPECT_EQ(read.red & 255, read.red >> 8);
        }
        EXPECT_EQ(slot_color(max_color_index).blue, 255);
        EXPECT_EQ(slot_color(11).blue, planes == 4 ? 0 : 187);
        EXPECT_EQ(slot_color(DITHER_SLOT + 7).red, planes == 4 ? 192 : 0);
        EXPECT_EQ(window_find(0)->attributes.foreground, CANVAS_SLOT | uint32_t(max_color_index));
    }
}

TEST_F(Colors, EntriesBeyondThePaletteAreLeftOut) {
    EXPECT_EQ(Load_colors(0, nullptr, 0), -1); // no palette
    start(8);
    const color_entry entries[] = {{30, 0x1234, 0x5678, 0x9ABC}, {256, 1, 1, 1}, {31, 0xFFFF, 0, 0}};
    EXPECT_EQ(Load_colors(0, entries, 3), -1);
    EXPECT_EQ((values{slot_color(30).green, slot_color(31).red}), (values{0x56, 255}));
    color_entry read[3] = {};
    EXPECT_EQ(Read_colors(0, read, 0, 999), 0);
    EXPECT_EQ(Read_colors(0, read, 3, 254), -1);
    EXPECT_EQ((values{read[1].slot, read[1].red, read[2].slot}), (values{255, 65535, 256}));
    start(4);
    const color_entry pink = {5, 0xFF00, 0xC000, 0xC000};
    EXPECT_EQ(Load_colors(0, &pink, 1), 0); // becomes a colour that the screen has
    EXPECT_EQ((values{slot_color(5).red, slot_color(5).red}), (values{slot_color(5).green, 192}));
}

TEST_F(Colors, TrueColourIsGrantedOnce) {
    int32_t mode = 5;
    start(8);
    EXPECT_EQ(Request_color_mode(2, &mode), -1);
    start(15);
    EXPECT_EQ(Request_color_mode(0, &mode), -1);
    EXPECT_EQ(mode, 5);
    EXPECT_EQ(Request_color_mode(2, &mode), 0);
    EXPECT_EQ(mode, 2);
    EXPECT_EQ(Request_color_mode(2, &mode), -1);
    EXPECT_EQ(RGB_init(0, 15), 0); // somebody else has it
    EXPECT_EQ(rgb_depth, 0);
    start(24);
    EXPECT_EQ(RGB_enable_window(0), 0);
    EXPECT_EQ(window_find(0)->attributes.color_mode, COLOR_MODE_PALETTE);
    EXPECT_EQ(RGB_init(0, 24), 24);
    EXPECT_EQ(RGB_enable_window(0), 0);
    EXPECT_EQ(window_find(0)->attributes.color_mode, COLOR_MODE_TRUE);
}

TEST_F(Colors, ThePipelineFollowsFromTheSmallerNumberOfPlanes) {
    const struct {
        int screen, planes, depth, result;
    } cases[] = {{24, 24, 24, 24}, {24, 99, 24, 24}, {24, 23, 15, 24}, {24, 15, 15, 24}, {24, 14, 8, 8},
                 {24, 7, 4, 4},    {24, 3, 0, 0},    {16, 24, 15, 24}, {15, 24, 15, 24}, {8, 24, 8, 8},
                 {8, 4, 4, 4},     {4, 24, 4, 4},    {4, -1, 0, 0}};
    for (const auto& c : cases) {
        start(c.screen);
        EXPECT_EQ(RGB_init(0, c.planes), c.result) << c.screen << " " << c.planes;
        EXPECT_EQ(rgb_depth, c.depth) << c.screen << " " << c.planes;
    }
    EXPECT_EQ(rgb_dither_pixel(0, 0, 255, 255, 255), 0u); // none is in force
    uint8_t untouched = 9;
    rgb_pixel_color(20, &untouched, &untouched, &untouched);
    EXPECT_EQ(untouched, 9);
}

TEST_F(Colors, NoMemoryMeansNoPipeline) {
    start(4);
    mem_fail_after(0, mem_fail::once);
    EXPECT_EQ(RGB_init(0, 4), 0);
    mem_fail_stop();
    std::string told;
    log_set_sink([](void* user, int level,
                    const char* text) { *static_cast<std::string*>(user) += std::to_string(level) + text; },
                 &told);
    mem_fail_after(1, mem_fail::once); // the header first, then vmap
    EXPECT_EQ(RGB_init(0, 4), 0);
    EXPECT_TRUE(mem_fail_stop());
    RGB_init(0, 2);
    EXPECT_EQ((values{told, rgb_depth}), (values{"2init_vmap: out of memory2RGB_init: too few planes", 0}));
    EXPECT_EQ(RGB_init(0, 4), 4);

    log_set_sink(nullptr, nullptr);
}

uint64_t hash(uint64_t h, uint64_t value) {
    return (h ^ value) * 0x100000001b3;
}
constexpr uint64_t HASH_START = 0xcbf29ce484222325;

TEST_F(Colors, AllEntriesOfThe4PlaneTableAreAsWorkedOutApart) {
    start(4);
    ASSERT_EQ(RGB_init(0, 4), 4);
    uint64_t table = HASH_START;
    uint64_t pixels = HASH_START;
    for (size_t i = 0; i < VMAP_SIZE; ++i) {
        ASSERT_NE(rgb.vmap[i], VMAP_EMPTY) << i;
        ASSERT_LT(rgb.vmap[i] >> 10, QUADS) << i;
        ASSERT_LT(rgb.vmap[i] & 1023, MIXES) << i;
        table = hash(table, rgb.vmap[i]);
        for (int cell = 0; cell < CELLS; ++cell) {
            const auto five = [i](unsigned shift) { return uint8_t((i >> shift & 31) << 3 | 7); };
            pixels = hash(pixels, rgb_dither_pixel(cell & 3, cell >> 2, five(10), five(5), five(0)));
        }
    }
    EXPECT_EQ(table, 0x96a27a34ea4e04d5); // from a script that follows the same rules
    EXPECT_EQ(pixels, 0x7d42e6554c9e1151);
}

// The 16 cells of a colour together come to its gamma value exactly.
TEST_F(Colors, TheCellsOfADitherAddUpToTheColour) {
    start(8);
    ASSERT_EQ(RGB_init(0, 8), 8);
    for (int i = 0; i < 256; ++i) {
        int sum[3] = {};
        for (int cell = 0; cell < CELLS; ++cell) {
            const int slot = int(rgb_dither_pixel(cell & 3, cell >> 2, uint8_t(i), uint8_t(255 - i), 7)) - CUBE_SLOT;
            ASSERT_GE(slot, 0);
            ASSERT_LT(slot, CUBE_COLORS);
            sum[0] += slot / 36;
            sum[1] += slot / 6 % 6;
            sum[2] += slot % 6;
        }
        const auto expected = [](int v) { return int(std::lround(std::pow(v / 255.0, 1 / 2.05) * 80)); };
        EXPECT_EQ(sum[0], expected(i));
        EXPECT_EQ(sum[1], expected(255 - i));
        EXPECT_EQ(sum[2], expected(7));
    }
    EXPECT_EQ((values{rgb_dither_pixel(3, 3, 255, 255, 255), rgb_plain_pixel(255, 255, 255)}), (values{235u, 235u}));
    const auto color_of = [](uint32_t pixel) {
        uint8_t red = 0, green = 0, blue = 0;
        rgb_pixel_color(pixel, &red, &green, &blue);
        return values{red, green, blue};
    };
    EXPECT_EQ(color_of(235 - 36), (values{204, 255, 255}));
    EXPECT_EQ(slot_color(20 + 36 + 6 + 1).green, 51);

    start(15);
    ASSERT_EQ(RGB_init(0, 15), 24);
    for (int i = 0; i < 256; ++i) {
        int sum = 0;
        for (int cell = 0; cell < CELLS; ++cell) {
            const uint32_t pixel = rgb_dither_pixel(cell & 3, cell >> 2, uint8_t(i), uint8_t(i), 0);
            EXPECT_EQ((values{pixel >> 16, pixel & 255, pixel & 7}), (values{0u, pixel >> 8, 0u}));
            sum += int(pixel & 255);
        }
        EXPECT_EQ(sum, std::min<int>(rgb.gamma_table[i], 248) * CELLS) << i;
    }
    EXPECT_EQ(color_of(0x0A0B0C), (values{8, 8, 8}));

    start(24);
    for (const double none : {0.0, -2.2, double{NAN}, double{INFINITY}})
        RGB_set_gamma(none);
    ASSERT_EQ(RGB_init(0, 24), 24);
    EXPECT_EQ(rgb_dither_pixel(1, 2, 0, 255, 100), rgb_plain_pixel(0, 255, 100));
    EXPECT_EQ(rgb_plain_pixel(0, 255, 100), 255u << 8 | uint32_t(std::lround(std::pow(100 / 255.0, 1 / 2.05) * 255))
                                                            << 16);
}

// Rows of bytes as pixels: each must be what the single pixel function says, for a covered window, at each depth, in
// each pipeline.
class RgbRows : public DrawFixture {
protected:
    void prepare(int planes, int pipeline) {
        start(planes);
        ASSERT_NE(RGB_init(0, pipeline), 0);
        window = open(10, 10, 109, 89);
        fgcolor(window, 0);
        rectf(window, 0, 0, 99, 79);
        const int upper = open(30, 30, 44, 35);
        paint(upper, 15, 6);
        color_entry grey[16]; // so that the slots of the 4-plane dither differ on other screens, too
        for (int i = 0; i < 16; ++i)
            grey[i] = {uint16_t(DITHER_SLOT + i), uint16_t(i * 4096), uint16_t(i * 4000), 0};
        if (planes != 4 && rgb_depth == 4) Load_colors(0, grey, 16);
        std::mt19937 random(3);
        for (auto* plane : {&red, &green, &blue})
            for (uint8_t& b : *plane)
                b = uint8_t(random());
    }
    static canvas_color color_of(uint32_t pixel) { return rgb_depth < 15 ? CANVAS_SLOT | pixel : pixel; }

    // Compares all the window's pixels; `source` gives the index of a pixel's bytes, or -1 where nothing was drawn.
    template <typename F> void compare(const std::vector<uint8_t>& before, F source) {
        int wrong = 0;
        std::vector<uint8_t> now = screen();
        const size_t size = size_t(canvas_pixel_bytes());
        for (int y = 0; y <= screen_height; ++y)
            for (int x = 0; x <= screen_width; ++x) {
                const size_t at = (size_t(y) * size_t(screen_width + 1) + size_t(x)) * size;
                uint32_t pixel = 0, was = 0;
                memcpy(&pixel, &now[at], size);
                memcpy(&was, &before[at], size);
                const int wx = x - 10;
                const int wy = y - 10;
                const bool covered = x >= 30 && x <= 44 && y >= 30 && y <= 35;
                const bool inside = wx >= 0 && wy >= 0 && wx < 100 && wy < 80 && !covered;
                const int i = inside ? source(wx, wy) : -1;
                const auto n = size_t(std::max(i, 0));
                const uint32_t expected =
                    i < 0 ? was : canvas_pixel(color_of(rgb_dither_pixel(wx, wy, red[n], green[n], blue[n])));
                if (pixel != expected) ++wrong;
            }
        EXPECT_EQ(wrong, 0);
    }
    int window = -1;
    static constexpr int STRIDE = 120;
    std::vector<uint8_t> red = std::vector<uint8_t>(STRIDE * 100), green = red, blue = red;
};

TEST_F(RgbRows, RectanglesLinesAndFillsAreTheSinglePixels) {
    const struct {
        int screen, pipeline;
    } cases[] = {{4, 4}, {8, 8}, {15, 15}, {16, 16}, {24, 24}, {24, 15}, {24, 8}, {24, 4}, {16, 8}, {15, 4}, {8, 4}};
    const canvas_box boxes[] = {{0, 0, 99, 79},   {1, 1, 1, 1},      {3, 2, 24, 2},  {3, 2, 25, 4},   {18, 17, 41, 29},
                                {-7, -3, 50, 11}, {90, 70, 119, 99}, {50, 5, 49, 9}, {20, 20, 34, 25}};
    for (const auto& c : cases)
        for (const canvas_box& b : boxes) {
            SCOPED_TRACE(testing::Message() << c.screen << "/" << c.pipeline << " from " << b.x1 << "," << b.y1);
            prepare(c.screen, c.pipeline);
            const auto inside = [&](int x, int y) { return x >= b.x1 && x <= b.x2 && y >= b.y1 && y <= b.y2; };
            std::vector<uint8_t> before = screen();
            rgb_rect(window, b.x1, b.x2, b.y1, b.y2, red.data(), green.data(), blue.data(), STRIDE);
            compare(before, [&](int x, int y) { return inside(x, y) ? (y - b.y1) * STRIDE + x - b.x1 : -1; });
            before = screen();
            rgb_fill(window, b.x1, b.x2, b.y1, b.y2, red.data() + 99, green.data() + 99, blue.data() + 99);
            compare(before, [&](int x, int y) { return inside(x, y) ? 99 + x - b.x1 : -1; });
            before = screen();
            rgb_line(window, b.x1, b.x2, b.y1, red.data() + 50, green.data() + 50, blue.data() + 50);
            compare(before, [&](int x, int y) { return inside(x, y) && y == b.y1 ? 50 + x - b.x1 : -1; });
        }
}

} // namespace
