// What fuzz targets of raster formats share: a file in memory, and demands on what is read back.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <utility>
#include <vector>

#include "raster/rzl.h"

using bytes = std::vector<uint8_t>;

// A promise of the library that does not hold is a finding.
inline void demand(bool holds) {
    if (!holds) abort();
}

inline int32_t field(CFILE* c, int32_t id) {
    int32_t value = 0;
    demand(rzl_get_hdr_data(c, id, &value) == 0);
    return value;
}

// `name` opens the bytes of `block`.
struct memory_file {
    bytes block;
    rzl_memfile record;
    char name[40];
    explicit memory_file(bytes content) : block(std::move(content)) {
        record = {block.data(), static_cast<int32_t>(block.size()), 0, 0, 0, 0};
        demand(rzl_memfile_name(&record, name, sizeof name) == 0);
    }
    memory_file(const memory_file&) = delete;
    memory_file& operator=(const memory_file&) = delete;
};
