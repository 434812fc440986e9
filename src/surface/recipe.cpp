// One set as a text, both ways.
#include "surface/recipe.h"

#include <charconv>
#include <cmath>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "platform/files.h"
#include "support/log.h"
#include "support/memory.h"
#include "surface/savefile.h"

namespace {

__attribute__((format(printf, 2, 3))) bool wrong(char* why, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(why, SET_REASON_SIZE, format, arguments);
    va_end(arguments);
    return false;
}

bool starts_with(const char* text, const char* start) {
    return std::strncmp(text, start, std::strlen(start)) == 0;
}

// A finite number and nothing else.
bool read_number(const char* text, double* value) {
    const char* end = text + std::strlen(text);
    const auto result = std::from_chars(text, end, *value);
    return result.ec == std::errc() && result.ptr == end && std::isfinite(*value);
}

bool read_pen(const char* text, size_t length, int* pen) {
    const auto result = std::from_chars(text, text + length, *pen);
    return result.ec == std::errc() && result.ptr == text + length;
}

enum class placement { none, taken, bad };

// A misspelt option, such as "rotatoin=3": letters and perhaps a value, as no directory or extension has them.
bool looks_like_option(const char* text) {
    const size_t letters = std::strspn(text, "abcdefghijklmnopqrstuvwxyz");
    return letters > 0 && (text[letters] == '=' || text[letters] == '\0');
}

// Takes one placement option, the text behind a ":".
placement take_placement(const char* option, surface_set* set) {
    bool good = true;
    if (std::strcmp(option, "mirror") == 0) {
        set->mirror = true;
    } else if (starts_with(option, "rotation=")) {
        good = read_number(option + 9, &set->rotation);
    } else if (starts_with(option, "size=")) {
        good = read_number(option + 5, &set->size) && set->size > 0.0;
    } else {
        const bool misspelt =
            set->kind == surface_kind::raster && looks_like_option(option) && !files_exists(set->text);
        return misspelt ? placement::bad : placement::none;
    }
    set->has_placement = true;
    return good ? placement::taken : placement::bad;
}

// Takes the placement options off the end of the set's text. False for one that is wrong.
bool take_placements(surface_set* set) {
    for (char* colon = std::strrchr(set->text, ':'); colon != nullptr; colon = std::strrchr(set->text, ':')) {
        const placement result = take_placement(colon + 1, set);
        if (result == placement::bad) return false;
        if (result == placement::none) return true;
        *colon = '\0';
    }
    return true;
}

// What begins with a number and a comma is meant as "R,G,B", also with numbers that are none of a colour ("nan,0,0").
bool looks_like_color(const char* text) {
    const char* comma = std::strchr(text, ',');
    if (comma == nullptr) return false;
    double value = 0.0;
    return std::from_chars(text, comma, value).ptr == comma;
}

// Exactly three numbers from 0 to 1.
bool read_color(const char* text, surface_set* set) {
    double* const parts[] = {&set->red, &set->green, &set->blue};
    const char* end = text + std::strlen(text);
    for (double* part : parts) {
        const auto result = std::from_chars(text, end, *part);
        const bool in_range = result.ec == std::errc() && *part >= 0.0 && *part <= 1.0;
        if (!in_range) return false;
        if (part == &set->blue) return result.ptr == end;
        if (result.ptr == end || *result.ptr != ',') return false;
        text = result.ptr + 1;
    }
    return false;
}

bool read_surface(const char* text, surface_set* set, char* why) {
    if (!take_placements(set)) return wrong(why, "\"%.200s\" has an unknown placement, or a number out of range", text);
    if (set->text[0] == '\0') return wrong(why, "\"%.200s\" names no surface", text);
    if (set->kind != surface_kind::name || !looks_like_color(set->text)) return true;
    set->kind = surface_kind::color;
    if (!read_color(set->text, set)) {
        return wrong(why, "\"%.200s\" is no colour of numbers from 0.0 to 1.0", text);
    }
    if (set->has_placement) return wrong(why, "\"%.200s\": a colour has no placement", text);
    mem_free(set->text);
    set->text = nullptr;
    return true;
}

// ---- writing -------------------------------------------------------------------------------------------------------

// The shortest digits that read back as the same number.
void add_number(char* text, size_t size, const char* before, double value) {
    char digits[64];
    *std::to_chars(digits, digits + sizeof digits - 1, value).ptr = '\0';
    const size_t length = std::strlen(text);
    std::snprintf(text + length, size - length, "%s%s", before, digits);
}

bool is_same_set(const surface_set* set, int pen, const applique* a) {
    if (set->pen != pen || (set->kind == surface_kind::color) != (a->is_color != 0)) return false;
    if (a->is_color != 0) return set->red == a->a0 && set->green == a->a1 && set->blue == a->a2;
    return set->kind == surface_kind::raster && std::strcmp(set->text, a->file) == 0 && set->rotation == a->rotation &&
           set->size == a->size && set->mirror == (a->mirror != 0);
}

// Writes the line without its end. False when it would not be read back as the same: some file names can't be told
// from a placement, or hold a line's end.
bool set_text(int pen, const applique* a, char* text, size_t size) {
    if (a->is_color != 0) {
        std::snprintf(text, size, "%d=", pen);
        add_number(text, size, "", a->a0);
        add_number(text, size, ",", a->a1);
        add_number(text, size, ",", a->a2);
    } else {
        std::snprintf(text, size, "%d=@%s", pen, a->file);
        if (a->rotation != 0.0) add_number(text, size, ":rotation=", a->rotation);
        if (a->mirror != 0) std::snprintf(text + std::strlen(text), size - std::strlen(text), ":mirror");
        if (a->size != 1.0) add_number(text, size, ":size=", a->size);
    }
    if (std::strpbrk(text, "\r\n") != nullptr || text[std::strlen(text) - 1] == ' ') return false;
    surface_set set;
    char why[SET_REASON_SIZE];
    if (!surface_set_parse(text, &set, why)) return false;
    const bool is_same = is_same_set(&set, pen, a);
    surface_set_free(&set);
    return is_same;
}

bool write_sets(const applique* const* carried, int count, file_stream* out) {
    char text[FILES_PATH_SIZE + 256];
    for (int pen = 0; pen < count; ++pen) {
        if (carried[pen] == nullptr) continue;
        if (!set_text(pen, carried[pen], text, sizeof text)) {
            log_message(LOG_WARNING, "Surface %d: a recipe can not hold the file name \"%.400s\".\n", pen,
                        carried[pen]->file != nullptr ? carried[pen]->file : "");
            return false;
        }
        const size_t length = std::strlen(text);
        text[length] = '\n';
        if (stream_write(text, 1, length + 1, out) != length + 1) return false;
    }
    return true;
}

} // namespace

