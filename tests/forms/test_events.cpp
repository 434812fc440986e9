// Events of forms: which are taken, windows that the user changes, pop-ups, the keyboard sequence, loops that follow
// the mouse, and routines of the application that delete, show and hide things while they are called.
#include <random>

#include "forms/env.h"
#include "forms/formshow.h"
#include "forms/sequence.h"
#include "forms/show.h"
#include "forms/track.h"
#include "forms_fixture.h"

namespace {

class FormEvents : public FormsFixture {
protected:
    void SetUp() override {
        FormsFixture::SetUp();
        FI_set_graphic_env(15, reinterpret_cast<FI_routine>(framed));
    }
    static int framed(int /*screen*/, int level, int x1, int y1, int x2, int y2, int* window) {
        return Create_win_flags(WINDOW_FRAME | WINDOW_CAPTION, level, "A form", x1, y1, x2, y2, window);
    }
    // What window_event_routine is told, as codes.
    static void window_event(int /*label*/, int code, FI_form* form) {
        self->told += "w" + std::to_string(code) + " ";
        if (static_cast<FormEvents*>(self)->on_window) static_cast<FormEvents*>(self)->on_window(code, form);
    }
    FI_form* shown(const std::vector<test_gadget>& gadgets, uint32_t attributes = 0) {
        FI_form* form = make(gadgets);
        FIf_set_attr(form, attributes);
        FIf_set_window_event_routine(form, window_event);
        EXPECT_EQ(FIf_display(form), FI_SUCCESS);
        FIg_get_attr(form, 0, &attributes);
        told.clear();
        return form;
    }
    std::function<void(int code, FI_form* form)> on_window;
};

// Puts a button event on the queue and looks at whether the toolkit takes it.
int process_click(FI_form* form, int x, int y, int button) {
    int x1 = 0, y1 = 0, x2 = 0, y2 = 0, window = -1;
    FIf_get_window(form, &window);
    Inq_win_region(window, &x1, &y1, &x2, &y2);
    Set_win_button_mode(window, 3); // at once
    headless_advance(400);
    headless_click(x1 + x, y1 + y, button);
    uint32_t pending = 0;
    Inq_events(&pending);
    return FI_process_event(BUTTON_EVENT);
}

} // namespace

TEST_F(FormEvents, OnlyWhatAFormOwnsIsTaken) {
    Post_user_data(77777);
    EXPECT_EQ(FI_process_event(~0U), 0); // nothing is displayed
    FI_form* form = shown({{FI_BUTTON, 11, 20, 20, 80, 50, "b"}});
    const uint32_t own = 77777 + static_cast<uint32_t>(window_of(form));
    for (const uint32_t value : {0U, 77777U + 41, 77776U, 0xFFFFFFFFU, own}) {
        Clear_user_data();
        Post_user_data(value);
        EXPECT_EQ(FI_process_event(USER_EVENT), value == own ? 1 : 0) << value;
    }
    EXPECT_EQ(process_click(form, 30, 30, HOST_RIGHT), 0);
    EXPECT_NE(pending_events & BUTTON_EVENT, 0U); // it stays
    Clear_button_data();
    EXPECT_EQ(process_click(form, 30, 30, HOST_LEFT), 1); // the press
    EXPECT_EQ(take_told(), "1.11=1 ");
    EXPECT_EQ(FI_process_event(BUTTON_EVENT), 1); // the release
    EXPECT_EQ(take_told(), "");
    FI_form* none = nullptr;
    EXPECT_EQ(FI_get_form_by_window(window_of(form), &none), FI_SUCCESS);
    EXPECT_EQ(none, form);
    EXPECT_EQ(FI_get_form_by_window(window_of(form) + 1, &none), FI_NO_SUCH_FORM);

    // With a routine for all of them each button event goes there, and a press on nothing can be caught.
    static std::string seen;
    seen.clear();
    FIf_set_button_intercept_routine(form, [](int, int x, int y, int, int, uint32_t, FI_form*) {
        seen += "nothing at " + std::to_string(x) + "," + std::to_string(y) + " ";
        return 1;
    });
    EXPECT_EQ(process_click(form, 5, 7, HOST_LEFT), 1);
    FI_process_event(BUTTON_EVENT);
    FIf_set_button_event_routine(form, [](FI_form*, int, int, int button, int transition, uint32_t) {
        seen += std::to_string(button) + "." + std::to_string(transition) + " ";
    });
    EXPECT_EQ(process_click(form, 30, 30, HOST_RIGHT), 1);
    FI_process_event(BUTTON_EVENT);
    EXPECT_EQ(seen, "nothing at 5,7 2.1 2.0 ");
    EXPECT_EQ(take_told(), "");
}

