#include "common/program.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/files.h"
#include "support/log.h"

namespace {

constexpr int STANDARD_ERROR = 2;
constexpr int BAR_WIDTH = 40;

struct program_state {
    const char* name;
    bool has_reported; // an error or a warning
    bool bar_is_shown;
    int bar_percent;
};
program_state state = {"program", false, false, -1};

void report(void* /*user*/, int level, const char* text) {
    progress_end();
    std::fprintf(stderr, "%s: %s\n", state.name, text);
    if (level == LOG_ERROR || level == LOG_WARNING) state.has_reported = true;
}

} // namespace

void program_begin(const char* name) {
    state.name = name;
    log_set_sink(report, nullptr);
}

int program_end(int status) {
    progress_end();
    if (std::fflush(stdout) != 0 || out_failed()) {
        std::fprintf(stderr, "%s: standard output could not be written\n", state.name);
        if (status == EXIT_DONE) status = EXIT_FAILED;
    }
    return status == EXIT_DONE && state.has_reported ? static_cast<int>(EXIT_FAILED) : status;
}

int program_fail(const char* format, ...) {
    char text[LOG_TEXT_SIZE];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    log_message(LOG_ERROR, "%s", text);
    return EXIT_FAILED;
}

int program_usage(const char* format, ...) {
    char text[LOG_TEXT_SIZE];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    std::fprintf(stderr, "%s: %s\n%s: try --help\n", state.name, text, state.name);
    return EXIT_USAGE;
}

const char* take_word(word_list* list) {
    return list->next < list->count ? list->words[list->next++] : nullptr;
}

bool parse_integer(const char* text, int64_t low, int64_t high, int64_t* value) {
    const char* end = text + std::strlen(text);
    auto result = std::from_chars(text, end, *value);
    return result.ec == std::errc() && result.ptr == end && *value >= low && *value <= high;
}

bool parse_number(const char* text, double* value) {
    const char* end = text + std::strlen(text);
    auto result = std::from_chars(text, end, *value);
    return result.ec == std::errc() && result.ptr == end && std::isfinite(*value);
}

const char* plain_name(const char* path, char out[PLAIN_NAME_SIZE]) {
    if (std::strncmp(path, "/INMEM/", 7) != 0) return path;
    std::snprintf(out, PLAIN_NAME_SIZE, "/%s", path);
    return out;
}

void out_text(const char* text) {
    std::fputs(text, stdout);
}

void out_format(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stdout, format, arguments);
    va_end(arguments);
}

void out_bytes(const void* bytes, size_t size) {
    std::fwrite(bytes, 1, size, stdout);
}

bool out_failed() {
    return std::ferror(stdout) != 0;
}

void progress_show(const char* what, int64_t done, int64_t total) {
    if (total <= 0 || !files_is_terminal(STANDARD_ERROR)) return;
    int percent = static_cast<int>(done * 100 / total);
    if (state.bar_is_shown && percent == state.bar_percent) return;
    state.bar_is_shown = true;
    state.bar_percent = percent;
    char bar[BAR_WIDTH + 1];
    int filled = percent * BAR_WIDTH / 100;
    for (int i = 0; i < BAR_WIDTH; ++i)
        bar[i] = i < filled ? '#' : '.';
    bar[BAR_WIDTH] = '\0';
    std::fprintf(stderr, "\r%-12.12s [%s] %3d%%", what, bar, percent);
    std::fflush(stderr);
}

void progress_end() {
    if (!state.bar_is_shown) return;
    std::fprintf(stderr, "\r%*s\r", BAR_WIDTH + 22, "");
    state.bar_is_shown = false;
}
