#include "softswitch/managers/ip_route_mgr.h"

#include <gmock/gmock.h>

#include <functional>
#include <random>
#include <set>

#include "softswitch/managers/vrf_mgr.h"
#include "testing/softswitch/SwitchFixture.h"

namespace softswitch {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Action = orv::ip_route_action_t;

class IpRouteMgrTest : public SwitchFixture {
protected:
   IpRouteMgr& mgr() { return sw().ipRoutes(); }
   void set(std::string_view route, std::uint32_t tag = 0) {
      orv::ip_route_t r(key(route));
      r.tag_is(tag);
      mgr().ip_route_set(r);
   }
   std::vector<orv::ip_route_via_t> vias(std::string_view route) {
      return listOf(mgr().ip_route_via_iter(key(route)));
   }
   std::vector<std::string> hops(std::string_view route) {
      std::vector<std::string> result;
      for (const auto& via : vias(route))
         result.push_back(via.nexthop_group().empty() ? via.hop().to_string() : via.nexthop_group());
      return result;
   }
   std::string refusedVia(const orv::ip_route_via_t& via) {
      return refusal([&] { mgr().ip_route_via_set(via); });
   }
};

TEST_F(IpRouteMgrTest, aRouteOverAGroupComesBack) {
   orv::ip_route_t route(key("10.0.0.0/8"));
   route.tag_is(4294967295u);
   route.rib_bypass_is(true);
   route.command_tag_is("commands");
   mgr().ip_route_set(route, Action::nexthop_group);
   mgr().ip_route_via_set(groupVia("10.0.0.0/8", "g"));
   for (int round = 0; round < 2; ++round) {
      EXPECT_EQ(mgr().ip_route(key("10.0.0.0/8")), route);
      EXPECT_EQ(mgr().action(key("10.0.0.0/8"), ""), Action::nexthop_group);
      EXPECT_THAT(vias("10.0.0.0/8"), ElementsAre(groupVia("10.0.0.0/8", "g")));
      EXPECT_TRUE(mgr().exists(key("10.0.0.0/8")));
      EXPECT_FALSE(mgr().exists(key("10.0.0.0/9")));
      EXPECT_FALSE(mgr().exists(key("10.0.0.0/8", 2)));
      EXPECT_EQ(mgr().ip_route(key("10.0.0.0/9")), orv::ip_route_t());
      restart();
   }
}

TEST_F(IpRouteMgrTest, everyFieldOfAViaSurvivesARestart) {
   sw().vrfs().vrfSet("red");
   set("2001:db8::/32");
   auto via = hopVia("2001:db8::/32", "2001:db8:1::1", "Ethernet1");
   via.mpls_label_is(orv::mpls_label_t(0));
   via.vni_is(16777215);
   via.vtep_addr_is(address("192.0.2.1"));
   via.router_mac_is(orv::eth_addr_t("00:1c:73:0a:0b:0c"));
   via.egress_vrf_is("red");
   via.metric_is(4294967295u);
   via.vxlan_intf_is(orv::intf_id_t("Loopback0"));
   via.vtep_sip_validation_is(true);
   via.weight_is(7);
   mgr().ip_route_via_set(via);
   mgr().ip_route_via_set(hopVia("2001:db8::/32", "2001:db8:1::2"));
   auto heavy = groupVia("10.0.0.0/8", "g");
   heavy.weight_is(3);
   set("10.0.0.0/8");
   mgr().ip_route_via_set(heavy);
   restart();
   EXPECT_THAT(vias("2001:db8::/32"), ElementsAre(via, hopVia("2001:db8::/32", "2001:db8:1::2")));
   EXPECT_THAT(vias("10.0.0.0/8"), ElementsAre(heavy));
   EXPECT_THAT(refusedVia(hopVia("10.0.0.0/8", "192.0.2.1")), HasSubstr("nexthop group"));
}

TEST_F(IpRouteMgrTest, routesAreWalkedInKeyOrder) {
   for (const char* route :
        {"2001:db8::/32", "10.1.0.0/16", "10.0.0.0/8", "9.0.0.0/8", "10.0.0.0/16", "::/0"})
      set(route);
   mgr().ip_route_set(orv::ip_route_t(key("10.0.0.0/8", 200)));
   const std::vector<std::string> expected{"9.0.0.0/8",    "10.0.0.0/8",  "10.0.0.0/8 preference 200",
                                           "10.0.0.0/16",  "10.1.0.0/16", "::/0",
                                           "2001:db8::/32"};
   EXPECT_EQ(routes(), expected);
   restart();
   EXPECT_EQ(routes(), expected);
}

TEST_F(IpRouteMgrTest, aSetKeepsViasAndDeletesGoByKey) {
   set("10.0.0.0/8", 1);
   mgr().ip_route_via_set(hopVia("10.0.0.0/8", "192.0.2.1"));
   mgr().ip_route_via_set(hopVia("10.0.0.0/8", "192.0.2.2"));
   set("10.0.0.0/8", 2);
   EXPECT_EQ(mgr().ip_route(key("10.0.0.0/8")).tag(), 2u);
   EXPECT_THAT(hops("10.0.0.0/8"), ElementsAre("192.0.2.1", "192.0.2.2"));
   mgr().ip_route_del(key("10.0.0.0/8"));
   mgr().ip_route_del(key("10.0.0.0/8"));
   EXPECT_TRUE(routes().empty());
   set("10.0.0.0/8");
   EXPECT_TRUE(hops("10.0.0.0/8").empty());
   restart();
   EXPECT_THAT(routes(), ElementsAre("10.0.0.0/8"));
   EXPECT_TRUE(hops("10.0.0.0/8").empty());
}

TEST_F(IpRouteMgrTest, aViaOfTheSameIdentityIsOverwritten) {
   set("10.0.0.0/8");
   auto via = hopVia("10.0.0.0/8", "192.0.2.1", "Ethernet1");
   mgr().ip_route_via_set(via);
   via.metric_is(5);
   mgr().ip_route_via_set(via);
   EXPECT_THAT(vias("10.0.0.0/8"), ElementsAre(via));
   mgr().ip_route_via_set(hopVia("10.0.0.0/8", "192.0.2.1", "Ethernet2"));
   EXPECT_EQ(vias("10.0.0.0/8").size(), 2u);
   setRoute("11.0.0.0/8", "g");
   mgr().ip_route_via_set(groupVia("11.0.0.0/8", "h"));
   EXPECT_THAT(hops("11.0.0.0/8"), ElementsAre("h"));
}

TEST_F(IpRouteMgrTest, aViaIsDeletedByAllItsFieldsOrBare) {
   set("10.0.0.0/8");
   auto via = hopVia("10.0.0.0/8", "192.0.2.1");
   via.metric_is(5);
   const auto other = hopVia("10.0.0.0/8", "192.0.2.2");
   mgr().ip_route_via_set(via);
   mgr().ip_route_via_set(other);
   EXPECT_TRUE(mgr().exists(via));
   EXPECT_FALSE(mgr().exists(hopVia("10.0.0.0/8", "192.0.2.1")));
   mgr().ip_route_via_del(hopVia("10.0.0.0/8", "192.0.2.1"));
   EXPECT_EQ(vias("10.0.0.0/8").size(), 2u);
   mgr().ip_route_via_del(via);
   EXPECT_THAT(vias("10.0.0.0/8"), ElementsAre(other));
   mgr().ip_route_via_set(via);
   const orv::ip_route_via_t bare(key("10.0.0.0/8"));
   EXPECT_TRUE(mgr().exists(bare));
   mgr().ip_route_via_del(bare);
   EXPECT_TRUE(vias("10.0.0.0/8").empty());
   EXPECT_FALSE(mgr().exists(bare));
   mgr().ip_route_via_del(bare);
   mgr().ip_route_via_del(orv::ip_route_via_t(key("99.0.0.0/8")));

   setRoute("11.0.0.0/8", "g");
   EXPECT_TRUE(mgr().exists(groupVia("11.0.0.0/8", "g")));
   EXPECT_FALSE(mgr().exists(groupVia("11.0.0.0/8", "h")));
   mgr().ip_route_via_del(groupVia("11.0.0.0/8", "h"));
   EXPECT_THAT(hops("11.0.0.0/8"), ElementsAre("g"));
   mgr().ip_route_via_del(groupVia("11.0.0.0/8", "g"));
   EXPECT_TRUE(hops("11.0.0.0/8").empty());
   restart();
   EXPECT_TRUE(hops("10.0.0.0/8").empty());
   EXPECT_TRUE(hops("11.0.0.0/8").empty());
}

TEST_F(IpRouteMgrTest, groupsAndHopsDoNotMix) {
   set("10.0.0.0/8");
   mgr().ip_route_via_set(hopVia("10.0.0.0/8", "192.0.2.1"));
   EXPECT_THAT(refusedVia(groupVia("10.0.0.0/8", "g")),
               AllOf(HasSubstr("10.0.0.0/8"), HasSubstr("g on a route")));
   EXPECT_THAT(
        refusal([&] { mgr().ip_route_set(orv::ip_route_t(key("10.0.0.0/8")), Action::nexthop_group); }),
        AllOf(HasSubstr("10.0.0.0/8"), HasSubstr("nexthop-group"), HasSubstr("hops")));
   setRoute("11.0.0.0/8", "g");
   EXPECT_THAT(refusedVia(hopVia("11.0.0.0/8", "192.0.2.1")), HasSubstr("a hop on a route"));
   EXPECT_THAT(refusal([&] { mgr().ip_route_set(orv::ip_route_t(key("11.0.0.0/8")), Action::forward); }),
               HasSubstr("forward"));
   // Without an action the route keeps the action that its vias imply.
   orv::ip_route_t route(key("11.0.0.0/8"));
   route.tag_is(9);
   EXPECT_EQ(refusal([&] { mgr().ip_route_set(route); }), "");
   EXPECT_EQ(mgr().action(key("11.0.0.0/8"), ""), Action::nexthop_group);
   EXPECT_THAT(hops("10.0.0.0/8"), ElementsAre("192.0.2.1"));
   // A refused request leaves nothing behind.
   EXPECT_EQ(mgr().ip_route(key("10.0.0.0/8")).tag(), 0u);
}

TEST_F(IpRouteMgrTest, aRouteThatDropsTakesNoVia) {
   mgr().ip_route_set(orv::ip_route_t(key("10.0.0.0/8")), Action::drop);
   EXPECT_THAT(refusedVia(hopVia("10.0.0.0/8", "192.0.2.1")), HasSubstr("drop"));
   EXPECT_THAT(refusedVia(groupVia("10.0.0.0/8", "g")), HasSubstr("drop"));
   set("11.0.0.0/8");
   mgr().ip_route_via_set(hopVia("11.0.0.0/8", "192.0.2.1"));
   EXPECT_THAT(refusal([&] { mgr().ip_route_set(orv::ip_route_t(key("11.0.0.0/8")), Action::punt); }),
               HasSubstr("punt"));
   restart();
   EXPECT_EQ(mgr().action(key("10.0.0.0/8"), ""), Action::drop);
}

TEST_F(IpRouteMgrTest, refusals) {
   EXPECT_THAT(refusal([&] { mgr().ip_route_set(orv::ip_route_t()); }), HasSubstr("no prefix"));
   EXPECT_THAT(refusal([&] { set("10.0.0.1/8"); }), HasSubstr("10.0.0.1/8"));
   orv::ip_route_t route(key("10.0.0.0/8"));
   route.command_tag_is(std::string(256, 't'));
   EXPECT_THAT(refusal([&] { mgr().ip_route_set(route); }), HasSubstr("256 bytes"));
   EXPECT_TRUE(routes().empty());
   EXPECT_THAT(refusedVia(groupVia("10.0.0.0/8", "g")), HasSubstr("10.0.0.0/8, which does not exist"));
   set("10.0.0.0/8");
   auto both = hopVia("10.0.0.0/8", "192.0.2.1");
   both.nexthop_group_is("g");
   EXPECT_THAT(refusedVia(both), HasSubstr("both nexthop group g and hop 192.0.2.1"));
   both = groupVia("10.0.0.0/8", "g");
   both.intf_is(orv::intf_id_t("Ethernet1"));
   EXPECT_THAT(refusedVia(both), HasSubstr("both nexthop group g and interface Ethernet1"));
   EXPECT_THAT(refusedVia(orv::ip_route_via_t(key("10.0.0.0/8"))), HasSubstr("names neither"));
   EXPECT_THAT(refusedVia(hopVia("10.0.0.0/8", "192.0.2.1", "Ethernet99")),
               HasSubstr("unknown interface Ethernet99"));
   auto vxlan = hopVia("10.0.0.0/8", "192.0.2.1");
   vxlan.vxlan_intf_is(orv::intf_id_t("Vxlan9"));
   EXPECT_THAT(refusedVia(vxlan), HasSubstr("unknown interface Vxlan9"));
   vxlan.vxlan_intf_is({});
   vxlan.vni_is(16777216);
   EXPECT_THAT(refusedVia(vxlan), HasSubstr("VNI 16777216 is out of range, expected 0 to 16777215"));
   vxlan.vni_is(0);
   vxlan.egress_vrf_is("nowhere");
   EXPECT_THAT(refusedVia(vxlan), HasSubstr("unknown VRF nowhere"));
   EXPECT_THAT(refusedVia(groupVia("10.0.0.0/8", std::string(256, 'g'))), HasSubstr("256 bytes"));
   EXPECT_THAT(refusedVia(groupVia("10.0.0.0/8", "\xff")), HasSubstr("is not UTF-8"));
   EXPECT_TRUE(vias("10.0.0.0/8").empty());
}

TEST_F(IpRouteMgrTest, aFullTableRefuses) {
   switch_.reset();
   options_.limits.ipRoutes = 2;
   options_.limits.viasPerRoute = 2;
   start();
   set("10.0.0.0/8");
   set("11.0.0.0/8");
   EXPECT_THAT(refusal([&] { set("12.0.0.0/8"); }), HasSubstr("ip_route table is full, it holds 2 rows"));
   EXPECT_EQ(refusal([&] { set("11.0.0.0/8", 5); }), "");
   EXPECT_EQ(routes().size(), 2u);
   mgr().ip_route_del(key("10.0.0.0/8"));
   EXPECT_EQ(refusal([&] { set("12.0.0.0/8"); }), "");
   mgr().ip_route_via_set(hopVia("12.0.0.0/8", "192.0.2.1"));
   mgr().ip_route_via_set(hopVia("12.0.0.0/8", "192.0.2.2"));
   EXPECT_THAT(refusedVia(hopVia("12.0.0.0/8", "192.0.2.3")), HasSubstr("has 2 vias"));
   EXPECT_EQ(refusedVia(hopVia("12.0.0.0/8", "192.0.2.2")), "");
}

TEST_F(IpRouteMgrTest, vrfsAreApart) {
   EXPECT_THAT(refusal([&] { mgr().ip_route_set(orv::ip_route_t(key("10.0.0.0/8")), "red"); }),
               HasSubstr("unknown VRF red"));
   sw().vrfs().vrfSet("red");
   sw().vrfs().vrfSet("blue");
   set("10.0.0.0/8", 1);
   orv::ip_route_t route(key("10.0.0.0/8"));
   route.tag_is(2);
   mgr().ip_route_set(route, "red");
   mgr().ip_route_via_set(hopVia("10.0.0.0/8", "192.0.2.1"), "red");
   for (int round = 0; round < 2; ++round) {
      EXPECT_EQ(mgr().ip_route(key("10.0.0.0/8")).tag(), 1u);
      EXPECT_EQ(mgr().ip_route(key("10.0.0.0/8"), "default").tag(), 1u);
      EXPECT_EQ(mgr().ip_route(key("10.0.0.0/8"), "").tag(), 1u);
      EXPECT_EQ(mgr().ip_route(key("10.0.0.0/8"), "red").tag(), 2u);
      EXPECT_TRUE(vias("10.0.0.0/8").empty());
      EXPECT_EQ(listOf(mgr().ip_route_via_iter(key("10.0.0.0/8"), "red")).size(), 1u);
      EXPECT_TRUE(mgr().exists(hopVia("10.0.0.0/8", "192.0.2.1"), "red"));
      EXPECT_FALSE(mgr().exists(key("10.0.0.0/8"), "blue"));
      EXPECT_FALSE(mgr().exists(key("10.0.0.0/8"), "nowhere"));
      EXPECT_FALSE(mgr().ip_route_iter("nowhere"));
      EXPECT_EQ(routes("red").size(), 1u);
      EXPECT_EQ(mgr().routesIn("red"), 1u);
      EXPECT_EQ(mgr().routesIn("blue"), 0u);
      restart();
   }
   EXPECT_THAT(refusal([&] { sw().vrfs().vrfDel("red"); }), HasSubstr("1 IP route"));
   mgr().ip_route_del(key("10.0.0.0/8"), "red");
   mgr().ip_route_del(key("10.0.0.0/8"), "nowhere");
   EXPECT_EQ(refusal([&] { sw().vrfs().vrfDel("red"); }), "");
   EXPECT_EQ(routes().size(), 1u);
}

TEST_F(IpRouteMgrTest, theTagIsKept) {
   EXPECT_EQ(mgr().tag(), 0u);
   mgr().tag_is(7);
   EXPECT_EQ(mgr().tag(), 7u);
}

TEST_F(IpRouteMgrTest, resyncRemovesRoutesAndViasThatWereNotSetAgain) {
   set("10.0.0.0/8");
   set("11.0.0.0/8");
   mgr().ip_route_via_set(hopVia("11.0.0.0/8", "192.0.2.1"));
   mgr().ip_route_via_set(hopVia("11.0.0.0/8", "192.0.2.2"));
   setRoute("12.0.0.0/8", "g");
   setRoute("13.0.0.0/8", "g");
   setRoute("14.0.0.0/8", "g");
   mgr().resync_init();
   set("11.0.0.0/8");
   mgr().ip_route_via_set(hopVia("11.0.0.0/8", "192.0.2.2"));
   setRoute("12.0.0.0/8", "g");
   setRoute("13.0.0.0/8", "h");
   mgr().ip_route_set(orv::ip_route_t(key("14.0.0.0/8")), Action::nexthop_group);
   set("15.0.0.0/8");
   mgr().resync_complete();
   for (int round = 0; round < 2; ++round) {
      EXPECT_THAT(routes(),
                  ElementsAre("11.0.0.0/8", "12.0.0.0/8", "13.0.0.0/8", "14.0.0.0/8", "15.0.0.0/8"));
      EXPECT_THAT(hops("11.0.0.0/8"), ElementsAre("192.0.2.2"));
      EXPECT_THAT(hops("12.0.0.0/8"), ElementsAre("g"));
      EXPECT_THAT(hops("13.0.0.0/8"), ElementsAre("h"));
      EXPECT_TRUE(hops("14.0.0.0/8").empty());
      restart();
   }
   mgr().resync_complete();
   EXPECT_EQ(routes().size(), 5u);
}

TEST_F(IpRouteMgrTest, aViaThatIsSetAgainKeepsItsRouteAndADeletedOneDoesNot) {
   setRoute("10.0.0.0/8", "g");
   set("11.0.0.0/8");
   set("12.0.0.0/8");
   for (const char* route : {"11.0.0.0/8", "12.0.0.0/8"}) {
      mgr().ip_route_via_set(hopVia(route, "192.0.2.1"));
      mgr().ip_route_via_set(hopVia(route, "192.0.2.2"));
   }
   mgr().resync_init();
   mgr().ip_route_via_set(groupVia("10.0.0.0/8", "g"));
   mgr().ip_route_via_set(hopVia("11.0.0.0/8", "192.0.2.2"));
   mgr().ip_route_via_del(hopVia("12.0.0.0/8", "192.0.2.2"));
   mgr().resync_complete();
   EXPECT_THAT(routes(), ElementsAre("10.0.0.0/8", "11.0.0.0/8"));
   EXPECT_THAT(hops("10.0.0.0/8"), ElementsAre("g"));
   EXPECT_THAT(hops("11.0.0.0/8"), ElementsAre("192.0.2.2"));
}

TEST_F(IpRouteMgrTest, walksSurviveChanges) {
   for (const char* route : {"10.0.0.0/8", "11.0.0.0/8", "12.0.0.0/8", "13.0.0.0/8"})
      set(route);
   auto it = mgr().ip_route_iter();
   EXPECT_EQ(it->key(), key("10.0.0.0/8"));
   mgr().ip_route_del(key("10.0.0.0/8"));
   mgr().ip_route_del(key("11.0.0.0/8"));
   set("11.128.0.0/9");
   ++it;
   EXPECT_EQ(it->key(), key("11.128.0.0/9"));
   set("1.0.0.0/8");
   ++it;
   EXPECT_EQ(it->key(), key("12.0.0.0/8"));
   mgr().resync_init();
   mgr().resync_complete();
   ++it;
   EXPECT_FALSE(it);

   set("10.0.0.0/8");
   for (const char* hop : {"192.0.2.1", "192.0.2.2", "192.0.2.3"})
      mgr().ip_route_via_set(hopVia("10.0.0.0/8", hop));
   auto via = mgr().ip_route_via_iter(key("10.0.0.0/8"));
   EXPECT_EQ(via->hop(), address("192.0.2.1"));
   mgr().ip_route_via_del(hopVia("10.0.0.0/8", "192.0.2.1"));
   mgr().ip_route_via_del(hopVia("10.0.0.0/8", "192.0.2.2"));
   ++via;
   EXPECT_EQ(via->hop(), address("192.0.2.3"));
   mgr().ip_route_del(key("10.0.0.0/8"));
   ++via;
   EXPECT_FALSE(via);
}

TEST_F(IpRouteMgrTest, aWalkOfViasSeesEachKindOfChange) {
   const auto heavy = [&](std::string_view hop, std::uint32_t weight) {
      auto via = hopVia("10.0.0.0/8", hop);
      via.weight_is(weight);
      return via;
   };
   // A walk that stands at the first of three hops; what it yields after the change.
   const auto rest = [&](const std::function<void()>& change) {
      mgr().ip_route_del(key("10.0.0.0/8"));
      set("10.0.0.0/8");
      for (const char* hop : {"192.0.2.1", "192.0.2.2", "192.0.2.3"})
         mgr().ip_route_via_set(heavy(hop, 0));
      auto it = mgr().ip_route_via_iter(key("10.0.0.0/8"));
      change();
      ++it;
      return listOf(it);
   };
   const auto second = heavy("192.0.2.2", 0);
   const auto third = heavy("192.0.2.3", 0);
   EXPECT_THAT(rest([] {}), ElementsAre(second, third));
   EXPECT_THAT(rest([&] { mgr().ip_route_via_set(heavy("192.0.2.2", 5)); }),
               ElementsAre(heavy("192.0.2.2", 5), third));
   EXPECT_THAT(rest([&] { mgr().ip_route_via_set(heavy("192.0.2.4", 0)); }), ElementsAre(second, third));
   EXPECT_THAT(rest([&] { mgr().ip_route_via_del(second); }), ElementsAre(third));
   EXPECT_THAT(rest([&] { mgr().ip_route_via_del(orv::ip_route_via_t(key("10.0.0.0/8"))); }), IsEmpty());
   EXPECT_THAT(rest([&] { mgr().ip_route_del(key("10.0.0.0/8")); }), IsEmpty());
   EXPECT_THAT(rest([&] {
                  mgr().resync_init();
                  set("10.0.0.0/8");
                  mgr().ip_route_via_set(third);
                  mgr().resync_complete();
               }),
               ElementsAre(third));
   EXPECT_THAT(rest([&] {
                  mgr().ip_route_del(key("10.0.0.0/8"));
                  set("10.0.0.0/8");
                  mgr().ip_route_via_set(groupVia("10.0.0.0/8", "g"));
               }),
               IsEmpty());
}

TEST_F(IpRouteMgrTest, aLongRandomLifeAgreesWithAModel) {
   std::mt19937 random(7);
   std::map<std::string, std::string> model;
   const auto name = [&] { return "g" + std::to_string(random() % 5); };
   for (int step = 0; step < 4000; ++step) {
      const auto route = fmt::format("10.{}.{}.0/24", random() % 4, random() % 50);
      switch (random() % 6) {
         case 0: {
            mgr().ip_route_del(key(route));
            model.erase(route);
            break;
         }
         case 1:
            if (random() % 50 == 0) restart();
            break;
         case 2:
            if (random() % 10 == 0) settle();
            break;
         default: {
            const auto group = name();
            setRoute(route, group);
            model[route] = group;
         }
      }
   }
   settle();
   restart();
   settle();
   ASSERT_EQ(mgr().size(), model.size());
   EXPECT_EQ(mgr().programmed(), model.size());
   for (const auto& [route, group] : model)
      EXPECT_THAT(hops(route), ElementsAre(group)) << route;
}

}  // namespace
}  // namespace softswitch
