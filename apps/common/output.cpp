// Standard output in large pieces, and the progress bar.
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "common/program.h"
#include "platform/files.h"

namespace {

constexpr int STANDARD_ERROR = 2;
constexpr size_t OUT_BUFFER_SIZE = 1 << 16;
constexpr int BAR_WIDTH = 40;
constexpr int BAR_MARGIN = 22; // of the words around the bar

struct output_buffer {
    char bytes[OUT_BUFFER_SIZE];
    size_t used;
    bool failed;
    int reason; // errno of the failure
};
output_buffer output = {};

struct progress_bar {
    bool is_shown;
    int percent;
};
progress_bar shown = {false, -1};

void out_write(const void* bytes, size_t size) {
    if (output.failed || size == 0) return;
    output.failed = std::fwrite(bytes, 1, size, stdout) != size || std::fflush(stdout) != 0;
    if (output.failed) output.reason = errno;
}

void out_flush() {
    out_write(output.bytes, output.used);
    output.used = 0;
}

} // namespace

void out_begin() {
    output.used = 0;
    output.failed = false;
    shown = {false, -1};
}

void out_text(const char* text) {
    out_bytes(text, std::strlen(text));
}

void out_format(const char* format, ...) {
    char text[2 * FILES_PATH_SIZE];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    out_text(text);
}

void out_bytes(const void* bytes, size_t size) {
    // No bytes ask for what is held to be written.
    if (size == 0 || size > OUT_BUFFER_SIZE - output.used) out_flush();
    if (size > OUT_BUFFER_SIZE) {
        out_write(bytes, size);
    } else if (size > 0) {
        std::memcpy(output.bytes + output.used, bytes, size);
        output.used += size;
    }
}

bool out_failed() {
    return output.failed;
}

const char* out_failure() {
    return std::strerror(output.reason);
}

char* out_room(size_t size) {
    if (size > OUT_BUFFER_SIZE - output.used) out_flush();
    return output.bytes + output.used;
}

void out_taken(size_t size) {
    output.used += size;
}

void progress_show(const char* what, int64_t done, int64_t total) {
    static const bool is_terminal = files_is_terminal(STANDARD_ERROR);
    if (!is_terminal || total <= 0) return;
    int percent = static_cast<int>(done * 100 / total);
    if (shown.is_shown && percent == shown.percent) return;
    shown = {true, percent};
    char bar[BAR_WIDTH + 1];
    int filled = percent * BAR_WIDTH / 100;
    for (int i = 0; i < BAR_WIDTH; ++i)
        bar[i] = i < filled ? '#' : '.';
    bar[BAR_WIDTH] = '\0';
    std::fprintf(stderr, "\r%-12.12s [%s] %3d%%", what, bar, percent);
    std::fflush(stderr);
}

void progress_end() {
    if (!shown.is_shown) return;
    std::fprintf(stderr, "\r%*s\r", BAR_WIDTH + BAR_MARGIN, "");
    shown.is_shown = false;
}
