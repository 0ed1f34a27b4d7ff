#include "softswitch/lookup/lookup.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "softswitch/managers/mpls_route_mgr.h"
#include "softswitch/managers/mpls_vrf_label_mgr.h"
#include "softswitch/managers/vrf_mgr.h"
#include "testing/softswitch/SwitchFixture.h"

namespace softswitch {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using Action = orv::ip_route_action_t;

class LookupTest : public SwitchFixture {
protected:
   Lookup to(std::string_view destination, std::uint8_t dscp = 0, const std::string& vrf = "default") {
      return lookUp(sw(), {.label = {}, .vrf = vrf, .destination = address(destination), .dscp = dscp});
   }
   Lookup label(std::uint32_t number, std::string_view destination = "") {
      return lookUp(sw(), {.label = orv::mpls_label_t(number),
                           .vrf = "",
                           .destination = orv::ip_addr_t(destination),
                           .dscp = 0});
   }
   void linkIs(std::string_view intf, bool up) {
      sw().intfs().linkIs(orv::intf_id_t(intf), up);
      settle();
   }
   void setAction(std::string_view route, Action action) {
      sw().ipRoutes().ip_route_set(orv::ip_route_t(key(route)), action);
   }
   void setHop(std::string_view route, std::string_view hop, std::string_view intf, std::uint32_t weight = 0,
               std::uint8_t preference = 1) {
      const auto routeKey = key(route, preference);
      if (!sw().ipRoutes().exists(routeKey)) sw().ipRoutes().ip_route_set(orv::ip_route_t(routeKey));
      auto via = hopVia(route, hop, intf);
      via.route_key_is(routeKey);
      via.weight_is(weight);
      sw().ipRoutes().ip_route_via_set(via);
   }
   void setGroupOf(const std::string& name, const std::vector<orv::nexthop_group_entry_t>& entries) {
      orv::nexthop_group_t g(name, orv::nexthop_group_encap_t::mpls);
      std::uint16_t slot = 0;
      for (const auto& each : entries)
         g.nexthop_set(slot++, each);
      sw().nexthopGroups().nexthop_group_set(g);
   }
   static orv::nexthop_group_entry_t child(const std::string& name) {
      orv::nexthop_group_entry_t e;
      e.child_nexthop_group_is(name);
      return e;
   }
   // Sets an MPLS route and a via of it. Its other vias stay.
   void setLabel(const orv::mpls_route_via_t& via) {
      sw().mplsRoutes().mpls_route_set(orv::mpls_route_t(via.route_key()));
      sw().mplsRoutes().mpls_route_via_set(via);
   }
   static orv::mpls_route_via_t labelVia(std::uint32_t number, orv::mpls_action_t action,
                                         std::uint8_t metric = 0) {
      return {orv::mpls_route_key_t(orv::mpls_label_t(number), metric), action};
   }
};

TEST_F(LookupTest, theLongestPrefixWins) {
   setGroup("wide");
   setGroup("narrow");
   setGroup("host");
   setRoute("10.0.0.0/8", "wide");
   setRoute("10.1.0.0/17", "narrow");
   setRoute("10.1.2.3/32", "host");
   setRoute("2001:db8::/33", "narrow");
   settle();
   EXPECT_EQ(to("10.1.2.3").group, "host");
   EXPECT_EQ(to("10.1.2.2").group, "narrow");
   EXPECT_EQ(to("10.1.127.255").route, "10.1.0.0/17 preference 1");
   EXPECT_EQ(to("10.1.128.0").group, "wide");
   EXPECT_EQ(to("2001:db8:7fff::1").group, "narrow");
   EXPECT_EQ(to("2001:db8:8000::1").result, LookupResult::noRoute);
   const auto none = to("11.0.0.0");
   EXPECT_EQ(none.result, LookupResult::noRoute);
   EXPECT_EQ(none.reason, "no route to 11.0.0.0 in VRF default");
   EXPECT_THAT(none.steps, ElementsAre(none.reason));
   setRoute("0.0.0.0/0", "wide");
   settle();
   EXPECT_EQ(to("11.0.0.0").route, "0.0.0.0/0 preference 1");
   EXPECT_EQ(to("2001:db8:8000::1").result, LookupResult::noRoute);
}

TEST_F(LookupTest, theStepsAndTheWayOutTellHowItWent) {
   setGroup("g");
   setRoute("10.0.0.0/8", "g");
   settle();
   const auto found = to("10.9.9.9");
   EXPECT_EQ(found.result, LookupResult::forward);
   EXPECT_EQ(found.groupOfRoute, "g");
   EXPECT_EQ(found.version, 1);
   EXPECT_EQ(found.entry, 0u);
   EXPECT_FALSE(found.redirect);
   EXPECT_THAT(found.steps, ElementsAre("10.9.9.9 in VRF default: route 10.0.0.0/8 of preference 1 to "
                                        "nexthop group g",
                                        "nexthop group g version 1: entry 0 is taken"));
   ASSERT_EQ(found.waysOut.size(), 1u);
   EXPECT_EQ(found.waysOut[0].nexthop, address("192.0.2.1"));
   EXPECT_EQ(found.waysOut[0].intf, orv::intf_id_t("Ethernet1"));
   EXPECT_TRUE(found.waysOut[0].taken);
}

TEST_F(LookupTest, theLowestPreferenceWithAWayOutIsTaken) {
   setHop("10.0.0.0/8", "192.0.2.1", "Ethernet1", 0, 5);
   setHop("10.0.0.0/8", "192.0.2.2", "Ethernet2", 0, 255);
   settle();
   EXPECT_EQ(to("10.0.0.1").route, "10.0.0.0/8 preference 5");
   linkIs("Ethernet1", false);
   const auto second = to("10.0.0.1");
   EXPECT_EQ(second.route, "10.0.0.0/8 preference 255");
   EXPECT_EQ(second.waysOut.at(0).nexthop, address("192.0.2.2"));
   EXPECT_EQ(second.steps.at(0),
             "10.0.0.1 in VRF default: route 10.0.0.0/8 of preference 5 is passed over, none of its hops "
             "resolves");
   linkIs("Ethernet2", false);
   EXPECT_EQ(to("10.0.0.1").result, LookupResult::noRoute);
}

TEST_F(LookupTest, aRouteWhoseGroupIsNotThereIsPassedOver) {
   setGroup("wide");
   setRoute("10.0.0.0/8", "wide");
   setRoute("10.1.0.0/16", "missing");
   settle();
   const auto found = to("10.1.0.1");
   EXPECT_EQ(found.group, "wide");
   EXPECT_EQ(found.steps.at(0),
             "10.1.0.1 in VRF default: route 10.1.0.0/16 of preference 1 is passed over, nexthop group "
             "missing is not in hardware");
   setGroup("missing");
   settle();
   EXPECT_EQ(to("10.1.0.1").group, "missing");
}

TEST_F(LookupTest, whatHardwareDoesNotHaveYetIsNotThere) {
   setAction("10.0.0.0/8", Action::drop);
   const auto early = to("10.0.0.1");
   EXPECT_EQ(early.result, LookupResult::noRoute);
   EXPECT_THAT(early.steps, Contains("10.0.0.1 in VRF default: route 10.0.0.0/8 of preference 1 is passed "
                                     "over, it is not in hardware"));
   settle();
   EXPECT_EQ(to("10.0.0.1").result, LookupResult::drop);
   EXPECT_EQ(to("10.0.0.1").reason, "the route drops");
   setAction("10.0.0.0/8", Action::punt);
   settle();
   EXPECT_EQ(to("10.0.0.1").result, LookupResult::controlPlane);
}

TEST_F(LookupTest, aVrfHasRoutesOfItsOwn) {
   sw().vrfs().vrfSet("red");
   sw().vrfs().vrfSet("blue");
   sw().ipRoutes().ip_route_set(orv::ip_route_t(key("10.0.0.0/8")), "red");
   sw().ipRoutes().ip_route_via_set(hopVia("10.0.0.0/8", "192.0.2.7"), "red");
   settle();
   EXPECT_EQ(to("10.0.0.1").result, LookupResult::noRoute);
   EXPECT_EQ(to("10.0.0.1", 0, "blue").result, LookupResult::noRoute);
   const auto found = to("10.0.0.1", 0, "red");
   EXPECT_EQ(found.vrf, "red");
   EXPECT_EQ(found.waysOut.at(0).nexthop, address("192.0.2.7"));
   const auto unknown = to("10.0.0.1", 0, "green");
   EXPECT_EQ(unknown.result, LookupResult::drop);
   EXPECT_EQ(unknown.reason, "VRF green does not exist");
}

TEST_F(LookupTest, aHopMayLeadIntoAnotherVrf) {
   sw().vrfs().vrfSet("red");
   const auto into = [&](const char* route, const std::string& from, const std::string& vrf) {
      orv::ip_route_via_t via(key(route));
      via.egress_vrf_is(vrf);
      sw().ipRoutes().ip_route_set(orv::ip_route_t(key(route)), from);
      sw().ipRoutes().ip_route_via_set(via, from);
   };
   into("10.0.0.0/8", "default", "red");
   settle();
   EXPECT_EQ(to("10.0.0.1").reason, "no route to 10.0.0.1 in VRF red");
   into("10.0.0.0/9", "red", "default");
   settle();
   EXPECT_EQ(to("10.0.0.1").reason, "VRF default leads back to itself");
   EXPECT_EQ(to("10.0.0.1").result, LookupResult::drop);
   sw().ipRoutes().ip_route_set(orv::ip_route_t(key("10.0.0.0/10")), "red");
   sw().ipRoutes().ip_route_via_set(hopVia("10.0.0.0/10", "192.0.2.7"), "red");
   settle();
   const auto found = to("10.0.0.1");
   EXPECT_EQ(found.result, LookupResult::forward);
   EXPECT_EQ(found.vrf, "red");
   EXPECT_EQ(found.route, "10.0.0.0/10 preference 1");
   EXPECT_EQ(found.waysOut.size(), 2u);
}

TEST_F(LookupTest, hopsAreTakenByWeightAndOnlyThoseThatResolve) {
   setHop("10.0.0.0/8", "192.0.2.1", "Ethernet1", 3);
   setHop("10.0.0.0/8", "192.0.2.2", "Ethernet2");
   settle();
   std::map<std::uint32_t, int> taken;
   for (int at = 0; at < 4000; ++at) {
      const auto found = to(fmt::format("10.0.{}.{}", at / 250, at % 250));
      ASSERT_EQ(found.result, LookupResult::forward);
      ++taken[*found.entry];
      ASSERT_EQ(found.waysOut.at(*found.entry).taken, true);
   }
   EXPECT_NEAR(taken[0], 3000, 150);
   EXPECT_NEAR(taken[1], 1000, 150);
   // The same packet goes the same way.
   EXPECT_EQ(to("10.0.0.1").entry, to("10.0.0.1").entry);
   linkIs("Ethernet1", false);
   for (int at = 0; at < 20; ++at)
      EXPECT_EQ(to(fmt::format("10.0.0.{}", at)).entry, 1u);
   EXPECT_FALSE(to("10.0.0.1").waysOut.at(0).resolves);
   linkIs("Ethernet2", false);
   EXPECT_EQ(to("10.0.0.1").result, LookupResult::noRoute);
}

TEST_F(LookupTest, equalEntriesNextToEachOtherAreOneWayWithAWeight) {
   setGroupOf("g", {entry("192.0.2.1", "Ethernet1"), entry("192.0.2.1", "Ethernet1"),
                    entry("192.0.2.1", "Ethernet1"), entry("192.0.2.2", "Ethernet2")});
   setRoute("10.0.0.0/8", "g");
   settle();
   std::map<std::uint32_t, int> taken;
   for (int at = 0; at < 4000; ++at) {
      const auto found = to(fmt::format("10.0.{}.{}", at / 250, at % 250));
      ASSERT_EQ(found.waysOut.size(), 2u);
      ASSERT_EQ(found.waysOut[0].weight, 3u);
      ASSERT_EQ(found.waysOut[1].entry, 3u);
      ASSERT_EQ(found.waysOut[0].taken, *found.entry < 3);
      ++taken[*found.entry];
   }
   for (std::uint32_t slot = 0; slot < 4; ++slot)
      EXPECT_NEAR(taken[slot], 1000, 150) << slot;
   // The DSCP does not affect the choice.
   EXPECT_EQ(to("10.0.0.77", 1).entry, to("10.0.0.77", 46).entry);
   linkIs("Ethernet1", false);
   EXPECT_EQ(to("10.0.0.1").entry, 3u);
}

TEST_F(LookupTest, aGroupThatIsNotActiveDrops) {
   setGroup("g");
   setRoute("10.0.0.0/8", "g");
   settle();
   linkIs("Ethernet1", false);
   const auto found = to("10.0.0.1");
   EXPECT_EQ(found.result, LookupResult::drop);
   EXPECT_EQ(found.reason, "none of the entries of nexthop group g version 1 resolves");
   EXPECT_FALSE(found.entry);
   EXPECT_FALSE(found.waysOut.at(0).taken);
}

TEST_F(LookupTest, aVersionThatHardwareDoesNotHaveYetIsTold) {
   setGroup("g");
   setRoute("10.0.0.0/8", "g");
   settle();
   setGroupOf("g", {entry("192.0.2.9", "Ethernet9")});
   const auto early = to("10.0.0.1");
   EXPECT_EQ(early.waysOut.at(0).nexthop, address("192.0.2.1"));
   EXPECT_EQ(early.steps.back(), "nexthop group g version 1 (version 2 is configured): entry 0 is taken");
   settle();
   EXPECT_EQ(to("10.0.0.1").version, 2);
   EXPECT_EQ(to("10.0.0.1").waysOut.at(0).nexthop, address("192.0.2.9"));
}

TEST_F(LookupTest, entriesLeadIntoGroups) {
   setGroupOf("parent", {child("leaf")});
   setRoute("10.0.0.0/8", "parent");
   setGroup("leaf");
   settle();
   const auto found = to("10.0.0.1");
   EXPECT_EQ(found.result, LookupResult::forward);
   EXPECT_EQ(found.groupOfRoute, "parent");
   EXPECT_EQ(found.group, "leaf");
   ASSERT_EQ(found.waysOut.size(), 2u);
   EXPECT_EQ(found.waysOut[0].childGroup, "leaf");
   EXPECT_TRUE(found.waysOut[0].taken && found.waysOut[1].taken);
   EXPECT_EQ(found.waysOut[1].intf, orv::intf_id_t("Ethernet1"));
}

TEST_F(LookupTest, groupsThatLeadIntoOneAnotherDrop) {
   setGroupOf("a", {child("b"), entry("192.0.2.1", "Ethernet1")});
   setGroupOf("b", {child("a")});
   setRoute("10.0.0.0/8", "a");
   settle();
   // The destination selects one of the entries of a.
   std::set<LookupResult> results;
   for (int i = 1; i <= 64; ++i) {
      const auto found = to(fmt::format("10.0.0.{}", i));
      results.insert(found.result);
      if (found.result != LookupResult::drop) continue;
      EXPECT_EQ(found.reason, "nexthop group a leads back to itself");
      EXPECT_FALSE(found.entry);
   }
   EXPECT_THAT(results, ElementsAre(LookupResult::forward, LookupResult::drop));
}

TEST_F(LookupTest, aLabelLeadsToHopsAGroupOrAVrf) {
   auto swap = labelVia(100, orv::mpls_action_t::swap);
   swap.pushswap_label_is(orv::mpls_label_t(200));
   swap.hop_is(address("192.0.2.5"));
   swap.intf_is(orv::intf_id_t("Ethernet5"));
   setLabel(swap);
   auto forward = labelVia(101, orv::mpls_action_t::forward);
   forward.nexthop_group_is("g");
   setLabel(forward);
   setGroup("g");
   sw().mplsVrfLabels().mpls_vrf_label_set({orv::mpls_label_t(102), "default"});
   setRoute("10.0.0.0/8", "g");
   settle();

   const auto swapped = label(100);
   EXPECT_EQ(swapped.result, LookupResult::forward);
   EXPECT_EQ(swapped.route, "label 100 metric 0");
   EXPECT_EQ(swapped.waysOut.at(0).action, "swap");
   EXPECT_THAT(swapped.waysOut[0].labels, ElementsAre(200u));
   EXPECT_EQ(swapped.waysOut[0].nexthop, address("192.0.2.5"));

   const auto grouped = label(101);
   EXPECT_EQ(grouped.groupOfRoute, "g");
   EXPECT_EQ(grouped.entry, 0u);
   EXPECT_EQ(grouped.steps.at(0), "label 101: MPLS route of metric 0 with action forward to nexthop group g");

   const auto popped = label(102, "10.0.0.1");
   EXPECT_EQ(popped.vrf, "default");
   EXPECT_EQ(popped.group, "g");
   EXPECT_EQ(popped.steps.at(0), "label 102: popped and looked up in VRF default");
   const auto untold = label(102);
   EXPECT_EQ(untold.result, LookupResult::unknown);
   EXPECT_EQ(untold.reason, "the look-up in VRF default needs a destination address");

   EXPECT_EQ(label(103).result, LookupResult::noRoute);
   EXPECT_EQ(label(103).reason, "no MPLS route and no VRF for label 103");
   linkIs("Ethernet5", false);
   EXPECT_EQ(label(100).reason, "none of the route's hops resolves");
}

TEST_F(LookupTest, ofOneLabelTheLowestMetricThatHardwareHasIsTaken) {
   auto far = labelVia(100, orv::mpls_action_t::pop, 20);
   far.hop_is(address("192.0.2.2"));
   setLabel(far);
   auto near = labelVia(100, orv::mpls_action_t::pop, 10);
   near.nexthop_group_is("missing");
   setLabel(near);
   settle();
   EXPECT_EQ(label(100).route, "label 100 metric 20");
   sw().mplsRoutes().mpls_route_del(far.route_key());
   settle();
   EXPECT_EQ(label(100).result, LookupResult::drop);
   EXPECT_EQ(label(100).reason, "label 100 has an MPLS route that hardware does not have");
   setGroup("missing");
   settle();
   EXPECT_EQ(label(100).route, "label 100 metric 10");
}

TEST_F(LookupTest, theVrfOfALabelNeedNotExist) {
   sw().mplsVrfLabels().mpls_vrf_label_set({orv::mpls_label_t(102), "red"});
   EXPECT_EQ(label(102, "10.0.0.1").reason, "VRF red does not exist");
   EXPECT_THAT(label(102, "10.0.0.1").waysOut, IsEmpty());
}

TEST_F(LookupTest, resultsHaveWords) {
   EXPECT_EQ(to_string(LookupResult::forward), "forward");
   EXPECT_EQ(to_string(LookupResult::drop), "drop");
   EXPECT_EQ(to_string(LookupResult::noRoute), "no route");
   EXPECT_EQ(to_string(LookupResult::controlPlane), "control plane");
   EXPECT_EQ(to_string(LookupResult::unknown), "unknown");
}

}  // namespace
}  // namespace softswitch
