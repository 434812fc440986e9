// What a module promises about its own data, checked in builds with sanitizers and left out of all others. Not for what
// a file or a user brings: that gets an error.
#pragma once

#include <cstdio>
#include <cstdlib>

#if defined(__SANITIZE_ADDRESS__)
constexpr bool INVARIANTS_CHECKED = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool INVARIANTS_CHECKED = true;
#else
constexpr bool INVARIANTS_CHECKED = false;
#endif
#else
constexpr bool INVARIANTS_CHECKED = false;
#endif

// Stops the program, and names the promise, when it isn't kept.
inline void invariant(bool holds, const char* promise) {
    if (!INVARIANTS_CHECKED || holds) return;
    std::fprintf(stderr, "invariant broken: %s\n", promise);
    std::abort();
}
