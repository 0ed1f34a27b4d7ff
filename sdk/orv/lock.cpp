#include "orv/lock.h"

#include <fmt/format.h>
#include <pthread.h>

#include <cstdio>
#include <mutex>
#include <string>

#include "orv/error.h"

namespace orv {
namespace {

class mutex_backend : public host::lock_backend {
public:
   void acquire() override { mutex_.lock(); }
   void release() noexcept override { mutex_.unlock(); }

private:
   std::recursive_mutex mutex_;
};

host::lock_backend& default_backend() {
   // Never destroyed: threads may still use the lock while the process exits.
   static auto* const backend = new mutex_backend;
   return *backend;
}

constinit std::atomic<host::lock_backend*> installed{nullptr};

// Only for the report of a missing lock; 0 means no thread.
using thread_number = std::uintptr_t;
thread_number this_thread() noexcept {
   return static_cast<thread_number>(::pthread_self());
}
constinit std::atomic<thread_number> owner{0};
constinit std::atomic<std::uint32_t> owner_count{0};
constinit std::atomic<thread_number> main_thread{0};

constinit std::atomic<std::uint32_t> last_epoch{0};

host::lock_backend& backend() {
   host::lock_backend* const set = installed.load(std::memory_order_acquire);
   return set != nullptr ? *set : default_backend();
}

}  // namespace

namespace host {

void lock_backend_is(lock_backend* backend) noexcept {
   installed.store(backend, std::memory_order_release);
}

void main_thread_is() noexcept {
   const std::uint32_t epoch = last_epoch.fetch_add(1, std::memory_order_relaxed) + 1;
   detail::this_thread_lock.main_epoch = epoch;
   detail::main_epoch.store(epoch, std::memory_order_relaxed);
   main_thread.store(this_thread(), std::memory_order_relaxed);
}

void main_thread_clear() noexcept {
   main_thread.store(0, std::memory_order_relaxed);
   detail::main_epoch.store(0, std::memory_order_relaxed);
}

}  // namespace host

namespace detail {

void lock_acquire() {
   lock_state& mine = this_thread_lock;
   if (mine.depth == 0) {
      backend().acquire();
      owner.store(this_thread(), std::memory_order_relaxed);
   }
   ++mine.depth;
   owner_count.store(mine.depth, std::memory_order_relaxed);
}

void lock_settle() noexcept {
   backend().settle();
}

void lock_release() noexcept {
   lock_state& mine = this_thread_lock;
   --mine.depth;
   owner_count.store(mine.depth, std::memory_order_relaxed);
   if (mine.depth == 0) {
      owner.store(0, std::memory_order_relaxed);
      backend().release();
   }
}

void lock_missing() {
   const std::string report = fmt::format(
        "[ORV SDK ERROR] Thread did not grab orv::sdk_scoped_lock:\n"
        "  mainThreadId: {}\n"
        "  scopedLockOwner: {}\n"
        "  scopedLockOwnerCount: {}\n"
        "  myThreadId: {}\n",
        main_thread.load(std::memory_order_relaxed), owner.load(std::memory_order_relaxed),
        owner_count.load(std::memory_order_relaxed), this_thread());
   std::fwrite(report.data(), 1, report.size(), stderr);
   std::fflush(stderr);
   throw no_scoped_lock_obtained_error();
}

}  // namespace detail
}  // namespace orv