TEST_F(FormEvents, FormsStayOnTheScreen) {
    const struct {
        int x, y, width, height, at_x, at_y;
    } cases[] = {
        {-5, -7, 100, 100, 0, 0},
        {1000, 20, 100, 50, 1023 - 100 - 1, 20},
        {20, 760, 50, 100, 20, 767 - 100 - 1},
        {5, 5, 1022, 766, 0, 0},
        {5, 5, 2000, 1000, 0, 0},
    };
    for (const auto& c : cases) {
        FI_form* form = make({});
        form->x1 = static_cast<int16_t>(c.x);
        form->y1 = static_cast<int16_t>(c.y);
        form->x2 = static_cast<int16_t>(c.x + c.width);
        form->y2 = static_cast<int16_t>(c.y + c.height);
        EXPECT_EQ(FIf_display(form), FI_SUCCESS);
        EXPECT_TRUE(form->x1 == c.at_x && form->y1 == c.at_y && fi_form_width(form) == c.width) << c.x << "," << c.y;
        FIf_delete(form);
    }
    // Neither empty ones nor those of screens that there aren't get a window.
    FI_form* form = make({}, 0, 0);
    EXPECT_EQ(FIf_display(form), FI_NO_WINDOW);
    FIf_set_size(form, 100, 100);
    for (const int mode : {0, 3, 9}) {
        EXPECT_EQ(FIf_set_screen(form, mode), FI_SUCCESS);
        EXPECT_EQ(FIf_display(form), FI_NO_SCREEN);
    }
    FIf_set_screen(form, 2);
    EXPECT_EQ(FIf_display(form), FI_SUCCESS);
    EXPECT_EQ(FIf_set_screen(form, 1), FI_FORM_DISPLAYED);
    FIf_erase(form);
    EXPECT_EQ(FIf_erase(form), FI_SUCCESS);
}

// The user resizes a window by its frame, moves it, minimises it, and closes it.
TEST_F(FormEvents, WindowsFollowTheUser) {
    const std::vector<test_gadget> two = {{FI_BUTTON, 11, 20, 20, 80, 50, "b"}, {FI_BUTTON, 7, 300, 20, 380, 50, "7"}};
    FI_form* form = shown(two);
    FI_form* fixed = shown(two, FI_NOT_SCALABLE);
    run();
    told.clear();
    for (FI_form* f : {form, fixed}) {
        const int window = window_of(f);
        desk_window* handle = window_find(window)->handle;
        canvas_box outer = desk_outer(handle);
        outer.x2 += 30;
        outer.y2 += 150;
        desk_place(handle, outer);
        run();
        EXPECT_EQ(take_told(), "w4 w3 w2 ");
        EXPECT_EQ(fi_form_width(f), 430);
        EXPECT_EQ(fi_form_height(f), 450);
    }
    EXPECT_FLOAT_EQ(fi_find_gadget(form, 11)->x1, 20 * 430 / 400.0F);
    EXPECT_FLOAT_EQ(fi_find_gadget(form, 11)->y2, 75);
    EXPECT_FLOAT_EQ(fi_find_gadget(fixed, 11)->x1, 20);
    EXPECT_FLOAT_EQ(fi_find_gadget(fixed, 7)->x1, 330);
    EXPECT_FLOAT_EQ(fi_find_gadget(fixed, 7)->x2, 410);

    Modify_win(window_of(form), 100, 100, 530, 550); // moved
    Disable_events(REFRESH_EVENT);
    Enable_events(REFRESH_EVENT);
    refresh_data moved = {window_of(form), 0, 99, 98, 529, 548, 0, 0, 430, 450, 16};
    put_refresh_event(&moved);
    run();
    EXPECT_EQ(take_told(), "w6 "); // a pure move draws nothing
    EXPECT_EQ(form->x1, 99);

    desk_set_state(window_find(window_of(form))->handle, host_state::minimised);
    run();
    EXPECT_EQ(take_told(), "w0 ");
    int state = 0;
    EXPECT_EQ(FIf_is_collapsed(form, &state), FI_SUCCESS);
    EXPECT_TRUE(state == 1 && (form->attr_mask & FI_COLLAPSED) != 0);
    desk_set_state(window_find(window_of(form))->handle, host_state::restored);
    run();
    EXPECT_NE(take_told().find("w1 "), std::string::npos);
    EXPECT_EQ(form->attr_mask & FI_COLLAPSED, 0U);

    // The user closes one, and before the toolkit learns of it another form gets the same window number.
    const int number = window_of(fixed);
    const canvas_box client = desk_client(window_find(number)->handle);
    const int menu_y = client.y1 - desk_sizes()->caption_height / 2;
    headless_advance(400);
    headless_click(client.x1 + 9, menu_y, HOST_LEFT);
    headless_click(client.x1 + 9, menu_y, HOST_LEFT);
    uint32_t pending = 0;
    Inq_events(&pending);
    ASSERT_NE(pending & DELETE_EVENT, 0U);
    FI_form* next = shown({});
    EXPECT_EQ(window_of(next), number);
    run();
    EXPECT_NE(take_told().find("w5 "), std::string::npos);
    EXPECT_EQ(FIf_is_valid(fixed), FI_NO_SUCH_FORM);
    EXPECT_EQ(FIf_is_valid(next), FI_SUCCESS);
    EXPECT_EQ(window_of(next), number);
}

