// Queues and masks, keys, refreshes, motion, windows that the user changes, and waiting.
#include "common/values.h"
#include "events_fixture.h"

namespace {

class Events : public EventFixture {
protected:
    static std::string keys() {
        std::string all;
        uint8_t buffer[4] = {};
        Set_keyboard_buffer(buffer, 4);
        for (int count = 0; Get_keyboard_data(&count) == 0;)
            all += std::to_string(buffer[0]) + (count == 1 ? " " : "?");
        return all;
    }
};

void post_close() {
    host_event event = {};
    event.kind = host_event_kind::close;
    headless_post(&event);
}

} // namespace

TEST_F(Events, OnlyEnabledOnesAreQueued) {
    EXPECT_EQ(Post_user_data(7), 0);
    EXPECT_EQ(Post_user_data(0xFFFFFFFF), 0);
    EXPECT_EQ(put_delete_event(3), 0);
    EXPECT_EQ(data(Inq_events), std::to_string(USER_EVENT | DELETE_EVENT));
    EXPECT_EQ(tools_pending_events(), USER_EVENT | DELETE_EVENT);
    EXPECT_EQ(Disable_events(DELETE_EVENT), 0);
    EXPECT_EQ(pending_events, USER_EVENT);
    EXPECT_EQ(put_delete_event(3), -1);
    EXPECT_EQ(event_error, EVENT_ERROR_DISABLED);
    EXPECT_EQ(data(Inq_enabled_events), std::to_string(ALL_EVENTS & ~MOTION_EVENT & ~DELETE_EVENT));
    mem_fail_after(0, mem_fail::once);
    EXPECT_EQ(Post_user_data(2), -1);
    EXPECT_TRUE(mem_fail_stop());
    EXPECT_EQ((values{event_error, data(Inq_user_data)}), (values{EVENT_ERROR_MEMORY, "7"}));
    EXPECT_EQ((values{data(Get_user_data), pending_events}), (values{"7", USER_EVENT}));
    EXPECT_EQ((values{all_data(Get_user_data), pending_events}), (values{"4294967295, ", 0U}));
}

TEST_F(Events, EachQueueIsClearedByItself) {
    Enable_events(MOTION_EVENT);
    Set_win_motion(window, 7);
    Set_win_button_mode(window, 3);
    const refresh_data refresh = {};
    int number = -1;
    put_refresh_event(&refresh);
    put_delete_event(5);
    put_collapse_event(6, 1);
    EXPECT_EQ((values{data(Inq_delete_data), data(Inq_collapse_data)}), (values{"5", "6 1"}));
    Start_timer(1, 0, &number);
    Post_user_data(1);
    desk_post(desk_main(), DESK_POST_MESSAGE, 1, 2);
    headless_type("a");
    headless_click(110, 110, HOST_LEFT);
    advance(16);
    uint32_t left = KEYBOARD_EVENT | BUTTON_EVENT | REFRESH_EVENT | DELETE_EVENT | MESSAGE_EVENT | COLLAPSE_EVENT |
                    TIMER_EVENT | USER_EVENT | MOTION_EVENT;
    for (uint32_t bit = 1; bit != 0; bit <<= 1) {
        EXPECT_EQ(pending_events, left);
        EXPECT_EQ(Disable_events(bit), 0);
        left &= ~bit;
    }
    EXPECT_EQ(enabled_events, 0U);
}

// ---- keyboard -----------------------------------------------------------------------------------------------------

TEST_F(Events, KeysAndCharacters) {
    for (host_key key : {host_key::end, host_key::home, host_key::left, host_key::up, host_key::right, host_key::down,
                         host_key::remove, host_key::page_up, host_key::f1})
        headless_key(key, 0, 0);
    headless_key(host_key::remove, 0, HOST_CTRL);
    headless_key(host_key::backspace, 0, 0);
    headless_key(host_key::tab, 0, 0);
    headless_key(host_key::tab, 0, HOST_SHIFT);
    headless_key(host_key::enter, 0, 0);
    headless_type("A\xE4");
    headless_key(host_key::escape, 0, 0);
    tools_pump();
    EXPECT_EQ(keys(), "5 1 128 133 132 131 4 11 127 9 8 13 65 228 27 ");
    EXPECT_EQ(pending_events, BUTTON_EVENT); // of Escape
}

