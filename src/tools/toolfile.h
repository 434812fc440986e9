// The file layer of the tools: reading by names that may be too long for the disk they stand on, and files that are
// embedded in the program.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/files.h"

// The product directory, ending with a slash; empty when there is none. Set when the tools start.
extern char root_dir[FILES_PATH_SIZE];

// An open file or resource. Values of TOOLS_RESOURCES and below are resources.
using tools_stream = uintptr_t;
constexpr tools_stream TOOLS_NO_STREAM = 0;
constexpr int TOOLS_RESOURCES = 25; // that can be open at a time

// A file embedded in the program.
struct tools_resource {
    const char* name; // in capitals, at most 14 characters
    const uint8_t* data;
    size_t size; // bytes
};

// The program's resources; the list stays the caller's and must live on.
void tools_set_resources(const tools_resource* list, size_t count);

// Whether there is a resource of the name behind the last slash or backslash of `path`.
bool tools_has_resource(const char* path);

// Opens, in this order: the resource of that name; the file of that directory with the short name; the file of
// `root_dir` with the short name; the path as it was given. `mode` as for stream_open(). TOOLS_NO_STREAM when all fail.
tools_stream tools_fopen(const char* path, const char* mode);

// From a resource the number of bytes read, never past its end; from a file the number of whole items of `size` bytes.
size_t tools_fread(void* buffer, size_t size, size_t count, tools_stream stream);

// 0, or -1. A resource moves only from its start, and not past its end.
int tools_fseek(tools_stream stream, int64_t offset, int whence);

// 0, or -1 when the file's close tells of a failure.
int tools_fclose(tools_stream stream);

// The file name (without directories) in the form of eight characters and three. The result lies in a static buffer
// until the next call; a name of 256 bytes or more, which no disk holds, is cut to 255 first.
const char* short_file_name(const char* name);