// ---- pop-ups --------------------------------------------------------------------------------------------------------

TEST_F(FormEvents, PopUps) {
    FI_form* below = shown({{FI_TOGGLE, 11, 20, 20, 120, 50, "t"}, {FI_BUTTON, 12, 20, 100, 120, 130, "b"}});
    const std::vector<uint8_t> before = picture(below);
    FI_form* first =
        shown({{FI_BUTTON, 5, 20, 20, 80, 50, "5"}, {FI_TOGGLE, 11, 20, 80, 120, 110, "t"}}, FI_SAVE_RESTORE);
    FI_form* second = shown({{FI_BUTTON, 11, 20, 20, 80, 50, "b"}}, FI_SAVE_RESTORE);
    EXPECT_EQ(window_of(first), 0);
    FI_form* found = nullptr;
    FI_get_form_by_window(window_of(below), &found);
    EXPECT_EQ(found, second); // the top one for any window
    click(second, 11);
    EXPECT_EQ(take_told(), "1.11=1 ");
    // What changes under a pop-up is seen when it can be.
    FIg_set_state_on(first, 11);
    FIg_set_state_on(below, 11);
    told.clear();
    FIf_erase(second);
    EXPECT_EQ(take_told(), "w3 "); // the first is drawn again
    // Erasing one that isn't on top erases those above it first.
    FIf_display(second);
    told.clear();
    FIf_erase(first);
    EXPECT_TRUE(window_of(second) == -1 && window_of(first) == -1 && !fi_state.sr_active);
    EXPECT_EQ(take_told(), "w3 ");
    EXPECT_NE(picture(below), before);
    FIg_set_state_off(below, 11);
    EXPECT_EQ(difference(below, picture(below), before), "");
    // Alone it can become permanent, by its button 5, which is disabled then.
    FIf_display(first);
    told.clear();
    click(first, 5);
    EXPECT_NE(take_told().find("1.5=1"), std::string::npos);
    EXPECT_GT(window_of(first), 0);
    EXPECT_EQ(first->attr_mask & FI_SAVE_RESTORE, 0U);
    EXPECT_NE(fi_find_gadget(first, 5)->attr_mask & FI_NOT_ENABLED, 0U);
    EXPECT_EQ(FIf_cvrt_to_perm_win(first), FI_SUCCESS);
    // Deleting the forms below a pop-up leaves it standing.
    FIf_display(second);
    FIf_delete(first);
    FIf_delete(below);
    told.clear();
    click(second, 11);
    EXPECT_EQ(take_told(), "1.11=0 ");
}

TEST_F(FormEvents, PressesBelowAPopUpAreDropped) {
    FI_form* below = shown({{FI_BUTTON, 11, 20, 200, 120, 230, "b"}});
    FI_form* popup = make({{FI_BUTTON, 11, 20, 20, 80, 50, "b"}}, 100, 100);
    FIf_set_attr(popup, FI_SAVE_RESTORE);
    FIf_display(popup);
    told.clear();
    click(below, 11); // the pop-up gets it, outside of itself
    EXPECT_EQ(take_told(), "");
    EXPECT_EQ(value(below, 11), 0);
    EXPECT_EQ(pending_events & BUTTON_EVENT, 0U);
    FIf_erase(popup);
    click(below, 11);
    EXPECT_EQ(take_told(), "1.11=1 ");
}

// ---- the keyboard ---------------------------------------------------------------------------------------------------

