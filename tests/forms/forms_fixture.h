// The toolkit on the headless host, started, with a log of what it tells, and a user who clicks and types.
#pragma once

#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "common/own_directory.h"
#include "common/places.h"
#include "forms/forms.h"
#include "forms/ops.h"
#include "forms/surface.h"
#include "platform/window/desk.h"
#include "support/log.h"
#include "support/memory.h"
#include "tools/draw.h"
#include "tools/events.h"
#include "tools/process.h"
#include "tools/windows.h"

constexpr int DEPTHS[] = {4, 8, 15, 16, 24};
constexpr uint32_t FORM_EVENTS = KEYBOARD_EVENT | BUTTON_EVENT | REFRESH_EVENT | DELETE_EVENT | COLLAPSE_EVENT |
                                 TIMER_EVENT | WINDOW_ICON_EVENT | USER_EVENT;

// A gadget of a test's form.
struct test_gadget {
    int type, label;
    float x1, y1, x2, y2;
    const char* text; // null: no text face
};

class FormsFixture : public OwnDirectory {
protected:
    void SetUp() override {
        live_before = mem_live();
        setenv("VANTORAMA", (bin_dir() + "/../data").c_str(), 1);
        self = this;
        start(8);
    }
    void TearDown() override {
        headless_on_idle(nullptr, nullptr);
        FI_leave();
        tools_leave();
        self = nullptr;
        EXPECT_EQ(mem_live(), live_before);
    }
    // Leaves everything, and starts again on a screen of that depth.
    void start(int planes, int width = 1024, int height = 768) {
        FI_leave();
        tools_leave();
        const host_screen size = {width, height, planes, 1};
        ASSERT_TRUE(host_start_with(&host_headless, &size, "Main"));
        headless_run_freely(true);
        ASSERT_EQ(Enter_tools(), 0);
        ASSERT_EQ(FI_enter(), FI_SUCCESS);
        FI_set_form_path((bin_dir() + "/../data/tinct").c_str());
        headless_advance(1000);
        Disable_events(~0U);
        Enable_events(FORM_EVENTS);
        told.clear();
        quit = false;
    }

    // ---- forms

    // A blank form with these gadgets.
    static FI_form* make(const std::vector<test_gadget>& gadgets, int width = 400, int height = 300) {
        FI_form* form = nullptr;
        EXPECT_EQ(FIf_new(1, "", note, &form), FI_SUCCESS);
        FIf_set_size(form, width, height);
        FIf_set_location(form, 40, 30);
        for (const test_gadget& g : gadgets)
            add(form, g);
        return form;
    }
    static FI_gadget* add(FI_form* form, const test_gadget& g) {
        EXPECT_EQ(FIg_new(form, g.type, g.label), FI_SUCCESS);
        FI_gadget* made = fi_find_gadget(form, g.label);
        made->x1 = g.x1;
        made->y1 = g.y1;
        made->x2 = g.x2;
        made->y2 = g.y2;
        made->off_color = FI_BLACK;
        made->on_color = FI_WHITE;
        made->bodysize = 15;
        fi_string_set(&made->font_name, g.text != nullptr ? "dutch801" : "FIsym");
        made->face.index = made->face2.index = 16;
        if (g.text != nullptr) made->attr_mask = made->default_attr_mask = FI_TEXT_GADGET;
        if (g.text != nullptr) fi_string_set(&made->text, g.text);
        FIg_activate(form, g.label);
        return made;
    }
    static FI_form* load(const std::string& name) {
        FI_form* form = nullptr;
        EXPECT_EQ(FIf_new(1, name.c_str(), note, &form), FI_SUCCESS) << name;
        return form;
    }
    static double value(FI_form* form, int label) {
        double v = -999;
        FIg_get_value(form, label, &v);
        return v;
    }
    static int window_of(FI_form* form) {
        int window = -1;
        FIf_get_window(form, &window);
        return window;
    }

    // ---- what the toolkit told, as "form.gadget=value "

    static void note(int form, int label, double v, FI_form* f) {
        self->told +=
            std::to_string(form) + "." + std::to_string(label) + "=" + std::to_string(static_cast<int>(v)) + " ";
        if (self->on_note) self->on_note(label, f);
    }
    std::string take_told() {
        std::string all;
        all.swap(told);
        return all;
    }

    // ---- the user: input is posted, and then the application's loop runs until nothing more is due

