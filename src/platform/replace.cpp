// Replacing a file as a whole: see files.h.
//
// The target's directory and the new content stay open from the beginning to the end, so that what is written, given
// permissions and renamed is the file that was made here, in the directory that was looked up here, whatever others do
// to the names meanwhile.
//
// The new content carries a lock as long as its process lives. One that can be locked by another process is left over
// from a dead one. That holds across containers too, whose process numbers say nothing.
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/files.h"
#include "platform/opening.h"

namespace {

constexpr int NONE = -1;
constexpr int SET_MOST = 2; // files that are replaced together: a rendered pair

// The name of new content: ".NAME.RANDOM.part", with as much of the target's name as fits.
constexpr size_t NAME_PART = 200;
constexpr size_t RANDOM_BYTES = 16;
constexpr size_t RANDOM_DIGITS = 2 * RANDOM_BYTES;
constexpr char DIGITS[] = "0123456789abcdef";
constexpr char SUFFIX[] = ".part";
static_assert(1 + NAME_PART + 1 + RANDOM_DIGITS + sizeof SUFFIX <= NAME_MAX + 1);
constexpr int NAMES_TRIED = 8;

struct replacement {
    int directory; // of the target, open
    int file;      // the new content, open and locked
    dev_t device;  // of the directory
    ino_t node;
    pid_t owner; // a process that was forked off removes nothing
    bool only_new;
    bool existed;   // the target, at first
    bool holds_old; // the two names have been exchanged: `fresh` is the old content
    bool is_placed; // the target is the new content
    char target[NAME_MAX + 1];
    char fresh[NAME_MAX + 1];
    volatile std::sig_atomic_t fresh_is_valid; // it may be removed by the handler
};

struct replace_set {
    replacement of[SET_MOST];
    int count;
};

replace_set under_way = {};
replace_set whole_file = {}; // of files_replace_whole()
replace_set* const SETS[] = {&under_way, &whole_file};

// ---- leaving nothing behind ----------------------------------------------------------------------------------------

// Only calls that a signal handler may make.
void remove_fresh(replacement* r) {
    if (r->fresh_is_valid == 0 || r->owner != getpid()) return;
    r->fresh_is_valid = 0;
    unlinkat(r->directory, r->fresh, 0);
}

void remove_all_fresh() {
    for (replace_set* set : SETS) {
        for (replacement& r : set->of)
            remove_fresh(&r);
    }
}

bool at_exit_set = false;
int watching = 0; // files that are under way
struct sigaction before[_NSIG] = {};
bool is_taken[_NSIG] = {};

// The signal then takes its ordinary effect.
void on_ending_signal(int number) {
    remove_all_fresh();
    std::signal(number, SIG_DFL);
    std::raise(number);
}

// Whether a signal that nobody has an opinion on ends the process and can be caught.
bool ends_process(int number) {
    switch (number) {
    case SIGKILL:
    case SIGSTOP:
    case SIGTSTP:
    case SIGTTIN:
    case SIGTTOU:
    case SIGCONT:
    case SIGCHLD:
    case SIGURG:
    case SIGWINCH: return false;
    default: return true;
    }
}

// A file that grows past the limit set on its size is a write that fails and is told as such.
void watch_signals() {
    if (watching++ > 0) return;
    for (int number = 1; number < _NSIG; ++number) {
        is_taken[number] = false;
        if (!ends_process(number) || sigaction(number, nullptr, &before[number]) != 0) continue;
        if ((before[number].sa_flags & SA_SIGINFO) != 0 || before[number].sa_handler != SIG_DFL) continue;
        struct sigaction mine = {};
        mine.sa_handler = number == SIGXFSZ ? SIG_IGN : on_ending_signal;
        is_taken[number] = sigaction(number, &mine, nullptr) == 0;
    }
}

void unwatch_signals() {
    if (watching == 0 || --watching > 0) return;
    for (int number = 1; number < _NSIG; ++number) {
        if (is_taken[number]) sigaction(number, &before[number], nullptr);
    }
}

// ---- names ---------------------------------------------------------------------------------------------------------

bool fails_with(int number) {
    note_write_failure(number);
    return false;
}

// Follows a symbolic link, so that the file it names is replaced and the link stays.
bool follow_link(char* path, size_t size) {
    struct stat info;
    if (lstat(path, &info) != 0 || !S_ISLNK(info.st_mode)) return true;
    char* real = realpath(path, nullptr);
    if (real == nullptr) return fails_with(errno);
    bool fits = std::strlen(real) < size;
    if (fits) std::snprintf(path, size, "%s", real);
    std::free(real);
    return fits || fails_with(ENAMETOOLONG);
}

// The target's real path, absolute: the working directory may change meanwhile.
bool name_target(const char* target, char* path, size_t size) {
    char real[FILES_PATH_SIZE];
    if (!files_resolve_new(target, real, sizeof real)) return fails_with(ENOENT);
    return (files_full_path(real, path, size) || fails_with(ENAMETOOLONG)) && follow_link(path, size);
}

// Opens the directory in front of `name` in a path. It need not be readable for files to be made in it.
int open_directory(char* path, char* name) {
    char kept = *name;
    *name = '\0';
    int fd = open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0 && errno == EACCES) fd = open(path, O_PATH | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) note_write_failure(errno);
    *name = kept;
    return fd;
}

