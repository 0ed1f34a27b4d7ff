// Counts the events that are posted on the completion queue and not yet delivered.
//
// Thread-safety: any thread.
//
// The queue may be shut down only when no event is pending and none can be posted: gRPC aborts the process if
// an operation starts on a queue that is shut down.
#pragma once

#include <atomic>
#include <cstdint>

namespace OrvSdkRpc {

class PendingEvents {
public:
   // Counts an event that the pump thread is about to post.
   void begin() noexcept { count_.fetch_add(1); }

   // Counts an event that any other thread is about to post.
   // RETURNS: false if the server is stopping; the event must not be posted then.
   [[nodiscard]] bool tryBegin() noexcept {
      if (closed_.load()) return false;
      count_.fetch_add(1);
      // This thread writes the count, then reads the flag; the stopping side writes the flag, then reads the
      // count. So either this thread sees the flag, or the pump sees the count.
      if (closed_.load()) {
         count_.fetch_sub(1);
         return false;
      }
      return true;
   }

   // Uncounts an event that was delivered.
   void end() noexcept { count_.fetch_sub(1); }

   // After this, only the pump thread posts.
   void close() noexcept { closed_.store(true); }
   [[nodiscard]] bool closed() const noexcept { return closed_.load(); }

   [[nodiscard]] bool none() const noexcept { return count_.load() == 0; }

private:
   std::atomic<std::uint64_t> count_{0};
   std::atomic<bool> closed_{false};
};

}  // namespace OrvSdkRpc
