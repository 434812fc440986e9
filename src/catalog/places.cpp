#include "catalog/places.h"

#include <cstdio>
#include <cstring>

#include "support/memory.h"
#include "surface/paths.h"

namespace {

constexpr size_t HISTORY_FILE_LIMIT = 1 << 16;
constexpr size_t HISTORY_WORD = 255;

// The drive of a path, which stands in front of its root; none on most systems.
const char* root_of(const char* path) {
    const char* colon = std::strchr(path, ':');
    return colon != nullptr ? colon + 1 : path;
}

// Where component `n` of a directory begins and how long it is, counted from 0. False beyond the last.
bool component(const char* directory, int n, const char** start, size_t* length) {
    const char* at = root_of(directory);
    for (;; --n) {
        at += std::strspn(at, "\\");
        if (*at == '\0') return false;
        *length = std::strcspn(at, "\\");
        *start = at;
        if (n == 0) return true;
        at += *length;
    }
}

int component_count(const char* directory) {
    int count = 0;
    const char* start = nullptr;
    size_t length = 0;
    while (component(directory, count, &start, &length))
        ++count;
    return count;
}

bool copy(char* out, const char* text, size_t length) {
    if (length >= FILES_PATH_SIZE) return false;
    std::memcpy(out, text, length);
    out[length] = '\0';
    return true;
}

// Cuts a full path where it no longer names a directory that exists. The length of what does.
size_t existing_length(char* path) {
    size_t length = std::strlen(path);
    const auto root = static_cast<size_t>(root_of(path) - path) + 1;
    while (length > root && !files_is_directory(path)) {
        while (length > root && path[length - 1] != '\\')
            --length;
        if (length > root) --length; // the separator
        path[length] = '\0';
    }
    return length;
}

} // namespace

bool directory_tidy(const char* path, char directory[FILES_PATH_SIZE]) {
    const size_t length = std::strlen(path);
    if (length + 2 >= FILES_PATH_SIZE) return false;
    std::memcpy(directory, path, length + 1);
    path_tidy(directory);
    const size_t tidy = std::strlen(directory);
    if (directory[tidy - 1] != '\\') std::memcpy(directory + tidy, "\\", 2);
    return true;
}

bool path_enter(const char* text, const char* shown, entered_path* entered) {
    *entered = {};
    char full[FILES_PATH_SIZE];
    if (!path_join(shown, text, full, sizeof full)) return false;
    char cut[FILES_PATH_SIZE];
    std::memcpy(cut, full, sizeof cut);
    const size_t length = existing_length(cut);
    if (!directory_tidy(cut, entered->directory)) return false;
    const char* rest = full + length;
    rest += std::strspn(rest, "\\");
    const char* separator = std::strchr(rest, '\\');
    if (separator == nullptr) return copy(entered->file, rest, std::strlen(rest));
    entered->misses_directory = true;
    const char* last = std::strrchr(rest, '\\') + 1;
    return copy(entered->missing, full, static_cast<size_t>(separator - full)) &&
           copy(entered->file, last, std::strlen(last));
}

// ---- the tree ------------------------------------------------------------------------------------------------------

int tree_row_count(const char* directory, const listing* below) {
    return 1 + component_count(directory) + below->count;
}

bool tree_row_text(const char* directory, const listing* below, int row, char* text, size_t size) {
    const char* start = nullptr;
    size_t length = 0;
    const int depth = component_count(directory);
    if (row < 0 || row >= tree_row_count(directory, below)) return false;
    if (row == 0) return std::snprintf(text, size, "\\") > 0;
    if (row <= depth && component(directory, row - 1, &start, &length))
        return std::snprintf(text, size, "%*s%.*s", row, "", static_cast<int>(length), start) > 0;
    return std::snprintf(text, size, "%*s%s", depth + 1, "", below->rows[row - depth - 1].shown) > 0;
}

bool tree_row_directory(const char* directory, const listing* below, int row, char path[FILES_PATH_SIZE]) {
    const char* start = nullptr;
    size_t length = 0;
    const int depth = component_count(directory);
    if (row < 0 || row >= tree_row_count(directory, below)) return false;
    if (row == 0) return copy(path, directory, static_cast<size_t>(root_of(directory) - directory) + 1);
    if (row <= depth && component(directory, row - 1, &start, &length))
        return copy(path, directory, static_cast<size_t>(start - directory) + length + 1);
    const int written = std::snprintf(path, FILES_PATH_SIZE, "%s%s\\", directory, below->rows[row - depth - 1].name);
    return written > 0 && static_cast<size_t>(written) < FILES_PATH_SIZE;
}

// ---- the history ---------------------------------------------------------------------------------------------------

void put_in_front(char** entries, int* count, int limit, const char* text) {
    char* entry = mem_copy_text(text);
    if (entry == nullptr) return;
    int from = 0;
    while (from < *count && std::strcmp(entries[from], text) != 0)
        ++from;
    if (from == limit) --from;
    if (from < *count)
        mem_free(entries[from]);
    else
        ++*count;
    std::memmove(entries + 1, entries, static_cast<size_t>(from) * sizeof(char*));
    entries[0] = entry;
}

void directory_history_enter(directory_history* h, const char* directory) {
    put_in_front(h->entries, &h->count, HISTORY_DIRECTORIES, directory);
}

void directory_history_read(directory_history* h, const char* path) {
    size_t size = 0;
    mem_guard<char> text(files_load(path, HISTORY_FILE_LIMIT, &size));
    if (!text) return;
    static constexpr const char* BLANKS = " \t\n\v\f\r";
    for (const char* at = text.get() + std::strspn(text.get(), BLANKS);
         *at != '\0' && h->count < HISTORY_DIRECTORIES;) {
        size_t length = std::strcspn(at, BLANKS);
        if (length > HISTORY_WORD) length = HISTORY_WORD; // a longer word is read in pieces
        char word[HISTORY_WORD + 1];
        std::memcpy(word, at, length);
        word[length] = '\0';
        char* entry = mem_copy_text(word);
        if (entry == nullptr) return;
        h->entries[h->count++] = entry;
        at += length;
        at += std::strspn(at, BLANKS);
    }
}

void directory_history_free(directory_history* h) {
    for (int i = 0; i < h->count; ++i)
        mem_free(h->entries[i]);
    *h = {};
}
