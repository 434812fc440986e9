// The queue of messages: what the host tells becomes messages here, and desk_next() gives them out.
#include "platform/window/deskdata.h"
#include "support/memory.h"

namespace {

constexpr uint32_t FLUSH_INTERVAL = 16; // milliseconds between flushes while a program takes messages without waiting

bool is_due(uint32_t time) {
    return int32_t(host_now() - time) >= 0;
}

bool is_mouse(desk_kind kind) {
    return kind == desk_kind::mouse_move || kind == desk_kind::button || kind == desk_kind::wheel;
}

// The one that a pointer message may take the place of: a move that is followed by a move is not needed.
bool replace_move(const desk_message* message) {
    if (message->kind != desk_kind::mouse_move || desk.last == nullptr) return false;
    desk_message* before = &desk.last->message;
    if (before->kind != desk_kind::mouse_move || before->window != message->window) return false;
    *before = *message;
    return true;
}

// The control character of a key, 0 for none. Typed text comes apart from this.
uint32_t control_character(const host_event* event) {
    switch (event->key) {
    case host_key::enter: return 13;
    case host_key::backspace: return 8;
    case host_key::tab: return 9;
    case host_key::escape: return 27;
    case host_key::character: break;
    default: return 0;
    }
    const uint32_t letter = event->character | 0x20;
    const bool ctrl_only = (event->modifiers & (HOST_CTRL | HOST_ALT)) == HOST_CTRL;
    return ctrl_only && letter >= 'a' && letter <= 'z' ? letter - 'a' + 1 : 0;
}

desk_window* key_window() {
    if (desk.modal != nullptr) return desk.modal;
    return desk.active != nullptr ? desk.active : &desk.main;
}

void queue_character(uint32_t character, const host_event* event) {
    desk_message message = desk_new_message(desk_kind::character, key_window());
    message.character = character;
    message.modifiers = event->modifiers;
    message.time = event->time;
    desk_queue(&message, nullptr);
}

// Whether the key concerns the desk alone: it ends a drag, works the menu, or is the release of such a key.
bool is_own_key(const host_event* event) {
    if (!event->down) {
        const bool own = event->key == desk.swallowed || desk_menu_is_open();
        if (event->key == desk.swallowed) desk.swallowed = host_key::none;
        return own;
    }
    const bool menu = desk_menu_is_open();
    const bool own = menu || (event->key == host_key::escape && desk_cancel_drag());
    if (menu) desk_menu_event(event);
    if (own || desk.modal != nullptr) desk.swallowed = event->key;
    return own;
}

void key_event(const host_event* event) {
    if (is_own_key(event)) return;
    desk_message message = desk_new_message(desk_kind::key, key_window());
    message.key = event->key;
    message.down = event->down;
    message.character = event->character;
    message.modifiers = event->modifiers;
    message.time = event->time;
    desk_queue(&message, nullptr);
    const uint32_t control = event->down ? control_character(event) : 0;
    if (control != 0) queue_character(control, event);
}

// Control characters come with their keys.
void text_event(const host_event* event) {
    const uint32_t c = event->character;
    if (c < 32 || desk_menu_is_open()) return;
    if (c < 127 || (c >= 160 && c < 256))
        queue_character(c, event);
    else
        host_beep();
}

void change_main_state(host_state state) {
    desk_message message = desk_new_message(desk_kind::state_changed, &desk.main);
    desk.main_state = message.state = state;
    desk_queue(&message, nullptr);
}

// The host tells of a state and of a size in events of their own, and of each more than once.
void resize_event(const host_event* event) {
    const host_state before = desk.main_state;
    if (before != event->state) change_main_state(event->state);
    if (event->state == host_state::minimised || event->width < 1 || event->height < 1) return;
    screen_mark(bitmap_box(&screen.frame));
    // The window may have moved under the pointer.
    host_pointer(&desk.pointer.x, &desk.pointer.y);
    desk_update_cursor();
    if (event->width == screen.frame.width && event->height == screen.frame.height) return;
    if (event->state == host_state::maximised && before == host_state::restored) {
        const desk_message message = desk_new_message(desk_kind::maximising, &desk.main);
        desk_queue(&message, nullptr);
    }
    desk_close_menu();
    desk_resize_main(event->width, event->height);
}

void drop_event(const host_event* event) {
    const desk_message message = desk_new_message(desk_kind::drop, &desk.main);
    desk_queue(&message, event->path);
}

void close_event(const host_event* event) {
    desk_message message = desk_new_message(desk_kind::close, &desk.main);
    message.time = event->time;
    desk_queue(&message, nullptr);
}

// Releases are not told to a window that the user has left.
void note_held(const host_event* event) {
    if (event->kind == host_event_kind::button) desk.held[event->button] = event->down;
    if (event->kind == host_event_kind::key && event->character == ' ') desk.space_held = event->down;
    if (event->kind == host_event_kind::focus && !event->down) desk.space_held = false;
}

void take_event(const host_event* event) {
    note_held(event);
    switch (event->kind) {
    case host_event_kind::pointer: desk_pointer_event(event); break;
    case host_event_kind::button: desk_button_event(event); break;
    case host_event_kind::wheel: desk_wheel_event(event); break;
    case host_event_kind::key: key_event(event); break;
    case host_event_kind::text: text_event(event); break;
    case host_event_kind::close: close_event(event); break;
    case host_event_kind::focus:
        if (!event->down) desk_cancel_drag();
        break;
    case host_event_kind::resize: resize_event(event); break;
    case host_event_kind::drop: drop_event(event); break;
    case host_event_kind::none: break;
    }
}

void take_events() {
    host_event event;
    while (desk.main_alive && host_poll(&event))
        take_event(&event);
    if (!desk.main_alive) return;
    desk_bar_repeat();
    desk_menu_paint();
}

// Takes an entry out of the queue, behind `before` (null: the first), into the message.
void take_queued(desk_queued* before, desk_message* message) {
    desk_queued* entry = before == nullptr ? desk.first : before->next;
    (before == nullptr ? desk.first : before->next) = entry->next;
    if (desk.last == entry) desk.last = before;
    mem_free(desk.taken_text);
    desk.taken_text = entry->text;
    *message = entry->message;
    message->text = entry->text;
    mem_free(entry);
}

bool wants_paint(desk_window* w) {
    canvas_box box;
    return w->shown && !w->paint_given && desk_paint_box(w, &box, false);
}

bool take_paint(desk_window* only, desk_message* message) {
    for (int i = desk.count - 1; i >= 0; --i) {
        desk_window* w = desk.order[i];
        if ((only != nullptr && w != only) || w == desk_menu_window() || !wants_paint(w)) continue;
        w->paint_given = w->paint_told = true;
        *message = desk_new_message(desk_kind::paint, w);
        return true;
    }
    return false;
}

bool take_timer(desk_message* message) {
    if (!desk.timer_set || !is_due(desk.timer_at)) return false;
    desk.timer_set = false;
    *message = desk_new_message(desk_kind::timer, &desk.main);
    return true;
}

bool take_quit(desk_message* message) {
    if (!desk.quit_waits) return false;
    desk.quit_waits = false;
    *message = desk_new_message(desk_kind::quit, nullptr);
    return true;
}

// Whether a wait should end at once; `only`: what concerns that window. A paint that was given and not answered doesn't
// count.
bool anything_waits(const desk_window* only) {
    for (const desk_queued* entry = desk.first; entry != nullptr; entry = entry->next)
        if (only == nullptr || entry->message.window == only) return true;
    if (only != nullptr && desk_close_waits()) return true;
    if (only == nullptr && (desk.quit_waits || (desk.timer_set && is_due(desk.timer_at)))) return true;
    for (int i = 0; i < desk.count; ++i) {
        desk_window* w = desk.order[i];
        if ((only == nullptr || w == only) && !w->paint_told && wants_paint(w)) return true;
    }
    return false;
}

void sooner(bool* limited, uint32_t* deadline, uint32_t time) {
    if (!*limited || int32_t(time - *deadline) < 0) *deadline = time;
    *limited = true;
}

} // namespace

