#include "OrvSdkRpc/types/MplsRoute.h"

#include "OrvSdkRpc/types/Addresses.h"
#include "OrvSdkRpc/types/BoundaryCheck.h"
#include "OrvSdkRpc/types/Enumerations.h"
#include "OrvSdkRpc/types/Identifiers.h"
#include "orv/error.h"

namespace OrvSdkRpc::types {

namespace remote = orv::remote;

namespace {

// Checks raw numbers. The conversion of the action rejects an unknown one.
void checkPushswapLabel(remote::MplsActions action, const remote::MplsLabel& label) {
   const bool empty = !label.has_label() || label.label() == orv::mpls_label_t::null_label;
   switch (action) {
      case remote::MPLS_ACTIONS_POP:
      case remote::MPLS_ACTIONS_FORWARD:
         if (!empty) {
            throw orv::invalid_argument_error(
                 "Pushswap label must be empty when Label action is POP or FORWARD");
         }
         break;
      case remote::MPLS_ACTIONS_PUSH:
      case remote::MPLS_ACTIONS_SWAP:
         if (empty) {
            throw orv::invalid_argument_error(
                 "Pushswap label must not be empty when Label action is PUSH or SWAP");
         }
         break;
      default:
         break;
   }
}

}  // namespace

orv::mpls_route_t convert(const remote::MplsRoute& message) {
   if (!message.has_version_id()) return orv::mpls_route_t(convert(message.key()));
   const auto versionId =
        boundaryCheck<std::uint16_t>(message.version_id(), "Versioning out of range: {}", 1U);
   return {convert(message.key()), versionId};
}

remote::MplsRoute convert(const orv::mpls_route_t& route) {
   remote::MplsRoute message;
   *message.mutable_key() = convert(route.key());
   message.set_version_id(route.version_id());
   return message;
}

orv::mpls_route_via_t convert(const remote::MplsRouteVia& message) {
   checkPushswapLabel(message.label_action(), message.pushswap_label());
   const auto labelAction = convert(message.label_action());
   orv::mpls_route_via_t via(convert(message.route_key()), labelAction);
   via.hop_is(ip_addr(message.hop()));
   via.intf_is(convert(message.intf()));
   via.pushswap_label_is(convert(message.pushswap_label()));
   via.ttl_mode_is(convert(message.ttl_mode()));
   via.payload_type_is(convert(message.payload_type()));
   via.skip_egress_acl_is(message.skip_egress_acl());
   via.nexthop_group_is(message.nexthop_group());
   return via;
}

remote::MplsRouteVia convert(const orv::mpls_route_via_t& via) {
   remote::MplsRouteVia message;
   message.set_label_action(convert(via.label_action()));
   *message.mutable_route_key() = convert(via.route_key());
   if (!!via.hop()) message.set_hop(ip_addr_bytes(via.hop()));
   *message.mutable_intf() = convert(via.intf());
   *message.mutable_pushswap_label() = convert(via.pushswap_label());
   message.set_ttl_mode(convert(via.ttl_mode()));
   message.set_payload_type(convert(via.payload_type()));
   message.set_skip_egress_acl(via.skip_egress_acl());
   if (!via.nexthop_group().empty()) message.set_nexthop_group(via.nexthop_group());
   return message;
}

remote::MplsRouteStatus convert(const orv::mpls_route_status_t& status) {
   remote::MplsRouteStatus message;
   *message.mutable_key() = convert(status.key());
   *message.mutable_fec_id() = convert(status.fec_id());
   message.set_hw_version_id(status.hw_version_id());
   return message;
}

}  // namespace OrvSdkRpc::types
