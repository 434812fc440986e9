// A short session on a real display: opened, clicked, dragged, typed into, turned, resized and closed. Each step is
// first made on the headless host; on the display the same messages must come, and the same pixels be seen.
#ifdef TINCT_WITH_X11
#include "deskfixture.h"
#include "real_display.h"

#include <cmath>
#include <cstdio>
#include <functional>

extern const host_ops host_sdl;

namespace {

constexpr int WIDTH = 500, HEIGHT = 360; // of the main window at first, pixels of the desk

// One step of the user, on either host.
struct step {
    const char* name;
    std::function<void()> headless;
    std::function<void()> real;
};

struct session {
    std::vector<std::string> messages;
    std::vector<canvas_rgb> shown; // the screen, row by row
    int width, height;
};

std::string text_of(const desk_message& m) {
    std::string text;
    for (const int value : {int(m.kind), m.number, m.x, m.y, int(m.down), int(m.button), int(m.modifiers), int(m.key),
                            int(m.character), int(m.state), int(m.value)})
        text += std::to_string(value) + " ";
    return text;
}

class RealHost : public RealDisplay {
protected:
    desk_window* windows[2] = {};
    int scale = 1;
    canvas_point at = {0, 0}; // of the window on the display

    void open(const host_ops* ops) {
        const host_screen size = {WIDTH, HEIGHT, 24, scale};
        ASSERT_TRUE(host_start_with(ops, &size, "Session"));
        ASSERT_TRUE(desk_start("Session"));
        windows[0] = desk_test::open(FULL_STYLE, 1, {40, 60, 240, 200});
        windows[1] = desk_test::open(0, 2, {260, 100, 420, 260});
    }
    static void take(session* s) {
        desk_message m;
        canvas_box box;
        while (desk_next(&m)) {
            if (m.kind == desk_kind::paint && desk_paint_box(m.window, &box, true)) desk_test::paint(m.window, box);
            if (m.kind != desk_kind::paint && m.kind != desk_kind::mouse_move) s->messages.push_back(text_of(m));
        }
        desk_flush();
    }

    // ---- the same on both
    void move_to(int x, int y) const {
        xdotool("mousemove " + std::to_string(at.x + x * scale) + " " + std::to_string(at.y + y * scale));
    }
    step click(int x, int y, int button) {
        return {"click", [=] { headless_click(x, y, button); },
                [=, this] {
                    move_to(x, y);
                    xdotool("click " + std::to_string(button + 1));
                }};
    }
    step drag(int x, int y, int to_x, int to_y) {
        return {"drag", [=] { desk_test::drag(x, y, to_x, to_y); },
                [=, this] {
                    move_to(x, y);
                    xdotool("mousedown 1");
                    move_to((x + to_x) / 2, (y + to_y) / 2);
                    move_to(to_x, to_y);
                    xdotool("mouseup 1");
                }};
    }
    static step wheel(int steps, int x, int y) {
        return {"wheel",
                [=] {
                    host_event event = {};
                    event.kind = host_event_kind::wheel;
                    event.wheel = steps;
                    event.x = x;
                    event.y = y;
                    headless_post(&event);
                },
                [=] { xdotool(std::string("click ") + (steps > 0 ? "4" : "5")); }};
    }
    static step key(const std::string& name, host_key code, uint32_t character, uint8_t modifiers, bool types) {
        return {"key",
                [=] {
                    host_event event = {};
                    event.kind = host_event_kind::key;
                    event.key = code;
                    event.character = character;
                    event.modifiers = modifiers;
                    event.down = true;
                    headless_post(&event);
                    if (types) headless_type("a");
                    event.down = false;
                    headless_post(&event);
                },
                [=] { xdotool("key --clearmodifiers " + name); }};
    }
    step resize(int width, int height) {
        return {"resize", [=] { headless_resize(width, height, host_state::restored); },
                [=, this] {
                    // at scale 2 the last column and row are cut in their middle
                    const int cut = scale - 1;
                    xdotool("windowsize " + real_window().id() + " " + std::to_string(width * scale - cut) + " " +
                            std::to_string(height * scale - cut));
                }};
    }
    static step close() {
        return {"close",
                [] {
                    host_event event = {};
                    event.kind = host_event_kind::close;
                    headless_post(&event);
                },
                [] { real_window().ask_to_close(); }};
    }