desk_message desk_new_message(desk_kind kind, desk_window* w) {
    desk_message message = {};
    message.kind = kind;
    message.window = w;
    message.number = w == nullptr ? 0 : w->number;
    message.time = host_now();
    return message;
}

bool desk_queue(const desk_message* message, const char* text) {
    if (replace_move(message)) return true;
    mem_guard<desk_queued> entry(mem_new<desk_queued>());
    if (!entry) return false;
    entry->message = *message;
    if (text != nullptr && (entry->text = mem_copy_text(text)) == nullptr) return false;
    (desk.last == nullptr ? desk.first : desk.last->next) = entry.get();
    desk.last = entry.keep();
    return true;
}

// Takes those out for which `gone` is true.
template <typename F> static void drop_if(F gone) {
    desk_queued* before = nullptr;
    for (desk_queued* entry = desk.first; entry != nullptr;) {
        desk_queued* next = entry->next;
        if (gone(&entry->message)) {
            (before == nullptr ? desk.first : before->next) = next;
            if (desk.last == entry) desk.last = before;
            mem_free(entry->text);
            mem_free(entry);
        } else
            before = entry;
        entry = next;
    }
}

void desk_drop_messages(const desk_window* w) {
    drop_if([w](const desk_message* message) { return message->window == w; });
}

