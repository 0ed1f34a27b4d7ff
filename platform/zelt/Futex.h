#pragma once

// Sleeping and waking on a word of memory (futex(2)), private to the process.
// Thread-safety: any thread; futexWake is async-signal-safe.

#include <atomic>
#include <cstdint>

namespace Zelt {

inline constexpr std::int64_t noTimeout = -1;

// Sleeps while `word` holds `expected`, for at most `timeoutNs` nanoseconds (noTimeout: no limit). Wake-ups
// may be spurious, so the caller has to read the word again.
// RETURNS: false only if the timeout has expired.
bool futexWait(const std::atomic<std::uint32_t>& word, std::uint32_t expected,
               std::int64_t timeoutNs) noexcept;

// Wakes one thread that sleeps on `word`. `word` may be dangling. Preserves errno.
void futexWake(const std::atomic<std::uint32_t>* word) noexcept;

// Hints to the processor that the caller spins on a word in memory.
inline void spinPause() noexcept {
#if defined(__x86_64__) || defined(__i386__)
   __builtin_ia32_pause();
#elif defined(__aarch64__)
   asm volatile("yield");
#endif
}

}  // namespace Zelt
