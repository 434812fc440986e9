// The bytes of a file, whatever its set: single bytes out of what was fetched ahead, and reads, writes and positions
// that take it into account.
//
// A view and a block of memory are looked into where they lie. Files of the other sets are read AHEAD_BYTES at a time,
// so that taking a file byte by byte does not cost a call of the system each.
#include <algorithm>
#include <cstring>

#include "platform/files.h"
#include "raster/CORE/cfile.h"
#include "support/checked.h"
#include "support/memory.h"

namespace {

constexpr size_t AHEAD_BYTES = 16384;

bool is_buffered(const io_ahead* a) {
    return a->start != nullptr && (a->start == a->buffer || a->start == a->few);
}

// Bytes fetched. Without memory for a buffer they are fewer at a time: slower, and no failure.
size_t fill_buffer(CFILE* c) {
    io_ahead* a = &c->ahead;
    if (a->buffer == nullptr) a->buffer = static_cast<uint8_t*>(mem_alloc(AHEAD_BYTES));
    uint8_t* room = a->buffer != nullptr ? a->buffer : a->few;
    size_t bytes = c->io.file_read(room, 1, a->buffer != nullptr ? AHEAD_BYTES : sizeof a->few, c->file);
    a->start = a->next = room;
    a->end = room + bytes;
    return bytes;
}

} // namespace

bool io_fetch(CFILE* c) {
    io_settle(c);
    io_ahead* a = &c->ahead;
    io_window(c, &a->next, &a->end);
    a->start = a->next;
    if (a->next != nullptr && a->next != a->end) return true;
    a->start = a->next = a->end = nullptr;
    bool windowed = c->mapping != nullptr || has_flag(c, FLAG_MEMORY);
    if (windowed) return false;
    if (fill_buffer(c) > 0) return true;
    a->start = a->next = a->end = nullptr;
    return false;
}

void io_settle(CFILE* c) {
    io_ahead* a = &c->ahead;
    if (a->start == nullptr) return;
    if (!is_buffered(a)) {
        io_consume(c, static_cast<size_t>(a->next - a->start));
    } else if (a->next != a->end) {
        (void)c->io.file_seek(c->file, a->next - a->end, FILES_FROM_HERE);
    }
    a->start = a->next = a->end = nullptr;
}

size_t io_read(CFILE* c, void* buffer, size_t bytes) {
    io_ahead* a = &c->ahead;
    if (a->start == nullptr) return c->io.file_read(buffer, 1, bytes, c->file);
    auto ahead = static_cast<size_t>(a->end - a->next);
    size_t taken = std::min(bytes, ahead);
    std::memcpy(buffer, a->next, taken);
    a->next += taken;
    if (taken == bytes) return bytes;
    io_settle(c);
    return taken + c->io.file_read(static_cast<uint8_t*>(buffer) + taken, 1, bytes - taken, c->file);
}

size_t io_write(CFILE* c, const void* buffer, size_t bytes) {
    io_settle(c);
    return c->io.file_write(buffer, 1, bytes, c->file);
}

bool io_seek(CFILE* c, int64_t offset) {
    io_settle(c);
    return c->io.file_seek(c->file, offset, FILES_FROM_START) == 0;
}

int64_t io_tell(CFILE* c) {
    const io_ahead* a = &c->ahead;
    int64_t position = c->io.file_tell(c->file);
    if (a->start == nullptr || position < 0) return position;
    return is_buffered(a) ? position - (a->end - a->next) : position + (a->next - a->start);
}

const uint8_t* io_take_apart(CFILE* c, size_t bytes, uint8_t* spare) {
    io_ahead* a = &c->ahead;
    if (a->next == a->end && io_fetch(c) && static_cast<size_t>(a->end - a->next) >= bytes) {
        const uint8_t* taken = a->next;
        a->next += bytes;
        return taken;
    }
    return io_read(c, spare, bytes) == bytes ? spare : nullptr;
}

// A seek past the end is no failure of the file layer, so the last byte is read.
bool io_skip(CFILE* c, int64_t bytes) {
    if (bytes <= 0) return bytes == 0;
    if (bytes <= c->ahead.end - c->ahead.next) {
        c->ahead.next += bytes;
        return true;
    }
    int64_t target = 0;
    int64_t position = io_tell(c);
    return position >= 0 && checked_add(position, bytes - 1, &target) && io_seek(c, target) && io_getc(c) >= 0;
}

int64_t io_size(CFILE* c) {
    io_settle(c); // a view may move
    int64_t position = c->io.file_tell(c->file);
    // A block of memory has room for more than has been written.
    bool created = c->mode == MODE_WRITE || c->mode == MODE_WRITE_READ;
    if (created && has_flag(c, FLAG_MEMORY)) return static_cast<const rzl_memfile*>(c->file)->used;
    if (position < 0 || c->io.file_seek(c->file, 0, FILES_FROM_END) != 0) return -1;
    int64_t size = c->io.file_tell(c->file);
    return c->io.file_seek(c->file, position, FILES_FROM_START) == 0 ? size : -1;
}

bool io_move(CFILE* c, int64_t bytes) {
    io_settle(c);
    return c->io.file_seek(c->file, bytes, FILES_FROM_HERE) == 0;
}

bool io_has(CFILE* c, uint64_t bytes) {
    int64_t position = io_tell(c);
    int64_t size = io_size(c);
    return position >= 0 && size >= position && static_cast<uint64_t>(size - position) >= bytes;
}

uint8_t* io_read_block(CFILE* c, uint64_t bytes, size_t slack, const char* source, const char* detail, int line) {
    size_t room = 0;
    if (!io_has(c, bytes) || !checked_add(static_cast<size_t>(bytes), slack, &room)) {
        fail(c, RZL_READ_FAILED, source, detail, line);
        return nullptr;
    }
    auto* block = static_cast<uint8_t*>(mem_alloc(room > 0 ? room : 1));
    if (block == nullptr) {
        fail(c, RZL_NO_MEMORY, source, nullptr, line);
        return nullptr;
    }
    auto wanted = static_cast<size_t>(bytes);
    if (io_read(c, block, wanted) == wanted) {
        std::memset(block + wanted, 0, slack);
        return block;
    }
    mem_free(block);
    fail(c, RZL_READ_FAILED, source, detail, line);
    return nullptr;
}
