// Buffered streams over the C library's, with the named modes, names in the application's form, and planned failures.
#include <cstdio>

#include "platform/faults.h"
#include "platform/files.h"
#include "support/memory.h"

struct file_stream {
    std::FILE* file;
    bool is_standard_output;
    bool failed; // a write came back short; stream_close() tells it
};

namespace {

file_stream standard_output = {};

constexpr size_t WRITE_ROOM = 0x20000; // bytes

// Moves whole transfers: a planned failure cuts the count of bytes.
size_t items(size_t moved_bytes, size_t size) {
    return size > 0 ? moved_bytes / size : 0;
}

bool product(size_t size, size_t count, size_t* bytes) {
    return !__builtin_mul_overflow(size, count, bytes);
}

} // namespace

file_stream* stream_open(const char* path, const char* mode) {
    char real[FILES_PATH_SIZE];
    bool existing = mode[0] == 'r';
    bool named = existing ? files_resolve(path, real, sizeof real) : files_resolve_new(path, real, sizeof real);
    if (!named || files_is_directory(real)) return nullptr;
    // The room for writing stands behind the record. Lines of pixels are longer than the C library's own buffer, which
    // would pass each on in two pieces.
    auto* stream = static_cast<file_stream*>(mem_alloc(sizeof(file_stream) + (existing ? 0 : WRITE_ROOM)));
    if (stream == nullptr) return nullptr;
    *stream = {};
    stream->file = std::fopen(real, mode);
    if (stream->file != nullptr) {
        if (!existing) (void)std::setvbuf(stream->file, reinterpret_cast<char*>(stream + 1), _IOFBF, WRITE_ROOM);
        return stream;
    }
    mem_free(stream);
    return nullptr;
}

file_stream* stream_standard_output() {
    standard_output.file = stdout;
    standard_output.is_standard_output = true;
    return &standard_output;
}

int stream_close(file_stream* stream) {
    bool failed = stream->failed || std::ferror(stream->file) != 0;
    if (stream->is_standard_output) return std::fflush(stream->file) == 0 && !failed ? 0 : -1;
    if (std::fclose(stream->file) != 0) failed = true;
    mem_free(stream);
    return failed ? -1 : 0;
}

size_t stream_read(void* buffer, size_t size, size_t count, file_stream* stream) {
    size_t bytes = 0;
    if (!product(size, count, &bytes)) return 0;
    return items(std::fread(buffer, 1, transfer_limit(bytes), stream->file), size);
}

size_t stream_write(const void* buffer, size_t size, size_t count, file_stream* stream) {
    size_t bytes = 0;
    if (!product(size, count, &bytes)) return 0;
    size_t moved = std::fwrite(buffer, 1, transfer_limit(bytes), stream->file);
    if (moved != bytes) stream->failed = true;
    return items(moved, size);
}

int stream_getc(file_stream* stream) {
    return transfer_limit(1) == 1 ? std::fgetc(stream->file) : -1;
}

int stream_putc(int byte, file_stream* stream) {
    int written = transfer_limit(1) == 1 ? std::fputc(byte, stream->file) : -1;
    if (written < 0) stream->failed = true;
    return written;
}

int stream_seek(file_stream* stream, int64_t offset, int whence) {
    static constexpr int words[] = {SEEK_SET, SEEK_CUR, SEEK_END};
    if (whence < FILES_FROM_START || whence > FILES_FROM_END) return -1;
    return fseeko(stream->file, offset, words[whence]) == 0 ? 0 : -1;
}

int64_t stream_tell(file_stream* stream) {
    return ftello(stream->file);
}

int stream_flush(file_stream* stream) {
    if (std::fflush(stream->file) == 0) return 0;
    stream->failed = true;
    return -1;
}
