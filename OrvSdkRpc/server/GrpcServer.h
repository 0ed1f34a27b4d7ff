// The one gRPC server, its completion queue and the pump that drains it.
//
// Thread-safety: run() on one thread of its own, the pump; stop(), state() and waitUntilServing() from any
// other. The rest belongs to the services and their handlers.
//
// The pump serves RPCs strictly one at a time. It takes the SDK's lock around SDK calls only, never while it
// waits for an event.
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
      // run() is over, after a stop or because the server could not be started.
      Stopped,
   };

   // Adds the listening ports; nothing is bound yet.
   GrpcServer(std::unique_ptr<ServerProperties> properties,
              std::shared_ptr<grpc::ServerCredentials> credentials);
   // Also takes over the services; the index in `services` becomes the service id.
   GrpcServer(std::unique_ptr<ServerProperties> properties,
              std::vector<std::unique_ptr<GrpcService>> services,
              std::shared_ptr<grpc::ServerCredentials> credentials);
   // run() must have returned or never have been called.
   ~GrpcServer();

   // Builds and starts the server, starts the handlers, and pumps until stop(). Returns at once, with a trace
   // and a line on standard error, when an address cannot be bound.
   void run();

   // Cancels every call and makes run() return. Does not wait for it and takes no lock of the SDK, so it may
   // be called with that lock held. Harmless when repeated, and before or after run().
   void stop();

   [[nodiscard]] State state() const;
   // Blocks until calls are taken or run() is over; true in the first case. Not for a thread that holds the
   // SDK's lock.
   [[nodiscard]] bool waitUntilServing();

   // Once run() has built it.
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

   // The order of declaration, reversed, is the order of the end: handlers hold references to their service,
   // so the tags go before the services, and these before the server and its queue.
   grpc::ServerBuilder builder_;
   std::unique_ptr<grpc::ServerCompletionQueue> cq_;
   std::unique_ptr<grpc::Server> server_;
   std::vector<std::unique_ptr<GrpcService>> services_;
   const orv::tracer tracer_;
   PendingEvents events_;
   TagManager tags_;
   std::unique_ptr<ServerProperties> properties_;

   // Wakes the pump when the server is down.
   grpc::Alarm downAlarm_;
   OpaqueId downTag_ = nullptr;
   // grpc::Server::Shutdown has returned; what is still to come was posted before.
   std::atomic<bool> serverDown_{false};
   std::thread shutdownThread_;

   mutable std::mutex stateMutex_;
   std::condition_variable stateChanged_;
   State state_ = State::Constructed;
   bool stopRequested_ = false;
};

}  // namespace OrvSdkRpc
