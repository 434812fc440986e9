// Running a program and looking at what it said: the programs of this project, and those that check our files.
#pragma once

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>
#include <sys/wait.h>

struct run_result {
    int status; // exit status; 128 + signal
    std::string out, err;
    bool ok() const { return status == 0; }
};

// Runs a command line by the shell inside `directory`.
inline run_result run_command(const std::string& directory, const std::string& command) {
    const std::string err = directory + "/.stderr";
    const std::string line = "cd '" + directory + "' && { " + command + "\n} 2>'" + err + "'";
    run_result result = {0, "", ""};
    FILE* pipe = popen(line.c_str(), "r");
    char buffer[4096];
    for (size_t count = 0; (count = fread(buffer, 1, sizeof buffer, pipe)) > 0;)
        result.out.append(buffer, count);
    const int status = pclose(pipe);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    std::ifstream said(err, std::ios::binary);
    result.err.assign(std::istreambuf_iterator<char>(said), {});
    std::filesystem::remove(err);
    return result;
}

// The test ends here, failed, when a program that it needs is not installed.
#define NEEDS_PROGRAM(name)                                                                                            \
    if (!run_command("/", "command -v " name).ok()) GTEST_FAIL() << name " is missing"
