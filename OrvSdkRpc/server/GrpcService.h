// Base of every service: its place in the server, its tags, and the templates that make and register
// handlers.
//
// Thread-safety: constructed, attached and destroyed by the thread that owns the server; the registry
// operations may be called by any thread; startHandlers and the register templates run on the pump thread. A
// service that is not attached to a server yet has no registry: only name(), closing() and tracer() work.
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

// How many messages may wait in a watch stream before it is closed. The same for every stream.
inline constexpr unsigned long streamQueueLimit = 262144;

class GrpcService {
public:
   virtual ~GrpcService();

   // Hands the generated service to the builder: builder.RegisterService(this).
   virtual void registerRpcService(grpc::ServerBuilder& builder) = 0;

   // Creates the first handler of each RPC, in the order of the service's table.
   virtual void startHandlers() = 0;

   // `name` is the short one, such as "acl"; it also names the service's tracer.
   explicit GrpcService(std::string name);
   GrpcService(const GrpcService&) = delete;
   GrpcService& operator=(const GrpcService&) = delete;

   // Takes the index in the server, then registers with gRPC. The server has attached itself before.
   void selfRegister(std::size_t serviceId, grpc::ServerBuilder& builder);

   [[nodiscard]] const std::string& name() const { return name_; }
   [[nodiscard]] std::size_t serviceId() const { return serviceId_; }
   [[nodiscard]] const orv::tracer& tracer() const { return tracer_; }
   // Set when the server stops: nothing is queued for a stream any more.
   [[nodiscard]] bool closing() const { return closing_.load(); }
   [[nodiscard]] const ServerProperties& properties() const { return *properties_; }
   [[nodiscard]] GrpcServer* grpcServer() const { return grpcServer_; }

   // Known once the server runs.
   [[nodiscard]] grpc::Server& server() const;
   [[nodiscard]] grpc::ServerCompletionQueue& cq() const { return *cq_; }

   [[nodiscard]] PendingEvents& events() const;
   // Null while the service is not attached to a server.
   [[nodiscard]] TagManager* tags() const;

   // A new id for a tag: never null, never given before.
   [[nodiscard]] OpaqueId nextOpaqueId() const;
   // Enters the handler under its main tag, and under its done tag if it has one.
   void registerHandler(std::shared_ptr<RequestHandler> handler) const;
   // A new id for a handler that is registered.
   [[nodiscard]] OpaqueId assignExtraTag(const std::shared_ptr<RequestHandler>& handler) const;
   // Erases the tag; the handler dies with its last one.
   void removeHandler(OpaqueId tag) const;
   // The handler, or empty.
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

   // The same for a BulkStreamHandler, whose definition says more than the others':
   //    registerBulkStreamHandler<Rates>(*this);
   // Defined beside that handler, in BulkStreams.h.
   template <class Definition, class Svc>
   void registerBulkStreamHandler(Svc& service);

   // Posts the first handler of a class written by hand.
   template <class Handler, class Svc>
   void registerNewHandler(Svc& service) {
      static_assert(std::is_base_of_v<RequestHandler, Handler>, "a handler derives from RequestHandler");
      // Posted before it is registered: right only because this is the pump thread, which cannot see the
      // event before it returns to the queue.
      if constexpr (std::is_constructible_v<Handler, OpaqueId, grpc::Server&, grpc::ServerCompletionQueue&,
                                            Svc&, unsigned long>) {
         registerHandler(makeHandler<Handler>(nextOpaqueId(), server(), cq(), service, streamQueueLimit));
      } else {
         registerHandler(makeHandler<Handler>(nextOpaqueId(), server(), cq(), service));
      }
   }

private:
   // Sets what the server knows: itself and its properties at the start, the queue when it runs, the end.
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
