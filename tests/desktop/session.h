// The whole program on the headless host, run by a script: its steps are taken one by one, each when the program waits
// and nothing is due.
#pragma once

#include "core/core_fixture.h"

#include <algorithm>
#include <cmath>
#include <functional>

#include "core/open_image.h"
#include "desktop/main.h"
#include "desktop/picture.h"
#include "desktop/program.h"
#include "platform/window/host.h"
#include "tools/colors.h"
#include "tools/events.h"
#include "tools/process.h"
#include "tools/windows.h"
#include "view/highlight.h"

class Session : public CoreFixture {
protected:
    void SetUp() override {
        CoreFixture::SetUp();
        setenv("VANTORAMA", (bin_dir() + "/../data").c_str(), 1);
        setenv("VT_PATTERN_PATH", (bin_dir() + "/../data/images").c_str(), 1);
        setenv("XDG_STATE_HOME", directory.c_str(), 1);
        forms_wanted = false; // the picture has the whole screen, unless a test says something else
        stop_set_action([](void*, int) { ADD_FAILURE() << "the program was stopped"; }, nullptr);
    }
    void TearDown() override {
        tools_leave();
        unsetenv("XDG_STATE_HOME");
        unsetenv("VT_PATTERN_PATH");
        CoreFixture::TearDown();
    }

    void step(std::function<void()> action) { steps.push_back(std::move(action)); }

    // Runs the program with these arguments to the end of the steps. The exit status.
    int run_program(std::vector<std::string> arguments, int width, int height, int planes) {
        const host_screen size = {width, height, planes, 0};
        picture_view.zoom = picture_view.origin_x = picture_view.origin_y = 0;
        EXPECT_TRUE(host_start_with(&host_headless, &size, "Main"));
        headless_on_idle(next_step, this);
        arguments.insert(arguments.begin(), "tinct");
        std::vector<char*> words;
        for (std::string& word : arguments)
            words.push_back(word.data());
        words.push_back(nullptr);
        const int status = tinct_main(static_cast<int>(words.size()) - 1, words.data(), nullptr);
        EXPECT_TRUE(steps.empty() || may_end) << "the program ended before its script";
        tools_leave();
        return status;
    }
    static bool next_step(void* user) {
        auto* self = static_cast<Session*>(user);
        headless_advance(300);
        if (self->steps.empty()) {
            if (mem_fail_stop()) self->has_failed = true; // or the end could never be reached
            quit_requested = true;
            Post_user_data(0);
            headless_key(host_key::enter, 13, 0); // for a message that nobody expects
            return true;
        }
        const std::function<void()> action = self->steps.front();
        self->steps.erase(self->steps.begin());
        action();
        return true;
    }

    // Screen coordinates of a point of the picture's window.
    static canvas_point on_screen(int x, int y) { return {x + Win_frame_width(), y + Win_frame_height()}; }
    static void drop(const char* path) {
        host_event event = {};
        event.kind = host_event_kind::drop;
        event.path = path;
        headless_post(&event);
    }
    static void wheel(int x, int y, int turn) {
        const canvas_point p = on_screen(x, y);
        headless_pointer(p.x, p.y);
        host_event event = {};
        event.kind = host_event_kind::wheel;
        event.x = p.x;
        event.y = p.y;
        event.wheel = turn;
        headless_post(&event);
    }
    static void click(int x, int y, int button = HOST_LEFT) {
        const canvas_point p = on_screen(x, y);
        headless_click(p.x, p.y, button);
    }

    // A click in the middle of a pixel of the picture.
    static void click_pixel(int column, int row) {
        const int z = std::max(picture_view.zoom, 1);
        click((column - picture_view.origin_x) * z + z / 2, (row - picture_view.origin_y) * z + z / 2);
    }

    // A column and row of the picture where at least `count` surfaces stand.
    static canvas_point pixel_of_pens(int count) {
        int32_t pens[PENS_AT_PIXEL_MAX];
        const raster_image* p = open_image.picture;
        for (int y = p->height / 3; y < p->height; ++y)
            for (int x = p->width / 4; x < p->width; ++x)
                if (pens_at_pixel(open_image.tnc, x, y, pens, PENS_AT_PIXEL_MAX) >= count) return {x, y};
        ADD_FAILURE() << "no pixel of " << count << " surfaces";
        return {0, 0};
    }

