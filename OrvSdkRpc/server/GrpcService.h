// Base class of the services: registration with the server, tags, and the templates that create and register
// handlers.
//
// Thread-safety: the thread that owns the server constructs, attaches and destroys a service. Any thread may
// call the registry operations. startHandlers and the register templates run on the pump thread.
//
// A service that is not attached to a server has no registry: only name(), closing() and tracer() work.
#pragma once

#include <grpcpp/server.h>
#include <grpcpp/server_builder.h>

#include <atomic>
#include <cstddef>
#include <memory>
#include <string>
#include <type_traits>

#include "OrvSdkRpc/server/MakeHandler.h"
#include "OrvSdkRpc/server/MethodTraits.h"
#include "OrvSdkRpc/server/PendingEvents.h"
#include "OrvSdkRpc/server/RequestHandler.h"
#include "OrvSdkRpc/server/ServerProperties.h"
#include "orv/tracer.h"

namespace OrvSdkRpc {

class GrpcServer;
class TagManager;

// Maximum number of messages queued in a watch stream; one more closes it. The same for every stream.
inline constexpr unsigned long streamQueueLimit = 262144;

class GrpcService {
public:
   virtual ~GrpcService();

   // Registers the generated service with the builder: builder.RegisterService(this).
   virtual void registerRpcService(grpc::ServerBuilder& builder) = 0;

   // Creates the first handler of each RPC, in the order of the service's table.
   virtual void startHandlers() = 0;

   // `name` is the short name, such as "acl"; it is also the name of the service's tracer.
   explicit GrpcService(std::string name);
   GrpcService(const GrpcService&) = delete;
   GrpcService& operator=(const GrpcService&) = delete;

   // Stores the index in the server, then registers with gRPC.
   // REQUIRES: the server has attached itself.
   void selfRegister(std::size_t serviceId, grpc::ServerBuilder& builder);

   [[nodiscard]] const std::string& name() const { return name_; }
   [[nodiscard]] std::size_t serviceId() const { return serviceId_; }
   [[nodiscard]] const orv::tracer& tracer() const { return tracer_; }
   // True once the server is stopping: streams queue nothing more.
   [[nodiscard]] bool closing() const { return closing_.load(); }
   [[nodiscard]] const ServerProperties& properties() const { return *properties_; }
   [[nodiscard]] GrpcServer* grpcServer() const { return grpcServer_; }

   // Valid once the server runs.
   [[nodiscard]] grpc::Server& server() const;
   [[nodiscard]] grpc::ServerCompletionQueue& cq() const { return *cq_; }

   [[nodiscard]] PendingEvents& events() const;
   // Null while the service is not attached to a server.
   [[nodiscard]] TagManager* tags() const;

   // A new id for a tag: never null, never reused.
   [[nodiscard]] OpaqueId nextOpaqueId() const;
   // Registers the handler under its main tag and, if it has one, its done tag.
   void registerHandler(std::shared_ptr<RequestHandler> handler) const;
   // Registers a handler under a new extra tag and returns the tag.
   // REQUIRES: the handler is registered.
   [[nodiscard]] OpaqueId assignExtraTag(const std::shared_ptr<RequestHandler>& handler) const;
   // Removes the tag; the handler is destroyed with its last tag.
   void removeHandler(OpaqueId tag) const;
   // The handler of the tag, or null.
   [[nodiscard]] std::shared_ptr<RequestHandler> findHandler(OpaqueId tag) const;

   // Posts the first handler of the RPC that `Definition` describes:
   //    registerAdapter<UnaryRequestHandler, AclSet>(*this);
   template <template <class, class, class, class> class Handler, class Definition, class Svc>
   void registerAdapter(Svc& service) {
      static_assert(DefinesRpc<Definition>,
                    "a definition names its RPC: "
                    "static constexpr auto method = &Generated::AsyncService::Request<rpc name>");
      using Method = MethodTraits<Definition::method>;
      registerNewHandler<Handler<Definition, typename Method::Request, typename Method::Response, Svc>>(
           service);
   }

   // The same for a BulkStreamHandler:
   //    registerBulkStreamHandler<Rates>(*this);
   // Defined in BulkStreams.h, beside that handler.
   template <class Definition, class Svc>
   void registerBulkStreamHandler(Svc& service);

   // Posts the first handler of a hand-written class.
   template <class Handler, class Svc>
   void registerNewHandler(Svc& service) {
      static_assert(std::is_base_of_v<RequestHandler, Handler>, "a handler derives from RequestHandler");
      // The handler is posted before it is registered. That is safe only on the pump thread, which cannot
      // receive the event before it returns to the queue.
      if constexpr (std::is_constructible_v<Handler, OpaqueId, grpc::Server&, grpc::ServerCompletionQueue&,
                                            Svc&, unsigned long>) {
         registerHandler(makeHandler<Handler>(nextOpaqueId(), server(), cq(), service, streamQueueLimit));
      } else {
         registerHandler(makeHandler<Handler>(nextOpaqueId(), server(), cq(), service));
      }
   }

private:
   // Sets grpcServer_ and properties_ when it takes the service over, cq_ when it starts, closing_ when it
   // stops.
   friend class GrpcServer;

   const std::string name_;
   std::size_t serviceId_ = 0;
   GrpcServer* grpcServer_ = nullptr;
   grpc::ServerCompletionQueue* cq_ = nullptr;
   const orv::tracer tracer_;
   std::atomic<bool> closing_{false};
   const ServerProperties* properties_ = nullptr;
};

}  // namespace OrvSdkRpc
