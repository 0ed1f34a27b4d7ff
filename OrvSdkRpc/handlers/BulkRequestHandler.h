// Many requests in one message, all served under one lock.
//
// Thread-safety: pump thread only. A long bulk holds the SDK's lock, and so blocks the main loop, until it
// ends.
#pragma once

#include "OrvSdkRpc/handlers/GenericRequestHandler.h"
#include "OrvSdkRpc/server/MethodTraits.h"

namespace OrvSdkRpc {

// Definition is a stateless structure:
//
//    struct BulkAclSet : RpcOf<&Generated::AsyncService::Requestbulk_acl_set> {
//       static void impl(const Item& item, Svc& service);
//    };
//
// Rq has `repeated Item requests`, Rp the fields `status` and `count`.
template <class Definition, class Rq, class Rp, class Svc>
class BulkRequestHandler final : public GenericRequestHandler<BulkRequestHandler<Definition, Rq, Rp, Svc>, Rq,
                                                              Rp, Svc, false, ArenaMessages> {
   using Base = GenericRequestHandler<BulkRequestHandler, Rq, Rp, Svc, false, ArenaMessages>;
   static_assert(
        requires(const Rq& request, Svc& service) { Definition::impl(request.requests(0), service); },
        "a bulk definition has static void impl(const Item& item, Svc& service)");

public:
   BulkRequestHandler(OpaqueId tag, grpc::Server& server, grpc::ServerCompletionQueue& cq, Svc& service)
        : Base(tag, server, cq, service) {
      this->post(service, Definition::method);
   }

   void process(OpaqueId) override {
      this->bulk_respond(this->request_->requests(),
                         [](const auto& item, Svc& service) { Definition::impl(item, service); });
   }
};

}  // namespace OrvSdkRpc
