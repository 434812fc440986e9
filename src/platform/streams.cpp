// Buffered streams over the C library's, with the named modes, names in the application's form, and planned failures.
//
// What is only written waits in room of ours, and the C library keeps none: it would copy a part of every large block.
// It goes on in pieces that end where multiples of their size end in the file, which file systems take fastest.
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

#include "platform/faults.h"
#include "platform/files.h"
#include "platform/opening.h"
#include "support/memory.h"

struct file_stream {
    std::FILE* file;
    bool is_standard_output;
    bool failed;      // a write came back short; stream_close() tells it
    uint8_t* waiting; // WRITE_ROOM bytes behind the record, written and not passed on; null where the C library does it
    size_t count;     // of them that are in use
    int64_t place;    // in the file, of the first of them
};

namespace {

file_stream standard_output = {};

constexpr size_t WRITE_ROOM = 0x40000;     // bytes; a block of so many does not wait
constexpr size_t READ_BACK_ROOM = 0x10000; // bytes; the C library fills all of it, however few are wanted

// Moves whole transfers: a planned failure cuts the count of bytes.
size_t items(size_t moved_bytes, size_t size) {
    return size > 0 ? moved_bytes / size : 0;
}

bool product(size_t size, size_t count, size_t* bytes) {
    return !__builtin_mul_overflow(size, count, bytes);
}

// Bytes that can still wait: up to where a piece ends.
size_t room_left(const file_stream* stream) {
    return WRITE_ROOM - static_cast<size_t>(stream->place) % WRITE_ROOM - stream->count;
}

// fwrite() with the reason of its failure kept.
size_t write_noted(file_stream* stream, const void* bytes, size_t count) {
    size_t written = std::fwrite(bytes, 1, count, stream->file);
    if (written != count) note_write_failure(errno);
    return written;
}

size_t write_through(file_stream* stream, const void* bytes, size_t count) {
    size_t written = write_noted(stream, bytes, count);
    stream->place += static_cast<int64_t>(written);
    return written;
}

// Passes on what waits.
bool pass_on(file_stream* stream) {
    size_t count = stream->count;
    stream->count = 0;
    if (count == 0 || write_through(stream, stream->waiting, count) == count) return true;
    stream->failed = true;
    return false;
}

// How many bytes were taken.
size_t put(file_stream* stream, const void* bytes, size_t count) {
    if (stream->waiting == nullptr) return write_noted(stream, bytes, count);
    if (count >= WRITE_ROOM) return pass_on(stream) ? write_through(stream, bytes, count) : 0;
    const auto* from = static_cast<const uint8_t*>(bytes);
    for (size_t done = 0; done < count;) {
        size_t piece = std::min(count - done, room_left(stream));
        std::memcpy(stream->waiting + stream->count, from + done, piece);
        stream->count += piece;
        done += piece;
        if (room_left(stream) == 0 && !pass_on(stream)) return 0;
    }
    return count;
}

// Whether what the C library still held went out.
bool went_out(int result) {
    if (result != 0) note_write_failure(errno);
    return result == 0;
}

// The C library's stream over a file that open_real() lets pass.
std::FILE* open_stream(const char* real, const char* mode) {
    bool both = std::strchr(mode, '+') != nullptr;
    int words = both ? O_RDWR : mode[0] == 'r' ? O_RDONLY : O_WRONLY;
    if (mode[0] != 'r') words |= O_CREAT | (mode[0] == 'a' ? O_APPEND : O_TRUNC);
    int fd = open_real(real, words);
    std::FILE* file = fd >= 0 ? fdopen(fd, mode) : nullptr;
    if (file != nullptr) return file;
    if (mode[0] != 'r' || both) note_write_failure(errno);
    if (fd >= 0) close(fd);
    return nullptr;
}

} // namespace

file_stream* stream_open(const char* path, const char* mode) {
    char real[FILES_PATH_SIZE];
    bool existing = mode[0] == 'r';
    bool named = existing ? files_resolve(path, real, sizeof real) : files_resolve_new(path, real, sizeof real);
    if (!named) return nullptr;
    // What can be read back as well is left to the C library.
    bool only_written = !existing && std::strchr(mode, '+') == nullptr;
    size_t bytes = only_written ? WRITE_ROOM : existing ? 0 : READ_BACK_ROOM;
    auto* stream = static_cast<file_stream*>(mem_alloc(sizeof(file_stream) + bytes));
    if (stream == nullptr) return nullptr;
    *stream = {};
    stream->file = open_stream(real, mode);
    if (stream->file == nullptr) {
        mem_free(stream);
        return nullptr;
    }
    if (existing) return stream;
    auto* room = reinterpret_cast<uint8_t*>(stream + 1);
    if (only_written) stream->waiting = room;
    (void)std::setvbuf(stream->file, reinterpret_cast<char*>(room), only_written ? _IONBF : _IOFBF, bytes);
    return stream;
}

file_stream* stream_standard_output() {
    standard_output.file = stdout;
    standard_output.is_standard_output = true;
    return &standard_output;
}

int stream_close(file_stream* stream) {
    (void)pass_on(stream);
    bool failed = stream->failed || std::ferror(stream->file) != 0;
    if (stream->is_standard_output) return went_out(std::fflush(stream->file)) && !failed ? 0 : -1;
    if (!went_out(std::fclose(stream->file))) failed = true;
    mem_free(stream);
    return failed ? -1 : 0;
}

size_t stream_read(void* buffer, size_t size, size_t count, file_stream* stream) {
    size_t bytes = 0;
    if (!product(size, count, &bytes) || !pass_on(stream)) return 0;
    return items(std::fread(buffer, 1, transfer_limit(bytes), stream->file), size);
}

size_t stream_write(const void* buffer, size_t size, size_t count, file_stream* stream) {
    size_t bytes = 0;
    if (!product(size, count, &bytes)) return 0;
    size_t moved = put(stream, buffer, transfer_limit(bytes));
    if (moved != bytes) stream->failed = true;
    return items(moved, size);
}

int stream_getc(file_stream* stream) {
    return transfer_limit(1) == 1 && pass_on(stream) ? std::fgetc(stream->file) : -1;
}

int stream_putc(int byte, file_stream* stream) {
    auto value = static_cast<uint8_t>(byte);
    return stream_write(&value, 1, 1, stream) == 1 ? value : -1;
}

int stream_seek(file_stream* stream, int64_t offset, int whence) {
    static constexpr int words[] = {SEEK_SET, SEEK_CUR, SEEK_END};
    if (whence < FILES_FROM_START || whence > FILES_FROM_END || !pass_on(stream)) return -1;
    if (fseeko(stream->file, offset, words[whence]) != 0) return -1;
    // Where no place can be told, pieces end anywhere.
    if (stream->waiting != nullptr) stream->place = std::max(int64_t{ftello(stream->file)}, int64_t{0});
    return 0;
}

int64_t stream_tell(file_stream* stream) {
    int64_t place = ftello(stream->file);
    return place >= 0 ? place + static_cast<int64_t>(stream->count) : place;
}

int stream_flush(file_stream* stream) {
    if (pass_on(stream) && went_out(std::fflush(stream->file))) return 0;
    stream->failed = true;
    return -1;
}
