// Search paths and form files.
#include "forms/paths.h"

#include <cstdio>
#include <cstring>

#include "forms/array.h"
#include "forms/envdata.h"
#include "forms/fonts.h"
#include "forms/forms.h"
#include "support/memory.h"

namespace {

constexpr int GROWTH = 10; // entries

// The next entry of a list and its length; null at the end.
const char* next_entry(const char* at, size_t* length) {
    at += std::strspn(at, " ;");
    *length = std::strcspn(at, ";");
    return *length > 0 ? at : nullptr;
}

int add_entry(fi_path_list* list, const char* entry, size_t length) {
    if (length >= FI_PATH_ENTRY) return FI_INVALID_ARGUMENT;
    if (list->count % GROWTH == 0 && !fi_resize(&list->entries, list->count + GROWTH)) return FI_NO_MEMORY;
    std::memcpy(list->entries[list->count], entry, length);
    list->entries[list->count++][length] = '\0';
    return FI_SUCCESS;
}

} // namespace

void fi_free_path_list(fi_path_list* list) {
    mem_free(list->entries);
    *list = {nullptr, 0};
}

int fi_set_path_list(fi_path_list* list, const char* text) {
    fi_path_list fresh = {nullptr, 0};
    size_t length = 0;
    int status = FI_SUCCESS;
    const char* at = text != nullptr ? text : "";
    while (status == FI_SUCCESS && (at = next_entry(at, &length)) != nullptr) {
        status = add_entry(&fresh, at, length);
        at += length;
    }
    if (status != FI_SUCCESS) {
        fi_free_path_list(&fresh);
        return status;
    }
    fi_free_path_list(list);
    *list = fresh;
    return FI_SUCCESS;
}

bool fi_join_path(char* path, const char* directory, const char* name) {
    const int length = directory != nullptr ? std::snprintf(path, FILES_PATH_SIZE, "%s\\%s", directory, name)
                                            : std::snprintf(path, FILES_PATH_SIZE, "%s", name);
    return length >= 0 && static_cast<size_t>(length) < FILES_PATH_SIZE;
}

bool fi_is_path(const char* name) {
    return std::strpbrk(name, "\\/") != nullptr;
}

int fi_find_form_file(char* path, const char* name) {
    const auto found = [=](const char* directory) {
        return fi_join_path(path, directory, name) && files_exists(path) && !files_is_directory(path);
    };
    if (fi_is_path(name)) return found(nullptr) ? 0 : 1;
    for (int i = 0; i < fi_state.form_path.count; ++i)
        if (found(fi_state.form_path.entries[i])) return 0;
    return found(".") || found("..\\forms") ? 0 : 1;
}

int FI_set_form_path(const char* list) {
    return fi_set_path_list(&fi_state.form_path, list);
}

int FI_set_symbol_path(const char* list) {
    return fi_set_path_list(&fi_state.symbol_path, list);
}

int FI_set_font_path(const char* list) {
    const int status = fi_set_path_list(&fi_state.font_path, list);
    if (status == FI_SUCCESS) fi_forget_found_fonts();
    return status;
}
