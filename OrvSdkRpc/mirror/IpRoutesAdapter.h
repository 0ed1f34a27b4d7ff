// The list of IP routes: an iterator that yields the routes and vias that a request selects.
//
// Thread-safety: the iterator as RouteViaIterator, except that * needs no lock; the rest is plain values.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

#include "OrvSdkRpc/mirror/IpRouteService.h"
#include "OrvSdkRpc/mirror/RouteViaIterator.h"
#include "OrvSdkRpc/server/MethodTraits.h"
#include "orv/intf_id.h"

namespace OrvSdkRpc {

struct IpRoutesAdapter : RpcOf<&IpRouteService::AsyncService::Requestip_routes> {
   // Decides which items are sent. A route matches if one of its vias passes every filter of the request.
   class FilterVisitor {
   public:
      // REQUIRES: the service outlives the visitor.
      FilterVisitor(const Request& request, const IpRouteService& service);

      // The items come in their order: a via is sent if the last route matched.
      bool operator()(const RouteViaIterator::Route& item);
      bool operator()(const orv::ip_route_via_t&) const { return matched_; }

      // Whether the last route matched.
      [[nodiscard]] bool matched() const { return matched_; }

   private:
      [[nodiscard]] bool matches(const RouteViaIterator::Route& item) const;
      [[nodiscard]] bool passes(const orv::ip_route_via_t& via) const;

      const IpRouteService& service_;
      const std::uint32_t vni_;
      const std::optional<orv::intf_id_t> vxlanIntf_;
      const std::string vtepAddr_;
      const bool routesAreSent_;
      bool matched_ = false;
   };

   struct ConvertVisitor {
      Response operator()(const RouteViaIterator::Route& item) const;
      Response operator()(const orv::ip_route_via_t& via) const;
   };

   // The items that pass the filter. The search for the next runs in short slices: see ListStream.
   class Iterator {
   public:
      Iterator(const Request& request, const IpRouteService& service);

      explicit operator bool() const { return item_.has_value(); }
      Iterator& operator++();
      [[nodiscard]] bool searching() const { return searching_; }
      void search();
      const RouteViaIterator::Item& operator*() const { return *item_; }

   private:
      RouteViaIterator items_;
      FilterVisitor filter_;
      // The current item, read under the lock; none at the end and during a search.
      std::optional<RouteViaIterator::Item> item_;
      bool searching_ = false;
   };

   static Iterator iterator(const Request& request, const IpRouteService& service) {
      return {request, service};
   }
   static Response convert(const RouteViaIterator::Item& item) { return std::visit(ConvertVisitor(), item); }
};

}  // namespace OrvSdkRpc
