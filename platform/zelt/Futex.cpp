#include "platform/zelt/Futex.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

#include "platform/zelt/Clock.h"

namespace Zelt {

static_assert(sizeof(std::atomic<std::uint32_t>) == 4 && std::atomic<std::uint32_t>::is_always_lock_free,
              "the kernel compares the word as it lies in memory");

bool futexWait(const std::atomic<std::uint32_t>& word, std::uint32_t expected,
               std::int64_t timeoutNs) noexcept {
   timespec timeout{};
   const timespec* limit = nullptr;
   if (timeoutNs != noTimeout) {
      if (timeoutNs <= 0) return false;
      timeout.tv_sec = timeoutNs / nanosPerSecond;
      timeout.tv_nsec = timeoutNs % nanosPerSecond;
      limit = &timeout;
   }
   const int savedErrno = errno;
   const long result = syscall(SYS_futex, &word, FUTEX_WAIT_PRIVATE, expected, limit, nullptr, 0);
   const bool timedOut = result == -1 && errno == ETIMEDOUT;
   errno = savedErrno;
   return !timedOut;
}

void futexWake(const std::atomic<std::uint32_t>* word) noexcept {
   const int savedErrno = errno;
   syscall(SYS_futex, word, FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0);
   errno = savedErrno;
}

}  // namespace Zelt
