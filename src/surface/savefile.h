// Saves a palette or recipe file: the file that is there is kept until the new one is whole.
#pragma once

#include "platform/files.h"
#include "support/log.h"

// Writes the file at `path` by write(file_stream*), which gives false when it fails. 0, or -1 after a message, and then
// what was there before is still there.
template <typename writer> int save_file(const char* path, writer write) {
    char fresh[FILES_PATH_SIZE];
    file_stream* out = nullptr;
    if (files_replace_begin(path, fresh, sizeof fresh)) out = stream_open(fresh, "wb");
    if (out != nullptr) {
        bool good = write(out);
        if (stream_close(out) != 0) good = false;
        if (good && files_replace_commit()) return 0;
    }
    files_replace_abandon();
    log_message(LOG_WARNING, "Error : Failed to open %s for write.\n", path);
    return -1;
}
