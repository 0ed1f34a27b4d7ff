#include "platform/zelt/Clock.h"

#include <ctime>

namespace Zelt {

namespace {

std::int64_t nanosOf(clockid_t clock) noexcept {
   timespec now{};
   clock_gettime(clock, &now);
   return static_cast<std::int64_t>(now.tv_sec) * nanosPerSecond + now.tv_nsec;
}

}  // namespace

std::int64_t Clock::steadyNanos() noexcept {
   return nanosOf(CLOCK_MONOTONIC);
}

std::int64_t Clock::wallNanos() noexcept {
   return nanosOf(CLOCK_REALTIME);
}

}  // namespace Zelt
