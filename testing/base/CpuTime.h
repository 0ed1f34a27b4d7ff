// How long something took, but for what else the machine did meanwhile: bounds that hold on a busy machine
// too.
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

// What all threads of this process have run so far. Between two looks it grows at least as much as the time
// that passes on a quiet machine, as long as one thread always has something to do.
inline std::int64_t processCpuNanos() {
   return cpuNanos(CLOCK_PROCESS_CPUTIME_ID);
}

// What the calling thread has run so far.
inline std::int64_t threadCpuNanos() {
   return cpuNanos(CLOCK_THREAD_CPUTIME_ID);
}

}  // namespace orvtest
