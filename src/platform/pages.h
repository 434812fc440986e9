// Advice to the system about memory that is about to be filled.
#pragma once

#include <cstddef>

// The usual size of a large page. A block whose first and last used bytes stand on its multiples has no small pages.
constexpr size_t LARGE_PAGE = size_t{1} << 21;

// Asks for large pages behind a block of many megabytes, so that touching it first costs a fault for each of them and
// not for each small page. Advice only: nothing changes where it can't be followed.
void pages_prefer_large(void* block, size_t bytes);
