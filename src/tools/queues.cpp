// The queues of events and the two masks: putting, looking, taking, clearing.
#include "support/invariant.h"
#include "support/memory.h"
#include "tools/eventdata.h"

#include <algorithm>
#include <bit>
#include <type_traits>

uint32_t enabled_events = 0;
uint32_t pending_events = 0;
int event_error = 0;

namespace {

event_record* last_records[EVENT_QUEUES] = {}; // the first is behind the last

// A new record in the ring, between the last and the first one. Null, with the error noted, when it can't be queued.
event_record* insert(int queue, const uint32_t* words, int count) {
    if ((enabled_events & event_bit(queue)) == 0) {
        event_fail(EVENT_ERROR_DISABLED);
        return nullptr;
    }
    auto* record = mem_new<event_record>();
    if (record == nullptr) {
        event_fail(EVENT_ERROR_MEMORY);
        return nullptr;
    }
    std::copy_n(words, count, record->words);
    event_record* last = last_records[queue];
    record->next = last == nullptr ? record : last->next;
    (last == nullptr ? last_records[queue] : last->next) = record;
    pending_events |= event_bit(queue);
    return record;
}

// One out-argument after another takes a word of the oldest event; an event that is taken is gone afterwards.
template <typename... Words> int look(int queue, bool take, Words*... out) {
    const event_record* record = queue_first(queue);
    if (record == nullptr) return event_fail(EVENT_ERROR_EMPTY);
    const uint32_t* word = record->words;
    const auto store = [&word](auto* place) {
        if (place != nullptr) *place = static_cast<std::remove_pointer_t<decltype(place)>>(*word);
        ++word;
    };
    (store(out), ...);
    if (take) queue_drop_first(queue);
    return 0;
}

} // namespace

int event_fail(int error) {
    event_error = error;
    return -1;
}

event_record* queue_first(int queue) {
    event_record* last = last_records[queue];
    return last == nullptr ? nullptr : last->next;
}

event_record* queue_last(int queue) {
    return last_records[queue];
}

int queue_put(int queue, const uint32_t* words, int count) {
    event_record* record = insert(queue, words, count);
    if (record == nullptr) return -1;
    last_records[queue] = record;
    return 0;
}

int queue_put_first(int queue, const uint32_t* words, int count) {
    return insert(queue, words, count) == nullptr ? -1 : 0; // behind the last one stands the first
}

void queue_drop_first(int queue) {
    event_record* last = last_records[queue];
    if (last == nullptr) return;
    event_record* first = last->next;
    last->next = first->next;
    if (first == last) {
        last_records[queue] = nullptr;
        pending_events &= ~event_bit(queue);
    }
    mem_free(first);
}

int queue_clear(int queue) {
    while (last_records[queue] != nullptr)
        queue_drop_first(queue);
    return 0;
}

// ---- masks --------------------------------------------------------------------------------------------------------

int Enable_events(uint32_t mask) {
    if ((mask & MOTION_EVENT) != 0) motion_start();
    enabled_events |= mask;
    return 0;
}

int Disable_events(uint32_t mask) {
    tools_pump();
    enabled_events &= ~mask;
    for (int queue = 0; queue < EVENT_QUEUES; ++queue)
        if ((mask & event_bit(queue)) != 0) queue_clear(queue);
    if ((mask & MOTION_EVENT) != 0) motion_stop();
    return 0;
}

int Inq_enabled_events(uint32_t* mask) {
    *mask = enabled_events;
    return 0;
}

int Inq_events(uint32_t* mask) {
    tools_pump();
    *mask = pending_events;
    return 0;
}

uint32_t tools_pending_events() {
    tools_pump();
    return pending_events;
}

void events_reset(uint32_t start) {
    for (int queue = 0; queue < EVENT_QUEUES; ++queue)
        queue_clear(queue);
    enabled_events = 0;
    event_error = 0;
    keys_reset();
    clicks_reset(start);
    timers_reset();
    motion_stop();
}

// ---- event data ---------------------------------------------------------------------------------------------------

int Inq_button_data(int* window, int* x, int* y, int* button, int* transition, uint32_t* time) {
    return look(QUEUE_BUTTON, false, window, x, y, button, transition, time);
}
int Get_button_data(int* window, int* x, int* y, int* button, int* transition, uint32_t* time) {
    return look(QUEUE_BUTTON, true, window, x, y, button, transition, time);
}

int Inq_refresh_data(int* window, int* screen, int* x1, int* y1, int* x2, int* y2, int* area_x1, int* area_y1,
                     int* area_x2, int* area_y2, int* op_mask) {
    return look(QUEUE_REFRESH, false, window, screen, x1, y1, x2, y2, area_x1, area_y1, area_x2, area_y2, op_mask);
}
int Get_refresh_data(int* window, int* screen, int* x1, int* y1, int* x2, int* y2, int* area_x1, int* area_y1,
                     int* area_x2, int* area_y2, int* op_mask) {
    return look(QUEUE_REFRESH, true, window, screen, x1, y1, x2, y2, area_x1, area_y1, area_x2, area_y2, op_mask);
}

