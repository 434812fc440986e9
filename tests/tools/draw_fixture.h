// The tools on the headless host at a depth of the test's choice, and what a window's pixels look like as text.
#pragma once

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/log.h"
#include "support/memory.h"
#include "tools/colors.h"
#include "tools/draw.h"
#include "tools/events.h"
#include "tools/process.h"
#include "tools/windows.h"

constexpr int DEPTHS[] = {4, 8, 15, 16, 24};

class DrawFixture : public testing::Test {
protected:
    void SetUp() override { live_before = mem_live(); }
    void TearDown() override {
        tools_leave();
        EXPECT_EQ(mem_live(), live_before);
    }

    // Leaves the tools and enters them again on another screen.
    static void start(int planes, int width = 320, int height = 240) {
        tools_leave();
        const host_screen size = {width, height, planes, 0};
        ASSERT_TRUE(host_start_with(&host_headless, &size, "Main"));
        ASSERT_EQ(Enter_tools(), 0);
        Enable_events(REFRESH_EVENT | COLLAPSE_EVENT | DELETE_EVENT);
        take_refreshes();
    }
    static int open(int x1, int y1, int x2, int y2) {
        int number = -1;
        EXPECT_EQ(Create_win_no_border(0, x1, y1, x2, y2, &number), 0);
        EXPECT_EQ(Display_win(number), 0);
        return number;
    }

    // The waiting refreshes as "window:x1,y1,x2,y2/mask " with the area, taken.
    static std::string take_refreshes() {
        uint32_t events;
        Inq_events(&events);
        std::string all;
        int n, screen, x1, y1, x2, y2, a1, b1, a2, b2, mask;
        while (Get_refresh_data(&n, &screen, &x1, &y1, &x2, &y2, &a1, &b1, &a2, &b2, &mask) == 0)
            all += std::to_string(n) + ":" + std::to_string(a1) + "," + std::to_string(b1) + "," + std::to_string(a2) +
                   "," + std::to_string(b2) + "/" + std::to_string(mask) + " ";
        return all;
    }

    static uint32_t at(int window, int x, int y) { return canvas_get_pixel(window_find(window)->dc, x, y); }

    // The pixels from 0, 0 on: '#' for a slot's pixel, '.' for all others, rows ended by '/'.
    static std::string picture(int window, int width, int height, int slot) {
        std::string all;
        for (int y = 0; y < height; ++y, all += '/')
            for (int x = 0; x < width; ++x)
                all += at(window, x, y) == canvas_pixel(CANVAS_SLOT | uint32_t(slot)) ? '#' : '.';
        return all;
    }

    // All pixels of the screen.
    static std::vector<uint8_t> screen() {
        const canvas_box all = {0, 0, screen_width + 1, screen_height + 1};
        std::vector<uint8_t> pixels(size_t(all.x2 * all.y2 * canvas_pixel_bytes()));
        canvas_get_native(desk_canvas(desk_main()), all, pixels.data(), all.x2 * canvas_pixel_bytes());
        return pixels;
    }

    // Paints all of a window in a way that tells each of its pixels.
    static void paint(int window, int width, int height) {
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                fgcolor(window, (window * 3 + x + y * 5) % 16);
                pnt(window, x, y);
            }
        fgcolor(window, max_color_index);
    }

    long live_before = 0;
};
