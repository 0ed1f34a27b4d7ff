#include "Records.h"

#include <concepts>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <typeinfo>

#include "OrvSdkRpc/types/Acl.h"
#include "OrvSdkRpc/types/Addresses.h"
#include "OrvSdkRpc/types/BgpPath.h"
#include "OrvSdkRpc/types/ClassMap.h"
#include "OrvSdkRpc/types/Cmdapi.h"
#include "OrvSdkRpc/types/Counters.h"
#include "OrvSdkRpc/types/EthLagIntf.h"
#include "OrvSdkRpc/types/Fib.h"
#include "OrvSdkRpc/types/Identifiers.h"
#include "OrvSdkRpc/types/IpRoute.h"
#include "OrvSdkRpc/types/Macsec.h"
#include "OrvSdkRpc/types/MplsRoute.h"
#include "OrvSdkRpc/types/NexthopGroup.h"
#include "OrvSdkRpc/types/PolicyMap.h"
#include "OrvSdkRpc/types/TpRuleFilter.h"
#include "OrvSdkRpc/types/TrafficPolicy.h"
#include "orv/error.h"
#include "platform/state/RouteKeyAndMetric.h"
#include "platform/zelt/RangeException.h"
#include "testing/values/GeneratePolicy.h"
#include "testing/values/GenerateStatus.h"

