// Spans of time in nanoseconds.
#pragma once

#include <cstdint>

namespace orvtest {

inline constexpr std::int64_t us = 1000;
inline constexpr std::int64_t ms = 1000 * us;
inline constexpr std::int64_t anHour = 3'600'000 * ms;

}  // namespace orvtest
