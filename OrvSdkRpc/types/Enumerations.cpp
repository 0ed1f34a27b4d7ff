#include "OrvSdkRpc/types/Enumerations.h"

#include <fmt/format.h>

#include <array>

#include "orv/error.h"

namespace OrvSdkRpc::types {

namespace remote = orv::remote;

namespace {

// From first to last, inclusive.
struct Numbers {
   int first;
   int last;

   [[nodiscard]] constexpr bool hold(int number) const { return first <= number && number <= last; }
};

// The numbers that each side accepts and the exact error texts, which clients match. The first number of one
// side maps to the first of the other, and so on, except in the four enumerations that have tables of their
// own below.
template <typename Error>
struct Row {
   Numbers wire;
   Numbers sdk;
   std::string_view words;
   std::string_view wordsToWire = words;

   // RETURNS: true if both lookup tables have as many elements as the row has numbers.
   template <std::size_t wireSize, std::size_t sdkSize>
   [[nodiscard]] constexpr bool agreesWith(const std::array<int, wireSize>&,
                                           const std::array<int, sdkSize>&) const {
      return wire.first == 0 && sdk.first == 0 && wire.last + 1 == static_cast<int>(wireSize) &&
             sdk.last + 1 == static_cast<int>(sdkSize);
   }
};
using Invalid = Row<orv::invalid_argument_error>;
using Unsupported = Row<orv::unsupported_error>;

// clang-format off
//                                                   wire     SDK
constexpr Invalid aclAction                       {{0, 2},  {0, 2},   "Unknown value for Acl action: {}"};
constexpr Invalid aclDirection                    {{0, 2},  {0, 2},   "Unknown value for Acl direction: {}"};
constexpr Invalid aclIpType                       {{1, 3},  {0, 2},   "Unknown value for Acl IP type: {}"};
constexpr Invalid aclRangeOperator                {{0, 6},  {0, 6},   "Unknown value for Acl range operator: {}"};
constexpr Invalid aclType                         {{0, 4},  {0, 4},   "Unknown value for Acl type: {}"};
constexpr Invalid ipRouteActions                  {{0, 3},  {0, 3},   "Unknown value for ip_route_action_t: {}"};
constexpr Invalid macsecBypass                    {{0, 2},  {0, 2},   "Invalid macsec bypass {}"};
constexpr Invalid macsecCipherSuite               {{0, 4},  {0, 4},   "Invalid macsec cipher suite {}"};
constexpr Invalid macsecProfileTrafficPolicy      {{0, 3},  {0, 3},   "Invalid macsec traffic policy {}"};
constexpr Invalid macsecIntfKeyStatus             {{1, 6},  {0, 5},   "Invalid Macsec intf key status {}"};
constexpr Invalid macsecIntfTrafficStatus         {{1, 3},  {0, 2},   "Invalid Macsec intf traffic status {}"};
constexpr Invalid mplsActions                     {{0, 4},  {0, 4},   "Unknown value for mpls action: {}"};
constexpr Invalid mplsPayloadType                 {{0, 4},  {0, 4},   "Unknown value for mpls payload type: {}"};
constexpr Invalid mplsTtlMode                     {{0, 2},  {0, 2},   "Unknown value for mpls ttl mode: {}"};
constexpr Invalid fecHwProgrammingState           {{1, 3},  {0, 2},   "Unknown value for FEC hw programming state: {}"};
constexpr Invalid nexthopGroupEncapTypes          {{0, 5},  {0, 5},   "Unknown value for nexthop_group_encap_t: {}"};
constexpr Invalid nexthopGroupGreKeyTypes         {{0, 1},  {0, 1},   "Unknown value for nexthop_group_gre_key_t {}"};
constexpr Invalid nexthopGroupCounterState        {{0, 2},  {0, 2},   "Unknown value for NexthopGroupCounterState: {}"};
constexpr Invalid nexthopGroupProgrammedHwState   {{0, 2},  {0, 2},   "Unknown value for NexthopGroupProgrammedHwState: {}",
                                                                      "Unknown value for nexthop_group_programmed_hw_state_t: {}"};
constexpr Invalid policeBurstUnit                 {{0, 3},  {0, 2},   "Unknown value for police burst unit: {}"};
constexpr Invalid policeRateUnit                  {{0, 4},  {0, 3},   "Unknown value for police rate unit: {}"};
constexpr Invalid policyActionType                {{0, 6},  {0, 6},   "Unknown value for policy action type: {}"};
constexpr Invalid policyFeature                   {{0, 4},  {0, 4},   "Unknown value for policy feature: {}"};
constexpr Invalid policyMapRuleType               {{1, 3},  {0, 2},   "Unknown value for policy map rule type: {}"};
constexpr Invalid policyMapStatus                 {{1, 4},  {0, 3},   "Unknown value for policy feature: {}"};
constexpr Invalid trafficPolicyActionType         {{1, 14}, {0, 13},  "Unknown value for traffic policy action type: {}"};
constexpr Invalid trafficPolicyDirection          {{0, 1},  {0, 1},   "Unknown value for traffic policy direction: {}"};
constexpr Invalid trafficPolicyRuleType           {{0, 2},  {0, 2},   "Unknown value for traffic policy rule type: {}"};
constexpr Unsupported bgpPeerState                {{0, 6},  {0, 6},   "invalid peer state {}"};
constexpr Unsupported ethLagIntfFallbackType      {{0, 3},  {0, 3},   "unknown fallback type {}"};
constexpr Unsupported ethLagIntfMemberLacpMode    {{0, 3},  {0, 3},   "unknown LACP member mode {}"};
constexpr Unsupported ethLagIntfMemberLacpTimeout {{0, 2},  {0, 2},   "unknown LACP member timeout mode {} "};
constexpr Unsupported fibFecType                  {{0, 7},  {0, 7},   "Invalid FIB FEC TYPE {}"};
constexpr Unsupported fibRouteType                {{0, 26}, {0, 26},  "Unkown FIB route type {}"};
constexpr Unsupported ethLinkSpeed                {{0, 14}, {0, 14},  "unknown link speed {}"};
constexpr Unsupported operStatus                  {{0, 2},  {0, 2},   "invalid oper_status_t"};

// Indexed by the source's number. In the police units, 0 on the wire is an absent field and maps to the first
// unit.
constexpr std::array policeBurstUnitToSdk  {0, 0, 1, 2};
constexpr std::array policeBurstUnitToWire {1, 2, 3};
constexpr std::array policeRateUnitToSdk   {0, 0, 1, 2, 3};
constexpr std::array policeRateUnitToWire  {1, 2, 3, 4};
constexpr std::array fibFecTypeToSdk       {7, 0, 1, 2, 3, 4, 5, 6};
constexpr std::array fibFecTypeToWire      {1, 2, 3, 4, 5, 6, 7, 0};
// One table for both directions.
constexpr std::array fibRouteTypeSwapped   {4, 1, 2, 3, 0, 5, 6, 7, 8, 9, 10, 11, 12, 13,
                                            14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26};
// clang-format on

static_assert(policeBurstUnit.agreesWith(policeBurstUnitToSdk, policeBurstUnitToWire));
static_assert(policeRateUnit.agreesWith(policeRateUnitToSdk, policeRateUnitToWire));
static_assert(fibFecType.agreesWith(fibFecTypeToSdk, fibFecTypeToWire));
static_assert(fibRouteType.agreesWith(fibRouteTypeSwapped, fibRouteTypeSwapped));

template <typename Error>
[[noreturn]] void refuse(std::string_view words, int number) {
   throw Error(fmt::format(fmt::runtime(words), number));
}

template <typename Sdk, typename Error, typename Wire>
Sdk toSdk(const Row<Error>& row, Wire v) {
   const int number = static_cast<int>(v);
   if (!row.wire.hold(number)) refuse<Error>(row.words, number);
   return static_cast<Sdk>(number - row.wire.first + row.sdk.first);
}

template <typename Wire, typename Error, typename Sdk>
Wire toWire(const Row<Error>& row, Sdk v) {
   const int number = static_cast<int>(v);
   if (!row.sdk.hold(number)) refuse<Error>(row.wordsToWire, number);
   return static_cast<Wire>(number - row.sdk.first + row.wire.first);
}

// The same through a lookup table, whose indices are the accepted numbers.
template <typename Target, typename Error, std::size_t size, typename Source>
Target lookUp(const Row<Error>& row, const std::array<int, size>& table, Source v) {
   const int number = static_cast<int>(v);
   if (number < 0 || number >= static_cast<int>(size)) refuse<Error>(row.words, number);
   return static_cast<Target>(table[static_cast<std::size_t>(number)]);
}

}  // namespace

orv::acl_action_t convert(remote::AclAction v) {
   return toSdk<orv::acl_action_t>(aclAction, v);
}
remote::AclAction convert(orv::acl_action_t v) {
   return toWire<remote::AclAction>(aclAction, v);
}

orv::acl_direction_t convert(remote::AclDirection v) {
   return toSdk<orv::acl_direction_t>(aclDirection, v);
}
remote::AclDirection convert(orv::acl_direction_t v) {
   return toWire<remote::AclDirection>(aclDirection, v);
}

orv::acl_ip_type_t convert(remote::AclIpType v) {
   return toSdk<orv::acl_ip_type_t>(aclIpType, v);
}
remote::AclIpType convert(orv::acl_ip_type_t v) {
   return toWire<remote::AclIpType>(aclIpType, v);
}

orv::acl_range_operator_t convert(remote::AclRangeOperator v) {
   return toSdk<orv::acl_range_operator_t>(aclRangeOperator, v);
}
remote::AclRangeOperator convert(orv::acl_range_operator_t v) {
   return toWire<remote::AclRangeOperator>(aclRangeOperator, v);
}

orv::acl_type_t convert(remote::AclType v) {
   return toSdk<orv::acl_type_t>(aclType, v);
}
remote::AclType convert(orv::acl_type_t v) {
   return toWire<remote::AclType>(aclType, v);
}

orv::ip_route_action_t convert(remote::IpRouteActions v) {
   return toSdk<orv::ip_route_action_t>(ipRouteActions, v);
}

orv::macsec_bypass_t convert(remote::MacsecBypass v) {
   return toSdk<orv::macsec_bypass_t>(macsecBypass, v);
}
remote::MacsecBypass convert(orv::macsec_bypass_t v) {
   return toWire<remote::MacsecBypass>(macsecBypass, v);
}

orv::macsec_cipher_suite_t convert(remote::MacsecCipherSuite v) {
   return toSdk<orv::macsec_cipher_suite_t>(macsecCipherSuite, v);
}
remote::MacsecCipherSuite convert(orv::macsec_cipher_suite_t v) {
   return toWire<remote::MacsecCipherSuite>(macsecCipherSuite, v);
}

orv::macsec_profile_traffic_policy_t convert(remote::MacsecProfileTrafficPolicy v) {
   return toSdk<orv::macsec_profile_traffic_policy_t>(macsecProfileTrafficPolicy, v);
}
remote::MacsecProfileTrafficPolicy convert(orv::macsec_profile_traffic_policy_t v) {
   return toWire<remote::MacsecProfileTrafficPolicy>(macsecProfileTrafficPolicy, v);
}

remote::MacsecIntfKeyStatus convert(orv::macsec_intf_key_status_t v) {
   return toWire<remote::MacsecIntfKeyStatus>(macsecIntfKeyStatus, v);
}

remote::MacsecIntfTrafficStatus convert(orv::macsec_intf_traffic_status_t v) {
   return toWire<remote::MacsecIntfTrafficStatus>(macsecIntfTrafficStatus, v);
}

orv::mpls_action_t convert(remote::MplsActions v) {
   return toSdk<orv::mpls_action_t>(mplsActions, v);
}
remote::MplsActions convert(orv::mpls_action_t v) {
   return toWire<remote::MplsActions>(mplsActions, v);
}

orv::mpls_payload_type_t convert(remote::MplsPayloadType v) {
   return toSdk<orv::mpls_payload_type_t>(mplsPayloadType, v);
}
remote::MplsPayloadType convert(orv::mpls_payload_type_t v) {
   return toWire<remote::MplsPayloadType>(mplsPayloadType, v);
}

orv::mpls_ttl_mode_t convert(remote::MplsTtlMode v) {
   return toSdk<orv::mpls_ttl_mode_t>(mplsTtlMode, v);
}
remote::MplsTtlMode convert(orv::mpls_ttl_mode_t v) {
   return toWire<remote::MplsTtlMode>(mplsTtlMode, v);
}

remote::FecHwProgrammingState convert(Routing::Hardware::FecHwProgrammingState v) {
   return toWire<remote::FecHwProgrammingState>(fecHwProgrammingState, v);
}

orv::nexthop_group_encap_t convert(remote::NexthopGroupEncapTypes v) {
   return toSdk<orv::nexthop_group_encap_t>(nexthopGroupEncapTypes, v);
}
remote::NexthopGroupEncapTypes convert(orv::nexthop_group_encap_t v) {
   return toWire<remote::NexthopGroupEncapTypes>(nexthopGroupEncapTypes, v);
}

orv::nexthop_group_gre_key_t convert(remote::NexthopGroupGreKeyTypes v) {
   return toSdk<orv::nexthop_group_gre_key_t>(nexthopGroupGreKeyTypes, v);
}
remote::NexthopGroupGreKeyTypes convert(orv::nexthop_group_gre_key_t v) {
   return toWire<remote::NexthopGroupGreKeyTypes>(nexthopGroupGreKeyTypes, v);
}

orv::nexthop_group_counter_state_t convert(remote::NexthopGroupCounterState v) {
   return toSdk<orv::nexthop_group_counter_state_t>(nexthopGroupCounterState, v);
}
remote::NexthopGroupCounterState convert(orv::nexthop_group_counter_state_t v) {
   return toWire<remote::NexthopGroupCounterState>(nexthopGroupCounterState, v);
}

orv::nexthop_group_programmed_hw_state_t convert(remote::NexthopGroupProgrammedHwState v) {
   return toSdk<orv::nexthop_group_programmed_hw_state_t>(nexthopGroupProgrammedHwState, v);
}
remote::NexthopGroupProgrammedHwState convert(orv::nexthop_group_programmed_hw_state_t v) {
   return toWire<remote::NexthopGroupProgrammedHwState>(nexthopGroupProgrammedHwState, v);
}

orv::police_burst_unit_t convert(remote::PoliceBurstUnit v) {
   return lookUp<orv::police_burst_unit_t>(policeBurstUnit, policeBurstUnitToSdk, v);
}
remote::PoliceBurstUnit convert(orv::police_burst_unit_t v) {
   return lookUp<remote::PoliceBurstUnit>(policeBurstUnit, policeBurstUnitToWire, v);
}

orv::police_rate_unit_t convert(remote::PoliceRateUnit v) {
   return lookUp<orv::police_rate_unit_t>(policeRateUnit, policeRateUnitToSdk, v);
}
remote::PoliceRateUnit convert(orv::police_rate_unit_t v) {
   return lookUp<remote::PoliceRateUnit>(policeRateUnit, policeRateUnitToWire, v);
}

orv::policy_action_type_t convert(remote::PolicyActionType v) {
   return toSdk<orv::policy_action_type_t>(policyActionType, v);
}
remote::PolicyActionType convert(orv::policy_action_type_t v) {
   return toWire<remote::PolicyActionType>(policyActionType, v);
}

orv::policy_feature_t convert(remote::PolicyFeature v) {
   return toSdk<orv::policy_feature_t>(policyFeature, v);
}
remote::PolicyFeature convert(orv::policy_feature_t v) {
   return toWire<remote::PolicyFeature>(policyFeature, v);
}

orv::policy_map_rule_type_t convert(remote::PolicyMapRuleType v) {
   return toSdk<orv::policy_map_rule_type_t>(policyMapRuleType, v);
}
remote::PolicyMapRuleType convert(orv::policy_map_rule_type_t v) {
   return toWire<remote::PolicyMapRuleType>(policyMapRuleType, v);
}

remote::PolicyMapStatus convert(orv::policy_map_status_t v) {
   return toWire<remote::PolicyMapStatus>(policyMapStatus, v);
}

orv::traffic_policy_action_type_t convert(remote::TrafficPolicyActionType v) {
   return toSdk<orv::traffic_policy_action_type_t>(trafficPolicyActionType, v);
}
remote::TrafficPolicyActionType convert(orv::traffic_policy_action_type_t v) {
   return toWire<remote::TrafficPolicyActionType>(trafficPolicyActionType, v);
}

orv::traffic_policy_direction_t convert(remote::TrafficPolicyDirection v) {
   return toSdk<orv::traffic_policy_direction_t>(trafficPolicyDirection, v);
}
remote::TrafficPolicyDirection convert(orv::traffic_policy_direction_t v) {
   return toWire<remote::TrafficPolicyDirection>(trafficPolicyDirection, v);
}

orv::traffic_policy_rule_type_t convert(remote::TrafficPolicyRuleType v) {
   return toSdk<orv::traffic_policy_rule_type_t>(trafficPolicyRuleType, v);
}
remote::TrafficPolicyRuleType convert(orv::traffic_policy_rule_type_t v) {
   return toWire<remote::TrafficPolicyRuleType>(trafficPolicyRuleType, v);
}

remote::BgpPeerState convert(orv::bgp_peer_state_t v) {
   return toWire<remote::BgpPeerState>(bgpPeerState, v);
}

orv::eth_lag_intf_fallback_type_t convert(remote::EthLagIntfFallbackType v) {
   return toSdk<orv::eth_lag_intf_fallback_type_t>(ethLagIntfFallbackType, v);
}
remote::EthLagIntfFallbackType convert(orv::eth_lag_intf_fallback_type_t v) {
   return toWire<remote::EthLagIntfFallbackType>(ethLagIntfFallbackType, v);
}

orv::eth_lag_intf_member_lacp_mode_t convert(remote::EthLagIntfMemberLacpMode v) {
   return toSdk<orv::eth_lag_intf_member_lacp_mode_t>(ethLagIntfMemberLacpMode, v);
}
remote::EthLagIntfMemberLacpMode convert(orv::eth_lag_intf_member_lacp_mode_t v) {
   return toWire<remote::EthLagIntfMemberLacpMode>(ethLagIntfMemberLacpMode, v);
}

orv::eth_lag_intf_member_lacp_timeout_t convert(remote::EthLagIntfMemberLacpTimeout v) {
   return toSdk<orv::eth_lag_intf_member_lacp_timeout_t>(ethLagIntfMemberLacpTimeout, v);
}
remote::EthLagIntfMemberLacpTimeout convert(orv::eth_lag_intf_member_lacp_timeout_t v) {
   return toWire<remote::EthLagIntfMemberLacpTimeout>(ethLagIntfMemberLacpTimeout, v);
}

orv::fib_fec_type_t convert(remote::FibFecType v) {
   return lookUp<orv::fib_fec_type_t>(fibFecType, fibFecTypeToSdk, v);
}
remote::FibFecType convert(orv::fib_fec_type_t v) {
   return lookUp<remote::FibFecType>(fibFecType, fibFecTypeToWire, v);
}

orv::fib_route_type_t convert(remote::FibRouteType v) {
   return lookUp<orv::fib_route_type_t>(fibRouteType, fibRouteTypeSwapped, v);
}
remote::FibRouteType convert(orv::fib_route_type_t v) {
   return lookUp<remote::FibRouteType>(fibRouteType, fibRouteTypeSwapped, v);
}

remote::EthLinkSpeed convert(orv::eth_link_speed_t v) {
   return toWire<remote::EthLinkSpeed>(ethLinkSpeed, v);
}

remote::OperStatus convert(orv::oper_status_t v) {
   return toWire<remote::OperStatus>(operStatus, v);
}

}  // namespace OrvSdkRpc::types