// Keys, and the gadget that is highlighted behind each.
TEST_F(FormEvents, SequencesPassOverWhatTakesNoInput) {
    FI_form* form = shown({{FI_BUTTON, 11, 10, 10, 60, 30, "b"},
                           {FI_TEXT, 12, 10, 40, 60, 60, "x"},
                           {FI_TOGGLE, 13, 10, 70, 60, 90, "t"},
                           {FI_CHECKLIST, 14, 10, 100, 60, 120, "c"},
                           {FI_BUTTON, 15, 10, 130, 60, 150, "b"}});
    for (int label = 11; label < 15; ++label)
        fi_find_gadget(form, label)->next_in_seq = label + 1;
    fi_find_gadget(form, 14)->attr_mask |= FI_NOT_ENABLED;
    std::string seen;
    const auto look = [&] {
        for (int label = 11; label <= 15; ++label)
            if (fi_has(fi_find_gadget(form, label), FI_HILITED)) seen += std::to_string(label) + " ";
        seen += "| ";
        headless_post_nothing();
    };
    const auto press = [&](host_key code, uint8_t modifiers = 0) {
        script.emplace_back([=, this] { key(code, modifiers); });
        script.emplace_back(look);
    };
    FIg_start_seq(form, 11);
    script.emplace_back(look);
    press(host_key::tab);
    press(host_key::tab, HOST_SHIFT);
    press(host_key::enter);
    press(host_key::tab); // past the disabled one
    for (int i = 0; i < 3; ++i)
        press(host_key::tab, HOST_SHIFT); // nothing is before the first: it ends
    run();
    EXPECT_EQ(seen, "11 | 13 | 11 | 13 | 15 | 13 | 11 | | ");
    // A ring of nothing but such gadgets ends.
    for (int label = 11; label <= 15; ++label) {
        fi_find_gadget(form, label)->attr_mask |= FI_NOT_ENABLED;
        fi_find_gadget(form, label)->next_in_seq = label == 15 ? 11 : label + 1;
    }
    FIg_start_seq(form, 11);
    run();
}

// A blank works a gadget as a click does; the sequence goes on while the gadget is there.
TEST_F(FormEvents, ABlankIsAPress) {
    FI_form* form = shown({{FI_BUTTON, 11, 10, 10, 60, 30, "b"}, {FI_CHECKLIST, 12, 10, 100, 60, 120, "c"}});
    fi_as<fi_button>(fi_find_gadget(form, 11))->auto_pop_up = 1;
    fi_find_gadget(form, 11)->next_in_seq = 12;
    fi_find_gadget(form, 12)->justification = FI_THREE_STATES;
    FIg_start_seq(form, 11);
    script.emplace_back([] { headless_type(" x "); });
    script.emplace_back([this] { key(host_key::tab); });
    script.emplace_back([] { headless_type("  "); });
    run();
    EXPECT_EQ(take_told(), "1.11=1 1.11=1 1.12=1 1.12=2 ");
    EXPECT_EQ(value(form, 11), 0);
    // One that goes by its own notification ends it; the keys behind stay for the application.
    on_note = [](int label, FI_form* f) { FIg_delete(f, label); };
    FIg_start_seq(form, 11);
    script.emplace_back([] { headless_type("  "); });
    run();
    EXPECT_EQ(take_told(), "1.11=1 ");
}

// Refreshes of any form are handled while the keyboard is with a gadget; what belongs to nobody ends that.
TEST_F(FormEvents, OtherEventsDuringASequence) {
    FI_form* form = shown({{FI_BUTTON, 11, 10, 10, 60, 30, "b"}});
    FI_form* other = shown({{FI_BUTTON, 11, 10, 10, 60, 30, "b"}});
    FIg_start_seq(form, 11);
    script.emplace_back([=] {
        refresh_data area = {window_of(other), 0, 0, 0, 0, 0, 5, 5, 60, 60, 1};
        put_refresh_event(&area);
        headless_post_nothing();
    });
    script.emplace_back([=, this] {
        EXPECT_EQ(take_told(), "w3 w2 ");
        EXPECT_TRUE(fi_has(fi_find_gadget(form, 11), FI_HILITED));
        FIf_delete(form); // as if by a timer of the application
        headless_type(" ");
    });
    run();
    EXPECT_EQ(FIf_is_valid(form), FI_NO_SUCH_FORM);
}

// ---- loops that follow the mouse ------------------------------------------------------------------------------------

