#include "catalog/listing.h"

#include <algorithm>
#include <cstring>

#include "platform/files.h"
#include "support/memory.h"

namespace {

constexpr int FIRST_ROOM = 64;

// What a directory is read with.
struct reading {
    listing* list;
    listing_kind kind;
    const file_filter* filter;
    bool no_memory;
};

char lowered(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool make_room(listing* list) {
    if (list->count < list->room) return true;
    const int room = list->room > 0 ? list->room * 2 : FIRST_ROOM;
    auto* rows = static_cast<listing_row*>(mem_realloc(list->rows, static_cast<size_t>(room) * sizeof(listing_row)));
    if (rows == nullptr) return false;
    list->rows = rows;
    list->room = room;
    return true;
}

bool add_row(void* user, const char* name, bool is_directory) {
    auto* r = static_cast<reading*>(user);
    if (is_directory != (r->kind == listing_kind::directories)) return true;
    const size_t size = std::strlen(name) + 1;
    char* block = mem_new_array<char>(2 * size); // the name and, behind it, the same in lower case
    r->no_memory = block == nullptr;
    if (block == nullptr) return false;
    std::memcpy(block, name, size);
    std::transform(name, name + size, block + size, lowered);
    const bool is_taken = is_directory || file_filter_takes(r->filter, block + size);
    r->no_memory = is_taken && !make_room(r->list);
    if (is_taken && !r->no_memory)
        r->list->rows[r->list->count++] = {block, block + size};
    else
        mem_free(block);
    return !r->no_memory;
}

bool comes_before(const listing_row& a, const listing_row& b) {
    const int order = std::strcmp(a.shown, b.shown);
    return order != 0 ? order < 0 : std::strcmp(a.name, b.name) < 0;
}

// Rows that look alike stand side by side.
void tell_apart(listing* list) {
    for (int first = 0; first < list->count;) {
        int end = first + 1;
        while (end < list->count && std::strcmp(list->rows[first].shown, list->rows[end].shown) == 0)
            ++end;
        for (int i = first; end - first > 1 && i < end; ++i)
            list->rows[i].shown = list->rows[i].name;
        first = end;
    }
}

} // namespace

bool listing_read(listing* list, const char* directory, listing_kind kind, const file_filter* filter) {
    listing_free(list);
    reading r = {list, kind, filter, false};
    files_list(directory, add_row, &r);
    if (r.no_memory) {
        listing_free(list);
        return false;
    }
    std::sort(list->rows, list->rows + list->count, comes_before);
    tell_apart(list);
    return true;
}

void listing_free(listing* list) {
    for (int i = 0; i < list->count; ++i)
        mem_free(list->rows[i].name);
    mem_free(list->rows);
    *list = {nullptr, 0, 0};
}

int listing_find(const listing* list, const char* text) {
    for (int i = 0; i < list->count; ++i)
        if (std::strcmp(list->rows[i].shown, text) == 0) return i;
    for (int i = 0; i < list->count; ++i)
        if (std::strcmp(list->rows[i].name, text) == 0) return i;
    return -1;
}
