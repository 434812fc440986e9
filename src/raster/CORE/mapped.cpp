// The mapped set: a file seen through a view of 128 KiB that moves over it.
//
// The view is a buffer that is filled from the file, not a mapping of its pages: a file that another process cuts while
// it is being read then gives a short read, where touching a page that is gone would end the process; and a read of
// this size takes less time than the faults of its pages would. The view is brought in when its bytes are asked for, so
// a seek costs nothing, and changes go back to the file when the view moves, at a flush and at the close.
#include <algorithm>
#include <cstring>

#include "platform/files.h"
#include "raster/CORE/cfile.h"
#include "raster/CORE/fileword.h"
#include "support/checked.h"
#include "support/memory.h"

struct mapping_record {
    uint8_t* view;      // owned, VIEW_SIZE bytes
    int64_t file_size;  // bytes
    int64_t position;   // current, at most file_size
    int64_t view_start; // file offset of the view, a multiple of VIEW_SIZE; -1 while nothing is in it
    size_t view_length; // bytes at hand from view_start on: what the file has there, or what was written
    size_t dirty_start; // changed bytes of the view that the file does not have yet
    size_t dirty_end;   // dirty_start == dirty_end: none
    bool writable;
    bool write_failed; // a change was lost; told at the close
    os_file file;
};

