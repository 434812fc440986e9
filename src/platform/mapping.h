// Parts of files seen as memory, for reading without a copy.
//
// A page that is gone, because another process has cut the file or its disk fails, would end the process at its first
// touch. So the first mapping installs a handler of SIGBUS. A touch inside a mapping of this module puts pages of zeros
// in the place of what is gone, and is told by mapping_is_cut(). (The rest of the page with a file's new end reads as
// zeros as well, and nothing tells that.) Any other touch goes on to the handler that was there before, or takes the
// system's own course.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/files.h"

// Offsets of mappings are multiples of this: some large pages, which the system can map with one entry each.
constexpr size_t MAPPING_STEP = size_t{1} << 22; // bytes

struct file_mapping {
    const uint8_t* bytes; // null: nothing is mapped
    size_t size;          // bytes that may be touched
    int place;            // among the mappings that the handler knows
};

// Maps `size` bytes, 1 or more, of a file that has them. `offset` is a multiple of MAPPING_STEP. False when the file
// can't be mapped, or when too many parts are, and it has to be read instead. A planned short read maps less.
bool mapping_make(os_file file, int64_t offset, size_t size, file_mapping* mapping);

// Some page of it was gone when it was touched: zeros stand there.
bool mapping_is_cut(const file_mapping* mapping);

// Does nothing for a mapping of nothing.
void mapping_drop(file_mapping* mapping);