    // ---- what the window has to show, worked out pixel by pixel ---------------------------------------------------

    // Marks the pixels of the window that the highlight covers: 'w' white, 'b' the black below it.
    static std::string highlighted() {
        const view& v = picture_view;
        struct walk {
            const view* v;
            std::string marks;
        } w = {&v, std::string(size_t(v.x2 + 1) * size_t(v.y2 + 1), ' ')};
        if (highlighted_pen == NO_PEN) return w.marks;
        pen_for_each_run(open_image.tnc, highlighted_pen, &w, [](void* user, int32_t x, int32_t y, int32_t count) {
            auto* at = static_cast<walk*>(user);
            const view& u = *at->v;
            const int n = u.zoom < 0 ? -u.zoom : 1;
            const int z = u.zoom > 0 ? u.zoom : 1;
            if (y % n != 0 || y < u.origin_y) return 0;
            const int row = (y - u.origin_y) / n * z;
            const int end = std::min((x + count - u.origin_x) * z / n, u.x2 + 1);
            for (int r = row; r <= std::min(row + z / 4, u.y2); ++r)
                for (int c = std::max((x - u.origin_x) * z / n, 0); c < end; ++c)
                    at->marks[size_t(r) * size_t(u.x2 + 1) + size_t(c)] = r == row ? 'w' : 'b';
            return 0;
        });
        return w.marks;
    }
    static canvas_color demanded(const view& v, int x, int y) {
        const raster_image* p = open_image.picture;
        const int n = v.zoom < 0 ? -v.zoom : 1;
        const int z = v.zoom > 0 ? v.zoom : 1;
        const int column = v.origin_x + static_cast<int>(std::floor(double(x) / z)) * n;
        const int row = v.origin_y + static_cast<int>(std::floor(double(y) / z)) * n;
        const bool is_inside = p != nullptr && column >= 0 && row >= 0 && column < p->width && row < p->height;
        if (!is_inside) return CANVAS_SLOT;
        const size_t i = size_t(row) * size_t(p->width) + size_t(column);
        const uint32_t pixel = rgb_dither_pixel(x, y, p->red[i], p->green[i], p->blue[i]);
        return rgb_depth <= 8 ? CANVAS_SLOT | pixel : pixel;
    }
    // How many pixels of the picture's window are wrong; the first is told.
    static int wrong_pixels() {
        const view& v = picture_view;
        const canvas* dc = window_find(v.window)->dc;
        const std::string marks = highlighted();
        const uint32_t white = rgb_depth <= 8 ? CANVAS_SLOT | rgb_plain_pixel(255, 255, 255) : 0xFFFFFF;
        const uint32_t black = rgb_depth <= 8 ? CANVAS_SLOT | rgb_plain_pixel(0, 0, 0) : 0;
        int wrong = 0;
        for (int y = 0; y <= v.y2; ++y) {
            for (int x = 0; x <= v.x2; ++x) {
                const char mark = marks[size_t(y) * size_t(v.x2 + 1) + size_t(x)];
                const uint32_t expected = canvas_pixel(mark == 'w' ? white : (mark == 'b' ? black : demanded(v, x, y)));
                if (canvas_get_pixel(dc, x, y) == expected || wrong++ > 0) continue;
                ADD_FAILURE() << "at " << x << ", " << y << ", zoom " << v.zoom << ", origin " << v.origin_x << ", "
                              << v.origin_y << ": " << canvas_get_pixel(dc, x, y) << " and not " << expected;
            }
        }
        return wrong;
    }

    // What the user is told, instead of by boxes, from the first step on.
    void record_messages() {
        step([this] {
            const log_sink record = [](void* to, int, const char* text) {
                auto* self = static_cast<Session*>(to);
                self->messages.emplace_back(text);
                EXPECT_TRUE(!self->is_drawn_when_told || wrong_pixels() == 0) << text;
            };
            log_set_sink(record, this);
        });
    }

    std::vector<std::function<void()>> steps;
    std::vector<std::string> messages;
    bool is_drawn_when_told = false; // no message comes while the picture's window is not right
    bool may_end = false;            // the script may leave the program
    bool has_failed = false;         // a planned failure of memory was met before the end
};
