// A cell for every drawing call.
//
// Cells are 90 by 74 pixels of paper below a name. Each draws at its own place, since drawing knows no other origin
// than the window's.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

#include "demo.h"
#include "platform/files.h"
#include "tools/colors.h"
#include "tools/draw.h"
#include "tools/font.h"
#include "tools/process.h"
#include "tools/windows.h"

namespace {

constexpr int COLUMNS = 6, ROWS = 3;
constexpr int ACROSS = 102, DOWN = 112;
constexpr int WIDTH = COLUMNS * ACROSS, HEIGHT = ROWS * DOWN + 4;
constexpr int CELL_WIDTH = 90, CELL_HEIGHT = 82;

// Draws with its top left corner at x, y.
using cell_function = void (*)(int window, int x, int y);

void line(int window, int x1, int y1, int x2, int y2) {
    move(window, x1, y1);
    draw(window, x2, y2);
}

void cell_draw(int window, int x, int y) {
    fgcolor(window, SLOT_DARK_BLUE);
    for (int i = 0; i < 6; ++i) {
        weight(window, i);
        line(window, x + 6, y + 8 + i * 12, x + 40, y + 8 + i * 12);
        line(window, x + 46 + i * 7, y + 74, x + 52 + i * 7, y + 8);
    }
    weight(window, 0);
}

void cell_linestyle(int window, int x, int y) {
    bgcolor(window, SLOT_YELLOW);
    for (int i = 0; i < 4; ++i) {
        fgcolor(window, i % 2 == 0 ? SLOT_DARK_RED : SLOT_BLACK);
        linestyle(window, i < 2 ? 0x0F0F : 0xFFFF);
        blendline(window, i == 1 ? 0 : 0xFFFF);
        weight(window, i == 3 ? 2 : 0);
        line(window, x + 6, y + 10 + i * 10, x + 84, y + 10 + i * 10);
    }
    weight(window, 0);
    linestyle(window, 0x3333);
    fgcolor(window, SLOT_DARK_GREEN);
    for (int i = 0; i < 9; ++i)
        line(window, x + 6 + i * 10, y + 50, x + 46, y + 76);
    linestyle(window, 0xFFFF);
    blendline(window, 0xFFFF);
}

void cell_pnt(int window, int x, int y) {
    for (int i = 0; i < 8; ++i) {
        const double angle = i * 0.785;
        weight(window, i);
        fgcolor(window, i % 2 == 0 ? SLOT_DARK_RED : SLOT_DARK_BLUE);
        pnt(window, x + 45 + static_cast<int>(28 * std::cos(angle)), y + 41 + static_cast<int>(28 * std::sin(angle)));
    }
    weight(window, 0);
    fgcolor(window, SLOT_BLACK);
    for (int i = 0; i < 40; ++i)
        pnt(window, x + 25 + i, y + 41 + static_cast<int>(8 * std::sin(i * 0.32)));
}

constexpr uint32_t NO_PATTERN[8] = {~0U, ~0U, ~0U, ~0U, ~0U, ~0U, ~0U, ~0U};
constexpr uint32_t PATTERNS[4][8] = {
    {0x55, 0xAA, 0x55, 0xAA, 0x55, 0xAA, 0x55, 0xAA},
    {0x11, 0x22, 0x44, 0x88, 0x11, 0x22, 0x44, 0x88},
    {0xFF, 0x80, 0x80, 0x80, 0xFF, 0x08, 0x08, 0x08},
    {0x00, 0x3C, 0x7E, 0x7E, 0x7E, 0x7E, 0x3C, 0x00},
};

void cell_rectf(int window, int x, int y) {
    demo_fill(window, {x + 6, y + 6, x + 28, y + 28}, SLOT_DARK_RED);
    demo_fill(window, {x + 20, y + 16, x + 42, y + 40}, SLOT_DARK_GREEN);
    demo_fill(window, {x + 8, y + 34, x + 30, y + 52}, SLOT_DARK_BLUE);
    for (int i = 0; i < 4; ++i) {
        const int left = x + 48 + i % 2 * 20;
        const int top = y + 6 + i / 2 * 24;
        demo_fill(window, {left, top, left + 17, top + 20}, SLOT_BLACK);
        fillpattern(window, PATTERNS[i]);
        fgcolor(window, SLOT_WHITE);
        rectf(window, left, top, left + 17, top + 20);
        fillpattern(window, NO_PATTERN);
    }
    for (int i = 0; i < 8; ++i)
        demo_fill(window, {x + 6 + i * 10, y + 60, x + 14 + i * 10, y + 75}, 1 + i);
}

void star_points(double middle_x, double middle_y, double radius, double* points) {
    for (int i = 0; i < 6; ++i) {
        const double angle = -1.5708 + i * 2.51327;
        points[2 * i] = middle_x + radius * std::cos(angle);
        points[2 * i + 1] = middle_y + radius * std::sin(angle);
    }
}

// The same star in the four forms of points.
void cell_polyf(int window, int x, int y) {
    for (int form = 0; form < 4; ++form) {
        double d[12];
        float f[12];
        int32_t l[12];
        int16_t s[12];
        const int middle_x = x + 24 + form % 2 * 42;
        const int middle_y = y + 23 + form / 2 * 38;
        star_points(middle_x, middle_y, 18, d);
        for (int i = 0; i < 12; ++i) {
            f[i] = static_cast<float>(d[i]);
            l[i] = static_cast<int32_t>(d[i]);
            s[i] = static_cast<int16_t>(d[i]);
        }
        const void* lists[] = {d, f, l, s};
        fgcolor(window, SLOT_RED + form % 3 + (form == 3 ? SLOT_DARK_RED - SLOT_RED : 0));
        demo_expect(polyf(window, lists[form], 6, form * 2) == 0, "polyf");
    }
}

void cell_polygon4(int window, int x, int y) {
    fgcolor(window, SLOT_DARK_GREEN);
    polygon4(window, y + 6, y + 36, x + 20, x + 6, x + 70, x + 84);
    fgcolor(window, SLOT_DARK_BLUE);
    fillpattern(window, PATTERNS[1]);
    polygon4(window, y + 42, y + 76, x + 6, x + 30, x + 60, x + 84);
    fillpattern(window, NO_PATTERN);
}

// Rays, limited to three boxes. A refresh has its own clip box, which comes back at the end.
void cell_clipbox(int window, int x, int y) {
    const demo_rect boxes[] = {
        {x + 6, y + 6, x + 40, y + 75}, {x + 46, y + 6, x + 84, y + 38}, {x + 46, y + 44, x + 84, y + 75}};
    for (int i = 0; i < 3; ++i) {
        const demo_rect b = boxes[i];
        const window_attributes& a = window_find(window)->attributes;
        demo_expect(pushattributes(window) == 0, "pushattributes");
        if (a.clipped)
            clipbox(window, b.x1 > a.clip_x1 ? b.x1 : a.clip_x1, b.y1 > a.clip_y1 ? b.y1 : a.clip_y1,
                    b.x2 < a.clip_x2 ? b.x2 : a.clip_x2, b.y2 < a.clip_y2 ? b.y2 : a.clip_y2);
        else
            clipbox(window, b.x1, b.y1, b.x2, b.y2);
        fgcolor(window, SLOT_DARK_RED + i);
        for (int j = 0; j < 36; ++j)
            line(window, x + 43, y + 41, x + 43 + static_cast<int>(60 * std::cos(j * 0.1745)),
                 y + 41 + static_cast<int>(60 * std::sin(j * 0.1745)));
        demo_expect(popattributes(window) == 0, "popattributes");
    }
}

constexpr uint8_t CUP[] = { // 16 by 14 pixels, bit 0 leftmost
    0x48, 0x00, 0x90, 0x00, 0x48, 0x00, 0x00, 0x00, 0xFF, 0x07, 0xFF, 0x1F, 0xFF, 0x37,
    0xFF, 0x27, 0xFF, 0x37, 0xFE, 0x1B, 0xFC, 0x01, 0x00, 0x00, 0xFF, 0x07, 0xFE, 0x03};

void cell_drawbitmap(int window, int x, int y) {
    for (int i = 0; i < 12; ++i) {
        const int left = x + 8 + i % 4 * 20;
        const int top = y + 10 + i / 4 * 22;
        static constexpr int inks[] = {SLOT_BLACK,     SLOT_DARK_RED, SLOT_DARK_GREEN,
                                       SLOT_DARK_BLUE, SLOT_DARK,     SLOT_SHADOW};
        fgcolor(window, inks[i % 6]);
        demo_expect(drawbitmap(window, left, top, left + 15, top + 13, CUP) == 0, "drawbitmap");
    }
}

// A zero bit paints; the high bit is leftmost.
void cell_draw_mask(int window, int x, int y) {
    std::vector<uint8_t> mask(static_cast<size_t>(8 * 58), 0xFF);
    for (int row = 0; row < 58; ++row)
        for (int column = 0; column < 58; ++column) {
            const double distance = std::hypot(column - 28.5, row - 28.5);
            const bool paints = distance < 29 && static_cast<int>(distance) / 4 % 2 == 0;
            uint8_t& byte = mask[static_cast<size_t>(row) * 8 + static_cast<size_t>(column) / 8];
            if (paints) byte = static_cast<uint8_t>(byte & ~(0x80 >> column % 8));
        }
    fgcolor(window, SLOT_SHADOW);
    draw_mask(window, x + 20, y + 16, 58, 58, mask.data());
    fgcolor(window, SLOT_DARK_RED);
    draw_mask(window, x + 16, y + 12, 58, 58, mask.data());
}

void small_scene(int window, int x, int y) {
    demo_fill(window, {x, y, x + 35, y + 29}, SLOT_DARK_BLUE);
    demo_fill(window, {x, y + 18, x + 35, y + 29}, SLOT_DARK_GREEN);
    demo_fill(window, {x + 8, y + 10, x + 20, y + 22}, SLOT_DARK_RED);
    fgcolor(window, SLOT_YELLOW);
    weight(window, 5);
    pnt(window, x + 28, y + 7);
    weight(window, 0);
}

void cell_blockmove(int window, int x, int y) {
    small_scene(window, x + 6, y + 6);
    blockmove(window, x + 6, y + 6, x + 41, y + 35, x + 48, y + 6);
    blockmove(window, x + 6, y + 6, x + 83, y + 35, x + 6, y + 44);
}

void cell_getblock(int window, int x, int y) {
    small_scene(window, x + 6, y + 6);
    int bytes = 0;
    demo_expect(blocksize(window, x + 6, y + 6, x + 41, y + 35, &bytes) == 0, "blocksize");
    std::vector<uint8_t> block(static_cast<size_t>(bytes));
    getblock(window, x + 6, y + 6, x + 41, y + 35, block.data());
    putblock(window, x + 48, y + 26, x + 83, y + 55, block.data());
    putblock(window, x + 12, y + 46, x + 47, y + 75, block.data());
}

void cell_save_area(int window, int x, int y) {
    small_scene(window, x + 6, y + 6);
    saved_area area = nullptr;
    demo_expect(save_area(window, x + 6, y + 6, x + 41, y + 35, &area) == 0 && area != nullptr, "save_area");
    demo_fill(window, {x + 6, y + 6, x + 41, y + 35}, SLOT_FACE);
    demo_edges(window, {x + 6, y + 6, x + 41, y + 35}, true);
    restore_area(window, x + 48, y + 8, area);
    restore_area(window, x + 26, y + 44, area);
    demo_expect(free_area(area) == 0, "free_area");
}

// One byte a pixel, the slot: the standard colours in rings.
void cell_slots(int window, int x, int y) {
    std::vector<uint8_t> slots;
    for (int row = 0; row < 70; ++row)
        for (int column = 0; column < 78; ++column)
            slots.push_back(static_cast<uint8_t>(1 + static_cast<int>(std::hypot(column - 39, row - 35)) / 4 % 14));
    demo_expect(putpixelblock(window, x + 6, y + 6, x + 83, y + 75, 0, slots.data()) == 0, "putpixelblock");
    std::vector<uint8_t> back(slots.size());
    demo_expect(getpixelblock(window, x + 6, y + 6, x + 83, y + 75, 0, back.data()) == 0, "getpixelblock");
}

// A colour of the ramps below, linear light.
void ramp(int i, int count, uint8_t* red, uint8_t* green, uint8_t* blue) {
    const double t = static_cast<double>(i) / (count - 1);
    const auto wave = [t](double at) {
        return static_cast<uint8_t>(255 * std::pow(std::max(0.0, 1 - std::abs(t - at) * 2.2), 1.6));
    };
    *red = wave(0);
    *green = wave(0.5);
    *blue = wave(1);
}

struct ramp_bytes {
    uint8_t red[78], green[78], blue[78];
};

ramp_bytes make_ramp() {
    ramp_bytes r;
    for (int i = 0; i < 78; ++i)
        ramp(i, 78, &r.red[i], &r.green[i], &r.blue[i]);
    return r;
}

void cell_rgb_line(int window, int x, int y) {
    const ramp_bytes r = make_ramp();
    for (int row = 0; row < 70; ++row) { // ever shorter
        const int cut = row / 2;
        rgb_line(window, x + 6 + cut, x + 83 - cut, y + 6 + row, r.red + cut, r.green + cut, r.blue + cut);
    }
}

void cell_rgb_fill(int window, int x, int y) {
    const ramp_bytes r = make_ramp();
    rgb_fill(window, x + 6, x + 83, y + 6, y + 38, r.red, r.green, r.blue);
    rgb_fill(window, x + 6, x + 83, y + 44, y + 75, r.blue, r.blue, r.blue);
}

// True colour where there is one: red, green, blue, 0 a pixel. Slots of the cube elsewhere, by single pixels.
void cell_pixels(int window, int x, int y) {
    const bool was_true = window_find(window)->attributes.color_mode == COLOR_MODE_TRUE;
    const bool is_true = Set_window_color_mode(window, COLOR_MODE_TRUE) == 0;
    std::vector<uint8_t> pixels;
    for (int row = 0; row < 70; ++row)
        for (int column = 0; column < 78; ++column) {
            const uint8_t red = static_cast<uint8_t>(column * 255 / 77);
            const uint8_t green = static_cast<uint8_t>(row * 255 / 69);
            const uint8_t blue = static_cast<uint8_t>(255 - (red + green) / 2);
            if (is_true)
                pixels.insert(pixels.end(), {red, green, blue, 0});
            else
                pixels.push_back(static_cast<uint8_t>(rgb_dither_pixel(x + 6 + column, y + 6 + row, red, green, blue)));
        }
    demo_expect(putpixelblock(window, x + 6, y + 6, x + 83, y + 75, 0, pixels.data()) == 0, "putpixelblock");
    if (!was_true) Set_window_color_mode(window, COLOR_MODE_PALETTE);
}

// Nested: each level changes colour and weight, and takes them back on the way out.
void nested(int window, int x, int y, int level) {
    if (level == 6) return;
    demo_expect(pushattributes(window) == 0, "pushattributes");
    fgcolor(window, SLOT_RED + level);
    weight(window, level % 3);
    const int d = 4 + level * 6;
    line(window, x + d, y + d, x + 88 - d, y + d);
    line(window, x + 88 - d, y + d, x + 88 - d, y + 80 - d);
    nested(window, x, y, level + 1);
    line(window, x + 88 - d, y + 80 - d, x + d, y + 80 - d);
    line(window, x + d, y + 80 - d, x + d, y + d);
    demo_expect(popattributes(window) == 0, "popattributes");
}

void cell_push(int window, int x, int y) {
    nested(window, x, y, 0);
}

void cell_symbols(int window, int x, int y) {
    static const char numbers[] = {4, 5, 6, 7, 19, 20, 21, 22, 30, 31, 16, 36, 8, 11, 10, 9, 12};
    char path[FILES_PATH_SIZE + 64];
    std::snprintf(path, sizeof path, "%svantor/FIsym", root_dir);
    int font = -1;
    demo_expect(Load_symbol_file(path, &font) == 0, "Load_symbol_file");
    fgcolor(window, SLOT_BLACK);
    for (int i = 0; i < static_cast<int>(sizeof numbers); ++i)
        drawsymbols(window, font, x + 7 + i % 5 * 16, y + 6 + i / 5 * 19, &numbers[i], 1);
}

struct cell {
    const char* name;
    cell_function draw;
};
constexpr cell cells[ROWS * COLUMNS] = {
    {"draw, weight", cell_draw},        {"linestyle", cell_linestyle},   {"pnt", cell_pnt},
    {"rectf, fillpattern", cell_rectf}, {"polyf", cell_polyf},           {"polygon4", cell_polygon4},
    {"clipbox", cell_clipbox},          {"drawbitmap", cell_drawbitmap}, {"draw_mask", cell_draw_mask},
    {"blockmove", cell_blockmove},      {"getblock", cell_getblock},     {"save_area", cell_save_area},
    {"pushattributes", cell_push},      {"putpixelblock", cell_slots},   {"true colour", cell_pixels},
    {"rgb_line", cell_rgb_line},        {"rgb_fill", cell_rgb_fill},     {"symbols", cell_symbols},
};

void paint(int window) {
    demo_clear(window, SLOT_FACE);
    demo_expect(RGB_init(0, screen_planes) != 0, "RGB_init");
    for (int i = 0; i < ROWS * COLUMNS; ++i) {
        const int x = 6 + i % COLUMNS * ACROSS;
        const int y = 22 + i / COLUMNS * DOWN;
        demo_text(window, x, y - 16, cells[i].name, SLOT_BLACK);
        demo_edges(window, {x - 1, y - 1, x + CELL_WIDTH, y + CELL_HEIGHT}, true);
        demo_fill(window, {x, y, x + CELL_WIDTH - 1, y + CELL_HEIGHT - 1}, SLOT_WHITE);
        cells[i].draw(window, x, y);
    }
}

} // namespace

void demo_open_calls() {
    int window = -1;
    demo_expect(Create_win(0, "Drawing", 8, 26, 8 + WIDTH - 1, 26 + HEIGHT - 1, &window) == 0, "Create_win");
    demo_open(window, paint);
}
