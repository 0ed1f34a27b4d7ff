// The definition of a watch RPC: its method, its controller and its hooks.
//
// Thread-safety: types and constants only.
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

// The hooks of the definition `Def`. An unknown name or a member of another signature does not compile. The
// filter is mandatory; the other hooks are optional.
template <class Def, class Svc, class Rq, class Rp>
struct WatchHooks {
   class Filter {
   public:
      using Member = bool (Def::*)(const Rq&, const Rp&) const;

      constexpr Filter(EveryEvent) {}
      constexpr Filter(Member wanted) : member(wanted) {}

      const Member member = nullptr;
   };

   // Whether the stream wants the message. Runs on the publishing thread, under the stream's mutex, for
   // messages whose ack is false.
   Filter filter;
   // Replaces the default subscription; joins the controller itself if it accepts the request. An exception
   // becomes the status of the call.
   void (Def::*subscribe)(Svc& service, OpaqueId tag, const Rq& request) = nullptr;
   // Called after the last element of a dump, before the acknowledgement.
   void (Def::*endOfDump)(Svc& service) = nullptr;
};

namespace detail {

template <class Member>
struct ServiceOf;
template <class Controller, class Svc>
struct ServiceOf<Controller& (Svc::*)()> {
   using Type = Svc;
};

// Checks the definition of a stream that has a controller.
template <class Def>
struct CheckedWatch {
   static_assert(
        requires { Def::hooks; },
        "a watch states its hooks: static constexpr Hooks<Watch> hooks = {.filter = ...}");
   using Controller =
        std::remove_reference_t<decltype((std::declval<typename Def::Service&>().*Def::controller)())>;
   static_assert(std::is_base_of_v<SubscriptionController<typename Def::Service, Def>, Controller>,
                 "the controller that a watch names is a SubscriptionController of this watch");
   static_assert(
        Def::hooks.subscribe != nullptr || !requires { &Def::subscribe; },
        "the definition has a member subscribe that its hooks do not name");
   static constexpr bool value = true;
};

// Joins the controller, with the definition's subscribe hook if it has one.
template <class Def, class Svc, class Rq>
void subscribeBy(Def& def, Svc& service, OpaqueId tag, const Rq& request) {
   if constexpr (Def::hooks.subscribe != nullptr) {
      (def.*Def::hooks.subscribe)(service, tag, request);
   } else {
      // Two statements: clang 14's thread-safety analysis crashes on a chained call through a pointer to
      // member.
      auto& controller = (service.*Def::controller)();
      controller.subscribe(tag);
   }
}

}  // namespace detail

// Base of a watch definition. `serviceController` is the service's member function that returns the
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
