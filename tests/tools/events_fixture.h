// The tools on the headless host, entered, with a window and a clock that stands.
#pragma once

#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "platform/window/deskfixture.h"
#include "support/memory.h"
#include "tools/events.h"
#include "tools/process.h"
#include "tools/windows.h"

constexpr uint32_t ALL_EVENTS = 0x3FFFF;

// What an Inq or Get operation gives, as text; at a failure "-" and the error.
template <typename... Words> std::string data(int (*look)(Words*...)) {
    std::tuple<Words...> words = {};
    if (std::apply([look](Words&... word) { return look(&word...); }, words) != 0)
        return "-" + std::to_string(event_error);
    std::string all;
    std::apply([&all](Words... word) { ((all += (all.empty() ? "" : " ") + std::to_string(word)), ...); }, words);
    return all;
}

// All events of a queue, taken, each with a comma behind it.
template <typename... Words> std::string all_data(int (*take)(Words*...)) {
    std::string all;
    const std::string end = "-" + std::to_string(EVENT_ERROR_EMPTY);
    for (std::string one = data(take); one != end; one = data(take))
        all += one + ", ";
    return all;
}

class EventFixture : public testing::Test {
protected:
    void SetUp() override {
        live_before = mem_live();
        const host_screen size = {640, 480, 8, 0};
        ASSERT_TRUE(host_start_with(&host_headless, &size, "Main"));
        ASSERT_EQ(Enter_tools(), 0);
        window = open(100, 100, 299, 199);
        headless_advance(1000);
        Disable_events(ALL_EVENTS); // what the opening brought
        Enable_events(ALL_EVENTS & ~MOTION_EVENT);
    }
    void TearDown() override {
        tools_leave();
        tools_set_close_query(nullptr);
        EXPECT_EQ(mem_live(), live_before);
    }
    static int open(int x1, int y1, int x2, int y2) {
        int number = -1;
        EXPECT_EQ(Create_win_no_border(0, x1, y1, x2, y2, &number), 0);
        EXPECT_EQ(Display_win(number), 0);
        return number;
    }
    // All button events, taken: "button.transition ".
    static std::string buttons() {
        std::string all;
        for (int button, transition; Get_button_data(nullptr, nullptr, nullptr, &button, &transition, nullptr) == 0;)
            all += std::to_string(button) + "." + std::to_string(transition) + " ";
        return all;
    }
    static void advance(uint32_t time) {
        headless_advance(time);
        tools_pump();
    }
    int window = -1;
    long live_before = 0;
};
