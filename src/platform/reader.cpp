// The buffered reader.
#include <cstring>

#include "platform/files.h"
#include "support/memory.h"

namespace {

constexpr size_t READER_BUFFER_SIZE = 1 << 16;

} // namespace

file_reader* reader_open(const char* path) {
    auto* reader = mem_new<file_reader>();
    if (reader == nullptr) return nullptr;
    reader->buffer = mem_new_array<uint8_t>(READER_BUFFER_SIZE);
    reader->handle = reader->buffer != nullptr ? files_open(path, FILES_READ) : OS_FILE_NONE;
    if (reader->handle == OS_FILE_NONE) {
        mem_free(reader->buffer);
        mem_free(reader);
        return nullptr;
    }
    reader->next = reader->end = reader->buffer;
    reader->size = files_size(reader->handle);
    return reader;
}

void reader_close(file_reader* reader) {
    if (reader == nullptr) return;
    files_close(reader->handle);
    mem_free(reader->buffer);
    mem_free(reader);
}

bool reader_fill(file_reader* reader) {
    reader->next = reader->end;
    return reader_fill_at(reader, reader->buffer, READER_BUFFER_SIZE) > 0;
}

size_t reader_fill_at(file_reader* reader, uint8_t* to, size_t room) {
    auto held = static_cast<size_t>(reader->end - reader->next);
    std::memmove(to, reader->next, held);
    int64_t count = files_read(reader->handle, to + held, room - held);
    if (count < 0) reader->failed = true;
    if (count > 0) reader->taken += count;
    reader->next = to;
    reader->end = to + held + (count > 0 ? count : 0);
    return static_cast<size_t>(reader->end - reader->next);
}

size_t reader_read(file_reader* reader, void* out, size_t bytes) {
    auto* to = static_cast<uint8_t*>(out);
    size_t done = 0;
    while (done < bytes) {
        auto held = static_cast<size_t>(reader->end - reader->next);
        if (held == 0) {
            if (!reader_fill(reader)) break;
            continue;
        }
        size_t part = held < bytes - done ? held : bytes - done;
        std::memcpy(to + done, reader->next, part);
        reader->next += part;
        done += part;
    }
    return done;
}

int64_t reader_left(const file_reader* reader) {
    if (reader->size < 0) return INT64_MAX;
    int64_t handed_out = reader->taken - (reader->end - reader->next);
    return reader->size > handed_out ? reader->size - handed_out : 0;
}