void desk_drop_close() {
    drop_if([](const desk_message* message) { return message->kind == desk_kind::close; });
}

bool desk_close_waits() {
    for (const desk_queued* entry = desk.first; entry != nullptr; entry = entry->next)
        if (entry->message.kind == desk_kind::close && int32_t(entry->message.time - desk.modal_since) >= 0)
            return true;
    return false;
}

void desk_clear_messages() {
    while (desk.first != nullptr) {
        desk_queued* next = desk.first->next;
        mem_free(desk.first->text);
        mem_free(desk.first);
        desk.first = next;
    }
    desk.last = nullptr;
    mem_free(desk.taken_text);
    desk.taken_text = nullptr;
}

bool desk_next(desk_message* message) {
    if (!desk.started) return false;
    take_events();
    if (screen_is_changed() && is_due(desk.flushed_at + FLUSH_INTERVAL)) desk_flush();
    if (desk.first != nullptr) {
        take_queued(nullptr, message);
        return true;
    }
    if (take_quit(message) || take_timer(message) || take_paint(nullptr, message)) return true;
    for (int i = 0; i < desk.count; ++i)
        desk.order[i]->paint_given = false;
    return false;
}

bool desk_next_of(desk_window* w, desk_message* message) {
    take_events();
    desk_queued* before = nullptr;
    for (desk_queued* entry = desk.first; entry != nullptr; before = entry, entry = entry->next) {
        if (entry->message.window != w) continue;
        take_queued(before, message);
        return true;
    }
    return take_paint(w, message);
}

namespace {

// `until`: null for no limit.
void wait_for(const desk_window* only, const uint32_t* until) {
    if (!desk.started || !desk.main_alive) return;
    take_events();
    desk_flush();
    if (anything_waits(only)) return;
    bool limited = false;
    uint32_t deadline = 0;
    uint32_t repeat = 0;
    if (until != nullptr) sooner(&limited, &deadline, *until);
    if (only == nullptr && desk.timer_set) sooner(&limited, &deadline, desk.timer_at);
    if (desk_bar_deadline(&repeat)) sooner(&limited, &deadline, repeat);
    host_wait(limited, deadline);
}

} // namespace

void desk_wait() {
    wait_for(nullptr, nullptr);
}

void desk_wait_until(uint32_t deadline) {
    wait_for(nullptr, &deadline);
}

void desk_wait_of(desk_window* w) {
    wait_for(w, nullptr);
}

bool desk_post(desk_window* w, int code, uint32_t value, uint32_t value2) {
    desk_message message = desk_new_message(desk_kind::posted, w);
    message.code = code;
    message.value = value;
    message.value2 = value2;
    return desk_queue(&message, nullptr);
}

bool desk_mouse_waiting() {
    take_events();
    for (const desk_queued* entry = desk.first; entry != nullptr; entry = entry->next)
        if (is_mouse(entry->message.kind)) return true;
    return false;
}

void desk_set_timer(uint32_t deadline) {
    desk.timer_set = true;
    desk.timer_at = deadline;
}

void desk_stop_timer() {
    desk.timer_set = false;
}
