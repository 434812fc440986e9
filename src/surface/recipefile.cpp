// Reading a recipe file, line by line.
#include <cstdio>
#include <cstring>

#include "platform/files.h"
#include "support/log.h"
#include "support/memory.h"
#include "surface/recipe.h"

namespace {

constexpr size_t RECIPE_LIMIT = 16 << 20; // bytes; a line for each of 240 surfaces takes a few thousand

constexpr const char* BYTE_ORDER_MARK = "\xEF\xBB\xBF"; // that some editors put in front of a text

bool is_blank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// The line without blanks around it, in place.
char* trimmed(char* line) {
    while (is_blank(*line))
        ++line;
    size_t length = std::strlen(line);
    while (length > 0 && is_blank(line[length - 1]))
        line[--length] = '\0';
    return line;
}

// A raster beside the recipe is meant before one that a search path leads to. False without memory.
bool take_beside(surface_set* set, const char* recipe_path) {
    if (set->kind != surface_kind::raster || files_is_full(set->text)) return true;
    char beside[FILES_PATH_SIZE];
    const auto directory = static_cast<int>(files_last_name(recipe_path) - recipe_path);
    const int written = std::snprintf(beside, sizeof beside, "%.*s%s", directory, recipe_path, set->text);
    if (written < 0 || static_cast<size_t>(written) >= sizeof beside || !files_exists(beside)) return true;
    char* copy = mem_copy_text(beside);
    if (copy == nullptr) return false;
    mem_free(set->text);
    set->text = copy;
    return true;
}

bool no_memory(const char* path) {
    log_message(LOG_WARNING, "There is no memory for the recipe \"%s\".\n", path);
    return false;
}

void tell_line(int level, const char* path, int line, const char* why) {
    log_message(level, "\"%s\", line %d: %s\n", path, line, why);
}

bool read_line(recipe* r, const char* path, char* line, int number, int level) {
    line = trimmed(line);
    if (line[0] == '\0' || line[0] == '#') return true;
    surface_set set;
    char why[SET_REASON_SIZE];
    if (!surface_set_parse(line, &set, why)) {
        tell_line(level, path, number, why);
        ++r->wrong;
        return true;
    }
    set.from = path;
    set.line = number;
    if (take_beside(&set, path)) return recipe_add(r, &set) || no_memory(path);
    surface_set_free(&set);
    return no_memory(path);
}

} // namespace

bool recipe_read(recipe* r, const char* path, int level) {
    const char* fault = files_input_fault(path);
    size_t size = 0;
    mem_guard<char> text(fault == nullptr ? files_load(path, RECIPE_LIMIT, &size) : nullptr);
    if (!text) {
        log_message(LOG_WARNING, "The recipe \"%s\" can not be read%s%s.\n", path, fault != nullptr ? ": " : "",
                    fault != nullptr ? fault : "");
        return false;
    }
    int number = 0;
    const size_t mark_size = std::strlen(BYTE_ORDER_MARK);
    const bool is_marked = size >= mark_size && std::memcmp(text.get(), BYTE_ORDER_MARK, mark_size) == 0;
    for (size_t at = is_marked ? mark_size : 0; at < size;) {
        char* line = text.get() + at;
        const auto* end = static_cast<const char*>(std::memchr(line, '\n', size - at));
        const size_t length = end != nullptr ? static_cast<size_t>(end - line) : size - at;
        line[length] = '\0'; // a zero byte stands behind the text
        at += length + 1;
        ++number;
        if (std::strlen(line) == length) {
            if (!read_line(r, path, line, number, level)) return false;
        } else {
            tell_line(level, path, number, "the line is no text");
            ++r->wrong;
        }
    }
    return true;
}

bool recipe_add(recipe* r, const surface_set* set) {
    // Room grows by doubling: at every power of two.
    const auto count = static_cast<size_t>(r->count);
    if ((count & (count - 1)) == 0) {
        const size_t room = count > 0 ? count * 2 : 1;
        auto* sets = static_cast<surface_set*>(mem_realloc(r->sets, room * sizeof(surface_set)));
        if (sets == nullptr) {
            surface_set lost = *set;
            surface_set_free(&lost);
            return false;
        }
        r->sets = sets;
    }
    r->sets[r->count++] = *set;
    return true;
}

void recipe_free(recipe* r) {
    for (int i = 0; i < r->count; ++i)
        surface_set_free(&r->sets[i]);
    mem_free(r->sets);
    *r = {nullptr, 0, 0};
}

void recipe_tell(int level, const surface_set* set, const char* why) {
    if (set->from == nullptr)
        log_message(level, "Surface %d: %s\n", set->pen, why);
    else
        tell_line(level, set->from, set->line, why);
}