    static void post_click(FI_form* form, int x, int y, int button = HOST_LEFT) {
        int x1 = 0, y1 = 0, x2 = 0, y2 = 0;
        Inq_win_region(window_of(form), &x1, &y1, &x2, &y2);
        headless_advance(400);
        headless_click(x1 + x, y1 + y, button);
    }
    // Holds the button long enough to drag, and moves to the right meanwhile.
    static void post_drag(FI_form* form, int x, int y) {
        int x1 = 0, y1 = 0, x2 = 0, y2 = 0;
        Inq_win_region(window_of(form), &x1, &y1, &x2, &y2);
        headless_advance(400);
        for (const int step : {0, 1, 2, 3}) {
            host_event event = {};
            event.kind = host_event_kind::pointer;
            event.x = x1 + x + 9 * step;
            event.y = y1 + y;
            headless_post_later(&event, 300);
            event.kind = host_event_kind::button;
            event.button = HOST_LEFT;
            event.down = step == 0;
            if (step == 0 || step == 3) headless_post_later(&event, 300);
        }
    }
    // Runs like an application; ends when all input has had its effect.
    void run() {
        quit = false;
        releases = 3;
        headless_on_idle(
            [](void* user) {
                auto* fixture = static_cast<FormsFixture*>(user);
                if (!fixture->script.empty()) {
                    auto next = fixture->script.front();
                    fixture->script.erase(fixture->script.begin());
                    next();
                    return true;
                }
                if (fixture->quit) { // somebody waits for a button that was left down
                    if (--fixture->releases < 0) return false;
                    headless_advance(400);
                    headless_button(HOST_LEFT, false, 0);
                    return true;
                }
                fixture->quit = true;
                Post_user_data(1); // nobody's: it wakes the loop, and ends those that take keys
                return headless_post_nothing();
            },
            this);
        uint32_t event = 0;
        while (!quit && Wait_for_next(FORM_EVENTS, &event) == 0)
            dispatch(event);
        Clear_user_data();
        headless_on_idle(nullptr, nullptr);
    }
    static void dispatch(uint32_t event) {
        if (FI_process_event(event) == 0) FI_clear_event(event);
    }
    void click(FI_form* form, int x, int y) {
        post_click(form, x, y);
        run();
    }
    void click(FI_form* form, int label) {
        const FI_gadget* g = fi_find_gadget(form, label);
        ASSERT_NE(g, nullptr);
        click(form, static_cast<int>(g->x1 + g->x2) / 2, static_cast<int>(g->y1 + g->y2) / 2);
    }
    void key(host_key code, uint8_t modifiers = 0) { headless_key(code, 0, modifiers); }

    // ---- pixels

    static uint32_t at(FI_form* form, int x, int y) { return canvas_get_pixel(window_find(window_of(form))->dc, x, y); }
    static uint32_t pixel_of(FI_form* form, int color) {
        return canvas_pixel(CANVAS_SLOT | static_cast<uint32_t>(fi_slot(form, color)));
    }
    static std::vector<uint8_t> picture(FI_form* form) {
        const canvas* c = window_find(window_of(form))->dc;
        const canvas_box all = {0, 0, canvas_width(c), canvas_height(c)};
        std::vector<uint8_t> pixels(static_cast<size_t>(all.x2 * all.y2 * canvas_pixel_bytes()));
        canvas_get_native(c, all, pixels.data(), all.x2 * canvas_pixel_bytes());
        return pixels;
    }
    // Where two pictures of a form differ first, as text; empty when nowhere.
    static std::string difference(FI_form* form, const std::vector<uint8_t>& a, const std::vector<uint8_t>& b) {
        if (a == b) return "";
        const auto pixel = static_cast<size_t>(canvas_pixel_bytes());
        const auto width = static_cast<size_t>(fi_form_width(form) + 1);
        for (size_t i = 0; i < a.size() && i < b.size(); ++i)
            if (a[i] != b[i]) return std::to_string(i / pixel % width) + "," + std::to_string(i / pixel / width);
        return a.size() == b.size() ? "" : "another size";
    }

    static bool headless_post_nothing() {
        host_event event = {};
        return headless_post(&event);
    }

public:
    inline static FormsFixture* self = nullptr;
    std::string told;
    std::function<void(int label, FI_form* form)> on_note;
    std::vector<std::function<void()>> script; // what the user does, one after another, when nothing is due
    bool quit = false;
    int releases = 0;
    long live_before = 0;
};
