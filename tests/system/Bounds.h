// Bounds of the system tests. A sanitizer slows everything down, the bounds with it.
#pragma once

#include <chrono>

namespace systest {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr int slowness = 10;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
inline constexpr int slowness = 10;
#else
inline constexpr int slowness = 1;
#endif
#else
inline constexpr int slowness = 1;
#endif

// A daemon under load has stopped in order.
inline constexpr std::chrono::milliseconds stopBound{2000 * slowness};
// A main-loop round trip under load, 99th percentile. Far above what a quiet
// machine shows: here the machine builds and tests other things too.
inline constexpr std::chrono::milliseconds pingBound{100 * slowness};

}  // namespace systest
