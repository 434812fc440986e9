// The message pump: takes the platform's messages and turns each into what it means to the tools.
#include "tools/eventdata.h"
#include "tools/process.h"
#include "tools/windows.h"

#include <bit>

namespace {

tools_close_query close_query = nullptr;
tools_input_hook input_hook = nullptr;
tools_key_hook key_hook = nullptr;
bool is_asking = false; // the question pumps by itself, and the user may ask once more

void close_main() {
    if (is_asking) return;
    is_asking = true;
    const bool agreed = close_query == nullptr || close_query() != 0;
    is_asking = false;
    desk_drop_close(); // he has just been asked
    if (agreed) desk_destroy(desk_main());
}

void take_posted(const desk_message* message) {
    if (message->code == DESK_POST_USER) {
        Post_user_data(0);
        return;
    }
    const int kind = message->code - DESK_POST_MESSAGE;
    if (kind < 0 || kind > 3) return;
    const uint32_t words[] = {uint32_t(kind), message->value, message->value2};
    queue_put(QUEUE_MESSAGE, words, 3);
}

void take_key(const desk_message* message) {
    if (message->down && key_hook != nullptr && key_hook(message)) return;
    if (key_prefilter(message) && message->down) key_down(message);
}

void take_mouse_move(const desk_message* message) {
    motion_moved(message);
    const int window = window_of_handle(message->window);
    if (window >= 0) window_set_cursor(window);
}

void take_wheel(const desk_message* message) {
    const int window = window_of_handle(message->window);
    if ((enabled_events & WHEEL_EVENT) == 0) {
        if (input_hook != nullptr) input_hook(message);
    } else if (window >= 0)
        wheel_turned(window, message);
}

void take_paint(const desk_message* message) {
    refresh_data refresh;
    if (window_paint(message, &refresh)) put_refresh_event(&refresh);
}

void take_state(const desk_message* message) {
    const int window = window_of_handle(message->window);
    const int state = window < 0 ? -1 : window_state_changed(window);
    if (state >= 0) put_collapse_event(window, state);
}

void take_destroyed(const desk_message* message) {
    if (window_was_destroyed(message->number)) put_delete_event(message->number);
}

void take_moved(const desk_message* message) {
    const int window = window_of_handle(message->window);
    if (window >= 0) window_was_moved(window);
}

void take_sized(const desk_message* message) {
    const int window = window_of_handle(message->window);
    if (message->window == desk_main())
        main_window_sized(message);
    else if (window >= 0)
        window_was_resized(window);
}

void take(const desk_message* message) {
    switch (message->kind) {
    case desk_kind::timer:
        timer_check();
        main_window_check_screen();
        break;
    case desk_kind::mouse_move: take_mouse_move(message); break;
    case desk_kind::button: click_button(message); break;
    case desk_kind::posted: take_posted(message); break;
    case desk_kind::character: key_character(message); break;
    case desk_kind::key: take_key(message); break;
    case desk_kind::paint: take_paint(message); break;
    case desk_kind::moved: take_moved(message); break;
    case desk_kind::sized: take_sized(message); break;
    case desk_kind::state_changed: take_state(message); break;
    case desk_kind::destroyed: take_destroyed(message); break;
    case desk_kind::close: close_main(); break;
    case desk_kind::quit: exit_program(); break;
    case desk_kind::maximising: main_window_maximising(); break;
    case desk_kind::scroll: main_window_scroll(message); break;
    case desk_kind::wheel: take_wheel(message); break;
    case desk_kind::drop:
        if (input_hook != nullptr) input_hook(message);
        break;
    case desk_kind::activated:
    case desk_kind::none: break;
    }
}

void take_all() {
    desk_message message;
    while (desk_next(&message))
        take(&message);
}

// Runs until a bit of the mask is pending. False when the tools have ended.
bool wait_for(uint32_t mask) {
    while ((pending_events & mask) == 0)
        if (!tools_wait()) return false;
    return true;
}

} // namespace

void tools_set_close_query(tools_close_query query) {
    close_query = query;
}

void tools_set_input_hook(tools_input_hook hook) {
    input_hook = hook;
}

void tools_set_key_hook(tools_key_hook hook) {
    key_hook = hook;
}

void tools_set_screen_hook(tools_screen_hook hook) {
    main_window_set_screen_hook(hook);
}

bool tools_pump() {
    take_all();
    // The check looks for the mouse among what the host has, and so may bring in new messages. Those are taken too: a
    // window that the user closed meanwhile must not be used any more.
    if (click_check()) take_all();
    queues_check();
    return desk_main() != nullptr;
}

bool tools_wait() {
    const bool was_pending = click_check();
    uint32_t deadline = 0;
    const bool is_pending = click_deadline(&deadline);
    if (is_pending) timer_arm_no_later(deadline); // nothing else may wake it up when the click is due
    if (is_pending || !was_pending) desk_wait();
    return tools_pump();
}

int Wait_for_events(uint32_t mask, uint32_t* events) {
    if (!wait_for(mask)) return event_fail(EVENT_ERROR_EMPTY);
    *events = pending_events;
    return 0;
}

int Wait_for_next(uint32_t mask, uint32_t* event) {
    if (!wait_for(mask)) return event_fail(EVENT_ERROR_EMPTY);
    *event = event_bit(std::countr_zero(pending_events & mask));
    return 0;
}