bool is_under_way(const replace_set* set, const replacement* r) {
    for (int i = 0; i < set->count; ++i) {
        const replacement* other = &set->of[i];
        if (other->device == r->device && other->node == r->node && std::strcmp(other->target, r->target) == 0)
            return true;
    }
    return false;
}

// As much of the target's name as is taken.
size_t part_of(const replacement* r) {
    size_t length = std::strlen(r->target);
    return length < NAME_PART ? length : NAME_PART;
}

bool make_name(replacement* r) {
    uint8_t random[RANDOM_BYTES];
    if (getentropy(random, sizeof random) != 0) return fails_with(errno);
    size_t part = part_of(r);
    char* to = r->fresh;
    *to++ = '.';
    std::memcpy(to, r->target, part);
    to += part;
    *to++ = '.';
    for (uint8_t byte : random) {
        *to++ = DIGITS[byte >> 4];
        *to++ = DIGITS[byte & 15];
    }
    std::memcpy(to, SUFFIX, sizeof SUFFIX);
    return true;
}

// Whether a name is one that make_name() gives for the target.
bool is_fresh_name(const replacement* r, const char* name) {
    size_t part = part_of(r);
    if (std::strlen(name) != 1 + part + 1 + RANDOM_DIGITS + std::strlen(SUFFIX)) return false;
    if (name[0] != '.' || std::strncmp(name + 1, r->target, part) != 0 || name[1 + part] != '.') return false;
    const char* digits = name + part + 2;
    return std::strspn(digits, DIGITS) == RANDOM_DIGITS && std::strcmp(digits + RANDOM_DIGITS, SUFFIX) == 0;
}

// ---- what dead processes have left ----------------------------------------------------------------------------------

