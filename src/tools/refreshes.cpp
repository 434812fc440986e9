// Refresh events: those of one window that nobody has looked at yet become one.
#include "tools/eventdata.h"
#include "tools/windows.h"

#include <algorithm>
#include <array>
#include <bit>

static_assert(sizeof(refresh_data) == EVENT_WORDS * sizeof(uint32_t));

namespace {

using refresh_words = std::array<uint32_t, EVENT_WORDS>;

refresh_data data_of(const event_record* record) {
    refresh_words words;
    std::copy_n(record->words, EVENT_WORDS, words.begin());
    return std::bit_cast<refresh_data>(words);
}

// The one of that window and screen that still waits; null when there is none.
event_record* find_waiting(const refresh_data* refresh) {
    event_record* last = queue_last(QUEUE_REFRESH);
    if (last == nullptr) return nullptr;
    event_record* record = last;
    do {
        record = record->next;
        const refresh_data waiting = data_of(record);
        if (waiting.window == refresh->window && waiting.virtual_screen == refresh->virtual_screen) return record;
    } while (record != last);
    return nullptr;
}

// The newer one with the area of both, and all that happened.
refresh_data merged(const refresh_data& older, const refresh_data& newer) {
    refresh_data both = newer;
    both.area_x1 = std::min(older.area_x1, newer.area_x1);
    both.area_y1 = std::min(older.area_y1, newer.area_y1);
    both.area_x2 = std::max(older.area_x2, newer.area_x2);
    both.area_y2 = std::max(older.area_y2, newer.area_y2);
    both.op_mask = older.op_mask | newer.op_mask;
    return both;
}

} // namespace

int put_refresh_event(const refresh_data* refresh) {
    event_record* waiting = find_waiting(refresh);
    if (waiting != nullptr) {
        const auto words = std::bit_cast<refresh_words>(merged(data_of(waiting), *refresh));
        std::copy(words.begin(), words.end(), waiting->words);
        return 0;
    }
    const auto words = std::bit_cast<refresh_words>(*refresh);
    // A menu or form that stands above everything is drawn before all else.
    if (refresh->window == 0 && SR_area_is_up()) return queue_put_first(QUEUE_REFRESH, words.data(), EVENT_WORDS);
    return queue_put(QUEUE_REFRESH, words.data(), EVENT_WORDS);
}
