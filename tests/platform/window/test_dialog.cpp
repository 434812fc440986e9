// Message boxes: answers, what other windows get meanwhile, and that nothing is left behind.
#include "platform/window/dialog.h"

#include "deskfixture.h"
#include "support/memory.h"

#include <cstring>

namespace {

struct dialog_test : desk_test {
    // Runs a box; `act` is called when it first waits, each time with how often it waited before.
    static bool ask(dialog_buttons buttons, void (*act)(int)) {
        struct waiting {
            void (*act)(int);
            int count;
        } w = {act, 0};
        headless_on_idle(
            [](void* user) {
                auto* state = static_cast<waiting*>(user);
                if (state->count > 20) return false;
                state->act(state->count++);
                return true;
            },
            &w);
        const bool answer = dialog_message("Question", "Discard the changes?", dialog_icon::exclamation, buttons);
        headless_on_idle(nullptr, nullptr);
        return answer;
    }
    std::vector<uint32_t> picture() {
        std::vector<uint32_t> pixels(400 * 300);
        canvas_get_native(desk_canvas(desk_main()), {0, 0, 400, 300}, pixels.data(), 400 * 4);
        return pixels;
    }
};

TEST_F(dialog_test, KeysAnswer) {
    const auto enter = [](int) { headless_key(host_key::enter, 0, 0); };
    const auto escape = [](int) { headless_key(host_key::escape, 0, 0); };
    const auto other = [](int count) { headless_key(count == 0 ? host_key::tab : host_key::enter, 0, 0); };
    const auto back = [](int count) { headless_key(count < 2 ? host_key::left : host_key::character, ' ', 0); };
    EXPECT_TRUE(ask(dialog_buttons::ok, enter));
    EXPECT_TRUE(ask(dialog_buttons::ok, escape));
    EXPECT_TRUE(ask(dialog_buttons::ok_cancel, enter));
    EXPECT_FALSE(ask(dialog_buttons::ok_cancel, escape));
    EXPECT_FALSE(ask(dialog_buttons::ok_cancel, other));
    EXPECT_TRUE(ask(dialog_buttons::ok_cancel, back));
}

// What the user can't have meant, as the second click on the button that has brought the box up, waits behind it.
TEST_F(dialog_test, ClosingTheMainWindowIsNoAndComesLater) {
    const auto close = [](int count) {
        host_event event = {};
        event.kind = host_event_kind::close;
        if (count > 0) headless_advance(500);
        if (count < 2) headless_post(&event);
    };
    EXPECT_FALSE(ask(dialog_buttons::ok_cancel, close));
    pump();
    EXPECT_EQ(count(desk_kind::close), 2);
    close(0);
    desk_mouse_waiting(); // it is taken from the host
    desk_drop_close();
    forget();
    pump();
    EXPECT_EQ(find(desk_kind::close), nullptr);
}

// The box stands in the middle: the buttons are left and right of x = 200.
TEST_F(dialog_test, MouseAnswersOnReleaseInsideTheButton) {
    const auto cancel = [](int count) {
        const int y = desk_outer(desk_active()).y2 - 25;
        if (count == 0) drag(230, y, 230, 20); // left before the release: nothing
        if (count == 1) headless_click(230, y - 60, HOST_LEFT);
        if (count == 2) headless_click(230, y, HOST_RIGHT);
        if (count == 3) headless_click(230, y, HOST_LEFT);
    };
    const auto ok = [](int) { headless_click(170, desk_outer(desk_active()).y2 - 25, HOST_LEFT); };
    EXPECT_FALSE(ask(dialog_buttons::ok_cancel, cancel));
    EXPECT_TRUE(ask(dialog_buttons::ok_cancel, ok));
}

TEST_F(dialog_test, OthersGetNoInputAndPixelsComeBack) {
    desk_window* w = open(FULL_STYLE, 1, {20, 40, 380, 290});
    desk_activate(w);
    pump();
    forget();
    const std::vector<uint32_t> before = picture();
    const auto act = [](int count) {
        if (count == 0) headless_click(30, 60, HOST_LEFT); // the window behind
        if (count == 1) headless_type("x");
        if (count == 2) {
            const canvas_box box = desk_outer(desk_active());
            drag(box.x1 + 60, box.y1 + 10, box.x1 + 20, box.y1 + 90); // it can be moved
        }
        if (count == 3) headless_key(host_key::enter, 0, 0);
    };
    EXPECT_TRUE(ask(dialog_buttons::ok, act));
    EXPECT_EQ(headless_beeps(), 1);
    EXPECT_EQ(desk_active(), w);
    EXPECT_EQ(picture(), before);
    pump();
    for (const desk_message& m : messages)
        EXPECT_EQ(m.kind, desk_kind::activated);
    EXPECT_TRUE(paints.empty()) << "what was covered needs no paint";
}

TEST_F(dialog_test, OtherMessagesWaitForTheProgram) {
    desk_window* w = open(0, 1, {0, 0, 50, 50}); // its paint waits
    desk_post(desk_main(), 9, 0, 0);
    desk_set_timer(host_now());
    EXPECT_TRUE(ask(dialog_buttons::ok, [](int) {
        host_event close = {};
        close.kind = host_event_kind::close;
        headless_post(&close);
        headless_resize(300, 200, host_state::restored);
        headless_key(host_key::enter, 0, 0);
    }));
    pump();
    EXPECT_EQ(messages[0].code, 9);
    for (const desk_kind kind : {desk_kind::close, desk_kind::sized, desk_kind::timer})
        EXPECT_NE(find(kind), nullptr) << int(kind);
    EXPECT_EQ(paints[1].size(), 1u);
    EXPECT_TRUE(desk_is_shown(w));
}

// Each icon by its colours, on every screen that can show them.
TEST(DialogIcons, AreToldApartAtEachDepth) {
    static const struct {
        int level;
        canvas_rgb color; // somewhere in it
    } ROWS[] = {{LOG_ERROR, {255, 0, 0}}, {LOG_WARNING, {255, 255, 0}}, {LOG_INFO, {0, 0, 255}}};
    for (const int planes : {4, 8, 15, 16, 24}) {
        const host_screen size = {400, 300, planes, 0};
        ASSERT_TRUE(host_start_with(&host_headless, &size, "T"));
        ASSERT_TRUE(desk_start("T"));
        for (const auto& r : ROWS) {
            static int found[3];
            headless_on_idle(
                [](void*) {
                    const canvas_box b = desk_client(desk_active());
                    std::fill(found, found + 3, 0);
                    for (int y = b.y1; y < b.y2; ++y)
                        for (int x = b.x1; x < b.x1 + 50; ++x)
                            for (int i = 0; i < 3; ++i)
                                found[i] += headless_shown(x, y) == ROWS[i].color;
                    headless_key(host_key::enter, 0, 0);
                    return true;
                },
                nullptr);
            dialog_log_sink(nullptr, r.level, "text");
            for (int i = 0; i < 3; ++i)
                EXPECT_EQ(found[i] > 30, &ROWS[i] == &r) << planes << " planes, level " << r.level << ": " << found[i];
        }
        desk_stop();
    }
}

TEST_F(dialog_test, TextIsWrappedAndLongOnesFit) {
    std::string text;
    for (int i = 0; i < 60; ++i)
        text += "word" + std::to_string(i) + (i == 20 ? "\n\n" : " ");
    text += std::string(400, 'x'); // no blank to wrap at
    static canvas_box outer;
    for (const canvas_point size : {canvas_point{1024, 768}, {400, 300}, {320, 200}}) {
        TearDown();
        start(size.x, size.y, 24);
        headless_on_idle(
            [](void*) {
                outer = desk_outer(desk_active());
                headless_key(host_key::enter, 0, 0);
                return true;
            },
            nullptr);
        EXPECT_TRUE(dialog_message("T", text.c_str(), dialog_icon::stop, dialog_buttons::ok));
        EXPECT_LE(outer.x2 - outer.x1, 520);
        EXPECT_GT(outer.y2 - outer.y1, 180);
        EXPECT_TRUE(outer.x1 >= 0 && outer.y1 >= 0 && outer.x2 <= size.x && outer.y2 <= size.y) << size.x;
    }
}

TEST_F(dialog_test, WithoutADeskOrMemoryTheTextGoesToStandardError) {
    testing::internal::CaptureStderr();
    mem_fail_after(0, mem_fail::onward);
    EXPECT_TRUE(dialog_message("Error", "no memory", dialog_icon::stop, dialog_buttons::ok));
    mem_fail_stop();
    desk_stop();
    dialog_log_sink(nullptr, LOG_WARNING, "no screen");
    dialog_log_sink(nullptr, 0, "not shown");
    EXPECT_FALSE(dialog_message("Q", "sure?", dialog_icon::none, dialog_buttons::ok_cancel));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Error: no memory\nWarning: no screen\nQ: sure?\n");
}

} // namespace
