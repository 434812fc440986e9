// The wheel. A program that is busy finds one event for all the steps that were made over a window meanwhile.
#include "tools/eventdata.h"

#include <algorithm>

namespace {

constexpr int MOST_STEPS = 1000; // that are added up

// Places in the event.
enum : int { WINDOW, X, Y, STEPS, ACROSS, MODIFIERS, WORDS };

uint32_t sum(uint32_t waiting, uint32_t more) {
    const int steps = int(waiting) + std::clamp(int(more), -MOST_STEPS, MOST_STEPS);
    return uint32_t(std::clamp(steps, -MOST_STEPS, MOST_STEPS));
}

} // namespace

void wheel_turned(int window, const desk_message* message) {
    const uint32_t words[WORDS] = {uint32_t(window), uint32_t(message->x), uint32_t(message->y),
                                   message->value,   message->value2,      message->modifiers};
    event_record* waiting = queue_last(QUEUE_WHEEL);
    if (waiting == nullptr || waiting->words[WINDOW] != words[WINDOW] ||
        waiting->words[MODIFIERS] != words[MODIFIERS]) {
        queue_put(QUEUE_WHEEL, words, WORDS);
        return;
    }
    const uint32_t steps = sum(waiting->words[STEPS], words[STEPS]);
    const uint32_t across = sum(waiting->words[ACROSS], words[ACROSS]);
    std::copy_n(words, int{WORDS}, waiting->words);
    waiting->words[STEPS] = steps;
    waiting->words[ACROSS] = across;
}