namespace {

constexpr size_t VIEW_SIZE = 0x20000;
constexpr char SOURCE[] = "CORE/fakefile";

mapping_record* mapping_of(void* file) {
    return static_cast<mapping_record*>(file);
}

void report_view_failure(int line = __builtin_LINE()) {
    if (debug_level() != 0) rzl_report(RZL_NO_MEMORY, SOURCE, line, "mmap failed");
}

// Gives the changed bytes of the view to the file.
bool write_back(mapping_record* m) {
    size_t bytes = m->dirty_end - m->dirty_start;
    if (bytes == 0) return true;
    int64_t offset = m->view_start + static_cast<int64_t>(m->dirty_start);
    int64_t moved = files_write_at(m->file, offset, m->view + m->dirty_start, bytes);
    m->dirty_start = m->dirty_end = 0;
    if (moved == static_cast<int64_t>(bytes)) return true;
    m->write_failed = true;
    report_view_failure();
    return false;
}

int64_t view_start_of(int64_t position) {
    return position & ~static_cast<int64_t>(VIEW_SIZE - 1);
}

// Fills the view from `start` on. False when the file can't be read there.
bool fill_view(mapping_record* m, int64_t start) {
    auto wanted = static_cast<size_t>(clamped(m->file_size - start, int64_t{0}, static_cast<int64_t>(VIEW_SIZE)));
    int64_t moved = wanted > 0 ? files_read_at(m->file, start, m->view, wanted) : 0;
    if (moved < 0) return false;
    m->view_start = start;
    m->view_length = static_cast<size_t>(moved);
    return true;
}

size_t offset_in_view(const mapping_record* m) {
    return static_cast<size_t>(m->position) & (VIEW_SIZE - 1);
}

// Bytes that the view holds from the position on.
size_t bytes_in_view(const mapping_record* m) {
    size_t at = offset_in_view(m);
    return at < m->view_length ? m->view_length - at : 0;
}

// Makes the view hold the position. False when the file can't be read there.
bool show_position(mapping_record* m) {
    int64_t start = view_start_of(m->position);
    // Of a file that was cut, a view that ends in front of the position is looked at again.
    if (start == m->view_start && (m->writable || bytes_in_view(m) > 0)) return true;
    if (!write_back(m)) return false;
    m->view_start = -1;
    if (fill_view(m, start)) return true;
    report_view_failure();
    return false;
}

void free_mapping(mapping_record* m) {
    mem_free(m->view);
    mem_free(m);
}

// A record for a handle of a file of `size` bytes. Null when there is no memory.
mapping_record* new_mapping(os_file file, int64_t size, bool writable) {
    auto* m = mem_new<mapping_record>();
    if (m == nullptr) return nullptr;
    m->view_start = -1;
    m->file_size = size;
    m->writable = writable;
    m->file = file;
    // A small file that is only read needs no more room than it has.
    size_t room = writable || size > static_cast<int64_t>(VIEW_SIZE) ? VIEW_SIZE : static_cast<size_t>(size);
    m->view = static_cast<uint8_t*>(mem_alloc(room));
    if (m->view != nullptr) return m;
    free_mapping(m);
    return nullptr;
}

void* open_mapped(const char* name, const char* mode) {
    bool writes = mode[0] == 'w' || std::strchr(mode, '+') != nullptr;
    // The view has to be filled even where only writing was asked for.
    os_file file = files_open(name, open_flags_of(mode) | FILES_READ);
    if (file == OS_FILE_NONE) {
        fail(nullptr, RZL_READ_FAILED, SOURCE, "mmap create file");
        return nullptr;
    }
    int64_t size = files_size(file);
    if (size < 0 || (size == 0 && !writes)) {
        fail(nullptr, RZL_NO_MEMORY, SOURCE, "mmap failed");
        (void)files_close(file);
        return nullptr;
    }
    mapping_record* m = new_mapping(file, size, writes);
    if (m == nullptr) {
        fail(nullptr, RZL_NO_MEMORY, SOURCE, "mmap alloc");
        (void)files_close(file);
    }
    return m;
}

int close_mapped(void* file) {
    mapping_record* m = mapping_of(file);
    bool kept = write_back(m) && !m->write_failed;
    bool closed = files_close(m->file);
    free_mapping(m);
    return kept && closed ? 0 : -1;
}

// Whole items of bytes that were moved. Nearly all calls count in bytes, and a division takes as long as a short copy.
size_t items_of(size_t bytes, size_t size) {
    return size == 1 ? bytes : bytes / size;
}

// Reads a large block to where it is wanted, past the view. How many bytes.
size_t read_past_view(mapping_record* m, uint8_t* out, size_t bytes) {
    bool large = !m->writable && bytes >= VIEW_SIZE && view_start_of(m->position) != m->view_start;
    int64_t moved = large ? files_read_at(m->file, m->position, out, bytes) : 0;
    return moved > 0 ? static_cast<size_t>(moved) : 0;
}

size_t read_mapped(void* buffer, size_t size, size_t count, void* file) {
    mapping_record* m = mapping_of(file);
    size_t total = 0;
    if (size == 0 || !checked_mul(size, count, &total)) return 0;
    auto* out = static_cast<uint8_t*>(buffer);
    size_t left = std::min(total, static_cast<size_t>(m->file_size - m->position));
    size_t moved = 0;
    while (left > 0) {
        size_t piece = read_past_view(m, out + moved, left);
        if (piece == 0) {
            if (!show_position(m)) break;
            piece = std::min(left, bytes_in_view(m));
            if (piece == 0) break; // the file was cut behind our back
            std::memcpy(out + moved, m->view + offset_in_view(m), piece);
        }
        moved += piece;
        left -= piece;
        m->position += static_cast<int64_t>(piece);
    }
    return items_of(moved, size);
}

void mark_dirty(mapping_record* m, size_t at, size_t bytes) {
    bool clean = m->dirty_start == m->dirty_end;
    m->dirty_start = clean ? at : std::min(m->dirty_start, at);
    m->dirty_end = clean ? at + bytes : std::max(m->dirty_end, at + bytes);
    m->view_length = std::max(m->view_length, at + bytes);
}

size_t write_mapped(const void* buffer, size_t size, size_t count, void* file) {
    mapping_record* m = mapping_of(file);
    size_t total = 0;
    if (!m->writable || size == 0 || !checked_mul(size, count, &total)) return 0;
    const auto* in = static_cast<const uint8_t*>(buffer);
    size_t moved = 0;
    while (moved < total) {
        if (!show_position(m)) break;
        size_t at = offset_in_view(m);
        if (at > m->view_length) break; // the file was cut behind our back: there is nothing to join on to
        size_t piece = std::min(total - moved, VIEW_SIZE - at);
        std::memcpy(m->view + at, in + moved, piece);
        mark_dirty(m, at, piece);
        moved += piece;
        m->position += static_cast<int64_t>(piece);
        m->file_size = std::max(m->file_size, m->position);
    }
    return items_of(moved, size);
}

int getc_mapped(void* file) {
    mapping_record* m = mapping_of(file);
    if (m->position >= m->file_size || !show_position(m) || bytes_in_view(m) == 0) return -1;
    int byte = m->view[offset_in_view(m)];
    ++m->position;
    return byte;
}

int putc_mapped(int byte, void* file) {
    auto value = static_cast<uint8_t>(byte);
    return write_mapped(&value, 1, 1, file) == 1 ? value : -1;
}

int seek_mapped(void* file, int64_t offset, int whence) {
    mapping_record* m = mapping_of(file);
    int64_t from = whence == FILES_FROM_HERE ? m->position : (whence == FILES_FROM_END ? m->file_size : 0);
    int64_t target = 0;
    if (!checked_add(from, offset, &target)) return -1;
    m->position = clamped(target, int64_t{0}, m->file_size);
    return 0;
}

void rewind_mapped(void* file) {
    mapping_of(file)->position = 0;
}

int64_t tell_mapped(void* file) {
    return mapping_of(file)->position;
}

int flush_mapped(void* file) {
    return write_back(mapping_of(file)) ? 0 : -1;
}

constexpr file_slots MAPPED_SLOTS = {
    .file_open = open_mapped,
    .file_close = close_mapped,
    .file_read = read_mapped,
    .file_write = write_mapped,
    .file_getc = getc_mapped,
    .file_putc = putc_mapped,
    .file_seek = seek_mapped,
    .file_rewind = rewind_mapped,
    .file_tell = tell_mapped,
    .file_flush = flush_mapped,
};

int start_mapping(CFILE* c) {
    // Streams keep bytes of their own that a view would not see.
    os_file file = uses_handle_slots(c) ? handle_of_word(c->file) : OS_FILE_NONE;
    int64_t size = file != OS_FILE_NONE ? files_size(file) : -1;
    if (size <= 0) return refuse(c, RZL_NO_MEMORY, SOURCE, "mmap failed");
    io_settle(c); // what was fetched ahead comes out of the view now
    int64_t position = files_seek(file, 0, FILES_FROM_HERE);
    mapping_record* m = new_mapping(file, size, is_writable(c));
    if (m == nullptr) return refuse(c, RZL_NO_MEMORY, SOURCE, "mmap alloc");
    m->position = clamped(position, int64_t{0}, size);
    c->mapping = m;
    c->file = m;
    rzl_set_mapped_slots(c);
    return 0;
}

// The window of a file in memory.
void memory_window(const rzl_memfile* m, const uint8_t** next, const uint8_t** end) {
    if (m->data == nullptr || m->position < 0 || m->position >= m->length) return;
    *next = m->data + m->position;
    *end = m->data + m->length;
}

} // namespace

