#pragma once

// A std::mutex that clang's thread-safety analysis understands.
// Thread-safety: any thread. Not recursive.

#include <mutex>

#include "platform/zelt/ThreadAnnotations.h"

namespace Zelt {

class ZELT_CAPABILITY("mutex") Mutex {
public:
   constexpr Mutex() = default;
   Mutex(const Mutex&) = delete;
   Mutex& operator=(const Mutex&) = delete;

   void lock() ZELT_ACQUIRE() { mutex_.lock(); }
   void unlock() ZELT_RELEASE() { mutex_.unlock(); }

private:
   std::mutex mutex_;
};

// Holds a Mutex for its scope, or until an early unlock.
class ZELT_SCOPED_CAPABILITY MutexAnchor {
public:
   explicit MutexAnchor(Mutex& mutex) ZELT_ACQUIRE(mutex) : mutex_(&mutex) { mutex_->lock(); }
   ~MutexAnchor() ZELT_RELEASE() {
      if (mutex_ != nullptr) mutex_->unlock();
   }
   MutexAnchor(const MutexAnchor&) = delete;
   MutexAnchor& operator=(const MutexAnchor&) = delete;

   // REQUIRES: unlock was not called before.
   void unlock() ZELT_RELEASE() {
      mutex_->unlock();
      mutex_ = nullptr;
   }

private:
   Mutex* mutex_;
};

}  // namespace Zelt