namespace fuzz {

namespace remote = orv::remote;
using OrvSdkRpc::types::convert;

namespace {

struct Record {
   // Converts bytes that may be a message of this record: to the SDK, back, and to the SDK again. Null when
   // the record is only sent.
   void (*fromWire)(std::span<const std::uint8_t> bytes);
   // Converts a value of this record that is made from the bytes: to the wire, through bytes, and back. Null
   // when the record is only received.
   void (*fromSdk)(std::span<const std::uint8_t> bytes);
};

[[noreturn]] void fault(std::string_view what) {
   std::fprintf(stderr, "%.*s\n", static_cast<int>(what.size()), what.data());
   std::abort();
}

template <typename T>
concept Convertible = requires(const T& v) {
   convert(v);
};

enum class Towards { sdk, wire };

// RETURNS: whether `call` returned. If it throws, the exception's type must be one that conversions promise.
template <typename Call>
bool succeeds(Towards towards, Call&& call) {
   try {
      call();
      return true;
   } catch (const orv::error& e) {
      const bool promised = typeid(e) == typeid(orv::invalid_argument_error) ||
                            typeid(e) == typeid(orv::unsupported_error) ||
                            // The SDK's own refusal of labels, which occurs only in conversions to the SDK.
                            (towards == Towards::sdk && typeid(e) == typeid(orv::invalid_range_error));
      if (!promised) fault(std::string("not a promised error: ") + typeid(e).name() + ": " + e.what());
      if (e.msg().empty()) fault("an error without words");
      return false;
   }
}

// What a value becomes after it went to the wire and came back, where that differs; nothing where it cannot
// come back.
template <typename Sdk>
std::optional<Sdk> comesBack(const Sdk& value) {
   return value;
}

orv::eth_addr_t turnedOver(const orv::eth_addr_t& mask) {
   const std::string bytes = OrvSdkRpc::types::eth_addr_bytes(mask, true);
   return orv::eth_addr_t(reinterpret_cast<const std::uint8_t*>(bytes.data()));
}

template <>
std::optional<orv::acl_rule_eth_t> comesBack(const orv::acl_rule_eth_t& value) {
   auto back = value;
   back.source_mask_is(turnedOver(value.source_mask()));
   back.destination_mask_is(turnedOver(value.destination_mask()));
   return back;
}

template <>
std::optional<orv::nexthop_group_t> comesBack(const orv::nexthop_group_t& value) {
   auto back = value;
   back.backup_nexthops_is({});
   back.version_id_is(0);
   return back;
}

// Version 0 is refused.
template <>
std::optional<orv::mpls_route_t> comesBack(const orv::mpls_route_t& value) {
   return value.version_id() == 0 ? std::nullopt : std::optional(value);
}

template <>
std::optional<orv::macsec_profile_t> comesBack(const orv::macsec_profile_t& value) {
   auto back = value;
   back.intfs_is({});
   return back;
}

template <typename Message, typename Sdk>
void messageIn(std::span<const std::uint8_t> bytes) {
   Message message;
   if (!message.ParseFromArray(bytes.data(), static_cast<int>(bytes.size()))) return;
   std::optional<Sdk> value;
   if (!succeeds(Towards::sdk, [&] { value = convert(message); })) return;
   if constexpr (Convertible<Sdk>) {
      // A value that came from the wire can always be sent again.
      const Message sent = convert(*value);
      const auto back = comesBack(*value);
      if (back && convert(sent) != *back) fault("the value that came back is another");
      if (!back && succeeds(Towards::sdk, [&] { (void)convert(sent); })) fault("a value came back");
   }
}

template <typename Message, typename Sdk>
void valueOut(std::span<const std::uint8_t> bytes) {
   orvtest::ValueSource source(bytes);
   const Sdk value = orvtest::generate<Sdk>(source);
   std::optional<Message> message;
   if (!succeeds(Towards::wire, [&] { message = convert(value); })) return;
   Message received;
   if (!received.ParseFromString(message->SerializeAsString())) fault("a message that cannot be read");
   if constexpr (Convertible<Message>) {
      std::optional<Sdk> again;
      if (!succeeds(Towards::sdk, [&] { again = convert(received); })) return;
      const auto back = comesBack(value);
      if (!back || *again != *back) fault("the value that came back is another");
   }
}

template <typename Message, typename Sdk>
constexpr Record both() {
   return {messageIn<Message, Sdk>, valueOut<Message, Sdk>};
}

template <typename Message, typename Sdk>
constexpr Record inputOnly() {
   return {messageIn<Message, Sdk>, nullptr};
}

template <typename Message, typename Sdk>
constexpr Record outputOnly() {
   return {nullptr, valueOut<Message, Sdk>};
}

// Ranges are read by name, since one message stands for two types.
void rangeIn(std::span<const std::uint8_t> bytes) {
   remote::Range message;
   if (!message.ParseFromArray(bytes.data(), static_cast<int>(bytes.size()))) return;
   const auto ports = OrvSdkRpc::types::port_range(message);
   if (OrvSdkRpc::types::port_range(convert(ports)) != ports) fault("another range of ports");
   const auto protocols = OrvSdkRpc::types::protocol_range(message);
   if (OrvSdkRpc::types::protocol_range(convert(protocols)) != protocols) fault("another range of protocols");
}

// The key of a row of the hardware's table of labels is only sent, turned over. A stack that is too deep is
// no error of the SDK but a fault of the switch.
void hardwareKeyOut(std::span<const std::uint8_t> bytes) {
   orvtest::ValueSource source(bytes);
   Mpls::RouteKeyAndMetric key;
   key.stackSizeIs(source.number<std::uint8_t>());
   key.metricIs(source.number<std::uint8_t>());
   for (std::uint32_t index = 0; index < Mpls::RouteKey::labelsMax; ++index)
      key.labelStackIs(Lumic::MplsStackEntryIndex(index), Lumic::MplsLabel(source.number<std::uint32_t>()));
   const bool tooDeep = key.stackSize() > Mpls::RouteKey::labelsMax;
   std::optional<remote::MplsRouteKey> message;
   try {
      message = convert(key);
   } catch (const Zelt::RangeException&) {
      if (!tooDeep) fault("a stack that fits was refused");
      return;
   }
   if (tooDeep) fault("a stack that is too deep was sent");
   if (message->labels_size() != key.stackSize()) fault("another number of labels");
   if (message->metric() != key.metric()) fault("another metric");
   for (int i = 0; i < message->labels_size(); ++i) {
      const Lumic::MplsStackEntryIndex index(static_cast<std::uint32_t>(key.stackSize() - 1 - i));
      if (message->labels(i).label() != key.labelStack(index).value()) fault("another label");
   }
}

// The corpus refers to records by position: add new ones at the end.
constexpr Record kRecords[] = {
     both<remote::IntfId, orv::intf_id_t>(),
     both<remote::MplsFecId, orv::mpls_fec_id_t>(),
     both<remote::MplsLabel, orv::mpls_label_t>(),
     both<remote::IpAddrMask, orv::ip_addr_mask_t>(),
     both<remote::Prefix, orv::ip_prefix_t>(),
     {rangeIn, nullptr},
     both<remote::AclKey, orv::acl_key_t>(),
     both<remote::PolicyMapKey, orv::policy_map_key_t>(),
     both<remote::BgpPeerKey, orv::bgp_peer_key_t>(),
     both<remote::BgpPathKey, orv::bgp_path_key_t>(),
     both<remote::FibFecKey, orv::fib_fec_key_t>(),
     both<remote::FibRouteKey, orv::fib_route_key_t>(),
     both<remote::IpRouteKey, orv::ip_route_key_t>(),
     both<remote::MplsRouteKey, orv::mpls_route_key_t>(),
     both<remote::MplsVrfLabel, orv::mpls_vrf_label_t>(),
     both<remote::AclRuleEth, orv::acl_rule_eth_t>(),
     both<remote::AclRuleIp, orv::acl_rule_ip_t>(),
     both<remote::AclTtlSpec, orv::acl_ttl_spec_t>(),
     both<remote::AclPortSpec, orv::acl_port_spec_t>(),
     both<remote::NexthopGroup, orv::nexthop_group_t>(),
     both<remote::NexthopGroupEntry, orv::nexthop_group_entry_t>(),
     both<remote::NexthopGroupMplsAction, orv::nexthop_group_mpls_action_t>(),
     both<remote::IpRoute, orv::ip_route_t>(),
     both<remote::IpRouteVia, orv::ip_route_via_t>(),
     both<remote::MplsRoute, orv::mpls_route_t>(),
     both<remote::MplsRouteVia, orv::mpls_route_via_t>(),
     both<remote::FibRoute, orv::fib_route_t>(),
     both<remote::FibFec, orv::fib_fec_t>(),
     both<remote::FibFecVia, orv::fib_via_t>(),
     both<remote::ClassMap, orv::class_map_t>(),
     both<remote::ClassMapRule, orv::class_map_rule_t>(),
     both<remote::PolicyMap, orv::policy_map_t>(),
     both<remote::PolicyMapRule, orv::policy_map_rule_t>(),
     both<remote::PolicyMapAction, orv::policy_map_action_t>(),
     outputOnly<remote::PolicyMapHwStatuses, orv::policy_map_hw_statuses_t>(),
     both<remote::TrafficPolicy, orv::traffic_policy_t>(),
     both<remote::TrafficPolicyRule, orv::traffic_policy_rule_t>(),
     both<remote::TrafficPolicyAction, orv::traffic_policy_action_t>(),
     both<remote::TpRuleFilter, orv::tp_rule_filter_t>(),
     both<remote::ProtocolField, orv::protocol_field_t>(),
     both<remote::PortField, orv::port_field_t>(),
     both<remote::MacsecProfile, orv::macsec_profile_t>(),
     both<remote::MacsecKey, orv::macsec_key_t>(),
     outputOnly<remote::MacsecIntfStatus, orv::macsec_intf_status_t>(),
     outputOnly<remote::MacsecIntfCounters, orv::macsec_intf_counters_t>(),
     inputOnly<remote::BgpPathOptions, orv::bgp_path_options_t>(),
     outputOnly<remote::BgpPath, orv::bgp_path_t>(),
     outputOnly<remote::EthLagIntf, orv::eth_lag_intf_t>(),
     outputOnly<remote::EthLagIntfMembership, orv::eth_lag_intf_membership_t>(),
     outputOnly<remote::IntfCounters, orv::intf_counters_t>(),
     outputOnly<remote::IntfTrafficRates, orv::intf_traffic_rates_t>(),
     outputOnly<remote::EthPhyIntfCounters, orv::eth_phy_intf_counters_t>(),
     outputOnly<remote::EthPhyIntfBinCounters, orv::eth_phy_intf_bin_counters_t>(),
     outputOnly<remote::NexthopGroupCounter, orv::nexthop_group_entry_counter_t>(),
     outputOnly<remote::CmdapiResponse, orv::cmdapi_response_t>(),
     outputOnly<remote::MplsRouteStatus, orv::mpls_route_status_t>(),
     {nullptr, hardwareKeyOut},
};

int run(std::span<const std::uint8_t> bytes, void (*Record::*direction)(std::span<const std::uint8_t>)) {
   // -1: libFuzzer does not keep an input that names no record.
   if (bytes.empty() || bytes[0] >= std::size(kRecords)) return -1;
   const auto convertRecord = kRecords[bytes[0]].*direction;
   if (convertRecord == nullptr) return -1;
   convertRecord(bytes.subspan(1));
   return 0;
}

}  // namespace

int fromWire(std::span<const std::uint8_t> bytes) {
   return run(bytes, &Record::fromWire);
}

int fromSdk(std::span<const std::uint8_t> bytes) {
   return run(bytes, &Record::fromSdk);
}

}  // namespace fuzz
