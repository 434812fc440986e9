#include "support/log.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

struct log_state {
    log_sink sink;
    void* sink_user;
    stop_action stop;
    void* stop_user;
};

log_state state = {};

bool level_is_shown(int level) {
    return level >= LOG_ERROR && level <= LOG_INFO;
}

} // namespace

void log_set_sink(log_sink sink, void* user) {
    state.sink = sink;
    state.sink_user = user;
}

void log_get_sink(log_sink* sink, void** user) {
    *sink = state.sink;
    *user = state.sink_user;
}

void log_to_standard_error(void* /*user*/, int /*level*/, const char* text) {
    std::fprintf(stderr, "%s\n", text);
}

void log_message(int level, const char* format, ...) {
    if (state.sink == nullptr || !level_is_shown(level)) return;
    char text[LOG_TEXT_SIZE];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    size_t length = std::strlen(text);
    if (length > 0 && text[length - 1] == '\n') text[length - 1] = '\0';
    state.sink(state.sink_user, level, text);
}

void stop_set_action(stop_action action, void* user) {
    state.stop = action;
    state.stop_user = user;
}

void stop_program(int status) {
    if (state.stop != nullptr) {
        state.stop(state.stop_user, status);
        return;
    }
    std::exit(status);
}
