#include "surface/patterncache.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "platform/files.h"
#include "support/log.h"
#include "support/memory.h"

namespace {

// One pattern. The list has the latest use first.
struct cached {
    raster_image* image; // owned
    char* path;          // owned: where it was found
    int64_t file_size, file_time;
    int users;
    cached* next;
};
cached* newest = nullptr;

size_t bytes_of(const cached* c) {
    return static_cast<size_t>(c->image->width) * static_cast<size_t>(c->image->height) * 3;
}

void cached_free(cached* c) {
    raster_image_free(c->image);
    mem_free(c->path);
    mem_free(c);
}

bool is_file(const cached* c, const char* path, int64_t size, int64_t time) {
    return size >= 0 && c->file_size == size && c->file_time == time && std::strcmp(c->path, path) == 0;
}

cached* first_use(cached* c) {
    c->users = 1;
    c->next = newest;
    newest = c;
    return c;
}

// Takes it out of the list, and puts it back in front.
cached* use_again(const char* path, int64_t size, int64_t time) {
    for (cached** link = &newest; *link != nullptr; link = &(*link)->next) {
        cached* c = *link;
        if (!is_file(c, path, size, time)) continue;
        const int users = c->users;
        *link = c->next;
        first_use(c)->users += users;
        return c;
    }
    return nullptr;
}

cached* load(const char* file, const char* path, int64_t size, int64_t time) {
    auto* c = mem_new<cached>();
    if (c != nullptr) c->path = mem_copy_text(path);
    if (c == nullptr || c->path == nullptr) {
        log_message(LOG_WARNING, "Failed to allocate memory for image structure.\n");
        mem_free(c);
        return nullptr;
    }
    c->image = load_found_image(file, path, LOAD_IMAGE_LIMIT, LOAD_IMAGE_LIMIT);
    if (c->image == nullptr) {
        cached_free(c);
        return nullptr;
    }
    c->file_size = size;
    c->file_time = time;
    return first_use(c);
}

// Releases what nobody uses from where the limit is passed on.
void trim(size_t limit) {
    size_t held = 0;
    for (cached** link = &newest; *link != nullptr;) {
        cached* c = *link;
        held += bytes_of(c);
        if (c->users > 0 || held <= limit) {
            link = &c->next;
        } else {
            *link = c->next;
            cached_free(c);
        }
    }
}

} // namespace

const raster_image* pattern_take(const char* file) {
    char path[FILES_PATH_SIZE];
    find_raster_file(file, path, sizeof path);
    const int64_t size = files_size_of(path);
    const int64_t time = files_changed_at(path);
    const cached* c = use_again(path, size, time);
    if (c == nullptr) c = load(file, path, size, time);
    return c != nullptr ? c->image : nullptr;
}

const raster_image* pattern_look_up(const char* file) {
    char path[FILES_PATH_SIZE];
    find_raster_file(file, path, sizeof path);
    for (const cached* c = newest; c != nullptr; c = c->next)
        if (std::strcmp(c->path, path) == 0) return c->image;
    return nullptr;
}

void pattern_give_back(const raster_image* pattern) {
    for (cached* c = newest; c != nullptr; c = c->next)
        if (c->image == pattern) --c->users;
    // The one that was used last stays even if it is larger than all are to be.
    trim(newest != nullptr ? std::max(PATTERN_CACHE_LIMIT, bytes_of(newest)) : 0);
}

size_t pattern_cache_bytes() {
    size_t held = 0;
    for (const cached* c = newest; c != nullptr; c = c->next)
        held += bytes_of(c);
    return held;
}

void pattern_cache_clear() {
    trim(0);
}