TEST_F(FormEvents, TrackingFollowsAndWaits) {
    FI_form* form = shown({{FI_BUTTON, 11, 10, 10, 160, 130, "b"}});
    const int window = window_of(form);
    int x1 = 0, y1 = 0, x2 = 0, y2 = 0;
    Inq_win_region(window, &x1, &y1, &x2, &y2);
    headless_pointer(x1 + 20, y1 + 20);
    headless_button(HOST_LEFT, true, 0);
    headless_advance(300);
    uint32_t pending = 0;
    Inq_events(&pending);
    int transition = -1, own = -1, came = 0;
    ASSERT_EQ(Get_button_data(nullptr, nullptr, nullptr, nullptr, &transition, nullptr), 0);
    ASSERT_EQ(transition, TRANS_DOWN);
    Start_timer(6, 1, &own); // the application's
    std::string seen;
    headless_on_idle(
        [](void*) {
            static int step = 0;
            switch (step++) {
            case 0: headless_pointer(100, 100); break;
            case 1: headless_button(HOST_RIGHT, true, 0); break; // stays where it is
            case 2: headless_pointer(110, 100); break;
            case 3: headless_button(HOST_LEFT, false, 0); break;
            default: return false;
            }
            return true;
        },
        nullptr);
    fi_track track;
    fi_track_begin(&track, fi_find_gadget(form, 11), window, transition);
    Stop_timer(own);
    for (fi_tracked t; (t = fi_track_next(&track)) != fi_tracked::ended;)
        seen += std::to_string(track.x + x1) + "," + std::to_string(track.y + y1) + " ";
    fi_track_end(&track);
    EXPECT_EQ(seen, std::to_string(x1 + 20) + "," + std::to_string(y1 + 20) + " 100,100 110,100 ");
    Inq_events(&pending);
    int button = -1;
    EXPECT_EQ(Get_button_data(nullptr, nullptr, nullptr, &button, nullptr, nullptr), 0);
    EXPECT_EQ(button, 2);

    // A timer ticks by its own events, and leaves the application's.
    Start_timer(6, 0, &own);
    fi_track_begin(&track, fi_find_gadget(form, 11), window, TRANS_DOWN);
    fi_track_start_timer(&track, 3);
    for (int ticks = 0; ticks < 5 && fi_track_next(&track) != fi_tracked::ended;)
        ticks += track.first ? 0 : 1;
    fi_track_end(&track);
    EXPECT_EQ(Get_timer_data(&came), 0);
    EXPECT_EQ(came, own);
    EXPECT_EQ(Get_timer_data(&came), -1);

    // A click gives one round; a gadget that is hidden meanwhile none more.
    fi_track_begin(&track, fi_find_gadget(form, 11), window, TRANS_CLICK);
    EXPECT_EQ(fi_track_next(&track), fi_tracked::moved);
    EXPECT_EQ(fi_track_next(&track), fi_tracked::ended);
    fi_track_begin(&track, fi_find_gadget(form, 11), window, TRANS_DOWN);
    EXPECT_EQ(fi_track_next(&track), fi_tracked::moved);
    FIg_erase(form, 11);
    EXPECT_EQ(fi_track_next(&track), fi_tracked::ended);
}

// ---- deletion where the toolkit calls out ---------------------------------------------------------------------------

namespace {

FI_form* victim = nullptr;
FI_form* bystander = nullptr;
void (*deed)() = nullptr;

int deeds_done = 0;

void do_it() {
    if (deed == nullptr) return;
    ++deeds_done;
    deed();
}
void do_on_notice(int /*form*/, int /*label*/, double /*value*/, FI_form* /*f*/) {
    do_it();
}
void do_on_window(int /*label*/, int code, FI_form* /*f*/) {
    if (code != FI_DELETED_EVENT || deed != nullptr) do_it();
}

// The same, as a routine that gives a number.
int done() {
    do_it();
    return 0;
}

// Without what it does being done again for what comes of it.
void quietly(void (*act)()) {
    void (*const again)() = deed;
    deed = nullptr;
    act();
    deed = again;
}
void show_again(uint32_t attributes) {
    FIf_erase(victim);
    if (attributes != 0) FIf_set_attr(victim, attributes);
    FIf_display(victim);
}
void own_loop() {
    Post_user_data(3);
    uint32_t event = 0;
    while (Wait_for_next(USER_EVENT | REFRESH_EVENT, &event) == 0 && FI_process_event(event) != 0) {
    }
    FI_clear_event(event);
}

// What a routine may do; each leaves `victim` null when it is gone.
struct routine_deed {
    const char* what;
    void (*act)();
};
constexpr routine_deed DEEDS[] = {
    {"deletes its gadget", [] { FIg_delete(victim, 11); }},
    {"deletes the group", [] { FIg_delete(victim, 10); }},
    {"deletes its form", [] { victim = FIf_delete(victim) == FI_SUCCESS ? nullptr : victim; }},
    {"deletes another form", [] { bystander = FIf_delete(bystander) == FI_SUCCESS ? nullptr : bystander; }},
    {"erases its form", [] { FIf_erase(victim); }},
    {"shows its form again", [] { quietly([] { show_again(0); }); }},
    {"resizes its form", [] { quietly([] { FIf_set_size(victim, 300, 200); }); }},
    {"makes it a pop-up", [] { quietly([] { show_again(FI_SAVE_RESTORE); }); }},
    {"resets everything", [] { quietly([] { FIg_reset(victim, 0); }); }},
    {"runs a loop of its own", [] { quietly(own_loop); }},
};

} // namespace

