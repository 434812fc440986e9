// The table of patterns: named raster files.
#include <cstdio>
#include <cstring>

#include "platform/files.h"
#include "support/log.h"
#include "support/memory.h"
#include "surface/file_types.h"
#include "surface/palette.h"
#include "surface/palscan.h"

namespace {

void entry_clear(pattern_entry* entry) {
    mem_free(entry->file);
    mem_free(entry->name);
    *entry = {nullptr, nullptr};
}

size_t count_patterns(const char* text) {
    size_t count = 0;
    palette_item item;
    while (palette_next(&text, &item)) {
        if (item.body == palette_body::pattern) ++count;
    }
    return count;
}

// Stores one pattern; false after a message when there is no memory.
bool entry_set(pattern_entry* entry, const char* file, const char* name) {
    entry->file = mem_copy_text(file);
    if (entry->file == nullptr) {
        log_message(LOG_WARNING, "Failed to allocate memory for pattern file name.\n");
        return false;
    }
    entry->name = mem_copy_text(name);
    if (entry->name == nullptr) {
        log_message(LOG_WARNING, "Failed to allocate memory for patterm name.\n");
        entry_clear(entry);
        return false;
    }
    return true;
}

// Stops with what it has when there is no memory, after a message.
void fill_patterns(pattern_palette* patterns, const char* text) {
    palette_item item;
    while (palette_next(&text, &item)) {
        if (item.body != palette_body::pattern) continue;
        if (!entry_set(&patterns->entries[patterns->count], item.file, item.name)) return;
        ++patterns->count;
    }
}

// The name of a pattern: the file's name up to its first ".", with a capital. A palette file has no room for longer
// ones, and "{" would end the name there. Never empty.
void name_of(const char* path, char name[PALETTE_NAME_SIZE]) {
    const char* last = files_last_name(path);
    last += std::strspn(last, ". ");
    size_t length = std::strcspn(last, ".");
    if (length >= PALETTE_NAME_SIZE) length = PALETTE_NAME_SIZE - 1;
    std::snprintf(name, PALETTE_NAME_SIZE, "%.*s", static_cast<int>(length), last);
    if (length == 0) std::snprintf(name, PALETTE_NAME_SIZE, "Pattern");
    for (char* p = name; *p != '\0'; ++p)
        if (*p == '{' || *p == '\n' || *p == '\r') *p = '_';
    if (name[0] >= 'a' && name[0] <= 'z') name[0] = static_cast<char>(name[0] - 'a' + 'A');
}

bool add_entry(pattern_palette* patterns) {
    size_t bytes = (static_cast<size_t>(patterns->count) + 1) * sizeof(pattern_entry);
    auto* entries = static_cast<pattern_entry*>(mem_realloc(patterns->entries, bytes));
    if (entries == nullptr) {
        log_message(LOG_WARNING, "Failed to allocate %d bytes for pattern pallete.\n", static_cast<int>(bytes));
        return false;
    }
    patterns->entries = entries;
    patterns->entries[patterns->count++] = {nullptr, nullptr};
    return true;
}

} // namespace

int pattern_palette_load(pattern_palette* patterns, const char* path) {
    pattern_palette_clear(patterns);
    size_t size = 0;
    mem_guard<char> text(palette_text(path, &size));
    if (!text) return 0;
    size_t count = count_patterns(text.get());
    if (count == 0) return 1;
    patterns->entries = mem_new_array<pattern_entry>(count);
    if (patterns->entries == nullptr) {
        log_message(LOG_WARNING, "Failed to allocate memory for patterm list.\n");
        return 0;
    }
    fill_patterns(patterns, text.get());
    return 1;
}

int pattern_set(pattern_palette* patterns, int index, const char* path) {
    char full[FILES_PATH_SIZE];
    char name[PALETTE_NAME_SIZE];
    uint32_t classes = 0;
    name_of(path, name);
    const bool named = files_full_path(path, full, sizeof full);
    if (!named || file_type(full, &classes) != 0 || (classes & TYPE_RASTER) == 0) {
        log_message(LOG_WARNING, "File \"%s\" is not a raster file.\n", path);
        return 1;
    }
    pattern_entry fresh = {nullptr, nullptr};
    if (!entry_set(&fresh, full, name)) return 1;
    bool at_end = index < 0 || index >= patterns->count;
    if (at_end && !add_entry(patterns)) {
        entry_clear(&fresh);
        return -1;
    }
    pattern_entry* entry = &patterns->entries[at_end ? patterns->count - 1 : index];
    entry_clear(entry);
    *entry = fresh;
    return 0;
}

int pattern_lookup(const pattern_palette* patterns, const char* name, const char** file) {
    for (int i = 0; i < patterns->count; ++i) {
        if (std::strcmp(patterns->entries[i].name, name) != 0) continue;
        if (file != nullptr) *file = patterns->entries[i].file;
        return 1;
    }
    return 0;
}

void pattern_palette_clear(pattern_palette* patterns) {
    for (int i = 0; i < patterns->count; ++i)
        entry_clear(&patterns->entries[i]);
    mem_free(patterns->entries);
    *patterns = {nullptr, 0};
}