int Inq_collapse_data(int* window, int* state) {
    return look(QUEUE_COLLAPSE, false, window, state);
}
int Get_collapse_data(int* window, int* state) {
    return look(QUEUE_COLLAPSE, true, window, state);
}
int Inq_delete_data(int* window) {
    return look(QUEUE_DELETE, false, window);
}
int Get_delete_data(int* window) {
    return look(QUEUE_DELETE, true, window);
}
int Inq_user_data(uint32_t* value) {
    return look(QUEUE_USER, false, value);
}
int Get_user_data(uint32_t* value) {
    return look(QUEUE_USER, true, value);
}
int Get_timer_data(int* number) {
    return look(QUEUE_TIMER, true, number);
}
int Get_motion_data(int* window, int* x, int* y, int* inside, int* kind) {
    return look(QUEUE_MOTION, true, window, x, y, inside, kind);
}
int Get_message_data(int* kind, uint32_t* word1, uint32_t* word2) {
    return look(QUEUE_MESSAGE, true, kind, word1, word2);
}

int Inq_wheel_data(int* window, int* x, int* y, int* steps, int* across, int* modifiers) {
    return look(QUEUE_WHEEL, false, window, x, y, steps, across, modifiers);
}
int Get_wheel_data(int* window, int* x, int* y, int* steps, int* across, int* modifiers) {
    return look(QUEUE_WHEEL, true, window, x, y, steps, across, modifiers);
}

int Drop_event(uint32_t event) {
    const int queue = std::countr_zero(event);
    if (queue >= EVENT_QUEUES || queue_first(queue) == nullptr) return event_fail(EVENT_ERROR_EMPTY);
    queue_drop_first(queue);
    return 0;
}

int Post_user_data(uint32_t value) {
    return queue_put(QUEUE_USER, &value, 1);
}

namespace {

// Frees the record behind another in a ring.
void drop_behind(int queue, event_record* before) {
    event_record* record = before->next;
    if (record == before) return queue_drop_first(queue);
    before->next = record->next;
    if (record == last_records[queue]) last_records[queue] = before;
    mem_free(record);
}

// The record in front of the oldest that has `value` in a word; null when there is none.
event_record* before_matching(int queue, int word, uint32_t value) {
    event_record* last = last_records[queue];
    for (event_record* at = last; at != nullptr; at = at->next == last ? nullptr : at->next)
        if (at->next->words[word] == value) return at;
    return nullptr;
}

constexpr int TIMER_NUMBER = 0; // words of payloads
constexpr int BUTTON_NUMBER = 3;
constexpr int BUTTON_TRANSITION = 4;

} // namespace

int Get_timer_data_of(int number) {
    event_record* before = before_matching(QUEUE_TIMER, TIMER_NUMBER, uint32_t(number));
    if (before == nullptr) return event_fail(EVENT_ERROR_EMPTY);
    drop_behind(QUEUE_TIMER, before);
    return 0;
}

button_next Get_button_release(int button, int* window, int* x, int* y) {
    event_record* before = before_matching(QUEUE_BUTTON, BUTTON_NUMBER, uint32_t(button));
    if (before == nullptr) return button_next::none;
    const uint32_t* words = before->next->words;
    if (words[BUTTON_TRANSITION] != TRANS_UP) return button_next::pressed;
    int* const places[] = {window, x, y}; // the payload begins with them
    for (int i = 0; i < 3; ++i)
        if (places[i] != nullptr) *places[i] = int(words[i]);
    drop_behind(QUEUE_BUTTON, before);
    return button_next::released;
}

int put_collapse_event(int window, int state) {
    const uint32_t words[] = {uint32_t(window), uint32_t(state)};
    return queue_put(QUEUE_COLLAPSE, words, 2);
}

int put_delete_event(int window) {
    const uint32_t words[] = {uint32_t(window)};
    return queue_put(QUEUE_DELETE, words, 1);
}

int Clear_keyboard_data() {
    return queue_clear(QUEUE_KEYBOARD);
}
int Clear_button_data() {
    return queue_clear(QUEUE_BUTTON);
}
int Clear_refresh_data() {
    return queue_clear(QUEUE_REFRESH);
}
int Clear_delete_data() {
    return queue_clear(QUEUE_DELETE);
}
int Clear_event_10_data() {
    return queue_clear(4);
}
int Clear_event_20_data() {
    return queue_clear(5);
}
int Clear_event_40_data() {
    return queue_clear(6);
}
int Clear_event_80_data() {
    return queue_clear(7);
}
int Clear_message_data() {
    return queue_clear(QUEUE_MESSAGE);
}
int Clear_collapse_data() {
    return queue_clear(QUEUE_COLLAPSE);
}
int Clear_event_800_data() {
    return queue_clear(11);
}
int Clear_timer_data() {
    return queue_clear(QUEUE_TIMER);
}
int Clear_window_icon_data() {
    return queue_clear(QUEUE_WINDOW_ICON);
}
int Clear_user_data() {
    return queue_clear(QUEUE_USER);
}
int Clear_event_8000_data() {
    return queue_clear(15);
}
int Clear_motion_data() {
    return queue_clear(QUEUE_MOTION);
}
int Clear_wheel_data() {
    return queue_clear(QUEUE_WHEEL);
}

void queues_check() {
    for (int queue = 0; INVARIANTS_CHECKED && queue < EVENT_QUEUES; ++queue) {
        const bool is_pending = (pending_events & event_bit(queue)) != 0;
        invariant(is_pending == (last_records[queue] != nullptr), "a bit is pending while its queue has an event");
    }
}
