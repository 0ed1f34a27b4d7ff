#include "OrvSdkRpc/types/IpRoute.h"

#include "OrvSdkRpc/types/Addresses.h"
#include "OrvSdkRpc/types/Identifiers.h"

namespace OrvSdkRpc::types {

namespace remote = orv::remote;

orv::ip_route_t convert(const remote::IpRoute& message) {
   orv::ip_route_t route(convert(message.key()));
   route.tag_is(message.tag());
   route.rib_bypass_is(message.rib_bypass());
   route.command_tag_is(message.command_tag());
   return route;
}

remote::IpRoute convert(const orv::ip_route_t& route) {
   remote::IpRoute message;
   *message.mutable_key() = convert(route.key());
   message.set_tag(route.tag());
   message.set_rib_bypass(route.rib_bypass());
   if (!route.command_tag().empty()) message.set_command_tag(route.command_tag());
   return message;
}

orv::ip_route_via_t convert(const remote::IpRouteVia& message) {
   orv::ip_route_via_t via;
   via.route_key_is(convert(message.route_key()));
   via.hop_is(ip_addr(message.hop()));
   via.intf_is(convert(message.intf()));
   via.nexthop_group_is(message.nexthop_group());
   via.mpls_label_is(message.has_mpls_label() ? orv::mpls_label_t(message.mpls_label())
                                              : orv::mpls_label_t());
   via.vni_is(message.vni());
   via.vtep_addr_is(ip_addr(message.vtep_addr()));
   via.router_mac_is(eth_addr(message.router_mac()));
   via.egress_vrf_is(message.egress_vrf());
   via.metric_is(message.metric());
   via.vxlan_intf_is(convert(message.vxlan_intf()));
   via.vtep_sip_validation_is(message.vtep_sip_validation());
   via.weight_is(message.weight());
   return via;
}

remote::IpRouteVia convert(const orv::ip_route_via_t& via) {
   remote::IpRouteVia message;
   *message.mutable_route_key() = convert(via.route_key());
   if (!!via.hop()) message.set_hop(via.hop().addr(), afToSize(via.hop()));
   if (!!via.intf()) *message.mutable_intf() = convert(via.intf());
   if (!via.nexthop_group().empty()) message.set_nexthop_group(via.nexthop_group());
   message.set_mpls_label(via.mpls_label().label());
   message.set_vni(via.vni());
   if (!!via.vtep_addr()) message.set_vtep_addr(via.vtep_addr().addr(), afToSize(via.vtep_addr()));
   if (!!via.router_mac()) message.set_router_mac(eth_addr_bytes(via.router_mac(), false));
   if (!via.egress_vrf().empty()) message.set_egress_vrf(via.egress_vrf());
   message.set_metric(via.metric());
   if (!!via.vxlan_intf()) *message.mutable_vxlan_intf() = convert(via.vxlan_intf());
   message.set_vtep_sip_validation(via.vtep_sip_validation());
   message.set_weight(via.weight());
   return message;
}

}  // namespace OrvSdkRpc::types
