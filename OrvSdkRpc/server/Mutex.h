// The library's mutex, with the annotations that let clang prove which lock guards what.
//
// Thread-safe by nature. Lock order, outermost first: the SDK's lock, a subscription controller's mutex, the
// TagManager's mutex. A stream handler's mutex is a leaf: none of the three is taken while it is held.
#pragma once

#include <mutex>

#if defined(__clang__)
#define ORV_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define ORV_THREAD_ATTRIBUTE(x)
#endif
#define ORV_GUARDED_BY(m) ORV_THREAD_ATTRIBUTE(guarded_by(m))
#define ORV_REQUIRES(...) ORV_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define ORV_EXCLUDES(...) ORV_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))

namespace OrvSdkRpc {

class ORV_THREAD_ATTRIBUTE(capability("mutex")) Mutex {
public:
   Mutex() = default;
   Mutex(const Mutex&) = delete;
   Mutex& operator=(const Mutex&) = delete;

   void lock() ORV_THREAD_ATTRIBUTE(acquire_capability()) { mutex_.lock(); }
   void unlock() ORV_THREAD_ATTRIBUTE(release_capability()) { mutex_.unlock(); }

private:
   std::mutex mutex_;
};

// Holds a Mutex for a scope; may be let go early, once.
class ORV_THREAD_ATTRIBUTE(scoped_lockable) MutexLock {
public:
   explicit MutexLock(Mutex& mutex) ORV_THREAD_ATTRIBUTE(acquire_capability(mutex)) : mutex_(&mutex) {
      mutex_->lock();
   }
   ~MutexLock() ORV_THREAD_ATTRIBUTE(release_capability()) {
      if (mutex_) mutex_->unlock();
   }
   MutexLock(const MutexLock&) = delete;
   MutexLock& operator=(const MutexLock&) = delete;

   void unlock() ORV_THREAD_ATTRIBUTE(release_capability()) {
      mutex_->unlock();
      mutex_ = nullptr;
   }

private:
   Mutex* mutex_;
};

}  // namespace OrvSdkRpc
