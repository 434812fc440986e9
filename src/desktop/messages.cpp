#include "desktop/messages.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "platform/window/dialog.h"
#include "support/log.h"
#include "support/text.h"

namespace {

constexpr const char* MORE = "\n..."; // stands for what finds no room

struct gathered {
    char text[LOG_TEXT_SIZE];
    int level; // the gravest; 0: there is none
    bool full;
};
gathered waiting = {};

// What showed messages before they were gathered.
log_sink before = nullptr;
void* before_user = nullptr;

void show(void* /*user*/, int level, const char* text) {
    char latin1[LOG_TEXT_SIZE];
    text_to_latin1(text, latin1, sizeof latin1);
    dialog_log_sink(nullptr, level, latin1);
}

void gather(void* /*user*/, int level, const char* text) {
    const size_t length = std::strlen(waiting.text);
    const size_t room = sizeof waiting.text - std::strlen(MORE) - length;
    waiting.level = waiting.level == 0 ? level : std::min(waiting.level, level);
    if (waiting.full) return;
    const char* joint = length > 0 ? "\n" : "";
    const int written = std::snprintf(waiting.text + length, room, "%s%s", joint, text);
    waiting.full = written < 0 || static_cast<size_t>(written) >= room;
    if (waiting.full) std::snprintf(waiting.text + length, std::strlen(MORE) + 1, "%s", MORE);
}

} // namespace

void messages_start() {
    log_set_sink(show, nullptr);
}

void messages_gather() {
    waiting = {};
    log_get_sink(&before, &before_user);
    log_set_sink(gather, nullptr);
}

void messages_tell(const char* subject) {
    log_set_sink(before, before_user);
    if (waiting.level == 0) return;
    if (std::strstr(waiting.text, subject) != nullptr)
        log_message(waiting.level, "%s", waiting.text);
    else
        log_message(waiting.level, "\"%.255s\":\n%s", subject, waiting.text);
    waiting = {};
}
