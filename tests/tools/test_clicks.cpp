// Clicks: what presses and releases become, and to the millisecond when.
#include <vector>

#include "common/values.h"
#include "events_fixture.h"

namespace {

// "L+" is a press of the left button, "C-" a release of it with Ctrl held, and so on.
struct action {
    uint32_t at; // milliseconds from the start
    const char* what;
};

class Clicks : public EventFixture {
protected:
    void SetUp() override {
        EventFixture::SetUp();
        headless_pointer(110, 120);
        tools_pump();
    }
    static void act(const char* what) {
        const int button = what[0] == 'R' ? HOST_RIGHT : what[0] == 'M' ? HOST_MIDDLE : HOST_LEFT;
        headless_button(button, what[1] == '+', what[0] == 'C' ? HOST_CTRL : 0);
    }
    // Plays the actions, looking at the queue in each millisecond of a second. Gives when each event was first seen.
    static std::string play(const std::vector<action>& actions) {
        std::string seen;
        for (uint32_t now = 0; now < 1000; ++now) {
            for (const action& a : actions)
                if (a.at == now) act(a.what);
            tools_pump();
            const std::string found = buttons();
            if (!found.empty()) seen += "@" + std::to_string(now) + " " + found;
            headless_advance(1);
        }
        return seen;
    }
};

const std::vector<action> CLICK = {{0, "L+"}, {50, "L-"}};
const std::vector<action> TWICE = {{0, "L+"}, {50, "L-"}, {100, "L+"}, {150, "L-"}};
const std::vector<action> HELD = {{0, "L+"}, {500, "L-"}, {600, "L+"}, {650, "L-"}};

} // namespace

TEST_F(Clicks, OfAPlainWindow) {
    EXPECT_EQ(play({{0, "L+"}, {50, "L-"}, {500, "L-"}}), "@260 1.2 "); // it is up already
    EXPECT_EQ(play({{0, "L+"}, {209, "L-"}}), "@419 1.2 ");
    EXPECT_EQ(play({{0, "L+"}, {210, "L-"}}), "@210 1.1 1.0 ");
    EXPECT_EQ(play({{0, "L+"}, {500, "L-"}}), "@210 1.1 @500 1.0 ");
    EXPECT_EQ(play(TWICE), "@150 1.4 ");
    EXPECT_EQ(play({{0, "L+"}, {50, "L-"}, {100, "L+"}, {600, "L-"}}), "@310 1.3 @600 1.0 ");
    EXPECT_EQ(play({{0, "L+"}, {50, "L-"}, {260, "L+"}, {300, "L-"}}), "@260 1.2 @510 1.2 ");
}

TEST_F(Clicks, OfOtherButtons) {
    EXPECT_EQ(play({{0, "C+"}, {50, "C-"}}), "@260 0.2 ");
    EXPECT_EQ(play({{0, "M+"}, {50, "M-"}}), "@260 1.2 ");
    EXPECT_EQ(play({{0, "R+"}, {50, "R-"}, {60, "R+"}, {70, "R-"}}), "@70 2.4 ");
    // Another button has the one before told at once.
    EXPECT_EQ(play({{0, "L+"}, {50, "R+"}, {80, "R-"}, {100, "L-"}}), "@50 1.1 @100 2.2 1.0 ");
}

TEST_F(Clicks, OfEachMode) {
    Set_button_mode(window, 1, 1);
    EXPECT_EQ(play(CLICK), "@50 1.2 ");
    EXPECT_EQ(play(TWICE), "@50 1.2 @150 1.2 ");
    EXPECT_EQ(play(HELD), "@210 1.1 @500 1.0 @650 1.2 ");
    Set_button_mode(window, 1, 2);
    EXPECT_EQ(play(TWICE), "@50 1.2 @150 1.2 ");
    EXPECT_EQ(play(HELD), "@210 1.1 @600 1.7 @860 1.0 "); // a release waits for a press, too
    EXPECT_EQ(play({{0, "L+"}, {300, "L-"}}), "@210 1.1 @510 1.0 ");
    Set_button_mode(window, 1, 3);
    EXPECT_EQ(play(TWICE), "@0 1.1 @50 1.0 @100 1.1 @150 1.0 ");
    EXPECT_EQ(play({{0, "R+"}, {50, "R-"}}), "@260 2.2 "); // the other buttons' mode is their own
}

TEST_F(Clicks, WaitForMouseMessagesThatAreLate) {
    // The program was busy: by the times of the messages it is a click, whenever they are looked at.
    host_event event = {};
    event.kind = host_event_kind::button;
    event.x = 110, event.y = 120;
    event.down = true;
    headless_post(&event);
    event.down = false;
    headless_post_later(&event, 100);
    headless_advance(900);
    tools_pump();
    EXPECT_EQ(buttons(), "1.2 ");
}

TEST_F(Clicks, TellWhereAndWhen) {
    const uint32_t now = host_now();
    headless_click(110, 120, HOST_RIGHT);
    tools_pump();
    headless_pointer(300, 300); // the mouse goes on; the click stays where it was
    headless_advance(210);
    EXPECT_EQ(data(Inq_events), std::to_string(BUTTON_EVENT));
    const std::string expected = std::to_string(window) + " 10 20 2 2 " + std::to_string(now);
    EXPECT_EQ((values{data(Inq_button_data), data(Get_button_data)}), (values{expected, expected}));
    EXPECT_EQ(data(Get_button_data), "-2");
}

TEST_F(Clicks, ThatAreNotDelivered) {
    act("L-"); // no press came before
    tools_pump();
    EXPECT_EQ((values{event_error, buttons()}), (values{EVENT_ERROR_DISABLED, ""}));
    act("L+"); // its window goes before it is told
    tools_pump();
    ASSERT_EQ(Delete_win(window), 0);
    advance(1);
    EXPECT_EQ(play({{0, "L-"}}), "");
}

TEST_F(Clicks, BeforeTheProgramListens) {
    events_reset(host_now());
    Enable_events(BUTTON_EVENT);
    act("L+");
    headless_advance(1);
    act("L-");
    EXPECT_EQ(play({}), "");
}

TEST_F(Clicks, EscapeActsAsTheRightButton) {
    headless_key(host_key::escape, 0, 0);
    tools_pump();
    EXPECT_EQ(data(Inq_button_data), "0 0 0 2 2 " + std::to_string(host_now()));
    EXPECT_EQ(buttons(), "2.2 2.2 "); // one at the press, one at the release
}

TEST_F(Clicks, OutsideOfAnAreaBeepAndAreDelivered) {
    int number = -1;
    ASSERT_EQ(Enter_SR(0, 0, &number), 0);
    ASSERT_EQ(Create_SR_area(0, 300, 300, 399, 399), 0);
    Set_win_button_mode(0, 3);
    headless_click(310, 310, HOST_LEFT);
    tools_pump();
    EXPECT_EQ(headless_beeps(), 0);
    headless_click(50, 50, HOST_RIGHT);
    tools_pump();
    EXPECT_EQ(headless_beeps(), 0);
    headless_click(400, 310, HOST_LEFT);
    tools_pump();
    EXPECT_EQ((values{headless_beeps(), buttons()}), (values{2, "1.1 1.0 2.1 2.0 1.1 1.0 "}));
    EXPECT_EQ(Delete_SR_area(0), 0);
    EXPECT_EQ(Exit_SR(0), 0);
}
