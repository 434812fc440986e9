// Paths in clean form.

#include "platform/files.h"
#include "surface/paths.h"

namespace {

void lower(char* path) {
    for (char* p = path; *p != '\0'; ++p)
        if (*p >= 'A' && *p <= 'Z') *p = static_cast<char>(*p - 'A' + 'a');
}

// Changes "/" to "\". Returns the place after the last ":".
char* turn(char* path) {
    char* rest = path;
    for (char* p = path; *p != '\0'; ++p) {
        if (*p == '/') *p = '\\';
        if (*p == ':') rest = p + 1;
    }
    return rest;
}

bool is_separator_or_end(char c) {
    return c == '\\' || c == '\0';
}

// Takes the component before the last separator off what has been written, which ends in that separator. The separator
// in front of the component stays; the first component of a relative path goes with nothing left before it.
char* drop_component(char* start, char* to) {
    --to;
    while (to > start && to[-1] != '\\')
        --to;
    return to;
}

} // namespace

void path_tidy(char* path) {
    char* start = turn(path);
    char* to = start;
    const char* from = start;
    while (*from != '\0') {
        // A component begins at the start of a relative path or behind a separator; only the latter can be "." or "..".
        bool behind_separator = to > start && to[-1] == '\\';
        if (behind_separator && *from == '\\') {
            ++from;
        } else if (behind_separator && from[0] == '.' && is_separator_or_end(from[1])) {
            from += from[1] == '\\' ? 2 : 1;
        } else if (behind_separator && from[0] == '.' && from[1] == '.' && is_separator_or_end(from[2])) {
            if (to - start >= 2) to = drop_component(start, to);
            from += from[2] == '\\' ? 3 : 2;
        } else {
            *to++ = *from++;
        }
    }
    if (to - start > 1 && to[-1] == '\\') --to;
    // A bare drive stays as it is: the text has no room for more.
    if (to == start && (start == path || from > start)) *to++ = '\\';
    *to = '\0';
}

void path_clean(char* path) {
    lower(path);
    path_tidy(path);
}

int path_is_absolute(char* path) {
    path_clean(path);
    return files_is_full(path) ? 1 : 0;
}

bool path_join(const char* directory, const char* name, char* path, size_t size) {
    if (size < 2) return false;
    path[0] = '\0';
    if (!files_join(directory, name, path, size) && (directory[0] != '\0' || name[0] != '\0')) return false;
    path_tidy(path);
    return true;
}
