#include "surface/palettebook.h"

#include <cctype>
#include <cstdio>
#include <cstring>
#include <utility>

#include "support/log.h"
#include "support/memory.h"
#include "surface/palscan.h"

namespace {

bool remember_file(palette_book* book, const char* path) {
    char* copy = path != nullptr ? mem_copy_text(path) : nullptr;
    if (path != nullptr && copy == nullptr) return false;
    mem_free(std::exchange(book->file, copy));
    return true;
}

// A quote would end the file's name in a palette file.
bool can_be_saved(const palette_book* book) {
    for (int i = 0; i < book->patterns.count; ++i) {
        const pattern_entry* p = &book->patterns.entries[i];
        if (std::strchr(p->file, '"') == nullptr) continue;
        log_message(LOG_WARNING, "A palette can not hold the file name \"%.400s\" of pattern \"%.80s\".\n", p->file,
                    p->name);
        return false;
    }
    return true;
}

bool is_taken(const palette_book* book, int but_pattern, const char* name) {
    if (palette_find(&book->colors, name) >= 0) return true;
    for (int i = 0; i < book->patterns.count; ++i)
        if (i != but_pattern && std::strcmp(book->patterns.entries[i].name, name) == 0) return true;
    return false;
}

// Two entries of one name could not be told apart by typing it: the later one gets a number. Without memory it stays.
void make_unique(palette_book* book, int index) {
    pattern_entry* p = &book->patterns.entries[index];
    char name[PALETTE_NAME_SIZE];
    std::snprintf(name, sizeof name, "%s", p->name);
    for (int number = 2; is_taken(book, index, name); ++number)
        std::snprintf(name, sizeof name, "%.66s %d", p->name, number);
    if (std::strcmp(name, p->name) == 0) return;
    char* copy = mem_copy_text(name);
    if (copy != nullptr) mem_free(std::exchange(p->name, copy));
}

} // namespace

int palette_book_load(palette_book* book, const char* path) {
    palette_book fresh = {};
    fresh.file = mem_copy_text(path);
    if (fresh.file == nullptr) log_message(LOG_WARNING, "Load Failure on Palette file.");
    if (fresh.file == nullptr || load_palette_file(&fresh.colors, &fresh.patterns, path) == 0) {
        palette_book_free(&fresh);
        return 0;
    }
    // Saved under its own name, what was read in part would take the rest away.
    if (fresh.colors.in_part) remember_file(&fresh, nullptr);
    palette_book_free(book);
    *book = fresh;
    return 1;
}

int palette_book_save(palette_book* book, const char* path) {
    if (!can_be_saved(book) || palette_save(&book->colors, &book->patterns, path) != 0) return -1;
    remember_file(book, path);
    book->changed = false;
    return 0;
}

int palette_book_add(palette_book* book, const char* name, double red, double green, double blue) {
    if (pattern_lookup(&book->patterns, name, nullptr) != 0) {
        log_message(LOG_WARNING, "There is a pattern of the name \"%.80s\".\n", name);
        return -1;
    }
    int index = -1;
    if (palette_add_at(&book->colors, name, red, green, blue, &index) > 0) book->changed = true;
    return index;
}

int palette_book_set_pattern(palette_book* book, int index, const char* path) {
    const int result = pattern_set(&book->patterns, index, path);
    if (result != 0) return result;
    book->changed = true;
    const int count = book->patterns.count;
    make_unique(book, index < 0 || index >= count ? count - 1 : index);
    return 0;
}

void palette_book_free(palette_book* book) {
    palette_clear(&book->colors);
    pattern_palette_clear(&book->patterns);
    mem_free(book->file);
    *book = {};
}

const char* palette_shown_name(const named_color* color) {
    return palette_name_is_made_up(color->name) != 0 ? "" : color->name;
}

void palette_typed_name(char* text) {
    size_t length = std::strlen(text);
    for (size_t i = 0; i < length; ++i)
        if (text[i] == '{') text[i] = '_';
    while (length > 0 && (text[length - 1] == '_' || std::isspace(static_cast<unsigned char>(text[length - 1])) != 0))
        text[--length] = '\0';
}

int page_next(int first, int count) {
    return first + PAGE_CELLS <= count ? first + PAGE_CELLS : first;
}

int page_previous(int first) {
    return first >= PAGE_CELLS ? first - PAGE_CELLS : 0;
}