TEST_F(Events, KeyboardBuffer) {
    uint8_t buffer[2] = {9, 9};
    void* given = nullptr;
    int size = 0;
    headless_type("xy\x80"); // what is no character of Latin-1 beeps
    tools_pump();
    EXPECT_EQ(headless_beeps(), 1);
    EXPECT_EQ(Inq_keyboard_buffer(&given, &size), -1);
    EXPECT_EQ(data(Inq_keyboard_data), "0"); // nowhere to put it
    EXPECT_EQ(Set_keyboard_buffer(buffer, 2), 0);
    EXPECT_EQ(Inq_keyboard_buffer(&given, &size), 0);
    EXPECT_EQ((values{given, data(Inq_keyboard_data)}), (values{buffer, "1"}));
    EXPECT_EQ(data(Get_keyboard_data), "1"); // the one that was looked at
    EXPECT_EQ(buffer[0], 'x');
    EXPECT_EQ(Set_keyboard_buffer(buffer, -1), -1);
    EXPECT_EQ((values{data(Get_keyboard_data), data(Get_keyboard_data)}), (values{"0", "-2"}));
}

// ---- wheel, and dropping ------------------------------------------------------------------------------------------

TEST_F(Events, WheelStepsAddUpByWindow) {
    static int told;
    told = 0;
    tools_set_input_hook([](const desk_message* message) { told += int(message->value); });
    const auto turn = [](int steps, int x, int y, uint8_t modifiers, int across = 0) {
        host_event event = {};
        event.kind = host_event_kind::wheel;
        event.wheel = steps;
        event.across = across;
        event.x = x;
        event.y = y;
        event.modifiers = modifiers;
        headless_post(&event);
        tools_pump();
    };
    Disable_events(WHEEL_EVENT);
    turn(3, 110, 110, 0);
    EXPECT_EQ(told, 3) << "without the event, the hook";
    Enable_events(WHEEL_EVENT);
    turn(1, 110, 110, 0, 9);
    turn(-3, 120, 115, 0, -2);
    turn(2, 120, 115, HOST_CTRL);
    turn(5, 10, 20, 0);
    EXPECT_EQ(told, 3);
    const std::string one = std::to_string(window);
    EXPECT_EQ(data(Inq_wheel_data), one + " 20 15 -2 7 0");
    EXPECT_EQ(all_data(Get_wheel_data), one + " 20 15 -2 7 0, " + one + " 20 15 2 0 2, 0 10 20 5 0 0, ");
    tools_set_input_hook(nullptr);
}

TEST_F(Events, TheOldestOfAQueueIsDropped) {
    for (uint32_t value : {5, 6, 7})
        Post_user_data(value);
    EXPECT_EQ(Drop_event(USER_EVENT), 0);
    EXPECT_EQ(Drop_event(USER_EVENT | TIMER_EVENT), -1) << "the lowest bit's queue is empty";
    EXPECT_EQ((values{event_error, all_data(Get_user_data)}), (values{EVENT_ERROR_EMPTY, "6, 7, "}));
    EXPECT_EQ(Drop_event(0), -1);
    EXPECT_EQ(Drop_event(0x100), -1);
}

// ---- refreshes ----------------------------------------------------------------------------------------------------

TEST_F(Events, RefreshesOfOneWindowBecomeOne) {
    const refresh_data first = {5, 0, 10, 20, 109, 119, 30, 50, 50, 60, 33};
    const refresh_data other = {6, 0, 0, 0, 9, 9, 0, 0, 9, 9, 1};
    const refresh_data moved = {5, 0, 15, 20, 114, 119, 35, 45, 45, 70, 17};
    const refresh_data screen = {5, 1, 15, 20, 114, 119, 20, 45, 45, 70, 17};
    for (const refresh_data* r : {&first, &other, &moved, &screen})
        EXPECT_EQ(put_refresh_event(r), 0);
    EXPECT_EQ(data(Get_refresh_data), "5 0 15 20 114 119 30 45 50 70 49");
    EXPECT_EQ(put_refresh_event(&first), 0); // what was taken isn't part of it
    EXPECT_EQ(all_data(Get_refresh_data), "6 0 0 0 9 9 0 0 9 9 1, 5 1 15 20 114 119 20 45 45 70 17, "
                                          "5 0 10 20 109 119 30 50 50 60 33, ");
}

TEST_F(Events, RefreshesOfAnAreaComeFirst) {
    const auto order = [] {
        for (const int one : {6, 0}) {
            const refresh_data refresh = {one, 0, 0, 0, 9, 9, 0, 0, 9, 9, 1};
            put_refresh_event(&refresh);
        }
        const std::string first = data(Get_refresh_data).substr(0, 2);
        return first + data(Get_refresh_data).substr(0, 1);
    };
    EXPECT_EQ(order(), "6 0");
    int number = -1;
    ASSERT_EQ(Enter_SR(0, 0, &number), 0);
    ASSERT_EQ(Create_SR_area(0, 300, 300, 399, 399), 0);
    EXPECT_EQ(order(), "0 6");
    EXPECT_EQ(Delete_SR_area(0), 0);
    EXPECT_EQ(Exit_SR(0), 0);
}

