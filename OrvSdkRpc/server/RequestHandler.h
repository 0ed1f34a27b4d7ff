// Base of the objects that serve one call each.
//
// Thread-safety: everything runs on the pump thread, but for what says otherwise.
//
// A handler is posted for a call before the call exists and dies when its last event was delivered. The pump
// knows that moment by counting: whoever posts an event on the completion queue under a tag of this handler
// calls beginEvent first, the pump takes one back for every delivery. So the end of a call needs no knowledge
// of the order in which finish, write, alarm and done events come in.
#pragma once

#include <grpcpp/completion_queue.h>
#include <grpcpp/server.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "OrvSdkRpc/server/PendingEvents.h"

namespace OrvSdkRpc {

// A tag on the completion queue: a number in the shape of a pointer, never dereferenced. Never null, never
// reused during the life of a server, so that a late event cannot reach a new handler.
using OpaqueId = void*;

class RequestHandler {
public:
   // One event for this handler: the arrival of its call, and after that every successful event of a call in
   // state 1.
   virtual void process(OpaqueId tag) = 0;

   // The successor, already posted under `nextTag`, that waits for the next call of the same RPC.
   virtual std::shared_ptr<RequestHandler> chain(OpaqueId nextTag) = 0;

   virtual ~RequestHandler();

   RequestHandler(const RequestHandler&) = delete;
   RequestHandler& operator=(const RequestHandler&) = delete;

   // The call is over on the client's side or on ours; from here on the context may be asked whether it was
   // cancelled. Called once, for handlers with a done tag, whatever the state.
   virtual void callDone() {}

   // 0 waiting or unary, 1 running, 2 finishing. Written on the pump thread only.
   [[nodiscard]] std::int32_t state() const { return state_; }
   // The main tag, under which the request was posted.
   [[nodiscard]] OpaqueId tag() const { return tag_; }
   // The tag of the done notification; null where none was asked for.
   [[nodiscard]] OpaqueId doneTag() const { return doneTag_; }

   // Counts an event that the pump thread is about to post under one of this handler's tags.
   void beginEvent() {
      pending_.fetch_add(1, std::memory_order_relaxed);
      events_.begin();
   }
   // The same for any other thread; false when the server is stopping and the event must not be posted.
   [[nodiscard]] bool beginEventFromOutside() {
      if (!events_.tryBegin()) return false;
      pending_.fetch_add(1, std::memory_order_relaxed);
      return true;
   }

   // For a handler whose reply another thread will start later: on the pump thread, keeps the handler until
   // the event that is promised here was delivered. A server that stops does not wait for promises.
   void promiseEvent() { pending_.fetch_add(1, std::memory_order_relaxed); }
   // Any thread, before it posts what was promised; false when the server is stopping and the event must not
   // be posted. The handler then goes with the server.
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
   // Who counts and retires.
   friend class GrpcServer;
   friend class TagManager;

   PendingEvents& events_;
   std::atomic<std::uint32_t> pending_{0};
   bool arrived_ = false;
   // Guarded by the TagManager's mutex.
   std::vector<OpaqueId> extraTags_;
};

}  // namespace OrvSdkRpc
