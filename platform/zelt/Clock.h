#pragma once

// The two clocks.
// Thread-safety: any thread; async-signal-safe.

#include <cstdint>

namespace Zelt {

// A time or a span in seconds.
using Seconds = double;

inline constexpr std::int64_t nanosPerMicro = 1'000;
inline constexpr std::int64_t nanosPerMilli = 1'000'000;
inline constexpr std::int64_t nanosPerSecond = 1'000'000'000;

struct Clock {
   // Nanoseconds of the monotonic clock (CLOCK_MONOTONIC): for deadlines and durations.
   static std::int64_t steadyNanos() noexcept;
   // Nanoseconds since the epoch (CLOCK_REALTIME): for timestamps that leave the process.
   static std::int64_t wallNanos() noexcept;

   // RETURNS: what to add to a monotonic timestamp to get the wall-clock time of the same moment.
   static std::int64_t wallMinusSteadyNanos() noexcept { return wallNanos() - steadyNanos(); }

   static constexpr Seconds seconds(std::int64_t nanos) noexcept {
      return static_cast<Seconds>(nanos) / static_cast<Seconds>(nanosPerSecond);
   }
};

}  // namespace Zelt