void rzl_set_mapped_slots(CFILE* c) {
    c->io = MAPPED_SLOTS;
}

int rzl_set_mapped(CFILE* c, bool on) {
    if (has_flag(c, FLAG_MEMORY)) return refuse(c, RZL_UNSUPPORTED, SOURCE, "mmap INMEM");
    if (on == (c->mapping != nullptr)) return 0;
    if (on) return start_mapping(c);
    rzl_drop_mapping(c);
    return c->status == 0 ? 0 : 1;
}

void rzl_drop_mapping(CFILE* c) {
    mapping_record* m = c->mapping;
    if (m == nullptr) return;
    io_settle(c); // what was fetched ahead lies in the view
    bool kept = write_back(m) && !m->write_failed;
    c->file = word_of_handle(m->file);
    c->mapping = nullptr;
    rzl_set_handle_slots(c);
    (void)files_seek(m->file, m->position, FILES_FROM_START);
    free_mapping(m);
    if (!kept) fail(c, RZL_WRITE_FAILED, SOURCE, "mmap failed");
}

void io_window(CFILE* c, const uint8_t** next, const uint8_t** end) {
    *next = nullptr;
    *end = nullptr;
    mapping_record* m = c->mapping;
    if (m != nullptr) {
        if (m->position >= m->file_size || !show_position(m)) return;
        *next = m->view + offset_in_view(m);
        *end = *next + bytes_in_view(m);
    } else if (has_flag(c, FLAG_MEMORY)) {
        memory_window(static_cast<const rzl_memfile*>(c->file), next, end);
    }
}

void io_consume(CFILE* c, size_t bytes) {
    if (c->mapping != nullptr) {
        c->mapping->position += static_cast<int64_t>(bytes);
    } else if (has_flag(c, FLAG_MEMORY)) {
        static_cast<rzl_memfile*>(c->file)->position += static_cast<int32_t>(bytes);
    }
}
