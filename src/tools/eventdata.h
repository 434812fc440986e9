// The inside of the event side: what its files share. For the files of this directory only.
#pragma once

#include "platform/window/desk.h"
#include "tools/events.h"

#include <cstdint>

// Numbers of the queues; the bit of queue n is 1 << n.
enum event_queue : int {
    QUEUE_KEYBOARD = 0,
    QUEUE_BUTTON = 1,
    QUEUE_REFRESH = 2,
    QUEUE_DELETE = 3,
    QUEUE_MESSAGE = 9,
    QUEUE_COLLAPSE = 10,
    QUEUE_TIMER = 12,
    QUEUE_WINDOW_ICON = 13,
    QUEUE_USER = 14,
    QUEUE_MOTION = 16,
    QUEUE_WHEEL = 17,
};

constexpr int EVENT_WORDS = 11; // the longest payload, that of a refresh

struct event_record {
    event_record* next;
    uint32_t words[EVENT_WORDS]; // the payload in its order
};

constexpr uint32_t event_bit(int queue) {
    return uint32_t{1} << queue;
}

int event_fail(int error); // notes the error; gives -1

// ---- queues.cpp: a queue is a ring that is held by its last record, so both ends are at hand
event_record* queue_first(int queue); // null when it is empty
event_record* queue_last(int queue);  // the same
// Puts a record at the tail, or in front of all others. 0, or -1 when the event isn't enabled or there is no memory.
int queue_put(int queue, const uint32_t* words, int count);
int queue_put_first(int queue, const uint32_t* words, int count);
void queue_drop_first(int queue);
void queues_check(); // that pending_events says which queues aren't empty; does nothing without sanitizers
int queue_clear(int queue);

// ---- clicks.cpp: recognition of clicks and double clicks
void click_button(const desk_message* message); // a button went down or up
bool click_check();                             // delivers what has waited long enough; whether a click was pending
bool click_deadline(uint32_t* deadline);        // when the pending click is due by itself; false when there is none
// Puts a button event on its queue, as it is told by the machine or, for a key that acts as a button, made up.
int deliver_button(int window, int x, int y, int button, int transition, uint32_t time);
void clicks_reset(uint32_t start); // presses up to that time are not for this program

// ---- motion.cpp
void motion_start();
void motion_stop();
void motion_moved(const desk_message* message);

// ---- wheel.cpp
void wheel_turned(int window, const desk_message* message);

// ---- keys.cpp
bool key_prefilter(const desk_message* message); // false: the key is swallowed
void key_down(const desk_message* message);
void key_character(const desk_message* message);
void keys_reset();

// ---- timers.cpp
void timer_check(); // the platform's timer was due
// Sees to it that the platform's timer fires no later than that. It may fire for nothing.
void timer_arm_no_later(uint32_t deadline);
void timers_reset();
