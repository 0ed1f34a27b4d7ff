// Handles one RPC of the programming service by one call of a programmer's member function.
//
// Thread-safety: pump thread only.
//
// The call always ends with status OK; errors are part of the response. The handler does not check the peer,
// take the SDK's lock or translate exceptions: a programmer locks where it writes and reports its own errors.
#pragma once

#include <grpcpp/support/status.h>

#include <type_traits>

#include "OrvSdkRpc/handlers/GenericRequestHandler.h"
#include "OrvSdkRpc/server/MethodTraits.h"

namespace OrvSdkRpc {

template <class Rq>
concept BulkMessage = requires(const Rq& request) {
   request.bulk().size();
};

// The base of a definition, which contains only names:
//
//    struct MplsRouteHandler
//         : CallbackOf<&Rpc::Requestmpls_route, &MplsRouteProgrammer::processMPLSRouteRequest> {};
//
// `programmerCallback` takes the RPC's request and response. The service has exactly one programmer of its
// class.
template <auto requestMethod, auto programmerCallback>
struct CallbackOf : RpcOf<requestMethod> {
   static constexpr auto callback = programmerCallback;
};

namespace detail {

template <class Callback, class Rq, class Rp>
struct ProgrammerOf {
   static_assert(
        sizeof(Callback) == 0,
        "the callback of an RPC takes its request and its response: void (const Request&, Response&)");
};
template <class Programmer, class Rq, class Rp>
struct ProgrammerOf<void (Programmer::*)(const Rq&, Rp&), Rq, Rp> {
   using Type = Programmer;
};

}  // namespace detail

// Each definition makes a distinct type, so that handlers are counted per RPC.
template <class Definition, class Rq, class Rp, class Svc>
class CallbackRequestHandler final
     : public GenericRequestHandler<CallbackRequestHandler<Definition, Rq, Rp, Svc>, Rq, Rp, Svc, false,
                                    std::conditional_t<BulkMessage<Rq>, ArenaMessages, MemberMessages>> {
   using Messages = std::conditional_t<BulkMessage<Rq>, ArenaMessages, MemberMessages>;
   using Base = GenericRequestHandler<CallbackRequestHandler, Rq, Rp, Svc, false, Messages>;
   using Programmer =
        typename detail::ProgrammerOf<std::remove_const_t<decltype(Definition::callback)>, Rq, Rp>::Type;

public:
   CallbackRequestHandler(OpaqueId tag, grpc::Server& server, grpc::ServerCompletionQueue& cq, Svc& service)
        : Base(tag, server, cq, service), response_(this->messages_) {
      this->post(service, Definition::method);
   }

   void process(OpaqueId) override {
      Programmer& programmer = this->service_.template programmer<Programmer>();
      (programmer.*Definition::callback)(*this->request_, *response_);
      this->finish(*response_, grpc::Status::OK);
   }

private:
   typename Messages::template Holder<Rp> response_;
};

}  // namespace OrvSdkRpc
