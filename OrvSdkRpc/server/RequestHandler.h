// Base class of the handlers, each of which serves one call.
//
// Thread-safety: everything runs on the pump thread, unless stated otherwise.
//
// A handler is posted before its call arrives and is destroyed after its last event. The pump detects that
// moment by counting: code that posts an event under one of the handler's tags calls beginEvent first, and
// the pump decrements the count for each delivered event. So finish, write, alarm and done events may arrive
// in any order.
#pragma once

#include <grpcpp/completion_queue.h>
#include <grpcpp/server.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "OrvSdkRpc/server/PendingEvents.h"

namespace OrvSdkRpc {

// A tag on the completion queue: a number stored as a pointer and never dereferenced. It is never null, and
// never reused while the server lives, so that a late event cannot reach a new handler.
using OpaqueId = void*;

class RequestHandler {
public:
   // Handles one event: first the arrival of the call, then every successful event in state 1.
   virtual void process(OpaqueId tag) = 0;

   // Creates the successor, posted under `nextTag`, which waits for the next call of the same RPC.
   virtual std::shared_ptr<RequestHandler> chain(OpaqueId nextTag) = 0;

   virtual ~RequestHandler();

   RequestHandler(const RequestHandler&) = delete;
   RequestHandler& operator=(const RequestHandler&) = delete;

   // The call has ended, on the client's side or on ours; from here on the context knows whether it was
   // cancelled. Called once, in any state, if the handler has a done tag.
   virtual void callDone() {}

   // 0 waiting or unary, 1 running, 2 finishing. Written on the pump thread only.
   [[nodiscard]] std::int32_t state() const { return state_; }
   // The main tag, under which the request was posted.
   [[nodiscard]] OpaqueId tag() const { return tag_; }
   // The tag of the done notification; null if none was requested.
   [[nodiscard]] OpaqueId doneTag() const { return doneTag_; }

   // Counts an event that the pump thread is about to post under one of this handler's tags.
   void beginEvent() {
      pending_.fetch_add(1, std::memory_order_relaxed);
      events_.begin();
   }
   // The same for any other thread.
   // RETURNS: false if the server is stopping; the event must not be posted then.
   [[nodiscard]] bool beginEventFromOutside() {
      if (!events_.tryBegin()) return false;
      pending_.fetch_add(1, std::memory_order_relaxed);
      return true;
   }

   // For a handler whose reply another thread starts later. Called on the pump thread; keeps the handler
   // alive until the promised event is delivered. A stopping server does not wait for promised events.
   void promiseEvent() { pending_.fetch_add(1, std::memory_order_relaxed); }
   // Called by any thread before it posts the promised event.
   // RETURNS: false if the server is stopping; the event must not be posted then, and the handler is
   // destroyed with the server.
   [[nodiscard]] bool beginPromisedEvent() { return events_.tryBegin(); }

protected:
   RequestHandler(OpaqueId tag, grpc::Server& server, grpc::ServerCompletionQueue& cq, PendingEvents& events)
        : tag_(tag), server_(server), cq_(cq), events_(events) {}

   std::int32_t state_ = 0;
   const OpaqueId tag_;
   grpc::Server& server_;
   // Call queue and notification queue of the request.
   grpc::ServerCompletionQueue& cq_;
   OpaqueId doneTag_ = nullptr;

private:
   // They count events and remove finished handlers.
   friend class GrpcServer;
   friend class TagManager;

   PendingEvents& events_;
   std::atomic<std::uint32_t> pending_{0};
   bool arrived_ = false;
   // Guarded by the TagManager's mutex.
   std::vector<OpaqueId> extraTags_;
};

}  // namespace OrvSdkRpc
