// Progress messages and stops of the output pipeline.
#include <cstdarg>
#include <cstdio>

#include "output/imp.h"
#include "platform/files.h"

namespace {

imp_pending_events pending_events = nullptr;

bool asks_to_stop(const imp_progress* p) {
    uint32_t events = pending_events != nullptr ? pending_events() & p->stop_mask : 0;
    return events != 0 && p->stop_fn != nullptr && p->stop_fn(events) != 0;
}

} // namespace

void imp_set_pending_events(imp_pending_events pending) {
    pending_events = pending;
}

bool imp_wants(const imp_progress* p, uint32_t messages) {
    return p->log_fn != nullptr && (p->msg_mask & messages) == messages;
}

void imp_tell(const imp_progress* p, int level, const char* format, ...) {
    char text[FILES_PATH_SIZE + 64];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    p->log_fn(level, text);
}

bool imp_message_due(imp_progress* p) {
    if (p->msg_interval < 1 || ++p->since_message < p->msg_interval) return false;
    p->since_message = 0;
    return true;
}

bool imp_step_stops(const imp_progress* p) {
    return p->stop_mask != 0 && asks_to_stop(p);
}

bool imp_line_stops(imp_progress* p) {
    if (p->stop_mask == 0 || p->stop_interval < 1 || ++p->since_look < p->stop_interval) return false;
    p->since_look = 0;
    return asks_to_stop(p);
}
