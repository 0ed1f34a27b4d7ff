#include "OrvSdkRpc/types/BoundaryCheck.h"

#include "Conversions.h"
#include "OrvSdkRpc/types/Acl.h"
#include "OrvSdkRpc/types/Identifiers.h"
#include "OrvSdkRpc/types/Macsec.h"
#include "OrvSdkRpc/types/MplsRoute.h"
#include "OrvSdkRpc/types/PolicyMap.h"
#include "OrvSdkRpc/types/TrafficPolicy.h"

namespace {

using namespace types_test;
using OrvSdkRpc::boundaryCheck;
namespace remote = orv::remote;

TEST(BoundaryCheckTest, narrowsWhatLiesWithinTheLimits) {
   EXPECT_EQ(boundaryCheck<std::uint16_t>(0U, "x {}", 0U, 65535U), 0);
   EXPECT_EQ(boundaryCheck<std::uint16_t>(65535U, "x {}", 0U, 65535U), 65535);
   EXPECT_EQ(boundaryCheck<std::uint8_t>(255U, "x {}", 0U, 255U), 255);
   EXPECT_EQ(boundaryCheck<std::uint16_t>(7U, "x {}", 7U, 7U), 7);
}

TEST(BoundaryCheckTest, refusesInTheWordsOfItsCaller) {
   EXPECT_EQ(refusalOf([] { boundaryCheck<std::uint16_t>(65536U, "length {} is odd", 0U, 65535U); }),
             invalidArgument("length 65536 is odd"));
   EXPECT_EQ(refusalOf([] { boundaryCheck<std::uint8_t>(4294967295U, "{} is too much", 0U, 255U); }),
             invalidArgument("4294967295 is too much"));
   EXPECT_EQ(refusalOf([] { boundaryCheck<std::uint8_t>(6U, "{} is below 7", 7U, 255U); }),
             invalidArgument("6 is below 7"));
}

TEST(BoundaryCheckTest, limitsAreTheTargetsWhereNoneAreGiven) {
   EXPECT_EQ(boundaryCheck<std::uint8_t>(0U, "{}"), 0);
   EXPECT_EQ(boundaryCheck<std::uint8_t>(255U, "{}"), 255);
   EXPECT_EQ(refusalOf([] { boundaryCheck<std::uint8_t>(256U, "{}"); }), invalidArgument("256"));
   EXPECT_EQ(boundaryCheck<std::uint16_t>(65535U, "{}"), 65535);
   EXPECT_EQ(refusalOf([] { boundaryCheck<std::uint16_t>(65536U, "{}"); }), invalidArgument("65536"));
}

// A number in a message that is narrowed for the SDK.
struct Field {
   std::string name;
   std::uint32_t first;
   std::uint32_t last;
   std::string words;
   // Converts a message that holds the number. RETURNS: the SDK's value.
   std::function<std::uint32_t(std::uint32_t)> converted;
};

template <typename Message, typename Set, typename Get>
Field field(std::string name, std::uint32_t first, std::uint32_t last, std::string words, Message good,
            Set set, Get get) {
   return {std::move(name), first, last, std::move(words), [good, set, get](std::uint32_t number) {
              Message message = good;
              (message.*set)(number);
              return static_cast<std::uint32_t>(get(OrvSdkRpc::types::convert(message)));
           }};
}

remote::TrafficPolicyAction trafficPolicyAction() {
   remote::TrafficPolicyAction action;
   action.set_action_type(remote::TRAFFIC_POLICY_ACTION_TYPE_DSCP);
   return action;
}

std::vector<Field> narrowedFields() {
   using Eth = remote::AclRuleEth;
   using Ip = remote::AclRuleIp;
   return {
        field("vlan of AclRuleEth", 0, 65535, "vlan {} is out of range", Eth(), &Eth::set_vlan,
              [](const auto& sdk) { return sdk.vlan(); }),
        field("vlan of AclRuleIp", 0, 65535, "vlan {} is out of range", Ip(), &Ip::set_vlan,
              [](const auto& sdk) { return sdk.vlan(); }),
        field("vlan_mask of AclRuleEth", 0, 65535, "vlan mask {} is out of range", Eth(), &Eth::set_vlan_mask,
              [](const auto& sdk) { return sdk.vlan_mask(); }),
        field("vlan_mask of AclRuleIp", 0, 65535, "vlan mask {} is out of range", Ip(), &Ip::set_vlan_mask,
              [](const auto& sdk) { return sdk.vlan_mask(); }),
        field("inner_vlan of AclRuleEth", 0, 65535, "inner vlan {} is out of range", Eth(),
              &Eth::set_inner_vlan, [](const auto& sdk) { return sdk.inner_vlan(); }),
        field("inner_vlan of AclRuleIp", 0, 65535, "inner vlan {} is out of range", Ip(), &Ip::set_inner_vlan,
              [](const auto& sdk) { return sdk.inner_vlan(); }),
        field("inner_vlan_mask of AclRuleEth", 0, 65535, "inner vlan mask {} is out of range", Eth(),
              &Eth::set_inner_vlan_mask, [](const auto& sdk) { return sdk.inner_vlan_mask(); }),
        field("inner_vlan_mask of AclRuleIp", 0, 65535, "inner vlan mask {} is out of range", Ip(),
              &Ip::set_inner_vlan_mask, [](const auto& sdk) { return sdk.inner_vlan_mask(); }),
        field("ip_protocol of AclRuleIp", 0, 255, "IP protocol {} is out of range", Ip(),
              &Ip::set_ip_protocol, [](const auto& sdk) { return sdk.ip_protocol(); }),
        field("ttl of AclTtlSpec", 0, 255, "ttl {} is out of range", remote::AclTtlSpec(),
              &remote::AclTtlSpec::set_ttl, [](const auto& sdk) { return sdk.ttl(); }),
        field("ports of AclPortSpec", 0, 65535, "port {} is out of range", remote::AclPortSpec(),
              &remote::AclPortSpec::add_ports,
              [](const orv::acl_port_spec_t& spec) { return spec.ports().at(0); }),
        field("tcp_flags of AclRuleIp", 0, 65535, "tcp flags {} is out of range", Ip(), &Ip::set_tcp_flags,
              [](const auto& sdk) { return sdk.tcp_flags(); }),
        field("icmp_type of AclRuleIp", 0, 65535, "icmp type {} is out of range", Ip(), &Ip::set_icmp_type,
              [](const auto& sdk) { return sdk.icmp_type(); }),
        field("icmp_code of AclRuleIp", 0, 65535, "icmp code {} is out of range", Ip(), &Ip::set_icmp_code,
              [](const auto& sdk) { return sdk.icmp_code(); }),
        field("priority_value of AclRuleIp", 0, 255, "priority value {} is out of range", Ip(),
              &Ip::set_priority_value, [](const auto& sdk) { return sdk.priority_value(); }),
        field("priority_mask of AclRuleIp", 0, 255, "priority mask {} is out of range", Ip(),
              &Ip::set_priority_mask, [](const auto& sdk) { return sdk.priority_mask(); }),
        field("metric of MplsRouteKey", 0, 255, "metric {} is out of range", remote::MplsRouteKey(),
              &remote::MplsRouteKey::set_metric, [](const auto& sdk) { return sdk.metric(); }),
        field("version_id of MplsRoute", 1, 65535, "Versioning out of range: {}", remote::MplsRoute(),
              &remote::MplsRoute::set_version_id, [](const auto& sdk) { return sdk.version_id(); }),
        field("dscp of PolicyMapAction", 0, 255, "dscp {} is out of range", remote::PolicyMapAction(),
              &remote::PolicyMapAction::set_dscp, [](const auto& sdk) { return sdk.dscp(); }),
        field("dscp of TrafficPolicyAction", 0, 255, "dscp {} is out of range", trafficPolicyAction(),
              &remote::TrafficPolicyAction::set_dscp, [](const auto& sdk) { return sdk.dscp(); }),
        field("traffic_class of PolicyMapAction", 0, 255, "traffic_class {} is out of range",
              remote::PolicyMapAction(), &remote::PolicyMapAction::set_traffic_class,
              [](const auto& sdk) { return sdk.traffic_class(); }),
        field("traffic_class of TrafficPolicyAction", 0, 255, "traffic_class {} is out of range",
              trafficPolicyAction(), &remote::TrafficPolicyAction::set_traffic_class,
              [](const auto& sdk) { return sdk.traffic_class(); }),
        field("key_server_priority of MacsecProfile", 0, 255, "Invalid key server priority {}",
              remote::MacsecProfile(), &remote::MacsecProfile::set_key_server_priority,
              [](const auto& sdk) { return sdk.key_server_priority(); }),
   };
}

TEST(BoundaryCheckTest, everyNarrowedFieldHasItsLimitsAndWords) {
   const auto fields = narrowedFields();
   EXPECT_EQ(fields.size(), 23U);
   for (const Field& f : fields) {
      SCOPED_TRACE(f.name);
      EXPECT_EQ(f.converted(f.first), f.first);
      EXPECT_EQ(f.converted(f.last), f.last);
      std::vector<std::uint32_t> refused{f.last + 1, 4294967295U};
      if (f.first > 0) refused.push_back(f.first - 1);
      for (const std::uint32_t number : refused) {
         EXPECT_EQ(refusalOf([&] { f.converted(number); }),
                   invalidArgument(fmt::format(fmt::runtime(f.words), number)));
      }
   }
}

// The limits are those of the SDK's field. A value within them that no switch accepts is for the SDK to
// refuse.
TEST(BoundaryCheckTest, whatNoSwitchAcceptsPassesWhereItFits) {
   remote::AclRuleIp rule;
   rule.set_vlan(4095);
   rule.set_icmp_type(256);
   EXPECT_EQ(OrvSdkRpc::types::convert(rule).vlan(), 4095);
   EXPECT_EQ(OrvSdkRpc::types::convert(rule).icmp_type(), 256);
   remote::PolicyMapAction action;
   action.set_dscp(64);
   EXPECT_EQ(OrvSdkRpc::types::convert(action).dscp(), 64);
}

}  // namespace
