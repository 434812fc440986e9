// Pixels of three bytes into three planes and back, by the machine's wide operations where it has them. The formats use
// split_pixels() and join_pixels() of samples.h.
#pragma once

#include <cstddef>
#include <cstdint>

// The pixels done, from the first on: a multiple of sixteen, or none. The rest is the caller's. No plane is null.
size_t split_triples(const uint8_t* pixels, uint8_t* const* planes, size_t count);
size_t join_triples(uint8_t* pixels, const uint8_t* const* planes, size_t count);
