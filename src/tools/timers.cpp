// Timers in ticks, over the platform's single timer, and sleeping.
//
// Times are milliseconds of the host's clock, which may run over: they are compared by their difference. A time of 0
// means none, so a time that happens to be 0 becomes 1.
#include "tools/eventdata.h"

#include <algorithm>
#include <limits>

namespace {

struct timer {
    uint32_t period;
    bool repeat;
    uint32_t deadline; // 0: the slot is free
};

timer timers[TIMER_SLOTS] = {};
int timers_used = 0;         // one past the highest slot in use
uint32_t armed_deadline = 0; // of the platform's timer; 0: it isn't set

uint32_t milliseconds(int ticks) {
    const int64_t time = int64_t{ticks} * 50 / 3;
    return uint32_t(std::clamp<int64_t>(time, 0, std::numeric_limits<int32_t>::max()));
}

uint32_t after_now(uint32_t time) {
    const uint32_t then = host_now() + time;
    return then == 0 ? 1 : then;
}

bool is_before(uint32_t a, uint32_t b) {
    return int32_t(a - b) < 0;
}

bool has_come(uint32_t deadline) {
    return !is_before(host_now(), deadline);
}

void arm_for_slots() {
    for (int i = 0; i < timers_used; ++i)
        if (timers[i].deadline != 0) timer_arm_no_later(timers[i].deadline);
}

void free_slot(int number) {
    timers[number].deadline = 0;
    while (timers_used > 0 && timers[timers_used - 1].deadline == 0)
        --timers_used;
}

int find_free_slot() {
    int number = 0;
    while (number < timers_used && timers[number].deadline != 0)
        ++number;
    return number < TIMER_SLOTS ? number : -1;
}

} // namespace

int Start_timer(int ticks, int repeat, int* number) {
    const int slot = find_free_slot();
    if (slot < 0 || desk_main() == nullptr) return -1;
    const uint32_t period = std::max(milliseconds(ticks), 1U);
    timers[slot] = {period, repeat != 0, after_now(period)};
    timers_used = std::max(timers_used, slot + 1);
    arm_for_slots();
    *number = slot;
    return 0;
}

int Stop_timer(int number) {
    if (number < 0 || number >= timers_used || timers[number].deadline == 0) return -1;
    free_slot(number);
    return 0;
}

void timer_check() {
    armed_deadline = 0;
    for (int i = 0; i < timers_used; ++i) {
        if (timers[i].deadline == 0 || !has_come(timers[i].deadline)) continue;
        const auto word = uint32_t(i);
        queue_put(QUEUE_TIMER, &word, 1);
        if (timers[i].repeat)
            timers[i].deadline = after_now(timers[i].period);
        else
            free_slot(i);
    }
    arm_for_slots();
}

// A deadline that has passed stays armed: its message is still to come.
void timer_arm_no_later(uint32_t deadline) {
    if (armed_deadline != 0 && !is_before(deadline, armed_deadline)) return;
    desk_set_timer(deadline);
    armed_deadline = deadline;
}

int Sleep_ticks(int ticks) {
    uint32_t time = milliseconds(ticks);
    if (time == 0 && ticks > 0) time = 1;
    const uint32_t end = after_now(time);
    while (tools_pump()) {
        if (has_come(end)) return 0;
        timer_arm_no_later(end);
        tools_wait();
    }
    return -1;
}

void timers_reset() {
    for (timer& t : timers)
        t = {};
    timers_used = 0;
    armed_deadline = 0;
    desk_stop_timer();
}
