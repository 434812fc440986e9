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
    bool active;
    bool at_exit_set;
    char target[FILES_PATH_SIZE]; // real paths, absolute: the working directory may change meanwhile
    char fresh[FILES_PATH_SIZE];
};

replacement current = {};
volatile std::sig_atomic_t fresh_is_valid = 0; // `fresh` may be removed by the handler

void remove_fresh() {
    if (fresh_is_valid == 0) return;
    fresh_is_valid = 0;
    unlink(current.fresh);
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

bool name_target(const char* target) {
    char real[FILES_PATH_SIZE];
    return files_resolve_new(target, real, sizeof real) &&
           files_full_path(real, current.target, sizeof current.target) &&
           follow_link(current.target, sizeof current.target);
}

// A hidden name beside the target. The process number keeps two runs on one target apart.
bool name_fresh() {
    const char* name = std::strrchr(current.target, '/') + 1;
    int directory = static_cast<int>(name - current.target);
    int written = std::snprintf(current.fresh, sizeof current.fresh, "%.*s.%.200s.%ld.part", directory, current.target,
                                name, static_cast<long>(getpid()));
    return written > 0 && static_cast<size_t>(written) < sizeof current.fresh;
}

void end_replacement() {
    fresh_is_valid = 0;
    current.active = false;
}

// A file that is replaced keeps who may read and write it.
void keep_permissions() {
    struct stat info;
    if (stat(current.target, &info) != 0 || !S_ISREG(info.st_mode)) return;
    if (chmod(current.fresh, info.st_mode & 07777) != 0) return; // the new file's own stand then
}

} // namespace

bool files_replace_begin(const char* target, char* fresh, size_t size) {
    // A device or a pipe is not replaced: the name would then be a plain file's.
    if (current.active || (files_exists(target) && files_size_of(target) < 0)) return false;
    if (!name_target(target) || !name_fresh()) return false;
    if (std::strlen(current.fresh) >= size) return false;
    std::memcpy(fresh, current.fresh, std::strlen(current.fresh) + 1);
    if (!current.at_exit_set) current.at_exit_set = std::atexit(remove_fresh) == 0;
    current.active = true;
    fresh_is_valid = 1;
    watch_signals();
    return true;
}

bool files_replace_commit() {
    if (!current.active) return false;
    keep_permissions();
    bool renamed = std::rename(current.fresh, current.target) == 0;
    if (!renamed) remove_fresh();
    end_replacement();
    return renamed;
}

void files_replace_abandon() {
    if (!current.active) return;
    remove_fresh();
    end_replacement();
}
