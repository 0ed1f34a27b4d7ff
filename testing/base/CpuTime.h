// CPU time, for bounds on how long something takes that hold on a busy machine too.
//
// Thread-safe.
#pragma once

#include <cstdint>
#include <ctime>

namespace orvtest {

inline std::int64_t cpuNanos(clockid_t clock) {
   timespec now{};
   clock_gettime(clock, &now);
   return now.tv_sec * std::int64_t{1'000'000'000} + now.tv_nsec;
}

// The CPU time of all threads of this process so far. While one of them always has work, it grows by at least
// the time that the work would take on an idle machine.
inline std::int64_t processCpuNanos() {
   return cpuNanos(CLOCK_PROCESS_CPUTIME_ID);
}

// The CPU time of the calling thread so far.
inline std::int64_t threadCpuNanos() {
   return cpuNanos(CLOCK_THREAD_CPUTIME_ID);
}

}  // namespace orvtest
