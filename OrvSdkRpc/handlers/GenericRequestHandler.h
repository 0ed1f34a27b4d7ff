// Base class of all handlers: context, responder and request of one call, posting, the successor, the peer
// check, and the mapping of exceptions to statuses.
//
// Thread-safety: pump thread only.
#pragma once

#include <grpcpp/completion_queue.h>
#include <grpcpp/server_context.h>
#include <grpcpp/support/async_stream.h>
#include <grpcpp/support/async_unary_call.h>
#include <grpcpp/support/status.h>

#include <cstdint>
#include <memory>
#include <type_traits>
#include <utility>

#include "OrvSdkRpc/handlers/Errors.h"
#include "OrvSdkRpc/handlers/PeerCheck.h"
#include "OrvSdkRpc/handlers/RequestMessage.h"
#include "OrvSdkRpc/server/GrpcService.h"
#include "OrvSdkRpc/server/MakeHandler.h"
#include "OrvSdkRpc/server/MethodTraits.h"
#include "OrvSdkRpc/server/RequestHandler.h"
#include "orv/lock.h"

namespace OrvSdkRpc {

// Hc:        the most derived handler. Its constructor takes (OpaqueId tag, grpc::Server&,
//            grpc::ServerCompletionQueue&, Svr&) and ends with post().
// Rq, Rp:    request and response message.
// Svr:       the service.
// streaming: whether the response is a stream.
// Messages:  where the request is stored.
// Base:      RequestHandler, or a class derived from it whose constructor takes the service in place of the
//            events.
template <class Hc, class Rq, class Rp, class Svr, bool streaming, class Messages = MemberMessages,
          class Base = RequestHandler>
class GenericRequestHandler : public Base,
                              public std::enable_shared_from_this<
                                   GenericRequestHandler<Hc, Rq, Rp, Svr, streaming, Messages, Base>> {
protected:
   using Base::cq_;
   using Base::doneTag_;
   using Base::server_;
   using Base::state_;
   using Base::tag_;

public:
   using Base::beginEvent;
   using Request = Rq;
   using Response = Rp;
   using Responder =
        std::conditional_t<streaming, grpc::ServerAsyncWriter<Rp>, grpc::ServerAsyncResponseWriter<Rp>>;

   GenericRequestHandler(OpaqueId tag, grpc::Server& server, grpc::ServerCompletionQueue& cq, Svr& service)
        : Base(tag, server, cq, place(service)), service_(service), responder_(&ctx_), request_(messages_) {
      if constexpr (streaming) {
         // Without it, a client that leaves while nothing is being written would go unnoticed.
         doneTag_ = service.nextOpaqueId();
         ctx_.AsyncNotifyWhenDone(doneTag_);
      }
   }

   std::shared_ptr<RequestHandler> chain(OpaqueId nextTag) final {
      return static_cast<Hc&>(*this).successor(nextTag);
   }

   // Creates the handler that chain returns. A class whose constructor takes more arguments defines its own
   // successor.
   std::shared_ptr<Hc> successor(OpaqueId nextTag) {
      return makeHandler<Hc>(nextTag, server_, cq_, service_);
   }

protected:
   // Requests the next call of the RPC from gRPC; `service` is the generated service and `method` its
   // Request... member. Must be the last step of a constructor, since the pump may receive the call at once.
   template <class Service, class Generated>
   void post(Service& service,
             void (Generated::*method)(grpc::ServerContext*, Rq*, Responder*, grpc::CompletionQueue*,
                                       grpc::ServerCompletionQueue*, void*)) {
      beginEvent();
      (service.*method)(&ctx_, &*request_, &responder_, &cq_, &cq_, tag_);
   }

   // THROWS: unauthenticated_error; see PeerCheck.h.
   void maybeRejectInsecureRemote() const {
      OrvSdkRpc::maybeRejectInsecureRemote(service_.properties(), [this] { return ctx_.peer(); });
   }

   // Serves a whole unary call: peer check, then operation(args...) under the SDK's lock, then the reply. The
   // conversions of an operation count as SDK calls, so the lock covers them; it does not cover
   // serialisation. An exception derived from std::exception becomes the status of the call.
   template <class Operation, class... Args>
   void respond(Operation&& operation, Args&&... args) {
      static_assert(!streaming, "a stream is not answered by one response");
      Rp response;
      grpc::Status status = grpc::Status::OK;
      translateErrors(
           [&] {
              maybeRejectInsecureRemote();
              orv::sdk_scoped_lock lock;
              response = std::forward<Operation>(operation)(std::forward<Args>(args)...);
           },
           [&](const auto& e) { status = grpcStatus(e); });
      finish(response, status);
   }

   // Serves a whole bulk call: operation(item, service) for each item in order, all under one lock, up to the
   // first failure. The call itself ends with OK; `status` and `count` of the response report the outcome.
   template <class Items, class Operation>
   void bulk_respond(const Items& items, Operation&& operation) {
      static_assert(!streaming, "a stream is not answered by one response");
      Rp response;
      // The lock also covers serialisation and the start of the batch.
      orv::sdk_scoped_lock lock;
      orv::remote::RpcResponseStatus& status = *response.mutable_status();
      std::uint64_t position = 0;
      translateErrors(
           [&] {
              maybeRejectInsecureRemote();
              for (const auto& item : items) {
                 operation(item, service_);
                 ++position;
              }
           },
           [&](const auto& e) { bulkStatus(e, status); });
      response.set_count(position);
      finish(response, grpc::Status::OK);
   }

   // Ends the call under the main tag, in one batch. All changes made for the call become final before the
   // batch starts, even if the caller still holds the SDK's lock.
   void finish(const Rp& response, const grpc::Status& status) {
      static_assert(!streaming, "a stream ends without a response");
      orv::sdk_lock_settle();
      beginEvent();
      if (status.ok()) {
         responder_.Finish(response, status, tag_);
      } else {
         responder_.FinishWithError(status, tag_);
      }
   }

   // The same for a stream. Nothing may be written afterwards.
   void finish(const grpc::Status& status) {
      static_assert(streaming, "a single response ends the call");
      beginEvent();
      responder_.Finish(status, tag_);
   }

   grpc::ServerContext ctx_;
   Svr& service_;
   Responder responder_;
   Messages messages_;
   typename Messages::template Holder<Rq> request_;

private:
   static auto& place(Svr& service) {
      if constexpr (std::is_same_v<Base, RequestHandler>) {
         return service.events();
      } else {
         return service;
      }
   }
};

// The same for a hand-written handler: the message types follow from the RPC's method.
template <class Hc, auto method, class Svr, class Messages = MemberMessages>
using MethodHandler = GenericRequestHandler<Hc, typename MethodTraits<method>::Request,
                                            typename MethodTraits<method>::Response, Svr,
                                            MethodTraits<method>::streaming, Messages>;

}  // namespace OrvSdkRpc
