// Sums and products of sizes that say whether they fit. A size that comes from a file goes through these before memory
// is taken or a loop runs by it.
#pragma once

#include <cstddef>
#include <cstdint>

// Store a + b or a * b and return true, or return false when the result does not fit the type of `out`.
template <typename A, typename B, typename T> [[nodiscard]] bool checked_add(A a, B b, T* out) {
    return !__builtin_add_overflow(a, b, out);
}
template <typename A, typename B, typename T> [[nodiscard]] bool checked_mul(A a, B b, T* out) {
    return !__builtin_mul_overflow(a, b, out);
}

// The value limited to low .. high.
template <typename T> constexpr T clamped(T value, T low, T high) {
    return value < low ? low : (value > high ? high : value);
}
