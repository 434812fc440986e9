// A desk on the headless host, with windows that paint themselves in a way that shows where each pixel came from.
#pragma once

#include "platform/window/desk.h"
#include "support/log.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <vector>

constexpr uint32_t FULL_STYLE = DESK_THICK_FRAME | DESK_CAPTION | DESK_MINIMISE_BOX | DESK_MAXIMISE_BOX;

inline bool operator==(canvas_box a, canvas_box b) {
    return a.x1 == b.x1 && a.y1 == b.y1 && a.x2 == b.x2 && a.y2 == b.y2;
}
inline bool operator==(canvas_rgb a, canvas_rgb b) {
    return a.red == b.red && a.green == b.green && a.blue == b.blue;
}
inline void PrintTo(canvas_box b, std::ostream* out) {
    *out << "{" << b.x1 << ", " << b.y1 << ", " << b.x2 << ", " << b.y2 << "}";
}
inline void PrintTo(canvas_rgb c, std::ostream* out) {
    *out << "rgb(" << int{c.red} << ", " << int{c.green} << ", " << int{c.blue} << ")";
}

// The colour of a window's pixel: tells the window and the place in its client area.
inline canvas_color mark_of(int number, int x, int y) {
    return canvas_rgb_color({uint8_t(number * 16 + 40), uint8_t(x), uint8_t(y)});
}

struct desk_test : testing::Test {
    std::vector<desk_message> messages; // all but paints and moves of the mouse
    std::map<int, std::vector<canvas_box>> paints;

    void start(int width, int height, int planes) {
        const host_screen size = {width, height, planes, 0};
        ASSERT_TRUE(host_start_with(&host_headless, &size, "Main"));
        ASSERT_TRUE(desk_start("Main"));
        desk_set_number(desk_main(), 0);
    }
    void SetUp() override { start(400, 300, 24); }
    void TearDown() override {
        desk_stop();
        host_stop();
    }

    static void paint(desk_window* w, canvas_box box) {
        for (int y = box.y1; y < box.y2; ++y)
            for (int x = box.x1; x < box.x2; ++x)
                canvas_set_pixel(desk_canvas(w), x, y, mark_of(desk_number(w), x, y));
    }

    // Takes all messages; answers paints by painting.
    void pump() {
        desk_message m;
        while (desk_next(&m)) {
            if (m.kind == desk_kind::paint) {
                canvas_box box;
                ASSERT_TRUE(desk_paint_box(m.window, &box, true));
                paints[m.number].push_back(box);
                paint(m.window, box);
            } else if (m.kind != desk_kind::mouse_move)
                messages.push_back(m);
        }
        desk_flush();
    }
    void forget() {
        messages.clear();
        paints.clear();
    }

    static desk_window* open(uint32_t style, int number, canvas_box client) {
        desk_window* w = desk_create(style, number, "Title", desk_outer_of(style, client));
        if (w != nullptr) desk_show(w);
        return w;
    }

    // The same, painted, with all that it brought forgotten.
    desk_window* opened(uint32_t style, int number, canvas_box client) {
        desk_window* w = open(style, number, client);
        pump();
        forget();
        return w;
    }

    const desk_message* find(desk_kind kind) const {
        for (const desk_message& m : messages)
            if (m.kind == kind) return &m;
        return nullptr;
    }

    // All but paints and moves: "window:x,y ", with "+" or "-" and the button in front and "/" and the modifiers behind
    // when it is one.
    std::string take_mouse() {
        std::string all;
        for (const desk_message& m : messages) {
            const std::string place = std::to_string(m.number) + ":" + std::to_string(m.x) + "," + std::to_string(m.y);
            const bool is_button = m.kind == desk_kind::button;
            if (is_button) all += (m.down ? "+" : "-") + std::to_string(m.button) + " ";
            all += place + (is_button ? "/" + std::to_string(m.modifiers) : "") + " ";
        }
        forget();
        return all;
    }
    long count(desk_kind kind) const {
        return std::count_if(messages.begin(), messages.end(), [=](const desk_message& m) { return m.kind == kind; });
    }

    // ---- the user, and then the program has its turn
    static void hold(int x, int y) {
        headless_pointer(x, y);
        headless_button(HOST_LEFT, true, 0);
    }
    void move(int x, int y) {
        headless_pointer(x, y);
        pump();
    }
    void release() {
        headless_button(HOST_LEFT, false, 0);
        pump();
    }
    void click(int x, int y) {
        headless_click(x, y, HOST_LEFT);
        pump();
    }
    void do_drag(int from_x, int from_y, int to_x, int to_y) {
        drag(from_x, from_y, to_x, to_y);
        pump();
    }
    void resize(int width, int height, host_state state) {
        headless_resize(width, height, state);
        pump();
    }

    static void drag(int from_x, int from_y, int to_x, int to_y) {
        headless_pointer(from_x, from_y);
        headless_button(HOST_LEFT, true, 0);
        headless_pointer((from_x + to_x) / 2, (from_y + to_y) / 2);
        headless_pointer(to_x, to_y);
        headless_button(HOST_LEFT, false, 0);
    }
};

// What stop_program() was called with, -1 for not at all.
struct stop_recorder {
    int status = -1;
    stop_recorder() {
        stop_set_action([](void* user, int s) { static_cast<stop_recorder*>(user)->status = s; }, this);
    }
    ~stop_recorder() { stop_set_action(nullptr, nullptr); }
};
