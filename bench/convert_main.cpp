// bench_convert: the nanoseconds of a conversion from the wire, of one to the wire, and of parsing the same
// bytes with protobuf. The three benchmarks of a record differ in nothing else: each creates a value and
// destroys it.
#include <benchmark/benchmark.h>

#include <functional>
#include <string>

#include "OrvSdkRpc/types/Acl.h"
#include "OrvSdkRpc/types/IpRoute.h"
#include "OrvSdkRpc/types/MplsRoute.h"
#include "OrvSdkRpc/types/NexthopGroup.h"
#include "OrvSdkRpc/types/PolicyMap.h"

namespace {

using OrvSdkRpc::types::convert;

orv::acl_rule_ip_t ipAclRule(std::uint16_t port = 443) {
   orv::acl_rule_ip_t rule;
   rule.action_is(orv::acl_action_t::permit);
   rule.ip_protocol_is(6);
   rule.source_addr_is({orv::ip_addr_t("10.20.30.0"), 24});
   rule.destination_addr_is({orv::ip_addr_t("192.0.2.0"), 25});
   rule.destination_port_is({orv::acl_range_operator_t::eq, {80, port}});
   rule.ip_type_is(orv::acl_ip_type_t::ipv4);
   return rule;
}

orv::ip_route_via_t ipRouteVia() {
   orv::ip_route_via_t via(orv::ip_route_key_t(orv::ip_prefix_t("10.20.0.0/16")));
   via.hop_is(orv::ip_addr_t("192.0.2.1"));
   via.intf_is(orv::intf_id_t("Ethernet12"));
   via.egress_vrf_is("red");
   via.metric_is(10);
   via.weight_is(1);
   return via;
}

orv::nexthop_group_t nexthopGroup() {
   orv::nexthop_group_t group("group-of-sixteen", orv::nexthop_group_encap_t::mpls);
   group.source_intf_is(orv::intf_id_t("Loopback0"));
   for (std::uint16_t slot = 0; slot < 16; ++slot) {
      const std::uint8_t hop[] = {192, 0, 2, static_cast<std::uint8_t>(slot + 1)};
      orv::nexthop_group_entry_t entry(orv::ip_addr_t(orv::af_ipv4, hop));
      entry.mpls_action_is(
           {orv::mpls_action_t::push, {orv::mpls_label_t(100000U + slot), orv::mpls_label_t(16)}});
      entry.intf_is(orv::intf_id_t("Ethernet" + std::to_string(slot + 1)));
      group.nexthop_set(slot, std::move(entry));
   }
   return group;
}

orv::mpls_route_via_t mplsRouteVia() {
   orv::mpls_route_via_t via(orv::mpls_route_key_t(orv::mpls_label_t(100000)), orv::mpls_action_t::swap);
   via.hop_is(orv::ip_addr_t("192.0.2.1"));
   via.intf_is(orv::intf_id_t("Ethernet12"));
   via.pushswap_label_is(orv::mpls_label_t(200000));
   via.ttl_mode_is(orv::mpls_ttl_mode_t::pipe);
   via.payload_type_is(orv::mpls_payload_type_t::autodecide);
   return via;
}

orv::policy_map_t policyMap() {
   orv::policy_map_t map({"policy-of-a-hundred", orv::policy_feature_t::pbr});
   for (std::uint32_t sequence = 1; sequence <= 100; ++sequence) {
      orv::policy_map_rule_t rule;
      rule.policy_map_rule_type_is(orv::policy_map_rule_type_t::raw);
      rule.raw_rule_is(ipAclRule(static_cast<std::uint16_t>(sequence)));
      orv::policy_map_action_t action(orv::policy_action_type_t::nexthop);
      action.nexthops_is({orv::ip_addr_t("192.0.2.1"), orv::ip_addr_t("192.0.2.2")});
      rule.action_set(std::move(action));
      map.rule_set(sequence * 10, std::move(rule));
   }
   return map;
}

template <typename Sdk>
void addRecord(const std::string& name, const Sdk& value) {
   const auto message = convert(value);
   using Message = std::remove_const_t<decltype(message)>;
   const std::string bytes = message.SerializeAsString();
   benchmark::RegisterBenchmark(("parse/" + name).c_str(), [bytes](benchmark::State& state) {
      for ([[maybe_unused]] auto _ : state) {
         Message parsed;
         if (!parsed.ParseFromString(bytes)) state.SkipWithError("cannot be parsed");
         benchmark::DoNotOptimize(&parsed);
      }
   });
   // Converts a parsed message, whose memory layout is that of a request.
   Message received;
   received.ParseFromString(bytes);
   benchmark::RegisterBenchmark(("from_wire/" + name).c_str(), [received](benchmark::State& state) {
      for ([[maybe_unused]] auto _ : state) {
         auto converted = convert(received);
         benchmark::DoNotOptimize(&converted);
      }
   });
   benchmark::RegisterBenchmark(("to_wire/" + name).c_str(), [value](benchmark::State& state) {
      for ([[maybe_unused]] auto _ : state) {
         auto converted = convert(value);
         benchmark::DoNotOptimize(&converted);
      }
   });
}

}  // namespace

int main(int argc, char** argv) {
   // Announces the interfaces, as the switch in the daemon does.
   orv::host::intf_name_known("Loopback0");
   for (int port = 1; port <= 64; ++port)
      orv::host::intf_name_known("Ethernet" + std::to_string(port));
   addRecord("ip_acl_rule", ipAclRule());
   addRecord("ip_route_via", ipRouteVia());
   addRecord("nexthop_group_16", nexthopGroup());
   addRecord("mpls_route_via", mplsRouteVia());
   addRecord("policy_map_100", policyMap());
   benchmark::Initialize(&argc, argv);
   if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
   benchmark::RunSpecifiedBenchmarks();
   benchmark::Shutdown();
   return 0;
}
