// The lines of a source in the order in which they go out: as the file has them, or from the last to the first. Those
// are read forward, in blocks: a coded line is often found by way of the ones before it, so that going up a line at a
// time would take a time that grows with the square of the height.
//
// Fill in the first part, rows_begin(), then rows_next() until it gives null.
#pragma once

#include <cstddef>
#include <cstdint>

#include "source.h"
#include "support/memory.h"

struct source_rows {
    const raster_source* source;
    const char* path; // named in messages
    bool turned;      // from the last line to the first
    size_t bytes;     // of a line as `read` gives it
    // Reads the source's next line into `line`. False when it can't be read.
    bool (*read)(void* context, uint8_t* line);
    void* context;

    // Set by rows_begin(): the lines first to end - 1 of the file are in the block, and those from `sound` on are
    // whole.
    mem_guard<uint8_t> block{nullptr};
    int32_t most = 0; // lines that it has room for
    int32_t first = 0, end = 0, sound = 0;
    int32_t done = 0; // lines that were given
    bool failed = false;
};

// False after a message: there is no memory.
bool rows_begin(source_rows* rows);

// The next line, which stays until the next call and may be changed. Null behind the last one, at the first that the
// library had to make up, and, with `failed` set and after a message, where one can't be read.
uint8_t* rows_next(source_rows* rows);
