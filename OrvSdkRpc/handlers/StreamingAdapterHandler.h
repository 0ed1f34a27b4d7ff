// A watch RPC from a definition, without a dump.
//
// Thread-safety: as StreamingToolkit.h.
#pragma once

#include "OrvSdkRpc/handlers/StreamingToolkit.h"

namespace OrvSdkRpc {

namespace detail {

// The controller that a definition's streams join: its own choice, or the service's only one.
template <class Def, class Svc>
auto& controllerOf(Svc& service) {
   if constexpr (requires { &Def::controller; }) {
      return Def::controller(service);
   } else {
      return service.subscriptions();
   }
}

// Joins the controller in the definition's way, if it has one.
template <class Def, class Svc, class Rq>
void subscribeBy(Def& def, Svc& service, OpaqueId tag, const Rq& request) {
   if constexpr (requires { &Def::subscribe; }) {
      def.subscribe(service, tag, request);
   } else {
      controllerOf<Def>(service).subscribe(tag);
   }
}

// What every watch leaves to its definition. Base is the handler below it.
template <class Def, class Rp, class Base>
class AdaptedStream : public Base {
protected:
   using Base::Base;

   Def def_;

private:
   void subscribe() final { subscribeBy(def_, this->service_, this->tag_, *this->request_); }
   void cancel() final { controllerOf<Def>(this->service_).cancel(this->tag_); }
   [[nodiscard]] bool filter(const Rp& message) const final {
      if constexpr (requires { &Def::filter; }) {
         return def_.filter(*this->request_, message);
      } else {
         return true;
      }
   }
};

}  // namespace detail

// Def is a structure; each stream holds one. What a definition may leave out is found by its name, so it is
// neither overloaded nor a template, and a wrong signature does not compile:
//
//    struct Watch {
//       static constexpr auto method = &Generated::AsyncService::Requestwatch;
//
//       // All of these may be left out.
//       // Which messages the stream wants; without it, all. Runs on the publishing thread, for
//       // messages whose ack is false.
//       bool filter(const Rq& request, const Rp& message) const;
//       // In place of controller(service).subscribe(tag), which it calls itself when it accepts the request;
//       // what it throws becomes the status of the call.
//       void subscribe(Svc& service, OpaqueId tag, const Rq& request);
//       // In place of service.subscriptions().
//       static SubscriptionController<Svc>& controller(Svc& service);
//    };
template <class Def, class Rq, class Rp, class Svc>
class StreamingAdapterHandler final
     : public detail::AdaptedStream<
            Def, Rp, StreamingRequestHandler<StreamingAdapterHandler<Def, Rq, Rp, Svc>, Rq, Rp, Svc>> {
   using Base = detail::AdaptedStream<Def, Rp, StreamingRequestHandler<StreamingAdapterHandler, Rq, Rp, Svc>>;

public:
   StreamingAdapterHandler(OpaqueId tag, grpc::Server& server, grpc::ServerCompletionQueue& cq, Svc& service,
                           unsigned long queueLimit)
        : Base(tag, server, cq, service, queueLimit) {
      this->post(service, Def::method);
   }
};

}  // namespace OrvSdkRpc
