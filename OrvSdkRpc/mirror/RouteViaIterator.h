// Iterates over the routes of one VRF or of all, with or without their vias.
//
// The tables may change between steps; see orv/iter.h for what the iterator yields then.
//
// Thread-safety: as for the SDK's iterators, except that * may read the manager and also needs the SDK's
// lock.
#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "orv/ip_route.h"
#include "orv/vrf.h"

namespace OrvSdkRpc {

class IpRouteService;

class RouteViaIterator {
public:
   using Vias = std::vector<orv::ip_route_via_t>;

   struct Route {
      orv::ip_route_t route;
      std::string vrfName;       // the VRF to look up its vias in
      std::optional<Vias> vias;  // if they are embedded
   };
   using Item = std::variant<Route, orv::ip_route_via_t>;

   struct Options {
      bool includeVias = false;  // yield the vias of a route after it
      bool embedVias = false;    // yield a route with its vias, and no via alone
   };

   // `vrfName` is a VRF, empty for the default VRF, or "all" for every VRF, the default one first.
   // REQUIRES: the service outlives the iterator.
   RouteViaIterator(const IpRouteService& service, std::string vrfName, Options options);

   explicit operator bool() const { return static_cast<bool>(routeIter_); }
   RouteViaIterator& operator++();
   // As often ++ as it takes to leave the current route and its vias.
   void nextRoute();
   Item operator*() const;

private:
   [[nodiscard]] orv::ip_route_via_iter_t vias() const;
   void leaveEmptyVrfs();

   const IpRouteService& service_;
   const Options options_;
   const bool everyVrf_;
   std::string vrfName_;
   // True until the end, also while vias are yielded.
   orv::ip_route_iter_t routeIter_;
   // The VRF of routeIter_; none for the default VRF.
   std::optional<orv::vrf_iter_t> vrfIter_;
   // Begun behind a route that is yielded with its vias.
   std::optional<orv::ip_route_via_iter_t> viaIter_;
};

}  // namespace OrvSdkRpc
