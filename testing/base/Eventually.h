// Waiting for what another thread does, and how long it may take.
//
// Thread-safe.
#pragma once

#include <cstdint>
#include <functional>

namespace orvtest {

// Whether this program runs under the address or the thread sanitizer.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool sanitized = true;
#elif defined(__has_feature)
inline constexpr bool sanitized = __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
inline constexpr bool sanitized = false;
#endif

// The factor by which a measured time may exceed its bound: 1, but more under a sanitizer and on a machine
// that run_busy keeps busy.
std::int64_t slowdown();

// Polls the condition until it holds, for 30 seconds at most, or 60 when slowdown() is above 1.
// RETURNS: the condition's last value.
bool eventually(const std::function<bool()>& condition);

}  // namespace orvtest
