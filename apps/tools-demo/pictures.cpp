// The same picture through each pipeline that the screen can show.
//
// Pipelines share the slots of the palette. On a screen of 8 planes the sixteen colours of the 4-plane dither are put
// behind the colour cube, and its pixels moved there. On deeper screens pixels keep their colours, so the slots are
// changed for as long as the picture is drawn.
#include <cstdio>
#include <vector>

#include "demo.h"
#include "tools/colors.h"
#include "tools/draw.h"
#include "tools/windows.h"

namespace {

constexpr int BAR = 24;         // height of the strip below the picture
constexpr int SPARE_SLOT = 236; // behind the cube
constexpr int pipelines[] = {4, 8, 15, 24};

int pipeline_of[WINDOW_COUNT];

uint16_t word_of(uint8_t byte) {
    return static_cast<uint16_t>(byte << 8 | byte);
}

void load_dither_colors(int first) {
    color_entry entries[16];
    for (int i = 0; i < 16; ++i) {
        const canvas_rgb c = CANVAS_CLASSIC[i];
        entries[i] = {static_cast<uint16_t>(first + i), word_of(c.red), word_of(c.green), word_of(c.blue)};
    }
    demo_expect(Load_colors(0, entries, 16) == 0, "Load_colors");
}

void draw_whole(int window, const demo_photo* photo) {
    rgb_rect(window, 0, photo->width - 1, 0, photo->height - 1, photo->red, photo->green, photo->blue, photo->width);
}

// The 4-plane dither on a screen of 8 planes.
void draw_moved(int window, const demo_photo* photo) {
    std::vector<uint8_t> slots;
    for (int y = 0; y < photo->height; ++y)
        for (int x = 0; x < photo->width; ++x) {
            const int i = y * photo->width + x;
            const uint32_t slot = rgb_dither_pixel(x, y, photo->red[i], photo->green[i], photo->blue[i]);
            slots.push_back(static_cast<uint8_t>(slot - DITHER_SLOT + SPARE_SLOT));
        }
    load_dither_colors(SPARE_SLOT);
    demo_expect(putpixelblock(window, 0, 0, photo->width - 1, photo->height - 1, 0, slots.data()) == 0,
                "putpixelblock");
}

void draw_with_changed_slots(int window, const demo_photo* photo) {
    color_entry kept[16];
    demo_expect(Read_colors(0, kept, 16, DITHER_SLOT) == 0, "Read_colors");
    load_dither_colors(DITHER_SLOT);
    draw_whole(window, photo);
    demo_expect(Load_colors(0, kept, 16) == 0, "Load_colors");
}

void draw_photo(int window, int pipeline, const demo_photo* photo) {
    if (pipeline == 4 && screen_planes == 8)
        draw_moved(window, photo);
    else if (pipeline == 4 && screen_planes > 8)
        draw_with_changed_slots(window, photo);
    else
        draw_whole(window, photo);
}

void paint(int window) {
    const demo_photo* photo = demo_take_photo();
    const int pipeline = pipeline_of[window & WINDOW_MASK];
    demo_expect(RGB_init(0, pipeline) != 0 && rgb_depth == pipeline, "RGB_init");
    demo_expect(RGB_enable_window(window) == 0, "RGB_enable_window");
    demo_clear(window, SLOT_FACE);
    draw_photo(window, pipeline, photo);
    char text[80];
    std::snprintf(text, sizeof text, "RGB_init(0, %d) on a screen of %d planes", pipeline, screen_planes);
    demo_text(window, 6, photo->height + 5, text, SLOT_BLACK);
    RGB_init(0, screen_planes); // what the other pages draw with
}

} // namespace

void demo_open_pictures() {
    const demo_photo* photo = demo_take_photo();
    int x = 8;
    for (int pipeline : pipelines) {
        if (pipeline > screen_planes) continue;
        int window = -1;
        char title[40];
        std::snprintf(title, sizeof title, "Pipeline of %d planes", pipeline);
        const int made = Create_win(0, title, x, 684, x + photo->width - 1, 684 + photo->height + BAR - 1, &window);
        demo_expect(made == 0, "Create_win");
        if (made != 0) return;
        pipeline_of[window] = pipeline;
        demo_open(window, paint);
        x += photo->width + 16;
    }
}