// A gadget with a range gets one in which a press at its left changes its value.
namespace {
void give_range(FI_form* form, FI_gadget* g) {
    if (g->type == FI_SCROLL) {
        g->x2 = 220;
        g->y2 = 50;
        fi_as<fi_scroll>(g)->view_fraction = 0.2;
    }
    if (g->type == FI_SCROLL || g->type == FI_SLIDER) FIg_set_orientation(form, g->label, FI_HORIZONTAL);
    if (FIg_set_high_value(form, g->label, 100) == FI_SUCCESS) {
        FIg_activate(form, g->label);
        FIg_set_value(form, g->label, 50);

        FIg_display(form, g->label);
    }
}
} // namespace

// Every routine that the toolkit calls, with everything that it may do, for each type that can be pressed, by mouse and
// by keyboard. That nothing is read that has gone is for the sanitizer to see.
TEST_F(FormEvents, RoutinesMayDoAnything) {
    enum place { initial, notify, window_event, hook, help, setup, button_event, intercept, continuous, places };
    enum way { by_click, by_key, by_drag, ways };
    const struct {
        int type, label;
        uint8_t auto_pop_up;
    } gadgets[] = {{FI_BUTTON, 11, 0}, {FI_BUTTON, 11, 1},    {FI_BUTTON, 3, 0},  {FI_BUTTON, 6, 1},
                   {FI_TOGGLE, 11, 0}, {FI_CHECKLIST, 11, 0}, {FI_TEXT, 11, 0},   {FI_SYMBOL, 11, 0},
                   {FI_SLIDER, 11, 0}, {FI_DIAL, 11, 0},      {FI_SCROLL, 11, 0}, {FI_FIELD, 11, 0}};
    int done_at[places] = {};
    for (const auto& g : gadgets)
        for (const routine_deed& d : DEEDS)
            for (int where = 0; where < places; ++where)
                for (int how = 0; how < ways; ++how) {
                    const bool is_dragged = g.type == FI_SLIDER || g.type == FI_DIAL || g.type == FI_SCROLL;
                    if (!is_dragged && (how == by_drag || where == continuous)) continue;
                    SCOPED_TRACE(std::string(fi_types[g.type].name) + " " + std::to_string(g.label) + " " + d.what +
                                 ", place " + std::to_string(where) + ", way " + std::to_string(how));
                    deed = nullptr;
                    FIf_new(2, "", nullptr, &bystander);
                    FIf_set_size(bystander, 100, 100);
                    FIf_display(bystander);
                    victim = shown({{g.type, g.label, 20, 20, 90, 60, g.type == FI_SYMBOL ? nullptr : "text"},
                                    {FI_TOGGLE, 12, 100, 20, 190, 60, "x"}});
                    FIg_new(victim, FI_GROUP, 10);
                    FIg_add_to_group(victim, g.label, 10);
                    FIg_add_to_group(victim, 12, 10);
                    FIgrp_set_single_select_on(victim, 10);
                    FI_gadget* gadget = fi_find_gadget(victim, g.label);
                    if (g.type == FI_BUTTON) fi_as<fi_button>(gadget)->auto_pop_up = g.auto_pop_up;
                    give_range(victim, gadget);
                    if (where == continuous) FIg_set_continuous_routine(victim, g.label, do_on_notice);
                    gadget->attr_mask |= FI_INITIAL_NOTIFY | FI_CMD_STRING | FI_HELP_TOPIC;
                    gadget->link_label = 12;
                    fi_string_set(&gadget->command, "command");
                    fi_string_set(&gadget->help_topic, "topic");
                    FIf_set_window_event_routine(victim, where == window_event ? do_on_window : nullptr);
                    FIf_set_initial_notification_routine(victim, where == initial ? do_on_notice : nullptr);
                    victim->notification_routine = where == notify ? do_on_notice : nullptr;
                    if (where == hook)
                        FI_modify_env(8,
                                      reinterpret_cast<FI_routine>(+[](int, const char*, FI_form*) { return done(); }));
                    if (where == help)
                        FI_modify_env(10, reinterpret_cast<FI_routine>(+[](FI_form*) { return done(); }));
                    if (where == setup) FI_modify_env(3, reinterpret_cast<FI_routine>(+[](int) { return done(); }));
                    if (where == button_event)
                        FIf_set_button_event_routine(victim, [](FI_form*, int, int, int, int, uint32_t) { do_it(); });
                    if (where == intercept)
                        FIf_set_button_intercept_routine(
                            victim, [](int, int, int, int, int, uint32_t, FI_form*) { return done(); });
                    deed = d.act;
                    deeds_done = 0;
                    if (where == setup || where == window_event) {
                        FIf_erase(victim);
                        FIf_display(victim);
                    }
                    if (victim != nullptr && victim->window >= 0) {
                        if (how == by_key) {
                            FIg_start_seq(victim, g.label);
                            script.emplace_back([] { headless_type(" 7"); });
                            script.emplace_back([this] { key(host_key::enter); });
                            script.emplace_back([this] { key(host_key::down); });
                        } else if (how == by_drag) {
                            post_drag(victim, 30, where == intercept ? 150 : 30);
                        } else {
                            post_click(victim, 30, where == intercept ? 150 : 30);
                        }
                        run();
                    }
                    done_at[where] += deeds_done;
                    deed = nullptr;
                    if (victim != nullptr) FIf_delete(victim);
                    if (bystander != nullptr) FIf_delete(bystander);
                    for (const int routine : {8, 10, 3})
                        FI_modify_env(routine, nullptr);
                    ASSERT_EQ(fi_state.displayed_forms, 0);
                    ASSERT_FALSE(fi_state.sr_active);
                    Disable_events(~0U);
                    Enable_events(FORM_EVENTS);
                }
    for (int where = 0; where < places; ++where)
        EXPECT_GE(done_at[where], 10) << "place " << where;
}

