// One RPC of the programming service: a call becomes one call of a programmer's member function.
//
// Thread-safety: pump thread only.
//
// The call always ends with status OK; what went wrong stands in the response. There is no check of the peer,
// no SDK lock and no translation of exceptions here: a programmer takes the lock where it writes and words
// its own failures.
#pragma once

#include <grpcpp/support/status.h>

#include <memory>
#include <type_traits>

#include "OrvSdkRpc/handlers/GenericRequestHandler.h"
#include "OrvSdkRpc/programming/OrvSdkRpcService.h"
#include "OrvSdkRpc/server/MethodTraits.h"

namespace OrvSdkRpc {

template <class Rq>
concept BulkMessage = requires(const Rq& request) {
   request.bulk().size();
};

// Name is a constant of its own per RPC and makes each instance a distinct type, so that handlers are counted
// per RPC.
template <class Rq, class Rp, class Programmer, const char* Name>
class CallbackRequestHandler final
     : public GenericRequestHandler<CallbackRequestHandler<Rq, Rp, Programmer, Name>, Rq, Rp,
                                    OrvSdkRpcService, false,
                                    std::conditional_t<BulkMessage<Rq>, ArenaMessages, MemberMessages>> {
   using Base = GenericRequestHandler<CallbackRequestHandler, Rq, Rp, OrvSdkRpcService, false,
                                      std::conditional_t<BulkMessage<Rq>, ArenaMessages, MemberMessages>>;
   using Messages = std::conditional_t<BulkMessage<Rq>, ArenaMessages, MemberMessages>;

public:
   using Method = UnaryMethod<OrvSdkRpcService::AsyncService, Rq, Rp>;
   using Callback = void (Programmer::*)(const Rq&, Rp&);

   CallbackRequestHandler(OpaqueId tag, grpc::Server& server, grpc::ServerCompletionQueue& cq,
                          OrvSdkRpcService& service, Method method, Programmer& programmer, Callback callback)
        : Base(tag, server, cq, service),
          method_(method),
          programmer_(programmer),
          callback_(callback),
          response_(this->messages_) {
      this->post(service, method_);
   }

   void process(OpaqueId) override {
      (programmer_.*callback_)(*this->request_, *response_);
      this->finish(*response_, grpc::Status::OK);
   }

   std::shared_ptr<CallbackRequestHandler> successor(OpaqueId nextTag) {
      return makeHandler<CallbackRequestHandler>(nextTag, this->server_, this->cq_, this->service_, method_,
                                                 programmer_, callback_);
   }

private:
   const Method method_;
   Programmer& programmer_;
   const Callback callback_;
   typename Messages::template Holder<Rp> response_;
};

}  // namespace OrvSdkRpc
