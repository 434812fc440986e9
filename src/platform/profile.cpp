// The profile file: read whole, looked through line by line; written beside and renamed.
#include "platform/profile.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <strings.h>

#include "platform/files.h"
#include "support/memory.h"

namespace {

constexpr size_t PROFILE_LIMIT = 1 << 20; // far beyond any profile that a person keeps

struct span_text {
    const char* start;
    size_t length;
};

bool is_blank(char c) {
    return c == ' ' || c == '\t' || c == '\r';
}

span_text trimmed(span_text t) {
    while (t.length > 0 && is_blank(t.start[0])) {
        ++t.start;
        --t.length;
    }
    while (t.length > 0 && is_blank(t.start[t.length - 1]))
        --t.length;
    return t;
}

span_text unquoted(span_text t) {
    bool quoted = t.length >= 2 && (t.start[0] == '"' || t.start[0] == '\'') && t.start[t.length - 1] == t.start[0];
    return quoted ? span_text{t.start + 1, t.length - 2} : t;
}

bool same_name(span_text t, const char* name) {
    return t.length == std::strlen(name) && strncasecmp(t.start, name, t.length) == 0;
}

// The next line, without its end; moves *at behind it. False at the end of the text.
bool next_line(const char** at, const char* end, span_text* line) {
    if (*at >= end) return false;
    const void* found = std::memchr(*at, '\n', static_cast<size_t>(end - *at));
    const char* stop = found != nullptr ? static_cast<const char*>(found) : end;
    *line = {*at, static_cast<size_t>(stop - *at)};
    *at = stop < end ? stop + 1 : end;
    return true;
}

// Where things stand in a profile's text.
struct place {
    bool in_section;         // the section exists
    const char* section_end; // where a new key of it can be put in
    bool has_key;
    span_text key_line; // the whole line of the key
    span_text value;
};

// Looks for the first `key` of the first `section`.
place find_key(const char* text, size_t size, const char* section, const char* key) {
    place found = {};
    const char* at = text;
    const char* end = text + size;
    bool inside = false;
    span_text line;
    while (next_line(&at, end, &line)) {
        span_text t = trimmed(line);
        if (t.length == 0 || t.start[0] == ';' || t.start[0] == '#') continue;
        if (t.start[0] == '[') {
            if (found.in_section) break;
            const void* close = std::memchr(t.start, ']', t.length);
            size_t length =
                close != nullptr ? static_cast<size_t>(static_cast<const char*>(close) - t.start) : t.length;
            inside = same_name(trimmed({t.start + 1, length - 1}), section);
            found.in_section = inside;
            found.section_end = at;
            continue;
        }
        if (!inside) continue;
        found.section_end = at;
        const void* equals = std::memchr(t.start, '=', t.length);
        if (equals == nullptr) continue;
        auto key_length = static_cast<size_t>(static_cast<const char*>(equals) - t.start);
        if (!same_name(trimmed({t.start, key_length}), key)) continue;
        found.has_key = true;
        found.key_line = line;
        found.value = unquoted(trimmed({t.start + key_length + 1, t.length - key_length - 1}));
        break;
    }
    return found;
}

bool join(char* path, size_t size, const char* directory, const char* rest) {
    int written = std::snprintf(path, size, "%s/%s", directory, rest);
    return written > 0 && static_cast<size_t>(written) < size;
}

const char* set_variable(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr && value[0] != '\0' ? value : nullptr;
}

// A text that is put together in a buffer made for it.
void add(char** to, const char* from, size_t length) {
    std::memcpy(*to, from, length);
    *to += length;
}

// The profile's text with the value set; its size in *size. Null when there is no memory.
char* with_value(const char* text, size_t old_size, const char* section, const char* key, const char* value,
                 size_t* size) {
    place at = find_key(text, old_size, section, key);
    char* fresh = mem_new_array<char>(old_size + std::strlen(section) + std::strlen(key) + std::strlen(value) + 8);
    if (fresh == nullptr) return nullptr;
    const char* end = text + old_size;
    const char* cut_from = end; // what stands from here ...
    const char* cut_to = end;   // ... to here is replaced
    if (at.has_key) {
        cut_from = at.key_line.start;
        cut_to = at.key_line.start + at.key_line.length;
    } else if (at.in_section) {
        cut_from = cut_to = at.section_end;
    }
    char* to = fresh;
    add(&to, text, static_cast<size_t>(cut_from - text));
    if (!at.has_key && to > fresh && to[-1] != '\n') add(&to, "\n", 1);
    if (!at.in_section) {
        add(&to, "[", 1);
        add(&to, section, std::strlen(section));
        add(&to, "]\n", 2);
    }
    add(&to, key, std::strlen(key));
    add(&to, "=", 1);
    add(&to, value, std::strlen(value));
    if (!at.has_key) add(&to, "\n", 1);
    add(&to, cut_to, static_cast<size_t>(end - cut_to));
    *size = static_cast<size_t>(to - fresh);
    return fresh;
}

bool make_directory_of(const char* path) {
    char directory[FILES_PATH_SIZE];
    if (std::snprintf(directory, sizeof directory, "%s", path) >= static_cast<int>(sizeof directory)) return false;
    char* last = std::strrchr(directory, '/');
    if (last == nullptr || last == directory) return true;
    *last = '\0';
    return files_make_directory(directory);
}

} // namespace

bool profile_default_path(char* path, size_t size) {
    const char* given = set_variable("VANTORA_INI");
    if (given != nullptr) return static_cast<size_t>(std::snprintf(path, size, "%s", given)) < size;
    const char* config = set_variable("XDG_CONFIG_HOME");
    if (config != nullptr) return join(path, size, config, "vantorama/vantor.ini");
    const char* home = set_variable("HOME");
    return home != nullptr && join(path, size, home, ".config/vantorama/vantor.ini");
}

bool profile_get(const char* path, const char* section, const char* key, const char* fallback, char* value,
                 size_t size) {
    size_t text_size = 0;
    mem_guard<char> text(files_load(path, PROFILE_LIMIT, &text_size));
    place at = {};
    if (text) at = find_key(text.get(), text_size, section, key);
    if (!at.has_key) {
        std::snprintf(value, size, "%s", fallback);
        return false;
    }
    size_t length = at.value.length < size ? at.value.length : size - 1;
    std::memcpy(value, at.value.start, length);
    value[length] = '\0';
    return true;
}

bool profile_set(const char* path, const char* section, const char* key, const char* value) {
    size_t old_size = 0;
    mem_guard<char> text(files_load(path, PROFILE_LIMIT, &old_size));
    if (!text && files_exists(path)) return false; // it stands there but can't be read: it is not overwritten
    size_t size = 0;
    mem_guard<char> fresh(with_value(text ? text.get() : "", old_size, section, key, value, &size));
    return static_cast<bool>(fresh) && make_directory_of(path) && files_replace_whole(path, fresh.get(), size);
}
