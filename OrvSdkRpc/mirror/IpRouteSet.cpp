#include "OrvSdkRpc/mirror/IpRouteSet.h"

#include <cstdint>
#include <set>
#include <string>
#include <unordered_set>
#include <utility>
#include <variant>
#include <vector>

#include "OrvSdkRpc/types/Enumerations.h"
#include "OrvSdkRpc/types/IpRoute.h"
#include "orv/error.h"
#include "orv/vrf.h"

namespace OrvSdkRpc {
namespace {

namespace remote = orv::remote;
using types::convert;
using Via = orv::ip_route_via_t;

// Values of vias_action.
constexpr std::uint32_t addToVias = 0;
constexpr std::uint32_t replaceVias = 1;

// What the route is set with: nothing, an action, or a VRF.
using Argument = std::variant<std::monostate, remote::IpRouteActions, std::string>;

Argument argumentOf(const remote::IpRouteSetRequest& request) {
   if (request.has_action()) return request.action();
   if (!request.vrf_name().empty()) return request.vrf_name();
   return {};
}

// The VRF of the vias. Only the default VRF takes a route with an action.
std::string vrfOf(const Argument& argument) {
   const auto* const vrf = std::get_if<std::string>(&argument);
   return vrf == nullptr ? orv::default_vrf_name : *vrf;
}

class RouteWithVias {
public:
   RouteWithVias(const remote::IpRouteSetRequest& request, orv::ip_route_mgr& manager,
                 const orv::tracer& tracer)
        : vias_(request.vias()),
          action_(request.vias_action()),
          manager_(manager),
          tracer_(tracer),
          route_(convert(request.ip_route())),
          argument_(argumentOf(request)) {}

   void set() {
      if (vias_.size() == 1 && !vias_[0].nexthop_group().empty()) {
         argument_ = remote::IP_ROUTE_ACTIONS_NEXTHOP_GROUP;
         if (action_ != replaceVias || !hasGroup()) setRoute();
      } else if (unchanged()) {
         if (action_ != replaceVias) orv::panic(orv::invalid_argument_error("vias_action"));
         replace();
         return;
      } else {
         setRoute();
      }
      add();
   }

private:
   // Whether the request is for other vias of the route as it is.
   [[nodiscard]] bool unchanged() const {
      if (vias_.empty() || action_ == addToVias) return false;
      if (std::holds_alternative<remote::IpRouteActions>(argument_)) return false;
      return manager_.ip_route(route_.key(), vrfOf(argument_)) == route_;
   }
   // Whether the route already forwards along a nexthop group.
   [[nodiscard]] bool hasGroup() const {
      if (!manager_.exists(route_.key())) return false;
      const auto first = manager_.ip_route_via_iter(route_.key());
      return first && !first->nexthop_group().empty();
   }

   void setRoute() {
      if (const auto* const action = std::get_if<remote::IpRouteActions>(&argument_)) {
         manager_.ip_route_set(route_, convert(*action));
      } else if (const auto* const vrf = std::get_if<std::string>(&argument_)) {
         manager_.ip_route_set(route_, *vrf);
      } else {
         manager_.ip_route_set(route_);
      }
   }

   void add() {
      const std::string vrf = vrfOf(argument_);
      try {
         for (const remote::IpRouteVia& via : vias_)
            manager_.ip_route_via_set(convert(via), vrf);
      } catch (...) {
         rollBack([&] { manager_.ip_route_del(route_.key(), vrf); });
         throw;
      }
   }

   void replace() {
      const std::string vrf = vrfOf(argument_);
      std::unordered_set<Via> wanted;
      // Elements of `wanted`, in the order of the request.
      std::vector<const Via*> inOrder;
      // The route's, and those that vias of the request name by mistake: a roll-back must not delete their
      // vias.
      std::set<orv::ip_route_key_t> keys{route_.key()};
      for (const remote::IpRouteVia& message : vias_) {
         const auto [via, isNew] = wanted.insert(convert(message));
         if (!isNew) continue;
         inOrder.push_back(&*via);
         keys.insert(via->route_key());
      }
      std::vector<Via> before;
      for (const orv::ip_route_key_t& key : keys) {
         for (auto it = manager_.ip_route_via_iter(key, vrf); it; ++it)
            before.push_back(*it);
      }
      const std::unordered_set<Via> old(before.begin(), before.end());

      std::vector<const Via*> added;
      try {
         for (const Via* const via : inOrder) {
            if (old.contains(*via)) continue;
            manager_.ip_route_via_set(*via, vrf);
            added.push_back(via);
         }
         for (const Via& via : before) {
            if (via.route_key() == route_.key() && !wanted.contains(via)) manager_.ip_route_via_del(via, vrf);
         }
      } catch (...) {
         for (const Via& via : before) {
            rollBack([&] {
               if (!manager_.exists(via, vrf)) manager_.ip_route_via_set(via, vrf);
            });
         }
         // Only what was added. A bare via is always refused, and to delete it deletes every via.
         for (const Via* const via : added)
            rollBack([&] { manager_.ip_route_via_del(*via, vrf); });
         throw;
      }
   }

   // Takes one step of a roll-back. The client gets the error that caused the roll-back, not one of the step.
   template <class Step>
   void rollBack(const Step& step) const {
      try {
         step();
      } catch (const orv::error& e) {
         orv::fmttrace(tracer_, 0, "Error: ip route {} cannot be restored, exception {}",
                       route_.key().prefix(), e.what());
      }
   }

   const google::protobuf::RepeatedPtrField<remote::IpRouteVia>& vias_;
   const std::uint32_t action_;
   orv::ip_route_mgr& manager_;
   const orv::tracer& tracer_;
   const orv::ip_route_t route_;
   Argument argument_;
};

}  // namespace

void ipRouteSetImpl(const remote::IpRouteSetRequest& request, orv::ip_route_mgr& manager,
                    const orv::tracer& tracer) {
   RouteWithVias(request, manager, tracer).set();
}

}  // namespace OrvSdkRpc
