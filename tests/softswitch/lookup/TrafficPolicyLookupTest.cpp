// Traffic policies in the way of a packet through the switch.

#include <gmock/gmock.h>

#include <set>
#include <string>
#include <unordered_set>

#include "softswitch/lookup/lookup.h"
#include "softswitch/managers/acl_mgr.h"
#include "softswitch/managers/class_map_mgr.h"
#include "softswitch/managers/policy_map_mgr.h"
#include "softswitch/managers/vrf_mgr.h"
#include "testing/softswitch/SwitchFixture.h"

namespace softswitch {
namespace {

using orv::traffic_policy_action_t;
using orv::traffic_policy_direction_t;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using Action = orv::traffic_policy_action_type_t;

class TrafficPolicyLookupTest : public SwitchFixture {
protected:
   void SetUp() override {
      SwitchFixture::SetUp();
      setGroup("gold");
      sw().nexthopGroups().nexthop_group_set(group("low", "Ethernet2"));
      setRoute("10.0.0.0/8", "gold");
      settle();
   }
   // A policy whose rule 10 takes TCP, on Ethernet5.
   void policyIs(std::initializer_list<traffic_policy_action_t> actions) {
      orv::tp_rule_filter_t tcp;
      tcp.protocols_is({{{6, 6}, {}}});
      orv::traffic_policy_rule_t rule(orv::traffic_policy_rule_type_t::ipv4, "tcp");
      rule.raw_rule_is(tcp);
      rule.actions_is(actions);
      orv::traffic_policy_t policy("edge");
      policy.named_counters_is({"hits"});
      policy.rule_set(10, rule);
      sw().policyMaps().traffic_policy_is(policy);
      apply("Ethernet5", traffic_policy_direction_t::in);
   }
   void apply(std::string_view intf, traffic_policy_direction_t direction) {
      sw().policyMaps().traffic_policy_apply("edge", orv::intf_id_t(intf), direction, true);
   }
   static LookupPacket packet(std::string_view destination = "10.0.0.1", std::uint8_t protocol = 6,
                              std::string_view ingress = "Ethernet5") {
      return {.label = {},
              .vrf = "default",
              .destination = address(destination),
              .dscp = 0,
              .ingress = orv::intf_id_t(ingress),
              .source = {},
              .protocol = protocol,
              .sourcePort = {},
              .destinationPort = {}};
   }
   Lookup found(const LookupPacket& packet) { return lookUp(sw(), packet); }
   Lookup found() { return found(packet()); }

