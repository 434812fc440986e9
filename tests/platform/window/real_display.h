// A display of the test's own, on which the host's window is a real one: an X server in memory, driven by xdotool,
// whose pixels can be read.
#pragma once

#include "common/own_directory.h"
#include "common/run.h"
#include "support/bytes.h"

#include <SDL.h>
#include <SDL_syswm.h>
#include <X11/Xlib.h>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

class RealDisplay : public OwnDirectory {
protected:
    void SetUp() override {
        NEEDS_PROGRAM("Xvfb");
        NEEDS_PROGRAM("xdotool");
        for (const char* name : {"SDL_VIDEODRIVER", "WAYLAND_DISPLAY", "TINCT_HOST", "TINCT_SCREEN", "TINCT_SCALE"})
            unsetenv(name);
        start_server();
    }
    void TearDown() override {
        unsetenv("DISPLAY");
        if (server <= 0) return;
        kill(server, SIGTERM);
        waitpid(server, nullptr, 0);
    }

    // The server tells the number of a free display through a pipe, once it listens.
    void start_server() {
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        server = fork();
        if (server == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL); // it goes with the test, however that ends
            dup2(ends[1], 3);
            dup2(open("/dev/null", O_WRONLY), 1);
            dup2(1, 2);
            execlp("Xvfb", "Xvfb", "-displayfd", "3", "-screen", "0", "1280x960x24", "-noreset", "-nolisten", "tcp",
                   "-fbdir", directory.c_str(), static_cast<char*>(nullptr));
            _exit(127);
        }
        close(ends[1]);
        std::string number;
        for (char c; ::read(ends[0], &c, 1) == 1 && c != '\n';)
            number += c;
        close(ends[0]);
        ASSERT_FALSE(number.empty()) << "no display";
        setenv("DISPLAY", (":" + number).c_str(), 1);
    }

    static void xdotool(const std::string& command) {
        const run_result r = run_command("/", "xdotool " + command);
        ASSERT_TRUE(r.ok()) << command << ": " << r.err;
    }

    // All pixels of the display, as the server keeps them: a window dump, whose header's words have their high byte
    // first, a table of colours of 12 bytes each, and the rows.
    void look() {
        dump = read(path("Xvfb_screen0"));
        ASSERT_GT(dump.size(), 100u);
        pixels_at = word(0) + word(19) * 12;
        row_bytes = word(12);
    }
    uint32_t word(size_t index) const { return load_u32be(reinterpret_cast<const uint8_t*>(dump.data()) + index * 4); }
    uint32_t pixel(int x, int y) const {
        const size_t at = pixels_at + size_t(y) * row_bytes + size_t(x) * 4;
        return load_u32le(reinterpret_cast<const uint8_t*>(dump.data()) + at) & 0xFFFFFF;
    }

    pid_t server = -1;
    std::string dump;
    size_t pixels_at = 0, row_bytes = 0;
};

// The window of the host, and asking it to close as a window manager does.
struct real_window {
    SDL_Window* window = SDL_GetWindowFromID(1);
    SDL_SysWMinfo info = {};
    real_window() {
        SDL_VERSION(&info.version);
        EXPECT_TRUE(SDL_GetWindowWMInfo(window, &info));
    }
    std::string id() const { return std::to_string(info.info.x11.window); }
    void ask_to_close() const {
        Display* display = info.info.x11.display;
        XEvent event = {};
        event.xclient.type = ClientMessage;
        event.xclient.window = info.info.x11.window;
        event.xclient.message_type = XInternAtom(display, "WM_PROTOCOLS", False);
        event.xclient.format = 32;
        event.xclient.data.l[0] = long(XInternAtom(display, "WM_DELETE_WINDOW", False));
        XSendEvent(display, info.info.x11.window, False, NoEventMask, &event);
        XFlush(display);
    }
};
