// The handle set: plain handles of the operating system, for existing files that are updated, and for reading where a
// view can't be had.
#include "raster/CORE/fileword.h"

#include <cstring>

#include "platform/files.h"
#include "raster/CORE/cfile.h"
#include "support/checked.h"

unsigned open_flags_of(const char* mode) {
    bool both = std::strchr(mode, '+') != nullptr;
    if (mode[0] == 'w') return (both ? FILES_READ : 0u) | FILES_WRITE | FILES_CREATE | FILES_TRUNCATE;
    return both ? FILES_READ | FILES_WRITE | FILES_CREATE : unsigned{FILES_READ};
}

namespace {

void* open_handle(const char* name, const char* mode) {
    os_file handle = files_open(name, open_flags_of(mode));
    return handle != OS_FILE_NONE ? word_of_handle(handle) : nullptr;
}

int close_handle(void* file) {
    return files_close(handle_of_word(file)) ? 0 : -1;
}

size_t read_handle(void* buffer, size_t size, size_t count, void* file) {
    size_t total = 0;
    if (size == 0 || !checked_mul(size, count, &total)) return 0;
    int64_t moved = files_read(handle_of_word(file), buffer, total);
    return moved > 0 ? static_cast<size_t>(moved) / size : 0;
}

size_t write_handle(const void* buffer, size_t size, size_t count, void* file) {
    size_t total = 0;
    if (size == 0 || !checked_mul(size, count, &total)) return 0;
    int64_t moved = files_write(handle_of_word(file), buffer, total);
    return moved > 0 ? static_cast<size_t>(moved) / size : 0;
}

int getc_handle(void* file) {
    uint8_t byte = 0;
    return files_read(handle_of_word(file), &byte, 1) == 1 ? byte : -1;
}

int putc_handle(int byte, void* file) {
    auto value = static_cast<uint8_t>(byte);
    return files_write(handle_of_word(file), &value, 1) == 1 ? value : -1;
}

int seek_handle(void* file, int64_t offset, int whence) {
    return files_seek(handle_of_word(file), offset, whence) < 0 ? 1 : 0;
}

void rewind_handle(void* file) {
    (void)files_seek(handle_of_word(file), 0, FILES_FROM_START);
}

int64_t tell_handle(void* file) {
    return files_seek(handle_of_word(file), 0, FILES_FROM_HERE);
}

int flush_handle(void* file) {
    return files_flush(handle_of_word(file)) ? 0 : -1;
}

constexpr file_slots HANDLE_SLOTS = {
    .file_open = open_handle,
    .file_close = close_handle,
    .file_read = read_handle,
    .file_write = write_handle,
    .file_getc = getc_handle,
    .file_putc = putc_handle,
    .file_seek = seek_handle,
    .file_rewind = rewind_handle,
    .file_tell = tell_handle,
    .file_flush = flush_handle,
};

} // namespace

bool uses_handle_slots(const CFILE* c) {
    return c->io.file_read == read_handle;
}

void rzl_set_handle_slots(CFILE* c) {
    c->io = HANDLE_SLOTS;
}
