#include "OrvSdkRpc/types/Identifiers.h"

#include <boost/container/small_vector.hpp>

#include "OrvSdkRpc/types/Addresses.h"
#include "OrvSdkRpc/types/BoundaryCheck.h"
#include "OrvSdkRpc/types/Enumerations.h"

namespace OrvSdkRpc::types {

namespace remote = orv::remote;

// Here and in the records, empty() before a setter saves an allocation: a new message has the empty string
// anyway. Most records have several.

orv::intf_id_t convert(const remote::IntfId& message) {
   return orv::intf_id_t(message.name());
}

remote::IntfId convert(const orv::intf_id_t& intf) {
   remote::IntfId message;
   convert(intf, message);
   return message;
}

void convert(const orv::intf_id_t& intf, remote::IntfId& message) {
   if (!!intf) {
      message.mutable_name()->assign(intf.name());
   } else {
      message.clear_name();
   }
}

orv::mpls_fec_id_t convert(const remote::MplsFecId& message) {
   return orv::mpls_fec_id_t(message.id());
}

remote::MplsFecId convert(orv::mpls_fec_id_t fecId) {
   remote::MplsFecId message;
   message.set_id(fecId.id());
   return message;
}

orv::mpls_label_t convert(const remote::MplsLabel& message) {
   if (!message.has_label()) return {};
   return orv::mpls_label_t(message.label());
}

remote::MplsLabel convert(orv::mpls_label_t label) {
   remote::MplsLabel message;
   message.set_label(label.label());
   return message;
}

remote::MplsLabel convert(Lumic::MplsLabel label) {
   remote::MplsLabel message;
   message.set_label(label.value());
   return message;
}

orv::ip_addr_mask_t convert(const remote::IpAddrMask& message) {
   return {ip_addr(message.addr()), static_cast<std::uint8_t>(message.mask_length())};
}

remote::IpAddrMask convert(const orv::ip_addr_mask_t& addrMask) {
   remote::IpAddrMask message;
   if (!!addrMask.address()) message.set_addr(addrMask.addr(), afToSize(addrMask.address()));
   message.set_mask_length(addrMask.mask_length());
   return message;
}

orv::ip_prefix_t convert(const remote::Prefix& message) {
   // Truncated before the SDK, which would reject the full number.
   return {ip_addr(message.network()), static_cast<std::uint8_t>(message.prefix_length())};
}

remote::Prefix convert(const orv::ip_prefix_t& prefix) {
   remote::Prefix message;
   if (!!prefix.network()) message.set_network(prefix.network().addr(), afToSize(prefix.network()));
   message.set_prefix_length(prefix.prefix_length());
   return message;
}

orv::port_range_t port_range(const remote::Range& message) {
   orv::port_range_t range;
   range.range_start_is(message.range_start());
   range.range_end_is(message.range_end());
   return range;
}

remote::Range convert(const orv::port_range_t& range) {
   remote::Range message;
   message.set_range_start(range.range_start());
   message.set_range_end(range.range_end());
   return message;
}

orv::protocol_range_t protocol_range(const remote::Range& message) {
   orv::protocol_range_t range;
   range.range_start_is(message.range_start());
   range.range_end_is(message.range_end());
   return range;
}

remote::Range convert(const orv::protocol_range_t& range) {
   remote::Range message;
   message.set_range_start(range.range_start());
   message.set_range_end(range.range_end());
   return message;
}

orv::acl_key_t convert(const remote::AclKey& message) {
   return {message.acl_name(), convert(message.acl_type())};
}

remote::AclKey convert(const orv::acl_key_t& key) {
   remote::AclKey message;
   message.set_acl_name(key.acl_name());
   message.set_acl_type(convert(key.acl_type()));
   return message;
}

orv::policy_map_key_t convert(const remote::PolicyMapKey& message) {
   orv::policy_map_key_t key;
   key.name_is(message.name());
   key.feature_is(convert(message.feature()));
   return key;
}

remote::PolicyMapKey convert(const orv::policy_map_key_t& key) {
   remote::PolicyMapKey message;
   if (!key.name().empty()) message.set_name(key.name());
   message.set_feature(convert(key.feature()));
   return message;
}

orv::bgp_peer_key_t convert(const remote::BgpPeerKey& message) {
   orv::bgp_peer_key_t key;
   key.vrf_name_is(message.vrf_name());
   key.peer_addr_is(ip_addr(message.peer_addr()));
   return key;
}

remote::BgpPeerKey convert(const orv::bgp_peer_key_t& key) {
   remote::BgpPeerKey message;
   message.set_vrf_name(key.vrf_name());
   message.set_peer_addr(ip_addr_bytes(key.peer_addr()));
   return message;
}

orv::bgp_path_key_t convert(const remote::BgpPathKey& message) {
   orv::bgp_path_key_t key;
   key.peer_addr_is(ip_addr(message.peer_addr()));
   key.prefix_is(convert(message.prefix()));
   key.vrf_name_is(message.vrf_name());
   return key;
}

remote::BgpPathKey convert(const orv::bgp_path_key_t& key) {
   remote::BgpPathKey message;
   message.set_peer_addr(ip_addr_bytes(key.peer_addr()));
   *message.mutable_prefix() = convert(key.prefix());
   message.set_vrf_name(key.vrf_name());
   return message;
}

orv::fib_fec_key_t convert(const remote::FibFecKey& message) {
   orv::fib_fec_key_t key;
   key.fec_id_is(message.fec_id());
   return key;
}

remote::FibFecKey convert(const orv::fib_fec_key_t& key) {
   remote::FibFecKey message;
   message.set_fec_id(key.fec_id());
   return message;
}

orv::fib_route_key_t convert(const remote::FibRouteKey& message) {
   return orv::fib_route_key_t(convert(message.prefix()));
}

remote::FibRouteKey convert(const orv::fib_route_key_t& key) {
   remote::FibRouteKey message;
   *message.mutable_prefix() = convert(key.prefix());
   return message;
}

orv::ip_route_key_t convert(const remote::IpRouteKey& message) {
   orv::ip_route_key_t key;
   key.prefix_is(convert(message.prefix()));
   if (message.has_preference()) key.preference_is(static_cast<std::uint8_t>(message.preference()));
   return key;
}

remote::IpRouteKey convert(const orv::ip_route_key_t& key) {
   remote::IpRouteKey message;
   *message.mutable_prefix() = convert(key.prefix());
   message.set_preference(key.preference());
   return message;
}

orv::mpls_route_key_t convert(const remote::MplsRouteKey& message) {
   boost::container::small_vector<orv::mpls_label_t, orv::mpls_route_key_t::labels_max> labels;
   labels.reserve(static_cast<std::size_t>(message.labels_size()));
   for (const remote::MplsLabel& label : message.labels())
      labels.push_back(convert(label));
   const auto metric = boundaryCheck<std::uint8_t>(message.metric(), "metric {} is out of range");
   return {std::span<const orv::mpls_label_t>(labels.data(), labels.size()), metric};
}

remote::MplsRouteKey convert(const orv::mpls_route_key_t& key) {
   remote::MplsRouteKey message;
   message.mutable_labels()->Reserve(static_cast<int>(key.labels().size()));
   for (const orv::mpls_label_t label : key.labels())
      *message.add_labels() = convert(label);
   message.set_metric(key.metric());
   return message;
}

remote::MplsRouteKey convert(const Mpls::RouteKeyAndMetric& key) {
   remote::MplsRouteKey message;
   for (std::uint32_t index = key.stackSize(); index-- > 0;)
      *message.add_labels() = convert(key.labelStack(Lumic::MplsStackEntryIndex(index)));
   message.set_metric(key.metric());
   return message;
}

orv::mpls_vrf_label_t convert(const remote::MplsVrfLabel& message) {
   return {convert(message.label()), message.vrf_name()};
}

remote::MplsVrfLabel convert(const orv::mpls_vrf_label_t& vrfLabel) {
   remote::MplsVrfLabel message;
   *message.mutable_label() = convert(vrfLabel.label());
   message.set_vrf_name(vrfLabel.vrf_name());
   return message;
}

}  // namespace OrvSdkRpc::types
