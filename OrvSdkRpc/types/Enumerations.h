// Every enumeration of the wire and its SDK counterpart. One table at the top of the source lists the numbers
// that each side accepts, how they map, and the error texts.
//
// THROWS: orv::invalid_argument_error for a number that is not in the table, or orv::unsupported_error in the
// enumerations of the table's last part. On the way to the wire, such a number means that the SDK has a new
// member. An absent wire field reads as 0. Enumerations that travel in one direction only are converted in
// that direction only.
//
// Thread-safety: pure functions.
#pragma once

#include "OrvSdkRpcProtos/types.pb.h"
#include "orv/acl_types.h"
#include "orv/bgp_types.h"
#include "orv/eth_lag_intf_types.h"
#include "orv/eth_phy_intf_types.h"
#include "orv/fib_types.h"
#include "orv/intf.h"
#include "orv/ip_route_types.h"
#include "orv/macsec_types.h"
#include "orv/mpls_route_types.h"
#include "orv/nexthop_group_types.h"
#include "orv/policy_key.h"
#include "orv/policy_map_types.h"
#include "orv/traffic_policy_types.h"
#include "platform/state/FecHwProgrammingState.h"

namespace OrvSdkRpc::types {

orv::acl_action_t convert(orv::remote::AclAction v);
orv::remote::AclAction convert(orv::acl_action_t v);

orv::acl_direction_t convert(orv::remote::AclDirection v);
orv::remote::AclDirection convert(orv::acl_direction_t v);

orv::acl_ip_type_t convert(orv::remote::AclIpType v);
orv::remote::AclIpType convert(orv::acl_ip_type_t v);

orv::acl_range_operator_t convert(orv::remote::AclRangeOperator v);
orv::remote::AclRangeOperator convert(orv::acl_range_operator_t v);

orv::acl_type_t convert(orv::remote::AclType v);
orv::remote::AclType convert(orv::acl_type_t v);

orv::ip_route_action_t convert(orv::remote::IpRouteActions v);

orv::macsec_bypass_t convert(orv::remote::MacsecBypass v);
orv::remote::MacsecBypass convert(orv::macsec_bypass_t v);

orv::macsec_cipher_suite_t convert(orv::remote::MacsecCipherSuite v);
orv::remote::MacsecCipherSuite convert(orv::macsec_cipher_suite_t v);

orv::macsec_profile_traffic_policy_t convert(orv::remote::MacsecProfileTrafficPolicy v);
orv::remote::MacsecProfileTrafficPolicy convert(orv::macsec_profile_traffic_policy_t v);

orv::remote::MacsecIntfKeyStatus convert(orv::macsec_intf_key_status_t v);

orv::remote::MacsecIntfTrafficStatus convert(orv::macsec_intf_traffic_status_t v);

orv::mpls_action_t convert(orv::remote::MplsActions v);
orv::remote::MplsActions convert(orv::mpls_action_t v);

orv::mpls_payload_type_t convert(orv::remote::MplsPayloadType v);
orv::remote::MplsPayloadType convert(orv::mpls_payload_type_t v);

orv::mpls_ttl_mode_t convert(orv::remote::MplsTtlMode v);
orv::remote::MplsTtlMode convert(orv::mpls_ttl_mode_t v);

orv::remote::FecHwProgrammingState convert(Routing::Hardware::FecHwProgrammingState v);

orv::nexthop_group_encap_t convert(orv::remote::NexthopGroupEncapTypes v);
orv::remote::NexthopGroupEncapTypes convert(orv::nexthop_group_encap_t v);

orv::nexthop_group_gre_key_t convert(orv::remote::NexthopGroupGreKeyTypes v);
orv::remote::NexthopGroupGreKeyTypes convert(orv::nexthop_group_gre_key_t v);

orv::nexthop_group_counter_state_t convert(orv::remote::NexthopGroupCounterState v);
orv::remote::NexthopGroupCounterState convert(orv::nexthop_group_counter_state_t v);

orv::nexthop_group_programmed_hw_state_t convert(orv::remote::NexthopGroupProgrammedHwState v);
orv::remote::NexthopGroupProgrammedHwState convert(orv::nexthop_group_programmed_hw_state_t v);

orv::police_burst_unit_t convert(orv::remote::PoliceBurstUnit v);
orv::remote::PoliceBurstUnit convert(orv::police_burst_unit_t v);

orv::police_rate_unit_t convert(orv::remote::PoliceRateUnit v);
orv::remote::PoliceRateUnit convert(orv::police_rate_unit_t v);

orv::policy_action_type_t convert(orv::remote::PolicyActionType v);
orv::remote::PolicyActionType convert(orv::policy_action_type_t v);

orv::policy_feature_t convert(orv::remote::PolicyFeature v);
orv::remote::PolicyFeature convert(orv::policy_feature_t v);

orv::policy_map_rule_type_t convert(orv::remote::PolicyMapRuleType v);
orv::remote::PolicyMapRuleType convert(orv::policy_map_rule_type_t v);

orv::remote::PolicyMapStatus convert(orv::policy_map_status_t v);

orv::traffic_policy_action_type_t convert(orv::remote::TrafficPolicyActionType v);
orv::remote::TrafficPolicyActionType convert(orv::traffic_policy_action_type_t v);

orv::traffic_policy_direction_t convert(orv::remote::TrafficPolicyDirection v);
orv::remote::TrafficPolicyDirection convert(orv::traffic_policy_direction_t v);

orv::traffic_policy_rule_type_t convert(orv::remote::TrafficPolicyRuleType v);
orv::remote::TrafficPolicyRuleType convert(orv::traffic_policy_rule_type_t v);

orv::remote::BgpPeerState convert(orv::bgp_peer_state_t v);

orv::eth_lag_intf_fallback_type_t convert(orv::remote::EthLagIntfFallbackType v);
orv::remote::EthLagIntfFallbackType convert(orv::eth_lag_intf_fallback_type_t v);

orv::eth_lag_intf_member_lacp_mode_t convert(orv::remote::EthLagIntfMemberLacpMode v);
orv::remote::EthLagIntfMemberLacpMode convert(orv::eth_lag_intf_member_lacp_mode_t v);

orv::eth_lag_intf_member_lacp_timeout_t convert(orv::remote::EthLagIntfMemberLacpTimeout v);
orv::remote::EthLagIntfMemberLacpTimeout convert(orv::eth_lag_intf_member_lacp_timeout_t v);

orv::fib_fec_type_t convert(orv::remote::FibFecType v);
orv::remote::FibFecType convert(orv::fib_fec_type_t v);

orv::fib_route_type_t convert(orv::remote::FibRouteType v);
orv::remote::FibRouteType convert(orv::fib_route_type_t v);

orv::remote::EthLinkSpeed convert(orv::eth_link_speed_t v);

orv::remote::OperStatus convert(orv::oper_status_t v);

}  // namespace OrvSdkRpc::types
