// One request, one SDK operation, one response.
//
// Thread-safety: pump thread only.
#pragma once

#include <concepts>

#include "OrvSdkRpc/handlers/GenericRequestHandler.h"
#include "OrvSdkRpc/server/MethodTraits.h"

namespace OrvSdkRpc {

// Definition is a stateless structure:
//
//    struct AclSet : RpcOf<&Generated::AsyncService::Requestacl_set> {
//       static Response impl(const Request& request, Svc& service);
//    };
//
// impl runs under the SDK's lock and lets every exception propagate.
template <class Definition, class Rq, class Rp, class Svc>
class UnaryRequestHandler final
     : public GenericRequestHandler<UnaryRequestHandler<Definition, Rq, Rp, Svc>, Rq, Rp, Svc, false> {
   using Base = GenericRequestHandler<UnaryRequestHandler, Rq, Rp, Svc, false>;
   static_assert(
        requires(const Rq& request, Svc& service) {
           { Definition::impl(request, service) } -> std::same_as<Rp>;
        },
        "a unary definition has static Response impl(const Request& request, Svc& service)");

public:
   UnaryRequestHandler(OpaqueId tag, grpc::Server& server, grpc::ServerCompletionQueue& cq, Svc& service)
        : Base(tag, server, cq, service) {
      this->post(service, Definition::method);
   }

   void process(OpaqueId) override {
      this->respond([](const Rq& request, Svc& service) -> Rp { return Definition::impl(request, service); },
                    *this->request_, this->service_);
   }
};

}  // namespace OrvSdkRpc
