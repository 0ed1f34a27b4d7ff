// The SDK's lock, and the check that it is held.
//
// The SDK has one main thread, which may call it at any time. Every other thread
// holds an sdk_scoped_lock around its calls, and is then exclusive with the main
// loop and with all other holders.
//
// Thread-safety: sdk_scoped_lock and sdk_lock_check may be used by any thread. A
// lock belongs to the thread that made it.
#pragma once

#include <atomic>
#include <cstdint>

namespace orv {
namespace host {

// What stands behind sdk_scoped_lock. Whoever runs the SDK's main loop installs
// its own, so that a holder is exclusive with that loop.
class lock_backend {
public:
   virtual ~lock_backend() = default;
   virtual void acquire() = 0;
   virtual void release() noexcept = 0;
   // Makes final what a release would make final, such as writes that it commits, and
   // keeps the lock. Must do nothing on a thread that does not hold the lock.
   virtual void settle() noexcept {}
};

// Installs a backend, which must outlive its use; null restores the default, a
// process-wide mutex. Must not be called while any thread holds the lock.
void lock_backend_is(lock_backend* backend) noexcept;

// Makes the calling thread the main thread, in place of any earlier one. As long
// as no thread is marked, every thread counts as the main thread.
void main_thread_is() noexcept;

// Back to the state in which no thread is marked.
void main_thread_clear() noexcept;

}  // namespace host

namespace detail {

// A thread is the main thread when its epoch equals the process's, which is 0 as
// long as no thread is marked. No two marks have the same epoch.
struct lock_state {
   std::uint32_t depth = 0;
   std::uint32_t main_epoch = 0;
};
inline constinit thread_local lock_state this_thread_lock;
inline constinit std::atomic<std::uint32_t> main_epoch{0};

void lock_acquire();
void lock_release() noexcept;
void lock_yield() noexcept;
void lock_settle() noexcept;
[[noreturn]] void lock_missing();

}  // namespace detail

// Holds the SDK's lock for its scope. Recursive: only the outermost one of a
// thread takes and releases the backend.
class sdk_scoped_lock {
public:
   sdk_scoped_lock() { detail::lock_acquire(); }
   ~sdk_scoped_lock() { detail::lock_release(); }
   sdk_scoped_lock(const sdk_scoped_lock&) = delete;
   sdk_scoped_lock& operator=(const sdk_scoped_lock&) = delete;
};

// Gives others a turn in the middle of a long read: lets go of the lock, however
// often this thread has taken it, and takes it again. What the caller knows of the
// tables is no longer true then; iterators go on. Does nothing for a thread that has
// taken no sdk_scoped_lock. A backend that cannot be taken again ends the process.
inline void sdk_lock_yield() noexcept {
   if (detail::this_thread_lock.depth != 0) detail::lock_yield();
}

// True when the calling thread may call the SDK.
[[nodiscard]] inline bool sdk_call_allowed() noexcept {
   const detail::lock_state& mine = detail::this_thread_lock;
   const std::uint32_t main = detail::main_epoch.load(std::memory_order_relaxed);
   return mine.depth != 0 || mine.main_epoch == main || main == 0;
}

// Makes final what the calling thread has done under the lock, as the release of
// the lock would, and keeps the lock. Whoever tells the outside world of something
// with the lock still held calls this first: a crash then takes back nothing that
// was told. An SDK that cannot make it final ends the process. Does nothing for a
// thread that holds no lock, since its last release has done it already.
inline void sdk_lock_settle() noexcept {
   // The main thread may hold the lock without an sdk_scoped_lock.
   if (sdk_call_allowed()) detail::lock_settle();
}

// To stand first in every operation of a manager. A caller that is neither the
// main thread nor a holder of the lock gets a report on standard error and
// no_scoped_lock_obtained_error.
inline void sdk_lock_check() {
   if (!sdk_call_allowed()) [[unlikely]]
      detail::lock_missing();
}

}  // namespace orv
