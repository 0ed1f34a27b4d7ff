#include "OrvSdkRpc/mirror/IpRoutesAdapter.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "OrvSdkRpc/mirror/SearchSlice.h"
#include "OrvSdkRpc/types/Identifiers.h"
#include "OrvSdkRpc/types/IpRoute.h"

namespace OrvSdkRpc {
namespace {

// ip_addr_t::addr() always has this many bytes.
constexpr std::size_t addressBytes = 16;

bool beginsWith(const orv::ip_addr_t& address, const std::string& bytes) {
   return bytes.size() <= addressBytes && std::memcmp(address.addr(), bytes.data(), bytes.size()) == 0;
}

}  // namespace

IpRoutesAdapter::FilterVisitor::FilterVisitor(const Request& request, const IpRouteService& service)
     : service_(service),
       vni_(request.vni()),
       vxlanIntf_(request.has_vxlan_intf_id() ? std::optional(types::convert(request.vxlan_intf_id()))
                                              : std::nullopt),
       vtepAddr_(request.vtep_addr()),
       routesAreSent_(request.embed_vias() || !request.vias_only()) {}

bool IpRoutesAdapter::FilterVisitor::operator()(const RouteViaIterator::Route& item) {
   matched_ = matches(item);
   return matched_ && routesAreSent_;
}

bool IpRoutesAdapter::FilterVisitor::matches(const RouteViaIterator::Route& item) const {
   if (vni_ == 0 && !vxlanIntf_ && vtepAddr_.empty()) return true;
   bool any = false;
   const auto look = [&](const orv::ip_route_via_t& via) {
      any = true;
      return passes(via);
   };
   if (item.vias) {
      if (std::any_of(item.vias->begin(), item.vias->end(), look)) return true;
   } else {
      for (auto it = service_.manager().ip_route_via_iter(item.route.key(), item.vrfName); it; ++it) {
         if (look(*it)) return true;
      }
   }
   if (!any) orv::fmttrace(service_.tracer(), 9, "no vias to match filters");
   return false;
}

bool IpRoutesAdapter::FilterVisitor::passes(const orv::ip_route_via_t& via) const {
   if (vni_ != 0 && via.vni() != vni_) {
      orv::fmttrace(service_.tracer(), 9, "VNI {} does not match {}", via.vni(), vni_);
      return false;
   }
   if (vxlanIntf_ && via.vxlan_intf() != *vxlanIntf_) {
      orv::fmttrace(service_.tracer(), 9, "VXLAN intf {} does not match {}", via.vxlan_intf(), *vxlanIntf_);
      return false;
   }
   if (!beginsWith(via.vtep_addr(), vtepAddr_)) {
      orv::fmttrace(service_.tracer(), 9, "VTEP address mismatch");
      return false;
   }
   return true;
}

IpRoutesAdapter::Response IpRoutesAdapter::ConvertVisitor::operator()(
     const RouteViaIterator::Route& item) const {
   Response response;
   *response.mutable_route() = types::convert(item.route);
   if (item.vias) {
      for (const orv::ip_route_via_t& via : *item.vias)
         *response.add_vias() = types::convert(via);
   }
   return response;
}

IpRoutesAdapter::Response IpRoutesAdapter::ConvertVisitor::operator()(const orv::ip_route_via_t& via) const {
   Response response;
   *response.mutable_via() = types::convert(via);
   return response;
}

IpRoutesAdapter::Iterator::Iterator(const Request& request, const IpRouteService& service)
     : items_(service, request.vrf_name(),
              {.includeVias = request.include_vias(), .embedVias = request.embed_vias()}),
       filter_(request, service) {
   search();
}

IpRoutesAdapter::Iterator& IpRoutesAdapter::Iterator::operator++() {
   ++items_;
   search();
   return *this;
}

// Advances to the next item that is sent, starting with the current one.
void IpRoutesAdapter::Iterator::search() {
   searching_ = false;
   SearchSlice slice;
   while (items_) {
      item_ = *items_;
      if (std::visit(filter_, *item_)) return;
      // The vias of a route that does not match are not sent either.
      if (filter_.matched()) {
         ++items_;
      } else {
         items_.nextRoute();
      }
      if (slice.over()) {
         searching_ = true;
         break;
      }
   }
   item_.reset();
}

}  // namespace OrvSdkRpc
