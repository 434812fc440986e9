// The plan by which a test cuts a transfer of bytes short. Private to the files of this directory.
#pragma once

#include <cstddef>

// How many of `bytes` a transfer may move: all of them, unless it is the one that is to come back short.
size_t transfer_limit(size_t bytes);
