#include "catalog/recent.h"

#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "support/memory.h"

namespace {

constexpr size_t STATE_LIMIT = 1 << 20;
constexpr int SIZE_MAX_PIXELS = 32767;
constexpr const char* FILE_NAME = "vantorama/tinct";

bool is_set(const char* value) {
    return value != nullptr && value[0] == '/'; // a relative one is to be ignored
}

void read_size(recent_state* state, const char* value) {
    char* end = nullptr;
    const long width = std::strtol(value, &end, 10);
    if (*end != 'x') return;
    const long height = std::strtol(end + 1, &end, 10);
    if (*end != '\0' || width <= 0 || height <= 0 || width > SIZE_MAX_PIXELS || height > SIZE_MAX_PIXELS) return;
    state->width = static_cast<int>(width);
    state->height = static_cast<int>(height);
}

void read_gamma(recent_state* state, const char* value) {
    double gamma = 0.0;
    const char* end = value + std::strlen(value);
    const auto result = std::from_chars(value, end, gamma);
    if (result.ec == std::errc() && result.ptr == end && gamma >= GAMMA_LOW && gamma <= GAMMA_HIGH)
        state->gamma = gamma;
}

void add_behind(char** entries, int* count, int limit, const char* value) {
    if (*count >= limit) return;
    char* entry = mem_copy_text(value);
    if (entry != nullptr) entries[(*count)++] = entry;
}

void read_pair(recent_state* state, const char* key, const char* value) {
    if (value[0] == '\0') return;
    if (std::strcmp(key, "size") == 0) read_size(state, value);
    if (std::strcmp(key, "gamma") == 0) read_gamma(state, value);
    if (std::strcmp(key, "directory") == 0) recent_set_directory(state, value);
    if (std::strcmp(key, "file") == 0) add_behind(state->files, &state->file_count, RECENT_FILES, value);
    if (std::strcmp(key, "visited") == 0) {
        directory_history* h = &state->directories;
        add_behind(h->entries, &h->count, HISTORY_DIRECTORIES, value);
    }
}

// A text that grows up to the limit of the file; what doesn't fit is left out.
struct state_text {
    char* bytes; // owned
    size_t length;
};

// A value with a line's end in it would be read as two.
void add_line(state_text* text, const char* key, const char* value) {
    if (std::strpbrk(value, "\r\n") != nullptr) return;
    const size_t room = STATE_LIMIT - text->length;
    const int written = std::snprintf(text->bytes + text->length, room, "%s=%s\n", key, value);
    if (written > 0 && static_cast<size_t>(written) < room) text->length += static_cast<size_t>(written);
}

void write_lines(const recent_state* state, state_text* text) {
    char number[64];
    std::snprintf(number, sizeof number, "%dx%d", state->width, state->height);
    if (state->width > 0) add_line(text, "size", number);
    *std::to_chars(number, number + sizeof number - 1, state->gamma).ptr = '\0';
    add_line(text, "gamma", number);
    if (state->directory != nullptr) add_line(text, "directory", state->directory);
    for (int i = 0; i < state->file_count; ++i)
        add_line(text, "file", state->files[i]);
    for (int i = 0; i < state->directories.count; ++i)
        add_line(text, "visited", state->directories.entries[i]);
}

} // namespace

bool recent_path(char* path, size_t size) {
    const char* state = std::getenv("XDG_STATE_HOME");
    const char* home = std::getenv("HOME");
    if (!is_set(state) && !is_set(home)) return false;
    const int written = is_set(state) ? std::snprintf(path, size, "%s/%s", state, FILE_NAME)
                                      : std::snprintf(path, size, "%s/.local/state/%s", home, FILE_NAME);
    return written > 0 && static_cast<size_t>(written) < size;
}

void recent_read(recent_state* state, const char* path) {
    recent_free(state);
    size_t size = 0;
    mem_guard<char> text(files_load(path, STATE_LIMIT, &size));
    if (!text) return;
    for (char* line = text.get(); *line != '\0';) {
        char* end = line + std::strcspn(line, "\n");
        char* next = *end != '\0' ? end + 1 : end;
        *end = '\0';
        char* equals = std::strchr(line, '=');
        if (equals != nullptr) {
            *equals = '\0';
            read_pair(state, line, equals + 1);
        }
        line = next;
    }
}

bool recent_write(const recent_state* state, const char* path) {
    char directory[FILES_PATH_SIZE];
    const auto length = static_cast<int>(files_last_name(path) - path);
    const int written = std::snprintf(directory, sizeof directory, "%.*s", length, path);
    if (written < 0 || static_cast<size_t>(written) >= sizeof directory || !files_make_directory(directory))
        return false;
    mem_guard<char> bytes(mem_new_array<char>(STATE_LIMIT));
    if (!bytes) return false;
    state_text text = {bytes.get(), 0};
    write_lines(state, &text);
    return files_replace_whole(path, text.bytes, text.length);
}

void recent_add_file(recent_state* state, const char* path) {
    put_in_front(state->files, &state->file_count, RECENT_FILES, path);
}

void recent_set_directory(recent_state* state, const char* directory) {
    char* copy = mem_copy_text(directory);
    if (copy == nullptr) return;
    mem_free(state->directory);
    state->directory = copy;
}

void recent_free(recent_state* state) {
    for (int i = 0; i < state->file_count; ++i)
        mem_free(state->files[i]);
    directory_history_free(&state->directories);
    mem_free(state->directory);
    *state = {};
    state->gamma = GAMMA_USUAL;
}