    std::vector<step> steps() {
        return {click(300, 150, 0),
                click(300, 150, 2),
                key("a", host_key::character, 'a', 0, true),
                key("Home", host_key::home, 0, 0, false),
                wheel(1, 300, 150),
                wheel(-1, 300, 150),
                drag(140, 45, 170, 65), // by the caption
                resize(601, 423),
                click(300, 100, 0),
                close()};
    }

    session on_headless(const step& one) {
        session s = {{}, {}, 0, 0};
        one.headless();
        take(&s);
        s.width = desk_sizes()->screen_width;
        s.height = desk_sizes()->screen_height;
        for (int y = 0; y < s.height; ++y)
            for (int x = 0; x < s.width; ++x)
                s.shown.push_back(headless_shown(x, y));
        return s;
    }

    // Waits until as much has come as is expected, or in vain.
    static session on_real(const step& one, size_t expected) {
        session s = {{}, {}, 0, 0};
        one.real();
        const uint32_t end = host_now() + 20000;
        while (s.messages.size() < expected && int32_t(host_now() - end) < 0) {
            desk_wait_until(host_now() + 50);
            take(&s);
        }
        for (int i = 0; i < 3; ++i) { // and nothing more
            desk_wait_until(host_now() + 10);
            take(&s);
        }
        return s;
    }

    // Where the display does not show the session's screen, the pointer's own picture left out: the first such pixel in
    // words, or nothing.
    std::string first_difference(const session& s) {
        real_window window;
        int width = 0;
        int height = 0;
        SDL_GetWindowSize(window.window, &width, &height);
        if ((width + scale - 1) / scale != s.width || (height + scale - 1) / scale != s.height)
            return "a window of " + std::to_string(width) + " by " + std::to_string(height);
        XSync(window.info.info.x11.display, False);
        look();
        const canvas_point pointer = desk_pointer();
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                if (std::abs(x - pointer.x * scale) < 40 && std::abs(y - pointer.y * scale) < 40) continue;
                const canvas_rgb c = s.shown[size_t(y / scale) * size_t(s.width) + size_t(x / scale)];
                const uint32_t expected = uint32_t{c.red} << 16 | uint32_t{c.green} << 8 | c.blue;
                if (pixel(at.x + x, at.y + y) == expected) continue;
                char text[80];
                std::snprintf(text, sizeof text, "%06x for %06x at %d, %d", pixel(at.x + x, at.y + y), expected, x, y);
                return text;
            }
        return "";
    }

    // A display shows what it is sent when it comes to it.
    void expect_seen(const session& s) {
        const uint32_t end = host_now() + 5000;
        std::string difference = first_difference(s);
        while (!difference.empty() && int32_t(host_now() - end) < 0) {
            desk_wait_until(host_now() + 50);
            session more = {{}, {}, 0, 0};
            take(&more);
            EXPECT_EQ(more.messages, std::vector<std::string>());
            difference = first_difference(s);
        }
        EXPECT_EQ(difference, "");
    }

    void run(int session_scale) {
        scale = session_scale;
        std::vector<session> expected;
        open(&host_headless);
        headless_resize(WIDTH, HEIGHT, host_state::restored);
        session start = {{}, {}, 0, 0};
        take(&start);
        for (const step& one : steps())
            expected.push_back(on_headless(one));
        desk_stop();

        open(&host_sdl);
        SDL_GetWindowPosition(real_window().window, &at.x, &at.y);
        xdotool("windowfocus " + real_window().id());
        on_real({"start", nullptr, [] {}}, start.messages.size());
        const std::vector<step> all = steps();
        for (size_t i = 0; i < all.size() && !HasFatalFailure(); ++i) {
            SCOPED_TRACE("step " + std::to_string(i) + ", " + all[i].name);
            EXPECT_EQ(on_real(all[i], expected[i].messages.size()).messages, expected[i].messages);
            expect_seen(expected[i]);
        }
        EXPECT_FALSE(expected.back().messages.empty());
        desk_stop();
    }
};

TEST_F(RealHost, DoesWhatTheHeadlessOneDoes) {
    run(1);
}

TEST_F(RealHost, DoesSoAtTwiceTheSize) {
    run(2);
}

} // namespace
#endif
