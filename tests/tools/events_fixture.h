// The tools on the headless host, entered, with a window and a clock that stands.
#pragma once

#include <string>

#include <gtest/gtest.h>

#include "support/log.h"
#include "support/memory.h"
#include "tools/events.h"
#include "tools/process.h"
#include "tools/windows.h"

constexpr uint32_t ALL_EVENTS = 0x1FFFF;

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
    // The oldest events of a queue as text, taken.
    static std::string buttons() {
        std::string all;
        int number, x, y, button, transition;
        uint32_t time;
        while (Get_button_data(&number, &x, &y, &button, &transition, &time) == 0)
            all += std::to_string(button) + "." + std::to_string(transition) + " ";
        return all;
    }
    int window = -1;
    long live_before = 0;
};

// What stop_program() was called with, -1 for not at all.
struct stop_record {
    int status = -1;
    stop_record() {
        stop_set_action([](void* user, int s) { static_cast<stop_record*>(user)->status = s; }, this);
    }
    ~stop_record() { stop_set_action(nullptr, nullptr); }
};
