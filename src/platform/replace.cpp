// Replacing a file as a whole: the new content is written under another name in the same directory and renamed when it
// is complete. An interrupted or stopped process removes what it has written.
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <sys/stat.h>
#include <unistd.h>

#include "platform/files.h"

namespace {

constexpr int ENDING_SIGNALS[] = {SIGINT, SIGTERM, SIGHUP};

struct replacement {
    char target[FILES_PATH_SIZE]; // real paths, absolute: the working directory may change meanwhile
    char fresh[FILES_PATH_SIZE];
    volatile std::sig_atomic_t fresh_is_valid; // it may be removed by the handler
};

constexpr int SET_MOST = 2; // files that are replaced together: a rendered pair

replacement replacements[SET_MOST] = {};
int count = 0; // of the set under way
bool at_exit_set = false;

void remove_fresh() {
    for (replacement& r : replacements) {
        if (r.fresh_is_valid == 0) continue;
        r.fresh_is_valid = 0;
        unlink(r.fresh);
    }
}

// Only calls that a signal handler may make. The signal then takes its ordinary effect.
void on_ending_signal(int number) {
    remove_fresh();
    std::signal(number, SIG_DFL);
    std::raise(number);
}

void watch_signals() {
    for (int number : ENDING_SIGNALS) {
        struct sigaction present = {};
        if (sigaction(number, nullptr, &present) != 0 || present.sa_handler == SIG_IGN) continue;
        struct sigaction mine = {};
        mine.sa_handler = on_ending_signal;
        sigaction(number, &mine, nullptr);
    }
}

// Follows a symbolic link, so that the file it names is replaced and the link stays.
bool follow_link(char* path, size_t size) {
    struct stat info;
    if (lstat(path, &info) != 0 || !S_ISLNK(info.st_mode)) return true;
    char* real = realpath(path, nullptr);
    bool fits = real != nullptr && std::strlen(real) < size;
    if (fits) std::snprintf(path, size, "%s", real);
    std::free(real);
    return fits;
}

bool name_target(replacement* r, const char* target) {
    char real[FILES_PATH_SIZE];
    return files_resolve_new(target, real, sizeof real) && files_full_path(real, r->target, sizeof r->target) &&
           follow_link(r->target, sizeof r->target);
}

// A hidden name beside the target. The process number keeps two runs on one target apart.
bool name_fresh(replacement* r) {
    const char* name = std::strrchr(r->target, '/') + 1;
    int directory = static_cast<int>(name - r->target);
    char fresh[FILES_PATH_SIZE + 256];
    int written = std::snprintf(fresh, sizeof fresh, "%.*s.%.200s.%ld.part", directory, r->target, name,
                                static_cast<long>(getpid()));
    if (written <= 0 || static_cast<size_t>(written) >= sizeof r->fresh) return false;
    std::memcpy(r->fresh, fresh, static_cast<size_t>(written) + 1);
    return true;
}

bool is_under_way(const replacement* r) {
    for (int i = 0; i < count; ++i) {
        if (std::strcmp(replacements[i].target, r->target) == 0) return true;
    }
    return false;
}

// A file that is replaced keeps who may read and write it.
void keep_permissions(const replacement* r) {
    struct stat info;
    if (stat(r->target, &info) != 0 || !S_ISREG(info.st_mode)) return;
    if (chmod(r->fresh, info.st_mode & 07777) != 0) return; // the new file's own stand then
}

} // namespace

bool files_replace_begin(const char* target, char* fresh, size_t size) {
    // A device or a pipe is not replaced: the name would then be a plain file's.
    if (count == SET_MOST || (files_exists(target) && files_size_of(target) < 0)) return false;
    replacement* r = &replacements[count];
    if (!name_target(r, target) || !name_fresh(r) || is_under_way(r)) return false;
    if (std::strlen(r->fresh) >= size) return false;
    std::memcpy(fresh, r->fresh, std::strlen(r->fresh) + 1);
    if (!at_exit_set) at_exit_set = std::atexit(remove_fresh) == 0;
    ++count;
    r->fresh_is_valid = 1;
    watch_signals();
    return true;
}

bool files_replace_commit() {
    bool good = count > 0;
    for (int i = 0; i < count; ++i) {
        replacement* r = &replacements[i];
        keep_permissions(r);
        good = good && std::rename(r->fresh, r->target) == 0;
        if (good) r->fresh_is_valid = 0;
    }
    files_replace_abandon(); // what a failure has left
    return good;
}

void files_replace_abandon() {
    remove_fresh();
    count = 0;
}
