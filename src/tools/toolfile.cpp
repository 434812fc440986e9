// Opening, reading and closing of files and resources.
#include "tools/toolfile.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>

#include "support/checked.h"

char root_dir[FILES_PATH_SIZE] = "";

namespace {

constexpr size_t RESOURCE_NAME = 14; // characters of a path's last name that count

struct open_resource {
    const uint8_t* start; // null: the handle is free
    const uint8_t* next;
    const uint8_t* end;
};

const tools_resource* resources = nullptr;
size_t resource_count = 0;
open_resource open_resources[TOOLS_RESOURCES] = {}; // of handles 1 and up

const tools_resource* find_resource(const char* path) {
    char name[RESOURCE_NAME + 1] = "";
    const char* given = files_last_name(path);
    for (size_t i = 0; i < RESOURCE_NAME && given[i] != '\0'; ++i)
        name[i] = static_cast<char>(std::toupper(static_cast<unsigned char>(given[i])));
    for (size_t i = 0; i < resource_count; ++i)
        if (std::strcmp(resources[i].name, name) == 0) return &resources[i];
    return nullptr;
}

// The handle of an opened resource, TOOLS_NO_STREAM when all are taken.
tools_stream enter_resource(const tools_resource* resource) {
    for (size_t i = 0; i < TOOLS_RESOURCES; ++i) {
        if (open_resources[i].start != nullptr) continue;
        open_resources[i] = {resource->data, resource->data, resource->data + resource->size};
        return i + 1;
    }
    return TOOLS_NO_STREAM;
}

// The record of a handle that stands for an open resource, else null.
open_resource* resource_of(tools_stream stream) {
    if (stream < 1 || stream > TOOLS_RESOURCES || open_resources[stream - 1].start == nullptr) return nullptr;
    return &open_resources[stream - 1];
}

bool is_file(tools_stream stream) {
    return stream > TOOLS_RESOURCES;
}

file_stream* file_of(tools_stream stream) {
    return reinterpret_cast<file_stream*>(stream);
}

file_stream* open_joined(const char* directory, int length, const char* name, const char* mode) {
    char path[FILES_PATH_SIZE];
    int size = std::snprintf(path, sizeof path, "%.*s%s", length, directory, name);
    if (size < 0 || static_cast<size_t>(size) >= sizeof path) return nullptr;
    return stream_open(path, mode);
}

} // namespace

void tools_set_resources(const tools_resource* list, size_t count) {
    resources = list;
    resource_count = count;
}

bool tools_has_resource(const char* path) {
    return find_resource(path) != nullptr;
}

tools_stream tools_fopen(const char* path, const char* mode) {
    const tools_resource* resource = find_resource(path);
    if (resource != nullptr) {
        tools_stream stream = enter_resource(resource);
        if (stream != TOOLS_NO_STREAM) return stream;
    }
    const char* name = files_last_name(path);
    const char* short_name = short_file_name(name);
    if (name - path >= static_cast<ptrdiff_t>(FILES_PATH_SIZE)) return TOOLS_NO_STREAM;
    file_stream* file = open_joined(path, static_cast<int>(name - path), short_name, mode);
    if (file == nullptr && root_dir[0] != '\0')
        file = open_joined(root_dir, static_cast<int>(sizeof root_dir), short_name, mode);
    if (file == nullptr) file = stream_open(path, mode);
    return reinterpret_cast<tools_stream>(file);
}

size_t tools_fread(void* buffer, size_t size, size_t count, tools_stream stream) {
    if (is_file(stream)) return stream_read(buffer, size, count, file_of(stream));
    open_resource* resource = resource_of(stream);
    size_t bytes = 0;
    if (resource == nullptr || !checked_mul(size, count, &bytes)) return 0;
    bytes = std::min(bytes, static_cast<size_t>(resource->end - resource->next));
    std::copy_n(resource->next, bytes, static_cast<uint8_t*>(buffer));
    resource->next += bytes;
    return bytes;
}

int tools_fseek(tools_stream stream, int64_t offset, int whence) {
    if (is_file(stream)) return stream_seek(file_of(stream), offset, whence);
    open_resource* resource = resource_of(stream);
    if (resource == nullptr || whence != FILES_FROM_START) return -1;
    if (offset < 0 || offset > resource->end - resource->start) return -1;
    resource->next = resource->start + offset;
    return 0;
}

int tools_fclose(tools_stream stream) {
    if (is_file(stream)) return stream_close(file_of(stream));
    open_resource* resource = resource_of(stream);
    if (resource == nullptr) return -1;
    *resource = {};
    return 0;
}
