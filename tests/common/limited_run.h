// Running a program under limits, or with a signal at some moment, and measuring what it took. Output goes to a file,
// so that nothing has to be read meanwhile.
#pragma once

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__)
constexpr bool WITH_SANITIZER = true; // takes address space without measure, and memory and time beside
#else
constexpr bool WITH_SANITIZER = false;
#endif

struct run_limits {
    int64_t file_bytes = -1;    // a file that it writes grows no larger
    int64_t address_bytes = -1; // no more address space
    int64_t seconds = 60;       // of processor time; beyond, the run is killed
};

struct limited_result {
    int status; // exit status; 128 + signal
    double seconds;
    int64_t peak_bytes; // of memory
    int64_t out_bytes;
    std::string err;
    bool ok() const { return status == 0; }
    bool was_killed_by(int number) const { return status == 128 + number; }
};

// A program that is running.
struct running {
    pid_t process;
    std::string out, err; // files
};

inline void limit(int what, int64_t value) {
    const rlimit limits = {static_cast<rlim_t>(value), static_cast<rlim_t>(value)};
    if (value >= 0 && setrlimit(static_cast<__rlimit_resource>(what), &limits) != 0) _exit(99);
}

// Starts `words` (the first one the program's path) in `directory`. Standard output goes to `out`, an existing device
// or a file that is made.
inline running start_program(const std::string& directory, const std::vector<std::string>& words,
                             const run_limits& limits, const std::string& out) {
    static int count = 0;
    const std::string place =
        testing::TempDir() + "limited-" + std::to_string(getpid()) + "-" + std::to_string(count++);
    running r = {0, out.empty() ? place + ".out" : out, place + ".err"};
    std::vector<char*> arguments;
    for (const std::string& word : words)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    r.process = fork();
    if (r.process != 0) return r;
    const int to = open(r.out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    const int err = open(r.err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (to < 0 || err < 0 || dup2(to, 1) != 1 || dup2(err, 2) != 2 || chdir(directory.c_str()) != 0) _exit(99);
    limit(RLIMIT_CORE, 0);
    limit(RLIMIT_CPU, limits.seconds);
    limit(RLIMIT_FSIZE, limits.file_bytes);
    limit(RLIMIT_AS, limits.address_bytes);
    execv(arguments[0], arguments.data());
    _exit(99);
}

// Waits for its end.
inline limited_result end_program(const running& r) {
    int status = 0;
    rusage used = {};
    while (wait4(r.process, &status, 0, &used) < 0 && errno == EINTR) {
    }
    limited_result result = {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), 0, 0, 0, ""};
    result.seconds = static_cast<double>(used.ru_utime.tv_sec + used.ru_stime.tv_sec) +
                     static_cast<double>(used.ru_utime.tv_usec + used.ru_stime.tv_usec) / 1e6;
    result.peak_bytes = int64_t{used.ru_maxrss} * 1024;
    std::error_code none;
    if (std::filesystem::is_regular_file(r.out, none)) {
        result.out_bytes = static_cast<int64_t>(std::filesystem::file_size(r.out, none));
        std::filesystem::remove(r.out, none);
    }
    std::ifstream said(r.err, std::ios::binary);
    result.err.assign(std::istreambuf_iterator<char>(said), {});
    std::filesystem::remove(r.err, none);
    return result;
}

inline limited_result run_limited(const std::string& directory, const std::vector<std::string>& words,
                                  const run_limits& limits = {}, const std::string& out = "") {
    return end_program(start_program(directory, words, limits, out));
}

inline void wait_microseconds(int64_t count) {
    const timespec time = {count / 1000000, count % 1000000 * 1000};
    nanosleep(&time, nullptr);
}
