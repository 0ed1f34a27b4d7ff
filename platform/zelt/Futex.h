#pragma once

// Sleeping and waking on a word of memory (futex(2)), private to the process.
// Thread-safety: all functions may be called from any thread; futexWake also from a signal handler.

#include <atomic>
#include <cstdint>

namespace Zelt {

inline constexpr std::int64_t noTimeout = -1;

/// Sleeps while `word` holds `expected`, at most `timeoutNs` nanoseconds (noTimeout: without end). May return
/// early for no reason: the caller looks at the word again. Returns false only if the time is over.
bool futexWait(const std::atomic<std::uint32_t>& word, std::uint32_t expected,
               std::int64_t timeoutNs) noexcept;

/// Wakes one thread that sleeps on `word`. The word need not exist any more. Keeps errno.
void futexWake(const std::atomic<std::uint32_t>* word) noexcept;

/// Tells the processor that the caller polls a word in memory.
inline void spinPause() noexcept {
#if defined(__x86_64__) || defined(__i386__)
   __builtin_ia32_pause();
#elif defined(__aarch64__)
   asm volatile("yield");
#endif
}

}  // namespace Zelt
