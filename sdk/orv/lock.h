// The SDK's lock, and the check that it is held.
//
// The SDK has one main thread, which may call it at any time. Every other thread must hold an sdk_scoped_lock
// around its calls, which excludes the main loop and all other holders.
//
// Thread-safety: any thread may use sdk_scoped_lock and sdk_lock_check. A lock belongs to the thread that
// created it.
#pragma once

#include <atomic>
#include <cstdint>

namespace orv {
namespace host {

// The implementation behind sdk_scoped_lock. The host that runs the SDK's main loop installs its own, so that
// a holder excludes that loop.
class lock_backend {
public:
   virtual ~lock_backend() = default;
   virtual void acquire() = 0;
   virtual void release() noexcept = 0;
   // Makes final what a release would make final, such as writes that it commits, but keeps the lock. Must be
   // a no-op on a thread that does not hold the lock.
   virtual void settle() noexcept {}
};

// Installs a backend, which must outlive its use; null restores the default, a process-wide mutex.
// REQUIRES: no thread holds the lock.
void lock_backend_is(lock_backend* backend) noexcept;

// Makes the calling thread the main thread, in place of any earlier one. While no thread is marked, every
// thread counts as the main thread.
void main_thread_is() noexcept;

// Restores the state in which no thread is marked.
void main_thread_clear() noexcept;

}  // namespace host

namespace detail {

// A thread is the main thread if its epoch equals the process's, which is 0 while no thread is marked. No two
// marks have the same epoch.
struct lock_state {
   std::uint32_t depth = 0;
   std::uint32_t main_epoch = 0;
};
inline constinit thread_local lock_state this_thread_lock;
inline constinit std::atomic<std::uint32_t> main_epoch{0};

void lock_acquire();
void lock_release() noexcept;
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

// True if the calling thread may call the SDK.
[[nodiscard]] inline bool sdk_call_allowed() noexcept {
   const detail::lock_state& mine = detail::this_thread_lock;
   const std::uint32_t main = detail::main_epoch.load(std::memory_order_relaxed);
   return mine.depth != 0 || mine.main_epoch == main || main == 0;
}

// Makes final what the calling thread has done under the lock, as a release would, but keeps the lock. Call
// this before reporting a change to the outside while the lock is still held: a crash then cannot undo what
// was reported. If the SDK cannot make the changes final, the process ends. A no-op on a thread that does not
// hold the lock, since its last release has made them final.
inline void sdk_lock_settle() noexcept {
   // The main thread may hold the lock without an sdk_scoped_lock.
   if (sdk_call_allowed()) detail::lock_settle();
}

// Every operation of a manager calls this first.
// THROWS: no_scoped_lock_obtained_error, after a report on standard error, if the caller is neither the main
// thread nor a holder of the lock.
inline void sdk_lock_check() {
   if (!sdk_call_allowed()) [[unlikely]]
      detail::lock_missing();
}

}  // namespace orv
