// Opening a real path, and the reasons that are told when something can't be opened or written.
#include "platform/opening.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include "platform/files.h"

namespace {

constexpr long PIPES_WITHOUT_NAME = 0x50495045; // the file system of pipes that a shell hands over as /dev/fd/N

thread_local int write_failure = 0; // errno of the first one

bool has_name(int fd) {
    struct statfs system;
    return fstatfs(fd, &system) != 0 || system.f_type != PIPES_WITHOUT_NAME;
}

// 0 for what may be opened, or the reason why not.
int refusal_of(int fd, bool only_read) {
    struct stat info;
    if (fstat(fd, &info) != 0) return errno;
    if (S_ISDIR(info.st_mode)) return EISDIR;
    bool waits = S_ISSOCK(info.st_mode) || (S_ISFIFO(info.st_mode) && has_name(fd));
    return only_read && waits ? ESPIPE : 0;
}

} // namespace

int open_real(const char* real, int mode) {
    bool only_read = (mode & O_ACCMODE) == O_RDONLY;
    if (!only_read) {
        int made = replace_handle_of(real);
        if (made >= 0) return made;
    }
    // A FIFO without a writer would hold up the open itself.
    int fd = open(real, mode | O_CLOEXEC | (only_read ? O_NONBLOCK : 0), 0666);
    if (fd < 0) return -1;
    int refusal = refusal_of(fd, only_read);
    if (refusal == 0 && (!only_read || fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) & ~O_NONBLOCK) == 0)) return fd;
    if (refusal == 0) refusal = errno;
    close(fd);
    errno = refusal;
    return -1;
}

void note_write_failure(int number) {
    if (write_failure == 0) write_failure = number;
}

void forget_write_failure() {
    write_failure = 0;
}

const char* files_write_failure() {
    return write_failure != 0 ? std::strerror(write_failure) : "";
}

const char* files_input_fault(const char* path) {
    char real[FILES_PATH_SIZE];
    if (!files_resolve(path, real, sizeof real)) return "it does not exist";
    int fd = open_real(real, O_RDONLY);
    if (fd >= 0) {
        close(fd);
        return nullptr;
    }
    if (errno == EISDIR) return "it is a directory";
    if (errno == ESPIPE || errno == ENXIO) return "it is no plain file";
    return std::strerror(errno);
}