bool is_plain(int directory, const char* name) {
    struct stat info;
    return fstatat(directory, name, &info, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(info.st_mode);
}

void remove_if_dead(int directory, const char* name) {
    if (!is_plain(directory, name)) return;
    constexpr int SAFELY = O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    int fd = openat(directory, name, O_RDWR | SAFELY);
    if (fd < 0) fd = openat(directory, name, O_RDONLY | SAFELY);
    if (fd < 0) return;
    if (flock(fd, LOCK_EX | LOCK_NB) == 0) unlinkat(directory, name, 0);
    close(fd);
}

void remove_stale(const replacement* r) {
    int fd = openat(r->directory, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    DIR* directory = fd >= 0 ? fdopendir(fd) : nullptr;
    if (directory == nullptr) {
        if (fd >= 0) close(fd);
        return;
    }
    for (const dirent* entry = readdir(directory); entry != nullptr; entry = readdir(directory)) {
        if (is_fresh_name(r, entry->d_name)) remove_if_dead(r->directory, entry->d_name);
    }
    closedir(directory);
}

// ---- making the new content ----------------------------------------------------------------------------------------

// Who may read and write the old content may read and write the new, and nobody else: where the group can't be kept,
// another gets what all have. Set-id bits are for the program that stood there.
bool take_permissions(int fd, const struct stat* old) {
    struct stat mine;
    if (fstat(fd, &mine) != 0) return fails_with(errno);
    bool same = mine.st_uid == old->st_uid && mine.st_gid == old->st_gid;
    if (!same && fchown(fd, old->st_uid, old->st_gid) != 0) (void)!fchown(fd, static_cast<uid_t>(-1), old->st_gid);
    if (fstat(fd, &mine) != 0) return fails_with(errno);
    mode_t mode = old->st_mode & (S_IRWXU | S_IRWXG | S_IRWXO);
    if (mine.st_gid != old->st_gid) mode &= ~mode_t{S_IRWXG} | ((mode & S_IRWXO) << 3);
    return fchmod(fd, mode) == 0 || fails_with(errno);
}

// Takes the lock. False when the file has been removed as a left-over in between; a file system without locks is no
// hindrance, as nothing is ever taken for left over there.
bool take_lock(int fd) {
    if (flock(fd, LOCK_EX | LOCK_NB) != 0) return errno != EWOULDBLOCK;
    struct stat info;
    return fstat(fd, &info) == 0 && info.st_nlink > 0;
}

bool make_fresh(replacement* r, const struct stat* old) {
    for (int i = 0; i < NAMES_TRIED; ++i) {
        if (!make_name(r)) return false;
        r->fresh_is_valid = 1; // before it exists: a signal may come at once, and nobody else has such a name
        mode_t mode = old != nullptr ? 0600 : 0666; // the old one's are given to it at once
        r->file = openat(r->directory, r->fresh, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode);
        if (r->file < 0) {
            r->fresh_is_valid = 0;
            return fails_with(errno);
        }
        if (take_lock(r->file)) return old == nullptr || take_permissions(r->file, old);
        remove_fresh(r);
        close(r->file);
        r->file = NONE;
    }
    return fails_with(EAGAIN);
}

void close_all(replacement* r) {
    if (r->file != NONE) close(r->file);
    if (r->directory != NONE) close(r->directory);
    *r = {};
    r->file = r->directory = NONE;
}

// Looks the target up and makes the new content beside it.
bool prepare(replace_set* set, replacement* r, char* path, size_t size, const char* target) {
    if (!name_target(target, path, size)) return false;
    char* name = std::strrchr(path, '/') + 1;
    if (std::strlen(name) >= sizeof r->target) return fails_with(ENAMETOOLONG);
    std::memcpy(r->target, name, std::strlen(name) + 1);
    r->directory = open_directory(path, name);
    struct stat info;
    if (r->directory < 0 || fstat(r->directory, &info) != 0) return false;
    r->device = info.st_dev;
    r->node = info.st_ino;
    if (is_under_way(set, r)) return fails_with(EBUSY);
    bool exists = fstatat(r->directory, r->target, &info, AT_SYMLINK_NOFOLLOW) == 0;
    r->existed = exists;
    if (exists && r->only_new) return fails_with(EEXIST);
    // A device or a pipe is not replaced: the name would then be a plain file's.
    if (exists && !S_ISREG(info.st_mode)) return fails_with(S_ISDIR(info.st_mode) ? EISDIR : EINVAL);
    remove_stale(r);
    return make_fresh(r, exists ? &info : nullptr);
}

// The whole path of the new content, for whoever opens it by name.
bool tell_path(const replacement* r, const char* path, char* fresh, size_t size) {
    auto directory = static_cast<int>(std::strrchr(path, '/') + 1 - path);
    int written = std::snprintf(fresh, size, "%.*s%s", directory, path, r->fresh);
    return (written > 0 && static_cast<size_t>(written) < size) || fails_with(ENAMETOOLONG);
}

bool begin(replace_set* set, const char* target, bool only_new, char* fresh, size_t size) {
    if (set->count == 0) forget_write_failure();
    if (set->count == SET_MOST) return fails_with(EBUSY);
    if (!at_exit_set) at_exit_set = std::atexit(remove_all_fresh) == 0;
    replacement* r = &set->of[set->count];
    *r = {};
    r->file = r->directory = NONE;
    r->owner = getpid();
    r->only_new = only_new;
    watch_signals();
    char path[FILES_PATH_SIZE];
    if (prepare(set, r, path, sizeof path, target) && tell_path(r, path, fresh, size)) {
        ++set->count;
        return true;
    }
    remove_fresh(r);
    close_all(r);
    unwatch_signals();
    return false;
}

// ---- taking the target's place -------------------------------------------------------------------------------------

// Some file systems have no such call for what is open; that is no failure of the disk.
bool to_disk(int fd) {
    return fsync(fd) == 0 || errno == EINVAL || errno == ENOSYS || errno == EBADF || errno == EROFS ||
           fails_with(errno);
}

// Whether the name still is the file that was made here.
bool is_mine(const replacement* r) {
    struct stat named;
    struct stat made;
    bool same = fstatat(r->directory, r->fresh, &named, AT_SYMLINK_NOFOLLOW) == 0 && fstat(r->file, &made) == 0 &&
                named.st_dev == made.st_dev && named.st_ino == made.st_ino;
    return same || fails_with(ENOENT);
}

// Takes a name only if it doesn't exist. Not every file system can rename so, or has links; an empty file holds the
// name in their place.
bool take_name(replacement* r) {
    int d = r->directory;
    if (renameat2(d, r->fresh, d, r->target, RENAME_NOREPLACE) == 0) return true;
    if (errno != EINVAL && errno != ENOSYS) return fails_with(errno);
    if (linkat(d, r->fresh, d, r->target, 0) == 0) {
        unlinkat(d, r->fresh, 0);
        return true;
    }
    if (errno == EEXIST) return fails_with(errno);
    int held = openat(d, r->target, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (held < 0) return fails_with(errno);
    close(held);
    if (renameat(d, r->fresh, d, r->target) == 0) return true;
    note_write_failure(errno);
    unlinkat(d, r->target, 0);
    return false;
}

// Puts one file in place. The old content changes places with it where the file system can do that, so that it can come
// back when what follows fails.
bool place(replacement* r) {
    int d = r->directory;
    r->holds_old = !r->only_new && renameat2(d, r->fresh, d, r->target, RENAME_EXCHANGE) == 0;
    r->is_placed = r->holds_old || (r->only_new ? take_name(r) : renameat(d, r->fresh, d, r->target) == 0);
    if (!r->is_placed && !r->only_new) note_write_failure(errno);
    if (r->is_placed && !r->holds_old) r->fresh_is_valid = 0;
    return r->is_placed;
}

// Takes a file back out of its place. Without an exchange of names old content is gone for good, and the new stays.
void put_back(replacement* r) {
    if (!r->is_placed) return;
    if (r->holds_old) {
        (void)renameat2(r->directory, r->fresh, r->directory, r->target, RENAME_EXCHANGE);
    } else if (!r->existed) {
        unlinkat(r->directory, r->target, 0);
    }
}

// Puts all in place, and the names on the disk.
bool place_all(replace_set* set) {
    bool good = true;
    for (int i = 0; good && i < set->count; ++i)
        good = place(&set->of[i]);
    for (int i = 0; good && i < set->count; ++i)
        good = to_disk(set->of[i].directory);
    for (int i = 0; !good && i < set->count; ++i)
        put_back(&set->of[i]);
    return good;
}

void end(replace_set* set) {
    for (int i = 0; i < set->count; ++i) {
        remove_fresh(&set->of[i]);
        close_all(&set->of[i]);
        unwatch_signals();
    }
    set->count = 0;
}

bool commit(replace_set* set) {
    bool good = set->count > 0;
    for (int i = 0; good && i < set->count; ++i)
        good = is_mine(&set->of[i]) && to_disk(set->of[i].file);
    // From the first name to the last nothing but a kill comes between.
    sigset_t all;
    sigset_t present;
    sigfillset(&all);
    sigprocmask(SIG_SETMASK, &all, &present);
    good = good && place_all(set);
    end(set);
    sigprocmask(SIG_SETMASK, &present, nullptr);
    return good;
}

} // namespace

int replace_handle_of(const char* real) {
    const char* slash = std::strrchr(real, '/');
    const char* name = slash != nullptr ? slash + 1 : real;
    for (const replace_set* set : SETS) {
        for (int i = 0; i < set->count; ++i) {
            const replacement* r = &set->of[i];
            if (std::strcmp(r->fresh, name) != 0) continue;
            int fd = fcntl(r->file, F_DUPFD_CLOEXEC, 0);
            if (fd >= 0 && (lseek(fd, 0, SEEK_SET) != 0 || ftruncate(fd, 0) != 0)) {
                close(fd);
                fd = NONE;
            }
            return fd;
        }
    }
    return NONE;
}

bool files_replace_begin(const char* target, char* fresh, size_t size) {
    return begin(&under_way, target, false, fresh, size);
}

bool files_create_begin(const char* target, char* fresh, size_t size) {
    return begin(&under_way, target, true, fresh, size);
}

bool files_replace_commit() {
    return commit(&under_way);
}

void files_replace_abandon() {
    end(&under_way);
}

bool files_replace_whole(const char* target, const void* bytes, size_t size) {
    char fresh[FILES_PATH_SIZE];
    if (!begin(&whole_file, target, false, fresh, sizeof fresh)) return false;
    if (files_write(whole_file.of[0].file, bytes, size) == static_cast<int64_t>(size)) return commit(&whole_file);
    end(&whole_file);
    return false;
}
