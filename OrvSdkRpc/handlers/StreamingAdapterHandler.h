// A watch RPC without a dump, from a definition.
//
// Thread-safety: as StreamingToolkit.h.
#pragma once

#include "OrvSdkRpc/handlers/StreamingToolkit.h"
#include "OrvSdkRpc/handlers/WatchDefinition.h"

namespace OrvSdkRpc {

namespace detail {

// What every watch takes from its definition. Base is the handler class to derive from.
template <class Def, class Rp, class Base>
class AdaptedStream : public Base {
   static_assert(CheckedWatch<Def>::value);
   static_assert(
        Def::hooks.filter.member != nullptr || !requires { &Def::filter; },
        "the definition has a member filter that its hooks do not name");

protected:
   using Base::Base;

   Def def_;

private:
   void subscribe() final { subscribeBy(def_, this->service_, this->tag_, *this->request_); }
   void cancel() final {
      auto& controller = (this->service_.*Def::controller)();
      controller.cancel(this->tag_);
   }
   [[nodiscard]] bool filter(const Rp& message) const final {
      if constexpr (Def::hooks.filter.member != nullptr) {
         return (def_.*Def::hooks.filter.member)(*this->request_, message);
      } else {
         return true;
      }
   }
};

}  // namespace detail

// Def is a structure; each stream holds one:
//
//    struct Watch : WatchOf<&Generated::AsyncService::Requestwatch, &Svc::subscriptions> {
//       bool filter(const Request& request, const Response& message) const;
//
//       static constexpr Hooks<Watch> hooks = {.filter = &Watch::filter};
//    };
//
// WatchDefinition.h describes the hooks.
template <class Def, class Rq, class Rp, class Svc>
class StreamingAdapterHandler final
     : public detail::AdaptedStream<
            Def, Rp, StreamingRequestHandler<StreamingAdapterHandler<Def, Rq, Rp, Svc>, Rq, Rp, Svc>> {
   using Base = detail::AdaptedStream<Def, Rp, StreamingRequestHandler<StreamingAdapterHandler, Rq, Rp, Svc>>;
   static_assert(Def::hooks.endOfDump == nullptr, "a watch without a dump has no endOfDump hook");

public:
   StreamingAdapterHandler(OpaqueId tag, grpc::Server& server, grpc::ServerCompletionQueue& cq, Svc& service,
                           unsigned long queueLimit)
        : Base(tag, server, cq, service, queueLimit) {
      this->post(service, Def::method);
   }
};

}  // namespace OrvSdkRpc
