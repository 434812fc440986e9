// The stream set: buffered streams, for files being created and for the standard output.
#include "platform/files.h"
#include "raster/CORE/cfile.h"

namespace {

file_stream* stream_of(void* file) {
    return static_cast<file_stream*>(file);
}

void* open_stream(const char* name, const char* mode) {
    return stream_open(name, mode);
}
int close_stream(void* file) {
    return stream_close(stream_of(file));
}
size_t read_stream(void* buffer, size_t size, size_t count, void* file) {
    return stream_read(buffer, size, count, stream_of(file));
}
size_t write_stream(const void* buffer, size_t size, size_t count, void* file) {
    return stream_write(buffer, size, count, stream_of(file));
}
int getc_stream(void* file) {
    return stream_getc(stream_of(file));
}
int putc_stream(int byte, void* file) {
    return stream_putc(byte, stream_of(file));
}
int seek_stream(void* file, int64_t offset, int whence) {
    return stream_seek(stream_of(file), offset, whence);
}
void rewind_stream(void* file) {
    (void)stream_seek(stream_of(file), 0, FILES_FROM_START);
}
int64_t tell_stream(void* file) {
    return stream_tell(stream_of(file));
}
int flush_stream(void* file) {
    return stream_flush(stream_of(file));
}

constexpr file_slots STREAM_SLOTS = {
    .file_open = open_stream,
    .file_close = close_stream,
    .file_read = read_stream,
    .file_write = write_stream,
    .file_getc = getc_stream,
    .file_putc = putc_stream,
    .file_seek = seek_stream,
    .file_rewind = rewind_stream,
    .file_tell = tell_stream,
    .file_flush = flush_stream,
};

} // namespace

void rzl_set_stream_slots(CFILE* c) {
    c->io = STREAM_SLOTS;
}
