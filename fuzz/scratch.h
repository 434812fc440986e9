// What fuzz targets share: a file that holds the input, and silence.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <unistd.h>

#include "support/log.h"

// The path of a file with the input's bytes, one a process and extension.
inline std::string scratch_file(const uint8_t* data, size_t size, const char* extension) {
    std::string path = "/tmp/tinct-fuzz-" + std::to_string(getpid()) + extension;
    FILE* file = fopen(path.c_str(), "wb");
    if (file == nullptr) abort();
    if (size > 0) fwrite(data, 1, size, file);
    fclose(file);
    return path;
}

// No message is shown and nothing ends the process.
inline void scratch_silence() {
    log_set_sink(nullptr, nullptr);
    stop_set_action([](void*, int) {}, nullptr);
}
