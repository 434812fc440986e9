#include "surface/pathedit.h"

#include <cstdlib>
#include <cstring>
#include <utility>

#include "platform/files.h"
#include "platform/profile.h"
#include "support/log.h"
#include "support/memory.h"

namespace {

constexpr const char* SECTION = "Root";
constexpr const char* DIVIDERS = ";,";

char* row_of(const char* text, size_t length) {
    char* row = mem_new_array<char>(length + 2);
    if (row == nullptr) return nullptr;
    for (size_t i = 0; i < length; ++i)
        row[i] = text[i] == '/' ? '\\' : text[i]; // one kind, like all directories that are shown
    const bool ends = row[length - 1] == '\\';
    std::memcpy(row + length, ends ? "" : "\\", ends ? 1 : 2);
    return row;
}

bool add(path_rows* p, const char* text, size_t length) {
    const auto count = static_cast<size_t>(p->count);
    auto** rows = static_cast<char**>(mem_realloc(p->rows, (count + 1) * sizeof(char*)));
    if (rows == nullptr) return false;
    p->rows = rows;
    char* row = row_of(text, length);
    if (row == nullptr) return false;
    p->rows[p->count++] = row;
    return true;
}

} // namespace

bool path_rows_read(path_rows* p, const char* value) {
    path_rows_free(p);
    for (const char* at = value; *at != '\0';) {
        const size_t length = std::strcspn(at, DIVIDERS);
        if (length > 0 && !add(p, at, length)) {
            path_rows_free(p);
            return false;
        }
        at += length;
        if (*at != '\0') ++at;
    }
    return true;
}

void path_rows_free(path_rows* p) {
    for (int i = 0; i < p->count; ++i)
        mem_free(p->rows[i]);
    mem_free(p->rows);
    *p = {nullptr, 0};
}

bool path_row_is_usable(const char* text) {
    return text[0] != '\0' && std::strpbrk(text, DIVIDERS) == nullptr;
}

bool path_rows_add(path_rows* p, const char* text) {
    return path_row_is_usable(text) && add(p, text, std::strlen(text));
}

bool path_rows_set(path_rows* p, int row, const char* text) {
    if (row < 0 || row >= p->count || !path_row_is_usable(text)) return false;
    char* fresh = row_of(text, std::strlen(text));
    if (fresh == nullptr) return false;
    mem_free(std::exchange(p->rows[row], fresh));
    return true;
}

int path_rows_delete(path_rows* p, int row) {
    if (row < 0 || row >= p->count) return -1;
    mem_free(p->rows[row]);
    const auto behind = static_cast<size_t>(p->count - row - 1);
    std::memmove(p->rows + row, p->rows + row + 1, behind * sizeof(char*));
    --p->count;
    return row < p->count ? row : p->count - 1;
}

int path_rows_move(path_rows* p, int row, int direction) {
    const int to = row + direction;
    if (row < 0 || row >= p->count || to < 0 || to >= p->count) return row;
    std::swap(p->rows[row], p->rows[to]);
    return to;
}

void path_rows_join(const path_rows* p, char* value, size_t size) {
    size_t length = 0;
    value[0] = '\0';
    for (int i = 0; i < p->count; ++i) {
        const size_t row = std::strlen(p->rows[i]);
        const size_t joint = length > 0 ? 1 : 0;
        if (length + joint + row >= size) continue;
        if (joint > 0) value[length++] = ';';
        std::memcpy(value + length, p->rows[i], row + 1);
        length += row;
    }
}

bool search_path_store(const char* variable, const char* value) {
    setenv(variable, value, 1);
    char ini[FILES_PATH_SIZE];
    if (profile_default_path(ini, sizeof ini) && profile_set(ini, SECTION, variable, value)) return true;
    log_message(LOG_WARNING, "The search path is changed for this session, but it can not be kept in vantor.ini.\n");
    return false;
}
