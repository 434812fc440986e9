// The memory set: a block of memory that poses as a file, and the names by which such files are opened.
//
// The record belongs to the application, which may have changed any of its fields since the last call: every operation
// looks at the length and the position anew. The block never grows.
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/files.h"
#include "raster/CORE/cfile.h"
#include "support/checked.h"

namespace {

constexpr char MEMORY_PREFIX[] = "/INMEM/";
constexpr size_t MEMORY_PREFIX_LENGTH = sizeof MEMORY_PREFIX - 1;
constexpr uint32_t MEMFILE_OWNED = 1;

rzl_memfile* memfile_of(void* file) {
    return static_cast<rzl_memfile*>(file);
}

// Length and position as they can be used.
int32_t usable_length(const rzl_memfile* m) {
    return m->data != nullptr && m->length > 0 ? m->length : 0;
}
int32_t usable_position(const rzl_memfile* m) {
    return clamped(m->position, int32_t{0}, usable_length(m));
}

// Bytes of size x count that lie inside the block. A product that no size holds is more than the block has.
size_t bytes_inside(const rzl_memfile* m, size_t size, size_t count) {
    auto left = static_cast<size_t>(usable_length(m) - usable_position(m));
    size_t total = 0;
    return checked_mul(size, count, &total) && total < left ? total : left;
}

void* open_memory(const char* name, const char*) {
    bool is_memory = false;
    rzl_memfile* m = memfile_of_name(name, &is_memory);
    if (m != nullptr) m->position = 0;
    return m;
}

int close_memory(void* file) {
    if ((memfile_of(file)->owned & MEMFILE_OWNED) != 0) std::free(file);
    return 0;
}

size_t read_memory(void* buffer, size_t size, size_t count, void* file) {
    rzl_memfile* m = memfile_of(file);
    if (size == 0) return 0;
    size_t total = bytes_inside(m, size, count);
    int32_t position = usable_position(m);
    if (total > 0) std::memcpy(buffer, m->data + position, total);
    m->position = position + static_cast<int32_t>(total);
    return total / size;
}

size_t write_memory(const void* buffer, size_t size, size_t count, void* file) {
    rzl_memfile* m = memfile_of(file);
    if (size == 0) return 0;
    size_t total = bytes_inside(m, size, count);
    int32_t position = usable_position(m);
    if (total > 0) std::memcpy(m->data + position, buffer, total);
    m->position = position + static_cast<int32_t>(total);
    if (m->position > m->used) m->used = m->position;
    return total / size;
}

int getc_memory(void* file) {
    uint8_t byte = 0;
    return read_memory(&byte, 1, 1, file) == 1 ? byte : -1;
}

int putc_memory(int byte, void* file) {
    auto value = static_cast<uint8_t>(byte);
    return write_memory(&value, 1, 1, file) == 1 ? value : -1;
}

// From the end an offset counts backwards, with a positive sign: this set's own rule.
int seek_memory(void* file, int64_t offset, int whence) {
    rzl_memfile* m = memfile_of(file);
    int64_t length = usable_length(m);
    int64_t target = 0;
    bool fits = true;
    if (whence == FILES_FROM_END) {
        fits = !__builtin_sub_overflow(length, offset, &target);
    } else {
        fits = checked_add(whence == FILES_FROM_HERE ? int64_t{m->position} : int64_t{0}, offset, &target);
    }
    if (!fits) target = offset < 0 ? 0 : length;
    m->position = static_cast<int32_t>(clamped(target, int64_t{0}, length));
    return 0;
}

void rewind_memory(void* file) {
    memfile_of(file)->position = 0;
}

int64_t tell_memory(void* file) {
    return memfile_of(file)->position;
}

int flush_memory(void*) {
    return 0;
}

constexpr file_slots MEMORY_SLOTS = {
    .file_open = open_memory,
    .file_close = close_memory,
    .file_read = read_memory,
    .file_write = write_memory,
    .file_getc = getc_memory,
    .file_putc = putc_memory,
    .file_seek = seek_memory,
    .file_rewind = rewind_memory,
    .file_tell = tell_memory,
    .file_flush = flush_memory,
};

} // namespace

void rzl_set_memory_slots(CFILE* c) {
    c->io = MEMORY_SLOTS;
}

// The number is the address of a record in this process. Anything but a whole decimal number counts as a zero record:
// an address taken from half a number would point anywhere.
rzl_memfile* memfile_of_name(const char* name, bool* is_memory) {
    *is_memory = name != nullptr && std::strncmp(name, MEMORY_PREFIX, MEMORY_PREFIX_LENGTH) == 0;
    if (!*is_memory) return nullptr;
    const char* digits = name + MEMORY_PREFIX_LENGTH;
    if (*digits < '0' || *digits > '9') return nullptr;
    char* end = nullptr;
    errno = 0;
    unsigned long long address = std::strtoull(digits, &end, 10);
    if (errno != 0 || *end != '\0' || address > UINTPTR_MAX) return nullptr;
    return reinterpret_cast<rzl_memfile*>(static_cast<uintptr_t>(address));
}

int rzl_memfile_name(const rzl_memfile* record, char* name, size_t size) {
    if (name == nullptr || size == 0) return 1;
    int length = std::snprintf(name, size, "%s%" PRIuPTR, MEMORY_PREFIX, reinterpret_cast<uintptr_t>(record));
    return length > 0 && static_cast<size_t>(length) < size ? 0 : 1;
}
