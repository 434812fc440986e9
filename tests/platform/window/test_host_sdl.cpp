// The host in a window, on the library's own driver without a display: what its events become, and what the window's
// surface gets.
#ifdef TINCT_WITH_SDL
#include "common/values.h"
#include "deskfixture.h"

#include <SDL.h>
#include <cstdlib>
#include <cstring>

extern const host_ops host_sdl;
extern bool host_sdl_takes_any_driver;

namespace {

struct sdl_test : testing::Test {
    SDL_Window* window = nullptr;

    void SetUp() override {
        setenv("SDL_VIDEODRIVER", "dummy", 1);
        host_sdl_takes_any_driver = true;
        const host_screen size = {400, 240, 8, 2};
        ASSERT_TRUE(host_start_with(&host_sdl, &size, "Caf\xe9"));
        ASSERT_TRUE(desk_start("T"));
        window = SDL_GetWindowFromID(1);
        ASSERT_NE(window, nullptr);
        host_event event;
        while (host_poll(&event)) {
        }
    }
    void TearDown() override {
        desk_stop();
        host_sdl_takes_any_driver = false;
    }

    // Gives the event to the library and takes what the host makes of it; kind none when it makes nothing.
    static host_event pass(SDL_Event event) {
        host_event got = {};
        while (host_poll(&got)) {
        } // the library ends each round of polling with a mark of its own in the queue
        EXPECT_EQ(SDL_PushEvent(&event), 1);
        if (!host_poll(&got)) got.kind = host_event_kind::none;
        return got;
    }
    static host_event key(SDL_Keycode sym, unsigned mod) {
        SDL_Event event = {};
        event.type = SDL_KEYDOWN;
        event.key.state = SDL_PRESSED;
        event.key.keysym.sym = sym;
        event.key.keysym.mod = uint16_t(mod);
        return pass(event);
    }
    uint32_t shown(int x, int y) const {
        const SDL_Surface* surface = SDL_GetWindowSurface(window);
        uint32_t pixel = 0;
        memcpy(&pixel, static_cast<uint8_t*>(surface->pixels) + y * surface->pitch + x * 4, 4);
        return pixel & 0xFFFFFF;
    }
};

TEST_F(sdl_test, PixelsAreStretchedAndOnlyChangedOnesSent) {
    EXPECT_STREQ(SDL_GetWindowTitle(window), "Caf\xc3\xa9");
    int width = 0;
    int height = 0;
    SDL_GetWindowSize(window, &width, &height);
    EXPECT_EQ((values{width, height}), (values{800, 480}));
    const canvas_rgb colors[2] = {{200, 100, 50}, {1, 2, 3}};
    canvas_set_palette(40, colors, 2);
    canvas_fill(desk_canvas(desk_main()), {0, 0, 400, 240}, CANVAS_SLOT | 41);
    canvas_fill(desk_canvas(desk_main()), {10, 20, 11, 21}, CANVAS_SLOT | 40);
    desk_flush();
    for (int y = 39; y < 43; ++y)
        for (int x = 19; x < 23; ++x) {
            const bool inside = x >= 20 && x < 22 && y >= 40 && y < 42;
            EXPECT_EQ(shown(x, y), inside ? 0xC86432u : 0x010203u) << x << " " << y;
        }
    // What isn't marked as changed isn't touched.
    SDL_FillRect(SDL_GetWindowSurface(window), nullptr, 0x00FF00);
    canvas_fill(desk_canvas(desk_main()), {100, 100, 102, 102}, CANVAS_SLOT | 40);
    desk_flush();
    EXPECT_EQ((values{shown(200, 200), shown(204, 200)}), (values{0xC86432u, 0x00FF00u}));
}

TEST_F(sdl_test, KeysAndText) {
    EXPECT_EQ(key(SDLK_KP_ENTER, 0).key, host_key::enter);
    EXPECT_EQ(key(SDLK_DELETE, KMOD_LCTRL).modifiers, HOST_CTRL);
    EXPECT_EQ(key(SDLK_KP_7, 0).key, host_key::home);
    EXPECT_EQ(key(SDLK_KP_7, KMOD_NUM).kind, host_event_kind::none); // it comes as text
    EXPECT_EQ(key(SDLK_F5, 0).kind, host_event_kind::none);
    const host_event letter = key(SDLK_c, KMOD_RCTRL | KMOD_LALT);
    EXPECT_EQ((values{letter.key, letter.character}), (values{host_key::character, uint32_t{'c'}}));
    EXPECT_EQ(letter.modifiers, HOST_CTRL | HOST_ALT);

    SDL_Event text = {};
    text.type = SDL_TEXTINPUT;
    strcpy(text.text.text, "a\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80");
    EXPECT_EQ(pass(text).character, uint32_t{'a'});
    host_event event;
    for (const uint32_t expected : {0xE9u, 0x20ACu, 0x1F600u}) {
        ASSERT_TRUE(host_poll(&event));
        EXPECT_EQ((values{event.kind, event.character}), (values{host_event_kind::text, expected}));
    }
    EXPECT_FALSE(host_poll(&event));
    strcpy(text.text.text, "x\xf0"); // cut short
    EXPECT_EQ(pass(text).character, uint32_t{'x'});
    ASSERT_TRUE(host_poll(&event));
    EXPECT_FALSE(host_poll(&event));
}

TEST_F(sdl_test, MouseInPixelsOfTheFrame) {
    SDL_Event move = {};
    move.type = SDL_MOUSEMOTION;
    move.motion.x = 101;
    move.motion.y = -1; // held outside of the window
    const host_event pointer = pass(move);
    EXPECT_EQ((values{pointer.kind, pointer.x, pointer.y}), (values{host_event_kind::pointer, 50, -1}));
    SDL_Event press = {};
    press.type = SDL_MOUSEBUTTONDOWN;
    press.button.state = SDL_PRESSED;
    press.button.button = SDL_BUTTON_RIGHT;
    press.button.x = 7;
    const host_event button = pass(press);
    EXPECT_EQ(button.button, HOST_RIGHT);
    EXPECT_TRUE(button.down);
    EXPECT_EQ(button.x, 3);
    press.button.button = SDL_BUTTON_X1;
    EXPECT_EQ(pass(press).kind, host_event_kind::none);
    SDL_Event wheel = {};
    wheel.type = SDL_MOUSEWHEEL;
    wheel.wheel.y = -2;
    wheel.wheel.x = 3;
    EXPECT_EQ(pass(wheel).wheel, -2);
    wheel.wheel.direction = SDL_MOUSEWHEEL_FLIPPED;
    EXPECT_EQ(pass(wheel).wheel, 2);
    EXPECT_EQ(pass(wheel).across, -3);
}

TEST_F(sdl_test, WindowEventsAndDrops) {
    SDL_Event event = {};
    event.type = SDL_WINDOWEVENT;
    event.window.event = SDL_WINDOWEVENT_CLOSE;
    EXPECT_EQ(pass(event).kind, host_event_kind::close);
    event.window.event = SDL_WINDOWEVENT_FOCUS_LOST;
    EXPECT_EQ(pass(event).kind, host_event_kind::focus);
    event.window.event = SDL_WINDOWEVENT_EXPOSED;
    EXPECT_EQ(pass(event).kind, host_event_kind::none);
    SDL_SetWindowSize(window, 900, 501);
    host_event got = {};
    while (got.kind != host_event_kind::resize)
        ASSERT_TRUE(host_poll(&got));
    EXPECT_EQ(got.width, 450);
    EXPECT_EQ(got.height, 251) << "half of the last row is seen";
    EXPECT_EQ(got.state, host_state::restored);
    while (host_poll(&got)) {
    }
    SDL_Event drop = {};
    drop.type = SDL_DROPFILE;
    drop.drop.file = SDL_strdup("/tmp/a b.tnc");
    EXPECT_STREQ(pass(drop).path, "/tmp/a b.tnc");
    host_beep();
}

TEST_F(sdl_test, WaitEndsAtItsDeadline) {
    const uint32_t start = host_now();
    host_wait(true, start + 30);
    EXPECT_GE(host_now(), start + 25);
    EXPECT_LT(host_now(), start + 2000);
    host_wait(true, start); // past
}

} // namespace
#endif
