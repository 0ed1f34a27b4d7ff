#include "softswitch/managers/mpls_route_mgr.h"

#include <gmock/gmock.h>

#include <array>
#include <functional>

#include "testing/softswitch/SwitchFixture.h"

namespace softswitch {
namespace {

using orv::mpls_action_t;
using orv::mpls_label_t;
using orv::mpls_route_key_t;
using orv::mpls_route_t;
using orv::mpls_route_via_t;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class MplsListener final : public orv::mpls_route_handler {
public:
   using orv::mpls_route_handler::mpls_route_handler;
   void on_mpls_route_set(const mpls_route_key_t& key, orv::mpls_fec_id_t) override {
      heard.push_back("set " + key.to_string());
   }
   void on_mpls_route_del(const mpls_route_key_t& key) override { heard.push_back("del " + key.to_string()); }
   void on_mpls_fec_set(orv::mpls_fec_id_t) override { heard.push_back("fec set"); }
   void on_mpls_fec_del(orv::mpls_fec_id_t) override { heard.push_back("fec del"); }
   std::vector<std::string> take() { return std::exchange(heard, {}); }
   std::vector<std::string> heard;
};

class MplsRouteMgrTest : public SwitchFixture {
protected:
   MplsRouteMgr& mgr() { return sw().mplsRoutes(); }
   static mpls_route_key_t label(std::uint32_t number, std::uint8_t metric = 0) {
      return mpls_route_key_t(mpls_label_t(number), metric);
   }
   static mpls_route_via_t pop(const mpls_route_key_t& key, std::string_view hop,
                               std::string_view intf = "") {
      mpls_route_via_t via(key, mpls_action_t::pop);
      via.hop_is(address(hop));
      via.intf_is(orv::intf_id_t(intf));
      return via;
   }
   static mpls_route_via_t over(const mpls_route_key_t& key, const std::string& name) {
      mpls_route_via_t via(key, mpls_action_t::pop);
      via.nexthop_group_is(name);
      return via;
   }
   void set(const mpls_route_via_t& via, std::uint16_t version = 0) {
      mgr().mpls_route_set(mpls_route_t(via.route_key(), version));
      mgr().mpls_route_via_set(via);
   }
   std::vector<mpls_route_via_t> vias(const mpls_route_key_t& key) {
      return listOf(mgr().mpls_route_via_iter(key));
   }
   std::string refused(const mpls_route_via_t& via) {
      return refusal([&] { mgr().mpls_route_via_set(via); });
   }
};

TEST_F(MplsRouteMgrTest, aRouteTakesSoManyViasAndNoMore) {
   switch_.reset();
   options_.limits.viasPerRoute = 2;
   start();
   const auto key = label(100);
   set(pop(key, "192.0.2.1"));
   EXPECT_EQ(refused(pop(key, "192.0.2.2")), "");
   EXPECT_THAT(refused(pop(key, "192.0.2.3")), HasSubstr("already has 2 vias, the maximum"));
   EXPECT_EQ(refused(pop(key, "192.0.2.2")), "") << "it is there already";
   EXPECT_THAT(vias(key), ElementsAre(pop(key, "192.0.2.1"), pop(key, "192.0.2.2")));
}

TEST_F(MplsRouteMgrTest, aWalkOfViasSeesEachKindOfChange) {
   const auto key = label(100);
   // A walk that stands at the first of three hops; what it yields after the change.
   const auto rest = [&](const std::function<void()>& change) {
      mgr().mpls_route_del(key);
      for (const char* hop : {"192.0.2.1", "192.0.2.2", "192.0.2.3"})
         set(pop(key, hop));
      auto it = mgr().mpls_route_via_iter(key);
      change();
      ++it;
      return listOf(it);
   };
   const auto second = pop(key, "192.0.2.2");
   const auto third = pop(key, "192.0.2.3");
   EXPECT_THAT(rest([] {}), ElementsAre(second, third));
   EXPECT_THAT(rest([&] { mgr().mpls_route_via_set(pop(key, "192.0.2.4")); }), ElementsAre(second, third));
   EXPECT_THAT(rest([&] { mgr().mpls_route_via_del(second); }), ElementsAre(third));
   EXPECT_THAT(rest([&] { mgr().mpls_route_del(key); }), IsEmpty());
   EXPECT_THAT(rest([&] {
                  mgr().resync_init();
                  set(third);
                  mgr().resync_complete();
               }),
               ElementsAre(third));
}

// The switch visits all labels for each new version of a group. Here every turn brings a new version.
TEST_F(MplsRouteMgrTest, newVersionsOfAGroupDoNotKeepRoutesFromHardware) {
   setGroup("g");
   for (std::uint32_t number = 100; number < 20'100;) {
      const orv::sdk_scoped_lock lock;
      for (int i = 0; i < 1000; ++i, ++number)
         set(over(label(number), "g"), 1);
   }
   settle();
   const auto scheduler = Gorm::TaskSchedulerRoot::findOrCreateScheduler();
   const auto inFib = [&] {
      const orv::sdk_scoped_lock lock;
      return sw()
           .get_fib_mgr(orv::mgr_mode_type_t::resident)
           ->fib_route_exists(orv::fib_route_key_t(prefix("10.0.0.0/8")));
   };
   std::uint16_t version = 1;
   int turns = 0;
   for (; turns < 200 && !inFib(); ++turns) {
      {
         const orv::sdk_scoped_lock lock;
         sw().nexthopGroups().nexthop_group_set_with_version_id(group("g"), ++version);
         if (turns == 0) setRoute("10.0.0.0/8", "g");
      }
      scheduler->waitForWork();
      const Zelt::ActivityLockAnchor lock;
      scheduler->runReady();
   }
   EXPECT_LT(turns, 200);
}

TEST_F(MplsRouteMgrTest, everyFieldSurvivesARestart) {
   const std::array labels{mpls_label_t(100), mpls_label_t(200)};
   const mpls_route_key_t key(labels, 7);
   mpls_route_via_t via(key, mpls_action_t::swap);
   via.pushswap_label_is(mpls_label_t(1048575));
   via.hop_is(address("2001:db8::1"));
   via.intf_is(orv::intf_id_t("Ethernet1"));
   via.ttl_mode_is(orv::mpls_ttl_mode_t::pipe);
   via.payload_type_is(orv::mpls_payload_type_t::autodecide);
   via.skip_egress_acl_is(true);
   set(via, 65535);
   set(over(label(300), "g"));
   restart();
   EXPECT_THAT(listOf(mgr().mpls_route_iter()),
               ElementsAre(mpls_route_t(key, 65535), mpls_route_t(label(300))));
   EXPECT_THAT(vias(key), ElementsAre(via));
   EXPECT_THAT(vias(label(300)), ElementsAre(over(label(300), "g")));
   EXPECT_TRUE(mgr().exists(key));
   EXPECT_FALSE(mgr().exists(label(100)));
}

TEST_F(MplsRouteMgrTest, viasByIdentityAndBare) {
   const auto key = label(100);
   set(pop(key, "192.0.2.1"));
   mgr().mpls_route_via_set(pop(key, "192.0.2.2"));
   auto changed = pop(key, "192.0.2.1");
   changed.payload_type_is(orv::mpls_payload_type_t::ipv4);
   mgr().mpls_route_via_set(changed);
   EXPECT_THAT(vias(key), ElementsAre(changed, pop(key, "192.0.2.2")));
   EXPECT_FALSE(mgr().exists(pop(key, "192.0.2.1")));
   EXPECT_TRUE(mgr().exists(changed));
   mgr().mpls_route_via_del(pop(key, "192.0.2.1"));
   EXPECT_EQ(vias(key).size(), 2u);
   mgr().mpls_route_via_del(changed);
   EXPECT_EQ(vias(key).size(), 1u);
   const mpls_route_via_t bare(key);
   EXPECT_TRUE(mgr().exists(bare));
   mgr().mpls_route_via_del(bare);
   EXPECT_FALSE(mgr().exists(bare));
   mgr().mpls_route_via_del(bare);
   mgr().mpls_route_via_del(mpls_route_via_t(label(999)));

   set(over(label(200), "g"));
   mgr().mpls_route_via_set(over(label(200), "h"));
   EXPECT_THAT(vias(label(200)), ElementsAre(over(label(200), "h")));
   mgr().mpls_route_del(label(200));
   mgr().mpls_route_del(label(200));
   mgr().mpls_route_set(mpls_route_t(label(200)));
   EXPECT_THAT(vias(label(200)), IsEmpty());
}

TEST_F(MplsRouteMgrTest, hardwareFollowsLater) {
   MplsListener listener(&mgr());
   listener.watch_all_mpls_routes(true);
   set(pop(label(100), "192.0.2.1"), 5);
   EXPECT_EQ(mgr().fec_id(label(100)).id(), 0u);
   EXPECT_EQ(mgr().hw_version_id(label(100)), 0);
   settle();
   EXPECT_THAT(listener.take(), ElementsAre("fec set", "set 100"));
   const auto fec = mgr().fec_id(label(100));
   EXPECT_NE(fec.id(), 0u);
   EXPECT_EQ(mgr().hw_version_id(label(100)), 5);
   const auto statuses = listOf(mgr().mpls_route_status_iter());
   ASSERT_EQ(statuses.size(), 1u);
   EXPECT_EQ(statuses[0].fec_id(), fec);
   EXPECT_EQ(statuses[0].hw_version_id(), 5);
   EXPECT_THAT(listOf(mgr().mpls_route_via_status_iter(label(100))),
               ElementsAre(pop(label(100), "192.0.2.1")));
   mgr().mpls_route_set(mpls_route_t(label(100), 6));
   settle();
   EXPECT_THAT(listener.take(), ElementsAre("set 100"));
   EXPECT_EQ(mgr().hw_version_id(label(100)), 6);
   mgr().mpls_route_del(label(100));
   settle();
   EXPECT_THAT(listener.take(), ElementsAre("del 100", "fec del"));
   EXPECT_THAT(listOf(mgr().mpls_route_status_iter()), IsEmpty());
}

TEST_F(MplsRouteMgrTest, aRouteWaitsForItsGroup) {
   MplsListener listener(&mgr());
   listener.watch_all_mpls_routes(true);
   set(over(label(100), "g"));
   set(over(label(200), "g"));
   settle();
   EXPECT_EQ(mgr().fec_id(label(100)).id(), 0u);
   setGroup("g");
   settle();
   EXPECT_EQ(mgr().fec_id(label(100)).id() >> 56, 3u);
   EXPECT_EQ(mgr().fec_id(label(100)), mgr().fec_id(label(200)));
   EXPECT_THAT(listener.take(), ElementsAre("fec set", "set 100", "set 200"));
   sw().nexthopGroups().nexthop_group_del("g");
   settle();
   EXPECT_THAT(listener.take(), ElementsAre("del 100", "del 200", "fec del"));
   EXPECT_EQ(mgr().fec_id(label(100)).id(), 0u);
   EXPECT_TRUE(mgr().exists(label(100)));
   setGroup("g");
   settle();
   EXPECT_NE(mgr().fec_id(label(100)).id(), 0u);
}

TEST_F(MplsRouteMgrTest, onlyWatchedRoutesAreTold) {
   MplsListener listener(&mgr());
   listener.watch_mpls_route(label(100), true);
   set(pop(label(100), "192.0.2.1"));
   set(pop(label(200), "192.0.2.1"));
   settle();
   EXPECT_THAT(listener.take(), ElementsAre("set 100"));
}

TEST_F(MplsRouteMgrTest, theSmallestMetricOfALabel) {
   EXPECT_EQ(mgr().metric(label(100)), 0);
   set(pop(label(100, 20), "192.0.2.1"));
   set(pop(label(100, 10), "192.0.2.1"));
   set(pop(label(101, 5), "192.0.2.1"));
   EXPECT_EQ(mgr().metric(label(100)), 10);
   EXPECT_EQ(mgr().metric(label(100, 20)), 10);
   EXPECT_EQ(mgr().metric(label(99)), 0);
}

TEST_F(MplsRouteMgrTest, refusals) {
   const auto key = label(100);
   EXPECT_THAT(refusal([&] { mgr().mpls_route_set(mpls_route_t()); }), HasSubstr("no label"));
   EXPECT_THAT(refusal([&] { mgr().mpls_route_set(mpls_route_t(mpls_route_key_t(mpls_label_t()))); }),
               HasSubstr("label 1048576 is out of range, expected 0 to 1048575"));
   EXPECT_THAT(refused(pop(key, "192.0.2.1")), HasSubstr("100, which does not exist"));
   mgr().mpls_route_set(mpls_route_t(key));
   auto via = over(key, "g");
   via.hop_is(address("192.0.2.1"));
   EXPECT_THAT(refused(via), HasSubstr("both nexthop group g and hop 192.0.2.1"));
   via = over(key, "g");
   via.intf_is(orv::intf_id_t("Ethernet1"));
   EXPECT_THAT(refused(via), HasSubstr("interface Ethernet1"));
   EXPECT_THAT(refused(over(key, std::string(256, 'g'))), HasSubstr("256 bytes"));
   EXPECT_THAT(refused(over(key, "\xff")), HasSubstr("is not UTF-8"));
   EXPECT_THAT(refused(mpls_route_via_t(key, mpls_action_t::pop)), HasSubstr("names neither"));
   EXPECT_THAT(refused(pop(key, "192.0.2.1", "Ethernet99")), HasSubstr("unknown interface Ethernet99"));
   via = pop(key, "192.0.2.1");
   via.label_action_is(mpls_action_t::none);
   EXPECT_THAT(refused(via), HasSubstr("no label action"));
   via.label_action_is(mpls_action_t::swap);
   EXPECT_THAT(refused(via), AllOf(HasSubstr("swap"), HasSubstr("needs a label")));
   via = pop(key, "192.0.2.1");
   via.pushswap_label_is(mpls_label_t(5));
   EXPECT_THAT(refused(via), AllOf(HasSubstr("pop"), HasSubstr("5 was given")));
   EXPECT_THAT(vias(key), IsEmpty());
   mgr().mpls_route_via_set(pop(key, "192.0.2.1"));
   EXPECT_THAT(refused(over(key, "g")), HasSubstr("have hops, this one has a nexthop group"));
   set(over(label(200), "g"));
   EXPECT_THAT(refused(pop(label(200), "192.0.2.1")), HasSubstr("have a nexthop group, this one has a hop"));
}

TEST_F(MplsRouteMgrTest, resyncRemovesRoutesAndViasThatWereNotSetAgain) {
   set(pop(label(100), "192.0.2.1"));
   set(pop(label(200), "192.0.2.1"));
   mgr().mpls_route_via_set(pop(label(200), "192.0.2.2"));
   settle();
   mgr().resync_init();
   set(pop(label(200), "192.0.2.2"));
   mgr().resync_complete();
   for (int round = 0; round < 2; ++round) {
      EXPECT_THAT(listOf(mgr().mpls_route_iter()), ElementsAre(mpls_route_t(label(200))));
      EXPECT_THAT(vias(label(200)), ElementsAre(pop(label(200), "192.0.2.2")));
      settle();
      EXPECT_EQ(mgr().fec_id(label(100)).id(), 0u);
      EXPECT_THAT(listOf(mgr().mpls_route_via_status_iter(label(200))),
                  ElementsAre(pop(label(200), "192.0.2.2")));
      restart();
   }
}

TEST_F(MplsRouteMgrTest, aViaThatIsSetAgainKeepsItsRouteAndADeletedOneDoesNot) {
   set(over(label(100), "g"));
   for (const std::uint32_t number : {200u, 300u}) {
      set(pop(label(number), "192.0.2.1"));
      set(pop(label(number), "192.0.2.2"));
   }
   mgr().resync_init();
   mgr().mpls_route_via_set(over(label(100), "g"));
   mgr().mpls_route_via_set(pop(label(200), "192.0.2.2"));
   mgr().mpls_route_via_del(pop(label(300), "192.0.2.2"));
   mgr().resync_complete();
   EXPECT_THAT(listOf(mgr().mpls_route_iter()),
               ElementsAre(mpls_route_t(label(100)), mpls_route_t(label(200))));
   EXPECT_THAT(vias(label(100)), ElementsAre(over(label(100), "g")));
   EXPECT_THAT(vias(label(200)), ElementsAre(pop(label(200), "192.0.2.2")));
}

}  // namespace
}  // namespace softswitch
