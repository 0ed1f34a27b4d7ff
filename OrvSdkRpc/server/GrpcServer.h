// The gRPC server, its completion queue, and the pump, which drains the queue.
//
// Thread-safety: run() occupies one thread, the pump thread. Any other thread may call stop(), state() and
// waitUntilServing(). The rest is for the services and their handlers.
//
// The pump serves one RPC at a time. It holds the SDK's lock only around SDK calls, never while it waits for
// an event.
#pragma once

#include <grpcpp/alarm.h>
#include <grpcpp/completion_queue.h>
#include <grpcpp/security/server_credentials.h>
#include <grpcpp/server.h>
#include <grpcpp/server_builder.h>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "OrvSdkRpc/server/GrpcService.h"
#include "OrvSdkRpc/server/PendingEvents.h"
#include "OrvSdkRpc/server/ServerProperties.h"
#include "OrvSdkRpc/server/TagManager.h"
#include "orv/tracer.h"

namespace OrvSdkRpc {

class GrpcServer {
public:
   enum class State {
      // Not yet taking calls.
      Constructed,
      // Taking calls.
      Pumping,
      // stop() was called; calls in progress are being cancelled.
      Draining,
      // run() has ended, after a stop or because the server did not start.
      Stopped,
   };

   // Adds the listening ports without binding them.
   GrpcServer(std::unique_ptr<ServerProperties> properties,
              std::shared_ptr<grpc::ServerCredentials> credentials);
   // Also takes over the services; the index in `services` becomes the service id.
   GrpcServer(std::unique_ptr<ServerProperties> properties,
              std::vector<std::unique_ptr<GrpcService>> services,
              std::shared_ptr<grpc::ServerCredentials> credentials);
   // REQUIRES: run() has returned or was never called.
   ~GrpcServer();

   // Builds and starts the server, starts the handlers, and pumps until stop(). If an address cannot be
   // bound, reports that in a trace and on standard error, and returns.
   void run();

   // Cancels every call and makes run() return, without waiting for it. Never takes the SDK's lock, so the
   // caller may hold it. May be called repeatedly, and before or after run().
   void stop();

   [[nodiscard]] State state() const;
   // Blocks until the server takes calls or run() has ended.
   // RETURNS: whether the server takes calls.
   // REQUIRES: the calling thread does not hold the SDK's lock.
   [[nodiscard]] bool waitUntilServing();

   // REQUIRES: run() has built the server.
   [[nodiscard]] grpc::Server& server() { return *server_; }
   [[nodiscard]] TagManager& tags() { return tags_; }
   [[nodiscard]] PendingEvents& events() { return events_; }
   [[nodiscard]] const ServerProperties& properties() const { return *properties_; }

private:
   bool start();
   void pump();
   void dispatch(OpaqueId tag, bool ok);
   void handleArrival(const std::shared_ptr<RequestHandler>& handler, std::size_t serviceId, bool ok);
   void beginShutdown();
   void setState(State state);

   // Members are destroyed in reverse order. Handlers refer to their service, so the tags are destroyed
   // before the services, and these before the server and its queue.
   grpc::ServerBuilder builder_;
   std::unique_ptr<grpc::ServerCompletionQueue> cq_;
   std::unique_ptr<grpc::Server> server_;
   std::vector<std::unique_ptr<GrpcService>> services_;
   const orv::tracer tracer_;
   PendingEvents events_;
   TagManager tags_;
   std::unique_ptr<ServerProperties> properties_;

   // Wakes the pump when the server has shut down.
   grpc::Alarm downAlarm_;
   OpaqueId downTag_ = nullptr;
   // grpc::Server::Shutdown has returned: every event still to come is already posted.
   std::atomic<bool> serverDown_{false};
   std::thread shutdownThread_;

   mutable std::mutex stateMutex_;
   std::condition_variable stateChanged_;
   State state_ = State::Constructed;
   bool stopRequested_ = false;
};

}  // namespace OrvSdkRpc
