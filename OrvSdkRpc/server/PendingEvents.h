// How many events are posted on the completion queue and not yet delivered.
//
// Thread-safe. The queue may be shut down only when nothing is outstanding and nothing can be posted any
// more: gRPC aborts the process on an operation that is started on a queue in shutdown.
#pragma once

#include <atomic>
#include <cstdint>

namespace OrvSdkRpc {

class PendingEvents {
public:
   // Counts an event that the pump thread is about to post.
   void begin() noexcept { count_.fetch_add(1); }

   // Counts an event that any other thread is about to post. False when the server is stopping: then the
   // event must not be posted.
   [[nodiscard]] bool tryBegin() noexcept {
      if (closed_.load()) return false;
      count_.fetch_add(1);
      // The order count, then flag, pairs with the pump's flag, then count: either this thread sees the flag,
      // or the pump sees the count.
      if (closed_.load()) {
         count_.fetch_sub(1);
         return false;
      }
      return true;
   }

   // Takes back one count: its event was delivered.
   void end() noexcept { count_.fetch_sub(1); }

   // From now on only the pump thread posts.
   void close() noexcept { closed_.store(true); }
   [[nodiscard]] bool closed() const noexcept { return closed_.load(); }

   [[nodiscard]] bool none() const noexcept { return count_.load() == 0; }

private:
   std::atomic<std::uint64_t> count_{0};
   std::atomic<bool> closed_{false};
};

}  // namespace OrvSdkRpc