bool surface_set_parse(const char* text, surface_set* set, char why[SET_REASON_SIZE]) {
    *set = {};
    set->size = 1.0;
    const char* equals = std::strchr(text, '=');
    if (equals == nullptr) return wrong(why, "\"%.200s\" is not PEN=SURFACE", text);
    const auto length = static_cast<size_t>(equals - text);
    if (!read_pen(text, length, &set->pen)) {
        return wrong(why, "\"%.*s\" is no pen", static_cast<int>(length < 200 ? length : 200), text);
    }
    const char* surface = equals + 1;
    set->kind = surface[0] == '@' ? surface_kind::raster : surface_kind::name;
    if (surface[0] == '@') ++surface;
    if (std::strlen(surface) >= FILES_PATH_SIZE) return wrong(why, "a surface's name is too long");
    set->text = mem_copy_text(surface);
    if (set->text == nullptr) return wrong(why, "there is no memory for it");
    if (read_surface(text, set, why)) return true;
    surface_set_free(set);
    return false;
}

void surface_set_free(surface_set* set) {
    mem_free(set->text);
    set->text = nullptr;
}

bool surface_set_look_up(surface_set* set, const color_palette* colors, const pattern_palette* patterns,
                         char why[SET_REASON_SIZE]) {
    if (set->kind != surface_kind::name) return true;
    const int index = palette_find(colors, set->text);
    const char* file = nullptr;
    if (index >= 0 && colors->entries != nullptr) {
        if (set->has_placement) return wrong(why, "\"%.200s\" is a colour, which has no placement.", set->text);
        const named_color* c = colors->entries[index];
        set->kind = surface_kind::color;
        set->red = c->red;
        set->green = c->green;
        set->blue = c->blue;
        surface_set_free(set);
        return true;
    }
    if (pattern_lookup(patterns, set->text, &file) == 0) {
        return wrong(why, "The palette has no colour or pattern \"%.200s\".", set->text);
    }
    char* copy = mem_copy_text(file);
    if (copy == nullptr) return wrong(why, "there is no memory for it");
    surface_set_free(set);
    set->text = copy;
    set->kind = surface_kind::raster;
    return true;
}

applique* surface_set_applique(const surface_set* set) {
    applique* a = applique_new();
    if (a == nullptr) return nullptr;
    if (set->kind == surface_kind::color) {
        a->is_color = 1;
        a->a0 = set->red;
        a->a1 = set->green;
        a->a2 = set->blue;
        return a;
    }
    a->file = mem_copy_text(set->text);
    if (a->file == nullptr) log_message(LOG_WARNING, "failed to malloc space for filename \"%s\".\n", set->text);
    if (a->file != nullptr && applique_set_placement(a, set->rotation, set->mirror ? 1 : 0, set->size)) return a;
    applique_free(a);
    return nullptr;
}

int recipe_save(const applique* const* carried, int count, const char* path) {
    return save_file(path, [=](file_stream* out) { return write_sets(carried, count, out); });
}