   static traffic_policy_action_t toGroups(std::unordered_set<std::string> groups) {
      traffic_policy_action_t action(Action::nexthop_group);
      action.nexthop_groups_is(std::move(groups));
      return action;
   }
   static traffic_policy_action_t toNexthops(std::unordered_set<orv::ip_addr_t> nexthops,
                                             const std::string& vrf = "") {
      traffic_policy_action_t action(Action::nexthop);
      action.nexthops_is(std::move(nexthops));
      action.vrf_is(vrf);
      return action;
   }
   static traffic_policy_action_t intoVrf(const std::string& vrf) {
      traffic_policy_action_t action(Action::vrf);
      action.vrf_is(vrf);
      return action;
   }
};

TEST_F(TrafficPolicyLookupTest, theRuleThatTakesThePacketIsNamed) {
   policyIs({traffic_policy_action_t(Action::drop)});
   const auto dropped = found();
   EXPECT_EQ(dropped.result, LookupResult::drop);
   EXPECT_EQ(dropped.reason, "rule 10 (tcp) of traffic policy edge drops");
   ASSERT_TRUE(dropped.policyRule);
   EXPECT_EQ(dropped.policyRule->policy, "edge");
   EXPECT_EQ(dropped.policyRule->sequence, 10u);
   EXPECT_EQ(dropped.policyRule->name, "tcp");
   EXPECT_EQ(dropped.vrf, "");
   EXPECT_THAT(dropped.waysOut, IsEmpty());
   EXPECT_THAT(dropped.steps, ElementsAre("Ethernet5: rule 10 (tcp) of traffic policy edge takes the packet",
                                          dropped.reason));
}

TEST_F(TrafficPolicyLookupTest, otherPacketsAreRouted) {
   policyIs({traffic_policy_action_t(Action::drop)});
   const auto udp = found(packet("10.0.0.1", 17));
   EXPECT_EQ(udp.group, "gold");
   EXPECT_FALSE(udp.policyRule);
   EXPECT_EQ(udp.steps.at(0), "Ethernet5: no rule of traffic policy edge takes the packet");
   const auto elsewhere = found(packet("10.0.0.1", 6, "Ethernet6"));
   EXPECT_EQ(elsewhere.group, "gold");
   EXPECT_EQ(elsewhere.steps.at(0), "no traffic policy is applied inbound to Ethernet6");
   const auto nowhere = found(packet("10.0.0.1", 6, ""));
   EXPECT_EQ(nowhere.group, "gold");
   EXPECT_EQ(nowhere.steps.size(), 2u);
   sw().policyMaps().traffic_policy_apply("edge", orv::intf_id_t("Ethernet5"), traffic_policy_direction_t::in,
                                          false);
   EXPECT_EQ(found().group, "gold");
}

TEST_F(TrafficPolicyLookupTest, aFieldThatIsNotGivenLeavesTheWayUnknown) {
   policyIs({traffic_policy_action_t(Action::drop)});
   auto untold = packet();
   untold.protocol.reset();
   const auto open = found(untold);
   EXPECT_EQ(open.result, LookupResult::unknown);
   EXPECT_EQ(open.reason,
             "rule 10 (tcp) of traffic policy edge depends on the packet's protocol, which is not given");
   EXPECT_FALSE(open.policyRule);
}

TEST_F(TrafficPolicyLookupTest, permitAndPuntDecide) {
   policyIs({traffic_policy_action_t(Action::permit)});
   const auto permitted = found();
   EXPECT_EQ(permitted.result, LookupResult::forward);
   EXPECT_EQ(permitted.group, "gold");
   EXPECT_TRUE(permitted.policyRule);
   policyIs({traffic_policy_action_t(Action::punt)});
   const auto punted = found();
   EXPECT_EQ(punted.result, LookupResult::controlPlane);
   EXPECT_EQ(punted.reason, "rule 10 (tcp) of traffic policy edge leads to the control plane");
}

TEST_F(TrafficPolicyLookupTest, aVrfIsLookedUpInsteadOfThePacketsOwn) {
   policyIs({intoVrf("red")});
   const auto missing = found();
   EXPECT_EQ(missing.result, LookupResult::drop);
   EXPECT_EQ(missing.reason, "VRF red does not exist");
   sw().vrfs().vrfSet("red");
   const auto noRoute = found();
   EXPECT_EQ(noRoute.result, LookupResult::noRoute);
   EXPECT_EQ(noRoute.reason, "no route to 10.0.0.1 in VRF red");
   orv::ip_route_via_t via(key("10.0.0.0/8"));
   via.hop_is(address("192.0.2.9"));
   sw().ipRoutes().ip_route_set(orv::ip_route_t(key("10.0.0.0/8")), "red");
   sw().ipRoutes().ip_route_via_set(via, "red");
   settle();
   const auto routed = found();
   EXPECT_EQ(routed.result, LookupResult::forward);
   EXPECT_EQ(routed.vrf, "red");
   EXPECT_EQ(routed.waysOut.at(0).nexthop, address("192.0.2.9"));
}

TEST_F(TrafficPolicyLookupTest, aGroupTakesThePacketWhateverTheRoute) {
   policyIs({toGroups({"low"})});
   const auto there = found(packet("11.0.0.1"));
   EXPECT_EQ(there.result, LookupResult::forward);
   EXPECT_EQ(there.group, "low");
   EXPECT_EQ(there.groupOfRoute, "");
   EXPECT_EQ(there.route, "");
   EXPECT_EQ(there.waysOut.at(0).intf, orv::intf_id_t("Ethernet2"));
   EXPECT_THAT(there.steps, ElementsAre("Ethernet5: rule 10 (tcp) of traffic policy edge takes the packet",
                                        "nexthop group low version 1: entry 0 is taken"));
}

TEST_F(TrafficPolicyLookupTest, withoutAnActiveGroupThePacketIsRouted) {
   policyIs({toGroups({"low", "missing"})});
   EXPECT_EQ(found().group, "low");
   EXPECT_THAT(found().steps, Contains("nexthop group missing is passed over, it is not active"));
   sw().intfs().linkIs(orv::intf_id_t("Ethernet2"), false);
   settle();
   const auto routed = found();
   EXPECT_EQ(routed.group, "gold");
   EXPECT_EQ(routed.groupOfRoute, "gold");
   EXPECT_TRUE(routed.policyRule);
   EXPECT_THAT(routed.steps, Contains("nexthop group low is passed over, it is not active"));
}

TEST_F(TrafficPolicyLookupTest, severalGroupsShareTheTraffic) {
   for (const auto* const name : {"one", "two"}) {
      auto pair = group(name);
      pair.nexthop_set(1, entry("192.0.2.2", "Ethernet2"));
      sw().nexthopGroups().nexthop_group_set(pair);
   }
   settle();
   policyIs({toGroups({"two", "one"})});
   std::set<std::string> taken;
   for (int host = 1; host < 100; ++host) {
      const auto to = fmt::format("11.0.0.{}", host);
      const auto first = found(packet(to)), again = found(packet(to));
      EXPECT_EQ(first.group, again.group);
      EXPECT_EQ(first.entry, again.entry);
      taken.insert(fmt::format("{} {}", first.group, first.entry.value()));
   }
   // Every entry of each group has its share.
   EXPECT_THAT(taken, ElementsAre("one 0", "one 1", "two 0", "two 1"));
}

TEST_F(TrafficPolicyLookupTest, oneOfTheNexthopsIsTaken) {
   policyIs({toNexthops({address("192.0.2.7"), address("192.0.2.8")}, "red")});
   EXPECT_EQ(found().reason, "VRF red does not exist");
   sw().vrfs().vrfSet("red");
   std::set<orv::ip_addr_t> taken;
   for (int host = 1; host < 100; ++host) {
      const auto way = found(packet(fmt::format("11.0.0.{}", host)));
      ASSERT_EQ(way.result, LookupResult::forward);
      ASSERT_EQ(way.waysOut.size(), 2u);
      const auto& one = way.waysOut[*way.entry];
      EXPECT_TRUE(one.taken);
      EXPECT_EQ(one.tunnel, "vrf red");
      EXPECT_EQ(way.steps.back(), fmt::format("nexthop {} is taken", one.nexthop));
      taken.insert(one.nexthop);
   }
   EXPECT_THAT(taken, ElementsAre(address("192.0.2.7"), address("192.0.2.8")));
}

TEST_F(TrafficPolicyLookupTest, theRedirectOfAGroupSeesTheDscpThatARuleSets) {
   // Redirects gold's IPv4 traffic with DSCP 46 to low.
   const orv::acl_key_t list("gold-low_IPv4", orv::acl_type_t::ipv4);
   const orv::policy_map_key_t classKey("gold-low", orv::policy_feature_t::pbr);
   orv::acl_rule_ip_t match;
   match.action_is(orv::acl_action_t::permit);
   match.nexthop_group_is("gold");
   match.priority_value_is(46);
   match.priority_mask_is(0x3f);
   match.match_ip_priority_is(true);
   sw().acls().acl_rule_set(list, 1, match);
   sw().acls().acl_commit();
   orv::class_map_t classMap(classKey);
   classMap.rule_set(1, orv::class_map_rule_t(list));
   sw().classMaps().class_map_is(classMap);
   orv::policy_map_action_t toLow(orv::policy_action_type_t::nexthop_group);
   toLow.nexthop_group_name_is("low");
   orv::policy_map_rule_t redirect(classKey);
   redirect.action_set(toLow);
   orv::policy_map_t map({"cbf", orv::policy_feature_t::pbr});
   map.rule_set(1, redirect);
   sw().policyMaps().policy_map_is(map);
   settle();
   EXPECT_EQ(found().group, "gold");

   traffic_policy_action_t dscp(Action::dscp);
   dscp.dscp_is(46);
   policyIs({dscp});
   const auto redirected = found();
   EXPECT_EQ(redirected.dscpSet, 46);
   EXPECT_EQ(redirected.groupOfRoute, "gold");
   EXPECT_EQ(redirected.group, "low");
   // The group of a rule is not redirected again.
   policyIs({dscp, toGroups({"gold"})});
   const auto kept = found();
   EXPECT_EQ(kept.group, "gold");
   EXPECT_FALSE(kept.redirect);
}

TEST_F(TrafficPolicyLookupTest, anOutboundPolicyIsNamedWhereThePacketLeaves) {
   policyIs({traffic_policy_action_t(Action::drop)});
   apply("Ethernet1", traffic_policy_direction_t::out);
   const auto routed = found(packet("10.0.0.1", 17, ""));
   EXPECT_EQ(routed.result, LookupResult::forward);
   EXPECT_EQ(routed.steps.back(),
             "traffic policy edge is applied outbound to Ethernet1; this view does not follow it");
   // It is not taken for an inbound one.
   EXPECT_EQ(found(packet("10.0.0.1", 6, "Ethernet1")).result, LookupResult::forward);
}

}  // namespace
}  // namespace softswitch
