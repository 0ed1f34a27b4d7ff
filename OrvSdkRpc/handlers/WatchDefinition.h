// What the definition of a watch RPC says: its method, its controller, and its hooks.
//
// Thread-safe: types and constants only.
#pragma once

#include <type_traits>
#include <utility>

#include "OrvSdkRpc/server/MethodTraits.h"
#include "OrvSdkRpc/server/RequestHandler.h"

namespace OrvSdkRpc {

template <class Svc, class Watch>
class SubscriptionController;

// The filter of a watch whose streams want every event.
struct EveryEvent {};
inline constexpr EveryEvent everyEvent{};

// The hooks of the definition `Def`, a closed set: a name that is not here does not compile, nor does a
// member of another signature. The filter must be said, the others may be left out.
template <class Def, class Svc, class Rq, class Rp>
struct WatchHooks {
   class Filter {
   public:
      using Member = bool (Def::*)(const Rq&, const Rp&) const;

      constexpr Filter(EveryEvent) {}
      constexpr Filter(Member wanted) : member(wanted) {}

      const Member member = nullptr;
   };

   // Which messages the stream wants. Runs on the publishing thread, under the stream's mutex, for messages
   // whose ack is false.
   Filter filter;
   // In place of joining the controller, which it does itself when it accepts the request; what it throws
   // becomes the status of the call.
   void (Def::*subscribe)(Svc& service, OpaqueId tag, const Rq& request) = nullptr;
   // After the last element of a dump, before its acknowledgement.
   void (Def::*endOfDump)(Svc& service) = nullptr;
};

namespace detail {

template <class Member>
struct ServiceOf;
template <class Controller, class Svc>
struct ServiceOf<Controller& (Svc::*)()> {
   using Type = Svc;
};

// What must hold for every definition of a stream that has a controller.
template <class Def>
struct CheckedWatch {
   static_assert(
        requires { Def::hooks; },
        "a watch states its hooks: static constexpr Hooks<Watch> hooks = {.filter = ...}");
   using Controller =
        std::remove_reference_t<decltype((std::declval<typename Def::Service&>().*Def::controller)())>;
   static_assert(std::is_base_of_v<SubscriptionController<typename Def::Service, Def>, Controller>,
                 "the controller that a watch names is a SubscriptionController of this very watch");
   static_assert(
        Def::hooks.subscribe != nullptr || !requires { &Def::subscribe; },
        "the definition has a member subscribe that its hooks do not name");
   static constexpr bool value = true;
};

// Joins the controller, in the definition's way if it has one.
template <class Def, class Svc, class Rq>
void subscribeBy(Def& def, Svc& service, OpaqueId tag, const Rq& request) {
   if constexpr (Def::hooks.subscribe != nullptr) {
      (def.*Def::hooks.subscribe)(service, tag, request);
   } else {
      // In two steps: clang 14 crashes when it checks locks over a call through a pointer to a member.
      auto& controller = (service.*Def::controller)();
      controller.subscribe(tag);
   }
}

}  // namespace detail

// The base of a watch definition. `serviceController` is the service's member function that gives the
// controller of this watch:
//
//    struct AclService::Watch : WatchOf<&Rpc::Requestwatch, &AclService::subscriptions> {
//       static constexpr Hooks<Watch> hooks = {.filter = everyEvent};
//    };
template <auto requestMethod, auto serviceController>
struct WatchOf : RpcOf<requestMethod> {
   static constexpr auto controller = serviceController;
   using Service = typename detail::ServiceOf<decltype(serviceController)>::Type;

   template <class Def>
   using Hooks = WatchHooks<Def, Service, typename RpcOf<requestMethod>::Request,
                            typename RpcOf<requestMethod>::Response>;
};

}  // namespace OrvSdkRpc