// ---- motion -------------------------------------------------------------------------------------------------------

TEST_F(Events, MotionAsTheMasksSay) {
    const int second = open(320, 100, 399, 199);
    const auto go = [](int x, int y) {
        headless_pointer(x, y);
        tools_pump();
    };
    Set_win_motion(window, 7);
    go(110, 110);
    EXPECT_EQ(all_data(Get_motion_data), ""); // not enabled
    Enable_events(MOTION_EVENT);
    const std::string one = std::to_string(window), two = std::to_string(second);
    go(111, 110);
    go(112, 111);
    EXPECT_EQ(all_data(Get_motion_data), one + " 11 10 1 1, " + one + " 12 11 1 4, ");
    go(321, 102);
    EXPECT_EQ(all_data(Get_motion_data), one + " 221 2 0 2, "); // in the coordinates of the window that was left
    Set_win_motion(second, 4);
    go(322, 102);
    EXPECT_EQ(all_data(Get_motion_data), two + " 2 2 1 4, ");
    Set_win_motion(window, 2);
    go(110, 110);
    go(111, 110);
    EXPECT_EQ(all_data(Get_motion_data), "");
    ASSERT_EQ(Delete_win(window), 0);
    go(112, 110); // nobody is told that it was left
    EXPECT_EQ(all_data(Get_motion_data), "");
    Disable_events(MOTION_EVENT);
    go(325, 105);
    Enable_events(MOTION_EVENT);
    Set_win_motion(second, 1);
    go(326, 105);
    EXPECT_EQ(all_data(Get_motion_data), two + " 6 5 1 1, "); // it starts anew
}

// ---- waiting and time ---------------------------------------------------------------------------------------------

TEST_F(Events, WaitingWakesUpWhenAClickIsDue) {
    headless_run_freely(true);
    const uint32_t start = host_now();
    uint32_t events = 0;
    Post_user_data(1); // of no interest, and doesn't keep it from blocking
    headless_click(110, 110, HOST_LEFT);
    EXPECT_EQ(Wait_for_next(BUTTON_EVENT, &events), 0);
    EXPECT_EQ((values{host_now() - start, buttons()}), (values{210U, "1.2 "}));
    headless_click(110, 110, HOST_LEFT);
    tools_pump();
    headless_advance(300); // it is due when the wait begins, and nothing else ever will be
    EXPECT_EQ(Wait_for_next(BUTTON_EVENT, &events), 0);
}

TEST_F(Events, Timers) {
    int once = -1, often = -1, third = -1;
    EXPECT_EQ(Start_timer(0, 0, &once), 0); // a millisecond
    advance(0);
    EXPECT_EQ(all_data(Get_timer_data), "");
    advance(1);
    EXPECT_EQ(all_data(Get_timer_data), "0, ");
    EXPECT_EQ(Stop_timer(once), -1);
    EXPECT_EQ(Start_timer(6, 0, &once), 0);  // 100 milliseconds
    EXPECT_EQ(Start_timer(1, 1, &often), 0); // 16
    EXPECT_EQ(Start_timer(60, 0, &third), 0);
    EXPECT_EQ(Stop_timer(third), 0);
    for (const int none : {third, -1, 99})
        EXPECT_EQ(Stop_timer(none), -1) << none;
    std::string seen;
    const uint32_t start = host_now();
    for (int i = 0; i < 105; ++i) {
        advance(1);
        for (int number; Get_timer_data(&number) == 0;)
            seen += std::to_string(number) + "@" + std::to_string(host_now() - start) + " ";
    }
    EXPECT_EQ(seen, "1@16 1@32 1@48 1@64 1@80 1@96 0@100 ");
    Disable_events(TIMER_EVENT);
    advance(20);
    EXPECT_EQ(Stop_timer(often), 0); // it went on unheard
    advance(100);
    Enable_events(TIMER_EVENT);
    advance(100);
    EXPECT_EQ(all_data(Get_timer_data), "");
}

