// File handles: plain operating-system files, whole transfers, 64-bit offsets.
#include <cerrno>
#include <cstdint>
#include <cstdlib>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/faults.h"
#include "platform/files.h"
#include "platform/opening.h"
#include "support/memory.h"

namespace {

int descriptor(os_file handle) {
    return static_cast<int>(handle);
}

// The seekable copy of a standard input that is a pipe, once made.
os_file standard_input = OS_FILE_NONE;

int open_flags(unsigned flags) {
    int mode = O_RDONLY;
    if ((flags & FILES_WRITE) != 0) mode = (flags & FILES_READ) != 0 ? O_RDWR : O_WRONLY;
    if ((flags & FILES_CREATE) != 0) mode |= O_CREAT;
    if ((flags & FILES_TRUNCATE) != 0) mode |= O_TRUNC;
    return mode;
}

// Repeats `move` (a read or write of the rest at `done`) until all is moved, nothing more comes, or it fails.
template <typename Move> int64_t transfer(size_t bytes, Move move) {
    size_t wanted = transfer_limit(bytes);
    size_t done = 0;
    while (done < wanted) {
        ssize_t moved = move(done, wanted - done);
        if (moved < 0 && errno == EINTR) continue;
        if (moved < 0) return done > 0 ? static_cast<int64_t>(done) : -1;
        if (moved == 0) break;
        done += static_cast<size_t>(moved);
    }
    return static_cast<int64_t>(done);
}

// Keeps the reason of a write that failed.
ssize_t noted(ssize_t written) {
    if (written < 0 && errno != EINTR) note_write_failure(errno);
    return written;
}

int copy_to_nameless_file(int from) {
    const char* directory = std::getenv("TMPDIR");
    int fd = open(directory != nullptr ? directory : "/tmp", O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
    if (fd < 0) return -1;
    constexpr size_t block_size = 1 << 16;
    mem_guard<uint8_t> block(mem_new_array<uint8_t>(block_size));
    bool good = static_cast<bool>(block);
    while (good) {
        int64_t count = files_read(from, block.get(), block_size);
        if (count <= 0) {
            good = count == 0;
            break;
        }
        good = files_write(fd, block.get(), static_cast<size_t>(count)) == count;
    }
    if (good && lseek(fd, 0, SEEK_SET) == 0) return fd;
    close(fd);
    return -1;
}

} // namespace

os_file files_open(const char* path, unsigned flags) {
    char real[FILES_PATH_SIZE];
    bool may_create = (flags & FILES_CREATE) != 0;
    bool named = may_create ? files_resolve_new(path, real, sizeof real) : files_resolve(path, real, sizeof real);
    if (!named) return OS_FILE_NONE;
    int fd = open_real(real, open_flags(flags));
    if (fd < 0 && (flags & FILES_WRITE) != 0) note_write_failure(errno);
    return fd >= 0 ? fd : OS_FILE_NONE;
}

os_file files_standard_input() {
    if (standard_input != OS_FILE_NONE) return standard_input;
    bool can_seek = lseek(STDIN_FILENO, 0, SEEK_CUR) >= 0;
    int fd = can_seek ? STDIN_FILENO : copy_to_nameless_file(STDIN_FILENO);
    standard_input = fd >= 0 ? fd : OS_FILE_NONE;
    return standard_input;
}

bool files_is_standard_input(os_file handle) {
    return handle != OS_FILE_NONE && handle == standard_input;
}

bool files_close(os_file handle) {
    return handle != OS_FILE_NONE && close(descriptor(handle)) == 0;
}

int64_t files_read(os_file handle, void* buffer, size_t bytes) {
    auto* out = static_cast<uint8_t*>(buffer);
    return transfer(bytes, [&](size_t done, size_t left) { return read(descriptor(handle), out + done, left); });
}

int64_t files_write(os_file handle, const void* buffer, size_t bytes) {
    const auto* in = static_cast<const uint8_t*>(buffer);
    return transfer(bytes, [&](size_t done, size_t left) { return noted(write(descriptor(handle), in + done, left)); });
}

int64_t files_read_at(os_file handle, int64_t offset, void* buffer, size_t bytes) {
    auto* out = static_cast<uint8_t*>(buffer);
    return transfer(bytes, [&](size_t done, size_t left) {
        return pread(descriptor(handle), out + done, left, offset + static_cast<int64_t>(done));
    });
}

int64_t files_write_at(os_file handle, int64_t offset, const void* buffer, size_t bytes) {
    const auto* in = static_cast<const uint8_t*>(buffer);
    return transfer(bytes, [&](size_t done, size_t left) {
        return noted(pwrite(descriptor(handle), in + done, left, offset + static_cast<int64_t>(done)));
    });
}

int64_t files_seek(os_file handle, int64_t offset, int whence) {
    static constexpr int words[] = {SEEK_SET, SEEK_CUR, SEEK_END};
    if (whence < FILES_FROM_START || whence > FILES_FROM_END) return -1;
    return lseek(descriptor(handle), offset, words[whence]);
}

int64_t files_size(os_file handle) {
    struct stat info;
    return fstat(descriptor(handle), &info) == 0 && S_ISREG(info.st_mode) ? int64_t{info.st_size} : -1;
}

bool files_flush(os_file handle) {
    return handle != OS_FILE_NONE;
}

bool files_is_terminal(int which) {
    return isatty(which) == 1;
}

char* files_load(const char* path, size_t limit, size_t* size) {
    os_file handle = files_open(path, FILES_READ);
    if (handle == OS_FILE_NONE) return nullptr;
    size_t room = 4096;
    size_t used = 0;
    mem_guard<char> text(mem_new_array<char>(room + 1));
    bool good = static_cast<bool>(text);
    while (good) {
        int64_t count = files_read(handle, text.get() + used, room - used);
        if (count < 0) good = false;
        if (count <= 0) break;
        used += static_cast<size_t>(count);
        if (used > limit) good = false;
        if (good && used == room) {
            room *= 2;
            auto* larger = static_cast<char*>(mem_realloc(text.get(), room + 1));
            if (larger != nullptr) text.block = larger;
            good = larger != nullptr;
        }
    }
    // What ends before its size was not read whole.
    if (good && files_size(handle) > static_cast<int64_t>(used)) good = false;
    files_close(handle);
    if (!good) return nullptr;
    text[used] = '\0';
    *size = used;
    return text.keep();
}