// ---- a monkey -------------------------------------------------------------------------------------------------------

namespace {

// Random input on forms whose notifications do random things.
class Monkey : public FormEvents {
protected:
    std::mt19937 random;
    std::vector<FI_form*> forms;
    unsigned roll(unsigned sides) { return static_cast<unsigned>(random() % sides); }

    void open() {
        static constexpr const char* pages[] = {"g_button.frm",    "g_toggle.frm", "g_check.frm",  "g_text.frm",
                                                "g_static.frm",    "g_group.frm",  "g_popup.frm",  "g_slider.frm",
                                                "g_dial.frm",      "g_bar.frm",    "g_scroll.frm", "g_field.frm",
                                                "g_fieldlist.frm", "g_mcf.frm",    "g_busy.frm"};
        if (forms.size() >= 6) return;
        FI_form* form = load(pages[roll(std::size(pages))]);
        FIf_set_location(form, static_cast<int>(roll(300)), static_cast<int>(roll(300)));
        FIf_display(form);
        forms.push_back(form);
    }
    void forget_gone() {
        std::erase_if(forms, [](FI_form* f) { return FIf_is_valid(f) != FI_SUCCESS; });
    }
    FI_form* any() {
        forget_gone();
        return forms.empty() ? nullptr : forms[roll(static_cast<unsigned>(forms.size()))];
    }
    void act(FI_form* form, int label) {
        switch (roll(40)) {
        case 0: FIg_delete(form, label); break;
        case 1: FIf_delete(form); break;
        case 2: FIf_erase(form); break;
        case 3: open(); break;
        case 4: FIf_set_size(form, 100 + static_cast<int>(roll(900)), 80 + static_cast<int>(roll(600))); break;
        case 5: FIg_reset(form, 0); break;
        case 6: FIg_start_seq(form, label); break;
        case 7: FIg_erase(form, label); break;
        case 8: FIg_display(form, 0); break;
        case 9: FIg_enable(form, 0); break;
        case 10: FIf_set_attr(form, roll(2)); break;
        case 21: FIg_set_high_value(form, label, roll(100)); break;
        case 22: FIg_set_value(form, 0, roll(100)); break;
        case 23: FIg_set_orientation(form, label, static_cast<int>(roll(2))); break;
        case 11:
            if (any() != nullptr) FIf_display(any());
            break;
        case 12: FIfld_set_num_rows(form, label, static_cast<int>(roll(20))); break;
        case 13: FIfld_delete_rows(form, label, static_cast<int>(roll(5)), 1 + static_cast<int>(roll(9))); break;
        case 14: FIfld_set_attr(form, label, -1, random() & 0x8001FFFFU); break;
        case 15: FIfld_set_mode(form, label, -1, static_cast<int>(roll(5))); break;
        case 16:
            FIfld_set_text(form, label, static_cast<int>(roll(30)), -1, "some words\nof text", roll(2) != 0);
            break;
        case 17: FIfld_set_max_num_chars(form, label, -1, static_cast<int>(roll(12))); break;
        case 18: FIfld_set_num_vis_chars(form, label, -1, 1 + static_cast<int>(roll(20))); break;
        case 19: FIfld_set_active_row(form, label, static_cast<int>(roll(9)), static_cast<int>(roll(4)) - 1); break;
        case 20: delete_column(form, label); break;
        default: break;
        }
        forget_gone();
    }
    // Released after a while: as long as an arrow is held, its timer leaves nobody else a turn.
    void hold_button(int button, uint8_t modifiers) {
        host_event release = {};
        release.kind = host_event_kind::button;
        release.button = static_cast<uint8_t>(button);
        headless_button(button, true, modifiers);
        headless_post_later(&release, 100 + roll(900));
    }
    void delete_column(FI_form* form, int label) {
        FI_gadget* g = fi_find_gadget(form, label);
        if (g == nullptr || g->type != FI_MCF || fi_as_group(g)->members[0] == nullptr) return;
        FIg_delete(form, fi_as_group(g)->members[0]->label);
    }
    void input() {
        static constexpr host_key keys[] = {host_key::tab,  host_key::enter, host_key::left,  host_key::backspace,
                                            host_key::down, host_key::up,    host_key::right, host_key::remove,
                                            host_key::home, host_key::end};
        const int x = static_cast<int>(roll(1024));
        const int y = static_cast<int>(roll(768));
        switch (roll(8)) {
        case 0: headless_pointer(x, y); break;
        case 1: hold_button(static_cast<int>(roll(3)), roll(8) == 0 ? HOST_CTRL : 0); break;
        case 2: headless_type(roll(2) == 0 ? " " : roll(2) == 0 ? "-3." : "word1"); break;
        case 3: headless_key(keys[roll(10)], 0, roll(3) == 0 ? HOST_SHIFT : 0); break;
        case 4: headless_click(x, y, HOST_LEFT); break;
        default: click_gadget(); break;
        }
    }
    // A gadget of the form that takes presses now, or of any.
    void click_gadget() {
        FI_form* form = fi_state.sr_depth > 0 ? fi_state.sr_forms[fi_state.sr_depth] : any();
        if (form == nullptr || form->window < 0) return;
        std::vector<const FI_gadget*> all;
        fi_each_member(form->root_group, [&](FI_gadget* g) { all.push_back(g); });
        if (all.empty()) return;
        const FI_gadget* g = all[roll(static_cast<unsigned>(all.size()))];
        const auto place = [this](float from, float to) {
            return static_cast<int>(from) +
                   static_cast<int>(roll(static_cast<unsigned>(std::max(to - from + 30, 6.0F))));
        };
        const int x = place(g->x1, g->x2), y = place(g->y1, g->y2);
        if (roll(2) != 0)
            post_click(form, x, y);
        else
            post_drag(form, x, y);
    }
};

} // namespace

TEST_F(Monkey, ThousandsOfStepsAtEachDepth) {
    for (const int planes : DEPTHS) {
        start(planes);
        random.seed(static_cast<unsigned>(planes));
        forms.clear();
        int notes = 0;
        FI_set_graphic_env(15, reinterpret_cast<FI_routine>(framed));
        on_note = [&](int label, FI_form* form) {
            ++notes;
            act(form, label);
        };
        int steps = 0;
        for (int i = 0; i < 300; ++i) {
            forget_gone();
            open();
            for (int j = 0; j < 6; ++j, ++steps)
                script.emplace_back([this] { input(); });
            run();
            if (any() != nullptr && roll(3) == 0) FIf_display(any());
            if (any() != nullptr && roll(8) == 0) FIf_delete(any()); // and a fresh one comes
            if (fi_state.sr_depth > 0 && roll(4) == 0) FIf_erase(fi_state.sr_forms[1]);
        }
        EXPECT_EQ(steps, 1800);
        EXPECT_GT(notes, 150);
        on_note = nullptr;
    }
}