TEST_F(Events, ThereAreAsManyTimersAsSlots) {
    int number = -1;
    for (int i = 0; i < TIMER_SLOTS; ++i)
        EXPECT_EQ(Start_timer(60, 0, &number) + number, i);
    EXPECT_EQ(Start_timer(1, 0, &number), -1);
    EXPECT_EQ(Stop_timer(7), 0);
    EXPECT_EQ(Start_timer(3, 1, &number), 0); // sooner than all others
    EXPECT_EQ(number, 7);
    advance(50);
    EXPECT_EQ(all_data(Get_timer_data), "7, ");
}

TEST_F(Events, TimersWhenTheClockRunsOver) {
    headless_advance(uint32_t{0} - host_now() - 50); // 50 milliseconds before 0
    int number = -1;
    for (const int ticks : {3, 6, 1}) // due at 0, which means free elsewhere; behind it; and before all others
        EXPECT_EQ(Start_timer(ticks, 0, &number), 0);
    std::string order;
    for (const uint32_t step : {15, 1, 33, 2, 48, 1}) {
        advance(step);
        order += all_data(Get_timer_data) + "| ";
    }
    EXPECT_EQ(order, "| 2, | | 0, | | 1, | ");
}

TEST_F(Events, SleepingLetsEventsArrive) {
    headless_run_freely(true);
    Set_win_button_mode(window, 3);
    int number = -1;
    EXPECT_EQ(Start_timer(6, 1, &number), 0);
    const uint32_t start = host_now();
    host_event event = {};
    event.kind = host_event_kind::text;
    event.character = 'k';
    headless_post_later(&event, 120);
    EXPECT_EQ(Sleep_ticks(15), 0);
    EXPECT_EQ((values{host_now() - start, all_data(Get_timer_data), keys()}), (values{250U, "0, 0, ", "107 "}));
    EXPECT_EQ(Sleep_ticks(0), 0);
    EXPECT_EQ(host_now() - start, 250U);
    EXPECT_EQ(Sleep_ticks(1), 0);
    EXPECT_EQ(host_now() - start, 266U);
    advance(34); // the timer has not been forgotten over the sleep
    EXPECT_EQ(all_data(Get_timer_data), "0, ");
}

// ---- the end ------------------------------------------------------------------------------------------------------

TEST_F(Events, ClosingTheMainWindowEndsTheProcess) {
    static int asked;
    static int answer;
    asked = answer = 0;
    const stop_recorder stop;
    tools_set_close_query([] {
        ++asked;
        post_close();
        tools_pump(); // as a question in a form does; it isn't asked twice
        post_close();
        desk_mouse_waiting(); // nor for what has come since
        return answer;
    });
    post_close();
    EXPECT_TRUE(tools_pump());
    EXPECT_EQ((values{asked, stop.status}), (values{1, -1}));
    answer = 1;
    post_close();
    uint32_t events = 0;
    EXPECT_EQ(Wait_for_events(ALL_EVENTS, &events), -1);
    EXPECT_EQ(asked, 2);
    EXPECT_EQ(stop.status, 0);
    EXPECT_EQ(desk_main(), nullptr);
    int number = -1;
    EXPECT_EQ(Start_timer(1, 0, &number), -1);
    EXPECT_EQ(Sleep_ticks(10), -1);
}

// What a loop needs that follows one button, or counts one timer: the others' events keep their order.
TEST_F(Events, ReleasesAndTimersAreFoundBehindOthers) {
    int fast = -1, slow = -1;
    ASSERT_EQ(Start_timer(6, 0, &slow), 0);
    ASSERT_EQ(Start_timer(3, 1, &fast), 0);
    advance(50);
    advance(50);
    EXPECT_EQ(Get_timer_data_of(fast), 0);
    EXPECT_EQ(Get_timer_data_of(7), -1);
    EXPECT_EQ(Get_timer_data_of(fast), 0);
    EXPECT_EQ(Get_timer_data_of(fast), -1);
    EXPECT_EQ(all_data(Get_timer_data), std::to_string(slow) + ", ");
    Stop_timer(fast);

    Set_win_button_mode(window, 3);
    headless_pointer(150, 150);
    headless_button(HOST_LEFT, true, 0);
    headless_button(HOST_RIGHT, true, 0);
    advance(10);
    EXPECT_EQ(Get_button_release(1), button_next::pressed); // it stays
    EXPECT_EQ(Get_button_release(0), button_next::none);
    Get_button_data(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    headless_button(HOST_LEFT, false, 0);
    advance(10);
    EXPECT_EQ(Get_button_release(1), button_next::released);
    EXPECT_EQ(Get_button_release(1), button_next::none);
    headless_button(HOST_RIGHT, false, 0);
    advance(10);
    EXPECT_EQ((values{buttons(), pending_events}), (values{"2.1 2.0 ", 0U}));
}
