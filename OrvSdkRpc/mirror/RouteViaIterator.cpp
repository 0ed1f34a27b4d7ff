#include "OrvSdkRpc/mirror/RouteViaIterator.h"

#include <utility>

#include "OrvSdkRpc/mirror/IpRouteService.h"

namespace OrvSdkRpc {
namespace {

constexpr const char* everyVrfName = "all";

}  // namespace

RouteViaIterator::RouteViaIterator(const IpRouteService& service, std::string vrfName, Options options)
     : service_(service), options_(options), everyVrf_(vrfName == everyVrfName) {
   if (everyVrf_ || vrfName.empty()) {
      vrfName_ = orv::default_vrf_name;
      routeIter_ = service.manager().ip_route_iter();
   } else {
      vrfName_ = std::move(vrfName);
      routeIter_ = service.manager().ip_route_iter(vrfName_);
   }
   leaveEmptyVrfs();
}

RouteViaIterator& RouteViaIterator::operator++() {
   if (viaIter_) {
      ++*viaIter_;
      if (*viaIter_) return *this;
   } else if (options_.includeVias && !options_.embedVias) {
      viaIter_ = vias();
      if (*viaIter_) return *this;
   }
   nextRoute();
   return *this;
}

void RouteViaIterator::nextRoute() {
   viaIter_.reset();
   ++routeIter_;
   leaveEmptyVrfs();
}

RouteViaIterator::Item RouteViaIterator::operator*() const {
   if (viaIter_ && *viaIter_) return **viaIter_;
   Route route{.route = *routeIter_, .vrfName = vrfName_, .vias = {}};
   if (options_.embedVias) {
      Vias& embedded = route.vias.emplace();
      for (auto it = vias(); it; ++it)
         embedded.push_back(*it);
   }
   return route;
}

orv::ip_route_via_iter_t RouteViaIterator::vias() const {
   return service_.manager().ip_route_via_iter(routeIter_->key(), vrfName_);
}

// Moves on to the next VRF that has routes, unless the current one has.
void RouteViaIterator::leaveEmptyVrfs() {
   if (!everyVrf_) return;
   while (!routeIter_) {
      if (vrfIter_) {
         ++*vrfIter_;
      } else {
         vrfIter_ = service_.vrfManager().vrf_iter();
      }
      if (!*vrfIter_) return;
      vrfName_ = **vrfIter_;
      routeIter_ = service_.manager().ip_route_iter(vrfName_);
   }
}

}  // namespace OrvSdkRpc
