// The SDK's lock with a look at when it is taken, settled and released.
//
// Thread-safe; to be made and destroyed while nobody holds the lock.
#pragma once

#include <atomic>
#include <functional>
#include <mutex>

#include "orv/lock.h"

namespace orvtest {

// Stands behind orv::sdk_scoped_lock for its life, and makes the calling thread the main thread, so that no
// other may call the SDK without the lock.
class WatchedLock final : public orv::host::lock_backend {
public:
   WatchedLock() {
      orv::host::lock_backend_is(this);
      orv::host::main_thread_is();
   }
   ~WatchedLock() override {
      orv::host::main_thread_clear();
      orv::host::lock_backend_is(nullptr);
   }
   WatchedLock(const WatchedLock&) = delete;
   WatchedLock& operator=(const WatchedLock&) = delete;

   void acquire() override {
      mutex_.lock();
      ++taken_;
   }
   void release() noexcept override {
      if (onRelease) onRelease();
      ++released_;
      mutex_.unlock();
   }
   void settle() noexcept override {
      if (onSettle) onSettle();
      ++settled_;
   }

   [[nodiscard]] int taken() const { return taken_; }
   [[nodiscard]] int released() const { return released_; }
   [[nodiscard]] int settled() const { return settled_; }

   // Run in front of each release and each settling. To be set before others use the lock.
   std::function<void()> onRelease;
   std::function<void()> onSettle;

private:
   std::mutex mutex_;
   std::atomic<int> taken_{0};
   std::atomic<int> released_{0};
   std::atomic<int> settled_{0};
};

}  // namespace orvtest
