// The table of extensions and their classes: built in, or read from filetype.dat of the product root.
#include "surface/file_types.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "platform/files.h"
#include "raster/rzl.h"
#include "support/memory.h"
#include "surface/paths.h"

namespace {

constexpr size_t EXTENSION_SIZE = 4; // three characters and the terminator
constexpr size_t TABLE_LIMIT = 1 << 20;

struct extension_class {
    char extension[EXTENSION_SIZE];
    int32_t number;
};

constexpr extension_class BUILT_IN[] = {
    {"seq", 1},  {"vfa", 2},  {"dgn", 4},  {"dtm", 4},  {"001", 4},  {"dwg", 4},  {"bmp", 5}, {"bum", 5},  {"cot", 5},
    {"crl", 5},  {"ctc", 5},  {"gif", 5},  {"rgb", 5},  {"ray", 5},  {"qt", 5},   {"tga", 5}, {"tif", 5},  {"pcx", 5},
    {"pat", 5},  {"jpg", 5},  {"tnp", 6},  {"tnc", 7},  {"rgp", 7},  {"pal", 8},  {"mat", 9}, {"vlt", 10}, {"pvi", 11},
    {"dri", 12}, {"dxf", 14}, {"prj", 16}, {"scr", 17}, {"raw", 18}, {"xlt", 19}, {"tf", 20}, {"flt", 21},
};

// The table that was read, and the file's time then. No table: the built-in one applies.
struct type_table {
    extension_class* rows; // owned, sorted
    size_t count;
    int64_t changed_at;
};
type_table table = {nullptr, 0, -1};

bool comes_before(const extension_class& a, const extension_class& b) {
    return std::strcmp(a.extension, b.extension) < 0;
}

bool is_space(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

char lowered(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// Pairs of up to three characters and a number, until something else stands there.
size_t scan_pairs(const char* text, extension_class* rows, size_t room) {
    size_t count = 0;
    while (count < room) {
        extension_class row = {};
        while (is_space(*text))
            ++text;
        for (size_t i = 0; i + 1 < EXTENSION_SIZE && *text != '\0' && !is_space(*text); ++i)
            row.extension[i] = lowered(*text++);
        char* end = nullptr;
        long number = std::strtol(text, &end, 10);
        if (row.extension[0] == '\0' || end == text) break;
        row.number = number > 0 && number < 32 ? static_cast<int32_t>(number) : 0; // a class is a bit of the type
        rows[count++] = row;
        text = end;
    }
    return count;
}

void load_table(const char* path) {
    size_t size = 0;
    mem_guard<char> text(files_load(path, TABLE_LIMIT, &size));
    if (!text) return;
    size_t room = size / 3 + 1; // a pair takes three characters at the least
    mem_guard<extension_class> rows(mem_new_array<extension_class>(room));
    if (!rows) return;
    size_t count = scan_pairs(text.get(), rows.get(), room);
    std::sort(rows.get(), rows.get() + count, comes_before);
    mem_free(table.rows);
    table.rows = rows.keep();
    table.count = count;
}

void refresh_table() {
    const char* root = std::getenv(VARIABLE_ROOT);
    char path[FILES_PATH_SIZE];
    int written = std::snprintf(path, sizeof path, "%s\\filetype.dat", root != nullptr ? root : "");
    bool named = root != nullptr && written > 0 && static_cast<size_t>(written) < sizeof path;
    int64_t changed_at = named ? files_changed_at(path) : -1;
    if (changed_at == table.changed_at) return;
    table.changed_at = changed_at;
    if (changed_at < 0) {
        mem_free(table.rows);
        table.rows = nullptr;
        table.count = 0;
        return;
    }
    load_table(path);
}

bool is_readable_raster(const char* extension) {
    int can_read = 0;
    return rzl_standard_support(rzl_standard_of_extension(extension), nullptr, &can_read) == 0 && can_read != 0;
}

// Without a table of the product's own, what the raster library reads is a raster as well.
int32_t class_of_extension(const char* extension) {
    bool own = table.rows != nullptr;
    const extension_class* first = own ? table.rows : BUILT_IN;
    const extension_class* last = own ? table.rows + table.count : std::end(BUILT_IN);
    for (const extension_class* row = first; row != last; ++row) {
        if (std::strcmp(row->extension, extension) == 0) return row->number;
    }
    return own || !is_readable_raster(extension) ? 0 : CLASS_RASTER;
}

// The extension, lowered; empty when there is none or it has more than three characters.
void extension_of(const char* path, char extension[EXTENSION_SIZE]) {
    extension[0] = '\0';
    const char* dot = std::strrchr(path, '.');
    if (dot == nullptr || std::strlen(dot + 1) >= EXTENSION_SIZE) return;
    size_t i = 0;
    for (const char* p = dot + 1; *p != '\0'; ++p) {
        extension[i++] = lowered(*p);
    }
    extension[i] = '\0';
}

bool is_bare_drive(const char* path) {
    bool letter = (path[0] >= 'a' && path[0] <= 'z') || (path[0] >= 'A' && path[0] <= 'Z');
    return letter && path[1] == ':' && path[2] == '\0';
}

} // namespace

int file_type(const char* path, uint32_t* classes) {
    uint32_t unused = 0;
    if (classes == nullptr) classes = &unused;
    *classes = 0;
    if (is_bare_drive(path)) {
        *classes = TYPE_DRIVE;
        return 0;
    }
    // Names are resolved at the moment of access, so the path needs neither cleaning nor a directory in front.
    if (!files_exists(path)) return -1;
    if (files_is_directory(path)) {
        *classes = TYPE_DIRECTORY;
        return 0;
    }
    refresh_table();
    char extension[EXTENSION_SIZE];
    extension_of(path, extension);
    int32_t number = class_of_extension(extension);
    *classes = number > 0 && number < 32 ? 1u << number : TYPE_UNKNOWN;
    return 0;
}

void file_types_free() {
    mem_free(table.rows);
    table = {nullptr, 0, -1};
}
